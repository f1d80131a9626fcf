#include "ObjectsFixture.h"

#include "TARMODBTItems.h"
#include "TARMOError.h"
#include "TARMOStoredProcedures.h"

namespace {

// The last message box as "TITLE: TEXT".
QString lastMessage(ScriptedPrompts& prompts) {
    if (prompts.Records().isEmpty())
        return QString();
    const auto& record = prompts.Records().last();
    return record.title + QStringLiteral(": ") + record.text;
}

QStringList keysOf(const TARMODBTItems& items) {
    QStringList keys;
    items.ForEach([&](const TARMODBTItem& item) { keys << item.Key; });
    return keys;
}

QStringList namesOf(const TARMOObjectList& list) {
    QStringList names;
    for (const auto& object : list)
        names << object->Name();
    return names;
}

bool hasComment(const QList<TARMOHistoryData>& history, const QString& comment) {
    for (const TARMOHistoryData& entry : history)
        if (entry.Comment() == comment)
            return true;
    return false;
}

} // namespace

// Objects that stand in both stores, as a check-in leaves them.
class IdentityTest : public ObjectsTest {
protected:
    // Creates the procedure on the server and its item in the store; gives its id.
    QString Procedure(const QString& name, const QString& body = QStringLiteral("SELECT 1 AS n")) {
        const QString text = QStringLiteral("CREATE PROCEDURE dbo.") + name + QStringLiteral("\r\nAS\r\n") +
                             body + QStringLiteral("\r\n");
        Exec(text);
        const QString id = IdOf(name);
        AddFile(id + QStringLiteral(".sp"), text);
        return id;
    }
    // A new version of an item, checked in by Bob.
    void NewVersion(const QString& item, const QString& text) {
        ASSERT_TRUE(vss.CheckOut(item, true));
        ASSERT_TRUE(vss.CheckIn(item, text, QStringLiteral("edit"), true));
    }
    long ExecuteGrantState(TARMOObjectVSS& object, const QString& grantee) {
        const TARMOPermissions permissions = object.GetPermissions(true, 0);
        for (const TARMOPermission& line : permissions)
            if (line.Name == grantee)
                return line.StateOf(QStringLiteral("EXECUTE"));
        return -1;
    }

    TARMOStoredProcedures list;
};

// The whole road of a rename: a new object under a new id, the item and its description moved, the
// permissions carried over, the old object gone, and the list keeping the object at its place.
TEST_F(IdentityTest, RenameMovesItemDescriptionAndPermissionsToTheNewId) {
    Procedure(QStringLiteral("Alpha"));
    const QString oldID = Procedure(QStringLiteral("Beta"));
    Procedure(QStringLiteral("Gamma"));
    Exec(QStringLiteral("CREATE ROLE Clerks"));
    Exec(QStringLiteral("GRANT EXECUTE ON dbo.Beta TO Clerks"));
    Bind(list);
    Refresh(list);
    auto object = list.Item(oldID);
    object->SetDescription(QStringLiteral("Counts the shelf"));
    ASSERT_EQ(ExecuteGrantState(*object, QStringLiteral("Clerks")), TARMOPermission::Grant);

    ASSERT_TRUE(list.RenameItem(QStringLiteral("I") + oldID, QStringLiteral("Zeta")));
    EXPECT_EQ(lastMessage(*prompts),
              QStringLiteral("Item Successfully Renamed: Item was successfully renamed "
                             "from [dbo.Beta] to [Zeta]"));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Information);

    const QString newID = IdOf(QStringLiteral("Zeta"));
    ASSERT_FALSE(newID.isEmpty());
    EXPECT_NE(newID, oldID);
    EXPECT_TRUE(IdOf(QStringLiteral("Beta")).isEmpty()) << "the old object is dropped";
    EXPECT_EQ(object->DBID(), newID);
    EXPECT_EQ(object->Name(), QStringLiteral("Zeta"));

    EXPECT_FALSE(FileExists(oldID + QStringLiteral(".sp")));
    const QString stored = vss.ItemContent(newID + QStringLiteral(".sp"), false);
    EXPECT_TRUE(stored.startsWith(QStringLiteral("CREATE PROCEDURE [dbo].[Zeta]"))) << qPrintable(stored);
    EXPECT_TRUE(hasComment(object->History(), QStringLiteral("Item renamed from [Beta] to [Zeta]")));
    EXPECT_EQ(object->Description(), QStringLiteral("Counts the shelf"));
    EXPECT_FALSE(FileExists(oldID + QStringLiteral(".sp.desc")));
    EXPECT_EQ(ExecuteGrantState(*object, QStringLiteral("Clerks")), TARMOPermission::Grant);

    // Filed under the new id at its old place, and found by either form of the key.
    EXPECT_EQ(namesOf(list),
              (QStringList{QStringLiteral("Alpha"), QStringLiteral("Zeta"), QStringLiteral("Gamma")}));
    EXPECT_EQ(list.Item(QStringLiteral("I") + newID), object);
    EXPECT_EQ(list.Item(oldID, false, true), nullptr);
    Refresh(list);
    EXPECT_TRUE(object->InSQL() && object->InVSS()) << "a refresh sees the same object in both stores";
    EXPECT_EQ(list.Count(), 3);
}

