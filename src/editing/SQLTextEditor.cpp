#include "SQLTextEditor.h"

#include "SqlEditControl.h"
#include "UserPrompts.h"

#include <QDropEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QVBoxLayout>

namespace {
int shiftMask(Qt::KeyboardModifiers modifiers) {
    return (modifiers & Qt::ShiftModifier ? 1 : 0) | (modifiers & Qt::ControlModifier ? 2 : 0) |
           (modifiers & Qt::AltModifier ? 4 : 0);
}

int buttonMask(Qt::MouseButtons buttons) {
    return (buttons & Qt::LeftButton ? 1 : 0) | (buttons & Qt::RightButton ? 2 : 0) |
           (buttons & Qt::MiddleButton ? 4 : 0);
}
} // namespace

SQLTextEditor::SQLTextEditor(QWidget* parent)
    : QWidget(parent)
    , mBCEdit(new SqlEditControl(this)) {
    setObjectName(QStringLiteral("txtSQL"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mBCEdit);
    setFocusProxy(mBCEdit);
    mBCEdit->installEventFilter(this);
    mBCEdit->viewport()->installEventFilter(this);
    connect(mBCEdit, &QsciScintilla::cursorPositionChanged, this,
            [this](int line, int index) { emit bcCaretMove(0, 0, index, line); });
    connect(mBCEdit, &QsciScintilla::selectionChanged, this, [this] {
        int lineFrom, indexFrom, lineTo, indexTo;
        mBCEdit->getSelection(&lineFrom, &indexFrom, &lineTo, &indexTo);
        emit bcSelectionChange(lineFrom, indexFrom, lineTo, indexTo);
    });
    // The undo history and the modified flag move with the text.
    connect(mBCEdit, &QsciScintilla::textChanged, this, &SQLTextEditor::bcChange);
    connect(mBCEdit, &QsciScintilla::modificationChanged, this, [this](bool) { emit bcChange(); });
}

bool SQLTextEditor::HasFocus() const {
    return mBCEdit->hasFocus();
}
bool SQLTextEditor::HasSelection() const {
    return mBCEdit->hasSelectedText();
}
bool SQLTextEditor::IsModified() const {
    return mBCEdit->isModified();
}
bool SQLTextEditor::CanUndo() const {
    return mBCEdit->isUndoAvailable();
}
bool SQLTextEditor::CanRedo() const {
    return mBCEdit->isRedoAvailable();
}
QString SQLTextEditor::Text() const {
    return mBCEdit->length() <= 0 ? QString() : mBCEdit->text();
}
void SQLTextEditor::SetText(const QString& text) {
    mBCEdit->setText(text);
}
QString SQLTextEditor::SelectedText() const {
    return HasSelection() ? mBCEdit->selectedText() : QString();
}
bool SQLTextEditor::Locked() const {
    return mBCEdit->isReadOnly();
}
void SQLTextEditor::SetLocked(bool locked) {
    mBCEdit->setReadOnly(locked);
    emit bcChange();
}
QString SQLTextEditor::CurrentFile() const {
    return mBCEdit->CurrentFile();
}

void SQLTextEditor::AboutBox() {
    MsgBox(QStringLiteral("SQL editor built on QScintilla %1.").arg(QStringLiteral(QSCINTILLA_VERSION_STR)),
           Prompt::Buttons::OK, Prompt::Icon::Information, QStringLiteral("About the Editor"));
}

void SQLTextEditor::QueryCaret() {
    int line, index;
    mBCEdit->getCursorPosition(&line, &index);
    emit bcCaretMove(0, 0, index, line);
}

void SQLTextEditor::LoadFile(const QString& FileName) {
    mBCEdit->LoadCurrentFile(FileName);
    QueryCaret();
    // The file may have locked or freed the text without changing it.
    emit bcChange();
}

void SQLTextEditor::Find() {
    mBCEdit->ShowFindDialog();
}
void SQLTextEditor::FindNext() {
    mBCEdit->RepeatSearch(true);
}
void SQLTextEditor::FindPrevious() {
    mBCEdit->RepeatSearch(false);
}
void SQLTextEditor::Replace() {
    mBCEdit->ShowReplaceDialog();
}

void SQLTextEditor::Undo() {
    if (CanUndo())
        mBCEdit->undo();
}

void SQLTextEditor::Redo() {
    if (CanRedo())
        mBCEdit->redo();
}

void SQLTextEditor::Paste(const QString& TextToPaste) {
    if (!Locked())
        mBCEdit->replaceSelectedText(TextToPaste);
}

void SQLTextEditor::SaveFile(const QString& FileName) {
    mBCEdit->SaveCurrentFile(FileName);
}
void SQLTextEditor::bcCut() {
    mBCEdit->cut();
}
void SQLTextEditor::bcCopy() {
    mBCEdit->copy();
}
void SQLTextEditor::bcPaste() {
    mBCEdit->paste();
}

bool SQLTextEditor::relayKey(QEvent* event) {
    auto* key = static_cast<QKeyEvent*>(event);
    int keyCode = key->key();
    int shift = shiftMask(key->modifiers());
    if (event->type() == QEvent::KeyRelease) {
        emit bcKeyUp(keyCode, shift);
        return keyCode == 0;
    }
    emit bcKeyDown(keyCode, shift);
    if (keyCode == 0)
        return true;
    if (!key->text().isEmpty() && key->text().at(0).isPrint()) {
        int keyAscii = key->text().at(0).unicode();
        emit bcKeyPress(keyAscii);
        if (keyAscii == 0)
            return true;
    }
    return false;
}

bool SQLTextEditor::relayMouse(QEvent* event) {
    auto* mouse = static_cast<QMouseEvent*>(event);
    int button = buttonMask(event->type() == QEvent::MouseMove ? mouse->buttons() : mouse->button());
    int shift = shiftMask(mouse->modifiers());
    float x = static_cast<float>(mouse->position().x()), y = static_cast<float>(mouse->position().y());
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        emit bcMouseDown(button, shift, x, y);
        break;
    case QEvent::MouseMove:
        emit bcMouseMove(button, shift, x, y);
        break;
    case QEvent::MouseButtonRelease:
        emit bcMouseUp(button, shift, x, y);
        emit bcClick();
        break;
    case QEvent::MouseButtonDblClick:
        emit bcDblClick();
        break;
    default:
        break;
    }
    return false;
}

bool SQLTextEditor::relayDrag(QEvent* event) {
    auto* drop = static_cast<QDropEvent*>(event);
    float x = static_cast<float>(drop->position().x()), y = static_cast<float>(drop->position().y());
    if (event->type() == QEvent::Drop) {
        emit bcDragDrop(drop->mimeData(), x, y);
    } else {
        int state = event->type() == QEvent::DragEnter ? 0 : 2;
        emit bcDragOver(drop->mimeData(), x, y, state);
    }
    return false;
}

bool SQLTextEditor::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        if (watched == mBCEdit)
            return relayKey(event);
        break;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
        if (watched == mBCEdit->viewport())
            return relayMouse(event);
        break;
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        if (watched == mBCEdit->viewport())
            return relayDrag(event);
        break;
    case QEvent::FocusIn:
        if (watched == mBCEdit)
            emit bcGotFocus();
        break;
    case QEvent::FocusOut:
        if (watched == mBCEdit) {
            bool cancel = false;
            emit bcValidate(cancel);
            if (cancel) {
                mBCEdit->setFocus();
                return true;
            }
            emit bcLostFocus();
        }
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}
