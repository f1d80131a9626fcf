#include "ScriptCreator.h"

#include "GeneralHelpers.h"
#include "ScriptMessages.h"
#include "TARMOError.h"
#include "TARMOSQL.h"

#include <QDir>
#include <QDomDocument>
#include <QFileInfo>
#include <QXmlStreamWriter>

namespace {

const QString dateFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");

QString yesNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

bool isYes(const QString& value) {
    return value.toLower() == QLatin1String("yes");
}

// The attributes of an element by their lower-cased names.
QList<QPair<QString, QString>> attributesOf(const QDomElement& element) {
    QList<QPair<QString, QString>> out;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        out.append({attribute.name().toLower(), attribute.value()});
    }
    return out;
}

} // namespace

ScriptCreator::ScriptCreator()
    : mSQLConnection(std::make_unique<TARMOSQL>()) {}

ScriptCreator::~ScriptCreator() = default;

void ScriptCreator::LoadDocumentSettings(const QString& fileName) {
    if (!FileExists(fileName))
        return;
    QDomDocument document;
    QString error;
    int line = 0;
    int column = 0;
    if (!document.setContent(ReadTextFile(fileName), &error, &line, &column)) {
        ScriptMessages::SettingsDamaged(
            fileName, QStringLiteral("line %1, column %2: %3").arg(line).arg(column).arg(error));
        return;
    }
    const QDomElement root = document.documentElement();
    if (root.tagName() != QLatin1String("ScriptCreator")) {
        ScriptMessages::SettingsDamaged(fileName, QStringLiteral("its root element is not ScriptCreator"));
        return;
    }
    for (const auto& [name, value] : attributesOf(root.firstChildElement(QStringLiteral("Settings")))) {
        bool numeric = false;
        const long option = value.toLong(&numeric);
        if (name == QLatin1String("option") && numeric && option >= 1 && option <= 4)
            mOptionSelected = option;
        else if (name == QLatin1String("filename"))
            mFileName = value;
        else if (name == QLatin1String("dropobjects"))
            mDropObjects = isYes(value);
        else if (name == QLatin1String("createpermission"))
            mCreatePermission = isYes(value);
        else if (name == QLatin1String("dependencyorder"))
            mDependencyOrder = isYes(value);
    }
    for (const auto& [name, value] : attributesOf(root.firstChildElement(QStringLiteral("Database")))) {
        if (name == QLatin1String("server"))
            mSQLConnection->SetServer(value);
        else if (name == QLatin1String("username"))
            mSQLConnection->SetUserName(value);
        else if (name == QLatin1String("database"))
            mSQLConnection->SetDatabase(value);
        else if (name == QLatin1String("usewinauth"))
            mSQLConnection->SetUseWinNTAuth(isYes(value));
    }
    for (const auto& [name, value] : attributesOf(root.firstChildElement(QStringLiteral("VSS")))) {
        const bool isDate = ParseDateText(value).isValid();
        if (name == QLatin1String("from") && isDate)
            mVSSStart = value;
        else if (name == QLatin1String("until") && isDate)
            mVSSEnd = value;
        else if (name == QLatin1String("today"))
            mVSSIsToday = isYes(value);
    }
}

bool ScriptCreator::SaveDocumentSettings(const QString& fileName) const {
    QString text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartElement(QStringLiteral("ScriptCreator"));
    xml.writeStartElement(QStringLiteral("Settings"));
    xml.writeAttribute(QStringLiteral("option"), QString::number(mOptionSelected));
    xml.writeAttribute(QStringLiteral("filename"), mFileName);
    xml.writeAttribute(QStringLiteral("dropobjects"), yesNo(mDropObjects));
    xml.writeAttribute(QStringLiteral("createpermission"), yesNo(mCreatePermission));
    xml.writeAttribute(QStringLiteral("dependencyorder"), yesNo(mDependencyOrder));
    xml.writeEndElement();
    xml.writeStartElement(QStringLiteral("Database"));
    xml.writeAttribute(QStringLiteral("server"), mSQLConnection->Server());
    xml.writeAttribute(QStringLiteral("username"),
                       mSQLConnection->UseWinNTAuth() ? QString() : mSQLConnection->UserName());
    xml.writeAttribute(QStringLiteral("usewinauth"), yesNo(mSQLConnection->UseWinNTAuth()));
    xml.writeAttribute(QStringLiteral("database"), mSQLConnection->Database());
    xml.writeEndElement();
    xml.writeStartElement(QStringLiteral("VSS"));
    xml.writeAttribute(QStringLiteral("from"), mVSSStart);
    xml.writeAttribute(QStringLiteral("until"), mVSSEnd);
    xml.writeAttribute(QStringLiteral("today"), yesNo(mVSSIsToday));
    xml.writeEndElement();
    xml.writeEndElement();
    try {
        EnsureSettingsFolder(fileName);
        return WriteTextFile(fileName, text);
    } catch (const TARMOError& error) {
        ScriptMessages::SettingsNotSaved(fileName, error.Description());
        return false;
    }
}

QString ScriptCreator::SettingsFileName(const QString& projectName, const QString& userName) {
    const QString user = userName.isEmpty() ? GetWindowsUserName() : userName;
    return ApplicationFolder() + QLatin1Char('/') + user + QLatin1Char('/') + projectName +
           QStringLiteral("_scripts.xml");
}

void ScriptCreator::EnsureSettingsFolder(const QString& settingsFileName) {
    QDir().mkpath(QFileInfo(settingsFileName).absolutePath());
}

QString ScriptCreator::DateText(const QDateTime& date) {
    return date.isValid() ? date.toString(dateFormat) : QString();
}

QDateTime ScriptCreator::ParseDateText(const QString& text) {
    const QString trimmed = text.trimmed();
    for (const QString& format : {dateFormat, QStringLiteral("yyyy-MM-dd"),
                                  QStringLiteral("yyyy.MM.dd HH:mm:ss"), QStringLiteral("yyyy.MM.dd"),
                                  QStringLiteral("dd.MM.yyyy HH:mm:ss"), QStringLiteral("dd.MM.yyyy")}) {
        QDateTime date = QDateTime::fromString(trimmed, format);
        if (date.isValid())
            return date;
    }
    return QDateTime::fromString(trimmed, Qt::ISODate);
}
