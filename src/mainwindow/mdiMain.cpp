#include "mdiMain.h"

#include "ErrorReport.h"

#include "ChildWindowArea.h"
#include "ChildWindowContract.h"
#include "DatabaseTree.h"
#include "EditorChildWindow.h"
#include "ExplorerBar.h"
#include "Globals.h"
#include "GuiHelpers.h"
#include "ScreenMetrics.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "TARMOProject.h"
#include "UserPrompts.h"
#include "frmAbout.h"
#include "frmProjectBrowser.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QSplitter>
#include <QToolBar>
#include <QVBoxLayout>

namespace {
const QString itemBar = QStringLiteral("Item");
const QString toolsBar = QStringLiteral("Tools");
const QString descriptionBar = QStringLiteral("Description");
const QString refreshNodeEntry = QStringLiteral("RefreshNode");

double twipsPerPixel() {
    return ScreenMetrics::Current().twipsPerPixelX;
}
int toPixels(long twips) {
    return static_cast<int>(static_cast<double>(twips) / twipsPerPixel());
}
long toTwips(int pixels) {
    return static_cast<long>(pixels * twipsPerPixel());
}

// Context panel entries for what the selected object offers, in their order.
struct PanelEntry {
    bool TARMOContextMenu::*field;
    const char* text; // with the display name behind it when it ends in a space
    const char* key;
    Command command;
    const char* icon;
};
const PanelEntry panelEntries[] = {
    {&TARMOContextMenu::Edit, "Edit ", "mnuPopupEditItem", Command::Edit, "EDIT"},
    {&TARMOContextMenu::Rename, "Rename ", "mnuPopupRenameItem", Command::Rename, "RENAME"},
    {&TARMOContextMenu::Delete, "Delete ", "mnuPopupDeleteItem", Command::Delete, "DELETE"},
    {&TARMOContextMenu::GetLatestVersion, "Get Latest Version", "mnuPopupGetLatest", Command::GetLatest,
     "VSS:GETLATESTVERSION"},
    {&TARMOContextMenu::CheckIn, "Check In", "mnuPopupCheckIn", Command::CheckIn, "VSS:CHECKIN"},
    {&TARMOContextMenu::CheckOut, "Check Out", "mnuPopupCheckOut", Command::CheckOut, "VSS:CHECKOUT"},
    {&TARMOContextMenu::UndoCheckout, "Undo Check Out", "mnuPopupUndoCheckOut", Command::UndoCheckOut,
     "VSS:UNDOCHECKOUT"},
    {&TARMOContextMenu::EditPermissions, "Permissions", "mnuPopupEditPermission", Command::Permissions,
     "PERMISSIONS"},
    {&TARMOContextMenu::AddToVSS, "Add object to VSS", "mnuPopupAddToVSS", Command::AddToVersionStore,
     "SYNC:ADDVSS"},
    {&TARMOContextMenu::AddToSQL, "Add object to SQL", "mnuPopupAddToSQL", Command::AddToSqlServer,
     "SYNC:ADDSQL"},
    {&TARMOContextMenu::DeleteFromVSS, "Remove object to VSS", "mnuPopupDeleteFromVSS",
     Command::RemoveFromVersionStore, "SYNC:REMOVEVSS"},
    {&TARMOContextMenu::DeleteFromSQL, "Remove object to SQL", "mnuPopupDeleteFromSQL",
     Command::RemoveFromSqlServer, "SYNC:REMOVESQL"},
};
} // namespace

