#include "mdiMain.h"

#include "ChildWindowArea.h"
#include "ChildWindowContract.h"
#include "DatabaseTree.h"
#include "ErrorReport.h"
#include "Globals.h"
#include "GuiHelpers.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "UserPrompts.h"
#include "frmAbout.h"
#include "frmProjectBrowser.h"

#include <QApplication>
#include <QToolBar>

#include <algorithm>

// The commands of the main window: one table of what each command does and when it is enabled, the
// enabling of menus and buttons, and the commands on tree nodes.

namespace {
const QString vendorWebAddress = QStringLiteral("https://www.tarmo-integration.com/");
const QString vendorSupportAddress = QStringLiteral("support@tarmo-integration.com");

// Chosen on a tree node (the pop-up menu or the context panel), these act through the object's own
// window, which opens or comes forward first.
bool actsThroughObjectWindow(Command command, const QString& parameter) {
    return (command == Command::GetLatest || command == Command::CheckIn || command == Command::CheckOut ||
            command == Command::UndoCheckOut) &&
           parameter.left(8) == QLatin1String("mnuPopup");
}
} // namespace

const std::vector<mdiMain::CommandRow>& mdiMain::CommandTable() {
    using C = Command;
    using R = CommandRule;
    using W = ChildWindowContract;
    // A command of the active child: enabled, and run, only when the child's member says it can.
    auto child = [](Command command, bool (W::*can)() const, void (W::*action)(), const char* button,
                    const char* entry) {
        return CommandRow{command, R::ChildCan, can, action, nullptr, button, entry};
    };
    auto own = [](Command command, CommandRule rule, CommandHandler handler) {
        return CommandRow{command, rule, nullptr, nullptr, handler, nullptr, nullptr};
    };
    static const std::vector<CommandRow> rows = {
        own(C::NewObject, R::Always,
            [](mdiMain& w, const CommandCall& call) {
                // The New button itself carries no index: the first kind.
                if (!w.mNewEntries.isEmpty())
                    w.NewObject(
                        w.mNewEntries.value(std::max(call.index - 1, 0), w.mNewEntries.first()).first);
            }),
        own(C::Edit, R::NeedsSelectedNode, [](mdiMain& w, const CommandCall&) { w.EditObject(); }),
        own(C::Delete, R::NeedsSelectedNode, [](mdiMain& w, const CommandCall&) { w.DeleteObject(); }),
        child(C::LoadText, &W::CanOpenFile, &W::OpenText, "EDITBAR:OPENFILE", "mnuOpenFile"),
        child(C::SaveText, &W::CanSaveFile, &W::SaveText, "EDITBAR:SAVEFILE", "mnuSaveFile"),
        child(C::GetLatest, &W::CanGetLatest, &W::GetLatestVersion, "EDITBAR:GETLATEST", "mnuGetLatest"),
        child(C::CheckIn, &W::CanCheckIn, &W::CheckIn, "EDITBAR:CHECKIN", "mnuCheckIn"),
        child(C::CheckOut, &W::CanCheckOut, &W::CheckOut, "EDITBAR:CHECKOUT", "mnuCheckOut"),
        child(C::UndoCheckOut, &W::CanUndoCheckOut, &W::UndoCheckout, "EDITBAR:UNDOCHECKOUT",
              "mnuUndoCheckOut"),
        child(C::Undo, &W::CanUndo, &W::Undo, "EDITBAR:UNDO", "mnuUndo"),
        child(C::Redo, &W::CanRedo, &W::Redo, "EDITBAR:REDO", "mnuRedo"),
        child(C::Cut, &W::CanCut, &W::CutText, "EDITBAR:CUT", "mnuCut"),
        child(C::Copy, &W::CanCopy, &W::CopyText, "EDITBAR:COPY", "mnuCopy"),
        child(C::Paste, &W::CanPaste, &W::PasteText, "EDITBAR:PASTE", "mnuPaste"),
        own(C::RefreshNode, R::NeedsSelectedNode,
            [](mdiMain& w, const CommandCall& call) {
                w.mnodPanelItem = nullptr;
                w.mtvwDBT->RefreshNode(call.selected);
                // The refresh may remove the node and move the selection: the panel follows it.
                w.UpdateContextPanel();
            }),
        own(C::RefreshTree, R::Always, [](mdiMain& w, const CommandCall&) { w.refreshTree(); }),
        own(C::Synchronize, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (w.mFactories.Synchronize && w.mFactories.Synchronize(*w.msdbCurrent, &w))
                    w.refreshTree();
            }),
        own(C::AddToVersionStore, R::NeedsSelectedNode,
            [](mdiMain& w, const CommandCall& call) {
                w.SyncroniseAction(call.selected, 1, StoreLocation::VersionStore);
            }),
        own(C::AddToSqlServer, R::NeedsSelectedNode,
            [](mdiMain& w, const CommandCall& call) {
                w.SyncroniseAction(call.selected, 1, StoreLocation::SqlServer);
            }),
        own(C::RemoveFromVersionStore, R::NeedsSelectedNode,
            [](mdiMain& w, const CommandCall& call) {
                w.SyncroniseAction(call.selected, 3, StoreLocation::VersionStore);
            }),
        own(C::RemoveFromSqlServer, R::NeedsSelectedNode,
            [](mdiMain& w, const CommandCall& call) {
                w.SyncroniseAction(call.selected, 3, StoreLocation::SqlServer);
            }),
        own(C::TileHorizontally, R::Always, [](mdiMain& w, const CommandCall&) { w.mMdiArea->Tile(true); }),
        own(C::TileVertically, R::Always, [](mdiMain& w, const CommandCall&) { w.mMdiArea->Tile(false); }),
        own(C::Cascade, R::Always, [](mdiMain& w, const CommandCall&) { w.mMdiArea->cascadeSubWindows(); }),
        own(C::MaximiseWindow, R::Always,
            [](mdiMain& w, const CommandCall&) { w.mMdiArea->MaximiseActive(); }),
        own(C::MinimiseAll, R::Always, [](mdiMain& w, const CommandCall&) { w.mMdiArea->MinimiseAll(); }),
        own(C::NextWindow, R::Always, [](mdiMain& w, const CommandCall&) { w.mMdiArea->SwitchWindow(true); }),
        own(C::PreviousWindow, R::Always,
            [](mdiMain& w, const CommandCall&) { w.mMdiArea->SwitchWindow(false); }),
        own(C::BringWindowForward, R::Always,
            [](mdiMain& w, const CommandCall& call) { w.mMdiArea->BringWindowForward(call.index); }),
        own(C::Exit, R::Always, [](mdiMain& w, const CommandCall&) { w.CloseProject(); }),
        // From the tree it names its object in the parameter, so it runs without a child; the entries
        // still follow the child, which is what the Edit menu and the toolbar speak of.
        CommandRow{C::Permissions, R::Always, &W::CanPermissions, nullptr,
                   [](mdiMain& w, const CommandCall& call) { w.permissionsCommand(call.parameter); },
                   "EDITBAR:PERMISSIONS", "mnuPermissions"},
        child(C::Description, &W::CanDescription, &W::ChangeDescription, "EDITBAR:DESCRIPTION",
              "mnuDescription"),
        own(C::RecentProject, R::Always,
            [](mdiMain& w, const CommandCall& call) { w.ChangeProject(call.index, QString()); }),
        own(C::ToggleDatabaseTree, R::Always,
            [](mdiMain& w, const CommandCall&) { w.SetDatabaseTreeVisible(!w.mbDatabaseTreeVisible); }),
        own(C::ToggleGeneralToolbar, R::Always,
            [](mdiMain& w, const CommandCall&) {
                if (QToolBar* bar = w.mMenus->tbrDBT())
                    bar->setVisible(bar->isHidden());
            }),
        own(C::ToggleEditToolbar, R::Always,
            [](mdiMain& w, const CommandCall&) {
                if (QToolBar* bar = w.mMenus->tbrEdit())
                    bar->setVisible(bar->isHidden());
            }),
        own(C::RebuildWindowList, R::Always,
            [](mdiMain& w, const CommandCall&) { w.mMenus->SetWindowList(w.mMdiArea->WindowList()); }),
        own(C::ProjectBrowser, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (!w.msdbCurrent->Project())
                    return;
                std::shared_ptr<TARMOProject> picked;
                {
                    frmProjectBrowser browser(&w);
                    picked = browser.OpenProjectBrowser(*w.msdbCurrent->Project());
                }
                if (picked)
                    w.ChangeProject(-1, picked->Name());
            }),
        own(C::Options, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (w.mFactories.Options)
                    w.mFactories.Options(*w.msdbCurrent, &w);
            }),
        own(C::Rename, R::NeedsSelectedNode, [](mdiMain& w, const CommandCall&) { w.RenameObject(); }),
        own(C::About, R::Always,
            [](mdiMain& w, const CommandCall&) {
                frmAbout about(App::ProductName(), App::VersionText(), &w);
                about.exec();
            }),
        own(C::ReportCriticalBug, R::Always, [](mdiMain& w, const CommandCall&) { w.sendFeedback(true, 0); }),
        own(C::ReportModerateBug, R::Always, [](mdiMain& w, const CommandCall&) { w.sendFeedback(true, 1); }),
        own(C::ReportMinorBug, R::Always, [](mdiMain& w, const CommandCall&) { w.sendFeedback(true, 2); }),
        own(C::RequestMustHaveFeature, R::Always,
            [](mdiMain& w, const CommandCall&) { w.sendFeedback(false, 0); }),
        own(C::RequestShouldHaveFeature, R::Always,
            [](mdiMain& w, const CommandCall&) { w.sendFeedback(false, 1); }),
        own(C::RequestNiceToHaveFeature, R::Always,
            [](mdiMain& w, const CommandCall&) { w.sendFeedback(false, 2); }),
        own(C::VisitWebSite, R::Always,
            [](mdiMain& w, const CommandCall&) { OpenURL(&w, vendorWebAddress); }),
        child(C::TestSql, &W::CanTestSQL, &W::TestItem, "EDITBAR:TEST", "mnuTestSQL"),
        own(C::NewQueryWindow, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (w.mFactories.QueryWindow)
                    w.addChildForFactory(w.mFactories.QueryWindow(*w.msdbCurrent));
            }),
        child(C::History, &W::CanShowHistory, &W::ShowHistory, "EDITBAR:HISTORY", "mnuHistory"),
        child(C::Find, &W::CanFind, &W::Find, "EDITBAR:FIND", "mnuFind"),
        // Their entries aren't switched: they are guarded when they run.
        child(C::FindNext, &W::CanFind, &W::FindNext, nullptr, nullptr),
        child(C::FindPrevious, &W::CanFind, &W::FindPrevious, nullptr, nullptr),
        child(C::Replace, &W::CanReplace, &W::Replace, nullptr, "mnuReplace"),
        own(C::Undelete, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (w.mFactories.Undelete && w.mFactories.Undelete(*w.msdbCurrent, &w))
                    w.refreshTree();
            }),
        own(C::Help, R::Always,
            [](mdiMain& w, const CommandCall& call) { w.showHelp(call.helpContext, call.parameter); }),
        own(C::DocumentGenerator, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (w.mFactories.DocumentGenerator) {
                    BusyCursor busy;
                    w.mFactories.DocumentGenerator(*w.msdbCurrent, &w);
                }
            }),
        own(C::ScriptGenerator, R::NeedsProject,
            [](mdiMain& w, const CommandCall&) {
                if (w.mFactories.ScriptGenerator) {
                    BusyCursor busy;
                    w.mFactories.ScriptGenerator(*w.msdbCurrent, &w);
                }
            }),
        own(C::ToggleContextPanel, R::Always,
            [](mdiMain& w, const CommandCall&) { w.SetExtraPanelVisible(!w.mbExtraPanelVisible); }),
        own(C::ToggleDragSubnodes, R::Always,
            [](mdiMain& w, const CommandCall&) {
                w.mtvwDBT->SetDragSubnodes(!w.mtvwDBT->DragSubnodes());
                if (QAction* entry = w.mMenus->Entry(QStringLiteral("mnuDragSub")))
                    entry->setChecked(w.mtvwDBT->DragSubnodes());
            }),
    };
    return rows;
}

