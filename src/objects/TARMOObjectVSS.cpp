#include "TARMOObjectVSS.h"

#include "GeneralHelpers.h"
#include "SqlQuote.h"
#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOError.h"
#include "TARMOIcons.h"
#include "TARMOObjectList.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"

#include <QDateTime>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

namespace {

std::unique_ptr<DbRecordset> query(TARMOSQL& sql, const QString& text) {
    StoreTraffic::Statements();
    return sql.OpenRecordset(text);
}

const QString kSyntaxError = QStringLiteral("Syntax Error");
const QString kCouldNotCheckIn = QStringLiteral("Could not Check In Item");

void critical(const QString& text, const QString& title) {
    prompts().MessageBox(text, Prompt::Buttons::OK, Prompt::Icon::Critical, title);
}

} // namespace

TARMOObjectVSS::TARMOObjectVSS() = default;

TARMOObjectVSS::~TARMOObjectVSS() {
    mParentList = nullptr;
}

void TARMOObjectVSS::SetSQLStrings(const QString& existsSQL2, const QString& dbQueryCondition,
                                   const QString& dropWords) {
    mParameterQuery1 = QStringLiteral(
        "SELECT c.name AS ColName, c.length AS ColLength, c.xprec AS ColXprec, c.xscale AS ColScale, "
        "c.isnullable AS ColNullable, t.name AS ColType FROM syscolumns c INNER JOIN systypes t ON "
        "c.xusertype = t.xusertype WHERE t.status <> 1 AND c.id = ");
    mParameterQuery2 = QStringLiteral(" ORDER BY c.colid");
    // The quoted name goes between the two halves as a literal (SqlQuote::Literal of the
    // two-part name), and again after the drop words as an identifier.
    mExistsSQL1 = QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(");
    mExistsSQL2 = existsSQL2;
    // The two texts built from the arguments are made when used: a refresh makes an object per
    // catalogue row, and few of them ever send a statement of their own.
    mDBQueryCondition = dbQueryCondition;
    mDBQueryByName = QStringLiteral(" AND so.name = ");
    mDBQueryByOwner = QStringLiteral(" AND su.name = ");
    mDBQueryByID = QStringLiteral(" AND so.id = ");
    mDropSQL1 = mExistsSQL1;
    mDropWords = dropWords;
}

QString TARMOObjectVSS::DBQueryStart() const {
    return QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER "
                          "JOIN sysusers su ON so.uid = su.uid WHERE ") +
           mDBQueryCondition + QStringLiteral(" ");
}

QString TARMOObjectVSS::DropSQL2() const {
    return mExistsSQL2 + QStringLiteral("\r\n\t") + mDropWords;
}

void TARMOObjectVSS::SetActiveVSSConnection(TARMOVSS* vss) {
    mVSS = vss;
    mDescriptionStore.SetActiveVSSConnection(vss);
}

bool TARMOObjectVSS::IsCheckedOutByMe() const {
    return mVSS && !mCheckedOutBy.isEmpty() && mCheckedOutBy == mVSS->UserName();
}

bool TARMOObjectVSS::IsDeleted() {
    StoreTraffic::StoreCall();
    return mVSS && mVSS->ItemIsDeleted(ItemName());
}

QString TARMOObjectVSS::IconToUse(bool bGetDefaultIcon) const {
    if (bGetDefaultIcon)
        return mIconPrefix.chopped(mIconPrefix.isEmpty() ? 0 : 1);
    if (mIsNew)
        return mIconPrefix + QStringLiteral("NEW");
    if (!mInSQL)
        return mIconPrefix + QStringLiteral("SQLBROKEN");
    if (mInVSS && mCheckedOutBy.isEmpty())
        return mIconPrefix + QStringLiteral("CHECKEDIN");
    if (mInVSS && IsCheckedOutByMe())
        return mIconPrefix + QStringLiteral("CHECKEDOUT");
    if (mInVSS)
        return mIconPrefix + QStringLiteral("CHECKEDINOUT");
    return mIconPrefix + QStringLiteral("VSSBROKEN");
}

