#include "MainMenus.h"

#include "ImageList.h"
#include "TARMOObjectVSS.h"
#include "modShortcutKeys.h"

#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

namespace {
const char* const commandProperty = "tarmoCommand";
const char* const parameterProperty = "tarmoParameter";
const QString windowListPrefix = QStringLiteral("WINLIST:CHILD:");
} // namespace

MainMenus::MainMenus(QMainWindow& window, const ImageList& images, const ShortcutTable& shortcuts)
    : QObject(&window)
    , mWindow(window)
    , mImages(images)
    , mShortcuts(shortcuts) {}

QString MainMenus::Parameter(const QAction* action) {
    return action ? action->property(parameterProperty).toString() : QString();
}

Command MainMenus::CommandOf(const QAction* action) {
    return CommandFromNumber(action ? action->property(commandProperty).toInt() : 0);
}

QAction* MainMenus::Entry(const QString& key) const {
    return mEntries.value(key);
}
QMenu* MainMenus::Menu(const QString& key) const {
    return mMenus.value(key);
}

QList<QAction*> MainMenus::Buttons(const QString& band) const {
    QToolBar* bar = band == QLatin1String("DBTBAR")    ? mtbrDBT
                    : band == QLatin1String("EDITBAR") ? mtbrEdit
                                                       : nullptr;
    QList<QAction*> buttons;
    if (bar)
        for (QAction* action : bar->actions())
            if (!action->isSeparator())
                buttons << action;
    return buttons;
}

void MainMenus::clear() {
    mWindow.menuBar()->clear();
    for (QMenu* menu : std::as_const(mMenus))
        if (!menu->parent() || menu->parent() == &mWindow || menu->parent() == mWindow.menuBar())
            menu->deleteLater();
    mMenus.clear();
    mEntries.clear();
    for (QToolBar* bar : {mtbrDBT, mtbrEdit})
        if (bar) {
            mWindow.removeToolBar(bar);
            bar->deleteLater();
        }
    mtbrDBT = mtbrEdit = nullptr;
}

QMenu* MainMenus::addMenu(QMenu* parent, const QString& key, const QString& caption) {
    QMenu* menu = parent ? parent->addMenu(caption) : mWindow.menuBar()->addMenu(caption);
    menu->setObjectName(key);
    menu->menuAction()->setObjectName(key);
    mMenus.insert(key, menu);
    mEntries.insert(key, menu->menuAction());
    connect(menu, &QMenu::aboutToShow, this, [this, key] { emit MenuOpening(key); });
    return menu;
}

QAction* MainMenus::addEntry(QMenu* menu, const QString& key, const QString& caption, Command command,
                             const QString& icon, bool withShortcut, const QString& parameter) {
    QAction* action =
        menu->addAction(withShortcut ? mShortcuts.CaptionWithShortcut(command, caption) : caption);
    action->setObjectName(key);
    action->setProperty(commandProperty, static_cast<int>(CommandNumber(command)));
    action->setProperty(parameterProperty, parameter.isEmpty() ? key : parameter);
    if (!icon.isEmpty())
        action->setIcon(mImages.Icon(icon));
    connect(action, &QAction::triggered, this,
            [this, action] { emit CommandChosen(CommandOf(action), Parameter(action)); });
    mEntries.insert(key, action);
    return action;
}

void MainMenus::addSeparator(QMenu* menu, const QString& key) {
    QAction* line = menu->addSeparator();
    line->setObjectName(key);
    mEntries.insert(key, line);
}

QAction* MainMenus::addButton(QToolBar* bar, const QString& key, const QString& text, const QString& tip,
                              Command command, const QString& icon) {
    QAction* action = bar->addAction(mImages.Icon(icon), text);
    action->setObjectName(key);
    action->setToolTip(tip);
    action->setProperty(commandProperty, static_cast<int>(CommandNumber(command)));
    action->setProperty(parameterProperty, key);
    connect(action, &QAction::triggered, this,
            [this, action] { emit CommandChosen(CommandOf(action), Parameter(action)); });
    mEntries.insert(key, action);
    return action;
}

