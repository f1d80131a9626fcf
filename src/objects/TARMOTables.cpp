#include "TARMOTables.h"

#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"

#include <QHash>

TARMOTables::TARMOTables() = default;

TARMOTables::Object TARMOTables::Item(const QString& ObjectID, bool bHideError) const {
    if (const Object* found = mItems.Find(ObjectID))
        return *found;
    if (const Object* found = mItems.Find(ObjectID.mid(1)))
        return *found;
    if (bHideError)
        return nullptr;
    return mItems.Item(ObjectID.mid(1)); // raises the collection's error
}

bool TARMOTables::ObjectIsOfThisType(const QString& ObjectID) const {
    return mItems.Contains(ObjectID) || mItems.Contains(ObjectID.mid(1));
}

void TARMOTables::RemoveItem(const QString& ObjectID) {
    if (Object table = Item(ObjectID, true))
        mItems.Remove(table->DBID());
}

void TARMOTables::ChangeKey(const QString& OldObjectID) {
    const QString key = mItems.Contains(OldObjectID) ? OldObjectID : OldObjectID.mid(1);
    Object table = mItems.Item(key);
    mItems.Remove(key);
    mItems.Add(table, table->DBID());
}

bool TARMOTables::raise(const std::function<void(long, long, bool&)>& event, long current, long total) {
    bool cancel = false;
    if (event)
        event(current, total, cancel);
    return cancel;
}

void TARMOTables::RefreshList(bool& bCancel) {
    bCancel = false;
    if (!mSQL || !mSQL->ConnectionOpen())
        return;
    StoreTraffic::Statements();
    std::unique_ptr<DbRecordset> rows = mSQL->OpenRecordset(QStringLiteral(
        "SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, N'IsUserTable') = 1 ORDER BY name"));
    if (!rows || rows->Eof())
        return;
    // The owners of all tables in one statement instead of one lookup per table.
    QHash<QString, QString> owners;
    StoreTraffic::Statements();
    for (std::unique_ptr<DbRecordset> rs = mSQL->OpenRecordset(QStringLiteral(
             "SELECT so.id, su.name AS [UserName] FROM sysobjects so INNER JOIN sysusers su ON "
             "so.uid = su.uid WHERE OBJECTPROPERTY(so.id, N'IsUserTable') = 1"));
         rs && !rs->Eof(); rs->MoveNext())
        owners.insert(rs->Text(QStringLiteral("id")), rs->Text(QStringLiteral("UserName")));

    const long total = rows->RecordCount();
    if (raise(RetrieveStatusChange, 0, total)) {
        bCancel = true;
        return;
    }
    long current = 0;
    for (; !rows->Eof(); rows->MoveNext()) {
        const QString id = rows->Text(QStringLiteral("id"));
        const Object* found = mItems.Find(id);
        Object table = found ? *found : nullptr;
        if (!table) {
            table = std::make_shared<TARMOTable>();
            table->SetDBID(id);
            table->SetActiveDBConnection(mSQL);
            table->SetActiveVSSConnection(mVSS);
            table->SetIcons(mIcons);
            table->SetTriggersInfo(mTriggersInfo);
            mItems.Add(table, id);
        }
        table->SetName(rows->Text(QStringLiteral("name")));
        table->SetOwner(owners.value(id));
        if (raise(RetrieveStatusChange, ++current, total)) {
            bCancel = true;
            return;
        }
    }
    if (CompletedCurrentStatus)
        CompletedCurrentStatus();
}

std::unique_ptr<TARMODBTItems> TARMOTables::GetItemInfo(bool bShowOwnerInName) {
    bool cancel = false;
    RefreshList(cancel);
    if (cancel)
        return nullptr;
    const long total = mItems.Count();
    if (raise(AddingStatusChange, 0, total))
        return nullptr;
    auto items = std::make_unique<TARMODBTItems>();
    long current = 0;
    for (const Object& table : mItems) {
        TARMODBTItem& item = items->Add(QStringLiteral("I") + table->DBID());
        item.Text = bShowOwnerInName && !table->Owner().isEmpty()
                        ? table->Owner() + QLatin1Char('.') + table->Name()
                        : table->Name();
        item.ImageName = table->IconName(table->IconToUse());
        item.Tag = table->ObjectType();
        TARMODBTItem& placeholder = item.Children().Add(item.Key + QStringLiteral("_tmp"));
        placeholder.Tag = QStringLiteral("temp");
        if (raise(AddingStatusChange, ++current, total))
            return nullptr;
    }
    if (CompletedCurrentStatus)
        CompletedCurrentStatus();
    return items;
}

void TARMOTables::LoadIcons() {
    if (!mIcons)
        return;
    for (const QString& key : {QStringLiteral("TABLES"), QStringLiteral("TABLE")})
        if (!mIcons->Contains(key))
            mIcons->Add(key);
}
