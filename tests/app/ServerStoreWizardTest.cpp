// The wizard's store on a server: made from the folder, the database URL, the owner's login and the
// new user's login, and then the wizard's own login.
#include "LocalPostgres.h"
#include "ScriptedPrompts.h"
#include "StoreErrors.h"
#include "TestSupport.h"
#include "VersionStore.h"
#include "frmProjectDetails.h"

#include <QDir>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

TEST(ServerStoreWizard, MakesAStoreOnAServerAndTakesItsLogin) {
    const QString missing = LocalPostgres::Missing();
    if (!missing.isEmpty())
        GTEST_SKIP() << missing.toStdString();
    // Outside the test's own folder, which the server's user can't reach when the tests run as root.
    const QString serverFolder = QDir::tempPath() + QStringLiteral("/tarmo-wizard-pg-%1").arg(getpid());
    struct Cleanup {
        QString folder;
        ~Cleanup() { QDir(folder).removeRecursively(); }
    } cleanup{serverFolder};
    LocalPostgres server(serverFolder);
    QString why;
    ASSERT_TRUE(server.Start(&why)) << why.toStdString();
    server.CreateDatabase(QStringLiteral("wizard"));

    TempFolder dir;
    ScriptedPromptsScope prompts;
    frmProjectDetails wizard;
    auto queue = [&](const QString& folder) {
        prompts->QueueFile(folder);
        prompts->QueueText(server.Url(QStringLiteral("wizard")));
        prompts->QueueLogin(true, LocalPostgres::OwnerName(), LocalPostgres::OwnerPassword());
        prompts->QueueLogin(true, QStringLiteral("Anna"), QStringLiteral("annapw"));
    };
    queue(dir.Path(QStringLiteral("store")));
    wizard.cmdNewServerStore->click();
    EXPECT_EQ(prompts->Messages(), QStringList());
    const QString ini = dir.Path(QStringLiteral("store/srcsafe.ini"));
    EXPECT_EQ(wizard.txtVSSIniFile->text(), ini);
    EXPECT_EQ(wizard.txtVSSUserName->text(), QStringLiteral("Anna"));
    EXPECT_EQ(wizard.txtVSSPassword->text(), QStringLiteral("annapw"));
    VersionStore store;
    store.Open(ini, QStringLiteral("Anna"), QStringLiteral("annapw"));
    EXPECT_FALSE(store.IsAdmin());
    store.Open(ini, QStringLiteral("Admin"), QStringLiteral("annapw"));
    EXPECT_EQ(store.Users(), (QStringList{QStringLiteral("Admin"), QStringLiteral("Anna")}));

    // A database that holds a store already is refused with a message, and the wizard keeps its login.
    queue(dir.Path(QStringLiteral("again")));
    wizard.cmdNewServerStore->click();
    ASSERT_EQ(prompts->Messages().size(), 1);
    EXPECT_TRUE(prompts->Messages().first().contains(QLatin1String("already holds a version store")))
        << prompts->Messages().first().toStdString();
    EXPECT_EQ(wizard.txtVSSIniFile->text(), ini);
    EXPECT_FALSE(QFile::exists(dir.Path(QStringLiteral("again/srcsafe.ini"))));
}

} // namespace
