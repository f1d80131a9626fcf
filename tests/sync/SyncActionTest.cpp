#include "SyncFixture.h"

#include "ScriptedPrompts.h"
#include "TARMOSQL.h"

namespace {

QString proc(const QString& name, const QString& body) {
    return QStringLiteral("CREATE PROCEDURE dbo.") + name + QStringLiteral(" AS ") + body;
}

const SyncDifference& rowNamed(const QList<SyncDifference>& rows, const QString& name) {
    for (const SyncDifference& row : rows)
        if (row.Name == name)
            return row;
    ADD_FAILURE() << "no row for " << name.toStdString();
    static const SyncDifference none;
    return none;
}

} // namespace

// Each kind of row in each direction, with both stores read back; a second run then finds nothing
// left, so each action put the two stores in agreement.
TEST_F(SyncTest, EachActionBringsTheTwoStoresTogether) {
    const QString dropped =
        InServer(QStringLiteral("SqlToDrop"), proc(QStringLiteral("SqlToDrop"), "SELECT 1"));
    const QString added = InServer(QStringLiteral("SqlToAdd"), proc(QStringLiteral("SqlToAdd"), "SELECT 2"));
    const QString created = InStore(proc(QStringLiteral("StoreToCreate"), QStringLiteral("SELECT 3")), ".sp");
    const QString removed = InStore(proc(QStringLiteral("StoreToRemove"), QStringLiteral("SELECT 4")), ".sp");
    const QString altered =
        InBoth(QStringLiteral("ServerTakes"), proc(QStringLiteral("ServerTakes"), "SELECT 5"),
               QStringLiteral(".sp"), proc(QStringLiteral("ServerTakes"), "SELECT 50"));
    const QString checkedIn =
        InBoth(QStringLiteral("StoreTakes"), proc(QStringLiteral("StoreTakes"), "SELECT 6"),
               QStringLiteral(".sp"), proc(QStringLiteral("StoreTakes"), "SELECT 60"));
    const QList<SyncDifference> rows = SyncRun(*core).Run();
    ASSERT_EQ(rows.size(), 6);

    const std::pair<const char*, SyncDirection> actions[] = {
        {"SqlToDrop", SyncDirection::ToSql},     {"SqlToAdd", SyncDirection::ToVss},
        {"StoreToCreate", SyncDirection::ToSql}, {"StoreToRemove", SyncDirection::ToVss},
        {"ServerTakes", SyncDirection::ToSql},   {"StoreTakes", SyncDirection::ToVss}};
    for (const auto& [name, direction] : actions)
        EXPECT_TRUE(ApplySyncAction(*core, rowNamed(rows, QLatin1String(name)), direction)) << name;
    EXPECT_TRUE(prompts->Records().isEmpty());

    EXPECT_TRUE(IdOf(QStringLiteral("SqlToDrop")).isEmpty());
    EXPECT_EQ(vss.ItemContent(added + QStringLiteral(".sp"), false),
              proc(QStringLiteral("SqlToAdd"), "SELECT 2"));
    const QString createdId = IdOf(QStringLiteral("StoreToCreate"));
    ASSERT_FALSE(createdId.isEmpty());
    EXPECT_EQ(sql.GetObjectText(createdId),
              proc(QStringLiteral("StoreToCreate"), QStringLiteral("SELECT 3")));
    EXPECT_TRUE(vss.ItemExists(createdId + QStringLiteral(".sp")));
    EXPECT_FALSE(vss.ItemExists(removed + QStringLiteral(".sp")));
    EXPECT_TRUE(sql.GetObjectText(altered).contains(QStringLiteral("SELECT 50")));
    EXPECT_EQ(vss.ItemContent(checkedIn + QStringLiteral(".sp"), false),
              proc(QStringLiteral("StoreTakes"), QStringLiteral("SELECT 6")));
    Q_UNUSED(dropped);
    Q_UNUSED(created);

    EXPECT_TRUE(SyncRun(*core).Run().isEmpty());
}

// A refused action says why, once, and leaves both stores as they were; no direction is no action.
TEST_F(SyncTest, AFailingActionReturnsFalseAndChangesNothing) {
    const QString broken =
        InStore(proc(QStringLiteral("Broken"), QStringLiteral("SELECT FROM WHERE")), QStringLiteral(".sp"));
    const QString kept =
        InServer(QStringLiteral("Kept"), proc(QStringLiteral("Kept"), QStringLiteral("SELECT 1")));
    const QList<SyncDifference> rows = SyncRun(*core).Run();
    ASSERT_EQ(rows.size(), 2);

    EXPECT_FALSE(ApplySyncAction(*core, rowNamed(rows, QStringLiteral("Kept")), SyncDirection::None));
    EXPECT_TRUE(prompts->Records().isEmpty());

    EXPECT_FALSE(ApplySyncAction(*core, rowNamed(rows, QStringLiteral("Broken")), SyncDirection::ToSql));
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records()[0].title, QStringLiteral("Item not added"));
    EXPECT_TRUE(IdOf(QStringLiteral("Broken")).isEmpty());
    EXPECT_TRUE(vss.ItemExists(broken + QStringLiteral(".sp")));

    // A row whose object went away after the run (another user dropped it): told, not thrown.
    SyncDifference stale = rowNamed(rows, QStringLiteral("Kept"));
    stale.DBID = QStringLiteral("424242");
    EXPECT_FALSE(ApplySyncAction(*core, stale, SyncDirection::ToSql));
    ASSERT_EQ(prompts->Records().size(), 2);
    EXPECT_EQ(prompts->Records()[1].title, QStringLiteral("Item not synchronized"));
    EXPECT_FALSE(IdOf(QStringLiteral("Kept")).isEmpty());
    EXPECT_FALSE(vss.ItemExists(kept + QStringLiteral(".sp")));
}
