#include "SyncWindowTestHelpers.h"
#include "SyncWindowsFixture.h"

#include "DatabaseTree.h"
#include "MainWindowStart.h"
#include "SyncWindows.h"
#include "frmSyncDifference.h"
#include "frmSyncProcess.h"
#include "frmSyncResults.h"

#include <QAction>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QMap>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QTreeWidget>

namespace {

const QStringList expectedDifferences{QStringLiteral("dbo.AddOrder 3"), QStringLiteral("dbo.ListCities 1"),
                                      QStringLiteral("dbo.PurgeOldOrders 2"),
                                      QStringLiteral("dbo.CustomerTotal 3"),
                                      QStringLiteral("dbo.Orders_Insert 3")};

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

QStringList childTexts(QTreeWidgetItem* item) {
    QStringList texts;
    for (int i = 0; item && i < item->childCount(); ++i)
        texts << item->child(i)->text(0);
    return texts;
}

QTreeWidgetItem* topNode(QTreeWidget* tree, const QString& text) {
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        if (tree->topLevelItem(i)->text(0) == text)
            return tree->topLevelItem(i);
    return nullptr;
}

} // namespace

// Every kind is read and then compared, each step ends "Completed" with its picture, and what
// differs reaches the results window in the order of the kinds; the run writes its history line.
TEST_F(SyncWindowsTest, StepsWindowRunsEveryStepAndHandsOverWhatDiffers) {
    frmSyncProcess form;
    QList<SyncDifference> handed;
    QStringList statuses;
    bool iconsShown = true;
    form.SetResultsWindow([&](TARMODatabaseObjects&, const QList<SyncDifference>& results, QWidget*) {
        handed = results;
        EXPECT_FALSE(form.isVisible());
        for (int i = 0; i < form.lvwSteps()->topLevelItemCount(); ++i) {
            statuses << form.lvwSteps()->topLevelItem(i)->text(2);
            iconsShown = iconsShown && !form.lvwSteps()->topLevelItem(i)->icon(0).isNull();
        }
        Screenshot(&form, QStringLiteral("syncwindows-steps"));
        DarkPalette dark(&form);
        Screenshot(&form, QStringLiteral("syncwindows-steps-dark"));
        return false;
    });
    // Every status a row shows, in order.
    QMap<int, QStringList> seen;
    QObject::connect(form.lvwSteps(), &QTreeWidget::itemChanged, [&](QTreeWidgetItem* item, int column) {
        if (column == 2)
            seen[form.lvwSteps()->indexOfTopLevelItem(item)] << item->text(2);
    });
    EXPECT_FALSE(form.StartSync(objects()));

    QTreeWidget* steps = form.lvwSteps();
    bool progressShown = false;
    for (int step = 0; step < steps->topLevelItemCount(); ++step) {
        const QStringList& shown = seen[step];
        ASSERT_GE(shown.size(), 3) << step;
        EXPECT_EQ(shown.mid(0, 2), QStringList({"Not Started", "Processing"})) << step;
        EXPECT_EQ(shown.last(), QStringLiteral("Completed")) << step;
        for (const QString& status : shown.mid(2, shown.size() - 3)) {
            EXPECT_TRUE(QRegularExpression(QStringLiteral("^Progress: \\d{1,3}%$")).match(status).hasMatch())
                << qPrintable(status);
            progressShown = true;
        }
    }
    EXPECT_TRUE(progressShown);
    ASSERT_EQ(steps->topLevelItemCount(), 8);
    EXPECT_EQ(steps->topLevelItem(0)->text(1),
              QStringLiteral("Step 1 - Find Stored Procedures in SQL and VSS"));
    EXPECT_EQ(steps->topLevelItem(1)->text(1), QStringLiteral("Step 2 - Compare Stored Procedures content"));
    EXPECT_EQ(steps->headerItem()->text(2), QStringLiteral("Status"));
    EXPECT_EQ(statuses, QStringList(8, QStringLiteral("Completed")));
    EXPECT_TRUE(iconsShown);
    EXPECT_EQ(form.pbrCurrent()->value(), form.pbrCurrent()->maximum());

    QStringList found;
    for (const SyncDifference& difference : handed)
        found << difference.DisplayName + QLatin1Char(' ') + QString::number(difference.Kind());
    EXPECT_EQ(sorted(found), sorted(expectedDifferences));
    // Kinds in the core's order: the procedures first, the trigger last.
    EXPECT_EQ(found.last(), QStringLiteral("dbo.Orders_Insert 3"));
    EXPECT_EQ(found.indexOf(QStringLiteral("dbo.CustomerTotal 3")), 3);

    EXPECT_EQ(prompts->Records().size(), 0) << qPrintable(messages().join(QLatin1Char('\n')));
    const QStringList history = syncHistory();
    ASSERT_EQ(history.size(), 1);
    EXPECT_TRUE(history.first().startsWith(QStringLiteral("Synchronization: ")))
        << qPrintable(history.first());
}

