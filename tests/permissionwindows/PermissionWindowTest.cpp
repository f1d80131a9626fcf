#include "ChildWindowArea.h"
#include "CoreDispatch.h"
#include "DatabaseTree.h"
#include "DemoProject.h"
#include "ExplorerBar.h"
#include "MainWindowStart.h"
#include "SQLTextEditor.h"
#include "VSSBulkReader.h"
#include "frmEditObjectPermissions.h"
#include "frmEditObjectText.h"

#include <QApplication>
#include <QClipboard>
#include <QHash>
#include <QHeaderView>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPointer>
#include <QTableWidget>
#include <QTest>

#include <gtest/gtest.h>

#include <optional>

using P = TARMOPermission;

// The demo project (the role Reporting with the user clerk in it, and a role whose name holds a
// quote and a bracket) open in a main window with the permission editor installed; every change is read
// back from the server's catalogue.
class PermissionWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(project = OpenDemoProject(folder, database));
        project->SQL().ExecuteSQL(QStringLiteral("CREATE ROLE [O'Neil]]s]"));
        // The procedure starts without any permission, so that the catalogue holds only what a test did.
        project->SQL().ExecuteSQL(QStringLiteral("REVOKE EXECUTE ON dbo.GetCustomerOrders TO Reporting"));
        database.SetChildWindowState(WindowState::Normal);
        database.SetShowCommentPrompt(false);
        database.SetShowDescriptionPrompt(false);
        window.AdoptDispatch(std::make_unique<CoreDispatch>(database));
        frmEditObjectPermissions::Install(window);
        frmEditObjectText::Install(window);
        StartMainWindow(window, database);
    }
    void TearDown() override {
        CloseEditorChildren(window);
        VSSBulkReader::Release();
    }

    // Selects the object in the tree and runs the tree's Permissions command.
    frmEditObjectPermissions* openFromTree(const QString& list, const QString& name) {
        DatabaseTree& tree = *window.tvwDBT();
        for (int i = 0; i < tree.topLevelItemCount(); ++i) {
            QTreeWidgetItem* node = tree.topLevelItem(i);
            if (node->text(0) != list)
                continue;
            node->setExpanded(true);
            for (int j = 0; j < node->childCount(); ++j) {
                const QString text = node->child(j)->text(0);
                if (text == name || text.endsWith(QLatin1Char('.') + name)) {
                    tree.setCurrentItem(node->child(j));
                    window.DoCommand(Command::Permissions, QStringLiteral("mnuPopupEditPermission"));
                    return qobject_cast<frmEditObjectPermissions*>(window.ActiveForm());
                }
            }
        }
        return nullptr;
    }
    frmEditObjectPermissions* openProcedure() {
        return openFromTree(QStringLiteral("Stored Procedures"), QStringLiteral("GetCustomerOrders"));
    }
    static int rowOf(frmEditObjectPermissions* form, const QString& name) {
        for (int row = 0; row < form->grdPermission()->rowCount(); ++row)
            if (form->grdPermission()->item(row, 0)->text() == name)
                return row;
        return -1;
    }
    static long shown(frmEditObjectPermissions* form, const QString& name, int column = 1) {
        const QTableWidgetItem* cell = form->grdPermission()->item(rowOf(form, name), column);
        return cell ? cell->data(Qt::UserRole).toLongLong() : -1;
    }
    static void click(frmEditObjectPermissions* form, const QString& name, int column = 1) {
        QTableWidget* grid = form->grdPermission();
        QTableWidgetItem* cell = grid->item(rowOf(form, name), column);
        ASSERT_TRUE(cell) << qPrintable(name);
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, grid->visualItemRect(cell).center());
    }
    static void press(frmEditObjectPermissions* form, const QString& name, Qt::Key key, int column = 1) {
        form->grdPermission()->setCurrentCell(rowOf(form, name), column);
        QTest::keyClick(form->grdPermission(), key);
    }
    // What the catalogue holds for an object: "grantee:GRANT EXECUTE", sorted.
    QStringList protects(const QString& object) {
        QStringList found;
        auto rows = project->SQL().OpenRecordset(
            QStringLiteral(
                "SELECT u.name AS grantee, p.protecttype AS kind, p.action AS verb FROM sysprotects p "
                "INNER JOIN sysusers u ON u.uid = p.uid WHERE p.id = ") +
            project->SQL().GetObjectID(object, QStringLiteral("dbo")));
        for (; !rows->Eof(); rows->MoveNext()) {
            const int kind = rows->Text(QStringLiteral("kind")).toInt();
            const int verb = rows->Text(QStringLiteral("verb")).toInt();
            static const QHash<int, QString> words = {
                {193, QStringLiteral("SELECT")},    {195, QStringLiteral("INSERT")},
                {197, QStringLiteral("UPDATE")},    {196, QStringLiteral("DELETE")},
                {26, QStringLiteral("REFERENCES")}, {224, QStringLiteral("EXECUTE")}};
            const QString word = words.value(verb, QString::number(verb));
            found << rows->Text(QStringLiteral("grantee")) + QLatin1Char(':') +
                         (kind == 206 ? QStringLiteral("DENY ") : QStringLiteral("GRANT ")) + word;
        }
        found.sort();
        return found;
    }
    void command(Command which) { window.DoCommand(which); }
    bool enabled(const char* key) { return window.Menus().Entry(QString::fromLatin1(key))->isEnabled(); }

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    mdiMain window;
};

