#include "DocGenHtml.h"

#include "DocGenModule.h"
#include "DocGenProject.h"
#include "GeneralHelpers.h"
#include "TARMODBTItems.h"
#include "TARMOError.h"
#include "TARMOObjectVSS.h"

#include <QSaveFile>

namespace {

const char* const kStyleSheet[] = {
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one rule, too long for a line
    "body { font: normal normal 100 12px Verdana, Arial, Helvetica, sans-serif; color: #002157; "
    "margin: 0px 0px 50px 0px; background-color: #E7EDF5; }",
    "h1 { font-size: 19px; margin: 15px 5px 15px 20px; }",
    "h2 { font-size: 17px; margin: 25px 5px 15px 20px; }",
    "h3 { font-size: 15px; margin: 10px 5px 10px 20px; }",
    "h4 { font-size: 13px; margin: 10px 5px 10px 50px; }",
    "a:link { color: #0054A6; text-decoration: none; }",
    "a:visited { color: #818181; text-decoration: none; }",
    "a:active { color: #A5BAFF; text-decoration: none; }",
    "a:hover { color: #A5BAFF; text-decoration: underline; }",
    "hr { margin-top: 20px; border: 1px solid #002157; height: 2px; width: 400px; }",
    "hr.sub { margin-top: 15px; width: 200px; height: 1px;  }",
    "table { border: 1px solid #002157; width: 700px; margin-left: 50px; margin-right: 50px; }",
    "table.filelist { width: 400px; margin: 15px 10px 20px 50px; }",
    "table.filelist td { padding-left: 20px; }",
    "th { padding: 1px 1px 1px 1px; font-weight: bold; font-size: 13px; color: #E7EDF5; background-color: "
    "#002157; "
    "border: 1px solid #002157; border-top-width: 0px; }",
    "td { padding: 1px 1px 1px 1px; font-size: 12px; border: 1px solid #002157; border-top-width: 0px; "
    "vertical-align : top; }",
    "td.line { text-align: right; padding-right: 5px; }",
    "td.note { padding-left: 50px; padding-top: 10px; padding-bottom: 10px; font-weight: bold; }",
    "table.frameless { width:100%; border: 0px; margin: 0px 0px 0px 0px; }",
    "table.frameless td { border: 0px; }",
    "table.details { border: 0px; }",
    "table.details td { border: 0px; }",
    "table.back { border: 0px; margin-top: 20px; }",
    "table.back td { border: 0px; }",
    ".bold { font-weight: bold; }",
    ".code { font-family: \"Courier New\", Courier, monospace; color: #808080; background-color: #FFFFCC; }",
    ".contextobject { font-weight: bold; color: #d20000; }",
    "div#pagecontent { width: 800px; margin: 15px 5px 0px 15px; }",
};

const QString kDetailsTable =
    QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"details\">");

QString boldLabel(const char* label, bool first = false) {
    return (first ? QStringLiteral("<td width=\"150\">") : QStringLiteral("<td>")) +
           QStringLiteral("<span class=\"bold\">") + QLatin1String(label) + QStringLiteral("</span></td>");
}

} // namespace

DocGenHtml::DocGenHtml(const DocGenProject& project, DocGenProgress& progress)
    : mProject(project)
    , mProgress(progress)
    , mNames(project) {}

void DocGenHtml::appendLine(const QString& text, int indent) {
    mText += QString(indent, QLatin1Char('\t'));
    mText += text;
    mText += QStringLiteral("\r\n");
}

void DocGenHtml::checkCancel() const {
    if (mProgress.Cancelled())
        throw DocGenCancelled();
}

void DocGenHtml::writeHeader(const QString& title) {
    mText.clear();
    appendLine(QStringLiteral("<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01 Transitional//EN\">"));
    appendLine(QStringLiteral("<html>"));
    appendLine(QStringLiteral("<head>"));
    appendLine(QStringLiteral("<title>") + title + QStringLiteral("</title>"), 1);
    appendLine(QStringLiteral("<style type=\"text/css\">"), 1);
    for (const char* line : kStyleSheet)
        appendLine(QString::fromLatin1(line), 2);
    appendLine(QStringLiteral("</style>"), 1);
    appendLine(QStringLiteral("</head>"));
    appendLine(QStringLiteral("<body>"));
    appendLine(QStringLiteral("<div id=\"pagecontent\">"));
}

