#include "VssTestFixture.h"

#include "GeneralHelpers.h"

namespace {

using ConnectionTest = VssTest;

TEST_F(ConnectionTest, WorkingFolderGetsItsSeparator) {
    TARMOVSS vss;
    vss.SetGeneralWorkingFolder(QStringLiteral("/work"));
    EXPECT_EQ(vss.GetItemFileName(QStringLiteral("x.sp")), QStringLiteral("/work/x.sp"));
    vss.SetGeneralWorkingFolder(QStringLiteral("/work/"));
    EXPECT_EQ(vss.GetItemFileName(QStringLiteral("x.sp")), QStringLiteral("/work/x.sp"));
    vss.SetGeneralWorkingFolder(QString());
    EXPECT_EQ(vss.GeneralWorkingFolder(), QStringLiteral("/"));
}

TEST_F(ConnectionTest, PasswordDialogOnlyWhenNothingElseGivesAPassword) {
    TARMOVSS vss;
    vss.SetIniFile(ini);
    vss.SetUserName(QStringLiteral("Bob"));
    vss.SetProject(QStringLiteral("$\\Sales\\"));

    // Cancelled dialog: the text, in a critical box unless silent.
    prompts->QueueLogin(false);
    EXPECT_EQ(vss.OpenConnection(), QStringLiteral("Password was not entered!"));
    prompts->QueueLogin(false);
    EXPECT_EQ(vss.OpenConnection({}, {}, {}, {}, {}, true), QStringLiteral("Password was not entered!"));
    EXPECT_EQ(Boxes(), QStringList{QStringLiteral("Connection Error|Password was not entered!")});
    ASSERT_EQ(prompts->Records().size(), 3);
    EXPECT_EQ(prompts->Records()[0].kind, ScriptedPrompts::Kind::VSSLogin);
    EXPECT_EQ(prompts->Records()[0].text, ini);
    EXPECT_FALSE(vss.ConnectionOpen());

    // The dialog may change the user as well as the password.
    prompts->Clear();
    prompts->QueueLogin(true, QStringLiteral("Carol"), QStringLiteral("carol"));
    EXPECT_EQ(vss.OpenConnection(), QString());
    EXPECT_TRUE(vss.ConnectionOpen());
    EXPECT_EQ(vss.UserName(), QStringLiteral("Carol"));
    EXPECT_EQ(vss.Password(), QStringLiteral("carol"));

    // Once connected, a reconnection asks nothing, even with the password forgotten.
    vss.SetPassword(QString());
    prompts->Clear();
    EXPECT_EQ(vss.OpenConnection(), QStringLiteral("Invalid password for user \"Carol\""));
    EXPECT_EQ(vss.OpenConnection({}, {}, QStringLiteral("carol")), QString());
    for (const auto& record : prompts->Records())
        EXPECT_NE(record.kind, ScriptedPrompts::Kind::VSSLogin);
    EXPECT_EQ(Boxes(), QStringList{QStringLiteral("Connection Error|Invalid password for user \"Carol\"")});
    vss.CloseConnection();
    EXPECT_FALSE(vss.ConnectionOpen());
}

TEST_F(ConnectionTest, EmptyPasswordIsTriedWithoutDialogWhenTheFlagsSaySo) {
    TARMOVSS ignoring;
    EXPECT_EQ(ignoring.OpenConnection(ini, QStringLiteral("Bob"), {}, QStringLiteral("$/"), {}, true, true),
              QStringLiteral("Invalid password for user \"Bob\""));
    TARMOVSS stored;
    stored.SetStorePassword(true);
    EXPECT_EQ(stored.OpenConnection(ini, QStringLiteral("Bob"), {}, QStringLiteral("$/"), {}, true),
              QStringLiteral("Invalid password for user \"Bob\""));
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(ConnectionTest, TestConnectionNamesWhatIsWrong) {
    TARMOVSS vss;
    EXPECT_EQ(
        vss.TestConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"), QStringLiteral("$\\Sales\\")),
        QString());
    EXPECT_EQ(vss.TestConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob")), QString());
    EXPECT_EQ(vss.TestConnection(ini, QStringLiteral("Nobody"), QStringLiteral("x")),
              QStringLiteral("User \"Nobody\" not found"));
    EXPECT_FALSE(
        vss.TestConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"), QStringLiteral("$/Missing"))
            .isEmpty());
    EXPECT_TRUE(vss.TestConnection(folder.Path(QStringLiteral("none.ini")), QStringLiteral("Bob"), {})
                    .contains(QStringLiteral("does not exist")));

    // A project that isn't there stops OpenConnection with that text.
    const QString error =
        vss.OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"), QStringLiteral("$/Missing"));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(Boxes(), QStringList{QStringLiteral("Connection Error|") + error});
    EXPECT_FALSE(vss.ConnectionOpen());
}

TEST_F(ConnectionTest, CreateNewProjectMapsTheStoresRefusals) {
    auto vss = Connect(QStringLiteral("Bob"), QStringLiteral("bob"));
    EXPECT_EQ(vss->CreateNewProject(QStringLiteral("$\\Sales\\"), QStringLiteral("Orders")), QString());
    EXPECT_EQ(vss->CreateNewProject(QStringLiteral("$\\Sales\\"), QStringLiteral("Orders")),
              QStringLiteral("The Project '$\\Sales\\Orders' already exists!"));
    EXPECT_EQ(vss->CreateNewProject(QStringLiteral("$\\Sales\\"), QStringLiteral("a\\b")),
              QStringLiteral("The Project 'a\\b' could not be added (Problem with the name structure)!"));
    EXPECT_EQ(vss->CreateNewProject(QStringLiteral("$\\Sales\\"), QStringLiteral("a?b")),
              QStringLiteral("The New Project Name 'a?b' is invalid!"));
    EXPECT_FALSE(vss->CreateNewProject(QStringLiteral("$\\Nowhere\\"), QStringLiteral("x")).isEmpty());
    vss->CreateNewProject(QStringLiteral("$/Sales"), QStringLiteral("Archive"));

    const QStringList folders = vss->GetProjectSubFolders(QStringLiteral("$\\Sales\\"));
    EXPECT_EQ(folders, (QStringList{QString(), QStringLiteral("Archive"), QStringLiteral("Orders")}));
    EXPECT_EQ(vss->GetProjectSubFolders(QStringLiteral("$\\Sales\\Orders\\")), QStringList{QString()});
    EXPECT_TRUE(prompts->Records().isEmpty()) << "CreateNewProject reports through its result only";
}

TEST_F(ConnectionTest, OperationsWhileClosedFailAsACallDoes) {
    TARMOVSS vss;
    vss.SetGeneralWorkingFolder(Work(QStringLiteral("Bob")));
    EXPECT_FALSE(vss.CheckOut(QStringLiteral("x.sp")));
    EXPECT_EQ(Boxes().size(), 1);
    EXPECT_TRUE(Boxes()[0].startsWith(QStringLiteral("Could not check out|")));
    EXPECT_FALSE(vss.ItemExists(QStringLiteral("x.sp")));
    EXPECT_THROW(vss.Items(), TARMOError);
}

} // namespace
