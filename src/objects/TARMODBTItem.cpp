#include "TARMODBTItem.h"

#include "TARMODBTItems.h"

TARMODBTItem::TARMODBTItem(const QString& key)
    : Key(key)
    , mChildren(std::make_unique<TARMODBTItems>()) {}

TARMODBTItem::~TARMODBTItem() = default;
