#include "ItemToolsFixture.h"

#include "TARMOObjectVSS.h"
#include "frmItemHistory.h"

#include <QGroupBox>
#include <QPlainTextEdit>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

namespace {

const QString kVersion2 = QStringLiteral("CREATE PROCEDURE dbo.AddOrder\r\n"
                                         "    @CustomerID int,\r\n"
                                         "    @Amount money\r\n"
                                         "AS\r\n"
                                         "INSERT INTO dbo.Orders (CustomerID, Amount) VALUES (@CustomerID, "
                                         "@Amount)\r\n"
                                         "SELECT 2 AS Version\r\n");

QStringList firstColumn(const QTreeWidget* list) {
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts << list->topLevelItem(i)->text(0);
    return texts;
}

} // namespace

// AddOrder with three versions and a label on the second: newest first, 3, the label, 2, 1.
class HistoryWindowTest : public ItemToolsTest {
protected:
    void SetUp() override {
        ItemToolsTest::SetUp();
        object = procedure(QStringLiteral("AddOrder"));
        ASSERT_TRUE(object);
        item = object->ItemName();
        original = project->VSS().ItemContent(item, false);
    }
    void threeVersionsWithLabel() {
        newVersion(item, kVersion2, QStringLiteral("second"));
        label(item, QStringLiteral("Release 1"), QStringLiteral("shipped"));
        newVersion(item, kVersion2 + QStringLiteral("-- three\r\n"), QString());
    }
    void select(int row) {
        QTreeWidgetItem* target = form.lvwHistory()->topLevelItem(row);
        const QRect rect = form.lvwHistory()->visualItemRect(target);
        QTest::mouseClick(form.lvwHistory()->viewport(), Qt::LeftButton, {}, rect.center());
        ASSERT_EQ(form.lvwHistory()->currentItem(), target);
    }
    int selectedRow() const {
        return form.lvwHistory()->indexOfTopLevelItem(form.lvwHistory()->currentItem());
    }
    QString commentHeading() const { return form.CommentGroup() ? form.CommentGroup()->title() : QString(); }
    QString commentText() const { return form.CommentText() ? form.CommentText()->toPlainText() : QString(); }

    std::shared_ptr<TARMOObjectVSS> object;
    QString item;
    QString original;
    frmItemHistory form;
};

// What the panel offers follows the selected row: no rollback to the current version or to a label,
// a label's comment under its own heading, no comment group for an entry without a comment.
TEST_F(HistoryWindowTest, PanelFollowsTheSelectedRow) {
    threeVersionsWithLabel();
    form.Load(*object);
    form.resize(900, 320);
    form.show();
    EXPECT_EQ(firstColumn(form.lvwHistory()), (QStringList{"3", "", "2", "1"}));
    EXPECT_FALSE(form.lvwHistory()->topLevelItem(1)->icon(0).isNull());
    EXPECT_EQ(form.lvwHistory()->topLevelItem(2)->text(4), QStringLiteral("second"));
    EXPECT_EQ(form.lvwHistory()->topLevelItem(3)->text(1), QStringLiteral("Admin"));
    EXPECT_EQ(form.Command(QStringLiteral("Label"))->text(), QStringLiteral("Hide labeled versions"));

    // The current version: nothing to go back to, and no comment to show.
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_EQ(form.Command(QStringLiteral("Rollback")), nullptr);
    EXPECT_EQ(form.CommentGroup(), nullptr);

    select(1);
    EXPECT_EQ(form.Command(QStringLiteral("Rollback")), nullptr);
    EXPECT_EQ(commentHeading(), QStringLiteral("Label Comment"));
    EXPECT_EQ(commentText(), QStringLiteral("shipped"));

    select(2);
    ASSERT_NE(form.Command(QStringLiteral("Rollback")), nullptr);
    EXPECT_EQ(form.Command(QStringLiteral("Rollback"))->toolTip(),
              QStringLiteral("Rollback to selected object"));
    EXPECT_EQ(commentHeading(), QStringLiteral("Comment"));
    EXPECT_EQ(commentText(), QStringLiteral("second"));
    Screenshot(&form, QStringLiteral("itemtools-history"));

    // Back to the top takes the rollback away again; the keyboard moves the selection as well.
    QTest::keyClick(form.lvwHistory(), Qt::Key_Home);
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_EQ(form.Command(QStringLiteral("Rollback")), nullptr);
    EXPECT_EQ(form.CommentGroup(), nullptr);
    EXPECT_TRUE(prompts->Records().isEmpty());
}

// Hiding and showing labels keeps the selected version; a selected label that goes out of the list
// hands the selection to the current version.
TEST_F(HistoryWindowTest, LabelsComeAndGoKeepingTheSelection) {
    threeVersionsWithLabel();
    form.Load(*object);
    form.show();
    select(2);
    form.Command(QStringLiteral("Label"))->click();
    EXPECT_EQ(firstColumn(form.lvwHistory()), (QStringList{"3", "2", "1"}));
    EXPECT_EQ(form.Command(QStringLiteral("Label"))->text(), QStringLiteral("Show labeled versions"));
    EXPECT_EQ(form.lvwHistory()->currentItem()->text(0), QStringLiteral("2"));
    EXPECT_NE(form.Command(QStringLiteral("Rollback")), nullptr);

    form.Command(QStringLiteral("Label"))->click();
    EXPECT_EQ(firstColumn(form.lvwHistory()), (QStringList{"3", "", "2", "1"}));
    EXPECT_EQ(selectedRow(), 2);

    select(1);
    form.RunCommand(QStringLiteral("LABEL"));
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_EQ(form.Command(QStringLiteral("Rollback")), nullptr);
}

