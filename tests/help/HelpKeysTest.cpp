#include "HelpFixture.h"
#include "TARMODatabase.h"
#include "frmEditObjectTextSavePrompt.h"
#include "frmInitialize.h"
#include "frmItemDescription.h"
#include "frmItemHistory.h"
#include "frmOptions.h"
#include "frmPassword.h"
#include "frmProjectBrowser.h"
#include "frmProjectDetails.h"
#include "frmRenameObject.h"
#include "frmSyncProcess.h"
#include "frmSyncResults.h"
#include "frmUndelete.h"
#include "frmVSSProjectBrowser.h"
#include "mdiMain.h"
#include "modShortcutKeys.h"

#include <QAction>
#include <QTest>
#include <QTreeWidget>

#include <functional>
#include <memory>

namespace {

// A window with a topic, made as its opener makes it: the windows below the main window find
// gHelp themselves, the others are handed the hook by the opener.
struct WindowWithTopic {
    const char* name;
    std::function<QWidget*()> make;
    const char* page;
};

template <typename Form> std::function<QWidget*()> hooked() {
    return [] {
        auto* form = new Form;
        form->SetHelp(HelpHook());
        return form;
    };
}

template <typename Form> std::function<QWidget*()> plain() {
    return [] { return new Form; };
}

// F1 goes to the control with the focus, as a user's key does; the window must see it from there.
QWidget* focusedControl(QWidget* window) {
    for (QWidget* child : window->findChildren<QWidget*>())
        if (child->window() == window && child->isVisible() && child->isEnabled() &&
            child->focusPolicy() != Qt::NoFocus) {
            child->setFocus();
            return child;
        }
    return window;
}

} // namespace

// Every window with a topic, F1 pressed in one of its controls, lands on its page and section. The
// help window is sent elsewhere first, so a key that did nothing can't pass for the right page.
TEST_F(HelpTest, F1InEachWindowOpensItsTopic) {
    const std::vector<WindowWithTopic> windows = {
        {"splash", plain<frmInitialize>(), "Introduction.htm"},
        {"project browser", plain<frmProjectBrowser>(), "ProjectManager.htm#Browser"},
        {"project wizard", plain<frmProjectDetails>(), "ProjectManager.htm#Wizard"},
        {"store project browser", plain<frmVSSProjectBrowser>(), "GettingStarted_Step2.htm#VSSProject"},
        {"new store project", plain<frmVSSNewProject>(), "GettingStarted_Step2.htm#VSSProject"},
        {"server login",
         [] { return new frmSQLPassword(QStringLiteral("embedded:/srv"), QStringLiteral("Demo")); },
         "GettingStarted_Step2.htm#OpenProject"},
        {"store login", [] { return new frmVSSPassword(QStringLiteral("/srv/store/srcsafe.ini")); },
         "GettingStarted_Step2.htm#OpenProject"},
        {"save changes", plain<frmEditObjectTextSavePrompt>(), "Options.htm#ChangesMade"},
        {"description", plain<frmItemDescription>(), "Descriptions.htm"},
        {"rename", hooked<frmRenameObject>(), "ObjectMaint.htm#Renaming"},
        {"undelete", hooked<frmUndelete>(), "ObjectMaint.htm#Undeleting"},
        {"history", hooked<frmItemHistory>(), "ObjectMaint.htm#History"},
        {"synchronization steps", hooked<frmSyncProcess>(), "Synchronization.htm"},
        {"synchronization results", hooked<frmSyncResults>(), "Synchronization.htm"},
        {"options",
         [] {
             auto* form = new frmOptions;
             form->SetHelp(HelpHook());
             form->tvwCaterogies()->setCurrentItem(nullptr);
             return form;
         },
         "Options.htm"},
    };
    for (const WindowWithTopic& entry : windows) {
        SCOPED_TRACE(entry.name);
        std::unique_ptr<QWidget> form(entry.make());
        form->setAttribute(Qt::WA_DeleteOnClose, false);
        form->show();
        gHelp->ShowHelp(nullptr, 0);
        QTest::keyClick(focusedControl(form.get()), Qt::Key_F1);
        EXPECT_EQ(shown(), HelpWindow::TopicUrl(QLatin1String(entry.page)));
        EXPECT_TRUE(form->isVisible());
    }
    EXPECT_TRUE(prompts->Records().isEmpty());
}

// The child windows have no key of their own: F1 reaches the main window's help command with the
// child's topic. Help > Contents opens the manual's start page from wherever it is chosen.
TEST_F(HelpTest, TheMainWindowsHelpCommandShowsTheChildsTopicAndContentsTheStartPage) {
    TARMODatabase database;
    mdiMain mainWindow;
    mainWindow.Factories().Help = HelpHook();
    mainWindow.SetLoading(true);
    mainWindow.Init(database);
    mainWindow.InitDBT(2865);
    mainWindow.SetLoading(false);
    int key = KeyCodes::F1;
    mainWindow.KeyPreview(true, key, 0, HelpId(HelpTopic::QueryWindow));
    EXPECT_EQ(window(), nullptr) << "F1 works when the key comes up";
    key = KeyCodes::F1;
    mainWindow.KeyPreview(false, key, 0, HelpId(HelpTopic::QueryWindow));
    EXPECT_EQ(key, 0);
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("SQLQuery.htm")));

    mainWindow.DoCommand(Command::Help, QString(), HelpId(HelpTopic::ObjectEditWindow));
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("TheEditor.htm")));

    auto* contents = mainWindow.findChild<QAction*>(QStringLiteral("mnuHelpContents"));
    ASSERT_NE(contents, nullptr);
    contents->trigger();
    EXPECT_EQ(shown().fileName(), HelpWindow::StartPage());
}
