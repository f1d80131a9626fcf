#include "EmbeddedServer.h"
#include "SqliteDb.h"
#include "TestSupport.h"

#include <QDir>
#include <QStringList>
#include <gtest/gtest.h>

namespace {

const QStringList kIndexes{QStringLiteral("syscolumns_id"),   QStringLiteral("syscomments_id"),
                           QStringLiteral("sysobjects_name"), QStringLiteral("sysobjects_parent"),
                           QStringLiteral("sysprotects_id"),  QStringLiteral("sysusers_name"),
                           QStringLiteral("sysusers_uid")};

QStringList Indexes(const QString& file) {
    SqliteDb db(file);
    QStringList names;
    for (const QVariantList& row :
         db.Rows(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'index' AND name NOT LIKE "
                                "'sqlite_autoindex%' ORDER BY name")))
        names.append(row[0].toString());
    return names;
}

QList<QVariantList> Rows(EmbeddedSession& session, const QString& batch) {
    QList<QVariantList> rows;
    for (const SqlResult& r : session.Execute(batch)) {
        if (r.kind == SqlResult::Kind::Message && r.message.IsError())
            ADD_FAILURE() << qPrintable(r.message.text);
        if (r.kind == SqlResult::Kind::RowSet)
            rows += r.rowSet.rows;
    }
    return rows;
}

class CatalogueFolder : public ::testing::Test {
protected:
    void SetUp() override {
        folder = temp.Path(QStringLiteral("srv"));
        EmbeddedServer::Create(folder, QStringLiteral("secret"));
    }
    QString File(const QString& name) const { return QDir(folder).filePath(name); }
    TempFolder temp;
    QString folder;
};

TEST_F(CatalogueFolder, NewDatabasesHaveTheIndexesAndOlderOnesGetThemOnOpen) {
    {
        EmbeddedServer server(folder);
        auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
        ASSERT_TRUE(sa);
        Rows(*sa, QStringLiteral("CREATE DATABASE Sales"));
    }
    EXPECT_EQ(Indexes(File(QStringLiteral("master.db"))), kIndexes);
    EXPECT_EQ(Indexes(File(QStringLiteral("sales.db"))), kIndexes);

    // A database from before the indexes.
    {
        SqliteDb old(File(QStringLiteral("sales.db")));
        for (const QString& index : kIndexes)
            old.Exec(QStringLiteral("DROP INDEX ") + index);
    }
    ASSERT_TRUE(Indexes(File(QStringLiteral("sales.db"))).isEmpty());
    EmbeddedServer server(folder);
    auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), QStringLiteral("Sales"));
    ASSERT_TRUE(sa);
    EXPECT_EQ(Indexes(File(QStringLiteral("sales.db"))), kIndexes);
    EXPECT_EQ(Rows(*sa, QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE name = N'SYSOBJECTS'"))
                  .value(0)
                  .value(0)
                  .toInt(),
              1);
}

TEST_F(CatalogueFolder, LookupsSeeWhatEarlierStatementsOfTheBatchDid) {
    EmbeddedServer server(folder);
    auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
    ASSERT_TRUE(sa);
    const QList<QVariantList> created =
        Rows(*sa, QStringLiteral("SELECT OBJECT_ID(N'dbo.Orders')\n"
                                 "CREATE TABLE Orders (id int)\n"
                                 "SELECT OBJECT_ID(N'[DBO].[orders]'), OBJECTPROPERTY(OBJECT_ID(N'Orders'), "
                                 "N'IsUserTable'), OBJECT_NAME(OBJECT_ID(N'Orders'))\n"
                                 "SELECT id FROM sysobjects WHERE name = N'Orders'"));
    ASSERT_EQ(created.size(), 3);
    EXPECT_TRUE(created[0][0].isNull());
    EXPECT_EQ(created[1][0].toLongLong(), created[2][0].toLongLong());
    EXPECT_EQ(created[1][1].toInt(), 1);
    EXPECT_EQ(created[1][2].toString(), QStringLiteral("Orders"));

    // The drop guard the program sends, and what follows it in the same batch.
    Rows(*sa, QStringLiteral("CREATE PROCEDURE dbo.spOrders AS SELECT id FROM Orders"));
    const QList<QVariantList> dropped =
        Rows(*sa, QStringLiteral(
                      "IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[spOrders]') "
                      "AND OBJECTPROPERTY(id, N'IsProcedure') = 1) DROP PROCEDURE [dbo].[spOrders]\n"
                      "SELECT COUNT(*) FROM sysobjects WHERE id = OBJECT_ID(N'[dbo].[spOrders]')\n"
                      "IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[Orders]') "
                      "AND OBJECTPROPERTY(id, N'IsProcedure') = 1) DROP TABLE Orders\n"
                      "SELECT COUNT(*) FROM sysobjects WHERE id = OBJECT_ID(N'Orders')"));
    ASSERT_EQ(dropped.size(), 2);
    EXPECT_EQ(dropped[0][0].toInt(), 0);
    EXPECT_EQ(dropped[1][0].toInt(), 1); // a table is no procedure: the guard kept it
}

