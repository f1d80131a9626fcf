#include "ChildWindowArea.h"
#include "CoreDispatch.h"
#include "DemoProject.h"
#include "GeneralHelpers.h"
#include "MainWindowStart.h"
#include "SQLTextEditor.h"
#include "SqlEditControl.h"
#include "StatusPanels.h"
#include "frmSQLQuery.h"
#include "multiGrid.h"

#include <QAction>
#include <QFile>
#include <QMdiSubWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

// The window as the user drives it, in the main window, over the demo project's embedded server.
class QueryWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(project = OpenDemoProject(folder, database));
        window.AdoptDispatch(std::make_unique<CoreDispatch>(database));
        frmSQLQuery::Install(window);
        StartMainWindow(window, database, false);
    }
    void TearDown() override { CloseEditorChildren(window); }
    frmSQLQuery* openQuery() {
        window.DoCommand(Command::NewQueryWindow);
        return qobject_cast<frmSQLQuery*>(window.ActiveForm());
    }
    static QString cell(const QTableView* grid, int row, int column) {
        return grid->model()->index(row, column).data().toString();
    }
    static void click(frmSQLQuery* form, const char* key) {
        form->ToolbarButton(QString::fromLatin1(key))->trigger();
    }

    IsolatedUserFolders users;
    ScriptedPromptsScope prompts;
    TempFolder folder;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    mdiMain window;
};

TEST_F(QueryWindowTest, ExecuteShowsGridsAndParseOnlyChecks) {
    frmSQLQuery* form = openQuery();
    ASSERT_TRUE(form);
    EXPECT_EQ(form->Caption(), QStringLiteral("SQL Query Window"));
    EXPECT_EQ(form->FormType(), FormType::Query);
    EXPECT_EQ(form->StatusBar()->PanelText(QStringLiteral("Status")), QStringLiteral("Ready."));

    form->txtSQL()->SetText(
        QStringLiteral("PRINT 'hello'\nSELECT name FROM sysobjects WHERE 1 = 0\n"
                       "SELECT 1 AS a UNION ALL SELECT 2\nGO\nSELECT 'x' AS b, NULL AS c\n"));
    QTest::keyClick(form->txtSQL()->ctrlHWnd(), Qt::Key_X, Qt::AltModifier);
    multiGrid* grid = form->grdResults();
    ASSERT_EQ(grid->GridCount(), 2);
    EXPECT_FALSE(grid->MessagesShowing());
    EXPECT_TRUE(grid->cmdResults()->isVisible());
    EXPECT_EQ(grid->Grid(1)->model()->rowCount(), 2);
    EXPECT_EQ(cell(grid->Grid(2), 0, 2), QStringLiteral("(null)"));
    EXPECT_EQ(cell(grid->Grid(2), 0, 0), QStringLiteral("1"));
    window.resize(1000, 800);
    QApplication::processEvents();
    Screenshot(&window, QStringLiteral("query-results"));

    grid->cmdMessages()->click();
    EXPECT_TRUE(grid->MessagesShowing());
    EXPECT_TRUE(grid->MessagesText().startsWith(QStringLiteral("\r\nhello\r\n")));
    Screenshot(&window, QStringLiteral("query-messages"));

    // Parse only: nothing is run, so a table that the text would create doesn't appear.
    form->txtSQL()->SetText(QStringLiteral("CREATE TABLE qw_parsed (a int)"));
    click(form, "SQWBAR:PARSE");
    EXPECT_EQ(grid->MessagesText(), QStringLiteral("The command(s) completed successfully."));
    EXPECT_EQ(grid->GridCount(), 0);
    EXPECT_EQ(project->SQL().GetObjectID(QStringLiteral("qw_parsed")), QString());

    form->txtSQL()->SetText(QStringLiteral("SELECT FROM WHERE"));
    click(form, "SQWBAR:PARSE");
    EXPECT_TRUE(grid->MessagesText().contains(QStringLiteral("Incorrect syntax")))
        << grid->MessagesText().toStdString();
    EXPECT_FALSE(grid->MessagesText().contains(QStringLiteral("[")));
}