void DocGenHtml::writeFooter() {
    appendLine(QStringLiteral("</div>"));
    appendLine(QStringLiteral("</body>"));
    appendLine(QStringLiteral("</html>"));
}

void DocGenHtml::writeObjectRow(TARMOObjectVSS& object, long* counter, bool& newTable, bool withFields) {
    checkCancel();
    const bool ownerColumn = mNames.OwnerColumn();
    if (newTable) {
        newTable = false;
        // Name, owner, middle, description.
        const char* const widths[2][2][4] = {{{"45%", "", "", "55%"}, {"35%", "", "25%", "40%"}},
                                             {{"39%", "12%", "", "49%"}, {"30%", "8%", "25%", "37%"}}};
        const char* const* w = widths[ownerColumn ? 1 : 0][withFields ? 1 : 0];
        const auto th = [](const char* width, const QString& text) {
            return QStringLiteral("<th width=\"") + QLatin1String(width) + QStringLiteral("\">") + text +
                   QStringLiteral("</th>");
        };
        appendLine(QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"0\">"));
        appendLine(QStringLiteral("<tr>"));
        appendLine(th(w[0], EscapeHTML(object.ObjectDisplayName(), false) + QStringLiteral(" Name")), 1);
        if (ownerColumn)
            appendLine(th(w[1], QStringLiteral("Owner")), 1);
        if (withFields)
            appendLine(th(w[2], EscapeHTML(object.DocumentMiddleName(), true)), 1);
        appendLine(th(w[3], QStringLiteral("Description")), 1);
        appendLine(QStringLiteral("</tr>"));
        if (counter)
            mProgress.ShowStepProgress(++*counter);
    }

    appendLine(QStringLiteral("<tr>"));
    appendLine(QStringLiteral("<td>") + EscapeHTML(mNames.ObjectDisplayText(object, true), true) +
                   QStringLiteral("</td>"),
               1);
    if (ownerColumn)
        appendLine(QStringLiteral("<td>") + EscapeHTML(mNames.OwnerDisplayText(object.Owner()), true) +
                       QStringLiteral("</td>"),
                   1);
    if (withFields) {
        const std::unique_ptr<TARMODBTItems> items =
            object.GetItemInfo(mProject.IncludeOwnerNames, true, false);
        appendLine(QStringLiteral("<td>"), 1);
        appendLine(
            QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"frameless\">"),
            2);
        for (int n = 1; items && n <= items->Count(); ++n) {
            TARMODBTItem& item = items->Item(n);
            const TARMODBTItem* child = item.Children().FirstChild();
            appendLine(QStringLiteral("<tr>"), 2);
            appendLine(QStringLiteral("<td width=\"65%\">") + item.Text + QStringLiteral("</td>"), 3);
            appendLine(QStringLiteral("<td width=\"35%\">") +
                           (child ? EscapeHTML(child->Text, true) : QStringLiteral("&nbsp;")) +
                           QStringLiteral("</td>"),
                       3);
            appendLine(QStringLiteral("</tr>"), 2);
        }
        appendLine(QStringLiteral("</table>"), 2);
        appendLine(QStringLiteral("</td>"), 1);
    }
    appendLine(
        QStringLiteral("<td>") + EscapeHTML(mNames.Description(object), true) + QStringLiteral("</td>"), 1);
    appendLine(QStringLiteral("</tr>"));
    if (counter)
        mProgress.ShowStepProgress(++*counter);
}

void DocGenHtml::writeDetailsRow(const QString& labelCell, const QString& value) {
    appendLine(QStringLiteral("<tr>"));
    appendLine(labelCell, 1);
    appendLine(QStringLiteral("<td>") + EscapeHTML(value, true) + QStringLiteral("</td>"), 1);
    appendLine(QStringLiteral("</tr>"));
}

QString DocGenHtml::CompleteDocument(const QList<DocGenKind>& kinds) {
    mProgress.NextStep();
    mProgress.SetStepRange(2);
    writeHeader(QStringLiteral("Database Object Documentation"));
    mProgress.ShowStepProgress(1);
    appendLine(QStringLiteral("<h1>Database Object Documentation</h1>"));
    mProgress.ShowStepProgress(2);

    bool firstHeading = true;
    for (const DocGenKind& kind : kinds) {
        mProgress.NextStep();
        checkCancel();
        if (kind.Objects.isEmpty()) {
            mProgress.SetStepRange(1);
            mProgress.ShowStepProgress(1);
            continue;
        }
        mProgress.SetStepRange(kind.Objects.size() + 2);
        if (!firstHeading)
            appendLine(QStringLiteral("<hr class=\"sub\">"));
        firstHeading = false;
        appendLine(QStringLiteral("<h2>") + EscapeHTML(kind.Text, true) + QStringLiteral("</h2>"));
        bool newTable = true;
        long counter = 0;
        for (const auto& object : kind.Objects)
            writeObjectRow(*object, &counter, newTable, true);
        appendLine(QStringLiteral("</table>"));
    }
    appendLine(QStringLiteral("<hr>"));
    writeFooter();
    return mText;
}

