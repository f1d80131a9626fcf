#pragma once

#include "TARMOObjectVSS.h"

// A view, kept as a ".vw" file; its fields are its columns and it has the full set of rights.
class TARMOView : public TARMOObjectVSS {
public:
    TARMOView();
};
