#include "EmbeddedServer.h"
#include "LoginThrottle.h"
#include "PasswordHash.h"
#include "SqliteDb.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

QByteArray hashOf(const QString& folder, const QString& login) {
    SqliteDb master(QDir(folder).filePath(QStringLiteral("master.db")));
    return master.Scalar(QStringLiteral("SELECT hash FROM engine_logins WHERE name = ?"), {login})
        .toByteArray();
}

} // namespace

// Whatever the umask, nobody outside the folder's group reads master, a database or their WAL files.
TEST(ServerFiles, ANewServerIsTheGroupsAlone) {
    for (const mode_t mask : {mode_t(0), mode_t(022)}) {
        TempFolder temp;
        const QString folder = temp.Path(QStringLiteral("srv/inner"));
        {
            ScopedUmask scope(mask);
            EmbeddedServer::Create(folder, QStringLiteral("secret"));
        }
        {
            ScopedUmask scope(mask);
            EmbeddedServer server(folder);
            auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
            ASSERT_TRUE(sa);
            sa->Execute(QStringLiteral("CREATE DATABASE Sales"));
            sa->Execute(QStringLiteral("USE Sales\nCREATE TABLE t (a int)"));
            EXPECT_EQ(FileModeOf(temp.Path(QStringLiteral("srv"))), 0770u);
            EXPECT_EQ(FileModeOf(folder), 0770u);
            const QStringList files = QDir(folder).entryList(QDir::Files);
            EXPECT_TRUE(files.contains(QStringLiteral("sales.db-wal"))) << files.join(u' ').toStdString();
            for (const QString& file : files)
                EXPECT_EQ(FileModeOf(QDir(folder).filePath(file)), 0660u)
                    << file.toStdString() << " umask " << mask;
        }
    }
}

TEST(ServerLogins, AnOlderHashLetsItsLoginInOnceAndIsReplaced) {
    TempFolder temp;
    const QString folder = temp.Path(QStringLiteral("srv"));
    EmbeddedServer::Create(folder, QStringLiteral("secret"));
    EXPECT_TRUE(hashOf(folder, QStringLiteral("sa")).startsWith("$argon2id$"));
    {
        // As older versions wrote it.
        const QByteArray salt = "saltsaltsaltsalt";
        SqliteDb master(QDir(folder).filePath(QStringLiteral("master.db")));
        master.Exec(
            QStringLiteral("UPDATE engine_logins SET salt = ?, hash = ? WHERE name = 'sa'"),
            {salt, PasswordHash::LegacyHash(salt, QStringLiteral("old pw"), PasswordHash::Legacy::Server)});
    }
    EmbeddedServer server(folder);
    QList<SqlMessage> messages;
    EXPECT_FALSE(server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {}, false, &messages));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].number, 18456);
    EXPECT_EQ(hashOf(folder, QStringLiteral("sa")).size(), 32) << "a refused login changes nothing";

    EXPECT_TRUE(server.Connect(QStringLiteral("sa"), QStringLiteral("old pw"), {}));
    EXPECT_TRUE(hashOf(folder, QStringLiteral("sa")).startsWith("$argon2id$"));
    EXPECT_TRUE(server.Connect(QStringLiteral("sa"), QStringLiteral("old pw"), {}));
    EXPECT_FALSE(server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {}));

    // Logins made and changed by statements get the new kind at once.
    auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("old pw"), {});
    ASSERT_TRUE(sa);
    sa->Execute(QStringLiteral("CREATE LOGIN ann WITH PASSWORD = 'a1'"));
    EXPECT_TRUE(hashOf(folder, QStringLiteral("ann")).startsWith("$argon2id$"));
    EXPECT_TRUE(server.Connect(QStringLiteral("ann"), QStringLiteral("a1"), {}));
}

TEST(ServerLogins, AClientsFailuresHoldBackItsNextAnswer) {
    TempFolder temp;
    const QString folder = temp.Path(QStringLiteral("srv"));
    EmbeddedServer::Create(folder, QStringLiteral("secret"));
    EmbeddedServer server(folder);
    const QString guesser = QStringLiteral("192.0.2.7");
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(server.Connect(QStringLiteral("sa"), QStringLiteral("guess%1").arg(i), {}, false,
                                    nullptr, guesser));
    EXPECT_EQ(server.LoginDelayFor(guesser), LoginThrottle::DelayAfter(4));
    EXPECT_EQ(EmbeddedServer(folder).LoginDelayFor(guesser), LoginThrottle::DelayAfter(4))
        << "a listener makes a server object per connection; the count is the folder's";
    EXPECT_EQ(server.LoginDelayFor(QStringLiteral("192.0.2.8")), std::chrono::milliseconds(0));
    // Connections without a client (the program's own) neither count nor are held back.
    EXPECT_FALSE(server.Connect(QStringLiteral("sa"), QStringLiteral("guess"), {}));
    EXPECT_EQ(server.LoginDelayFor(guesser), LoginThrottle::DelayAfter(4));

    EXPECT_TRUE(server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {}, false, nullptr, guesser));
    EXPECT_EQ(server.LoginDelayFor(guesser), std::chrono::milliseconds(0));
}
