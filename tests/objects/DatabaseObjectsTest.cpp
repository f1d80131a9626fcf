#include "ObjectsFixture.h"

#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOObjectList.h"
#include "TARMOProject.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTables.h"
#include "TARMOTriggers.h"

namespace {

QStringList keysOf(const TARMODBTItems& items) {
    QStringList keys;
    items.ForEach([&](const TARMODBTItem& item) { keys << item.Key; });
    return keys;
}

QString menuRow(const TARMOContextMenu& m) {
    QStringList on;
    const std::pair<bool, const char*> entries[] = {{m.Edit, "Edit"},
                                                    {m.Rename, "Rename"},
                                                    {m.Delete, "Delete"},
                                                    {m.AddToVSS, "AddToVSS"},
                                                    {m.AddToSQL, "AddToSQL"},
                                                    {m.DeleteFromVSS, "DeleteFromVSS"},
                                                    {m.DeleteFromSQL, "DeleteFromSQL"},
                                                    {m.EditPermissions, "EditPermissions"},
                                                    {m.GetLatestVersion, "GetLatestVersion"},
                                                    {m.CheckIn, "CheckIn"},
                                                    {m.CheckOut, "CheckOut"},
                                                    {m.UndoCheckout, "UndoCheckout"}};
    for (const auto& [set, name] : entries)
        if (set)
            on << QLatin1String(name);
    return m.DisplayName + QLatin1Char(':') + on.join(QLatin1Char(','));
}

// The core over a project whose connections reach the fixture's server and store as Bob.
class DispatchTest : public ObjectsTest {
protected:
    void SetUp() override {
        ObjectsTest::SetUp();
        ASSERT_EQ(project.SQL().OpenConnection(sql.Server(), QStringLiteral("Shop"), QStringLiteral("sa"),
                                               QStringLiteral("sa-pw"), 0, true),
                  QString());
        project.VSS().SetGeneralWorkingFolder(vss.GeneralWorkingFolder());
        ASSERT_EQ(project.VSS().OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"),
                                               QStringLiteral("$\\Shop\\"), {}, true),
                  QString());
        objects = std::make_unique<TARMODatabaseObjects>(settings, &project);
    }

    IsolatedUserFolders userFolders;
    TARMODatabase settings;
    TARMOProject project;
    std::unique_ptr<TARMODatabaseObjects> objects;
};

} // namespace

TEST_F(DispatchTest, TopLevelMenusAndTagsFindTheirLists) {
    auto top = objects->GetItemInfo(QStringLiteral("Start"), QString());
    EXPECT_EQ(keysOf(*top), (QStringList{QStringLiteral("StoredProcedures"), QStringLiteral("Tables"),
                                         QStringLiteral("UserDefinedFunctions"), QStringLiteral("Views")}));
    const TARMODBTItem& procedures = top->Item(1);
    EXPECT_EQ(procedures.Text, QStringLiteral("Stored Procedures"));
    EXPECT_EQ(procedures.ImageName, QStringLiteral("STOREDPROCEDURES"));
    EXPECT_EQ(procedures.Children().Item(1).Key, QStringLiteral("StoredProcedures_tmp"));

    auto newMenu = objects->GetItemsForNewMenu();
    EXPECT_EQ(keysOf(*newMenu),
              (QStringList{QStringLiteral("StoredProcedure"), QStringLiteral("UserDefinedFunction"),
                           QStringLiteral("View"), QStringLiteral("Trigger")}));
    EXPECT_EQ(newMenu->Item(2).Text, QStringLiteral("User Defined Function"));
    EXPECT_EQ(keysOf(*objects->GetItemsForSyncronisation()),
              (QStringList{QStringLiteral("StoredProcedures"), QStringLiteral("UserDefinedFunctions"),
                           QStringLiteral("Views"), QStringLiteral("Triggers")}));
    EXPECT_EQ(objects->AvailableEditableObjects()->Count(), 4);
    EXPECT_EQ(objects->GetObjectSubDisplayName(QStringLiteral("View")), QStringLiteral("View"));
    EXPECT_EQ(objects->GetObjectSubDisplayName(QStringLiteral("Views")), QString());

    auto created = objects->NewItemOfType(QStringLiteral("UserDefinedFunction"));
    ASSERT_TRUE(created);
    EXPECT_TRUE(created->IsNew());
    EXPECT_FALSE(objects->NewItemOfType(QStringLiteral("Table")));
    EXPECT_FALSE(objects->NewItemOfType(QStringLiteral("Views")));
    EXPECT_TRUE(objects->Icons().Contains(QStringLiteral("PERMISSION:DENY")));
    EXPECT_TRUE(objects->Icons().Contains(QStringLiteral("TRIGGER:INSERT")));
}