mdiMain::mdiMain(QWidget* parent)
    : QMainWindow(parent)
    , mMenus(new MainMenus(*this, miltAll, mShortcuts)) {
    setObjectName(QStringLiteral("mdiMain"));
    setWindowTitle(QStringLiteral("TARMO"));
    buildFrame();
    connect(mMenus, &MainMenus::CommandChosen, this, [this](Command command, const QString& parameter) {
        DoCommand(command, parameter, HelpId(HelpTopic::MainWindow));
    });
    connect(mMenus, &MainMenus::MenuOpening, this, &mdiMain::onMenuOpening);
    connect(mMdiArea, &QMdiArea::subWindowActivated, this, &mdiMain::UpdateCommands);
    // Queued: the repair waits until every window has taken in the focus change.
    connect(qApp, &QApplication::focusChanged, this, &mdiMain::repairCurrentChild, Qt::QueuedConnection);
    qApp->installEventFilter(this);
}

mdiMain::~mdiMain() {
    if (mDispatch)
        mDispatch->SetStatusListener(nullptr);
    // The children die after this body, in QWidget's destructor, and say so as they go (the MDI area
    // activates another child, focus moves): nothing of theirs may reach the main window's slots,
    // which are gone by then.
    for (QObject* child : findChildren<QObject*>())
        QObject::disconnect(child, nullptr, this, nullptr);
    QObject::disconnect(qApp, nullptr, this, nullptr);
}

void mdiMain::buildFrame() {
    mSplitter = new QSplitter(Qt::Horizontal, this);
    mSplitter->setObjectName(QStringLiteral("cMDISplit"));
    mPanelSplitter = new QSplitter(Qt::Vertical, mSplitter);
    mPanelSplitter->setObjectName(QStringLiteral("cSplitter"));
    mTreePanel = mPanelSplitter;
    mtvwDBT = new DatabaseTree(miltAll, mPanelSplitter);
    mebcExtraInfo = new ExplorerBar(mPanelSplitter);
    mebcExtraInfo->setObjectName(QStringLiteral("ebcExtraInfo"));
    mPanelSplitter->setStretchFactor(0, 3);
    mPanelSplitter->setStretchFactor(1, 2);
    mMdiArea = new ChildWindowArea(mSplitter);
    mMdiArea->viewport()->setAcceptDrops(true);
    mMdiArea->viewport()->installEventFilter(this);
    mSplitter->setStretchFactor(1, 1);
    mSplitter->setCollapsible(1, false);
    setCentralWidget(mSplitter);
    msbrMain = new StatusPanels(this);
    setStatusBar(msbrMain);

    connect(mSplitter, &QSplitter::splitterMoved, this, &mdiMain::storeSplitterSizes);
    connect(mPanelSplitter, &QSplitter::splitterMoved, this, &mdiMain::storeSplitterSizes);
    connect(mtvwDBT, &DatabaseTree::NodeDoubleClicked, this, &mdiMain::treeDoubleClicked);
    connect(mtvwDBT, &DatabaseTree::RightButtonReleased, this, &mdiMain::treeRightReleased);
    connect(mtvwDBT, &DatabaseTree::SelectionSettled, this, &mdiMain::UpdateContextPanel);
    connect(mebcExtraInfo, &ExplorerBar::EntryClicked, this, &mdiMain::panelEntryClicked);
    connect(mebcExtraInfo, &ExplorerBar::BarStateChanged, this, [this](const QString& bar, int state) {
        if (bar == descriptionBar)
            mlngDescriptionBarState = state;
    });
}

void mdiMain::SetDispatch(ObjectDispatch* dispatch) {
    if (mDispatch)
        mDispatch->SetStatusListener(nullptr);
    mDispatch = dispatch;
    mtvwDBT->SetDispatch(dispatch);
    if (mDispatch)
        mDispatch->SetStatusListener(this);
}

void mdiMain::AdoptDispatch(std::unique_ptr<ObjectDispatch> dispatch) {
    SetDispatch(dispatch.get());
    mOwnedDispatch = std::move(dispatch);
}

// --- What opening a project asks of the window

void mdiMain::Init(TARMODatabase& sdbCurrent) {
    msdbCurrent = &sdbCurrent;
}

void mdiMain::SetCaption(const QString& caption) {
    setWindowTitle(caption);
}

