#pragma once

#include "TARMOObjectVSS.h"
#include "TARMOTable.h"

#include <memory>

// What the dispatch hands out for a tag and a key: a versioned object or a table, or nothing. The
// members answer for either, so that a window needs no test of the kind for the common questions.
class TARMOObjectRef {
public:
    TARMOObjectRef() = default;
    explicit TARMOObjectRef(std::shared_ptr<TARMOObjectVSS> object)
        : mVersioned(std::move(object)) {}
    explicit TARMOObjectRef(std::shared_ptr<TARMOTable> table)
        : mTable(std::move(table)) {}

    explicit operator bool() const { return mVersioned || mTable; }
    // The object where it is a versioned one; nullptr for a table.
    const std::shared_ptr<TARMOObjectVSS>& Versioned() const { return mVersioned; }
    // The table; nullptr for a versioned object.
    const std::shared_ptr<TARMOTable>& Table() const { return mTable; }

    QString Name() const;
    QString Owner() const;
    QString DBID() const;
    QString ObjectType() const;
    // The list tag of the kind; "Tables" for a table.
    QString ParentObjectType() const;
    bool IsEditable() const { return mVersioned != nullptr; }
    // A table is always in SQL Server and never in the store.
    bool InSQL() const;
    bool InVSS() const;
    bool IsCheckedOutByMe() const;
    // "" for a table, which has none.
    QString Description() const;
    // A table has no second store: the synchronizations give False.
    bool SyncAdd(StoreLocation location) const;
    bool SyncChange(StoreLocation location) const;
    bool SyncRemove(StoreLocation location) const;
    TARMOPermissions GetPermissions(bool bOnlyShowSetPermissions = true, long ListFilter = 0) const;
    TARMOContextMenu GetContextMenu() const;

private:
    std::shared_ptr<TARMOObjectVSS> mVersioned;
    std::shared_ptr<TARMOTable> mTable;
};
