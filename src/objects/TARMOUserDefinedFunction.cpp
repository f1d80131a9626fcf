#include "TARMOUserDefinedFunction.h"

TARMOUserDefinedFunction::TARMOUserDefinedFunction() {
    SetObjectType(QStringLiteral("UserDefinedFunction"));
    SetObjectDisplayName(QStringLiteral("User Defined Function"));
    SetParentObjectType(QStringLiteral("UserDefinedFunctions"));
    SetDocumentMiddleName(QStringLiteral("Parameters"));
    SetVSSExt(QStringLiteral(".udf"));
    SetIconPrefix(QStringLiteral("USERDEFINEDFUNCTION:"));
    SetPermissionMode(2);
    SetHasPermissions(true);
    SetBlankFieldDisplayName(QStringLiteral("(Return Value)"));
    SetParse({{QStringLiteral("CREATE"), QStringLiteral("FUNCTION")}});
    SetSQLStrings(QStringLiteral(") AND xtype IN (N'FN', N'IF', N'TF') ) "),
                  QStringLiteral("so.xtype IN (N'FN', N'IF', N'TF')"), QStringLiteral(" DROP FUNCTION "));
}
