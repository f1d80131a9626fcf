#include "TARMOTrigger.h"

#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOSQL.h"

TARMOTrigger::TARMOTrigger() {
    SetObjectType(QStringLiteral("Trigger"));
    SetObjectDisplayName(QStringLiteral("Trigger"));
    SetParentObjectType(QStringLiteral("Triggers"));
    SetDocumentMiddleName(QStringLiteral("Type"));
    SetVSSExt(QStringLiteral(".trg"));
    SetIconPrefix(QStringLiteral("TRIGGER:"));
    SetPermissionMode(0);
    SetHasPermissions(false);
    // Shared by every object of the kind: a list is made once, not once per object of a refresh.
    static const modParser::SQLKeywords parse{{QStringLiteral("CREATE"), QStringLiteral("TRIGGER")}};
    SetParse(parse);
    SetSQLStrings(QStringLiteral(") AND OBJECTPROPERTY(id, N'IsTrigger') = 1) "),
                  QStringLiteral("OBJECTPROPERTY(so.id, N'IsTrigger') = 1"),
                  QStringLiteral(" DROP TRIGGER "));
}

TARMOFields TARMOTrigger::GetFields(bool) {
    return TARMOFields();
}

std::unique_ptr<TARMODBTItems> TARMOTrigger::GetItemInfo(bool bDisplayOwner, bool bOnlyFields, bool) {
    auto items = std::make_unique<TARMODBTItems>();
    if (bDisplayOwner && !bOnlyFields)
        AddOwnerItem(*items);
    StoreTraffic::Statements();
    std::unique_ptr<DbRecordset> rs = ActiveDBConnection()->OpenRecordset(
        QStringLiteral("select ObjectProperty( id, 'ExecIsInsertTrigger') AS 'ISINSERT', ObjectProperty( id, "
                       "'ExecIsUpdateTrigger') AS 'ISUPDATE', ObjectProperty( id, 'ExecIsDeleteTrigger') AS "
                       "'ISDELETE' from sysobjects where id =") +
        TARMOSQL::sqlFMTOUT(DBID(), 1));
    if (!rs || rs->Eof())
        return items;
    for (const QString& word :
         {QStringLiteral("INSERT"), QStringLiteral("UPDATE"), QStringLiteral("DELETE")}) {
        if (rs->Field(QStringLiteral("IS") + word).toInt() != 1)
            continue;
        TARMODBTItem& line = items->Add(word + DBID());
        line.Text = word;
        line.ImageName = IconName(QStringLiteral("TRIGGER:") + word);
    }
    return items;
}

bool TARMOTrigger::CheckIn(const QString& strContent, const QString& strComment) {
    const bool wasNew = IsNew();
    const bool checkedIn = TARMOObjectVSS::CheckIn(strContent, strComment);
    if (wasNew && !IsNew())
        TakeParentTableFromStoredText();
    return checkedIn;
}

void TARMOTrigger::TakeParentTableFromStoredText() {
    const QString table = TARMOSQL::ExtractTableNameFromTrigger(GetContent(LocationVSS, -1, false), Parse());
    const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(table);
    StoreTraffic::Statements();
    mParentTableDBID = ActiveDBConnection()->GetObjectID(parts.value(1), parts.value(0));
}
