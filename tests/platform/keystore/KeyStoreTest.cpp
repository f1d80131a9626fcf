#include "KeyStore.h"
#include "ScriptedPrompts.h"
#include "TARMOError.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QLockFile>
#include <QProcess>
#include <QSysInfo>

#include <gtest/gtest.h>

namespace {
constexpr long HKCU = 0x80000001L;

KeyStore::Value text(const QString& name, const QString& value) {
    return {name, KeyStore::String, value, {}};
}
} // namespace

TEST(KeyStore, KeepsOrderOfFirstWriteAndReplacesInPlace) {
    TempFolder dir;
    KeyStore store(dir.Path(QStringLiteral("r.json")));
    ASSERT_TRUE(
        store.SetValue(HKCU, QStringLiteral("Software\\A"), text(QStringLiteral("b"), QStringLiteral("1"))));
    ASSERT_TRUE(
        store.SetValue(HKCU, QStringLiteral("Software\\A"), text(QStringLiteral("a"), QStringLiteral("2"))));
    ASSERT_TRUE(
        store.SetValue(HKCU, QStringLiteral("software\\a"), text(QStringLiteral("B"), QStringLiteral("3"))));
    const auto values = store.Values(HKCU, QStringLiteral("Software\\A"));
    ASSERT_TRUE(values);
    ASSERT_EQ(values->size(), 2);
    EXPECT_EQ((*values)[0].name, QStringLiteral("B"));
    EXPECT_EQ((*values)[0].text, QStringLiteral("3"));
    EXPECT_EQ((*values)[1].name, QStringLiteral("a"));

    EXPECT_TRUE(store.CreateKey(HKCU, QStringLiteral("Software\\A\\z")));
    EXPECT_TRUE(store.CreateKey(HKCU, QStringLiteral("Software\\A\\y")));
    EXPECT_EQ(*store.SubKeys(HKCU, QStringLiteral("Software\\A")),
              (QStringList{QStringLiteral("z"), QStringLiteral("y")}));
    EXPECT_FALSE(store.Values(HKCU, QStringLiteral("Software\\Missing")));
    EXPECT_FALSE(store.KeyExists(0x80000002L, QStringLiteral("Software\\A")));
}

TEST(KeyStore, BinaryValuesAndKeyDeletion) {
    TempFolder dir;
    KeyStore store(dir.Path(QStringLiteral("r.json")));
    KeyStore::Value bin{QStringLiteral("bin"), KeyStore::Binary, {}, QByteArray("\x00\x0a\xff", 3)};
    ASSERT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), bin));
    EXPECT_EQ(store.Values(HKCU, QStringLiteral("K"))->first().data, bin.data);

    ASSERT_TRUE(store.CreateKey(HKCU, QStringLiteral("K\\Child")));
    EXPECT_FALSE(store.DeleteKey(HKCU, QStringLiteral("K"))) << "a key with subkeys stays";
    EXPECT_TRUE(store.DeleteKey(HKCU, QStringLiteral("K\\Child")));
    EXPECT_FALSE(store.DeleteKey(HKCU, QStringLiteral("K\\Child")));
    EXPECT_TRUE(store.DeleteKey(HKCU, QStringLiteral("K")));
    EXPECT_FALSE(store.KeyExists(HKCU, QStringLiteral("K")));
}

namespace {
QStringList damagedCopies(const TempFolder& dir) {
    return QDir(dir.Path()).entryList({QStringLiteral("r.json.damaged-*")}, QDir::Files);
}

void overwrite(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}
} // namespace

// A file cut short after good writes: the last good contents come back, the damaged file is kept,
// and the user hears of it once, not on every read.
TEST(KeyStore, DamagedFileComesBackFromTheLastGoodCopy) {
    ScriptedPromptsScope scope;
    TempFolder dir;
    const QString path = dir.Path(QStringLiteral("r.json"));
    KeyStore store(path);
    ASSERT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("a"), QStringLiteral("1"))));
    ASSERT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("b"), QStringLiteral("2"))));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray whole = file.readAll();
    file.close();
    overwrite(path, whole.left(whole.size() / 2));

    const auto values = store.Values(HKCU, QStringLiteral("K"));
    ASSERT_TRUE(values);
    EXPECT_EQ(values->size(), 2);
    EXPECT_TRUE(store.KeyExists(HKCU, QStringLiteral("K")));
    ASSERT_EQ(scope->Records().size(), 1);
    EXPECT_TRUE(scope->Records().first().text.contains(QStringLiteral("last good copy")));
    ASSERT_EQ(damagedCopies(dir).size(), 1);
    QFile aside(dir.Path(damagedCopies(dir).first()));
    ASSERT_TRUE(aside.open(QIODevice::ReadOnly));
    EXPECT_EQ(aside.readAll(), whole.left(whole.size() / 2)) << "the damaged file is kept as it was";

    ASSERT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("c"), QStringLiteral("3"))));
    EXPECT_EQ(store.Values(HKCU, QStringLiteral("K"))->size(), 3);
}

