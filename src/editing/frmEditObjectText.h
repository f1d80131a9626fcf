#pragma once

#include "EditorChildWindow.h"
#include "HelpTopics.h"

#include <memory>

class DispatchedObject;
class SQLTextEditor;
class StatusPanels;
class TARMODatabase;
class TARMOObjectVSS;
class mdiMain;

// The child window in which one database object is edited: its working file in the editor, the
// source-control actions of that object, and the members by which the main window's menus ask what
// is possible. The actions belong to the object; the window supplies text and comment, asks the user,
// and refreshes what is shown. One window stays with one object for its whole life: a new object
// becomes an existing one at its first check-in without a new window.
class frmEditObjectText : public EditorChildWindow {
    Q_OBJECT
public:
    explicit frmEditObjectText(mdiMain& main, QWidget* parent = nullptr);
    ~frmEditObjectText() override;

    // Installs the makers of this window into the main window's factories.
    static void Install(mdiMain& main);

    void NewObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen,
                   const QString& strDefaultText);
    void OpenObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen);

    // --- The contract
    ::FormType FormType() const override { return ::FormType::ObjectEdit; }
    QString ObjectTag() const override;
    QString ObjectKey() const override;
    std::shared_ptr<DispatchedObject> CurrentObject() const override { return mobjCurrent; }
    long CurrentIcon() const override { return mlngIcon; }
    long HelpContextID() const override { return HelpId(HelpTopic::ObjectEditWindow); }
    QString OpenFileText() const override { return QStringLiteral("Load Text"); }
    QString SaveFileText() const override { return QStringLiteral("Save Text"); }

    bool CanReplace() const override { return mbCanEdit; }
    bool CanOpenFile() const override { return mbCanOpenFile; }
    bool CanSaveFile() const override { return mbCanSaveFile; }
    bool CanTestSQL() const override { return mbCanEdit; }
    bool CanGetLatest() const override { return mbCanGetLatest; }
    bool CanCheckOut() const override { return mbCanCheckOut; }
    bool CanCheckIn() const override { return mbCanEdit; }
    bool CanUndoCheckOut() const override { return mbCanUndoCheckOut; }
    bool CanShowHistory() const override;
    bool CanPermissions() const override { return mbCanPermissions; }
    bool CanDescription() const override { return mbCanDescription; }

    void OpenText() override;
    void SaveText() override { SaveText(true); }
    void TestItem() override { TestItem(true); }
    void GetLatestVersion() override { RunGetLatestVersion(); }
    void CheckIn() override { RunCheckIn(); }
    void CheckOut() override { RunCheckOut(); }
    void UndoCheckout() override { UndoCheckout(true); }
    void ShowHistory() override;
    void ChangeDescription() override;
    void RefreshCaption() override;

    // --- The same actions with their results
    bool SaveText(bool bPrompt);
    bool TestItem(bool bShowConfirmation);
    bool RunGetLatestVersion();
    bool RunCheckOut();
    bool RunCheckIn();
    bool UndoCheckout(bool bPrompt);
    // Rebuilds the "OnClose" panel from the settings; the Options dialog calls it on every window.
    void RefreshStatusBar() override;

    // --- Parts, for the main window and tests
    StatusPanels* StatusBar() const { return mStatusBar; }
    QString Caption() const { return mstrCaption; }
    bool IsNewObjectWindow() const { return mbNewObject; }

protected:
    bool ClosingCheck() override;
    QString TextOrigin() const override;
    void Unloading() override;
    void BecameActive(bool bToFront) override;

private:
    void openCommon(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen, bool bNew);
    void LoadItem(const QString& strDefaultText);
    void caretMoved(long column, long line);
    void rebuildPanels(const QString& onCloseText);
    void refreshTreeNode(bool bUseParent = false);
    TARMOObjectVSS& object() const;

    std::shared_ptr<DispatchedObject> mobjCurrent;
    std::shared_ptr<TARMOObjectVSS> mVersioned;
    QString mstrCaption;
    SQLTextEditor* mtxtSQL;
    StatusPanels* mStatusBar;
    bool mbCanGetLatest = false;
    bool mbCanEdit = false;
    bool mbCanCheckOut = false;
    bool mbCanUndoCheckOut = false;
    bool mbCanPermissions = false;
    bool mbCanDescription = false;
    bool mbCanOpenFile = false;
    bool mbCanSaveFile = false;
    long mlngIcon = 0;
    bool mbNewObject = false;
};
