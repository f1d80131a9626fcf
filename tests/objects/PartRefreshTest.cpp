#include "ObjectsFixture.h"

#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTrigger.h"
#include "TARMOTriggers.h"
#include "VSSBulkReader.h"

namespace {

QString triggerText(const QString& name, const QString& table) {
    return QStringLiteral("CREATE TRIGGER ") + name + QStringLiteral(" ON ") + table +
           QStringLiteral(" FOR INSERT AS SELECT 1");
}

// The records of the keys given (all without), one line each, sorted.
QStringList recordsOf(const TARMODBTItems& records, const QStringList& keys = {}) {
    QStringList lines;
    for (int i = 1; i <= records.Count(); ++i) {
        const TARMODBTItem& record = records.Item(i);
        if (!keys.isEmpty() && !keys.contains(record.Key))
            continue;
        lines << record.Key + QLatin1Char('|') + record.Text + QLatin1Char('|') + record.ImageName +
                     QLatin1Char('|') + record.ToolTipText();
    }
    lines.sort();
    return lines;
}

} // namespace

TEST_F(ObjectsTest, OneTablesTriggersAreReadAloneAndAgreeWithTheWholeRefresh) {
    Exec(QStringLiteral("CREATE TABLE dbo.T1 (id int NULL)"));
    Exec(QStringLiteral("CREATE TABLE dbo.T2 (id int NULL)"));
    for (const auto& [name, table] : {std::pair{QStringLiteral("dbo.trA"), QStringLiteral("dbo.T1")},
                                      std::pair{QStringLiteral("dbo.trB"), QStringLiteral("dbo.T1")},
                                      std::pair{QStringLiteral("dbo.trC"), QStringLiteral("dbo.T2")}}) {
        Exec(triggerText(name, table));
        const QString id = IdOf(name.mid(4));
        AddFile(id + QStringLiteral(".trg"), triggerText(name, table));
    }
    const QString t1 = IdOf(QStringLiteral("T1"));
    const QString a = IdOf(QStringLiteral("trA"));
    const QString b = IdOf(QStringLiteral("trB"));
    AddFile(a + QStringLiteral(".trg.desc"), QStringLiteral("audits T1"));
    auto carol = ConnectStore(QStringLiteral("Carol"), QStringLiteral("carol"));
    ASSERT_TRUE(carol->CheckOut(b + QStringLiteral(".trg"), true));

    TARMOTriggers whole;
    Bind(whole);
    auto all = whole.GetItemInfo(false);
    ASSERT_EQ(all->Count(), 3);

    // One statement and one store call, and only that table's triggers come into the list.
    TARMOTriggers part;
    Bind(part);
    StoreTraffic::Reset();
    auto records = part.GetItemInfo(false, t1);
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(StoreTraffic::StatementCount(), 1);
    EXPECT_EQ(StoreTraffic::StoreCallCount(), 1);
    EXPECT_EQ(part.Count(), 2);
    EXPECT_EQ(recordsOf(*records), recordsOf(*all, {QStringLiteral("I") + a, QStringLiteral("I") + b}));
    EXPECT_EQ(records->Item(QStringLiteral("I") + b).Text, QStringLiteral("trB (Checked out by Carol)"));
    EXPECT_EQ(records->Item(QStringLiteral("I") + a).ToolTipText(), QStringLiteral("audits T1"));
    EXPECT_EQ(part.Item(a)->Owner(), QStringLiteral("dbo"));

    // A trigger dropped and made again has no file under its new id: only the whole refresh of a
    // list that never saw the old one can give it its old file, so that is what the table's read
    // does then.
    Exec(QStringLiteral("DROP TRIGGER dbo.trA"));
    Exec(QStringLiteral("CREATE TABLE dbo.Filler (id int NULL)"));
    Exec(triggerText(QStringLiteral("dbo.trA"), QStringLiteral("dbo.T1")));
    const QString again = IdOf(QStringLiteral("trA"));
    ASSERT_NE(again, a);
    TARMOTriggers later;
    Bind(later);
    records = later.GetItemInfo(false, t1);
    ASSERT_NE(records, nullptr);
    EXPECT_TRUE(FileExists(again + QStringLiteral(".trg")));
    EXPECT_FALSE(FileExists(a + QStringLiteral(".trg")));
    EXPECT_EQ(records->Item(QStringLiteral("I") + again).ToolTipText(), QStringLiteral("audits T1"));
    EXPECT_TRUE(later.Item(again)->InVSS());
    EXPECT_EQ(later.Item(a, false, true), nullptr);

    // A trigger whose file went away is dropped from the table's read too.
    ASSERT_TRUE(carol->UndoCheckout(b + QStringLiteral(".trg"), true));
    Exec(QStringLiteral("DROP TRIGGER dbo.trB"));
    ASSERT_TRUE(vss.RemoveItem(b + QStringLiteral(".trg"), true));
    StoreTraffic::Reset();
    records = later.GetItemInfo(false, t1);
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(StoreTraffic::StoreCallCount(), 1);
    EXPECT_EQ(later.Item(b, false, true), nullptr);
    EXPECT_EQ(records->Count(), 1);
}

