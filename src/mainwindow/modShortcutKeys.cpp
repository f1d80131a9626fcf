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
    constexpr int Ctrl = CtrlMask;
    constexpr int ShiftCtrl = ShiftMask | CtrlMask;
    mRows = {
        {1, 'N', Ctrl, false},      {10, 'Z', Ctrl, false},          {11, 'Z', ShiftCtrl, false},
        {12, 'X', Ctrl, false},     {13, 'C', Ctrl, false},          {14, 'V', Ctrl, false},
        {6, 'G', Ctrl, false},      {8, 'O', Ctrl, false},           {7, 'I', Ctrl, false},
        {9, 'U', Ctrl, false},      {33, 'M', Ctrl, false},          {34, 'D', Ctrl, false},
        {16, 'R', Ctrl, false},     {29, F6, Ctrl, false},           {30, F6, ShiftCtrl, false},
        {32, F4, AltMask, false},   {4, 'L', Ctrl, false},           {5, 'S', Ctrl, false},
        {52, 'T', Ctrl, false},     {55, 'F', Ctrl, false},          {56, F3, 0, false},
        {57, F3, ShiftMask, false}, {58, 'H', Ctrl, false},          {60, F1, 0, true},
        {53, 'Q', Ctrl, true},      {69, 'D', Ctrl | AltMask, true},
    };
}

const ShortcutRow* ShortcutTable::Find(int KeyCode, int Shift) const {
    for (const auto& row : mRows)
        if (row.KeyCode == KeyCode && row.Shift == Shift)
            return &row;
    return nullptr;
}

const ShortcutRow* ShortcutTable::RowOfCommand(long lngCommand) const {
    for (const auto& row : mRows)
        if (row.Command == lngCommand)
            return &row;
    return nullptr;
}

QString ShortcutTable::CaptionWithShortcut(long lngCommand, const QString& strCaption) const {
    return strCaption + ShortcutSuffix(lngCommand);
}

QString ShortcutTable::ShortcutSuffix(long lngCommand) const {
    const ShortcutRow* row = RowOfCommand(lngCommand);
    return row ? QLatin1Char('\t') + ShortcutText(row->KeyCode, row->Shift) : QString();
}
