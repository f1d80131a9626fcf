#include "EmbeddedServer.h"
#include "Globals.h"
#include "KeyStore.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VersionStore.h"
#include "frmProjectBrowser.h"
#include "frmProjectDetails.h"
#include "frmVSSProjectBrowser.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QTimer>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

// A fresh settings store, a real embedded server (sa / secret, database master) and a real version
// store (Admin / adminpw) with the project $/Sales, and a working folder.
class BrowserTest : public ::testing::Test {
protected:
    void SetUp() override {
        gDatabase = std::make_unique<TARMODatabase>();
        EmbeddedServer::Create(dir.Path(QStringLiteral("server")), QStringLiteral("secret"));
        ini = VersionStore::Create(dir.Path(QStringLiteral("store")), QStringLiteral("adminpw"));
        QDir().mkpath(work());
        TARMOVSS admin;
        ASSERT_EQ(admin.OpenConnection(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"),
                                       QStringLiteral("$\\"), work() + QLatin1Char('/'), true, true),
                  QString());
        ASSERT_EQ(admin.CreateNewProject(QStringLiteral("$\\"), QStringLiteral("Sales")), QString());
    }
    void TearDown() override { gDatabase.reset(); }

    QString server() const { return QStringLiteral("embedded:") + dir.Path(QStringLiteral("server")); }
    QString work() const { return dir.Path(QStringLiteral("work")); }

    // Fills every step of the wizard with values that pass.
    void fill(frmProjectDetails& w, const QString& name) {
        w.txtProjectName->setText(name);
        w.txtWorkingFolder->setText(work());
        w.txtSQLServer->setText(server());
        w.txtSQLUsername->setText(QStringLiteral("sa"));
        w.txtSQLPassword->setText(QStringLiteral("secret"));
        w.chkSQLStorePassword->setChecked(true);
        w.cboSQLDatabase->setEditText(QStringLiteral("master"));
        w.txtVSSIniFile->setText(ini);
        w.txtVSSUserName->setText(QStringLiteral("Admin"));
        w.txtVSSPassword->setText(QStringLiteral("adminpw"));
        w.chkVSSStorePassword->setChecked(true);
        w.txtVSSProject->setText(QStringLiteral("$\\Sales\\"));
    }

    std::shared_ptr<TARMOProject> saved(const QString& name) {
        frmProjectDetails w;
        w.BeginNew();
        fill(w, name);
        w.cmdFinished->click();
        auto project = w.Result();
        EXPECT_TRUE(project);
        gDatabase->SaveProject(*project);
        return project;
    }

    IsolatedUserFolders folders;
    TempFolder dir;
    ScriptedPromptsScope prompts;
    QString ini;
};

QStringList titles(ScriptedPrompts& p) {
    QStringList t;
    for (const auto& r : p.Records())
        t << r.title;
    return t;
}

} // namespace

TEST_F(BrowserTest, ValidationStopsAtTheFirstFaultWithItsMessageAndFocus) {
    frmProjectDetails w;
    w.BeginNew();
    w.show();
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Project Wizard - New Project"));
    w.cmdFinished->click();
    ASSERT_EQ(prompts->Messages(), QStringList{QStringLiteral("No Project Name specified!")});
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Invalid Data"));
    EXPECT_EQ(prompts->Records().first().icon, Prompt::Icon::Exclamation);
    EXPECT_EQ(w.Step(), 1);
    EXPECT_TRUE(w.isVisible());

    struct Case {
        std::function<void()> spoil;
        int step;
        QString text;
    };
    saved(QStringLiteral("Taken"));
    const QList<Case> cases = {
        {[&] { w.txtProjectName->setText(QStringLiteral("TAKEN")); }, 1,
         QStringLiteral("The specified Project Name already exists!")},
        {[&] { w.txtWorkingFolder->setText(QStringLiteral("  ")); }, 1,
         QStringLiteral("No Working Folder specified!")},
        {[&] { w.txtWorkingFolder->setText(work() + QStringLiteral("/missing")); }, 1,
         QStringLiteral("The specified Working Folder does not exist!")},
        {[&] { w.txtSQLServer->clear(); }, 2, QStringLiteral("No SQL Server specified!")},
        {[&] { w.txtSQLUsername->clear(); }, 2, QStringLiteral("No Username specified!")},
        {[&] { w.cboSQLDatabase->setEditText(QString()); }, 3, QStringLiteral("No Database specified!")},
        {[&] { w.txtVSSIniFile->clear(); }, 4, QStringLiteral("No Ini File specified!")},
        {[&] { w.txtVSSIniFile->setText(ini + QStringLiteral(".gone")); }, 4,
         QStringLiteral("The specified Ini File does not exist!")},
        {[&] { w.txtVSSUserName->clear(); }, 4, QStringLiteral("No Username specified!")},
        {[&] { w.txtVSSProject->clear(); }, 5, QStringLiteral("No Project specified!")},
    };
    for (const auto& c : cases) {
        prompts->Clear();
        fill(w, QStringLiteral("Fresh"));
        c.spoil();
        w.cmdFinished->click();
        ASSERT_FALSE(prompts->Messages().isEmpty()) << qPrintable(c.text);
        EXPECT_EQ(prompts->Messages().last(), c.text);
        EXPECT_EQ(w.Step(), c.step) << qPrintable(c.text);
        EXPECT_TRUE(w.isVisible());
        Screenshot(&w, QStringLiteral("frmProjectDetails-step%1").arg(c.step));
    }
    w.hide();
}

