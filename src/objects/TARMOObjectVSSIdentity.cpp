// The operations of TARMOObjectVSS that give an object a new identity (rename, rollback across a
// rename, undelete) and plain delete. Kept apart from the check-in actions for the size of the file.
#include "TARMOObjectVSS.h"

#include "SqlQuote.h"
#include "StoreTraffic.h"
#include "TARMOError.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"

namespace {

const QString kRenameAborted = QStringLiteral("Rename Aborted");
const QString kRenamed = QStringLiteral("Item Successfully Renamed");
const QString kPermissionsLost =
    QStringLiteral("WARNING: The permissions of the Old Item could not be transfered to the New Item!");

void show(const QString& text, const QString& title, Prompt::Icon icon) {
    prompts().MessageBox(text, Prompt::Buttons::OK, icon, title);
}

// Hands a permission set read from the old object to the object with the new id. False where the
// server refused a statement or the new object is gone.
bool carryPermissions(TARMOPermissions& permissions, const QString& newID) {
    permissions.DatabaseID = newID;
    try {
        StoreTraffic::Statements();
        return permissions.Save();
    } catch (const TARMOError&) {
        return false;
    }
}

} // namespace

QString TARMOObjectVSS::CleanSQLError(const QString& description) {
    return StripDriverPrefix(description);
}

bool TARMOObjectVSS::RenameItem(const QString& NewName, bool) {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    if (mIsNew) {
        show(QStringLiteral("Cannot rename a New Item!"), kRenameAborted, Prompt::Icon::Critical);
        return false;
    }
    if (IsCheckedOut()) {
        show(QStringLiteral("Cannot rename a Item! It is currently Checkd Out by ") + mCheckedOutBy,
             kRenameAborted, Prompt::Icon::Critical);
        return false;
    }
    if (!(mInVSS && mInSQL)) {
        show(QStringLiteral("Cannot rename a Item! It is currently out of Sync"), kRenameAborted,
             Prompt::Icon::Critical);
        return false;
    }
    const QString sameName = QStringLiteral("Cannot rename a Item! The New name is the same as the old Name");
    if (NewName.compare(mName, Qt::CaseInsensitive) == 0) {
        show(sameName, kRenameAborted, Prompt::Icon::Critical);
        return false;
    }

    const QString content = GetContent(LocationVSS, -1, false);
    QString oldName;
    const QString renamed =
        modParser::ReplaceNameAfterKeywords(mParse, content, SqlQuote::TwoPartName(mOwner, NewName), oldName);
    if (renamed.isEmpty()) {
        show(QStringLiteral("The ") + KeywordListText(mParse) + QStringLiteral(" could not be found!"),
             kRenameAborted, Prompt::Icon::Critical);
        return false;
    }
    // The stored text may carry another name than the object (renamed on the server alone).
    if (TARMOSQL::ExtractOwnerAndItemName(oldName).value(1).compare(NewName, Qt::CaseInsensitive) == 0) {
        show(sameName, kRenameAborted, Prompt::Icon::Critical);
        return false;
    }

    QString newID;
    try {
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(renamed);
        StoreTraffic::Statements();
        newID = mSQL->GetObjectID(NewName, mOwner);
    } catch (const TARMOError& e) {
        show(CleanSQLError(e.Description()), QStringLiteral("Could not Rename Item"), Prompt::Icon::Critical);
        return false;
    }
    if (newID.isEmpty()) {
        show(QStringLiteral("Cannot rename a Item! After creating the New object, it could not be located in "
                            "the database!"),
             kRenameAborted, Prompt::Icon::Critical);
        return false;
    }

    // Read while the old object still stands: permissions hang on the id.
    TARMOPermissions permissions;
    if (mHasPermissions)
        permissions = GetPermissions(true, 0);

    const QString oldItem = ItemName();
    const QString newItem = newID + mVSSExt;
    StoreTraffic::StoreCall();
    if (!mVSS->RenameItemWithNewContent(oldItem, newItem, renamed,
                                        QStringLiteral("Item renamed from [") + mName +
                                            QStringLiteral("] to [") + NewName + QLatin1Char(']'),
                                        false))
        return false;

    // The object follows the store before the old one goes, so a refused drop leaves it right.
    const QString drop = DropScript();
    mDBID = newID;
    mName = NewName;
    mDescriptionStore.SetVSSItemName(oldItem);
    StoreTraffic::Statements();
    mSQL->ExecuteSQL(drop);
    StoreTraffic::StoreCall();
    mDescriptionStore.Rename(newItem);

    if (mHasPermissions && !carryPermissions(permissions, newID)) {
        show(kPermissionsLost, kRenamed, Prompt::Icon::Exclamation);
        return true;
    }
    show(QStringLiteral("Item was successfully renamed from [") + oldName + QStringLiteral("] to [") +
             NewName + QLatin1Char(']'),
         kRenamed, Prompt::Icon::Information);
    return true;
}

bool TARMOObjectVSS::DeleteItem() {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    StoreTraffic::Statements();
    mSQL->ExecuteSQL(DropScript());
    mInSQL = false;
    StoreTraffic::StoreCall();
    if (!mVSS->RemoveItem(ItemName(), false))
        return false;
    mInVSS = false;
    return true;
}