// The program hosts the embedded server: a batch nested past the server's limit must end in its
// error 191, shown in the messages, and not take the program and the user's texts down with it.
TEST_F(QueryWindowTest, ATooDeeplyNestedBatchIsAnErrorInTheMessages) {
    frmSQLQuery* form = openQuery();
    ASSERT_TRUE(form);
    form->txtSQL()->SetText(QStringLiteral("SELECT ") + QString(10000, u'(') + u'1' + QString(10000, u')') +
                            QStringLiteral("\nGO\nSELECT 2 AS after\n"));
    click(form, "SQWBAR:EXECUTE");
    multiGrid* grid = form->grdResults();
    EXPECT_EQ(grid->GridCount(), 1) << "the next batch still runs";
    EXPECT_TRUE(grid->MessagesShowing());
    EXPECT_TRUE(grid->MessagesText().contains(
        QStringLiteral("Some part of your SQL statement is nested too deeply.")))
        << grid->MessagesText().toStdString();
}

TEST_F(QueryWindowTest, ASelectionRunsAloneAndItsErrorLinesCountFromIt) {
    frmSQLQuery* form = openQuery();
    ASSERT_TRUE(form);
    form->txtSQL()->SetText(QStringLiteral("SELECT 1 AS skipped\nSELECT 2 AS first\nGO\nSELEC x\n"));
    // From the second line to the end: the error stands on the second line of the selection's batch 2.
    form->txtSQL()->ctrlHWnd()->setSelection(1, 0, 4, 0);
    click(form, "SQWBAR:EXECUTE");
    multiGrid* grid = form->grdResults();
    ASSERT_EQ(grid->GridCount(), 1);
    EXPECT_EQ(grid->Grid(1)->model()->headerData(1, Qt::Horizontal).toString(), QStringLiteral("first"));
    // An error puts the Messages pane in front even though a grid was made.
    EXPECT_TRUE(grid->MessagesShowing());
    EXPECT_TRUE(grid->MessagesText().contains(QStringLiteral("(Line 3 in editor)")))
        << grid->MessagesText().toStdString();
    Screenshot(&window, QStringLiteral("query-error"));

    // Blanks selected count as the selection: nothing runs and the last answer stays.
    form->txtSQL()->SetText(QStringLiteral("SELECT 5 AS five\n    \n"));
    form->txtSQL()->ctrlHWnd()->setSelection(1, 0, 1, 4);
    click(form, "SQWBAR:EXECUTE");
    EXPECT_TRUE(grid->MessagesText().contains(QStringLiteral("(Line 3 in editor)")));

    // A hidden panel comes back with the answer.
    click(form, "SQWBAR:PANEL");
    EXPECT_FALSE(grid->isVisible());
    form->txtSQL()->ctrlHWnd()->setSelection(0, 0, 0, 0);
    click(form, "SQWBAR:EXECUTE");
    EXPECT_TRUE(grid->isVisible());
    EXPECT_TRUE(form->ToolbarButton(QStringLiteral("SQWBAR:PANEL"))->isChecked());
    EXPECT_EQ(grid->GridCount(), 1);
}

// A result far larger than a screen fills the grid's model whole, and datetimes read as stored.
TEST_F(QueryWindowTest, ALargeResultFillsTheGridToItsLastRow) {
    frmSQLQuery* form = openQuery();
    ASSERT_TRUE(form);
    form->txtSQL()->SetText(QStringLiteral(
        "CREATE TABLE qw_digit (d int)\n"
        "INSERT INTO qw_digit VALUES (0) INSERT INTO qw_digit VALUES (1) INSERT INTO qw_digit VALUES (2)\n"
        "INSERT INTO qw_digit VALUES (3) INSERT INTO qw_digit VALUES (4) INSERT INTO qw_digit VALUES (5)\n"
        "INSERT INTO qw_digit VALUES (6) INSERT INTO qw_digit VALUES (7) INSERT INTO qw_digit VALUES (8)\n"
        "INSERT INTO qw_digit VALUES (9)\n"
        "SET NOCOUNT ON\n"
        "SELECT n, N'row ' + CAST(n AS nvarchar(10)) AS label,\n"
        "       DATEADD(second, n, '2024-02-29 23:59:50') AS stamp, n / 4.0 AS amount\n"
        "FROM (SELECT a.d + 10 * b.d + 100 * c.d + 1000 * e.d + 10000 * f.d AS n\n"
        "      FROM qw_digit a, qw_digit b, qw_digit c, qw_digit e, qw_digit f) AS numbers\n"
        "WHERE n < 20000 ORDER BY n\n"));
    click(form, "SQWBAR:EXECUTE");
    multiGrid* grid = form->grdResults();
    ASSERT_EQ(grid->GridCount(), 1) << grid->MessagesText().toStdString();
    const QTableView* view = grid->Grid(1);
    ASSERT_EQ(view->model()->rowCount(), 20000);
    EXPECT_EQ(view->model()->columnCount(), 5);
    const QStringList first{cell(view, 0, 0), cell(view, 0, 1), cell(view, 0, 2), cell(view, 0, 3),
                            cell(view, 0, 4)};
    EXPECT_EQ(first, (QStringList{"1", "0", "row 0", "2024-02-29 23:59:50.000", "0"}));
    const QStringList last{cell(view, 19999, 0), cell(view, 19999, 1), cell(view, 19999, 2),
                           cell(view, 19999, 3), cell(view, 19999, 4)};
    EXPECT_EQ(last, (QStringList{"20000", "19999", "row 19999", "2024-03-01 05:33:09.000", "4999.75"}));
    // The number column is the row header's, outside the selection.
    EXPECT_FALSE(view->model()->flags(view->model()->index(5, 0)) & Qt::ItemIsSelectable);
    EXPECT_TRUE(grid->MessagesText().contains(QStringLiteral("(20000 rows affected)")));
}

