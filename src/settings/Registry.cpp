#include "Registry.h"

#include "KeyStore.h"

#include <optional>

namespace {

struct ReadValue {
    QString name;
    long type;
    QString text;
};

QString dataAsText(const KeyStore::Value& value) {
    switch (value.type) {
    case KeyStore::String:
        return value.text;
    case KeyStore::Binary: {
        QStringList pairs;
        for (unsigned char byte : value.data)
            pairs << QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
        return pairs.join(QLatin1Char(' '));
    }
    default:
        return {};
    }
}

// The values as enumeration by index sees them: it ends at the first value whose name or data
// doesn't fit the buffers (a string's data counts its terminating zero).
std::optional<QList<ReadValue>> enumerateValues(const KeyStore& store, long root, const QString& path) {
    const auto values = store.Values(root, path);
    if (!values)
        return std::nullopt;
    QList<ReadValue> seen;
    for (const auto& v : *values) {
        const qsizetype dataLength = v.type == KeyStore::String ? v.text.size() + 1 : v.data.size();
        if (v.name.size() >= Registry::BufferSize || dataLength > Registry::BufferSize)
            break;
        seen.append({v.name, v.type, dataAsText(v)});
    }
    return seen;
}

} // namespace

Registry::Registry()
    : mStore(std::make_shared<KeyStore>()) {}

Registry::Registry(std::shared_ptr<KeyStore> store)
    : mStore(std::move(store)) {}

bool Registry::KeyExists(long keyNode, const QString& keyName) const {
    return mStore->KeyExists(keyNode, keyName);
}

bool Registry::KeyValueExists(long keyNode, const QString& keyName, const QString& keyValueName) const {
    const auto values = enumerateValues(*mStore, keyNode, keyName);
    if (!values)
        return false;
    for (const auto& v : *values)
        if (v.name == keyValueName)
            return true;
    return false;
}

QString Registry::GetValue(long keyNode, const QString& keyName, const QString& keyValueName) const {
    const auto values = enumerateValues(*mStore, keyNode, keyName);
    if (!values)
        return {};
    for (const auto& v : *values)
        if (v.name == keyValueName)
            return v.text;
    return {};
}

RegistryValues Registry::GetAllValues(long keyNode, const QString& keyName) const {
    RegistryValues result;
    const auto values = enumerateValues(*mStore, keyNode, keyName);
    if (!values)
        return result;
    for (const auto& v : *values)
        result.Add(RegistryValue(v.name.isEmpty() ? QStringLiteral("(Default)") : v.name, v.type, v.text));
    return result;
}

std::shared_ptr<RegistryKey> Registry::GetKeyData(long keyNode, const QString& keyName, bool getValues,
                                                  bool getSubKeys) const {
    std::shared_ptr<RegistryKey> key(new RegistryKey(mStore));
    key->SetIdentity(keyNode, keyName);
    if (getValues)
        key->mValues = GetAllValues(keyNode, keyName);
    if (getSubKeys) {
        if (auto subKeys = GetAllSubKeys(keyNode, keyName, getValues, &getSubKeys))
            key->mSubKeys = std::move(*subKeys);
    }
    return key;
}

std::unique_ptr<RegistryKeys> Registry::GetAllSubKeys(long keyNode, const QString& keyName, bool,
                                                      bool* getSubKeys) const {
    const auto names = mStore->SubKeys(keyNode, keyName);
    if (!names)
        return nullptr;
    const bool loadValues = getSubKeys && *getSubKeys;
    auto keys = std::make_unique<RegistryKeys>(mStore);
    for (const auto& name : *names) {
        if (name.size() >= BufferSize)
            break;
        keys->Add(keyNode, keyName + QLatin1Char('\\') + name, QString(), loadValues, true);
    }
    return keys;
}

bool Registry::WriteValue(long keyNode, const QString& keyName, const QString& valueName,
                          const QString& valueData) {
    KeyStore::Value value;
    value.name = valueName;
    value.type = KeyStore::String;
    value.text = valueData.endsWith(QChar(0)) ? valueData.chopped(1) : valueData;
    return mStore->SetValue(keyNode, keyName, value);
}

bool Registry::DeleteKey(long keyNode, const QString& keyName) {
    return mStore->DeleteKey(keyNode, keyName);
}