// A login that fails can be accepted, since a project may be defined while its server is away.
TEST_F(BrowserTest, FailedLoginCanBeAcceptedOrRefused) {
    frmProjectDetails w;
    w.BeginNew();
    fill(w, QStringLiteral("Away"));
    w.txtSQLPassword->setText(QStringLiteral("wrong"));
    prompts->QueueAnswer(Prompt::Answer::No);
    w.cmdFinished->click();
    EXPECT_EQ(w.Step(), 3);
    ASSERT_EQ(prompts->Records().size(), 1);
    const auto& question = prompts->Records().first();
    EXPECT_EQ(question.title, QStringLiteral("Invalid Data"));
    EXPECT_EQ(question.icon, Prompt::Icon::Critical);
    EXPECT_TRUE(question.text.startsWith(QStringLiteral("Could not connect to the specified database. Would "
                                                        "you like to continue anyway?\r\nThe following error "
                                                        "occured:\r\n")));
    EXPECT_TRUE(question.text.contains(QStringLiteral("Login failed for user 'sa'.")))
        << qPrintable(question.text);

    // Without a password the login dialog asks; cancelling it is the error, and Yes accepts all the same.
    prompts->Clear();
    w.txtSQLPassword->clear();
    w.chkSQLStorePassword->setChecked(false);
    prompts->QueueLogin(false);
    prompts->QueueAnswer(Prompt::Answer::Yes); // SQL: continue anyway
    prompts->QueueAnswer(Prompt::Answer::Yes); // store: continue anyway
    w.cmdFinished->click();
    EXPECT_TRUE(prompts->Messages().first().endsWith(QStringLiteral("Password was not entered!")));
    ASSERT_TRUE(w.Result());
    EXPECT_EQ(w.Result()->SQL().Password(), QString());
}

TEST_F(BrowserTest, WindowsAuthenticationClearsTheLogin) {
    auto project = std::make_shared<TARMOProject>();
    project->SetName(QStringLiteral("Trusted"));
    project->SQL().SetUseWinNTAuth(true);
    frmProjectDetails w;
    w.BeginEdit(project);
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Project Wizard - Project Details"));
    EXPECT_EQ(w.txtSQLUsername->text(), QStringLiteral("(Windows authentication)"));
    EXPECT_FALSE(w.txtSQLUsername->isEnabled());
    EXPECT_TRUE(w.chkSQLStorePassword->isHidden());
    EXPECT_FALSE(w.Dirty());
    w.chkUseWindowsAuth->setChecked(false);
    EXPECT_EQ(w.txtSQLUsername->text(), QString());
    EXPECT_TRUE(w.txtSQLUsername->isEnabled());
    EXPECT_TRUE(w.Dirty());

    // A cancelled edit leaves the object as it was; the discard question guards the changes.
    prompts->QueueAnswer(Prompt::Answer::No);
    w.reject();
    EXPECT_EQ(prompts->Records().last().title, QStringLiteral("Discard Changes?"));
    prompts->QueueAnswer(Prompt::Answer::Yes);
    w.reject();
    EXPECT_EQ(w.Result(), nullptr);
    EXPECT_TRUE(project->SQL().UseWinNTAuth());
}

