// What lasts beyond one batch of one session: the wait a cancel ends, the temporary tables a
// session leaves behind, triggers fired by another connection than the one that made them.
#include "EmbeddedServer.h"
#include "EngineResults.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

class Lifetime : public ::testing::Test {
protected:
    void SetUp() override {
        folder = temp.Path(QStringLiteral("srv"));
        EmbeddedServer::Create(folder, QStringLiteral("secret"));
        server = std::make_unique<EmbeddedServer>(folder);
    }
    std::unique_ptr<EmbeddedSession> Sa() {
        auto s = server->Connect(QStringLiteral("sa"), QStringLiteral("secret"), {});
        EXPECT_TRUE(s);
        return s;
    }
    static QVariant Scalar(EmbeddedSession& s, const QString& sql) {
        const auto rows = FirstRows(s.Execute(sql));
        return rows && !rows->rows.isEmpty() ? rows->rows.first().value(0) : QVariant();
    }
    TempFolder temp;
    QString folder;
    std::unique_ptr<EmbeddedServer> server;
};

TEST_F(Lifetime, ACancelEndsAWaitAndTheBatch) {
    auto s = Sa();
    int looks = 0;
    s->SetCancelCheck([&looks] { return ++looks > 3; });
    const SqlBatchResults results = s->Execute(QStringLiteral("WAITFOR DELAY '01:00:00'\nPRINT 'after'"));
    EXPECT_GT(looks, 3);
    for (const SqlResult& r : results)
        EXPECT_NE(r.message.text, QStringLiteral("after"));
    s->SetCancelCheck({});
    EXPECT_EQ(Scalar(*s, QStringLiteral("SELECT 1")).toInt(), 1);
}

TEST_F(Lifetime, TemporaryTablesGoWithTheirSession) {
    auto other = Sa();
    // As on the server, every session's temporary tables are in tempdb's catalogue, none in the
    // database's.
    const QString count =
        QStringLiteral("SELECT COUNT(*) FROM tempdb..sysobjects WHERE name LIKE '#%' AND xtype = 'U'");
    const QString listed = QStringLiteral("SELECT COUNT(*) FROM sysobjects WHERE name LIKE '#%'");
    {
        auto s = Sa();
        EXPECT_TRUE(Errors(s->Execute(QStringLiteral("CREATE TABLE #a (x int)\nCREATE TABLE #b (y int)\n"
                                                     "DECLARE @v TABLE (z int)\nINSERT INTO #a VALUES (1)")))
                        .isEmpty());
        // The table variable went with its batch; the temporary tables stay with the session.
        EXPECT_EQ(Scalar(*other, count).toInt(), 2);
        EXPECT_EQ(Scalar(*other, listed).toInt(), 0);
        EXPECT_EQ(Scalar(*s, QStringLiteral("SELECT COUNT(*) FROM #a")).toInt(), 1);
        // An open transaction at the end is rolled back, not left holding the tables.
        s->Execute(QStringLiteral("BEGIN TRAN\nINSERT INTO #b VALUES (2)"));
    }
    EXPECT_EQ(Scalar(*other, count).toInt(), 0);
}

TEST_F(Lifetime, TriggersFireForEverySession) {
    auto maker = Sa();
    EXPECT_TRUE(
        Errors(maker->Execute(QStringLiteral("CREATE TABLE T (a int)\nCREATE TABLE Log (a int)"))).isEmpty());
    EXPECT_TRUE(Errors(maker->Execute(QStringLiteral("CREATE TRIGGER TIns ON T AFTER INSERT AS "
                                                     "INSERT INTO Log SELECT a FROM inserted")))
                    .isEmpty());
    auto other = Sa();
    EXPECT_TRUE(Errors(other->Execute(QStringLiteral("INSERT INTO T VALUES (1)"))).isEmpty());
    EXPECT_TRUE(Errors(maker->Execute(QStringLiteral("INSERT INTO T VALUES (2)"))).isEmpty());
    // A column added later is in inserted from then on.
    EXPECT_TRUE(Errors(maker->Execute(QStringLiteral("ALTER TABLE T ADD b int\nALTER TABLE Log ADD b int")))
                    .isEmpty());
    EXPECT_TRUE(Errors(maker->Execute(QStringLiteral("ALTER TRIGGER TIns ON T AFTER INSERT AS "
                                                     "INSERT INTO Log SELECT a, b FROM inserted")))
                    .isEmpty());
    EXPECT_TRUE(Errors(other->Execute(QStringLiteral("INSERT INTO T VALUES (3, 30)"))).isEmpty());
    EXPECT_EQ(Scalar(*maker, QStringLiteral("SELECT COUNT(*) FROM Log")).toInt(), 3);
    EXPECT_EQ(Scalar(*maker, QStringLiteral("SELECT SUM(b) FROM Log")).toInt(), 30);
}

} // namespace
