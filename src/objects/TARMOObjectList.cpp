#include "TARMOObjectList.h"

#include "SqlQuote.h"
#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMODescription.h"
#include "TARMOError.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VSSBulkReader.h"

#include <QHash>

#include <algorithm>

namespace {

bool isNumeric(const QString& text) {
    // The names a refresh asks about are object ids: plain digits answer without a conversion.
    if (!text.isEmpty() &&
        std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c >= u'0' && c <= u'9'; }))
        return true;
    bool ok = false;
    text.trimmed().toDouble(&ok);
    return ok && !text.trimmed().isEmpty();
}

std::unique_ptr<DbRecordset> query(TARMOSQL& sql, const QString& text) {
    StoreTraffic::Statements();
    return sql.OpenRecordset(text);
}

} // namespace

TARMOObjectList::TARMOObjectList(const QString& objectType, const QString& objectDisplayName,
                                 const QString& iconToUse, bool isRootNode, const QString& listQuery,
                                 const QString& findByNameCondition)
    : mObjectType(objectType)
    , mObjectDisplayName(objectDisplayName)
    , mIconToUse(iconToUse)
    , mIsRootNode(isRootNode)
    , mListQuery(listQuery)
    , mFindByNameCondition(findByNameCondition) {}

TARMOObjectList::~TARMOObjectList() {
    for (const Object& object : mItems)
        object->SetParentList(nullptr);
    for (const Object& object : mNewItems)
        object->SetParentList(nullptr);
}

void TARMOObjectList::Initialize() {
    mKind = CreateObject();
}

void TARMOObjectList::TakeRow(TARMOObjectVSS&, const DbRecordset&) const {}

TARMOObjectList::Object TARMOObjectList::makeObject() {
    Object object = CreateObject();
    object->SetActiveDBConnection(mSQL);
    object->SetActiveVSSConnection(mVSS);
    object->SetIcons(mIcons);
    object->SetParentList(this);
    return object;
}

// --- The collection

TARMOObjectList::Object TARMOObjectList::Item(const QString& ObjectID, bool bDeleted, bool bHideError) const {
    const KeyedCollection<Object>& items = bDeleted ? mDeletedItems : mItems;
    if (const Object* found = items.Find(ObjectID))
        return *found;
    if (const Object* found = items.Find(ObjectID.mid(1)))
        return *found;
    if (bHideError)
        return nullptr;
    return items.Item(ObjectID.mid(1)); // raises the collection's error
}

int TARMOObjectList::Count(bool bDeleted) const {
    return bDeleted ? mDeletedItems.Count() : mItems.Count();
}

bool TARMOObjectList::ObjectIsOfThisType(const QString& ObjectID) const {
    return mItems.Contains(ObjectID) || mItems.Contains(ObjectID.mid(1));
}

void TARMOObjectList::RemoveItem(const QString& ObjectID, bool bDeleted) {
    KeyedCollection<Object>& items = bDeleted ? mDeletedItems : mItems;
    items.Remove(isNumeric(ObjectID) ? ObjectID : ObjectID.mid(1));
}

void TARMOObjectList::ChangeKey(const QString& OldObjectID, long lOldIndex) {
    const QString key = mItems.Contains(OldObjectID) ? OldObjectID : OldObjectID.mid(1);
    Object object = mItems.Item(key);
    mItems.Remove(key);
    if (lOldIndex >= 1 && lOldIndex <= mItems.Count())
        mItems.Add(object, object->DBID(), static_cast<int>(lOldIndex));
    else
        mItems.Add(object, object->DBID());
}

bool TARMOObjectList::RenameItem(const QString& ObjectID, const QString& NewName) {
    const Object object = Item(ObjectID, false, true);
    if (!object)
        return false;
    const QString oldID = object->DBID();
    const int position = mItems.PositionOf(oldID);
    if (!object->RenameItem(NewName, false))
        return false;
    ChangeKey(oldID, position);
    return true;
}