void MainMenus::addBarSeparator(QToolBar* bar, const QString& key) {
    QAction* line = bar->addSeparator();
    line->setObjectName(key);
    mEntries.insert(key, line);
}

void MainMenus::addNewEntries(QMenu* menu, const MenuTable& newEntries, const QString& keyPrefix) {
    for (int i = 0; i < newEntries.size(); ++i) {
        const QString& text = newEntries[i].second;
        const QString parameter = QStringLiteral("NEWITEM:%1").arg(i + 1);
        QAction* action =
            addEntry(menu, keyPrefix + parameter, QStringLiteral("New &") + text, Command::NewObject,
                     newEntries[i].first.toUpper() + QStringLiteral(":NEW"), false, parameter);
        action->setToolTip(QStringLiteral("New ") + text);
    }
}

void MainMenus::Build(const MenuTable& newEntries, const MenuTable& recentProjects) {
    clear();
    buildMainMenu(newEntries, recentProjects);
    buildPopup(newEntries);
    buildToolbars(newEntries);
}

void MainMenus::buildMainMenu(const MenuTable& newEntries, const MenuTable& recentProjects) {
    QMenu* file = addMenu(nullptr, QStringLiteral("mnuFile"), QStringLiteral("&File"));
    QMenu* newMenu = addMenu(file, QStringLiteral("mnuNew"),
                             mShortcuts.CaptionWithShortcut(Command::NewObject, QStringLiteral("&New")));
    newMenu->menuAction()->setIcon(mImages.Icon(QStringLiteral("NEW")));
    addNewEntries(newMenu, newEntries, QString());
    QMenu* recent = addMenu(file, QStringLiteral("mnuMostRecent"), QStringLiteral("Recent &Projects"));
    for (int i = 0; i < recentProjects.size(); ++i)
        addEntry(recent, QStringLiteral("MOSTRECENT:%1").arg(i + 1), recentProjects[i].second,
                 Command::RecentProject);
    addSeparator(file, QStringLiteral("mnuFileSpacer1"));
    addEntry(file, QStringLiteral("mnuProjectBrowser"), QStringLiteral("Open Project &Browser"),
             Command::ProjectBrowser);
    addSeparator(file, QStringLiteral("mnuFileSpacer2"));
    addEntry(file, QStringLiteral("mnuExit"), QStringLiteral("E&xit"), Command::Exit);

    QMenu* edit = addMenu(nullptr, QStringLiteral("mnuEdit"), QStringLiteral("&Edit"));
    addEntry(edit, QStringLiteral("mnuUndo"), QStringLiteral("&Undo"), Command::Undo,
             QStringLiteral("EDIT:UNDO"), true);
    addEntry(edit, QStringLiteral("mnuRedo"), QStringLiteral("&Redo"), Command::Redo,
             QStringLiteral("EDIT:REDO"), true);
    addSeparator(edit, QStringLiteral("mnuEditSpacer1"));
    addEntry(edit, QStringLiteral("mnuCut"), QStringLiteral("Cu&t"), Command::Cut, QStringLiteral("EDIT:CUT"),
             true);
    addEntry(edit, QStringLiteral("mnuCopy"), QStringLiteral("&Copy"), Command::Copy,
             QStringLiteral("EDIT:COPY"), true);
    addEntry(edit, QStringLiteral("mnuPaste"), QStringLiteral("&Paste"), Command::Paste,
             QStringLiteral("EDIT:PASTE"), true);
    addSeparator(edit, QStringLiteral("mnuEditSpacer2"));
    addEntry(edit, QStringLiteral("mnuFind"), QStringLiteral("&Find"), Command::Find,
             QStringLiteral("SEARCH:FIND"), true);
    addEntry(edit, QStringLiteral("mnuFindNext"), QStringLiteral("Find &Next"), Command::FindNext);
    addEntry(edit, QStringLiteral("mnuFindPrevious"), QStringLiteral("Find Pre&vious"),
             Command::FindPrevious);
    addEntry(edit, QStringLiteral("mnuReplace"), QStringLiteral("R&eplace"), Command::Replace, {}, true);
    addSeparator(edit, QStringLiteral("mnuEditSpacer3"));
    addEntry(edit, QStringLiteral("mnuDragSub"), QStringLiteral("D&rag Subnodes"),
             Command::ToggleDragSubnodes, {}, true)
        ->setCheckable(true);
    addSeparator(edit, QStringLiteral("mnuEditSpacer4"));
    addEntry(edit, QStringLiteral("mnuOpenFile"), QStringLiteral("&Load Text"), Command::LoadText,
             QStringLiteral("EDIT:OPENFILE"));
    addEntry(edit, QStringLiteral("mnuSaveFile"), QStringLiteral("&Save Text"), Command::SaveText,
             QStringLiteral("EDIT:SAVEFILE"));
    addSeparator(edit, QStringLiteral("mnuEditSpacer5"));
    addEntry(edit, QStringLiteral("mnuTestSQL"), QStringLiteral("Test S&QL"), Command::TestSql,
             QStringLiteral("EDIT:TEST"), true);
    addSeparator(edit, QStringLiteral("mnuEditSpacer6"));
    addEntry(edit, QStringLiteral("mnuGetLatest"), QStringLiteral("&Get Latest Version"), Command::GetLatest,
             QStringLiteral("VSS:GETLATESTVERSION"), true);
    addEntry(edit, QStringLiteral("mnuCheckOut"), QStringLiteral("Check &Out"), Command::CheckOut,
             QStringLiteral("VSS:CHECKOUT"), true);
    addEntry(edit, QStringLiteral("mnuCheckIn"), QStringLiteral("Check &In"), Command::CheckIn,
             QStringLiteral("VSS:CHECKIN"), true);
    addEntry(edit, QStringLiteral("mnuUndoCheckOut"), QStringLiteral("U&ndo Check Out"),
             Command::UndoCheckOut, QStringLiteral("VSS:UNDOCHECKOUT"), true);
    addEntry(edit, QStringLiteral("mnuHistory"), QStringLiteral("&History"), Command::History,
             QStringLiteral("VSS:HISTORY"));
    addSeparator(edit, QStringLiteral("mnuEditSpacer7"));
    addEntry(edit, QStringLiteral("mnuPermissions"), QStringLiteral("Per&missions"), Command::Permissions,
             QStringLiteral("PERMISSIONS"), true);
    addEntry(edit, QStringLiteral("mnuDescription"), QStringLiteral("&Description"), Command::Description,
             QStringLiteral("DESCRIPTION"), true);

    QMenu* view = addMenu(nullptr, QStringLiteral("mnuView"), QStringLiteral("&View"));
    QMenu* toolbars = addMenu(view, QStringLiteral("mnuToolbars"), QStringLiteral("Tool&bars"));
    addEntry(toolbars, QStringLiteral("mnuToolbarDBT"), QStringLiteral("&General"),
             Command::ToggleGeneralToolbar)
        ->setCheckable(true);
    addEntry(toolbars, QStringLiteral("mnuToolbarEdit"), QStringLiteral("&Edit"), Command::ToggleEditToolbar)
        ->setCheckable(true);
    addEntry(view, QStringLiteral("mnuDBT"), QStringLiteral("Database &Tree"), Command::ToggleDatabaseTree)
        ->setCheckable(true);
    addEntry(view, QStringLiteral("mnuDBTContext"), QStringLiteral("Database Tree Context Panel"),
             Command::ToggleContextPanel)
        ->setCheckable(true);
    addSeparator(view, QStringLiteral("mnuViewSpacer1"));
    addEntry(view, QStringLiteral("mnuRefreshDBT"), QStringLiteral("&Refresh Database Tree"),
             Command::RefreshTree, QStringLiteral("REFRESH"), true);

    QMenu* tools = addMenu(nullptr, QStringLiteral("mnuTools"), QStringLiteral("&Tools"));
    addEntry(tools, QStringLiteral("mnuQuery"), QStringLiteral("&SQL Query Window"), Command::NewQueryWindow,
             QStringLiteral("SQLQUERY"), true);
    addSeparator(tools, QStringLiteral("mnuToolsSpacer1"));
    addEntry(tools, QStringLiteral("mnuSync"), QStringLiteral("S&ynchronize SQL and VSS"),
             Command::Synchronize, QStringLiteral("SYNC"));
    addEntry(tools, QStringLiteral("mnuDocGen"), QStringLiteral("Auto&Doc"), Command::DocumentGenerator);
    addEntry(tools, QStringLiteral("mnuScript"), QStringLiteral("Script &Generator"),
             Command::ScriptGenerator);
    addEntry(tools, QStringLiteral("mnuUndelete"), QStringLiteral("&Undelete Items"), Command::Undelete);
    addSeparator(tools, QStringLiteral("mnuToolsSpacer2"));
    addEntry(tools, QStringLiteral("mnuOptions"), QStringLiteral("&Options"), Command::Options,
             QStringLiteral("OPTIONS"));

    QMenu* windows = addMenu(nullptr, QStringLiteral("mnuWindows"), QStringLiteral("&Window"));
    addEntry(windows, QStringLiteral("mnuWindowTileHor"), QStringLiteral("&Tile Horizontally"),
             Command::TileHorizontally);
    addEntry(windows, QStringLiteral("mnuWindowTileVer"), QStringLiteral("Tile &Vertically"),
             Command::TileVertically);
    addEntry(windows, QStringLiteral("mnuWindowCascade"), QStringLiteral("&Cascade"), Command::Cascade);
    addEntry(windows, QStringLiteral("mnuWindowMaxAll"), QStringLiteral("Maximise &All"),
             Command::MaximiseWindow);
    addEntry(windows, QStringLiteral("mnuWindowMinAll"), QStringLiteral("Mini&mise All"),
             Command::MinimiseAll);
    addSeparator(windows, QStringLiteral("mnuWindowSpacer1"));
    addEntry(windows, QStringLiteral("mnuWindowNext"), QStringLiteral("&Next Window"), Command::NextWindow,
             {}, true);
    addEntry(windows, QStringLiteral("mnuWindowPrevious"), QStringLiteral("&Previous Window"),
             Command::PreviousWindow, {}, true);

    QMenu* help = addMenu(nullptr, QStringLiteral("mnuHelp"), QStringLiteral("&Help"));
    addEntry(help, QStringLiteral("mnuHelpContents"), QStringLiteral("&Contents"), Command::Help,
             QStringLiteral("HELP"), true, QStringLiteral("CONTENTS"));
    addSeparator(help, QStringLiteral("mnuHelpSpacer1"));
    QMenu* bugs = addMenu(help, QStringLiteral("mnuBugMenu"), QStringLiteral("Report a &Bug"));
    addEntry(bugs, QStringLiteral("mnuBug1"), QStringLiteral("&Critical Bug"), Command::ReportCriticalBug);
    addEntry(bugs, QStringLiteral("mnuBug2"), QStringLiteral("&Moderate Bug"), Command::ReportModerateBug);
    addEntry(bugs, QStringLiteral("mnuBug3"), QStringLiteral("&Minor Bug"), Command::ReportMinorBug);
    QMenu* features = addMenu(help, QStringLiteral("mnuFeatureMenu"), QStringLiteral("&Feature Request"));
    addEntry(features, QStringLiteral("mnuFeature1"), QStringLiteral("&Must have Feature"),
             Command::RequestMustHaveFeature);
    addEntry(features, QStringLiteral("mnuFeature2"), QStringLiteral("&Should have Feature"),
             Command::RequestShouldHaveFeature);
    addEntry(features, QStringLiteral("mnuFeature3"), QStringLiteral("&Nice to have Feature"),
             Command::RequestNiceToHaveFeature);
    addEntry(help, QStringLiteral("mnuVisitWebsite"), QStringLiteral("&Visit the TARMO Web Site"),
             Command::VisitWebSite);
    addSeparator(help, QStringLiteral("mnuHelpSpacer2"));
    addEntry(help, QStringLiteral("mnuAbout"), QStringLiteral("&About"), Command::About);
}

