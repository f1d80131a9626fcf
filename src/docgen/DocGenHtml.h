#pragma once

#include "DocGenNames.h"
#include "DocGenRun.h"

#include <QString>

// The HTML documents: the text is built in memory line by line (CR LF line ends) and written to the
// output file in one piece at the end.
class DocGenHtml {
public:
    DocGenHtml(const DocGenProject& project, DocGenProgress& progress);

    // The complete documentation over the kinds' objects.
    QString CompleteDocument(const QList<DocGenKind>& kinds);
    // The module documentation over the kinds' found objects and the module's files.
    QString ModuleDocument(const QList<DocGenKind>& kinds, const DocGenModule& module);

private:
    void appendLine(const QString& text, int indent = 0);
    void writeHeader(const QString& title);
    void writeFooter();
    void writeObjectRow(TARMOObjectVSS& object, long* counter, bool& newTable, bool withFields);
    void writeDetailsRow(const QString& labelCell, const QString& value);
    void checkCancel() const;

    const DocGenProject& mProject;
    DocGenProgress& mProgress;
    DocGenNames mNames;
    QString mText;
};

// Replaces the output file with the text: deletes it (a read-only one too), then writes it whole.
// Deletes the output file if it is there, a read-only one too.
void DeleteDocumentFile(const QString& fileName);
void WriteDocumentFile(const QString& fileName, const QString& text);
