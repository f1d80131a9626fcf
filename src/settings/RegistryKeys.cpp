#include "RegistryKeys.h"

#include "Registry.h"
#include "RegistryKey.h"

std::shared_ptr<RegistryKey> RegistryKeys::Add(long root, const QString& path, const QString&, bool getValues,
                                               bool getSubKeys) {
    auto key = Registry(mStore).GetKeyData(root, path, getValues, getSubKeys);
    mItems.Add(key, key->Key());
    return key;
}
