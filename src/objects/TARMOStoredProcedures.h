#pragma once

#include "TARMOObjectList.h"

// The Stored Procedures of a project.
class TARMOStoredProcedures : public TARMOObjectList {
public:
    TARMOStoredProcedures();

    // The id is one of this list's objects (bare DBID or tree key).
    bool IsStoredProcedure(const QString& ObjectID) const { return ObjectIsOfThisType(ObjectID); }

protected:
    Object CreateObject() const override;
};
