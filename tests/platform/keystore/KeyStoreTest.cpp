#include "KeyStore.h"
#include "TestSupport.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>

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

TEST(KeyStore, DamagedFileIsKeptAsideNotLost) {
    TempFolder dir;
    const QString path = dir.Path(QStringLiteral("r.json"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{ not json");
    file.close();
    KeyStore store(path);
    EXPECT_FALSE(store.KeyExists(HKCU, QStringLiteral("K")));
    EXPECT_TRUE(store.SetValue(HKCU, QStringLiteral("K"), text(QStringLiteral("v"), QStringLiteral("x"))));
    EXPECT_TRUE(QFile::exists(path + QStringLiteral(".damaged")));
    EXPECT_EQ(store.Values(HKCU, QStringLiteral("K"))->size(), 1);
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
