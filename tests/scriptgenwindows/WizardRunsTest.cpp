// The runs of the wizard: each mode from its page to a written script, the options of the
// destination reaching the file, the custom list across Back, Cancel during a run, and the values
// that the next wizard finds again.
#include "ScriptWizardFixture.h"

#include "ScriptCreator.h"
#include "ScriptObjectChecklist.h"
#include "ScriptSteps.h"
#include "TARMOSQL.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

namespace {

const QString success = QStringLiteral("Operation Successful: Script was successfully generated!");

QStringList demoServerObjects() {
    return {QStringLiteral("dbo.AddOrder"),      QStringLiteral("dbo.CustomerSummary"),
            QStringLiteral("dbo.CustomerTotal"), QStringLiteral("dbo.GetCustomerOrders"),
            QStringLiteral("dbo.ListCities"),    QStringLiteral("dbo.Orders_Insert")};
}

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

} // namespace

TEST_F(ScriptWizardTest, CompleteScriptTakesTheDestinationsOptionsAndCanBeWrittenAgain) {
    chooseMode(3);
    ASSERT_EQ(form->CurrentPage(), frmScriptCreator::Page::Finish);
    EXPECT_TRUE(form->cmdBack->isEnabled());
    EXPECT_FALSE(form->cmdNext->isEnabled());
    EXPECT_TRUE(form->cmdFinished->isDefault());
    EXPECT_TRUE(form->chkDropObjectsFirst->isVisible());
    EXPECT_TRUE(form->chkDependencyOrder->isChecked());

    form->txtFileLocation->clear();
    QTest::mouseClick(form->cmdFinished, Qt::LeftButton);
    EXPECT_EQ(messages(), QStringList{QStringLiteral("Invalid Data: No Script file name specifed!")});
    EXPECT_EQ(form->focusWidget(), form->cmdCreateFile);

    // The file is chosen in the save dialog; a cancelled dialog keeps the name there was.
    prompts->QueueFile(scriptPath(QStringLiteral("chosen.sql")));
    QTest::mouseClick(form->cmdCreateFile, Qt::LeftButton);
    EXPECT_EQ(form->txtFileLocation->text(), scriptPath(QStringLiteral("chosen.sql")));
    QTest::mouseClick(form->cmdCreateFile, Qt::LeftButton);
    EXPECT_EQ(form->txtFileLocation->text(), scriptPath(QStringLiteral("chosen.sql")));
    ASSERT_EQ(prompts->Records().size(), 3);
    EXPECT_EQ(prompts->Records().at(1).kind, ScriptedPrompts::Kind::SaveFile);
    EXPECT_EQ(prompts->Records().at(1).title, QStringLiteral("Save Script As ..."));

    prompts->Clear();
    form->chkDropObjectsFirst->setChecked(true);
    form->chkCreatePermission->setChecked(true);
    const QString script = finish();
    EXPECT_EQ(messages(), QStringList{success});
    EXPECT_EQ(sectionsOf(script),
              (QStringList{QStringLiteral("Drop all objects if they exist"), QStringLiteral("Create objects"),
                           QStringLiteral("Set Permissions for Added objects")}));
    EXPECT_EQ(sorted(objectsIn(script, QStringLiteral("Create objects"))), demoServerObjects());
    EXPECT_EQ(sorted(objectsIn(script, QStringLiteral("Drop all objects if they exist"))),
              demoServerObjects());
    EXPECT_TRUE(script.contains(QStringLiteral("GRANT EXECUTE ON [dbo].[GetCustomerOrders] TO [Reporting]")))
        << qPrintable(script);

    // Written: the window stays on the destination and offers Close, until an option changes.
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Finish);
    EXPECT_FALSE(form->cmdFinished->isEnabled());
    EXPECT_EQ(form->cmdCancel->text(), QStringLiteral("Close"));
    form->chkCreatePermission->setChecked(false);
    EXPECT_TRUE(form->cmdFinished->isEnabled());
    EXPECT_EQ(form->cmdCancel->text(), QStringLiteral("Cancel"));

    // The file is there now: No keeps it as it is.
    prompts->Clear();
    prompts->QueueAnswer(Prompt::Answer::No);
    EXPECT_EQ(finish(), script);
    EXPECT_EQ(messages(),
              QStringList{QStringLiteral(
                  "Overwrite File?: The specified Script file name already exists. Would you like to "
                  "overwrite the file?")});
    EXPECT_EQ(form->focusWidget(), form->cmdCreateFile);

    prompts->Clear();
    prompts->QueueAnswer(Prompt::Answer::Yes);
    form->chkDropObjectsFirst->setChecked(false);
    const QString again = finish();
    EXPECT_EQ(sectionsOf(again), QStringList{QStringLiteral("Create objects")});
    EXPECT_EQ(messages().size(), 2);
    EXPECT_EQ(messages().value(1), success);

    back();
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Start);
}