void mdiMain::fillContextPanelBars() {
    if (!mebcExtraInfo->HasBar(itemBar)) {
        mebcExtraInfo->AddBar(itemBar, QStringLiteral("Selected Item"));
        mebcExtraInfo->AddTextEntry(itemBar, QStringLiteral("NoItem"),
                                    QStringLiteral("No item is currently selected"));
    }
    if (!mebcExtraInfo->HasBar(toolsBar)) {
        mebcExtraInfo->AddBar(toolsBar, QStringLiteral("Functions Available"));
        mebcExtraInfo->AddEntry(toolsBar, QStringLiteral("Refresh"), QStringLiteral("Refresh Database Tree"),
                                miltAll.Icon(QStringLiteral("REFRESH")), CommandNumber(Command::RefreshTree));
        mebcExtraInfo->AddEntry(toolsBar, QStringLiteral("Sync"), QStringLiteral("Synchronize SQL and VSS"),
                                miltAll.Icon(QStringLiteral("SYNC")), CommandNumber(Command::Synchronize));
    }
}

void mdiMain::InitDBT(long lngWidth) {
    BusyCursor busy;
    mlngDescriptionBarState = 1;
    fillContextPanelBars();
    mnodPanelItem = nullptr;
    mtvwDBT->SetupTreeView();
    if (lngWidth > 0) {
        const int total = std::max(mSplitter->width(), toPixels(lngWidth) + 200);
        mSplitter->setSizes({toPixels(lngWidth), total - toPixels(lngWidth)});
    }
    const long panelHeight =
        msdbCurrent && msdbCurrent->ExtraPanelHeight() > 0 ? msdbCurrent->ExtraPanelHeight() : 240;
    mPanelSplitter->setSizes({std::max(mPanelSplitter->height() - static_cast<int>(panelHeight), 300),
                              static_cast<int>(panelHeight)});
    if (mDispatch)
        if (auto items = mDispatch->GetItemInfo(QStringLiteral("Start"), QString(), false, true))
            mtvwDBT->AddItems(*items, nullptr, QString(), false);
    UpdateContextPanel();

    mNewEntries.clear();
    if (mDispatch)
        if (auto items = mDispatch->GetItemsForNewMenu())
            items->ForEach([this](const TARMODBTItem& item) { mNewEntries.append({item.Key, item.Text}); });
    mRecentProjects.clear();
    if (msdbCurrent) {
        const QStringList names = msdbCurrent->GetMostRecentProject();
        for (int i = 1; i < names.size(); ++i)
            if (!names[i].isEmpty())
                mRecentProjects.append({names[i], QStringLiteral("&%1 - %2").arg(i).arg(names[i])});
    }

    mShortcuts.Fill();
    mstrLoadShortcut = mShortcuts.ShortcutSuffix(Command::LoadText);
    mstrSaveShortcut = mShortcuts.ShortcutSuffix(Command::SaveText);
    mMenus->Build(mNewEntries, mRecentProjects);
    mbMenusDisabled = false;
    buildStatusBar();
    UpdateCommands();
}

void mdiMain::buildStatusBar() {
    msbrMain->ClearPanels();
    msbrMain->AddPanel(QStringLiteral("DBT:STATUS"), 300);
    for (int width : {100, 125, 125, 125, 15, 125, 125})
        msbrMain->AddPanel(QString(), width);
    msbrMain->AddPanel(QString(), 64, true);
    const TARMOProject* project = msdbCurrent ? msdbCurrent->Project().get() : nullptr;
    if (project) {
        const ProjectSummary summary = project->Summary();
        msbrMain->SetPanelText(2, summary.name);
        msbrMain->SetPanelText(3, summary.server);
        msbrMain->SetPanelText(4, summary.database);
        msbrMain->SetPanelText(5, summary.user);
        msbrMain->SetPanelText(7, summary.storeProject);
        msbrMain->SetPanelText(8, summary.storeUser);
    }
    msbrMain->setVisible(!msdbCurrent || msdbCurrent->ShowMainStatusBar());
}

