#pragma once

#include "TARMOObjectVSS.h"

// A trigger, kept as a ".trg" file. It belongs to a table, has no permissions and no fields; its
// node shows which statements fire it.
class TARMOTrigger : public TARMOObjectVSS {
public:
    TARMOTrigger();

    // The DBID of the table that the trigger is on.
    const QString& ParentTableDBID() const { return mParentTableDBID; }
    void SetParentTableDBID(const QString& id) { mParentTableDBID = id; }

    // Empty, with no query: a trigger has no parameters.
    TARMOFields GetFields(bool bIncludeNullable = true) override;
    // The owner line (also for an empty owner) and one line per statement that fires the trigger.
    std::unique_ptr<TARMODBTItems> GetItemInfo(bool bDisplayOwner, bool bOnlyFields = false,
                                               bool bIncludeNullable = true) override;

    // After the first check-in of a new trigger the table named after ON in the stored text becomes
    // the parent table.
    bool CheckIn(const QString& strContent, const QString& strComment) override;
    void TakeParentTableFromStoredText();

private:
    QString mParentTableDBID;
};
