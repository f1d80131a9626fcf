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

    // Shared by every object of the kind: a list is made once, not once per object of a refresh.
    static const modParser::SQLKeywords parse{{QStringLiteral("CREATE"), QStringLiteral("VIEW")}};
    SetParse(parse);
    SetSQLStrings(QStringLiteral(") AND OBJECTPROPERTY(id, N'IsView') = 1) "),
                  QStringLiteral("OBJECTPROPERTY(so.id, N'IsView') = 1"), QStringLiteral(" DROP VIEW "));
}
