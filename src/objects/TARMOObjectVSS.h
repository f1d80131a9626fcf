#pragma once

#include "StoreLocation.h"
#include "TARMODescription.h"
#include "TARMOFields.h"
#include "TARMOHistoryData.h"
#include "TARMOPermissions.h"
#include "modParser.h"

#include <QList>
#include <QString>

#include <memory>

class TARMODBTItem;
class TARMODBTItems;
class TARMOIcons;
class TARMOObjectList;
class TARMOSQL;
class TARMOVSS;

// What a selected object offers; every entry starts off and DisplayName empty.
struct TARMOContextMenu {
    bool Edit = false;
    bool Rename = false;
    bool Delete = false;
    QString DisplayName;
    bool AddToVSS = false;
    bool AddToSQL = false;
    bool DeleteFromVSS = false;
    bool DeleteFromSQL = false;
    bool EditPermissions = false;
    bool GetLatestVersion = false;
    bool CheckIn = false;
    bool CheckOut = false;
    bool UndoCheckout = false;
};

// One version in the date summary of an object.
struct TARMODateSummaryEntry {
    QString VersionDate;
    QString Comment;
    QString VersionNumber;
};

// One source-controlled database object: what SQL Server knows of it (name, owner, text, parameters)
// joined with what the version store knows (the versioned text, its holder, history, description),
// and the state derived from the two. It keeps no text: every question about a text goes to a store
// when it is asked. The four kinds derive from it and set their constants at creation; the object
// lists alone write its identity and presence fields.
//
// The store file of an object is named by its catalogue id (DBID + VSSExt), not by its name, so a
// rename in SQL Server needs no new file, and a file whose object was dropped and created again is
// matched through the name inside its text.
class TARMOObjectVSS {
public:
    // The short names the windows use for the two stores.
    static constexpr StoreLocation LocationVSS = StoreLocation::VersionStore;
    static constexpr StoreLocation LocationSQL = StoreLocation::SqlServer;

    virtual ~TARMOObjectVSS();
    TARMOObjectVSS(const TARMOObjectVSS&) = delete;
    TARMOObjectVSS& operator=(const TARMOObjectVSS&) = delete;

    // --- Identity and state (written by the object lists)
    const QString& Name() const { return mName; }
    const QString& Owner() const { return mOwner; }
    const QString& DBID() const { return mDBID; }
    bool InSQL() const { return mInSQL; }
    bool InVSS() const { return mInVSS; }
    const QString& CheckedOutBy() const { return mCheckedOutBy; }
    bool IsNew() const { return mIsNew; }
    TARMOSQL* ActiveDBConnection() const { return mSQL; }
    TARMOVSS* ActiveVSSConnection() const { return mVSS; }
    TARMOIcons* Icons() const { return mIcons; }
    TARMODescription& DescriptionStore() { return mDescriptionStore; }
    // The list that holds the object; nullptr for one made outside a list.
    TARMOObjectList* ParentList() const { return mParentList; }

    // --- Constants of the kind
    const QString& ObjectType() const { return mObjectType; }
    const QString& ObjectDisplayName() const { return mObjectDisplayName; }
    // The kind and the qualified name, as a message names the object: "view dbo.CustomerSummary".
    QString StoreObjectName() const;
    const QString& ParentObjectType() const { return mParentObjectType; }
    const QString& TreeParentObjectType() const { return mParentObjectType; }
    const QString& TreeParentObjectKey() const { return mParentObjectType; }
    const QString& IconPrefix() const { return mIconPrefix; }
    const QString& VSSExt() const { return mVSSExt; }
    const QString& FileExtension() const { return mVSSExt; }
    int PermissionMode() const { return mPermissionMode; }
    bool ObjectPermissionExecuteOnly() const { return mPermissionMode == 1; }
    bool ObjectPermissionExecAndRefOnly() const { return mPermissionMode == 2; }
    const QString& BlankFieldDisplayName() const { return mBlankFieldDisplayName; }
    bool HasPermissions() const { return mHasPermissions; }
    const QString& DocumentMiddleName() const { return mDocumentMiddleName; }
    // The keyword sequences in front of the object's name in its text.
    const modParser::SQLKeywords& Parse() const { return mParse; }
    bool IsEditable() const { return true; }
    const QString& ParameterQuery1() const { return mParameterQuery1; }
    const QString& ParameterQuery2() const { return mParameterQuery2; }
    // The halves around SqlQuote::Literal(SqlQuote::TwoPartName(owner, name)); the drop halves take
    // the same literal, then the quoted name again as the identifier to drop.
    const QString& ExistsSQL1() const { return mExistsSQL1; }
    const QString& ExistsSQL2() const { return mExistsSQL2; }
    const QString& DropSQL1() const { return mDropSQL1; }
    QString DropSQL2() const;
    QString DBQueryStart() const;
    const QString& DBQueryByName() const { return mDBQueryByName; }
    const QString& DBQueryByOwner() const { return mDBQueryByOwner; }
    const QString& DBQueryByID() const { return mDBQueryByID; }

