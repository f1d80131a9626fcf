#include "QueryRunner.h"
#include "DemoSeed.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {
const QString crlf = QStringLiteral("\r\n");

// The grid's cells as text, row by row.
QList<QStringList> texts(const ResultGridData& grid) {
    QList<QStringList> rows;
    for (qsizetype r = 0; r < grid.rowCount; ++r) {
        QStringList cells;
        for (qsizetype c = 0; c < grid.columns.size(); ++c)
            cells << grid.Text(r, c);
        rows << cells;
    }
    return rows;
}
} // namespace

// Runs against the demo's embedded server, on a connection of the test's own as the grid opens one.
class QueryRunnerTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto seeded = DemoSeed::Seed(folder.Path(QStringLiteral("demo")), false);
        ASSERT_TRUE(seeded.ok) << qPrintable(seeded.error);
        auto project = database.GetDefaultProject();
        ASSERT_TRUE(project);
        const DbLogin login = project->SQL().ConnectionLogin();
        connection = DbDriver::CreateConnection(login.server);
        connection->Open(login);
    }
    QueryOutcome run(const QString& text) { return QueryRunner::Execute(*connection, text); }

    IsolatedUserFolders users;
    TempFolder folder;
    TARMODatabase database;
    std::unique_ptr<DbConnection> connection;
};

TEST_F(QueryRunnerTest, RowSetsCountsAndPrintsComeInTheOrderTheServerSentThem) {
    const QueryOutcome outcome = run(QStringLiteral("PRINT 'first'\r\n"
                                                    "SELECT 1 AS One, NULL AS Nothing\r\n"
                                                    "SELECT 2 AS Two WHERE 1 = 0\r\n"
                                                    "go\r\n"
                                                    "print 'second'\r\n"
                                                    "SELECT 3 AS Three UNION ALL SELECT 4\r\n"));
    EXPECT_FALSE(outcome.runFailed);
    EXPECT_EQ(outcome.messages, crlf + "first" + crlf + crlf + "(1 row affected)" + crlf + crlf +
                                    "(0 row affected)" + crlf + crlf + "second" + crlf + crlf +
                                    "(2 rows affected)" + crlf);
    // The empty row set shows no grid.
    ASSERT_EQ(outcome.grids.size(), 2);
    EXPECT_EQ(outcome.grids[0].columns, (QStringList{"One", "Nothing"}));
    EXPECT_EQ(texts(outcome.grids[0]), (QList<QStringList>{{"1", "(null)"}}));
    EXPECT_EQ(outcome.grids[1].columns, QStringList{"Three"});
    EXPECT_EQ(texts(outcome.grids[1]), (QList<QStringList>{{"3"}, {"4"}}));
}

TEST_F(QueryRunnerTest, NoCountStillReportsTheRowsOfASelectButNotOfAnInsert) {
    const QueryOutcome outcome = run(QStringLiteral("SET NOCOUNT ON\r\n"
                                                    "CREATE TABLE qr_t (a int)\r\n"
                                                    "INSERT INTO qr_t (a) VALUES (7)\r\n"
                                                    "SELECT a FROM qr_t\r\n"));
    EXPECT_FALSE(outcome.runFailed);
    EXPECT_EQ(outcome.messages, crlf + "(1 row affected)" + crlf);
    ASSERT_EQ(outcome.grids.size(), 1);

    const QueryOutcome counted = run(QStringLiteral("SET NOCOUNT OFF\r\nINSERT INTO qr_t (a) VALUES (8)"));
    EXPECT_EQ(counted.messages, crlf + "(1 row affected)" + crlf);
    EXPECT_TRUE(counted.grids.isEmpty());
}

