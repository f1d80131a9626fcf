#include "ObjectsFixture.h"

#include "SqlQuote.h"
#include "TARMODBTItems.h"
#include "TARMOStoredProcedures.h"
#include "TARMOViews.h"

namespace {

// Names a login that may create objects can give them. Each is a trap for one way of building a
// statement: a quote ends a literal, a "]" ends a bracketed name, "--" and ";" end the statement,
// a line break ends a line comment, and Unicode is lost in a literal without N.
const QStringList kHostile{
    QStringLiteral("p')) PRINT 1 DROP TABLE Victim --"), QStringLiteral("a]b"),
    QStringLiteral("x]; DROP TABLE Victim; --"),         QStringLiteral("it's ]] [odd"),
    QStringLiteral("two\r\nlines -- DROP TABLE Victim"), QStringLiteral("Päivä \u20ac \U0001F600"),
};

QString procedureText(const QString& owner, const QString& name, const QString& body) {
    return QStringLiteral("CREATE PROCEDURE ") + SqlQuote::TwoPartName(owner, name) +
           QStringLiteral("\r\nAS\r\n") + body + QStringLiteral("\r\n");
}

} // namespace

// Every action of the object model on objects, owners, roles and users named to break out of the
// statements built from them. Each action must reach exactly the object it names: the table
// Victim standing afterwards proves that no name ran as code, and the object found under its own
// name proves that the name was not mangled on the way.
class HostileNamesTest : public ObjectsTest {
protected:
    void SetUp() override {
        ObjectsTest::SetUp();
        Exec(QStringLiteral("CREATE TABLE dbo.Victim (id int)"));
    }

    bool VictimStands() { return !IdOf(QStringLiteral("Victim")).isEmpty(); }
    QString Messages() { return prompts->Messages().join(QLatin1Char('\n')); }
    QString Stored(const QString& id) { return vss.ItemContent(id + QStringLiteral(".sp"), false); }

    TARMOStoredProcedures list;
};

// A new object from its first check-in through edit, rename, delete and undelete.
TEST_F(HostileNamesTest, ObjectLifeFromCheckInToUndelete) {
    Bind(list);
    Refresh(list);
    for (const QString& name : kHostile) {
        SCOPED_TRACE(name.toStdString());
        const QString text = procedureText(QStringLiteral("dbo"), name, QStringLiteral("SELECT 1 AS n"));
        auto object = list.newItem();
        ASSERT_TRUE(object->TestItem(text)) << qPrintable(Messages());
        ASSERT_TRUE(object->CheckIn(text, QStringLiteral("first"))) << qPrintable(Messages());
        const QString id = IdOf(name);
        ASSERT_FALSE(id.isEmpty());
        EXPECT_EQ(object->DBID(), id);
        EXPECT_EQ(object->Name(), name);
        EXPECT_EQ(sql.OpenRecordset(QStringLiteral("SELECT id FROM sysobjects WHERE name LIKE 'sptmp%'"))
                      ->RecordCount(),
                  0)
            << "the syntax test dropped its object again";

        ASSERT_TRUE(object->CheckOut());
        ASSERT_TRUE(
            object->CheckIn(procedureText(QStringLiteral("dbo"), name, QStringLiteral("SELECT 2 AS n")),
                            QStringLiteral("second")))
            << qPrintable(Messages());
        EXPECT_EQ(IdOf(name), id) << "altered in place";
        EXPECT_TRUE(object->GetContent(TARMOObjectVSS::LocationSQL).contains(QStringLiteral("SELECT 2")));

        const QString newName = name + QStringLiteral("]2'");
        ASSERT_TRUE(list.RenameItem(QStringLiteral("I") + id, newName)) << qPrintable(Messages());
        const QString renamedID = IdOf(newName);
        ASSERT_FALSE(renamedID.isEmpty());
        EXPECT_TRUE(IdOf(name).isEmpty()) << "the old object is dropped";
        EXPECT_EQ(object->Name(), newName);
        EXPECT_TRUE(Stored(renamedID).startsWith(QStringLiteral("CREATE PROCEDURE ") +
                                                 SqlQuote::TwoPartName(QStringLiteral("dbo"), newName)))
            << qPrintable(Stored(renamedID));

        ASSERT_TRUE(list.DeleteItem(QStringLiteral("I") + renamedID));
        EXPECT_TRUE(IdOf(newName).isEmpty());
        ASSERT_TRUE(list.GetDeletedItems());
        auto gone = list.Item(QStringLiteral("I") + renamedID, true);
        ASSERT_TRUE(gone);
        EXPECT_EQ(gone->Name(), newName) << "the deleted list reads the name back from the stored text";
        ASSERT_TRUE(list.UnDeleteObject(QStringLiteral("I") + renamedID)) << qPrintable(Messages());
        EXPECT_FALSE(IdOf(newName).isEmpty());

        EXPECT_TRUE(VictimStands());
        EXPECT_TRUE(prompts->Records().size() <= 1)
            << "at most the rename's notice: " << qPrintable(Messages());
        prompts->Clear();
    }
    Refresh(list);
    EXPECT_EQ(list.Count(), kHostile.size());
    for (const auto& object : list)
        EXPECT_TRUE(object->InSQL() && object->InVSS() && !object->SQLAndVSSDiffer())
            << qPrintable(object->Name());
}

