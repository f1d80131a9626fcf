#include "ObjectsFixture.h"

#include "GeneralHelpers.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTrigger.h"
#include "TARMOTriggers.h"
#include "TARMOViews.h"

#include <QFileInfo>

namespace {

const QString kProc = QStringLiteral("CREATE PROCEDURE dbo.Orders_Count\r\nAS\r\nSELECT 1 AS n\r\n");

// The last message box as "TITLE: TEXT".
QString lastMessage(ScriptedPrompts& prompts) {
    if (prompts.Records().isEmpty())
        return QString();
    const auto& record = prompts.Records().last();
    return record.title + QStringLiteral(": ") + record.text;
}

} // namespace

// One stored procedure from nothing to its second version: a new object lands in both stores with
// the CREATE text in the store, and an edit goes to the server by ALTER and adds a version.
TEST_F(ObjectsTest, NewProcedureLivesThroughCheckInCheckOutAndEdit) {
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.newItem();
    const QString tempFile = object->FileName();
    ASSERT_TRUE(QFileInfo::exists(tempFile));
    EXPECT_FALSE(object->CheckOut()) << "a new object has nothing to check out";
    EXPECT_FALSE(object->UndoCheckout());

    ASSERT_TRUE(object->CheckIn(kProc, QStringLiteral("first")));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    const QString id = IdOf(QStringLiteral("Orders_Count"));
    ASSERT_FALSE(id.isEmpty());
    EXPECT_EQ(object->DBID(), id);
    EXPECT_FALSE(object->IsNew());
    EXPECT_TRUE(object->InSQL() && object->InVSS());
    EXPECT_EQ(object->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDIN"));
    EXPECT_FALSE(QFileInfo::exists(tempFile)) << "the temporary file goes with the first check-in";
    EXPECT_EQ(vss.ItemContent(id + QStringLiteral(".sp"), false), kProc);
    EXPECT_TRUE(list.ObjectIsOfThisType(id)) << "the list files the new object";
    // Nothing of the syntax test stays behind.
    EXPECT_EQ(sql.OpenRecordset(QStringLiteral("SELECT id FROM sysobjects WHERE name LIKE 'sptmp%'"))
                  ->RecordCount(),
              0);

    ASSERT_TRUE(object->CheckOut());
    EXPECT_TRUE(object->IsCheckedOutByMe());
    EXPECT_FALSE(IsReadOnlyFile(object->FileName()));
    EXPECT_FALSE(object->SQLAndVSSDiffer());
    // CREATE in lower case is altered all the same.
    const QString edited = QStringLiteral("create procedure dbo.Orders_Count\r\nAS\r\nSELECT 2 AS n\r\n");
    ASSERT_TRUE(object->CheckIn(edited, QStringLiteral("second")));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    EXPECT_EQ(IdOf(QStringLiteral("Orders_Count")), id) << "ALTER keeps the id";
    EXPECT_EQ(object->GetContent(TARMOObjectVSS::LocationVSS), edited) << "the store keeps the CREATE form";
    EXPECT_TRUE(object->GetContent(TARMOObjectVSS::LocationSQL).contains(QStringLiteral("SELECT 2")));
    EXPECT_EQ(object->History().size(), 3) << "element 0 and two versions";
    EXPECT_TRUE(object->CheckedOutBy().isEmpty());
    EXPECT_EQ(ReadTextFile(object->FileName()), edited);
}

// A text that doesn't compile changes neither store and shows the server's message without the
// driver's prefix; texts that name another object or no object at all are refused.
TEST_F(ObjectsTest, SyntaxTestRefusesBadTextsAndOtherNames) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Stable AS SELECT 1"));
    const QString id = IdOf(QStringLiteral("Stable"));
    AddFile(id + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Stable AS SELECT 1"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    ASSERT_TRUE(object->CheckOut());
    const QString before = object->GetContent(TARMOObjectVSS::LocationSQL);

    EXPECT_FALSE(object->CheckIn(QStringLiteral("CREATE PROCEDURE dbo.Stable AS SELEKT FROM"), QString()));
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Syntax Error"));
    EXPECT_EQ(prompts->Records()[0].icon, Prompt::Icon::Critical);
    EXPECT_FALSE(prompts->Records()[0].text.startsWith(QLatin1Char('[')))
        << qPrintable(prompts->Records()[0].text);
    EXPECT_TRUE(prompts->Records()[0].text.contains(QStringLiteral("Incorrect syntax")))
        << qPrintable(prompts->Records()[0].text);
    EXPECT_EQ(object->GetContent(TARMOObjectVSS::LocationSQL), before);
    EXPECT_EQ(object->History().size(), 2) << "no new version";
    EXPECT_TRUE(object->IsCheckedOutByMe()) << "the check-out stays";

    prompts->Clear();
    EXPECT_FALSE(object->TestItem(QStringLiteral("CREATE PROCEDURE dbo.Renamed AS SELECT 1")));
    EXPECT_EQ(lastMessage(*prompts),
              QStringLiteral("Syntax Error: The Name of the object cannot be changed!"));
    EXPECT_FALSE(object->TestItem(QStringLiteral("CREATE PROCEDURE guest.Stable AS SELECT 1")));
    EXPECT_EQ(lastMessage(*prompts),
              QStringLiteral("Syntax Error: The Owner of the object cannot be changed!"));
    EXPECT_FALSE(object->TestItem(QStringLiteral("SELECT 1")));
    EXPECT_EQ(lastMessage(*prompts),
              QStringLiteral("Syntax Error: The \"CREATE PROC\" or \"CREATE PROCEDURE\" "
                             "could not be found!"));
    prompts->Clear();
    // Letter case and a missing owner are no change of name.
    EXPECT_TRUE(object->TestItem(QStringLiteral("create proc [STABLE] as select 3")));
    EXPECT_TRUE(object->TestItem(QStringLiteral("/* CREATE PROC x */ CREATE PROC DBO.stable AS SELECT 3")));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    EXPECT_EQ(IdOf(QStringLiteral("STABLE")), id) << "the test left the object alone";
}

TEST_F(ObjectsTest, NewObjectsWithoutANameOrWithATakenNameAreRefused) {
    Exec(QStringLiteral("CREATE VIEW dbo.Taken AS SELECT 1 AS one"));
    TARMOViews list;
    Bind(list);
    auto object = list.newItem();
    EXPECT_FALSE(object->CheckIn(QStringLiteral("CREATE VIEW dbo.Taken AS SELECT 2 AS two"), QString()));
    EXPECT_EQ(
        lastMessage(*prompts),
        QStringLiteral("Could not Check In Item: Item Name specified ('dbo.Taken') already exists in the "
                       "database!"));
    EXPECT_TRUE(object->IsNew());
    EXPECT_EQ(vss.Items(QStringLiteral("*.vw")).Count(), 0);

    prompts->Clear();
    EXPECT_FALSE(object->CheckIn(QStringLiteral("CREATE VIEW dbo.Broken AS SELECT FROM"), QString()));
    EXPECT_EQ(prompts->Records().value(0).title, QStringLiteral("Syntax Error"));
    EXPECT_TRUE(IdOf(QStringLiteral("Broken")).isEmpty());
    EXPECT_TRUE(object->IsNew());
}

// The connection's user isn't the object's owner: a text without owner must still reach the
// owner's object, in both stores.
TEST_F(ObjectsTest, CheckInQualifiesANameWithoutOwnerWhenTheConnectionUserIsAnother) {
    Exec(QStringLiteral("CREATE LOGIN joe WITH PASSWORD = 'joe-pw'"));
    Exec(QStringLiteral("CREATE USER joe FOR LOGIN joe"));
    Exec(QStringLiteral("CREATE PROCEDURE joe.Report AS SELECT 1 AS one"));
    const QString id = IdOf(QStringLiteral("Report"), QStringLiteral("joe"));
    ASSERT_FALSE(id.isEmpty());
    AddFile(id + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE joe.Report AS SELECT 1 AS one"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    ASSERT_EQ(object->Owner(), QStringLiteral("joe"));
    ASSERT_TRUE(object->CheckOut());

    ASSERT_TRUE(
        object->CheckIn(QStringLiteral("CREATE PROCEDURE Report AS SELECT 2 AS two"), QStringLiteral("c")));
    EXPECT_EQ(vss.ItemContent(id + QStringLiteral(".sp"), false),
              QStringLiteral("CREATE PROCEDURE [joe].[Report] AS SELECT 2 AS two"));
    EXPECT_TRUE(object->GetContent(TARMOObjectVSS::LocationSQL).contains(QStringLiteral("SELECT 2")));
    EXPECT_TRUE(IdOf(QStringLiteral("Report"), QStringLiteral("dbo")).isEmpty())
        << "no object of dbo was made";

    // A text that names its owner itself is kept as written.
    ASSERT_TRUE(object->CheckOut());
    ASSERT_TRUE(
        object->CheckIn(QStringLiteral("CREATE PROCEDURE joe.Report AS SELECT 3 AS three"), QString()));
    EXPECT_EQ(vss.ItemContent(id + QStringLiteral(".sp"), false),
              QStringLiteral("CREATE PROCEDURE joe.Report AS SELECT 3 AS three"));
}

// The syntax test of a trigger really makes a trigger on the table named in the text; the first
// check-in gives the trigger its table.
TEST_F(ObjectsTest, TriggerIsTestedOnItsTableAndTakesItAfterItsFirstCheckIn) {
    Exec(QStringLiteral("CREATE TABLE dbo.Stock (Item int NOT NULL, Qty int NULL)"));
    TARMOTriggers list;
    Bind(list);
    auto created = list.newItem();
    auto* trigger = static_cast<TARMOTrigger*>(created.get());
    EXPECT_FALSE(trigger->TestItem(QStringLiteral("CREATE TRIGGER dbo.Stock_Ins ON dbo.Nowhere FOR INSERT AS "
                                                  "SET NOCOUNT ON")));
    EXPECT_EQ(prompts->Records().value(0).title, QStringLiteral("Syntax Error"));
    prompts->Clear();

    ASSERT_TRUE(trigger->CheckIn(
        QStringLiteral("CREATE TRIGGER dbo.Stock_Ins ON dbo.Stock FOR INSERT AS SET NOCOUNT ON"), QString()));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    EXPECT_EQ(trigger->ParentTableDBID(), IdOf(QStringLiteral("Stock")));
    EXPECT_EQ(trigger->DBID(), IdOf(QStringLiteral("Stock_Ins")));
    EXPECT_EQ(sql.OpenRecordset(QStringLiteral("SELECT id FROM sysobjects WHERE name LIKE 'sptmp%'"))
                  ->RecordCount(),
              0);
}

// The server took the ALTER but the store refused the check-in, because the item changed hands in
// the meantime: the stores stay apart, nothing is rolled back, and the object isn't re-read.
TEST_F(ObjectsTest, StoreRefusingTheCheckInLeavesTheServerAhead) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Apart AS SELECT 1"));
    const QString id = IdOf(QStringLiteral("Apart"));
    const QString item = id + QStringLiteral(".sp");
    AddFile(item, QStringLiteral("CREATE PROCEDURE dbo.Apart AS SELECT 1"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    ASSERT_TRUE(object->CheckOut());
    // Bob undoes the check-out in another window, and Carol takes the item.
    ASSERT_TRUE(vss.UndoCheckout(item, true));
    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->CheckOut(item, true));

    EXPECT_FALSE(object->CheckIn(QStringLiteral("CREATE PROCEDURE dbo.Apart AS SELECT 2"), QString()));
    EXPECT_TRUE(prompts->Records().isEmpty()) << "a refusal by the item's state shows no box";
    EXPECT_TRUE(object->GetContent(TARMOObjectVSS::LocationSQL).contains(QStringLiteral("SELECT 2")))
        << "nothing is rolled back on the server";
    EXPECT_EQ(vss.ItemContent(item, false), QStringLiteral("CREATE PROCEDURE dbo.Apart AS SELECT 1"));
    EXPECT_TRUE(object->IsCheckedOutByMe()) << "no refresh after a failed check-in";
    object->RefreshState();
    EXPECT_EQ(object->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDINOUT"));
    EXPECT_TRUE(object->SQLAndVSSDiffer()) << "a synchronization will show the difference";
}

// The repairs between the stores: each direction of add, change and remove.
TEST_F(ObjectsTest, SynchronizationAddsChangesAndRemovesInEitherStore) {
    Exec(QStringLiteral("CREATE VIEW dbo.Only AS SELECT 1 AS one"));
    const QString id = IdOf(QStringLiteral("Only"));
    TARMOViews list;
    Bind(list);
    Refresh(list);
    auto view = list.Item(id);
    ASSERT_FALSE(view->InVSS());

    ASSERT_TRUE(view->SyncAdd(TARMOObjectVSS::LocationVSS));
    EXPECT_TRUE(view->InVSS());
    EXPECT_EQ(vss.ItemContent(id + QStringLiteral(".vw"), false),
              QStringLiteral("CREATE VIEW dbo.Only AS SELECT 1 AS one"));

    Exec(QStringLiteral("ALTER VIEW dbo.Only AS SELECT 2 AS two"));
    EXPECT_TRUE(view->SQLAndVSSDiffer());
    ASSERT_TRUE(view->SyncChange(TARMOObjectVSS::LocationVSS));
    EXPECT_FALSE(view->SQLAndVSSDiffer());
    EXPECT_EQ(view->History().value(1).Comment(), QStringLiteral("Synchronization"));

    ASSERT_TRUE(view->SyncRemove(TARMOObjectVSS::LocationSQL));
    EXPECT_TRUE(IdOf(QStringLiteral("Only")).isEmpty());
    // Nothing to fill the gap of the dropped id with, so the new object may get it again or not:
    // either way the item must end up named by the id the server gave.
    ASSERT_TRUE(view->SyncAdd(TARMOObjectVSS::LocationSQL));
    const QString newId = IdOf(QStringLiteral("Only"));
    ASSERT_FALSE(newId.isEmpty());
    EXPECT_EQ(view->DBID(), newId);
    EXPECT_TRUE(vss.ItemExists(newId + QStringLiteral(".vw")));

    // A stored text that doesn't compile: the server's whole message, and the object stays.
    ASSERT_TRUE(vss.ChangeItemContent(newId + QStringLiteral(".vw"),
                                      QStringLiteral("CREATE VIEW dbo.Only AS SELEC"), QString(), true));
    EXPECT_FALSE(view->SyncChange(TARMOObjectVSS::LocationSQL));
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Item not changed"));
    EXPECT_TRUE(prompts->Records()[0].text.startsWith(
        QStringLiteral("Could not change the item dbo.Only in SQL\n\nError Description: ")))
        << qPrintable(prompts->Records()[0].text);
    EXPECT_TRUE(view->GetContent(TARMOObjectVSS::LocationSQL).contains(QStringLiteral("SELECT 2")));

    ASSERT_TRUE(view->SyncRemove(TARMOObjectVSS::LocationVSS));
    EXPECT_FALSE(vss.ItemExists(newId + QStringLiteral(".vw")));
}

TEST_F(ObjectsTest, UndoCheckoutFetchesTheLatestTextAgain) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Undone AS SELECT 1"));
    const QString id = IdOf(QStringLiteral("Undone"));
    AddFile(id + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Undone AS SELECT 1"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    ASSERT_TRUE(object->CheckOut());
    ASSERT_TRUE(WriteTextFile(object->FileName(), QStringLiteral("scribbles")));
    ASSERT_TRUE(object->UndoCheckout());
    EXPECT_EQ(ReadTextFile(object->FileName()), QStringLiteral("CREATE PROCEDURE dbo.Undone AS SELECT 1"));
    EXPECT_TRUE(object->CheckedOutBy().isEmpty());
    EXPECT_FALSE(object->UndoCheckout()) << "nothing to undo";
}