void mdiMain::SetGeometry(long height, long width, ::WindowState windowState) {
    const QSize normal(toPixels(width), toPixels(height));
    if (windowState == ::WindowState::Maximized) {
        // A window that is maximized already stays as it is: a resize would leave its contents at the
        // old size while the frame stays maximized. The normal size waits for a restore.
        if (!isMaximized()) {
            resize(normal);
            setWindowState(Qt::WindowMaximized);
        }
        return;
    }
    setWindowState(Qt::WindowNoState);
    resize(normal);
    // A window that isn't on the screen yet comes up in the middle of it.
    if (!isVisible())
        if (const QScreen* on = screen())
            move(on->availableGeometry().center() - rect().center());
}

void mdiMain::SetDatabaseTreeVisible(bool visible) {
    mbDatabaseTreeVisible = visible;
    mTreePanel->setVisible(visible);
    if (msdbCurrent)
        msdbCurrent->SetDBTVisible(visible);
}

void mdiMain::SetExtraPanelVisible(bool visible) {
    mbExtraPanelVisible = visible;
    mebcExtraInfo->setVisible(visible);
    if (msdbCurrent)
        msdbCurrent->SetExtraPanelVisible(visible);
}

void mdiMain::ShowWindow() {
    setUpdatesEnabled(true);
    if (windowState() & Qt::WindowMaximized)
        showMaximized();
    else
        show();
}

void mdiMain::HideWindow() {
    // While another project is opened the window is not taken off the screen but stops drawing:
    // unmapping a maximized window and mapping it again leaves it drawn at its old size.
    if (isVisible())
        setUpdatesEnabled(false);
    else
        hide();
}

void mdiMain::CheckProjectSyncInfo() {
    const TARMOProject* project = msdbCurrent ? msdbCurrent->Project().get() : nullptr;
    if (!project || !project->IsFirstUserToConnect())
        return;
    if (MsgBox(
            QStringLiteral("This is the first time anyone has connected to this project. Would you like to "
                           "Synchronize?"),
            Prompt::Buttons::YesNo, Prompt::Icon::Question,
            QStringLiteral("Start Synchronization Process?")) == Prompt::Answer::Yes)
        DoCommand(Command::Synchronize, QString(), HelpId(HelpTopic::MainWindow));
    else
        msdbCurrent->Project()->ProjectWasSyncronized(QStringLiteral("NoSyncWanted"));
}

void mdiMain::storeSplitterSizes() {
    if (mbLoading || !msdbCurrent)
        return;
    if (mbDatabaseTreeVisible && mSplitter->sizes().value(0) > 0)
        msdbCurrent->SetDBTWidth(toTwips(mSplitter->sizes().value(0)));
    if (mbExtraPanelVisible && mPanelSplitter->sizes().value(1) > 0)
        msdbCurrent->SetExtraPanelHeight(mPanelSplitter->sizes().value(1));
}

void mdiMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (mbLoading || !msdbCurrent || !isVisible())
        return;
    if (windowState() & Qt::WindowMaximized) {
        msdbCurrent->SetWindowState(::WindowState::Maximized);
    } else if (!(windowState() & Qt::WindowMinimized)) {
        msdbCurrent->SetWindowState(::WindowState::Normal);
        msdbCurrent->SetWindowHeight(toTwips(height()));
        msdbCurrent->SetWindowWidth(toTwips(width()));
    }
}

void mdiMain::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && !mbLoading && msdbCurrent && isVisible() &&
        !(windowState() & Qt::WindowMinimized))
        msdbCurrent->SetWindowState(windowState() & Qt::WindowMaximized ? ::WindowState::Maximized
                                                                        : ::WindowState::Normal);
}

// --- The tree and its panel

int mdiMain::GetIconIndex(const QString& strName, bool bZeroBased) const {
    return miltAll.GetIconIndex(strName, bZeroBased);
}

