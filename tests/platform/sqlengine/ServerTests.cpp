#include "EmbeddedServer.h"
#include "EngineResults.h"
#include "GeneralHelpers.h"
#include "TARMOError.h"
#include "TestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <optional>

namespace {

class ServerFolder : public ::testing::Test {
protected:
    void SetUp() override {
        folder = temp.Path(QStringLiteral("srv"));
        EmbeddedServer::Create(folder, QStringLiteral("secret"));
    }
    std::unique_ptr<EmbeddedSession> Sa(EmbeddedServer& server, const QString& db = {}) {
        auto s = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), db);
        EXPECT_TRUE(s);
        return s;
    }
    TempFolder temp;
    QString folder;
};

TEST_F(ServerFolder, CreateMakesAServerThatOnlyOpensOnce) {
    EXPECT_TRUE(EmbeddedServer::IsServerFolder(folder));
    EXPECT_THROW(EmbeddedServer::Create(folder, QStringLiteral("x")), TARMOError);
    EXPECT_FALSE(EmbeddedServer::IsServerFolder(temp.Path(QStringLiteral("nothing"))));
    EXPECT_THROW(EmbeddedServer(temp.Path(QStringLiteral("nothing"))), TARMOError);
    EmbeddedServer server(folder);
    EXPECT_EQ(server.DatabaseNames(), QStringList{QStringLiteral("master")});
}

TEST_F(ServerFolder, CreateRefusesAFolderThatCantBeWritten) {
    const QString file = temp.Path(QStringLiteral("plainfile"));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    EXPECT_THROW(EmbeddedServer::Create(file + QStringLiteral("/inside"), QStringLiteral("x")), TARMOError);
}

TEST_F(ServerFolder, LoginsAndDatabasesAnswerAsTheServer) {
    EmbeddedServer server(folder);
    QList<SqlMessage> messages;
    EXPECT_FALSE(server.Connect(QStringLiteral("sa"), QStringLiteral("wrong"), {}, false, &messages));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].number, 18456);
    EXPECT_EQ(messages[0].severity, 14);
    EXPECT_EQ(messages[0].text, QStringLiteral("Login failed for user 'sa'."));

    messages.clear();
    EXPECT_FALSE(server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), QStringLiteral("Nope"), false,
                                &messages));
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].number, 4060);
    EXPECT_EQ(messages[1].number, 18456);

    auto sa = Sa(server);
    EXPECT_EQ(sa->CurrentDatabase(), QStringLiteral("master"));
    EXPECT_EQ(sa->LoginName(), QStringLiteral("sa"));
    EXPECT_EQ(sa->UserName(), QStringLiteral("dbo"));
    EXPECT_TRUE(Errors(sa->Execute(QStringLiteral("CREATE DATABASE Sales"))).isEmpty());
    EXPECT_EQ(server.DatabaseNames(), (QStringList{QStringLiteral("master"), QStringLiteral("Sales")}));
    EXPECT_TRUE(Errors(sa->Execute(QStringLiteral("USE sales"))).isEmpty());
    EXPECT_EQ(sa->CurrentDatabase(), QStringLiteral("Sales"));

    // A login's default database is where it lands without a database.
    EXPECT_TRUE(
        Errors(sa->Execute(QStringLiteral("CREATE LOGIN u1 WITH PASSWORD = 'p', DEFAULT_DATABASE = Sales\n"
                                          "CREATE USER u1 FOR LOGIN u1")))
            .isEmpty());
    auto u1 = server.Connect(QStringLiteral("u1"), QStringLiteral("p"), {});
    ASSERT_TRUE(u1);
    EXPECT_EQ(u1->CurrentDatabase(), QStringLiteral("Sales"));
    EXPECT_EQ(u1->UserName(), QStringLiteral("u1"));
    EXPECT_FALSE(
        server.Connect(QStringLiteral("U1"), QStringLiteral("P"), {})); // passwords are case-sensitive

    // Dropping a database removes its file, and only when no one of this session uses it.
    const auto inUse = Errors(sa->Execute(QStringLiteral("DROP DATABASE Sales")));
    ASSERT_EQ(inUse.size(), 1);
    EXPECT_EQ(inUse[0].number, 3702);
    EXPECT_TRUE(Errors(sa->Execute(QStringLiteral("USE master\nDROP DATABASE Sales"))).isEmpty());
    EXPECT_EQ(server.DatabaseNames(), QStringList{QStringLiteral("master")});
    EXPECT_FALSE(QFile::exists(QDir(folder).filePath(QStringLiteral("sales.db"))));
}

