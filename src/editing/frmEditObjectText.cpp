#include "frmEditObjectText.h"

#include "CoreDispatch.h"
#include "GeneralHelpers.h"
#include "SQLTextEditor.h"
#include "ScreenMetrics.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "TARMOObjectVSS.h"
#include "UserPrompts.h"
#include "frmComment.h"
#include "frmEditObjectTextSavePrompt.h"
#include "frmItemDescription.h"
#include "mdiMain.h"
#include "modParser.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFontMetrics>
#include <QMdiSubWindow>
#include <QMimeData>
#include <QVBoxLayout>

#include <algorithm>
#include <stdexcept>

namespace {
// The status bar is 250 twips high.
constexpr int statusBarTwips = 250;

double twipsPerPixelX() {
    return ScreenMetrics::Current().twipsPerPixelX;
}
double twipsPerPixelY() {
    return ScreenMetrics::Current().twipsPerPixelY;
}
} // namespace

frmEditObjectText::frmEditObjectText(mdiMain& main, QWidget* parent)
    : QWidget(parent)
    , mMain(main)
    , mtxtSQL(new SQLTextEditor(this))
    , mStatusBar(new StatusPanels(this)) {
    setObjectName(QStringLiteral("frmEditObjectText"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    mtxtSQL->setObjectName(QStringLiteral("txtSQL"));
    mStatusBar->setObjectName(QStringLiteral("picStatusBar"));
    mStatusBar->setFixedHeight(static_cast<int>(statusBarTwips / twipsPerPixelY()) + 4);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(mtxtSQL, 1);
    layout->addWidget(mStatusBar);
    setFocusProxy(mtxtSQL);

    connect(mtxtSQL, &SQLTextEditor::bcCaretMove, this,
            [this](long, long, long column, long line) { caretMoved(column, line); });
    connect(mtxtSQL, &SQLTextEditor::bcClick, this, [this] { becomeActive(false); });
    connect(mtxtSQL, &SQLTextEditor::bcDblClick, this, [this] { becomeActive(false); });
    connect(mtxtSQL, &SQLTextEditor::bcGotFocus, this, [this] {
        mbEditorHasFocus = true;
        becomeActive(false);
    });
    connect(mtxtSQL, &SQLTextEditor::bcLostFocus, this, [this] { mbEditorHasFocus = false; });
    connect(mtxtSQL, &SQLTextEditor::bcSelectionChange, this, [this](long, long, long, long) {
        if (mMain.CurrentChild() == this && !mbEditorHasFocus)
            mtxtSQL->setFocus();
    });
}

// The main window holds its current child by a guarded pointer, which clears itself when the window
// goes; the main window may be half destroyed by then, so it isn't asked.
frmEditObjectText::~frmEditObjectText() = default;

frmEditObjectText::HistoryWindowMaker& frmEditObjectText::HistoryWindow() {
    static HistoryWindowMaker maker;
    return maker;
}

void frmEditObjectText::Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().OpenObjectWindow = [window](TARMODatabase& database,
                                                 std::shared_ptr<DispatchedObject> object) -> QWidget* {
        auto* form = new frmEditObjectText(*window);
        form->OpenObject(database, std::move(object));
        return form;
    };
    // Default texts with their tags aren't substituted yet: the text is taken as it stands.
    main.Factories().NewObjectWindow =
        [window](TARMODatabase& database, std::shared_ptr<DispatchedObject> object,
                 const QString& strDefaultText, const QString&, const QString&) -> QWidget* {
        auto* form = new frmEditObjectText(*window);
        form->NewObject(database, std::move(object), strDefaultText);
        return form;
    };
}

TARMOObjectVSS& frmEditObjectText::object() const {
    return *mVersioned;
}

QMdiSubWindow* frmEditObjectText::subWindow() const {
    return qobject_cast<QMdiSubWindow*>(parentWidget());
}

// --- Opening and loading

void frmEditObjectText::NewObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen,
                                  const QString& strDefaultText) {
    openCommon(sdbCurrent, std::move(objToOpen), true);
    LoadItem(strDefaultText);
}

void frmEditObjectText::OpenObject(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen) {
    openCommon(sdbCurrent, std::move(objToOpen), false);
    LoadItem(QString());
}