bool TARMOObjectList::DeleteItem(const QString& ObjectID) {
    const Object object = Item(ObjectID, false, true);
    if (!object || !object->DeleteItem())
        return false;
    RemoveItem(object->DBID(), false);
    return true;
}

bool TARMOObjectList::UnDeleteObject(const QString& ObjectID) {
    const Object object = Item(ObjectID, true, true);
    if (!object)
        return false;
    const QString oldID = object->DBID();
    const bool done = object->UnDelete(false);
    RemoveItem(oldID, true);
    return done;
}

QString TARMOObjectList::FindIDByName(const QString& name) {
    std::unique_ptr<DbRecordset> rs = query(
        *mSQL, QStringLiteral("SELECT id FROM sysobjects WHERE category <> 2 AND ") + mFindByNameCondition +
                   QStringLiteral(" AND id = OBJECT_ID(") + SqlQuote::Literal(name) + QStringLiteral(")"));
    return rs && !rs->Eof() ? rs->Text(QStringLiteral("id")) : QString();
}

TARMOObjectList::Object TARMOObjectList::RefreshItemByName(const QString& name) {
    const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(name);
    const QString owner = parts.value(0);
    const QString bare = parts.value(1);
    const auto matches = [&](const TARMOObjectVSS& object) {
        return object.Name().compare(bare, Qt::CaseInsensitive) == 0 &&
               (owner.isEmpty() || object.Owner().compare(owner, Qt::CaseInsensitive) == 0);
    };
    QString condition = QStringLiteral("name = ") + SqlQuote::Literal(bare);
    if (!owner.isEmpty())
        condition += QStringLiteral(" AND uid = USER_ID(") + SqlQuote::Literal(owner) + QLatin1Char(')');
    bool cancel = false;
    if (!refreshPart(condition, matches, false, cancel) && !cancel)
        refresh(cancel, false);
    for (const Object& object : mItems)
        if (matches(*object))
            return object;
    return nullptr;
}

// --- Reading

bool TARMOObjectList::raise(const std::function<void(long, long, bool&)>& event, long current, long total) {
    bool cancel = false;
    if (event)
        event(current, total, cancel);
    return cancel;
}

QString TARMOObjectList::nameInText(const QString& text) const {
    const QString name = modParser::FindNameAfterKeywords(mKind->Parse(), text);
    return TARMOSQL::IsValidObjectName(name) ? name : QString();
}

TARMOObjectList::Object TARMOObjectList::exact(const QString& id) const {
    const Object* found = mItems.Find(id);
    return found ? *found : nullptr;
}

void TARMOObjectList::RefreshList(bool& bCancel) {
    refresh(bCancel, false);
}

