#include "EmbeddedServer.h"
#include "Globals.h"
#include "ProjectWindow.h"
#include "Registry.h"
#include "ScriptedPrompts.h"
#include "SystemComponents.h"
#include "TARMODatabase.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VersionStore.h"
#include "frmInitialize.h"
#include "frmProjectBrowser.h"
#include "frmSystem.h"
#include "mdiMain.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

QStringList attemptsOf(const QString& prefix) {
    QStringList found;
    for (const auto& a : SystemComponents::Attempts())
        if (a.startsWith(prefix))
            found << a;
    return found;
}

class ComponentCheck : public ::testing::Test {
protected:
    void SetUp() override { SystemComponents::Clear(); }
    void TearDown() override { SystemComponents::Clear(); }
};

template <typename T> T* findTopLevel(const QString& objectName) {
    for (auto* w : QApplication::topLevelWidgets())
        if (auto* t = qobject_cast<T*>(w); t && t->objectName() == objectName && t->isVisible())
            return t;
    return nullptr;
}

} // namespace

TEST_F(ComponentCheck, VersionsAreTriedInTheTableOrder) {
    SystemComponents::Register(QStringLiteral("MSXML2.DOMDocument.4.0"));
    EXPECT_EQ(SystemComponents::Test(QStringLiteral("MSXML2.DOMDocument"), 4, 2, 6, 0),
              QStringLiteral("4.0"));
    EXPECT_EQ(attemptsOf(QStringLiteral("MSXML2")),
              (QStringList{QStringLiteral("MSXML2.DOMDocument.4.6"), QStringLiteral("MSXML2.DOMDocument.4.5"),
                           QStringLiteral("MSXML2.DOMDocument.4.4"), QStringLiteral("MSXML2.DOMDocument.4.3"),
                           QStringLiteral("MSXML2.DOMDocument.4.2"), QStringLiteral("MSXML2.DOMDocument.4.1"),
                           QStringLiteral("MSXML2.DOMDocument.4.0")}));

    SystemComponents::Clear();
    SystemComponents::Register(QStringLiteral("MSXML2.DOMDocument.3"));
    EXPECT_EQ(SystemComponents::Test(QStringLiteral("MSXML2.DOMDocument"), 4, 2, 6, 0), QStringLiteral("3"));
    EXPECT_EQ(attemptsOf(QStringLiteral("MSXML2")).size(), 7 + 1 + 7 + 1) << "4.6-4.0, 4, 3.6-3.0, then 3";

    SystemComponents::Clear();
    EXPECT_EQ(SystemComponents::Test(QStringLiteral("SourceSafe"), 0, 0, -1, -1), QString());
    EXPECT_EQ(SystemComponents::Attempts(), QStringList{QStringLiteral("SourceSafe")})
        << "the identifier alone";
}

TEST_F(ComponentCheck, OlderVersionThanShownStillPasses) {
    SystemComponents::Register(QStringLiteral("SourceSafe"));
    SystemComponents::Register(QStringLiteral("ADODB.Recordset.2.4"));
    SystemComponents::Register(QStringLiteral("MSXML2.DOMDocument.2.0"));
    EXPECT_TRUE(SystemComponents::FindMissing().isEmpty());

    SystemComponents::Unregister(QStringLiteral("SourceSafe"));
    SystemComponents::Unregister(QStringLiteral("ADODB.Recordset.2.4"));
    SystemComponents::Register(QStringLiteral("ADODB.Recordset.2.3"));
    const auto missing = SystemComponents::FindMissing();
    ASSERT_EQ(missing.size(), 2);
    EXPECT_EQ(missing[0].component, QStringLiteral("Visual SourceSafe"));
    EXPECT_EQ(missing[0].minimumVersion, QStringLiteral("6.0"));
    EXPECT_EQ(missing[1].component, QStringLiteral("ADO"));
    EXPECT_EQ(missing[1].minimumVersion, QStringLiteral("2.5"));
}

TEST_F(ComponentCheck, ThisProgramsLayersSatisfyTheCheck) {
    SystemComponents::RegisterPlatformComponents();
    EXPECT_TRUE(SystemComponents::FindMissing().isEmpty());
}

