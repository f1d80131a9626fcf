#include "DemoSeed.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

// The demo that the run command seeds must open at start with both connections, and seeding
// twice must keep what is there.
TEST(DemoSeed, SeedsOnceAndOpensAtStart) {
    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TempFolder dir;
    const auto first = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), false);
    ASSERT_TRUE(first.ok) << qPrintable(first.error);
    const auto second = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), false);
    ASSERT_TRUE(second.ok) << qPrintable(second.error);
    EXPECT_EQ(second.log.size(), 1) << qPrintable(second.log.join(QLatin1Char('\n')));

    TARMODatabase database;
    EXPECT_EQ(database.GetRegistryProjectCount(), 1);
    auto project = database.GetDefaultProject();
    ASSERT_TRUE(project);
    EXPECT_EQ(project->SQL().OpenConnection(), QString());
    EXPECT_EQ(project->VSS().OpenConnection(), QString());
    EXPECT_EQ(project->SQL().GetObjectID(QStringLiteral("GetCustomerOrders")).isEmpty(), false);
    EXPECT_TRUE(prompts->Records().isEmpty());

    const auto reset = DemoSeed::Seed(dir.Path(QStringLiteral("demo")), true);
    ASSERT_TRUE(reset.ok) << qPrintable(reset.error);
    EXPECT_EQ(TARMODatabase().GetRegistryProjectCount(), 1) << "the record is kept, not doubled";
}
