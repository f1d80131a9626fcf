#include "Registry.h"
#include "KeyStore.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {
constexpr long HKCU = Registry::HKEY_CURRENT_USER;

class RegistryTest : public ::testing::Test {
protected:
    TempFolder dir;
    std::shared_ptr<KeyStore> store = std::make_shared<KeyStore>(dir.Path(QStringLiteral("registry.json")));
    Registry reg{store};
    const QString key = QStringLiteral("Software\\Tarmo Integration");
};
} // namespace

TEST_F(RegistryTest, MissingKeyReadsEmptyEverywhere) {
    auto data = reg.GetKeyData(HKCU, QStringLiteral("Software\\Nowhere\\Deep"));
    EXPECT_EQ(data->Path(), QStringLiteral("Software\\Nowhere\\Deep"));
    EXPECT_EQ(data->Name(), QStringLiteral("Deep"));
    EXPECT_EQ(data->Key(), QStringLiteral("Software\\Nowhere\\Deep\\%1").arg(HKCU));
    EXPECT_EQ(data->Values().Count(), 0);
    EXPECT_EQ(data->SubKeys().Count(), 0);
    EXPECT_EQ(data->GetValueData(QStringLiteral("anything")), QString());
    EXPECT_FALSE(reg.KeyExists(HKCU, QStringLiteral("Software\\Nowhere")));
    EXPECT_EQ(reg.GetValue(HKCU, QStringLiteral("Software\\Nowhere"), QStringLiteral("x")), QString());
    EXPECT_EQ(reg.GetAllSubKeys(HKCU, QStringLiteral("Software\\Nowhere")), nullptr);
    EXPECT_FALSE(reg.DeleteKey(HKCU, QStringLiteral("Software\\Nowhere")));
    EXPECT_EQ(reg.GetKeyData(HKCU, QStringLiteral("  "))->Name(), QString());
    EXPECT_EQ(reg.GetKeyData(HKCU, QStringLiteral("NoBackslash"))->Name(), QStringLiteral("NoBackslash"));
}

// The read buffers hold 254 characters and the terminating zero: a longer value can be written,
// but it and everything behind it vanish from reads of that key.
TEST_F(RegistryTest, ValueOf255CharactersEndsTheEnumeration) {
    ASSERT_TRUE(reg.WriteValue(HKCU, key, QStringLiteral("first"), QStringLiteral("1")));
    ASSERT_TRUE(reg.WriteValue(HKCU, key, QStringLiteral("fits"), QString(254, QLatin1Char('a'))));
    ASSERT_TRUE(reg.WriteValue(HKCU, key, QStringLiteral("long"), QString(255, QLatin1Char('b'))));
    ASSERT_TRUE(reg.WriteValue(HKCU, key, QStringLiteral("after"), QStringLiteral("2")));

    EXPECT_EQ(reg.GetValue(HKCU, key, QStringLiteral("fits")).size(), 254);
    EXPECT_EQ(reg.GetValue(HKCU, key, QStringLiteral("long")), QString());
    EXPECT_EQ(reg.GetValue(HKCU, key, QStringLiteral("after")), QString());
    EXPECT_FALSE(reg.KeyValueExists(HKCU, key, QStringLiteral("after")));
    EXPECT_TRUE(reg.KeyValueExists(HKCU, key, QStringLiteral("first")));
    EXPECT_EQ(reg.GetAllValues(HKCU, key).Count(), 2);

    // A name of 255 characters ends it the same way.
    const QString other = QStringLiteral("Software\\Other");
    reg.WriteValue(HKCU, other, QString(255, QLatin1Char('n')), QStringLiteral("x"));
    reg.WriteValue(HKCU, other, QStringLiteral("behind"), QStringLiteral("y"));
    EXPECT_EQ(reg.GetAllValues(HKCU, other).Count(), 0);
}

TEST_F(RegistryTest, DefaultBinaryAndTerminatedValues) {
    reg.WriteValue(HKCU, key, QString(), QStringLiteral("unnamed"));
    reg.WriteValue(HKCU, key, QStringLiteral("zero"), QStringLiteral("abc") + QChar(0));
    store->SetValue(HKCU, key,
                    {QStringLiteral("bin"), KeyStore::Binary, {}, QByteArray("\x01\xab\x00\xff", 4)});
    store->SetValue(HKCU, key, {QStringLiteral("dword"), 4, {}, QByteArray("\x01\x00\x00\x00", 4)});

    const auto values = reg.GetAllValues(HKCU, key);
    ASSERT_EQ(values.Count(), 4);
    EXPECT_EQ(values.Item(QStringLiteral("(Default)"))->DataValue(), QStringLiteral("unnamed"));
    EXPECT_EQ(values.GetValueData(QStringLiteral("zero")), QStringLiteral("abc"))
        << "no second zero is stored";
    EXPECT_EQ(values.GetValueData(QStringLiteral("bin")), QStringLiteral("01 AB 00 FF"));
    EXPECT_EQ(values.Item(QStringLiteral("dword"))->DataType(), QStringLiteral("4"));
    EXPECT_EQ(values.GetValueData(QStringLiteral("dword")), QString());
    EXPECT_EQ(values.Item(QStringLiteral("unknown")), nullptr);
    // The collection finds names without regard to case; the value helpers compare exactly.
    EXPECT_NE(values.Item(QStringLiteral("ZERO")), nullptr);
    EXPECT_FALSE(values.IsValidItem(QStringLiteral("ZERO")));
    EXPECT_EQ(values.GetValueData(QStringLiteral("ZERO")), QString());
    EXPECT_EQ(reg.GetValue(HKCU, key, QString()), QStringLiteral("unnamed"));
}

// Asking for subkeys loads the whole subtree with values; GetValues governs only the top key.
TEST_F(RegistryTest, SubKeysLoadTheWholeSubtree) {
    reg.WriteValue(HKCU, key, QStringLiteral("top"), QStringLiteral("t"));
    reg.WriteValue(HKCU, key + QStringLiteral("\\2"), QStringLiteral("PrjName"), QStringLiteral("Two"));
    reg.WriteValue(HKCU, key + QStringLiteral("\\1"), QStringLiteral("PrjName"), QStringLiteral("One"));
    reg.WriteValue(HKCU, key + QStringLiteral("\\1\\Deeper"), QStringLiteral("x"), QStringLiteral("y"));

    auto data = reg.GetKeyData(HKCU, key, false, true);
    EXPECT_EQ(data->Values().Count(), 0);
    ASSERT_EQ(data->SubKeys().Count(), 2);
    EXPECT_EQ(data->SubKeys().Item(1)->Name(), QStringLiteral("2")) << "enumeration order is kept";
    auto one = data->SubKeys().Item(key + QStringLiteral("\\1\\%1").arg(HKCU));
    EXPECT_EQ(one->GetValueData(QStringLiteral("PrjName")), QStringLiteral("One"));
    ASSERT_EQ(one->SubKeys().Count(), 1);
    EXPECT_EQ(one->SubKeys().Item(1)->GetValueData(QStringLiteral("x")), QStringLiteral("y"));
    EXPECT_THROW(data->SubKeys().Item(QStringLiteral("nope")), TARMOError);

    EXPECT_TRUE(reg.DeleteKey(HKCU, key + QStringLiteral("\\2")));
    EXPECT_EQ(reg.GetKeyData(HKCU, key, true, true)->SubKeys().Count(), 1);
}
