#include "ObjectsFixture.h"

#include "TARMODBTItems.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTrigger.h"
#include "TARMOTriggers.h"
#include "TARMOUserDefinedFunctions.h"
#include "TARMOViews.h"

namespace {

QStringList keysAndTexts(const TARMODBTItems& items) {
    QStringList out;
    items.ForEach([&](const TARMODBTItem& item) {
        out << item.Key + QLatin1Char('=') + item.Text + QLatin1Char('|') + item.ImageName;
        item.Children().ForEach([&](const TARMODBTItem& child) {
            out << QStringLiteral("  ") + child.Key + QLatin1Char('=') + child.Text + QLatin1Char('|') +
                       child.ImageName;
        });
    });
    return out;
}

} // namespace

TEST_F(ObjectsTest, IconKeysFollowPresenceAndTheHolderComparedWithCase) {
    Exec(QStringLiteral("CREATE VIEW dbo.Mine AS SELECT 1 AS one"));
    const QString id = IdOf(QStringLiteral("Mine"));
    AddFile(id + QStringLiteral(".vw"), QStringLiteral("CREATE VIEW dbo.Mine AS SELECT 1 AS one"));
    TARMOViews list;
    Bind(list);
    Refresh(list);
    auto view = list.Item(id);
    EXPECT_EQ(view->IconToUse(), QStringLiteral("VIEW:CHECKEDIN"));
    EXPECT_EQ(view->IconToUse(true), QStringLiteral("VIEW"));
    EXPECT_EQ(view->IconName(view->IconToUse()), QStringLiteral("VIEW:CHECKEDIN"));
    EXPECT_EQ(view->IconName(QStringLiteral("view:nothing")), QStringLiteral("-"));

    ASSERT_TRUE(vss.CheckOut(id + QStringLiteral(".vw"), true));
    view->RefreshState();
    EXPECT_TRUE(view->IsCheckedOutByMe());
    EXPECT_EQ(view->IconToUse(), QStringLiteral("VIEW:CHECKEDOUT"));

    // A holder whose name differs only in letter case is somebody else.
    ObjectStateAccess::SetHolder(*view, QStringLiteral("BOB"));
    EXPECT_FALSE(view->IsCheckedOutByMe());
    EXPECT_EQ(view->IconToUse(), QStringLiteral("VIEW:CHECKEDINOUT"));
    EXPECT_TRUE(view->GetContextMenu().GetLatestVersion);
    EXPECT_FALSE(view->GetContextMenu().CheckOut);
    view->RefreshState();

    TARMOContextMenu mine = view->GetContextMenu(true);
    EXPECT_EQ(mine.DisplayName, QStringLiteral("dbo.Mine"));
    EXPECT_TRUE(mine.CheckIn && mine.UndoCheckout && mine.Edit && mine.EditPermissions);
    EXPECT_FALSE(mine.CheckOut || mine.GetLatestVersion || mine.AddToVSS);

    // Dropped from the database: broken on the SQL side, and the menu offers the repair.
    Exec(QStringLiteral("DROP VIEW dbo.Mine"));
    view->RefreshState();
    EXPECT_FALSE(view->InSQL());
    EXPECT_EQ(view->IconToUse(), QStringLiteral("VIEW:SQLBROKEN"));
    TARMOContextMenu broken = view->GetContextMenu();
    EXPECT_TRUE(broken.AddToSQL && broken.DeleteFromVSS);
    EXPECT_FALSE(broken.Edit || broken.CheckIn);
    auto info = view->GetItemInfo(true);
    EXPECT_EQ(keysAndTexts(*info),
              (QStringList{QStringLiteral("OWNER") + id + QStringLiteral("=dbo|OWNER"),
                           QStringLiteral("NOTINSQL") + id +
                               QStringLiteral("=Item out of sync (not in SQL)|VIEW:SQLBROKEN")}));
}

