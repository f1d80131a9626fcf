#include "DocGenWord.h"

#include "DocGenHtml.h"
#include "DocGenModule.h"
#include "DocGenProject.h"
#include "TARMODBTItems.h"
#include "TARMOObjectVSS.h"
#include "WordDocument.h"

using word::Alignment;
using word::BuiltinStyle;
using word::VerticalAlignment;

namespace {

constexpr unsigned kHeadShading = 0x333333;
constexpr unsigned kWhite = 0xFFFFFF;
constexpr unsigned kBlack = 0x000000;
constexpr unsigned kReferenceColor = 0xD20000;
constexpr double kNoteIndentPt = 35.4;
const QString kCodeStyle = QStringLiteral("Code");

word::RunFormat bold() {
    word::RunFormat format;
    format.Bold = true;
    return format;
}

word::RunFormat noProofing() {
    word::RunFormat format;
    format.NoProofing = true;
    return format;
}

} // namespace

DocGenWord::DocGenWord(const DocGenProject& project, DocGenProgress& progress)
    : mProject(project)
    , mProgress(progress)
    , mNames(project) {}

DocGenWord::~DocGenWord() = default;

void DocGenWord::checkCancel() const {
    if (mProgress.Cancelled())
        throw DocGenCancelled();
}

void DocGenWord::start() {
    mProgress.NextStep();
    mProgress.SetStepRange(3);
    mDocument = std::make_unique<word::Document>();
    mProgress.ShowStepProgress(1);
    if (!mProject.TemplateName.isEmpty())
        mDocument->UseTemplate(mProject.TemplateName);
    mProgress.ShowStepProgress(2);
}

void DocGenWord::save() {
    mProgress.NextStep();
    mProgress.SetStepRange(1);
    checkCancel();
    DeleteDocumentFile(mProject.GenerateName);
    mDocument->SaveAs(mProject.GenerateName);
    mProgress.ShowStepProgress(1);
    mProgress.NextStep();
}

void DocGenWord::heading(const QString& text, int builtinStyle, bool proofingOff) {
    word::Paragraph& paragraph = mDocument->AddParagraph(text, BuiltinStyle(builtinStyle));
    paragraph.Format.NoProofing = proofingOff;
}

void DocGenWord::formatHeadRow(word::Table& table, bool topCells) {
    for (word::Cell& cell : table.Rows().front()->Cells) {
        cell.Shading = kHeadShading;
        cell.VAlign = topCells ? VerticalAlignment::Top : VerticalAlignment::Center;
        word::Paragraph& paragraph = cell.FirstParagraph();
        paragraph.Align = Alignment::Center;
        paragraph.Format.Bold = true;
        paragraph.Format.Italic = false;
        paragraph.Format.Color = kWhite;
    }
}

void DocGenWord::fieldCell(word::Cell& cell, TARMOObjectVSS& object) {
    const std::unique_ptr<TARMODBTItems> items = object.GetItemInfo(mProject.IncludeOwnerNames, true, false);
    cell.NoPadding = true;
    if (!items || items->Count() == 0)
        return;
    word::Table& nested = cell.AddTable(items->Count(), 2);
    nested.Borders = false;
    nested.ColumnWidthsPct = {65, 35};
    for (int n = 1; n <= items->Count(); ++n) {
        TARMODBTItem& item = items->Item(n);
        nested.At(n, 1).FirstParagraph().AddRun(item.Text, noProofing());
        if (const TARMODBTItem* child = item.Children().FirstChild())
            nested.At(n, 2).FirstParagraph().AddRun(child->Text, noProofing());
    }
}

