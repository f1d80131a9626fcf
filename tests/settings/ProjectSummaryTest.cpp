#include "EmbeddedServer.h"
#include "ScriptedPrompts.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

const QString kSaPassword = QStringLiteral("sa-pw");

// A server whose database Sales knows the login "dev" as "DEV" (the same name in another case) and
// the login "builder" as the user "release".
class ProjectSummaryTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        sFolder = new TempFolder();
        EmbeddedServer::Create(sFolder->Path(QStringLiteral("srv")), kSaPassword);
        TARMOSQL sa;
        ASSERT_EQ(
            sa.OpenConnection(server(), QStringLiteral("master"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        sa.ExecuteSQL(QStringLiteral("CREATE DATABASE Sales"));
        sa.ExecuteSQL(QStringLiteral("CREATE LOGIN dev WITH PASSWORD = 'dev-pw'"));
        sa.ExecuteSQL(QStringLiteral("CREATE LOGIN builder WITH PASSWORD = 'builder-pw'"));
        sa.CloseConnection();
        ASSERT_EQ(
            sa.OpenConnection(server(), QStringLiteral("Sales"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        sa.ExecuteSQL(QStringLiteral("CREATE USER DEV FOR LOGIN dev"));
        sa.ExecuteSQL(QStringLiteral("CREATE USER [release] FOR LOGIN builder"));
    }
    static void TearDownTestSuite() {
        delete sFolder;
        sFolder = nullptr;
    }
    static QString server() { return QStringLiteral("embedded:") + sFolder->Path(QStringLiteral("srv")); }

    void SetUp() override {
        project.SetName(QStringLiteral("Orders"));
        project.SQL().SetServer(server());
        project.SQL().SetDatabase(QStringLiteral("Sales"));
        project.VSS().SetProject(QStringLiteral("$/Orders"));
        project.VSS().SetUserName(QStringLiteral("ann"));
    }
    void connectAs(const QString& login, const QString& password) {
        project.SQL().SetUserName(login);
        ASSERT_EQ(project.SQL().OpenConnection(QString(), QString(), QString(), password), QString());
    }

    static TempFolder* sFolder;
    ScriptedPromptsScope prompts;
    TARMOProject project;
};

TempFolder* ProjectSummaryTest::sFolder = nullptr;

} // namespace

TEST_F(ProjectSummaryTest, WithoutAConnectionTheLoginStandsAlone) {
    project.SQL().SetUserName(QStringLiteral("builder"));
    const ProjectSummary summary = project.Summary();
    EXPECT_EQ(summary.name, QStringLiteral("Orders"));
    EXPECT_EQ(summary.server, server());
    EXPECT_EQ(summary.database, QStringLiteral("Sales"));
    EXPECT_EQ(summary.user, QStringLiteral("builder"));
    EXPECT_EQ(summary.storeProject, QStringLiteral("$/Orders"));
    EXPECT_EQ(summary.storeUser, QStringLiteral("ann"));
    EXPECT_EQ(prompts->Unanswered(), 0) << "a summary never asks for a login";
}

TEST_F(ProjectSummaryTest, TheDatabaseUserFollowsTheLoginOnlyWhenItIsAnotherName) {
    connectAs(QStringLiteral("builder"), QStringLiteral("builder-pw"));
    EXPECT_EQ(project.Summary().user, QStringLiteral("builder (release)"));
    project.SQL().CloseConnection();

    connectAs(QStringLiteral("dev"), QStringLiteral("dev-pw"));
    EXPECT_EQ(project.Summary().user, QStringLiteral("dev")) << "a difference of case is the same name";
}
