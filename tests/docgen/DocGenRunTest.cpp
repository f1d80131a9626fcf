#include "DocGenRun.h"
#include "DocGenModule.h"
#include "DocGenProject.h"
#include "GeneralHelpers.h"
#include "SyncFixture.h"
#include "ZipArchive.h"

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace {

QString readFixture(const QString& name) {
    QFile file(QStringLiteral(TARMO_FIXTURES "/docgen/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
    return QString::fromUtf8(file.readAll());
}

QString readOutput(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    const QByteArray bytes = file.readAll();
    EXPECT_TRUE(bytes.startsWith("\xEF\xBB\xBF"));
    return QString::fromUtf8(bytes.mid(3));
}

// The texts of a Word document's paragraphs with their style ids ("Heading2|Files used by Module"),
// and whether the XML of every part is well formed.
struct DocxContent {
    QStringList paragraphs;
    int tables = 0;
    int pageBreaks = 0;
    QByteArray styles;
    QByteArray settings;
};

DocxContent readDocx(const QString& path) {
    DocxContent content;
    QByteArray document;
    for (const auto& [name, data] : word::ReadZip(path)) {
        QXmlStreamReader check(data);
        while (!check.atEnd())
            check.readNext();
        EXPECT_FALSE(check.hasError()) << qPrintable(name) << ": " << qPrintable(check.errorString());
        if (name == QLatin1String("word/document.xml"))
            document = data;
        else if (name == QLatin1String("word/styles.xml"))
            content.styles = data;
        else if (name == QLatin1String("word/settings.xml"))
            content.settings = data;
    }
    QXmlStreamReader xml(document);
    QString style, text;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("p")) {
            style.clear();
            text.clear();
        } else if (xml.isStartElement() && xml.name() == QLatin1String("pStyle")) {
            style = xml.attributes().value(QStringLiteral("w:val")).toString();
        } else if (xml.isStartElement() && xml.name() == QLatin1String("t")) {
            text += xml.readElementText();
        } else if (xml.isStartElement() && xml.name() == QLatin1String("tbl")) {
            ++content.tables;
        } else if (xml.isStartElement() && xml.name() == QLatin1String("br") &&
                   xml.attributes().value(QStringLiteral("w:type")) == QLatin1String("page")) {
            ++content.pageBreaks;
        } else if (xml.isEndElement() && xml.name() == QLatin1String("p") && !text.isEmpty()) {
            content.paragraphs << (style.isEmpty() ? text : style + QLatin1Char('|') + text);
        }
    }
    return content;
}

// Two procedures and a view of dbo on the server, and a module of two files: one under the module's
// path, one beside it.
class DocGenRunTest : public SyncTest {
protected:
    void SetUp() override {
        SyncTest::SetUp();
        InServer(QStringLiteral("AddOrder"), QStringLiteral("CREATE PROCEDURE dbo.AddOrder AS SELECT 1"));
        InServer(QStringLiteral("GetOrders"), QStringLiteral("CREATE PROCEDURE dbo.GetOrders AS SELECT 2"));
        InServer(QStringLiteral("OrderList"), QStringLiteral("CREATE VIEW dbo.OrderList AS SELECT 1 AS Id"));
        dir = QDir(folder.Path(QStringLiteral("app"))).absolutePath();
        QDir().mkpath(dir + QStringLiteral("/mod"));
        WriteTextFile(
            dir + QStringLiteral("/mod/a.sql"),
            QStringLiteral("exec dbo.AddOrder 1\r\nselect * from OrderList, [dbo].[GetOrders]\r\n"));
        WriteTextFile(dir + QStringLiteral("/other.txt"), QStringLiteral("-- Käyttäjä: AddOrder\n"));

        module = &project.Modules().Add();
        module->Name = QStringLiteral("Shop <Web>");
        module->Project = QStringLiteral("Shop");
        module->Description = QStringLiteral("Pages & <forms>\r\nline two");
        module->Path = dir + QStringLiteral("/mod/");
        module->Files().Add(dir + QStringLiteral("/mod/a.sql"));
        module->Files().Add(dir + QStringLiteral("/other.txt"));
        project.IncludeOwnerNames = true;
        project.OwnerInOwnCol = true;
        project.IncludeModuleSummayPerFile = true;
    }

    DocGenRun::Outcome run(const QString& type, const QString& output, bool complete = false) {
        project.DocumentType = type;
        project.GenerateName = dir + QLatin1Char('/') + output;
        DocGenRun generation(*core, project, complete ? nullptr : module);
        const DocGenRun::Outcome outcome = generation.Run();
        error = generation.ErrorDescription();
        references = generation.ReferenceCount();
        return outcome;
    }

    DocGenProject project;
    DocGenModule* module = nullptr;
    QString dir;
    QString error;
    long references = 0;
};

} // namespace

