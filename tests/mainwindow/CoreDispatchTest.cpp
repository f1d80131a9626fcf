#include "CoreDispatch.h"
#include "DatabaseTree.h"
#include "EmbeddedServer.h"
#include "ExplorerBar.h"
#include "MainWindowStart.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"
#include "VersionStore.h"

#include <QCoreApplication>
#include <QDir>

#include <gtest/gtest.h>

namespace {
QStringList childTexts(QTreeWidgetItem* item) {
    QStringList texts;
    for (int i = 0; item && i < item->childCount(); ++i)
        texts << item->child(i)->text(0);
    return texts;
}

QTreeWidgetItem* childNamed(QTreeWidgetItem* parent, const QString& text) {
    for (int i = 0; parent && i < parent->childCount(); ++i)
        if (parent->child(i)->text(0) == text)
            return parent->child(i);
    return nullptr;
}
} // namespace

// The main window over the real core, a real embedded server and a real store: what a user of the
// product sees.
class CoreDispatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        const QString pw = QStringLiteral("sa-pw");
        EmbeddedServer::Create(folder.Path(QStringLiteral("srv")), pw);
        const QString server = QStringLiteral("embedded:") + folder.Path(QStringLiteral("srv"));
        project = std::make_shared<TARMOProject>();
        project->SetName(QStringLiteral("Shop"));
        TARMOSQL& sql = project->SQL();
        ASSERT_EQ(sql.OpenConnection(server, QStringLiteral("master"), QStringLiteral("sa"), pw, 0, true),
                  QString());
        sql.ExecuteSQL(QStringLiteral("CREATE DATABASE Shop"));
        ASSERT_EQ(sql.OpenConnection(server, QStringLiteral("Shop"), QStringLiteral("sa"), pw, 0, true),
                  QString());
        sql.ExecuteSQL(
            QStringLiteral("CREATE TABLE dbo.Customers (CustomerID int NOT NULL, Name varchar(50) NULL)"));
        sql.ExecuteSQL(
            QStringLiteral("CREATE PROCEDURE dbo.usp_Orders @CustomerID int AS SELECT @CustomerID"));

        const QString ini =
            VersionStore::Create(folder.Path(QStringLiteral("store")), QStringLiteral("adminpw"));
        VersionStore admin;
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"));
        admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bob"));
        admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Shop"), QString());
        QDir().mkpath(folder.Path(QStringLiteral("work")));
        project->VSS().SetGeneralWorkingFolder(folder.Path(QStringLiteral("work")));
        ASSERT_EQ(project->VSS().OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"),
                                                QStringLiteral("$\\Shop\\"), {}, true),
                  QString());

        database.SetProject(project);
        window.AdoptDispatch(std::make_unique<CoreDispatch>(database));
        StartMainWindow(window, database, true, QSize(900, 600));
    }
    void TearDown() override { VSSBulkReader::Release(); }

    QTreeWidgetItem* top(const QString& text) {
        for (int i = 0; i < window.tvwDBT()->topLevelItemCount(); ++i)
            if (window.tvwDBT()->topLevelItem(i)->text(0) == text)
                return window.tvwDBT()->topLevelItem(i);
        return nullptr;
    }

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    mdiMain window;
};

TEST_F(CoreDispatchTest, TheTreeOpensDownToColumnsAndAnObjectCanBeAddedToTheStore) {
    ASSERT_NE(top(QStringLiteral("Stored Procedures")), nullptr);
    ASSERT_NE(top(QStringLiteral("Tables")), nullptr);
    ASSERT_NE(top(QStringLiteral("Views")), nullptr);

    QTreeWidgetItem* tables = top(QStringLiteral("Tables"));
    tables->setExpanded(true);
    QTreeWidgetItem* customers = childNamed(tables, QStringLiteral("Customers"));
    ASSERT_NE(customers, nullptr) << childTexts(tables).join(QLatin1Char(',')).toStdString();
    customers->setExpanded(true);
    const QStringList columns = childTexts(customers);
    EXPECT_TRUE(columns.contains(QStringLiteral("CustomerID")))
        << columns.join(QLatin1Char(',')).toStdString();
    EXPECT_TRUE(columns.contains(QStringLiteral("Permission")));
    EXPECT_TRUE(columns.contains(QStringLiteral("Triggers")));

    QTreeWidgetItem* procedures = top(QStringLiteral("Stored Procedures"));
    procedures->setExpanded(true);
    QTreeWidgetItem* orders = childNamed(procedures, QStringLiteral("usp_Orders"));
    ASSERT_NE(orders, nullptr) << childTexts(procedures).join(QLatin1Char(',')).toStdString();
    EXPECT_EQ(DatabaseTree::NodeImage(orders),
              window.GetIconIndex(QStringLiteral("STOREDPROCEDURE:VSSBROKEN"), false))
        << "known to SQL Server only";

    window.tvwDBT()->setCurrentItem(orders);
    window.UpdateContextPanel();
    ExplorerBar& panel = *window.ebcExtraInfo();
    ASSERT_TRUE(panel.HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupAddToVSS")))
        << panel.EntryKeys(QStringLiteral("Item")).join(QLatin1Char(',')).toStdString();
    panel.ClickEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupAddToVSS"));
    orders = childNamed(procedures, QStringLiteral("usp_Orders"));
    ASSERT_NE(orders, nullptr);
    EXPECT_EQ(DatabaseTree::NodeImage(orders),
              window.GetIconIndex(QStringLiteral("STOREDPROCEDURE:CHECKEDIN"), false));
    EXPECT_TRUE(panel.HasEntry(QStringLiteral("Item"), QStringLiteral("mnuPopupCheckOut")));
    QCoreApplication::processEvents();
    Screenshot(&window, QStringLiteral("mdiMain-real"));
}