const mdiMain::CommandRow* mdiMain::FindCommand(Command command) {
    for (const CommandRow& row : CommandTable())
        if (row.command == command)
            return &row;
    return nullptr;
}

void mdiMain::DoCommand(Command command, const QString& strParameter, long lngHelpContext) {
    // The busy state ends with the command, however the command ends.
    BusyCursor busy;
    int index = 0;
    if (!strParameter.isEmpty()) {
        bool numeric = false;
        const int value = strParameter.section(QLatin1Char(':'), -1).toInt(&numeric);
        if (numeric)
            index = value;
    }
    // What the core could not do is told, and the window stays as usable as before the command.
    Guarded([&] {
        if (actsThroughObjectWindow(command, strParameter))
            EditObject();
        runCommand(command, strParameter, lngHelpContext, index);
    });
}

void mdiMain::runCommand(Command command, const QString& strParameter, long lngHelpContext, int index) {
    const CommandRow* row = FindCommand(command);
    if (!row)
        return;
    QTreeWidgetItem* selected = mtvwDBT->SelectedNode();
    switch (row->rule) {
    case CommandRule::Always:
        break;
    case CommandRule::NeedsProject:
        if (!msdbCurrent)
            return;
        break;
    case CommandRule::NeedsSelectedNode:
        if (!selected)
            return;
        break;
    case CommandRule::ChildCan: {
        // Anything short of an edit child that can do it does nothing, in silence: so a shortcut of a
        // disabled command has no effect.
        QWidget* form = ActiveForm();
        if (!ChildWindowArea::IsEditChild(form))
            return;
        ChildWindowContract* child = ChildWindowArea::Contract(form);
        if (!(child->*row->can)())
            return;
        BusyCursor busy;
        (child->*row->childAction)();
        return;
    }
    }
    row->handler(*this, CommandCall{command, strParameter, lngHelpContext, index, selected});
}