// A label on the newest version stands first; the version below it is the current text, yet it is
// not the first row, so a rollback to it is offered (and the object then refuses it as identical).
TEST_F(HistoryWindowTest, LabelOnTopLeavesTheCurrentVersionSecond) {
    newVersion(item, kVersion2, QStringLiteral("second"));
    label(item, QStringLiteral("Release 2"), QString());
    form.Load(*object);
    EXPECT_EQ(firstColumn(form.lvwHistory()), (QStringList{"", "2", "1"}));
    EXPECT_EQ(form.Command(QStringLiteral("Rollback")), nullptr);
    EXPECT_EQ(form.CommentGroup(), nullptr);
    form.lvwHistory()->setCurrentItem(form.lvwHistory()->topLevelItem(1));
    ASSERT_NE(form.Command(QStringLiteral("Rollback")), nullptr);

    prompts->QueueAnswer(Prompt::Answer::Yes);
    form.RunCommand(QStringLiteral("Rollback"));
    EXPECT_FALSE(form.RolledBack());
    EXPECT_EQ(messages().last(), QStringLiteral("Rollback not Requred: The current version and the selected "
                                                "version are identical!"));
}

// The way back: asked first, a No changes nothing; a Yes puts the old text into both stores, adds a
// version, re-reads the list and tells the opener.
TEST_F(HistoryWindowTest, RollbackAsksThenPutsTheOldTextBack) {
    newVersion(item, kVersion2, QStringLiteral("second"));
    project->SQL().ExecuteSQL(QStringLiteral("ALTER") + kVersion2.mid(6));
    form.Load(*object);
    form.show();
    select(1);

    prompts->QueueAnswer(Prompt::Answer::No);
    form.Command(QStringLiteral("Rollback"))->click();
    EXPECT_EQ(messages(),
              (QStringList{"Are you sure?: Are you sure that you would like to Rollback to Version 1?"}));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Question);
    EXPECT_EQ(prompts->Records().last().buttons, Prompt::Buttons::YesNo);
    EXPECT_FALSE(form.RolledBack());
    EXPECT_EQ(form.lvwHistory()->topLevelItemCount(), 2);

    prompts->QueueAnswer(Prompt::Answer::Yes);
    form.Command(QStringLiteral("Rollback"))->click();
    EXPECT_TRUE(form.RolledBack());
    EXPECT_EQ(messages().last(), QStringLiteral("Rollback Successful: Rollback was successful!"));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Information);
    EXPECT_EQ(firstColumn(form.lvwHistory()), (QStringList{"3", "2", "1"}));
    EXPECT_EQ(form.lvwHistory()->topLevelItem(0)->text(4), QStringLiteral("Rollback to version: 1"));
    // The selected version stays selected after the list is read again.
    EXPECT_EQ(form.lvwHistory()->currentItem()->text(0), QStringLiteral("1"));
    EXPECT_EQ(project->VSS().ItemContent(item, false), original);
    EXPECT_FALSE(serverText(QStringLiteral("AddOrder")).contains(QStringLiteral("SELECT 2 AS Version")));
    EXPECT_TRUE(serverText(QStringLiteral("AddOrder")).contains(QStringLiteral("INSERT INTO dbo.Orders")));
}

// The current version can't be rolled back to, even when asked directly; closing ends the window
// without a rollback.
TEST_F(HistoryWindowTest, CurrentVersionIsRefusedAndCloseEnds) {
    newVersion(item, kVersion2, QStringLiteral("second"));
    form.Load(*object);
    form.show();
    form.RunCommand(QStringLiteral("rollback"));
    EXPECT_EQ(messages(), (QStringList{"Cannot Rollback: Cannot Rollback to the current version!"}));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Information);
    EXPECT_EQ(form.lvwHistory()->topLevelItemCount(), 2);

    form.Command(QStringLiteral("Close"))->click();
    EXPECT_FALSE(form.isVisible());
    EXPECT_FALSE(form.RolledBack());
}

// The window is filled before it is shown, as the object window opens it: the comment of the version
// selected then, and the whole date with its time, must be there once it is on the screen.
TEST_F(HistoryWindowTest, WhatIsFilledBeforeShowingIsSeenWhole) {
    newVersion(item, kVersion2, QStringLiteral("totals by city"));
    form.Load(*object);
    form.show();
    ASSERT_NE(form.CommentGroup(), nullptr);
    EXPECT_TRUE(form.CommentGroup()->isVisible());
    EXPECT_EQ(commentText(), QStringLiteral("totals by city"));

    select(1);
    ASSERT_NE(form.Command(QStringLiteral("Rollback")), nullptr);
    EXPECT_TRUE(form.Command(QStringLiteral("Rollback"))->isVisible());

    const QTreeWidget* list = form.lvwHistory();
    for (int row = 0; row < list->topLevelItemCount(); ++row) {
        const QString date = list->topLevelItem(row)->text(3);
        EXPECT_GT(list->columnWidth(3), list->fontMetrics().horizontalAdvance(date)) << qPrintable(date);
    }
    form.hide();
}
