#include "TARMOStoredProcedure.h"

TARMOStoredProcedure::TARMOStoredProcedure() {
    SetObjectType(QStringLiteral("StoredProcedure"));
    SetObjectDisplayName(QStringLiteral("Stored Procedure"));
    SetParentObjectType(QStringLiteral("StoredProcedures"));
    SetDocumentMiddleName(QStringLiteral("Parameters"));
    SetVSSExt(QStringLiteral(".sp"));
    SetIconPrefix(QStringLiteral("STOREDPROCEDURE:"));
    SetPermissionMode(1);
    SetHasPermissions(true);

    // Shared by every object of the kind: a list is made once, not once per object of a refresh.
    static const modParser::SQLKeywords parse{{QStringLiteral("CREATE"), QStringLiteral("PROC")},
                                              {QStringLiteral("CREATE"), QStringLiteral("PROCEDURE")}};
    SetParse(parse);
    SetSQLStrings(QStringLiteral(") AND OBJECTPROPERTY(id, N'IsProcedure') = 1) "),
                  QStringLiteral("OBJECTPROPERTY(so.id, N'IsProcedure') = 1"),
                  QStringLiteral(" DROP PROCEDURE "));
}
