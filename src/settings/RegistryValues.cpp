#include "RegistryValues.h"

bool RegistryValues::IsValidItem(const QString& name) const {
    for (const auto& value : mItems)
        if (value.Name() == name)
            return true;
    return false;
}

QString RegistryValues::GetValueData(const QString& name) const {
    for (const auto& value : mItems)
        if (value.Name() == name)
            return value.DataValue();
    return {};
}

void RegistryValues::Add(RegistryValue value) {
    // The store keeps names unique; a stored value literally named "(Default)" beside the unnamed
    // one is the only clash, and the first of the two wins.
    const QString key = value.Name();
    if (!mItems.Contains(key))
        mItems.Add(std::move(value), key);
}