void TARMOObjectList::refresh(bool& bCancel, bool withDescriptions) {
    bCancel = false;
    mDescriptions.clear();
    if (!mSQL || !mSQL->ConnectionOpen())
        return;
    if (!mCheckSQLOnly && !mVSS)
        throw TARMOError(TARMOErrors::InvalidProcedureCall, mObjectType,
                         QStringLiteral("There is no connection to the version store."));
    for (const Object& object : mItems) {
        object->SetInSQL(false);
        object->SetInVSS(false);
    }

    std::unique_ptr<DbRecordset> rows = query(*mSQL, mListQuery);
    const int rowCount = rows ? rows->RecordCount() : 0;
    mItems.Reserve(mItems.Count() + rowCount);
    // The owners of the whole kind in one statement instead of one lookup per object.
    QHash<QString, QString> owners;
    owners.reserve(rowCount);
    for (std::unique_ptr<DbRecordset> rs = query(*mSQL, mKind->DBQueryStart()); rs && !rs->Eof();
         rs->MoveNext())
        owners.insert(rs->Text(QStringLiteral("id")), rs->Text(QStringLiteral("UserName")));
    // The files with their holders (what TARMOVSS::Items gives), and for the tree records the
    // descriptions, in one visit of the store folder.
    TARMOVSSItems files(mVSS);
    if (!mCheckSQLOnly) {
        VSSBulkReader::Listing listing = VSSBulkReader::ListFolder(
            *mVSS, mKind->VSSExt(),
            withDescriptions ? mKind->VSSExt() + TARMODescription::Extension : QString());
        files = std::move(listing.Files);
        mDescriptions = std::move(listing.Texts);
    }

    const long total = 2L * rowCount + (mCheckSQLOnly ? 0 : files.Count());
    long current = 0;
    if (raise(RetrieveStatusChange, current, total)) {
        bCancel = true;
        return;
    }

    for (; rows && !rows->Eof(); rows->MoveNext()) {
        const QString id = rows->Text(QStringLiteral("id"));
        // The merge looks ids up exactly: with the tree key's second try, a new id 123 would take
        // the object of id 23.
        Object object = exact(id);
        if (!object) {
            object = makeObject();
            object->SetDBID(id);
            mItems.Add(object, id);
        }
        object->SetName(rows->Text(QStringLiteral("name")));
        object->SetOwner(owners.value(id));
        object->SetInSQL(true);
        object->SetInVSS(false);
        object->SetCheckedOutBy(QString());
        TakeRow(*object, *rows);
        current += 2;
        if (raise(RetrieveStatusChange, current, total)) {
            bCancel = true;
            return;
        }
    }

    if (!mCheckSQLOnly) {
        refreshFromStore(files, current, total, bCancel);
        if (bCancel)
            return;
    }
    dropObjectsInNeitherStore();
    if (CompletedCurrentStatus)
        CompletedCurrentStatus();
}

bool TARMOObjectList::rekeyFile(const QString& fileName, const QString& newFileName) {
    StoreTraffic::StoreCall();
    if (!mVSS->RenameItem(fileName, newFileName))
        return false;
    const QString description = fileName + TARMODescription::Extension;
    const QString newDescription = newFileName + TARMODescription::Extension;
    StoreTraffic::StoreCall();
    mVSS->RenameItem(description, newDescription, true, true);
    if (auto text = mDescriptions.find(description.toLower()); text != mDescriptions.end()) {
        const QString value = *text;
        mDescriptions.erase(text);
        mDescriptions.insert(newDescription.toLower(), value);
    }
    return true;
}

void TARMOObjectList::refreshFromStore(TARMOVSSItems& files, long& current, long total, bool& bCancel) {
    const QString ext = mKind->VSSExt();
    // The files that no object of the catalogue explains: their texts in one read.
    QStringList unexplained;
    for (const TARMOVSSItem& file : files) {
        const QString base = file.Name().chopped(ext.size());
        if (isNumeric(base) && !mItems.Contains(base))
            unexplained << file.Name();
    }
    QHash<QString, QString> texts;
    if (!unexplained.isEmpty())
        texts = VSSBulkReader::LatestTexts(*mVSS, unexplained);

    for (const TARMOVSSItem& listed : files) {
        QString fileName = listed.Name();
        QString holder = listed.CheckedOutBy();
        QString base = fileName.chopped(ext.size());

        if (!isNumeric(base)) {
            // A file that still goes by its object's name, in the old manner.
            const qsizetype dot = base.indexOf(QLatin1Char('.'));
            const QString owner = dot < 0 ? QStringLiteral("dbo") : base.left(dot);
            const QString name = dot < 0 ? base : base.mid(dot + 1);
            StoreTraffic::Statements();
            const QString id = mSQL->GetObjectID(name, owner);
            if (!id.isEmpty()) {
                if (rekeyFile(fileName, id + ext)) {
                    base = id;
                    fileName = id + ext;
                    StoreTraffic::StoreCall();
                    holder = mVSS->Item(fileName).CheckedOutBy();
                }
            }
            if (!isNumeric(base))
                continue;
        }

        if (Object object = exact(base)) {
            object->SetInVSS(true);
            object->SetCheckedOutBy(holder);
        } else {
            QString text;
            if (auto it = texts.constFind(fileName.toLower()); it != texts.constEnd()) {
                text = *it;
            } else {
                StoreTraffic::StoreCall();
                text = mVSS->ItemContent(fileName, true, -1);
            }
            const QString found = nameInText(text);
            const QString id = found.isEmpty() ? QString() : FindIDByName(found);
            if (!id.isEmpty()) {
                // Dropped and created again: the file takes the new id.
                if (rekeyFile(fileName, id + ext)) {
                    if (Object recreated = exact(id)) {
                        recreated->SetInVSS(true);
                        recreated->SetCheckedOutBy(holder);
                    }
                }
            } else {
                Object orphan = makeObject();
                if (!found.isEmpty()) {
                    const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(found);
                    orphan->SetOwner(parts.value(0));
                    orphan->SetName(parts.value(1));
                } else {
                    orphan->SetName(base);
                }
                orphan->SetDBID(base);
                orphan->SetInSQL(false);
                orphan->SetInVSS(true);
                orphan->SetCheckedOutBy(holder);
                mItems.Add(orphan, base);
            }
        }
        current += 1;
        if (raise(RetrieveStatusChange, current, total)) {
            bCancel = true;
            return;
        }
    }
}

