#include "TARMOIcons.h"

TARMOIcon& TARMOIcons::Add(const QString& Name) {
    TARMOIcon icon;
    icon.mName = Name.toUpper();
    return mItems.Add(icon, icon.mName);
}

TARMOIcon TARMOIcons::Item(const QString& Name) const {
    if (const TARMOIcon* icon = mItems.Find(Name.toUpper()))
        return *icon;
    TARMOIcon unknown;
    unknown.mName = QStringLiteral("-");
    return unknown;
}
