#include "TARMOVSS.h"

#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "TARMOError.h"
#include "UserPrompts.h"
#include "VersionStore.h"

#include <QDateTime>
#include <QRandomGenerator>

namespace {

const QString connectionErrorTitle = QStringLiteral("Connection Error");

// The item that a NamedItem names, and its object; one at a time, since all of this runs on one thread.
QString gNamedItem, gNamedObject;

QString withObjectName(const QString& text) {
    if (gNamedItem.isEmpty())
        return text;
    const QString quoted = QLatin1Char('\'') + gNamedItem + QLatin1Char('\'');
    const qsizetype at = text.indexOf(quoted, 0, Qt::CaseInsensitive);
    if (at < 0)
        return text;
    QString named = text;
    named.insert(at + quoted.size(), QStringLiteral(" (") + gNamedObject + QLatin1Char(')'));
    return named;
}

// Runs one step of an operation that reports its own failures: any error becomes the critical box of
// the operation (unless silent) and a False result. What was done before the error stays done.
template <typename Step>
bool reported(bool bSilent, const QString& title, const QString& firstLine, Step step) {
    QString description;
    try {
        return step();
    } catch (const TARMOError& e) {
        description = e.Description();
    } catch (const std::exception& e) {
        description = QString::fromUtf8(e.what());
    }
    if (!bSilent)
        MsgBox(
            withObjectName(firstLine + QLatin1Char('\n') + QLatin1Char('(') + description + QLatin1Char(')')),
            Prompt::Buttons::OK, Prompt::Icon::Critical, title);
    return false;
}

QString descriptionOf(const std::exception& e) {
    if (const auto* error = dynamic_cast<const TARMOError*>(&e))
        return error->Description();
    return QString::fromUtf8(e.what());
}

// Gives back a check-out after a failed step; the failure that led here is the one to report.
void undoQuietly(StoreItem& item) {
    try {
        item.UndoCheckout(QString());
    } catch (const std::exception&) {
        // the store is out of reach: the first error says so
    }
}

// A name for a version's text in the working folder that no item has: the time to the second and a
// random number.
QString temporaryVersionName() {
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss"));
    return stamp + QString::number(QRandomGenerator::global()->bounded(1, 1002)) + QStringLiteral(".tmp");
}

} // namespace

TARMOVSS::NamedItem::NamedItem(const QString& ItemName, const QString& objectName)
    : mPreviousItem(gNamedItem)
    , mPreviousName(gNamedObject) {
    gNamedItem = ItemName;
    gNamedObject = objectName;
}

TARMOVSS::NamedItem::~NamedItem() {
    gNamedItem = mPreviousItem;
    gNamedObject = mPreviousName;
}

TARMOVSS::TARMOVSS() = default;
TARMOVSS::~TARMOVSS() = default;

void TARMOVSS::SetGeneralWorkingFolder(const QString& value) {
    mGeneralWorkingFolder = value;
    if (!mGeneralWorkingFolder.endsWith(QLatin1Char('/')) &&
        !mGeneralWorkingFolder.endsWith(QLatin1Char('\\')))
        mGeneralWorkingFolder += QLatin1Char('/');
}

QString TARMOVSS::GetItemFileName(const QString& ItemName) const {
    return mGeneralWorkingFolder + ItemName;
}

VersionStore& TARMOVSS::database() const {
    if (!mVSSDatabase)
        throw TARMOError(StoreErrors::NotOpen, QStringLiteral("TARMOVSS"),
                         QStringLiteral("There is no open connection to the version store."));
    return *mVSSDatabase;
}

StoreItem TARMOVSS::GetVSSItem(const QString& ItemName, bool bDeleted) const {
    return database().Item(database().CurrentProject() + QLatin1Char('/') + ItemName, bDeleted);
}

StoreItem TARMOVSS::GetProjectItem() const {
    return database().Item(database().CurrentProject(), false);
}

void TARMOVSS::CloseConnection() {
    mConnectionOpen = false;
    mVSSDatabase.reset();
}

