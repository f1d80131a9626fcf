#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "TARMOError.h"
#include "TestSupport.h"
#include "VersionStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>

namespace {

QByteArray readBytes(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void writeBytes(const QString& path, const QByteArray& content) {
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(content);
}

// A store with one file of a few versions, closed again, so that its data file is complete on disk.
class StoreDamageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ini = VersionStore::Create(folder.Path(QStringLiteral("store")), QStringLiteral("pw"));
        QDir().mkpath(folder.Path(QStringLiteral("work")));
        {
            VersionStore store;
            store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
            const QString local = folder.Path(QStringLiteral("work/a.sp"));
            writeBytes(local, QByteArray(20000, 'a'));
            StoreItem item = store.Item(QStringLiteral("$/")).Add(local, QString());
            for (char c : {'b', 'c', 'd'}) {
                item.Checkout(QString(), local);
                writeBytes(local, QByteArray(20000, c));
                item.Checkin(QString(), local);
            }
        }
        data = folder.Path(QStringLiteral("store/data/store.db"));
        ASSERT_FALSE(QFileInfo::exists(data + QStringLiteral("-wal"))) << "the last close checkpoints";
    }

    CaughtError open() {
        return ErrorOf([this] {
            VersionStore store;
            store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
            store.Item(QStringLiteral("$/a.sp")).Versions();
        });
    }

    // The data as damaged must be the data afterwards, and SQLite must have left nothing beside it.
    void expectRefusedUntouched(const char* what, long number, const QString& textPart) {
        const QByteArray before = readBytes(data);
        const CaughtError failure = open();
        EXPECT_EQ(failure.number, number) << what;
        EXPECT_TRUE(failure.text.contains(textPart)) << what << ": " << failure.text.toStdString();
        EXPECT_EQ(readBytes(data), before) << what;
        EXPECT_FALSE(QFileInfo::exists(data + QStringLiteral("-wal"))) << what;
    }

    TempFolder folder;
    QString ini;
    QString data;
};

TEST_F(StoreDamageTest, DamagedDataFilesAreRefusedAndLeftAsTheyAre) {
    ASSERT_EQ(open().number, 0);
    const QByteArray whole = readBytes(data);

    writeBytes(data, QByteArray());
    expectRefusedUntouched("empty", StoreErrors::Database, QStringLiteral("is damaged or is not"));

    writeBytes(data, QByteArray("this is no database at all, just some text that somebody saved here"));
    expectRefusedUntouched("text", StoreErrors::Database, QStringLiteral("is damaged or is not"));

    writeBytes(data, whole.left(whole.size() / 2));
    expectRefusedUntouched("cut in half", StoreErrors::Database, QStringLiteral("bytes"));

    writeBytes(data, whole.left(60));
    expectRefusedUntouched("cut inside the header", StoreErrors::Database, QStringLiteral("is damaged"));

    writeBytes(data, whole);
    EXPECT_EQ(open().number, 0) << "the repaired data opens again";
}

TEST_F(StoreDamageTest, DataOfAnotherProgramIsRefused) {
    QFile::remove(data);
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(data.toUtf8().constData(), &db), SQLITE_OK);
    sqlite3_exec(db, "CREATE TABLE users(name TEXT); CREATE TABLE notes(x)", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    expectRefusedUntouched("foreign tables", StoreErrors::Database, QStringLiteral("tables are missing"));
}

TEST_F(StoreDamageTest, BadIniFilesAndMissingFoldersAreRefused) {
    const QByteArray good = readBytes(ini);
    const QByteArray stored = readBytes(data);

    static const char garbage[] = "\x01\x02garbage\xff\xfe\n[section\n=\nnot a key\n";
    writeBytes(ini, QByteArray(garbage, sizeof garbage - 1));
    CaughtError failure = open();
    EXPECT_EQ(failure.number, StoreErrors::IniFile);
    EXPECT_TRUE(failure.text.contains(QStringLiteral("not a store's ini file")))
        << failure.text.toStdString();

    writeBytes(ini, QByteArray("DataFolder = nowhere\n"));
    failure = open();
    EXPECT_EQ(failure.number, StoreErrors::IniFile);
    EXPECT_TRUE(failure.text.contains(QStringLiteral("does not exist"))) << failure.text.toStdString();

    writeBytes(ini, good);
    ASSERT_EQ(open().number, 0);
    EXPECT_EQ(readBytes(data), stored) << "refusals wrote nothing into the data";

    ASSERT_TRUE(QDir(folder.Path(QStringLiteral("store"))).removeRecursively());
    failure = open();
    EXPECT_EQ(failure.number, StoreErrors::IniFile);
    EXPECT_TRUE(failure.text.contains(QStringLiteral("does not exist"))) << failure.text.toStdString();
    EXPECT_FALSE(QFileInfo::exists(folder.Path(QStringLiteral("store")))) << "nothing is made in its place";
}

