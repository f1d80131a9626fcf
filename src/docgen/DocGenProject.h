#pragma once

#include "DocGenModule.h"

#include <QList>
#include <QString>

// The document types a run can write.
namespace DocGenTypes {
inline const QString Html = QStringLiteral("HTML");
inline const QString Word = QStringLiteral("WORD");
} // namespace DocGenTypes

// One row of the start dialog's type table: key and display name ("HTML", "Microsoft Word"). The
// Word output needs no Word here (it writes .docx itself), so both rows are always offered.
struct DocGenOutputType {
    QString Key;
    QString DisplayName;
};
QList<DocGenOutputType> DocGenOutputTypes();

// The modules of a project and every option of the document generator, kept per project and user
// in the `_documents.xml` settings file.
class DocGenProject {
public:
    // What OptionSelected says.
    static constexpr long OptionModule = 1;
    static constexpr long OptionComplete = 2;

    DocGenModules& Modules() { return mModules; }
    const DocGenModules& Modules() const { return mModules; }

    QString CurrentModule;
    QString TemplateName;
    QString DocumentType = DocGenTypes::Html;
    QString GenerateName;
    QString GenerateNameAlt;
    long OptionSelected = OptionComplete;
    bool IncludeModuleSummay = false;
    bool IncludeModuleSummayPerFile = false;
    bool EncapsOwnerNames = false;
    bool EncapsObjects = false;
    bool OwnerInOwnCol = false;
    bool IncludeOwnerNames = false;

    // The settings file of a project for the present user: the user's folder (created here if
    // missing), then the project's name and "_documents.xml".
    static QString SettingsFileName(const QString& projectName);

    // A missing file changes nothing. A file that isn't the XML it should be leaves every setting
    // and module as it was, is kept beside as "<name>.damaged" (so a later save loses nothing of
    // it), and the user is told through the prompts layer. False in that case.
    bool LoadDocumentSettings(const QString& FileName);
    // Writes the whole tree in one piece, replacing the file. Raises TARMOError when the file
    // can't be written.
    void SaveDocumentSettings(const QString& FileName) const;

    // The text SaveDocumentSettings writes (no XML declaration).
    QString SettingsText() const;
    // Takes the settings from a text as LoadDocumentSettings does; False (and nothing changed)
    // when it is no such XML, with the parser's reason in error.
    bool ApplySettingsText(const QString& text, QString* error = nullptr);

private:
    DocGenModules mModules;
};
