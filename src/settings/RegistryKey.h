#pragma once

#include "RegistryKeys.h"
#include "RegistryValues.h"

#include <QString>

// A snapshot of one key: its path, and its values and subkeys as far as they were asked for.
class RegistryKey {
public:
    const QString& Path() const { return mPath; }
    // The part of the path behind its last backslash; empty for a blank path.
    QString Name() const;
    long Root() const { return mRoot; }
    // Path, a backslash and the root in decimal: the key of this object in RegistryKeys.
    const QString& Key() const { return mKey; }

    RegistryValues& Values() { return mValues; }
    const RegistryValues& Values() const { return mValues; }
    RegistryKeys& SubKeys() { return mSubKeys; }
    const RegistryKeys& SubKeys() const { return mSubKeys; }

    QString GetValueData(const QString& valueName) const { return mValues.GetValueData(valueName); }

private:
    friend class Registry;
    explicit RegistryKey(std::shared_ptr<KeyStore> store)
        : mSubKeys(std::move(store)) {}
    void SetIdentity(long root, const QString& path);

    long mRoot = 0;
    QString mPath;
    QString mKey;
    RegistryValues mValues;
    RegistryKeys mSubKeys;
};