TEST_F(PermissionWindowTest, GrantDenyAndRevokeReachTheServer) {
    frmEditObjectPermissions* form = openProcedure();
    ASSERT_TRUE(form);
    EXPECT_EQ(form->Caption(), QStringLiteral("GetCustomerOrders (Stored Procedure) - Permissions"));
    EXPECT_EQ(form->FormType(), FormType::Permission);
    EXPECT_EQ(form->ObjectKey(),
              QStringLiteral("I") +
                  project->SQL().GetObjectID(QStringLiteral("GetCustomerOrders"), QStringLiteral("dbo")));
    QTableWidget* grid = form->grdPermission();
    ASSERT_EQ(grid->columnCount(), 2);
    EXPECT_EQ(grid->horizontalHeaderItem(0)->text(), QStringLiteral("Role/User Name"));
    EXPECT_EQ(grid->horizontalHeaderItem(1)->text(), QStringLiteral("Execute"));
    for (const char* name : {"public", "Reporting", "O'Neil]s", "clerk", "dbo"})
        EXPECT_GE(rowOf(form, QString::fromUtf8(name)), 0) << name;
    EXPECT_EQ(shown(form, QStringLiteral("dbo")), P::LeaveOut);
    EXPECT_FALSE(enabled("mnuSaveFile"));
    EXPECT_TRUE(window.Menus()
                    .Entry(QStringLiteral("mnuSaveFile"))
                    ->text()
                    .startsWith(QStringLiteral("&Save Permissions")));

    // A click, the space bar and Enter move cells on; the name column and the owner's cells stay.
    click(form, QStringLiteral("Reporting"));
    press(form, QStringLiteral("clerk"), Qt::Key_Space);
    press(form, QStringLiteral("clerk"), Qt::Key_Return);
    click(form, QStringLiteral("clerk"), 0);
    click(form, QStringLiteral("dbo"));
    click(form, QStringLiteral("O'Neil]s"));
    EXPECT_EQ(shown(form, QStringLiteral("Reporting")), P::Grant);
    EXPECT_EQ(shown(form, QStringLiteral("clerk")), P::Deny);
    EXPECT_EQ(shown(form, QStringLiteral("dbo")), P::LeaveOut);
    EXPECT_EQ(form->Grid().Differences().size(), 3);
    form->parentWidget()->resize(420, 260);
    Screenshot(&window, QStringLiteral("permission-editor-procedure"));
    EXPECT_TRUE(enabled("mnuSaveFile"));
    EXPECT_EQ(protects(QStringLiteral("GetCustomerOrders")), QStringList()) << "nothing before the save";

    command(Command::SaveText);
    EXPECT_EQ(prompts->Messages(), QStringList{QStringLiteral("Permissions successfully saved!")});
    EXPECT_EQ(protects(QStringLiteral("GetCustomerOrders")),
              (QStringList{QStringLiteral("O'Neil]s:GRANT EXECUTE"),
                           QStringLiteral("Reporting:GRANT EXECUTE"), QStringLiteral("clerk:DENY EXECUTE")}));
    EXPECT_FALSE(enabled("mnuSaveFile")) << "read again from the server";
    EXPECT_EQ(shown(form, QStringLiteral("clerk")), P::Deny);

    // Two more clicks take the grant through deny to revoked.
    click(form, QStringLiteral("Reporting"));
    click(form, QStringLiteral("Reporting"));
    click(form, QStringLiteral("O'Neil]s"));
    command(Command::SaveText);
    EXPECT_EQ(protects(QStringLiteral("GetCustomerOrders")),
              (QStringList{QStringLiteral("O'Neil]s:DENY EXECUTE"), QStringLiteral("clerk:DENY EXECUTE")}));

    // The tree's command on the same object brings the open window forward instead of a second one.
    EXPECT_EQ(openProcedure(), form);
    EXPECT_EQ(window.MdiArea()->subWindowList().size(), 1);

    // Copy takes the name of the selected grantee, and is offered on the name column only.
    form->grdPermission()->setCurrentCell(rowOf(form, QStringLiteral("clerk")), 1);
    EXPECT_FALSE(form->CanCopy());
    form->grdPermission()->setCurrentCell(rowOf(form, QStringLiteral("clerk")), 0);
    ASSERT_TRUE(form->CanCopy());
    command(Command::Copy);
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("clerk"));
}