// A project whose stores agree gets the message, no results window, and still its history line.
TEST_F(SyncWindowsTest, NothingToDoIsToldAndStillWritten) {
    for (const SyncDifference& found : SyncRun(objects()).Run())
        ASSERT_TRUE(ApplySyncAction(objects(), found, SyncDirection::ToSql)) << qPrintable(found.DisplayName);
    ASSERT_EQ(differences(), QStringList());
    prompts->Clear();

    ModalAnswerOf<frmSyncResults> results([](frmSyncResults*) {}, 5000);
    frmSyncProcess form;
    EXPECT_FALSE(form.StartSync(objects()));
    EXPECT_FALSE(results.Answered());
    EXPECT_EQ(messages(), QStringList{QStringLiteral("No Synchronization Needed: Everything is in Sync")});
    EXPECT_EQ(prompts->Records().first().icon, Prompt::Icon::Information);
    EXPECT_EQ(syncHistory().size(), 1);
}

// The table as filled: headings, both sides' texts and colours, and what clicks, right clicks and
// the two "Make all" commands do to the rows and their pictures.
TEST_F(SyncWindowsTest, ResultsWindowShowsEachRowAndItsChoice) {
    frmSyncResults form;
    QList<long> helpTopics;
    form.SetHelp([&](QWidget*, long topic) { helpTopics << topic; });
    form.Load(objects(), SyncRun(objects()).Run());
    form.show();
    QTableWidget* table = form.lvwResults();
    ASSERT_EQ(table->rowCount(), 5);
    EXPECT_EQ(table->horizontalHeaderItem(frmSyncResults::objSQL)->text(),
              QStringLiteral("Objects in 'Demo' Database"));
    EXPECT_EQ(table->horizontalHeaderItem(frmSyncResults::objVSS)->text(),
              QStringLiteral("Objects in VSS Project '") + project->VSS().Project() + QLatin1Char('\''));
    EXPECT_EQ(table->horizontalHeader()->sectionResizeMode(frmSyncResults::button), QHeaderView::Fixed);
    EXPECT_EQ(table->rowHeight(0), 20);

    const int listCities = rowOf(form, QStringLiteral("dbo.ListCities"));
    const int purge = rowOf(form, QStringLiteral("dbo.PurgeOldOrders"));
    const int total = rowOf(form, QStringLiteral("dbo.CustomerTotal"));
    const int trigger = rowOf(form, QStringLiteral("dbo.Orders_Insert"));
    const int addOrder = rowOf(form, QStringLiteral("dbo.AddOrder"));
    ASSERT_EQ(trigger, total + 1);
    EXPECT_EQ(pictures(form), QStringList(5, QStringLiteral("NRM")));
    EXPECT_EQ(text(form, listCities, frmSyncResults::objSQL), QStringLiteral("dbo.ListCities"));
    EXPECT_EQ(text(form, listCities, frmSyncResults::objVSS), QString());
    EXPECT_EQ(text(form, purge, frmSyncResults::objSQL), QString());
    EXPECT_EQ(text(form, purge, frmSyncResults::objVSSType), QStringLiteral("Stored Procedure"));
    EXPECT_EQ(textColour(form, addOrder, frmSyncResults::objSQL), QColor(0, 0, 0));
    EXPECT_EQ(textColour(form, addOrder, frmSyncResults::objVSS), QColor(255, 255, 255));
    EXPECT_EQ(table->item(addOrder, frmSyncResults::objSQLType)->background().color(), QColor(240, 235, 255));
    EXPECT_EQ(table->item(addOrder, frmSyncResults::objVSSType)->background().color(), QColor(27, 20, 100));
    Screenshot(&form, QStringLiteral("syncwindows-results-filled"));

    // The left button goes round: drop from the database, add to the store, nothing.
    clickButton(form, listCities);
    EXPECT_EQ(pictureOf(form, listCities), QStringLiteral("DEL:L"));
    EXPECT_EQ(textColour(form, listCities, frmSyncResults::objSQL), QColor(210, 0, 0));
    clickButton(form, listCities);
    EXPECT_EQ(pictureOf(form, listCities), QStringLiteral("ADD:R"));
    EXPECT_EQ(text(form, listCities, frmSyncResults::objVSS), QStringLiteral("dbo.ListCities"));
    EXPECT_EQ(textColour(form, listCities, frmSyncResults::objVSS), QColor(0, 255, 0));
    clickButton(form, listCities);
    EXPECT_EQ(pictureOf(form, listCities), QStringLiteral("NRM"));
    EXPECT_EQ(text(form, listCities, frmSyncResults::objVSS), QString());

    // The right button takes the block of like rows (the function and the trigger, both changed
    // texts), and flips it between the two stores.
    clickButton(form, trigger, Qt::RightButton);
    EXPECT_EQ(pictureOf(form, total), QStringLiteral("CNG:L:R:LTR"));
    EXPECT_EQ(pictureOf(form, trigger), QStringLiteral("CNG:L:R:LBR"));
    EXPECT_EQ(pictureOf(form, addOrder), QStringLiteral("NRM"));
    clickButton(form, total, Qt::RightButton);
    EXPECT_EQ(pictureOf(form, total), QStringLiteral("CNG:R:G:LTR"));
    clickButton(form, total, Qt::RightButton);
    EXPECT_EQ(pictureOf(form, trigger), QStringLiteral("CNG:L:R:LBR"));
    Screenshot(&form, QStringLiteral("syncwindows-results-block"));

    form.cmdInVSS()->click();
    EXPECT_EQ(pictureOf(form, purge), QStringLiteral("DEL:R"));
    EXPECT_EQ(text(form, purge, frmSyncResults::objSQL), QString());
    EXPECT_EQ(textColour(form, purge, frmSyncResults::objVSS), QColor(255, 0, 0));
    EXPECT_EQ(pictureOf(form, trigger), QStringLiteral("CNG:R:G:LBR"));
    form.cmdInSQL()->click();
    EXPECT_EQ(pictureOf(form, purge), QStringLiteral("ADD:L"));
    EXPECT_EQ(text(form, purge, frmSyncResults::objSQL), QStringLiteral("dbo.PurgeOldOrders"));
    EXPECT_EQ(textColour(form, purge, frmSyncResults::objSQL), QColor(0, 190, 0));
    for (int row = 0; row < 5; ++row)
        EXPECT_EQ(SyncActionDisplay::DirectionOfKey(pictureOf(form, row)), SyncDirection::ToSql);
    Screenshot(&form, QStringLiteral("syncwindows-results-all-sql"));
    {
        DarkPalette dark(&form);
        form.cmdInVSS()->click();
        Screenshot(&form, QStringLiteral("syncwindows-results-dark"));
    }

    // Space is the keyboard's click on the current row's button, Shift+Space its right click.
    form.lvwResults()->setCurrentCell(listCities, frmSyncResults::objSQL);
    QTest::keyClick(form.lvwResults(), Qt::Key_Space);
    EXPECT_EQ(pictureOf(form, listCities), QStringLiteral("NRM"));
    form.lvwResults()->setCurrentCell(trigger, frmSyncResults::objSQL);
    QTest::keyClick(form.lvwResults(), Qt::Key_Space, Qt::ShiftModifier);
    EXPECT_EQ(pictureOf(form, total), QStringLiteral("CNG:L:R:LTR"));

    QTest::keyClick(&form, Qt::Key_F1);
    EXPECT_EQ(helpTopics, QList<long>{50});
    EXPECT_EQ(prompts->Records().size(), 0);
    form.done(QDialog::Rejected);
}

