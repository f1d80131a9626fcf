#pragma once

#include "KeyedCollection.h"
#include "TARMOPermission.h"

#include <QString>

class TARMOSQL;

// The object permissions of one database object: for each listed role or user which statements are
// granted, denied or neither. Read from SQL Server, written back statement by statement, and given as
// a script. Permissions aren't versioned: the database alone holds them.
class TARMOPermissions {
public:
    // The list filter of Show.
    enum Filter : long { RolesAndUsers = 0, RolesOnly = 1, UsersOnly = 2 };
    // The first id of a role that the database's users made; the fixed roles lie below it.
    static constexpr long FirstUserRoleID = 16400;

    TARMOSQL* ActiveDBConnection = nullptr;
    QString DatabaseID;
    bool HasExecuteOnly = false;
    bool HasExecAndRefOnly = false;
    long Show = RolesAndUsers;
    // Read only the grantees that have a permission set (one round trip), instead of every role
    // and user (one round trip each).
    bool QuickList = false;

    TARMOPermission& Item(const QString& Name) { return mItems.Item(Name); }
    TARMOPermission& Item(int position) { return mItems.Item(position); }
    const TARMOPermission& Item(int position) const { return mItems.Item(position); }
    bool Contains(const QString& Name) const { return mItems.Contains(Name); }
    int Count() const { return mItems.Count(); }
    // Appends a line under its name, as reading does; a name already listed raises.
    void Add(const TARMOPermission& line) { mItems.Add(line, line.Name); }
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }
    auto begin() { return mItems.begin(); }
    auto end() { return mItems.end(); }

    // Fills the set from the database; an object that no longer exists leaves it empty.
    void GetItemPermissions();
    // Runs one statement per line and statement word; the first refusal goes to the caller, and what
    // went through before it stays done. False when the object no longer exists.
    bool Save();
    // The set as statements, each behind a CR LF. With both names given the statements name that
    // object instead of the one read; "" when the object no longer exists.
    QString CreateScript(const QString& strObjectName = QString(), const QString& strOwnerName = QString());

private:
    // "[owner].[name]" of DatabaseID, and its owner; False without a row.
    bool resolveObject(QString& qualifiedName, QString& ownerName) const;
    void readAll(const QString& qualifiedName, const QString& ownerName);
    void readQuick(const QString& qualifiedName, const QString& ownerName);
    TARMOPermission newLine(const QString& name, bool isRole, const QString& ownerName) const;
    bool isRole(const QString& name) const;

    KeyedCollection<TARMOPermission> mItems;
};