void MainMenus::buildPopup(const MenuTable& newEntries) {
    auto* popup = new QMenu(&mWindow);
    popup->setObjectName(QStringLiteral("mnuPopup"));
    mMenus.insert(QStringLiteral("mnuPopup"), popup);
    auto entry = [&](const QString& key, const QString& caption, const QString& tip, Command command,
                     const QString& icon) { addEntry(popup, key, caption, command, icon)->setToolTip(tip); };
    entry(QStringLiteral("mnuPopupGetLatest"), QStringLiteral("Get Latest Version"),
          QStringLiteral("Get Latest Version"), Command::GetLatest, QStringLiteral("VSS:GETLATESTVERSION"));
    entry(QStringLiteral("mnuPopupCheckIn"), QStringLiteral("Check In"), QStringLiteral("Check In"),
          Command::CheckIn, QStringLiteral("VSS:CHECKIN"));
    entry(QStringLiteral("mnuPopupCheckOut"), QStringLiteral("Check out"), QStringLiteral("Check out"),
          Command::CheckOut, QStringLiteral("VSS:CHECKOUT"));
    entry(QStringLiteral("mnuPopupUndoCheckout"), QStringLiteral("Undo Check out"),
          QStringLiteral("Undo Check out"), Command::UndoCheckOut, QStringLiteral("VSS:UNDOCHECKOUT"));
    addSeparator(popup, QStringLiteral("mnuSpacer_1"));
    QMenu* newItem = addMenu(popup, QStringLiteral("mnuNewItem"), QStringLiteral("&New"));
    newItem->menuAction()->setToolTip(QStringLiteral("New Object"));
    newItem->menuAction()->setIcon(mImages.Icon(QStringLiteral("NEW")));
    addNewEntries(newItem, newEntries, QStringLiteral("mnuNewItem:"));
    addSeparator(popup, QStringLiteral("mnuSpacer_2"));
    entry(QStringLiteral("mnuEditItem"), QStringLiteral("&Edit"), QStringLiteral("Edit Item"), Command::Edit,
          QStringLiteral("EDIT"));
    entry(QStringLiteral("mnuRenameItem"), QStringLiteral("Rena&me"), QStringLiteral("Rename Item"),
          Command::Rename, QStringLiteral("RENAME"));
    entry(QStringLiteral("mnuDeleteItem"), QStringLiteral("&Delete"), QStringLiteral("Delete Item"),
          Command::Delete, QStringLiteral("DELETE"));
    addSeparator(popup, QStringLiteral("mnuSpacer_3"));
    entry(QStringLiteral("mnuPopupEditPermission"), QStringLiteral("Edit &Permissions"),
          QStringLiteral("Edit Item Permissions"), Command::Permissions, QStringLiteral("PERMISSIONS"));
    addSeparator(popup, QStringLiteral("mnuSpacer_4"));
    entry(QStringLiteral("mnuVSSAdd"), QStringLiteral("&Add to VSS"), QStringLiteral("Add object to VSS"),
          Command::AddToVersionStore, QStringLiteral("SYNC:ADDVSS"));
    entry(QStringLiteral("mnuSQLAdd"), QStringLiteral("&Add to SQL"), QStringLiteral("Add object to SQL"),
          Command::AddToSqlServer, QStringLiteral("SYNC:ADDSQL"));
    entry(QStringLiteral("mnuVSSRemove"), QStringLiteral("&Delete from VSS"),
          QStringLiteral("Remove object to VSS"), Command::RemoveFromVersionStore,
          QStringLiteral("SYNC:REMOVEVSS"));
    entry(QStringLiteral("mnuSQLRemove"), QStringLiteral("&Delete from SQL"),
          QStringLiteral("Remove object to SQL"), Command::RemoveFromSqlServer,
          QStringLiteral("SYNC:REMOVESQL"));
    addSeparator(popup, QStringLiteral("mnuSpacer_5"));
    entry(QStringLiteral("mnuRefreshNode"), QStringLiteral("&Refresh from here"),
          QStringLiteral("Refresh from here"), Command::RefreshNode, QStringLiteral("REFRESH"));
    entry(QStringLiteral("mnuRefresh"), QStringLiteral("Refresh Database &Tree"),
          QStringLiteral("Refresh Database Tree"), Command::RefreshTree, QStringLiteral("REFRESH"));
    popup->setToolTipsVisible(true);
}

