#include "ChildWindowArea.h"
#include "Commands.h"
#include "CoreDispatch.h"
#include "DatabaseTree.h"
#include "DemoSeed.h"
#include "DemoWindowFixture.h"
#include "ModalAnswer.h"
#include "SQLTextEditor.h"
#include "ScreenMetrics.h"
#include "ScriptedPrompts.h"
#include "SqlEditControl.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"
#include "frmEditObjectText.h"
#include "frmEditObjectTextSavePrompt.h"
#include "frmSQLQuery.h"
#include "mdiMain.h"

#include <QAction>
#include <QMdiSubWindow>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

// The object window and the query window side by side in one main window over the demo project:
// what they share they must do alike.
class ChildWindowsTest : public DemoWindowFixture {
protected:
    void Configure() override { database.SetChildWindowState(WindowState::Normal); }

    frmEditObjectText* openProcedure(const QString& name) {
        DatabaseTree& tree = *window.tvwDBT();
        for (int i = 0; i < tree.topLevelItemCount(); ++i) {
            QTreeWidgetItem* list = tree.topLevelItem(i);
            if (list->text(0) != QLatin1String("Stored Procedures"))
                continue;
            list->setExpanded(true);
            for (int j = 0; j < list->childCount(); ++j)
                if (list->child(j)->text(0) == name) {
                    tree.setCurrentItem(list->child(j));
                    window.DoCommand(Command::Edit);
                    return qobject_cast<frmEditObjectText*>(window.ActiveForm());
                }
        }
        return nullptr;
    }
    frmSQLQuery* openQuery() {
        window.DoCommand(Command::NewQueryWindow);
        return qobject_cast<frmSQLQuery*>(window.ActiveForm());
    }
    static QMdiSubWindow* sub(QWidget* form) { return qobject_cast<QMdiSubWindow*>(form->parentWidget()); }
    bool enabled(const char* key) { return window.Menus().Entry(QString::fromLatin1(key))->isEnabled(); }
    static void typeLine(SQLTextEditor* editor, const QString& text) {
        QTest::keyClicks(editor->ctrlHWnd(), text);
        QTest::keyClick(editor->ctrlHWnd(), Qt::Key_Return);
    }
};

TEST_F(ChildWindowsTest, BothKindsOpenAtTheSizeAndStateTheOtherKindLeft) {
    const double twipsX = ScreenMetrics::Current().twipsPerPixelX;
    const double twipsY = ScreenMetrics::Current().twipsPerPixelY;

    frmSQLQuery* query = openQuery();
    ASSERT_NE(query, nullptr);
    sub(query)->resize(640, 400);
    EXPECT_EQ(database.ChildWindowWidth(), static_cast<long>(640 * twipsX));
    EXPECT_EQ(database.ChildWindowHeight(), static_cast<long>(400 * twipsY));
    frmEditObjectText* edit = openProcedure(QStringLiteral("AddOrder"));
    ASSERT_NE(edit, nullptr);
    EXPECT_EQ(sub(edit)->size(), QSize(640, 400)) << "the object window takes what the query window left";

    sub(edit)->resize(520, 380);
    frmSQLQuery* second = openQuery();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(sub(second)->size(), QSize(520, 380)) << "and the other way round";

    // Minimizing keeps what was remembered; maximizing is remembered as a state, not a size.
    sub(second)->showMinimized();
    EXPECT_EQ(database.ChildWindowState(), WindowState::Normal);
    EXPECT_EQ(database.ChildWindowWidth(), static_cast<long>(520 * twipsX));
    sub(second)->showMaximized();
    EXPECT_EQ(database.ChildWindowState(), WindowState::Maximized);
    EXPECT_EQ(database.ChildWindowWidth(), static_cast<long>(520 * twipsX));

    // Back to normal, the size from before comes back with the next window.
    sub(second)->showNormal();
    EXPECT_EQ(database.ChildWindowState(), WindowState::Normal);
    closeAll();
    query = openQuery();
    ASSERT_NE(query, nullptr);
    EXPECT_FALSE(sub(query)->isMaximized());
    EXPECT_EQ(sub(query)->size(), QSize(520, 380));
}