TEST_F(ObjectsTest, OneObjectIsFoundByNameWithOneStatementAndOneStoreCall) {
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Kept AS SELECT 1"));
    Exec(QStringLiteral("CREATE PROCEDURE dbo.Other AS SELECT 2"));
    Exec(QStringLiteral("CREATE PROCEDURE dbo.SqlOnly AS SELECT 3"));
    const QString kept = IdOf(QStringLiteral("Kept"));
    AddFile(kept + QStringLiteral(".sp"), QStringLiteral("CREATE PROCEDURE dbo.Kept AS SELECT 1"));
    AddFile(IdOf(QStringLiteral("Other")) + QStringLiteral(".sp"),
            QStringLiteral("CREATE PROCEDURE dbo.Other AS SELECT 2"));
    // A file whose object is gone from the catalogue: only its text names it.
    AddFile(QStringLiteral("999999.sp"), QStringLiteral("CREATE PROCEDURE dbo.Gone AS SELECT 4"));
    ASSERT_TRUE(vss.CheckOut(kept + QStringLiteral(".sp"), true));

    TARMOStoredProcedures list;
    Bind(list);
    StoreTraffic::Reset();
    auto object = list.RefreshItemByName(QStringLiteral("DBO.kept"));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(StoreTraffic::StatementCount(), 1);
    EXPECT_EQ(StoreTraffic::StoreCallCount(), 1);
    EXPECT_EQ(list.Count(), 1);
    EXPECT_EQ(object->DBID(), kept);
    EXPECT_EQ(object->Name(), QStringLiteral("Kept"));
    EXPECT_EQ(object->Owner(), QStringLiteral("dbo"));
    EXPECT_TRUE(object->InSQL());
    EXPECT_TRUE(object->InVSS());
    EXPECT_EQ(object->CheckedOutBy(), QStringLiteral("Bob"));
    EXPECT_EQ(object->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDOUT"));

    // The same object as the whole refresh files it, and the refresh keeps it.
    TARMOStoredProcedures whole;
    Bind(whole);
    Refresh(whole);
    EXPECT_EQ(whole.Item(kept)->CheckedOutBy(), object->CheckedOutBy());
    Refresh(list);
    EXPECT_EQ(list.Item(kept), object);

    // Where the catalogue can't tell, the whole list is read: an object of the catalogue without
    // its file, one that only the store holds, and a name neither knows.
    TARMOStoredProcedures fresh;
    Bind(fresh);
    auto sqlOnly = fresh.RefreshItemByName(QStringLiteral("SqlOnly"));
    ASSERT_NE(sqlOnly, nullptr);
    EXPECT_FALSE(sqlOnly->InVSS());
    EXPECT_EQ(fresh.Count(), 4);
    auto gone = fresh.RefreshItemByName(QStringLiteral("dbo.Gone"));
    ASSERT_NE(gone, nullptr);
    EXPECT_EQ(gone->DBID(), QStringLiteral("999999"));
    EXPECT_FALSE(gone->InSQL());
    EXPECT_EQ(fresh.RefreshItemByName(QStringLiteral("Nowhere")), nullptr);
    EXPECT_EQ(fresh.RefreshItemByName(QStringLiteral("nobody.Kept")), nullptr);
}
