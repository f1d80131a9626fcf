#include "ChildWindowArea.h"
#include "DatabaseTree.h"
#include "DemoWindowFixture.h"
#include "ModalAnswer.h"
#include "Options.h"
#include "SQLTextEditor.h"
#include "StatusPanels.h"
#include "frmOptions.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDate>
#include <QMenu>
#include <QPushButton>
#include <QTreeWidget>

#include <gtest/gtest.h>

// The dialog as Tools > Options opens it over the demo project, and what the open windows make of it.
class OptionsInMainWindowTest : public DemoWindowFixture {
protected:
    void Configure() override { Options::Install(window); }

    QTreeWidgetItem* topNode(const QString& text) {
        for (int i = 0; i < window.tvwDBT()->topLevelItemCount(); ++i)
            if (window.tvwDBT()->topLevelItem(i)->text(0) == text)
                return window.tvwDBT()->topLevelItem(i);
        return nullptr;
    }
    QTreeWidgetItem* childNode(QTreeWidgetItem* parent, const QString& text) {
        parent->setExpanded(true);
        for (int i = 0; i < parent->childCount(); ++i)
            if (parent->child(i)->text(0) == text)
                return parent->child(i);
        return nullptr;
    }
    // A new object of the kind, with whatever node is selected.
    frmEditObjectText* newObject(const QString& entryText) {
        for (QAction* action : window.Menus().Menu(QStringLiteral("mnuNew"))->actions())
            if (action->text() == entryText) {
                action->trigger();
                return qobject_cast<frmEditObjectText*>(window.ActiveForm());
            }
        return nullptr;
    }
    void runOptions(const std::function<void(frmOptions*)>& act) {
        ModalAnswer answer([&](QDialog* dialog) {
            auto* form = qobject_cast<frmOptions*>(dialog);
            ASSERT_NE(form, nullptr);
            act(form);
        });
        window.Menus().Entry(QStringLiteral("mnuOptions"))->trigger();
        EXPECT_TRUE(answer.Answered());
    }
};

// A trigger made from a table's node gets the table; a procedure made with that node selected gets the
// other tags and no table.
TEST_F(OptionsInMainWindowTest, ANewObjectStartsWithItsDefaultTextFilledIn) {
    runOptions([](frmOptions* form) {
        QStringList kinds;
        for (int i = 0; i < form->cboDefaultText()->count(); ++i)
            kinds << form->cboDefaultText()->itemData(i).toString();
        kinds.sort();
        EXPECT_EQ(kinds, (QStringList{QStringLiteral("StoredProcedures"), QStringLiteral("Triggers"),
                                      QStringLiteral("UserDefinedFunctions"), QStringLiteral("Views")}));
        EXPECT_FALSE(form->cboDefaultText()->itemIcon(0).isNull());
        form->SelectCategory(QStringLiteral("DEFAULTTEXT"));
        form->cboDefaultText()->setCurrentIndex(form->cboDefaultText()->findData(QStringLiteral("Triggers")));
        form->txtDefaultText()->Paste(QStringLiteral(
            "CREATE TRIGGER <TABLEOWNER>.trg_<TABLE> ON <TABLEWITHOWNER> -- <DONEBYVSS>/<DONEBYSQL>"));
        form->cboDefaultText()->setCurrentIndex(
            form->cboDefaultText()->findData(QStringLiteral("StoredProcedures")));
        form->txtDefaultText()->Paste(QStringLiteral("-- <DATE> <DONEBYVSS> [<TABLE>] <table>"));
        form->cmdOK()->click();
    });
    EXPECT_EQ(database.GetDefaultText(QStringLiteral("Triggers")),
              QStringLiteral(
                  "CREATE TRIGGER <TABLEOWNER>.trg_<TABLE> ON <TABLEWITHOWNER> -- <DONEBYVSS>/<DONEBYSQL>"))
        << "the file keeps the tags";

    QTreeWidgetItem* customers = childNode(topNode(QStringLiteral("Tables")), QStringLiteral("Customers"));
    ASSERT_NE(customers, nullptr);
    window.tvwDBT()->setCurrentItem(customers);
    frmEditObjectText* trigger = newObject(QStringLiteral("New &Trigger"));
    ASSERT_NE(trigger, nullptr);
    EXPECT_EQ(trigger->txtSQL()->Text(),
              QStringLiteral("CREATE TRIGGER dbo.trg_Customers ON dbo.Customers -- Admin/sa"));

    frmEditObjectText* procedure = newObject(QStringLiteral("New &Stored Procedure"));
    ASSERT_NE(procedure, nullptr);
    const QString today = QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"));
    const QString text = procedure->txtSQL()->Text();
    // Midnight may pass between the two readings of the date.
    EXPECT_TRUE(text == QStringLiteral("-- %1 Admin [] <table>").arg(today) ||
                text == QStringLiteral("-- %1 Admin [] <table>")
                            .arg(QDate::currentDate().addDays(-1).toString(QStringLiteral("dd.MM.yyyy"))))
        << qPrintable(text);
}

// Saved settings reach what is already open: the status bar, the captions and the closing panel.
TEST_F(OptionsInMainWindowTest, ASaveReachesTheOpenWindows) {
    QTreeWidgetItem* procedures = topNode(QStringLiteral("Stored Procedures"));
    ASSERT_NE(procedures, nullptr);
    procedures->setExpanded(true);
    ASSERT_GT(procedures->childCount(), 0);
    QTreeWidgetItem* first = procedures->child(0);
    window.tvwDBT()->setCurrentItem(first);
    window.DoCommand(Command::Edit);
    auto* form = qobject_cast<frmEditObjectText*>(window.ActiveForm());
    ASSERT_NE(form, nullptr);
    ASSERT_TRUE(form->RunCheckOut());
    const QString caption = form->Caption();
    EXPECT_FALSE(caption.startsWith(QStringLiteral("dbo.")));
    EXPECT_TRUE(window.sbrMain()->isVisible());

    runOptions([](frmOptions* options) {
        options->Check(QStringLiteral("chkMainToolbar"))->click();
        options->Check(QStringLiteral("chkShowInName"))->click();
        options->Option(QStringLiteral("optEdit"), 5)->click();
        options->Check(QStringLiteral("chkUseDefaultEdit"))->click();
        options->cmdApply()->click();
        EXPECT_FALSE(options->cmdApply()->isEnabled());
        options->cmdCancel()->click();
    });
    EXPECT_FALSE(window.sbrMain()->isVisible());
    EXPECT_EQ(form->Caption(), QStringLiteral("dbo.") + caption);
    EXPECT_EQ(
        form->StatusBar()->PanelText(QStringLiteral("OnClose")),
        QStringLiteral("On Closing this item all changes will be Discarded and Checkout will be Undone"));
    EXPECT_EQ(prompts->Unanswered(), 0);
    Screenshot(&window, QStringLiteral("options-applied-to-main-window"));
}
