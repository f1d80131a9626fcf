#include "CliCommands.h"
#include "DemoSeed.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOProjects.h"
#include "TARMOSQL.h"
#include "TerminalPassword.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"

#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

struct Call {
    int code = -1;
    QString out;
    QString err;
};

Call runScript(const QStringList& args) {
    Call call;
    QTextStream out(&call.out);
    QTextStream err(&call.err);
    CliCommands commands(out, err);
    call.code = commands.Run(
        QStringList{QStringLiteral("--project"), QStringLiteral("Demo"), QStringLiteral("script")} + args);
    out.flush();
    err.flush();
    return call;
}

// The demo's tables as a deployment finds them on a new database: no programmable object at all.
const QStringList kTablesOnly = {
    QStringLiteral("CREATE TABLE dbo.Customers (CustomerID int IDENTITY(1,1) PRIMARY KEY, Name nvarchar(100) "
                   "NOT NULL, City nvarchar(50) NULL, CreatedOn datetime NOT NULL DEFAULT GETDATE())"),
    QStringLiteral("CREATE TABLE dbo.Orders (OrderID int IDENTITY(1,1) PRIMARY KEY, CustomerID int NOT NULL, "
                   "Amount money NOT NULL, OrderedOn datetime NOT NULL DEFAULT GETDATE())"),
};

} // namespace

// The demo project with an empty database "Fresh" beside it on the demo's server.
class ScriptCliTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto seeded = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), false);
        ASSERT_TRUE(seeded.ok) << qPrintable(seeded.error);
        server = settings.FindAllProjects()->Item(QStringLiteral("Demo"))->SQL().Server();
        ASSERT_EQ(fresh.OpenConnection(server, QStringLiteral("master"), QStringLiteral("sa"),
                                       QStringLiteral("demo"), 0, true),
                  QString());
        fresh.ExecuteSQL(QStringLiteral("CREATE DATABASE Fresh"));
        ASSERT_EQ(fresh.OpenConnection(server, QStringLiteral("Fresh"), QStringLiteral("sa"),
                                       QStringLiteral("demo"), 0, true),
                  QString());
        for (const QString& table : kTablesOnly)
            fresh.ExecuteSQL(table);
    }
    void TearDown() override {
        VSSBulkReader::Release();
        qunsetenv("SQLCMDPASSWORD");
    }

    // The programmable objects of a database of the demo's server, by name.
    QStringList objectsOf(const QString& database) {
        TARMOSQL sql;
        EXPECT_EQ(sql.OpenConnection(server, database, QStringLiteral("sa"), QStringLiteral("demo"), 0, true),
                  QString());
        QStringList names;
        auto rs = sql.OpenRecordset(QStringLiteral(
            "SELECT name FROM sysobjects WHERE xtype IN ('P', 'V', 'FN', 'IF', 'TF', 'TR') ORDER BY name"));
        for (; rs && !rs->Eof(); rs->MoveNext())
            names << rs->Text(QStringLiteral("name"));
        return names;
    }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TempFolder dir;
    TARMODatabase settings;
    QString server;
    TARMOSQL fresh;
};