QString TARMOVSS::OpenConnection(const QString& strIniFile, const QString& strUsername,
                                 const QString& strPassword, const QString& strProject,
                                 const QString& strGeneralWorkingFolder, bool bSilent,
                                 bool bIgnorePasswordSetFlag) {
    CloseConnection();
    const QString iniFile = strIniFile.isEmpty() ? mIniFile : strIniFile;
    QString userName = strUsername.isEmpty() ? mUserName : strUsername;
    QString password = strPassword.isEmpty() ? mPassword : strPassword;
    const QString project = strProject.isEmpty() ? mProject : strProject;
    const QString folder =
        strGeneralWorkingFolder.isEmpty() ? mGeneralWorkingFolder : strGeneralWorkingFolder;

    auto fail = [bSilent](const QString& text) {
        if (!bSilent)
            MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Critical, connectionErrorTitle);
        return text;
    };

    if (password.isEmpty() && !bIgnorePasswordSetFlag && !mHasConnected && !mStorePassword) {
        if (!prompts().VSSLogin(iniFile, userName, password))
            return fail(QStringLiteral("Password was not entered!"));
    }
    if (const QString error = TestConnection(iniFile, userName, password, project); !error.isEmpty())
        return fail(error);

    try {
        auto database = std::make_unique<VersionStore>();
        database->Open(iniFile, userName, password);
        database->SetCurrentProject(project);
        mVSSDatabase = std::move(database);
    } catch (const std::exception& e) {
        return fail(descriptionOf(e));
    }
    mConnectionOpen = true;
    mIniFile = iniFile;
    mUserName = userName;
    mPassword = password;
    mProject = project;
    SetGeneralWorkingFolder(folder);
    mHasConnected = true;
    return {};
}

QString TARMOVSS::TestConnection(const QString& strIniFile, const QString& strUsername,
                                 const QString& strPassword, const QString& strCheckProject) {
    try {
        VersionStore database;
        database.Open(strIniFile, strUsername, strPassword);
        if (!strCheckProject.isEmpty()) {
            database.SetCurrentProject(strCheckProject);
            database.Item(strCheckProject, false);
        }
    } catch (const std::exception& e) {
        return descriptionOf(e);
    }
    return {};
}

QString TARMOVSS::CreateNewProject(const QString& ParentProject, const QString& newProject) {
    try {
        database().Item(ParentProject, false).NewSubproject(newProject, QString());
    } catch (const TARMOError& e) {
        switch (e.Number()) {
        case StoreErrors::NameExists:
            return QStringLiteral("The Project '") + ParentProject + newProject +
                   QStringLiteral("' already exists!");
        case StoreErrors::NameStructure:
            return QStringLiteral("The Project '") + newProject +
                   QStringLiteral("' could not be added (Problem with the name structure)!");
        case StoreErrors::InvalidName:
            return QStringLiteral("The New Project Name '") + newProject + QStringLiteral("' is invalid!");
        default:
            return e.Description();
        }
    } catch (const std::exception& e) {
        return descriptionOf(e);
    }
    return {};
}

bool TARMOVSS::RenameItem(const QString& OldName, const QString& NewName, bool bSilent, bool ItemMayNotExist,
                          bool ItemIsDeleted) {
    if (ItemMayNotExist && !ItemExists(OldName, ItemIsDeleted))
        return false;
    return reported(bSilent, QStringLiteral("Could not Rename Item"),
                    QStringLiteral("An error ocuured while renaming the item '") + OldName +
                        QStringLiteral("' to '") + NewName + QStringLiteral("."),
                    [&] {
                        StoreItem item = GetVSSItem(OldName, ItemIsDeleted);
                        if (item.IsCheckedOut() != VSSFILE_NOTCHECKEDOUT)
                            return false;
                        // A deleted item takes its new name as it comes back, so that a living item of
                        // the old name can't stand in the way; one step, so a refusal leaves it deleted.
                        if (ItemIsDeleted && item.Deleted())
                            item.RecoverAs(NewName);
                        else
                            item.SetName(NewName);
                        return true;
                    });
}

void TARMOVSS::checkinText(StoreItem& item, const QString& ItemName, const QString& content,
                           const QString& comment) {
    const QString file = GetItemFileName(ItemName);
    item.Checkout(QString(), file);
    try {
        WriteTextFile(file, content);
        item.Checkin(comment, file);
    } catch (...) {
        // A text that didn't get in must not leave the item held by nobody's editor.
        undoQuietly(item);
        throw;
    }
}

bool TARMOVSS::RenameItemWithNewContent(const QString& OldName, const QString& NewName,
                                        const QString& NewContent, const QString& Comment, bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not Rename Item"),
                    QStringLiteral("An error ocuured while renaming the item '") + OldName +
                        QStringLiteral("' to '") + NewName + QStringLiteral("."),
                    [&] {
                        StoreItem item = GetVSSItem(OldName, false);
                        if (item.IsCheckedOut() != VSSFILE_NOTCHECKEDOUT)
                            return false;
                        checkinText(item, OldName, NewContent, Comment);
                        item.SetName(NewName);
                        return true;
                    });
}

bool TARMOVSS::RemoveItem(const QString& ItemName, bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not remove Item"),
                    QStringLiteral("An error ocuured while trying to remove the item '") + ItemName +
                        QStringLiteral("'."),
                    [&] {
                        DeleteFileIfExists(GetItemFileName(ItemName), true);
                        GetVSSItem(ItemName, false).SetDeleted(true);
                        return true;
                    });
}