void frmEditObjectText::openCommon(TARMODatabase& sdbCurrent, std::shared_ptr<DispatchedObject> objToOpen,
                                   bool bNew) {
    // Loading stays set until the window stands in its place in the window area (placeWindow), so
    // that the first size changes aren't taken for the user's.
    mbLoading = true;
    mbNewObject = bNew;
    msdbCurrent = &sdbCurrent;
    mobjCurrent = std::move(objToOpen);
    auto* core = dynamic_cast<CoreObject*>(mobjCurrent.get());
    mVersioned = core ? core->Ref().Versioned() : nullptr;
    if (!mVersioned)
        throw std::invalid_argument("frmEditObjectText: the object is not a versioned object");
    rebuildPanels(QString());
    SetStatus(QString());
    mbCanGetLatest = mbCanEdit = mbCanCheckOut = mbCanUndoCheckOut = false;
    mbCanPermissions = mbCanDescription = mbCanOpenFile = mbCanSaveFile = false;
    mbEditorHasFocus = false;
    mbClosing = false;
}

void frmEditObjectText::LoadItem(const QString& strDefaultText) {
    mtxtSQL->LoadFile(object().FileName());
    if (!strDefaultText.isEmpty())
        mtxtSQL->SetText(strDefaultText);
    mbCanGetLatest = mbCanEdit = mbCanCheckOut = mbCanUndoCheckOut = false;
    mbCanPermissions = mbCanDescription = mbCanOpenFile = mbCanSaveFile = false;
    mstrCaption.clear();
    SetStatus(QStringLiteral("Getting Data"));
    if (object().IsNew()) {
        mbCanEdit = mbCanOpenFile = mbCanSaveFile = true;
    } else {
        mbCanPermissions = mbCanDescription = true;
        if (object().IsCheckedOutByMe())
            mbCanEdit = mbCanUndoCheckOut = mbCanOpenFile = mbCanSaveFile = true;
        else
            mbCanGetLatest = mbCanCheckOut = true;
    }
    mlngIcon = mMain.GetIconIndex(object().IconToUse(), false);
    if (mlngIcon > 0) {
        setWindowIcon(mMain.Images().IconAt(static_cast<int>(mlngIcon)));
        if (QMdiSubWindow* sub = subWindow())
            sub->setWindowIcon(windowIcon());
    }
    RefreshCaption();
    SetStatus(QString());
}

void frmEditObjectText::RefreshCaption() {
    if (!mVersioned)
        return;
    if (object().IsNew()) {
        mstrCaption = QStringLiteral("New (") + object().ObjectDisplayName() + QLatin1Char(')');
    } else {
        QString owner;
        if (msdbCurrent && msdbCurrent->ShowOwnerNameInName() && !object().Owner().isEmpty())
            owner = object().Owner() + QLatin1Char('.');
        mstrCaption = owner + object().Name() + QStringLiteral(" (") + object().ObjectDisplayName() +
                      QStringLiteral(") - Edit");
        if (!object().IsCheckedOutByMe())
            mstrCaption += QStringLiteral(" [Read Only]");
    }
    setWindowTitle(mstrCaption);
}

// --- Status bar

void frmEditObjectText::SetStatus(const QString& text) {
    mStatusBar->SetPanelText(QStringLiteral("Status"),
                             text.isEmpty() ? QStringLiteral("Ready.") : text + QStringLiteral(" ..."));
    mStatusBar->repaint();
}

void frmEditObjectText::rebuildPanels(const QString& onCloseText) {
    const QString status = mStatusBar->PanelText(QStringLiteral("Status"));
    const QString caret = mStatusBar->PanelText(QStringLiteral("Caret"));
    const QFontMetrics metrics(mStatusBar->font());
    mStatusBar->ClearPanels();
    mStatusBar->AddPanel(QStringLiteral("Status"), 64, true);
    if (!onCloseText.isEmpty())
        mStatusBar->AddPanel(QStringLiteral("OnClose"), metrics.horizontalAdvance(onCloseText) + 12);
    // Sized once for the widest text it is to hold, so that it doesn't jump as the caret moves.
    const int caretWidth = metrics.horizontalAdvance(QStringLiteral("Ln 99999, Col 99999")) + 12;
    mStatusBar->AddPanel(QStringLiteral("Caret"), std::max(64, caretWidth));
    mStatusBar->SetPanelText(QStringLiteral("Status"), status.isEmpty() ? QStringLiteral("Ready.") : status);
    mStatusBar->SetPanelText(QStringLiteral("OnClose"), onCloseText);
    mStatusBar->SetPanelText(QStringLiteral("Caret"), caret);
}