// Every refusal leaves both stores as they were: no new object, no new version, the same id.
TEST_F(IdentityTest, RenameRefusalsChangeNothing) {
    const QString id = Procedure(QStringLiteral("Orders_Count"));
    Procedure(QStringLiteral("Taken"));
    // The catalogue knows the object as Shelf, while its stored text still says Stale.
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Shelf AS SELECT 2"));
    const QString shelf = IdOf(QStringLiteral("Shelf"));
    AddFile(shelf + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Stale AS SELECT 2"));
    Exec(QStringLiteral("CREATE PROCEDURE dbo.OnlyOnServer AS SELECT 3"));
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    const int versions = object->History().size();

    const auto refused = [&](TARMOObjectVSS& target, const QString& newName, const QString& expected) {
        prompts->Clear();
        EXPECT_FALSE(target.RenameItem(newName)) << qPrintable(newName);
        EXPECT_EQ(lastMessage(*prompts), expected);
        EXPECT_EQ(prompts->Records().value(0).icon, Prompt::Icon::Critical);
    };
    const QString same =
        QStringLiteral("Rename Aborted: Cannot rename a Item! The New name is the same as the old Name");
    refused(*object, QStringLiteral("ORDERS_COUNT"), same);
    refused(*list.Item(shelf), QStringLiteral("stale"), same);
    refused(*list.Item(IdOf(QStringLiteral("OnlyOnServer"))), QStringLiteral("Elsewhere"),
            QStringLiteral("Rename Aborted: Cannot rename a Item! It is currently out of Sync"));
    EXPECT_TRUE(IdOf(QStringLiteral("Elsewhere")).isEmpty());

    // The server refuses a name that another object has; its word comes without driver prefixes.
    prompts->Clear();
    EXPECT_FALSE(object->RenameItem(QStringLiteral("Taken")));
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Could not Rename Item"));
    EXPECT_FALSE(prompts->Records()[0].text.startsWith(QLatin1Char('[')))
        << qPrintable(prompts->Records()[0].text);
    EXPECT_FALSE(prompts->Records()[0].text.isEmpty());

    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->CheckOut(id + QStringLiteral(".sp"), true));
    Refresh(list);
    refused(*object, QStringLiteral("Orders_Total"),
            QStringLiteral("Rename Aborted: Cannot rename a Item! It is currently Checkd Out by Carol"));

    auto fresh = list.newItem();
    refused(*fresh, QStringLiteral("Anything"), QStringLiteral("Rename Aborted: Cannot rename a New Item!"));

    EXPECT_EQ(IdOf(QStringLiteral("Orders_Count")), id);
    EXPECT_EQ(object->DBID(), id);
    EXPECT_EQ(object->History().size(), versions);
    EXPECT_TRUE(IdOf(QStringLiteral("Orders_Total")).isEmpty());
    EXPECT_FALSE(list.RenameItem(QStringLiteral("I999999"), QStringLiteral("Nobody")))
        << "an id the list doesn't hold";
}

