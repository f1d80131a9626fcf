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

    SetParse({{QStringLiteral("CREATE"), QStringLiteral("PROC")},
              {QStringLiteral("CREATE"), QStringLiteral("PROCEDURE")}});
    SetSQLStrings(QStringLiteral(") AND OBJECTPROPERTY(id, N'IsProcedure') = 1) "),
                  QStringLiteral("OBJECTPROPERTY(so.id, N'IsProcedure') = 1"),
                  QStringLiteral(" DROP PROCEDURE "));
}