TEST_F(DispatchTest, ObjectsAreReachedByTreeKeyAndBareIdAndEveryListEventIsRelayed) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Find AS SELECT 1"));
    const QString id = IdOf(QStringLiteral("Find"));
    AddFile(id + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Find AS SELECT 1"));
    QStringList events;
    objects->RetrieveStatusChange = [&](const QString& type, const QString& name, long, long total, bool&) {
        events << QStringLiteral("retrieve ") + type + QLatin1Char('/') + name + QLatin1Char(' ') +
                      QString::number(total);
    };
    objects->AddingStatusChange = [&](const QString& type, const QString&, long current, long, bool&) {
        events << QStringLiteral("adding ") + type + QLatin1Char(' ') + QString::number(current);
    };
    objects->CompletedCurrentStatus = [&](const QString& type, const QString&) { events << "done " + type; };

    auto items = objects->GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
    ASSERT_EQ(items->Count(), 1);
    EXPECT_EQ(items->Item(1).Key, QStringLiteral("I") + id);
    EXPECT_EQ(events.first(), QStringLiteral("retrieve StoredProcedures/Stored Procedures 3"));
    EXPECT_EQ(events.last(), QStringLiteral("done StoredProcedures"));
    EXPECT_TRUE(events.contains(QStringLiteral("adding StoredProcedures 1")));

    const TARMOObjectRef byKey =
        objects->GetObject(QStringLiteral("StoredProcedure"), QStringLiteral("I") + id);
    const TARMOObjectRef byId = objects->GetObject(QStringLiteral("StoredProcedure"), id);
    ASSERT_TRUE(byKey);
    EXPECT_EQ(byKey.Versioned(), byId.Versioned());
    EXPECT_EQ(byKey.ParentObjectType(), QStringLiteral("StoredProcedures"));
    EXPECT_FALSE(objects->GetObject(QStringLiteral("Permission"), QStringLiteral("P") + id));
    EXPECT_FALSE(objects->GetObject(QStringLiteral("StoredProcedures"), QStringLiteral("I") + id));
    EXPECT_EQ(objects->GetObjectType(QStringLiteral("P") + id), QStringLiteral("StoredProcedure"));
    EXPECT_EQ(objects->GetObjectType(QStringLiteral("I999999")), QString());
    EXPECT_TRUE(objects->CanOpenObject(QStringLiteral("StoredProcedure"), QStringLiteral("I") + id));
    EXPECT_FALSE(objects->CanOpenObject(QStringLiteral("View"), QStringLiteral("I") + id));
    EXPECT_EQ(objects->GetObjectFields(QStringLiteral("I") + id).Count(), 0);

    // An object found in one store only leaves its list until the next list refresh.
    Exec(QStringLiteral("DROP PROCEDURE dbo.Find"));
    auto gone = objects->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I") + id);
    ASSERT_TRUE(gone);
    EXPECT_TRUE(gone->RemoveItem);
    EXPECT_FALSE(objects->CanOpenObject(QStringLiteral("StoredProcedure"), id));
    EXPECT_FALSE(objects->RefreshItem(QStringLiteral("Nothing"), id));
}

