#include "WordDocument.h"

#include "TARMOError.h"

namespace word {

QString BuiltinStyleName(int number) {
    switch (number) {
    case -1:
        return QStringLiteral("Normal");
    case -2:
        return QStringLiteral("heading 1");
    case -3:
        return QStringLiteral("heading 2");
    case -4:
        return QStringLiteral("heading 3");
    case -5:
        return QStringLiteral("heading 4");
    default:
        return QString();
    }
}

Run& Paragraph::AddRun(const QString& text, const RunFormat& format) {
    Runs.append(Run{text, format, false});
    return Runs.last();
}

QString Paragraph::Text() const {
    QString text;
    for (const Run& run : Runs)
        text += run.Text;
    return text;
}

Cell::Cell() {
    AddParagraph();
}
Cell::~Cell() = default;
Cell::Cell(Cell&&) noexcept = default;
Cell& Cell::operator=(Cell&&) noexcept = default;

Paragraph& Cell::FirstParagraph() {
    for (Block& block : mBlocks)
        if (block.paragraph)
            return *block.paragraph;
    return AddParagraph();
}

Paragraph& Cell::AddParagraph() {
    mBlocks.push_back(Block{std::make_unique<Paragraph>(), nullptr});
    return *mBlocks.back().paragraph;
}

Table& Cell::AddTable(int rows, int columns) {
    // A table put into a fresh cell takes the place of its empty paragraph, as in a word processor.
    if (mBlocks.size() == 1 && mBlocks.front().paragraph && mBlocks.front().paragraph->Runs.isEmpty())
        mBlocks.clear();
    mBlocks.push_back(Block{nullptr, std::make_unique<Table>(rows, columns)});
    return *mBlocks.back().table;
}

QString Cell::Text() const {
    QStringList parts;
    for (const Block& block : mBlocks)
        if (block.paragraph)
            parts.append(block.paragraph->Text());
    return parts.join(QLatin1Char('\n'));
}

Table::Table(int rows, int columns)
    : mColumns(columns) {
    for (int n = 0; n < rows; ++n)
        AddRow();
}

Cell& Table::At(int row, int column) {
    if (row < 1 || row > RowCount() || column < 1 || column > mColumns)
        throw TARMOError(5941, QStringLiteral("Table"),
                         QStringLiteral("The requested member of the collection does not exist."));
    return mRows[row - 1]->Cells[column - 1];
}

const Cell& Table::At(int row, int column) const {
    return const_cast<Table*>(this)->At(row, column);
}

Row& Table::AddRow() {
    auto row = std::make_unique<Row>();
    row->Cells.resize(mColumns);
    mRows.push_back(std::move(row));
    return *mRows.back();
}

Paragraph& Document::AddParagraph(const QString& text, const QString& style) {
    mBlocks.push_back(Block{std::make_unique<Paragraph>(), nullptr});
    Paragraph& paragraph = *mBlocks.back().paragraph;
    paragraph.Style = style;
    if (!text.isEmpty())
        paragraph.AddRun(text);
    return paragraph;
}

Paragraph& Document::AddParagraph(const QString& text, BuiltinStyle style) {
    return AddParagraph(text, BuiltinStyleName(int(style)));
}

Table& Document::AddTable(int rows, int columns) {
    mBlocks.push_back(Block{nullptr, std::make_unique<Table>(rows, columns)});
    return *mBlocks.back().table;
}

void Document::AddPageBreak() {
    Paragraph& paragraph = AddParagraph();
    paragraph.Runs.append(Run{QString(), RunFormat(), true});
}

void Document::AddStyle(const ParagraphStyle& style) {
    if (mProtection != NoProtection)
        throw TARMOError(
            4605, QStringLiteral("Document"),
            QStringLiteral("This method or property is not available because the document is protected."));
    for (ParagraphStyle& existing : mStyles)
        if (existing.Name.compare(style.Name, Qt::CaseInsensitive) == 0) {
            existing = style;
            return;
        }
    mStyles.append(style);
}

const ParagraphStyle* Document::Style(const QString& name) const {
    for (const ParagraphStyle& style : mStyles)
        if (style.Name.compare(name, Qt::CaseInsensitive) == 0)
            return &style;
    return nullptr;
}

} // namespace word