QString TARMOObjectList::narrowedListQuery(const QString& condition) const {
    static const QString select = QStringLiteral("SELECT ");
    static const QString where = QStringLiteral(" WHERE ");
    static const QString order = QStringLiteral(" ORDER BY name");
    const qsizetype at = mListQuery.indexOf(where, 0, Qt::CaseInsensitive);
    if (at < 0 || !mListQuery.startsWith(select, Qt::CaseInsensitive) ||
        !mListQuery.endsWith(order, Qt::CaseInsensitive))
        return QString();
    const QString head = mListQuery.mid(select.size(), at - select.size());
    const qsizetype from = at + where.size();
    const QString filter = mListQuery.mid(from, mListQuery.size() - order.size() - from);
    return select + QStringLiteral("USER_NAME(uid) AS [UserName], ") + head + where + QLatin1Char('(') +
           filter + QStringLiteral(") AND (") + condition + QLatin1Char(')') + order;
}

bool TARMOObjectList::refreshPart(const QString& condition,
                                  const std::function<bool(const TARMOObjectVSS&)>& belongs,
                                  bool withDescriptions, bool& bCancel) {
    bCancel = false;
    mDescriptions.clear();
    if (!mSQL || !mSQL->ConnectionOpen())
        return false;
    if (!mCheckSQLOnly && !mVSS)
        throw TARMOError(TARMOErrors::InvalidProcedureCall, mObjectType,
                         QStringLiteral("There is no connection to the version store."));
    const QString text = narrowedListQuery(condition);
    if (text.isEmpty())
        return false;
    std::unique_ptr<DbRecordset> rows = query(*mSQL, text);
    // The part: the rows of the catalogue, and what the list counted in it before (which may have
    // left the catalogue and live on in the store alone).
    QStringList ids;
    for (; rows && !rows->Eof(); rows->MoveNext())
        ids << rows->Text(QStringLiteral("id"));
    if (ids.isEmpty())
        return false; // the object may live in the store alone, under a name only its text gives
    QStringList partIds = ids;
    for (const Object& object : mItems)
        if (belongs(*object) && !partIds.contains(object->DBID()))
            partIds << object->DBID();

    const QString ext = mKind->VSSExt();
    QHash<QString, QString> holders; // by DBID, of the files found
    if (!mCheckSQLOnly) {
        QStringList names;
        for (const QString& id : partIds) {
            names << id + ext;
            if (withDescriptions)
                names << id + ext + TARMODescription::Extension;
        }
        VSSBulkReader::Listing listing = VSSBulkReader::Find(
            *mVSS, names, withDescriptions ? ext + TARMODescription::Extension : QString());
        for (const TARMOVSSItem& file : listing.Files)
            if (file.Name().endsWith(ext, Qt::CaseSensitive))
                holders.insert(file.Name().chopped(ext.size()), file.CheckedOutBy());
        for (const QString& id : ids)
            if (!holders.contains(id))
                return false;
        mDescriptions = std::move(listing.Texts);
    }

    const long total = 2L * ids.size();
    long current = 0;
    if (raise(RetrieveStatusChange, current, total)) {
        bCancel = true;
        return false;
    }
    for (const QString& id : partIds)
        if (Object object = exact(id)) {
            object->SetInSQL(false);
            object->SetInVSS(false);
        }
    for (rows->MoveFirst(); !rows->Eof(); rows->MoveNext()) {
        const QString id = rows->Text(QStringLiteral("id"));
        Object object = exact(id);
        if (!object) {
            object = makeObject();
            object->SetDBID(id);
            mItems.Add(object, id);
        }
        object->SetName(rows->Text(QStringLiteral("name")));
        object->SetOwner(rows->Text(QStringLiteral("UserName")));
        object->SetInSQL(true);
        object->SetCheckedOutBy(QString());
        TakeRow(*object, *rows);
        current += 2;
        if (raise(RetrieveStatusChange, current, total)) {
            bCancel = true;
            return false;
        }
    }
    for (auto holder = holders.cbegin(); holder != holders.cend(); ++holder)
        if (Object object = exact(holder.key())) {
            object->SetInVSS(true);
            object->SetCheckedOutBy(holder.value());
        }
    dropObjectsInNeitherStore();
    if (CompletedCurrentStatus)
        CompletedCurrentStatus();
    return true;
}

