#include "ItemToolsFixture.h"

#include "ItemTools.h"
#include "ModalAnswer.h"
#include "frmUndelete.h"
#include "mdiMain.h"

#include <QPushButton>
#include <QTreeWidget>

namespace {

QTreeWidgetItem* rowNamed(QTreeWidget* list, const QString& name) {
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        if (list->topLevelItem(i)->text(0) == name)
            return list->topLevelItem(i);
    return nullptr;
}

} // namespace

// Two procedures of the demo deleted through the core, as the tree's Delete leaves them.
class UndeleteDialogTest : public ItemToolsTest {
protected:
    void SetUp() override {
        ItemToolsTest::SetUp();
        procedure(QStringLiteral("AddOrder"));
        addOrderID = idOf(QStringLiteral("AddOrder"));
        ordersID = idOf(QStringLiteral("GetCustomerOrders"));
        ASSERT_TRUE(
            objects().DeleteItem(QStringLiteral("StoredProcedure"), QStringLiteral("I") + addOrderID));
        ASSERT_TRUE(objects().DeleteItem(QStringLiteral("StoredProcedure"), QStringLiteral("I") + ordersID));
        ASSERT_EQ(idOf(QStringLiteral("AddOrder")), QString());
        prompts->Records();
    }
    void check(const QString& name) {
        QTreeWidgetItem* row = rowNamed(form.lvwDeletedItems(), name);
        ASSERT_NE(row, nullptr) << name.toStdString();
        row->setCheckState(0, Qt::Checked);
    }

    QString addOrderID, ordersID;
    frmUndelete form;
};

// The deleted objects are listed by name and type, unchecked; with nothing ticked or highlighted the
// button says so and changes nothing; a highlighted row that isn't ticked is what the user means.
TEST_F(UndeleteDialogTest, ListsDeletedObjectsAndIgnoresAnEmptyChoice) {
    const qsizetype before = prompts->Records().size();
    form.Load(objects());
    form.show();
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Select Items to be Undeleted"));
    QTreeWidgetItem* row = rowNamed(form.lvwDeletedItems(), QStringLiteral("AddOrder"));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->text(1), objects().GetObjectSubDisplayName(QStringLiteral("StoredProcedure")));
    EXPECT_FALSE(row->text(1).isEmpty());
    EXPECT_EQ(row->checkState(0), Qt::Unchecked);
    EXPECT_NE(rowNamed(form.lvwDeletedItems(), QStringLiteral("GetCustomerOrders")), nullptr);
    Screenshot(&form, QStringLiteral("itemtools-undelete"));

    form.lvwDeletedItems()->clearSelection();
    form.cmdUndelete()->click();
    ASSERT_EQ(prompts->Records().size(), before + 1);
    EXPECT_EQ(prompts->Records().last().title, QStringLiteral("Nothing to Undelete"));
    EXPECT_FALSE(form.Result());
    EXPECT_NE(rowNamed(form.lvwDeletedItems(), QStringLiteral("AddOrder")), nullptr);

    form.lvwDeletedItems()->setCurrentItem(row);
    form.cmdUndelete()->click();
    EXPECT_TRUE(form.Result());
    EXPECT_EQ(rowNamed(form.lvwDeletedItems(), QStringLiteral("AddOrder")), nullptr);
    EXPECT_NE(rowNamed(form.lvwDeletedItems(), QStringLiteral("GetCustomerOrders")), nullptr)
        << "only the highlighted row";
}

// One object comes back under a new id with its item renamed to match, and leaves the list.
TEST_F(UndeleteDialogTest, UndeletesTheCheckedObject) {
    form.Load(objects());
    check(QStringLiteral("AddOrder"));
    form.cmdUndelete()->click();
    EXPECT_TRUE(form.Result());
    EXPECT_EQ(messages().last(), QStringLiteral("Undeletion Successful: All selected objects have been "
                                                "successfully undeleted."));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Information);
    const QString newID = idOf(QStringLiteral("AddOrder"));
    ASSERT_NE(newID, QString());
    EXPECT_NE(newID, addOrderID);
    EXPECT_TRUE(project->VSS().ItemExists(newID + QStringLiteral(".sp")));
    EXPECT_EQ(rowNamed(form.lvwDeletedItems(), QStringLiteral("AddOrder")), nullptr);
    EXPECT_NE(rowNamed(form.lvwDeletedItems(), QStringLiteral("GetCustomerOrders")), nullptr);
}

// An object whose name is taken on the server again can't come back: the object tells why, the
// summary counts both outcomes, and the failed one is listed again, unchecked.
TEST_F(UndeleteDialogTest, PartlySuccessfulCountsAndRelistsTheFailure) {
    project->SQL().ExecuteSQL(QStringLiteral("CREATE PROCEDURE dbo.GetCustomerOrders AS SELECT 1 AS n"));
    form.Load(objects());
    check(QStringLiteral("AddOrder"));
    check(QStringLiteral("GetCustomerOrders"));
    form.cmdUndelete()->click();
    EXPECT_TRUE(form.Result());
    const QStringList shown = messages();
    ASSERT_GE(shown.size(), 2);
    EXPECT_TRUE(shown[shown.size() - 2].startsWith(QStringLiteral("Could not Undelete Item: ")))
        << shown.join("\n").toStdString();
    EXPECT_EQ(shown.last(), QStringLiteral("Undeletion Partly Successful: Not all selected objects could be "
                                           "successfully undeleted! Of the 2 selected objects, 1 was "
                                           "successfully undeleted and 1 was could not be undeleted!"));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Exclamation);
    QTreeWidgetItem* failed = rowNamed(form.lvwDeletedItems(), QStringLiteral("GetCustomerOrders"));
    ASSERT_NE(failed, nullptr);
    EXPECT_EQ(failed->checkState(0), Qt::Unchecked);
    EXPECT_EQ(rowNamed(form.lvwDeletedItems(), QStringLiteral("AddOrder")), nullptr);

    // Nothing left that can come back: the summary is the unsuccessful one.
    check(QStringLiteral("GetCustomerOrders"));
    form.cmdUndelete()->click();
    EXPECT_EQ(messages().last(),
              QStringLiteral("Undeletion Unsuccessful: Non of the selected objects could be "
                             "successfully undeleted!"));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Critical);
}

// The main window's Undelete opens the installed dialog over the core's object half and learns
// whether the tree must be read again.
TEST_F(UndeleteDialogTest, InstalledDialogAnswersTheMainWindow) {
    mdiMain window;
    window.SetDispatch(dispatch.get());
    ItemTools::Install(window);
    ASSERT_TRUE(window.Factories().Undelete);
    ModalAnswer answer([](QDialog* dialog) {
        auto* shown = qobject_cast<frmUndelete*>(dialog);
        ASSERT_NE(shown, nullptr);
        QTreeWidgetItem* row = rowNamed(shown->lvwDeletedItems(), QStringLiteral("AddOrder"));
        ASSERT_NE(row, nullptr);
        row->setCheckState(0, Qt::Checked);
        shown->cmdUndelete()->click();
        shown->cmdClose()->click();
    });
    EXPECT_TRUE(window.Factories().Undelete(database, &window));
    EXPECT_TRUE(answer.Answered());
    EXPECT_NE(idOf(QStringLiteral("AddOrder")), QString());
}
