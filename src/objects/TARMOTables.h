#pragma once

#include "KeyedCollection.h"
#include "TARMOObjectVSS.h"
#include "TARMOTable.h"

#include <QString>

#include <functional>
#include <memory>

class TARMODBTItems;
class TARMODatabase;
class TARMOIcons;
class TARMOSQL;
class TARMOTriggersInfo;
class TARMOVSS;

// The user tables of a project. It answers to the same names as the lists of versioned objects, so
// that the dispatch walks treat all five alike, but it reads SQL Server alone.
class TARMOTables {
public:
    using Object = std::shared_ptr<TARMOTable>;

    TARMOTables();
    TARMOTables(const TARMOTables&) = delete;
    TARMOTables& operator=(const TARMOTables&) = delete;

    // --- Constants
    const QString& ObjectType() const { return mObjectType; }
    const QString& ObjectDisplayName() const { return mObjectType; }
    QString IconToUse() const { return QStringLiteral("TABLES"); }
    bool IsRootNode() const { return true; }
    bool IsEditable() const { return false; }
    const QString& SubObjectType() const { return mKind.ObjectType(); }
    const QString& SubObjectDisplayName() const { return mKind.ObjectDisplayName(); }

    // --- Links, none of them owned
    TARMODatabase* Database() const { return mDatabase; }
    void SetDatabase(TARMODatabase* database) { mDatabase = database; }
    TARMOSQL* ActiveDBConnection() const { return mSQL; }
    void SetActiveDBConnection(TARMOSQL* sql) { mSQL = sql; }
    TARMOVSS* ActiveVSSConnection() const { return mVSS; }
    void SetActiveVSSConnection(TARMOVSS* vss) { mVSS = vss; }
    TARMOIcons* Icons() const { return mIcons; }
    void SetIcons(TARMOIcons* icons) { mIcons = icons; }
    const TARMOTriggersInfo* TriggersInfo() const { return mTriggersInfo; }
    void SetTriggersInfo(const TARMOTriggersInfo* info) { mTriggersInfo = info; }
    // Always True: the list never reads the store.
    bool CheckSQLOnly() const { return true; }

    // --- Events, as the other lists raise them.
    std::function<void(long CurrentItemNumber, long TotalItems, bool& Cancel)> RetrieveStatusChange;
    std::function<void(long CurrentItemNumber, long TotalItems, bool& Cancel)> AddingStatusChange;
    std::function<void()> CompletedCurrentStatus;

    // --- The collection. There is no deleted list: the second argument is the error switch.
    Object Item(const QString& ObjectID, bool bHideError = false) const;
    int Count() const { return mItems.Count(); }
    bool IsTable(const QString& ObjectID) const { return ObjectIsOfThisType(ObjectID); }
    bool ObjectIsOfThisType(const QString& ObjectID) const;
    void RemoveItem(const QString& ObjectID);
    // Takes the entry out and adds it at the end under its current DBID.
    void ChangeKey(const QString& OldObjectID);
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

    // --- Reading
    // Reads the catalogue; tables that it no longer holds stay until their node's own refresh.
    void RefreshList(bool& bCancel);
    // nullptr when cancelled.
    std::unique_ptr<TARMODBTItems> GetItemInfo(bool bShowOwnerInName);
    TARMOContextMenu GetContextMenu() const { return TARMOContextMenu(); }

    void LoadIcons();

private:
    bool raise(const std::function<void(long, long, bool&)>& event, long current, long total);

    QString mObjectType = QStringLiteral("Tables");
    TARMOTable mKind;
    KeyedCollection<Object> mItems;
    TARMODatabase* mDatabase = nullptr;
    TARMOSQL* mSQL = nullptr;
    TARMOVSS* mVSS = nullptr;
    TARMOIcons* mIcons = nullptr;
    const TARMOTriggersInfo* mTriggersInfo = nullptr;
};
