#include "MainWindowFixture.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QMenu>
#include <QMimeData>
#include <QTest>
#include <QToolBar>
#include <QUrl>

namespace {
// Catches the links that the window hands to the desktop.
class LinkCatcher : public QObject {
    Q_OBJECT
public:
    LinkCatcher() {
        QDesktopServices::setUrlHandler(QStringLiteral("mailto"), this, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open");
    }
    ~LinkCatcher() override {
        QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    }
    QList<QUrl> links;
public slots:
    void open(const QUrl& url) { links << url; }
};
} // namespace

// Which entries a child enables is the command table's test; here, the captions that name what the
// child would load or save, and the menus being touched only when a state really changes.
TEST_F(MainWindowTest, LoadAndSaveNameTheirTextAndMenusAreTouchedOnlyOnChange) {
    QAction* load = window->Menus().Entry(QStringLiteral("mnuOpenFile"));
    QAction* checkIn = window->Menus().Entry(QStringLiteral("mnuCheckIn"));
    window->UpdateCommands();
    for (QAction* button : window->Menus().Buttons(QStringLiteral("DBTBAR")))
        EXPECT_TRUE(button->isEnabled()) << qPrintable(button->objectName());
    EXPECT_EQ(load->text(), QStringLiteral("&Load\tCtrl+L"));
    EXPECT_EQ(window->Menus().Entry(QStringLiteral("mnuSaveFile"))->text(), QStringLiteral("&Save\tCtrl+S"));
    QCoreApplication::processEvents(); // lay out what the test built, for the picture
    Screenshot(window.get(), QStringLiteral("mdiMain-nochild"));

    FakeChild* child = addChild(QStringLiteral("usp_Orders"));
    child->mCan[FakeChild::kCheckIn] = true;
    window->UpdateCommands();
    EXPECT_TRUE(checkIn->isEnabled());
    EXPECT_EQ(load->text(), QStringLiteral("&Load Text\tCtrl+L"));

    int changes = 0;
    for (QAction* action : {checkIn, load})
        QObject::connect(action, &QAction::changed, [&] { ++changes; });
    window->UpdateCommands();
    EXPECT_EQ(changes, 0);
    child->mCan[FakeChild::kCheckIn] = false;
    window->UpdateCommands();
    EXPECT_EQ(changes, 1);
}

TEST_F(MainWindowTest, ShortcutsFireOnTheirKeyEdgeWithTheExactShiftState) {
    FakeChild* child = addChild(QStringLiteral("q"));
    for (bool& can : child->mCan)
        can = true;
    int queries = 0;
    window->Factories().QueryWindow = [&](TARMODatabase&) -> QWidget* {
        ++queries;
        return nullptr;
    };
    QWidget* target = window->tvwDBT();
    QTest::keyPress(target, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(queries, 0) << "Ctrl+Q fires at key up";
    QTest::keyRelease(target, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(queries, 1);

    QTest::keyPress(target, Qt::Key_T, Qt::ControlModifier);
    QTest::keyRelease(target, Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(log, QStringList{QStringLiteral("q:TestItem")}) << "Ctrl+T fires once, at key down";

    log.clear();
    QTest::keyClick(target, Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::keyClick(target, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::keyClick(target, Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(log, (QStringList{QStringLiteral("q:Redo"), QStringLiteral("q:FindPrevious")}))
        << "Shift+Ctrl+T isn't in the table; Shift+Ctrl+Z is Redo, not Undo";

    log.clear();
    child->mCan[FakeChild::kOpenFile] = false;
    QTest::keyClick(child, Qt::Key_L, Qt::ControlModifier);
    EXPECT_TRUE(log.isEmpty()) << "a disabled command's key does nothing";
}

TEST_F(MainWindowTest, EditOpensOneWindowPerObjectAndOnlyForObjectsInBothStores) {
    open({QStringLiteral("Stored Procedures")});
    open({QStringLiteral("Tables")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    window->DoCommand(Command::Edit);
    window->DoCommand(Command::Edit);
    ASSERT_EQ(window->MdiArea()->subWindowList().size(), 1) << "a second Edit brings the same window forward";
    EXPECT_EQ(
        window->FindChild(QStringLiteral("StoredProcedure"), QStringLiteral("I101"), FormType::ObjectEdit),
        window->ActiveForm());
    EXPECT_EQ(
        window->FindChild(QStringLiteral("StoredProcedure"), QStringLiteral("I101"), FormType::Permission),
        nullptr);

    for (const QStringList& path :
         {QStringList{QStringLiteral("Stored Procedures"), QStringLiteral("usp_Archive")},
          QStringList{QStringLiteral("Tables"), QStringLiteral("Customers")},
          QStringList{QStringLiteral("Tables")}}) {
        select(node(path));
        window->DoCommand(Command::Edit);
    }
    EXPECT_EQ(window->MdiArea()->subWindowList().size(), 1) << "out of sync, a table and a list don't open";
}

TEST_F(MainWindowTest, CheckInFromTheTreeOpensTheWindowFirst) {
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Stock")}));
    window->DoCommand(Command::CheckIn, QStringLiteral("mnuPopupCheckIn"));
    ASSERT_EQ(window->MdiArea()->subWindowList().size(), 1);
    EXPECT_TRUE(log.isEmpty()) << "the new window can't check in: only the opening happens";
    auto* child = dynamic_cast<FakeChild*>(window->ActiveForm());
    child->mCan[FakeChild::kCheckIn] = true;
    window->DoCommand(Command::CheckIn, QStringLiteral("mnuPopupCheckIn"));
    EXPECT_EQ(log, QStringList{QStringLiteral("usp_Stock:CheckIn")});
}

TEST_F(MainWindowTest, DeleteAsksThenClosesTheObjectsWindowsWithoutAsking) {
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    window->DoCommand(Command::Edit);
    auto* child = dynamic_cast<FakeChild*>(window->ActiveForm());
    child->mRefuseClose = true;

    prompts->QueueAnswer(Prompt::Answer::No);
    window->DoCommand(Command::Delete);
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Delete Item"));
    EXPECT_EQ(prompts->Records()[0].text,
              QStringLiteral("Are you sure you want to Delete the Item [dbo].[usp_Orders]"));
    EXPECT_EQ(prompts->Records()[0].icon, Prompt::Icon::Question);
    EXPECT_FALSE(dispatch.Log.contains(QStringLiteral("DeleteItem I101")));

    prompts->QueueAnswer(Prompt::Answer::Yes);
    window->DoCommand(Command::Delete);
    EXPECT_TRUE(dispatch.Log.contains(QStringLiteral("DeleteItem I101")));
    EXPECT_TRUE(log.contains(QStringLiteral("usp_Orders:CloseItem(force)")));
    EXPECT_EQ(childTexts(node({QStringLiteral("Stored Procedures")})),
              (QStringList{QStringLiteral("usp_Stock"), QStringLiteral("usp_Archive")}));
}

TEST_F(MainWindowTest, RenameKeepsTheWindowWhichReloads) {
    open({QStringLiteral("Stored Procedures")});
    select(node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")}));
    window->DoCommand(Command::Edit);
    window->Factories().RenameDialog = [](TARMODatabase&, QWidget*, const QString& name,
                                          const QString& owner) {
        return owner + QLatin1Char('.') + name + QStringLiteral("_v2");
    };
    window->DoCommand(Command::Rename);
    EXPECT_TRUE(dispatch.Log.contains(QStringLiteral("RenameItem I101 dbo.usp_Orders_v2")));
    EXPECT_EQ(log, (QStringList{QStringLiteral("usp_Orders:GetLatestVersion"),
                                QStringLiteral("usp_Orders:RefreshCaption")}));
    EXPECT_EQ(node({QStringLiteral("Stored Procedures")})->child(0)->text(0),
              QStringLiteral("dbo.usp_Orders_v2"));
}

TEST_F(MainWindowTest, NewObjectTakesTheSelectedTableIntoItsDefaultText) {
    QString table, owner, kind;
    window->Factories().NewObjectWindow = [&](TARMODatabase&, std::shared_ptr<DispatchedObject> object,
                                              const QString&, const QString& strTable,
                                              const QString& strOwner) {
        kind = object->ObjectType();
        table = strTable;
        owner = strOwner;
        return nullptr;
    };
    open({QStringLiteral("Tables")});
    select(node({QStringLiteral("Tables"), QStringLiteral("Customers")}));
    window->DoCommand(Command::NewObject, QStringLiteral("NEWITEM:4"));
    EXPECT_EQ(kind, QStringLiteral("Trigger"));
    EXPECT_EQ(table, QStringLiteral("Customers"));
    EXPECT_EQ(owner, QStringLiteral("dbo"));
    window->DoCommand(Command::NewObject, QStringLiteral("DBTBAR:NEWITEM"));
    EXPECT_EQ(kind, QStringLiteral("StoredProcedure")) << "the button itself makes the first type";
}

TEST_F(MainWindowTest, PermissionsCommandFindsItsObjectByParameter) {
    QStringList asked;
    window->Factories().PermissionWindow = [&](TARMODatabase&, std::shared_ptr<DispatchedObject>,
                                               const QString& tag, const QString& key) -> QWidget* {
        asked << tag + QLatin1Char('|') + key;
        return new FakeChild(*window, log, tag, key, FormType::Permission);
    };
    open({QStringLiteral("Tables")});
    window->DoCommand(Command::Permissions, QStringLiteral("mnuPopupEditPermission"));
    EXPECT_TRUE(asked.isEmpty()) << "no node selected";
    window->DoCommand(Command::Permissions, QStringLiteral("Table|I201"));
    window->DoCommand(Command::Permissions, QStringLiteral("Table|I201"));
    window->DoCommand(Command::Permissions, QStringLiteral("a|b|c"));
    EXPECT_EQ(asked, QStringList{QStringLiteral("Table|I201")}) << "one permission window per object";
    EXPECT_NE(window->FindChild(QStringLiteral("Table"), QStringLiteral("I201"), FormType::Permission),
              nullptr);
}

TEST_F(MainWindowTest, WindowListNumbersVisibleChildrenAndKeysThemByIndex) {
    window->DoCommand(Command::RebuildWindowList);
    QMenu* windows = window->Menus().Menu(QStringLiteral("mnuWindows"));
    auto listed = [&] {
        QStringList entries;
        for (QAction* action : windows->actions())
            if (action->objectName().startsWith(QLatin1String("WINLIST:CHILD:")))
                entries << action->objectName() + QLatin1Char('=') + action->text() +
                               (action->isChecked() ? QStringLiteral("*") : QString());
        return entries;
    };
    EXPECT_TRUE(listed().isEmpty()) << "no line above an empty list";
    EXPECT_FALSE(window->Menus().Entry(QStringLiteral("mnuWindowCascade"))->isEnabled());

    addChild(QStringLiteral("usp_Orders"));
    FakeChild* hidden = addChild(QStringLiteral("hidden"));
    hidden->parentWidget()->hide();
    addChild(QStringLiteral("usp_Stock"));
    window->DoCommand(Command::RebuildWindowList);
    EXPECT_EQ(listed(), (QStringList{QStringLiteral("WINLIST:CHILD:Spacer="),
                                     QStringLiteral("WINLIST:CHILD:1=&1 usp_Orders"),
                                     QStringLiteral("WINLIST:CHILD:3=&2 usp_Stock*")}));
    EXPECT_TRUE(window->Menus().Entry(QStringLiteral("mnuWindowCascade"))->isEnabled());

    window->Menus().Entry(QStringLiteral("WINLIST:CHILD:1"))->trigger();
    EXPECT_EQ(window->ActiveForm()->windowTitle(), QStringLiteral("usp_Orders"));
    window->DoCommand(Command::RebuildWindowList);
    EXPECT_EQ(listed().size(), 3);
    EXPECT_TRUE(listed()[1].endsWith(QLatin1Char('*')));
}

TEST_F(MainWindowTest, ClosingStopsWhenAChildRefuses) {
    FakeChild* stubborn = addChild(QStringLiteral("stubborn"));
    addChild(QStringLiteral("willing"));
    stubborn->mRefuseClose = true;
    EXPECT_FALSE(window->CloseProject());
    EXPECT_TRUE(window->isVisible());
    ASSERT_EQ(window->MdiArea()->subWindowList().size(), 1) << "the willing window closed";
    stubborn->mRefuseClose = false;
    EXPECT_TRUE(window->CloseProject());
    EXPECT_FALSE(window->isVisible());
}

TEST_F(MainWindowTest, FeedbackAndWebsiteGoToTheDesktop) {
    LinkCatcher catcher;
    window->DoCommand(Command::ReportModerateBug);
    window->DoCommand(Command::RequestMustHaveFeature);
    window->DoCommand(Command::VisitWebSite);
    ASSERT_EQ(catcher.links.size(), 3);
    const QString bug = catcher.links[0].toString(QUrl::FullyDecoded);
    EXPECT_TRUE(bug.startsWith(QLatin1String("mailto:"))) << qPrintable(bug);
    EXPECT_TRUE(bug.contains(
        QLatin1String("?Subject=Bug Report - Importance: Normal&Body=(Please write the bug details")))
        << qPrintable(bug);
    EXPECT_TRUE(catcher.links[1]
                    .toString(QUrl::FullyDecoded)
                    .contains(QLatin1String("Feature Request - Importance: HIGH")));
    EXPECT_EQ(catcher.links[2].scheme(), QStringLiteral("https"));
}

TEST_F(MainWindowTest, FirstUserIsOfferedASynchronization) {
    int syncs = 0;
    window->Factories().Synchronize = [&](TARMODatabase&, QWidget*) {
        ++syncs;
        return false;
    };
    prompts->QueueAnswer(Prompt::Answer::Yes);
    window->CheckProjectSyncInfo();
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Start Synchronization Process?"));
    EXPECT_EQ(
        prompts->Records()[0].text,
        QStringLiteral(
            "This is the first time anyone has connected to this project. Would you like to Synchronize?"));
    EXPECT_EQ(syncs, 1);
}

TEST_F(MainWindowTest, ViewTogglesStoreTheirSettings) {
    window->DoCommand(Command::ToggleDatabaseTree);
    EXPECT_FALSE(database->DBTVisible());
    EXPECT_FALSE(window->tvwDBT()->isVisible());
    window->DoCommand(Command::ToggleDatabaseTree);
    window->DoCommand(Command::ToggleContextPanel);
    EXPECT_FALSE(database->ExtraPanelVisible());
    window->DoCommand(Command::ToggleEditToolbar);
    EXPECT_FALSE(window->Menus().tbrEdit()->isVisible());
    emit window->Menus().Menu(QStringLiteral("mnuToolbars"))->aboutToShow();
    EXPECT_TRUE(window->Menus().Entry(QStringLiteral("mnuToolbarDBT"))->isChecked());
    EXPECT_FALSE(window->Menus().Entry(QStringLiteral("mnuToolbarEdit"))->isChecked());
}

TEST_F(MainWindowTest, DroppingADraggedObjectOnTheWindowOpensIt) {
    open({QStringLiteral("Stored Procedures")});
    QTreeWidgetItem* orders = node({QStringLiteral("Stored Procedures"), QStringLiteral("usp_Orders")});
    QTest::mousePress(tree().viewport(), Qt::LeftButton, {}, tree().visualItemRect(orders).center());
    ASSERT_EQ(tree().DragSource(), orders);

    QWidget* area = window->MdiArea()->viewport();
    QMimeData other;
    other.setText(QStringLiteral("SELECT 1"));
    QDragEnterEvent refused(QPoint(50, 50), Qt::CopyAction, &other, Qt::LeftButton, {});
    QApplication::sendEvent(area, &refused);
    EXPECT_FALSE(refused.isAccepted()) << "only the dragged node's own text opens an object";

    QMimeData dragged;
    dragged.setText(QStringLiteral("usp_Orders"));
    QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &dragged, Qt::LeftButton, {});
    QApplication::sendEvent(area, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(50, 50), Qt::CopyAction, &dragged, Qt::LeftButton, {});
    QApplication::sendEvent(area, &drop);
    ASSERT_NE(window->ActiveForm(), nullptr);
    EXPECT_EQ(window->ActiveForm()->windowTitle(), QStringLiteral("usp_Orders"));
    EXPECT_EQ(tree().DragSource(), nullptr);
    EXPECT_EQ(tree().currentItem(), orders);
}

TEST_F(MainWindowTest, FileMenuListsNewKindsAndRecentProjectsAndAChangeStopsAtARefusal) {
    for (const char* name : {"Sales", "Archive"}) {
        TARMOProject record;
        record.SetName(QString::fromLatin1(name));
        database->SaveProject(record);
    }
    window->InitDBT();
    QStringList newEntries, recent;
    for (QAction* action : window->Menus().Menu(QStringLiteral("mnuNew"))->actions())
        newEntries << action->text();
    for (QAction* action : window->Menus().Menu(QStringLiteral("mnuMostRecent"))->actions())
        recent << action->objectName() + QLatin1Char('=') + action->text();
    EXPECT_EQ(newEntries, (QStringList{QStringLiteral("New &Stored Procedure"),
                                       QStringLiteral("New &User Defined Function"),
                                       QStringLiteral("New &View"), QStringLiteral("New &Trigger")}));
    EXPECT_EQ(recent, (QStringList{QStringLiteral("MOSTRECENT:1=&1 - Sales"),
                                   QStringLiteral("MOSTRECENT:2=&2 - Archive")}));
    EXPECT_EQ(window->Menus().Menu(QStringLiteral("mnuNew"))->menuAction()->text(),
              QStringLiteral("&New\tCtrl+N"));

    FakeChild* stubborn = addChild(QStringLiteral("stubborn"));
    stubborn->mRefuseClose = true;
    window->Menus().Entry(QStringLiteral("MOSTRECENT:1"))->trigger();
    EXPECT_TRUE(log.isEmpty()) << "the open project is position 1: nothing closes";
    window->Menus().Entry(QStringLiteral("MOSTRECENT:2"))->trigger();
    EXPECT_EQ(log, QStringList{QStringLiteral("stubborn:refused")});
    EXPECT_EQ(database->Project()->Name(), QStringLiteral("Sales")) << "the old project stays";
    EXPECT_EQ(window->MdiArea()->subWindowList().size(), 1);
}

TEST_F(MainWindowTest, AFocusChangeBringsTheCurrentChildBackOnceItSettled) {
    struct FocusChild : FakeChild {
        using FakeChild::FakeChild;
        void SetFocusOfChild() override { mLog << QStringLiteral("focus"); }
    };
    auto* editor = new FocusChild(*window, log);
    editor->setWindowTitle(QStringLiteral("editor"));
    window->AddChildWindow(editor);
    addChild(QStringLiteral("other"));
    // The editor of the window behind took the focus, but its window stayed behind; the focus then
    // moves on somewhere that is no child's.
    window->SetCurrentChild(editor);
    ASSERT_NE(window->ActiveForm(), editor);
    emit qApp->focusChanged(nullptr, nullptr);
    EXPECT_TRUE(log.isEmpty()) << "nothing happens inside the focus change itself";
    QCoreApplication::processEvents();
    EXPECT_EQ(window->ActiveForm(), editor);
    EXPECT_EQ(log, QStringList{QStringLiteral("focus")});
    emit qApp->focusChanged(nullptr, nullptr);
    QCoreApplication::processEvents();
    EXPECT_EQ(log.size(), 1) << "nothing to repair while it is the active one";
}

TEST_F(MainWindowTest, TheMenusFollowTheActiveChildsReportsAndTheWindowChanges) {
    FakeChild* first = addChild(QStringLiteral("first"));
    QAction* checkIn = window->Menus().Entry(QStringLiteral("mnuCheckIn"));
    QAction* undo = window->Menus().Entry(QStringLiteral("EDITBAR:UNDO"));
    first->mCan[FakeChild::kCheckIn] = true;
    EXPECT_FALSE(checkIn->isEnabled()) << "no report yet";
    emit first->CommandStateChanged();
    EXPECT_TRUE(checkIn->isEnabled());

    FakeChild* second = addChild(QStringLiteral("second"));
    second->mCan[FakeChild::kUndo] = true;
    EXPECT_FALSE(checkIn->isEnabled()) << "the new active window came with its own answers";
    emit second->CommandStateChanged();
    EXPECT_TRUE(undo->isEnabled());
    second->mCan[FakeChild::kUndo] = false;
    emit first->CommandStateChanged();
    EXPECT_TRUE(undo->isEnabled()) << "a window behind doesn't speak for the active one";

    window->MdiArea()->setActiveSubWindow(qobject_cast<QMdiSubWindow*>(first->parentWidget()));
    EXPECT_TRUE(checkIn->isEnabled());
    EXPECT_FALSE(undo->isEnabled());
    for (FakeChild* child : {first, second})
        child->parentWidget()->close();
    QCoreApplication::processEvents();
    EXPECT_FALSE(checkIn->isEnabled()) << "with the last window gone, nothing is left to check in";
}

#include "MainWindowCommandsTest.moc"