// A procedure that reads a view must come after the view when the order is asked for; without it
// the kinds keep their order, procedures first.
TEST_F(ScriptWizardTest, DependencyOrderOptionReachesTheFile) {
    project->SQL().ExecuteSQL(QStringLiteral("CREATE PROCEDURE dbo.SummaryReport\r\nAS\r\n"
                                             "SELECT * FROM dbo.CustomerSummary\r\n"));
    openWizard();
    chooseMode(3);
    const QString ordered = finish(QStringLiteral("ordered.sql"));
    const QStringList withOrder = objectsIn(ordered, QStringLiteral("Create objects"));
    EXPECT_LT(withOrder.indexOf(QStringLiteral("dbo.CustomerSummary")),
              withOrder.indexOf(QStringLiteral("dbo.SummaryReport")));

    form->chkDependencyOrder->setChecked(false);
    const QString plain = finish(QStringLiteral("plain.sql"));
    const QStringList withoutOrder = objectsIn(plain, QStringLiteral("Create objects"));
    EXPECT_GT(withoutOrder.indexOf(QStringLiteral("dbo.CustomerSummary")),
              withoutOrder.indexOf(QStringLiteral("dbo.SummaryReport")));
}

TEST_F(ScriptWizardTest, CustomListKeepsItsTicksAcrossBackAndScriptsOnlyThose) {
    chooseMode(4);
    ASSERT_EQ(form->CurrentPage(), frmScriptCreator::Page::Custom);
    ScriptObjectChecklist* list = form->lvwItems;
    ASSERT_EQ(list->topLevelItemCount(), demoServerObjects().size());
    EXPECT_FALSE(form->cmdFinished->isEnabled());

    next();
    EXPECT_EQ(messages(), QStringList{QStringLiteral("Invalid Data: No Objects have been selected!")});
    EXPECT_EQ(form->focusWidget(), list);

    // The pop-up menu on all rows and on the selected ones.
    list->mnuCheckAll()->trigger();
    EXPECT_EQ(list->CheckedCount(), list->topLevelItemCount());
    list->clearSelection();
    list->topLevelItem(0)->setSelected(true);
    list->mnuUncheckSelection()->trigger();
    EXPECT_EQ(list->CheckedCount(), list->topLevelItemCount() - 1);
    list->mnuUncheckAll()->trigger();
    EXPECT_EQ(list->CheckedCount(), 0);

    QStringList picked;
    for (int row = 0; row < list->topLevelItemCount(); ++row) {
        QTreeWidgetItem* item = list->topLevelItem(row);
        if (item->text(0).endsWith(QStringLiteral("AddOrder")) ||
            item->text(0).endsWith(QStringLiteral("CustomerSummary"))) {
            item->setCheckState(0, Qt::Checked);
            picked << item->text(0);
        }
    }
    ASSERT_EQ(picked.size(), 2);
    next();
    ASSERT_EQ(form->CurrentPage(), frmScriptCreator::Page::Finish);
    back();
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Custom);
    back();
    next();
    ASSERT_EQ(form->CurrentPage(), frmScriptCreator::Page::Custom);
    EXPECT_EQ(list->CheckedCount(), 2);
    next();

    const QString script = finish();
    EXPECT_EQ(sectionsOf(script), QStringList{QStringLiteral("Create objects")});
    EXPECT_EQ(sorted(objectsIn(script, QStringLiteral("Create objects"))),
              (QStringList{QStringLiteral("dbo.AddOrder"), QStringLiteral("dbo.CustomerSummary")}));
}

TEST_F(ScriptWizardTest, TimeFrameScriptsWhatTheStoreRecordedInsideTheFrame) {
    chooseMode(1);
    form->dtpFrom->setDateTime(QDateTime(QDate(2000, 1, 1), QTime(0, 0)));
    form->chkUntil->setChecked(true);
    next();
    ASSERT_EQ(form->CurrentPage(), frmScriptCreator::Page::Finish);
    EXPECT_FALSE(form->chkDropObjectsFirst->isVisible());
    const QString script = finish();
    // Every object the store holds was born in the frame, the one the server lacks too; the object
    // only the server has has no history in the store and stays out.
    EXPECT_EQ(sectionsOf(script), QStringList{QStringLiteral("Create objects")});
    const QStringList created = objectsIn(script, QStringLiteral("Create objects"));
    EXPECT_TRUE(created.contains(QStringLiteral("dbo.AddOrder")));
    EXPECT_TRUE(created.contains(QStringLiteral("dbo.PurgeOldOrders")));
    EXPECT_FALSE(created.contains(QStringLiteral("dbo.ListCities"))) << qPrintable(script);

    // A frame long before the project: nothing found, said so, and back on the frame's page.
    prompts->Clear();
    back();
    form->chkUntil->setChecked(false);
    form->dtpUntil->setDateTime(QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59)));
    next();
    EXPECT_EQ(messages(),
              QStringList{QStringLiteral("No Objects Found to Script: No objects to be scripted were "
                                         "found for the specified time frame!")});
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::VSS);
    EXPECT_EQ(form->focusWidget(), form->dtpFrom);
    const ScriptSteps& steps = form->Steps();
    ASSERT_GE(steps.Current(), 0);
    EXPECT_EQ(steps.Rows().at(steps.Current()).Status, QStringLiteral("No Objects Found!"));
}

