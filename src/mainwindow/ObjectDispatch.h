#pragma once

#include "StoreLocation.h"
#include "TARMODBTItem.h"
#include "TARMODBTItems.h"
#include "TARMOObjectVSS.h"

#include <QString>

#include <memory>

class TARMODatabaseObjects;

// What the main window asks of an object that the core handed out by tag and key. A table answers
// too: it is not editable and lives in SQL Server only.
class DispatchedObject {
public:
    virtual ~DispatchedObject() = default;

    virtual QString Name() const = 0;
    virtual QString Owner() const = 0;
    virtual QString DBID() const = 0;
    // The kind tag ("StoredProcedure", "Table", ...).
    virtual QString ObjectType() const = 0;
    // The list tag of the kind ("StoredProcedures", ...): what the default text of a new object is kept
    // under.
    virtual QString ParentObjectType() const = 0;
    virtual bool IsEditable() const = 0;
    virtual bool InSQL() const = 0;
    virtual bool InVSS() const = 0;
    virtual bool IsCheckedOutByMe() const = 0;
    // Read from the version store at each call.
    virtual QString Description() = 0;
    // Repairs between the stores; location 1 the version store, 2 SQL Server.
    virtual bool SyncAdd(StoreLocation location) = 0;
    virtual bool SyncChange(StoreLocation location) = 0;
    virtual bool SyncRemove(StoreLocation location) = 0;
    // The versioned object behind it, for the windows that edit it and show its history; nullptr for
    // a table or any object that the version store doesn't keep.
    virtual std::shared_ptr<TARMOObjectVSS> Versioned() const = 0;
};

// The progress of the object lists while a tree node is filled.
class DispatchStatusListener {
public:
    virtual ~DispatchStatusListener() = default;
    virtual void RetrieveStatusChange(const QString& ObjectType, const QString& ObjectDisplayName,
                                      long CurrentItemNumber, long TotalItems, bool& Cancel) = 0;
    virtual void AddingStatusChange(const QString& ObjectType, const QString& ObjectDisplayName,
                                    long CurrentItemNumber, long TotalItems, bool& Cancel) = 0;
    virtual void CompletedCurrentStatus(const QString& ObjectType, const QString& ObjectDisplayName) = 0;
};

// The object half of the core as the main window uses it: everything is named by a tag and a key,
// and the window never holds an object list. The core implements this; the tree and the commands
// know nothing else of the object model.
class ObjectDispatch {
public:
    virtual ~ObjectDispatch() = default;

    // The children of a node; the tag "Start" gives the top level.
    virtual std::unique_ptr<TARMODBTItems> GetItemInfo(const QString& strTag, const QString& strKey,
                                                       bool bOnlyFields, bool bIncludeNullable) = 0;
    // Re-reads one node; nullptr when no list knows the tag.
    virtual std::unique_ptr<TARMODBTItem> RefreshItem(const QString& ObjectTag, const QString& ObjectKey) = 0;
    // nullptr for lists, fields, permissions and anything else that is no object.
    virtual std::shared_ptr<DispatchedObject> GetObject(const QString& ObjectTag, const QString& ObjectKey,
                                                        bool bDeletedObject = false) = 0;
    virtual TARMOContextMenu GetContextMenu(const QString& ObjectTag, const QString& ObjectKey) = 0;
    virtual bool CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) = 0;
    // One item per editable kind: Key the kind tag, Text its display name.
    virtual std::unique_ptr<TARMODBTItems> GetItemsForNewMenu() = 0;
    virtual std::shared_ptr<DispatchedObject> NewItemOfType(const QString& ObjectType) = 0;
    // The table that the tag and key name, if any; both out-arguments become "" otherwise.
    virtual bool GetTableName(const QString& strObjectTag, const QString& strObjectKey, QString& strTableName,
                              QString& strTableOwner) = 0;
    virtual bool RenameItem(const QString& ObjectTag, const QString& ObjectKey, const QString& NewName) = 0;
    virtual bool DeleteItem(const QString& ObjectTag, const QString& ObjectKey) = 0;
    // Where the three status events go; nullptr stops them.
    virtual void SetStatusListener(DispatchStatusListener* listener) = 0;
    // The core's object lists themselves, for the dialogs that work across all of them (undelete);
    // nullptr when there are none behind this dispatch.
    virtual TARMODatabaseObjects* DatabaseObjects() = 0;
};
