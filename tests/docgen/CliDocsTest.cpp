#include "CliCommands.h"
#include "DemoSeed.h"
#include "GeneralHelpers.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"
#include "ZipArchive.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

struct Call {
    int code = -1;
    QString out;
    QString err;
};

Call cli(const QStringList& args) {
    Call call;
    QTextStream out(&call.out);
    QTextStream err(&call.err);
    CliCommands commands(out, err);
    call.code = commands.Run(QStringList{QStringLiteral("--project"), QStringLiteral("Demo")} + args);
    out.flush();
    err.flush();
    return call;
}

class CliDocsTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto seeded = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), false);
        ASSERT_TRUE(seeded.ok) << qPrintable(seeded.error);
        src = dir.Path(QStringLiteral("src"));
        QDir().mkpath(src + QStringLiteral("/pages"));
        WriteTextFile(src + QStringLiteral("/pages/order.php"),
                      QStringLiteral("$db->exec('dbo.AddOrder');\n"));
        WriteTextFile(src + QStringLiteral("/pages/list.php"), QStringLiteral("GetCustomerOrders;\n"));
        WriteTextFile(src + QStringLiteral("/notes.txt"), QStringLiteral("AddOrder\n"));
    }
    void TearDown() override { VSSBulkReader::Release(); }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TempFolder dir;
    QString src;
};

} // namespace

// Modules made from a folder (all files, or a pattern), listed, documented in both formats, and
// removed; each change reaches the project's settings file.
TEST_F(CliDocsTest, ModulesFromFoldersDocumentedAndRemoved) {
    Call add = cli({QStringLiteral("module"), QStringLiteral("add"), QStringLiteral("Web"),
                    QStringLiteral("--path"), src, QStringLiteral("--files"), QStringLiteral("*.php")});
    ASSERT_EQ(add.code, 0) << qPrintable(add.err);
    EXPECT_EQ(add.out, QStringLiteral("added Web with 2 files\n"));
    add = cli({QStringLiteral("module"), QStringLiteral("add"), QStringLiteral("All"),
               QStringLiteral("--path"), src});
    EXPECT_EQ(add.out, QStringLiteral("added All with 3 files\n"));
    EXPECT_EQ(cli({QStringLiteral("module"), QStringLiteral("add"), QStringLiteral("web"),
                   QStringLiteral("--path"), src})
                  .code,
              1);

    const Call list = cli({QStringLiteral("modules")});
    EXPECT_EQ(list.out, QStringLiteral("Web\t2 files\t%1/\nAll\t3 files\t%1/\n2 modules\n").arg(src));

    const QString html = dir.Path(QStringLiteral("web.html"));
    const Call docs =
        cli({QStringLiteral("docs"), QStringLiteral("--module"), QStringLiteral("web"),
             QStringLiteral("--format"), QStringLiteral("html"), QStringLiteral("--out"), html});
    ASSERT_EQ(docs.code, 0) << qPrintable(docs.err);
    EXPECT_EQ(docs.out, html + QStringLiteral("\n2 files, 2 references\n"));
    const QString text = ReadTextFile(html);
    EXPECT_TRUE(text.contains(QStringLiteral("<a href=\"#file1\">pages:list.php:</a>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<span class=\"contextobject\">dbo.AddOrder</span>")));

    const QString docx = dir.Path(QStringLiteral("all.docx"));
    const Call word = cli({QStringLiteral("docs"), QStringLiteral("--all"), QStringLiteral("--format"),
                           QStringLiteral("word"), QStringLiteral("--out"), docx});
    ASSERT_EQ(word.code, 0) << qPrintable(word.err);
    bool hasDocument = false;
    for (const auto& entry : word::ReadZip(docx))
        hasDocument |= entry.first == QLatin1String("word/document.xml") && entry.second.contains("AddOrder");
    EXPECT_TRUE(hasDocument);

    EXPECT_EQ(cli({QStringLiteral("module"), QStringLiteral("remove"), QStringLiteral("WEB")}).code, 0);
    EXPECT_EQ(cli({QStringLiteral("modules")}).out,
              QStringLiteral("All\t3 files\t%1/\n1 modules\n").arg(src));
    EXPECT_EQ(cli({QStringLiteral("module"), QStringLiteral("remove"), QStringLiteral("Web")}).code, 1);
}

// Wrong command lines say what is wrong and change nothing.
TEST_F(CliDocsTest, WrongCommandLinesAreRefused) {
    EXPECT_EQ(cli({QStringLiteral("docs"), QStringLiteral("--format"), QStringLiteral("html"),
                   QStringLiteral("--out"), QStringLiteral("x")})
                  .code,
              2);
    EXPECT_EQ(cli({QStringLiteral("docs"), QStringLiteral("--all"), QStringLiteral("--format"),
                   QStringLiteral("pdf"), QStringLiteral("--out"), QStringLiteral("x")})
                  .code,
              2);
    const Call missing = cli({QStringLiteral("docs"), QStringLiteral("--module"), QStringLiteral("Nope"),
                              QStringLiteral("--format"), QStringLiteral("html"), QStringLiteral("--out"),
                              dir.Path(QStringLiteral("x.html"))});
    EXPECT_EQ(missing.code, 1);
    EXPECT_TRUE(missing.err.contains(QStringLiteral("no module named 'Nope'")));
    const Call noFolder = cli({QStringLiteral("module"), QStringLiteral("add"), QStringLiteral("X"),
                               QStringLiteral("--path"), dir.Path(QStringLiteral("gone"))});
    EXPECT_EQ(noFolder.code, 1);
    EXPECT_TRUE(noFolder.err.contains(QStringLiteral("The specified Primary module path does not exist!")));
    EXPECT_EQ(cli({QStringLiteral("modules")}).out, QStringLiteral("0 modules\n"));
}
