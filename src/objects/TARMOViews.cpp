#include "TARMOViews.h"

#include "TARMOView.h"

TARMOViews::TARMOViews()
    : TARMOObjectList(QStringLiteral("Views"), QStringLiteral("Views"), QStringLiteral("VIEWS"), true,
                      QStringLiteral("SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, N'IsView') = "
                                     "1 AND category <> 2 ORDER BY name"),
                      QStringLiteral("OBJECTPROPERTY(id, N'IsView') = 1")) {
    Initialize();
}

TARMOObjectList::Object TARMOViews::CreateObject() const {
    return std::make_shared<TARMOView>();
}
