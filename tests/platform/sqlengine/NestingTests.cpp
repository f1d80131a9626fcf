#include "EmbeddedServer.h"
#include "SaSessionTest.h"
#include "TestSupport.h"

#include <functional>
#include <gtest/gtest.h>
#include <optional>

// Nesting past what the server takes ends in its error 191 and nothing else: not a crash of the
// process that hosts the engine (the program, tarmo-sql, every session of tarmo-server). Long flat
// chains of operators are no nesting at all and run.

namespace {

QString Repeat(const QString& text, int times) {
    QString out;
    out.reserve(text.size() * times);
    for (int i = 0; i < times; ++i)
        out += text;
    return out;
}

QString Chain(const QString& term, const QString& op, int terms) {
    QStringList parts;
    for (int i = 0; i < terms; ++i)
        parts.append(term);
    return parts.join(op);
}

struct Outcome {
    QList<SqlMessage> errors;
    QList<SqlMessage> prints;
    std::optional<SqlRowSet> rows;
};

Outcome Execute(EmbeddedSession& session, const QString& batch) {
    Outcome o;
    for (const SqlResult& r : session.Execute(batch)) {
        if (r.kind == SqlResult::Kind::Message)
            (r.message.IsError() ? o.errors : o.prints).append(r.message);
        else if (r.kind == SqlResult::Kind::RowSet && !o.rows)
            o.rows = r.rowSet;
    }
    return o;
}

QVariant Scalar(EmbeddedSession& session, const QString& query) {
    const Outcome o = Execute(session, query);
    EXPECT_TRUE(o.errors.isEmpty()) << (o.errors.isEmpty() ? "" : o.errors[0].text.toStdString());
    return o.rows && !o.rows->rows.isEmpty() ? o.rows->rows[0][0] : QVariant();
}

class Nesting : public SaSessionTest {
protected:
    void ExpectTooDeep(const Outcome& o, const std::string& what) {
        ASSERT_EQ(o.errors.size(), 1) << what;
        EXPECT_EQ(o.errors[0].number, 191) << what;
        EXPECT_EQ(o.errors[0].severity, 15) << what;
        EXPECT_EQ(o.errors[0].text, QStringLiteral("Some part of your SQL statement is nested too deeply. "
                                                   "Rewrite the query or break it up into smaller queries."))
            << what;
        EXPECT_FALSE(o.rows) << what << ": nothing ran";
    }
};

} // namespace

TEST_F(Nesting, TenThousandLevelsOfAnyKindEndInError191AndTheSessionGoesOn) {
    constexpr int n = 10000;
    const QList<std::pair<std::string, QString>> batches = {
        {"parentheses", "SELECT " + Repeat("(", n) + "1" + Repeat(")", n)},
        {"CASE", "SELECT " + Repeat("CASE WHEN 1 = 1 THEN ", n) + "1" + Repeat(" END", n)},
        {"subqueries", "SELECT " + Repeat("(SELECT ", n) + "1" + Repeat(")", n)},
        {"derived tables", "SELECT * FROM " + Repeat("(SELECT * FROM ", n) + "sysobjects" + Repeat(") t", n)},
        {"parenthesised joins", "SELECT * FROM " + Repeat("(", n) + "sysobjects" + Repeat(")", n)},
        {"function calls", "SELECT " + Repeat("ABS(", n) + "1" + Repeat(")", n)},
        {"unary minus", "SELECT " + Repeat("- ", n) + "1"},
        {"NOT", "IF " + Repeat("NOT ", n) + "1 = 1 PRINT 'x'"},
        {"BEGIN blocks", Repeat("BEGIN ", n) + "PRINT 'x'" + Repeat(" END", n)},
        {"IF", Repeat("IF 1 = 1 ", n) + "PRINT 'x'"},
        {"ELSE IF", "IF 1 = 0 PRINT 'x' " + Repeat("ELSE IF 1 = 0 PRINT 'x' ", n)},
        {"WHILE", Repeat("WHILE 1 = 0 ", n) + "PRINT 'x'"},
        {"procedure body", "CREATE PROCEDURE deep AS " + Repeat("BEGIN ", n) + "RETURN" + Repeat(" END", n)},
    };
    for (const auto& [what, batch] : batches) {
        ExpectTooDeep(Execute(*session, batch), what);
        EXPECT_EQ(Scalar(*session, QStringLiteral("SELECT 6 * 7")).toInt(), 42) << what;
    }
    // Parsing only reads the same.
    const SqlBatchResults parsed = session->Parse("SELECT " + Repeat("(", n) + "1" + Repeat(")", n));
    ASSERT_EQ(parsed.size(), 1);
    EXPECT_EQ(parsed[0].message.number, 191);
}

