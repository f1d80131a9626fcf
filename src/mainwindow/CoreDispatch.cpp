#include "CoreDispatch.h"

#include "TARMODatabase.h"
#include "TARMOError.h"
#include "UserPrompts.h"

CoreDispatch::CoreDispatch(TARMODatabase& database)
    : mDatabase(database)
    , mObjects(database) {}

TARMODatabaseObjects& CoreDispatch::Objects() {
    TARMOProject* current = mDatabase.Project().get();
    if (current != mObjects.Project())
        mObjects.BindProject(current);
    return mObjects;
}

std::unique_ptr<TARMODBTItems> CoreDispatch::GetItemInfo(const QString& strTag, const QString& strKey,
                                                         bool bOnlyFields, bool bIncludeNullable) {
    return Objects().GetItemInfo(strTag, strKey, bOnlyFields, bIncludeNullable);
}

std::unique_ptr<TARMODBTItem> CoreDispatch::RefreshItem(const QString& ObjectTag, const QString& ObjectKey) {
    return Objects().RefreshItem(ObjectTag, ObjectKey);
}

std::shared_ptr<DispatchedObject> CoreDispatch::GetObject(const QString& ObjectTag, const QString& ObjectKey,
                                                          bool bDeletedObject) {
    try {
        TARMOObjectRef ref = Objects().GetObject(ObjectTag, ObjectKey, bDeletedObject);
        return ref ? std::make_shared<CoreObject>(std::move(ref)) : nullptr;
    } catch (const TARMOError&) {
        // A key that the list no longer holds: the node shows an object that a refresh will drop.
        return nullptr;
    }
}

TARMOContextMenu CoreDispatch::GetContextMenu(const QString& ObjectTag, const QString& ObjectKey) {
    try {
        return Objects().GetContextMenu(ObjectTag, ObjectKey);
    } catch (const TARMOError&) {
        return TARMOContextMenu();
    }
}

bool CoreDispatch::CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) {
    return Objects().CanOpenObject(ObjectTag, ObjectKey);
}

std::unique_ptr<TARMODBTItems> CoreDispatch::GetItemsForNewMenu() {
    return Objects().GetItemsForNewMenu();
}

std::shared_ptr<DispatchedObject> CoreDispatch::NewItemOfType(const QString& ObjectType) {
    auto object = Objects().NewItemOfType(ObjectType);
    return object ? std::make_shared<CoreObject>(TARMOObjectRef(std::move(object))) : nullptr;
}

bool CoreDispatch::GetTableName(const QString& strObjectTag, const QString& strObjectKey,
                                QString& strTableName, QString& strTableOwner) {
    return Objects().GetTableName(strObjectTag, strObjectKey, strTableName, strTableOwner);
}

namespace {

// The core leaves a refused drop to its caller; here the command ends with the server's word.
bool refusedBy(const TARMOError& e, const QString& title) {
    prompts().MessageBox(TARMOObjectVSS::CleanSQLError(e.Description()), Prompt::Buttons::OK,
                         Prompt::Icon::Critical, title);
    return false;
}

} // namespace

bool CoreDispatch::RenameItem(const QString& ObjectTag, const QString& ObjectKey, const QString& NewName) {
    try {
        return Objects().RenameItem(ObjectTag, ObjectKey, NewName);
    } catch (const TARMOError& e) {
        return refusedBy(e, QStringLiteral("Rename Item"));
    }
}

bool CoreDispatch::DeleteItem(const QString& ObjectTag, const QString& ObjectKey) {
    try {
        return Objects().DeleteItem(ObjectTag, ObjectKey);
    } catch (const TARMOError& e) {
        return refusedBy(e, QStringLiteral("Delete Item"));
    }
}

void CoreDispatch::SetStatusListener(DispatchStatusListener* listener) {
    mListener = listener;
    if (!listener) {
        mObjects.RetrieveStatusChange = nullptr;
        mObjects.AddingStatusChange = nullptr;
        mObjects.CompletedCurrentStatus = nullptr;
        return;
    }
    mObjects.RetrieveStatusChange = [this](const QString& type, const QString& name, long current, long total,
                                           bool& cancel) {
        mListener->RetrieveStatusChange(type, name, current, total, cancel);
    };
    mObjects.AddingStatusChange = [this](const QString& type, const QString& name, long current, long total,
                                         bool& cancel) {
        mListener->AddingStatusChange(type, name, current, total, cancel);
    };
    mObjects.CompletedCurrentStatus = [this](const QString& type, const QString& name) {
        mListener->CompletedCurrentStatus(type, name);
    };
}