TEST_F(ChildWindowsTest, UnsavedTextIsAskedAboutOnceAndARefusalKeepsTheWindow) {
    // The query window asks through a message box.
    frmSQLQuery* query = openQuery();
    ASSERT_NE(query, nullptr);
    typeLine(query->txtSQL(), QStringLiteral("SELECT 1"));
    QPointer<frmSQLQuery> queryGuard(query);
    prompts->QueueAnswer(Prompt::Answer::Cancel);
    sub(query)->close(); // the window's own close button
    QCoreApplication::processEvents();
    ASSERT_FALSE(queryGuard.isNull());
    EXPECT_TRUE(sub(query)->isVisible()) << "a refusal keeps the window and its text";
    EXPECT_EQ(query->txtSQL()->Text().trimmed(), QStringLiteral("SELECT 1"));
    EXPECT_EQ(prompts->Records().size(), 1);
    prompts->QueueAnswer(Prompt::Answer::No);
    EXPECT_TRUE(query->CloseItem(false));
    QCoreApplication::processEvents();
    EXPECT_EQ(prompts->Records().size(), 2) << "deciding in CloseItem doesn't ask again as the window goes";
    EXPECT_TRUE(queryGuard.isNull() || !queryGuard->isVisible());

    // The object window asks through its own dialog.
    database.SetShowSaveChangesEdit(true);
    frmEditObjectText* edit = openProcedure(QStringLiteral("AddOrder"));
    ASSERT_NE(edit, nullptr);
    QTest::keyClick(edit->txtSQL()->ctrlHWnd(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(edit->CanCheckIn()) << "checked out";
    typeLine(edit->txtSQL(), QStringLiteral("-- unsaved"));
    QPointer<frmEditObjectText> editGuard(edit);
    {
        ModalAnswer cancel([](QDialog* dialog) {
            auto* prompt = qobject_cast<frmEditObjectTextSavePrompt*>(dialog);
            ASSERT_NE(prompt, nullptr);
            prompt->cmdCancel()->click();
        });
        sub(edit)->close();
        QCoreApplication::processEvents();
        EXPECT_TRUE(cancel.Answered());
    }
    ASSERT_FALSE(editGuard.isNull());
    EXPECT_TRUE(sub(edit)->isVisible());
    EXPECT_TRUE(edit->txtSQL()->Text().contains(QLatin1String("-- unsaved")));

    int asked = 0;
    ModalAnswer discard([&](QDialog* dialog) {
        ++asked;
        auto* prompt = qobject_cast<frmEditObjectTextSavePrompt*>(dialog);
        ASSERT_NE(prompt, nullptr);
        for (QRadioButton* option : prompt->opt())
            option->setChecked(option->property("tag").toLongLong() == 4);
        prompt->cmdOK()->click();
    });
    // A second question would be answered by this one, and counted.
    ModalAnswer again([&](QDialog*) { ++asked; });
    EXPECT_TRUE(edit->CloseItem(false));
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(editGuard.isNull() || !editGuard->isVisible());
}

TEST_F(ChildWindowsTest, TheMenusFollowEditsCheckOutsAndTheActiveWindowWithoutATimer) {
    frmEditObjectText* edit = openProcedure(QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(edit, nullptr);
    EXPECT_TRUE(enabled("mnuCheckOut"));
    EXPECT_FALSE(enabled("mnuCheckIn"));
    EXPECT_FALSE(enabled("EDITBAR:UNDO"));
    EXPECT_FALSE(enabled("mnuPaste")) << "the text is read-only";

    QTest::keyClick(edit->txtSQL()->ctrlHWnd(), Qt::Key_O, Qt::ControlModifier);
    EXPECT_FALSE(enabled("mnuCheckOut"));
    EXPECT_TRUE(enabled("mnuCheckIn")) << "the check-out freed the entries at once";
    EXPECT_TRUE(enabled("mnuUndoCheckOut"));
    EXPECT_FALSE(enabled("EDITBAR:UNDO"));

    edit->txtSQL()->ctrlHWnd()->setCursorPosition(1, 0);
    typeLine(edit->txtSQL(), QStringLiteral("-- edited"));
    EXPECT_TRUE(enabled("EDITBAR:UNDO")) << "an edit frees Undo";
    edit->Undo();
    edit->Undo();
    EXPECT_TRUE(enabled("EDITBAR:REDO"));
    EXPECT_FALSE(enabled("mnuCopy"));
    edit->txtSQL()->ctrlHWnd()->selectAll();
    EXPECT_TRUE(enabled("mnuCopy")) << "a selection frees Copy";

    // The query window brings its own answers with it, and the object window's come back with it.
    frmSQLQuery* query = openQuery();
    ASSERT_NE(query, nullptr);
    EXPECT_FALSE(enabled("mnuCheckIn"));
    EXPECT_FALSE(enabled("mnuCopy"));
    EXPECT_TRUE(
        window.Menus().Entry(QStringLiteral("mnuOpenFile"))->text().startsWith(QLatin1String("&Open")));
    typeLine(query->txtSQL(), QStringLiteral("SELECT 1"));
    EXPECT_TRUE(enabled("EDITBAR:UNDO"));
    window.MdiArea()->setActiveSubWindow(sub(edit));
    EXPECT_TRUE(enabled("mnuCheckIn"));
    EXPECT_TRUE(
        window.Menus().Entry(QStringLiteral("mnuOpenFile"))->text().startsWith(QLatin1String("&Load Text")));

    // Checking in from the menu locks the text again; the entries follow.
    window.Menus().Entry(QStringLiteral("mnuCheckIn"))->trigger();
    EXPECT_FALSE(enabled("mnuCheckIn"));
    EXPECT_TRUE(enabled("mnuCheckOut"));
    EXPECT_FALSE(enabled("mnuCut")) << "the text is read-only again";
}
