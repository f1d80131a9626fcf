#pragma once

#include "ChildWindowFactories.h"
#include "ImageList.h"
#include "MainMenus.h"
#include "MainWindowContract.h"
#include "ObjectDispatch.h"
#include "modShortcutKeys.h"

#include <QMainWindow>
#include <QPointer>
#include <QTimer>

class ChildWindowContract;
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
// command number and runs through DoCommand; the active child is asked every tick what it can do.
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
    // The one way in: a command number, the key of the entry that started it, the help topic of the
    // window it came from (23 the main window).
    void DoCommand(long lngCommand, const QString& strParameter = {}, long lngHelpContext = 23);
    // Every window hands its keys here; a key that fired a command comes back as 0.
    void KeyPreview(bool bKeyDown, int& KeyCode, int Shift, long lngHelpContext = 23);
    void UpdateCommands();
    // One tick of tmr: bring the current child back if the focus went astray, then UpdateCommands.
    void tmr_Timer();
    // A child reports that its object changed; the node is read again (its parent with bUseParent).
    void RefreshItem(const QString& strTag, const QString& strKey, bool bUseParent = false);
    // Position of a key in the image list, from 1; one less with bZeroBased; -1 if unknown.
    int GetIconIndex(const QString& strName, bool bZeroBased = true) const;
    const ImageList& Images() const { return miltAll; }
    void EditPermissions(const QString& strTag = {}, const QString& strKey = {},
                         std::shared_ptr<DispatchedObject> objItem = nullptr);
    void SyncroniseAction(QTreeWidgetItem* Node, long lngAction, long lngLocation);
    // Tries to unload the window with its children; False when a child refused.
    bool CloseProject();
    void ChangeProject(long index, const QString& name);
    // RefreshCaption on every edit child.
    void RefreshForms();
    // The first open window other than this one that shows the object in that kind of window.
    QWidget* FindChild(const QString& strTag, const QString& strKey, long lngFormType) const;
    // Places a child window in the window area and shows it.
    QMdiSubWindow* AddChildWindow(QWidget* child);
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
    QTimer& tmr() { return mtmr; }
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
    bool passToChild(long lngCommand);
    void onMenuOpening(const QString& menuKey);
    void EditObject(QTreeWidgetItem* Node = nullptr);
    void NewObject(const QString& strType);
    void RenameObject(QTreeWidgetItem* Node = nullptr);
    void DeleteObject(QTreeWidgetItem* Node = nullptr);
    void AfterChange(QTreeWidgetItem* Node, bool bClose);
    void permissionsCommand(const QString& strParameter);
    void showHelp(long lngHelpContext);
    void sendFeedback(long lngCommand);
    void runCommand(long lngCommand, const QString& strParameter, long lngHelpContext, int index);
    bool unloadWindow();
    void treeDoubleClicked(QTreeWidgetItem* node);
    void treeRightReleased(QTreeWidgetItem* node, const QPoint& globalPos);
    void panelEntryClicked(const QString& entryKey, long command);
    void storeSplitterSizes();
    void showStatusProgress(const QString& verb, const QString& displayName, long current, long total);
    bool acceptsTreeDrop(const QMimeData* dropped) const;
    QWidget* addChildForFactory(QWidget* child);

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
    QTimer mtmr;

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
