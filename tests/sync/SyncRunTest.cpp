#include "SyncFixture.h"

#include "GeneralHelpers.h"
#include "StoreTraffic.h"
#include "TARMOError.h"
#include "TARMOSQL.h"

namespace {

QString proc(const QString& name, const QString& body) {
    return QStringLiteral("CREATE PROCEDURE dbo.") + name + QStringLiteral("\r\nAS\r\n") + body +
           QStringLiteral("\r\n");
}

// A text of several of the server's 4,000-character pieces, with its end set by `last`.
QString longProc(const QString& name, const QString& last) {
    QString body;
    for (int n = 0; n < 600; ++n)
        body += QStringLiteral("SELECT %1 AS column_%1\r\n").arg(n);
    return proc(name, body + last);
}

} // namespace

// One project with every kind of row and with the cases that must make none: texts equal but for
// white space at both ends, and texts long enough for the server to keep in several pieces. The
// rows come in the order of the kinds and, within a kind, of its list.
TEST_F(SyncTest, RunFindsEachKindOfDifferenceInTheOrderOfKindsAndLists) {
    InBoth(QStringLiteral("A_Changed"), proc(QStringLiteral("A_Changed"), QStringLiteral("SELECT 1")),
           QStringLiteral(".sp"), proc(QStringLiteral("A_Changed"), QStringLiteral("SELECT 2")));
    const QString padded = proc(QStringLiteral("B_Padded"), QStringLiteral("SELECT 1"));
    InBoth(QStringLiteral("B_Padded"), padded, QStringLiteral(".sp"),
           QStringLiteral("\r\n\t  ") + padded + QStringLiteral(" \t\r\n\r\n"));
    InBoth(QStringLiteral("C_Cased"), proc(QStringLiteral("C_Cased"), QStringLiteral("SELECT 1")),
           QStringLiteral(".sp"), proc(QStringLiteral("C_Cased"), QStringLiteral("select 1")));
    const QString sqlOnly =
        InServer(QStringLiteral("D_SqlOnly"), proc(QStringLiteral("D_SqlOnly"), "SELECT 1"));
    InBoth(QStringLiteral("E_Long"), longProc(QStringLiteral("E_Long"), QStringLiteral("SELECT 1")),
           QStringLiteral(".sp"), longProc(QStringLiteral("E_Long"), QStringLiteral("SELECT 1")));
    InBoth(QStringLiteral("F_LongChanged"),
           longProc(QStringLiteral("F_LongChanged"), QStringLiteral("SELECT 1")), QStringLiteral(".sp"),
           longProc(QStringLiteral("F_LongChanged"), QStringLiteral("SELECT 2")));
    const QString storeOnly = InStore(proc(QStringLiteral("G_Gone"), QStringLiteral("SELECT 1")), ".sp");
    InBoth(QStringLiteral("fn_Same"),
           QStringLiteral("CREATE FUNCTION dbo.fn_Same() RETURNS int AS BEGIN RETURN 1 END"),
           QStringLiteral(".udf"),
           QStringLiteral("CREATE FUNCTION dbo.fn_Same() RETURNS int AS BEGIN RETURN 1 END"));
    Exec(QStringLiteral("CREATE TABLE dbo.Stock (id int)"));
    // White space inside a text is part of it.
    InBoth(QStringLiteral("Stock_Ins"),
           QStringLiteral("CREATE TRIGGER dbo.Stock_Ins ON dbo.Stock FOR INSERT AS SET NOCOUNT ON"),
           QStringLiteral(".trg"),
           QStringLiteral("CREATE TRIGGER dbo.Stock_Ins ON dbo.Stock FOR INSERT AS SET  NOCOUNT ON"));

    SyncRun run(*core);
    QStringList statuses;
    QList<std::pair<long, long>> compareProgress;
    int readProgress = 0;
    run.StepStatus = [&](int step, const QString& status) { statuses << QString::number(step) + status; };
    run.StepProgress = [&](int step, long current, long total) {
        if (step == 0)
            ++readProgress;
        if (step == 1)
            compareProgress.append({current, total});
    };
    int otherListener = 0;
    core->RetrieveStatusChange = [&](const QString&, const QString&, long, long, bool&) { ++otherListener; };

    const QList<SyncDifference> rows = run.Run();

    EXPECT_EQ(Rows(rows), (QStringList{QStringLiteral("3:StoredProcedure:dbo.A_Changed"),
                                       QStringLiteral("3:StoredProcedure:dbo.C_Cased"),
                                       QStringLiteral("1:StoredProcedure:dbo.D_SqlOnly"),
                                       QStringLiteral("3:StoredProcedure:dbo.F_LongChanged"),
                                       QStringLiteral("2:StoredProcedure:dbo.G_Gone"),
                                       QStringLiteral("3:Trigger:dbo.Stock_Ins")}));
    const SyncDifference& onlyInSql = rows[2];
    EXPECT_EQ(onlyInSql.DBID, sqlOnly);
    EXPECT_TRUE(onlyInSql.InSQL && !onlyInSql.InVSS && !onlyInSql.TextsDiffer);
    EXPECT_EQ(onlyInSql.ObjectDisplayName, QStringLiteral("Stored Procedure"));
    EXPECT_EQ(onlyInSql.Owner + QLatin1Char('|') + onlyInSql.Name, QStringLiteral("dbo|D_SqlOnly"));
    EXPECT_EQ(rows[4].DBID, storeOnly);
    EXPECT_TRUE(rows[0].InSQL && rows[0].InVSS && rows[0].TextsDiffer);

    // Every step runs, views without a single object included, and each one once, in order.
    ASSERT_EQ(run.Steps().size(), 8);
    EXPECT_EQ(run.Steps()[4].Text, QStringLiteral("Find Views in SQL and VSS"));
    EXPECT_EQ(run.Steps()[5].Text, QStringLiteral("Compare Views content"));
    QStringList expected;
    for (int step = 0; step < 8; ++step)
        expected << QString::number(step) + QStringLiteral("Processing")
                 << QString::number(step) + QStringLiteral("Completed");
    EXPECT_EQ(statuses, expected);
    EXPECT_GT(readProgress, 0);
    ASSERT_EQ(compareProgress.size(), 7);
    EXPECT_EQ(compareProgress.first(), std::make_pair(1L, 7L));
    EXPECT_EQ(compareProgress.last(), std::make_pair(7L, 7L));

    // The core's progress event is the old listener's again.
    bool cancel = false;
    core->RetrieveStatusChange(QString(), QString(), 1, 1, cancel);
    EXPECT_EQ(otherListener, 1);
}