void frmEditObjectText::RefreshStatusBar() {
    if (!mVersioned || !msdbCurrent)
        return;
    QString text;
    if (object().IsNew() && !msdbCurrent->ShowSaveChangesNew()) {
        switch (msdbCurrent->SaveChangesNewDefault()) {
        case 1:
            text = QStringLiteral("it will be Checked In");
            break;
        case 2:
            text = QStringLiteral("it's Text will be Saved");
            break;
        case 3:
            text = QStringLiteral("all changes will be Discarded");
            break;
        default:
            break;
        }
    }
    if (object().IsCheckedOutByMe() && !msdbCurrent->ShowSaveChangesEdit()) {
        switch (msdbCurrent->SaveChangesEditDefault()) {
        case 1:
            text = QStringLiteral(" it will be Checked In");
            break;
        case 2:
            text = QStringLiteral("it's Text will be Saved");
            break;
        case 4:
            text = QStringLiteral("all changes will be Discarded but will remain Checked Out");
            break;
        case 5:
            text = QStringLiteral("all changes will be Discarded and Checkout will be Undone");
            break;
        default:
            break;
        }
    }
    rebuildPanels(text.isEmpty() ? QString() : QStringLiteral("On Closing this item ") + text);
}

void frmEditObjectText::caretMoved(long column, long line) {
    mStatusBar->SetPanelText(QStringLiteral("Caret"),
                             QStringLiteral("Ln %1, Col %2").arg(line + 1).arg(column + 1));
}

// --- Contract members

QString frmEditObjectText::ObjectTag() const {
    return mVersioned ? object().ObjectType() : QString();
}

QString frmEditObjectText::ObjectKey() const {
    if (!mVersioned)
        return {};
    return object().IsNew() ? QStringLiteral("NEW") : QStringLiteral("I") + object().DBID();
}

bool frmEditObjectText::CanUndo() const {
    return mtxtSQL->CanUndo();
}
bool frmEditObjectText::CanRedo() const {
    return mtxtSQL->CanRedo();
}
bool frmEditObjectText::CanCut() const {
    return !mtxtSQL->Locked() && mtxtSQL->HasSelection();
}
bool frmEditObjectText::CanCopy() const {
    return mtxtSQL->HasSelection();
}
bool frmEditObjectText::CanPaste() const {
    const QMimeData* clip = QApplication::clipboard()->mimeData();
    return !mtxtSQL->Locked() && clip && clip->hasText();
}
bool frmEditObjectText::CanShowHistory() const {
    return !mbNewObject && HistoryWindow() != nullptr;
}

void frmEditObjectText::Undo() {
    mtxtSQL->Undo();
}
void frmEditObjectText::Redo() {
    mtxtSQL->Redo();
}
void frmEditObjectText::CutText() {
    mtxtSQL->bcCut();
}
void frmEditObjectText::CopyText() {
    mtxtSQL->bcCopy();
}
void frmEditObjectText::PasteText() {
    mtxtSQL->bcPaste();
}
void frmEditObjectText::Find() {
    mtxtSQL->Find();
}
void frmEditObjectText::FindNext() {
    mtxtSQL->FindNext();
}
void frmEditObjectText::FindPrevious() {
    mtxtSQL->FindPrevious();
}
void frmEditObjectText::Replace() {
    mtxtSQL->Replace();
}

void frmEditObjectText::SetFocusOfChild() {
    if (!mbEditorHasFocus)
        mtxtSQL->setFocus();
}

// --- Text and files

namespace {
QString fileFilter(const TARMOObjectVSS& object) {
    return object.ObjectDisplayName() + QStringLiteral(" Files (*") + object.FileExtension() +
           QStringLiteral(");;SQL Script Files (*.sql);;All Files (*)");
}
} // namespace

void frmEditObjectText::OpenText() {
    if (mtxtSQL->IsModified() &&
        prompts().MessageBox(
            QStringLiteral("Are you sure you want to load a file? Changes made to the object will be lost."),
            Prompt::Buttons::YesNo, Prompt::Icon::Question,
            QStringLiteral("Discard Changes Made?")) != Prompt::Answer::Yes)
        return;
    SetStatus(QStringLiteral("Loading Text"));
    const QString chosen =
        prompts().OpenFileName(QStringLiteral("Load SQL from a File"), fileFilter(object()), QString());
    if (chosen.isEmpty()) {
        SetStatus(QString());
        return;
    }
    const QString text = ReadTextFile(chosen);
    SetStatus(QString());
    if (!text.isEmpty()) {
        mtxtSQL->SetText(text);
        prompts().MessageBox(QStringLiteral("The File was sussessfully loaded!"), Prompt::Buttons::OK,
                             Prompt::Icon::Information, QStringLiteral("File Loaded"));
    } else {
        prompts().MessageBox(QStringLiteral("The specified file is empty!"), Prompt::Buttons::OK,
                             Prompt::Icon::Exclamation, QStringLiteral("File not Loaded"));
    }
}

