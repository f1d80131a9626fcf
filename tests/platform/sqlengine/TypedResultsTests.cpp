#include "EmbeddedServer.h"
#include "EngineResults.h"
#include "SaSessionTest.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

// A result's columns carry the server's types and its values the server's text: decimals exactly
// at their scale, dates and times with the decimals of a second their type keeps. Scripts see the
// text; the types are checked here.

namespace {

class TypedResults : public SaSessionTest {
protected:
    SqlRowSet Rows(const QString& batch) {
        const SqlBatchResults results = session->Execute(batch);
        for (const SqlMessage& e : Errors(results))
            ADD_FAILURE() << e.text.toStdString();
        const std::optional<SqlRowSet> rows = FirstRows(results);
        EXPECT_TRUE(rows.has_value());
        return rows.value_or(SqlRowSet());
    }
};

std::string TypeOf(const SqlColumn& c) {
    return QStringLiteral("%1(%2,%3)").arg(c.typeId).arg(c.precision).arg(c.scale).toStdString();
}

TEST_F(TypedResults, DecimalAndMoneyColumnsKeepTheirTypeAndDecimals) {
    session->Execute(QStringLiteral("CREATE TABLE u (m money, d decimal(10,2))\n"
                                    "INSERT u VALUES (12.5, 3.1)"));
    const SqlRowSet rs = Rows(QStringLiteral("SELECT m, d, d * 2, m / 3 FROM u"));
    ASSERT_EQ(rs.columns.size(), 4);
    EXPECT_EQ(rs.columns[0].typeId, 60);
    EXPECT_EQ(TypeOf(rs.columns[1]), "106(10,2)");
    EXPECT_EQ(TypeOf(rs.columns[2]), "108(12,2)");
    EXPECT_EQ(rs.columns[3].typeId, 60);
    ASSERT_EQ(rs.rows.size(), 1);
    // Text, not a double: a client shows exactly these digits.
    EXPECT_EQ(rs.rows[0][0], QVariant(QStringLiteral("12.5000")));
    EXPECT_EQ(rs.rows[0][1], QVariant(QStringLiteral("3.10")));
    EXPECT_EQ(rs.rows[0][2], QVariant(QStringLiteral("6.20")));
    EXPECT_EQ(rs.rows[0][3], QVariant(QStringLiteral("4.1666")));
}

TEST_F(TypedResults, ConstantsReachTheClientExactly) {
    const SqlRowSet rs = Rows(QStringLiteral(
        "DECLARE @v decimal(38,10) = 1234567890123456789012345678.0123456789\n"
        "SELECT CAST(12345678901234567.89 AS decimal(38,2)), @v, -@v, CAST(1 AS money) / 3, 1e20"));
    ASSERT_EQ(rs.rows.size(), 1);
    EXPECT_EQ(TypeOf(rs.columns[0]), "106(38,2)");
    EXPECT_EQ(rs.rows[0][0], QVariant(QStringLiteral("12345678901234567.89")));
    EXPECT_EQ(rs.rows[0][1], QVariant(QStringLiteral("1234567890123456789012345678.0123456789")));
    EXPECT_EQ(rs.rows[0][2], QVariant(QStringLiteral("-1234567890123456789012345678.0123456789")));
    EXPECT_EQ(rs.rows[0][3], QVariant(QStringLiteral("0.3333")));
    // float stays float: a double, whatever its size
    EXPECT_EQ(rs.rows[0][4].typeId(), QMetaType::Double);
}

TEST_F(TypedResults, DatesAndTimesKeepTheirTypeAndFractions) {
    const SqlRowSet rs = Rows(QStringLiteral(
        "SELECT CAST('2020-01-01 10:00:00.1234567' AS datetime2), CAST('10:00:00.1234567' AS time),\n"
        "  CAST('2020-01-01 10:00:00.1234567' AS datetime2(3)), CAST('10:00:00.6' AS time(0)),\n"
        "  DATEADD(day, 1, CAST('2020-01-01' AS date)), CAST('2020-01-01 10:00:00.5' AS datetimeoffset(2))"));
    ASSERT_EQ(rs.rows.size(), 1);
    EXPECT_EQ(TypeOf(rs.columns[0]), "42(27,7)");
    EXPECT_EQ(TypeOf(rs.columns[1]), "41(16,7)");
    EXPECT_EQ(TypeOf(rs.columns[2]), "42(23,3)");
    EXPECT_EQ(TypeOf(rs.columns[3]), "41(8,0)");
    EXPECT_EQ(rs.columns[4].typeId, 40);
    EXPECT_EQ(TypeOf(rs.columns[5]), "43(29,2)");
    EXPECT_EQ(rs.rows[0][0], QVariant(QStringLiteral("2020-01-01 10:00:00.1234567")));
    EXPECT_EQ(rs.rows[0][1], QVariant(QStringLiteral("10:00:00.1234567")));
    EXPECT_EQ(rs.rows[0][2], QVariant(QStringLiteral("2020-01-01 10:00:00.123")));
    EXPECT_EQ(rs.rows[0][3], QVariant(QStringLiteral("10:00:01")));
    EXPECT_EQ(rs.rows[0][4], QVariant(QStringLiteral("2020-01-02")));
    EXPECT_EQ(rs.rows[0][5], QVariant(QStringLiteral("2020-01-01 10:00:00.50 +00:00")));
}

TEST_F(TypedResults, ColumnsOfTheNewerTypesStoreTheirFractions) {
    session->Execute(
        QStringLiteral("CREATE TABLE r (a datetime2, b datetime2(3), c time, d time(0), e date)\n"
                       "INSERT r VALUES ('2020-01-01 10:00:00.1234567', '2020-01-01 10:00:00.1234567', "
                       "'10:00:00.1234567', '10:00:00.4', '2020-01-01')"));
    const SqlRowSet rs = Rows(QStringLiteral("SELECT a, b, c, d, e, DATEADD(hour, 1, c) FROM r"));
    ASSERT_EQ(rs.rows.size(), 1);
    EXPECT_EQ(TypeOf(rs.columns[0]), "42(27,7)");
    EXPECT_EQ(TypeOf(rs.columns[1]), "42(23,3)");
    EXPECT_EQ(TypeOf(rs.columns[3]), "41(8,0)");
    EXPECT_EQ(rs.columns[4].typeId, 40);
    EXPECT_EQ(rs.rows[0][0], QVariant(QStringLiteral("2020-01-01 10:00:00.1234567")));
    EXPECT_EQ(rs.rows[0][1], QVariant(QStringLiteral("2020-01-01 10:00:00.123")));
    EXPECT_EQ(rs.rows[0][2], QVariant(QStringLiteral("10:00:00.1234567")));
    EXPECT_EQ(rs.rows[0][3], QVariant(QStringLiteral("10:00:00")));
    EXPECT_EQ(rs.rows[0][4], QVariant(QStringLiteral("2020-01-01")));
    EXPECT_EQ(rs.rows[0][5], QVariant(QStringLiteral("11:00:00.1234567")));
}

} // namespace