// Objects made on the server alone, owned by a user with a hostile name, taken into the store and
// back, and dropped by their drop script.
TEST_F(HostileNamesTest, SynchronizationAndDropScriptUnderAHostileOwner) {
    const QString owner = QStringLiteral("o'wn]er --");
    Exec(QStringLiteral("CREATE LOGIN ") + SqlQuote::Name(owner) + QStringLiteral(" WITH PASSWORD = N'pw'"));
    Exec(QStringLiteral("CREATE USER ") + SqlQuote::Name(owner) + QStringLiteral(" FOR LOGIN ") +
         SqlQuote::Name(owner));
    for (const QString& name : kHostile)
        Exec(procedureText(owner, name, QStringLiteral("SELECT 1 AS n")));
    Bind(list);
    Refresh(list);
    ASSERT_EQ(list.Count(), kHostile.size());

    for (const QString& name : kHostile) {
        SCOPED_TRACE(name.toStdString());
        const QString id = IdOf(name, owner);
        ASSERT_FALSE(id.isEmpty());
        auto object = list.Item(id);
        ASSERT_EQ(object->Owner(), owner);
        ASSERT_EQ(object->Name(), name);

        ASSERT_TRUE(object->SyncAdd(TARMOObjectVSS::LocationVSS)) << qPrintable(Messages());
        EXPECT_EQ(Stored(id), procedureText(owner, name, QStringLiteral("SELECT 1 AS n")));
        Exec(QStringLiteral("ALTER") + procedureText(owner, name, QStringLiteral("SELECT 3 AS n")).mid(6));
        ASSERT_TRUE(object->SyncChange(TARMOObjectVSS::LocationVSS));
        EXPECT_FALSE(object->SQLAndVSSDiffer());

        ASSERT_TRUE(object->SyncRemove(TARMOObjectVSS::LocationSQL));
        EXPECT_TRUE(IdOf(name, owner).isEmpty());
        ASSERT_TRUE(object->SyncAdd(TARMOObjectVSS::LocationSQL)) << qPrintable(Messages());
        const QString back = IdOf(name, owner);
        ASSERT_FALSE(back.isEmpty());
        EXPECT_EQ(object->DBID(), back);

        // Made again behind the list's back: a refresh finds it by the name in the stored text.
        Exec(object->DropScript());
        Exec(Stored(back));
        Refresh(list);
        auto found = list.Item(IdOf(name, owner), false, true);
        ASSERT_TRUE(found);
        EXPECT_TRUE(found->InSQL() && found->InVSS());

        Exec(found->DropScript());
        EXPECT_TRUE(IdOf(name, owner).isEmpty());
        EXPECT_TRUE(VictimStands());
    }
    EXPECT_TRUE(prompts->Records().isEmpty()) << qPrintable(Messages());
    EXPECT_EQ(prompts->Unanswered(), 0);
}