QString TARMOObjectVSS::IconName(const QString& key) const {
    return mIcons ? mIcons->Item(key).Name() : QStringLiteral("-");
}

// --- Files

QString TARMOObjectVSS::NewObjectFileName() {
    if (mNewFileName.isEmpty()) {
        mOwnsNewFile = true;
        QString folder = mVSS ? mVSS->GeneralWorkingFolder() : QString();
        if (!folder.endsWith(QLatin1Char('/')) && !folder.endsWith(QLatin1Char('\\')))
            folder += QLatin1Char('/');
        const int random =
            static_cast<int>(std::round(QRandomGenerator::global()->generateDouble() * 2000)) + 1;
        mNewFileName = folder + mObjectType + QLatin1Char('_') +
                       QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss")) +
                       QLatin1Char('_') + QString::number(random) + mVSSExt;
    }
    return mNewFileName;
}

void TARMOObjectVSS::ClearNewObjectFile() {
    if (!mNewFileName.isEmpty() && mOwnsNewFile)
        DeleteFileIfExists(mNewFileName, true);
    mOwnsNewFile = false;
    mNewFileName.clear();
}

void TARMOObjectVSS::SetIsNew(bool value) {
    mIsNew = value;
    if (value)
        CreateTextFile(NewObjectFileName(), QString());
    else
        ClearNewObjectFile();
}

QString TARMOObjectVSS::FileName() {
    if (mIsNew)
        return NewObjectFileName();
    QString path = mVSS ? mVSS->GetItemFileName(ItemName()) : QString();
    if (!FileExists(path))
        GetLatestVersion();
    return path;
}

void TARMOObjectVSS::SetFileName(const QString& path) {
    if (!mIsNew)
        return;
    ClearNewObjectFile();
    mNewFileName = path;
    mOwnsNewFile = false;
}

// --- Reading the stores

QString TARMOObjectVSS::NameInText(const QString& text) const {
    const QString name = modParser::FindNameAfterKeywords(mParse, text);
    return TARMOSQL::IsValidObjectName(name) ? name : QString();
}

void TARMOObjectVSS::RefreshState() {
    // The file keeps its name when the object turns up under a new id below.
    const QString item = ItemName();
    std::unique_ptr<DbRecordset> rs =
        query(*mSQL, DBQueryStart() + mDBQueryByID + TARMOSQL::sqlFMTOUT(mDBID, 1, false));
    mInSQL = rs && !rs->Eof();
    if (mInSQL) {
        mName = rs->Text(QStringLiteral("name"));
        mOwner = rs->Text(QStringLiteral("UserName"));
    }
    StoreTraffic::StoreCall();
    mInVSS = mVSS->ItemExists(item);

    if (mInVSS && !mInSQL) {
        // The id of the file has no object any more: it may have been dropped and created again.
        StoreTraffic::StoreCall();
        const QString found = NameInText(mVSS->ItemContent(item, true, -1));
        QString name = mDBID;
        QString owner;
        if (!found.isEmpty()) {
            const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(found);
            owner = parts.value(0);
            name = parts.value(1);
            std::unique_ptr<DbRecordset> byName =
                query(*mSQL, DBQueryStart() + mDBQueryByName + SqlQuote::Literal(name) + mDBQueryByOwner +
                                 SqlQuote::Literal(owner));
            if (byName && !byName->Eof()) {
                mInSQL = true;
                mDBID = byName->Text(QStringLiteral("id"));
            }
        }
        mName = name;
        mOwner = owner;
    }
    if (mInVSS) {
        StoreTraffic::StoreCall();
        mCheckedOutBy = mVSS->CheckedOutBy(item);
    }
    if (!mInSQL && !mInVSS) {
        mName.clear();
        mOwner.clear();
    }
}

