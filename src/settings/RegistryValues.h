#pragma once

#include "KeyedCollection.h"
#include "RegistryValue.h"

// The values of one key, in the store's enumeration order, keyed by name.
class RegistryValues {
public:
    // nullptr for an unknown name.
    const RegistryValue* Item(const QString& name) const { return mItems.Find(name); }
    int Count() const { return mItems.Count(); }
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

    // Both compare the name as exact text.
    bool IsValidItem(const QString& name) const;
    QString GetValueData(const QString& name) const;

private:
    friend class Registry;
    void Add(RegistryValue value);

    KeyedCollection<RegistryValue> mItems;
};
