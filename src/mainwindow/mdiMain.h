#pragma once

#include "ChildWindowFactories.h"
#include "Commands.h"
#include "HelpTopics.h"
#include "ImageList.h"
#include "MainMenus.h"
#include "MainWindowContract.h"
#include "ObjectDispatch.h"
#include "modShortcutKeys.h"

#include <QMainWindow>
#include <QPointer>

#include <vector>

class ChildWindowContract;
enum class FormType : long;
class DatabaseTree;
class ExplorerBar;
class ChildWindowArea;
class QMimeData;
class QMdiSubWindow;
class QSplitter;
class QTreeWidgetItem;
class StatusPanels;

// The main window: the Database Tree with its context panel on the left, the area of child windows
// on the right, menus, toolbars and status panels. Everything the user starts here comes down to a
// Command and runs through DoCommand, which looks it up in one table (mdiMainCommands.cpp); the
// active child is asked what it can do whenever it reports a change or another child comes to the front.
class mdiMain : public QMainWindow, public MainWindowContract, public DispatchStatusListener {
    Q_OBJECT
public:
    explicit mdiMain(QWidget* parent = nullptr);
    ~mdiMain() override;

    // The object half of the core; without it the tree stays empty and object commands do nothing.
    void SetDispatch(ObjectDispatch* dispatch);
    // The same, and the window keeps the dispatch for its lifetime.
    void AdoptDispatch(std::unique_ptr<ObjectDispatch> dispatch);
    ObjectDispatch* Dispatch() const { return mDispatch; }
    // Makers of the windows of the other subsystems.
    ChildWindowFactories& Factories() { return mFactories; }

    // --- What opening a project asks of the window
    bool Loading() const override { return mbLoading; }
    void SetLoading(bool loading) override { mbLoading = loading; }
    void Init(TARMODatabase& sdbCurrent) override;
    void SetCaption(const QString& caption) override;
    // Builds the tree, the context panel, the menus, toolbars, status bar and the shortcut table for
    // the project just opened. A width (twips) above 0 becomes the tree panel's width.
    void InitDBT(long lngWidth = -1) override;
    void SetGeometry(long height, long width, ::WindowState windowState) override;
    void SetDatabaseTreeVisible(bool visible) override;
    void SetExtraPanelVisible(bool visible) override;
    void ShowWindow() override;
    void HideWindow() override;
    void CheckProjectSyncInfo() override;

    bool DatabaseTreeVisible() const { return mbDatabaseTreeVisible; }
    bool ExtraPanelVisible() const { return mbExtraPanelVisible; }

    // --- Commands
    // What a command needs before it runs; failing it, the command does nothing, in silence, so a
    // shortcut of a command that doesn't apply has no effect.
    enum class CommandRule {
        Always,
        NeedsProject,
        NeedsSelectedNode,
        // An active edit child whose member `can` answers true; the command is that child's action.
        ChildCan,
    };
    // What a handler gets: the command, the key of the entry that started it, the help topic of the
    // window it came from, the index behind the key's last ':' (0 without one), the selected node.
    struct CommandCall {
        Command command;
        const QString& parameter;
        long helpContext;
        int index;
        QTreeWidgetItem* selected;
    };
    using CommandHandler = void (*)(mdiMain&, const CommandCall&);
    // One row per command: its rule, and either the child's action or the window's handler.
    struct CommandRow {
        Command command;
        CommandRule rule;
        // With ChildCan the guard; on any row with a button or an entry, what UpdateCommands sets them to.
        bool (ChildWindowContract::*can)() const;
        void (ChildWindowContract::*childAction)();
        CommandHandler handler;
        const char* button; // toolbar button that UpdateCommands switches, or nullptr
        const char* entry;  // menu entry that UpdateCommands switches, or nullptr
    };
    static const std::vector<CommandRow>& CommandTable();
    // The row of the command; nullptr for a number that no command has.
    static const CommandRow* FindCommand(Command command);

    // The one way in: the command, the key of the entry that started it, the help topic of the
    // window it came from (23 the main window).
    void DoCommand(Command command, const QString& strParameter = {},
                   long lngHelpContext = HelpId(HelpTopic::MainWindow));
    // Every window hands its keys here; a key that fired a command comes back as 0.
    void KeyPreview(bool bKeyDown, int& KeyCode, int Shift,
                    long lngHelpContext = HelpId(HelpTopic::MainWindow));
    void UpdateCommands();
    // A child reports that its object changed; the node is read again (its parent with bUseParent).
    void RefreshItem(const QString& strTag, const QString& strKey, bool bUseParent = false);
    // Position of a key in the image list, from 1; one less with bZeroBased; -1 if unknown.
    int GetIconIndex(const QString& strName, bool bZeroBased = true) const;
    const ImageList& Images() const { return miltAll; }
    void EditPermissions(const QString& strTag = {}, const QString& strKey = {},
                         std::shared_ptr<DispatchedObject> objItem = nullptr);
    void SyncroniseAction(QTreeWidgetItem* Node, long lngAction, StoreLocation location);
    // Tries to unload the window with its children; False when a child refused.
    bool CloseProject();
    void ChangeProject(long index, const QString& name);
    // RefreshCaption on every edit child.
    void RefreshForms();
    // The first open window other than this one that shows the object in that kind of window.
    QWidget* FindChild(const QString& strTag, const QString& strKey, FormType formType) const;
    // Places a child window in the window area and shows it; from then on its reports of a changed
    // command state update the menus while it is the active one.
    QMdiSubWindow* AddChildWindow(QWidget* child);
    // Opens a query window on a text that an earlier run lost; false when no query window can open.
    bool OpenRecoveredText(const QString& title, const QString& text);
    // The child that last came to the front; children set it and clear it when they unload.
    void SetCurrentChild(QWidget* child) { mCurrentChild = child; }
    QWidget* CurrentChild() const { return mCurrentChild; }

