#pragma once

#include "KeyedCollection.h"
#include "TARMODBTItem.h"

#include <memory>

// Tree records keyed by Key, in order of insertion.
class TARMODBTItems {
public:
    // Makes a record with that key at the end; a key already there raises 457.
    TARMODBTItem& Add(const QString& Key);
    // Takes over a record made elsewhere (a Refresh result), under its own key.
    TARMODBTItem& Add(std::unique_ptr<TARMODBTItem> item);
    TARMODBTItem& Item(const QString& Key) { return *mItems.Item(Key); }
    const TARMODBTItem& Item(const QString& Key) const { return *mItems.Item(Key); }
    TARMODBTItem& Item(int position) { return *mItems.Item(position); }
    const TARMODBTItem& Item(int position) const { return *mItems.Item(position); }
    bool Contains(const QString& Key) const { return mItems.Contains(Key); }
    int Count() const { return mItems.Count(); }
    void Reserve(qsizetype count) { mItems.Reserve(count); }
    // The first record, or nullptr.
    TARMODBTItem* FirstChild() { return mItems.IsEmpty() ? nullptr : mItems.Item(1).get(); }

    template <typename F> void ForEach(F&& visit) const {
        for (const auto& item : mItems)
            visit(*item);
    }

private:
    KeyedCollection<std::shared_ptr<TARMODBTItem>> mItems;
};
