#pragma once

#include "RegistryKey.h"
#include "RegistryKeys.h"
#include "RegistryValues.h"

#include <QString>

#include <memory>

class KeyStore;

// Reads and writes the settings store: keys by path, values by name, text only. Every reader
// enumerates a key's values from the start with buffers of 255 characters, so a value whose name
// or data doesn't fit ends the enumeration there: the longest value that can be read back is 254
// characters. Nothing here shows anything to the user; missing keys and values read as empty.
class Registry {
public:
    static constexpr long HKEY_CURRENT_USER = 0x80000001L;
    static constexpr long REG_SZ = 1;
    static constexpr long REG_BINARY = 3;
    static constexpr int BufferSize = 255;

    // The store in the user's settings folder, or the one given.
    Registry();
    explicit Registry(std::shared_ptr<KeyStore> store);

    bool KeyExists(long keyNode, const QString& keyName) const;
    bool KeyValueExists(long keyNode, const QString& keyName, const QString& keyValueName) const;
    QString GetValue(long keyNode, const QString& keyName, const QString& keyValueName) const;
    RegistryValues GetAllValues(long keyNode, const QString& keyName) const;
    // Always gives a key; Values and SubKeys are filled on request. With getSubKeys the whole subtree
    // below is loaded, every deeper key with its values; getValues governs only the top key.
    std::shared_ptr<RegistryKey> GetKeyData(long keyNode, const QString& keyName, bool getValues = true,
                                            bool getSubKeys = true) const;
    // nullptr when the key can't be opened.
    std::unique_ptr<RegistryKeys> GetAllSubKeys(long keyNode, const QString& keyName, bool getValues = false,
                                                bool* getSubKeys = nullptr) const;
    bool WriteValue(long keyNode, const QString& keyName, const QString& valueName, const QString& valueData);
    bool DeleteKey(long keyNode, const QString& keyName);

    const std::shared_ptr<KeyStore>& Store() const { return mStore; }

private:
    std::shared_ptr<KeyStore> mStore;
};
