#include "EmbeddedServer.h"
#include "ScriptedPrompts.h"
#include "TARMOPermissions.h"
#include "TARMOSQL.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

// A real embedded server with the database Shop: the user ann in the role Sales, a procedure and
// a table of dbo.
class PermissionsTest : public ::testing::Test {
protected:
    void SetUp() override {
        const QString server = QStringLiteral("embedded:") + folder.Path(QStringLiteral("srv"));
        EmbeddedServer::Create(folder.Path(QStringLiteral("srv")), QStringLiteral("sa-pw"));
        ASSERT_EQ(sql.OpenConnection(server, QStringLiteral("master"), QStringLiteral("sa"),
                                     QStringLiteral("sa-pw"), 0, true),
                  QString());
        sql.ExecuteSQL(QStringLiteral("CREATE DATABASE Shop"));
        ASSERT_EQ(sql.OpenConnection(server, QStringLiteral("Shop"), QStringLiteral("sa"),
                                     QStringLiteral("sa-pw"), 0, true),
                  QString());
        for (const char* statement :
             {"CREATE LOGIN ann WITH PASSWORD = 'ann-pw'", "CREATE USER ann FOR LOGIN ann",
              "CREATE ROLE Sales", "EXEC sp_addrolemember 'Sales', 'ann'",
              "CREATE PROCEDURE dbo.GetOrders AS SELECT 1 AS one",
              "CREATE TABLE dbo.Stock (Item int NOT NULL)"})
            sql.ExecuteSQL(QLatin1String(statement));
    }

    TARMOPermissions read(const QString& name, bool quick, bool executeOnly,
                          long show = TARMOPermissions::RolesAndUsers) {
        TARMOPermissions set;
        set.ActiveDBConnection = &sql;
        set.DatabaseID = sql.GetObjectID(name);
        set.HasExecuteOnly = executeOnly;
        set.QuickList = quick;
        set.Show = show;
        set.GetItemPermissions();
        return set;
    }

    static QStringList names(const TARMOPermissions& set) {
        QStringList out;
        for (const TARMOPermission& line : set)
            out << line.Name + (line.IsRole ? QStringLiteral("(role)") : QString()) +
                       (line.IsOwner ? QStringLiteral("(owner)") : QString());
        return out;
    }

    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMOSQL sql;
};

} // namespace

TEST_F(PermissionsTest, QuickListHoldsWhatIsSetAndFullListEveryGranteeButTheFixedRoles) {
    TARMOPermissions none = read(QStringLiteral("GetOrders"), true, true);
    EXPECT_EQ(none.Count(), 0);
    EXPECT_EQ(none.CreateScript(), QString());

    sql.ExecuteSQL(QStringLiteral("GRANT EXECUTE ON dbo.GetOrders TO [public]"));
    sql.ExecuteSQL(QStringLiteral("DENY EXECUTE ON dbo.GetOrders TO Sales"));
    TARMOPermissions quick = read(QStringLiteral("GetOrders"), true, true);
    EXPECT_EQ(names(quick), (QStringList{QStringLiteral("public(role)"), QStringLiteral("Sales(role)")}));
    EXPECT_EQ(quick.CreateScript(), QStringLiteral("GRANT EXECUTE ON [dbo].[GetOrders] TO [public]\r\n"
                                                   "DENY EXECUTE ON [dbo].[GetOrders] TO [Sales]\r\n"));
    EXPECT_EQ(names(read(QStringLiteral("GetOrders"), true, true, TARMOPermissions::UsersOnly)),
              QStringList());

    TARMOPermissions full = read(QStringLiteral("GetOrders"), false, true);
    const QStringList all = names(full);
    EXPECT_TRUE(all.contains(QStringLiteral("public(role)")));
    EXPECT_TRUE(all.contains(QStringLiteral("Sales(role)")));
    EXPECT_TRUE(all.contains(QStringLiteral("dbo(owner)")));
    EXPECT_TRUE(all.contains(QStringLiteral("ann")));
    EXPECT_FALSE(all.contains(QStringLiteral("db_owner(role)"))) << qPrintable(all.join(QLatin1Char(' ')));
    EXPECT_EQ(all.count(QStringLiteral("ann")), 1) << "a user in a role appears once";
    EXPECT_LT(all.indexOf(QStringLiteral("Sales(role)")), all.indexOf(QStringLiteral("ann")))
        << "roles first";
    EXPECT_EQ(full.Item(QStringLiteral("Sales")).HasExecute, TARMOPermission::Deny);

    // The full script resets every other grantee too; the owner's line gives nothing.
    const QString script = full.CreateScript();
    EXPECT_TRUE(script.contains(QStringLiteral("REVOKE EXECUTE ON [dbo].[GetOrders] TO [ann]\r\n")));
    EXPECT_TRUE(script.contains(QStringLiteral("GRANT EXECUTE ON [dbo].[GetOrders] TO [public]\r\n")));
    EXPECT_FALSE(script.contains(QStringLiteral("TO [dbo]")));
    EXPECT_FALSE(script.contains(QStringLiteral("SELECT"))) << "a procedure knows EXECUTE alone";
}