TEST_F(PermissionWindowTest, UndoAndRedoThroughTheMainWindowAndAcrossASave) {
    frmEditObjectPermissions* form = openProcedure();
    ASSERT_TRUE(form);
    EXPECT_FALSE(enabled("mnuUndo"));
    click(form, QStringLiteral("public"));
    click(form, QStringLiteral("public"));
    ASSERT_TRUE(enabled("mnuUndo"));
    command(Command::Undo);
    command(Command::Undo);
    EXPECT_EQ(shown(form, QStringLiteral("public")), P::None);
    EXPECT_FALSE(enabled("mnuUndo"));
    EXPECT_TRUE(enabled("mnuSaveFile")) << "all undone, still changed";
    ASSERT_TRUE(enabled("mnuRedo"));
    command(Command::Redo);
    command(Command::Redo);
    EXPECT_EQ(shown(form, QStringLiteral("public")), P::Deny);

    // A save empties the history: the table shows what the server now holds.
    command(Command::SaveText);
    EXPECT_EQ(protects(QStringLiteral("GetCustomerOrders")),
              QStringList{QStringLiteral("public:DENY EXECUTE")});
    EXPECT_FALSE(form->CanUndo());
    EXPECT_FALSE(form->CanRedo());
    click(form, QStringLiteral("public"));
    click(form, QStringLiteral("clerk"));
    command(Command::Undo);
    EXPECT_EQ(shown(form, QStringLiteral("clerk")), P::None);
    click(form, QStringLiteral("Reporting")); // drops the undone click on clerk
    EXPECT_FALSE(form->CanRedo());
    command(Command::SaveText);
    EXPECT_EQ(protects(QStringLiteral("GetCustomerOrders")),
              QStringList{QStringLiteral("Reporting:GRANT EXECUTE")});

    // Get Latest drops what wasn't saved.
    click(form, QStringLiteral("clerk"));
    form->GetLatestVersion();
    EXPECT_EQ(shown(form, QStringLiteral("clerk")), P::None);
    EXPECT_FALSE(form->CanSaveFile());
}

