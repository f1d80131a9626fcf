#include "EmbeddedServer.h"
#include "ScriptedPrompts.h"
#include "TARMOSQL.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

const QString kSaPassword = QStringLiteral("sa;pw}");
const QString kCRLF = QStringLiteral("\r\n");

// One embedded server for the suite: database Sales with a procedure "shared" under both dbo and
// the user dev, and dev's own login.
class TARMOSQLOnServer : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        sFolder = new TempFolder();
        EmbeddedServer::Create(sFolder->Path(QStringLiteral("srv")), kSaPassword);
        TARMOSQL sa;
        ASSERT_EQ(
            sa.OpenConnection(server(), QStringLiteral("master"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        sa.ExecuteSQL(QStringLiteral("CREATE DATABASE Sales"));
        sa.ExecuteSQL(QStringLiteral("CREATE LOGIN dev WITH PASSWORD = 'devpw'"));
        sa.CloseConnection();
        ASSERT_EQ(
            sa.OpenConnection(server(), QStringLiteral("Sales"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        sa.ExecuteSQL(QStringLiteral("CREATE USER dev FOR LOGIN dev"));
        sa.ExecuteSQL(QStringLiteral("CREATE PROCEDURE dbo.shared AS SELECT 1"));
        sa.ExecuteSQL(QStringLiteral("CREATE PROCEDURE dev.shared AS SELECT 2"));
        sa.ExecuteSQL(sProcText);
    }
    static void TearDownTestSuite() {
        delete sFolder;
        sFolder = nullptr;
    }

    void SetUp() override { mPrompts = std::make_unique<ScriptedPromptsScope>(); }
    ScriptedPrompts& prompts() { return **mPrompts; }

    static QString server() { return QStringLiteral("embedded:") + sFolder->Path(QStringLiteral("srv")); }

    // A project's connection with its fields set and no password stored.
    static void project(TARMOSQL& sql, const QString& user = QStringLiteral("sa")) {
        sql.SetServer(server());
        sql.SetDatabase(QStringLiteral("Sales"));
        sql.SetUserName(user);
    }
    static void openAsSa(TARMOSQL& sql) {
        project(sql);
        ASSERT_EQ(sql.OpenConnection(QString(), QString(), QString(), kSaPassword), QString());
    }

    static TempFolder* sFolder;
    static const QString sProcText;
    std::unique_ptr<ScriptedPromptsScope> mPrompts;
};

TempFolder* TARMOSQLOnServer::sFolder = nullptr;
const QString TARMOSQLOnServer::sProcText = QStringLiteral("CREATE PROCEDURE [dbo].[GetOrders]\r\n"
                                                           "    @id int\r\n"
                                                           "AS\r\n"
                                                           "-- it's kept as written\r\n"
                                                           "SELECT @id AS id\r\n");

} // namespace

TEST_F(TARMOSQLOnServer, PasswordDialogIsAskedOnlyBeforeTheFirstConnection) {
    TARMOSQL sql;
    project(sql);
    prompts().QueueLogin(true, QStringLiteral("sa"), kSaPassword);
    EXPECT_EQ(sql.OpenConnection(), QString());
    EXPECT_TRUE(sql.ConnectionOpen());
    EXPECT_NE(sql.DBConn(), nullptr);
    ASSERT_EQ(prompts().Records().size(), 1);
    EXPECT_EQ(prompts().Records()[0].kind, ScriptedPrompts::Kind::SQLLogin);
    EXPECT_EQ(prompts().Records()[0].text, server());
    EXPECT_EQ(sql.Password(), kSaPassword);

    // Closed and opened again with empty arguments: the values are known, nobody is asked.
    sql.CloseConnection();
    EXPECT_FALSE(sql.ConnectionOpen());
    EXPECT_EQ(sql.OpenConnection(), QString());
    EXPECT_EQ(prompts().Records().size(), 1);
    EXPECT_EQ(prompts().Unanswered(), 0);

    // A second connection of its own from the same values, as the query window opens one.
    std::unique_ptr<DbConnection> own = DbDriver::CreateConnection(sql.Server());
    own->Open(sql.ConnectionLogin());
    EXPECT_EQ(own->CurrentDatabase(), QStringLiteral("Sales"));
}

TEST_F(TARMOSQLOnServer, CancelledDialogStopsWithItsMessageUnlessSilent) {
    TARMOSQL sql;
    project(sql);
    prompts().QueueLogin(false);
    EXPECT_EQ(sql.OpenConnection(), QStringLiteral("Password was not entered!"));
    EXPECT_FALSE(sql.ConnectionOpen());
    ASSERT_EQ(prompts().Records().size(), 2);
    const ScriptedPrompts::Record& box = prompts().Records()[1];
    EXPECT_EQ(box.title, QStringLiteral("Connection Error"));
    EXPECT_EQ(box.text, QStringLiteral("Password was not entered!"));
    EXPECT_EQ(box.icon, Prompt::Icon::Critical);

    prompts().Clear();
    prompts().QueueLogin(false);
    EXPECT_EQ(sql.OpenConnection(QString(), QString(), QString(), QString(),
                                 TARMOSQL::kUseStoredAuthentication, true),
              QStringLiteral("Password was not entered!"));
    EXPECT_TRUE(prompts().Messages().isEmpty());
}

TEST_F(TARMOSQLOnServer, StoredPasswordIsNeverAskedForEvenWhenEmpty) {
    TARMOSQL sql;
    project(sql);
    sql.SetStorePassword(true);
    const QString result = sql.OpenConnection(QString(), QString(), QString(), QString(),
                                              TARMOSQL::kUseStoredAuthentication, true);
    EXPECT_EQ(result, QStringLiteral("[TARMO][Embedded Server]Login failed for user 'sa'."));
    EXPECT_TRUE(prompts().Records().isEmpty());
}

TEST_F(TARMOSQLOnServer, FailedLoginReturnsTheRawTextAndShowsItReadable) {
    TARMOSQL sql;
    project(sql);
    sql.SetDatabase(QStringLiteral("Old"));
    EXPECT_EQ(
        sql.OpenConnection(server(), QStringLiteral("Sales"), QStringLiteral("sa"), QStringLiteral("bad")),
        QStringLiteral("[TARMO][Embedded Server]Login failed for user 'sa'."));
    EXPECT_EQ(prompts().Messages(), QStringList({"Login failed for user 'sa'."}));
    EXPECT_EQ(prompts().Records().last().title, QStringLiteral("Connection Error"));
    EXPECT_FALSE(sql.ConnectionOpen());
    EXPECT_EQ(sql.Database(), QStringLiteral("Old")) << "a failed open keeps the old fields";
}

TEST_F(TARMOSQLOnServer, AuthenticationArgumentOverridesTheStoredFlag) {
    TARMOSQL sql;
    project(sql);
    sql.SetUseWinNTAuth(true);
    // 0: a SQL login although the project says Windows authentication.
    EXPECT_EQ(sql.OpenConnection(QString(), QString(), QStringLiteral("sa"), kSaPassword, 0), QString());
    EXPECT_FALSE(sql.UseWinNTAuth());
    EXPECT_EQ(sql.UserName(), QStringLiteral("sa"));
    EXPECT_EQ(sql.DatabaseUserName(), QStringLiteral("dbo"));

    // -1: Windows authentication, the operating-system user who owns the server folder.
    EXPECT_EQ(
        sql.OpenConnection(QString(), QString(), QString(), QString(), TARMOSQL::kWindowsAuthentication),
        QString());
    EXPECT_TRUE(sql.UseWinNTAuth());
    EXPECT_EQ(sql.UserName(), QStringLiteral("(Windows authentication)"));
    EXPECT_TRUE(prompts().Records().isEmpty());
}

TEST_F(TARMOSQLOnServer, CatalogueLookupsWithTwoOwners) {
    TARMOSQL sql;
    openAsSa(sql);
    const QString dboId = sql.GetObjectID(QStringLiteral("shared"));
    const QString devId = sql.GetObjectID(QStringLiteral("[shared]"), QStringLiteral("[dev]"));
    ASSERT_FALSE(dboId.isEmpty());
    ASSERT_FALSE(devId.isEmpty());
    EXPECT_NE(dboId, devId);
    // A name that two owners share has no id without its owner.
    EXPECT_EQ(sql.GetObjectID(QStringLiteral("shared"), QString()), QString());
    // [dbo] alone is a name, looked for under dbo unless the owner is emptied.
    EXPECT_EQ(sql.GetObjectID(QStringLiteral("[dbo]")), QString());
    EXPECT_EQ(sql.GetObjectID(QStringLiteral("missing"), QString()), QString());

    EXPECT_EQ(sql.GetObjectOwnerName(devId), QStringLiteral("dev"));
    EXPECT_EQ(sql.GetObjectName(devId), QStringLiteral("[dev].[shared]"));
    EXPECT_EQ(sql.GetObjectName(dboId, false), QStringLiteral("[shared]"));
    EXPECT_EQ(sql.GetObjectName(QStringLiteral("987654321")), QString());
    EXPECT_EQ(sql.GetObjectName(QStringLiteral("not a number")), QString());
    EXPECT_EQ(sql.GetObjectOwnerName(QStringLiteral("987654321")), QString());
}

TEST_F(TARMOSQLOnServer, ObjectTextComesBackExactlyAsStored) {
    TARMOSQL sql;
    openAsSa(sql);
    const QString id = sql.GetObjectID(QStringLiteral("GetOrders"));
    ASSERT_FALSE(id.isEmpty());
    EXPECT_EQ(sql.GetObjectText(id), sProcText);
    // No such id: sp_helptext gets NULL and the server's refusal reaches the caller.
    EXPECT_THROW(sql.GetObjectText(QStringLiteral("987654321")), TARMOError);
    EXPECT_TRUE(sql.ConnectionOpen());
}

TEST_F(TARMOSQLOnServer, StatementsRaiseTheServersErrorAndKeepTheConnection) {
    TARMOSQL sql;
    openAsSa(sql);
    try {
        sql.ExecuteSQL(QStringLiteral("SELECT * FROM no_such_table"));
        FAIL() << "the server's error must reach the caller";
    } catch (const TARMOError& e) {
        EXPECT_EQ(e.Number(), 208);
        EXPECT_EQ(TARMOSQL::FormatSQLError(e.Description()),
                  QStringLiteral("Line 1: Invalid object name 'no_such_table'."));
    }
    EXPECT_TRUE(sql.ConnectionOpen());
    std::unique_ptr<DbRecordset> rs =
        sql.OpenRecordset(QStringLiteral("SELECT name FROM sysobjects WHERE name = 'GetOrders'"));
    ASSERT_NE(rs, nullptr);
    EXPECT_EQ(rs->RecordCount(), 1);
}

TEST_F(TARMOSQLOnServer, DatabaseUserOfTheLogin) {
    TARMOSQL sql;
    project(sql, QStringLiteral("DEV"));
    ASSERT_EQ(sql.OpenConnection(QString(), QString(), QString(), QStringLiteral("devpw")), QString());
    EXPECT_EQ(sql.DatabaseUserName(), QStringLiteral("dev"));
}

TEST_F(TARMOSQLOnServer, UserDefinedFunctionsProbe) {
    TARMOSQL sql;
    openAsSa(sql);
    EXPECT_TRUE(sql.UserDefinedFunctionsAllowed());
    // The probe leaves nothing behind, so it can run again.
    EXPECT_TRUE(sql.UserDefinedFunctionsAllowed());
}

TEST_F(TARMOSQLOnServer, ParseOnlyReportsTheErrorWithItsLineAndRunsNothing) {
    TARMOSQL sql;
    openAsSa(sql);
    EXPECT_TRUE(sql.SQLDMOInstalled());
    EXPECT_EQ(sql.ParseSQL(QStringLiteral("CREATE TABLE parsed_only (n int)")), QString());
    EXPECT_EQ(sql.GetObjectID(QStringLiteral("parsed_only"), QString()), QString());
    const QString error = sql.ParseSQL(QStringLiteral("SELECT 1\r\nSELECT FROM WHERE"));
    EXPECT_TRUE(error.startsWith(QStringLiteral("[TARMO][Embedded Server]Line 2: Incorrect syntax near")))
        << error.toStdString();
}

TEST_F(TARMOSQLOnServer, LoginCheckNamesWhatIsWrong) {
    TARMOSQL sql;
    const QString missing = QStringLiteral("embedded:") + sFolder->Path(QStringLiteral("none"));
    EXPECT_EQ(sql.ValidSQLDMOConnectionString(missing, QStringLiteral("sa"), kSaPassword),
              QStringLiteral("SQL Server '") + missing +
                  QStringLiteral("' does not exist or access denied."));
    EXPECT_EQ(sql.ValidSQLDMOConnectionString(server(), QStringLiteral("bob"), QStringLiteral("x")),
              QStringLiteral("Login failed for user 'bob'."));
    EXPECT_EQ(
        sql.ValidSQLDMOConnectionString(server(), QStringLiteral("sa"), kSaPassword, QStringLiteral("Nope")),
        QStringLiteral("Database 'Nope' does not exist."));
    EXPECT_EQ(
        sql.ValidSQLDMOConnectionString(server(), QStringLiteral("sa"), kSaPassword, QStringLiteral("sales")),
        QString());
    EXPECT_EQ(sql.ValidateConnectionInformationADO(server(), QStringLiteral("sa"), QStringLiteral("bad")),
              QStringLiteral("Login failed for user 'sa'."));
    EXPECT_EQ(
        sql.TestConnection(server(), QStringLiteral("Sales"), QStringLiteral("dev"), QStringLiteral("devpw")),
        QString());

    const QStringList databases = sql.FindDatabases(server(), QStringLiteral("sa"), kSaPassword);
    ASSERT_GE(databases.size(), 3);
    EXPECT_EQ(databases[0], QString());
    EXPECT_TRUE(databases.contains(QStringLiteral("master")));
    EXPECT_TRUE(databases.contains(QStringLiteral("Sales")));
    EXPECT_THROW(sql.FindDatabases(server(), QStringLiteral("sa"), QStringLiteral("bad")), TARMOError);
}
