#include "TARMOUserDefinedFunctions.h"

#include "TARMOUserDefinedFunction.h"

TARMOUserDefinedFunctions::TARMOUserDefinedFunctions()
    : TARMOObjectList(
          QStringLiteral("UserDefinedFunctions"), QStringLiteral("User Defined Functions"),
          QStringLiteral("USERDEFINEDFUNCTIONS"), true,
          QStringLiteral(
              "SELECT id, name FROM sysobjects WHERE xtype in (N'FN', N'IF', N'TF') ORDER BY name"),
          QStringLiteral("xtype in (N'FN', N'IF', N'TF')")) {
    Initialize();
}

TARMOObjectList::Object TARMOUserDefinedFunctions::CreateObject() const {
    return std::make_shared<TARMOUserDefinedFunction>();
}
