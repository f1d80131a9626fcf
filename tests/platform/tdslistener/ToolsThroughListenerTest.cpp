#include "ListenerFixture.h"
#include "OdbcConnection.h"

#include <QProcess>
#include <QRegularExpression>

#include <csignal>

namespace {

class ToolsThroughListener : public ListenerFixture {
protected:
    void SetUp() override {
        if (!OdbcConnection::InstalledDrivers().contains(QStringLiteral("FreeTDS")))
            GTEST_SKIP() << "the FreeTDS ODBC driver is not installed (scripts/setup installs it)";
    }

    struct Run {
        int exitCode = -1;
        QString out, err;
    };
    static Run sql(const QString& server, const QString& script) {
        QProcess p;
        p.start(QStringLiteral(TARMO_SQL_TOOL),
                {QStringLiteral("-S"), server, QStringLiteral("-d"), QStringLiteral("Sales"),
                 QStringLiteral("-U"), QStringLiteral("sa"), QStringLiteral("-P"), kSaPassword,
                 QStringLiteral("-Q"), script});
        Run r;
        EXPECT_TRUE(p.waitForFinished(60000));
        r.exitCode = p.exitCode();
        r.out = QString::fromUtf8(p.readAllStandardOutput());
        r.err = QString::fromUtf8(p.readAllStandardError());
        return r;
    }
};

} // namespace

TEST_F(ToolsThroughListener, TarmoSqlReachesTheListenerByHostAndPort) {
    const Run r = sql(TcpName(), QStringLiteral("SET NOCOUNT ON\nSELECT id, customer FROM (SELECT 1 AS id, "
                                                "N'Ann' AS customer) AS t\nGO\nSELECT * FROM nothing"));
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("id customer\n-- --------\n 1 Ann     \n"));
    EXPECT_TRUE(r.err.startsWith(QStringLiteral("Msg 208, Level 16"))) << r.err.toStdString();
}

TEST_F(ToolsThroughListener, TarmoSqlPrintsTheSameOnBothRoads) {
    const QString script = QStringLiteral("PRINT 'start'\nSELECT 1 AS one\nGO\nSELECT 2 AS two\nPRINT 'x'\n"
                                          "SELECT * FROM nothing");
    const Run embedded = sql(EmbeddedName(), script);
    const Run tcp = sql(TcpName(), script);
    EXPECT_EQ(tcp.out, embedded.out);
    EXPECT_EQ(tcp.err, embedded.err);
}

// The server program itself: asked for port 0 it says which port it took, serves it, and ends
// cleanly on SIGTERM.
TEST_F(ToolsThroughListener, TarmoServerServesAFolderUntilTerminated) {
    QProcess server;
    server.start(QStringLiteral(TARMO_SERVER_TOOL),
                 {Folder(), QStringLiteral("--port"), QStringLiteral("0"),
                  QStringLiteral("--max-connections"), QStringLiteral("4"), QStringLiteral("--login-timeout"),
                  QStringLiteral("20"), QStringLiteral("--idle-timeout"), QStringLiteral("600")});
    ASSERT_TRUE(server.waitForStarted(10000));
    QString banner;
    while (!banner.contains(QLatin1Char('\n')) && server.waitForReadyRead(10000))
        banner += QString::fromUtf8(server.readAllStandardOutput());
    const QRegularExpressionMatch m = QRegularExpression(QStringLiteral("port (\\d+)")).match(banner);
    ASSERT_TRUE(m.hasMatch()) << banner.toStdString();

    const Run r = sql(QStringLiteral("127.0.0.1,") + m.captured(1), QStringLiteral("SELECT DB_NAME() AS db"));
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("Sales"))) << r.out.toStdString();

    ::kill(pid_t(server.processId()), SIGTERM);
    ASSERT_TRUE(server.waitForFinished(10000));
    EXPECT_EQ(server.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(server.exitCode(), 0);
}

TEST_F(ToolsThroughListener, TarmoServerRefusesWhatItCantServe) {
    auto run = [](const QStringList& args) {
        QProcess p;
        p.start(QStringLiteral(TARMO_SERVER_TOOL), args);
        EXPECT_TRUE(p.waitForFinished(10000));
        return std::make_pair(p.exitCode(), QString::fromUtf8(p.readAllStandardError()));
    };
    TempFolder empty;
    EXPECT_EQ(run({empty.Path()}).first, 1) << "not a server folder";
    EXPECT_EQ(run({}).first, 2);
    EXPECT_EQ(run({Folder(), QStringLiteral("--port"), QStringLiteral("x")}).first, 2);
    EXPECT_EQ(run({Folder(), QStringLiteral("--max-connections"), QStringLiteral("0")}).first, 2);
    EXPECT_EQ(run({Folder(), QStringLiteral("--idle-timeout"), QStringLiteral("-1")}).first, 2);
    EXPECT_EQ(run({Folder(), QStringLiteral("--login-timeout")}).first, 2);
    // The listener of this suite holds its port already.
    const auto [code, err] = run({Folder(), QStringLiteral("--port"), QString::number(Port())});
    EXPECT_EQ(code, 1);
    EXPECT_TRUE(err.contains(QString::number(Port()))) << err.toStdString();
}
