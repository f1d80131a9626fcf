#pragma once

#include <QString>

// How a table draws the node under which its triggers hang. The core fills it once from the
// triggers list; everybody else only reads it.
class TARMOTriggersInfo {
public:
    const QString& ObjectType() const { return mObjectType; }
    const QString& ObjectDisplayName() const { return mObjectDisplayName; }
    const QString& Icon() const { return mIcon; }

private:
    friend class TARMODatabaseObjects;
    QString mObjectType = QStringLiteral("Triggers");
    QString mObjectDisplayName = QStringLiteral("Triggers");
    QString mIcon = QStringLiteral("TRIGGERS");
};