// The warning's No leaves the window open; Yes lets the run go on.
TEST_F(ComponentCheck, ContinueAnywayAsksFirst) {
    ScriptedPromptsScope prompts;
    SystemComponents::Register(QStringLiteral("ADODB.Recordset.2.8"));
    SystemComponents::Register(QStringLiteral("MSXML2.DOMDocument.4.0"));
    frmSystem window;
    prompts->QueueAnswer(Prompt::Answer::No);
    prompts->QueueAnswer(Prompt::Answer::Yes);
    bool stillOpenAfterNo = false;
    int rows = -1;
    QTimer::singleShot(0, &window, [&] {
        rows = window.lvwError()->topLevelItemCount();
        Screenshot(&window, QStringLiteral("frmSystem"));
        window.cmdContinue()->click();
        stillOpenAfterNo = window.isVisible();
        window.cmdContinue()->click();
    });
    EXPECT_TRUE(window.SystemRequirementsOK());
    EXPECT_EQ(rows, 1);
    EXPECT_TRUE(stillOpenAfterNo);
    ASSERT_EQ(prompts->Records().size(), 2);
    const auto& question = prompts->Records().first();
    EXPECT_EQ(question.title, QStringLiteral("Continue Anyway?"));
    EXPECT_EQ(question.text, QStringLiteral("WARNING: If you continue, TARMO may crash at any time!\n\n"
                                            "Are you sure you wish to continue?"));
    EXPECT_EQ(question.icon, Prompt::Icon::Exclamation);
    EXPECT_EQ(question.buttons, Prompt::Buttons::YesNo);
    EXPECT_EQ(window.windowTitle(), QStringLiteral("System Requirements not met!"));
}

TEST_F(ComponentCheck, CloseEndsTheRun) {
    ScriptedPromptsScope prompts;
    frmSystem window;
    QTimer::singleShot(0, &window, [&] { window.cmdClose()->click(); });
    EXPECT_FALSE(window.SystemRequirementsOK());
    EXPECT_EQ(window.lvwError()->topLevelItemCount(), 3);
    EXPECT_TRUE(prompts->Records().isEmpty());
}

// A first run with an empty store and every component present: no message, every status in order,
// and the run arrives where a project is chosen.
TEST_F(ComponentCheck, FirstRunArrivesAtTheProjectChoice) {
    ScriptedPromptsScope prompts;
    SystemComponents::RegisterPlatformComponents();
    auto* splash = new frmInitialize;
    QSignalSpy finished(splash, &frmInitialize::Finished);
    splash->StartTARMO();
    EXPECT_EQ(splash->windowTitle(), QStringLiteral("TARMO - Initializing"));
    EXPECT_EQ(splash->lblVersion()->text(), QStringLiteral("Version: 2.0"));
    Screenshot(splash, QStringLiteral("frmInitialize"));
    ASSERT_TRUE(finished.wait(5000));

    const QString product = QStringLiteral("TARMO v2.0 Professional");
    EXPECT_EQ(splash->StatusHistory(),
              (QStringList{QStringLiteral("Initializing %1 Database").arg(product),
                           QStringLiteral("Initializing %1 Projects").arg(product),
                           QStringLiteral("Checking System Requirements"),
                           QStringLiteral("Finding Most Recent %1 Project").arg(product),
                           QStringLiteral("Finding %1 Projects").arg(product),
                           QStringLiteral("Initializing Project Browser")}));
    EXPECT_EQ(splash->lblStatus()->text(), QStringLiteral("Initializing Project Browser ..."));
    EXPECT_TRUE(prompts->Records().isEmpty());
    ASSERT_NE(gDatabase, nullptr);
    EXPECT_FALSE(gDatabase->OpenMostRecent());

    auto* browser = findTopLevel<frmProjectBrowser>(QStringLiteral("frmProjectBrowser"));
    ASSERT_NE(browser, nullptr);
    EXPECT_EQ(browser->windowTitle(), QStringLiteral("Project Browser"));
    EXPECT_EQ(browser->lvwProjects()->topLevelItemCount(), 0);
    EXPECT_FALSE(browser->chkMostResent()->isChecked());
    Screenshot(browser, QStringLiteral("frmProjectBrowser"));
    browser->close();
    QApplication::processEvents();
}

namespace {

// Runs the start-up to its end and gives the statuses it showed.
QStringList runStartup() {
    SystemComponents::RegisterPlatformComponents();
    auto* splash = new frmInitialize;
    QSignalSpy finished(splash, &frmInitialize::Finished);
    splash->StartTARMO();
    EXPECT_TRUE(finished.wait(10000));
    return splash->StatusHistory();
}

void saveProjectAsMostRecent(TARMOProject& project) {
    TARMODatabase settings;
    project.SetSequence(1);
    settings.SaveProject(project);
    settings.SetOpenMostRecent(true);
}

void closeStartWindow() {
    for (const char* name : {"mdiMain", "frmProjectBrowser"})
        if (auto* w = findTopLevel<QWidget>(QString::fromLatin1(name)))
            w->close();
    QApplication::processEvents();
}

} // namespace

