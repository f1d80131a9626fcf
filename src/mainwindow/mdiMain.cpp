#include "mdiMain.h"

#include "ChildWindowArea.h"
#include "ChildWindowContract.h"
#include "DatabaseTree.h"
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
#include <QSplitter>
#include <QToolBar>
#include <QVBoxLayout>

namespace {
const QString itemBar = QStringLiteral("Item");
const QString toolsBar = QStringLiteral("Tools");
const QString descriptionBar = QStringLiteral("Description");
const QString refreshNodeEntry = QStringLiteral("RefreshNode");
const QString vendorWebAddress = QStringLiteral("https://www.tarmo-integration.com/");
const QString vendorSupportAddress = QStringLiteral("support@tarmo-integration.com");

double twipsPerPixel() {
    return ScreenMetrics::Current().twipsPerPixelX;
}
int toPixels(long twips) {
    return static_cast<int>(twips / twipsPerPixel());
}
long toTwips(int pixels) {
    return static_cast<long>(pixels * twipsPerPixel());
}

// The edit commands that go to the active child: guard first, then the action.
struct ChildCommand {
    long command;
    bool (ChildWindowContract::*guard)() const;
    void (ChildWindowContract::*action)();
};
const ChildCommand childCommands[] = {
    {4, &ChildWindowContract::CanOpenFile, &ChildWindowContract::OpenText},
    {5, &ChildWindowContract::CanSaveFile, &ChildWindowContract::SaveText},
    {6, &ChildWindowContract::CanGetLatest, &ChildWindowContract::GetLatestVersion},
    {7, &ChildWindowContract::CanCheckIn, &ChildWindowContract::CheckIn},
    {8, &ChildWindowContract::CanCheckOut, &ChildWindowContract::CheckOut},
    {9, &ChildWindowContract::CanUndoCheckOut, &ChildWindowContract::UndoCheckout},
    {10, &ChildWindowContract::CanUndo, &ChildWindowContract::Undo},
    {11, &ChildWindowContract::CanRedo, &ChildWindowContract::Redo},
    {12, &ChildWindowContract::CanCut, &ChildWindowContract::CutText},
    {13, &ChildWindowContract::CanCopy, &ChildWindowContract::CopyText},
    {14, &ChildWindowContract::CanPaste, &ChildWindowContract::PasteText},
    {34, &ChildWindowContract::CanDescription, &ChildWindowContract::ChangeDescription},
    {52, &ChildWindowContract::CanTestSQL, &ChildWindowContract::TestItem},
    {54, &ChildWindowContract::CanShowHistory, &ChildWindowContract::ShowHistory},
    {55, &ChildWindowContract::CanFind, &ChildWindowContract::Find},
    {56, &ChildWindowContract::CanFind, &ChildWindowContract::FindNext},
    {57, &ChildWindowContract::CanFind, &ChildWindowContract::FindPrevious},
    {58, &ChildWindowContract::CanReplace, &ChildWindowContract::Replace},
};

// The enabling that each tick asks of the active child: toolbar button (may be empty), menu entry.
struct Enabling {
    bool (ChildWindowContract::*member)() const;
    const char* button;
    const char* entry;
};
const Enabling enablings[] = {
    {&ChildWindowContract::CanUndo, "EDITBAR:UNDO", "mnuUndo"},
    {&ChildWindowContract::CanRedo, "EDITBAR:REDO", "mnuRedo"},
    {&ChildWindowContract::CanCut, "EDITBAR:CUT", "mnuCut"},
    {&ChildWindowContract::CanCopy, "EDITBAR:COPY", "mnuCopy"},
    {&ChildWindowContract::CanPaste, "EDITBAR:PASTE", "mnuPaste"},
    {&ChildWindowContract::CanFind, "EDITBAR:FIND", "mnuFind"},
    {&ChildWindowContract::CanReplace, nullptr, "mnuReplace"},
    {&ChildWindowContract::CanOpenFile, "EDITBAR:OPENFILE", "mnuOpenFile"},
    {&ChildWindowContract::CanSaveFile, "EDITBAR:SAVEFILE", "mnuSaveFile"},
    {&ChildWindowContract::CanTestSQL, "EDITBAR:TEST", "mnuTestSQL"},
    {&ChildWindowContract::CanGetLatest, "EDITBAR:GETLATEST", "mnuGetLatest"},
    {&ChildWindowContract::CanCheckOut, "EDITBAR:CHECKOUT", "mnuCheckOut"},
    {&ChildWindowContract::CanCheckIn, "EDITBAR:CHECKIN", "mnuCheckIn"},
    {&ChildWindowContract::CanUndoCheckOut, "EDITBAR:UNDOCHECKOUT", "mnuUndoCheckOut"},
    {&ChildWindowContract::CanShowHistory, "EDITBAR:HISTORY", "mnuHistory"},
    {&ChildWindowContract::CanPermissions, "EDITBAR:PERMISSIONS", "mnuPermissions"},
    {&ChildWindowContract::CanDescription, "EDITBAR:DESCRIPTION", "mnuDescription"},
};

// Context panel entries for what the selected object offers, in their order.
struct PanelEntry {
    bool TARMOContextMenu::*field;
    const char* text; // with the display name behind it when it ends in a space
    const char* key;
    long command;
    const char* icon;
};
const PanelEntry panelEntries[] = {
    {&TARMOContextMenu::Edit, "Edit ", "mnuPopupEditItem", 2, "EDIT"},
    {&TARMOContextMenu::Rename, "Rename ", "mnuPopupRenameItem", 43, "RENAME"},
    {&TARMOContextMenu::Delete, "Delete ", "mnuPopupDeleteItem", 3, "DELETE"},
    {&TARMOContextMenu::GetLatestVersion, "Get Latest Version", "mnuPopupGetLatest", 6,
     "VSS:GETLATESTVERSION"},
    {&TARMOContextMenu::CheckIn, "Check In", "mnuPopupCheckIn", 7, "VSS:CHECKIN"},
    {&TARMOContextMenu::CheckOut, "Check Out", "mnuPopupCheckOut", 8, "VSS:CHECKOUT"},
    {&TARMOContextMenu::UndoCheckout, "Undo Check Out", "mnuPopupUndoCheckOut", 9, "VSS:UNDOCHECKOUT"},
    {&TARMOContextMenu::EditPermissions, "Permissions", "mnuPopupEditPermission", 33, "PERMISSIONS"},
    {&TARMOContextMenu::AddToVSS, "Add object to VSS", "mnuPopupAddToVSS", 18, "SYNC:ADDVSS"},
    {&TARMOContextMenu::AddToSQL, "Add object to SQL", "mnuPopupAddToSQL", 19, "SYNC:ADDSQL"},
    {&TARMOContextMenu::DeleteFromVSS, "Remove object to VSS", "mnuPopupDeleteFromVSS", 22, "SYNC:REMOVEVSS"},
    {&TARMOContextMenu::DeleteFromSQL, "Remove object to SQL", "mnuPopupDeleteFromSQL", 23, "SYNC:REMOVESQL"},
};
} // namespace