// What the connected user has checked out and edited is work in progress, not the stored text: the
// compare reads the checked-in version in either direction.
TEST_F(SyncTest, RunComparesTheCheckedInTextNotTheWorkingCopy) {
    const QString server = proc(QStringLiteral("Held"), QStringLiteral("SELECT 1"));
    const QString edited = proc(QStringLiteral("Held"), QStringLiteral("SELECT 2"));
    const QString same = InBoth(QStringLiteral("Held"), server, QStringLiteral(".sp"), server);
    const QString apart = InBoth(QStringLiteral("HeldApart"), proc(QStringLiteral("HeldApart"), "SELECT 1"),
                                 QStringLiteral(".sp"), proc(QStringLiteral("HeldApart"), "SELECT 2"));
    for (const QString& item : {same + QStringLiteral(".sp"), apart + QStringLiteral(".sp")})
        ASSERT_TRUE(vss.CheckOut(item, true));
    ASSERT_TRUE(WriteTextFile(vss.GetItemFileName(same + QStringLiteral(".sp")), edited));
    ASSERT_TRUE(WriteTextFile(vss.GetItemFileName(apart + QStringLiteral(".sp")),
                              proc(QStringLiteral("HeldApart"), QStringLiteral("SELECT 1"))));

    EXPECT_EQ(Rows(SyncRun(*core).Run()), QStringList{QStringLiteral("3:StoredProcedure:dbo.HeldApart")});
}

// The texts of a kind are read in bulk: a project four times the size costs the same statements and
// store calls, so that a round trip of the network is paid a fixed number of times.
TEST_F(SyncTest, RunCostsTheSameRoundTripsWhateverTheNumberOfObjects) {
    const auto addObjects = [&](int from, int to) {
        for (int n = from; n < to; ++n) {
            const QString name = QStringLiteral("P%1").arg(n);
            InBoth(name, proc(name, QStringLiteral("SELECT 1")), QStringLiteral(".sp"),
                   proc(name, n % 2 ? QStringLiteral("SELECT 1") : QStringLiteral("SELECT 2")));
            const QString view = QStringLiteral("V%1").arg(n);
            InBoth(view, QStringLiteral("CREATE VIEW dbo.") + view + QStringLiteral(" AS SELECT 1 AS one"),
                   QStringLiteral(".vw"),
                   QStringLiteral("CREATE VIEW dbo.") + view + QStringLiteral(" AS SELECT 2 AS two"));
        }
    };
    const auto traffic = [&]() {
        StoreTraffic::Reset();
        const int rows = int(SyncRun(*core).Run().size());
        return std::make_tuple(rows, StoreTraffic::StatementCount(), StoreTraffic::StoreCallCount());
    };
    addObjects(0, 3);
    const auto [smallRows, smallStatements, smallCalls] = traffic();
    addObjects(3, 12);
    const auto [largeRows, largeStatements, largeCalls] = traffic();
    EXPECT_EQ(smallRows, 5);
    EXPECT_EQ(largeRows, 18);
    EXPECT_EQ(largeStatements, smallStatements);
    EXPECT_EQ(largeCalls, smallCalls);
}

// Without its server a list keeps what it held; a run must not take that for a project in sync.
TEST_F(SyncTest, RunWithoutTheServerFailsInsteadOfFindingNothing) {
    InBoth(QStringLiteral("Kept"), proc(QStringLiteral("Kept"), QStringLiteral("SELECT 1")),
           QStringLiteral(".sp"), proc(QStringLiteral("Kept"), QStringLiteral("SELECT 2")));
    project.SQL().CloseConnection();
    EXPECT_THROW(SyncRun(*core).Run(), TARMOError);
}
