#pragma once

#include "KeyedCollection.h"

#include <QString>

#include <memory>

class KeyStore;
class RegistryKey;

// Keys in the store's enumeration order, keyed by RegistryKey::Key().
class RegistryKeys {
public:
    explicit RegistryKeys(std::shared_ptr<KeyStore> store)
        : mStore(std::move(store)) {}

    // Raises TARMOError 5 for an unknown key, as the collection does.
    std::shared_ptr<RegistryKey> Item(const QString& key) const { return mItems.Item(key); }
    std::shared_ptr<RegistryKey> Item(int position) const { return mItems.Item(position); }
    int Count() const { return mItems.Count(); }
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

    // Reads the key as GetKeyData does and adds it under its Key. The name comes from the path;
    // the name argument is there for callers that have one and is not used.
    std::shared_ptr<RegistryKey> Add(long root, const QString& path, const QString& name = {},
                                     bool getValues = true, bool getSubKeys = true);

private:
    std::shared_ptr<KeyStore> mStore;
    KeyedCollection<std::shared_ptr<RegistryKey>> mItems;
};
