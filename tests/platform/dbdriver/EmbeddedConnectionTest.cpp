#include "EmbeddedConnection.h"
#include "EmbeddedServer.h"
#include "TestSupport.h"

#include <QDateTime>

#include <gtest/gtest.h>

namespace {

const QString kSaPassword = QStringLiteral("S3cret;pw");

// One server folder for the suite, with a database Sales and a login dev.
class EmbeddedDriver : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        sFolder = new TempFolder();
        EmbeddedServer::Create(sFolder->Path(QStringLiteral("srv")), kSaPassword);
        EmbeddedConnection c;
        c.Open(login(QStringLiteral("sa"), kSaPassword, QString()));
        c.Execute(QStringLiteral("CREATE DATABASE Sales"));
        c.Execute(QStringLiteral("CREATE LOGIN dev WITH PASSWORD = 'devpw'"));
    }
    static void TearDownTestSuite() {
        delete sFolder;
        sFolder = nullptr;
    }
    static QString server() { return QStringLiteral("embedded:") + sFolder->Path(QStringLiteral("srv")); }
    static DbLogin login(const QString& user, const QString& password, const QString& database) {
        DbLogin l;
        l.server = server();
        l.login = user;
        l.password = password;
        l.database = database;
        return l;
    }
    static DbError openFailure(const DbLogin& l) {
        EmbeddedConnection c;
        try {
            c.Open(l);
        } catch (const DbError& e) {
            EXPECT_FALSE(c.IsOpen());
            return e;
        }
        ADD_FAILURE() << "the login should have failed";
        return DbError(0, {}, {}, DbFailure::Driver);
    }

    static TempFolder* sFolder;
};

TempFolder* EmbeddedDriver::sFolder = nullptr;

} // namespace

