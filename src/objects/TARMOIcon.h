#pragma once

#include <QString>

class TARMOIcons;

// One legal icon name of the object model. Only the icon table writes the name.
class TARMOIcon {
public:
    const QString& Name() const { return mName; }

private:
    friend class TARMOIcons;
    QString mName;
};