TEST_F(PermissionWindowTest, ClosingAChangedTableFollowsTheSetting) {
    struct Case {
        int setting;
        std::optional<Prompt::Answer> answer;
        bool closes;
        bool saved;
    };
    const QList<Case> cases = {{0, Prompt::Answer::Cancel, false, false},
                               {0, Prompt::Answer::No, true, false},
                               {0, Prompt::Answer::Yes, true, true},
                               {1, std::nullopt, true, false},
                               {2, std::nullopt, true, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.setting);
        project->SQL().ExecuteSQL(QStringLiteral("REVOKE EXECUTE ON dbo.GetCustomerOrders TO clerk"));
        database.SetShowSaveChangesPermission(c.setting);
        prompts->Clear();
        QPointer<frmEditObjectPermissions> form = openProcedure();
        ASSERT_TRUE(form);
        EXPECT_TRUE(form->CloseItem(false)) << "unchanged, it goes without a word";
        QCoreApplication::processEvents();
        form = openProcedure();
        ASSERT_TRUE(form);
        click(form, QStringLiteral("clerk"));
        if (c.answer)
            prompts->QueueAnswer(*c.answer);
        EXPECT_EQ(form->CloseItem(false), c.closes);
        QCoreApplication::processEvents();
        EXPECT_EQ(prompts->Records().size(), c.answer ? 1 : 0);
        if (c.answer) {
            EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Save Changes to Permissions?"));
        }
        EXPECT_EQ(protects(QStringLiteral("GetCustomerOrders")),
                  c.saved ? QStringList{QStringLiteral("clerk:GRANT EXECUTE")} : QStringList());
        EXPECT_EQ(window.MdiArea()->subWindowList().isEmpty(), c.closes);
        if (!c.closes) {
            EXPECT_TRUE(form->CanSaveFile()) << "the changes stay";
            form->CloseItem(true);
            QCoreApplication::processEvents();
        }
    }
}

TEST_F(PermissionWindowTest, ARefusedStatementIsToldAndTheChangesStay) {
    database.SetShowSaveChangesPermission(2);
    frmEditObjectPermissions* form = openProcedure();
    ASSERT_TRUE(form);
    click(form, QStringLiteral("O'Neil]s"));
    project->SQL().ExecuteSQL(QStringLiteral("DROP ROLE [O'Neil]]s]"));
    command(Command::SaveText);
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().icon, Prompt::Icon::Critical);
    EXPECT_TRUE(form->CanSaveFile());
    EXPECT_FALSE(form->CloseItem(false)) << "the save on closing fails the same way";
    EXPECT_EQ(window.MdiArea()->subWindowList().size(), 1);
}