TEST_F(EmbeddedDriver, LoginFailuresAreSortedIntoTheirConditions) {
    DbLogin noServer = login(QStringLiteral("sa"), kSaPassword, QString());
    noServer.server = QStringLiteral("embedded:") + sFolder->Path(QStringLiteral("nothing-here"));
    DbError e = openFailure(noServer);
    EXPECT_EQ(e.Failure(), DbFailure::NoServer);
    EXPECT_EQ(e.Description(),
              QStringLiteral("[TARMO][Embedded Server]SQL Server does not exist or access denied."));

    e = openFailure(login(QStringLiteral("sa"), QStringLiteral("wrong"), QString()));
    EXPECT_EQ(e.Failure(), DbFailure::LoginFailed);
    EXPECT_EQ(e.Number(), 18456);
    EXPECT_EQ(e.Description(), QStringLiteral("[TARMO][Embedded Server]Login failed for user 'sa'."));

    // A bad database: the server sends 4060 then 18456, and the first one tells what is wrong.
    e = openFailure(login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Nope")));
    EXPECT_EQ(e.Failure(), DbFailure::NoDatabase);
    EXPECT_EQ(e.Number(), 4060);
    ASSERT_EQ(e.Messages().size(), 2);
    EXPECT_EQ(e.Messages()[1].number, 18456);
}

TEST_F(EmbeddedDriver, BatchResultsComeBackInOrderAndErrorsRaiseWithTheirLine) {
    EmbeddedConnection c;
    c.Open(login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")));
    EXPECT_EQ(c.CurrentDatabase(), QStringLiteral("Sales"));
    c.Execute(QStringLiteral("CREATE TABLE t (id int, name nvarchar(20))"));
    const SqlBatchResults r = c.ExecuteBatch(
        QStringLiteral("PRINT 'start'\nINSERT INTO t VALUES (1, 'a')\nSELECT id, name FROM t"));
    // As a server sends them: the message, the insert's count, the rows, the select's count.
    ASSERT_EQ(r.size(), 4);
    EXPECT_EQ(r[0].kind, SqlResult::Kind::Message);
    EXPECT_EQ(r[0].message.text, QStringLiteral("start"));
    EXPECT_EQ(r[1].kind, SqlResult::Kind::RowCount);
    EXPECT_EQ(r[1].rowCount, 1);
    ASSERT_EQ(r[2].kind, SqlResult::Kind::RowSet);
    EXPECT_EQ(r[2].rowSet.columns[1].name, QStringLiteral("name"));
    EXPECT_EQ(r[3].kind, SqlResult::Kind::RowCount);

    try {
        c.Execute(QStringLiteral("SELECT 1\nSELECT * FROM missing_table"));
        FAIL() << "a missing table must raise";
    } catch (const DbError& e) {
        EXPECT_EQ(e.Number(), 208);
        EXPECT_EQ(e.Failure(), DbFailure::Statement);
        EXPECT_EQ(e.Description(),
                  QStringLiteral("[TARMO][Embedded Server]Line 2: Invalid object name 'missing_table'."));
    }
    EXPECT_TRUE(c.IsOpen()) << "a statement error leaves the connection open";
}

TEST_F(EmbeddedDriver, RecordsetIsDetachedFromLaterUseOfTheConnection) {
    EmbeddedConnection c;
    c.Open(login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")));
    c.Execute(QStringLiteral("CREATE TABLE r (n int)\nINSERT INTO r VALUES (1)\nINSERT INTO r VALUES (2)"));
    DbRecordset rs = c.OpenRecordset(QStringLiteral("SELECT n FROM r ORDER BY n"));
    c.Execute(QStringLiteral("DELETE FROM r"));
    c.Close();
    ASSERT_EQ(rs.RecordCount(), 2);
    EXPECT_EQ(rs.Field(QStringLiteral("n")).toInt(), 1);
    rs.MoveNext();
    EXPECT_EQ(rs.Field(QStringLiteral("n")).toInt(), 2);

    c.Open(login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")));
    EXPECT_EQ(c.OpenRecordset(QStringLiteral("UPDATE r SET n = 3")).FieldCount(), 0);
}

// A datetime comes back as the wall-clock time stored, whatever the zone of the machine, and its text
// carries no zone.
TEST_F(EmbeddedDriver, DatetimesReadAsStoredWithoutAZone) {
    EmbeddedConnection c;
    c.Open(login(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales")));
    c.Execute(QStringLiteral("CREATE TABLE stamps (n int, d datetime)\n"
                             "INSERT INTO stamps VALUES (1, '2024-02-29 23:59:58.997')\n"
                             "INSERT INTO stamps VALUES (2, '2024-10-27 02:30:00')\n"
                             "INSERT INTO stamps VALUES (3, NULL)"));
    DbRecordset rs = c.OpenRecordset(QStringLiteral("SELECT d FROM stamps ORDER BY n"));
    ASSERT_EQ(rs.RecordCount(), 3);
    const QDateTime first = rs.Field(0).toDateTime();
    EXPECT_EQ(first.date(), QDate(2024, 2, 29));
    EXPECT_EQ(first.time(), QTime(23, 59, 58, 997));
    EXPECT_EQ(rs.Text(QStringLiteral("d")), QStringLiteral("2024-02-29T23:59:58.997"));
    rs.MoveNext();
    // An hour that the end of summer time repeats in many zones stays as it was stored.
    EXPECT_EQ(rs.Field(0).toDateTime().time(), QTime(2, 30));
    rs.MoveNext();
    EXPECT_EQ(rs.Text(QStringLiteral("d")), QString());
}

TEST_F(EmbeddedDriver, ListsDatabasesAndRefusesWorkWhileClosed) {
    EmbeddedConnection c;
    EXPECT_THROW(c.ExecuteBatch(QStringLiteral("SELECT 1")), DbError);
    c.Open(login(QStringLiteral("dev"), QStringLiteral("devpw"), QString()));
    const QStringList names = c.ListDatabases();
    EXPECT_TRUE(names.contains(QStringLiteral("master")));
    EXPECT_TRUE(names.contains(QStringLiteral("Sales")));
}

TEST_F(EmbeddedDriver, TrustedLoginIsTheFolderOwner) {
    DbLogin trusted = login(QString(), QString(), QString());
    trusted.trusted = true;
    EmbeddedConnection c;
    c.Open(trusted);
    EXPECT_TRUE(c.IsOpen());
}
