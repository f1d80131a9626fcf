#pragma once

#include "TARMODBTItems.h"
#include "TARMOFields.h"
#include "TARMOIcons.h"
#include "TARMOObjectRef.h"
#include "TARMOTriggersInfo.h"

#include <QList>
#include <QString>

#include <functional>
#include <memory>

class TARMODatabase;
class TARMOObjectList;
class TARMOProject;
class TARMOSQL;
class TARMOStoredProcedures;
class TARMOTables;
class TARMOTriggers;
class TARMOUserDefinedFunctions;
class TARMOViews;

// The object half of the core. Windows never hold an object list: they name a thing by a tag and a
// key and ask here. Every operation finds the list in charge by walking the registry (stored
// procedures, tables, user defined functions, views, triggers) and comparing the tag with each
// list's tag and then with its kind's tag, so one tag answers for a list and for its objects; the
// first match decides. Nothing here decides about a store: it finds a list or an object and
// forwards.
//
// Lives next to the project: BindProject builds the five lists anew over the project's two
// connections, which discards every object handed out before.
class TARMODatabaseObjects {
public:
    // The settings (owner names, permission filter) are read from the core at each call.
    explicit TARMODatabaseObjects(TARMODatabase& settings);
    TARMODatabaseObjects(TARMODatabase& settings, TARMOProject* project);
    ~TARMODatabaseObjects();
    TARMODatabaseObjects(const TARMODatabaseObjects&) = delete;
    TARMODatabaseObjects& operator=(const TARMODatabaseObjects&) = delete;

    // Builds the lists anew over the project's connections (nullptr: no connections).
    void BindProject(TARMOProject* project);
    TARMOProject* Project() const { return mProject; }

    // The shared icon table: every list's keys and the core's own.
    TARMOIcons& Icons() { return mIcons; }

    // --- The registry
    TARMOStoredProcedures& StoredProcedures() { return *mStoredProcedures; }
    TARMOTables& Tables() { return *mTables; }
    TARMOUserDefinedFunctions& UserDefinedFunctions() { return *mUserDefinedFunctions; }
    TARMOViews& Views() { return *mViews; }
    TARMOTriggers& Triggers() { return *mTriggers; }
    // The four lists of versioned objects in registry order (the tables list is no such list).
    QList<TARMOObjectList*> EditableLists() const;

    // --- The tree
    // The children of a node: "Start" the top level, "Permission" the grantees of an object, a list
    // tag the list's objects (the triggers below the table of strKey), a kind tag the object's
    // fields and lines. Nothing matched: empty. nullptr where a listener cancelled a list refresh.
    std::unique_ptr<TARMODBTItems> GetItemInfo(const QString& strTag, const QString& strKey,
                                               bool bOnlyFields = false, bool bIncludeNullable = true);
    // The top level: Stored Procedures, Tables, User Defined Functions (where the server has them),
    // Views, each with a placeholder child.
    std::unique_ptr<TARMODBTItems> AvailableDBTObjects();
    // The kinds that can be edited (no placeholders).
    std::unique_ptr<TARMODBTItems> AvailableEditableObjects();
    // Re-reads one node; nullptr when no list knows the tag. An object found in one store only
    // leaves its list, one found under a new id is re-filed at the end.
    std::unique_ptr<TARMODBTItem> RefreshItem(const QString& ObjectTag, const QString& ObjectKey);

