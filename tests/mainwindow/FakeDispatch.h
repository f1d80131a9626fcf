#pragma once

#include "EditorChildWindow.h"
#include "ObjectDispatch.h"

#include <QMap>

#include <functional>

// An object of the fake model: its state in the two stores decides its icon and what it offers.
class FakeObject : public DispatchedObject {
public:
    QString mName, mOwner = QStringLiteral("dbo"), mDBID, mType;
    bool mEditable = true, mInSQL = true, mInVSS = true, mByMe = false, mByOther = false;
    // A refresh of its node finds it in one store only, so it leaves its list.
    bool mLeavesList = false;
    QString mDescription;
    QStringList* mLog = nullptr;

    QString Name() const override { return mName; }
    QString Owner() const override { return mOwner; }
    QString DBID() const override { return mDBID; }
    QString ObjectType() const override { return mType; }
    QString ParentObjectType() const override { return mType + QLatin1Char('s'); }
    bool IsEditable() const override { return mEditable; }
    bool InSQL() const override { return mInSQL; }
    bool InVSS() const override { return mInVSS; }
    bool IsCheckedOutByMe() const override { return mByMe; }
    QString Description() override { return mDescription; }
    bool SyncAdd(StoreLocation location) override;
    bool SyncChange(StoreLocation) override { return true; }
    bool SyncRemove(StoreLocation) override { return true; }
    std::shared_ptr<TARMOObjectVSS> Versioned() const override { return nullptr; }
    QString IconName() const;
};

// A small database in memory: stored procedures (101, 102, 103), one table (201) with columns,
// permissions and a trigger (301), and a list of views that nobody opens. Every read is counted, so
// tests see what the tree asked for.
class FakeDispatch : public ObjectDispatch {
public:
    FakeDispatch();

    std::unique_ptr<TARMODBTItems> GetItemInfo(const QString& strTag, const QString& strKey, bool bOnlyFields,
                                               bool bIncludeNullable) override;
    std::unique_ptr<TARMODBTItem> RefreshItem(const QString& ObjectTag, const QString& ObjectKey) override;
    std::shared_ptr<DispatchedObject> GetObject(const QString& ObjectTag, const QString& ObjectKey,
                                                bool bDeletedObject = false) override;
    TARMOContextMenu GetContextMenu(const QString& ObjectTag, const QString& ObjectKey) override;
    bool CanOpenObject(const QString& ObjectTag, const QString& ObjectKey) override;
    std::unique_ptr<TARMODBTItems> GetItemsForNewMenu() override;
    std::shared_ptr<DispatchedObject> NewItemOfType(const QString& ObjectType) override;
    bool GetTableName(const QString& strObjectTag, const QString& strObjectKey, QString& strTableName,
                      QString& strTableOwner) override;
    bool RenameItem(const QString& ObjectTag, const QString& ObjectKey, const QString& NewName) override;
    bool DeleteItem(const QString& ObjectTag, const QString& ObjectKey) override;
    void SetStatusListener(DispatchStatusListener* listener) override { mListener = listener; }
    TARMODatabaseObjects* DatabaseObjects() override { return nullptr; }

    std::shared_ptr<FakeObject> Object(const QString& dbid) { return mObjects.value(dbid); }
    // The object was dropped and made again under a new id; its old key still finds it once.
    void Renumber(const QString& oldId, const QString& newId);
    // "tag|key" of every GetItemInfo call, in order.
    QStringList Reads;
    QStringList Log;
    // Runs inside a GetItemInfo of that "tag|key", before it answers: a user's click that arrives
    // while a node is filled.
    QMap<QString, std::function<void()>> DuringRead;
    DispatchStatusListener* mListener = nullptr;

private:
    void addObjectRecord(TARMODBTItems& items, const FakeObject& object);
    QMap<QString, std::shared_ptr<FakeObject>> mObjects;
    QMap<QString, QString> mRenumbered;
};