bool TARMOVSS::AddItem(const QString& ItemName, const QString& strContent, bool bSilent,
                       const QString& strComment) {
    return reported(bSilent, QStringLiteral("Could not add Item"),
                    QStringLiteral("An error ocuured while trying to add the item '") + ItemName +
                        QStringLiteral("'."),
                    [&] {
                        if (ItemExists(ItemName, true)) {
                            // The old item comes back with its history, and the text as a new version;
                            // without the text it goes back to being deleted.
                            StoreItem item = GetVSSItem(ItemName, true);
                            item.SetDeleted(false);
                            try {
                                checkinText(item, ItemName, strContent, strComment);
                            } catch (...) {
                                try {
                                    item.SetDeleted(true);
                                } catch (const std::exception&) {
                                    // the first error is the one to report
                                }
                                throw;
                            }
                            return true;
                        }
                        const QString file = GetItemFileName(ItemName);
                        CreateTextFile(file, strContent);
                        GetProjectItem().Add(file, strComment);
                        return true;
                    });
}

bool TARMOVSS::ChangeItemContent(const QString& ItemName, const QString& strContent,
                                 const QString& strComment, bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not change Item"),
                    QStringLiteral("An error ocuured while trying to change the item '") + ItemName +
                        QStringLiteral("'."),
                    [&] {
                        StoreItem item = GetVSSItem(ItemName, false);
                        checkinText(item, ItemName, strContent, strComment);
                        return true;
                    });
}

bool TARMOVSS::GetLatestVersion(const QString& ItemName, bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not get latest version"),
                    QStringLiteral("An error ocuured while trying to get the latest version of the item '") +
                        ItemName + QStringLiteral("'."),
                    [&] {
                        StoreItem item = GetVSSItem(ItemName, false);
                        if (item.IsCheckedOut() != VSSFILE_CHECKEDOUT_ME) {
                            QString local = GetItemFileName(ItemName);
                            item.Get(local);
                        }
                        return true;
                    });
}

bool TARMOVSS::CheckIn(const QString& ItemName, const QString& strContent, const QString& Comment,
                       bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not check in"),
                    QStringLiteral("An error ocuured while trying to check in the item '") + ItemName +
                        QStringLiteral("'."),
                    [&] {
                        StoreItem item = GetVSSItem(ItemName, false);
                        if (item.IsCheckedOut() != VSSFILE_CHECKEDOUT_ME)
                            return false;
                        const QString file = GetItemFileName(ItemName);
                        if (!strContent.isEmpty())
                            WriteTextFile(file, strContent);
                        item.Checkin(Comment, file);
                        return true;
                    });
}

bool TARMOVSS::CheckOut(const QString& ItemName, bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not check out"),
                    QStringLiteral("An error ocuured while trying to check out the item '") + ItemName +
                        QStringLiteral("'."),
                    [&] {
                        StoreItem item = GetVSSItem(ItemName, false);
                        if (item.IsCheckedOut() != VSSFILE_NOTCHECKEDOUT)
                            return false;
                        item.Checkout(QString(), GetItemFileName(ItemName));
                        return true;
                    });
}

bool TARMOVSS::UndoCheckout(const QString& ItemName, bool bSilent) {
    return reported(bSilent, QStringLiteral("Could not undo check out"),
                    QStringLiteral("An error ocuured while trying to undo the check out for the item '") +
                        ItemName + QStringLiteral("'."),
                    [&] {
                        StoreItem item = GetVSSItem(ItemName, false);
                        if (item.IsCheckedOut() != VSSFILE_CHECKEDOUT_ME)
                            return false;
                        item.UndoCheckout(GetItemFileName(ItemName));
                        return true;
                    });
}

QStringList TARMOVSS::GetProjectSubFolders(const QString& strProject) {
    QStringList folders{QString()};
    for (const StoreItem& child : database().Item(strProject, false).Items(false))
        if (child.Type() == StoreItem::Project)
            folders << child.Name();
    return folders;
}

QString TARMOVSS::checkedOutBy(const StoreItem& item) const {
    switch (item.IsCheckedOut()) {
    case VSSFILE_CHECKEDOUT_ME:
        return mUserName;
    case VSSFILE_CHECKEDOUT:
        return item.Holders().join(QStringLiteral(", "));
    default:
        return {};
    }
}

TARMOVSSItems TARMOVSS::Items(const QString& Filter, bool bDeleted, bool bDeletedOnly) {
    TARMOVSSItems items(this);
    const QString ending = Filter.mid(1);
    for (const StoreItem& entry : GetProjectItem().Items(bDeleted)) {
        const QString name = entry.Name();
        if (!ending.isEmpty() && !name.endsWith(ending, Qt::CaseSensitive))
            continue;
        if (bDeletedOnly && !entry.Deleted())
            continue;
        // One entry per name: the store lists the living item before deleted ones of the same name.
        if (items.Contains(name))
            continue;
        items.Add(name, entry.IsCheckedOut() != VSSFILE_NOTCHECKEDOUT ? CheckedOutBy(name) : QString());
    }
    return items;
}