TEST_F(Nesting, WhatSqliteCantNestIs191TooAndShallowNestingRuns) {
    EXPECT_EQ(Scalar(*session, "SELECT " + Repeat("(", 100) + "7" + Repeat(")", 100)).toInt(), 7);
    EXPECT_EQ(Scalar(*session, "SELECT " + Repeat("ABS(", 20) + "-3" + Repeat(")", 20)).toInt(), 3);
    EXPECT_EQ(Scalar(*session, "SELECT " + Repeat("(SELECT ", 10) + "5" + Repeat(")", 10)).toInt(), 5);
    EXPECT_EQ(Execute(*session, Repeat("BEGIN ", 400) + "PRINT 'deep'" + Repeat(" END", 400)).prints.size(),
              1);
    // Within the parser's limits but past SQLite's.
    ExpectTooDeep(Execute(*session, "SELECT " + Repeat("ABS(", 60) + "1" + Repeat(")", 60)), "calls");
    ExpectTooDeep(Execute(*session, "SELECT " + Repeat("(SELECT ", 60) + "1" + Repeat(")", 60)),
                  "subqueries");
}

TEST_F(Nesting, LongChainsOfOperatorsRunLeftToRight) {
    EXPECT_EQ(Scalar(*session, "SELECT " + Chain("1", "+", 20000)).toLongLong(), 20000);
    EXPECT_EQ(Scalar(*session, "SELECT " + Chain("N'ab'", " + ", 5000)).toString(), Repeat("ab", 5000));
    EXPECT_EQ(Scalar(*session, "SELECT 2 - " + Chain("1", " - ", 500)).toInt(), -498);
    // Texts are joined until a number comes, then added: the order is the server's even where the
    // terms arrive packed.
    EXPECT_EQ(Scalar(*session, "SELECT '1' + '2' + 3").toInt(), 15);
    EXPECT_EQ(Scalar(*session, "SELECT 1 + 2 + '3'").toInt(), 6);
    EXPECT_EQ(Scalar(*session, "SELECT " + Chain("''", "+", 300) + " + '4' + '2' + 1").toInt(), 43);
    const Outcome notANumber = Execute(*session, "SELECT " + Chain("1", "+", 250) + " + 'a'");
    ASSERT_EQ(notANumber.errors.size(), 1);
    EXPECT_EQ(notANumber.errors[0].number, 245);
    EXPECT_TRUE(
        Scalar(*session, "SELECT " + Chain("1", "+", 300) + " + NULL + " + Chain("1", "+", 300)).isNull());
    // Mixed operators of one level still go left to right, and xor costs no more than the others.
    EXPECT_EQ(Scalar(*session, QStringLiteral("SELECT 10 - 2 + 3 * 2 & 7 | 8")).toInt(),
              ((10 - 2 + 6) & 7) | 8);
    EXPECT_EQ(Scalar(*session, "SELECT 6 " + Repeat("^ 3 ", 61)).toInt(), 6 ^ 3);
    EXPECT_EQ(Scalar(*session, "SELECT " + Chain("2", " * ", 30) + " / 4 % 1000").toLongLong(),
              ((1LL << 30) / 4) % 1000);

    const QString many = Chain("1 = 1", " AND ", 10000);
    EXPECT_EQ(Scalar(*session, "SELECT 1 WHERE " + many).toInt(), 1);
    EXPECT_EQ(Scalar(*session, "SELECT 1 WHERE " + Chain("1 = 0", " OR ", 10000) + " OR 2 = 2").toInt(), 1);
    const Outcome none = Execute(*session, "SELECT 1 WHERE " + many + " AND 1 = 0");
    ASSERT_TRUE(none.rows);
    EXPECT_TRUE(none.rows->rows.isEmpty());
    EXPECT_EQ(Scalar(*session, "SELECT 1 WHERE 9999 IN (" + Chain("9999", ", ", 10000) + ")").toInt(), 1);
    EXPECT_EQ(Scalar(*session, "DECLARE @s nvarchar(max) = ''\nSET @s += " + Chain("N'x'", " + ", 1000) +
                                   "\nSELECT LEN(@s)")
                  .toInt(),
              1000);
}

TEST_F(Nesting, LongChainsOfJoinsAreRefusedWithoutRecursion) {
    QString joins = QStringLiteral("SELECT 1 FROM sysobjects a0");
    for (int i = 1; i < 20000; ++i)
        joins += QStringLiteral(" JOIN sysobjects a%1 ON 1 = 1").arg(i);
    const Outcome o = Execute(*session, joins);
    ASSERT_EQ(o.errors.size(), 1);
    EXPECT_NE(o.errors[0].number, 191) << "a flat list is no nesting";
    EXPECT_EQ(Scalar(*session, QStringLiteral("SELECT 1")).toInt(), 1);
}
