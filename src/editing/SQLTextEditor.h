#pragma once

#include <QWidget>

class QMimeData;
class SqlEditControl;

// The one text-editing component of the program. A thin wrapper round the inner edit control
// BCEdit: text, caret, undo history, the modified flag and the loaded file all live in the control,
// and the wrapper relays the control's events under names of its own. Windows reach editing through
// this surface only, so the inner control can be exchanged behind it.
class SQLTextEditor : public QWidget {
    Q_OBJECT
public:
    explicit SQLTextEditor(QWidget* parent = nullptr);

    bool HasFocus() const;
    bool HasSelection() const;
    // The inner control; nullptr never happens while the wrapper lives.
    SqlEditControl* ctrlHWnd() const { return mBCEdit; }
    bool IsModified() const;
    bool CanUndo() const;
    bool CanRedo() const;
    QString Text() const;
    void SetText(const QString& text);
    // "" without a selection.
    QString SelectedText() const;
    // True: the user cannot change the text. A working file that isn't checked out is read-only
    // on disk, and loading it locks the text.
    bool Locked() const;
    void SetLocked(bool locked);
    // The name of the file the control loaded or saved last.
    QString CurrentFile() const;

    void AboutBox();
    // Reports the caret position through bcCaretMove.
    void QueryCaret();
    void LoadFile(const QString& FileName);
    void Find();
    void FindNext();
    void FindPrevious();
    void Replace();
    void Undo();
    void Redo();
    // Inserts the text at the caret, replacing a selection; nothing while Locked.
    void Paste(const QString& TextToPaste);
    // To the named file, or to the control's current file when the name is "".
    void SaveFile(const QString& FileName = QString());
    void bcCut();
    void bcCopy();
    void bcPaste();

signals:
    // The third argument is the caret's column, the fourth its line, both from 0.
    void bcCaretMove(long a, long b, long column, long line);
    // The text, its undo history, its modified flag or its lock may have changed.
    void bcChange();
    void bcClick();
    void bcDblClick();
    void bcDragDrop(const QMimeData* Source, float& X, float& Y);
    void bcDragOver(const QMimeData* Source, float& X, float& Y, int& State);
    void bcGotFocus();
    // A handler that sets KeyCode (or KeyAscii) to 0 keeps the key from the control.
    void bcKeyDown(int& KeyCode, int& Shift);
    void bcKeyPress(int& KeyAscii);
    void bcKeyUp(int& KeyCode, int& Shift);
    void bcLostFocus();
    void bcMouseDown(int& Button, int& Shift, float& X, float& Y);
    void bcMouseMove(int& Button, int& Shift, float& X, float& Y);
    void bcMouseUp(int& Button, int& Shift, float& X, float& Y);
    void bcSelectionChange(long lineFrom, long indexFrom, long lineTo, long indexTo);
    // Asked when the control loses the focus; Cancel takes the focus back.
    void bcValidate(bool& Cancel);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool relayKey(QEvent* event);
    bool relayMouse(QEvent* event);
    bool relayDrag(QEvent* event);

    SqlEditControl* mBCEdit;
};