TARMOVSSItem TARMOVSS::Item(const QString& ItemName) {
    const StoreItem entry = GetVSSItem(ItemName, false);
    TARMOVSSItem item;
    item.mName = entry.Name();
    item.mCheckedOutBy = checkedOutBy(entry);
    item.mConnection = this;
    return item;
}

QString TARMOVSS::CheckedOutBy(const QString& ItemName) {
    return checkedOutBy(GetVSSItem(ItemName, false));
}

QString TARMOVSS::ItemContentForVersion(const QString& ItemName, long VersionNumber, bool bSilent) {
    QString text;
    QString file;
    reported(bSilent, QStringLiteral("Could not get Item Content"),
             QStringLiteral("An error ocuured while trying to retrieve the contents for item '") + ItemName +
                 QStringLiteral("', version '") + QString::number(VersionNumber) + QStringLiteral("'."),
             [&] {
                 for (const StoreVersion& version : GetVSSItem(ItemName, false).Versions()) {
                     if (version.IsLabel() || version.VersionNumber() != VersionNumber)
                         continue;
                     file = GetItemFileName(temporaryVersionName());
                     version.Get(file);
                     text = ReadTextFile(file);
                     break;
                 }
                 return true;
             });
    // The version's text never stays on disk, whether the read worked or not.
    if (!file.isEmpty())
        DeleteFileIfExists(file, true);
    return text;
}

QString TARMOVSS::ItemContent(const QString& ItemName, bool IfCheckedOutUseIt, long VersionNumer,
                              bool bSilent, bool bDeleted) {
    if (VersionNumer != -1)
        return ItemContentForVersion(ItemName, VersionNumer, bSilent);
    QString text;
    QString temporary;
    reported(bSilent, QStringLiteral("Could not get Item Content"),
             QStringLiteral("An error ocuured while trying to retrieve the contents for item '") + ItemName +
                 QStringLiteral("'."),
             [&] {
                 StoreItem item = GetVSSItem(ItemName, bDeleted);
                 QString file = GetItemFileName(ItemName);
                 const bool mine = item.IsCheckedOut() == VSSFILE_CHECKEDOUT_ME;
                 if (mine && IfCheckedOutUseIt && FileExists(file)) {
                     text = ReadTextFile(file);
                     return true;
                 }
                 // The working file of a check-out holds work in progress: read the store's text beside it.
                 if (mine) {
                     file = GetItemFileName(QStringLiteral("tmp.") + ItemName);
                     temporary = file;
                 }
                 item.Get(file);
                 text = ReadTextFile(file);
                 return true;
             });
    if (!temporary.isEmpty())
        DeleteFileIfExists(temporary, true);
    return text;
}

bool TARMOVSS::ItemExists(const QString& ItemName, bool bCheckDeleted) {
    try {
        GetVSSItem(ItemName, bCheckDeleted);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool TARMOVSS::ItemIsDeleted(const QString& ItemName) {
    return ItemExists(ItemName, true);
}

QList<TARMOHistoryData> TARMOVSS::GetItemHistory(const QString& ItemName, bool bDeleted) {
    QList<TARMOHistoryData> history{TARMOHistoryData()};
    for (const StoreVersion& version : GetVSSItem(ItemName, bDeleted).Versions()) {
        TARMOHistoryData entry;
        entry.mVersionNumber = version.VersionNumber();
        entry.mUserName = version.UserName();
        entry.mAction = version.Action();
        entry.mVersionDate = TARMOHistoryData::FormatDate(version.Date());
        entry.mComment = version.Comment();
        entry.mIsLabel = entry.mAction.startsWith(QLatin1String("Label"));
        entry.mLabelComment = entry.mIsLabel ? version.LabelComment() : QString();
        history << entry;
    }
    return history;
}

void TARMOVSS::GetDate(QString& StartDate, QString& EndDate) {
    StartDate = QStringLiteral("2100.01.01");
    EndDate = QStringLiteral("1900.01.01");
    qint64 earliest = TARMOHistoryData::ParseDate(StartDate).toSecsSinceEpoch();
    qint64 latest = TARMOHistoryData::ParseDate(EndDate).toSecsSinceEpoch();
    for (const StoreItem& item : GetProjectItem().Items(true)) {
        for (const StoreVersion& version : item.Versions()) {
            const qint64 seconds = version.Date().toSecsSinceEpoch();
            if (seconds > latest) {
                latest = seconds;
                EndDate = TARMOHistoryData::FormatDate(version.Date());
            }
            if (seconds < earliest) {
                earliest = seconds;
                StartDate = TARMOHistoryData::FormatDate(version.Date());
            }
        }
    }
}