TEST_F(QueryWindowTest, ScratchFileSavingAndClosing) {
    const QString scratch = project->VSS().GetItemFileName(QStringLiteral("SQLQuery.sql"));
    frmSQLQuery* first = openQuery();
    ASSERT_TRUE(first);
    first->txtSQL()->SetText(QStringLiteral("SELECT 1"));
    first->txtSQL()->SaveFile();
    frmSQLQuery* second = openQuery();
    ASSERT_TRUE(second && second != first);
    EXPECT_EQ(ReadTextFile(scratch), QString());
    EXPECT_EQ(first->txtSQL()->Text(), QStringLiteral("SELECT 1"));

    // The second save goes to the same file without a dialog.
    const QString saved = folder.Path(QStringLiteral("mine.sql"));
    second->txtSQL()->SetText(QStringLiteral("SELECT 2"));
    prompts->QueueFile(saved);
    EXPECT_TRUE(second->SaveText(true));
    second->txtSQL()->SetText(QStringLiteral("SELECT 3"));
    EXPECT_TRUE(second->SaveText(false));
    EXPECT_EQ(ReadTextFile(saved), QStringLiteral("SELECT 3"));
    EXPECT_EQ(prompts->Messages(), QStringList{"SQL Query has been successfully Saved"});

    // Yes to saving and a cancelled save dialog keep the window open.
    first->txtSQL()->SetText(QStringLiteral("SELECT 4"));
    prompts->QueueAnswer(Prompt::Answer::Yes);
    // No file is queued: the save dialog is cancelled.
    EXPECT_FALSE(first->CloseItem());
    EXPECT_EQ(window.MdiArea()->subWindowList().size(), 2);
    prompts->QueueAnswer(Prompt::Answer::No);
    EXPECT_TRUE(first->CloseItem());
    EXPECT_EQ(window.MdiArea()->subWindowList().size(), 1);
}

// Grids stacked one above another each show their rows whole, whatever the font makes of a row's
// height: a grid of two rows never shows one and a half behind a scroll bar.
TEST_F(QueryWindowTest, StackedGridsShowTheirRowsWhole) {
    frmSQLQuery* form = openQuery();
    ASSERT_TRUE(form);
    form->txtSQL()->SetText(QStringLiteral("SELECT CustomerID, Name, City FROM dbo.Customers\n"
                                           "SELECT OrderID, Amount FROM dbo.Orders\n"
                                           "SELECT 1 AS one\n"));
    click(form, "SQWBAR:EXECUTE");
    multiGrid* grid = form->grdResults();
    ASSERT_EQ(grid->GridCount(), 3) << grid->MessagesText().toStdString();
    QApplication::processEvents();
    for (int number : {1, 2}) {
        const QTableView* view = grid->Grid(number);
        ASSERT_EQ(view->model()->rowCount(), 2);
        EXPECT_EQ(view->verticalScrollBar()->maximum(), 0) << "grid " << number;
        EXPECT_LE(view->rowViewportPosition(1) + view->rowHeight(1), view->viewport()->height())
            << "grid " << number;
    }
    Screenshot(&window, QStringLiteral("query-stacked-grids"));
}