// The complete script of the demo runs through tarmo-sql on a database that holds only the tables,
// and leaves there every object the demo's database has; a compare then finds only the object
// that the store holds and the server lacks.
TEST_F(ScriptCliTest, CompleteScriptCreatesEveryObjectOnADatabaseWithOnlyTheTables) {
    const QString out = dir.Path(QStringLiteral("demo.sql"));
    const Call all = runScript({QStringLiteral("--mode"), QStringLiteral("all"), QStringLiteral("--drop"),
                                QStringLiteral("--out"), out});
    ASSERT_EQ(all.code, 0) << qPrintable(all.err);
    EXPECT_EQ(all.out, QStringLiteral("6 objects scripted to ") + out + QLatin1Char('\n'));

    QProcess tool;
    tool.start(QStringLiteral(TARMO_SQL_TOOL),
               {QStringLiteral("-S"), server, QStringLiteral("-d"), QStringLiteral("Fresh"),
                QStringLiteral("-U"), QStringLiteral("sa"), QStringLiteral("-P"), QStringLiteral("demo"),
                QStringLiteral("-b"), QStringLiteral("-i"), out});
    ASSERT_TRUE(tool.waitForFinished(120000));
    EXPECT_EQ(tool.exitCode(), 0) << tool.readAllStandardOutput().constData()
                                  << tool.readAllStandardError().constData();
    EXPECT_EQ(objectsOf(QStringLiteral("Fresh")), objectsOf(QStringLiteral("Demo")));

    qputenv("SQLCMDPASSWORD", "demo");
    const QString diff = dir.Path(QStringLiteral("diff.sql"));
    const Call compare =
        runScript({QStringLiteral("--mode"), QStringLiteral("compare"), QStringLiteral("--server"), server,
                   QStringLiteral("--database"), QStringLiteral("Fresh"), QStringLiteral("--user"),
                   QStringLiteral("sa"), QStringLiteral("--out"), diff});
    ASSERT_EQ(compare.code, 0) << qPrintable(compare.err);
    QFile file(diff);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray script = file.readAll();
    EXPECT_TRUE(script.contains("CREATE PROCEDURE dbo.PurgeOldOrders"));
    EXPECT_FALSE(script.contains("Update objects"));
    EXPECT_FALSE(script.contains("Drop objects"));
}

// Wrong command lines end with the usage's exit code; a custom list names its objects, and one
// that isn't there ends the command before any file is written.
TEST_F(ScriptCliTest, CommandLinesThatCannotWork) {
    const QString out = dir.Path(QStringLiteral("x.sql"));
    EXPECT_EQ(
        runScript({QStringLiteral("--mode"), QStringLiteral("weekly"), QStringLiteral("--out"), out}).code,
        2);
    EXPECT_EQ(runScript({QStringLiteral("--mode"), QStringLiteral("all")}).code, 2);
    EXPECT_EQ(
        runScript({QStringLiteral("--mode"), QStringLiteral("timeframe"), QStringLiteral("--out"), out}).code,
        2);
    EXPECT_EQ(
        runScript({QStringLiteral("--mode"), QStringLiteral("compare"), QStringLiteral("--server"), server,
                   QStringLiteral("--database"), QStringLiteral("Fresh"), QStringLiteral("--out"), out})
            .code,
        2);
    EXPECT_EQ(runScript({QStringLiteral("--mode"), QStringLiteral("custom"), QStringLiteral("--objects"),
                         QStringLiteral("View:dbo.NoSuchView"), QStringLiteral("--out"), out})
                  .code,
              1);
    EXPECT_FALSE(QFile::exists(out));
    if (!TerminalPassword::CanAsk()) {
        const Call noPassword =
            runScript({QStringLiteral("--mode"), QStringLiteral("compare"), QStringLiteral("--server"),
                       server, QStringLiteral("--database"), QStringLiteral("Fresh"),
                       QStringLiteral("--user"), QStringLiteral("sa"), QStringLiteral("--out"), out});
        EXPECT_EQ(noPassword.code, 1);
        EXPECT_TRUE(noPassword.err.contains(QStringLiteral("SQLCMDPASSWORD")));
    }

    const Call custom =
        runScript({QStringLiteral("--mode"), QStringLiteral("custom"), QStringLiteral("--objects"),
                   QStringLiteral("View:dbo.CustomerSummary,StoredProcedure:ListCities"),
                   QStringLiteral("--out"), out});
    ASSERT_EQ(custom.code, 0) << qPrintable(custom.err);
    QFile file(out);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray script = file.readAll();
    EXPECT_TRUE(script.contains("CREATE VIEW dbo.CustomerSummary"));
    EXPECT_TRUE(script.contains("CREATE PROCEDURE dbo.ListCities"));
    EXPECT_FALSE(script.contains("AddOrder"));
}
