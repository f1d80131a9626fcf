#pragma once

#include "TARMOObjectNonVSS.h"

class TARMOTriggersInfo;

// A user table: shown with its columns, permissions and the node of its triggers, never edited.
class TARMOTable : public TARMOObjectNonVSS {
public:
    TARMOTable();

    // Shared, not owned.
    const TARMOTriggersInfo* TriggersInfo() const { return mTriggersInfo; }
    void SetTriggersInfo(const TARMOTriggersInfo* info) { mTriggersInfo = info; }

    // Adds the node under which the table's triggers hang ("T" + DBID).
    std::unique_ptr<TARMODBTItems> GetItemInfo(bool bDisplayOwner) override;

private:
    const TARMOTriggersInfo* mTriggersInfo = nullptr;
};
