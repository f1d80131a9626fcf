#include "ObjectsFixture.h"

#include "GeneralHelpers.h"
#include "TARMODBTItems.h"
#include "TARMOObjectRef.h"
#include "TARMOStoredProcedures.h"
#include "TARMOUserDefinedFunctions.h"
#include "TARMOViews.h"

#include <QDir>

namespace {

QString titlesAndTexts(ScriptedPrompts& prompts) {
    return prompts.Messages().join(QLatin1Char('\n'));
}

} // namespace

// Objects whose steps fail part of the way: what the user is told, and that both stores are left as
// they were before the step.
class FailureTest : public ObjectsTest {
protected:
    QString Procedure(const QString& name) {
        const QString text = QStringLiteral("CREATE PROCEDURE dbo.") + name + QStringLiteral(" AS SELECT 1");
        Exec(text);
        const QString id = IdOf(name);
        AddFile(id + QStringLiteral(".sp"), text);
        return id;
    }
    // The id the server gives the next object it creates: one above the last given, never reused.
    QString NextId() {
        Exec(QStringLiteral("CREATE VIEW dbo.Probe AS SELECT 1 AS one"));
        const qlonglong probe = IdOf(QStringLiteral("Probe")).toLongLong();
        Exec(QStringLiteral("DROP VIEW dbo.Probe"));
        return QString::number(probe + 1);
    }
    void RemoveWorkingFolder() {
        ASSERT_TRUE(QDir(folder.Path(QStringLiteral("work-Bob"))).removeRecursively());
    }

    TARMOStoredProcedures list;
};

TEST_F(FailureTest, CheckOutIntoARemovedWorkingFolderLeavesTheObjectCheckedIn) {
    const QString id = Procedure(QStringLiteral("Orders"));
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    RemoveWorkingFolder();

    EXPECT_FALSE(object->CheckOut());
    EXPECT_FALSE(object->IsCheckedOut());
    EXPECT_EQ(vss.CheckedOutBy(id + QStringLiteral(".sp")), QString()) << "the store holds no check-out";
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Could not check out"));
    EXPECT_TRUE(prompts->Records()[0].text.contains(QStringLiteral("does not exist")))
        << qPrintable(titlesAndTexts(*prompts));
    // The store's file name alone would not tell the user which object failed.
    EXPECT_TRUE(prompts->Records()[0].text.contains(QStringLiteral("'") + id +
                                                    QStringLiteral(".sp' (stored procedure dbo.Orders)")))
        << qPrintable(titlesAndTexts(*prompts));

    QDir().mkpath(folder.Path(QStringLiteral("work-Bob")));
    ASSERT_TRUE(object->CheckOut());
    EXPECT_TRUE(object->IsCheckedOutByMe());
}

// A store file whose text creates nothing (here a plain query) can't be put into SQL Server: the item
// would be named after an id that no object has and drop out of every list.
TEST_F(FailureTest, AddToSqlRefusesATextThatCreatesNoObject) {
    AddFile(QStringLiteral("1013579999.sp"), QStringLiteral("SELECT 1"));
    Bind(list);
    Refresh(list);
    auto orphan = list.Item(QStringLiteral("1013579999"));
    ASSERT_TRUE(orphan);
    ASSERT_FALSE(orphan->InSQL());

    // The main window reaches it through the reference.
    EXPECT_FALSE(TARMOObjectRef(orphan).SyncAdd(StoreLocation::SqlServer));
    EXPECT_FALSE(orphan->SyncAdd(StoreLocation::SqlServer));
    ASSERT_EQ(prompts->Records().size(), 2);
    EXPECT_EQ(prompts->Records()[1].text, prompts->Records()[0].text);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Item not added"));
    EXPECT_TRUE(prompts->Records()[0].text.contains(QStringLiteral("\"CREATE PROCEDURE\"")))
        << qPrintable(titlesAndTexts(*prompts));
    EXPECT_TRUE(FileExists(QStringLiteral("1013579999.sp")));
    EXPECT_FALSE(FileExists(QStringLiteral(".sp")));
    EXPECT_EQ(vss.ItemContent(QStringLiteral("1013579999.sp"), false), QStringLiteral("SELECT 1"));
    EXPECT_FALSE(orphan->InSQL());
    EXPECT_EQ(orphan->DBID(), QStringLiteral("1013579999"));
}

