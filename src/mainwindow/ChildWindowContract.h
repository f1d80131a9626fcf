#pragma once

#include <QString>

#include <memory>

class DispatchedObject;

// The kinds of child window. The values travel with window lists and commands, so they stay fixed.
enum class FormType : long { ObjectEdit = 1, Permission = 2, Query = 3 };

// What every child window of the main window offers, so that the main window reaches an object
// window, a permission window and a query window alike. The main window asks the active child
// through this what it can do whenever the child reports a change of its command state, and hands
// it the commands that concern a text. Child windows implement it through EditorChildWindow.
class ChildWindowContract {
public:
    virtual ~ChildWindowContract() = default;

    // "ALLOWEDIT" for a window that takes the edit commands.
    virtual QString Tag() const = 0;
    // The member hides the type's name inside classes, hence the qualified return type.
    virtual ::FormType FormType() const = 0;
    virtual QString ObjectTag() const = 0;
    virtual QString ObjectKey() const = 0;
    virtual std::shared_ptr<DispatchedObject> CurrentObject() const = 0;
    // Position of the window's picture in the main window's image list, from 1.
    virtual long CurrentIcon() const = 0;
    // The help topic that the window's keys and commands carry (35 an object edit window).
    virtual long HelpContextID() const = 0;
    // The words of the Load and Save entries ("Load Text", ...).
    virtual QString OpenFileText() const = 0;
    virtual QString SaveFileText() const = 0;

    virtual bool CanUndo() const = 0;
    virtual bool CanRedo() const = 0;
    virtual bool CanCut() const = 0;
    virtual bool CanCopy() const = 0;
    virtual bool CanPaste() const = 0;
    virtual bool CanFind() const = 0;
    virtual bool CanReplace() const = 0;
    virtual bool CanOpenFile() const = 0;
    virtual bool CanSaveFile() const = 0;
    virtual bool CanTestSQL() const = 0;
    virtual bool CanGetLatest() const = 0;
    virtual bool CanCheckOut() const = 0;
    virtual bool CanCheckIn() const = 0;
    virtual bool CanUndoCheckOut() const = 0;
    virtual bool CanShowHistory() const = 0;
    virtual bool CanPermissions() const = 0;
    virtual bool CanDescription() const = 0;

    virtual void Undo() = 0;
    virtual void Redo() = 0;
    virtual void CutText() = 0;
    virtual void CopyText() = 0;
    virtual void PasteText() = 0;
    virtual void Find() = 0;
    virtual void FindNext() = 0;
    virtual void FindPrevious() = 0;
    virtual void Replace() = 0;
    virtual void OpenText() = 0;
    virtual void SaveText() = 0;
    virtual void TestItem() = 0;
    virtual void GetLatestVersion() = 0;
    virtual void CheckIn() = 0;
    virtual void CheckOut() = 0;
    virtual void UndoCheckout() = 0;
    virtual void ShowHistory() = 0;
    virtual void ChangeDescription() = 0;

    // Closes the window; bForce closes without asking. False when the window stayed.
    virtual bool CloseItem(bool bForce) = 0;
    // Object and query windows give the focus to their editor; others do nothing.
    virtual void SetFocusOfChild() {}
    virtual void RefreshCaption() = 0;
    // Shows again what the settings put in the window's own status panels; most windows show none.
    virtual void RefreshStatusBar() {}
};
