#include "DocGenProject.h"

#include "GeneralHelpers.h"
#include "UserPrompts.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QXmlStreamWriter>

namespace {

QString yesNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

// Attribute names are compared in lower case, as the file may have been written by hand.
QHash<QString, QString> attributesOf(const QDomElement& element) {
    QHash<QString, QString> values;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int n = 0; n < attributes.count(); ++n) {
        const QDomAttr attribute = attributes.item(n).toAttr();
        values.insert(attribute.name().toLower(), attribute.value());
    }
    return values;
}

void takeString(const QHash<QString, QString>& values, const char* name, QString& target) {
    const auto it = values.constFind(QLatin1String(name));
    if (it != values.constEnd())
        target = *it;
}

void takeBool(const QHash<QString, QString>& values, const char* name, bool& target) {
    const auto it = values.constFind(QLatin1String(name));
    if (it != values.constEnd())
        target = it->toLower() == QStringLiteral("yes");
}

} // namespace

QList<DocGenOutputType> DocGenOutputTypes() {
    return {{DocGenTypes::Html, QStringLiteral("HTML")},
            {DocGenTypes::Word, QStringLiteral("Microsoft Word")}};
}

QString DocGenProject::SettingsFileName(const QString& projectName) {
    QDir().mkpath(UserFolder());
    return UserFolder() + QLatin1Char('/') + projectName + QStringLiteral("_documents.xml");
}

bool DocGenProject::LoadDocumentSettings(const QString& FileName) {
    if (!FileExists(FileName))
        return true;
    QString error;
    if (ApplySettingsText(ReadTextFile(FileName), &error))
        return true;
    // The next save replaces the file; the damaged one stays beside it for whoever wants it back.
    const QString kept = FileName + QStringLiteral(".damaged");
    QFile::remove(kept);
    const bool copied = QFile::copy(FileName, kept);
    MsgBox(QStringLiteral("The document settings file could not be read:\r\n") + FileName +
               QStringLiteral("\r\n") + error + QStringLiteral("\r\n\r\nThe default settings are used.") +
               (copied ? QStringLiteral(" The damaged file has been kept as:\r\n") + kept : QString()),
           Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Document Settings"));
    return false;
}

bool DocGenProject::ApplySettingsText(const QString& text, QString* error) {
    QDomDocument document;
    QString message;
    int line = 0;
    int column = 0;
    if (!document.setContent(text, &message, &line, &column)) {
        if (error)
            *error = QStringLiteral("Line %1, column %2: %3").arg(line).arg(column).arg(message);
        return false;
    }
    const QDomElement root = document.documentElement();
    if (root.tagName() != QStringLiteral("ModuleManager")) {
        if (error)
            *error = QStringLiteral("The file holds no module settings.");
        return false;
    }

    const QDomElement settings = root.firstChildElement(QStringLiteral("Settings"));
    if (!settings.isNull()) {
        const QHash<QString, QString> values = attributesOf(settings);
        takeString(values, "currmodule", CurrentModule);
        takeString(values, "templatename", TemplateName);
        takeString(values, "generatename", GenerateName);
        takeString(values, "generatenamealt", GenerateNameAlt);
        takeString(values, "documentype", DocumentType);
        bool numeric = false;
        const long option = values.value(QStringLiteral("option")).toLong(&numeric);
        if (numeric && option >= 1 && option < 4)
            OptionSelected = option;
        takeBool(values, "showsummary", IncludeModuleSummay);
        takeBool(values, "showsummaryperfile", IncludeModuleSummayPerFile);
        takeBool(values, "ownernames", IncludeOwnerNames);
        takeBool(values, "encapsulateowner", EncapsOwnerNames);
        takeBool(values, "encapsulateobject", EncapsObjects);
        takeBool(values, "ownerowncol", OwnerInOwnCol);
    }

    mModules.Clear();
    const QDomElement modules = root.firstChildElement(QStringLiteral("Modules"));
    for (QDomElement element = modules.firstChildElement(QStringLiteral("Module")); !element.isNull();
         element = element.nextSiblingElement(QStringLiteral("Module"))) {
        DocGenModule& module = mModules.Add();
        const QHash<QString, QString> values = attributesOf(element);
        takeString(values, "name", module.Name);
        takeString(values, "project", module.Project);
        takeString(values, "createdby", module.CreatedBy);
        takeString(values, "createdon", module.CreatedOn);
        const auto childText = [&](const QString& name, QString& target) {
            const QDomElement child = element.firstChildElement(name);
            if (!child.isNull())
                target = child.text();
        };
        childText(QStringLiteral("Description"), module.Description);
        childText(QStringLiteral("DevelopedBy"), module.DevelopedBy);
        childText(QStringLiteral("PrimaryPath"), module.Path);
        for (QDomElement file = element.firstChildElement(QStringLiteral("File")); !file.isNull();
             file = file.nextSiblingElement(QStringLiteral("File")))
            if (!module.Files().FileExitst(file.text()))
                module.Files().Add(file.text());
    }
    return true;
}

QString DocGenProject::SettingsText() const {
    // The stream writer keeps the attributes in the order of the file's description.
    QString text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartElement(QStringLiteral("ModuleManager"));
    xml.writeEmptyElement(QStringLiteral("Settings"));
    xml.writeAttribute(QStringLiteral("currmodule"), CurrentModule);
    xml.writeAttribute(QStringLiteral("templatename"), TemplateName);
    xml.writeAttribute(QStringLiteral("generatename"), GenerateName);
    xml.writeAttribute(QStringLiteral("generatenamealt"), GenerateNameAlt);
    xml.writeAttribute(QStringLiteral("documentype"), DocumentType);
    xml.writeAttribute(QStringLiteral("option"), QString::number(OptionSelected));
    xml.writeAttribute(QStringLiteral("showsummary"), yesNo(IncludeModuleSummay));
    xml.writeAttribute(QStringLiteral("showsummaryperfile"), yesNo(IncludeModuleSummayPerFile));
    xml.writeAttribute(QStringLiteral("ownernames"), yesNo(IncludeOwnerNames));
    xml.writeAttribute(QStringLiteral("encapsulateowner"), yesNo(EncapsOwnerNames));
    xml.writeAttribute(QStringLiteral("encapsulateobject"), yesNo(EncapsObjects));
    xml.writeAttribute(QStringLiteral("ownerowncol"), yesNo(OwnerInOwnCol));
    xml.writeStartElement(QStringLiteral("Modules"));
    for (const auto& module : mModules) {
        xml.writeStartElement(QStringLiteral("Module"));
        xml.writeAttribute(QStringLiteral("name"), module->Name);
        xml.writeAttribute(QStringLiteral("project"), module->Project);
        xml.writeAttribute(QStringLiteral("createdby"), module->CreatedBy);
        xml.writeAttribute(QStringLiteral("createdon"), module->CreatedOn);
        xml.writeTextElement(QStringLiteral("Description"), module->Description);
        xml.writeTextElement(QStringLiteral("DevelopedBy"), module->DevelopedBy);
        xml.writeTextElement(QStringLiteral("PrimaryPath"), module->Path);
        for (const auto& file : module->Files())
            xml.writeTextElement(QStringLiteral("File"), file->FileName());
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
    return text;
}

void DocGenProject::SaveDocumentSettings(const QString& FileName) const {
    WriteTextFile(FileName, SettingsText());
}
