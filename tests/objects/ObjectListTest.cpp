#include "ObjectsFixture.h"

#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTrigger.h"
#include "TARMOTriggers.h"
#include "TARMOViews.h"

#include <QFileInfo>

namespace {

QString procText(const QString& name, const QString& body = QStringLiteral("SELECT 1")) {
    return QStringLiteral("CREATE PROCEDURE ") + name + QStringLiteral(" AS ") + body;
}

QStringList namesInOrder(const TARMOObjectList& list) {
    QStringList names;
    for (const auto& object : list)
        names << object->Owner() + QLatin1Char('.') + object->Name();
    return names;
}

} // namespace

TEST_F(ObjectsTest, MergeByIdSetsPresenceHoldersAndOwnersInNameOrder) {
    Exec(QStringLiteral("CREATE LOGIN dev WITH PASSWORD = 'x'"));
    Exec(QStringLiteral("CREATE USER dev FOR LOGIN dev"));
    Exec(procText(QStringLiteral("dbo.Zeta")));
    Exec(procText(QStringLiteral("dbo.Alpha")));
    Exec(procText(QStringLiteral("dev.Alpha")));
    Exec(procText(QStringLiteral("dbo.Mid")));
    const QString zeta = IdOf(QStringLiteral("Zeta"));
    const QString alpha = IdOf(QStringLiteral("Alpha"));
    AddFile(zeta + QStringLiteral(".sp"), procText(QStringLiteral("dbo.Zeta")));
    AddFile(alpha + QStringLiteral(".sp"), procText(QStringLiteral("dbo.Alpha")));
    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->CheckOut(zeta + QStringLiteral(".sp"), true));

    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);

    // Two procedures of one name and different owners are two objects, next to each other.
    ASSERT_EQ(list.Count(), 4);
    EXPECT_EQ(namesInOrder(list).mid(2),
              (QStringList{QStringLiteral("dbo.Mid"), QStringLiteral("dbo.Zeta")}));
    EXPECT_TRUE(namesInOrder(list).mid(0, 2).contains(QStringLiteral("dev.Alpha")));

    auto z = list.Item(zeta);
    EXPECT_TRUE(z->InSQL());
    EXPECT_TRUE(z->InVSS());
    EXPECT_EQ(z->CheckedOutBy(), QStringLiteral("Carol"));
    EXPECT_EQ(z->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDINOUT"));
    EXPECT_EQ(list.Item(alpha)->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDIN"));
    EXPECT_EQ(list.Item(IdOf(QStringLiteral("Mid")))->IconToUse(),
              QStringLiteral("STOREDPROCEDURE:VSSBROKEN"));

    // The records: owner in front where asked, the holder behind, a placeholder below.
    auto items = list.GetItemInfo(true);
    ASSERT_NE(items, nullptr);
    const TARMODBTItem& record = items->Item(QStringLiteral("I") + zeta);
    EXPECT_EQ(record.Text, QStringLiteral("dbo.Zeta (Checked out by Carol)"));
    EXPECT_EQ(record.Tag, QStringLiteral("StoredProcedure"));
    EXPECT_EQ(record.ImageName, QStringLiteral("STOREDPROCEDURE:CHECKEDINOUT"));
    ASSERT_EQ(record.Children().Count(), 1);
    EXPECT_EQ(record.Children().Item(1).Key, QStringLiteral("I") + zeta + QStringLiteral("_tmp"));
    EXPECT_EQ(record.Children().Item(1).Tag, QStringLiteral("temp"));
    EXPECT_EQ(list.GetItemInfo(false)->Item(QStringLiteral("I") + zeta).Text,
              QStringLiteral("Zeta (Checked out by Carol)"));

    // The list's own read of the folder agrees with the connection's list of files.
    ASSERT_TRUE(vss.CheckOut(alpha + QStringLiteral(".sp"), true));
    Refresh(list);
    EXPECT_EQ(list.Item(alpha)->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDOUT"));
    for (const TARMOVSSItem& file : vss.Items(QStringLiteral("*.sp")))
        EXPECT_EQ(list.Item(file.Name().chopped(3))->CheckedOutBy(), file.CheckedOutBy());
}

TEST_F(ObjectsTest, ItemFindsBareIdsAndTreeKeysButTheMergeNeverConfusesThem) {
    Exec(procText(QStringLiteral("dbo.One")));
    const QString id = IdOf(QStringLiteral("One"));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);

    EXPECT_EQ(list.Item(id, false, true), list.Item(QStringLiteral("I") + id, false, true));
    EXPECT_NE(list.Item(id, false, true), nullptr);
    EXPECT_TRUE(list.IsStoredProcedure(QStringLiteral("P") + id));
    EXPECT_EQ(list.Item(QStringLiteral("999"), false, true), nullptr);
    EXPECT_FALSE(list.ObjectIsOfThisType(QStringLiteral("999")));
    EXPECT_THROW(list.Item(QStringLiteral("999")), TARMOError);

    // A file named by the id with one more digit in front is another object, not this one.
    AddFile(QStringLiteral("7") + id + QStringLiteral(".sp"), QStringLiteral("-- nothing"));
    Refresh(list);
    ASSERT_EQ(list.Count(), 2);
    EXPECT_TRUE(list.Item(id)->InSQL());
    EXPECT_FALSE(list.Item(id)->InVSS());
    EXPECT_FALSE(list.Item(QStringLiteral("7") + id)->InSQL());
}

TEST_F(ObjectsTest, OldStyleFilesTakeTheirIdWithTheirDescriptionAndOwnerCaseDoesNotMatter) {
    Exec(procText(QStringLiteral("dbo.Foo")));
    Exec(procText(QStringLiteral("dbo.Bar")));
    Exec(procText(QStringLiteral("dbo.Baz")));
    const QString foo = IdOf(QStringLiteral("Foo"));
    const QString bar = IdOf(QStringLiteral("Bar"));
    const QString baz = IdOf(QStringLiteral("Baz"));
    AddFile(QStringLiteral("dbo.Foo.sp"), procText(QStringLiteral("dbo.Foo")));
    AddFile(QStringLiteral("dbo.Foo.sp.desc"), QStringLiteral("Finds the foo"));
    AddFile(QStringLiteral("Bar.sp"), procText(QStringLiteral("Bar")));
    AddFile(QStringLiteral("DBO.Baz.sp"), procText(QStringLiteral("Baz")));
    AddFile(QStringLiteral("dbo.Nothing.sp"), procText(QStringLiteral("dbo.Nothing")));

    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);

    EXPECT_TRUE(FileExists(foo + QStringLiteral(".sp")));
    EXPECT_TRUE(FileExists(foo + QStringLiteral(".sp.desc")));
    EXPECT_FALSE(FileExists(QStringLiteral("dbo.Foo.sp")));
    EXPECT_FALSE(FileExists(QStringLiteral("dbo.Foo.sp.desc")));
    EXPECT_TRUE(FileExists(bar + QStringLiteral(".sp"))) << "a name alone takes the owner dbo";
    EXPECT_TRUE(FileExists(baz + QStringLiteral(".sp"))) << "owners compare without case";
    EXPECT_EQ(list.Item(foo)->Description(), QStringLiteral("Finds the foo"));
    for (const QString& id : {foo, bar, baz})
        EXPECT_TRUE(list.Item(id)->InVSS() && list.Item(id)->InSQL());
    // A non-numeric file that names nothing stays, invisible and untouched.
    EXPECT_TRUE(FileExists(QStringLiteral("dbo.Nothing.sp")));
    EXPECT_EQ(list.Count(), 3);
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(ObjectsTest, FileOfARecreatedProcedureMovesToTheNewIdWithItsDescription) {
    Exec(procText(QStringLiteral("dbo.Again")));
    const QString oldId = IdOf(QStringLiteral("Again"));
    AddFile(oldId + QStringLiteral(".sp"),
            QStringLiteral("/* CREATE PROC dbo.Wrong */\r\n") + procText(QStringLiteral("[dbo].[Again]")));
    AddFile(oldId + QStringLiteral(".sp.desc"), QStringLiteral("kept"));

    Exec(QStringLiteral("DROP PROCEDURE dbo.Again"));
    Exec(QStringLiteral("CREATE TABLE dbo.Filler (id int NULL)")); // takes the freed id
    Exec(procText(QStringLiteral("dbo.Again")));
    const QString newId = IdOf(QStringLiteral("Again"));
    ASSERT_NE(newId, oldId);
    // A list that never saw the old object (one that did keeps it, broken on the SQL side, until
    // the object's own refresh finds the new id).
    // The tree's read: the descriptions are read with the files, before the file is re-keyed.
    TARMOStoredProcedures list;
    Bind(list);
    auto records = list.GetItemInfo(false);

    ASSERT_EQ(list.Count(), 1);
    EXPECT_EQ(records->Item(QStringLiteral("I") + newId).ToolTipText(), QStringLiteral("kept"));
    auto object = list.Item(newId);
    EXPECT_TRUE(object->InSQL());
    EXPECT_TRUE(object->InVSS());
    EXPECT_EQ(list.Item(oldId, false, true), nullptr);
    EXPECT_TRUE(FileExists(newId + QStringLiteral(".sp")));
    EXPECT_FALSE(FileExists(oldId + QStringLiteral(".sp")));
    EXPECT_FALSE(FileExists(oldId + QStringLiteral(".sp.desc")));
    EXPECT_EQ(object->Description(), QStringLiteral("kept"));
}

TEST_F(ObjectsTest, FilesThatNoObjectExplainsShowAsBrokenOnTheSqlSide) {
    AddFile(QStringLiteral("4242.sp"), QStringLiteral("-- no statement here at all\r\nSELECT 1"));
    AddFile(QStringLiteral("4343.sp"), procText(QStringLiteral("[sales].[Ghost]")));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);

    ASSERT_EQ(list.Count(), 2);
    auto nameless = list.Item(QStringLiteral("4242"));
    EXPECT_EQ(nameless->Name(), QStringLiteral("4242"));
    EXPECT_EQ(nameless->Owner(), QString());
    EXPECT_FALSE(nameless->InSQL());
    EXPECT_TRUE(nameless->InVSS());
    EXPECT_EQ(nameless->IconToUse(), QStringLiteral("STOREDPROCEDURE:SQLBROKEN"));
    auto ghost = list.Item(QStringLiteral("4343"));
    EXPECT_EQ(ghost->Name(), QStringLiteral("Ghost"));
    EXPECT_EQ(ghost->Owner(), QStringLiteral("sales"));

    // Once the file goes, the object is in neither store and leaves the list.
    ASSERT_TRUE(vss.RemoveItem(QStringLiteral("4242.sp"), true));
    Refresh(list);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(list.Item(QStringLiteral("4242"), false, true), nullptr);
}