bool mdiMain::DragSubnodes() const {
    return mtvwDBT->DragSubnodes();
}

void mdiMain::RefreshItem(const QString& strTag, const QString& strKey, bool bUseParent) {
    QTreeWidgetItem* node = mtvwDBT->FindNode(strTag, strKey);
    if (!node)
        return;
    if (bUseParent && node->parent())
        node = node->parent();
    if (node == mnodPanelItem)
        mnodPanelItem = nullptr;
    mtvwDBT->RefreshNode(node);
    UpdateContextPanel();
}

void mdiMain::UpdateContextPanel() {
    // The panel follows every click; an object that cannot be read leaves it as it was.
    if (!Guarded([this] { fillContextPanel(); }))
        mnodPanelItem = nullptr;
    mebcExtraInfo->SetRedraw(true);
}

void mdiMain::fillContextPanel() {
    QTreeWidgetItem* node = mtvwDBT->SelectedNode();
    std::shared_ptr<DispatchedObject> object;
    if (node && mDispatch)
        object = mDispatch->GetObject(DatabaseTree::NodeTag(node), DatabaseTree::NodeKey(node));

    if (node && node == mnodPanelItem) {
        if (!object || !object->IsEditable())
            return;
        auto has = [this](const char* key) {
            return mebcExtraInfo->HasEntry(itemBar, QString::fromLatin1(key));
        };
        if ((has("mnuPopupAddToVSS") && !object->InVSS()) || (has("mnuPopupAddToSQL") && !object->InSQL()) ||
            (has("mnuPopupCheckIn") && object->IsCheckedOutByMe()) ||
            (has("mnuPopupCheckOut") && !object->IsCheckedOutByMe()))
            return;
    }

    mnodPanelItem = node;
    mebcExtraInfo->SetRedraw(false);
    for (const QString& bar : mebcExtraInfo->BarKeys())
        if (bar != toolsBar && bar != itemBar)
            mebcExtraInfo->RemoveBar(bar);
    for (const QString& entry : mebcExtraInfo->EntryKeys(itemBar))
        if (entry != refreshNodeEntry)
            mebcExtraInfo->RemoveEntry(itemBar, entry);

    if (!node) {
        mebcExtraInfo->RemoveEntry(itemBar, refreshNodeEntry);
        mebcExtraInfo->AddTextEntry(itemBar, QStringLiteral("NoItem"),
                                    QStringLiteral("No object is currently selected"));
    } else {
        if (!mebcExtraInfo->HasEntry(itemBar, refreshNodeEntry))
            mebcExtraInfo->AddEntry(itemBar, refreshNodeEntry, QStringLiteral("Refresh from here"),
                                    miltAll.Icon(QStringLiteral("REFRESH")),
                                    CommandNumber(Command::RefreshNode));
        if (object) {
            const TARMOContextMenu menu =
                mDispatch->GetContextMenu(DatabaseTree::NodeTag(node), DatabaseTree::NodeKey(node));
            for (const PanelEntry& entry : panelEntries) {
                if (!(menu.*entry.field))
                    continue;
                QString text = QString::fromLatin1(entry.text);
                if (text.endsWith(QLatin1Char(' ')))
                    text += menu.DisplayName;
                mebcExtraInfo->AddEntry(itemBar, QString::fromLatin1(entry.key), text,
                                        miltAll.Icon(QString::fromLatin1(entry.icon)),
                                        CommandNumber(entry.command), refreshNodeEntry);
            }
            if (object->IsEditable()) {
                const QString description = object->Description();
                if (!description.isEmpty()) {
                    mebcExtraInfo->AddBar(descriptionBar, descriptionBar,
                                          static_cast<int>(mlngDescriptionBarState));
                    mebcExtraInfo->AddTextEntry(descriptionBar, QStringLiteral("DescriptionText"),
                                                description);
                }
            }
        }
    }
    mebcExtraInfo->SetRedraw(true);
}

