#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <QStringList>

#include <optional>

class ScriptCreator;
class ScriptCreatorObject;
class ScriptSteps;

// The script file of a run: the banner and the sections of the list's objects, each object a batch
// of its own behind which "GO" stands, CR LF line ends, written in one piece. With the creator's
// DependencyOrder the creates come after the objects they use (see ScriptDependencyOrder);
// without it they keep the list's order.
class ScriptWriter {
public:
    ScriptWriter(ScriptCreator& creator, ScriptSteps& steps);

    // The steps of writing, in their order, for the creator's mode and options: "PREDROP", "ADD",
    // "UPDATE", "DROP", "PERMISSIONS", "SAVE" as they apply.
    void AddWriteSteps();
    // The whole text with a banner dated `created`; nothing when the user interrupted.
    std::optional<QString> BuildScript(const QDateTime& created);
    // Adds the steps, builds the text, and writes it to the creator's FileName, replacing the file.
    // False where the user interrupted or the file could not be written (the user has been told).
    bool WriteScript();
    // The size in bytes of the file the last WriteScript wrote.
    qint64 BytesWritten() const { return mBytesWritten; }

    // The eight lines of the banner and the two empty lines behind it.
    static QString Banner(const QDateTime& created);
    // A section with its start and end blocks; "" for an empty section text.
    static QString ScriptSection(const QString& sectionText, const QString& title);

private:
    // The create texts of the entries, reordered so that an object follows the objects it uses.
    static QStringList inDependencyOrder(const QList<const ScriptCreatorObject*>& entries,
                                         const QStringList& texts);

    ScriptCreator& mCreator;
    ScriptSteps& mSteps;
    qint64 mBytesWritten = 0;
};