std::unique_ptr<TARMODBTItem> TARMOObjectVSS::Refresh(bool bShowOwnerInName) {
    const QString formerID = mDBID;
    RefreshState();
    auto item = std::make_unique<TARMODBTItem>(QStringLiteral("I") + mDBID);
    item->Tag = mObjectType;
    item->ImageName = IconName(IconToUse(false));
    item->Text = bShowOwnerInName && !mOwner.isEmpty() ? mOwner + QLatin1Char('.') + mName : mName;
    item->KeyChanged = formerID != mDBID ? formerID : QString();
    item->RemoveItem = RemovalRequest();
    if (!item->RemoveItem)
        item->SetToolTipText(Description());
    return item;
}

bool TARMOObjectVSS::SQLAndVSSDiffer() {
    StoreTraffic::StoreCall();
    const QString stored = mVSS->ItemContent(ItemName(), false);
    StoreTraffic::Statements(2);
    const QString compiled = mSQL->GetObjectText(mDBID);
    return !modParser::SQLTextsEqual(stored, compiled, true, true);
}

QString TARMOObjectVSS::GetContent(StoreLocation getContentLocation, long VersionNumber,
                                   bool GetAlterContent) {
    QString text;
    switch (getContentLocation) {
    case StoreLocation::VersionStore:
        StoreTraffic::StoreCall();
        text = mVSS->ItemContent(ItemName(), false, VersionNumber);
        break;
    case StoreLocation::SqlServer:
        StoreTraffic::Statements(2);
        text = mSQL->GetObjectText(mDBID);
        break;
    }
    if (GetAlterContent)
        text = modParser::ReplaceFirstWord(text, QStringLiteral("CREATE"), QStringLiteral("ALTER"));
    return text;
}

TARMOFields TARMOObjectVSS::GetFields(bool bIncludeNullable) {
    TARMOFields fields;
    std::unique_ptr<DbRecordset> rs =
        query(*mSQL, mParameterQuery1 + TARMOSQL::sqlFMTOUT(mDBID, 1) + mParameterQuery2);
    for (; rs && !rs->Eof(); rs->MoveNext()) {
        QString name = rs->Text(QStringLiteral("ColName"));
        const bool blankNamed = name.isEmpty();
        if (blankNamed)
            name = mBlankFieldDisplayName;
        if (name.isEmpty())
            continue;
        TARMOField& field = fields.Add(name);
        field.Children().Add(TARMOField::TypeLine(
            rs->Text(QStringLiteral("ColType")), rs->Text(QStringLiteral("ColXprec")),
            rs->Text(QStringLiteral("ColScale")), rs->Text(QStringLiteral("ColLength"))));
        if (bIncludeNullable && !blankNamed)
            field.Children().Add(rs->Field(QStringLiteral("ColNullable")).toInt() != 0
                                     ? QStringLiteral("Nullable")
                                     : QStringLiteral("Not Nullable"));
    }
    return fields;
}

void TARMOObjectVSS::AddOwnerItem(TARMODBTItems& items) const {
    TARMODBTItem& owner = items.Add(QStringLiteral("OWNER") + mDBID);
    owner.Text = mOwner;
    owner.ImageName = QStringLiteral("OWNER");
}

std::unique_ptr<TARMODBTItems> TARMOObjectVSS::GetItemInfo(bool bDisplayOwner, bool bOnlyFields,
                                                           bool bIncludeNullable) {
    auto items = std::make_unique<TARMODBTItems>();
    const QString& d = mDBID;
    if (!mInSQL) {
        if (bDisplayOwner && !mOwner.isEmpty())
            AddOwnerItem(*items);
        TARMODBTItem& missing = items->Add(QStringLiteral("NOTINSQL") + d);
        missing.Text = QStringLiteral("Item out of sync (not in SQL)");
        missing.ImageName = IconName(IconToUse(false));
        return items;
    }
    if (bDisplayOwner && !bOnlyFields && !mOwner.isEmpty())
        AddOwnerItem(*items);

    const TARMOFields fields = GetFields(bIncludeNullable);
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

    if (!bOnlyFields) {
        TARMODBTItem& permission = items->Add(QStringLiteral("P") + d);
        permission.Text = QStringLiteral("Permission");
        permission.Tag = QStringLiteral("Permission");
        permission.ImageName = IconName(QStringLiteral("PERMISSIONS"));
        TARMODBTItem& placeholder = permission.Children().Add(permission.Key + QStringLiteral("_temp"));
        placeholder.Tag = QStringLiteral("temp");
        if (!mInVSS) {
            TARMODBTItem& missing = items->Add(QStringLiteral("NOTINVSS") + d);
            missing.Text = QStringLiteral("Item out of sync (not in VSS)");
            missing.ImageName = IconName(IconToUse(false));
        }
        if (!mCheckedOutBy.isEmpty()) {
            TARMODBTItem& holder = items->Add(QStringLiteral("CHECKEDOUT") + d);
            holder.Text = QStringLiteral("Checked out by ") + mCheckedOutBy;
            holder.ImageName = IconName(QStringLiteral("CHECKEDOUTBY"));
        }
    }
    return items;
}

