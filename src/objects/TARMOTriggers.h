#pragma once

#include "TARMOObjectList.h"

class TARMOTables;

// The triggers of a project. Triggers hang below their tables in the tree, so the records can be
// asked for the triggers of one table.
class TARMOTriggers : public TARMOObjectList {
public:
    TARMOTriggers();

    // The tables that the triggers hang below; not owned.
    TARMOTables* Tables() const { return mTables; }
    void SetTables(TARMOTables* tables) { mTables = tables; }

    // The id is one of this list's objects (bare DBID or tree key).
    bool IsTrigger(const QString& ObjectID) const { return ObjectIsOfThisType(ObjectID); }

    // The records of all triggers, or with a table's DBID only of that table's triggers, which are
    // then the only ones read (unless one of them needs the whole refresh to find its file).
    std::unique_ptr<TARMODBTItems> GetItemInfo(bool bShowOwnerInName,
                                               const QString& ParentTableDBID = QString());

protected:
    Object CreateObject() const override;
    void TakeRow(TARMOObjectVSS& object, const DbRecordset& row) const override;
    QStringList ExtraIcons() const override;
    // " on " + the table named in the text.
    QString DeletedItemSuffix(const QString& text) const override;

private:
    TARMOTables* mTables = nullptr;
};
