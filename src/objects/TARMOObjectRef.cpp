#include "TARMOObjectRef.h"

QString TARMOObjectRef::Name() const {
    return mVersioned ? mVersioned->Name() : mTable ? mTable->Name() : QString();
}

QString TARMOObjectRef::Owner() const {
    return mVersioned ? mVersioned->Owner() : mTable ? mTable->Owner() : QString();
}

QString TARMOObjectRef::DBID() const {
    return mVersioned ? mVersioned->DBID() : mTable ? mTable->DBID() : QString();
}

QString TARMOObjectRef::ObjectType() const {
    return mVersioned ? mVersioned->ObjectType() : mTable ? mTable->ObjectType() : QString();
}

QString TARMOObjectRef::ParentObjectType() const {
    return mVersioned ? mVersioned->ParentObjectType() : mTable ? QStringLiteral("Tables") : QString();
}

bool TARMOObjectRef::InSQL() const {
    return mVersioned ? mVersioned->InSQL() : mTable != nullptr;
}

bool TARMOObjectRef::InVSS() const {
    return mVersioned && mVersioned->InVSS();
}

bool TARMOObjectRef::IsCheckedOutByMe() const {
    return mVersioned && mVersioned->IsCheckedOutByMe();
}

QString TARMOObjectRef::Description() const {
    return mVersioned ? mVersioned->Description() : QString();
}

bool TARMOObjectRef::SyncAdd(StoreLocation location) const {
    return mVersioned && mVersioned->SyncAdd(location);
}

bool TARMOObjectRef::SyncChange(StoreLocation location) const {
    return mVersioned && mVersioned->SyncChange(location);
}

bool TARMOObjectRef::SyncRemove(StoreLocation location) const {
    return mVersioned && mVersioned->SyncRemove(location);
}

TARMOPermissions TARMOObjectRef::GetPermissions(bool bOnlyShowSetPermissions, long ListFilter) const {
    if (mVersioned)
        return mVersioned->GetPermissions(bOnlyShowSetPermissions, ListFilter);
    if (mTable)
        return mTable->GetPermissions(bOnlyShowSetPermissions, ListFilter);
    return TARMOPermissions();
}

TARMOContextMenu TARMOObjectRef::GetContextMenu() const {
    if (mVersioned)
        return mVersioned->GetContextMenu();
    if (mTable)
        return mTable->GetContextMenu();
    return TARMOContextMenu();
}
