#include "modShortcutKeys.h"

int KeyCodeFromQt(int qtKey) {
    if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9))
        return qtKey;
    if (qtKey == Qt::Key_Tab || qtKey == Qt::Key_Backtab)
        return KeyCodes::Tab;
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F12)
        return KeyCodes::F1 + (qtKey - Qt::Key_F1);
    return 0;
}

int ShiftMaskFromQt(Qt::KeyboardModifiers modifiers) {
    int mask = 0;
    if (modifiers & Qt::ShiftModifier)
        mask |= KeyCodes::ShiftMask;
    if (modifiers & Qt::ControlModifier)
        mask |= KeyCodes::CtrlMask;
    if (modifiers & Qt::AltModifier)
        mask |= KeyCodes::AltMask;
    return mask;
}

QString ShortcutText(int KeyCode, int Shift) {
    QStringList parts;
    if (Shift & KeyCodes::ShiftMask)
        parts << QStringLiteral("Shift");
    if (Shift & KeyCodes::CtrlMask)
        parts << QStringLiteral("Ctrl");
    if (Shift & KeyCodes::AltMask)
        parts << QStringLiteral("Alt");
    QString text = parts.join(QLatin1Char('+'));
    if (!text.isEmpty())
        text += QLatin1Char('+');
    if ((KeyCode >= '0' && KeyCode <= '9') || (KeyCode >= 'A' && KeyCode <= 'Z'))
        text += QChar(KeyCode);
    else if (KeyCode == KeyCodes::Tab)
        text += QStringLiteral("Tab");
    else if (KeyCode >= KeyCodes::F1 && KeyCode <= KeyCodes::F12)
        text += QStringLiteral("F%1").arg(KeyCode - KeyCodes::F1 + 1);
    return text;
}

void ShortcutTable::Fill() {
    using namespace KeyCodes;
    using C = Command;
    constexpr int Ctrl = CtrlMask;
    constexpr int ShiftCtrl = ShiftMask | CtrlMask;
    mRows = {
        {C::NewObject, 'N', Ctrl, false},
        {C::Undo, 'Z', Ctrl, false},
        {C::Redo, 'Z', ShiftCtrl, false},
        {C::Cut, 'X', Ctrl, false},
        {C::Copy, 'C', Ctrl, false},
        {C::Paste, 'V', Ctrl, false},
        {C::GetLatest, 'G', Ctrl, false},
        {C::CheckOut, 'O', Ctrl, false},
        {C::CheckIn, 'I', Ctrl, false},
        {C::UndoCheckOut, 'U', Ctrl, false},
        {C::Permissions, 'M', Ctrl, false},
        {C::Description, 'D', Ctrl, false},
        {C::RefreshTree, 'R', Ctrl, false},
        {C::NextWindow, F6, Ctrl, false},
        {C::PreviousWindow, F6, ShiftCtrl, false},
        {C::Exit, F4, AltMask, false},
        {C::LoadText, 'L', Ctrl, false},
        {C::SaveText, 'S', Ctrl, false},
        {C::TestSql, 'T', Ctrl, false},
        {C::Find, 'F', Ctrl, false},
        {C::FindNext, F3, 0, false},
        {C::FindPrevious, F3, ShiftMask, false},
        {C::Replace, 'H', Ctrl, false},
        {C::Help, F1, 0, true},
        {C::NewQueryWindow, 'Q', Ctrl, true},
        {C::ToggleDragSubnodes, 'D', Ctrl | AltMask, true},
    };
}

const ShortcutRow* ShortcutTable::Find(int KeyCode, int Shift) const {
    for (const auto& row : mRows)
        if (row.KeyCode == KeyCode && row.Shift == Shift)
            return &row;
    return nullptr;
}

const ShortcutRow* ShortcutTable::RowOfCommand(Command command) const {
    for (const auto& row : mRows)
        if (row.Cmd == command)
            return &row;
    return nullptr;
}

QString ShortcutTable::CaptionWithShortcut(Command command, const QString& strCaption) const {
    return strCaption + ShortcutSuffix(command);
}

QString ShortcutTable::ShortcutSuffix(Command command) const {
    const ShortcutRow* row = RowOfCommand(command);
    return row ? QLatin1Char('\t') + ShortcutText(row->KeyCode, row->Shift) : QString();
}
