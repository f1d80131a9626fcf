#include "TARMODatabaseObjects.h"

#include "TARMODatabase.h"
#include "TARMOObjectList.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTables.h"
#include "TARMOTriggers.h"
#include "TARMOUserDefinedFunctions.h"
#include "TARMOVSS.h"
#include "TARMOViews.h"

namespace {

bool isNumeric(const QString& text) {
    bool ok = false;
    text.trimmed().toDouble(&ok);
    return ok;
}

const QString kStart = QStringLiteral("Start");
const QString kPermission = QStringLiteral("Permission");

} // namespace

// --- Registry entries

QString TARMODatabaseObjects::Entry::ObjectType() const {
    return list ? list->ObjectType() : tables->ObjectType();
}

QString TARMODatabaseObjects::Entry::ObjectDisplayName() const {
    return list ? list->ObjectDisplayName() : tables->ObjectDisplayName();
}

QString TARMODatabaseObjects::Entry::SubObjectType() const {
    return list ? list->SubObjectType() : tables->SubObjectType();
}

QString TARMODatabaseObjects::Entry::SubObjectDisplayName() const {
    return list ? list->SubObjectDisplayName() : tables->SubObjectDisplayName();
}

QString TARMODatabaseObjects::Entry::IconToUse() const {
    return list ? list->IconToUse() : tables->IconToUse();
}

bool TARMODatabaseObjects::Entry::IsRootNode() const {
    return list ? list->IsRootNode() : tables->IsRootNode();
}

bool TARMODatabaseObjects::Entry::IsEditable() const {
    return list ? list->IsEditable() : tables->IsEditable();
}

bool TARMODatabaseObjects::Entry::ObjectIsOfThisType(const QString& key) const {
    return list ? list->ObjectIsOfThisType(key) : tables->ObjectIsOfThisType(key);
}

QList<TARMODatabaseObjects::Entry> TARMODatabaseObjects::registry() const {
    return {{mStoredProcedures.get(), nullptr},
            {nullptr, mTables.get()},
            {mUserDefinedFunctions.get(), nullptr},
            {mViews.get(), nullptr},
            {mTriggers.get(), nullptr}};
}

QList<TARMOObjectList*> TARMODatabaseObjects::EditableLists() const {
    return {mStoredProcedures.get(), mUserDefinedFunctions.get(), mViews.get(), mTriggers.get()};
}

// --- Building

TARMODatabaseObjects::TARMODatabaseObjects(TARMODatabase& settings)
    : TARMODatabaseObjects(settings, nullptr) {}

TARMODatabaseObjects::TARMODatabaseObjects(TARMODatabase& settings, TARMOProject* project)
    : mSettings(settings) {
    buildLists(nullptr, nullptr);
    // The icon keys are entered once, with the core; the lists of later projects share them.
    mStoredProcedures->LoadIcons();
    mTables->LoadIcons();
    mViews->LoadIcons();
    mUserDefinedFunctions->LoadIcons();
    mTriggers->LoadIcons();
    loadCoreIcons();
    if (project)
        BindProject(project);
}

TARMODatabaseObjects::~TARMODatabaseObjects() = default;

void TARMODatabaseObjects::BindProject(TARMOProject* project) {
    mProject = project;
    buildLists(project ? &project->SQL() : nullptr, project ? &project->VSS() : nullptr);
}

template <typename List> void TARMODatabaseObjects::relayEvents(List& list) {
    const QString type = list.ObjectType();
    const QString name = list.ObjectDisplayName();
    list.RetrieveStatusChange = [this, type, name](long current, long total, bool& cancel) {
        if (RetrieveStatusChange)
            RetrieveStatusChange(type, name, current, total, cancel);
    };
    list.AddingStatusChange = [this, type, name](long current, long total, bool& cancel) {
        if (AddingStatusChange)
            AddingStatusChange(type, name, current, total, cancel);
    };
    list.CompletedCurrentStatus = [this, type, name] {
        if (CompletedCurrentStatus)
            CompletedCurrentStatus(type, name);
    };
}

