#pragma once

#include "ObjectDispatch.h"
#include "TARMODatabaseObjects.h"

class TARMODatabase;

// An object of the core as the main window sees it: a versioned object or a table.
class CoreObject : public DispatchedObject {
public:
    explicit CoreObject(TARMOObjectRef ref)
        : mRef(std::move(ref)) {}

    // What the windows of objects take: the versioned object or the table itself.
    const TARMOObjectRef& Ref() const { return mRef; }

    QString Name() const override { return mRef.Name(); }
    QString Owner() const override { return mRef.Owner(); }
    QString DBID() const override { return mRef.DBID(); }
    QString ObjectType() const override { return mRef.ObjectType(); }
    QString ParentObjectType() const override { return mRef.ParentObjectType(); }
    bool IsEditable() const override { return mRef.IsEditable(); }
    bool InSQL() const override { return mRef.InSQL(); }
    bool InVSS() const override { return mRef.InVSS(); }
    bool IsCheckedOutByMe() const override { return mRef.IsCheckedOutByMe(); }
    QString Description() override { return mRef.Description(); }
    bool SyncAdd(StoreLocation location) override { return mRef.SyncAdd(location); }
    bool SyncChange(StoreLocation location) override { return mRef.SyncChange(location); }
    bool SyncRemove(StoreLocation location) override { return mRef.SyncRemove(location); }
    std::shared_ptr<TARMOObjectVSS> Versioned() const override { return mRef.Versioned(); }

private:
    TARMOObjectRef mRef;
};

// The main window's way to the core's object half. The lists follow the core's current project:
// the first call after a project was opened builds them anew over its connections.
class CoreDispatch : public ObjectDispatch {
public:
    explicit CoreDispatch(TARMODatabase& database);

    TARMODatabaseObjects& Objects();

    std::unique_ptr<TARMODBTItems> GetItemInfo(const QString& strTag, const QString& strKey, bool bOnlyFields,
                                               bool bIncludeNullable) override;
    std::unique_ptr<TARMODBTItem> RefreshItem(const QString& ObjectTag, const QString& ObjectKey) override;
    std::shared_ptr<DispatchedObject> GetObject(const QString& ObjectTag, const QString& ObjectKey,
                                                bool bDeletedObject = false) override;
    TARMOContextMenu GetContextMenu(const QString& ObjectTag, const QString& ObjectKey) override;
    bool CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) override;
    std::unique_ptr<TARMODBTItems> GetItemsForNewMenu() override;
    std::shared_ptr<DispatchedObject> NewItemOfType(const QString& ObjectType) override;
    bool GetTableName(const QString& strObjectTag, const QString& strObjectKey, QString& strTableName,
                      QString& strTableOwner) override;
    bool RenameItem(const QString& ObjectTag, const QString& ObjectKey, const QString& NewName) override;
    bool DeleteItem(const QString& ObjectTag, const QString& ObjectKey) override;
    void SetStatusListener(DispatchStatusListener* listener) override;
    TARMODatabaseObjects* DatabaseObjects() override { return &Objects(); }

private:
    TARMODatabase& mDatabase;
    TARMODatabaseObjects mObjects;
    DispatchStatusListener* mListener = nullptr;
};