// A project whose server can't be reached: its connection shows the error, the store is not tried,
// and the start goes on to the project choice.
TEST_F(ComponentCheck, UnreachableProjectGoesOnToTheProjectChoice) {
    IsolatedUserFolders folders;
    TempFolder dir;
    ScriptedPromptsScope prompts;
    TARMOProject project;
    project.SetName(QStringLiteral("Gone"));
    project.SQL().SetServer(QStringLiteral("embedded:") + dir.Path(QStringLiteral("no-server-here")));
    project.SQL().SetDatabase(QStringLiteral("Sales"));
    project.SQL().SetUserName(QStringLiteral("sa"));
    project.SQL().SetStorePassword(true);
    saveProjectAsMostRecent(project);

    const QStringList statuses = runStartup();
    EXPECT_TRUE(statuses.contains(QStringLiteral("Opening Most Recent Project - Connecting to SQL")));
    EXPECT_FALSE(statuses.contains(QStringLiteral("Opening Most Recent Project - Connecting to VSS")));
    EXPECT_EQ(statuses.last(), QStringLiteral("Initializing Project Browser"));
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Connection Error"));
    EXPECT_EQ(prompts->Records().first().icon, Prompt::Icon::Critical);
    closeStartWindow();
}

TEST_F(ComponentCheck, MostRecentProjectIsConnectedAndOpened) {
    IsolatedUserFolders folders;
    TempFolder dir;
    ScriptedPromptsScope prompts;
    EmbeddedServer::Create(dir.Path(QStringLiteral("server")), QStringLiteral("secret"));
    QDir().mkpath(dir.Path(QStringLiteral("work")));
    const QString ini = VersionStore::Create(dir.Path(QStringLiteral("store")), QStringLiteral("adminpw"));
    {
        TARMOVSS admin;
        ASSERT_EQ(admin.OpenConnection(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"),
                                       QStringLiteral("$\\"), dir.Path(QStringLiteral("work")), true, true),
                  QString());
        ASSERT_EQ(admin.CreateNewProject(QStringLiteral("$\\"), QStringLiteral("Demo")), QString());
    }

    TARMOProject project;
    project.SetName(QStringLiteral("Demo"));
    project.SQL().SetServer(QStringLiteral("embedded:") + dir.Path(QStringLiteral("server")));
    project.SQL().SetDatabase(QStringLiteral("master"));
    project.SQL().SetUserName(QStringLiteral("sa"));
    project.SQL().SetPassword(QStringLiteral("secret"));
    project.SQL().SetStorePassword(true);
    project.VSS().SetIniFile(ini);
    project.VSS().SetUserName(QStringLiteral("Admin"));
    project.VSS().SetPassword(QStringLiteral("adminpw"));
    project.VSS().SetStorePassword(true);
    project.VSS().SetProject(QStringLiteral("$\\Demo\\"));
    project.VSS().SetGeneralWorkingFolder(dir.Path(QStringLiteral("work")));
    saveProjectAsMostRecent(project);

    SetProjectWindowFactory([] { return new mdiMain; });
    // The first user of the project is offered a synchronization; this bare main window has no
    // synchronization window installed, so saying Yes changes nothing.
    prompts->QueueAnswer(Prompt::Answer::Yes);
    const QStringList statuses = runStartup();
    SetProjectWindowFactory(nullptr);
    ASSERT_EQ(prompts->Records().size(), 1) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Start Synchronization Process?"));
    EXPECT_EQ(statuses.last(), QStringLiteral("Opening Most Recent Project"));
    ASSERT_TRUE(gDatabase->Project());
    EXPECT_EQ(gDatabase->Project()->Name(), QStringLiteral("Demo"));
    EXPECT_TRUE(gDatabase->Project()->SQL().ConnectionOpen());
    EXPECT_TRUE(gDatabase->Project()->VSS().ConnectionOpen());
    EXPECT_TRUE(gDatabase->Project()->IsFirstUserToConnect());
    auto* opened = findTopLevel<QWidget>(QStringLiteral("mdiMain"));
    ASSERT_NE(opened, nullptr);
    EXPECT_TRUE(opened->isVisible());
    EXPECT_EQ(opened->windowTitle(), QStringLiteral("Demo - TARMO"));
    Screenshot(opened, QStringLiteral("frmProjectOpened"));
    gDatabase->Project()->ProjectWasSyncronized();
    EXPECT_FALSE(gDatabase->Project()->IsFirstUserToConnect());
    closeStartWindow();
}