TEST_F(ServerFolder, PasswordsAreNotKeptInPlainText) {
    QFile master(QDir(folder).filePath(QStringLiteral("master.db")));
    ASSERT_TRUE(master.open(QIODevice::ReadOnly));
    EXPECT_FALSE(master.readAll().contains("secret"));
}

TEST_F(ServerFolder, TrustedConnectionIsTheFolderOwnerAsAdministrator) {
    EmbeddedServer server(folder);
    auto session = server.Connect({}, {}, {}, true);
    ASSERT_TRUE(session);
    EXPECT_EQ(session->LoginName(), GetWindowsUserName());
    EXPECT_EQ(session->UserName(), QStringLiteral("dbo"));
    std::optional<SqlRowSet> rows = FirstRows(session->Execute(
        QStringLiteral("SELECT sysadmin, isntname FROM master.dbo.syslogins WHERE name = SUSER_SNAME()")));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->rows.size(), 1);
    EXPECT_EQ(rows->rows[0][0].toLongLong(), 1);
    EXPECT_EQ(rows->rows[0][1].toLongLong(), 1);
    // The login made for the user has no password to log in with.
    EXPECT_FALSE(server.Connect(GetWindowsUserName(), QString(), {}));
}

TEST_F(ServerFolder, TwoSessionsShareOneFolder) {
    EmbeddedServer first(folder);
    EmbeddedServer second(folder);
    auto a = Sa(first);
    auto b = Sa(second);
    ASSERT_TRUE(Errors(a->Execute(QStringLiteral("CREATE DATABASE Shared"))).isEmpty());
    ASSERT_TRUE(Errors(b->Execute(QStringLiteral("USE Shared"))).isEmpty());
    ASSERT_TRUE(Errors(a->Execute(QStringLiteral("USE Shared\nCREATE TABLE T (n int)"))).isEmpty());
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(Errors(a->Execute(QStringLiteral("INSERT INTO T VALUES (1)"))).isEmpty());
        ASSERT_TRUE(Errors(b->Execute(QStringLiteral("INSERT INTO T VALUES (2)"))).isEmpty());
    }
    std::optional<SqlRowSet> rows =
        FirstRows(b->Execute(QStringLiteral("SELECT n, COUNT(*) FROM T GROUP BY n ORDER BY n")));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->rows.size(), 2);
    EXPECT_EQ(rows->rows[0][1].toLongLong(), 20);
    EXPECT_EQ(rows->rows[1][1].toLongLong(), 20);
    // A procedure made by one session runs in the other.
    ASSERT_TRUE(
        Errors(b->Execute(QStringLiteral("CREATE PROCEDURE P AS SELECT COUNT(*) AS c FROM T"))).isEmpty());
    rows = FirstRows(a->Execute(QStringLiteral("EXEC P")));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->rows[0][0].toLongLong(), 40);
}

TEST_F(ServerFolder, UserMessagesOutlastTheServer) {
    {
        EmbeddedServer server(folder);
        auto sa = Sa(server);
        ASSERT_TRUE(
            Errors(sa->Execute(QStringLiteral("EXEC sp_addmessage 50100, 16, N'Kept %s'"))).isEmpty());
    }
    EmbeddedServer server(folder);
    auto sa = Sa(server);
    ASSERT_TRUE(Errors(sa->Execute(QStringLiteral("CREATE DATABASE Other"))).isEmpty());
    const std::optional<SqlRowSet> rows = FirstRows(sa->Execute(
        QStringLiteral("USE Other\nSELECT text, FORMATMESSAGE(50100, 'here') FROM sys.messages")));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->rows.size(), 1);
    EXPECT_EQ(rows->rows[0][0].toString(), QStringLiteral("Kept %s"));
    EXPECT_EQ(rows->rows[0][1].toString(), QStringLiteral("Kept here"));
}