void TARMODatabaseObjects::buildLists(TARMOSQL* sql, TARMOVSS* vss) {
    mStoredProcedures = std::make_unique<TARMOStoredProcedures>();
    mTables = std::make_unique<TARMOTables>();
    mViews = std::make_unique<TARMOViews>();
    mUserDefinedFunctions = std::make_unique<TARMOUserDefinedFunctions>();
    mTriggers = std::make_unique<TARMOTriggers>();
    for (TARMOObjectList* list : EditableLists()) {
        list->SetActiveDBConnection(sql);
        list->SetActiveVSSConnection(vss);
        list->SetIcons(&mIcons);
        list->SetDatabase(&mSettings);
    }
    mTables->SetActiveDBConnection(sql);
    mTables->SetActiveVSSConnection(vss);
    mTables->SetIcons(&mIcons);
    mTables->SetDatabase(&mSettings);

    mTriggers->SetTables(mTables.get());
    mTriggersInfo.mObjectType = mTriggers->ObjectType();
    mTriggersInfo.mObjectDisplayName = mTriggers->ObjectDisplayName();
    mTriggersInfo.mIcon = mTriggers->IconToUse();
    mTables->SetTriggersInfo(&mTriggersInfo);

    relayEvents(*mStoredProcedures);
    relayEvents(*mTables);
    relayEvents(*mUserDefinedFunctions);
    relayEvents(*mViews);
    relayEvents(*mTriggers);
}

void TARMODatabaseObjects::loadCoreIcons() {
    static const char* const keys[] = {"NEW",
                                       "FIELD",
                                       "FIELDDATA",
                                       "SYNC:ADDVSS",
                                       "SYNC:REMOVEVSS",
                                       "SYNC:ADDSQL",
                                       "SYNC:REMOVESQL",
                                       "SYNC",
                                       "SYNC:NONE",
                                       "SYNC:SQL",
                                       "SYNC:VSS",
                                       "DIFFERENCE",
                                       "PERMISSIONS",
                                       "REFRESH",
                                       "VSS:GETLATESTVERSION",
                                       "VSS:CHECKOUT",
                                       "VSS:CHECKIN",
                                       "VSS:UNDOCHECKOUT",
                                       "EDIT:OPENFILE",
                                       "EDIT:SAVEFILE",
                                       "DESCRIPTION",
                                       "EDIT:UNDO",
                                       "EDIT:REDO",
                                       "EDIT:CUT",
                                       "EDIT:COPY",
                                       "EDIT:PASTE",
                                       "EDIT:TEST",
                                       "OWNER",
                                       "CHECKEDOUTBY",
                                       "PERMISSION:USER",
                                       "PERMISSION:ROLE",
                                       "PERMISSION:NONE",
                                       "PERMISSION:GRANT",
                                       "PERMISSION:DENY"};
    for (const char* key : keys)
        if (!mIcons.Contains(QLatin1String(key)))
            mIcons.Add(QLatin1String(key));
}

bool TARMODatabaseObjects::functionsAllowed() const {
    if (!mProject)
        return true;
    return mProject->SQL().UserDefinedFunctionsAllowed(false);
}