mdiMain::mdiMain(QWidget* parent)
    : QMainWindow(parent)
    , mMenus(new MainMenus(*this, miltAll, mShortcuts)) {
    setObjectName(QStringLiteral("mdiMain"));
    setWindowTitle(QStringLiteral("TARMO"));
    buildFrame();
    connect(mMenus, &MainMenus::CommandChosen, this,
            [this](long command, const QString& parameter) { DoCommand(command, parameter, 23); });
    connect(mMenus, &MainMenus::MenuOpening, this, &mdiMain::onMenuOpening);
    mtmr.setInterval(10);
    connect(&mtmr, &QTimer::timeout, this, &mdiMain::tmr_Timer);
    qApp->installEventFilter(this);
}

mdiMain::~mdiMain() {
    if (mDispatch)
        mDispatch->SetStatusListener(nullptr);
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
                                miltAll.Icon(QStringLiteral("REFRESH")), 16);
        mebcExtraInfo->AddEntry(toolsBar, QStringLiteral("Sync"), QStringLiteral("Synchronize SQL and VSS"),
                                miltAll.Icon(QStringLiteral("SYNC")), 17);
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
    mstrLoadShortcut = mShortcuts.ShortcutSuffix(4);
    mstrSaveShortcut = mShortcuts.ShortcutSuffix(5);
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
    resize(toPixels(width), toPixels(height));
    setWindowState(windowState == ::WindowState::Maximized ? Qt::WindowMaximized : Qt::WindowNoState);
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
    if (windowState() & Qt::WindowMaximized)
        showMaximized();
    else
        show();
    mtmr.start();
}