TEST_F(DispatchTest, TablesShowColumnsPermissionsAndTheirOwnTriggers) {
    Exec(QStringLiteral(
        "CREATE TABLE dbo.Stock (Item int NOT NULL, Price decimal(10, 2) NULL, Label nvarchar(20) NULL)"));
    Exec(QStringLiteral("CREATE TABLE dbo.Other (Id int NOT NULL)"));
    Exec(QStringLiteral("CREATE TRIGGER dbo.Stock_Ins ON dbo.Stock FOR INSERT AS SET NOCOUNT ON"));
    Exec(QStringLiteral("CREATE TRIGGER dbo.Other_Ins ON dbo.Other FOR INSERT AS SET NOCOUNT ON"));
    Exec(QStringLiteral("GRANT SELECT, UPDATE ON dbo.Stock TO [public]"));
    Exec(QStringLiteral("DENY DELETE ON dbo.Stock TO [public]"));
    const QString d = IdOf(QStringLiteral("Stock"));

    auto tables = objects->GetItemInfo(QStringLiteral("Tables"), QStringLiteral("Tables"));
    EXPECT_EQ(keysOf(*tables),
              (QStringList{QStringLiteral("I") + IdOf(QStringLiteral("Other")), QStringLiteral("I") + d}));
    auto children = objects->GetItemInfo(QStringLiteral("Table"), QStringLiteral("I") + d);
    EXPECT_EQ(keysOf(*children), (QStringList{QStringLiteral("F") + d + QStringLiteral("_field_1"),
                                              QStringLiteral("F") + d + QStringLiteral("_field_2"),
                                              QStringLiteral("F") + d + QStringLiteral("_field_3"),
                                              QStringLiteral("P") + d, QStringLiteral("T") + d}));
    const TARMODBTItem& price = children->Item(2);
    EXPECT_EQ(price.Children().Item(1).Text, QStringLiteral("decimal(10, 2)"));
    EXPECT_EQ(price.Children().Item(2).Text, QStringLiteral("Nullable"));
    EXPECT_EQ(children->Item(5).Tag, QStringLiteral("Triggers"));
    EXPECT_EQ(children->Item(5).ImageName, QStringLiteral("TRIGGERS"));

    auto triggers = objects->GetItemInfo(QStringLiteral("Triggers"), QStringLiteral("T") + d);
    EXPECT_EQ(keysOf(*triggers), QStringList{QStringLiteral("I") + IdOf(QStringLiteral("Stock_Ins"))});
    auto node = objects->RefreshItem(QStringLiteral("Triggers"), QStringLiteral("T") + d);
    EXPECT_EQ(node->Key, QStringLiteral("T") + d);

    auto grantees = objects->GetItemInfo(QStringLiteral("Permission"), QStringLiteral("P") + d);
    ASSERT_EQ(grantees->Count(), 1);
    const TARMODBTItem& everyone = grantees->Item(1);
    EXPECT_EQ(everyone.Key, QStringLiteral("P") + d + QStringLiteral("_value1"));
    EXPECT_EQ(everyone.Text, QStringLiteral("public"));
    EXPECT_EQ(everyone.ImageName, QStringLiteral("PERMISSION:ROLE"));
    QStringList statements;
    everyone.Children().ForEach(
        [&](const TARMODBTItem& s) { statements << s.Text + QLatin1Char('|') + s.ImageName; });
    EXPECT_EQ(statements, (QStringList{QStringLiteral("SELECT|PERMISSION:GRANT"),
                                       QStringLiteral("UPDATE|PERMISSION:GRANT"),
                                       QStringLiteral("DELETE|PERMISSION:DENY")}));

    QString name, owner;
    EXPECT_TRUE(objects->GetTableName(QString(), QStringLiteral("T") + d, name, owner));
    EXPECT_EQ(name + QLatin1Char('.') + owner, QStringLiteral("Stock.dbo"));
    EXPECT_FALSE(objects->GetTableName(QString(), QStringLiteral("I1"), name, owner));
    EXPECT_TRUE(name.isEmpty() && owner.isEmpty());
    const TARMOObjectRef table = objects->GetObject(QStringLiteral("Table"), QStringLiteral("I") + d);
    EXPECT_FALSE(table.IsEditable());
    EXPECT_TRUE(table.InSQL() && !table.InVSS());
    EXPECT_FALSE(table.SyncAdd(TARMOObjectVSS::LocationVSS));

    // Dropped and created again under the same name: the node keeps its place in the tree with a new key.
    Exec(QStringLiteral("DROP TABLE dbo.Other"));
    Exec(QStringLiteral("CREATE TABLE dbo.Other (Id int NOT NULL, Extra int NULL)"));
    const QString otherId = IdOf(QStringLiteral("Other"));
    auto refreshed = objects->RefreshItem(QStringLiteral("Table"), tables->Item(1).Key);
    EXPECT_FALSE(refreshed->RemoveItem);
    if (tables->Item(1).Key != QStringLiteral("I") + otherId) {
        EXPECT_EQ(refreshed->KeyChanged, tables->Item(1).Key.mid(1));
        EXPECT_EQ(refreshed->Key, QStringLiteral("I") + otherId);
    }
    EXPECT_TRUE(objects->Tables().ObjectIsOfThisType(otherId));
}