void mdiMain::refreshTree() {
    mnodPanelItem = nullptr;
    mtvwDBT->RefreshAll();
    // Nodes that went away moved the selection: the panel offers what the selected node offers now.
    UpdateContextPanel();
}

void mdiMain::KeyPreview(bool bKeyDown, int& KeyCode, int Shift, long lngHelpContext) {
    const ShortcutRow* row = mShortcuts.Find(KeyCode, Shift);
    if (!row || bKeyDown == row->FiresAtKeyUp)
        return;
    const Command command = row->Cmd;
    KeyCode = 0;
    DoCommand(command, QString(), lngHelpContext);
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
    for (const CommandRow& row : CommandTable())
        if (row.entry)
            setMenuEnabled(row.entry, false);
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
    for (const CommandRow& row : CommandTable()) {
        if (!row.entry && !row.button)
            continue;
        const bool enabled = (child->*row.can)();
        if (row.button)
            if (QAction* button = mMenus->Entry(QString::fromLatin1(row.button)))
                button->setEnabled(enabled);
        if (row.entry)
            setMenuEnabled(row.entry, enabled);
    }
    setMenuCaption("mnuOpenFile", QLatin1Char('&') + child->OpenFileText() + mstrLoadShortcut);
    setMenuCaption("mnuSaveFile", QLatin1Char('&') + child->SaveFileText() + mstrSaveShortcut);
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
        DoCommand(Command::RebuildWindowList, QString(), HelpId(HelpTopic::MainWindow));
    }
}