    // --- Derived
    bool IsCheckedOut() const { return !mCheckedOutBy.isEmpty(); }
    // Compared case-sensitively: a holder that differs in letter case is somebody else.
    bool IsCheckedOutByMe() const;
    bool RemovalRequest() const { return !(mInVSS && mInSQL); }
    bool IsDeleted();
    // The object's text item: DBID + VSSExt.
    QString ItemName() const { return mDBID + mVSSExt; }
    // The key of the state icon, or with bGetDefaultIcon the kind's plain key.
    QString IconToUse(bool bGetDefaultIcon = false) const;
    // What the icon table calls a key: the key in upper case, or "-".
    QString IconName(const QString& key) const;

    // --- Files
    // The working file; for a new object its temporary file. Fetches the latest version first where
    // no file stands there, and gives the path in any case.
    QString FileName();
    // Only for a new object: the file given replaces the temporary one, which goes.
    void SetFileName(const QString& path);
    const QString& NewFileName() const { return mNewFileName; }
    bool OwnsNewFile() const { return mOwnsNewFile; }
    // Deletes the temporary file of a new object if the object made it.
    void ClearNewObjectFile();

    // --- Reading the stores
    // Re-reads both stores: the one way of learning what is true now.
    void RefreshState();
    // Re-reads the object and gives the record of its node.
    std::unique_ptr<TARMODBTItem> Refresh(bool bShowOwnerInName);
    bool SQLAndVSSDiffer();
    // From the store, VersionNumber -1 the latest; SQL Server has only its present text.
    QString GetContent(StoreLocation getContentLocation = LocationVSS, long VersionNumber = -1,
                       bool GetAlterContent = false);
    virtual TARMOFields GetFields(bool bIncludeNullable = true);
    // The children of the object's node.
    virtual std::unique_ptr<TARMODBTItems> GetItemInfo(bool bDisplayOwner, bool bOnlyFields = false,
                                                       bool bIncludeNullable = true);
    TARMOContextMenu GetContextMenu(bool bShowOwnerInName = false) const;
    // From element 1, as TARMOVSS gives it; deleted versions left out.
    QList<TARMOHistoryData> History();
    QString Description();
    void SetDescription(const QString& value);
    QString FirstDate();
    QString LastDate();
    // One entry per version, sorted by date (a stable exchange sort).
    QList<TARMODateSummaryEntry> DateSummary(bool OrderByDateAsc = true);
    QString DropScript() const;

    // --- Actions. SQL Server holds the compiled object and the store the source: a check-in changes
    // SQL Server first, since compiling there is the test that counts, and the store keeps the CREATE
    // form while SQL Server is changed by ALTER. Nothing is rolled back across the stores; a
    // synchronization repairs what a failure leaves apart.
    // Fetches the latest text into the working file, then re-reads the state.
    bool GetLatestVersion();
    // False for a new object, without a message.
    bool CheckOut();
    // Undoes the check-out and fetches the latest text again; False for a new object.
    bool UndoCheckout();
    // Compiles the text under a throw-away name and drops that again; for an existing object the
    // text must still name it (owner and name, letter case aside).
    bool TestItem(const QString& strContent);
    // strContent is the whole CREATE text. A new object is created and added to the store; an
    // existing one is altered and checked in.
    virtual bool CheckIn(const QString& strContent, const QString& strComment);
    // The object is added to the store named from the other store. Adding to SQL Server refuses a
    // text that creates no object of the kind, and leaves the store item as it was.
    bool SyncAdd(StoreLocation addLocation);
    // Removes the object from the store named; a failing statement goes to the caller.
    bool SyncRemove(StoreLocation removeLocation);
    // The store named takes the other store's text.
    bool SyncChange(StoreLocation chngLocation);
    // Empty for a kind without permissions, a new object and one that isn't in SQL Server.
    TARMOPermissions GetPermissions(bool bOnlyShowSetPermissions = true, long ListFilter = 0);

    // --- Identity changes. The store item is named by the catalogue id, and the server gives a new
    // id to every object it creates, so a new name means a new object: each of these creates the new
    // object first, moves the store item to the new id, and only then drops the old one. A failure
    // before the store step leaves the old object whole (at most with the new one beside it, for a
    // synchronization to show); the permissions come last, and losing them is a warning only.
    // Refusals and failures are reported here; bSilent is accepted for the callers' sake.
    bool RenameItem(const QString& NewName, bool bSilent = false);
    // Drops the object and deletes its item, which the store keeps as a deleted item for UnDelete.
    // The caller asks first. A refused drop goes to the caller.
    bool DeleteItem();
    // The object takes the text of an earlier version; one from before a rename brings the old name
    // back under a new id. bSilent leaves out the two warnings of a refusal. True when the object
    // now has the version's text; a refused ALTER (same name) goes to the caller.
    bool Rollback(long RollbackToVersion, bool bSilent = false);
    // For an object of the deleted list: created again from its last text, and its item brought back
    // under the new id. It comes back without permissions.
    bool UnDelete(bool bSilent = false);
    // A server's refusal as the user reads it.
    static QString CleanSQLError(const QString& description);

