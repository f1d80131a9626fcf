#pragma once

#include "ChildWindowContract.h"

#include <QWidget>

class QMdiSubWindow;
class QTimer;
class SQLTextEditor;
class StatusPanels;
class TARMODatabase;
class mdiMain;

// What every child window of the main window shares: placing itself at the size the user last gave
// a child window and remembering each change of it, the closing sequence (one question, whichever
// way the close comes in), becoming the main window's current child, and telling the main window
// when its commands may have changed, so the menus follow without polling.
//
// A window with a text hands its editor to SetEditor; the base then answers and forwards the
// text commands (undo, clipboard, find and replace) and keeps the focus in the editor. A window
// without an editor answers False to those and gives them no meaning.
class EditorChildWindow : public QWidget, public ChildWindowContract {
    Q_OBJECT
public:
    explicit EditorChildWindow(mdiMain& main, QWidget* parent = nullptr);
    ~EditorChildWindow() override;

    // --- The contract, as far as it concerns every edit child
    QString Tag() const override { return QStringLiteral("ALLOWEDIT"); }
    bool CanUndo() const override;
    bool CanRedo() const override;
    bool CanCut() const override;
    bool CanCopy() const override;
    bool CanPaste() const override;
    bool CanFind() const override { return mEditor != nullptr; }

    void Undo() override;
    void Redo() override;
    void CutText() override;
    void CopyText() override;
    void PasteText() override;
    void Find() override;
    void FindNext() override;
    void FindPrevious() override;
    void Replace() override;

    // bForce closes without the closing check. False when the window stayed.
    bool CloseItem(bool bForce) override;
    void SetFocusOfChild() override;

    SQLTextEditor* txtSQL() const { return mEditor; }

    // Hands the editor's unsaved text to the installed recovery files (or lets them forget it when
    // there is none). A pause in typing calls it; it is public for the start-up reopening.
    void KeepUnsavedText();
    // Shows a text that an earlier run lost as this window's unsaved text.
    void ShowRecoveredText(const QString& title, const QString& text);
    // Runs out some time after the last edit; KeepUnsavedText follows.
    QTimer* TypingPause() const { return mTypingPause; }
    bool EditorHasFocus() const { return mbEditorHasFocus; }

signals:
    // Something that a Can... answer depends on may have changed.
    void CommandStateChanged();

protected:
    // The editor whose text commands the window takes; once, at construction.
    void SetEditor(SQLTextEditor* editor);
    // The panels whose "Status" panel SetStatus writes.
    void SetStatusPanels(StatusPanels* panels) { mStatusPanels = panels; }
    // A window starts on the settings whose child window size it takes and keeps.
    void BeginOpening(TARMODatabase& sdbCurrent);
    TARMODatabase* Database() const { return msdbCurrent; }
    mdiMain& Main() const { return mMain; }
    QMdiSubWindow* subWindow() const;
    // "" shows "Ready.", any other text is followed by " ...".
    void SetStatus(const QString& text);
    void NotifyCommandState() { emit CommandStateChanged(); }
    // After a save, check-in or reload: what the recovery files held of the text goes, unless the
    // text is still unsaved.
    void TextSaved();
    // The file or object the unsaved text belongs to, for the recovery files.
    virtual QString TextOrigin() const { return {}; }

    // True when the window may go; it may ask the user and act on the answer.
    virtual bool ClosingCheck() { return true; }
    // The status while CloseItem decides.
    virtual QString ClosingStatus() const { return QStringLiteral("Closing Item"); }
    // The close is decided; what the window leaves behind goes now.
    virtual void Unloading() {}
    // The window became the current child; bToFront when it came to the front.
    virtual void BecameActive(bool /*bToFront*/) {}

    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    void placeWindow();
    void storeGeometry();
    void becomeActive(bool bToFront);
    void forgetUnsavedText();

    mdiMain& mMain;
    TARMODatabase* msdbCurrent = nullptr;
    SQLTextEditor* mEditor = nullptr;
    StatusPanels* mStatusPanels = nullptr;
    QTimer* mTypingPause = nullptr;
    // The window's name among the recovery files, and whether they know it.
    QString mRecoveryId;
    bool mbRecoveryRegistered = false;
    bool mbEditorHasFocus = false;
    bool mbClosing = false;
    bool mbPlaced = false;
    // Set while the window takes its remembered place, so that those changes aren't stored back.
    bool mbPlacing = false;
};
