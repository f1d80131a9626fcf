#include "EditorChildWindow.h"

#include "ErrorReport.h"
#include "RecoveryFiles.h"
#include "SQLTextEditor.h"
#include "ScreenMetrics.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "mdiMain.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMimeData>
#include <QTimer>

namespace {
// The settings keep the child window's size in twips, the unit of the older settings files.
double twipsPerPixelX() {
    return ScreenMetrics::Current().twipsPerPixelX;
}
double twipsPerPixelY() {
    return ScreenMetrics::Current().twipsPerPixelY;
}

// Long enough that a typist is not interrupted, short enough that little is lost.
constexpr int typingPauseMs = 2000;

QString nextRecoveryId() {
    static int number = 0;
    return QStringLiteral("editor-%1").arg(++number);
}
} // namespace

EditorChildWindow::EditorChildWindow(mdiMain& main, QWidget* parent)
    : QWidget(parent)
    , mMain(main) {
    setAttribute(Qt::WA_DeleteOnClose, false);
    // Paste follows the clipboard, which any program may fill.
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this,
            &EditorChildWindow::CommandStateChanged);
}

// The main window holds its current child by a guarded pointer, which clears itself when the window
// goes; the main window may be half destroyed by then, so it isn't asked.
EditorChildWindow::~EditorChildWindow() {
    // The source reads this window's editor, which is about to go.
    forgetUnsavedText();
}

void EditorChildWindow::SetEditor(SQLTextEditor* editor) {
    mEditor = editor;
    setFocusProxy(editor);
    connect(editor, &SQLTextEditor::bcClick, this, [this] { becomeActive(false); });
    connect(editor, &SQLTextEditor::bcDblClick, this, [this] { becomeActive(false); });
    connect(editor, &SQLTextEditor::bcGotFocus, this, [this] {
        mbEditorHasFocus = true;
        becomeActive(false);
    });
    connect(editor, &SQLTextEditor::bcLostFocus, this, [this] { mbEditorHasFocus = false; });
    // A selection made from outside (a search, an error line) takes the focus along, so that the
    // user can type on at once.
    connect(editor, &SQLTextEditor::bcSelectionChange, this, [this](long, long, long, long) {
        if (mMain.CurrentChild() == this && !mbEditorHasFocus)
            mEditor->setFocus();
        emit CommandStateChanged();
    });
    connect(editor, &SQLTextEditor::bcChange, this, &EditorChildWindow::CommandStateChanged);
    // A single shot restarted on every edit: the text is taken once typing pauses, not on every key.
    mTypingPause = new QTimer(this);
    mTypingPause->setSingleShot(true);
    mTypingPause->setInterval(typingPauseMs);
    connect(mTypingPause, &QTimer::timeout, this, [this] { Guarded([this] { KeepUnsavedText(); }); });
    connect(editor, &SQLTextEditor::bcChange, mTypingPause, qOverload<>(&QTimer::start));
}

void EditorChildWindow::KeepUnsavedText() {
    RecoveryFiles* files = InstalledRecoveryFiles();
    if (!mEditor || !files)
        return;
    if (!mEditor->IsModified()) {
        forgetUnsavedText();
        return;
    }
    if (mRecoveryId.isEmpty())
        mRecoveryId = nextRecoveryId();
    // Registered again each time, so that the title and origin follow a rename or a save as.
    files->Register(mRecoveryId, windowTitle(), TextOrigin(), [this]() -> QString {
        return mEditor && mEditor->IsModified() ? mEditor->Text() : QString();
    });
    mbRecoveryRegistered = true;
    files->TextChanged(mRecoveryId);
}

void EditorChildWindow::ShowRecoveredText(const QString& title, const QString& text) {
    if (!mEditor)
        return;
    mEditor->SetText(text);
    setWindowTitle(QStringLiteral("Recovered - ") + title);
    KeepUnsavedText();
}

void EditorChildWindow::TextSaved() {
    if (mTypingPause)
        mTypingPause->stop();
    // A save that failed has told the user and left the text unsaved: it is kept on.
    KeepUnsavedText();
}

void EditorChildWindow::forgetUnsavedText() {
    if (!mbRecoveryRegistered)
        return;
    mbRecoveryRegistered = false;
    if (RecoveryFiles* files = InstalledRecoveryFiles())
        files->Forget(mRecoveryId);
}

void EditorChildWindow::BeginOpening(TARMODatabase& sdbCurrent) {
    msdbCurrent = &sdbCurrent;
    mbEditorHasFocus = false;
    mbClosing = false;
}

QMdiSubWindow* EditorChildWindow::subWindow() const {
    return qobject_cast<QMdiSubWindow*>(parentWidget());
}

void EditorChildWindow::SetStatus(const QString& text) {
    if (!mStatusPanels)
        return;
    mStatusPanels->SetPanelText(QStringLiteral("Status"),
                                text.isEmpty() ? QStringLiteral("Ready.") : text + QStringLiteral(" ..."));
    mStatusPanels->repaint();
}

// --- Text commands