// What each thing offers, state by state.
TEST_F(DispatchTest, ContextMenuFollowsTheEnablingRulesRowByRow) {
    Exec(QStringLiteral("CREATE VIEW dbo.Both AS SELECT 1 AS one"));
    Exec(QStringLiteral("CREATE VIEW dbo.SqlOnly AS SELECT 1 AS one"));
    Exec(QStringLiteral("CREATE TABLE dbo.T (Id int NOT NULL)"));
    Exec(QStringLiteral("CREATE TRIGGER dbo.T_Ins ON dbo.T FOR INSERT AS SET NOCOUNT ON"));
    const QString both = IdOf(QStringLiteral("Both"));
    const QString trig = IdOf(QStringLiteral("T_Ins"));
    AddFile(both + QStringLiteral(".vw"), QStringLiteral("CREATE VIEW dbo.Both AS SELECT 1 AS one"));
    AddFile(QStringLiteral("900001.vw"), QStringLiteral("CREATE VIEW dbo.VssOnly AS SELECT 1 AS one"));
    AddFile(trig + QStringLiteral(".trg"),
            QStringLiteral("CREATE TRIGGER dbo.T_Ins ON dbo.T FOR INSERT AS SET NOCOUNT ON"));
    objects->GetItemInfo(QStringLiteral("Views"), QStringLiteral("Views"));
    objects->GetItemInfo(QStringLiteral("Tables"), QStringLiteral("Tables"));
    objects->GetObjectObjects(QStringLiteral("Triggers"));
    const auto menu = [&](const QString& tag, const QString& key) {
        return menuRow(objects->GetContextMenu(tag, key));
    };
    const QString view = QStringLiteral("View");

    EXPECT_EQ(menu(view, QStringLiteral("I") + both),
              QStringLiteral("Both:Edit,Rename,Delete,EditPermissions,GetLatestVersion,CheckOut"));
    ASSERT_TRUE(vss.CheckOut(both + QStringLiteral(".vw"), true));
    objects->RefreshItem(view, QStringLiteral("I") + both);
    EXPECT_EQ(menu(view, QStringLiteral("I") + both),
              QStringLiteral("Both:Edit,Rename,Delete,EditPermissions,CheckIn,UndoCheckout"));
    ASSERT_TRUE(vss.UndoCheckout(both + QStringLiteral(".vw"), true));
    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->CheckOut(both + QStringLiteral(".vw"), true));
    objects->RefreshItem(view, QStringLiteral("I") + both);
    EXPECT_EQ(menu(view, QStringLiteral("I") + both),
              QStringLiteral("Both:Edit,Rename,Delete,EditPermissions,GetLatestVersion"));

    EXPECT_EQ(menu(view, QStringLiteral("I") + IdOf(QStringLiteral("SqlOnly"))),
              QStringLiteral("SqlOnly:AddToVSS,DeleteFromSQL,EditPermissions"));
    EXPECT_EQ(menu(view, QStringLiteral("I900001")), QStringLiteral("VssOnly:AddToSQL,DeleteFromVSS"));
    // A trigger has no permissions to offer; a table offers only them, without a name.
    EXPECT_EQ(menu(QStringLiteral("Trigger"), QStringLiteral("I") + trig),
              QStringLiteral("T_Ins:Edit,Rename,Delete,GetLatestVersion,CheckOut"));
    EXPECT_EQ(menu(QStringLiteral("Table"), QStringLiteral("I") + IdOf(QStringLiteral("T"))),
              QStringLiteral(":EditPermissions"));
    EXPECT_EQ(menu(QStringLiteral("Views"), QStringLiteral("Views")), QStringLiteral(":"));
    EXPECT_EQ(menu(QStringLiteral("Permission"), QStringLiteral("P") + both), QStringLiteral(":"));
    EXPECT_EQ(menu(QString(), QStringLiteral("OWNER") + both), QStringLiteral(":"));
}

