#pragma once

#include "KeyedCollection.h"
#include "TARMOObjectVSS.h"

#include <QHash>
#include <QString>

#include <functional>
#include <memory>

class DbRecordset;
class TARMODBTItems;
class TARMODatabase;
class TARMOIcons;
class TARMOSQL;
class TARMOVSS;
class TARMOVSSItems;

// The objects of one kind in a project. RefreshList is where the picture of the project comes into
// being: the catalogue's objects and the store's files are merged by DBID, file names that no longer
// fit are repaired, and what neither store holds any more is dropped. Objects are kept across
// refreshes, so an open editor's object stays valid and keeps its place.
//
// A refresh costs a constant number of round trips to each store, whatever the size of the project:
// the catalogue list and the owners are two statements, the files with their holders one store call,
// the descriptions of the records one more. Only files that no object explains cost a read each way.
class TARMOObjectList {
public:
    using Object = std::shared_ptr<TARMOObjectVSS>;

    virtual ~TARMOObjectList();
    TARMOObjectList(const TARMOObjectList&) = delete;
    TARMOObjectList& operator=(const TARMOObjectList&) = delete;

    // --- Constants
    const QString& ObjectType() const { return mObjectType; }
    const QString& ObjectDisplayName() const { return mObjectDisplayName; }
    const QString& IconToUse() const { return mIconToUse; }
    bool IsRootNode() const { return mIsRootNode; }
    bool IsEditable() const { return mKind->IsEditable(); }
    const QString& SubObjectType() const { return mKind->ObjectType(); }
    const QString& SubObjectDisplayName() const { return mKind->ObjectDisplayName(); }
    // The catalogue query of the list, ordered by name.
    const QString& ListQuery() const { return mListQuery; }

    // --- Links, none of them owned
    TARMODatabase* Database() const { return mDatabase; }
    void SetDatabase(TARMODatabase* database) { mDatabase = database; }
    TARMOSQL* ActiveDBConnection() const { return mSQL; }
    void SetActiveDBConnection(TARMOSQL* sql) { mSQL = sql; }
    TARMOVSS* ActiveVSSConnection() const { return mVSS; }
    void SetActiveVSSConnection(TARMOVSS* vss) { mVSS = vss; }
    TARMOIcons* Icons() const { return mIcons; }
    void SetIcons(TARMOIcons* icons) { mIcons = icons; }
    // The list reads SQL Server alone (comparing with another database); every object comes out
    // with InVSS False.
    bool CheckSQLOnly() const { return mCheckSQLOnly; }
    void SetCheckSQLOnly(bool value) { mCheckSQLOnly = value; }

    // --- Events: a handler that sets Cancel stops the run at once.
    std::function<void(long CurrentItemNumber, long TotalItems, bool& Cancel)> RetrieveStatusChange;
    std::function<void(long CurrentItemNumber, long TotalItems, bool& Cancel)> AddingStatusChange;
    std::function<void()> CompletedCurrentStatus;

    // --- The collection
    // By bare DBID or by a tree key (one letter + DBID). Not found: nullptr with bHideError, else
    // the collection's error is raised. bDeleted looks in the deleted list instead.
    Object Item(const QString& ObjectID, bool bDeleted = false, bool bHideError = false) const;
    int Count(bool bDeleted = false) const;
    // Never raises.
    bool ObjectIsOfThisType(const QString& ObjectID) const;
    // Cuts the first character only where the id given isn't numeric.
    void RemoveItem(const QString& ObjectID, bool bDeleted = false);
    // Files an object whose DBID changed under its new id: before position lOldIndex where that lies
    // within the list, else at the end.
    void ChangeKey(const QString& OldObjectID, long lOldIndex = 0);
    // The id of an object of this kind by its name (owner optional), "" without one.
    QString FindIDByName(const QString& name);
    // The object of this kind named so ("owner.name" or "name", in any case), refreshed as RefreshList
    // would refresh it but alone: one catalogue statement and one store look-up. Where that can't
    // explain the object (the catalogue has no such object, or its file isn't under its id: an object
    // only the store holds, a file to be re-keyed) the whole list is refreshed instead. nullptr when
    // the list has no such object.
    Object RefreshItemByName(const QString& name);

    // Over the main list, in list order.
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

    // --- Reading
    // Rebuilds the main list from both stores; bCancel goes out True if a handler stopped it.
    void RefreshList(bool& bCancel);
    // The objects as tree records, refreshed first; nullptr when cancelled.
    std::unique_ptr<TARMODBTItems> GetItemInfo(bool bShowOwnerInName);
    // A list offers nothing itself.
    TARMOContextMenu GetContextMenu() const { return TARMOContextMenu(); }

