#include "DbError.h"
#include "ListenerFixture.h"
#include "OdbcConnection.h"
#include "ScriptedPrompts.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VersionStore.h"
#include "modParser.h"

#include <QDir>

namespace {

// What a check-in of an existing procedure asks of SQL Server, through ODBC and the listener: the
// text compiled under a throw-away name and dropped, the ALTER form run, and the CREATE form read
// back from the catalogue and kept in the store.
class CheckInThroughListener : public ListenerFixture {
protected:
    void SetUp() override {
        if (!OdbcConnection::InstalledDrivers().contains(QStringLiteral("FreeTDS")))
            GTEST_SKIP() << "the FreeTDS ODBC driver is not installed (scripts/setup installs it)";
        OdbcConnection::SetDriverName(QStringLiteral("FreeTDS"));
        ASSERT_EQ(sql.OpenConnection(TcpName(), QStringLiteral("Sales"), QStringLiteral("sa"), kSaPassword, 0,
                                     true),
                  QString());
        const QString ini =
            VersionStore::Create(store.Path(QStringLiteral("store")), QStringLiteral("adminpw"));
        {
            VersionStore admin;
            admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"));
            admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bob"));
            admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Sales"), QString());
        }
        QDir().mkpath(store.Path(QStringLiteral("work")));
        vss.SetGeneralWorkingFolder(store.Path(QStringLiteral("work")));
        ASSERT_EQ(vss.OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"),
                                     QStringLiteral("$\\Sales\\"), {}, true),
                  QString());
    }
    void TearDown() override { OdbcConnection::SetDriverName(QString()); }

    // The syntax test: compiled under another name, dropped again; the server's error when it fails.
    QString testItem(const QString& createText, const QString& name) {
        const QString temporary = QStringLiteral("[sptmp_20261123083000_17]");
        QString text = createText;
        text.replace(name, temporary);
        try {
            sql.ExecuteSQL(text);
            sql.ExecuteSQL(QStringLiteral("DROP PROCEDURE ") + temporary);
        } catch (const DbError& e) {
            return TARMOSQL::FormatSQLError(e.Description());
        }
        return QString();
    }

    ScriptedPromptsScope prompts;
    TempFolder store;
    TARMOSQL sql;
    TARMOVSS vss;
};

} // namespace

TEST_F(CheckInThroughListener, AnExistingProcedureIsAlteredAndItsCreateFormKept) {
    const QString first = QStringLiteral("CREATE PROCEDURE dbo.OrderCount AS\r\nSELECT 1 AS n\r\n");
    sql.ExecuteSQL(first);
    const QString id = sql.GetObjectID(QStringLiteral("OrderCount"));
    ASSERT_FALSE(id.isEmpty());
    const QString item = id + QStringLiteral(".sp");
    ASSERT_TRUE(vss.AddItem(item, first, true));
    ASSERT_TRUE(vss.CheckOut(item, true));

    // A text that doesn't compile stops the check-in with the server's words and changes nothing.
    const QString broken = QStringLiteral("CREATE PROCEDURE dbo.OrderCount AS\r\nSELEC 2\r\n");
    EXPECT_TRUE(testItem(broken, QStringLiteral("OrderCount")).contains(QStringLiteral("Incorrect syntax")));
    EXPECT_EQ(sql.GetObjectText(id), first);

    const QString second = QStringLiteral("-- counts orders\r\nCREATE PROCEDURE dbo.OrderCount AS\r\n"
                                          "SELECT COUNT(*) AS n FROM sysobjects\r\n");
    ASSERT_EQ(testItem(second, QStringLiteral("OrderCount")), QString());
    EXPECT_TRUE(sql.GetObjectID(QStringLiteral("sptmp_20261123083000_17")).isEmpty())
        << "the test object is gone";
    sql.ExecuteSQL(modParser::ReplaceFirstWord(second, QStringLiteral("CREATE"), QStringLiteral("ALTER")));
    ASSERT_TRUE(vss.CheckIn(item, second, QStringLiteral("count them"), true));

    EXPECT_EQ(sql.GetObjectID(QStringLiteral("OrderCount")), id) << "ALTER keeps the object's id";
    EXPECT_EQ(sql.GetObjectText(id), second) << "the server keeps the CREATE form";
    EXPECT_EQ(vss.ItemContent(item, false), second);
    EXPECT_TRUE(vss.CheckedOutBy(item).isEmpty());
    std::unique_ptr<DbRecordset> rs = sql.OpenRecordset(QStringLiteral("EXEC dbo.OrderCount"));
    ASSERT_FALSE(rs->Eof());
    EXPECT_GT(rs->Field(QStringLiteral("n")).toLongLong(), 0);
    EXPECT_TRUE((*prompts).Records().isEmpty());
}