    // --- Objects
    // By kind tag and key ("I" + DBID or the bare DBID); empty for any other tag. A key that the
    // list doesn't hold raises the list's error. bDeletedObject looks among the deleted objects.
    TARMOObjectRef GetObject(const QString& ObjectTag, const QString& ObjectKey, bool bDeletedObject = false);
    // The list of that list tag, refreshed; nullptr for no list or for the tables, which are
    // reached through Tables().
    TARMOObjectList* GetObjectObjects(const QString& ObjectKey);
    // The kind tag of the list that holds the key, "" if none does.
    QString GetObjectType(const QString& ObjectKey) const;
    // The fields of the object with that id; empty if no list knows it.
    TARMOFields GetObjectFields(const QString& ObjectID);
    // The two out-arguments become "", or the table's name and owner if the tables list knows the
    // key. The tag isn't looked at.
    bool GetTableName(const QString& strObjectTag, const QString& strObjectKey, QString& strTableName,
                      QString& strTableOwner) const;
    // What the thing offers: an object by the enabling rules, a table only its permissions, anything
    // else nothing.
    TARMOContextMenu GetContextMenu(const QString& ObjectTag, const QString& ObjectKey);
    QString GetObjectSubDisplayName(const QString& SubObjectTag) const;
    // A new, unsaved object of that kind tag; nullptr for any other tag.
    std::shared_ptr<TARMOObjectVSS> NewItemOfType(const QString& ObjectType);
    bool CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) const;

    // The deleted items of each editable list (or of the list of that list tag), one collection
    // per list, in registry order.
    QList<std::shared_ptr<TARMODBTItems>> GetObjectsForUndeleteing(const QString& ObjectKey = QString());

    // --- Identity changes, by the kind tag of the list in charge; False where no list of versioned
    // objects has that tag (tables included). The key is "I" + DBID or the bare DBID.
    bool RenameItem(const QString& ObjectTag, const QString& ObjectKey, const QString& NewName);
    bool DeleteItem(const QString& ObjectTag, const QString& ObjectKey);
    // An object of the deleted list that GetObjectsForUndeleteing filled.
    bool UnDeleteObject(const QString& ObjectTag, const QString& ObjectKey);

    // --- The other menus: one item per editable list, in registry order.
    // Key the kind tag, Text its display name.
    std::unique_ptr<TARMODBTItems> GetItemsForNewMenu() const;
    // Key the list tag, Text its display name.
    std::unique_ptr<TARMODBTItems> GetItemsForSyncronisation() const;
    std::unique_ptr<TARMODBTItems> GetItemsForDocGen() const;
    std::unique_ptr<TARMODBTItems> GetItemsForScriptGen() const;

    // Lists over another database, to compare it with the project: stored procedures, triggers, user
    // defined functions (where the project's server has them), views; they read SQL Server alone.
    // They live until the next call or the end of the core.
    QList<TARMOObjectList*> SetupAvailableEditableObjectsForAnotherDB(TARMOSQL* SQLConn);

    // --- Events of every list, relayed with the list's tag and display name in front. Cancel
    // passes by reference, so a listener here stops the list.
    std::function<void(const QString& ObjectType, const QString& ObjectDisplayName, long CurrentItemNumber,
                       long TotalItems, bool& Cancel)>
        RetrieveStatusChange;
    std::function<void(const QString& ObjectType, const QString& ObjectDisplayName, long CurrentItemNumber,
                       long TotalItems, bool& Cancel)>
        AddingStatusChange;
    std::function<void(const QString& ObjectType, const QString& ObjectDisplayName)> CompletedCurrentStatus;

private:
    // One registry entry: a list of versioned objects or the tables list.
    struct Entry {
        TARMOObjectList* list = nullptr;
        TARMOTables* tables = nullptr;
        QString ObjectType() const;
        QString ObjectDisplayName() const;
        QString SubObjectType() const;
        QString SubObjectDisplayName() const;
        QString IconToUse() const;
        bool IsRootNode() const;
        bool IsEditable() const;
        bool ObjectIsOfThisType(const QString& key) const;
    };
    QList<Entry> registry() const;

    void buildLists(TARMOSQL* sql, TARMOVSS* vss);
    void loadCoreIcons();
    template <typename List> void relayEvents(List& list);
    bool functionsAllowed() const;
    std::unique_ptr<TARMODBTItems> permissionItems(const TARMOObjectRef& object);
    std::unique_ptr<TARMODBTItems> menuItems(bool bySubObject) const;
    // The list of versioned objects whose kind has that tag.
    TARMOObjectList* listOfKind(const QString& ObjectTag) const;

    TARMODatabase& mSettings;
    TARMOProject* mProject = nullptr;
    TARMOIcons mIcons;
    TARMOTriggersInfo mTriggersInfo;
    std::unique_ptr<TARMOStoredProcedures> mStoredProcedures;
    std::unique_ptr<TARMOTables> mTables;
    std::unique_ptr<TARMOUserDefinedFunctions> mUserDefinedFunctions;
    std::unique_ptr<TARMOViews> mViews;
    std::unique_ptr<TARMOTriggers> mTriggers;
    std::unique_ptr<TARMOStoredProcedures> mExtraObjInstSPs;
    std::unique_ptr<TARMOTriggers> mExtraObjInstTRGs;
    std::unique_ptr<TARMOUserDefinedFunctions> mExtraObjInstUDFs;
    std::unique_ptr<TARMOViews> mExtraObjInstVWs;
};
