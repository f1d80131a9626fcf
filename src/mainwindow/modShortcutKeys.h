#pragma once

#include "Commands.h"

#include <QList>
#include <QString>

#include <Qt>

// Key codes and shift masks as the shortcut table keeps them: letters and digits are their
// upper-case character, Tab 9, F1 to F12 112 to 123; the mask has 1 Shift, 2 Ctrl, 4 Alt.
namespace KeyCodes {
constexpr int Tab = 9;
constexpr int F1 = 112;
constexpr int F3 = 114;
constexpr int F4 = 115;
constexpr int F6 = 117;
constexpr int F12 = 123;
constexpr int ShiftMask = 1;
constexpr int CtrlMask = 2;
constexpr int AltMask = 4;
} // namespace KeyCodes

// A key of the keyboard in the table's code; 0 for keys the table can't hold.
int KeyCodeFromQt(int qtKey);
int ShiftMaskFromQt(Qt::KeyboardModifiers modifiers);

// "Shift+Ctrl+Z", "Ctrl+Alt+D", "F3": the text behind a menu caption.
QString ShortcutText(int KeyCode, int Shift);

struct ShortcutRow {
    Command Cmd;
    int KeyCode;
    int Shift;
    bool FiresAtKeyUp;
};

// The one shortcut table of the program: every window hands its keys to the main window, which
// looks them up here.
class ShortcutTable {
public:
    // Fills the rows of the program, in their order.
    void Fill();
    void Clear() { mRows.clear(); }
    bool IsEmpty() const { return mRows.isEmpty(); }
    const QList<ShortcutRow>& Rows() const { return mRows; }
    // The first row with that key and exactly that mask; nullptr if none.
    const ShortcutRow* Find(int KeyCode, int Shift) const;
    // The first row of the command; nullptr if none.
    const ShortcutRow* RowOfCommand(Command command) const;
    // The caption, a tab and the shortcut text; the caption alone for a command without a row.
    QString CaptionWithShortcut(Command command, const QString& strCaption) const;
    // A tab and the shortcut text of the command, "" without a row.
    QString ShortcutSuffix(Command command) const;

private:
    QList<ShortcutRow> mRows;
};