void mdiMain::showHelp(long lngHelpContext, const QString& strParameter) {
    // Help > Contents asks for the manual's start page, whatever window is active.
    long topic = strParameter == QLatin1String("CONTENTS") ? 0 : lngHelpContext;
    if (topic == HelpId(HelpTopic::MainWindow) && QApplication::focusWidget() == mtvwDBT)
        topic = HelpId(HelpTopic::DatabaseTree);
    if (mFactories.Help)
        mFactories.Help(this, topic);
}

void mdiMain::sendFeedback(bool bug, int level) {
    static const char* const importance[] = {"HIGH", "Normal", "Low"};
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
    if (QWidget* open = FindChild(tag, key, FormType::ObjectEdit)) {
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
    for (FormType formType : {FormType::ObjectEdit, FormType::Permission}) {
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

void mdiMain::SyncroniseAction(QTreeWidgetItem* Node, long lngAction, StoreLocation location) {
    if (!Node || !mDispatch)
        return;
    auto object = mDispatch->GetObject(DatabaseTree::NodeTag(Node), DatabaseTree::NodeKey(Node));
    if (!object)
        return;
    if (lngAction == 1)
        object->SyncAdd(location);
    else if (lngAction == 2)
        object->SyncChange(location);
    else if (lngAction == 3)
        object->SyncRemove(location);
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
    if (QWidget* open = FindChild(tag, key, FormType::Permission)) {
        mMdiArea->BringToFront(open);
        return;
    }
    if (mFactories.PermissionWindow && msdbCurrent)
        addChildForFactory(mFactories.PermissionWindow(*msdbCurrent, objItem, tag, key));
}