// Delete keeps the item as a deleted one; the deleted list names it from its text under its old
// id, leaves out items that aren't the system's, and undelete brings it back under a new id.
TEST_F(IdentityTest, DeletedObjectIsListedByItsTextAndComesBackUnderANewId) {
    const QString id = Procedure(QStringLiteral("Shelf_Stock"));
    const QString keep = Procedure(QStringLiteral("Keep"));
    AddFile(QStringLiteral("notes.sp"), QStringLiteral("CREATE PROCEDURE dbo.Notes AS SELECT 1"));
    ASSERT_TRUE(vss.RemoveItem(QStringLiteral("notes.sp"), true));
    Bind(list);
    Refresh(list);

    ASSERT_TRUE(list.DeleteItem(QStringLiteral("I") + id));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    EXPECT_TRUE(IdOf(QStringLiteral("Shelf_Stock")).isEmpty());
    EXPECT_TRUE(vss.ItemIsDeleted(id + QStringLiteral(".sp")));
    EXPECT_EQ(namesOf(list), QStringList{QStringLiteral("Keep")});
    EXPECT_FALSE(list.DeleteItem(id)) << "no longer in the list";

    auto deleted = list.GetDeletedItems(true);
    ASSERT_TRUE(deleted);
    EXPECT_EQ(keysOf(*deleted), QStringList{QStringLiteral("I") + id}) << "notes.sp isn't the system's";
    EXPECT_EQ(deleted->Item(1).Text, QStringLiteral("dbo.Shelf_Stock"));
    EXPECT_EQ(deleted->Item(1).Tag, QStringLiteral("StoredProcedure"));
    auto gone = list.Item(QStringLiteral("I") + id, true);
    EXPECT_EQ(gone->Name(), QStringLiteral("Shelf_Stock"));
    EXPECT_EQ(gone->Owner(), QStringLiteral("dbo"));

    ASSERT_TRUE(list.UnDeleteObject(QStringLiteral("I") + id));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    const QString newID = IdOf(QStringLiteral("Shelf_Stock"));
    ASSERT_FALSE(newID.isEmpty());
    EXPECT_NE(newID, id);
    EXPECT_EQ(gone->DBID(), newID);
    EXPECT_TRUE(FileExists(newID + QStringLiteral(".sp")));
    EXPECT_FALSE(vss.ItemIsDeleted(newID + QStringLiteral(".sp")));
    EXPECT_FALSE(vss.ItemExists(id + QStringLiteral(".sp"), true)) << "the item moved, none stays behind";
    EXPECT_EQ(list.Count(true), 0);
    Refresh(list);
    auto back = list.Item(newID, false, true);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->InSQL() && back->InVSS());
    EXPECT_FALSE(back->SQLAndVSSDiffer());
    EXPECT_EQ(IdOf(QStringLiteral("Keep")), keep);
}

// An undelete that the server refuses leaves the deleted item where it is.
TEST_F(IdentityTest, UndeleteRefusedByTheServerKeepsTheDeletedItem) {
    const QString id = Procedure(QStringLiteral("Twice"));
    Bind(list);
    Refresh(list);
    ASSERT_TRUE(list.DeleteItem(id));
    // Somebody made an object of that name in the meantime.
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Twice AS SELECT 9"));
    ASSERT_TRUE(list.GetDeletedItems());
    EXPECT_FALSE(list.UnDeleteObject(QStringLiteral("I") + id));
    EXPECT_EQ(prompts->Records().value(0).title, QStringLiteral("Could not Undelete Item"));
    EXPECT_TRUE(vss.ItemIsDeleted(id + QStringLiteral(".sp")));
    EXPECT_EQ(list.Count(true), 0) << "it leaves the deleted list whatever the outcome";
}