// A row whose texts differ opens the line by line view by a double click or the pop-up command;
// rows of the other kinds have no such view.
TEST_F(SyncWindowsTest, ChangedRowShowsItsLineDifference) {
    frmSyncResults form;
    form.Load(objects(), SyncRun(objects()).Run());
    form.show();
    const int addOrder = rowOf(form, QStringLiteral("dbo.AddOrder"));
    const int listCities = rowOf(form, QStringLiteral("dbo.ListCities"));

    QTest::mouseDClick(form.lvwResults()->viewport(), Qt::LeftButton, {},
                       cellCentre(form, listCities, frmSyncResults::objSQL));
    EXPECT_EQ(form.findChild<frmSyncDifference*>(), nullptr);

    QTest::mouseDClick(form.lvwResults()->viewport(), Qt::LeftButton, {},
                       cellCentre(form, addOrder, frmSyncResults::objVSS));
    auto* view = form.findChild<frmSyncDifference*>();
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(view->isVisible());
    EXPECT_EQ(view->windowTitle(), QStringLiteral("Differences of dbo.AddOrder (Stored Procedure)"));
    const QStringList left = view->txtLeft()->toPlainText().split(QLatin1Char('\n'));
    const QStringList right = view->txtRight()->toPlainText().split(QLatin1Char('\n'));
    // The added line stands on the left against a filler on the right, so both sides keep step.
    ASSERT_EQ(left.size(), right.size());
    const qsizetype added = left.indexOf(QRegularExpression(QStringLiteral(".*amounts are checked.*")));
    ASSERT_GE(added, 0);
    EXPECT_EQ(right[added].trimmed(), QString());
    EXPECT_TRUE(view->lblSummary()->text().contains(QStringLiteral("only in the database")))
        << qPrintable(view->lblSummary()->text());
    EXPECT_TRUE(view->txtUnified()->toPlainText().contains(
        QStringLiteral("\n--- amounts are checked by the caller")));
    Screenshot(view, QStringLiteral("syncwindows-difference"));
    view->chkUnified()->setChecked(true);
    Screenshot(view, QStringLiteral("syncwindows-difference-unified"));
    {
        DarkPalette dark(view);
        Screenshot(view, QStringLiteral("syncwindows-difference-dark"));
    }
    view->close();

    // The pop-up command acts on the current row and is only there for a row whose texts differ.
    form.lvwResults()->setCurrentCell(addOrder, frmSyncResults::objSQL);
    form.actShowDifferences()->trigger();
    ASSERT_NE(form.findChild<frmSyncDifference*>(), nullptr);
    EXPECT_EQ(prompts->Records().size(), 0);
}

