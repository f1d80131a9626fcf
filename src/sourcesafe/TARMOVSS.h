#pragma once

#include "TARMOHistoryData.h"
#include "TARMOVSSItems.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class StoreItem;
class VersionStore;

// The one gateway to the version store for a project: name-based operations on the files directly
// inside one store project, whose working copies lie in GeneralWorkingFolder under the same names.
// Operations with bSilent report their own failures in a critical box unless bSilent is set; a refusal
// because of an item's state is a False without a box.
class TARMOVSS {
public:
    // The three states of IsCheckedOut of a store item.
    enum { VSSFILE_NOTCHECKEDOUT = 0, VSSFILE_CHECKEDOUT = 1, VSSFILE_CHECKEDOUT_ME = 2 };

    // While it lives, a failure reported about the item also names its object ("view dbo.Totals"):
    // a store file name such as '1013578660.vw' alone doesn't tell the user what failed.
    class NamedItem {
    public:
        NamedItem(const QString& ItemName, const QString& objectName);
        ~NamedItem();
        NamedItem(const NamedItem&) = delete;
        NamedItem& operator=(const NamedItem&) = delete;

    private:
        QString mPreviousItem, mPreviousName;
    };

    TARMOVSS();
    ~TARMOVSS();
    TARMOVSS(const TARMOVSS&) = delete;
    TARMOVSS& operator=(const TARMOVSS&) = delete;

    QString IniFile() const { return mIniFile; }
    void SetIniFile(const QString& value) { mIniFile = value; }
    QString UserName() const { return mUserName; }
    void SetUserName(const QString& value) { mUserName = value; }
    QString Password() const { return mPassword; }
    void SetPassword(const QString& value) { mPassword = value; }
    bool StorePassword() const { return mStorePassword; }
    void SetStorePassword(bool value) { mStorePassword = value; }
    QString Project() const { return mProject; }
    void SetProject(const QString& value) { mProject = value; }
    QString GeneralWorkingFolder() const { return mGeneralWorkingFolder; }
    // Adds the trailing separator ("" becomes "/").
    void SetGeneralWorkingFolder(const QString& value);
    bool ConnectionOpen() const { return mConnectionOpen; }

    QString GetItemFileName(const QString& ItemName) const;

    // Connection: "" on success, else the error text.
    void CloseConnection();
    QString OpenConnection(const QString& strIniFile = {}, const QString& strUsername = {},
                           const QString& strPassword = {}, const QString& strProject = {},
                           const QString& strGeneralWorkingFolder = {}, bool bSilent = false,
                           bool bIgnorePasswordSetFlag = false);
    QString TestConnection(const QString& strIniFile, const QString& strUsername,
                           const QString& strPassword = {}, const QString& strCheckProject = {});
    QString CreateNewProject(const QString& ParentProject, const QString& newProject);

    // Changes.
    bool RenameItem(const QString& OldName, const QString& NewName, bool bSilent = false,
                    bool ItemMayNotExist = false, bool ItemIsDeleted = false);
    bool RenameItemWithNewContent(const QString& OldName, const QString& NewName, const QString& NewContent,
                                  const QString& Comment = {}, bool bSilent = false);
    bool RemoveItem(const QString& ItemName, bool bSilent = false);
    bool AddItem(const QString& ItemName, const QString& strContent, bool bSilent = false,
                 const QString& strComment = {});
    bool ChangeItemContent(const QString& ItemName, const QString& strContent, const QString& strComment = {},
                           bool bSilent = false);
    bool GetLatestVersion(const QString& ItemName, bool bSilent = false);
    bool CheckIn(const QString& ItemName, const QString& strContent = {}, const QString& Comment = {},
                 bool bSilent = false);
    bool CheckOut(const QString& ItemName, bool bSilent = false);
    bool UndoCheckout(const QString& ItemName, bool bSilent = false);

    // Reading. Items, Item, CheckedOutBy, GetProjectSubFolders, GetItemHistory and GetDate raise
    // TARMOError to the caller; the others catch.
    QStringList GetProjectSubFolders(const QString& strProject); // names from element 1
    TARMOVSSItems Items(const QString& Filter = {}, bool bDeleted = false, bool bDeletedOnly = false);
    TARMOVSSItem Item(const QString& ItemName);
    QString CheckedOutBy(const QString& ItemName);
    QString ItemContentForVersion(const QString& ItemName, long VersionNumber, bool bSilent = false);
    QString ItemContent(const QString& ItemName, bool IfCheckedOutUseIt = true, long VersionNumer = -1,
                        bool bSilent = false, bool bDeleted = false);
    bool ItemExists(const QString& ItemName, bool bCheckDeleted = false);
    bool ItemIsDeleted(const QString& ItemName);
    QList<TARMOHistoryData> GetItemHistory(const QString& ItemName, bool bDeleted = false); // from element 1
    void GetDate(QString& StartDate, QString& EndDate);

private:
    // Reads many files of the project at once through this connection's own session.
    friend class VSSBulkReader;
    StoreItem GetVSSItem(const QString& ItemName, bool bDeleted) const;
    StoreItem GetProjectItem() const;
    VersionStore& database() const;
    QString checkedOutBy(const StoreItem& item) const;
    void checkinText(StoreItem& item, const QString& ItemName, const QString& content,
                     const QString& comment);
    static void reportFailure(bool bSilent, const QString& title, const QString& firstLine,
                              const QString& description);

    QString mIniFile;
    QString mUserName;
    QString mPassword;
    bool mStorePassword = false;
    QString mProject;
    QString mGeneralWorkingFolder;
    bool mConnectionOpen = false;
    bool mHasConnected = false;
    std::unique_ptr<VersionStore> mVSSDatabase;
};