void DocGenWord::objectTable(const QString& kindName, const QList<std::shared_ptr<TARMOObjectVSS>>& objects,
                             bool withFields) {
    if (objects.isEmpty())
        return;
    const bool ownerColumn = mNames.OwnerColumn();
    QStringList heads{kindName + QStringLiteral(" Name")};
    if (ownerColumn)
        heads.append(QStringLiteral("Owner"));
    if (withFields)
        heads.append(objects.first()->DocumentMiddleName());
    heads.append(QStringLiteral("Description"));

    word::Table& table = mDocument->AddTable(1, int(heads.size()));
    table.PreferredWidthPct = 100;
    if (ownerColumn)
        table.ColumnWidthsPct = withFields ? QList<double>{33, 12, 33, 22} : QList<double>{39, 12, 49};
    else
        table.ColumnWidthsPct = withFields ? QList<double>{37, 35, 28} : QList<double>{45, 55};
    formatHeadRow(table, true);
    for (int c = 0; c < heads.size(); ++c)
        table.At(1, c + 1).FirstParagraph().AddRun(heads[c]);

    long counter = 0;
    for (const auto& object : objects) {
        checkCancel();
        word::Row& row = table.AddRow();
        for (word::Cell& cell : row.Cells) {
            cell.Shading = kWhite;
            word::Paragraph& paragraph = cell.FirstParagraph();
            paragraph.Format.Bold = false;
            paragraph.Format.Color = kBlack;
            paragraph.Align = Alignment::Left;
        }
        int column = 0;
        row.Cells[column++].FirstParagraph().AddRun(mNames.ObjectDisplayText(*object, true), noProofing());
        if (ownerColumn)
            row.Cells[column++].FirstParagraph().AddRun(mNames.OwnerDisplayText(object->Owner()),
                                                        noProofing());
        if (withFields)
            fieldCell(row.Cells[column++], *object);
        row.Cells[column].FirstParagraph().AddRun(mNames.Description(*object));
        mProgress.ShowStepProgress(++counter);
    }
}

word::Table& DocGenWord::detailsTable(int rows, double labelPct) {
    word::Table& table = mDocument->AddTable(rows, 2);
    table.Borders = false;
    table.ColumnWidthsPct = {labelPct, 100 - labelPct};
    return table;
}

void DocGenWord::CompleteDocument(const QList<DocGenKind>& kinds) {
    start();
    heading(QStringLiteral("Database Object Documentation"), int(BuiltinStyle::Heading1));
    mProgress.ShowStepProgress(3);
    for (const DocGenKind& kind : kinds) {
        mProgress.NextStep();
        checkCancel();
        mProgress.SetStepRange(kind.Objects.isEmpty() ? 1 : kind.Objects.size());
        if (kind.Objects.isEmpty()) {
            mProgress.ShowStepProgress(1);
            continue;
        }
        heading(kind.Text, int(BuiltinStyle::Heading2));
        objectTable(kind.Objects.first()->ObjectDisplayName(), kind.Objects, true);
    }
    save();
}

void DocGenWord::addCodeStyle() {
    const int protection = mDocument->ProtectionType();
    if (protection != word::NoProtection)
        mDocument->Unprotect();
    word::ParagraphStyle code;
    code.Name = kCodeStyle;
    code.BaseStyle = word::BuiltinStyleName(int(BuiltinStyle::Normal));
    code.FontName = QStringLiteral("Courier New");
    code.SizePt = 10;
    code.Color = 0x808080;
    code.Shading = 0xFFFFCC;
    code.NoProofing = true;
    mDocument->AddStyle(code);
    mCodeColor = mDocument->Style(kCodeStyle)->Color.value_or(0x808080);
    if (protection != word::NoProtection)
        mDocument->Protect(protection);
}

void DocGenWord::fileReferences(const DocGenFile& file) {
    const bool ownerColumn = mNames.OwnerColumn();
    // One row per reference as the reading-order walk reaches them; a second record on the very same
    // place is never reached, so it gets no (empty) row.
    const QList<const DocGenFileFound*> references = file.FoundInReadingOrder();
    word::Table& table = mDocument->AddTable(int(references.size()) + 1, ownerColumn ? 4 : 3);
    table.ColumnWidthsPct =
        ownerColumn ? QList<double>{8.8, 27.4, 10.7, 53.1} : QList<double>{8.8, 36.1, 55.1};
    formatHeadRow(table, false);
    QStringList heads{QStringLiteral("Line"), QStringLiteral("Object")};
    if (ownerColumn)
        heads.append(QStringLiteral("Owner"));
    heads.append(QStringLiteral("Context"));
    for (int c = 0; c < heads.size(); ++c)
        table.At(1, c + 1).FirstParagraph().AddRun(heads[c]);

    int row = 1;
    for (const DocGenFileFound* found : references) {
        ++row;
        for (int c = 1; c <= table.Columns(); ++c)
            table.At(row, c).VAlign = VerticalAlignment::Top;
        int column = 1;
        table.At(row, column++).FirstParagraph().AddRun(QString::number(found->FoundAt));
        table.At(row, column++)
            .FirstParagraph()
            .AddRun(mNames.ObjectDisplayText(*found->ObjectFound, true), noProofing());
        if (ownerColumn)
            table.At(row, column++)
                .FirstParagraph()
                .AddRun(mNames.OwnerDisplayText(found->ObjectFound->Owner()));
        word::Cell& context = table.At(row, column);
        context.NoPadding = true;
        word::Paragraph& paragraph = context.FirstParagraph();
        paragraph.Style = kCodeStyle;
        word::RunFormat plain;
        plain.Bold = false;
        plain.Color = mCodeColor;
        word::RunFormat reference;
        reference.Bold = true;
        reference.Color = kReferenceColor;
        paragraph.AddRun(found->TextBefore(), plain);
        paragraph.AddRun(found->TextReference(), reference);
        paragraph.AddRun(found->TextBehind(), plain);
    }
}