bool TARMOObjectVSS::Rollback(long RollbackToVersion, bool bSilent) {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    if (!mCheckedOutBy.isEmpty()) {
        if (!bSilent)
            show(QStringLiteral("The item is currently checkedout by '") + mCheckedOutBy +
                     QStringLiteral("'. In order to rollback an item it must be checked in!"),
                 QStringLiteral("Rollback Unsuccessful"), Prompt::Icon::Exclamation);
        return false;
    }
    const QString item = ItemName();
    StoreTraffic::StoreCall();
    const QString latest = mVSS->ItemContent(item, false, -1);
    StoreTraffic::StoreCall();
    const QString version = mVSS->ItemContent(item, false, RollbackToVersion);
    if (latest == version) {
        if (!bSilent)
            show(QStringLiteral("The current version and the selected version are identical!"),
                 QStringLiteral("Rollback not Requred"), Prompt::Icon::Exclamation);
        return false;
    }
    const QStringList parts =
        TARMOSQL::ExtractOwnerAndItemName(modParser::FindNameAfterKeywords(mParse, version));
    const QString versionName = parts.value(1);
    const QString comment = QStringLiteral("Rollback to version: ") + QString::number(RollbackToVersion);

    if (versionName.compare(mName, Qt::CaseInsensitive) == 0) {
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(
            modParser::ReplaceFirstWord(version, QStringLiteral("CREATE"), QStringLiteral("ALTER")));
        StoreTraffic::StoreCall();
        mVSS->CheckOut(item, false);
        StoreTraffic::StoreCall();
        mVSS->CheckIn(item, version, comment, false);
        return true;
    }

    // The version stems from before a rename: its name comes back under a new id.
    QString newID;
    try {
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(version);
        StoreTraffic::Statements();
        newID = mSQL->GetObjectID(versionName, mOwner);
    } catch (const TARMOError& e) {
        show(CleanSQLError(e.Description()), QStringLiteral("Could not Rollback Item"),
             Prompt::Icon::Critical);
        return false;
    }
    if (newID.isEmpty()) {
        show(QStringLiteral("Cannot rollback the Item! After creating the object, it could not be located in "
                            "the database!"),
             QStringLiteral("Could not Rollback Item"), Prompt::Icon::Critical);
        return false;
    }
    TARMOPermissions permissions;
    if (mHasPermissions)
        permissions = GetPermissions(true, 0);

    const QString newItem = newID + mVSSExt;
    StoreTraffic::StoreCall();
    if (!mVSS->RenameItemWithNewContent(item, newItem, version,
                                        comment + QStringLiteral(". NOTE: Item renamed from [") + mName +
                                            QStringLiteral("] to [") + versionName + QLatin1Char(']'),
                                        false))
        return false;
    mDescriptionStore.SetVSSItemName(item);
    StoreTraffic::StoreCall();
    mDescriptionStore.Rename(newItem);

    const QString drop = DropScript();
    mDBID = newID;
    mName = versionName;
    StoreTraffic::Statements();
    mSQL->ExecuteSQL(drop);

    if (mHasPermissions && !carryPermissions(permissions, newID))
        show(kPermissionsLost, QStringLiteral("Problem Coping Object Permissions"),
             Prompt::Icon::Exclamation);
    return true;
}

bool TARMOObjectVSS::UnDelete(bool) {
    const TARMOVSS::NamedItem named(ItemName(), StoreObjectName());
    const QString oldItem = ItemName();
    StoreTraffic::StoreCall();
    const QString text = mVSS->ItemContent(oldItem, true, -1, false, true);
    // An unreadable text was reported by the store; there is nothing to create.
    if (text.isEmpty())
        return false;
    QString newID;
    try {
        StoreTraffic::Statements();
        mSQL->ExecuteSQL(text);
        StoreTraffic::Statements();
        newID = mSQL->GetObjectID(mName, mOwner);
    } catch (const TARMOError& e) {
        show(CleanSQLError(e.Description()), QStringLiteral("Could not Undelete Item"),
             Prompt::Icon::Critical);
        return false;
    }
    const QString aborted = QStringLiteral("Undelete Aborted");
    if (newID.isEmpty()) {
        show(QStringLiteral("Cannot undelete the Item! After creating the object, it could not be located in "
                            "the database!"),
             aborted, Prompt::Icon::Critical);
        return false;
    }
    StoreTraffic::StoreCall();
    if (!mVSS->RenameItem(oldItem, newID + mVSSExt, false, false, true)) {
        // The object made a moment ago goes again, so the deleted object stays as it was; where
        // the server refuses, the object is what stands in SQL Server, for a synchronization to show.
        try {
            StoreTraffic::Statements();
            mSQL->ExecuteSQL(DropScript());
        } catch (const TARMOError&) {
            mDBID = newID;
            mInSQL = true;
        }
        show(QStringLiteral("Cannot undelete the Item! There was a problem renaming the VSS file!"), aborted,
             Prompt::Icon::Critical);
        return false;
    }
    mInSQL = true;
    mDBID = newID;
    mInVSS = true;
    return true;
}