    // --- Parts, for the windows that embed in the frame and for tests
    DatabaseTree* tvwDBT() const { return mtvwDBT; }
    ExplorerBar* ebcExtraInfo() const { return mebcExtraInfo; }
    StatusPanels* sbrMain() const { return msbrMain; }
    ChildWindowArea* MdiArea() const { return mMdiArea; }
    MainMenus& Menus() { return *mMenus; }
    const ShortcutTable& Shortcuts() const { return mShortcuts; }
    // The window that the commands concern: the active child window's widget, or nullptr.
    QWidget* ActiveForm() const;
    // Builds the pop-up menu for a node (nullptr: no node) as the right button shows it.
    void PopupSetup(QTreeWidgetItem* Node);
    void UpdateContextPanel();
    bool DragSubnodes() const;

    // --- Status events of the object lists
    void RetrieveStatusChange(const QString& ObjectType, const QString& ObjectDisplayName,
                              long CurrentItemNumber, long TotalItems, bool& Cancel) override;
    void AddingStatusChange(const QString& ObjectType, const QString& ObjectDisplayName,
                            long CurrentItemNumber, long TotalItems, bool& Cancel) override;
    void CompletedCurrentStatus(const QString& ObjectType, const QString& ObjectDisplayName) override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildFrame();
    void buildStatusBar();
    void fillContextPanelBars();
    void disableEditCommands();
    void setMenuEnabled(const char* key, bool enabled);
    void setMenuCaption(const char* key, const QString& caption);
    void onMenuOpening(const QString& menuKey);
    void EditObject(QTreeWidgetItem* Node = nullptr);
    void NewObject(const QString& strType);
    void RenameObject(QTreeWidgetItem* Node = nullptr);
    void DeleteObject(QTreeWidgetItem* Node = nullptr);
    void AfterChange(QTreeWidgetItem* Node, bool bClose);
    void permissionsCommand(const QString& strParameter);
    void showHelp(long lngHelpContext, const QString& strParameter);
    void sendFeedback(bool bug, int level);
    void runCommand(Command command, const QString& strParameter, long lngHelpContext, int index);
    void refreshTree();
    bool unloadWindow();
    void treeDoubleClicked(QTreeWidgetItem* node, bool& opened);
    // A double click on the node opens a window (an object's text or its permissions).
    bool opensWindow(QTreeWidgetItem* node) const;
    void fillContextPanel();
    void treeRightReleased(QTreeWidgetItem* node, const QPoint& globalPos);
    void panelEntryClicked(const QString& entryKey, long command);
    void storeSplitterSizes();
    void showStatusProgress(const QString& verb, const QString& displayName, long current, long total);
    bool acceptsTreeDrop(const QMimeData* dropped) const;
    QWidget* addChildForFactory(QWidget* child);
    // An embedded editor can take the focus without its window becoming the active one; the current
    // child is then brought back once the focus has settled.
    void repairCurrentChild();

    TARMODatabase* msdbCurrent = nullptr;
    ObjectDispatch* mDispatch = nullptr;
    std::unique_ptr<ObjectDispatch> mOwnedDispatch;
    ChildWindowFactories mFactories;
    ImageList miltAll;
    ShortcutTable mShortcuts;
    MainMenus* mMenus;
    QSplitter* mSplitter = nullptr;      // tree panel | child area
    QSplitter* mPanelSplitter = nullptr; // tree above the context panel
    QWidget* mTreePanel = nullptr;
    DatabaseTree* mtvwDBT = nullptr;
    ExplorerBar* mebcExtraInfo = nullptr;
    ChildWindowArea* mMdiArea = nullptr;
    StatusPanels* msbrMain = nullptr;

    bool mbLoading = false;
    bool mbDatabaseTreeVisible = true;
    bool mbExtraPanelVisible = true;
    bool mbMenusDisabled = false;
    bool mbUnloadDone = false;
    QTreeWidgetItem* mnodPanelItem = nullptr;
    long mlngDescriptionBarState = 1;
    MenuTable mNewEntries;
    MenuTable mRecentProjects;
    QString mstrLoadShortcut;
    QString mstrSaveShortcut;
    QPointer<QWidget> mCurrentChild;
};