bool frmEditObjectText::SaveText(bool bPrompt) {
    if (object().IsNew()) {
        const QString proposed = object().FileName();
        const QString chosen = prompts().SaveFileName(QStringLiteral("Save ") + object().ObjectDisplayName(),
                                                      fileFilter(object()), proposed);
        // Cancel leaves the proposed name, so choosing it again counts as no choice either.
        if (chosen.isEmpty() || chosen == proposed)
            return false;
        SetStatus(QStringLiteral("Saving Text"));
        mtxtSQL->SaveFile(chosen);
        object().SetFileName(chosen);
        mtxtSQL->LoadFile(chosen);
    } else {
        SetStatus(QStringLiteral("Saving Text"));
        mtxtSQL->SaveFile();
    }
    SetStatus(QString());
    if (bPrompt)
        prompts().MessageBox(QStringLiteral("Text has been successfully Saved"), Prompt::Buttons::OK,
                             Prompt::Icon::Information, QStringLiteral("Text Saved"));
    return true;
}

// --- Source-control actions

bool frmEditObjectText::TestItem(bool bShowConfirmation) {
    if (!object().TestItem(mtxtSQL->Text()))
        return false;
    if (bShowConfirmation)
        prompts().MessageBox(QStringLiteral("Syntax is OK"), Prompt::Buttons::OK, Prompt::Icon::Information,
                             QStringLiteral("Syntax OK"));
    return true;
}

void frmEditObjectText::refreshTreeNode(bool bUseParent) {
    mMain.RefreshItem(object().ObjectType(), QStringLiteral("I") + object().DBID(), bUseParent);
}

bool frmEditObjectText::RunGetLatestVersion() {
    SetStatus(QStringLiteral("Getting Latest Version"));
    const bool done = object().GetLatestVersion();
    if (done) {
        LoadItem(QString());
        refreshTreeNode();
    }
    SetStatus(QString());
    return done;
}

bool frmEditObjectText::RunCheckOut() {
    SetStatus(QStringLiteral("Checking Out Item"));
    const bool done = object().CheckOut();
    if (done) {
        LoadItem(QString());
        refreshTreeNode();
    }
    SetStatus(QString());
    return done;
}

bool frmEditObjectText::RunCheckIn() {
    SetStatus(QStringLiteral("Checking In Item"));
    QString comment;
    if (msdbCurrent->ShowCommentPrompt()) {
        // The syntax is tested before the user is asked to type a comment that would be wasted.
        if (!TestItem(false) || !frmComment::GetComment(comment, this)) {
            SetStatus(QString());
            return false;
        }
    }
    if (!object().CheckIn(mtxtSQL->Text(), comment)) {
        SetStatus(QString());
        return false;
    }
    LoadItem(QString());
    if (mbNewObject) {
        if (msdbCurrent->ShowDescriptionPrompt())
            ChangeDescription();
        mbNewObject = object().IsNew();
        mMain.RefreshItem(object().ParentObjectType(), object().ParentObjectType(), false);
        if (msdbCurrent->ShowPermissionsOnNewObjectCreate() && object().HasPermissions())
            mMain.EditPermissions(QString(), QString(), mobjCurrent);
    } else {
        refreshTreeNode();
    }
    SetStatus(QString());
    return true;
}

bool frmEditObjectText::UndoCheckout(bool bPrompt) {
    bool ask = false;
    if (bPrompt) {
        BusyCursor busy;
        ask = mtxtSQL->IsModified() ||
              !modParser::SQLTextsEqual(mtxtSQL->Text(), object().GetContent(TARMOObjectVSS::LocationVSS),
                                        false, false);
    }
    if (ask && prompts().MessageBox(QStringLiteral("Are you sure you want to discard the changes made?"),
                                    Prompt::Buttons::YesNo, Prompt::Icon::Question,
                                    QStringLiteral("Undo Checkout?")) != Prompt::Answer::Yes)
        return false;
    SetStatus(QStringLiteral("Undoing Check Out of Item"));
    const bool done = object().UndoCheckout();
    if (done) {
        LoadItem(QString());
        refreshTreeNode();
    }
    SetStatus(QString());
    return done;
}

