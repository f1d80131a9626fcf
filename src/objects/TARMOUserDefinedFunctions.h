#pragma once

#include "TARMOObjectList.h"

// The User Defined Functions of a project.
class TARMOUserDefinedFunctions : public TARMOObjectList {
public:
    TARMOUserDefinedFunctions();

    // The id is one of this list's objects (bare DBID or tree key).
    bool IsUserDefinedFunction(const QString& ObjectID) const { return ObjectIsOfThisType(ObjectID); }

protected:
    Object CreateObject() const override;
};