TEST_F(DispatchTest, ListsOverAnotherDatabaseReadItAloneAndRelayTheirEvents) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Here AS SELECT 1"));
    QStringList done;
    objects->CompletedCurrentStatus = [&](const QString& type, const QString&) { done << type; };
    const QList<TARMOObjectList*> lists = objects->SetupAvailableEditableObjectsForAnotherDB(&sql);
    ASSERT_EQ(lists.size(), 4);
    QStringList types;
    for (TARMOObjectList* list : lists) {
        types << list->ObjectType();
        EXPECT_TRUE(list->CheckSQLOnly());
        bool cancel = false;
        list->RefreshList(cancel);
    }
    EXPECT_EQ(types, (QStringList{QStringLiteral("StoredProcedures"), QStringLiteral("Triggers"),
                                  QStringLiteral("UserDefinedFunctions"), QStringLiteral("Views")}));
    EXPECT_EQ(done, types);
    EXPECT_EQ(lists.first()->Count(), 1);
    EXPECT_FALSE(lists.first()->Item(IdOf(QStringLiteral("Here")))->InVSS());
}

TEST_F(DispatchTest, DeletedItemsComeBackAsObjectsOfTheDeletedListWithTheNamesInTheirTexts) {
    Exec(QStringLiteral("CREATE TABLE dbo.T (Id int NOT NULL)"));
    AddFile(QStringLiteral("900002.sp"), QStringLiteral("CREATE PROCEDURE Gone AS SELECT 1"));
    AddFile(QStringLiteral("900003.trg"),
            QStringLiteral("CREATE TRIGGER dbo.T_Gone ON dbo.T FOR INSERT AS SET NOCOUNT ON"));
    AddFile(QStringLiteral("Named.sp"), QStringLiteral("CREATE PROCEDURE dbo.Named AS SELECT 1"));
    for (const char* item : {"900002.sp", "900003.trg", "Named.sp"})
        ASSERT_TRUE(vss.RemoveItem(QLatin1String(item), true));

    const auto groups = objects->GetObjectsForUndeleteing();
    ASSERT_EQ(groups.size(), 4);
    ASSERT_EQ(groups[0]->Count(), 1) << "a deleted item with a name that isn't an id isn't listed";
    EXPECT_EQ(groups[0]->Item(1).Key, QStringLiteral("I900002"));
    EXPECT_EQ(groups[0]->Item(1).Text, QStringLiteral("Gone"));
    EXPECT_EQ(groups[0]->Item(1).Tag, QStringLiteral("StoredProcedure"));
    EXPECT_EQ(groups[3]->Item(1).Text, QStringLiteral("T_Gone on dbo.T"));
    const TARMOObjectRef gone =
        objects->GetObject(QStringLiteral("StoredProcedure"), QStringLiteral("I900002"), true);
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone.Owner(), QStringLiteral("dbo")) << "a text without owner takes the connection's user";
    EXPECT_EQ(objects->GetObjectsForUndeleteing(QStringLiteral("Triggers")).size(), 1);
}

