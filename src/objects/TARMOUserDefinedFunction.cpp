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
    // Shared by every object of the kind: a list is made once, not once per object of a refresh.
    static const modParser::SQLKeywords parse{{QStringLiteral("CREATE"), QStringLiteral("FUNCTION")}};
    SetParse(parse);
    SetSQLStrings(QStringLiteral(") AND xtype IN (N'FN', N'IF', N'TF') ) "),
                  QStringLiteral("so.xtype IN (N'FN', N'IF', N'TF')"), QStringLiteral(" DROP FUNCTION "));
}