// Garbage and no copy to go back to: the store starts empty, but only after keeping the garbage and
// saying so; an empty file counts as damaged too.
TEST(KeyStore, DamagedFileWithoutACopyIsKeptAsideAndTold) {
    for (const QByteArray& bytes : {QByteArray("{ not json"), QByteArray("[1, 2]"), QByteArray()}) {
        ScriptedPromptsScope scope;
        TempFolder dir;
        const QString path = dir.Path(QStringLiteral("r.json"));
        overwrite(path, bytes);
        KeyStore store(path);
        EXPECT_TRUE(
            store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("v"), QStringLiteral("x"))));
        EXPECT_EQ(store.Values(HKCU, QStringLiteral("K"))->size(), 1);
        ASSERT_EQ(damagedCopies(dir).size(), 1) << bytes.constData();
        ASSERT_EQ(scope->Records().size(), 1);
        EXPECT_TRUE(scope->Records().first().text.contains(QStringLiteral("no good copy")));
    }
}

// The settings hold passwords: the folder, the file and its copy are the user's alone.
TEST(KeyStore, FilesArePrivate) {
    TempFolder dir;
    const QString path = dir.Path(QStringLiteral("new/r.json"));
    KeyStore store(path);
    ASSERT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("v"), QStringLiteral("x"))));
    const auto owner = QFile::ReadOwner | QFile::WriteOwner;
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                        QFile::WriteOther | QFile::ExeOther;
    for (const QString& file : {path, path + QStringLiteral(".bak")}) {
        EXPECT_EQ(QFile::permissions(file) & owner, owner) << qPrintable(file);
        EXPECT_EQ(QFile::permissions(file) & others, 0) << qPrintable(file);
    }
    EXPECT_EQ(QFile::permissions(dir.Path(QStringLiteral("new"))) & others, 0);
}

// A writer that holds the lock and doesn't go on (stopped, hung) makes the others fail with an error
// naming the lock file instead of writing over its change or dropping theirs quietly; a lock left by
// a process that has ended is taken over.
TEST(KeyStore, LockOfAStoppedWriterIsAnErrorAndOfAnEndedOneIsTakenOver) {
    TempFolder dir;
    const QString path = dir.Path(QStringLiteral("r.json"));
    KeyStore store(path);
    store.SetLockTimeout(50);
    {
        QLockFile held(path + QStringLiteral(".lock"));
        ASSERT_TRUE(held.tryLock(0));
        try {
            store.Update([](KeyStore::Batch& batch) {
                batch.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("v"), QStringLiteral("x")));
                return true;
            });
            ADD_FAILURE() << "a held lock must stop the write";
        } catch (const TARMOError& e) {
            EXPECT_TRUE(e.Description().contains(QStringLiteral("r.json.lock")))
                << qPrintable(e.Description());
        }
        EXPECT_FALSE(
            store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("v"), QStringLiteral("x"))));
        EXPECT_FALSE(store.KeyExists(HKCU, QStringLiteral("K")));
    }

    QProcess ended;
    ended.start(QStringLiteral(KEYSTORE_WRITER), {});
    ASSERT_TRUE(ended.waitForStarted());
    const qint64 pid = ended.processId();
    ASSERT_TRUE(ended.waitForFinished());
    overwrite(path + QStringLiteral(".lock"),
              QStringLiteral("%1\nkeystore_writer\n%2\n").arg(pid).arg(QSysInfo::machineHostName()).toUtf8());
    EXPECT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("v"), QStringLiteral("x"))));
}

// Several processes write to one store at once: every value of every writer must be there and the
// file must still be whole.
TEST(KeyStore, ConcurrentWritersLoseNothing) {
    TempFolder dir;
    const QString path = dir.Path(QStringLiteral("r.json"));
    constexpr int writers = 4, valuesEach = 25;
    QList<QProcess*> processes;
    for (int w = 0; w < writers; ++w) {
        auto* p = new QProcess;
        p->start(QStringLiteral(KEYSTORE_WRITER), {path, QString::number(w), QString::number(valuesEach)});
        processes << p;
    }
    for (auto* p : processes) {
        ASSERT_TRUE(p->waitForFinished(60000));
        EXPECT_EQ(p->exitCode(), 0) << p->readAllStandardError().constData();
        delete p;
    }
    KeyStore store(path);
    for (int w = 0; w < writers; ++w) {
        const auto values = store.Values(HKCU, QStringLiteral("Software\\W%1").arg(w));
        ASSERT_TRUE(values);
        EXPECT_EQ(values->size(), valuesEach);
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(QJsonDocument::fromJson(file.readAll()).isObject());
}
