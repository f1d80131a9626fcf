#include "GeneralHelpers.h"
#include "SQLTextEditor.h"
#include "ScriptedPrompts.h"
#include "SqlEditControl.h"
#include "TARMODatabase.h"
#include "TestSupport.h"
#include "frmOptions.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <functional>

namespace {

const QString procedures = QStringLiteral("StoredProcedures");
const QString views = QStringLiteral("Views");

// One change a user makes on a page, and what the settings then hold.
struct PageChange {
    const char* page;
    std::function<void(TARMODatabase&)> before;
    std::function<void(frmOptions&)> change;
    std::function<void(const TARMODatabase&)> stored;
    std::function<void(const frmOptions&)> shown;
};

void click(QAbstractButton* button) {
    ASSERT_NE(button, nullptr);
    ASSERT_TRUE(button->isVisible()) << qPrintable(button->objectName());
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

} // namespace

class OptionsDialogTest : public ::testing::Test {
protected:
    void open(frmOptions& form) {
        form.SetObjectKinds(
            {{procedures, QStringLiteral("Stored Procedures"), {}}, {views, QStringLiteral("Views"), {}}});
        form.Load(database);
        form.show();
    }
    QCheckBox* check(frmOptions& form, const char* name) { return form.Check(QLatin1String(name)); }
    QAbstractButton* option(frmOptions& form, const char* group, int code) {
        return form.Option(QLatin1String(group), code);
    }
    static void type(frmOptions& form, const QString& text) {
        form.txtDefaultText()->setFocus();
        QTest::keyClicks(form.txtDefaultText()->ctrlHWnd(), text);
    }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
};

// Each page: the stored value shows, a click changes it, Apply stores it, and a new dialog shows it.
TEST_F(OptionsDialogTest, EveryPageShowsAppliesAndShowsAgainWhatItHolds) {
    using D = const TARMODatabase&;
    using F = const frmOptions&;
    const QList<PageChange> changes = {
        {"GENERAL", [](TARMODatabase& db) { db.SetOpenMostRecent(true); },
         [this](frmOptions& f) {
             EXPECT_FALSE(check(f, "chkShowProjectBrowser")->isChecked());
             click(check(f, "chkShowProjectBrowser"));
         },
         [](D db) {
             EXPECT_FALSE(db.OpenMostRecent());
             EXPECT_EQ(db.SettingText(QStringLiteral("ProjectToOpen")), QStringLiteral("0"));
         },
         [](F f) { EXPECT_TRUE(f.Check(QStringLiteral("chkShowProjectBrowser"))->isChecked()); }},
        {"VIEW", nullptr,
         [this](frmOptions& f) {
             click(check(f, "chkMainToolbar"));
             click(check(f, "chkShowDescription"));
             click(check(f, "chkShowInName"));
             click(check(f, "chkShowInProperty"));
         },
         [](D db) {
             EXPECT_FALSE(db.ShowMainStatusBar());
             EXPECT_TRUE(db.ShowDescriptionInDBT());
             EXPECT_TRUE(db.ShowOwnerNameInName());
             EXPECT_TRUE(db.ShowOwnerNameInProp());
         },
         [](F f) {
             EXPECT_FALSE(f.Check(QStringLiteral("chkMainToolbar"))->isChecked());
             EXPECT_TRUE(f.Check(QStringLiteral("chkShowInProperty"))->isChecked());
         }},
        {"EDITOR", nullptr,
         [this](frmOptions& f) {
             click(check(f, "chkPromptDescription"));
             click(check(f, "chkShowPermissionOnNew"));
             click(check(f, "chkShowComment"));
         },
         [](D db) {
             EXPECT_TRUE(db.ShowDescriptionPrompt());
             EXPECT_TRUE(db.ShowPermissionsOnNewObjectCreate());
             EXPECT_FALSE(db.ShowCommentPrompt());
         },
         [](F f) { EXPECT_FALSE(f.Check(QStringLiteral("chkShowComment"))->isChecked()); }},
        {"EDITOR:CHANGESMADE:NEW", nullptr,
         [this](frmOptions& f) {
             click(option(f, "optNew", 3));
             click(check(f, "chkUseDefaultNew"));
         },
         [](D db) {
             EXPECT_EQ(db.SaveChangesNewDefault(), 3);
             EXPECT_FALSE(db.ShowSaveChangesNew());
         },
         [](F f) { EXPECT_TRUE(f.Option(QStringLiteral("optNew"), 3)->isChecked()); }},
        {"EDITOR:CHANGESMADE:EDIT", [](TARMODatabase& db) { db.SetSaveChangesEditDefault(2); },
         [this](frmOptions& f) {
             EXPECT_TRUE(option(f, "optEdit", 2)->isChecked());
             click(option(f, "optEdit", 5));
         },
         [](D db) {
             EXPECT_EQ(db.SaveChangesEditDefault(), 5);
             EXPECT_TRUE(db.ShowSaveChangesEdit()) << "left alone";
         },
         [](F f) { EXPECT_TRUE(f.Option(QStringLiteral("optEdit"), 5)->isChecked()); }},
        {"EDITOR:CHANGESMADE:PERMISSION", nullptr,
         [this](frmOptions& f) {
             EXPECT_TRUE(option(f, "optPermission", 0)->isChecked());
             click(option(f, "optPermission", 2));
         },
         [](D db) { EXPECT_EQ(db.ShowSaveChangesPermission(), 2); },
         [](F f) { EXPECT_TRUE(f.Option(QStringLiteral("optPermission"), 2)->isChecked()); }},
        {"PERMISSIONS", nullptr,
         [this](frmOptions& f) {
             click(option(f, "optDBTPermission", 1));
             click(option(f, "optEditorPermission", 2));
         },
         [](D db) {
             EXPECT_EQ(db.ShowPermissionsInDBT(), 1);
             EXPECT_EQ(db.ShowPermissionsInEditor(), 2);
         },
         [](F f) {
             EXPECT_TRUE(f.Option(QStringLiteral("optDBTPermission"), 1)->isChecked());
             EXPECT_TRUE(f.Option(QStringLiteral("optEditorPermission"), 2)->isChecked());
         }},
    };
    for (const PageChange& change : changes) {
        SCOPED_TRACE(change.page);
        if (change.before)
            change.before(database);
        {
            frmOptions form;
            open(form);
            form.SelectCategory(QLatin1String(change.page));
            EXPECT_EQ(form.CurrentPage(), QLatin1String(change.page));
            EXPECT_FALSE(form.cmdApply()->isEnabled());
            change.change(form);
            EXPECT_TRUE(form.cmdApply()->isEnabled());
            click(form.cmdApply());
            EXPECT_FALSE(form.cmdApply()->isEnabled());
            EXPECT_TRUE(form.isVisible()) << "Apply keeps the dialog open";
            change.stored(database);
            click(form.cmdCancel());
            EXPECT_FALSE(form.isVisible());
        }
        frmOptions again;
        open(again);
        change.shown(again);
        EXPECT_FALSE(again.Dirty());
    }
    EXPECT_TRUE(prompts->Records().isEmpty()) << "nothing was asked: every close came after an Apply";
}

// Apply is enabled exactly while a control differs from what is stored, the default text included.
TEST_F(OptionsDialogTest, ApplyFollowsWhetherAnythingDiffers) {
    frmOptions form;
    open(form);
    EXPECT_FALSE(form.cmdApply()->isEnabled());
    click(check(form, "chkShowProjectBrowser"));
    EXPECT_TRUE(form.cmdApply()->isEnabled());
    click(check(form, "chkShowProjectBrowser"));
    EXPECT_FALSE(form.cmdApply()->isEnabled()) << "changed back";

    form.SelectCategory(QStringLiteral("DEFAULTTEXT"));
    type(form, QStringLiteral("AS"));
    EXPECT_TRUE(form.cmdApply()->isEnabled());
    QTest::keyClick(form.txtDefaultText()->ctrlHWnd(), Qt::Key_Backspace);
    QTest::keyClick(form.txtDefaultText()->ctrlHWnd(), Qt::Key_Backspace);
    EXPECT_FALSE(form.cmdApply()->isEnabled());
    // An edit of a kind that is no longer shown still counts.
    type(form, QStringLiteral("X"));
    form.cboDefaultText()->setCurrentIndex(1);
    EXPECT_TRUE(form.cmdApply()->isEnabled());
    click(form.cmdOK());
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(database.GetDefaultText(procedures), QStringLiteral("X"));
}

// Closing asks only while something is unsaved; No forgets it, Cancel stays, Yes saves.
TEST_F(OptionsDialogTest, ClosingAsksOnlyAboutUnsavedChanges) {
    {
        frmOptions form;
        open(form);
        click(form.cmdCancel());
        EXPECT_FALSE(form.isVisible());
        EXPECT_TRUE(prompts->Records().isEmpty()) << "an unchanged dialog closes without a question";
    }
    {
        frmOptions form;
        open(form);
        click(check(form, "chkShowProjectBrowser"));
        prompts->QueueAnswer(Prompt::Answer::Cancel);
        click(form.cmdCancel());
        ASSERT_EQ(prompts->Records().size(), 1);
        EXPECT_EQ(prompts->Records().last().title, QStringLiteral("Save changes made?"));
        EXPECT_EQ(prompts->Records().last().text, QStringLiteral("Would you like to save the changes made?"));
        EXPECT_EQ(prompts->Records().last().buttons, Prompt::Buttons::YesNoCancel);
        EXPECT_TRUE(form.isVisible());
        prompts->QueueAnswer(Prompt::Answer::No);
        QTest::keyClick(&form, Qt::Key_Escape);
        EXPECT_FALSE(form.isVisible());
        EXPECT_FALSE(database.OpenMostRecent()) << "No keeps the old value";
    }
    {
        frmOptions form;
        open(form);
        form.SelectCategory(QStringLiteral("EDITOR"));
        click(check(form, "chkShowComment"));
        click(form.cmdApply());
        click(form.cmdCancel());
        EXPECT_FALSE(form.isVisible());
        EXPECT_EQ(prompts->Records().size(), 2) << "Apply then Cancel asks nothing";
        EXPECT_FALSE(database.ShowCommentPrompt()) << "and keeps what was applied";
    }
    {
        frmOptions form;
        open(form);
        click(check(form, "chkShowProjectBrowser"));
        prompts->QueueAnswer(Prompt::Answer::Yes);
        form.close();
        EXPECT_FALSE(form.isVisible());
        EXPECT_TRUE(database.OpenMostRecent()) << "Yes saves";
    }
    EXPECT_EQ(prompts->Unanswered(), 0);
}

// Switching the kind keeps the edit and shows the other text; OK writes only the file that changed.
TEST_F(OptionsDialogTest, DefaultTextsAreEditedPerKindAndOnlyChangedOnesWritten) {
    database.SetDefaultText(views, QStringLiteral("CREATE VIEW dbo.v\r\nAS\r\n"));
    frmOptions form;
    open(form);
    form.SelectCategory(QStringLiteral("DEFAULTTEXT"));
    EXPECT_EQ(form.cboDefaultText()->count(), 2);
    EXPECT_EQ(form.txtDefaultText()->Text(), QString()) << "an unset kind starts empty";
    type(form, QStringLiteral("CREATE PROCEDURE"));
    form.cboDefaultText()->setCurrentIndex(1);
    EXPECT_EQ(form.txtDefaultText()->Text(), QStringLiteral("CREATE VIEW dbo.v\r\nAS\r\n"));
    EXPECT_FALSE(form.txtDefaultText()->CanUndo()) << "undo stays inside the text of one kind";
    form.cboDefaultText()->setCurrentIndex(0);
    EXPECT_EQ(form.txtDefaultText()->Text(), QStringLiteral("CREATE PROCEDURE"));

    // Another running copy changes the views' text meanwhile; this dialog left it alone.
    database.SetDefaultText(views, QStringLiteral("CREATE VIEW dbo.theirs AS SELECT 1"));
    click(form.cmdOK());
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(database.GetDefaultText(procedures), QStringLiteral("CREATE PROCEDURE"));
    EXPECT_EQ(database.GetDefaultText(views), QStringLiteral("CREATE VIEW dbo.theirs AS SELECT 1"));
}

// A tag goes into the text by drag and drop (its key travels as text) or at the caret by a double click.
TEST_F(OptionsDialogTest, TagsReachTheTextByDragOrDoubleClick) {
    frmOptions form;
    open(form);
    form.SelectCategory(QStringLiteral("DEFAULTTEXT"));
    QListWidget* tags = form.lvwTags();
    ASSERT_EQ(tags->count(), 7);
    EXPECT_EQ(tags->item(4)->text(),
              QStringLiteral("<TABLEWITHOWNER> - Complete Table Name (Triggers Only)"));

    std::unique_ptr<QMimeData> dragged(tags->model()->mimeData({tags->model()->index(4, 0)}));
    ASSERT_TRUE(dragged);
    EXPECT_EQ(dragged->text(), QStringLiteral("<TABLEWITHOWNER>"));
    type(form, QStringLiteral("ON "));
    QWidget* target = form.txtDefaultText()->ctrlHWnd()->viewport();
    const QPointF end(target->width() - 5, 5);
    QDragEnterEvent enter(end.toPoint(), Qt::CopyAction, dragged.get(), Qt::LeftButton, {});
    QApplication::sendEvent(target, &enter);
    QDragMoveEvent move(end.toPoint(), Qt::CopyAction, dragged.get(), Qt::LeftButton, {});
    QApplication::sendEvent(target, &move);
    QDropEvent drop(end, Qt::CopyAction, dragged.get(), Qt::LeftButton, {});
    QApplication::sendEvent(target, &drop);
    EXPECT_EQ(form.txtDefaultText()->Text(), QStringLiteral("ON <TABLEWITHOWNER>"));

    form.txtDefaultText()->ctrlHWnd()->setCursorPosition(0, 0);
    const QRect row = tags->visualItemRect(tags->item(0));
    // A double click is a click and then the second press.
    QTest::mouseClick(tags->viewport(), Qt::LeftButton, {}, row.center());
    QTest::mouseDClick(tags->viewport(), Qt::LeftButton, {}, row.center());
    EXPECT_EQ(form.txtDefaultText()->Text(), QStringLiteral("<DATE>ON <TABLEWITHOWNER>"));
    EXPECT_EQ(form.focusWidget(), form.txtDefaultText()->ctrlHWnd()) << "the user goes on typing";
    EXPECT_TRUE(form.cmdApply()->isEnabled());
}

// While the editor has the focus, Escape and Enter are the editor's; the text commands reach the
// editor from the rest of its page.
TEST_F(OptionsDialogTest, TheEditorKeepsItsKeys) {
    frmOptions form;
    open(form);
    form.SelectCategory(QStringLiteral("DEFAULTTEXT"));
    form.activateWindow();
    type(form, QStringLiteral("SELECT 1"));
    QTest::keyClick(form.txtDefaultText()->ctrlHWnd(), Qt::Key_Return);
    QTest::keyClick(form.txtDefaultText()->ctrlHWnd(), Qt::Key_Escape);
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(form.txtDefaultText()->Text().count(QLatin1Char('\n')), 1) << "Enter made a new line";

    const QString typed = form.txtDefaultText()->Text();
    form.lvwTags()->setFocus();
    QTest::keyClick(form.lvwTags(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_NE(form.txtDefaultText()->Text(), typed) << "Ctrl+Z undid in the editor";
    QTest::keyClick(form.lvwTags(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(form.txtDefaultText()->Text(), typed) << "Ctrl+Shift+Z redid it";
}

// The tree opens expanded on General; "Changes Made" shows the page of new objects; F1 gives the
// topic of the selected category, and 24 without one.
TEST_F(OptionsDialogTest, CategoriesChoosePagesAndHelpTopics) {
    frmOptions form;
    QList<long> topics;
    form.SetHelp([&](QWidget*, long topic) { topics << topic; });
    open(form);
    EXPECT_EQ(form.CurrentPage(), QStringLiteral("GENERAL"));
    QTreeWidgetItemIterator it(form.tvwCaterogies());
    int nodes = 0;
    for (; *it; ++it, ++nodes)
        EXPECT_TRUE((*it)->childCount() == 0 || (*it)->isExpanded()) << qPrintable((*it)->text(0));
    EXPECT_EQ(nodes, 9);

    form.SelectCategory(QStringLiteral("EDITOR:CHANGESMADE"));
    EXPECT_EQ(form.CurrentPage(), QStringLiteral("EDITOR:CHANGESMADE:NEW"));
    EXPECT_TRUE(form.Option(QStringLiteral("optNew"), 1)->isVisible());
    EXPECT_FALSE(form.Check(QStringLiteral("chkShowProjectBrowser"))->isVisible());
    QTest::keyClick(&form, Qt::Key_F1);
    form.tvwCaterogies()->setCurrentItem(nullptr);
    QTest::keyClick(&form, Qt::Key_F1);
    EXPECT_EQ(topics, (QList<long>{29, 24}));
}

// A default text that can't be written is told, and the dialog stays open with the edit in it.
TEST_F(OptionsDialogTest, ADefaultTextThatCannotBeWrittenKeepsTheDialogOpen) {
    ASSERT_TRUE(QDir().mkpath(UserFolder() + QStringLiteral("/StoredProcedures.default")));
    frmOptions form;
    open(form);
    form.SelectCategory(QStringLiteral("DEFAULTTEXT"));
    type(form, QStringLiteral("CREATE PROCEDURE"));
    click(form.cmdOK());
    EXPECT_TRUE(form.isVisible());
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().icon, Prompt::Icon::Critical);
    EXPECT_TRUE(form.cmdApply()->isEnabled());
    EXPECT_EQ(form.txtDefaultText()->Text(), QStringLiteral("CREATE PROCEDURE"));
}

// Pictures of every page, in the normal and in a dark palette, for a person to look at.
TEST_F(OptionsDialogTest, Screenshots) {
    if (qEnvironmentVariableIsEmpty("TARMO_SCREENSHOTS"))
        GTEST_SKIP() << "TARMO_SCREENSHOTS is not set";
    const QPalette normal = QApplication::palette();
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(45, 45, 48));
    dark.setColor(QPalette::WindowText, QColor(220, 220, 220));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::AlternateBase, QColor(45, 45, 48));
    dark.setColor(QPalette::Text, QColor(220, 220, 220));
    dark.setColor(QPalette::Button, QColor(60, 60, 64));
    dark.setColor(QPalette::ButtonText, QColor(220, 220, 220));
    dark.setColor(QPalette::Highlight, QColor(38, 79, 120));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
    database.SetDefaultText(
        procedures, QStringLiteral("-- <DATE> <TIME> by <DONEBYVSS>\r\nCREATE PROCEDURE dbo.\r\nAS\r\n"));
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? dark : normal);
        frmOptions form;
        open(form);
        for (const char* key : {"GENERAL", "VIEW", "DEFAULTTEXT", "EDITOR", "EDITOR:CHANGESMADE:NEW",
                                "EDITOR:CHANGESMADE:EDIT", "EDITOR:CHANGESMADE:PERMISSION", "PERMISSIONS"}) {
            form.SelectCategory(QLatin1String(key));
            QString name = QStringLiteral("options-") +
                           QString::fromLatin1(key).toLower().replace(QLatin1Char(':'), QLatin1Char('-'));
            Screenshot(&form, isDark ? name + QStringLiteral("-dark") : name);
        }
    }
    QApplication::setPalette(normal);
}
