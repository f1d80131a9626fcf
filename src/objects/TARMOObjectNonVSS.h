#pragma once

#include "TARMOFields.h"
#include "TARMOObjectVSS.h"
#include "TARMOPermissions.h"

#include <QString>

#include <memory>

class TARMODBTItem;
class TARMODBTItems;
class TARMOIcons;
class TARMOSQL;
class TARMOVSS;

// A database object that isn't versioned: it lives in SQL Server alone, has a name, an owner,
// columns and permissions, but no text, no description and no state icon. Tables are its only kind,
// which derives from it and sets the constants.
class TARMOObjectNonVSS {
public:
    virtual ~TARMOObjectNonVSS();
    TARMOObjectNonVSS(const TARMOObjectNonVSS&) = delete;
    TARMOObjectNonVSS& operator=(const TARMOObjectNonVSS&) = delete;

    const QString& Name() const { return mName; }
    const QString& Owner() const { return mOwner; }
    const QString& DBID() const { return mDBID; }
    TARMOSQL* ActiveDBConnection() const { return mSQL; }
    TARMOVSS* ActiveVSSConnection() const { return mVSS; }
    TARMOIcons* Icons() const { return mIcons; }

    const QString& ObjectType() const { return mObjectType; }
    const QString& ObjectDisplayName() const { return mObjectDisplayName; }
    const QString& IconToUse() const { return mIconToUse; }
    const QString& BlankFieldDisplayName() const { return mBlankFieldDisplayName; }
    const QString& ParameterQuery1() const { return mParameterQuery1; }
    const QString& ParameterQuery2() const { return mParameterQuery2; }
    const QString& DBQuery() const { return mDBQuery; }
    const QString& DBQueryByName() const { return mDBQueryByName; }
    const QString& DBQueryByOwner() const { return mDBQueryByOwner; }
    int PermissionMode() const { return 0; }
    bool ObjectPermissionExecuteOnly() const { return false; }
    bool ObjectPermissionExecAndRefOnly() const { return false; }
    bool HasPermissions() const { return true; }
    bool IsEditable() const { return false; }

    // What the icon table calls a key: the key in upper case, or "-".
    QString IconName(const QString& key) const;

    // The columns; each gets its type line and its nullability line.
    TARMOFields GetFields();
    // The children of the node: owner line, columns, permission node.
    virtual std::unique_ptr<TARMODBTItems> GetItemInfo(bool bDisplayOwner);
    // Asks whether the table still exists, also under a new id with the same name and owner.
    std::unique_ptr<TARMODBTItem> Refresh(bool bShowOwnerInName);
    // Only the permissions, with no name to show.
    TARMOContextMenu GetContextMenu() const;
    TARMOPermissions GetPermissions(bool bOnlyShowSetPermissions = true, long ListFilter = 0);

protected:
    TARMOObjectNonVSS();
    void SetObjectType(const QString& value) { mObjectType = value; }
    void SetObjectDisplayName(const QString& value) { mObjectDisplayName = value; }
    void SetIconToUse(const QString& value) { mIconToUse = value; }

private:
    friend class TARMOTables;
    void SetName(const QString& value) { mName = value; }
    void SetOwner(const QString& value) { mOwner = value; }
    void SetDBID(const QString& value) { mDBID = value; }
    void SetActiveDBConnection(TARMOSQL* sql) { mSQL = sql; }
    void SetActiveVSSConnection(TARMOVSS* vss) { mVSS = vss; }
    void SetIcons(TARMOIcons* icons) { mIcons = icons; }

    QString mName;
    QString mOwner;
    QString mDBID;
    TARMOSQL* mSQL = nullptr;
    TARMOVSS* mVSS = nullptr;
    TARMOIcons* mIcons = nullptr;
    QString mObjectType;
    QString mObjectDisplayName;
    QString mIconToUse;
    QString mBlankFieldDisplayName;
    QString mParameterQuery1;
    QString mParameterQuery2;
    QString mDBQuery;
    QString mDBQueryByName;
    QString mDBQueryByOwner;
};
