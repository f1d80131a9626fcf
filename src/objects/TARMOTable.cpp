#include "TARMOTable.h"

#include "TARMODBTItems.h"
#include "TARMOTriggersInfo.h"

TARMOTable::TARMOTable() {
    SetObjectType(QStringLiteral("Table"));
    SetObjectDisplayName(QStringLiteral("Table"));
    SetIconToUse(QStringLiteral("TABLE"));
}

std::unique_ptr<TARMODBTItems> TARMOTable::GetItemInfo(bool bDisplayOwner) {
    std::unique_ptr<TARMODBTItems> items = TARMOObjectNonVSS::GetItemInfo(bDisplayOwner);
    if (!mTriggersInfo)
        return items;
    TARMODBTItem& triggers = items->Add(QStringLiteral("T") + DBID());
    triggers.Text = mTriggersInfo->ObjectDisplayName();
    triggers.Tag = mTriggersInfo->ObjectType();
    triggers.ImageName = IconName(mTriggersInfo->Icon());
    TARMODBTItem& placeholder = triggers.Children().Add(triggers.Key + QStringLiteral("_tmp"));
    placeholder.Tag = QStringLiteral("temp");
    return items;
}