TARMOContextMenu TARMOObjectVSS::GetContextMenu(bool bShowOwnerInName) const {
    TARMOContextMenu menu;
    menu.DisplayName = bShowOwnerInName && !mOwner.isEmpty() ? mOwner + QLatin1Char('.') + mName : mName;
    if (mInVSS && !mInSQL) {
        menu.AddToSQL = true;
        menu.DeleteFromVSS = true;
    } else if (!mInVSS && mInSQL) {
        menu.AddToVSS = true;
        menu.DeleteFromSQL = true;
        menu.EditPermissions = mHasPermissions;
    } else {
        // Both stores, or neither: the entries of the normal state.
        menu.Edit = menu.Rename = menu.Delete = true;
        menu.EditPermissions = mHasPermissions;
        if (IsCheckedOutByMe()) {
            menu.CheckIn = menu.UndoCheckout = true;
        } else {
            menu.GetLatestVersion = true;
            menu.CheckOut = !IsCheckedOut();
        }
    }
    return menu;
}

QList<TARMOHistoryData> TARMOObjectVSS::History() {
    StoreTraffic::StoreCall();
    return mVSS->GetItemHistory(ItemName(), false);
}

QString TARMOObjectVSS::Description() {
    mDescriptionStore.SetVSSItemName(ItemName());
    return mDescriptionStore.Description();
}

void TARMOObjectVSS::SetDescription(const QString& value) {
    mDescriptionStore.SetVSSItemName(ItemName());
    mDescriptionStore.SetDescription(value);
}

qint64 TARMOObjectVSS::VersionSeconds(const TARMOHistoryData& entry) const {
    return TARMOHistoryData::ParseDate(entry.VersionDate()).toSecsSinceEpoch();
}

QList<TARMOHistoryData> TARMOObjectVSS::DatedHistory() {
    const bool deleted = IsDeleted();
    StoreTraffic::StoreCall();
    QList<TARMOHistoryData> history = mVSS->GetItemHistory(ItemName(), deleted);
    if (!history.isEmpty())
        history.removeFirst(); // element 0 is empty
    return history;
}

QString TARMOObjectVSS::FirstDate() {
    qint64 earliest = TARMOHistoryData::ParseDate(QStringLiteral("2100.01.01")).toSecsSinceEpoch();
    QString first;
    for (const TARMOHistoryData& entry : DatedHistory()) {
        if (VersionSeconds(entry) < earliest) {
            earliest = VersionSeconds(entry);
            first = entry.VersionDate();
        }
    }
    return first;
}

QString TARMOObjectVSS::LastDate() {
    qint64 latest = TARMOHistoryData::ParseDate(QStringLiteral("1900.01.01")).toSecsSinceEpoch();
    QString last;
    for (const TARMOHistoryData& entry : DatedHistory()) {
        if (VersionSeconds(entry) > latest) {
            latest = VersionSeconds(entry);
            last = entry.VersionDate();
        }
    }
    return last;
}

