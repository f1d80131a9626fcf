#include "FakeDispatch.h"

#include <QCloseEvent>

bool FakeObject::SyncAdd(StoreLocation location) {
    if (location == StoreLocation::SqlServer)
        mInSQL = true;
    else
        mInVSS = true;
    if (mLog)
        *mLog << QStringLiteral("SyncAdd %1 %2").arg(mDBID).arg(static_cast<long>(location));
    return true;
}

QString FakeObject::IconName() const {
    if (!mEditable)
        return mType.toUpper();
    const QString kind = mType.toUpper() + QLatin1Char(':');
    if (!mInVSS)
        return kind + QStringLiteral("VSSBROKEN");
    if (!mInSQL)
        return kind + QStringLiteral("SQLBROKEN");
    if (mByMe)
        return kind + QStringLiteral("CHECKEDOUT");
    if (mByOther)
        return kind + QStringLiteral("CHECKEDINOUT");
    return kind + QStringLiteral("CHECKEDIN");
}

namespace {
std::shared_ptr<FakeObject> make(const QString& dbid, const QString& name, const QString& type) {
    auto object = std::make_shared<FakeObject>();
    object->mDBID = dbid;
    object->mName = name;
    object->mType = type;
    return object;
}

TARMODBTItem& addRecord(TARMODBTItems& items, const QString& key, const QString& text,
                        const QString& tag = {}, const QString& image = {}) {
    TARMODBTItem& item = items.Add(key);
    item.Key = key;
    item.Text = text;
    item.Tag = tag;
    item.ImageName = image;
    return item;
}

void addPlaceholder(TARMODBTItem& item, const QString& key) {
    addRecord(item.Children(), key, QString(), QStringLiteral("temp"));
}

QString bare(const QString& key) {
    return !key.isEmpty() && key.at(0).isLetter() ? key.mid(1) : key;
}
} // namespace

FakeDispatch::FakeDispatch() {
    auto orders =
        make(QStringLiteral("101"), QStringLiteral("usp_Orders"), QStringLiteral("StoredProcedure"));
    orders->mDescription = QStringLiteral("Lists the orders of a customer.\nNewest first.");
    auto stock = make(QStringLiteral("102"), QStringLiteral("usp_Stock"), QStringLiteral("StoredProcedure"));
    stock->mByMe = true;
    auto archive =
        make(QStringLiteral("103"), QStringLiteral("usp_Archive"), QStringLiteral("StoredProcedure"));
    archive->mInSQL = false;
    auto customers = make(QStringLiteral("201"), QStringLiteral("Customers"), QStringLiteral("Table"));
    customers->mEditable = false;
    customers->mInVSS = false;
    auto trigger = make(QStringLiteral("301"), QStringLiteral("trg_Customers"), QStringLiteral("Trigger"));
    trigger->mByOther = true;
    for (const auto& object : {orders, stock, archive, customers, trigger}) {
        object->mLog = &Log;
        mObjects.insert(object->mDBID, object);
    }
}

void FakeDispatch::addObjectRecord(TARMODBTItems& items, const FakeObject& object) {
    QString text = object.mName;
    if (object.mByOther)
        text += QStringLiteral(" (Checked out by Bob)");
    TARMODBTItem& item =
        addRecord(items, QStringLiteral("I") + object.mDBID, text, object.mType, object.IconName());
    addPlaceholder(item, item.Key + QStringLiteral("_tmp"));
}