// A second database on the same server: one procedure differs, one is missing, one is there alone.
TEST_F(ScriptWizardTest, CompareScriptsWhatTheOtherDatabaseLacksOrHasDifferently) {
    TARMOSQL& sql = project->SQL();
    sql.ExecuteSQL(QStringLiteral("CREATE DATABASE Other"));
    TARMOSQL other;
    ASSERT_EQ(other.OpenConnection(sql.Server(), QStringLiteral("Other"), QStringLiteral("sa"),
                                   QStringLiteral("demo"), TARMOSQL::kSQLAuthentication, true),
              QString());
    other.ExecuteSQL(QStringLiteral("CREATE TABLE dbo.Orders (OrderID int, CustomerID int, Amount money)"));
    other.ExecuteSQL(
        QStringLiteral("CREATE PROCEDURE dbo.AddOrder @CustomerID int, @Amount money\r\nAS\r\n"
                       "INSERT INTO dbo.Orders (CustomerID, Amount) VALUES (@CustomerID, 0)\r\n"));
    other.ExecuteSQL(QStringLiteral("CREATE PROCEDURE dbo.OnlyThere\r\nAS\r\nSELECT 1\r\n"));
    other.CloseConnection();

    chooseMode(2);
    form->txtSQLServer->setText(sql.Server());
    form->txtSQLUsername->setText(QStringLiteral("sa"));
    form->txtSQLPassword->setText(QStringLiteral("demo"));
    form->cboSQLDatabase->setEditText(QStringLiteral("Other"));
    next();
    ASSERT_EQ(form->CurrentPage(), frmScriptCreator::Page::Finish) << qPrintable(messages().join('\n'));
    EXPECT_FALSE(form->chkDropObjectsFirst->isVisible());
    const QString script = finish();
    EXPECT_EQ(objectsIn(script, QStringLiteral("Update objects")),
              QStringList{QStringLiteral("dbo.AddOrder")});
    EXPECT_EQ(objectsIn(script, QStringLiteral("Drop objects")),
              QStringList{QStringLiteral("dbo.OnlyThere")});
    EXPECT_TRUE(
        objectsIn(script, QStringLiteral("Create objects")).contains(QStringLiteral("dbo.CustomerSummary")));
    back();
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::AnotherDB);

    // The next wizard knows the other database again, but not its password.
    form->close();
    openWizard();
    EXPECT_EQ(form->SelectedMode(), 2);
    EXPECT_EQ(form->txtSQLServer->text(), sql.Server());
    EXPECT_EQ(form->txtSQLUsername->text(), QStringLiteral("sa"));
    EXPECT_EQ(form->cboSQLDatabase->currentText(), QStringLiteral("Other"));
    EXPECT_EQ(form->txtSQLPassword->text(), QString());
}

// Cancel while a list is being built asks first; No lets the run go on, Yes stops it and closes the
// window, whose values are kept for the next time.
TEST_F(ScriptWizardTest, CancelDuringARunAsksAndStopsTheRun) {
    int stepOfTheClick = -1;
    auto cancelDuringTheRun = [&] {
        whileRunning([&] {
            stepOfTheClick = form->Steps().Current();
            QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
        });
    };
    const QString question =
        QStringLiteral("Are you sure?: Are you sure you want to interrupt the process now?");

    prompts->QueueAnswer(Prompt::Answer::No);
    cancelDuringTheRun();
    chooseMode(3);
    EXPECT_EQ(messages(), QStringList{question});
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Finish);
    EXPECT_TRUE(form->isVisible());

    prompts->Clear();
    back();
    form->chkDependencyOrder->setChecked(false);
    prompts->QueueAnswer(Prompt::Answer::Yes);
    cancelDuringTheRun();
    chooseMode(3);
    EXPECT_EQ(messages(), QStringList{question});
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->Idle());
    // The builder stopped where the click found it: no later step began.
    EXPECT_GE(stepOfTheClick, 1);
    EXPECT_EQ(form->Steps().Current(), stepOfTheClick);
    EXPECT_EQ(form->Creator()->ObjectsToScript().Count(), 0);

    openWizard();
    EXPECT_EQ(form->SelectedMode(), 3);
    EXPECT_FALSE(form->chkDependencyOrder->isChecked());
}
