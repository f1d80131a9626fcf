#include "TARMODatabase.h"

#include "GeneralHelpers.h"
#include "KeyStore.h"
#include "TARMOError.h"

#include <QDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

const QString TARMODatabase::SettingsKey = QStringLiteral("Software\\Tarmo Integration");

namespace {

// A numeric reading of a setting's text: decimal, optionally signed, with a fraction or an exponent.
std::optional<double> numeric(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// Conversion to a whole number rounds half to even, as the stored settings were always read.
std::optional<long> asLong(const QString& text) {
    const auto value = numeric(text);
    if (!value || *value < std::numeric_limits<int>::min() || *value > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<long>(std::nearbyint(*value));
}

// A window is put back normal or maximized; anything else stored (minimized too) means normal.
// A size before the user has set one: a share of the screen, so that the window suits a small
// laptop and a large desktop alike.
long firstStartShare(long screenTwips, long percent) {
    return screenTwips * percent / 100;
}

WindowState restoredState(long stored) {
    return stored == static_cast<long>(WindowState::Maximized) ? WindowState::Maximized : WindowState::Normal;
}

} // namespace

TARMODatabase::TARMODatabase() = default;

TARMODatabase::TARMODatabase(std::shared_ptr<KeyStore> store)
    : mRegistry(std::move(store)) {}

QString TARMODatabase::SettingText(const QString& valueName) const {
    return mRegistry.GetKeyData(Registry::HKEY_CURRENT_USER, SettingsKey, true, false)
        ->GetValueData(valueName);
}

void TARMODatabase::writeSetting(const QString& valueName, const QString& text) {
    KeyStore::Value value;
    value.name = valueName;
    value.type = KeyStore::String;
    value.text = text;
    try {
        mRegistry.Store()->Update([&](KeyStore::Batch& batch) {
            batch.SetValue(Registry::HKEY_CURRENT_USER, SettingsKey, value);
            return true;
        });
    } catch (const TARMOError& error) {
        if (mWriteFailed)
            mWriteFailed(error);
        else
            std::fprintf(stderr, "tarmo: the setting %s was not saved: %s\n", qPrintable(valueName),
                         qPrintable(error.Description()));
    }
}

void TARMODatabase::writeBool(const QString& valueName, bool value) {
    writeSetting(valueName, value ? QStringLiteral("1") : QStringLiteral("0"));
}

void TARMODatabase::writeLong(const QString& valueName, long value) {
    writeSetting(valueName, QString::number(value));
}

bool TARMODatabase::readBool(const QString& valueName, bool defaultValue) const {
    const QString text = SettingText(valueName);
    return defaultValue ? text != QLatin1String("0") : text == QLatin1String("1");
}

int TARMODatabase::readCode(const QString& valueName, int defaultValue,
                            std::initializer_list<int> codes) const {
    const auto value = asLong(SettingText(valueName));
    if (!value)
        return defaultValue;
    if (codes.size() == 0)
        return static_cast<int>(*value);
    for (int code : codes)
        if (code == *value)
            return code;
    return defaultValue;
}

long TARMODatabase::readBounded(const QString& valueName, long defaultValue, long lowest,
                                long belowLimit) const {
    const QString text = SettingText(valueName);
    if (text.isEmpty())
        return defaultValue;
    const auto value = asLong(text);
    if (!value || *value < lowest || *value >= belowLimit)
        return defaultValue;
    return *value;
}

long TARMODatabase::readWhole(const QString& valueName, long defaultValue, long lowest) const {
    const QString text = SettingText(valueName).trimmed();
    if (text.isEmpty())
        return defaultValue;
    const auto real = numeric(text);
    const auto whole = asLong(text);
    if (!real || !whole || *real != static_cast<double>(*whole) || *whole < lowest)
        return defaultValue;
    return *whole;
}

// ---------------------------------------------------------------------------------------------

bool TARMODatabase::OpenMostRecent() const {
    return readBool(QStringLiteral("ProjectToOpen"), false);
}
void TARMODatabase::SetOpenMostRecent(bool value) {
    writeBool(QStringLiteral("ProjectToOpen"), value);
}

long TARMODatabase::WindowHeight() const {
    return readBounded(QStringLiteral("WinHeight"), firstStartShare(mScreen.HeightTwips(), 80), 1001,
                       mScreen.HeightTwips());
}
void TARMODatabase::SetWindowHeight(long value) {
    writeLong(QStringLiteral("WinHeight"), value);
}

long TARMODatabase::WindowWidth() const {
    return readBounded(QStringLiteral("WinWidth"), firstStartShare(mScreen.WidthTwips(), 80), 1001,
                       mScreen.WidthTwips());
}
void TARMODatabase::SetWindowWidth(long value) {
    writeLong(QStringLiteral("WinWidth"), value);
}

::WindowState TARMODatabase::WindowState() const {
    return restoredState(asLong(SettingText(QStringLiteral("WinState"))).value_or(0));
}
void TARMODatabase::SetWindowState(::WindowState value) {
    writeLong(QStringLiteral("WinState"), static_cast<long>(value));
}

long TARMODatabase::DBTWidth() const {
    return readBounded(QStringLiteral("DatabaseListWidth"),
                       std::max(2865L, firstStartShare(mScreen.WidthTwips(), 20)), 1, mScreen.WidthTwips());
}
void TARMODatabase::SetDBTWidth(long value) {
    writeLong(QStringLiteral("DatabaseListWidth"), value);
}

bool TARMODatabase::DBTVisible() const {
    return readBool(QStringLiteral("DatabaseList"), true);
}
void TARMODatabase::SetDBTVisible(bool value) {
    writeBool(QStringLiteral("DatabaseList"), value);
}

bool TARMODatabase::ExtraPanelVisible() const {
    return readBool(QStringLiteral("ExtraInfo"), true);
}
void TARMODatabase::SetExtraPanelVisible(bool value) {
    writeBool(QStringLiteral("ExtraInfo"), value);
}

long TARMODatabase::ExtraPanelHeight() const {
    return readBounded(QStringLiteral("ExtraInfoHeight"), -1, 1, mScreen.heightPixels);
}
void TARMODatabase::SetExtraPanelHeight(long value) {
    writeLong(QStringLiteral("ExtraInfoHeight"), value);
}

bool TARMODatabase::ShowMainStatusBar() const {
    return readBool(QStringLiteral("ShowMainStatusBar"), true);
}
void TARMODatabase::SetShowMainStatusBar(bool value) {
    writeBool(QStringLiteral("ShowMainStatusBar"), value);
}

bool TARMODatabase::ShowDescriptionPrompt() const {
    return readBool(QStringLiteral("ShowDescriptionPrompt"), false);
}
void TARMODatabase::SetShowDescriptionPrompt(bool value) {
    writeBool(QStringLiteral("ShowDescriptionPrompt"), value);
}

bool TARMODatabase::ShowDescriptionInDBT() const {
    return readBool(QStringLiteral("ShowDescriptionInDBT"), false);
}
void TARMODatabase::SetShowDescriptionInDBT(bool value) {
    writeBool(QStringLiteral("ShowDescriptionInDBT"), value);
}

bool TARMODatabase::ShowOwnerNameInName() const {
    return readBool(QStringLiteral("ItemOwnerName"), false);
}
void TARMODatabase::SetShowOwnerNameInName(bool value) {
    writeBool(QStringLiteral("ItemOwnerName"), value);
}

bool TARMODatabase::ShowOwnerNameInProp() const {
    return readBool(QStringLiteral("ItemPropOwnerName"), false);
}
void TARMODatabase::SetShowOwnerNameInProp(bool value) {
    writeBool(QStringLiteral("ItemPropOwnerName"), value);
}

bool TARMODatabase::ShowSaveChangesNew() const {
    return readBool(QStringLiteral("ShowSaveChangesPromptNew"), true);
}
void TARMODatabase::SetShowSaveChangesNew(bool value) {
    writeBool(QStringLiteral("ShowSaveChangesPromptNew"), value);
}

bool TARMODatabase::ShowSaveChangesEdit() const {
    return readBool(QStringLiteral("ShowSaveChangesPromptEdit"), true);
}
void TARMODatabase::SetShowSaveChangesEdit(bool value) {
    writeBool(QStringLiteral("ShowSaveChangesPromptEdit"), value);
}

int TARMODatabase::ShowSaveChangesPermission() const {
    return readCode(QStringLiteral("ShowSaveChangesPermission"), 0, {1, 2});
}
void TARMODatabase::SetShowSaveChangesPermission(int value) {
    writeLong(QStringLiteral("ShowSaveChangesPermission"), value);
}

long TARMODatabase::SaveChangesEditDefault() const {
    return readWhole(QStringLiteral("SaveChangesEditDefault"), 0, 1);
}
void TARMODatabase::SetSaveChangesEditDefault(long value) {
    writeLong(QStringLiteral("SaveChangesEditDefault"), value);
}

long TARMODatabase::SaveChangesNewDefault() const {
    return readWhole(QStringLiteral("SaveChangesNewDefault"), 0, 1);
}
void TARMODatabase::SetSaveChangesNewDefault(long value) {
    writeLong(QStringLiteral("SaveChangesNewDefault"), value);
}

bool TARMODatabase::ShowPermissionsOnNewObjectCreate() const {
    return readBool(QStringLiteral("ShowPermissionsOnNewObjectCreate"), false);
}
void TARMODatabase::SetShowPermissionsOnNewObjectCreate(bool value) {
    writeBool(QStringLiteral("ShowPermissionsOnNewObjectCreate"), value);
}

bool TARMODatabase::ShowCommentPrompt() const {
    return readBool(QStringLiteral("ShowCommentPrompt"), true);
}
void TARMODatabase::SetShowCommentPrompt(bool value) {
    writeBool(QStringLiteral("ShowCommentPrompt"), value);
}

int TARMODatabase::ShowPermissionsInDBT() const {
    return readCode(QStringLiteral("ShowPermissionsInDBT"), 0, {1, 2});
}
void TARMODatabase::SetShowPermissionsInDBT(int value) {
    writeLong(QStringLiteral("ShowPermissionsInDBT"), value);
}

int TARMODatabase::ShowPermissionsInEditor() const {
    return readCode(QStringLiteral("ShowPermissionsInEditor"), 0, {1, 2});
}
void TARMODatabase::SetShowPermissionsInEditor(int value) {
    writeLong(QStringLiteral("ShowPermissionsInEditor"), value);
}

::WindowState TARMODatabase::ChildWindowState() const {
    return restoredState(readWhole(QStringLiteral("ChildWindowState"), 0, 0));
}
void TARMODatabase::SetChildWindowState(::WindowState value) {
    writeLong(QStringLiteral("ChildWindowState"), static_cast<long>(value));
}

bool TARMODatabase::ChildWindowSizeSet() const {
    return !SettingText(QStringLiteral("ChildWindowWidth")).isEmpty();
}

long TARMODatabase::ChildWindowWidth() const {
    return readWhole(QStringLiteral("ChildWindowWidth"), 5000, 1);
}
void TARMODatabase::SetChildWindowWidth(long value) {
    writeLong(QStringLiteral("ChildWindowWidth"), value);
}

long TARMODatabase::ChildWindowHeight() const {
    return readWhole(QStringLiteral("ChildWindowHeight"), 5000, 1);
}
void TARMODatabase::SetChildWindowHeight(long value) {
    writeLong(QStringLiteral("ChildWindowHeight"), value);
}

long TARMODatabase::diffLeft() const {
    return readBounded(QStringLiteral("DiffLeft"), 100, 1, mScreen.widthPixels);
}
void TARMODatabase::SetdiffLeft(long value) {
    writeLong(QStringLiteral("DiffLeft"), value);
}

long TARMODatabase::diffTop() const {
    return readBounded(QStringLiteral("DiffTop"), 100, 1, mScreen.heightPixels);
}
void TARMODatabase::SetdiffTop(long value) {
    writeLong(QStringLiteral("DiffTop"), value);
}

long TARMODatabase::diffRight() const {
    return readBounded(QStringLiteral("DiffRight"), 600, diffLeft() + 1, mScreen.widthPixels);
}
void TARMODatabase::SetdiffRight(long value) {
    writeLong(QStringLiteral("DiffRight"), value);
}

long TARMODatabase::diffBottom() const {
    return readBounded(QStringLiteral("DiffBottom"), 400, diffTop() + 1, mScreen.heightPixels);
}
void TARMODatabase::SetdiffBottom(long value) {
    writeLong(QStringLiteral("DiffBottom"), value);
}

QString TARMODatabase::diffRect() const {
    return QStringLiteral("%1, %2, %3, %4").arg(diffLeft()).arg(diffTop()).arg(diffRight()).arg(diffBottom());
}

void TARMODatabase::SetdiffRect(const QString& value) {
    const auto parts = value.split(QLatin1Char(','));
    const auto part = [&parts](int i) { return i < parts.size() ? asLong(parts[i]) : std::nullopt; };
    if (const auto left = part(0))
        SetdiffLeft(*left);
    if (const auto top = part(1))
        SetdiffTop(*top);
    if (const auto right = part(2))
        SetdiffRight(*right);
    if (const auto bottom = part(3))
        SetdiffBottom(*bottom);
}

bool TARMODatabase::diffMaximized() const {
    return readBool(QStringLiteral("DiffMax"), false);
}
void TARMODatabase::SetdiffMaximized(bool value) {
    writeBool(QStringLiteral("DiffMax"), value);
}

int TARMODatabase::DocGenType() const {
    return readCode(QStringLiteral("DocGenType"), 0, {});
}
void TARMODatabase::SetDocGenType(int value) {
    writeLong(QStringLiteral("DocGenType"), value);
}

QString TARMODatabase::DocGenFileName() const {
    return SettingText(QStringLiteral("DocGenFileName"));
}
void TARMODatabase::SetDocGenFileName(const QString& value) {
    writeSetting(QStringLiteral("DocGenFileName"), value);
}

QString TARMODatabase::DocGenTempalte() const {
    return SettingText(QStringLiteral("DocGenTempalte"));
}
void TARMODatabase::SetDocGenTempalte(const QString& value) {
    writeSetting(QStringLiteral("DocGenTempalte"), value);
}

QString TARMODatabase::ODBCDriver() const {
    return SettingText(QStringLiteral("ODBCDriver"));
}
void TARMODatabase::SetODBCDriver(const QString& value) {
    writeSetting(QStringLiteral("ODBCDriver"), value);
}

QString TARMODatabase::ODBCOptions() const {
    return SettingText(QStringLiteral("ODBCOptions"));
}
void TARMODatabase::SetODBCOptions(const QString& value) {
    writeSetting(QStringLiteral("ODBCOptions"), value);
}

QString TARMODatabase::GetDefaultText(const QString& objectTag) const {
    return ReadTextFile(UserFolder() + QLatin1Char('/') + objectTag + QStringLiteral(".default"));
}

void TARMODatabase::SetDefaultText(const QString& objectTag, const QString& defaultText) {
    QDir().mkpath(ApplicationFolder());
    EnsureFolder(UserFolder());
    WriteTextFile(UserFolder() + QLatin1Char('/') + objectTag + QStringLiteral(".default"), defaultText);
}