TEST_F(ObjectsTest, CancelInTheFileLoopStopsAtOnceWithoutCompletion) {
    for (const QString& name : {QStringLiteral("A1"), QStringLiteral("B2"), QStringLiteral("C3")}) {
        Exec(procText(QStringLiteral("dbo.") + name));
        AddFile(IdOf(name) + QStringLiteral(".sp"), procText(QStringLiteral("dbo.") + name));
    }
    TARMOStoredProcedures list;
    Bind(list);
    QList<long> seen;
    long total = 0;
    bool completed = false;
    list.RetrieveStatusChange = [&](long current, long all, bool& cancel) {
        seen << current;
        total = all;
        cancel = current == 7; // the first file after the three rows
    };
    list.CompletedCurrentStatus = [&] { completed = true; };

    bool cancelled = false;
    list.RefreshList(cancelled);
    EXPECT_TRUE(cancelled);
    EXPECT_FALSE(completed);
    EXPECT_EQ(total, 9);
    EXPECT_EQ(seen, (QList<long>{0, 2, 4, 6, 7}));
    int inStore = 0;
    for (const auto& object : list)
        inStore += object->InVSS() ? 1 : 0;
    EXPECT_EQ(inStore, 1);
    EXPECT_EQ(list.Count(), 3);
    EXPECT_EQ(list.GetItemInfo(false), nullptr);

    list.RetrieveStatusChange = nullptr;
    Refresh(list);
    EXPECT_TRUE(completed);
}