// A check-out is only a check-out with its working file written; where that can't be, the store
// doesn't record it either.
TEST_F(StoreDamageTest, ACheckoutWhoseWorkingFileCannotBeWrittenDoesNotHappen) {
    VersionStore store;
    store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
    StoreItem item = store.Item(QStringLiteral("$/a.sp"));
    const QString gone = folder.Path(QStringLiteral("gone/a.sp"));
    const CaughtError failure = ErrorOf([&] { item.Checkout(QString(), gone); });
    EXPECT_EQ(failure.number, StoreErrors::LocalFile);
    EXPECT_TRUE(failure.text.contains(QStringLiteral("does not exist"))) << failure.text.toStdString();
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::NotCheckedOut);
    EXPECT_TRUE(item.Checkouts().isEmpty());

    const QString local = folder.Path(QStringLiteral("work/a.sp"));
    item.Checkout(QString(), local);
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::CheckedOutMe);
    EXPECT_EQ(readBytes(local), QByteArray(20000, 'd'));
}

TEST_F(StoreDamageTest, ARecoveryUnderATakenNameLeavesTheItemDeleted) {
    VersionStore store;
    store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
    store.Item(QStringLiteral("$/a.sp")).SetDeleted(true);
    const QString local = folder.Path(QStringLiteral("work/b.sp"));
    writeBytes(local, "b");
    store.Item(QStringLiteral("$/")).Add(local, QString());

    StoreItem deleted = store.Item(QStringLiteral("$/a.sp"), true);
    const int versions = static_cast<int>(deleted.Versions().size());
    EXPECT_EQ(ErrorOf([&] { deleted.RecoverAs(QStringLiteral("b.sp")); }).number, StoreErrors::NameExists);
    EXPECT_TRUE(deleted.Deleted());
    EXPECT_EQ(deleted.Name(), QStringLiteral("a.sp"));
    EXPECT_EQ(deleted.Versions().size(), versions) << "a refusal leaves no history";

    deleted.RecoverAs(QStringLiteral("c.sp"));
    EXPECT_FALSE(deleted.Deleted());
    EXPECT_EQ(store.Item(QStringLiteral("$/c.sp")).Versions().first().Action(), QStringLiteral("Recovered"));
}

} // namespace

namespace {

// A text damaged on disk is never handed out as the version it was: every read names the file and the
// version instead, and nothing new is built on it.
TEST_F(StoreDamageTest, ADamagedVersionIsNamedNeverGiven) {
    // Version 3 is 20000 'c's: one of them changes in the file itself, as a bad disk would do it.
    QByteArray bytes = readBytes(data);
    const qsizetype at = bytes.indexOf(QByteArray(2000, 'c'));
    ASSERT_GE(at, 0);
    bytes[at + 1000] = 'x';
    writeBytes(data, bytes);
    // The latest, version 4, changes through SQLite, as another program would do it.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(data.toUtf8().constData(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "UPDATE history SET content = CAST('changed' AS BLOB) WHERE number = 4",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);

    VersionStore store;
    store.Open(ini, QStringLiteral("Admin"), QStringLiteral("pw"));
    StoreItem item = store.Item(QStringLiteral("$/a.sp"));
    const QList<StoreVersion> versions = item.Versions();
    ASSERT_EQ(versions.size(), 4);
    const CaughtError third = ErrorOf([&] { versions[1].Text(); });
    EXPECT_EQ(third.number, StoreErrors::DamagedText);
    EXPECT_EQ(
        third.text,
        QStringLiteral("Version 3 of '$/a.sp' is damaged: its stored text does not match its checksum."));
    EXPECT_EQ(versions[2].Text(), QByteArray(20000, 'b')) << "the others read as ever";

    QString local = folder.Path(QStringLiteral("work/got.sp"));
    const CaughtError latest = ErrorOf([&] { item.Get(local); });
    EXPECT_EQ(latest.number, StoreErrors::DamagedText);
    EXPECT_TRUE(latest.text.startsWith(QStringLiteral("Version 4 of '$/a.sp'"))) << latest.text.toStdString();
    EXPECT_FALSE(QFileInfo::exists(local));
    EXPECT_EQ(ErrorOf([&] { item.Checkout(QString(), local); }).number, StoreErrors::DamagedText);
    EXPECT_EQ(item.IsCheckedOut(), StoreItem::NotCheckedOut);
    EXPECT_EQ(ErrorOf([&] { item.SetName(QStringLiteral("b.sp")); }).number, StoreErrors::DamagedText)
        << "a rename would carry the damaged text on under a good checksum";
    EXPECT_EQ(item.Versions().size(), 4);
}

} // namespace