// A list asks OBJECTPROPERTY once per row, and past a few rows the types come from one read of the
// catalogue that the connection keeps between statements. What it keeps must never hide a change:
// neither one made by the same connection nor a commit of another.
TEST_F(CatalogueFolder, TypesReadForAListFollowEveryChange) {
    EmbeddedServer server(folder);
    auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
    auto other = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
    ASSERT_TRUE(sa && other);
    QString batch;
    for (int i = 0; i < 40; ++i)
        batch += QStringLiteral("CREATE PROCEDURE dbo.sp%1 AS SELECT 1\nGO\n").arg(i);
    for (const QString& part : batch.split(QStringLiteral("GO\n"), Qt::SkipEmptyParts))
        Rows(*sa, part);
    const QString count =
        QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE OBJECTPROPERTY(id, N'IsProcedure') = 1");
    EXPECT_EQ(Rows(*sa, count)[0][0].toInt(), 40);

    Rows(*sa, QStringLiteral("DROP PROCEDURE dbo.sp0"));
    Rows(*sa, QStringLiteral("CREATE VIEW dbo.sp0 AS SELECT 1 AS one"));
    EXPECT_EQ(Rows(*sa, count)[0][0].toInt(), 39) << "a change of this connection";

    Rows(*other, QStringLiteral("CREATE PROCEDURE dbo.spOther AS SELECT 2"));
    EXPECT_EQ(Rows(*sa, count)[0][0].toInt(), 40) << "a commit of another connection";
    Rows(*other, QStringLiteral("DROP PROCEDURE dbo.sp1"));
    EXPECT_EQ(Rows(*sa, count)[0][0].toInt(), 39);
    EXPECT_EQ(
        Rows(*sa, QStringLiteral("SELECT OBJECTPROPERTY(OBJECT_ID(N'dbo.sp0'), N'IsView')"))[0][0].toInt(),
        1);

    // An owner that changes under an object keeps its id: only dropping what was kept shows it.
    const QString owned =
        QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE OBJECTPROPERTY(id, N'OwnerId') = 77");
    EXPECT_EQ(Rows(*sa, owned)[0][0].toInt(), 0);
    const qlonglong id = Rows(*sa, QStringLiteral("SELECT OBJECT_ID(N'dbo.sp5')"))[0][0].toLongLong();
    SqliteDb(QDir(folder).filePath(QStringLiteral("master.db")))
        .Exec(QStringLiteral("UPDATE sysobjects SET uid = 77 WHERE id = ?"), {id});
    EXPECT_EQ(Rows(*sa, owned)[0][0].toInt(), 1);
}

// User types are the database's: a restarted server still has them, and a procedure that takes a
// table of one still reads what it is given.
TEST_F(CatalogueFolder, UserTypesOutliveTheServer) {
    {
        EmbeddedServer server(folder);
        auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
        ASSERT_TRUE(sa);
        Rows(*sa, QStringLiteral("CREATE DATABASE Sales"));
        Rows(*sa, QStringLiteral("USE Sales"));
        Rows(*sa, QStringLiteral("CREATE TYPE dbo.Amount FROM decimal(9, 2) NOT NULL"));
        Rows(*sa, QStringLiteral("CREATE TYPE dbo.Lines AS TABLE (item int PRIMARY KEY, price Amount)"));
        Rows(*sa, QStringLiteral(
                      "CREATE PROCEDURE dbo.Total @lines Lines READONLY AS SELECT SUM(price) FROM @lines"));
    }
    EmbeddedServer server(folder);
    auto sa = server.Connect(QStringLiteral("sa"), QStringLiteral("secret"), QStringLiteral("Sales"));
    ASSERT_TRUE(sa);
    const QList<QVariantList> total = Rows(
        *sa, QStringLiteral("DECLARE @l dbo.Lines\nINSERT INTO @l VALUES (1, 2.5), (2, 4)\nEXEC Total @l"));
    ASSERT_EQ(total.size(), 1);
    EXPECT_DOUBLE_EQ(total[0][0].toDouble(), 6.5);
    const QList<QVariantList> types = Rows(
        *sa,
        QStringLiteral("SELECT name, is_table_type FROM sys.types WHERE is_user_defined = 1 ORDER BY name"));
    ASSERT_EQ(types.size(), 2);
    EXPECT_EQ(types[0][0].toString(), QStringLiteral("Amount"));
    EXPECT_EQ(types[1][1].toInt(), 1);
}

TEST(StatementCache, AStatementInUseIsNeverLentTwice) {
    TempFolder temp;
    SqliteDb db(temp.Path(QStringLiteral("cache.db")), true);
    db.Exec(QStringLiteral("CREATE TABLE t (n int)"));
    for (int i = 1; i <= 3; ++i)
        db.Exec(QStringLiteral("INSERT INTO t VALUES (?)"), {i});
    const QString sql = QStringLiteral("SELECT n FROM t WHERE n >= ? ORDER BY n");
    {
        CachedStatement outer = db.Prepare(sql);
        outer->Bind(1, 2);
        ASSERT_TRUE(outer->Step());
        // Inside the outer statement's rows, the same text again: a statement of its own.
        EXPECT_EQ(db.Rows(sql, {1}).size(), 3);
        EXPECT_EQ(outer->Value(0).toInt(), 2);
        ASSERT_TRUE(outer->Step());
        EXPECT_EQ(outer->Value(0).toInt(), 3);
    }
    // Given back reset and without the last values; more texts than the cache keeps still run.
    CachedStatement again = db.Prepare(sql);
    EXPECT_FALSE(again->Step()); // n >= NULL
    for (int i = 0; i < SqliteDb::kCachedStatements + 5; ++i)
        EXPECT_EQ(db.Scalar(QStringLiteral("SELECT COUNT(*) + %1 FROM t").arg(i)).toInt(), 3 + i);
    EXPECT_EQ(db.Rows(sql, {3}).size(), 1);
}

} // namespace