void DocGenWord::ModuleDocument(const QList<DocGenKind>& kinds, const DocGenModule& module) {
    start();
    heading(QStringLiteral("Module \"") + module.Name + QLatin1Char('"'), int(BuiltinStyle::Heading1));
    mProgress.ShowStepProgress(3);

    QList<std::pair<QString, QString>> details{{QStringLiteral("Name:"), module.Name}};
    const std::pair<QString, QString> optional[] = {{QStringLiteral("Project:"), module.Project},
                                                    {QStringLiteral("Created By:"), module.CreatedBy},
                                                    {QStringLiteral("Created On:"), module.CreatedOn},
                                                    {QStringLiteral("Developed By:"), module.DevelopedBy},
                                                    {QStringLiteral("Description:"), module.Description},
                                                    {QStringLiteral("Primray Path:"), module.Path}};
    for (const auto& row : optional)
        if (!row.second.isEmpty())
            details.append(row);
    details.append({QStringLiteral("Amount of Files:"), QString::number(module.Files().Count())});
    word::Table& data = detailsTable(int(details.size()), 26);
    for (int n = 0; n < details.size(); ++n) {
        data.At(n + 1, 1).FirstParagraph().AddRun(details[n].first, bold());
        data.At(n + 1, 2).FirstParagraph().AddRun(details[n].second);
    }

    if (mProject.IncludeModuleSummay) {
        heading(QStringLiteral("Summary of Objects used"), int(BuiltinStyle::Heading2));
        for (const DocGenKind& kind : kinds) {
            mProgress.NextStep();
            checkCancel();
            mProgress.SetStepRange(kind.Found.isEmpty() ? 1 : kind.Found.size());
            if (kind.Found.isEmpty()) {
                mProgress.ShowStepProgress(1);
                continue;
            }
            heading(kind.Text, int(BuiltinStyle::Heading3));
            objectTable(kind.Found.first()->ObjectDisplayName(), kind.Found, true);
        }
    }

    addCodeStyle();
    mProgress.NextStep();
    const DocGenFiles& files = module.Files();
    mProgress.SetStepRange(files.Count() + 1);
    mDocument->AddPageBreak();
    heading(QStringLiteral("Files used by Module"), int(BuiltinStyle::Heading2));
    if (!module.Path.isEmpty()) {
        word::Table& path = detailsTable(1, 30);
        path.At(1, 1).FirstParagraph().AddRun(QStringLiteral("Module Primary path:"), bold());
        path.At(1, 2).FirstParagraph().AddRun(module.Path);
    }
    long counter = 0;
    mProgress.ShowStepProgress(++counter);

    for (const auto& file : files) {
        checkCancel();
        QString note;
        heading(FileLabel(module, file->FileName(), &note), int(BuiltinStyle::Heading3), true);
        word::Table& where = detailsTable(2, 30);
        where.At(1, 1).FirstParagraph().AddRun(QStringLiteral("Absolute path:"), bold());
        where.At(1, 2).FirstParagraph().AddRun(file->Path());
        where.At(2, 1).FirstParagraph().AddRun(QStringLiteral("File Name:"), bold());
        where.At(2, 2).FirstParagraph().AddRun(file->Name());
        if (!note.isEmpty()) {
            word::Paragraph& paragraph = mDocument->AddParagraph();
            paragraph.AddRun(note, bold());
            paragraph.LeftIndentPt = kNoteIndentPt;
        }
        if (mProject.IncludeModuleSummayPerFile) {
            heading(QStringLiteral("Object Summary:"), int(BuiltinStyle::Heading4));
            QList<std::shared_ptr<TARMOObjectVSS>> used;
            for (int u = 1; u <= file->FoundUniqueCount(); ++u)
                used.append(file->FoundUnique(u));
            if (!used.isEmpty())
                objectTable(used.first()->ObjectDisplayName(), used, false);
            mDocument->AddParagraph();
        }
        heading(QStringLiteral("Object References:"), int(BuiltinStyle::Heading4));
        fileReferences(*file);
        mProgress.ShowStepProgress(++counter);
    }
    save();
}