// Lines replaced by others stand side by side; what one side has more gets fillers.
TEST(SyncDifferenceTest, SideBySidePairsReplacedLines) {
    const auto lines = frmSyncDifference::SideBySide(
        DiffLines(QStringLiteral("a\nb\nc\nd\n"), QStringLiteral("a\nB\nC\nX\nd\n")));
    QStringList shown;
    for (const auto& line : lines)
        shown << QStringLiteral("%1:%2|%3:%4")
                     .arg(line.LeftLine)
                     .arg(line.LeftText)
                     .arg(line.RightLine)
                     .arg(line.RightText);
    EXPECT_EQ(shown, QStringList({"1:a|1:a", "2:b|2:B", "3:c|3:C", "0:|4:X", "4:d|5:d"}));
}

// From the main window: the first-open question's Yes runs the compare, the results window
// applies everything to the database, and the main window reads its tree again.
TEST_F(SyncWindowsTest, MainWindowRunsItAndRebuildsItsTree) {
    mdiMain window;
    window.SetDispatch(dispatch.get());
    SyncWindows::Install(window);
    StartMainWindow(window, database);
    QTreeWidgetItem* procedures = topNode(window.tvwDBT(), QStringLiteral("Stored Procedures"));
    ASSERT_NE(procedures, nullptr);
    procedures->setExpanded(true);
    ASSERT_TRUE(childTexts(procedures).join(QLatin1Char(' ')).contains(QStringLiteral("ListCities")));

    ASSERT_TRUE(project->IsFirstUserToConnect());
    prompts->QueueAnswer(Prompt::Answer::Yes);
    ModalAnswerOf<frmSyncResults> results(
        [](frmSyncResults* form) {
            EXPECT_EQ(form->lvwResults()->rowCount(), 5);
            form->cmdInSQL()->click();
            form->cmdApply()->click();
            EXPECT_FALSE(form->isVisible());
        },
        5000);
    window.CheckProjectSyncInfo();
    EXPECT_TRUE(results.Answered());
    EXPECT_EQ(messages(),
              QStringList({QStringLiteral("Start Synchronization Process?: This is the first time anyone "
                                          "has connected to this project. Would you like to Synchronize?"),
                           QStringLiteral("In Sync: Everything is now in Sync.")}));
    EXPECT_FALSE(project->IsFirstUserToConnect());
    EXPECT_EQ(differences(), QStringList());

    procedures = topNode(window.tvwDBT(), QStringLiteral("Stored Procedures"));
    ASSERT_NE(procedures, nullptr);
    procedures->setExpanded(true);
    const QString names = childTexts(procedures).join(QLatin1Char(' '));
    EXPECT_FALSE(names.contains(QStringLiteral("ListCities"))) << qPrintable(names);
    EXPECT_TRUE(names.contains(QStringLiteral("PurgeOldOrders"))) << qPrintable(names);
}