TEST_F(IdentityTest, RollbackToTheSameNameAltersAndAddsAVersion) {
    const QString id = Procedure(QStringLiteral("Totals"), QStringLiteral("SELECT 1 AS first"));
    const QString item = id + QStringLiteral(".sp");
    const QString first = vss.ItemContent(item, false);
    NewVersion(item, QStringLiteral("CREATE PROCEDURE dbo.Totals\r\nAS\r\nSELECT 2 AS second\r\n"));
    Exec(QStringLiteral("ALTER PROCEDURE dbo.Totals\r\nAS\r\nSELECT 2 AS second\r\n"));
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);
    const QList<TARMOHistoryData> history = object->History();
    long firstVersion = 0;
    long latestVersion = 0;
    for (const TARMOHistoryData& entry : history) {
        if (entry.VersionNumber() <= 0)
            continue;
        if (vss.ItemContent(item, false, entry.VersionNumber()) == first)
            firstVersion = entry.VersionNumber();
        latestVersion = std::max(latestVersion, entry.VersionNumber());
    }
    ASSERT_GT(firstVersion, 0);

    // The latest version itself: refused, silently when asked.
    EXPECT_FALSE(object->Rollback(latestVersion, true));
    EXPECT_TRUE(prompts->Records().isEmpty());
    EXPECT_FALSE(object->Rollback(latestVersion));
    EXPECT_EQ(
        lastMessage(*prompts),
        QStringLiteral("Rollback not Requred: The current version and the selected version are identical!"));
    EXPECT_EQ(prompts->Records().last().icon, Prompt::Icon::Exclamation);
    EXPECT_EQ(object->History().size(), history.size()) << "no new version";
    prompts->Clear();

    ASSERT_TRUE(object->Rollback(firstVersion));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    EXPECT_EQ(IdOf(QStringLiteral("Totals")), id) << "ALTER keeps the id";
    EXPECT_TRUE(object->GetContent(TARMOObjectVSS::LocationSQL).contains(QStringLiteral("first")));
    EXPECT_EQ(object->GetContent(TARMOObjectVSS::LocationVSS), first);
    EXPECT_EQ(object->History().size(), history.size() + 1);
    EXPECT_TRUE(hasComment(object->History(),
                           QStringLiteral("Rollback to version: ") + QString::number(firstVersion)));
    EXPECT_TRUE(vss.CheckedOutBy(item).isEmpty());

    // Held by somebody: refused before anything is read.
    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->CheckOut(item, true));
    Refresh(list);
    EXPECT_FALSE(object->Rollback(latestVersion));
    EXPECT_EQ(lastMessage(*prompts),
              QStringLiteral("Rollback Unsuccessful: The item is currently checkedout by "
                             "'Carol'. In order to rollback an item it must be checked in!"));
}

// A version from before a rename brings the old name back: a new object under a new id, the item
// renamed to it, and the permissions set on the renamed object kept.
TEST_F(IdentityTest, RollbackAcrossARenameGivesTheOldNameANewId) {
    const QString firstID = Procedure(QStringLiteral("Before"));
    Exec(QStringLiteral("CREATE ROLE Clerks"));
    Bind(list);
    Refresh(list);
    auto object = list.Item(firstID);
    const QList<TARMOHistoryData> original = object->History();
    long beforeVersion = 0;
    for (const TARMOHistoryData& entry : original)
        beforeVersion = std::max(beforeVersion, entry.VersionNumber());
    ASSERT_TRUE(object->RenameItem(QStringLiteral("After")));
    const QString renamedID = object->DBID();
    Exec(QStringLiteral("GRANT EXECUTE ON dbo.After TO Clerks"));
    prompts->Clear();

    ASSERT_TRUE(object->Rollback(beforeVersion));
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    const QString newID = IdOf(QStringLiteral("Before"));
    ASSERT_FALSE(newID.isEmpty());
    EXPECT_NE(newID, renamedID);
    EXPECT_NE(newID, firstID);
    EXPECT_TRUE(IdOf(QStringLiteral("After")).isEmpty());
    EXPECT_EQ(object->DBID(), newID);
    EXPECT_EQ(object->Name(), QStringLiteral("Before"));
    EXPECT_FALSE(FileExists(renamedID + QStringLiteral(".sp")));
    EXPECT_EQ(vss.ItemContent(newID + QStringLiteral(".sp"), false),
              vss.ItemContent(newID + QStringLiteral(".sp"), false, beforeVersion));
    EXPECT_TRUE(hasComment(object->History(),
                           QStringLiteral("Rollback to version: ") + QString::number(beforeVersion) +
                               QStringLiteral(". NOTE: Item renamed from [After] to [Before]")));
    EXPECT_EQ(ExecuteGrantState(*object, QStringLiteral("Clerks")), TARMOPermission::Grant);
}

TEST_F(IdentityTest, ServerErrorsReadWithoutTheDriversPrefixes) {
    EXPECT_EQ(TARMOObjectVSS::CleanSQLError(
                  QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]Invalid object name 'x'.")),
              QStringLiteral("Invalid object name 'x'."));
    try {
        Exec(QStringLiteral("DROP PROCEDURE dbo.NotThere"));
        FAIL() << "the server accepted a drop of nothing";
    } catch (const TARMOError& e) {
        const QString clean = TARMOObjectVSS::CleanSQLError(e.Description());
        EXPECT_FALSE(clean.startsWith(QLatin1Char('['))) << qPrintable(clean);
        EXPECT_TRUE(clean.contains(QStringLiteral("NotThere"))) << qPrintable(clean);
    }
}