QString DocGenHtml::ModuleDocument(const QList<DocGenKind>& kinds, const DocGenModule& module) {
    mProgress.NextStep();
    mProgress.SetStepRange(3);
    const QString name = EscapeHTML(QLatin1Char('"') + module.Name + QLatin1Char('"'), true);
    writeHeader(QStringLiteral("Module ") + name);
    appendLine(QStringLiteral("<h1>Module ") + name + QStringLiteral("</h1>"));
    mProgress.ShowStepProgress(1);

    appendLine(kDetailsTable);
    writeDetailsRow(boldLabel("Name:", true), module.Name);
    const std::pair<const char*, QString> optional[] = {
        {"Project:", module.Project},         {"Created By:", module.CreatedBy},
        {"Created On:", module.CreatedOn},    {"Developed By:", module.DevelopedBy},
        {"Description:", module.Description}, {"Primray Path:", module.Path}};
    for (const auto& [label, value] : optional)
        if (!value.isEmpty())
            writeDetailsRow(boldLabel(label), value);
    writeDetailsRow(boldLabel("Amount of Files:"), QString::number(module.Files().Count()));
    appendLine(QStringLiteral("</table>"));
    appendLine(QStringLiteral("<hr>"));
    mProgress.ShowStepProgress(2);

    if (mProject.IncludeModuleSummay) {
        appendLine(QStringLiteral("<h2>Summary of Objects used</h2>"));
        mProgress.ShowStepProgress(3);
        bool firstHeading = true;
        for (const DocGenKind& kind : kinds) {
            mProgress.NextStep();
            checkCancel();
            if (kind.Found.isEmpty()) {
                mProgress.SetStepRange(1);
                mProgress.ShowStepProgress(1);
                continue;
            }
            mProgress.SetStepRange(kind.Found.size() + 2);
            if (!firstHeading)
                appendLine(QStringLiteral("<hr class=\"sub\">"));
            firstHeading = false;
            appendLine(QStringLiteral("<h4>") + EscapeHTML(kind.Text, true) + QStringLiteral(":</h4>"));
            bool newTable = true;
            long counter = 0;
            for (const auto& object : kind.Found)
                writeObjectRow(*object, &counter, newTable, true);
            appendLine(QStringLiteral("</table>"));
        }
    } else {
        mProgress.ShowStepProgress(3);
    }

    mProgress.NextStep();
    const DocGenFiles& files = module.Files();
    mProgress.SetStepRange(files.Count() * (mProject.IncludeModuleSummayPerFile ? 4 : 3) + 2);
    long counter = 0;
    appendLine(QStringLiteral("<hr>"));
    appendLine(QStringLiteral("<a name=\"filelist\"></a><h2>Files Used</h2>"));
    if (!module.Path.isEmpty()) {
        appendLine(kDetailsTable);
        writeDetailsRow(boldLabel("Module Primary path:", true), module.Path);
        appendLine(QStringLiteral("</table>"));
    }
    mProgress.ShowStepProgress(++counter);

    appendLine(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"filelist\">"));
    appendLine(QStringLiteral("<tr>"));
    appendLine(QStringLiteral("<th width=\"100%\">Overview</th>"), 1);
    appendLine(QStringLiteral("</tr>"));
    for (int n = 1; n <= files.Count(); ++n) {
        appendLine(QStringLiteral("<tr>"));
        appendLine(QStringLiteral("<td><a href=\"#file%1\">").arg(n) +
                       EscapeHTML(FileLabel(module, files.Item(n).FileName()), true) +
                       QStringLiteral("</a></td>"),
                   1);
        appendLine(QStringLiteral("</tr>"));
    }
    appendLine(QStringLiteral("</table>"));
    mProgress.ShowStepProgress(++counter);

    const bool ownerColumn = mNames.OwnerColumn();
    for (int n = 1; n <= files.Count(); ++n) {
        checkCancel();
        const DocGenFile& file = files.Item(n);
        QString note;
        const QString label = EscapeHTML(FileLabel(module, file.FileName(), &note), true);
        appendLine(QStringLiteral("<hr class=\"sub\">"));
        appendLine(QStringLiteral("<a name=\"file%1\"></a><h3>").arg(n) + label + QStringLiteral("</h3>"));
        appendLine(kDetailsTable);
        writeDetailsRow(boldLabel("Absolute path:", true), file.Path());
        writeDetailsRow(boldLabel("File Name:"), file.Name());
        if (!note.isEmpty()) {
            appendLine(QStringLiteral("<tr>"));
            appendLine(QStringLiteral("<td colspan=\"2\" class=\"note\">") + EscapeHTML(note, true) +
                           QStringLiteral("</td>"),
                       1);
            appendLine(QStringLiteral("</tr>"));
        }
        appendLine(QStringLiteral("</table>"));
        mProgress.ShowStepProgress(++counter);

        if (mProject.IncludeModuleSummayPerFile) {
            appendLine(QStringLiteral("<h4>Object Summary:</h4>"));
            bool newTable = true;
            for (int u = 1; u <= file.FoundUniqueCount(); ++u)
                writeObjectRow(*file.FoundUnique(u), nullptr, newTable, false);
            appendLine(QStringLiteral("</table>"));
            mProgress.ShowStepProgress(++counter);
        }

        appendLine(QStringLiteral("<h4>Object References:</h4>"));
        appendLine(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\">"));
        appendLine(QStringLiteral("<tr>"));
        appendLine(QStringLiteral("<th width=\"7%\">Line</th>"), 1);
        if (ownerColumn) {
            appendLine(QStringLiteral("<th width=\"23%\">Object</th>"), 1);
            appendLine(QStringLiteral("<th width=\"12%\">Owner</th>"), 1);
        } else {
            appendLine(QStringLiteral("<th width=\"35%\">Object</th>"), 1);
        }
        appendLine(QStringLiteral("<th width=\"58%\">Context</th>"), 1);
        appendLine(QStringLiteral("</tr>"));
        for (const DocGenFileFound* found : file.FoundInReadingOrder()) {
            const TARMOObjectVSS& object = *found->ObjectFound;
            appendLine(QStringLiteral("<tr>"));
            appendLine(QStringLiteral("<td class=\"line\">%1</td>").arg(found->FoundAt), 1);
            appendLine(QStringLiteral("<td>") + EscapeHTML(mNames.ObjectDisplayText(object, true), true) +
                           QStringLiteral("</td>"),
                       1);
            if (ownerColumn)
                appendLine(QStringLiteral("<td>") +
                               EscapeHTML(mNames.OwnerDisplayText(object.Owner()), true) +
                               QStringLiteral("</td>"),
                           1);
            appendLine(QStringLiteral("<td class=\"code\">") + EscapeHTML(found->TextBefore(), false) +
                           QStringLiteral("<span class=\"contextobject\">") +
                           EscapeHTML(found->TextReference(), false) + QStringLiteral("</span>") +
                           EscapeHTML(found->TextBehind(), false) + QStringLiteral("</td>"),
                       1);
            appendLine(QStringLiteral("</tr>"));
        }
        appendLine(QStringLiteral("</table>"));
        mProgress.ShowStepProgress(++counter);
        appendLine(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"back\">"));
        appendLine(QStringLiteral("<tr>"));
        appendLine(QStringLiteral("<td align=\"right\"><a href=\"#filelist\">Back to Overview</a></td>"), 1);
        appendLine(QStringLiteral("</tr>"));
        appendLine(QStringLiteral("</table>"));
        mProgress.ShowStepProgress(++counter);
    }
    appendLine(QStringLiteral("<hr>"));
    writeFooter();
    return mText;
}

void DeleteDocumentFile(const QString& fileName) {
    DeleteFileIfExists(fileName, true);
}

void WriteDocumentFile(const QString& fileName, const QString& text) {
    // The header names no character set: the byte order mark tells a browser that the file is
    // UTF-8, so names in any script come out right.
    DeleteDocumentFile(fileName);
    QSaveFile file(fileName);
    const QByteArray bytes = QByteArrayLiteral("\xEF\xBB\xBF") + text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw TARMOError(75, QStringLiteral("DocGenHtml"),
                         QStringLiteral("The file ") + fileName + QStringLiteral(" could not be written: ") +
                             file.errorString());
}
