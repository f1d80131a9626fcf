#pragma once

#include "DocGenNames.h"
#include "DocGenRun.h"

#include <memory>

namespace word {
class Cell;
class Document;
class Table;
} // namespace word

// The two documents as a Word document (.docx): the same content as the HTML, laid out with
// headings, styles, tables, shading, fonts and colours, saved to the output file in one piece.
class DocGenWord {
public:
    DocGenWord(const DocGenProject& project, DocGenProgress& progress);
    ~DocGenWord();

    void CompleteDocument(const QList<DocGenKind>& kinds);
    void ModuleDocument(const QList<DocGenKind>& kinds, const DocGenModule& module);

private:
    void start();
    void save();
    void heading(const QString& text, int builtinStyle, bool noProofing = false);
    void objectTable(const QString& kindName, const QList<std::shared_ptr<TARMOObjectVSS>>& objects,
                     bool withFields);
    void formatHeadRow(word::Table& table, bool topCells);
    void fieldCell(word::Cell& cell, TARMOObjectVSS& object);
    word::Table& detailsTable(int rows, double labelPct);
    void addCodeStyle();
    void fileReferences(const class DocGenFile& file);
    void checkCancel() const;

    const DocGenProject& mProject;
    DocGenProgress& mProgress;
    DocGenNames mNames;
    std::unique_ptr<word::Document> mDocument;
    unsigned mCodeColor = 0x808080;
};