TEST_F(QueryRunnerTest, AFailedBatchIsReportedWithItsEditorLineAndTheOthersStillRun) {
    const QueryOutcome outcome = run(QStringLiteral("SELECT 1 AS a\r\n\r\n\r\n\r\n\r\n"
                                                    "GO\r\n"
                                                    "SELECT 2 AS b\r\n"
                                                    "SELEC x\r\n"
                                                    "GO\r\n"
                                                    "SELECT 3 AS c\r\n"));
    EXPECT_TRUE(outcome.runFailed);
    ASSERT_EQ(outcome.grids.size(), 2);
    EXPECT_EQ(outcome.grids[0].columns, QStringList{"a"});
    EXPECT_EQ(outcome.grids[1].columns, QStringList{"c"});
    EXPECT_TRUE(outcome.messages.contains(QStringLiteral("\r\nLine 3: "))) << outcome.messages.toStdString();
    EXPECT_TRUE(outcome.messages.contains(QStringLiteral("(Line 8 in editor)\r\n")))
        << outcome.messages.toStdString();
    EXPECT_FALSE(outcome.messages.contains(QStringLiteral("[")));
}

TEST_F(QueryRunnerTest, ATextOfGoLinesAndBlanksSendsNothing) {
    const QueryOutcome outcome = run(QStringLiteral("GO\r\n  \t\r\ngo\r\n-- go\r\n"));
    EXPECT_EQ(outcome.messages, QStringLiteral("The command(s) completed successfully."));
    EXPECT_TRUE(outcome.grids.isEmpty());
    EXPECT_FALSE(outcome.runFailed);
}

TEST(QueryRunnerTexts, ErrorTranslationAndSmallTexts) {
    const QStringList batches{QStringLiteral("a\r\nb\r\n"), QStringLiteral("\r\nc\nd\n"), QString()};
    // Line breaks of every earlier batch count, LF alone as well as CR LF.
    EXPECT_EQ(QueryRunner::TranslateBatchError(
                  QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]line 2: Bad."), 3, batches),
              QStringLiteral("Line 2: Bad.\r\n(Line 7 in editor)"));
    EXPECT_EQ(QueryRunner::TranslateBatchError(QStringLiteral("Line 4: Bad."), 1, batches),
              QStringLiteral("Line 4: Bad.\r\n(Line 4 in editor)"));
    // Without a line, or without a colon, the text stands as it is.
    EXPECT_EQ(QueryRunner::TranslateBatchError(QStringLiteral("Login failed: sa"), 2, batches),
              QStringLiteral("Login failed: sa"));
    EXPECT_EQ(QueryRunner::TranslateBatchError(QStringLiteral("lines of text"), 2, batches),
              QStringLiteral("lines of text"));

    EXPECT_TRUE(QueryRunner::IsBlankBatch(QStringLiteral(" \r\n\t \n")));
    EXPECT_FALSE(QueryRunner::IsBlankBatch(QStringLiteral(" x ")));
    EXPECT_EQ(QueryRunner::RowsAffectedText(0), QStringLiteral("\r\n(0 row affected)\r\n"));
    EXPECT_EQ(QueryRunner::RowsAffectedText(1), QStringLiteral("\r\n(1 row affected)\r\n"));
    EXPECT_EQ(QueryRunner::RowsAffectedText(12), QStringLiteral("\r\n(12 rows affected)\r\n"));
    EXPECT_EQ(QueryRunner::ParseAnswerText(QString()),
              QStringLiteral("The command(s) completed successfully."));

    SqlRowSet rows;
    rows.columns = {SqlColumn{}, SqlColumn{QStringLiteral("when")}};
    rows.rows = {{QVariant(), QDateTime(QDate(2024, 2, 29), QTime(13, 5, 7, 30))},
                 {QVariant(QByteArray("\x01\xab", 2)), QVariant(2.5)}};
    const ResultGridData grid = QueryRunner::GridData(rows);
    EXPECT_EQ(grid.columns, (QStringList{"(No column name)", "when"}));
    EXPECT_EQ(texts(grid), (QList<QStringList>{{"(null)", "2024-02-29 13:05:07.030"}, {"0x01AB", "2.5"}}));
}