// A child window that answers the contract from fields and logs every action.
class FakeChild : public EditorChildWindow {
public:
    explicit FakeChild(mdiMain& main, QStringList& log, const QString& tag = {}, const QString& key = {},
                       ::FormType formType = ::FormType::ObjectEdit);

    QStringList& mLog;
    QString mTag = QStringLiteral("ALLOWEDIT"), mObjectTag, mObjectKey;
    ::FormType mFormType;
    bool mCan[17] = {};
    bool mRefuseClose = false;
    std::shared_ptr<DispatchedObject> mObject;

    enum Can {
        kUndo,
        kRedo,
        kCut,
        kCopy,
        kPaste,
        kFind,
        kReplace,
        kOpenFile,
        kSaveFile,
        kTestSQL,
        kGetLatest,
        kCheckOut,
        kCheckIn,
        kUndoCheckOut,
        kShowHistory,
        kPermissions,
        kDescription
    };

    QString Tag() const override { return mTag; }
    ::FormType FormType() const override { return mFormType; }
    QString ObjectTag() const override { return mObjectTag; }
    QString ObjectKey() const override { return mObjectKey; }
    std::shared_ptr<DispatchedObject> CurrentObject() const override { return mObject; }
    long CurrentIcon() const override { return 4; }
    long HelpContextID() const override { return 35; }
    QString OpenFileText() const override { return QStringLiteral("Load Text"); }
    QString SaveFileText() const override { return QStringLiteral("Save Text"); }
    bool CanUndo() const override { return mCan[kUndo]; }
    bool CanRedo() const override { return mCan[kRedo]; }
    bool CanCut() const override { return mCan[kCut]; }
    bool CanCopy() const override { return mCan[kCopy]; }
    bool CanPaste() const override { return mCan[kPaste]; }
    bool CanFind() const override { return mCan[kFind]; }
    bool CanReplace() const override { return mCan[kReplace]; }
    bool CanOpenFile() const override { return mCan[kOpenFile]; }
    bool CanSaveFile() const override { return mCan[kSaveFile]; }
    bool CanTestSQL() const override { return mCan[kTestSQL]; }
    bool CanGetLatest() const override { return mCan[kGetLatest]; }
    bool CanCheckOut() const override { return mCan[kCheckOut]; }
    bool CanCheckIn() const override { return mCan[kCheckIn]; }
    bool CanUndoCheckOut() const override { return mCan[kUndoCheckOut]; }
    bool CanShowHistory() const override { return mCan[kShowHistory]; }
    bool CanPermissions() const override { return mCan[kPermissions]; }
    bool CanDescription() const override { return mCan[kDescription]; }
    void Undo() override { log(QStringLiteral("Undo")); }
    void Redo() override { log(QStringLiteral("Redo")); }
    void CutText() override { log(QStringLiteral("CutText")); }
    void CopyText() override { log(QStringLiteral("CopyText")); }
    void PasteText() override { log(QStringLiteral("PasteText")); }
    void Find() override { log(QStringLiteral("Find")); }
    void FindNext() override { log(QStringLiteral("FindNext")); }
    void FindPrevious() override { log(QStringLiteral("FindPrevious")); }
    void Replace() override { log(QStringLiteral("Replace")); }
    void OpenText() override { log(QStringLiteral("OpenText")); }
    void SaveText() override { log(QStringLiteral("SaveText")); }
    void TestItem() override { log(QStringLiteral("TestItem")); }
    void GetLatestVersion() override { log(QStringLiteral("GetLatestVersion")); }
    void CheckIn() override { log(QStringLiteral("CheckIn")); }
    void CheckOut() override { log(QStringLiteral("CheckOut")); }
    void UndoCheckout() override { log(QStringLiteral("UndoCheckout")); }
    void ShowHistory() override { log(QStringLiteral("ShowHistory")); }
    void ChangeDescription() override { log(QStringLiteral("ChangeDescription")); }
    bool CloseItem(bool bForce) override;
    void RefreshCaption() override { log(QStringLiteral("RefreshCaption")); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void log(const QString& what) { mLog << windowTitle() + QLatin1Char(':') + what; }
};
