#include "ScriptDependencyOrder.h"

#include <gtest/gtest.h>

namespace {

ScriptDependencyNode node(const QString& name, const QString& text,
                          const QString& owner = QStringLiteral("dbo")) {
    return {owner, name, text};
}

QStringList namesInOrder(const QList<ScriptDependencyNode>& nodes) {
    QStringList names;
    for (const qsizetype at : ScriptDependencyOrder(nodes))
        names << nodes[at].Owner + QLatin1Char('.') + nodes[at].Name;
    return names;
}

} // namespace

// Views on views in the opposite order of their names, a procedure calling a procedure and a
// function used by a view: each object follows the ones it uses, and the others keep their place.
TEST(ScriptDependencyOrderTest, ObjectsFollowWhatTheyUse) {
    const QList<ScriptDependencyNode> nodes = {
        node(QStringLiteral("p_report"),
             QStringLiteral("CREATE PROCEDURE dbo.p_report AS EXEC dbo.p_totals 1")),
        node(QStringLiteral("p_totals"),
             QStringLiteral("CREATE PROCEDURE p_totals @n int AS SELECT * FROM v_top")),
        node(QStringLiteral("f_tax"), QStringLiteral("CREATE FUNCTION dbo.f_tax(@a money) RETURNS money AS "
                                                     "BEGIN RETURN @a END")),
        node(QStringLiteral("v_top"), QStringLiteral("CREATE VIEW v_top AS SELECT n FROM [dbo].[v_middle]")),
        node(QStringLiteral("v_middle"),
             QStringLiteral("CREATE VIEW v_middle AS SELECT dbo.f_tax(n) AS n FROM "
                            "dbo.v_base,dbo.v_base b")),
        node(QStringLiteral("v_base"), QStringLiteral("CREATE VIEW v_base AS SELECT 1 AS n")),
        node(QStringLiteral("v_alone"), QStringLiteral("CREATE VIEW v_alone AS SELECT 2 AS n")),
    };
    EXPECT_EQ(namesInOrder(nodes), QStringList({"dbo.f_tax", "dbo.v_base", "dbo.v_middle", "dbo.v_top",
                                                "dbo.p_totals", "dbo.p_report", "dbo.v_alone"}));
}

// Names in comments and string literals are no use of an object, and another owner's object of
// the same name is another object.
TEST(ScriptDependencyOrderTest, CommentsLiteralsAndOtherOwnersAreNoUse) {
    const QList<ScriptDependencyNode> nodes = {
        node(QStringLiteral("v_a"),
             QStringLiteral("-- reads v_b\nCREATE VIEW v_a /* v_b */ AS SELECT 'v_b' AS x, "
                            "n FROM sales.v_c")),
        node(QStringLiteral("v_b"), QStringLiteral("CREATE VIEW v_b AS SELECT 1 AS n")),
        node(QStringLiteral("v_c"), QStringLiteral("CREATE VIEW v_c AS SELECT 1 AS n")),
        node(QStringLiteral("v_c"), QStringLiteral("CREATE VIEW sales.v_c AS SELECT 1 AS n"),
             QStringLiteral("sales")),
    };
    EXPECT_EQ(ScriptDependenciesOf(nodes, 0), QList<qsizetype>({3}));
    EXPECT_EQ(namesInOrder(nodes), QStringList({"sales.v_c", "dbo.v_a", "dbo.v_b", "dbo.v_c"}));
}

// Two procedures calling each other can't both come second: they keep the list's order, and what
// the cycle uses still comes before it.
TEST(ScriptDependencyOrderTest, ACycleKeepsTheListsOrder) {
    const QList<ScriptDependencyNode> nodes = {
        node(QStringLiteral("p_ping"), QStringLiteral("CREATE PROCEDURE p_ping AS EXEC p_pong")),
        node(QStringLiteral("p_pong"), QStringLiteral("CREATE PROCEDURE p_pong AS EXEC p_ping EXEC p_base")),
        node(QStringLiteral("p_base"), QStringLiteral("CREATE PROCEDURE p_base AS SELECT 1")),
        node(QStringLiteral("p_self"), QStringLiteral("CREATE PROCEDURE p_self AS EXEC p_self")),
    };
    EXPECT_EQ(namesInOrder(nodes), QStringList({"dbo.p_base", "dbo.p_ping", "dbo.p_pong", "dbo.p_self"}));
}

// A chain of thousands of views, listed last first, must come out first to last without running
// out of stack.
TEST(ScriptDependencyOrderTest, ALongChainIsOrderedWhole) {
    QList<ScriptDependencyNode> nodes;
    const int n = 3000;
    for (int i = n - 1; i >= 0; --i)
        nodes.append(node(QStringLiteral("v%1").arg(i),
                          i == 0 ? QStringLiteral("CREATE VIEW v0 AS SELECT 1 AS n")
                                 : QStringLiteral("CREATE VIEW v%1 AS SELECT n FROM v%2").arg(i).arg(i - 1)));
    const QList<qsizetype> order = ScriptDependencyOrder(nodes);
    ASSERT_EQ(order.size(), n);
    for (int i = 0; i < n; ++i)
        ASSERT_EQ(nodes[order[i]].Name, QStringLiteral("v%1").arg(i));
}
