#pragma once

#include <QString>

// One value of a key as it was read: name, the store's type number and the data as text.
class RegistryValue {
public:
    RegistryValue(QString name, long dataType, QString dataValue)
        : mName(std::move(name))
        , mDataType(dataType)
        , mDataValue(std::move(dataValue)) {}

    const QString& Name() const { return mName; }
    QString DataType() const { return QString::number(mDataType); }
    const QString& DataValue() const { return mDataValue; }

private:
    QString mName;
    long mDataType;
    QString mDataValue;
};