void TARMOObjectList::dropObjectsInNeitherStore() {
    bool any = false;
    for (const Object& object : mItems)
        any = any || (!object->InSQL() && !object->InVSS());
    if (!any)
        return;
    // One pass instead of one re-index per removal.
    KeyedCollection<Object> kept;
    for (int i = 1; i <= mItems.Count(); ++i) {
        const Object& object = mItems.Item(i);
        if (object->InSQL() || object->InVSS())
            kept.Add(object, mItems.KeyAt(i));
        else
            object->SetParentList(nullptr);
    }
    mItems = std::move(kept);
}

std::unique_ptr<TARMODBTItems> TARMOObjectList::GetItemInfo(bool bShowOwnerInName) {
    return BuildItemInfo(bShowOwnerInName, nullptr);
}

std::unique_ptr<TARMODBTItems>
TARMOObjectList::BuildItemInfo(bool bShowOwnerInName,
                               const std::function<bool(const TARMOObjectVSS&)>& wanted,
                               const QString& condition) {
    bool cancel = false;
    const bool part = !condition.isEmpty() && wanted && refreshPart(condition, wanted, true, cancel);
    if (!part && !cancel)
        refresh(cancel, true);
    if (cancel)
        return nullptr;
    const QHash<QString, QString> descriptions = std::move(mDescriptions);
    mDescriptions.clear();
    const long total = mItems.Count();
    if (raise(AddingStatusChange, 0, total))
        return nullptr;

    auto items = std::make_unique<TARMODBTItems>();
    items->Reserve(total);
    long current = 0;
    for (const Object& object : mItems) {
        ++current;
        if (!wanted || wanted(*object)) {
            TARMODBTItem& item = items->Add(QStringLiteral("I") + object->DBID());
            item.Text = bShowOwnerInName && !object->Owner().isEmpty()
                            ? object->Owner() + QLatin1Char('.') + object->Name()
                            : object->Name();
            if (!object->CheckedOutBy().isEmpty())
                item.Text += QStringLiteral(" (Checked out by ") + object->CheckedOutBy() + QLatin1Char(')');
            item.ImageName = object->IconName(object->IconToUse(false));
            item.Tag = object->ObjectType();
            item.SetToolTipText(TARMODescription::ReadAs(
                descriptions.value((object->ItemName() + TARMODescription::Extension).toLower())));
            TARMODBTItem& placeholder = item.Children().Add(item.Key + QStringLiteral("_tmp"));
            placeholder.Tag = QStringLiteral("temp");
        }
        if (raise(AddingStatusChange, current, total))
            return nullptr;
    }
    if (CompletedCurrentStatus)
        CompletedCurrentStatus();
    return items;
}

