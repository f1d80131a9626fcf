#include "SqlCommandLine.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace {

SqlBatchResults sampleResults() {
    SqlRowSet rows;
    rows.columns = {SqlColumn{QStringLiteral("id"), 56}, SqlColumn{QStringLiteral("name"), 231}};
    rows.rows = {{qlonglong(7), QStringLiteral("Ann")}, {qlonglong(12345), QVariant()}};
    SqlMessage print;
    print.severity = 0;
    print.text = QStringLiteral("hello");
    SqlMessage error;
    error.number = 208;
    error.severity = 16;
    error.state = 1;
    error.line = 3;
    error.text = QStringLiteral("Invalid object name 'x'.");
    return {SqlResult::Msg(print), SqlResult::Rows(rows), SqlResult::Count(2), SqlResult::Msg(error)};
}

struct Printed {
    QString out, err;
    bool failed;
};

Printed print(const SqlCommandLine::Options& options) {
    Printed p;
    QTextStream out(&p.out);
    QTextStream err(&p.err);
    p.failed = SqlCommandLine::PrintResults(sampleResults(), options, out, err);
    return p;
}

} // namespace

TEST(SqlCommandLineOutput, ColumnsCountsAndMessages) {
    const Printed p = print(SqlCommandLine::Options());
    EXPECT_EQ(p.out, QStringLiteral("hello\n"
                                    "id    name\n"
                                    "----- ----\n"
                                    "    7 Ann \n"
                                    "12345 NULL\n"
                                    "\n"
                                    "(2 rows affected)\n"));
    EXPECT_EQ(p.err, QStringLiteral("Msg 208, Level 16, State 1, Line 3\nInvalid object name 'x'.\n"));
    EXPECT_TRUE(p.failed);
}

TEST(SqlCommandLineOutput, NoHeaderNoPaddingAndSeparator) {
    SqlCommandLine::Options options;
    ASSERT_EQ(SqlCommandLine::Parse({"-S", "s", "-Q", "x", "-h", "-1", "-W", "-s", "|"}, options), QString());
    const Printed p = print(options);
    EXPECT_EQ(p.out, QStringLiteral("hello\n7|Ann\n12345|NULL\n\n(2 rows affected)\n"));
}

TEST(SqlCommandLineOptions, WhatTheToolAccepts) {
    SqlCommandLine::Options o;
    EXPECT_EQ(
        SqlCommandLine::Parse({"-S", "srv", "-d", "db", "-U", "u", "-P", "p;w", "-i", "f.sql", "-b"}, o),
        QString());
    EXPECT_EQ(o.server, QStringLiteral("srv"));
    EXPECT_EQ(o.password, QStringLiteral("p;w"));
    EXPECT_FALSE(o.trusted);
    EXPECT_TRUE(o.exitOnError);

    SqlCommandLine::Options none;
    EXPECT_EQ(SqlCommandLine::Parse({"-S", "srv", "-Q", "select 1"}, none), QString());
    EXPECT_TRUE(none.trusted) << "without a login the operating-system user connects";

    SqlCommandLine::Options bad;
    EXPECT_FALSE(SqlCommandLine::Parse({"-Q", "x"}, bad).isEmpty());
    EXPECT_FALSE(SqlCommandLine::Parse({"-S", "s", "-Q", "x", "-i", "f"}, bad).isEmpty());
    EXPECT_FALSE(SqlCommandLine::Parse({"-S", "s", "-Q", "x", "-E", "-U", "u"}, bad).isEmpty());
    EXPECT_FALSE(SqlCommandLine::Parse({"-S", "s", "-Q"}, bad).isEmpty());
    EXPECT_FALSE(SqlCommandLine::Parse({"-S", "s", "-Q", "x", "-z"}, bad).isEmpty());
}

TEST(SqlCommandLineOutput, ValuesAsText) {
    EXPECT_EQ(SqlCommandLine::FormatValue(QVariant()), QStringLiteral("NULL"));
    EXPECT_EQ(SqlCommandLine::FormatValue(QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5, 6))),
              QStringLiteral("2024-01-02 03:04:05.006"));
    EXPECT_EQ(SqlCommandLine::FormatValue(QByteArray("\x01\xab", 2)), QStringLiteral("0x01AB"));
    EXPECT_EQ(SqlCommandLine::FormatValue(2.5), QStringLiteral("2.5"));
}