TEST_F(PermissionWindowTest, ATableShowsFiveStatementsAndTheRolesFilterLeavesUsersAlone) {
    project->SQL().ExecuteSQL(QStringLiteral("GRANT SELECT ON dbo.Orders TO clerk"));
    database.SetShowPermissionsInEditor(1);
    frmEditObjectPermissions* form = openFromTree(QStringLiteral("Tables"), QStringLiteral("Orders"));
    ASSERT_TRUE(form);
    EXPECT_EQ(form->Caption(), QStringLiteral("Orders (Table) - Permissions"));
    QStringList headings;
    for (int column = 0; column < form->grdPermission()->columnCount(); ++column)
        headings << form->grdPermission()->horizontalHeaderItem(column)->text();
    EXPECT_EQ(headings.join(QLatin1Char(',')),
              QStringLiteral("Role/User Name,Select,Insert,Update,Delete,DRI"));
    EXPECT_EQ(rowOf(form, QStringLiteral("clerk")), -1);
    EXPECT_EQ(shown(form, QStringLiteral("public"), 4), P::Deny) << "the demo denies DELETE to public";

    click(form, QStringLiteral("public"), 4); // Deny -> revoked
    click(form, QStringLiteral("Reporting"), 2);
    click(form, QStringLiteral("O'Neil]s"), 5);
    click(form, QStringLiteral("O'Neil]s"), 5);
    form->parentWidget()->resize(620, 220);
    Screenshot(&window, QStringLiteral("permission-editor-table"));
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2b));
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    dark.setColor(QPalette::AlternateBase, QColor(0x2b, 0x2b, 0x2b));
    dark.setColor(QPalette::Text, Qt::white);
    dark.setColor(QPalette::Button, QColor(0x35, 0x35, 0x35));
    dark.setColor(QPalette::ButtonText, Qt::white);
    dark.setColor(QPalette::Highlight, QColor(0x2a, 0x82, 0xda));
    const QPalette light = QApplication::palette();
    QApplication::setPalette(dark);
    QCoreApplication::processEvents();
    Screenshot(&window, QStringLiteral("permission-editor-table-dark"));
    QApplication::setPalette(light);
    QCoreApplication::processEvents();

    command(Command::SaveText);
    EXPECT_EQ(protects(QStringLiteral("Orders")),
              (QStringList{QStringLiteral("O'Neil]s:DENY REFERENCES"),
                           QStringLiteral("Reporting:GRANT INSERT"), QStringLiteral("clerk:GRANT SELECT")}))
        << "the user's grant stays: the table listed roles only";
}

TEST_F(PermissionWindowTest, ThePanelAndAFirstCheckInOpenTheEditorToo) {
    DatabaseTree& tree = *window.tvwDBT();
    QTreeWidgetItem* views = nullptr;
    for (int i = 0; i < tree.topLevelItemCount(); ++i)
        if (tree.topLevelItem(i)->text(0) == QLatin1String("Views"))
            views = tree.topLevelItem(i);
    ASSERT_TRUE(views);
    views->setExpanded(true);
    ASSERT_GT(views->childCount(), 0);
    tree.setCurrentItem(views->child(0));
    window.UpdateContextPanel();
    window.ebcExtraInfo()->ClickEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupEditPermission"));
    auto* fromPanel = qobject_cast<frmEditObjectPermissions*>(window.ActiveForm());
    ASSERT_TRUE(fromPanel);
    EXPECT_TRUE(fromPanel->Caption().endsWith(QStringLiteral("(View) - Permissions")));
    EXPECT_EQ(fromPanel->grdPermission()->columnCount(), 6) << "a view knows the five statements of a table";

    database.SetShowPermissionsOnNewObjectCreate(true);
    QAction* entry = nullptr;
    for (QAction* action : window.Menus().Menu(QStringLiteral("mnuNew"))->actions())
        if (action->text() == QLatin1String("New &Stored Procedure"))
            entry = action;
    ASSERT_TRUE(entry);
    entry->trigger();
    auto* edit = qobject_cast<frmEditObjectText*>(window.ActiveForm());
    ASSERT_TRUE(edit);
    edit->txtSQL()->SetText(QStringLiteral("CREATE PROCEDURE dbo.BackOrders AS SELECT 1"));
    ASSERT_TRUE(edit->RunCheckIn());
    auto* afterCheckIn = qobject_cast<frmEditObjectPermissions*>(window.ActiveForm());
    ASSERT_TRUE(afterCheckIn);
    EXPECT_EQ(afterCheckIn->Caption(), QStringLiteral("BackOrders (Stored Procedure) - Permissions"));
    EXPECT_EQ(afterCheckIn->ObjectKey(), edit->ObjectKey());
    click(afterCheckIn, QStringLiteral("public"));
    command(Command::SaveText);
    EXPECT_EQ(protects(QStringLiteral("BackOrders")), QStringList{QStringLiteral("public:GRANT EXECUTE")});
}
