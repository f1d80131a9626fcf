#pragma once

#include "TARMOObjectList.h"

// The Views of a project.
class TARMOViews : public TARMOObjectList {
public:
    TARMOViews();

    // The id is one of this list's objects (bare DBID or tree key).
    bool IsView(const QString& ObjectID) const { return ObjectIsOfThisType(ObjectID); }

protected:
    Object CreateObject() const override;
};