    // --- New objects
    // A new, unsaved object with its temporary file; it joins the main list on its first check-in.
    Object newItem();
    // Moves a new object into the main list, filed by name.
    void ItemAdded_Event(TARMOObjectVSS* objAdded);

    // Enters the list's and the kind's icon keys into Icons.
    void LoadIcons();

    // The objects whose items were deleted from the store and can be brought back, filed anew in
    // the deleted list (key "I" + DBID); nullptr when a listener cancelled.
    std::unique_ptr<TARMODBTItems> GetDeletedItems(bool bShowOwnerInName = false);

    // --- Identity changes, keeping the keys right: a renamed object is filed under its new id at
    // its old place, a deleted one leaves the list. False for an id the list doesn't hold.
    bool RenameItem(const QString& ObjectID, const QString& NewName);
    bool DeleteItem(const QString& ObjectID);
    // Brings back an object of the deleted list (as GetDeletedItems filled it); it leaves that list
    // whatever the outcome. The caller refreshes the main list to see it there.
    bool UnDeleteObject(const QString& ObjectID);

protected:
    TARMOObjectList(const QString& objectType, const QString& objectDisplayName, const QString& iconToUse,
                    bool isRootNode, const QString& listQuery, const QString& findByNameCondition);

    // Builds the list's kind object; the constructor of the derived list must call Initialize.
    virtual Object CreateObject() const = 0;
    void Initialize();
    // What a catalogue row adds beyond id, name and owner.
    virtual void TakeRow(TARMOObjectVSS& object, const DbRecordset& row) const;
    // Records for the objects that pass the filter; the progress events run over all of them. With a
    // catalogue condition that picks exactly the objects that pass the filter, only those are
    // refreshed (see refreshPart), and the progress events run over them.
    std::unique_ptr<TARMODBTItems> BuildItemInfo(bool bShowOwnerInName,
                                                 const std::function<bool(const TARMOObjectVSS&)>& wanted,
                                                 const QString& condition = QString());
    virtual QStringList ExtraIcons() const { return {}; }
    // What stands behind a deleted object's name in its record.
    virtual QString DeletedItemSuffix(const QString& text) const;

private:
    Object makeObject();
    Object exact(const QString& id) const;
    bool raise(const std::function<void(long, long, bool&)>& event, long current, long total);
    // The refresh; withDescriptions reads the descriptions in the same visit of the store folder.
    void refresh(bool& bCancel, bool withDescriptions);
    void refreshFromCatalogue(long& current, long total, bool& bCancel);
    void refreshFromStore(TARMOVSSItems& files, long& current, long total, bool& bCancel);
    // Gives a file the name of a new id; its description item (and the text read of it) goes along.
    bool rekeyFile(const QString& fileName, const QString& newFileName);
    void dropObjectsInNeitherStore();
    // The list query narrowed to the rows that `condition` (a catalogue condition over sysobjects)
    // picks, with each row's owner as UserName; "" for a list query it can't narrow.
    QString narrowedListQuery(const QString& condition) const;
    // Refreshes only the objects that `condition` picks from the catalogue and those of the list that
    // `belongs` counts among them, with one statement and one store look-up, where the descriptions
    // come along if asked. False, with nothing changed, where that part can't be refreshed alone: a
    // row of the catalogue whose file isn't under its id, which only the whole refresh can place.
    bool refreshPart(const QString& condition, const std::function<bool(const TARMOObjectVSS&)>& belongs,
                     bool withDescriptions, bool& bCancel);
    QString nameInText(const QString& text) const;

    QString mObjectType;
    QString mObjectDisplayName;
    QString mIconToUse;
    bool mIsRootNode = true;
    QString mListQuery;
    QString mFindByNameCondition;
    Object mKind; // a temporary object of the kind, for its constants and parse table

    KeyedCollection<Object> mItems;
    KeyedCollection<Object> mDeletedItems;
    QList<Object> mNewItems;

    TARMODatabase* mDatabase = nullptr;
    TARMOSQL* mSQL = nullptr;
    TARMOVSS* mVSS = nullptr;
    TARMOIcons* mIcons = nullptr;
    bool mCheckSQLOnly = false;
    QHash<QString, QString> mDescriptions; // of the last refresh that read them, by item name in lower case
};
