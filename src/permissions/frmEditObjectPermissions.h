#pragma once

#include "EditorChildWindow.h"
#include "PermissionGrid.h"
#include "TARMOPermissions.h"

#include <memory>

class DispatchedObject;
class QTableWidget;
class QTableWidgetItem;
class TARMODatabase;
class TARMOObjectRef;
class mdiMain;

// The child window in which the permissions of one object are edited as a table: a row for each
// role or user, a column for each statement, and in each cell the state's picture, which a click
// turns from none to grant to deny. Nothing reaches the database until the user saves; the main
// window's undo, redo, copy and save commands act on the table.
class frmEditObjectPermissions : public EditorChildWindow {
    Q_OBJECT
public:
    explicit frmEditObjectPermissions(mdiMain& main, QWidget* parent = nullptr);
    ~frmEditObjectPermissions() override;

    // Installs the maker of this window into the main window's factories.
    static void Install(mdiMain& main);

    // Keeps both, loads the table and shows the window's caption. The object must be one of the
    // core's (a versioned object or a table).
    void EditObjectPermissions(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen);

    // --- The contract
    ::FormType FormType() const override { return ::FormType::Permission; }
    QString ObjectTag() const override;
    QString ObjectKey() const override;
    std::shared_ptr<DispatchedObject> CurrentObject() const override { return mobjCurrent; }
    long CurrentIcon() const override { return mlngIcon; }
    long HelpContextID() const override;
    QString OpenFileText() const override { return QStringLiteral("Load"); }
    QString SaveFileText() const override { return QStringLiteral("Save Permissions"); }

    bool CanUndo() const override { return mGrid.CanUndo(); }
    bool CanRedo() const override { return mGrid.CanRedo(); }
    bool CanCut() const override { return false; }
    bool CanCopy() const override;
    bool CanPaste() const override { return false; }
    bool CanFind() const override { return false; }
    bool CanReplace() const override { return false; }
    bool CanOpenFile() const override { return false; }
    bool CanSaveFile() const override { return mGrid.Changed(); }
    bool CanTestSQL() const override { return false; }
    bool CanGetLatest() const override { return false; }
    bool CanCheckOut() const override { return false; }
    bool CanCheckIn() const override { return false; }
    bool CanUndoCheckOut() const override { return false; }
    bool CanShowHistory() const override { return false; }
    bool CanPermissions() const override { return false; }
    bool CanDescription() const override { return false; }

    void Undo() override;
    void Redo() override;
    void CutText() override {}
    void CopyText() override;
    void PasteText() override {}
    void Find() override {}
    void FindNext() override {}
    void FindPrevious() override {}
    void Replace() override {}
    void OpenText() override {}
    void SaveText() override { SaveText(true); }
    void TestItem() override {}
    // Reads the permissions from the server again; what was changed and not saved goes.
    void GetLatestVersion() override { LoadPermissions(); }
    void CheckIn() override {}
    void CheckOut() override {}
    void UndoCheckout() override {}
    void ShowHistory() override {}
    void ChangeDescription() override {}
    void SetFocusOfChild() override;
    void RefreshCaption() override;

    // Writes the table into the set and the set to the server. With bDoRefresh the user is told and
    // the table is read again. False when the object no longer exists; a statement that the server
    // refuses throws, and the table keeps its changes.
    bool SaveText(bool bDoRefresh);
    // Turns a statement cell to its next state, as a click does; row and column count from 0, the
    // name column being 0.
    void ChangeCell(int row, int column);

    // --- Parts, for tests
    QTableWidget* grdPermission() const { return mgrdPermission; }
    const PermissionGrid& Grid() const { return mGrid; }
    QString Caption() const { return windowTitle(); }

protected:
    bool ClosingCheck() override;
    QString ClosingStatus() const override { return QStringLiteral("Closing Permissions"); }
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void LoadPermissions();
    void showCell(int row, int column);
    const TARMOObjectRef& object() const;

    std::shared_ptr<DispatchedObject> mobjCurrent;
    TARMOPermissions mobjPermissions;
    PermissionGrid mGrid;
    QTableWidget* mgrdPermission;
    long mlngIcon = 0;
};