TEST_F(ObjectsTest, RecordsCostTheSameNumberOfRoundTripsForAnyNumberOfObjects) {
    TARMOStoredProcedures list;
    Bind(list);
    auto cost = [&](int objects) {
        for (int i = list.Count() + 1; i <= objects; ++i) {
            const QString name = QStringLiteral("dbo.P%1").arg(i);
            Exec(procText(name));
            const QString id = IdOf(QStringLiteral("P%1").arg(i));
            AddFile(id + QStringLiteral(".sp"), procText(name));
            if (i % 2)
                AddFile(id + QStringLiteral(".sp.desc"), QStringLiteral("about %1").arg(i));
        }
        StoreTraffic::Reset();
        auto items = list.GetItemInfo(false);
        EXPECT_EQ(items->Count(), objects);
        return std::make_pair(StoreTraffic::StatementCount(), StoreTraffic::StoreCallCount());
    };
    const auto small = cost(2);
    const auto large = cost(12);
    EXPECT_EQ(small, large);
    EXPECT_LE(large.first, 2);
    EXPECT_LE(large.second, 2);

    // The set-wise descriptions read exactly what the object reads one by one.
    auto items = list.GetItemInfo(false);
    for (const auto& object : list)
        EXPECT_EQ(items->Item(QStringLiteral("I") + object->DBID()).ToolTipText(),
                  object->Description().isEmpty() ? object->Name() : object->Description());
}