void mdiMain::panelEntryClicked(const QString& entryKey, long command) {
    DoCommand(CommandFromNumber(command), entryKey, HelpId(HelpTopic::MainWindow));
    UpdateContextPanel();
}

void mdiMain::PopupSetup(QTreeWidgetItem* Node) {
    TARMOContextMenu menu;
    QTreeWidgetItem* selected = mtvwDBT->SelectedNode();
    if (Node && selected && mDispatch)
        Guarded([&] {
            menu =
                mDispatch->GetContextMenu(DatabaseTree::NodeTag(selected), DatabaseTree::NodeKey(selected));
        });
    mMenus->PopupSetup(Node != nullptr, menu);
}

void mdiMain::treeRightReleased(QTreeWidgetItem* node, const QPoint& globalPos) {
    PopupSetup(node);
    if (QMenu* popup = mMenus->mnuPopup())
        popup->popup(globalPos);
}

void mdiMain::treeDoubleClicked(QTreeWidgetItem* node, bool& opened) {
    if (node) {
        opened = opensWindow(node);
        if (DatabaseTree::NodeTag(node) == QLatin1String("Permission")) {
            QTreeWidgetItem* parentNode = node->parent();
            DoCommand(Command::Permissions,
                      DatabaseTree::NodeTag(parentNode) + QLatin1Char('|') +
                          DatabaseTree::NodeKey(parentNode),
                      HelpId(HelpTopic::MainWindow));
        } else {
            DoCommand(Command::Edit, QString(), HelpId(HelpTopic::MainWindow));
        }
    }
    UpdateContextPanel();
}

bool mdiMain::opensWindow(QTreeWidgetItem* node) const {
    if (DatabaseTree::NodeTag(node) == QLatin1String("Permission"))
        return true;
    bool editable = false;
    if (mDispatch)
        Guarded([&] {
            const auto object =
                mDispatch->GetObject(DatabaseTree::NodeTag(node), DatabaseTree::NodeKey(node));
            editable = object && object->IsEditable();
        });
    return editable;
}

void mdiMain::showStatusProgress(const QString& verb, const QString& displayName, long current, long total) {
    if (total <= 0)
        return;
    const long percent = std::lround(static_cast<double>(current) / static_cast<double>(total) * 100.0);
    msbrMain->SetPanelText(QStringLiteral("DBT:STATUS"),
                           verb + QStringLiteral(" - ") + displayName + QStringLiteral(": %1%").arg(percent));
}

void mdiMain::RetrieveStatusChange(const QString&, const QString& ObjectDisplayName, long CurrentItemNumber,
                                   long TotalItems, bool&) {
    showStatusProgress(QStringLiteral("Getting"), ObjectDisplayName, CurrentItemNumber, TotalItems);
}

void mdiMain::AddingStatusChange(const QString&, const QString& ObjectDisplayName, long CurrentItemNumber,
                                 long TotalItems, bool&) {
    showStatusProgress(QStringLiteral("Adding"), ObjectDisplayName, CurrentItemNumber, TotalItems);
}

void mdiMain::CompletedCurrentStatus(const QString&, const QString&) {
    msbrMain->SetPanelText(QStringLiteral("DBT:STATUS"), QString());
}

// --- Keys, drops and the current child (the commands themselves are in mdiMainCommands.cpp)

