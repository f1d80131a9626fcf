#include "TARMOTriggers.h"

#include "DbRecordset.h"
#include "TARMODBTItems.h"
#include "TARMOSQL.h"
#include "TARMOTrigger.h"

TARMOTriggers::TARMOTriggers()
    : TARMOObjectList(QStringLiteral("Triggers"), QStringLiteral("Triggers"), QStringLiteral("TRIGGERS"),
                      false,
                      QStringLiteral("SELECT id, name, parent_obj FROM sysobjects WHERE OBJECTPROPERTY(id, "
                                     "N'IsTrigger') = 1 AND category <> 2 ORDER BY name"),
                      QStringLiteral("OBJECTPROPERTY(id, N'IsTrigger') = 1")) {
    Initialize();
}

TARMOObjectList::Object TARMOTriggers::CreateObject() const {
    return std::make_shared<TARMOTrigger>();
}

void TARMOTriggers::TakeRow(TARMOObjectVSS& object, const DbRecordset& row) const {
    static_cast<TARMOTrigger&>(object).SetParentTableDBID(row.Text(QStringLiteral("parent_obj")));
}

QStringList TARMOTriggers::ExtraIcons() const {
    return {QStringLiteral("TRIGGER:INSERT"), QStringLiteral("TRIGGER:UPDATE"),
            QStringLiteral("TRIGGER:DELETE")};
}

std::unique_ptr<TARMODBTItems> TARMOTriggers::GetItemInfo(bool bShowOwnerInName,
                                                          const QString& ParentTableDBID) {
    if (ParentTableDBID.isEmpty())
        return BuildItemInfo(bShowOwnerInName, nullptr);
    // Only that table's triggers are read, where the catalogue's ids allow a condition on them.
    bool numeric = false;
    ParentTableDBID.toLongLong(&numeric);
    return BuildItemInfo(
        bShowOwnerInName,
        [&](const TARMOObjectVSS& object) {
            return static_cast<const TARMOTrigger&>(object).ParentTableDBID() == ParentTableDBID;
        },
        numeric ? QStringLiteral("parent_obj = ") + ParentTableDBID : QString());
}

QString TARMOTriggers::DeletedItemSuffix(const QString& text) const {
    const QString table = TARMOSQL::ExtractTableNameFromTrigger(text, TARMOTrigger().Parse());
    return table.isEmpty() ? QString() : QStringLiteral(" on ") + table;
}