std::unique_ptr<TARMODBTItems> FakeDispatch::GetItemInfo(const QString& strTag, const QString& strKey, bool,
                                                         bool) {
    const QString read = strTag + QLatin1Char('|') + strKey;
    Reads << read;
    if (auto during = DuringRead.value(read))
        during();
    auto items = std::make_unique<TARMODBTItems>();
    auto objectsOf = [&](const QString& type) {
        for (const auto& object : std::as_const(mObjects))
            if (object->mType == type)
                addObjectRecord(*items, *object);
    };
    if (strTag == QLatin1String("Start")) {
        for (const auto& [key, text] :
             {std::pair{"StoredProcedures", "Stored Procedures"}, {"Tables", "Tables"}, {"Views", "Views"}}) {
            TARMODBTItem& list = addRecord(*items, QString::fromLatin1(key), QString::fromLatin1(text),
                                           QString::fromLatin1(key), QString::fromLatin1(key).toUpper());
            addPlaceholder(list, list.Key + QStringLiteral("_tmp"));
        }
    } else if (strTag == QLatin1String("StoredProcedures")) {
        objectsOf(QStringLiteral("StoredProcedure"));
    } else if (strTag == QLatin1String("Tables")) {
        objectsOf(QStringLiteral("Table"));
    } else if (strTag == QLatin1String("Triggers")) {
        objectsOf(QStringLiteral("Trigger"));
    } else if (strTag == QLatin1String("Permission")) {
        const QString d = bare(strKey);
        TARMODBTItem& grantee = addRecord(*items, QStringLiteral("P%1_value1").arg(d),
                                          QStringLiteral("public"), {}, QStringLiteral("PERMISSION:ROLE"));
        addRecord(grantee.Children(), grantee.Key + QStringLiteral("_1"), QStringLiteral("EXECUTE"), {},
                  QStringLiteral("PERMISSION:GRANT"));
    } else if (auto object = mObjects.value(bare(strKey)); object && object->mType == strTag) {
        const QString d = object->mDBID;
        addRecord(*items, QStringLiteral("OWNER") + d, QStringLiteral("Owner: dbo"), {},
                  QStringLiteral("OWNER"));
        const QStringList fields = strTag == QLatin1String("Table")
                                       ? QStringList{QStringLiteral("CustomerID"), QStringLiteral("Name")}
                                       : QStringList{QStringLiteral("@CustomerID")};
        for (int n = 1; n <= fields.size(); ++n) {
            TARMODBTItem& field = addRecord(*items, QStringLiteral("F%1_field_%2").arg(d).arg(n),
                                            fields[n - 1], {}, QStringLiteral("FIELD"));
            addRecord(field.Children(), field.Key + QStringLiteral("_1"), QStringLiteral("int"), {},
                      QStringLiteral("FIELDDATA"));
        }
        TARMODBTItem& permission = addRecord(*items, QStringLiteral("P") + d, QStringLiteral("Permission"),
                                             QStringLiteral("Permission"), QStringLiteral("PERMISSIONS"));
        addPlaceholder(permission, QStringLiteral("P%1_temp").arg(d));
        if (strTag == QLatin1String("Table")) {
            TARMODBTItem& triggers = addRecord(*items, QStringLiteral("T") + d, QStringLiteral("Triggers"),
                                               QStringLiteral("Triggers"), QStringLiteral("TRIGGERS"));
            addPlaceholder(triggers, triggers.Key + QStringLiteral("_tmp"));
        }
    }
    return items;
}

std::unique_ptr<TARMODBTItem> FakeDispatch::RefreshItem(const QString& ObjectTag, const QString& ObjectKey) {
    Log << QStringLiteral("RefreshItem ") + ObjectTag + QLatin1Char('|') + ObjectKey;
    static const QStringList lists{QStringLiteral("StoredProcedures"), QStringLiteral("Tables"),
                                   QStringLiteral("Views"), QStringLiteral("Triggers")};
    if (lists.contains(ObjectTag)) {
        auto item = std::make_unique<TARMODBTItem>(ObjectKey);
        item->Key = ObjectKey;
        item->Tag = ObjectTag;
        item->Text =
            ObjectTag == QLatin1String("StoredProcedures") ? QStringLiteral("Stored Procedures") : ObjectTag;
        item->ImageName = ObjectTag.toUpper();
        return item;
    }
    auto object = mObjects.value(mRenumbered.value(bare(ObjectKey), bare(ObjectKey)));
    if (!object) {
        auto gone = std::make_unique<TARMODBTItem>(ObjectKey);
        gone->Key = ObjectKey;
        gone->RemoveItem = true;
        return gone;
    }
    auto item = std::make_unique<TARMODBTItem>(QStringLiteral("I") + object->mDBID);
    item->Key = QStringLiteral("I") + object->mDBID;
    item->Tag = object->mType;
    item->Text = object->mName;
    item->ImageName = object->IconName();
    item->RemoveItem = object->mLeavesList;
    if (item->Key != ObjectKey)
        item->KeyChanged = bare(ObjectKey);
    return item;
}