TEST_F(PermissionsTest, SavedChangesComeBackAndStateZeroRevokes) {
    sql.ExecuteSQL(QStringLiteral("GRANT EXECUTE ON dbo.GetOrders TO Sales"));
    TARMOPermissions full = read(QStringLiteral("GetOrders"), false, true);
    full.Item(QStringLiteral("Sales")).HasExecute = TARMOPermission::None;
    full.Item(QStringLiteral("ann")).HasExecute = TARMOPermission::Deny;
    full.Item(QStringLiteral("dbo")).HasExecute = TARMOPermission::Grant; // the owner's line is left out
    ASSERT_TRUE(full.Save());

    TARMOPermissions again = read(QStringLiteral("GetOrders"), true, true);
    EXPECT_EQ(names(again), QStringList{QStringLiteral("ann")});
    EXPECT_EQ(again.Item(QStringLiteral("ann")).HasExecute, TARMOPermission::Deny);
    EXPECT_EQ(again.CreateScript(QStringLiteral("GetOrders2"), QStringLiteral("dbo")),
              QStringLiteral("DENY EXECUTE ON [dbo].[GetOrders2] TO [ann]\r\n"));

    sql.ExecuteSQL(QStringLiteral("DROP PROCEDURE dbo.GetOrders"));
    EXPECT_FALSE(again.Save()) << "the object is gone";
    EXPECT_EQ(again.CreateScript(), QString());
}

TEST_F(PermissionsTest, TablesCarryFiveStatementsInTheirOrder) {
    sql.ExecuteSQL(QStringLiteral("GRANT INSERT, SELECT ON dbo.Stock TO ann"));
    sql.ExecuteSQL(QStringLiteral("DENY REFERENCES ON dbo.Stock TO ann"));
    TARMOPermissions quick = read(QStringLiteral("Stock"), true, false);
    ASSERT_EQ(quick.Count(), 1);
    EXPECT_FALSE(quick.Item(1).IsRole);
    EXPECT_EQ(quick.CreateScript(), QStringLiteral("GRANT SELECT ON [dbo].[Stock] TO [ann]\r\n"
                                                   "GRANT INSERT ON [dbo].[Stock] TO [ann]\r\n"
                                                   "REVOKE UPDATE ON [dbo].[Stock] TO [ann]\r\n"
                                                   "REVOKE DELETE ON [dbo].[Stock] TO [ann]\r\n"
                                                   "DENY REFERENCES ON [dbo].[Stock] TO [ann]\r\n"));
    EXPECT_EQ(names(read(QStringLiteral("Stock"), true, false, TARMOPermissions::RolesOnly)), QStringList());

    // A stored value of a statement the kind doesn't know gives nothing.
    TARMOPermission line;
    line.Name = QStringLiteral("x");
    line.HasExecuteOnly = true;
    line.HasSelect = TARMOPermission::Grant;
    EXPECT_FALSE(line.HasAnyPermissionSet() && line.Statements().size() != 1);
    EXPECT_EQ(line.Statements().value(0).Word, QStringLiteral("EXECUTE"));
    EXPECT_EQ(TARMOPermission::StatementText(QStringLiteral("SELECT"), TARMOPermission::LeaveOut,
                                             QStringLiteral("[a].[b]"), QStringLiteral("x")),
              QString());
}