// The module document of a small fixed project, compared line by line with the expected file that
// was written by hand from the document's description.
TEST_F(DocGenRunTest, ModuleDocumentInHtmlIsTheExpectedFile) {
    ASSERT_EQ(run(DocGenTypes::Html, QStringLiteral("module.html")), DocGenRun::Outcome::Generated)
        << qPrintable(error);
    EXPECT_EQ(references, 4);
    QString expected = readFixture(QStringLiteral("module.html"));
    expected.replace(QStringLiteral("{DIR}"), dir);
    expected.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    const QStringList want = expected.split(QStringLiteral("\r\n"));
    const QStringList got = readOutput(project.GenerateName).split(QStringLiteral("\r\n"));
    for (int n = 0; n < std::min(want.size(), got.size()); ++n)
        ASSERT_EQ(got[n], want[n]) << "line " << n + 1;
    EXPECT_EQ(got.size(), want.size());
}

// The complete document: one heading per kind with objects, none (and no rule) for an empty kind;
// the view's fields in the frameless inner table; names as the display options say.
TEST_F(DocGenRunTest, CompleteDocumentInHtmlSkipsEmptyKinds) {
    project.OwnerInOwnCol = false;
    project.EncapsOwnerNames = true;
    project.EncapsObjects = true;
    ASSERT_EQ(run(DocGenTypes::Html, QStringLiteral("all.html"), true), DocGenRun::Outcome::Generated)
        << qPrintable(error);
    const QString html = readOutput(project.GenerateName);
    EXPECT_TRUE(html.contains(
        QStringLiteral("\r\n<h1>Database Object Documentation</h1>\r\n<h2>Stored Procedures</h2>"
                       "\r\n<table border=\"1\" cellspacing=\"0\" cellpadding=\"0\">\r\n<tr>\r\n"
                       "\t<th width=\"35%\">Stored Procedure Name</th>\r\n"
                       "\t<th width=\"25%\">Parameters</th>\r\n")))
        << qPrintable(html);
    EXPECT_TRUE(html.contains(QStringLiteral("\t<td>[dbo].[AddOrder]</td>\r\n")));
    EXPECT_TRUE(html.contains(QStringLiteral("</table>\r\n<hr class=\"sub\">\r\n<h2>Views</h2>")));
    EXPECT_EQ(html.count(QStringLiteral("<h2>")), 2);
    EXPECT_TRUE(html.contains(QStringLiteral("\t\t\t<td width=\"65%\">Id")));
    EXPECT_TRUE(html.endsWith(QStringLiteral("</table>\r\n<hr>\r\n</div>\r\n</body>\r\n</html>\r\n")));
}

// A failed write leaves the message of a failed run and no file; a cancelled run writes nothing and
// reports nothing.
TEST_F(DocGenRunTest, FailureAndCancelWriteNothing) {
    ScriptedPromptsScope messages;
    project.GenerateName = dir + QStringLiteral("/no/such/folder/out.html");
    DocGenRun failing(*core, project, module);
    EXPECT_EQ(failing.Run(), DocGenRun::Outcome::Failed);
    DocGenRun::ReportOutcome(DocGenRun::Outcome::Failed, failing.ErrorDescription());
    ASSERT_EQ(messages->Records().size(), 1);
    EXPECT_EQ(messages->Records().first().title, QStringLiteral("Document Generation Aborted"));
    EXPECT_TRUE(messages->Records().first().text.startsWith(QStringLiteral("An error occured: ")));
    EXPECT_TRUE(messages->Records().first().text.endsWith(
        QStringLiteral("\r\n\r\nDocument could not be generated!")));

    project.GenerateName = dir + QStringLiteral("/cancelled.html");
    DocGenRun cancelled(*core, project, module);
    cancelled.Steps().KeepAlive = [&] {
        if (cancelled.Steps().Current() > 1)
            cancelled.Cancel();
    };
    EXPECT_EQ(cancelled.Run(), DocGenRun::Outcome::Cancelled);
    EXPECT_FALSE(QFile::exists(project.GenerateName));
    DocGenRun::ReportOutcome(DocGenRun::Outcome::Cancelled, QString());
    EXPECT_EQ(messages->Records().size(), 1);
}