// Grants to roles and users with hostile names on an object with one, read back as they were set,
// and the script of them runs as it stands.
TEST_F(HostileNamesTest, PermissionsReachTheirGranteesAndObject) {
    const QString role = QStringLiteral("r]; DROP TABLE Victim --");
    const QString user = QStringLiteral("u') DROP TABLE Victim --\r\nÄ");
    const QString name = kHostile.first();
    Exec(QStringLiteral("CREATE ROLE ") + SqlQuote::Name(role));
    Exec(QStringLiteral("CREATE LOGIN ") + SqlQuote::Name(user) + QStringLiteral(" WITH PASSWORD = N'pw'"));
    Exec(QStringLiteral("CREATE USER ") + SqlQuote::Name(user) + QStringLiteral(" FOR LOGIN ") +
         SqlQuote::Name(user));
    Exec(QStringLiteral("EXEC sp_addrolemember ") + SqlQuote::Literal(role) + QStringLiteral(", ") +
         SqlQuote::Literal(user));
    Exec(procedureText(QStringLiteral("dbo"), name, QStringLiteral("SELECT 1 AS n")));
    const QString id = IdOf(name);
    AddFile(id + QStringLiteral(".sp"),
            procedureText(QStringLiteral("dbo"), name, QStringLiteral("SELECT 1 AS n")));
    Bind(list);
    Refresh(list);
    auto object = list.Item(id);

    TARMOPermissions all = object->GetPermissions(false, 0);
    ASSERT_TRUE(all.Contains(role));
    ASSERT_TRUE(all.Contains(user));
    all.Item(role).SetStateOf(QStringLiteral("EXECUTE"), TARMOPermission::Grant);
    all.Item(user).SetStateOf(QStringLiteral("EXECUTE"), TARMOPermission::Deny);
    ASSERT_TRUE(all.Save());
    EXPECT_TRUE(VictimStands());

    TARMOPermissions set = object->GetPermissions(true, 0);
    ASSERT_EQ(set.Count(), 2);
    EXPECT_TRUE(set.Item(role).IsRole);
    EXPECT_EQ(set.Item(role).StateOf(QStringLiteral("EXECUTE")), TARMOPermission::Grant);
    EXPECT_FALSE(set.Item(user).IsRole);
    EXPECT_EQ(set.Item(user).StateOf(QStringLiteral("EXECUTE")), TARMOPermission::Deny);

    // The script of the set: revoking through it leaves nothing set.
    TARMOPermissions revoke = set;
    for (TARMOPermission& line : revoke)
        line.SetStateOf(QStringLiteral("EXECUTE"), TARMOPermission::None);
    const QString script = revoke.CreateScript(name, QStringLiteral("dbo"));
    EXPECT_EQ(script.count(QStringLiteral("REVOKE EXECUTE ON ")), 2) << qPrintable(script);
    Exec(script);
    EXPECT_EQ(object->GetPermissions(true, 0).Count(), 0);

    // Carried over by a rename to the new object.
    all.Save();
    ASSERT_TRUE(list.RenameItem(QStringLiteral("I") + id, role)) << qPrintable(Messages());
    EXPECT_EQ(object->GetPermissions(true, 0).Count(), 2);
    EXPECT_TRUE(VictimStands());
}

// A view takes the same road through its own kind's statements.
TEST_F(HostileNamesTest, ViewsAreQuotedByTheirKindToo) {
    TARMOViews views;
    Bind(views);
    Refresh(views);
    for (const QString& name : kHostile) {
        SCOPED_TRACE(name.toStdString());
        const QString text = QStringLiteral("CREATE VIEW ") +
                             SqlQuote::TwoPartName(QStringLiteral("dbo"), name) +
                             QStringLiteral(" AS SELECT 1 AS one");
        auto view = views.newItem();
        ASSERT_TRUE(view->CheckIn(text, QString())) << qPrintable(Messages());
        const QString id = IdOf(name);
        ASSERT_FALSE(id.isEmpty());
        ASSERT_TRUE(views.DeleteItem(QStringLiteral("I") + id));
        EXPECT_TRUE(IdOf(name).isEmpty());
        EXPECT_TRUE(VictimStands());
    }
}