TEST_F(ObjectsTest, NewObjectsJoinByNameAndChangedKeysAreRefiled) {
    for (const QString& name : {QStringLiteral("Bravo"), QStringLiteral("delta"), QStringLiteral("Echo")})
        Exec(procText(QStringLiteral("dbo.") + name));
    TARMOStoredProcedures list;
    Bind(list);
    Refresh(list);

    auto fresh = list.newItem();
    EXPECT_TRUE(fresh->IsNew());
    EXPECT_EQ(fresh->IconToUse(), QStringLiteral("STOREDPROCEDURE:NEW"));
    EXPECT_EQ(list.Count(), 3);
    const QString path = fresh->FileName();
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_TRUE(QFileInfo(path).fileName().startsWith(QStringLiteral("StoredProcedure_")));
    EXPECT_TRUE(path.endsWith(QStringLiteral(".sp")));

    // What a first check-in leaves behind, then its event. In a binary compare "Dog" sorts before
    // "delta", where the catalogue's order would put it after.
    Exec(procText(QStringLiteral("dbo.Dog")));
    const QString id = IdOf(QStringLiteral("Dog"));
    ObjectStateAccess::MakeReal(*fresh, id, QStringLiteral("Dog"));
    EXPECT_FALSE(QFileInfo::exists(path));
    fresh->NewItemCreated_Event();
    EXPECT_EQ(namesInOrder(list), (QStringList{QStringLiteral("dbo.Bravo"), QStringLiteral(".Dog"),
                                               QStringLiteral("dbo.delta"), QStringLiteral("dbo.Echo")}));
    EXPECT_EQ(list.Item(id), fresh);
    fresh->NewItemCreated_Event(); // a second event finds nothing to move
    EXPECT_EQ(list.Count(), 4);

    // A refresh keeps identity and order; a changed key goes back to the place given.
    Refresh(list);
    EXPECT_EQ(list.Item(id), fresh);
    const QString echo = IdOf(QStringLiteral("Echo"));
    ObjectStateAccess::SetId(*list.Item(echo), QStringLiteral("77"));
    list.ChangeKey(QStringLiteral("I") + echo, 1);
    EXPECT_EQ(list.Item(QStringLiteral("77"))->Name(), QStringLiteral("Echo"));
    EXPECT_EQ(namesInOrder(list).first(), QStringLiteral("dbo.Echo"));
    EXPECT_EQ(list.Item(echo, false, true), nullptr);
    list.RemoveItem(QStringLiteral("I77"));
    list.RemoveItem(id);
    EXPECT_EQ(list.Count(), 2);
}

