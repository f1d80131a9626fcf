#include "TARMODatabase.h"

#include "KeyStore.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"

#include <QMap>

namespace {

bool isFlagSet(const QString& text) {
    return text == QLatin1String("1");
}
QString flagText(bool value) {
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

// A subkey names a project only when its name is a number.
std::optional<long> projectNumber(const QString& keyName) {
    bool ok = false;
    const long number = keyName.trimmed().toLong(&ok);
    return ok ? std::optional<long>(number) : std::nullopt;
}

QString recordPath(long number) {
    return TARMODatabase::SettingsKey + QLatin1Char('\\') + QString::number(number);
}

QString valueText(const QList<KeyStore::Value>& values, const QString& name) {
    for (const auto& v : values)
        if (v.name == name && v.type == KeyStore::String)
            return v.text;
    return {};
}

// The records as the batch holds them, by number; only keys with a number and a name are records.
QMap<long, QList<KeyStore::Value>> records(const KeyStore::Batch& batch) {
    QMap<long, QList<KeyStore::Value>> found;
    for (const auto& name :
         batch.SubKeys(Registry::HKEY_CURRENT_USER, TARMODatabase::SettingsKey).value_or(QStringList())) {
        const auto number = projectNumber(name);
        if (!number)
            continue;
        const auto values =
            batch.Values(Registry::HKEY_CURRENT_USER, TARMODatabase::SettingsKey + QLatin1Char('\\') + name);
        if (values && !valueText(*values, QStringLiteral("PrjName")).trimmed().isEmpty())
            found.insert(*number, *values);
    }
    return found;
}

void writeRecord(KeyStore::Batch& batch, long number, const QList<KeyStore::Value>& values) {
    for (const auto& v : values)
        batch.SetValue(Registry::HKEY_CURRENT_USER, recordPath(number), v);
}

} // namespace

std::shared_ptr<RegistryKey> TARMODatabase::ProjectsRoot(bool withValues) const {
    return mRegistry.GetKeyData(Registry::HKEY_CURRENT_USER, SettingsKey, withValues, true);
}

std::shared_ptr<TARMOProject> TARMODatabase::LoadProjectFromKey(const RegistryKey& key) const {
    const QString name = key.GetValueData(QStringLiteral("PrjName"));
    if (name.isEmpty())
        return nullptr;
    auto project = std::make_shared<TARMOProject>();
    project->SetName(name);
    project->SetSequence(projectNumber(key.Name()).value_or(0));
    project->SetDefault(false);

    TARMOSQL& sql = project->SQL();
    sql.SetServer(key.GetValueData(QStringLiteral("LastServer")));
    sql.SetDatabase(key.GetValueData(QStringLiteral("LastDatabase")));
    sql.SetUseWinNTAuth(isFlagSet(key.GetValueData(QStringLiteral("SQLUseWinAuth"))));
    sql.SetUserName(key.GetValueData(QStringLiteral("LastUserName")));
    sql.SetStorePassword(isFlagSet(key.GetValueData(QStringLiteral("SavePassword"))));
    if (sql.StorePassword())
        sql.SetPassword(key.GetValueData(QStringLiteral("Password")));

    TARMOVSS& vss = project->VSS();
    vss.SetIniFile(key.GetValueData(QStringLiteral("VSSFile")));
    vss.SetUserName(key.GetValueData(QStringLiteral("VSSUser")));
    vss.SetProject(key.GetValueData(QStringLiteral("VSSProject")));
    vss.SetGeneralWorkingFolder(key.GetValueData(QStringLiteral("PathInit")));
    vss.SetStorePassword(isFlagSet(key.GetValueData(QStringLiteral("VSSSavePassword"))));
    if (vss.StorePassword())
        vss.SetPassword(key.GetValueData(QStringLiteral("VSSPassword")));
    return project;
}

bool TARMODatabase::OpenProject(const std::shared_ptr<TARMOProject>& prjToOpen) {
    if (!mMainWindow && mMainWindowFactory) {
        mMainWindow = mMainWindowFactory();
        mMainWindow->SetLoading(true);
        mMainWindow->Init(*this);
    } else if (mMainWindow) {
        mMainWindow->SetLoading(true);
        mMainWindow->HideWindow();
    }
    SetProject(prjToOpen);
    if (prjToOpen->Sequence() > 1)
        MoveProjectToTop(prjToOpen->Sequence());
    if (mMainWindow) {
        mMainWindow->SetCaption(prjToOpen->Name() + QStringLiteral(" - TARMO"));
        mMainWindow->InitDBT(DBTWidth());
        mMainWindow->SetGeometry(WindowHeight(), WindowWidth(), WindowState());
        mMainWindow->SetDatabaseTreeVisible(DBTVisible());
        mMainWindow->SetExtraPanelVisible(ExtraPanelVisible());
        mMainWindow->SetLoading(false);
        mMainWindow->ShowWindow();
        mMainWindow->CheckProjectSyncInfo();
    }
    return true;
}

std::shared_ptr<TARMOProject> TARMODatabase::GetDefaultProject() const {
    const auto number = projectNumber(SettingText(QStringLiteral("ProjectToOpen")));
    if (!number || *number <= 0)
        return nullptr;
    auto project = FindProjectByID(*number);
    if (project)
        project->SetDefault(true);
    return project;
}

std::shared_ptr<TARMOProject> TARMODatabase::FindProjectByID(long SequenceID) const {
    const QString path = SettingsKey + QLatin1Char('\\') + QString::number(SequenceID);
    if (!mRegistry.KeyExists(Registry::HKEY_CURRENT_USER, path))
        return nullptr;
    return LoadProjectFromKey(*mRegistry.GetKeyData(Registry::HKEY_CURRENT_USER, path, true, false));
}

std::unique_ptr<TARMOProjects> TARMODatabase::FindAllProjects(bool bGetProjectValues,
                                                              bool bGetAllSubProjects) const {
    auto projects = std::make_unique<TARMOProjects>();
    const auto root =
        mRegistry.GetKeyData(Registry::HKEY_CURRENT_USER, SettingsKey, bGetProjectValues, bGetAllSubProjects);
    for (const auto& key : root->SubKeys()) {
        auto project = LoadProjectFromKey(*key);
        // Names are unique among the records; a second record of a name written by hand is passed over.
        if (project && !projects->Contains(project->Name()))
            projects->Add(QString(), project);
    }
    projects->SortBySequence();
    return projects;
}

bool TARMODatabase::ProjectNameExists(const QString& strNewName, const QString& strOldName) const {
    if (strNewName == strOldName)
        return false;
    const QString wanted = strNewName.toUpper();
    const auto root = ProjectsRoot(false);
    for (const auto& key : root->SubKeys())
        if (key->GetValueData(QStringLiteral("PrjName")).toUpper() == wanted)
            return true;
    return false;
}

long TARMODatabase::GetRegistryProjectCount() const {
    long highest = 0;
    const auto root = ProjectsRoot(false);
    for (const auto& key : root->SubKeys()) {
        const auto number = key->Name().isEmpty() ? std::nullopt : projectNumber(key->Name());
        if (number && !key->GetValueData(QStringLiteral("PrjName")).trimmed().isEmpty())
            highest = std::max(highest, *number);
    }
    return highest;
}

void TARMODatabase::SaveProject(TARMOProject& spToSave) {
    const TARMOSQL& sql = spToSave.SQL();
    const TARMOVSS& vss = spToSave.VSS();
    const std::pair<const char*, QString> fields[] = {
        {"PrjName", spToSave.Name()},
        {"LastServer", sql.Server()},
        {"LastDatabase", sql.Database()},
        {"SQLUseWinAuth", flagText(sql.UseWinNTAuth())},
        {"LastUserName", sql.UserName()},
        {"Password", sql.Password()},
        {"SavePassword", flagText(sql.StorePassword())},
        {"VSSFile", vss.IniFile()},
        {"VSSUser", vss.UserName()},
        {"VSSPassword", vss.Password()},
        {"VSSProject", vss.Project()},
        {"VSSSavePassword", flagText(vss.StorePassword())},
        {"PathInit", vss.GeneralWorkingFolder()},
    };
    QList<KeyStore::Value> values;
    for (const auto& [name, text] : fields)
        values.append({QString::fromLatin1(name), KeyStore::String, text, {}});
    // The new number and the values go in together: another copy that saves a record at the same
    // time gets the next number, never this one.
    long number = spToSave.Sequence();
    mRegistry.Store()->Update([&](KeyStore::Batch& batch) {
        if (number == -1) {
            const auto existing = records(batch);
            number = existing.isEmpty() ? 1 : existing.lastKey() + 1;
        }
        writeRecord(batch, number, values);
        return true;
    });
    spToSave.SetSequence(number);
}

void TARMODatabase::RemoveProject(const TARMOProject& spToRemove) {
    mRegistry.Store()->Update([&](KeyStore::Batch& batch) {
        const auto existing = records(batch);
        if (existing.isEmpty())
            return false;
        const long last = existing.lastKey();
        for (long number = spToRemove.Sequence() + 1; number <= last; ++number)
            if (existing.contains(number))
                writeRecord(batch, number - 1, existing.value(number));
        batch.DeleteKey(Registry::HKEY_CURRENT_USER, recordPath(last));
        return true;
    });
}

void TARMODatabase::MoveProjectToTop(long n) {
    if (n < 2)
        return;
    mRegistry.Store()->Update([&](KeyStore::Batch& batch) {
        // Every record is read before any is written, so the order of writing doesn't matter.
        const auto existing = records(batch);
        if (!existing.contains(n))
            return false;
        for (long i = n - 1; i >= 1; --i)
            if (existing.contains(i))
                writeRecord(batch, i + 1, existing.value(i));
        writeRecord(batch, 1, existing.value(n));
        return true;
    });
}

QStringList TARMODatabase::GetMostRecentProject() const {
    QString names[5];
    const auto projects = FindAllProjects();
    for (const auto& project : *projects)
        if (project->Sequence() >= 1 && project->Sequence() < 5)
            names[project->Sequence()] = project->Name();
    QStringList result{QString()};
    for (int i = 1; i < 5; ++i)
        if (!names[i].isEmpty())
            result << names[i];
    return result;
}