QList<TARMODateSummaryEntry> TARMOObjectVSS::DateSummary(bool OrderByDateAsc) {
    struct Dated {
        qint64 seconds;
        TARMODateSummaryEntry entry;
    };
    QList<Dated> rows;
    for (const TARMOHistoryData& h : DatedHistory())
        rows.append({VersionSeconds(h), {h.VersionDate(), h.Comment(), QString::number(h.VersionNumber())}});
    std::stable_sort(rows.begin(), rows.end(), [OrderByDateAsc](const Dated& a, const Dated& b) {
        return OrderByDateAsc ? a.seconds < b.seconds : a.seconds > b.seconds;
    });
    QList<TARMODateSummaryEntry> summary;
    for (const Dated& row : rows)
        summary.append(row.entry);
    return summary;
}

QString TARMOObjectVSS::DropScript() const {
    return dropScriptFor(SqlQuote::TwoPartName(mOwner, mName));
}

QString TARMOObjectVSS::dropScriptFor(const QString& quotedName) const {
    return mDropSQL1 + SqlQuote::Literal(quotedName) + DropSQL2() + quotedName;
}

// --- Actions

QString TARMOObjectVSS::TemporaryObjectName() {
    const int random = static_cast<int>(std::round(QRandomGenerator::global()->generateDouble() * 2000)) + 1;
    return QStringLiteral("[sptmp_") +
           QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss")) + QLatin1Char('_') +
           QString::number(random) + QLatin1Char(']');
}

QString TARMOObjectVSS::KeywordListText(const modParser::SQLKeywords& keywords) {
    QString text;
    for (qsizetype i = 0; i < keywords.size(); ++i) {
        if (i > 0)
            text += i == keywords.size() - 1 ? QStringLiteral(" or ") : QStringLiteral(", ");
        text += QLatin1Char('"') + keywords[i].join(QLatin1Char(' ')).toUpper() + QLatin1Char('"');
    }
    return text;
}

QString TARMOObjectVSS::StripDriverPrefix(const QString& text) {
    static const QString classic = QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]");
    const QString cut = text.startsWith(classic) ? text.mid(classic.size()) : text;
    return TARMOSQL::FormatSQLError(cut);
}

bool TARMOObjectVSS::GetLatestVersion() {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    StoreTraffic::StoreCall();
    const bool fetched = mVSS->GetLatestVersion(ItemName(), false);
    RefreshState();
    return fetched;
}

bool TARMOObjectVSS::CheckOut() {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    if (mIsNew)
        return false;
    StoreTraffic::StoreCall();
    const bool done = mVSS->CheckOut(ItemName(), false);
    RefreshState();
    return done;
}

bool TARMOObjectVSS::UndoCheckout() {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    if (mIsNew)
        return false;
    StoreTraffic::StoreCall();
    if (!mVSS->UndoCheckout(ItemName(), false))
        return false;
    const bool fetched = GetLatestVersion();
    RefreshState();
    return fetched;
}

bool TARMOObjectVSS::TestItem(const QString& strContent) {
    const QString temporary = TemporaryObjectName();
    QString replaced;
    const QString changed = modParser::ReplaceNameAfterKeywords(mParse, strContent, temporary, replaced);
    if (changed.isEmpty()) {
        critical(QStringLiteral("The ") + KeywordListText(mParse) + QStringLiteral(" could not be found!"),
                 kSyntaxError);
        return false;
    }
    try {
        StoreTraffic::Statements(2);
        mSQL->ExecuteSQL(changed);
        mSQL->ExecuteSQL(dropScriptFor(temporary));
    } catch (const TARMOError& e) {
        critical(StripDriverPrefix(e.Description()), kSyntaxError);
        return false;
    }
    if (mIsNew)
        return true;
    const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(replaced);
    if (!parts.value(0).isEmpty() && parts.value(0).compare(mOwner, Qt::CaseInsensitive) != 0) {
        critical(QStringLiteral("The Owner of the object cannot be changed!"), kSyntaxError);
        return false;
    }
    if (parts.value(1).compare(mName, Qt::CaseInsensitive) != 0) {
        critical(QStringLiteral("The Name of the object cannot be changed!"), kSyntaxError);
        return false;
    }
    return true;
}