// The identity changes reach the list of the kind tag; a trigger goes and comes back through it.
TEST_F(DispatchTest, RenameDeleteAndUndeleteGoToTheListOfTheKindTag) {
    Exec(QStringLiteral("CREATE TABLE dbo.Stock (Id int NOT NULL)"));
    const QString trigger =
        QStringLiteral("CREATE TRIGGER dbo.Stock_Ins ON dbo.Stock FOR INSERT AS SET NOCOUNT ON");
    Exec(trigger);
    const QString triggerID = IdOf(QStringLiteral("Stock_Ins"));
    AddFile(triggerID + QStringLiteral(".trg"), trigger);
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Old_Name AS SELECT 1"));
    const QString procID = IdOf(QStringLiteral("Old_Name"));
    AddFile(procID + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Old_Name AS SELECT 1"));
    Refresh(objects->StoredProcedures());
    Refresh(objects->Triggers());

    const QString tableKey = QStringLiteral("I") + IdOf(QStringLiteral("Stock"));
    EXPECT_FALSE(objects->RenameItem(QStringLiteral("Table"), tableKey, QStringLiteral("Stock2")));
    EXPECT_FALSE(objects->DeleteItem(QStringLiteral("Table"), tableKey));
    EXPECT_FALSE(objects->DeleteItem(QStringLiteral("View"), QStringLiteral("I") + procID))
        << "the view list doesn't hold a procedure";
    EXPECT_FALSE(IdOf(QStringLiteral("Old_Name")).isEmpty());

    ASSERT_TRUE(objects->RenameItem(QStringLiteral("StoredProcedure"), QStringLiteral("I") + procID,
                                    QStringLiteral("New_Name")));
    const QString renamedID = IdOf(QStringLiteral("New_Name"));
    EXPECT_EQ(objects->GetObject(QStringLiteral("StoredProcedure"), QStringLiteral("I") + renamedID).Name(),
              QStringLiteral("New_Name"));

    ASSERT_TRUE(objects->DeleteItem(QStringLiteral("Trigger"), QStringLiteral("I") + triggerID));
    EXPECT_TRUE(IdOf(QStringLiteral("Stock_Ins")).isEmpty());
    EXPECT_FALSE(objects->CanOpenObject(QStringLiteral("Trigger"), QStringLiteral("I") + triggerID));
    const auto groups = objects->GetObjectsForUndeleteing(QStringLiteral("Triggers"));
    ASSERT_EQ(groups.size(), 1);
    ASSERT_EQ(groups[0]->Count(), 1);
    EXPECT_EQ(groups[0]->Item(1).Text, QStringLiteral("Stock_Ins on dbo.Stock"));
    ASSERT_TRUE(objects->UnDeleteObject(QStringLiteral("Trigger"), QStringLiteral("I") + triggerID));
    const QString backID = IdOf(QStringLiteral("Stock_Ins"));
    ASSERT_FALSE(backID.isEmpty());
    EXPECT_NE(backID, triggerID);
    EXPECT_TRUE(FileExists(backID + QStringLiteral(".trg")));
    Refresh(objects->Triggers());
    EXPECT_TRUE(objects->CanOpenObject(QStringLiteral("Trigger"), QStringLiteral("I") + backID));
}
