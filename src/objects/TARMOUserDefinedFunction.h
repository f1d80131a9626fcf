#pragma once

#include "TARMOObjectVSS.h"

// A user defined function (scalar, inline or table-valued), kept as a ".udf" file; its return value
// is a field without a name, shown as "(Return Value)".
class TARMOUserDefinedFunction : public TARMOObjectVSS {
public:
    TARMOUserDefinedFunction();
};
