#include "EmbeddedServer.h"
#include "ListenerFixture.h"

#include <QFileInfo>
#include <QProcess>

#include <cstdio>

namespace {

// Client libraries people use (Python's pyodbc, Node's tedious and mssql) against the listener,
// each case a script that exits 0 when it passed and 77 when its library isn't there.
class ClientsThroughListener : public ListenerFixture {
protected:
    static void SetUpTestSuite() {
        ListenerFixture::SetUpTestSuite();
        EmbeddedServer server(Folder());
        auto sa = server.Connect(QStringLiteral("sa"), kSaPassword, QStringLiteral("Sales"));
        for (const char* sql : {
                 "CREATE TABLE Py (k int NOT NULL PRIMARY KEY, v nvarchar(40))",
                 "CREATE TABLE Js (k int NOT NULL PRIMARY KEY, v nvarchar(40))",
                 "CREATE TABLE Nums (n int)",
                 "INSERT INTO Nums VALUES (0) INSERT INTO Nums VALUES (1) INSERT INTO Nums VALUES (2) "
                 "INSERT INTO Nums VALUES (3)",
                 "CREATE PROCEDURE dbo.PyNames @n int AS SELECT n FROM Nums WHERE n < @n ORDER BY n",
                 "CREATE PROCEDURE dbo.AddUp @a int, @b int = 10, @sum int OUTPUT, @text nvarchar(20) OUTPUT "
                 "AS\r\n"
                 "SET @sum = @a + @b SET @text = N'sum ' + CAST(@sum AS nvarchar(10)) RETURN 7",
             })
            sa->Execute(QString::fromUtf8(sql));
    }

    // Runs one case of a client script; the script's output is the failure's message.
    static void runCase(const QString& program, const QString& script, const QString& name) {
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TARMO_SERVER_CERT"), TdsTlsContext::CertificatePath(Folder()));
        environment.insert(QStringLiteral("NODE_NO_WARNINGS"), QStringLiteral("1"));
        p.setProcessEnvironment(environment);
        p.start(program, {QStringLiteral(TARMO_CLIENT_SCRIPTS "/") + script, name, QString::number(Port()),
                          kSaPassword});
        if (!p.waitForStarted(10000))
            GTEST_SKIP() << program.toStdString() << " can't be started";
        ASSERT_TRUE(p.waitForFinished(240000)) << "the client hangs";
        const std::string output = p.readAll().toStdString();
        if (p.exitCode() == 77)
            GTEST_SKIP() << output;
        EXPECT_EQ(p.exitCode(), 0) << output;
        std::printf("%s", output.c_str()); // what the client measured, for the log
    }
    static void tsql(uint16_t port) {
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(QStringLiteral("tsql"),
                {QStringLiteral("-H"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                 QString::number(port), QStringLiteral("-U"), QStringLiteral("sa"), QStringLiteral("-P"),
                 kSaPassword, QStringLiteral("-D"), QStringLiteral("Sales")});
        if (!p.waitForStarted(10000))
            GTEST_SKIP() << "tsql is not installed (scripts/setup installs freetds-bin)";
        p.write("SELECT 40 + 2 AS answer\ngo\nEXEC dbo.PyNames 2\ngo\nexit\n");
        p.closeWriteChannel();
        ASSERT_TRUE(p.waitForFinished(60000));
        const QString output = QString::fromUtf8(p.readAll());
        EXPECT_TRUE(output.contains(QStringLiteral("42"))) << output.toStdString();
        EXPECT_TRUE(output.contains(QStringLiteral("(2 rows affected)"))) << output.toStdString();
        EXPECT_FALSE(output.contains(QStringLiteral("Msg "))) << output.toStdString();
    }
    static void python(const char* name) {
        // Debian's pyodbc is built for the system's Python, not for one earlier on PATH.
        if (!QFileInfo::exists(QStringLiteral("/usr/bin/python3")))
            GTEST_SKIP() << "no /usr/bin/python3";
        runCase(QStringLiteral("/usr/bin/python3"), QStringLiteral("pyodbc_client.py"),
                QString::fromUtf8(name));
    }
    static void node(const char* name) {
        runCase(QStringLiteral("node"), QStringLiteral("node_client.js"), QString::fromUtf8(name));
    }
};

TEST_F(ClientsThroughListener, FreeTdsTsqlWithItsDefaults) {
    // tsql encrypts its login when the server offers it, the rest goes in the clear.
    tsql(Port());
}

TEST_F(ClientsThroughListener, FreeTdsTsqlWhenEveryConnectionMustBeEncrypted) {
    TdsListener required(Folder());
    required.SetEncryption(TdsEncryption::Required);
    required.SetLog([](const QString&) {});
    tsql(required.Start(QStringLiteral("127.0.0.1"), 0));
}

TEST_F(ClientsThroughListener, PyodbcWithItsDefaultsCommitsAndRollsBack) {
    python("defaults");
}

TEST_F(ClientsThroughListener, PyodbcParametersOfEachTypeAndExecutemany) {
    python("params");
}

TEST_F(ClientsThroughListener, PyodbcCallsProcedures) {
    python("call");
}

TEST_F(ClientsThroughListener, PyodbcCatalogueCalls) {
    python("catalogue");
}

TEST_F(ClientsThroughListener, PyodbcTimeOutCancelsAnEndlessLoopAndTheConnectionGoesOn) {
    python("cancel");
}

TEST_F(ClientsThroughListener, TediousParameters) {
    node("tediousParams");
}

TEST_F(ClientsThroughListener, TediousProcedureWithOutputAndReturnStatus) {
    node("tediousProcedure");
}

TEST_F(ClientsThroughListener, TediousTransactions) {
    node("tediousTransaction");
}

TEST_F(ClientsThroughListener, TediousWithStrictEncryptionAndWithout) {
    node("tediousStrict");
    node("tediousUnencrypted");
}

TEST_F(ClientsThroughListener, TediousCancelStopsAnEndlessBatchAndTheConnectionGoesOn) {
    node("tediousCancel");
}

TEST_F(ClientsThroughListener, MssqlPoolQueriesProceduresAndTransactions) {
    node("mssql");
}

} // namespace
