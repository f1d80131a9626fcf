#pragma once

#include "ChildWindowContract.h"

#include <QWidget>

#include <functional>
#include <memory>

class DispatchedObject;
class QMdiSubWindow;
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
class frmEditObjectText : public QWidget, public ChildWindowContract {
    Q_OBJECT
public:
    explicit frmEditObjectText(mdiMain& main, QWidget* parent = nullptr);
    ~frmEditObjectText() override;

    // Installs the makers of this window into the main window's factories.
    static void Install(mdiMain& main);
    // The history window of an object; True when it rolled the object back. Until it is installed
    // the window offers no history.
    using HistoryWindowMaker =
        std::function<bool(TARMODatabase&, QWidget* owner, std::shared_ptr<DispatchedObject>)>;
    static HistoryWindowMaker& HistoryWindow();

    void NewObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen,
                   const QString& strDefaultText);
    void OpenObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen);

    // --- The contract
    QString Tag() const override { return QStringLiteral("ALLOWEDIT"); }
    long FormType() const override { return 1; }
    QString ObjectTag() const override;
    QString ObjectKey() const override;
    std::shared_ptr<DispatchedObject> CurrentObject() const override { return mobjCurrent; }
    long CurrentIcon() const override { return mlngIcon; }
    long HelpContextID() const override { return 35; }
    QString OpenFileText() const override { return QStringLiteral("Load Text"); }
    QString SaveFileText() const override { return QStringLiteral("Save Text"); }

    bool CanUndo() const override;
    bool CanRedo() const override;
    bool CanCut() const override;
    bool CanCopy() const override;
    bool CanPaste() const override;
    bool CanFind() const override { return true; }
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

    void Undo() override;
    void Redo() override;
    void CutText() override;
    void CopyText() override;
    void PasteText() override;
    void Find() override;
    void FindNext() override;
    void FindPrevious() override;
    void Replace() override;
    void OpenText() override;
    void SaveText() override { SaveText(true); }
    void TestItem() override { TestItem(true); }
    void GetLatestVersion() override { RunGetLatestVersion(); }
    void CheckIn() override { RunCheckIn(); }
    void CheckOut() override { RunCheckOut(); }
    void UndoCheckout() override { UndoCheckout(true); }
    void ShowHistory() override;
    void ChangeDescription() override;
    bool CloseItem(bool bForce) override;
    void SetFocusOfChild() override;
    void RefreshCaption() override;

    // --- The same actions with their results
    bool SaveText(bool bPrompt);
    bool TestItem(bool bShowConfirmation);
    bool RunGetLatestVersion();
    bool RunCheckOut();
    bool RunCheckIn();
    bool UndoCheckout(bool bPrompt);
    // Rebuilds the "OnClose" panel from the settings; the Options dialog calls it on every window.
    void RefreshStatusBar();

    // --- Parts, for the main window and tests
    SQLTextEditor* txtSQL() const { return mtxtSQL; }
    StatusPanels* StatusBar() const { return mStatusBar; }
    QString Caption() const { return mstrCaption; }
    bool IsNewObjectWindow() const { return mbNewObject; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    void openCommon(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen, bool bNew);
    void LoadItem(const QString& strDefaultText);
    void SetStatus(const QString& text);
    bool ClosingCheck();
    void placeWindow();
    void storeGeometry();
    void becomeActive(bool bToFront);
    void caretMoved(long column, long line);
    void rebuildPanels(const QString& onCloseText);
    void refreshTreeNode(bool bUseParent = false);
    QMdiSubWindow* subWindow() const;
    TARMOObjectVSS& object() const;

    mdiMain& mMain;
    std::shared_ptr<DispatchedObject> mobjCurrent;
    std::shared_ptr<TARMOObjectVSS> mVersioned;
    TARMODatabase* msdbCurrent = nullptr;
    QString mstrCaption;
    bool mbLoading = false;
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
    bool mbEditorHasFocus = false;
    bool mbClosing = false;
    bool mbNewObject = false;
    bool mbPlaced = false;
};