    // The name a syntax test compiles under: "[sptmp_" + yyyymmddhhnnss + "_" + 1..2001 + "]".
    static QString TemporaryObjectName();
    // The keyword sequences of a parse table as the syntax messages name them:
    // "CREATE PROC" or "CREATE PROCEDURE".
    static QString KeywordListText(const modParser::SQLKeywords& keywords);
    // A server's message without the prefixes that the drivers put in front of it.
    static QString StripDriverPrefix(const QString& text);
    // Sent to the object when its first check-in made it real; the parent list files it by name.
    void NewItemCreated_Event();

protected:
    TARMOObjectVSS();

    // Constants, set once by the kind.
    void SetObjectType(const QString& value) { mObjectType = value; }
    void SetObjectDisplayName(const QString& value) { mObjectDisplayName = value; }
    void SetParentObjectType(const QString& value) { mParentObjectType = value; }
    void SetIconPrefix(const QString& value) { mIconPrefix = value; }
    void SetVSSExt(const QString& value) { mVSSExt = value; }
    void SetPermissionMode(int value) { mPermissionMode = value; }
    void SetBlankFieldDisplayName(const QString& value) { mBlankFieldDisplayName = value; }
    void SetHasPermissions(bool value) { mHasPermissions = value; }
    void SetDocumentMiddleName(const QString& value) { mDocumentMiddleName = value; }
    void SetParse(const modParser::SQLKeywords& value) { mParse = value; }
    // The strings every kind shares, then the kind's own condition and words.
    void SetSQLStrings(const QString& existsSQL2, const QString& dbQueryCondition, const QString& dropWords);

    // The owner line among the children of the node (key "OWNER" + DBID).
    void AddOwnerItem(TARMODBTItems& items) const;

private:
    friend class TARMOObjectList;
    // Lets the tests put an object into a state that a later action (a first check-in) would make.
    friend struct ObjectStateAccess;

    void SetName(const QString& value) { mName = value; }
    void SetOwner(const QString& value) { mOwner = value; }
    void SetDBID(const QString& value) { mDBID = value; }
    void SetInSQL(bool value) { mInSQL = value; }
    void SetInVSS(bool value) { mInVSS = value; }
    void SetCheckedOutBy(const QString& value) { mCheckedOutBy = value; }
    void SetIsNew(bool value);
    void SetActiveDBConnection(TARMOSQL* sql) { mSQL = sql; }
    void SetActiveVSSConnection(TARMOVSS* vss);
    void SetIcons(TARMOIcons* icons) { mIcons = icons; }
    void SetParentList(TARMOObjectList* list) { mParentList = list; }

    QString NewObjectFileName();
    // The drop script of the kind for a name already quoted as an identifier.
    QString dropScriptFor(const QString& quotedName) const;
    bool checkInNew(const QString& strContent, const QString& strComment);
    // "owner.name", or the name alone where the owner is "".
    QString qualifiedDisplayName() const;
    // Where a file of this object names its object: owner and name, or "" when it names none.
    QString NameInText(const QString& text) const;
    qint64 VersionSeconds(const TARMOHistoryData& entry) const;
    QList<TARMOHistoryData> DatedHistory();

    QString mName;
    QString mOwner;
    QString mDBID;
    bool mInSQL = false;
    bool mInVSS = false;
    QString mCheckedOutBy;
    bool mIsNew = false;
    TARMOSQL* mSQL = nullptr;
    TARMOVSS* mVSS = nullptr;
    TARMOIcons* mIcons = nullptr;
    TARMODescription mDescriptionStore;
    QString mNewFileName;
    bool mOwnsNewFile = false;
    TARMOObjectList* mParentList = nullptr;

    QString mParameterQuery1;
    QString mParameterQuery2;
    QString mExistsSQL1;
    QString mExistsSQL2;
    QString mDropSQL1;
    QString mDropWords;
    QString mDBQueryCondition;
    QString mDBQueryByName;
    QString mDBQueryByOwner;
    QString mDBQueryByID;
    modParser::SQLKeywords mParse;
    QString mVSSExt;
    QString mObjectType;
    QString mObjectDisplayName;
    QString mParentObjectType;
    QString mIconPrefix;
    int mPermissionMode = 0;
    QString mBlankFieldDisplayName;
    bool mHasPermissions = true;
    QString mDocumentMiddleName;
};