TEST_F(BrowserTest, StoreProjectTreeOpensDownThePresentFolder) {
    TARMOVSS connection;
    ASSERT_EQ(connection.OpenConnection(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"),
                                        QStringLiteral("$\\"), work() + QLatin1Char('/'), true, true),
              QString());
    ASSERT_EQ(connection.CreateNewProject(QStringLiteral("$\\Sales\\"), QStringLiteral("Orders")), QString());
    frmVSSProjectBrowser tree;
    tree.Prepare(QStringLiteral("$\\Sales\\Orders"), connection);
    auto* selected = tree.tvwVSSProjects()->currentItem();
    ASSERT_NE(selected, nullptr);
    EXPECT_EQ(frmVSSProjectBrowser::KeyOf(selected), QStringLiteral("$\\Sales\\Orders\\"));

    tree.Prepare(QString(), connection);
    EXPECT_EQ(tree.tvwVSSProjects()->currentItem(), nullptr);
    auto* root = tree.tvwVSSProjects()->topLevelItem(0);
    ASSERT_EQ(root->childCount(), 1);
    EXPECT_FALSE(root->child(0)->isExpanded());
    root->child(0)->setExpanded(true); // the placeholder gives way to the real children
    ASSERT_EQ(root->child(0)->childCount(), 1);
    EXPECT_EQ(root->child(0)->child(0)->text(0), QStringLiteral("Orders"));
}

// The list comes up with its first row chosen, so Open works without a click on a row.
TEST_F(BrowserTest, OpenActsOnTheFirstRowWithoutAClick) {
    saved(QStringLiteral("First"));
    saved(QStringLiteral("Second"));
    prompts->Clear();
    frmProjectBrowser modal;
    QTimer::singleShot(0, &modal, [&] {
        QTreeWidgetItem* chosen = modal.lvwProjects()->currentItem();
        ASSERT_NE(chosen, nullptr);
        EXPECT_TRUE(chosen->isSelected());
        modal.cmdOpen()->click();
    });
    auto picked = modal.ProjectBrowser(nullptr, true);
    ASSERT_TRUE(picked);
    EXPECT_EQ(picked->Name(), QStringLiteral("First"));
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(BrowserTest, BrowserListsRemovesAndOpens) {
    auto* browser = new frmProjectBrowser;
    browser->setAttribute(Qt::WA_DeleteOnClose);
    browser->ProjectBrowser(nullptr, false);
    EXPECT_EQ(browser->lvwProjects()->topLevelItemCount(), 0);
    browser->cmdOpen()->click();
    browser->cmdEdit()->click();
    browser->cmdRemove()->click();
    EXPECT_TRUE(prompts->Records().isEmpty()) << "an empty list does nothing";
    browser->close();

    saved(QStringLiteral("One"));
    saved(QStringLiteral("Two"));
    saved(QStringLiteral("Three"));
    prompts->Clear();

    frmProjectBrowser modal;
    QTimer::singleShot(0, &modal, [&] {
        ASSERT_EQ(modal.lvwProjects()->topLevelItemCount(), 3);
        modal.lvwProjects()->topLevelItem(1)->setSelected(true);
        modal.lvwProjects()->setCurrentItem(modal.lvwProjects()->topLevelItem(1));
        prompts->QueueAnswer(Prompt::Answer::Yes);
        modal.cmdRemove()->click();
        modal.lvwProjects()->setCurrentItem(modal.lvwProjects()->topLevelItem(1));
        modal.lvwProjects()->topLevelItem(1)->setSelected(true);
        modal.cmdOpen()->click();
    });
    auto picked = modal.ProjectBrowser(nullptr, true);
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().text, QStringLiteral("Are you sure you want to the project 'Two'?"));
    ASSERT_TRUE(picked);
    EXPECT_EQ(picked->Name(), QStringLiteral("Three"));
    EXPECT_EQ(picked->Sequence(), 2) << "the list was read anew after the removal";
    EXPECT_TRUE(picked->SQL().ConnectionOpen());
    EXPECT_TRUE(picked->VSS().ConnectionOpen());

    prompts->Clear();
    frmProjectBrowser byName;
    EXPECT_FALSE(byName.OpenRecentProject(-1, QString()));
    EXPECT_FALSE(byName.OpenRecentProject(0, QString()));
    EXPECT_EQ(titles(*prompts), (QStringList{QStringLiteral("Unable to open project"),
                                             QStringLiteral("Unable to open project")}));
    EXPECT_TRUE(byName.OpenRecentProject(-1, QStringLiteral("One")));
    EXPECT_EQ(gDatabase->Project()->Name(), QStringLiteral("One"));
}

