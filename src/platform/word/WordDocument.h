#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

// A small word-processing document model with what the Word output asks of a word processor:
// paragraphs with styles by name or built-in number, runs with bold, italic, colour and proofing,
// tables with percent widths, shading, borders, cell padding and nested tables, page breaks,
// paragraph styles of one's own and a template's protection. SaveAs writes it as an Office Open
// XML document (.docx) in one piece. Colours are 0xRRGGBB.
namespace word {

// The built-in style numbers.
enum class BuiltinStyle : int { Normal = -1, Heading1 = -2, Heading2 = -3, Heading3 = -4, Heading4 = -5 };
// The style name of a built-in number ("Normal", "heading 1", ...); "" for an unknown number.
QString BuiltinStyleName(int number);

enum class Alignment : int { Left = 0, Center = 1, Right = 2 };
enum class VerticalAlignment : int { Top = 0, Center = 1, Bottom = 3 };

// Protection types: -1 none, 0 tracked changes, 1 comments, 2 forms, 3 read only.
constexpr int NoProtection = -1;

struct RunFormat {
    std::optional<bool> Bold;
    std::optional<bool> Italic;
    std::optional<unsigned> Color;
    bool NoProofing = false;
};

struct Run {
    QString Text; // line breaks inside become breaks within the paragraph
    RunFormat Format;
    bool PageBreak = false;
};

class Table;

class Paragraph {
public:
    QString Style; // a style name; "" is Normal
    std::optional<Alignment> Align;
    double LeftIndentPt = 0;
    std::optional<unsigned> Shading;
    RunFormat Format; // applies to every run that doesn't say otherwise
    QList<Run> Runs;

    Run& AddRun(const QString& text, const RunFormat& format = RunFormat());
    QString Text() const;
};

// A paragraph or a table.
struct Block {
    std::unique_ptr<Paragraph> paragraph;
    std::unique_ptr<Table> table;
};

class Cell {
public:
    Cell();
    ~Cell();
    Cell(Cell&&) noexcept;
    Cell& operator=(Cell&&) noexcept;

    VerticalAlignment VAlign = VerticalAlignment::Top;
    bool NoPadding = false;
    std::optional<unsigned> Shading;

    // A cell starts with one empty paragraph, as a word processor's does.
    Paragraph& FirstParagraph();
    Paragraph& AddParagraph();
    Table& AddTable(int rows, int columns);
    const std::vector<Block>& Blocks() const { return mBlocks; }
    // Text of all paragraphs, nested tables left out, joined by "\n".
    QString Text() const;

private:
    std::vector<Block> mBlocks;
};

class Row {
public:
    std::vector<Cell> Cells;
};

class Table {
public:
    Table(int rows, int columns);

    int Columns() const { return mColumns; }
    int RowCount() const { return static_cast<int>(mRows.size()); }
    // From 1, as a word processor counts.
    Cell& At(int row, int column);
    const Cell& At(int row, int column) const;
    Row& AddRow();
    const std::vector<std::unique_ptr<Row>>& Rows() const { return mRows; }

    bool Borders = true;
    double PreferredWidthPct = 100;
    // One entry per column; a column without one shares what is left.
    QList<double> ColumnWidthsPct;

private:
    int mColumns;
    std::vector<std::unique_ptr<Row>> mRows;
};

// A paragraph style of the document's own.
struct ParagraphStyle {
    QString Name;
    QString BaseStyle = QStringLiteral("Normal");
    QString FontName;
    double SizePt = 0;
    std::optional<unsigned> Color;
    std::optional<unsigned> Shading;
    bool NoProofing = false;
};

class Document {
public:
    Document();
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    // Takes over the styles (and theme, numbering and protection) of a .dotx/.docx. Raises
    // TARMOError where the file can't be read as such.
    void UseTemplate(const QString& path);

    // Appends at the end of the document.
    Paragraph& AddParagraph(const QString& text = QString(), const QString& style = QString());
    Paragraph& AddParagraph(const QString& text, BuiltinStyle style);
    Table& AddTable(int rows, int columns);
    void AddPageBreak();
    const std::vector<Block>& Blocks() const { return mBlocks; }

    // Adds or replaces a paragraph style. Raises TARMOError (4605, "This method or property is not
    // available because the document is protected.") in a protected document.
    void AddStyle(const ParagraphStyle& style);
    // The style of that name, from the document or the template; nullptr for none known here.
    const ParagraphStyle* Style(const QString& name) const;

    int ProtectionType() const { return mProtection; }
    void Unprotect() { mProtection = NoProtection; }
    void Protect(int type) { mProtection = type; }

    // The whole package as bytes, and written to a file in one piece (raises TARMOError).
    QByteArray ToDocx() const;
    void SaveAs(const QString& fileName) const;

private:
    struct Package;
    std::vector<Block> mBlocks;
    QList<ParagraphStyle> mStyles;
    int mProtection = NoProtection;
    std::unique_ptr<Package> mTemplate;
};

} // namespace word