TEST_F(ObjectsTest, ListOverAnotherDatabaseReadsTheCatalogueAlone) {
    Exec(procText(QStringLiteral("dbo.Solo")));
    AddFile(IdOf(QStringLiteral("Solo")) + QStringLiteral(".sp"), procText(QStringLiteral("dbo.Solo")));
    TARMOStoredProcedures list;
    list.SetActiveDBConnection(&sql);
    list.SetCheckSQLOnly(true);
    long total = -1;
    list.RetrieveStatusChange = [&](long, long all, bool&) { total = all; };
    StoreTraffic::Reset();
    Refresh(list);
    EXPECT_EQ(StoreTraffic::StoreCallCount(), 0);
    EXPECT_EQ(total, 2) << "a row counts twice and there are no files";
    ASSERT_EQ(list.Count(), 1);
    EXPECT_TRUE(list.Item(IdOf(QStringLiteral("Solo")))->InSQL());
    EXPECT_FALSE(list.Item(IdOf(QStringLiteral("Solo")))->InVSS());

    // Without a store connection a normal list refuses rather than guessing.
    list.SetCheckSQLOnly(false);
    bool cancelled = false;
    EXPECT_THROW(list.RefreshList(cancelled), TARMOError);
}

TEST_F(ObjectsTest, ListsEnterTheirIconKeysOnceInTheirOrder) {
    TARMOTriggers triggers;
    TARMOViews views;
    Bind(triggers);
    Bind(views);
    views.LoadIcons();
    QStringList names;
    for (const TARMOIcon& icon : icons)
        names << icon.Name();
    EXPECT_EQ(names, (QStringList{QStringLiteral("TRIGGERS"), QStringLiteral("TRIGGER:NEW"),
                                  QStringLiteral("TRIGGER"), QStringLiteral("TRIGGER:VSSBROKEN"),
                                  QStringLiteral("TRIGGER:SQLBROKEN"), QStringLiteral("TRIGGER:CHECKEDIN"),
                                  QStringLiteral("TRIGGER:CHECKEDINOUT"),
                                  QStringLiteral("TRIGGER:CHECKEDOUT"), QStringLiteral("TRIGGER:INSERT"),
                                  QStringLiteral("TRIGGER:UPDATE"), QStringLiteral("TRIGGER:DELETE"),
                                  QStringLiteral("VIEWS"), QStringLiteral("VIEW:NEW"), QStringLiteral("VIEW"),
                                  QStringLiteral("VIEW:VSSBROKEN"), QStringLiteral("VIEW:SQLBROKEN"),
                                  QStringLiteral("VIEW:CHECKEDIN"), QStringLiteral("VIEW:CHECKEDINOUT"),
                                  QStringLiteral("VIEW:CHECKEDOUT")}));
    EXPECT_EQ(icons.Item(QStringLiteral("view:checkedin")).Name(), QStringLiteral("VIEW:CHECKEDIN"));
    EXPECT_EQ(triggers.SubObjectType(), QStringLiteral("Trigger"));
    EXPECT_FALSE(triggers.IsRootNode());
    EXPECT_EQ(views.SubObjectDisplayName(), QStringLiteral("View"));
}
