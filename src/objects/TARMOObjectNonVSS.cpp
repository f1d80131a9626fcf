#include "TARMOObjectNonVSS.h"

#include "SqlQuote.h"
#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"

namespace {

std::unique_ptr<DbRecordset> query(TARMOSQL& sql, const QString& text) {
    StoreTraffic::Statements();
    return sql.OpenRecordset(text);
}

} // namespace

TARMOObjectNonVSS::TARMOObjectNonVSS()
    : mParameterQuery1(QStringLiteral(
          "SELECT c.name AS ColName, c.length AS ColLength, c.xprec AS ColXprec, c.xscale AS ColScale, "
          "c.isnullable AS ColNullable, t.name AS ColType FROM syscolumns c INNER JOIN systypes t ON "
          "c.xusertype = t.xusertype WHERE t.status <> 1 AND c.id = "))
    , mParameterQuery2(QStringLiteral(" ORDER BY c.colid"))
    , mDBQuery(QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER JOIN "
                              "sysusers su ON so.uid = su.uid WHERE so.id = "))
    , mDBQueryByName(
          QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER JOIN "
                         "sysusers su ON so.uid = su.uid WHERE OBJECTPROPERTY(so.id, N'IsUserTable') = "
                         "1 AND so.name = "))
    , mDBQueryByOwner(QStringLiteral(" AND su.name = ")) {}

TARMOObjectNonVSS::~TARMOObjectNonVSS() = default;

QString TARMOObjectNonVSS::IconName(const QString& key) const {
    return mIcons ? mIcons->Item(key).Name() : QStringLiteral("-");
}

TARMOFields TARMOObjectNonVSS::GetFields() {
    TARMOFields fields;
    std::unique_ptr<DbRecordset> rs =
        query(*mSQL, mParameterQuery1 + TARMOSQL::sqlFMTOUT(mDBID, 1) + mParameterQuery2);
    for (; rs && !rs->Eof(); rs->MoveNext()) {
        const QString name = rs->Text(QStringLiteral("ColName"));
        if (name.isEmpty())
            continue;
        TARMOField& field = fields.Add(name);
        field.Children().Add(TARMOField::TypeLine(
            rs->Text(QStringLiteral("ColType")), rs->Text(QStringLiteral("ColXprec")),
            rs->Text(QStringLiteral("ColScale")), rs->Text(QStringLiteral("ColLength"))));
        field.Children().Add(rs->Field(QStringLiteral("ColNullable")).toInt() != 0
                                 ? QStringLiteral("Nullable")
                                 : QStringLiteral("Not Nullable"));
    }
    return fields;
}

std::unique_ptr<TARMODBTItems> TARMOObjectNonVSS::GetItemInfo(bool bDisplayOwner) {
    auto items = std::make_unique<TARMODBTItems>();
    const QString& d = mDBID;
    if (bDisplayOwner) {
        TARMODBTItem& owner = items->Add(QStringLiteral("OWNER") + d);
        owner.Text = mOwner;
        owner.ImageName = QStringLiteral("OWNER");
    }
    const TARMOFields fields = GetFields();
    for (int n = 1; n <= fields.Count(); ++n) {
        const TARMOField& field = fields.Item(n);
        TARMODBTItem& node =
            items->Add(QStringLiteral("F") + d + QStringLiteral("_field_") + QString::number(n));
        node.Text = field.Name();
        node.ImageName = IconName(QStringLiteral("FIELD"));
        for (int m = 1; m <= field.Children().Count(); ++m) {
            TARMODBTItem& line = node.Children().Add(node.Key + QLatin1Char('_') + QString::number(m));
            line.Text = field.Children().Item(m).Name();
            line.ImageName = IconName(QStringLiteral("FIELDDATA"));
        }
    }
    TARMODBTItem& permission = items->Add(QStringLiteral("P") + d);
    permission.Text = QStringLiteral("Permission");
    permission.Tag = QStringLiteral("Permission");
    permission.ImageName = IconName(QStringLiteral("PERMISSIONS"));
    TARMODBTItem& placeholder = permission.Children().Add(permission.Key + QStringLiteral("_temp"));
    placeholder.Tag = QStringLiteral("temp");
    return items;
}

std::unique_ptr<TARMODBTItem> TARMOObjectNonVSS::Refresh(bool bShowOwnerInName) {
    bool remove = false;
    QString keyChanged;
    std::unique_ptr<DbRecordset> rs = query(*mSQL, mDBQuery + TARMOSQL::sqlFMTOUT(mDBID, 1, false));
    if (rs && !rs->Eof()) {
        mName = rs->Text(QStringLiteral("name"));
        mOwner = rs->Text(QStringLiteral("UserName"));
    } else {
        // Dropped, and maybe created anew under the same name and owner.
        QString byName = mDBQueryByName + SqlQuote::Literal(mName);
        if (!mOwner.isEmpty())
            byName += mDBQueryByOwner + SqlQuote::Literal(mOwner);
        std::unique_ptr<DbRecordset> again = query(*mSQL, byName);
        if (again && !again->Eof()) {
            keyChanged = mDBID;
            mDBID = again->Text(QStringLiteral("id"));
            mName = again->Text(QStringLiteral("name"));
            mOwner = again->Text(QStringLiteral("UserName"));
        } else {
            remove = true;
        }
    }
    auto item = std::make_unique<TARMODBTItem>(QStringLiteral("I") + mDBID);
    item->Tag = mObjectType;
    item->ImageName = IconName(mIconToUse);
    item->Text = bShowOwnerInName && !mOwner.isEmpty() ? mOwner + QLatin1Char('.') + mName : mName;
    item->RemoveItem = remove;
    item->KeyChanged = keyChanged;
    return item;
}

TARMOContextMenu TARMOObjectNonVSS::GetContextMenu() const {
    TARMOContextMenu menu;
    menu.EditPermissions = HasPermissions();
    return menu;
}

TARMOPermissions TARMOObjectNonVSS::GetPermissions(bool bOnlyShowSetPermissions, long ListFilter) {
    TARMOPermissions permissions;
    permissions.ActiveDBConnection = mSQL;
    permissions.DatabaseID = mDBID;
    permissions.HasExecuteOnly = ObjectPermissionExecuteOnly();
    permissions.HasExecAndRefOnly = ObjectPermissionExecAndRefOnly();
    permissions.QuickList = bOnlyShowSetPermissions;
    permissions.Show = ListFilter;
    permissions.GetItemPermissions();
    return permissions;
}