void frmEditObjectText::ShowHistory() {
    if (!HistoryWindow() || !msdbCurrent)
        return;
    BusyCursor busy;
    const QString key = ObjectKey();
    if (HistoryWindow()(*msdbCurrent, this, mobjCurrent)) {
        BusyCursor mainBusy;
        RunGetLatestVersion();
        mMain.RefreshItem(ObjectTag(), key, true);
    }
}

void frmEditObjectText::ChangeDescription() {
    QString newDescription;
    bool changed = false;
    {
        BusyCursor busy;
        const QString current = object().Description();
        changed = frmItemDescription::GetDescription(current, newDescription, this);
        if (changed) {
            SetStatus(QStringLiteral("Saving Item Description"));
            object().SetDescription(newDescription);
        }
    }
    SetStatus(QString());
}

// --- Closing

bool frmEditObjectText::ClosingCheck() {
    BusyCursor busy;
    if (!mtxtSQL->IsModified())
        return true;
    switch (frmEditObjectTextSavePrompt::ChangesMade(*msdbCurrent, object().IsNew(), this)) {
    case 1:
        return RunCheckIn();
    case 2:
        return SaveText(false);
    case 3:
    case 4:
        return true;
    case 5:
        return UndoCheckout(false);
    default:
        return false;
    }
}

bool frmEditObjectText::CloseItem(bool bForce) {
    SetStatus(QStringLiteral("Closing Item"));
    if (!bForce && !ClosingCheck()) {
        SetStatus(QString());
        return false;
    }
    mbClosing = true;
    if (QMdiSubWindow* sub = subWindow())
        sub->close();
    else
        close();
    return true;
}

void frmEditObjectText::closeEvent(QCloseEvent* event) {
    if (!mbClosing && mVersioned && !ClosingCheck()) {
        event->ignore();
        return;
    }
    mbClosing = true;
    if (mVersioned && object().IsNew())
        object().ClearNewObjectFile();
    if (mMain.CurrentChild() == this)
        mMain.SetCurrentChild(nullptr);
    event->accept();
}

// --- Geometry and activation

void frmEditObjectText::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!mbPlaced && subWindow())
        placeWindow();
}

void frmEditObjectText::placeWindow() {
    mbPlaced = true;
    QMdiSubWindow* sub = subWindow();
    connect(sub, &QMdiSubWindow::windowStateChanged, this,
            [this](Qt::WindowStates oldState, Qt::WindowStates newState) {
                if ((newState & Qt::WindowActive) && !(oldState & Qt::WindowActive))
                    becomeActive(true);
                if (!mbLoading)
                    storeGeometry();
            });
    sub->setWindowIcon(windowIcon());
    if (msdbCurrent && !(sub->windowState() & (Qt::WindowMaximized | Qt::WindowMinimized))) {
        sub->resize(static_cast<int>(msdbCurrent->ChildWindowWidth() / twipsPerPixelX()),
                    static_cast<int>(msdbCurrent->ChildWindowHeight() / twipsPerPixelY()));
        switch (msdbCurrent->ChildWindowState()) {
        case WindowState::Minimized:
            sub->showMinimized();
            break;
        case WindowState::Maximized:
            sub->showMaximized();
            break;
        default:
            break;
        }
    }
    mbLoading = false;
    becomeActive(true);
}

void frmEditObjectText::storeGeometry() {
    QMdiSubWindow* sub = subWindow();
    if (!sub || !msdbCurrent || mbLoading || sub->isMinimized())
        return;
    const bool maximised = sub->isMaximized();
    msdbCurrent->SetChildWindowState(maximised ? WindowState::Maximized : WindowState::Normal);
    if (!maximised) {
        msdbCurrent->SetChildWindowWidth(static_cast<long>(sub->width() * twipsPerPixelX()));
        msdbCurrent->SetChildWindowHeight(static_cast<long>(sub->height() * twipsPerPixelY()));
    }
}

void frmEditObjectText::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (QMdiSubWindow* sub = subWindow(); sub && sub->isMinimized())
        return;
    storeGeometry();
}

void frmEditObjectText::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    becomeActive(false);
}

void frmEditObjectText::becomeActive(bool bToFront) {
    mMain.SetCurrentChild(this);
    if (bToFront)
        RefreshStatusBar();
}