void mdiMain::HideWindow() {
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
        DoCommand(17, QString(), 23);
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
                                    miltAll.Icon(QStringLiteral("REFRESH")), 15);
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
                                        miltAll.Icon(QString::fromLatin1(entry.icon)), entry.command,
                                        refreshNodeEntry);
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
    DoCommand(command, entryKey, 23);
    UpdateContextPanel();
}

void mdiMain::PopupSetup(QTreeWidgetItem* Node) {
    TARMOContextMenu menu;
    QTreeWidgetItem* selected = mtvwDBT->SelectedNode();
    if (Node && selected && mDispatch)
        menu = mDispatch->GetContextMenu(DatabaseTree::NodeTag(selected), DatabaseTree::NodeKey(selected));
    mMenus->PopupSetup(Node != nullptr, menu);
}

void mdiMain::treeRightReleased(QTreeWidgetItem* node, const QPoint& globalPos) {
    PopupSetup(node);
    if (QMenu* popup = mMenus->mnuPopup())
        popup->popup(globalPos);
}

void mdiMain::treeDoubleClicked(QTreeWidgetItem* node) {
    if (node) {
        if (DatabaseTree::NodeTag(node) == QLatin1String("Permission")) {
            QTreeWidgetItem* parentNode = node->parent();
            DoCommand(
                33, DatabaseTree::NodeTag(parentNode) + QLatin1Char('|') + DatabaseTree::NodeKey(parentNode),
                23);
        } else {
            DoCommand(2, QString(), 23);
        }
    }
    UpdateContextPanel();
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

// --- Keys, drops and the tick

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
        long helpContext = 23;
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
            EditObject(source);
            mtvwDBT->setCurrentItem(source);
            mtvwDBT->ClearDragSource();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

bool mdiMain::acceptsTreeDrop(const QMimeData* dropped) const {
    QTreeWidgetItem* source = mtvwDBT->DragSource();
    return source && mDispatch && dropped && dropped->hasText() && dropped->text() == source->text(0) &&
           mDispatch->CanOpenObject(DatabaseTree::NodeTag(source), DatabaseTree::NodeKey(source));
}

void mdiMain::KeyPreview(bool bKeyDown, int& KeyCode, int Shift, long lngHelpContext) {
    const ShortcutRow* row = mShortcuts.Find(KeyCode, Shift);
    if (!row || bKeyDown == row->FiresAtKeyUp)
        return;
    const long command = row->Command;
    KeyCode = 0;
    DoCommand(command, QString(), lngHelpContext);
}

void mdiMain::tmr_Timer() {
    mMdiArea->BringBack(mCurrentChild);
    UpdateCommands();
}

void mdiMain::setMenuEnabled(const char* key, bool enabled) {
    QAction* entry = mMenus->Entry(QString::fromLatin1(key));
    if (entry && entry->isEnabled() != enabled)
        entry->setEnabled(enabled);
}

void mdiMain::setMenuCaption(const char* key, const QString& caption) {
    QAction* entry = mMenus->Entry(QString::fromLatin1(key));
    if (entry && entry->text() != caption)
        entry->setText(caption);
}

void mdiMain::disableEditCommands() {
    if (QToolBar* bar = mMenus->tbrEdit())
        for (QAction* button : bar->actions())
            button->setEnabled(false);
    for (const Enabling& enabling : enablings)
        setMenuEnabled(enabling.entry, false);
    setMenuCaption("mnuOpenFile", QStringLiteral("&Load") + mstrLoadShortcut);
    setMenuCaption("mnuSaveFile", QStringLiteral("&Save") + mstrSaveShortcut);
}

void mdiMain::UpdateCommands() {
    QWidget* form = ActiveForm();
    if (!ChildWindowArea::IsEditChild(form)) {
        if (mbMenusDisabled)
            return;
        disableEditCommands();
        mbMenusDisabled = true;
        return;
    }
    mbMenusDisabled = false;
    ChildWindowContract* child = ChildWindowArea::Contract(form);
    for (const Enabling& enabling : enablings) {
        const bool enabled = (child->*enabling.member)();
        if (enabling.button)
            if (QAction* button = mMenus->Entry(QString::fromLatin1(enabling.button)))
                button->setEnabled(enabled);
        setMenuEnabled(enabling.entry, enabled);
    }
    setMenuCaption("mnuOpenFile", QLatin1Char('&') + child->OpenFileText() + mstrLoadShortcut);
    setMenuCaption("mnuSaveFile", QLatin1Char('&') + child->SaveFileText() + mstrSaveShortcut);
}

// --- Child windows

QWidget* mdiMain::addChildForFactory(QWidget* child) {
    if (child)
        AddChildWindow(child);
    return child;
}

QMdiSubWindow* mdiMain::AddChildWindow(QWidget* child) {
    return mMdiArea->AddChildWindow(child);
}

QWidget* mdiMain::FindChild(const QString& strTag, const QString& strKey, long lngFormType) const {
    return mMdiArea->FindChild(strTag, strKey, lngFormType);
}

void mdiMain::RefreshForms() {
    mMdiArea->RefreshForms();
}

QWidget* mdiMain::ActiveForm() const {
    return mMdiArea->ActiveForm();
}

// --- Commands

void mdiMain::DoCommand(long lngCommand, const QString& strParameter, long lngHelpContext) {
    prompts().SetBusy(true);
    int index = 0;
    if (!strParameter.isEmpty()) {
        bool numeric = false;
        const int value = strParameter.section(QLatin1Char(':'), -1).toInt(&numeric);
        if (numeric)
            index = value;
    }
    if (lngCommand >= 6 && lngCommand <= 9 && strParameter.left(8) == QLatin1String("mnuPopup"))
        EditObject();
    runCommand(lngCommand, strParameter, lngHelpContext, index);
    prompts().SetBusy(false);
}

bool mdiMain::passToChild(long lngCommand) {
    for (const ChildCommand& entry : childCommands) {
        if (entry.command != lngCommand)
            continue;
        QWidget* form = ActiveForm();
        if (!ChildWindowArea::IsEditChild(form))
            return true;
        ChildWindowContract* child = ChildWindowArea::Contract(form);
        if ((child->*entry.guard)()) {
            BusyCursor busy;
            (child->*entry.action)();
        }
        return true;
    }
    return false;
}

void mdiMain::runCommand(long lngCommand, const QString& strParameter, long lngHelpContext, int index) {
    if (passToChild(lngCommand))
        return;
    QTreeWidgetItem* selected = mtvwDBT->SelectedNode();
    switch (lngCommand) {
    case 1:
        if (!mNewEntries.isEmpty())
            NewObject(mNewEntries.value(index > 0 ? index - 1 : 0, mNewEntries.first()).first);
        break;
    case 2:
        EditObject();
        break;
    case 3:
        DeleteObject();
        break;
    case 15:
        if (selected) {
            if (selected == mnodPanelItem)
                mnodPanelItem = nullptr;
            mtvwDBT->RefreshNode(selected);
        }
        break;
    case 16:
        mnodPanelItem = nullptr;
        mtvwDBT->RefreshAll();
        break;
    case 17:
        if (mFactories.Synchronize && msdbCurrent && mFactories.Synchronize(*msdbCurrent, this))
            runCommand(16, QString(), lngHelpContext, 0);
        break;
    case 18:
        SyncroniseAction(selected, 1, 1);
        break;
    case 19:
        SyncroniseAction(selected, 1, 2);
        break;
    case 22:
        SyncroniseAction(selected, 3, 1);
        break;
    case 23:
        SyncroniseAction(selected, 3, 2);
        break;
    case 24:
        mMdiArea->Tile(true);
        break;
    case 25:
        mMdiArea->Tile(false);
        break;
    case 26:
        mMdiArea->cascadeSubWindows();
        break;
    case 27:
        mMdiArea->MaximiseActive();
        break;
    case 28:
        mMdiArea->MinimiseAll();
        break;
    case 29:
        mMdiArea->SwitchWindow(true);
        break;
    case 30:
        mMdiArea->SwitchWindow(false);
        break;
    case 31:
        mMdiArea->BringWindowForward(index);
        break;
    case 32:
        CloseProject();
        break;
    case 33:
        permissionsCommand(strParameter);
        break;
    case 35:
        ChangeProject(index, QString());
        break;
    case 36:
        SetDatabaseTreeVisible(!mbDatabaseTreeVisible);
        break;
    case 38:
        if (QToolBar* bar = mMenus->tbrDBT())
            bar->setVisible(bar->isHidden());
        break;
    case 39:
        if (QToolBar* bar = mMenus->tbrEdit())
            bar->setVisible(bar->isHidden());
        break;
    case 40:
        mMenus->SetWindowList(mMdiArea->WindowList());
        break;
    case 41:
        if (msdbCurrent && msdbCurrent->Project()) {
            std::shared_ptr<TARMOProject> picked;
            {
                frmProjectBrowser browser(this);
                picked = browser.OpenProjectBrowser(*msdbCurrent->Project());
            }
            if (picked)
                ChangeProject(-1, picked->Name());
        }
        break;
    case 42:
        if (mFactories.Options && msdbCurrent)
            mFactories.Options(*msdbCurrent, this);
        break;
    case 43:
        RenameObject();
        break;
    case 44: {
        frmAbout about(App::ProductName(), App::VersionText(), this);
        about.exec();
        break;
    }
    case 45:
    case 46:
    case 47:
    case 48:
    case 49:
    case 50:
        sendFeedback(lngCommand);
        break;
    case 51:
        OpenURL(this, vendorWebAddress);
        break;
    case 53:
        if (mFactories.QueryWindow && msdbCurrent)
            addChildForFactory(mFactories.QueryWindow(*msdbCurrent));
        break;
    case 59:
        if (mFactories.Undelete && msdbCurrent && mFactories.Undelete(*msdbCurrent, this))
            runCommand(16, QString(), lngHelpContext, 0);
        break;
    case 60:
        showHelp(lngHelpContext);
        break;
    case 61:
        if (mFactories.DocumentGenerator && msdbCurrent) {
            BusyCursor busy;
            mFactories.DocumentGenerator(*msdbCurrent, this);
        }
        break;
    case 62:
        if (mFactories.ScriptGenerator && msdbCurrent) {
            BusyCursor busy;
            mFactories.ScriptGenerator(*msdbCurrent, this);
        }
        break;
    case 68:
        SetExtraPanelVisible(!mbExtraPanelVisible);
        break;
    case 69:
        mtvwDBT->SetDragSubnodes(!mtvwDBT->DragSubnodes());
        if (QAction* entry = mMenus->Entry(QStringLiteral("mnuDragSub")))
            entry->setChecked(mtvwDBT->DragSubnodes());
        break;
    default:
        break;
    }
}

void mdiMain::onMenuOpening(const QString& menuKey) {
    if (menuKey == QLatin1String("mnuView")) {
        mMenus->Entry(QStringLiteral("mnuDBT"))->setChecked(mbDatabaseTreeVisible);
        mMenus->Entry(QStringLiteral("mnuDBTContext"))->setChecked(mbExtraPanelVisible);
        mMenus->Entry(QStringLiteral("mnuDBTContext"))->setEnabled(mbDatabaseTreeVisible);
    } else if (menuKey == QLatin1String("mnuToolbars")) {
        mMenus->Entry(QStringLiteral("mnuToolbarDBT"))
            ->setChecked(mMenus->tbrDBT() && !mMenus->tbrDBT()->isHidden());
        mMenus->Entry(QStringLiteral("mnuToolbarEdit"))
            ->setChecked(mMenus->tbrEdit() && !mMenus->tbrEdit()->isHidden());
    } else if (menuKey == QLatin1String("mnuWindows")) {
        DoCommand(40, QString(), 23);
    }
}

void mdiMain::showHelp(long lngHelpContext) {
    long topic = lngHelpContext;
    if (topic == 23 && QApplication::focusWidget() == mtvwDBT)
        topic = 34;
    if (mFactories.Help)
        mFactories.Help(this, topic);
}

void mdiMain::sendFeedback(long lngCommand) {
    static const char* const importance[] = {"HIGH", "Normal", "Low"};
    const bool bug = lngCommand <= 47;
    const int level = static_cast<int>((lngCommand - 45) % 3);
    const QString subject = (bug ? QStringLiteral("Bug Report - Importance: ")
                                 : QStringLiteral("Feature Request - Importance: ")) +
                            QString::fromLatin1(importance[level]);
    const QString body =
        bug ? QStringLiteral(
                  "&Body=(Please write the bug details here. The more detail the better and a screen shot "
                  "is also always welcome.)")
            : QStringLiteral(
                  "&Body=(Please write the details, of the feature you would like to request, here)");
    OpenURL(this,
            QStringLiteral("mailto:") + vendorSupportAddress + QStringLiteral("?Subject=") + subject + body);
}

void mdiMain::EditObject(QTreeWidgetItem* Node) {
    if (!Node)
        Node = mtvwDBT->SelectedNode();
    if (!Node || !mDispatch)
        return;
    const QString tag = DatabaseTree::NodeTag(Node), key = DatabaseTree::NodeKey(Node);
    auto object = mDispatch->GetObject(tag, key);
    if (!object || !object->IsEditable() || !(object->InSQL() && object->InVSS()))
        return;
    if (QWidget* open = FindChild(tag, key, 1)) {
        mMdiArea->BringToFront(open);
        return;
    }
    if (mFactories.OpenObjectWindow && msdbCurrent)
        addChildForFactory(mFactories.OpenObjectWindow(*msdbCurrent, object));
}

void mdiMain::NewObject(const QString& strType) {
    BusyCursor busy;
    if (!mDispatch)
        return;
    auto object = mDispatch->NewItemOfType(strType);
    if (!object)
        return;
    QString tableName, tableOwner;
    if (QTreeWidgetItem* node = mtvwDBT->SelectedNode())
        mDispatch->GetTableName(DatabaseTree::NodeTag(node), DatabaseTree::NodeKey(node), tableName,
                                tableOwner);
    if (mFactories.NewObjectWindow && msdbCurrent)
        addChildForFactory(mFactories.NewObjectWindow(*msdbCurrent, object,
                                                      msdbCurrent->GetDefaultText(object->ParentObjectType()),
                                                      tableName, tableOwner));
}

void mdiMain::RenameObject(QTreeWidgetItem* Node) {
    if (!Node)
        Node = mtvwDBT->SelectedNode();
    if (!Node || !mDispatch)
        return;
    const QString tag = DatabaseTree::NodeTag(Node), key = DatabaseTree::NodeKey(Node);
    auto object = mDispatch->GetObject(tag, key);
    if (!object || !mFactories.RenameDialog || !msdbCurrent)
        return;
    const QString newName = mFactories.RenameDialog(*msdbCurrent, this, object->Name(), object->Owner());
    BusyCursor busy;
    if (newName.isEmpty() || !mDispatch->RenameItem(tag, key, newName))
        return;
    DatabaseTree::SetNodeKey(Node, QStringLiteral("I") + object->DBID());
    if (Node == mnodPanelItem)
        mnodPanelItem = nullptr;
    mtvwDBT->RefreshNode(Node);
    if (mtvwDBT->FindNode(tag, QStringLiteral("I") + object->DBID()) == Node)
        AfterChange(Node, false);
}

void mdiMain::DeleteObject(QTreeWidgetItem* Node) {
    if (!Node)
        Node = mtvwDBT->SelectedNode();
    if (!Node || !mDispatch)
        return;
    const QString tag = DatabaseTree::NodeTag(Node), key = DatabaseTree::NodeKey(Node);
    auto object = mDispatch->GetObject(tag, key);
    if (!object)
        return;
    const QString owner =
        object->Owner().isEmpty() ? QString() : QLatin1Char('[') + object->Owner() + QStringLiteral("].");
    if (MsgBox(QStringLiteral("Are you sure you want to Delete the Item ") + owner + QLatin1Char('[') +
                   object->Name() + QLatin1Char(']'),
               Prompt::Buttons::YesNo, Prompt::Icon::Question,
               QStringLiteral("Delete Item")) != Prompt::Answer::Yes)
        return;
    BusyCursor busy;
    if (!mDispatch->DeleteItem(tag, key))
        return;
    AfterChange(Node, true);
    DatabaseTree::RemoveChildNodes(Node);
    if (Node == mnodPanelItem)
        mnodPanelItem = nullptr;
    if (Node == mtvwDBT->DragSource())
        mtvwDBT->ClearDragSource();
    delete Node;
}

void mdiMain::AfterChange(QTreeWidgetItem* Node, bool bClose) {
    const QString tag = DatabaseTree::NodeTag(Node), key = DatabaseTree::NodeKey(Node);
    for (long formType : {1L, 2L}) {
        ChildWindowContract* child = ChildWindowArea::Contract(FindChild(tag, key, formType));
        if (!child)
            continue;
        if (bClose) {
            child->CloseItem(true);
        } else {
            child->GetLatestVersion();
            child->RefreshCaption();
        }
    }
}

void mdiMain::SyncroniseAction(QTreeWidgetItem* Node, long lngAction, long lngLocation) {
    if (!Node || !mDispatch)
        return;
    auto object = mDispatch->GetObject(DatabaseTree::NodeTag(Node), DatabaseTree::NodeKey(Node));
    if (!object)
        return;
    if (lngAction == 1)
        object->SyncAdd(lngLocation);
    else if (lngAction == 2)
        object->SyncChange(lngLocation);
    else if (lngAction == 3)
        object->SyncRemove(lngLocation);
    if (Node == mnodPanelItem)
        mnodPanelItem = nullptr;
    mtvwDBT->RefreshNode(Node);
}

void mdiMain::permissionsCommand(const QString& strParameter) {
    if (strParameter == QLatin1String("mnuPopupEditPermission")) {
        if (QTreeWidgetItem* node = mtvwDBT->SelectedNode())
            EditPermissions(DatabaseTree::NodeTag(node), DatabaseTree::NodeKey(node));
        return;
    }
    const QStringList parts = strParameter.split(QLatin1Char('|'));
    if (parts.size() == 2)
        EditPermissions(parts[0], parts[1]);
    else if (!strParameter.contains(QLatin1Char('|')))
        EditPermissions();
}

void mdiMain::EditPermissions(const QString& strTag, const QString& strKey,
                              std::shared_ptr<DispatchedObject> objItem) {
    QString tag = strTag, key = strKey;
    if (objItem) {
        tag = objItem->ObjectType();
        key = QStringLiteral("I") + objItem->DBID();
    } else if (!strTag.isEmpty() || !strKey.isEmpty()) {
        if (!mDispatch || !(objItem = mDispatch->GetObject(strTag, strKey)))
            return;
    } else {
        QWidget* form = ActiveForm();
        ChildWindowContract* child =
            ChildWindowArea::IsEditChild(form) ? ChildWindowArea::Contract(form) : nullptr;
        if (!child || !child->CanPermissions() || !child->CurrentObject())
            return;
        objItem = child->CurrentObject();
        tag = child->ObjectTag();
        key = child->ObjectKey();
    }
    BusyCursor busy;
    if (QWidget* open = FindChild(tag, key, 2)) {
        mMdiArea->BringToFront(open);
        return;
    }
    if (mFactories.PermissionWindow && msdbCurrent)
        addChildForFactory(mFactories.PermissionWindow(*msdbCurrent, objItem, tag, key));
}

// --- Closing and changing the project

bool mdiMain::unloadWindow() {
    mbUnloadDone = false;
    if (!mMdiArea->CloseChildren())
        return false;
    mtmr.stop();
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
    } else {
        // The old project stays, without the windows that closed.
        mtmr.start();
    }
}