bool TARMOObjectVSS::CheckIn(const QString& strContent, const QString& strComment) {
    if (mIsNew)
        return checkInNew(strContent, strComment);
    if (!TestItem(strContent))
        return false;
    QString content = strContent;
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    try {
        // A name without owner would hit the connection user's own object of that name.
        if (mOwner.compare(mSQL->DatabaseUserName(), Qt::CaseInsensitive) != 0) {
            QString replaced;
            const QString qualified = modParser::ReplaceNameAfterKeywords(
                mParse, content, SqlQuote::TwoPartName(mOwner, mName), replaced);
            if (TARMOSQL::ExtractOwnerAndItemName(replaced).value(0).isEmpty() && !qualified.isEmpty())
                content = qualified;
        }
        const QString alter =
            modParser::ReplaceFirstWord(content, QStringLiteral("CREATE"), QStringLiteral("ALTER"));
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(alter);
        StoreTraffic::StoreCall();
        const bool checkedIn = mVSS->CheckIn(ItemName(), content, strComment, false);
        if (checkedIn)
            RefreshState();
        return checkedIn;
    } catch (const TARMOError& e) {
        critical(StripDriverPrefix(e.Description()), kCouldNotCheckIn);
        return false;
    }
}

bool TARMOObjectVSS::checkInNew(const QString& strContent, const QString& strComment) {
    if (!TestItem(strContent))
        return false;
    const QString found = modParser::FindNameAfterKeywords(mParse, strContent);
    const QStringList parts = TARMOSQL::ExtractOwnerAndItemName(found);
    const QString owner = parts.value(0);
    const QString name = parts.value(1);
    if (found.isEmpty() || name.isEmpty()) {
        critical(QStringLiteral("Item Name could not be extracted from ") + mObjectDisplayName +
                     QStringLiteral(" content!"),
                 kCouldNotCheckIn);
        return false;
    }
    try {
        StoreTraffic::Statements();
        if (!mSQL->GetObjectID(name, owner).isEmpty()) {
            critical(QStringLiteral("Item Name specified ('") + found +
                         QStringLiteral("') already exists in the database!"),
                     kCouldNotCheckIn);
            return false;
        }
        StoreTraffic::Statements(2);
        mSQL->ExecuteSQL(strContent);
        mDBID = mSQL->GetObjectID(name, owner);
    } catch (const TARMOError& e) {
        critical(StripDriverPrefix(e.Description()), kCouldNotCheckIn);
        return false;
    }
    if (mDBID.isEmpty()) {
        critical(QStringLiteral("Item Name could not be added to the Database! After creating the object, it "
                                "could not be located in the database!"),
                 kCouldNotCheckIn);
        return false;
    }
    // Set directly: the temporary file goes only once the store has the text.
    mIsNew = false;
    mInSQL = true;
    // The list files the object by name even where the store refuses it below.
    mName = name;
    mOwner = owner;
    StoreTraffic::StoreCall();
    mInVSS = mVSS->AddItem(ItemName(), strContent, false, strComment);
    ClearNewObjectFile();
    if (mInVSS)
        RefreshState();
    NewItemCreated_Event();
    return mInVSS;
}

QString TARMOObjectVSS::StoreObjectName() const {
    return ObjectDisplayName().toLower() + QLatin1Char(' ') + qualifiedDisplayName();
}

QString TARMOObjectVSS::qualifiedDisplayName() const {
    return mOwner.isEmpty() ? mName : mOwner + QLatin1Char('.') + mName;
}

