#include "CliCommands.h"
#include "DemoSeed.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOProjects.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

struct Call {
    int code = -1;
    QString out;
    QString err;
};

Call runSync(const QStringList& args = {}) {
    Call call;
    QTextStream out(&call.out);
    QTextStream err(&call.err);
    CliCommands commands(out, err);
    call.code = commands.Run(
        QStringList{QStringLiteral("--project"), QStringLiteral("Demo"), QStringLiteral("sync")} + args);
    out.flush();
    err.flush();
    return call;
}

// The demo is one procedure on the server alone (ListCities) and one in the store alone
// (PurgeOldOrders) away from being in sync.
class CliSyncTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto seeded = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), false);
        ASSERT_TRUE(seeded.ok) << qPrintable(seeded.error);
        auto projects = settings.FindAllProjects();
        project = projects->Item(QStringLiteral("Demo"));
        ASSERT_EQ(project->VSS().OpenConnection(), QString());
    }
    void TearDown() override { VSSBulkReader::Release(); }

    // The lines of the project's synchronization history, newest first.
    QStringList history() {
        return project->VSS()
            .ItemContent(TARMOProject::SyncHistoryItem, false)
            .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TempFolder dir;
    TARMODatabase settings;
    std::shared_ptr<TARMOProject> project;
};

} // namespace

// The compare as text and as JSON, each run noted in the history, and the exit code a CI job
// gates on.
TEST_F(CliSyncTest, CompareListsTheDifferencesAndExitsWithThree) {
    const qsizetype before = history().size();
    const Call text = runSync();
    EXPECT_EQ(text.code, 3) << qPrintable(text.err);
    EXPECT_EQ(text.out, QStringLiteral("StoredProcedure\tdbo.ListCities\tsql-only\n"
                                       "StoredProcedure\tdbo.PurgeOldOrders\tvss-only\n"
                                       "2 differences\n"));
    EXPECT_EQ(text.err, QString());

    const Call json = runSync({QStringLiteral("--json")});
    EXPECT_EQ(json.code, 3);
    const QJsonArray rows = QJsonDocument::fromJson(json.out.toUtf8()).array();
    ASSERT_EQ(rows.size(), 2) << qPrintable(json.out);
    EXPECT_EQ(
        rows[1].toObject(),
        (QJsonObject{
            {"tag", "StoredProcedure"}, {"owner", "dbo"}, {"name", "PurgeOldOrders"}, {"kind", "vss-only"}}));

    const QStringList lines = history();
    ASSERT_EQ(lines.size(), before + 2);
    EXPECT_TRUE(lines[0].startsWith(QStringLiteral("Synchronization: "))) << qPrintable(lines[0]);
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral(" - ") + project->VSS().UserName())) << qPrintable(lines[0]);

    EXPECT_EQ(runSync({QStringLiteral("--only"), QStringLiteral("View")}).out,
              QStringLiteral("0 differences\n"));
}

// Towards the store: the server's procedure is added and the store's own removed; --only keeps to
// one kind; afterwards there is nothing left and the exit code says so.
TEST_F(CliSyncTest, ApplyToTheStoreLeavesNothingToDo) {
    const Call none = runSync({QStringLiteral("--apply-to"), QStringLiteral("vss"), QStringLiteral("--only"),
                               QStringLiteral("Trigger")});
    EXPECT_EQ(none.code, 0);
    EXPECT_EQ(none.out, QStringLiteral("0 applied, 0 stayed\n"));

    const Call applied = runSync({QStringLiteral("--apply-to"), QStringLiteral("vss"),
                                  QStringLiteral("--only"), QStringLiteral("StoredProcedure")});
    EXPECT_EQ(applied.code, 0) << qPrintable(applied.err);
    EXPECT_EQ(applied.out, QStringLiteral("applied\tStoredProcedure\tdbo.ListCities\tsql-only\n"
                                          "applied\tStoredProcedure\tdbo.PurgeOldOrders\tvss-only\n"
                                          "2 applied, 0 stayed\n"));
    // A run that finds nothing is noted all the same.
    const qsizetype noted = history().size();
    const Call after = runSync();
    EXPECT_EQ(after.code, 0);
    EXPECT_EQ(after.out, QStringLiteral("0 differences\n"));
    EXPECT_EQ(history().size(), noted + 1);
}

// Towards the server, with a store text that can't be created: the one row stays (the core says
// why on stderr) and the exit code is 3; the other row is done.
TEST_F(CliSyncTest, ApplyToTheServerReportsWhatStayed) {
    Call list;
    QTextStream listed(&list.out);
    QTextStream ignored(&list.err);
    CliCommands(listed, ignored)
        .Run({QStringLiteral("--project"), QStringLiteral("Demo"), QStringLiteral("list"),
              QStringLiteral("StoredProcedure")});
    listed.flush();
    QString purgeItem;
    for (const QString& line : list.out.split(QLatin1Char('\n')))
        if (line.section(QLatin1Char('\t'), 2, 2) == QLatin1String("dbo.PurgeOldOrders"))
            purgeItem = line.section(QLatin1Char('\t'), 1, 1) + QStringLiteral(".sp");
    ASSERT_FALSE(purgeItem.isEmpty());
    ASSERT_TRUE(project->VSS().ChangeItemContent(
        purgeItem, QStringLiteral("CREATE PROCEDURE dbo.PurgeOldOrders AS DELETE FROM"), QString(), true));

    const Call applied =
        runSync({QStringLiteral("--apply-to"), QStringLiteral("sql"), QStringLiteral("--json")});
    EXPECT_EQ(applied.code, 3);
    EXPECT_TRUE(applied.err.startsWith(QStringLiteral("Item not added: "))) << qPrintable(applied.err);
    const QJsonArray rows = QJsonDocument::fromJson(applied.out.toUtf8()).array();
    ASSERT_EQ(rows.size(), 2) << qPrintable(applied.out);
    EXPECT_TRUE(rows[0].toObject().value(QStringLiteral("applied")).toBool());
    EXPECT_FALSE(rows[1].toObject().value(QStringLiteral("applied")).toBool());

    EXPECT_EQ(runSync().out,
              QStringLiteral("StoredProcedure\tdbo.PurgeOldOrders\tvss-only\n1 differences\n"));
}

TEST_F(CliSyncTest, WrongUsesAndFailuresHaveTheirOwnExitCodes) {
    EXPECT_EQ(runSync({QStringLiteral("--apply-to"), QStringLiteral("both")}).code, 2);
    EXPECT_EQ(runSync({QStringLiteral("--only"), QStringLiteral("Nonsense")}).code, 2);
    EXPECT_EQ(runSync({QStringLiteral("extra")}).code, 2);

    Call call;
    QTextStream out(&call.out);
    QTextStream err(&call.err);
    CliCommands commands(out, err);
    EXPECT_EQ(commands.Run({QStringLiteral("--project"), QStringLiteral("Nowhere"), QStringLiteral("sync")}),
              1);
}
