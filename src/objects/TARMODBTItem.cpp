#include "TARMODBTItem.h"

#include "TARMODBTItems.h"

TARMODBTItem::TARMODBTItem(const QString& key)
    : Key(key) {}

TARMODBTItem::~TARMODBTItem() = default;

TARMODBTItems& TARMODBTItem::Children() {
    if (!mChildren)
        mChildren = std::make_unique<TARMODBTItems>();
    return *mChildren;
}

const TARMODBTItems& TARMODBTItem::Children() const {
    static const TARMODBTItems none;
    return mChildren ? *mChildren : none;
}
