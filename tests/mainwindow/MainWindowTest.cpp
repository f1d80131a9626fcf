#include "MainWindowFixture.h"

#include "StatusPanels.h"
#include "TARMOError.h"

#include <QCoreApplication>
#include <QMdiSubWindow>
#include <QMenu>
#include <QTest>

TEST_F(MainWindowTest, OpeningAProjectShowsTheListsUnreadWithPlaceholders) {
    EXPECT_EQ(dispatch.Reads, QStringList{QStringLiteral("Start|")}) << "no list is read before it is opened";
    ASSERT_EQ(tree().topLevelItemCount(), 3);
    for (int i = 0; i < 3; ++i) {
        QTreeWidgetItem* list = tree().topLevelItem(i);
        ASSERT_EQ(list->childCount(), 1);
        EXPECT_EQ(DatabaseTree::NodeTag(list->child(0)), QStringLiteral("temp"));
        EXPECT_EQ(DatabaseTree::NodeImage(list),
                  window->GetIconIndex(DatabaseTree::NodeKey(list).toUpper(), false));
    }
    EXPECT_EQ(tree().topLevelItem(0)->text(0), QStringLiteral("Stored Procedures"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Sales - TARMO"));

    StatusPanels& status = *window->sbrMain();
    ASSERT_EQ(status.PanelCount(), 9);
    EXPECT_EQ(status.PanelText(2), QStringLiteral("Sales"));
    EXPECT_EQ(status.PanelText(3), QStringLiteral("embedded:/srv/sales"));
    EXPECT_EQ(status.PanelText(4), QStringLiteral("SalesDB"));
    EXPECT_EQ(status.PanelText(5), QStringLiteral("sa"));
    EXPECT_EQ(status.PanelText(7), QStringLiteral("$\\Sales\\"));
    EXPECT_EQ(status.PanelText(8), QStringLiteral("Anna"));

    EXPECT_EQ(panel().BarKeys(), (QStringList{QStringLiteral("Item"), QStringLiteral("Tools")}));
    EXPECT_EQ(panel().EntryKeys(QStringLiteral("Tools")),
              (QStringList{QStringLiteral("Refresh"), QStringLiteral("Sync")}));
    QCoreApplication::processEvents(); // lay out what the test built, for the picture
    Screenshot(window.get(), QStringLiteral("mdiMain-opened"));
}

TEST_F(MainWindowTest, ANodeIsReadOnceWhenFirstOpened) {
    QTreeWidgetItem* procedures = open({QStringLiteral("Stored Procedures")});
    EXPECT_EQ(childTexts(procedures), (QStringList{QStringLiteral("usp_Orders"), QStringLiteral("usp_Stock"),
                                                   QStringLiteral("usp_Archive")}));
    EXPECT_EQ(DatabaseTree::NodeImage(procedures->child(1)),
              window->GetIconIndex(QStringLiteral("STOREDPROCEDURE:CHECKEDOUT"), false));
    procedures->setExpanded(false);
    procedures->setExpanded(true);
    EXPECT_EQ(dispatch.Reads.count(QStringLiteral("StoredProcedures|StoredProcedures")), 1)
        << "closing and opening again doesn't read";

    QTreeWidgetItem* permission = open(
        {QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders"), QStringLiteral("Permission")});
    ASSERT_NE(permission, nullptr);
    EXPECT_EQ(childTexts(permission), QStringList{QStringLiteral("public")});
    EXPECT_EQ(dispatch.Reads.last(), QStringLiteral("Permission|P101"));
}

TEST_F(MainWindowTest, AnOpeningWhileTheTreeIsFilledIsClosedAgainUnread) {
    // The user opens "Views" while a refresh reads the columns of a table that was open.
    open({QStringLiteral("Tables"), QStringLiteral("Customers")});
    QTreeWidgetItem* views = node({QStringLiteral("Views")});
    dispatch.DuringRead[QStringLiteral("Table|I201")] = [&] { views->setExpanded(true); };
    window->DoCommand(Command::RefreshTree);
    ASSERT_EQ(dispatch.Reads.count(QStringLiteral("Table|I201")), 2);
    EXPECT_FALSE(views->isExpanded());
    EXPECT_FALSE(dispatch.Reads.contains(QStringLiteral("Views|Views")));
    EXPECT_EQ(DatabaseTree::NodeTag(views->child(0)), QStringLiteral("temp"));
}

TEST_F(MainWindowTest, ARefreshReopensWhatWasOpenDownToTheFields) {
    open({QStringLiteral("Tables"), QStringLiteral("Customers"), QStringLiteral("Triggers")});
    open({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders"), QStringLiteral("Permission")});
    dispatch.Reads.clear();
    window->DoCommand(Command::RefreshTree);

    EXPECT_FALSE(dispatch.Reads.contains(QStringLiteral("Views|Views"))) << "an unopened list stays unread";
    QTreeWidgetItem* permission = node(
        {QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders"), QStringLiteral("Permission")});
    ASSERT_NE(permission, nullptr);
    EXPECT_TRUE(permission->isExpanded());
    EXPECT_EQ(childTexts(permission), QStringList{QStringLiteral("public")});
    QTreeWidgetItem* triggers =
        node({QStringLiteral("Tables"), QStringLiteral("Customers"), QStringLiteral("Triggers")});
    ASSERT_NE(triggers, nullptr);
    EXPECT_TRUE(triggers->isExpanded());
    EXPECT_EQ(childTexts(triggers), QStringList{QStringLiteral("trg_Customers (Checked out by Bob)")});
    QTreeWidgetItem* stock = node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Stock")});
    EXPECT_FALSE(stock->isExpanded());
    EXPECT_EQ(DatabaseTree::NodeTag(stock->child(0)), QStringLiteral("temp"))
        << "what wasn't open keeps its placeholder";
}

TEST_F(MainWindowTest, RefreshOfAnObjectFollowsTheStores) {
    open({QStringLiteral("Stored Procedures")});
    dispatch.Renumber(QStringLiteral("102"), QStringLiteral("150"));
    window->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I102"));
    QTreeWidgetItem* procedures = node({QStringLiteral("Stored Procedures")});
    EXPECT_EQ(DatabaseTree::NodeKey(procedures->child(1)), QStringLiteral("I150"))
        << "a new id keeps the place";

    dispatch.Object(QStringLiteral("101"))->mLeavesList = true;
    window->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I101"));
    EXPECT_EQ(childTexts(procedures),
              (QStringList{QStringLiteral("usp_Stock"), QStringLiteral("usp_Archive")}));

    dispatch.Object(QStringLiteral("103"))->mInSQL = true;
    window->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I103"), true);
    EXPECT_TRUE(dispatch.Log.contains(QStringLiteral("RefreshItem StoredProcedures|StoredProcedures")))
        << "with bUseParent the list is refreshed";
    EXPECT_EQ(
        DatabaseTree::NodeImage(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Archive")})),
        window->GetIconIndex(QStringLiteral("STOREDPROCEDURE:CHECKEDIN"), false));
}

TEST_F(MainWindowTest, ContextPanelOffersWhatTheSelectedObjectOffers) {
    select(nullptr);
    EXPECT_EQ(panel().EntryKeys(QStringLiteral("Item")), QStringList{QStringLiteral("NoItem")});
    EXPECT_EQ(panel().EntryText(QStringLiteral("Item"), QStringLiteral("NoItem")),
              QStringLiteral("No object is currently selected"));

    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures")}));
    EXPECT_EQ(panel().EntryKeys(QStringLiteral("Item")), QStringList{QStringLiteral("RefreshNode")});

    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    EXPECT_EQ(panel().EntryKeys(QStringLiteral("Item")),
              (QStringList{QStringLiteral("mnuPopupEditItem"), QStringLiteral("mnuPopupRenameItem"),
                           QStringLiteral("mnuPopupDeleteItem"), QStringLiteral("mnuPopupGetLatest"),
                           QStringLiteral("mnuPopupCheckOut"), QStringLiteral("mnuPopupEditPermission"),
                           QStringLiteral("RefreshNode")}));
    EXPECT_EQ(panel().EntryText(QStringLiteral("Item"), QStringLiteral("mnuPopupEditItem")),
              QStringLiteral("Edit usp_Orders"));
    ASSERT_TRUE(panel().HasBar(QStringLiteral("Description")));
    EXPECT_EQ(panel().EntryText(QStringLiteral("Description"), QStringLiteral("DescriptionText")),
              QStringLiteral("Lists the orders of a customer.\nNewest first."));
    QCoreApplication::processEvents(); // lay out what the test built, for the picture
    Screenshot(window.get(), QStringLiteral("mdiMain-panel"));

    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Stock")}));
    EXPECT_FALSE(panel().HasBar(QStringLiteral("Description")));
    EXPECT_TRUE(panel().HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupCheckIn")));
    EXPECT_TRUE(panel().HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupUndoCheckOut")));
    EXPECT_FALSE(panel().HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupCheckOut")));

    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Archive")}));
    EXPECT_EQ(panel().EntryKeys(QStringLiteral("Item")),
              (QStringList{QStringLiteral("mnuPopupAddToSQL"), QStringLiteral("mnuPopupDeleteFromVSS"),
                           QStringLiteral("RefreshNode")}));
    EXPECT_EQ(panel().EntryText(QStringLiteral("Item"), QStringLiteral("mnuPopupDeleteFromVSS")),
              QStringLiteral("Remove object to VSS"));

    // The object's state changes behind the panel: the same node is rebuilt only because of it.
    dispatch.Object(QStringLiteral("103"))->mInSQL = true;
    window->UpdateContextPanel();
    EXPECT_TRUE(panel().HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupEditItem")));

    open({QStringLiteral("Tables")});
    select(node({QStringLiteral("Tables"), QStringLiteral("Customers")}));
    EXPECT_EQ(panel().EntryKeys(QStringLiteral("Item")),
              (QStringList{QStringLiteral("mnuPopupEditPermission"), QStringLiteral("RefreshNode")}));
}

TEST_F(MainWindowTest, PanelEntriesRunTheirCommands) {
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Archive")}));
    panel().ClickEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupAddToSQL"));
    EXPECT_TRUE(dispatch.Log.contains(QStringLiteral("SyncAdd 103 2")));
    EXPECT_EQ(
        DatabaseTree::NodeImage(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Archive")})),
        window->GetIconIndex(QStringLiteral("STOREDPROCEDURE:CHECKEDIN"), false))
        << "added to SQL Server, the node shows the normal icon";
    EXPECT_TRUE(panel().HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupCheckOut")));
}

TEST_F(MainWindowTest, PopupShowsOnlyWhatTheNodeOffers) {
    auto visible = [&] {
        QStringList keys;
        for (QAction* action : window->Menus().mnuPopup()->actions())
            if (action->isVisible() && !action->isSeparator())
                keys << action->objectName();
        return keys;
    };
    window->PopupSetup(nullptr);
    EXPECT_EQ(visible(), (QStringList{QStringLiteral("mnuNewItem"), QStringLiteral("mnuRefresh")}));

    select(node({QStringLiteral("Stored Procedures")}));
    window->PopupSetup(tree().currentItem());
    EXPECT_EQ(visible(), (QStringList{QStringLiteral("mnuNewItem"), QStringLiteral("mnuRefreshNode"),
                                      QStringLiteral("mnuRefresh")}));

    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Stock")}));
    window->PopupSetup(tree().currentItem());
    EXPECT_EQ(visible(),
              (QStringList{QStringLiteral("mnuPopupCheckIn"), QStringLiteral("mnuPopupUndoCheckout"),
                           QStringLiteral("mnuNewItem"), QStringLiteral("mnuEditItem"),
                           QStringLiteral("mnuRenameItem"), QStringLiteral("mnuDeleteItem"),
                           QStringLiteral("mnuPopupEditPermission"), QStringLiteral("mnuRefreshNode"),
                           QStringLiteral("mnuRefresh")}));
    EXPECT_EQ(window->Menus().Entry(QStringLiteral("mnuEditItem"))->text(),
              QStringLiteral("&Edit usp_Stock"));
    EXPECT_EQ(window->Menus().Menu(QStringLiteral("mnuNewItem"))->actions().size(), 4);
}

TEST_F(MainWindowTest, DraggingATableGivesItsColumnsOnlyOnceOpened) {
    open({QStringLiteral("Tables")});
    QTreeWidgetItem* customers = node({QStringLiteral("Tables"), QStringLiteral("Customers")});
    window->DoCommand(Command::ToggleDragSubnodes);
    EXPECT_TRUE(window->Menus().Entry(QStringLiteral("mnuDragSub"))->isChecked());
    EXPECT_EQ(tree().DragText(customers), QStringLiteral("Customers"))
        << "never opened: only a placeholder below";
    customers->setExpanded(true);
    EXPECT_EQ(tree().DragText(customers), QStringLiteral("CustomerID,\r\nName"))
        << "the Permission and Triggers nodes are no columns";
    window->DoCommand(Command::ToggleDragSubnodes);
    EXPECT_EQ(tree().DragText(customers), QStringLiteral("Customers"));
}

TEST_F(MainWindowTest, StatusPanelShowsTheListProgress) {
    bool cancel = false;
    dispatch.mListener->RetrieveStatusChange(QStringLiteral("StoredProcedures"),
                                             QStringLiteral("Stored Procedures"), 1, 3, cancel);
    EXPECT_EQ(window->sbrMain()->PanelText(QStringLiteral("DBT:STATUS")),
              QStringLiteral("Getting - Stored Procedures: 33%"));
    dispatch.mListener->AddingStatusChange(QStringLiteral("Views"), QStringLiteral("Views"), 2, 3, cancel);
    EXPECT_EQ(window->sbrMain()->PanelText(QStringLiteral("DBT:STATUS")),
              QStringLiteral("Adding - Views: 67%"));
    dispatch.mListener->CompletedCurrentStatus(QStringLiteral("Views"), QStringLiteral("Views"));
    EXPECT_EQ(window->sbrMain()->PanelText(QStringLiteral("DBT:STATUS")), QString());
    EXPECT_FALSE(cancel) << "the tree never cancels";
}

TEST_F(MainWindowTest, AFailedReadIsToldAndTheNodeReadsAgainOnTheNextOpening) {
    QTreeWidgetItem* views = node({QStringLiteral("Views")});
    ASSERT_NE(views, nullptr);
    bool fail = true;
    dispatch.DuringRead[QStringLiteral("Views|Views")] = [&] {
        if (fail)
            throw TARMOError(70, QStringLiteral("Store"), QStringLiteral("The store can't be read."));
    };
    views->setExpanded(true);
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().text, QStringLiteral("The store can't be read."));
    EXPECT_FALSE(views->isExpanded());
    ASSERT_EQ(views->childCount(), 1);
    EXPECT_EQ(DatabaseTree::NodeTag(views->child(0)), QStringLiteral("temp"));

    fail = false;
    views->setExpanded(true);
    EXPECT_EQ(dispatch.Reads.count(QStringLiteral("Views|Views")), 2);
    for (int i = 0; i < views->childCount(); ++i)
        EXPECT_NE(DatabaseTree::NodeTag(views->child(i)), QStringLiteral("temp"));
}

TEST_F(MainWindowTest, ACommandThatFailsIsToldAndEndsTheBusyState) {
    open({QStringLiteral("Tables"), QStringLiteral("Customers")});
    dispatch.DuringRead[QStringLiteral("Table|I201")] = [] {
        throw TARMOError(17, QStringLiteral("Server"), QStringLiteral("The server is gone."));
    };
    window->DoCommand(Command::RefreshTree);
    EXPECT_EQ(prompts->BusyDepth(), 0);
    ASSERT_FALSE(prompts->Records().isEmpty());
    EXPECT_EQ(prompts->Records().first().text, QStringLiteral("The server is gone."));
    EXPECT_NE(node({QStringLiteral("Tables"), QStringLiteral("Customers")}), nullptr)
        << "the tree keeps what it showed";
}

// A double click on an object opens its window and leaves the node as it was; on a list, which opens
// no window, it opens and closes the node.
TEST_F(MainWindowTest, DoubleClickOpensAnObjectOrTogglesAList) {
    auto doubleClick = [&](QTreeWidgetItem* item) {
        tree().scrollToItem(item);
        const QPoint at = tree().visualItemRect(item).center();
        QTest::mouseDClick(tree().viewport(), Qt::LeftButton, {}, at);
    };
    QTreeWidgetItem* procedures = open({QStringLiteral("Stored Procedures")});
    QTreeWidgetItem* orders = node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")});
    ASSERT_NE(orders, nullptr);
    ASSERT_GT(orders->childCount(), 0) << "an object node has children of its own to toggle";
    doubleClick(orders);
    EXPECT_EQ(window->MdiArea()->subWindowList().size(), 1);
    EXPECT_FALSE(orders->isExpanded());

    QTreeWidgetItem* views = node({QStringLiteral("Views")});
    doubleClick(views);
    EXPECT_TRUE(views->isExpanded());
    doubleClick(procedures);
    EXPECT_FALSE(procedures->isExpanded());
    EXPECT_EQ(window->MdiArea()->subWindowList().size(), 1) << "lists open no window";
}

// A refresh that takes the selected object away moves the selection; the panel then offers what the
// newly selected node offers, never the actions of the object that went.
TEST_F(MainWindowTest, PanelFollowsTheSelectionARefreshMoved) {
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    ASSERT_EQ(panel().EntryText(QStringLiteral("Item"), QStringLiteral("mnuPopupEditItem")),
              QStringLiteral("Edit usp_Orders"));
    dispatch.Object(QStringLiteral("101"))->mLeavesList = true;
    window->DoCommand(Command::RefreshNode);

    QTreeWidgetItem* selected = tree().SelectedNode();
    const QStringList entries = panel().EntryKeys(QStringLiteral("Item"));
    if (!selected)
        EXPECT_EQ(entries, QStringList{QStringLiteral("NoItem")});
    else if (entries.contains(QStringLiteral("mnuPopupEditItem")))
        EXPECT_EQ(panel().EntryText(QStringLiteral("Item"), QStringLiteral("mnuPopupEditItem")),
                  QStringLiteral("Edit ") + selected->text(0));
    else
        EXPECT_NE(selected->text(0), QStringLiteral("usp_Orders"));
    EXPECT_FALSE(panel().HasBar(QStringLiteral("Description"))) << "the description was usp_Orders'";
}

// Another project opened into a maximized window: the window stays maximized, and its contents fill
// it, with no part left at the size of before.
TEST_F(MainWindowTest, AMaximizedWindowStaysMaximizedAndFilledOnAProjectChange) {
    window->showMaximized();
    database->SetWindowState(WindowState::Maximized);
    database->SetMainWindowFactory([this] { return window.get(); });
    // The first opening hands the window to the settings; the second is the change of project.
    ASSERT_TRUE(database->OpenProject(database->Project()));
    QCoreApplication::processEvents();
    ASSERT_TRUE(window->isMaximized());
    const QRect maximized = window->geometry();
    auto other = std::make_shared<TARMOProject>();
    other->SetName(QStringLiteral("Stock"));
    other->SQL().SetServer(QStringLiteral("embedded:/srv/stock"));
    ASSERT_TRUE(database->OpenProject(other));
    QCoreApplication::processEvents();

    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->isMaximized());
    EXPECT_TRUE(window->updatesEnabled());
    EXPECT_EQ(window->geometry(), maximized);
    EXPECT_EQ(window->centralWidget()->width(), window->width());
    EXPECT_GE(window->centralWidget()->geometry().bottom(), window->height() / 2);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Stock - TARMO"));
    database->SetMainWindowFactory(nullptr);
}