bool mdiMain::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type == QEvent::KeyPress || type == QEvent::KeyRelease) {
        auto* widget = qobject_cast<QWidget*>(watched);
        auto* key = static_cast<QKeyEvent*>(event);
        if (!widget || widget->window() != this || (type == QEvent::KeyRelease && key->isAutoRepeat()))
            return false;
        int keyCode = KeyCodeFromQt(key->key());
        if (!keyCode)
            return false;
        long helpContext = HelpId(HelpTopic::MainWindow);
        for (QWidget* w = widget; w && w != this; w = w->parentWidget())
            if (auto* child = dynamic_cast<ChildWindowContract*>(w)) {
                helpContext = child->HelpContextID();
                break;
            }
        KeyPreview(type == QEvent::KeyPress, keyCode, ShiftMaskFromQt(key->modifiers()), helpContext);
        return keyCode == 0;
    }
    if (watched == mMdiArea->viewport()) {
        if (type == QEvent::DragEnter || type == QEvent::DragMove) {
            auto* drag = static_cast<QDragMoveEvent*>(event);
            if (acceptsTreeDrop(drag->mimeData()))
                drag->acceptProposedAction();
            else
                drag->ignore();
            return true;
        }
        if (type == QEvent::Drop) {
            auto* drop = static_cast<QDropEvent*>(event);
            if (!acceptsTreeDrop(drop->mimeData()))
                return false;
            QTreeWidgetItem* source = mtvwDBT->DragSource();
            drop->acceptProposedAction();
            Guarded([&] { EditObject(source); });
            mtvwDBT->setCurrentItem(source);
            mtvwDBT->ClearDragSource();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

bool mdiMain::acceptsTreeDrop(const QMimeData* dropped) const {
    QTreeWidgetItem* source = mtvwDBT->DragSource();
    if (!source || !mDispatch || !dropped || !dropped->hasText() || dropped->text() != source->text(0))
        return false;
    bool canOpen = false;
    Guarded([&] {
        canOpen = mDispatch->CanOpenObject(DatabaseTree::NodeTag(source), DatabaseTree::NodeKey(source));
    });
    return canOpen;
}

void mdiMain::repairCurrentChild() {
    mMdiArea->BringBack(mCurrentChild);
}

// --- Child windows

bool mdiMain::OpenRecoveredText(const QString& title, const QString& text) {
    if (!msdbCurrent || !mFactories.QueryWindow)
        return false;
    auto* form = qobject_cast<EditorChildWindow*>(addChildForFactory(mFactories.QueryWindow(*msdbCurrent)));
    if (!form)
        return false;
    form->ShowRecoveredText(title, text);
    return true;
}

QWidget* mdiMain::addChildForFactory(QWidget* child) {
    if (child)
        AddChildWindow(child);
    return child;
}

QMdiSubWindow* mdiMain::AddChildWindow(QWidget* child) {
    if (auto* form = qobject_cast<EditorChildWindow*>(child))
        connect(form, &EditorChildWindow::CommandStateChanged, this, [this, form] {
            // A child in the background changes nothing that the menus show.
            if (ActiveForm() == form)
                UpdateCommands();
        });
    return mMdiArea->AddChildWindow(child);
}

QWidget* mdiMain::FindChild(const QString& strTag, const QString& strKey, FormType formType) const {
    return mMdiArea->FindChild(strTag, strKey, formType);
}

void mdiMain::RefreshForms() {
    mMdiArea->RefreshForms();
}

QWidget* mdiMain::ActiveForm() const {
    return mMdiArea->ActiveForm();
}

// --- Closing and changing the project

bool mdiMain::unloadWindow() {
    mbUnloadDone = false;
    if (!mMdiArea->CloseChildren())
        return false;
    mbUnloadDone = true;
    return true;
}

void mdiMain::closeEvent(QCloseEvent* event) {
    if (unloadWindow())
        event->accept();
    else
        event->ignore();
}

bool mdiMain::CloseProject() {
    close();
    return mbUnloadDone;
}

void mdiMain::ChangeProject(long index, const QString& name) {
    if (name.isEmpty() && index < 2)
        return;
    QString projectName = name;
    if (projectName.isEmpty()) {
        if (index > mRecentProjects.size())
            return;
        projectName = mRecentProjects[index - 1].first;
    }
    if (!unloadWindow())
        return;
    bool opened;
    {
        frmProjectBrowser browser(this);
        opened = browser.OpenRecentProject(-1, projectName);
    }
    if (opened) {
        mbMenusDisabled = false;
        mbUnloadDone = false;
    }
}