// --- New objects

TARMOObjectList::Object TARMOObjectList::newItem() {
    Object object = makeObject();
    object->SetInSQL(false);
    object->SetInVSS(false);
    object->SetIsNew(true);
    mNewItems.append(object);
    return object;
}

void TARMOObjectList::ItemAdded_Event(TARMOObjectVSS* objAdded) {
    for (qsizetype i = 0; i < mNewItems.size(); ++i) {
        if (mNewItems[i].get() != objAdded)
            continue;
        Object object = mNewItems[i];
        int before = 0;
        for (int p = 1; p <= mItems.Count() && before == 0; ++p)
            if (QString::compare(mItems.Item(p)->Name(), object->Name(), Qt::CaseSensitive) > 0)
                before = p;
        mItems.Add(object, object->DBID(), before);
        mNewItems.removeAt(i);
        return;
    }
}

QString TARMOObjectList::DeletedItemSuffix(const QString&) const {
    return QString();
}

std::unique_ptr<TARMODBTItems> TARMOObjectList::GetDeletedItems(bool bShowOwnerInName) {
    mDeletedItems = KeyedCollection<Object>();
    auto items = std::make_unique<TARMODBTItems>();
    const QString ext = mKind->VSSExt();
    StoreTraffic::StoreCall();
    TARMOVSSItems deleted = mVSS->Items(QStringLiteral("*") + ext, true, true);
    const long total = deleted.Count();
    if (raise(AddingStatusChange, 0, total))
        return nullptr;
    long current = 0;
    for (const TARMOVSSItem& entry : deleted) {
        const QString base = entry.Name().chopped(ext.size());
        if (isNumeric(base) && !mDeletedItems.Contains(base)) {
            StoreTraffic::StoreCall();
            const QString text = mVSS->ItemContent(entry.Name(), true, -1, false, true);
            const QString found = nameInText(text);
            QString name = base;
            QString owner;
            if (!found.isEmpty()) {
                const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(found);
                owner = parts.value(0);
                name = parts.value(1);
                if (owner.isEmpty()) {
                    StoreTraffic::Statements();
                    owner = mSQL->DatabaseUserName();
                }
            }
            Object object = makeObject();
            object->SetDBID(base);
            object->SetName(name);
            object->SetOwner(owner);
            mDeletedItems.Add(object, base);
            TARMODBTItem& item = items->Add(QStringLiteral("I") + base);
            item.Text = (bShowOwnerInName && !owner.isEmpty() ? owner + QLatin1Char('.') + name : name) +
                        DeletedItemSuffix(text);
            item.ImageName = object->IconName(object->IconToUse(false));
            item.Tag = object->ObjectType();
            item.SetToolTipText(object->Description());
        }
        if (raise(AddingStatusChange, ++current, total))
            return nullptr;
    }
    if (CompletedCurrentStatus)
        CompletedCurrentStatus();
    return items;
}

void TARMOObjectList::LoadIcons() {
    if (!mIcons)
        return;
    const QString kind = mKind->IconToUse(true);
    QStringList keys{mIconToUse};
    for (const QString& state :
         {QStringLiteral(":NEW"), QString(), QStringLiteral(":VSSBROKEN"), QStringLiteral(":SQLBROKEN"),
          QStringLiteral(":CHECKEDIN"), QStringLiteral(":CHECKEDINOUT"), QStringLiteral(":CHECKEDOUT")})
        keys << kind + state;
    keys << ExtraIcons();
    for (const QString& key : keys)
        if (!mIcons->Contains(key))
            mIcons->Add(key);
}
