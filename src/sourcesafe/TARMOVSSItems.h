#pragma once

#include "KeyedCollection.h"
#include "TARMOVSSItem.h"

// The entries of a project folder, keyed by name (case-insensitive, positions from 1). Each new entry
// is bound to the collection's connection.
class TARMOVSSItems {
public:
    explicit TARMOVSSItems(TARMOVSS* connection = nullptr)
        : mConnection(connection) {}

    TARMOVSSItem& Add(const QString& name, const QString& checkedOutBy = QString());
    TARMOVSSItem& Item(const QString& name) { return mItems.Item(name); }
    TARMOVSSItem& Item(int position) { return mItems.Item(position); }
    bool Contains(const QString& name) const { return mItems.Contains(name); }
    int Count() const { return mItems.Count(); }
    void Reserve(qsizetype count) { mItems.Reserve(count); }
    TARMOVSS* ActiveVSSConnection() const { return mConnection; }

    auto begin() { return mItems.begin(); }
    auto end() { return mItems.end(); }
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

private:
    KeyedCollection<TARMOVSSItem> mItems;
    TARMOVSS* mConnection;
};