std::shared_ptr<DispatchedObject> FakeDispatch::GetObject(const QString& ObjectTag, const QString& ObjectKey,
                                                          bool) {
    auto object = mObjects.value(bare(ObjectKey));
    return object && object->mType == ObjectTag ? object : nullptr;
}

TARMOContextMenu FakeDispatch::GetContextMenu(const QString& ObjectTag, const QString& ObjectKey) {
    TARMOContextMenu menu;
    auto object = mObjects.value(bare(ObjectKey));
    if (!object || object->mType != ObjectTag)
        return menu;
    if (!object->mEditable) {
        menu.EditPermissions = true;
        return menu;
    }
    menu.DisplayName = object->mName;
    if (object->mInVSS && !object->mInSQL) {
        menu.AddToSQL = menu.DeleteFromVSS = true;
    } else if (!object->mInVSS && object->mInSQL) {
        menu.AddToVSS = menu.DeleteFromSQL = menu.EditPermissions = true;
    } else {
        menu.Edit = menu.Rename = menu.Delete = menu.EditPermissions = true;
        if (object->mByMe)
            menu.CheckIn = menu.UndoCheckout = true;
        else if (object->mByOther)
            menu.GetLatestVersion = true;
        else
            menu.GetLatestVersion = menu.CheckOut = true;
    }
    return menu;
}

void FakeDispatch::Renumber(const QString& oldId, const QString& newId) {
    auto object = mObjects.take(oldId);
    object->mDBID = newId;
    mObjects.insert(newId, object);
    mRenumbered.insert(oldId, newId);
}

bool FakeDispatch::CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) {
    return GetObject(ObjectTag, ObjectKey) != nullptr;
}

std::unique_ptr<TARMODBTItems> FakeDispatch::GetItemsForNewMenu() {
    auto items = std::make_unique<TARMODBTItems>();
    addRecord(*items, QStringLiteral("StoredProcedure"), QStringLiteral("Stored Procedure"));
    addRecord(*items, QStringLiteral("UserDefinedFunction"), QStringLiteral("User Defined Function"));
    addRecord(*items, QStringLiteral("View"), QStringLiteral("View"));
    addRecord(*items, QStringLiteral("Trigger"), QStringLiteral("Trigger"));
    return items;
}

std::shared_ptr<DispatchedObject> FakeDispatch::NewItemOfType(const QString& ObjectType) {
    Log << QStringLiteral("NewItemOfType ") + ObjectType;
    auto object = make(QString(), QString(), ObjectType);
    object->mInSQL = object->mInVSS = false;
    return object;
}

bool FakeDispatch::GetTableName(const QString&, const QString& strObjectKey, QString& strTableName,
                                QString& strTableOwner) {
    strTableName = strTableOwner = QString();
    auto object = mObjects.value(bare(strObjectKey));
    if (!object || object->mType != QLatin1String("Table"))
        return false;
    strTableName = object->mName;
    strTableOwner = object->mOwner;
    return true;
}

bool FakeDispatch::RenameItem(const QString&, const QString& ObjectKey, const QString& NewName) {
    auto object = mObjects.value(bare(ObjectKey));
    if (!object)
        return false;
    Log << QStringLiteral("RenameItem ") + ObjectKey + QLatin1Char(' ') + NewName;
    object->mName = NewName;
    return true;
}

bool FakeDispatch::DeleteItem(const QString&, const QString& ObjectKey) {
    Log << QStringLiteral("DeleteItem ") + ObjectKey;
    return mObjects.remove(bare(ObjectKey)) > 0;
}

FakeChild::FakeChild(mdiMain& main, QStringList& log, const QString& tag, const QString& key,
                     ::FormType formType)
    : EditorChildWindow(main)
    , mLog(log)
    , mObjectTag(tag)
    , mObjectKey(key)
    , mFormType(formType) {}

bool FakeChild::CloseItem(bool bForce) {
    log(bForce ? QStringLiteral("CloseItem(force)") : QStringLiteral("CloseItem"));
    if (bForce)
        mRefuseClose = false;
    return close();
}

void FakeChild::closeEvent(QCloseEvent* event) {
    if (mRefuseClose) {
        log(QStringLiteral("refused"));
        event->ignore();
    } else {
        event->accept();
    }
}