TEST_F(BrowserTest, PickingTheOpenProjectUnchangedGivesNothing) {
    auto open = saved(QStringLiteral("Open"));
    auto pick = [&] {
        frmProjectBrowser browser;
        QTimer::singleShot(0, &browser, [&] {
            browser.lvwProjects()->setCurrentItem(browser.lvwProjects()->topLevelItem(0));
            browser.lvwProjects()->topLevelItem(0)->setSelected(true);
            browser.cmdOpen()->click();
        });
        return browser.OpenProjectBrowser(*open);
    };
    EXPECT_EQ(pick(), nullptr);
    open->VSS().SetPassword(QStringLiteral("changed"));
    auto picked = pick();
    ASSERT_TRUE(picked);
    EXPECT_FALSE(picked->SQL().ConnectionOpen()) << "from the main window the browser only picks";
}

// A first run with nothing at all: the wizard makes a new embedded server, a database and a version
// store, the browser saves the project, and opening it connects both stores.
TEST(FirstRun, ProjectFromNothingEntirelyInTheWindows) {
    IsolatedUserFolders folders;
    TempFolder dir;
    ScriptedPromptsScope prompts;
    gDatabase = std::make_unique<TARMODatabase>();
    QDir().mkpath(dir.Path(QStringLiteral("work")));

    frmProjectBrowser browser;
    browser.ProjectBrowser(nullptr, false);
    QTimer::singleShot(0, &browser, [&] {
        auto* wizard = qobject_cast<frmProjectDetails*>(QApplication::activeModalWidget());
        ASSERT_NE(wizard, nullptr);
        wizard->txtProjectName->setText(QStringLiteral("Fresh"));
        wizard->txtWorkingFolder->setText(dir.Path(QStringLiteral("work")));
        prompts->QueueFile(dir.Path(QStringLiteral("server")));
        prompts->QueueLogin(true, QStringLiteral("sa"), QStringLiteral("sapw"));
        wizard->cmdNewServer->click();
        prompts->QueueText(QStringLiteral("Fresh"));
        wizard->cmdNewDatabase->click();
        wizard->chkSQLStorePassword->setChecked(true);
        prompts->QueueFile(dir.Path(QStringLiteral("store")));
        prompts->QueueLogin(true, QStringLiteral("Admin"), QStringLiteral("adminpw"));
        wizard->cmdNewStore->click();
        wizard->chkVSSStorePassword->setChecked(true);
        wizard->txtVSSProject->setText(QStringLiteral("$\\"));
        wizard->cmdFinished->click();
        if (wizard->isVisible())
            wizard->reject();
    });
    browser.cmdNew()->click();
    // The store just made is tested with the password given for it: Finished asks nothing more.
    EXPECT_EQ(prompts->Messages(), QStringList());
    QStringList newLogins;
    for (const auto& record : prompts->Records())
        if (record.kind == ScriptedPrompts::Kind::NewLogin)
            newLogins << record.title;
    EXPECT_EQ(newLogins,
              (QStringList{QStringLiteral("New Embedded Server"), QStringLiteral("New Version Store")}));
    ASSERT_EQ(browser.lvwProjects()->topLevelItemCount(), 1);
    auto* item = browser.lvwProjects()->topLevelItem(0);
    EXPECT_EQ(item->text(1), QStringLiteral("embedded:") + dir.Path(QStringLiteral("server")));
    EXPECT_EQ(item->text(2), QStringLiteral("Fresh"));

    browser.lvwProjects()->setCurrentItem(item);
    item->setSelected(true);
    browser.cmdOpen()->click();
    ASSERT_TRUE(gDatabase->Project());
    EXPECT_EQ(gDatabase->Project()->Name(), QStringLiteral("Fresh"));
    EXPECT_TRUE(gDatabase->Project()->SQL().ConnectionOpen());
    EXPECT_TRUE(gDatabase->Project()->VSS().ConnectionOpen());
    EXPECT_EQ(gDatabase->Project()->SQL().Database(), QStringLiteral("Fresh"));
    gDatabase.reset();
}
