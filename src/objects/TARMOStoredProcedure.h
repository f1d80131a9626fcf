#pragma once

#include "TARMOObjectVSS.h"

// A stored procedure, kept as a ".sp" file; it has parameters and execute permission only.
class TARMOStoredProcedure : public TARMOObjectVSS {
public:
    TARMOStoredProcedure();
};