void MainMenus::buildToolbars(const MenuTable& newEntries) {
    mtbrDBT = new QToolBar(QStringLiteral("General"), &mWindow);
    mtbrDBT->setObjectName(QStringLiteral("DBTBAR"));
    mtbrEdit = new QToolBar(QStringLiteral("Edit"), &mWindow);
    mtbrEdit->setObjectName(QStringLiteral("EDITBAR"));
    for (QToolBar* bar : {mtbrDBT, mtbrEdit}) {
        bar->setIconSize(QSize(16, 16));
        bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
        mWindow.addToolBar(Qt::TopToolBarArea, bar);
    }

    QAction* newButton = addButton(mtbrDBT, QStringLiteral("DBTBAR:NEWITEM"), QStringLiteral("New"),
                                   QStringLiteral("New Object"), Command::NewObject, QStringLiteral("NEW"));
    mNewButtonMenu = new QMenu(mtbrDBT);
    for (int i = 0; i < newEntries.size(); ++i) {
        const QString key = QStringLiteral("DBTBAR:NEWITEM:%1").arg(i + 1);
        addEntry(mNewButtonMenu, key, newEntries[i].second, Command::NewObject,
                 newEntries[i].first.toUpper() + QStringLiteral(":NEW"));
    }
    newButton->setMenu(mNewButtonMenu);
    if (auto* button = qobject_cast<QToolButton*>(mtbrDBT->widgetForAction(newButton)))
        button->setPopupMode(QToolButton::MenuButtonPopup);
    addBarSeparator(mtbrDBT, QStringLiteral("DBTBAR:SPACER1"));
    addButton(mtbrDBT, QStringLiteral("DBTBAR:REFRESH"), QStringLiteral("Refresh"),
              QStringLiteral("Refresh Database Tree"), Command::RefreshTree, QStringLiteral("REFRESH"));
    addButton(mtbrDBT, QStringLiteral("DBTBAR:SYNC"), QStringLiteral("Synchronize"),
              QStringLiteral("Synchronize SQL and VSS"), Command::Synchronize, QStringLiteral("SYNC"));

    struct Button {
        const char* key;
        const char* text;
        Command command;
        const char* icon;
    };
    static const Button editButtons[] = {
        {"EDITBAR:UNDO", "Undo", Command::Undo, "EDIT:UNDO"},
        {"EDITBAR:REDO", "Redo", Command::Redo, "EDIT:REDO"},
        {"EDITBAR:SPACER1", nullptr, Command{}, nullptr},
        {"EDITBAR:CUT", "Cut", Command::Cut, "EDIT:CUT"},
        {"EDITBAR:COPY", "Copy", Command::Copy, "EDIT:COPY"},
        {"EDITBAR:PASTE", "Paste", Command::Paste, "EDIT:PASTE"},
        {"EDITBAR:FIND", "Find", Command::Find, "SEARCH:FIND"},
        {"EDITBAR:SPACER2", nullptr, Command{}, nullptr},
        {"EDITBAR:TEST", "Test SQL", Command::TestSql, "EDIT:TEST"},
        {"EDITBAR:SPACER3", nullptr, Command{}, nullptr},
        {"EDITBAR:OPENFILE", "Open", Command::LoadText, "EDIT:OPENFILE"},
        {"EDITBAR:SAVEFILE", "Save", Command::SaveText, "EDIT:SAVEFILE"},
        {"EDITBAR:SPACER4", nullptr, Command{}, nullptr},
        {"EDITBAR:GETLATEST", "Get Latest Version", Command::GetLatest, "VSS:GETLATESTVERSION"},
        {"EDITBAR:CHECKOUT", "Check Out", Command::CheckOut, "VSS:CHECKOUT"},
        {"EDITBAR:CHECKIN", "Check In", Command::CheckIn, "VSS:CHECKIN"},
        {"EDITBAR:UNDOCHECKOUT", "Undo Check Out", Command::UndoCheckOut, "VSS:UNDOCHECKOUT"},
        {"EDITBAR:HISTORY", "History", Command::History, "VSS:HISTORY"},
        {"EDITBAR:SPACER5", nullptr, Command{}, nullptr},
        {"EDITBAR:PERMISSIONS", "Permissions", Command::Permissions, "PERMISSIONS"},
        {"EDITBAR:DESCRIPTION", "Description", Command::Description, "DESCRIPTION"},
    };
    for (const Button& button : editButtons) {
        if (!button.text)
            addBarSeparator(mtbrEdit, QString::fromLatin1(button.key));
        else
            addButton(mtbrEdit, QString::fromLatin1(button.key), QString::fromLatin1(button.text),
                      QString::fromLatin1(button.text), button.command, QString::fromLatin1(button.icon));
    }
}