bool TARMOObjectVSS::SyncAdd(StoreLocation addLocation) {
    const QString where = addLocation == LocationVSS ? QStringLiteral("VSS") : QStringLiteral("SQL");
    try {
        if (addLocation == LocationVSS) {
            StoreTraffic::Statements(2);
            const QString text = mSQL->GetObjectText(mDBID);
            StoreTraffic::StoreCall();
            if (!mVSS->AddItem(ItemName(), text, false, QString()))
                return false;
            mInVSS = true;
            return true;
        }
        StoreTraffic::StoreCall();
        const QString text = mVSS->ItemContent(ItemName(), false);
        // The item is renamed after the id of what the text creates: a text that creates nothing
        // would leave it under a name no list shows.
        if (modParser::FindNameAfterKeywords(mParse, text).isEmpty()) {
            critical(QStringLiteral("Could not add the item ") + qualifiedDisplayName() +
                         QStringLiteral(" to SQL: its text holds no ") + KeywordListText(mParse) +
                         QStringLiteral(" statement."),
                     QStringLiteral("Item not added"));
            return false;
        }
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(text);
        StoreTraffic::Statements();
        const QString id = mSQL->GetObjectID(mName, mOwner.isEmpty() ? QStringLiteral("dbo") : mOwner);
        if (id.isEmpty()) {
            critical(QStringLiteral("Could not add the item ") + qualifiedDisplayName() +
                         QStringLiteral(" to SQL: after running its text, the object could not be located "
                                        "in the database."),
                     QStringLiteral("Item not added"));
            return false;
        }
        mInSQL = true;
        if (id != mDBID) {
            // The file is named by the id, which the server gives anew; the description goes with it.
            const QString oldItem = ItemName();
            StoreTraffic::StoreCall();
            mVSS->RenameItem(oldItem, id + mVSSExt);
            StoreTraffic::StoreCall();
            mVSS->RenameItem(oldItem + TARMODescription::Extension,
                             id + mVSSExt + TARMODescription::Extension, true, true);
            mDBID = id;
        }
        return true;
    } catch (const TARMOError& e) {
        critical(QStringLiteral("Could not add the item ") + qualifiedDisplayName() + QStringLiteral(" to ") +
                     where + QStringLiteral("\n\nError Description: ") + e.Description(),
                 QStringLiteral("Item not added"));
        return false;
    }
}

bool TARMOObjectVSS::SyncRemove(StoreLocation removeLocation) {
    if (removeLocation == LocationVSS) {
        StoreTraffic::StoreCall();
        return mVSS->RemoveItem(ItemName(), false);
    }
    StoreTraffic::Statements();
    mSQL->ExecuteSQL(DropScript());
    return true;
}

bool TARMOObjectVSS::SyncChange(StoreLocation chngLocation) {
    const QString where = chngLocation == LocationVSS ? QStringLiteral("VSS") : QStringLiteral("SQL");
    try {
        if (chngLocation == LocationVSS) {
            StoreTraffic::Statements(2);
            const QString text = mSQL->GetObjectText(mDBID);
            StoreTraffic::StoreCall();
            return mVSS->ChangeItemContent(ItemName(), text, QStringLiteral("Synchronization"), false);
        }
        StoreTraffic::StoreCall();
        const QString text = mVSS->ItemContent(ItemName(), false);
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(
            modParser::ReplaceFirstWord(text, QStringLiteral("CREATE"), QStringLiteral("ALTER")));
        return true;
    } catch (const TARMOError& e) {
        critical(QStringLiteral("Could not change the item ") + qualifiedDisplayName() +
                     QStringLiteral(" in ") + where + QStringLiteral("\n\nError Description: ") +
                     e.Description(),
                 QStringLiteral("Item not changed"));
        return false;
    }
}

TARMOPermissions TARMOObjectVSS::GetPermissions(bool bOnlyShowSetPermissions, long ListFilter) {
    TARMOPermissions permissions;
    if (!mHasPermissions || mIsNew || !mInSQL)
        return permissions;
    permissions.ActiveDBConnection = mSQL;
    permissions.DatabaseID = mDBID;
    permissions.HasExecuteOnly = mPermissionMode == 1;
    permissions.HasExecAndRefOnly = mPermissionMode == 2;
    permissions.QuickList = bOnlyShowSetPermissions;
    permissions.Show = ListFilter;
    permissions.GetItemPermissions();
    return permissions;
}

void TARMOObjectVSS::NewItemCreated_Event() {
    if (mParentList)
        mParentList->ItemAdded_Event(this);
}