bool EditorChildWindow::CanUndo() const {
    return mEditor && mEditor->CanUndo();
}
bool EditorChildWindow::CanRedo() const {
    return mEditor && mEditor->CanRedo();
}
bool EditorChildWindow::CanCut() const {
    return mEditor && !mEditor->Locked() && mEditor->HasSelection();
}
bool EditorChildWindow::CanCopy() const {
    return mEditor && mEditor->HasSelection();
}
bool EditorChildWindow::CanPaste() const {
    if (!mEditor || mEditor->Locked())
        return false;
    const QMimeData* clip = QApplication::clipboard()->mimeData();
    return clip && clip->hasText();
}

void EditorChildWindow::Undo() {
    if (mEditor)
        mEditor->Undo();
}
void EditorChildWindow::Redo() {
    if (mEditor)
        mEditor->Redo();
}
void EditorChildWindow::CutText() {
    if (mEditor)
        mEditor->bcCut();
}
void EditorChildWindow::CopyText() {
    if (mEditor)
        mEditor->bcCopy();
}
void EditorChildWindow::PasteText() {
    if (mEditor)
        mEditor->bcPaste();
}
void EditorChildWindow::Find() {
    if (mEditor)
        mEditor->Find();
}
void EditorChildWindow::FindNext() {
    if (mEditor)
        mEditor->FindNext();
}
void EditorChildWindow::FindPrevious() {
    if (mEditor)
        mEditor->FindPrevious();
}
void EditorChildWindow::Replace() {
    if (mEditor)
        mEditor->Replace();
}

void EditorChildWindow::SetFocusOfChild() {
    if (mEditor && !mbEditorHasFocus)
        mEditor->setFocus();
}

// --- Closing

bool EditorChildWindow::CloseItem(bool bForce) {
    SetStatus(ClosingStatus());
    if (!bForce && !ClosingCheck()) {
        SetStatus(QString());
        return false;
    }
    // Decided: the close that follows doesn't ask again.
    mbClosing = true;
    if (QMdiSubWindow* sub = subWindow())
        sub->close();
    else
        close();
    return true;
}

void EditorChildWindow::closeEvent(QCloseEvent* event) {
    if (!mbClosing && !ClosingCheck()) {
        event->ignore();
        return;
    }
    mbClosing = true;
    Unloading();
    // Saved or given up by the user's own choice: nothing of it is offered again.
    forgetUnsavedText();
    if (mMain.CurrentChild() == this)
        mMain.SetCurrentChild(nullptr);
    event->accept();
}

// --- Geometry and activation

void EditorChildWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!mbPlaced && subWindow())
        placeWindow();
}

void EditorChildWindow::placeWindow() {
    mbPlaced = true;
    mbPlacing = true;
    QMdiSubWindow* sub = subWindow();
    connect(sub, &QMdiSubWindow::windowStateChanged, this,
            [this](Qt::WindowStates oldState, Qt::WindowStates newState) {
                if ((newState & Qt::WindowActive) && !(oldState & Qt::WindowActive))
                    becomeActive(true);
                storeGeometry();
            });
    sub->setWindowIcon(windowIcon());
    if (msdbCurrent && !(sub->windowState() & (Qt::WindowMaximized | Qt::WindowMinimized))) {
        // Until the user sizes a child window, one fills the window area; a remembered size is kept
        // within the area, which may be smaller than when the size was taken.
        const QSize area = sub->mdiArea() ? sub->mdiArea()->viewport()->size() : QSize();
        QSize size(
            static_cast<int>(static_cast<double>(msdbCurrent->ChildWindowWidth()) / twipsPerPixelX()),
            static_cast<int>(static_cast<double>(msdbCurrent->ChildWindowHeight()) / twipsPerPixelY()));
        if (!area.isEmpty()) {
            size = msdbCurrent->ChildWindowSizeSet() ? size.boundedTo(area) : area;
            if (!msdbCurrent->ChildWindowSizeSet())
                sub->move(0, 0);
        }
        sub->resize(size);
        // The settings know normal and maximized only: a window never opens minimized.
        if (msdbCurrent->ChildWindowState() == WindowState::Maximized)
            sub->showMaximized();
    }
    mbPlacing = false;
    becomeActive(true);
}

void EditorChildWindow::storeGeometry() {
    QMdiSubWindow* sub = subWindow();
    // A minimized window keeps the state and size it had before; a window on its way out may still
    // be moved about by the window area, which isn't the user's doing.
    if (!sub || !msdbCurrent || !mbPlaced || mbPlacing || mbClosing || sub->isMinimized())
        return;
    const bool maximised = sub->isMaximized();
    msdbCurrent->SetChildWindowState(maximised ? WindowState::Maximized : WindowState::Normal);
    if (!maximised) {
        msdbCurrent->SetChildWindowWidth(static_cast<long>(sub->width() * twipsPerPixelX()));
        msdbCurrent->SetChildWindowHeight(static_cast<long>(sub->height() * twipsPerPixelY()));
    }
}

void EditorChildWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    storeGeometry();
}

void EditorChildWindow::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    becomeActive(false);
}

void EditorChildWindow::becomeActive(bool bToFront) {
    mMain.SetCurrentChild(this);
    BecameActive(bToFront);
    emit CommandStateChanged();
}