TEST_F(ObjectsTest, RefreshStateFollowsAnObjectCreatedAgainUnderANewId) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Moving AS SELECT 1"));
    const QString oldId = IdOf(QStringLiteral("Moving"));
    AddFile(oldId + QStringLiteral(".sp"), QStringLiteral("create proc [DBO].[Moving] as select 1"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(oldId);

    Exec(QStringLiteral("DROP PROCEDURE dbo.Moving"));
    Exec(QStringLiteral("CREATE TABLE dbo.Filler (id int NULL)")); // takes the freed id
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Moving AS SELECT 2"));
    const QString newId = IdOf(QStringLiteral("Moving"));
    auto record = object->Refresh(true);
    EXPECT_EQ(object->DBID(), newId);
    EXPECT_TRUE(object->InSQL());
    EXPECT_TRUE(object->InVSS()) << "the item keeps its old file name; renaming it is the list's business";
    EXPECT_EQ(record->KeyChanged, oldId);
    EXPECT_EQ(record->Key, QStringLiteral("I") + newId);
    EXPECT_EQ(record->Text, QStringLiteral("DBO.Moving")) << "name and owner as the file's text writes them";
    EXPECT_EQ(record->Tag, QStringLiteral("StoredProcedure"));

    // Gone from both stores: nothing is left to show.
    Exec(QStringLiteral("DROP PROCEDURE dbo.Moving"));
    ASSERT_TRUE(vss.RemoveItem(oldId + QStringLiteral(".sp"), true));
    ObjectStateAccess::SetId(*object, oldId);
    record = object->Refresh(false);
    EXPECT_TRUE(record->RemoveItem);
    EXPECT_EQ(object->Name(), QString());
    EXPECT_EQ(object->Owner(), QString());
}

TEST_F(ObjectsTest, DescriptionIsBlankUntilSetAndAnEmptyValueKeepsTheItem) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Described AS SELECT 1"));
    const QString id = IdOf(QStringLiteral("Described"));
    AddFile(id + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Described AS SELECT 1"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    const QString item = id + QStringLiteral(".sp.desc");

    EXPECT_EQ(object->Description(), QString());
    object->SetDescription(QString());
    object->SetDescription(QStringLiteral("   "));
    EXPECT_FALSE(FileExists(item)) << "a blank description never creates an item";

    object->SetDescription(QStringLiteral("Lists the orders"));
    EXPECT_EQ(object->Description(), QStringLiteral("Lists the orders"));
    EXPECT_EQ(list.GetItemInfo(false)->Item(QStringLiteral("I") + id).ToolTipText(),
              QStringLiteral("Lists the orders"));

    object->SetDescription(QString());
    EXPECT_TRUE(FileExists(item));
    EXPECT_EQ(vss.ItemContent(item, false), QStringLiteral(" "));
    EXPECT_EQ(object->Description(), QString());
    // A blank description shows the label as tip, as the set-wise read must agree.
    EXPECT_EQ(list.GetItemInfo(false)->Item(QStringLiteral("I") + id).ToolTipText(),
              QStringLiteral("Described"));
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(ObjectsTest, FieldsTellTypesLengthsAndNullabilityAndTheReturnValue) {
    Exec(
        QStringLiteral("CREATE PROCEDURE dbo.Typed @id int, @amount decimal(10, 2) = NULL, @note varchar(30) "
                       "AS SELECT 1"));
    Exec(QStringLiteral("CREATE FUNCTION dbo.Twice (@x int) RETURNS int AS BEGIN RETURN @x * 2 END"));
    const QString proc = IdOf(QStringLiteral("Typed"));
    const QString udf = IdOf(QStringLiteral("Twice"));
    TARMOStoredProcedures procs;
    TARMOUserDefinedFunctions functions;
    Bind(procs);
    Bind(functions);
    icons.Add(QStringLiteral("FIELD"));
    icons.Add(QStringLiteral("FIELDDATA"));
    icons.Add(QStringLiteral("PERMISSIONS"));
    Refresh(procs);
    Refresh(functions);

    auto info = procs.Item(proc)->GetItemInfo(true);
    const QString f = QStringLiteral("F") + proc + QStringLiteral("_field_");
    const QString p = QStringLiteral("P") + proc;
    EXPECT_EQ(keysAndTexts(*info),
              (QStringList{QStringLiteral("OWNER") + proc + QStringLiteral("=dbo|OWNER"),
                           f + QStringLiteral("1=@id|FIELD"),
                           QStringLiteral("  ") + f + QStringLiteral("1_1=int|FIELDDATA"),
                           QStringLiteral("  ") + f + QStringLiteral("1_2=Nullable|FIELDDATA"),
                           f + QStringLiteral("2=@amount|FIELD"),
                           QStringLiteral("  ") + f + QStringLiteral("2_1=decimal(10, 2)|FIELDDATA"),
                           QStringLiteral("  ") + f + QStringLiteral("2_2=Nullable|FIELDDATA"),
                           f + QStringLiteral("3=@note|FIELD"),
                           QStringLiteral("  ") + f + QStringLiteral("3_1=varchar(30)|FIELDDATA"),
                           QStringLiteral("  ") + f + QStringLiteral("3_2=Nullable|FIELDDATA"),
                           p + QStringLiteral("=Permission|PERMISSIONS"),
                           QStringLiteral("  ") + p + QStringLiteral("_temp=|"),
                           QStringLiteral("NOTINVSS") + proc +
                               QStringLiteral("=Item out of sync (not in VSS)|STOREDPROCEDURE:VSSBROKEN")}));
    EXPECT_EQ(info->Item(p).Tag, QStringLiteral("Permission"));
    EXPECT_EQ(info->Item(p).Children().Item(1).Tag, QStringLiteral("temp"));

    // Only the fields, without nullability.
    EXPECT_EQ(procs.Item(proc)->GetItemInfo(true, true, false)->Count(), 3);
    EXPECT_EQ(procs.Item(proc)->GetFields(false).Item(2).Children().Count(), 1);

    const TARMOFields returned = functions.Item(udf)->GetFields();
    ASSERT_EQ(returned.Count(), 2);
    EXPECT_EQ(returned.Item(1).Name(), QStringLiteral("(Return Value)"));
    ASSERT_EQ(returned.Item(1).Children().Count(), 1) << "no nullability line for the return value";
    EXPECT_EQ(returned.Item(1).Children().Item(1).Name(), QStringLiteral("int"));
    EXPECT_EQ(returned.Item(2).Name(), QStringLiteral("@x"));
}

TEST_F(ObjectsTest, TriggersShowTheirStatementsBelongToTheirTableAndHaveNoFields) {
    Exec(QStringLiteral("CREATE TABLE dbo.Orders (id int NOT NULL)"));
    Exec(QStringLiteral("CREATE TABLE dbo.Lines (id int NOT NULL)"));
    Exec(QStringLiteral("CREATE TRIGGER dbo.trOrders ON dbo.Orders FOR INSERT, UPDATE AS SELECT 1"));
    Exec(QStringLiteral("CREATE TRIGGER dbo.trLines ON dbo.Lines FOR DELETE AS SELECT 1"));
    const QString orders = IdOf(QStringLiteral("Orders"));
    const QString trigger = IdOf(QStringLiteral("trOrders"));
    AddFile(trigger + QStringLiteral(".trg"),
            QStringLiteral("CREATE TRIGGER dbo.trOrders ON dbo.Orders FOR INSERT, UPDATE AS SELECT 1"));
    TARMOTriggers list;
    Bind(list);

    auto ofOrders = list.GetItemInfo(false, orders);
    ASSERT_EQ(ofOrders->Count(), 1);
    EXPECT_EQ(ofOrders->Item(1).Text, QStringLiteral("trOrders"));
    EXPECT_EQ(list.GetItemInfo(false)->Count(), 2);

    auto object = std::static_pointer_cast<TARMOTrigger>(list.Item(trigger));
    EXPECT_EQ(object->ParentTableDBID(), orders);
    EXPECT_EQ(object->GetFields().Count(), 0);
    EXPECT_FALSE(object->HasPermissions());
    EXPECT_EQ(keysAndTexts(*object->GetItemInfo(true)),
              (QStringList{QStringLiteral("OWNER") + trigger + QStringLiteral("=dbo|OWNER"),
                           QStringLiteral("INSERT") + trigger + QStringLiteral("=INSERT|TRIGGER:INSERT"),
                           QStringLiteral("UPDATE") + trigger + QStringLiteral("=UPDATE|TRIGGER:UPDATE")}));

    object->SetParentTableDBID(QString());
    object->TakeParentTableFromStoredText();
    EXPECT_EQ(object->ParentTableDBID(), orders);
}

TEST_F(ObjectsTest, ContentsDifferencesDropScriptAndDates) {
    const QString text =
        QStringLiteral("/* CREATE here is a comment */\r\nCREATE PROCEDURE dbo.Same AS SELECT 1");
    Exec(text);
    const QString id = IdOf(QStringLiteral("Same"));
    AddFile(id + QStringLiteral(".sp"), text + QStringLiteral("\r\n\r\n"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);

    EXPECT_FALSE(object->SQLAndVSSDiffer()) << "trailing line breaks don't count";
    EXPECT_EQ(object->GetContent(StoreLocation::SqlServer), text);
    EXPECT_EQ(
        object->GetContent(StoreLocation::VersionStore, -1, true),
        QStringLiteral("/* CREATE here is a comment */\r\nALTER PROCEDURE dbo.Same AS SELECT 1\r\n\r\n"));

    ASSERT_TRUE(vss.ChangeItemContent(id + QStringLiteral(".sp"),
                                      QStringLiteral("ALTER PROCEDURE dbo.Same AS SELECT 1"),
                                      QStringLiteral("second"), true));
    EXPECT_TRUE(object->SQLAndVSSDiffer());
    EXPECT_EQ(object->GetContent(StoreLocation::VersionStore, 1), text + QStringLiteral("\r\n\r\n"));

    EXPECT_EQ(
        object->DropScript(),
        QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[Same]') AND "
                       "OBJECTPROPERTY(id, N'IsProcedure') = 1) \r\n\t DROP PROCEDURE [dbo].[Same]"));
    Exec(object->DropScript());
    EXPECT_EQ(IdOf(QStringLiteral("Same")), QString());

    const QList<TARMODateSummaryEntry> ascending = object->DateSummary();
    ASSERT_EQ(ascending.size(), 2);
    EXPECT_EQ(object->History().size(), 3) << "element 0 stays empty";
    EXPECT_LE(ascending[0].VersionDate, ascending[1].VersionDate);
    EXPECT_EQ(object->FirstDate(), ascending[0].VersionDate);
    EXPECT_EQ(object->LastDate(), ascending[1].VersionDate);
    const QList<TARMODateSummaryEntry> descending = object->DateSummary(false);
    EXPECT_GE(descending[0].VersionDate, descending[1].VersionDate);
}