// The tool itself against a new embedded server: create it, run a script with GO, see the exit codes.
TEST(SqlCommandLineTool, RunsScriptsOnANewEmbeddedServer) {
    QTemporaryDir dir;
    auto run = [](const QStringList& args, QString* out = nullptr, QString* err = nullptr) {
        QProcess p;
        p.start(QStringLiteral(TARMO_SQL_TOOL), args);
        EXPECT_TRUE(p.waitForFinished(60000));
        if (out)
            *out = QString::fromUtf8(p.readAllStandardOutput());
        if (err)
            *err = QString::fromUtf8(p.readAllStandardError());
        return p.exitCode();
    };
    const QString folder = dir.filePath(QStringLiteral("srv"));
    QString out, err;
    ASSERT_EQ(run({"--init-server", folder, "--sa-password", "pw"}, &out, &err), 0) << err.toStdString();
    EXPECT_EQ(run({"--init-server", folder, "--sa-password", "pw"}), 1)
        << "an existing server is not replaced";

    const QString server = QStringLiteral("embedded:") + folder;
    EXPECT_EQ(run({"-S", server, "-U", "sa", "-P", "pw", "-Q",
                   "CREATE DATABASE T\nGO\nUSE T\nCREATE TABLE n (v int)\nINSERT INTO n VALUES (4)\nGO"},
                  &out, &err),
              0)
        << err.toStdString();
    EXPECT_EQ(run({"-S", server, "-d", "T", "-U", "sa", "-P", "pw", "-h", "-1", "-W", "-Q",
                   "SET NOCOUNT ON\nSELECT v FROM n\nGO\nSELECT * FROM nothing"},
                  &out, &err),
              0);
    EXPECT_EQ(out, QStringLiteral("4\n"));
    EXPECT_TRUE(err.startsWith(QStringLiteral("Msg 208, Level 16, State 1, Line 1\n"))) << err.toStdString();
    EXPECT_EQ(run({"-S", server, "-d", "T", "-U", "sa", "-P", "pw", "-b", "-Q", "SELECT * FROM nothing"}), 1);

    // A script file with CR LF line ends: the error's line counts from the line after GO.
    const QString script = dir.filePath(QStringLiteral("script.sql"));
    QFile file(script);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("PRINT 'one'\r\nGO\r\nPRINT 'two'\r\nSELECT * FROM nothing\r\n");
    file.close();
    EXPECT_EQ(run({"-S", server, "-d", "T", "-U", "sa", "-P", "pw", "-b", "-i", script}, &out, &err), 1);
    EXPECT_EQ(out, QStringLiteral("one\ntwo\n"));
    EXPECT_TRUE(err.startsWith(QStringLiteral("Msg 208, Level 16, State 1, Line 2\n"))) << err.toStdString();

    EXPECT_EQ(run({"-S", server, "-U", "sa", "-P", "wrong", "-Q", "SELECT 1"}, &out, &err), 1);
    EXPECT_EQ(err, QStringLiteral("tarmo-sql: Login failed for user 'sa'.\n"));
}

// Passwords kept off the command line, where every user of the machine sees them: from SQLCMDPASSWORD,
// or asked for at a terminal. The tool's standard input here is a pipe, so nothing can be asked.
TEST(SqlCommandLineTool, PasswordsFromTheEnvironment) {
    QTemporaryDir dir;
    auto run = [](const QStringList& args, const char* password, QString* err = nullptr) {
        QProcess p;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("SQLCMDPASSWORD"));
        if (password)
            environment.insert(QStringLiteral("SQLCMDPASSWORD"), QString::fromUtf8(password));
        p.setProcessEnvironment(environment);
        p.start(QStringLiteral(TARMO_SQL_TOOL), args);
        EXPECT_TRUE(p.waitForFinished(60000));
        if (err)
            *err = QString::fromUtf8(p.readAllStandardError());
        return p.exitCode();
    };
    const QString folder = dir.filePath(QStringLiteral("srv"));
    QString err;
    EXPECT_EQ(run({"--init-server", folder}, nullptr, &err), 2);
    EXPECT_TRUE(err.contains(QLatin1String("SQLCMDPASSWORD"))) << err.toStdString();
    EXPECT_FALSE(QFile::exists(folder));
    ASSERT_EQ(run({"--init-server", folder}, "p w", &err), 0) << err.toStdString();

    const QString server = QStringLiteral("embedded:") + folder;
    EXPECT_EQ(run({"-S", server, "-U", "sa", "-Q", "SELECT 1"}, "p w", &err), 0) << err.toStdString();
    EXPECT_EQ(run({"-S", server, "-U", "sa", "-Q", "SELECT 1"}, nullptr, &err), 2);
    EXPECT_EQ(err, QStringLiteral("tarmo-sql: no password for sa: give -P, set SQLCMDPASSWORD or run at a "
                                  "terminal\n"));
    EXPECT_EQ(run({"-S", server, "-U", "sa", "-P", "p w", "-Q", "SELECT 1"}, "wrong"), 0) << "-P comes first";
    EXPECT_EQ(run({"-S", server, "-U", "sa", "-Q", "SELECT 1"}, "wrong", &err), 1);
    EXPECT_EQ(err, QStringLiteral("tarmo-sql: Login failed for user 'sa'.\n"));
}

// Nesting the server refuses ends that batch with its error 191; the tool lives on to run the next.
TEST(SqlCommandLineTool, TooDeepABatchIsAnErrorNotACrash) {
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("srv"));
    QProcess init;
    init.start(QStringLiteral(TARMO_SQL_TOOL), {"--init-server", folder, "--sa-password", "pw"});
    ASSERT_TRUE(init.waitForFinished(60000));
    ASSERT_EQ(init.exitCode(), 0);

    const QString script = dir.filePath(QStringLiteral("deep.sql"));
    QFile file(script);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("PRINT 'before'\nGO\nSELECT " + QByteArray(10000, '(') + "1" + QByteArray(10000, ')') +
               "\nGO\nSET NOCOUNT ON\nSELECT 1" + QByteArray(20000 - 1, ' ').replace(" ", "+1") +
               " AS total\n");
    file.close();
    QProcess p;
    p.start(QStringLiteral(TARMO_SQL_TOOL),
            {"-S", "embedded:" + folder, "-U", "sa", "-P", "pw", "-h", "-1", "-W", "-b", "-i", script});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 1);
    EXPECT_EQ(QString::fromUtf8(p.readAllStandardOutput()), QStringLiteral("before\n20000\n"));
    EXPECT_EQ(
        QString::fromUtf8(p.readAllStandardError()),
        QStringLiteral("Msg 191, Level 15, State 1, Line 1\nSome part of your SQL statement is nested too "
                       "deeply. Rewrite the query or break it up into smaller queries.\n"));
}
