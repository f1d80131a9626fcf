#include "TARMOView.h"

TARMOView::TARMOView() {
    SetObjectType(QStringLiteral("View"));
    SetObjectDisplayName(QStringLiteral("View"));
    SetParentObjectType(QStringLiteral("Views"));
    SetDocumentMiddleName(QStringLiteral("Fields"));
    SetVSSExt(QStringLiteral(".vw"));
    SetIconPrefix(QStringLiteral("VIEW:"));
    SetPermissionMode(0);
    SetHasPermissions(true);

    SetParse({{QStringLiteral("CREATE"), QStringLiteral("VIEW")}});
    SetSQLStrings(QStringLiteral(") AND OBJECTPROPERTY(id, N'IsView') = 1) "),
                  QStringLiteral("OBJECTPROPERTY(so.id, N'IsView') = 1"), QStringLiteral(" DROP VIEW "));
}