// --- The tree

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::AvailableDBTObjects() {
    const bool functions = functionsAllowed();
    auto items = std::make_unique<TARMODBTItems>();
    for (const Entry& entry : registry()) {
        if (!entry.IsRootNode() || (!functions && entry.list == mUserDefinedFunctions.get()))
            continue;
        TARMODBTItem& item = items->Add(entry.ObjectType());
        item.Tag = entry.ObjectType();
        item.Text = entry.ObjectDisplayName();
        item.ImageName = mIcons.Item(entry.IconToUse()).Name();
        TARMODBTItem& placeholder = item.Children().Add(item.Key + QStringLiteral("_tmp"));
        placeholder.Tag = QStringLiteral("temp");
    }
    return items;
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::AvailableEditableObjects() {
    const bool functions = functionsAllowed();
    auto items = std::make_unique<TARMODBTItems>();
    for (const Entry& entry : registry()) {
        if (!entry.IsEditable() || (!functions && entry.list == mUserDefinedFunctions.get()))
            continue;
        TARMODBTItem& item = items->Add(entry.ObjectType());
        item.Tag = entry.ObjectType();
        item.Text = entry.ObjectDisplayName();
        item.ImageName = mIcons.Item(entry.IconToUse()).Name();
    }
    return items;
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::GetItemInfo(const QString& strTag, const QString& strKey,
                                                                 bool bOnlyFields, bool bIncludeNullable) {
    if (strTag == kStart)
        return AvailableDBTObjects();
    if (strTag == kPermission) {
        for (const Entry& entry : registry()) {
            if (!entry.ObjectIsOfThisType(strKey))
                continue;
            return permissionItems(entry.list ? TARMOObjectRef(entry.list->Item(strKey))
                                              : TARMOObjectRef(entry.tables->Item(strKey)));
        }
        return std::make_unique<TARMODBTItems>();
    }
    for (const Entry& entry : registry()) {
        if (entry.ObjectType() == strTag) {
            if (entry.list == mTriggers.get())
                return mTriggers->GetItemInfo(mSettings.ShowOwnerNameInName(), mTables->Item(strKey)->DBID());
            if (entry.tables)
                return mTables->GetItemInfo(mSettings.ShowOwnerNameInName());
            return entry.list->GetItemInfo(mSettings.ShowOwnerNameInName());
        }
        if (entry.SubObjectType() == strTag) {
            if (entry.tables)
                return mTables->Item(strKey)->GetItemInfo(mSettings.ShowOwnerNameInProp());
            return entry.list->Item(strKey)->GetItemInfo(mSettings.ShowOwnerNameInProp(), bOnlyFields,
                                                         bIncludeNullable);
        }
    }
    return std::make_unique<TARMODBTItems>();
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::permissionItems(const TARMOObjectRef& object) {
    auto items = std::make_unique<TARMODBTItems>();
    const QString d = object.DBID();
    const TARMOPermissions permissions = object.GetPermissions(true, mSettings.ShowPermissionsInDBT());
    int n = 0;
    int m = 0;
    for (const TARMOPermission& line : permissions) {
        if (!line.HasAnyPermissionSet())
            continue;
        TARMODBTItem& grantee =
            items->Add(QStringLiteral("P") + d + QStringLiteral("_value") + QString::number(++n));
        grantee.Text = line.Name;
        grantee.ImageName =
            mIcons.Item(line.IsRole ? QStringLiteral("PERMISSION:ROLE") : QStringLiteral("PERMISSION:USER"))
                .Name();
        // The tree shows what is stored, also on the owner's line.
        TARMOPermission stored = line;
        stored.IsOwner = false;
        for (const TARMOPermission::Statement& statement : stored.Statements()) {
            if (statement.State == TARMOPermission::None)
                continue;
            TARMODBTItem& child =
                grantee.Children().Add(grantee.Key + QLatin1Char('_') + QString::number(++m));
            child.Text = statement.Word;
            child.ImageName =
                mIcons
                    .Item(statement.State == TARMOPermission::Grant ? QStringLiteral("PERMISSION:GRANT")
                                                                    : QStringLiteral("PERMISSION:DENY"))
                    .Name();
        }
    }
    return items;
}

std::unique_ptr<TARMODBTItem> TARMODatabaseObjects::RefreshItem(const QString& ObjectTag,
                                                                const QString& ObjectKey) {
    for (const Entry& entry : registry()) {
        if (entry.ObjectType() == ObjectTag) {
            // Nothing is read: the node's children come with its next opening.
            auto item = std::make_unique<TARMODBTItem>(entry.list == mTriggers.get() ? ObjectKey
                                                                                     : entry.ObjectType());
            item->ImageName = mIcons.Item(entry.IconToUse()).Name();
            item->Tag = entry.ObjectType();
            item->Text = entry.ObjectDisplayName();
            return item;
        }
        if (entry.SubObjectType() != ObjectTag)
            continue;
        std::unique_ptr<TARMODBTItem> item;
        if (entry.tables) {
            item = mTables->Item(ObjectKey)->Refresh(mSettings.ShowOwnerNameInName());
            if (item->RemoveItem)
                mTables->RemoveItem(item->Key);
            else if (!item->KeyChanged.isEmpty())
                mTables->ChangeKey(item->KeyChanged);
        } else {
            item = entry.list->Item(ObjectKey)->Refresh(mSettings.ShowOwnerNameInName());
            if (item->RemoveItem)
                entry.list->RemoveItem(item->Key);
            else if (!item->KeyChanged.isEmpty())
                entry.list->ChangeKey(item->KeyChanged);
        }
        return item;
    }
    return nullptr;
}

// --- Objects

TARMOObjectRef TARMODatabaseObjects::GetObject(const QString& ObjectTag, const QString& ObjectKey,
                                               bool bDeletedObject) {
    for (const Entry& entry : registry()) {
        if (entry.SubObjectType() != ObjectTag)
            continue;
        if (entry.tables)
            return TARMOObjectRef(mTables->Item(ObjectKey));
        return TARMOObjectRef(entry.list->Item(ObjectKey, bDeletedObject));
    }
    return TARMOObjectRef();
}

TARMOObjectList* TARMODatabaseObjects::GetObjectObjects(const QString& ObjectKey) {
    for (const Entry& entry : registry()) {
        if (entry.ObjectType() != ObjectKey)
            continue;
        bool cancel = false;
        if (entry.tables) {
            mTables->RefreshList(cancel);
            return nullptr;
        }
        entry.list->RefreshList(cancel);
        return entry.list;
    }
    return nullptr;
}

QString TARMODatabaseObjects::GetObjectType(const QString& ObjectKey) const {
    for (const Entry& entry : registry())
        if (entry.ObjectIsOfThisType(ObjectKey))
            return entry.SubObjectType();
    return QString();
}

TARMOFields TARMODatabaseObjects::GetObjectFields(const QString& ObjectID) {
    const QString id = isNumeric(ObjectID) ? ObjectID : ObjectID.mid(1);
    for (const Entry& entry : registry()) {
        if (!entry.ObjectIsOfThisType(id))
            continue;
        return entry.list ? entry.list->Item(id)->GetFields() : mTables->Item(id)->GetFields();
    }
    return TARMOFields();
}

bool TARMODatabaseObjects::GetTableName(const QString&, const QString& strObjectKey, QString& strTableName,
                                        QString& strTableOwner) const {
    strTableName.clear();
    strTableOwner.clear();
    if (!mTables->ObjectIsOfThisType(strObjectKey))
        return false;
    const TARMOTables::Object table = mTables->Item(strObjectKey);
    strTableName = table->Name();
    strTableOwner = table->Owner();
    return true;
}

TARMOContextMenu TARMODatabaseObjects::GetContextMenu(const QString& ObjectTag, const QString& ObjectKey) {
    for (const Entry& entry : registry()) {
        if (entry.ObjectType() == ObjectTag)
            return entry.list ? entry.list->GetContextMenu() : mTables->GetContextMenu();
        if (entry.SubObjectType() == ObjectTag)
            return GetObject(ObjectTag, ObjectKey).GetContextMenu();
    }
    return TARMOContextMenu();
}

QString TARMODatabaseObjects::GetObjectSubDisplayName(const QString& SubObjectTag) const {
    for (const Entry& entry : registry())
        if (entry.SubObjectType() == SubObjectTag)
            return entry.SubObjectDisplayName();
    return QString();
}

std::shared_ptr<TARMOObjectVSS> TARMODatabaseObjects::NewItemOfType(const QString& ObjectType) {
    for (const Entry& entry : registry())
        if (entry.SubObjectType() == ObjectType)
            return entry.list ? entry.list->newItem() : nullptr;
    return nullptr;
}

bool TARMODatabaseObjects::CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) const {
    for (const Entry& entry : registry())
        if (entry.SubObjectType() == ObjectTag)
            return entry.ObjectIsOfThisType(ObjectKey);
    return false;
}

QList<std::shared_ptr<TARMODBTItems>>
TARMODatabaseObjects::GetObjectsForUndeleteing(const QString& ObjectKey) {
    QList<std::shared_ptr<TARMODBTItems>> groups;
    for (const Entry& entry : registry()) {
        if (!entry.IsEditable() || (!ObjectKey.isEmpty() && ObjectKey != entry.ObjectType()))
            continue;
        groups.append(
            std::shared_ptr<TARMODBTItems>(entry.list->GetDeletedItems(mSettings.ShowOwnerNameInName())));
    }
    return groups;
}

// --- Identity changes

TARMOObjectList* TARMODatabaseObjects::listOfKind(const QString& ObjectTag) const {
    for (const Entry& entry : registry())
        if (entry.SubObjectType() == ObjectTag)
            return entry.list;
    return nullptr;
}

bool TARMODatabaseObjects::RenameItem(const QString& ObjectTag, const QString& ObjectKey,
                                      const QString& NewName) {
    TARMOObjectList* list = listOfKind(ObjectTag);
    return list && list->RenameItem(ObjectKey, NewName);
}

bool TARMODatabaseObjects::DeleteItem(const QString& ObjectTag, const QString& ObjectKey) {
    TARMOObjectList* list = listOfKind(ObjectTag);
    return list && list->DeleteItem(ObjectKey);
}

bool TARMODatabaseObjects::UnDeleteObject(const QString& ObjectTag, const QString& ObjectKey) {
    TARMOObjectList* list = listOfKind(ObjectTag);
    return list && list->UnDeleteObject(ObjectKey);
}

// --- The other menus

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::menuItems(bool bySubObject) const {
    auto items = std::make_unique<TARMODBTItems>();
    for (const Entry& entry : registry()) {
        if (!entry.IsEditable())
            continue;
        TARMODBTItem& item = items->Add(bySubObject ? entry.SubObjectType() : entry.ObjectType());
        item.Text = bySubObject ? entry.SubObjectDisplayName() : entry.ObjectDisplayName();
    }
    return items;
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::GetItemsForNewMenu() const {
    return menuItems(true);
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::GetItemsForSyncronisation() const {
    return menuItems(false);
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::GetItemsForDocGen() const {
    return menuItems(false);
}

std::unique_ptr<TARMODBTItems> TARMODatabaseObjects::GetItemsForScriptGen() const {
    return menuItems(false);
}

QList<TARMOObjectList*> TARMODatabaseObjects::SetupAvailableEditableObjectsForAnotherDB(TARMOSQL* SQLConn) {
    const bool functions = functionsAllowed();
    mExtraObjInstSPs = std::make_unique<TARMOStoredProcedures>();
    mExtraObjInstTRGs = std::make_unique<TARMOTriggers>();
    mExtraObjInstUDFs = functions ? std::make_unique<TARMOUserDefinedFunctions>() : nullptr;
    mExtraObjInstVWs = std::make_unique<TARMOViews>();
    QList<TARMOObjectList*> result;
    for (TARMOObjectList* list : {static_cast<TARMOObjectList*>(mExtraObjInstSPs.get()),
                                  static_cast<TARMOObjectList*>(mExtraObjInstTRGs.get()),
                                  static_cast<TARMOObjectList*>(mExtraObjInstUDFs.get()),
                                  static_cast<TARMOObjectList*>(mExtraObjInstVWs.get())}) {
        if (!list)
            continue;
        list->SetActiveDBConnection(SQLConn);
        list->SetActiveVSSConnection(nullptr);
        list->SetIcons(&mIcons);
        list->SetDatabase(&mSettings);
        list->SetCheckSQLOnly(true);
        result.append(list);
    }
    relayEvents(*mExtraObjInstSPs);
    relayEvents(*mExtraObjInstTRGs);
    if (mExtraObjInstUDFs)
        relayEvents(*mExtraObjInstUDFs);
    relayEvents(*mExtraObjInstVWs);
    return result;
}