// The steps of a module run with its summary, each completed, and the success message.
TEST_F(DocGenRunTest, StepsOfAModuleRunAllComplete) {
    ScriptedPromptsScope messages;
    project.IncludeModuleSummay = true;
    project.GenerateName = dir + QStringLiteral("/steps.html");
    DocGenRun generation(*core, project, module);
    QStringList keys;
    for (const DocGenStepRow& row : generation.Steps().Rows())
        keys << row.Key.section(QLatin1Char('-'), 0, 0);
    keys.removeDuplicates();
    EXPECT_EQ(keys, (QStringList{QStringLiteral("GETOBJECTS"), QStringLiteral("FINDOBJECTS"),
                                 QStringLiteral("START"), QStringLiteral("ADDOBJECTS"),
                                 QStringLiteral("FILES"), QStringLiteral("END")}));
    EXPECT_EQ(generation.Steps().Rows().first().Text.left(9), QStringLiteral("Step 1 - "));
    ASSERT_EQ(generation.Run(), DocGenRun::Outcome::Generated) << qPrintable(generation.ErrorDescription());
    for (const DocGenStepRow& row : generation.Steps().Rows())
        EXPECT_EQ(row.Status, QStringLiteral("Completed")) << qPrintable(row.Text);
    DocGenRun::ReportOutcome(DocGenRun::Outcome::Generated, QString());
    EXPECT_EQ(messages->Messages(), QStringList{QStringLiteral("Document has been successfully generated!")});
}

// The module document as .docx: a zip of well formed parts with the headings, the file list on a new
// page, a references table per file with the excerpt in the Code style.
TEST_F(DocGenRunTest, ModuleDocumentInWord) {
    ASSERT_EQ(run(DocGenTypes::Word, QStringLiteral("module.docx")), DocGenRun::Outcome::Generated)
        << qPrintable(error);
    const DocxContent docx = readDocx(project.GenerateName);
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Heading1|Module \"Shop <Web>\"")));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Heading2|Files used by Module")));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Heading3|a.sql:")));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Heading3|@other.txt:")));
    EXPECT_TRUE(
        docx.paragraphs.contains(QStringLiteral("Note: this object resides outside the module path!")));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Code|-- Käyttäjä: AddOrder")));
    EXPECT_EQ(docx.pageBreaks, 1);
    // Module data, primary path, per file: where, summary, references.
    EXPECT_EQ(docx.tables, 2 + 2 * 3);
    EXPECT_TRUE(docx.styles.contains("w:styleId=\"Code\""));
    EXPECT_TRUE(docx.styles.contains("Courier New"));
}

// The complete document as .docx on a template: the template's styles are taken over, headings use
// its ids, and a protected template stays protected.
TEST_F(DocGenRunTest, CompleteDocumentInWordOnATemplate) {
    const QByteArray styles =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<w:styles xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
        "<w:style w:type=\"paragraph\" w:default=\"1\" w:styleId=\"Standaard\"><w:name "
        "w:val=\"Normal\"/></w:style>"
        "<w:style w:type=\"paragraph\" w:styleId=\"Kop1\"><w:name w:val=\"heading 1\"/><w:rPr><w:color "
        "w:val=\"FF0000\"/></w:rPr></w:style>"
        "<w:style w:type=\"paragraph\" w:styleId=\"Corporate\"><w:name w:val=\"Corporate\"/></w:style>"
        "</w:styles>";
    const QByteArray protection =
        "<w:settings xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
        "<w:documentProtection w:edit=\"readOnly\" w:enforcement=\"1\"/></w:settings>";
    const QString dotx = dir + QStringLiteral("/corp.dotx");
    QFile file(dotx);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(word::BuildZip(
        {{QStringLiteral("word/styles.xml"), styles}, {QStringLiteral("word/settings.xml"), protection}}));
    file.close();
    project.TemplateName = dotx;

    ASSERT_EQ(run(DocGenTypes::Word, QStringLiteral("all.docx"), true), DocGenRun::Outcome::Generated)
        << qPrintable(error);
    const DocxContent docx = readDocx(project.GenerateName);
    EXPECT_EQ(docx.paragraphs.first(), QStringLiteral("Kop1|Database Object Documentation"));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Heading2|Stored Procedures")));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("Stored Procedure Name")));
    EXPECT_TRUE(docx.paragraphs.contains(QStringLiteral("GetOrders")));
    EXPECT_EQ(docx.tables, 2 + 1); // two kinds with objects, and the view's fields in a nested table
    EXPECT_TRUE(docx.styles.contains("w:styleId=\"Corporate\""));
    EXPECT_TRUE(docx.styles.contains("FF0000"));
    EXPECT_TRUE(docx.settings.contains("w:edit=\"readOnly\""));

    // The module document adds its Code style to the protected template and protects it again.
    ASSERT_EQ(run(DocGenTypes::Word, QStringLiteral("module.docx")), DocGenRun::Outcome::Generated)
        << qPrintable(error);
    const DocxContent moduleDocx = readDocx(project.GenerateName);
    EXPECT_TRUE(moduleDocx.styles.contains("w:styleId=\"Code\""));
    EXPECT_TRUE(moduleDocx.settings.contains("w:edit=\"readOnly\""));
}
