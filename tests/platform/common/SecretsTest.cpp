#include "GroupFiles.h"
#include "LoginThrottle.h"
#include "PasswordHash.h"
#include "TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {} // namespace

TEST(PasswordHash, NewHashesAreArgon2idWithTheirOwnSalt) {
    const QByteArray a = PasswordHash::Make(QStringLiteral("pässword"));
    const QByteArray b = PasswordHash::Make(QStringLiteral("pässword"));
    EXPECT_TRUE(a.startsWith("$argon2id$")) << a.constData();
    EXPECT_NE(a, b) << "each hash has a salt of its own";
    EXPECT_FALSE(a.contains("pässword"));
    for (const auto legacy : {PasswordHash::Legacy::Server, PasswordHash::Legacy::Store}) {
        // The salt column of an old hash means nothing to a new one.
        const PasswordHash::Check good = PasswordHash::Verify(QStringLiteral("pässword"), a, "junk", legacy);
        EXPECT_TRUE(good.matches);
        EXPECT_FALSE(good.wantsRehash);
    }
    EXPECT_FALSE(
        PasswordHash::Verify(QStringLiteral("password"), a, {}, PasswordHash::Legacy::Store).matches);
    EXPECT_FALSE(PasswordHash::Verify(QString(), a, {}, PasswordHash::Legacy::Store).matches);
    EXPECT_FALSE(PasswordHash::Verify(QStringLiteral("pässword"), a.left(a.size() - 1), {},
                                      PasswordHash::Legacy::Store)
                     .matches)
        << "a cut-off hash matches nothing";
}

TEST(PasswordHash, OlderHashesStillCheckAndAskToBeReplaced) {
    const QByteArray salt = "0123456789abcdef";
    for (const auto legacy : {PasswordHash::Legacy::Server, PasswordHash::Legacy::Store}) {
        const QByteArray old = PasswordHash::LegacyHash(salt, QStringLiteral("old one"), legacy);
        EXPECT_EQ(old.size(), 32);
        const PasswordHash::Check good = PasswordHash::Verify(QStringLiteral("old one"), old, salt, legacy);
        EXPECT_TRUE(good.matches);
        EXPECT_TRUE(good.wantsRehash);
        const PasswordHash::Check bad = PasswordHash::Verify(QStringLiteral("old One"), old, salt, legacy);
        EXPECT_FALSE(bad.matches);
        EXPECT_FALSE(bad.wantsRehash) << "only a proven password replaces a hash";
        EXPECT_FALSE(PasswordHash::Verify(QStringLiteral("old one"), old, "another salt", legacy).matches);
    }
    // The two schemes are not interchangeable: each file keeps to its own.
    EXPECT_NE(PasswordHash::LegacyHash(salt, QStringLiteral("x"), PasswordHash::Legacy::Server),
              PasswordHash::LegacyHash(salt, QStringLiteral("x"), PasswordHash::Legacy::Store));
    // A login without a password of its own (an operating-system login) has no hash: nothing matches.
    EXPECT_FALSE(
        PasswordHash::Verify(QString(), QByteArray(), QByteArray(), PasswordHash::Legacy::Server).matches);
}

TEST(LoginThrottle, TheFirstFailuresAreFreeThenTheWaitGrowsToItsCap) {
    using std::chrono::milliseconds;
    EXPECT_EQ(LoginThrottle::DelayAfter(0), milliseconds(0));
    EXPECT_EQ(LoginThrottle::DelayAfter(LoginThrottle::freeFailures - 1), milliseconds(0));
    milliseconds last(0);
    for (int n = LoginThrottle::freeFailures; n < 40; ++n) {
        const milliseconds delay = LoginThrottle::DelayAfter(n);
        EXPECT_GT(delay.count(), 0);
        EXPECT_GE(delay, last) << n;
        EXPECT_LE(delay, LoginThrottle::maxDelay) << n;
        last = delay;
    }
    EXPECT_EQ(last, LoginThrottle::maxDelay);
    EXPECT_LE(LoginThrottle::maxDelay, std::chrono::seconds(5)) << "a few seconds at most";
}