void MainMenus::PopupSetup(bool bHasNode, const TARMOContextMenu& menu) {
    auto show = [this](const char* key, bool visible) {
        if (QAction* action = Entry(QString::fromLatin1(key)))
            action->setVisible(visible);
    };
    const QString& dn = menu.DisplayName;
    show("mnuPopupGetLatest", menu.GetLatestVersion);
    show("mnuPopupCheckIn", menu.CheckIn);
    show("mnuPopupCheckOut", menu.CheckOut);
    show("mnuPopupUndoCheckout", menu.UndoCheckout);
    show("mnuSpacer_1", menu.GetLatestVersion || menu.CheckIn || menu.CheckOut || menu.UndoCheckout);
    Entry(QStringLiteral("mnuEditItem"))->setText(QStringLiteral("&Edit ") + dn);
    Entry(QStringLiteral("mnuRenameItem"))->setText(QStringLiteral("Rena&me ") + dn);
    Entry(QStringLiteral("mnuDeleteItem"))->setText(QStringLiteral("&Delete ") + dn);
    show("mnuEditItem", menu.Edit);
    show("mnuRenameItem", menu.Rename);
    show("mnuDeleteItem", menu.Delete);
    show("mnuSpacer_3", menu.Edit || menu.Rename || menu.Delete);
    show("mnuPopupEditPermission", menu.EditPermissions);
    show("mnuSpacer_4", menu.EditPermissions);
    show("mnuVSSAdd", menu.AddToVSS);
    show("mnuSQLAdd", menu.AddToSQL);
    show("mnuVSSRemove", menu.DeleteFromVSS);
    show("mnuSQLRemove", menu.DeleteFromSQL);
    show("mnuSpacer_5", menu.AddToVSS || menu.AddToSQL || menu.DeleteFromVSS || menu.DeleteFromSQL);
    show("mnuRefreshNode", bHasNode);
}

