#include "LoginThrottle.h"
#include "PasswordHash.h"
#include "StoreConnection.h"
#include "StoreErrors.h"
#include "StoreLogins.h"
#include "TARMOError.h"
#include "TestSupport.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using std::chrono::milliseconds;

bool refused(VersionStore& store, const QString& ini, const QString& user, const QString& password) {
    try {
        store.Open(ini, user, password);
    } catch (const TARMOError& e) {
        return e.Number() == StoreErrors::Login;
    }
    return false;
}

QStringList logLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Every wait the logins ask for is written down here instead of slept through.
class StoreLoginsTest : public ::testing::Test {
protected:
    void SetUp() override {
        StoreLogins::SetSleeper([this](milliseconds delay) { waits.push_back(delay); });
        ini = VersionStore::Create(folder.Path(QStringLiteral("store")), QStringLiteral("secret"));
        VersionStore admin;
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("secret"));
        admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bobpw"));
    }
    void TearDown() override { StoreLogins::SetSleeper({}); }
    QString data(const QString& name) const { return folder.Path(QStringLiteral("store/data/") + name); }
    QByteArray column(const char* sql) {
        StoreConnection db(data(QStringLiteral("store.db")), 5000, false);
        Statement s(db, sql);
        return s.Step() ? s.Blob(0) : QByteArray("no row");
    }

    TempFolder folder;
    QString ini;
    std::vector<milliseconds> waits;
};

} // namespace

TEST(StoreFiles, ANewStoreIsTheGroupsAlone) {
    for (const mode_t mask : {mode_t(0), mode_t(022)}) {
        TempFolder temp;
        const QString root = temp.Path(QStringLiteral("shared/store"));
        ScopedUmask scope(mask);
        const QString ini = VersionStore::Create(root, QStringLiteral("pw"));
        // Open, so that the WAL files are there to be looked at.
        VersionStore store;
        store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
        VersionStore other;
        EXPECT_TRUE(refused(other, ini, QStringLiteral("Admin"), QStringLiteral("wrong")));
        for (const char* name : {"shared", "shared/store", "shared/store/data"})
            EXPECT_EQ(FileModeOf(temp.Path(QLatin1String(name))), 0770u) << name << " umask " << mask;
        const QStringList files = {QStringLiteral("store/srcsafe.ini"), QStringLiteral("store/data/store.db"),
                                   QStringLiteral("store/data/store.db-wal"),
                                   QStringLiteral("store/data/store.db-shm"),
                                   QStringLiteral("store/data/refused-logins.log")};
        for (const QString& file : files)
            EXPECT_EQ(FileModeOf(temp.Path(QStringLiteral("shared/") + file)), 0660u)
                << file.toStdString() << " umask " << mask;
    }
}

TEST_F(StoreLoginsTest, AnOlderHashLetsItsUserInOnceAndIsReplaced) {
    EXPECT_TRUE(column("SELECT hash FROM users WHERE name = 'Bob'").startsWith("$argon2id$"));
    {
        // As older versions wrote it.
        const QByteArray salt = "pepperpepperpepp";
        StoreConnection db(data(QStringLiteral("store.db")), 5000, false);
        Statement s(db, "UPDATE users SET salt = ?1, hash = ?2 WHERE name = 'Bob'");
        s.BindBlob(1, salt)
            .BindBlob(2,
                      PasswordHash::LegacyHash(salt, QStringLiteral("old pw"), PasswordHash::Legacy::Store))
            .Run();
    }
    VersionStore bob;
    EXPECT_TRUE(refused(bob, ini, QStringLiteral("Bob"), QStringLiteral("bobpw")));
    EXPECT_EQ(column("SELECT hash FROM users WHERE name = 'Bob'").size(), 32) << "a refusal changes nothing";

    bob.Open(ini, QStringLiteral("bob"), QStringLiteral("old pw"));
    EXPECT_EQ(bob.UserName(), QStringLiteral("Bob"));
    EXPECT_TRUE(column("SELECT hash FROM users WHERE name = 'Bob'").startsWith("$argon2id$"));
    EXPECT_EQ(column("SELECT salt FROM users WHERE name = 'Bob'"), QByteArray());
    VersionStore again;
    again.Open(ini, QStringLiteral("Bob"), QStringLiteral("old pw"));
    EXPECT_TRUE(refused(again, ini, QStringLiteral("Bob"), QStringLiteral("bobpw")));
}

TEST_F(StoreLoginsTest, RepeatedFailuresWaitLongerAndAreLogged) {
    VersionStore store;
    for (int i = 0; i < LoginThrottle::freeFailures; ++i)
        EXPECT_TRUE(refused(store, ini, QStringLiteral("Bob"), QStringLiteral("guess")));
    EXPECT_TRUE(waits.empty()) << "a typo or two costs nothing";
    EXPECT_TRUE(refused(store, ini, QStringLiteral("BOB"), QStringLiteral("guess")));
    EXPECT_TRUE(refused(store, ini, QStringLiteral("bob"), QStringLiteral("guess")));
    EXPECT_EQ(waits, (std::vector<milliseconds>{LoginThrottle::DelayAfter(3), LoginThrottle::DelayAfter(4)}))
        << "the name counts in any case";

    // Another user is not slowed by Bob's guesser; the right password still waits, then clears the count.
    store.Open(ini, QStringLiteral("Admin"), QStringLiteral("secret"));
    EXPECT_EQ(waits.size(), 2u);
    store.Open(ini, QStringLiteral("Bob"), QStringLiteral("bobpw"));
    EXPECT_EQ(waits.back(), LoginThrottle::DelayAfter(5));
    waits.clear();
    EXPECT_TRUE(refused(store, ini, QStringLiteral("Bob"), QStringLiteral("guess")));
    EXPECT_TRUE(refused(store, ini, QStringLiteral("nobody\nforged line"), QStringLiteral("x")));
    EXPECT_TRUE(waits.empty());

    const QStringList lines = logLines(data(QStringLiteral("refused-logins.log")));
    ASSERT_EQ(lines.size(), 7);
    for (const QString& line : lines) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 4) << line.toStdString();
        EXPECT_TRUE(QDateTime::fromString(fields[0], Qt::ISODate).isValid()) << line.toStdString();
        EXPECT_FALSE(line.contains(QLatin1String("guess"))) << "no password is ever written down";
    }
    EXPECT_TRUE(lines[0].section(QLatin1Char('\t'), 1).startsWith(QLatin1String("Bob\t")));
    EXPECT_TRUE(lines[0].endsWith(QLatin1String("\twrong password")));
    EXPECT_TRUE(lines[6].section(QLatin1Char('\t'), 1).startsWith(QLatin1String("nobody?forged line\t")));
    EXPECT_TRUE(lines[6].endsWith(QLatin1String("\tunknown user")));
}