TEST(LoginThrottle, FailuresCountPerClientWithinTheWindow) {
    LoginThrottle::Failures failures;
    const auto start = LoginThrottle::Clock::now();
    const QString guesser = QStringLiteral("10.0.0.9");
    for (int i = 0; i < 5; ++i)
        failures.Failed(guesser, start + std::chrono::seconds(i));
    failures.Failed(QStringLiteral("10.0.0.1"), start);
    const auto soon = start + std::chrono::minutes(1);
    EXPECT_EQ(failures.Recent(guesser, soon), 5);
    EXPECT_EQ(failures.DelayFor(guesser, soon), LoginThrottle::DelayAfter(5));
    EXPECT_EQ(failures.DelayFor(QStringLiteral("10.0.0.1"), soon), std::chrono::milliseconds(0))
        << "one client's guessing doesn't slow another";
    EXPECT_EQ(failures.Recent(guesser, start + LoginThrottle::window + std::chrono::milliseconds(3500)), 1)
        << "failures older than the window no longer count";

    failures.Succeeded(guesser);
    EXPECT_EQ(failures.Recent(guesser, soon), 0);
    EXPECT_EQ(failures.Recent(QStringLiteral("10.0.0.1"), soon), 1);
}

TEST(GroupFiles, FoldersAndFilesAreTheGroupsWhateverTheUmask) {
    TempFolder temp;
    for (const mode_t mask : {mode_t(0), mode_t(022), mode_t(077)}) {
        ScopedUmask scope(mask);
        const QString top = temp.Path(QStringLiteral("m%1").arg(mask));
        ASSERT_TRUE(GroupFiles::MakeFolder(top + QStringLiteral("/a/b")));
        EXPECT_EQ(FileModeOf(top), 0770u);
        EXPECT_EQ(FileModeOf(top + QStringLiteral("/a/b")), 0770u);
        const QString file = top + QStringLiteral("/a/b/f.db");
        ASSERT_TRUE(GroupFiles::EnsureFile(file));
        EXPECT_EQ(FileModeOf(file), 0660u);
        ASSERT_TRUE(GroupFiles::Append(top + QStringLiteral("/a/log"), "one\n"));
        ASSERT_TRUE(GroupFiles::Append(top + QStringLiteral("/a/log"), "two\n"));
        EXPECT_EQ(FileModeOf(top + QStringLiteral("/a/log")), 0660u);
        QFile log(top + QStringLiteral("/a/log"));
        ASSERT_TRUE(log.open(QIODevice::ReadOnly));
        EXPECT_EQ(log.readAll(), QByteArray("one\ntwo\n"));
    }
    // What is there already is somebody's choice and stays as it is.
    const QString own = temp.Path(QStringLiteral("own"));
    ASSERT_TRUE(QFile(own).open(QIODevice::WriteOnly));
    ASSERT_EQ(chmod(QFile::encodeName(own).constData(), 0600), 0);
    ASSERT_TRUE(GroupFiles::EnsureFile(own));
    EXPECT_EQ(FileModeOf(own), 0600u);
    EXPECT_EQ(FileModeOf(temp.Path()), 0700u) << "the folder above was not made here and is not touched";
}

TEST(GroupFiles, AFolderMadeInASetgidFolderKeepsHandingTheGroupDown) {
    TempFolder temp;
    const QString shared = temp.Path(QStringLiteral("shared"));
    ASSERT_TRUE(GroupFiles::MakeFolder(shared));
    ASSERT_EQ(chmod(QFile::encodeName(shared).constData(), 02770), 0);
    ScopedUmask scope(022);
    ASSERT_TRUE(GroupFiles::MakeFolder(shared + QStringLiteral("/store/data")));
    EXPECT_EQ(FileModeOf(shared + QStringLiteral("/store")), 02770u);
    EXPECT_EQ(FileModeOf(shared + QStringLiteral("/store/data")), 02770u);
}