void MainMenus::SetWindowList(const QList<WindowEntry>& windows) {
    QMenu* menu = Menu(QStringLiteral("mnuWindows"));
    if (!menu)
        return;
    const auto actions = menu->actions();
    for (QAction* action : actions)
        if (action->objectName().startsWith(windowListPrefix)) {
            mEntries.remove(action->objectName());
            menu->removeAction(action);
            action->deleteLater();
        }
    if (!windows.isEmpty())
        addSeparator(menu, windowListPrefix + QStringLiteral("Spacer"));
    for (int n = 0; n < windows.size(); ++n) {
        const WindowEntry& window = windows[n];
        QAction* action =
            addEntry(menu, windowListPrefix + QString::number(window.Index),
                     QStringLiteral("&%1 %2").arg(n + 1).arg(window.Caption), Command::BringWindowForward);
        action->setCheckable(true);
        action->setChecked(window.Active);
        action->setIcon(mImages.IconAt(window.Icon));
    }
    for (const char* key : {"mnuWindowTileHor", "mnuWindowTileVer", "mnuWindowCascade", "mnuWindowMaxAll",
                            "mnuWindowMinAll", "mnuWindowNext", "mnuWindowPrevious"})
        Entry(QString::fromLatin1(key))->setEnabled(!windows.isEmpty());
}