TEST_F(ServerFolder, ParseReportsEverySyntaxErrorAndRunsNothing) {
    EmbeddedServer server(folder);
    auto sa = Sa(server);
    const SqlBatchResults parsed =
        sa->Parse(QStringLiteral("CREATE TABLE Never (a int)\nSELECT * FORM x\nPRINT 'ok'\nSELECT FROM y"));
    const auto errors = Errors(parsed);
    ASSERT_EQ(errors.size(), 2);
    EXPECT_EQ(errors[0].number, 102);
    EXPECT_EQ(errors[0].line, 2);
    EXPECT_EQ(errors[1].number, 156);
    EXPECT_EQ(errors[1].line, 4);
    EXPECT_TRUE(sa->Parse(QStringLiteral("CREATE TABLE Never (a int)")).isEmpty());
    std::optional<SqlRowSet> rows =
        FirstRows(sa->Execute(QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE name = 'Never'")));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->rows[0][0].toLongLong(), 0);

    // SET PARSEONLY ON: batches are checked, not run, until it is switched off.
    EXPECT_TRUE(sa->Execute(QStringLiteral("SET PARSEONLY ON")).isEmpty());
    EXPECT_TRUE(sa->Execute(QStringLiteral("CREATE TABLE Never (a int)")).isEmpty());
    EXPECT_EQ(Errors(sa->Execute(QStringLiteral("SELECT * FORM x"))).size(), 1);
    EXPECT_TRUE(sa->Execute(QStringLiteral("SET PARSEONLY OFF")).isEmpty());
    rows = FirstRows(sa->Execute(QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE name = 'Never'")));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->rows[0][0].toLongLong(), 0);
}

TEST_F(ServerFolder, ResultColumnsCarryServerTypes) {
    EmbeddedServer server(folder);
    auto sa = Sa(server);
    ASSERT_TRUE(Errors(sa->Execute(QStringLiteral(
                           "CREATE TABLE Typed (i int, s nvarchar(30), d datetime, m money, b bit)\n"
                           "INSERT INTO Typed VALUES (1, N'x', '2024-01-02 03:04:05', 2.5, 1)")))
                    .isEmpty());
    std::optional<SqlRowSet> rows =
        FirstRows(sa->Execute(QStringLiteral("SELECT i, s, d, m, b, GETDATE() AS now FROM Typed")));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->columns.size(), 6);
    EXPECT_EQ(rows->columns[0].typeId, 56);
    EXPECT_EQ(rows->columns[1].typeId, 231);
    EXPECT_EQ(rows->columns[1].length, 60);
    EXPECT_EQ(rows->columns[2].typeId, 61);
    EXPECT_EQ(rows->columns[3].typeId, 60);
    EXPECT_EQ(rows->columns[4].typeId, 104);
    EXPECT_EQ(rows->columns[5].typeId, 61);
    const QVariantList& r = rows->rows[0];
    EXPECT_EQ(r[0].typeId(), QMetaType::LongLong);
    EXPECT_EQ(r[1].toString(), QStringLiteral("x"));
    EXPECT_EQ(r[2].toDateTime(), QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5), Qt::UTC));
    EXPECT_DOUBLE_EQ(r[3].toDouble(), 2.5);
    EXPECT_EQ(r[4].toLongLong(), 1);
    EXPECT_EQ(r[5].typeId(), QMetaType::QDateTime);
}

TEST_F(ServerFolder, SessionsKeepTheirOwnOptionsAndVariablesEndWithTheBatch) {
    EmbeddedServer server(folder);
    auto a = Sa(server);
    auto b = Sa(server);
    a->Execute(QStringLiteral("SET NOCOUNT ON"));
    EXPECT_EQ(a->Execute(QStringLiteral("SELECT 1")).size(), 1); // the rows only
    EXPECT_EQ(b->Execute(QStringLiteral("SELECT 1")).size(), 2); // rows and count
    a->Execute(QStringLiteral("DECLARE @x int"));
    const auto errors = Errors(a->Execute(QStringLiteral("SELECT @x")));
    ASSERT_EQ(errors.size(), 1);
    EXPECT_EQ(errors[0].number, 137);
}

// The date settings belong to a session; the date errors carry the server's states (241 state 1,
// 242 state 3), which the script format doesn't show.
TEST_F(ServerFolder, DateSettingsAreASessionsOwnAndDateErrorsKeepTheirStates) {
    EmbeddedServer server(folder);
    auto a = Sa(server);
    auto b = Sa(server);
    ASSERT_TRUE(Errors(a->Execute(QStringLiteral("SET DATEFORMAT dmy"))).isEmpty());
    const auto inA = FirstRows(a->Execute(QStringLiteral("SELECT DAY(CAST('7/4/1996' AS datetime))")));
    const auto inB = FirstRows(b->Execute(QStringLiteral("SELECT DAY(CAST('7/4/1996' AS datetime))")));
    ASSERT_TRUE(inA && inB);
    EXPECT_EQ(inA->rows[0][0].toLongLong(), 7);
    EXPECT_EQ(inB->rows[0][0].toLongLong(), 4);
    const auto outOfRange = Errors(a->Execute(QStringLiteral("SELECT CAST('12/31/2008' AS datetime)")));
    ASSERT_EQ(outOfRange.size(), 1);
    EXPECT_EQ(outOfRange[0].number, 242);
    EXPECT_EQ(outOfRange[0].state, 3);
    const auto notDate = Errors(b->Execute(QStringLiteral("SELECT CAST('no date' AS datetime)")));
    ASSERT_EQ(notDate.size(), 1);
    EXPECT_EQ(notDate[0].number, 241);
    EXPECT_EQ(notDate[0].state, 1);
}

} // namespace
