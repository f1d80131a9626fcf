#include "TARMOVSSItems.h"

TARMOVSSItem& TARMOVSSItems::Add(const QString& name, const QString& checkedOutBy) {
    TARMOVSSItem item;
    item.mName = name;
    item.mCheckedOutBy = checkedOutBy;
    item.mConnection = mConnection;
    return mItems.Add(std::move(item), name);
}