// A parameter list written against the name: the syntax test, a first check-in, an edit and a
// rename all find the name without it.
TEST_F(FailureTest, NamesFollowedByAParameterListAreNames) {
    TARMOUserDefinedFunctions functions;
    Bind(functions);
    Refresh(functions);
    auto twice = functions.newItem();
    const QString function =
        QStringLiteral("CREATE FUNCTION [dbo].[Twice](@a int) RETURNS int AS BEGIN RETURN @a * 2 END");
    ASSERT_TRUE(twice->CheckIn(function, QStringLiteral("first"))) << qPrintable(titlesAndTexts(*prompts));
    EXPECT_EQ(twice->Name(), QStringLiteral("Twice"));
    ASSERT_TRUE(twice->CheckOut());
    ASSERT_TRUE(twice->CheckIn(
        QStringLiteral("CREATE FUNCTION [dbo].[Twice](@a int) RETURNS int AS BEGIN RETURN @a + @a END"),
        QStringLiteral("second")))
        << qPrintable(titlesAndTexts(*prompts));

    Exec(QStringLiteral("CREATE PROCEDURE dbo.P2(@a int) AS SELECT @a AS a"));
    const QString id = IdOf(QStringLiteral("P2"));
    AddFile(id + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.P2(@a int) AS SELECT @a AS a"));
    Bind(list);
    Refresh(list);
    auto p2 = list.Item(id);
    ASSERT_TRUE(p2->TestItem(QStringLiteral("CREATE PROCEDURE dbo.P2(@a int) AS SELECT @a + 1 AS a")))
        << qPrintable(titlesAndTexts(*prompts));
    ASSERT_TRUE(p2->RenameItem(QStringLiteral("P3")));
    const QString renamed = vss.ItemContent(p2->ItemName(), false);
    EXPECT_TRUE(renamed.startsWith(QStringLiteral("CREATE PROCEDURE [dbo].[P3](@a int) AS")))
        << qPrintable(renamed);
    EXPECT_FALSE(IdOf(QStringLiteral("P3")).isEmpty());
    EXPECT_TRUE(IdOf(QStringLiteral("P2")).isEmpty());
}

// An undelete whose store step fails takes back the object it created on the server.
TEST_F(FailureTest, UndeleteWhoseStoreStepFailsLeavesTheDeletedObject) {
    const QString id = Procedure(QStringLiteral("Shelf"));
    Bind(list);
    Refresh(list);
    ASSERT_TRUE(list.DeleteItem(QStringLiteral("I") + id));
    // Somebody put a file under the name the new object's item would take.
    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->AddItem(NextId() + QStringLiteral(".sp"), QStringLiteral("notes"), true));
    ASSERT_TRUE(list.GetDeletedItems());

    EXPECT_FALSE(list.UnDeleteObject(QStringLiteral("I") + id));
    EXPECT_TRUE(IdOf(QStringLiteral("Shelf")).isEmpty()) << "the object made for it is gone again";
    EXPECT_TRUE(vss.ItemIsDeleted(id + QStringLiteral(".sp")));
    EXPECT_EQ(prompts->Records().last().title, QStringLiteral("Undelete Aborted"));
}

TEST_F(FailureTest, UndeleteWithoutAWorkingFolderCreatesNothing) {
    const QString id = Procedure(QStringLiteral("Shelf"));
    Bind(list);
    Refresh(list);
    ASSERT_TRUE(list.DeleteItem(QStringLiteral("I") + id));
    ASSERT_TRUE(list.GetDeletedItems());
    RemoveWorkingFolder();

    EXPECT_FALSE(list.UnDeleteObject(QStringLiteral("I") + id));
    ASSERT_EQ(prompts->Records().size(), 1) << qPrintable(titlesAndTexts(*prompts));
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Could not get Item Content"));
    EXPECT_TRUE(IdOf(QStringLiteral("Shelf")).isEmpty());
    EXPECT_TRUE(vss.ItemIsDeleted(id + QStringLiteral(".sp")));
}
