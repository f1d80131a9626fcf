#include "TARMODBTItems.h"

TARMODBTItem& TARMODBTItems::Add(const QString& Key) {
    return *mItems.Add(std::make_shared<TARMODBTItem>(Key), Key);
}

TARMODBTItem& TARMODBTItems::Add(std::unique_ptr<TARMODBTItem> item) {
    const QString key = item->Key;
    return *mItems.Add(std::shared_ptr<TARMODBTItem>(std::move(item)), key);
}
