#include "ServerError.h"
#include "SqlDecimal.h"

#include <gtest/gtest.h>

namespace {

SqlDecimal D(const char* text) {
    const std::optional<SqlDecimal> d = SqlDecimal::Parse(QString::fromLatin1(text));
    EXPECT_TRUE(d.has_value()) << text;
    return d.value_or(SqlDecimal());
}

SqlDecimal Typed(const char* text, int precision, int scale) {
    return D(text).To(precision, scale);
}

std::string Show(const SqlDecimal& d) {
    return (d.ToString() + u' ' + d.TypeName()).toStdString();
}

long OverflowOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const ServerError& e) {
        return e.number;
    }
    return 0;
}

TEST(Decimal, ConstantsTakeTheLeastTypeThatHoldsThem) {
    EXPECT_EQ(Show(D("12.345")), "12.345 decimal(5,3)");
    EXPECT_EQ(Show(D("10.50")), "10.50 decimal(4,2)");
    EXPECT_EQ(Show(D(".5")), "0.5 decimal(1,1)");
    EXPECT_EQ(Show(D("-0.00")), "0.00 decimal(2,2)");
    EXPECT_FALSE(SqlDecimal::Parse(u"1.2.3").has_value());
    EXPECT_FALSE(SqlDecimal::Parse(u"123456789012345678901234567890123456789").has_value());
}

TEST(Decimal, OperatorsGiveTheServersPrecisionAndScale) {
    const SqlDecimal a = Typed("1.25", 10, 2);
    const SqlDecimal b = Typed("3.125", 8, 3);
    EXPECT_EQ(Show(SqlDecimal::Add(a, b)), "4.375 decimal(12,3)");
    EXPECT_EQ(Show(SqlDecimal::Subtract(a, b)), "-1.875 decimal(12,3)");
    EXPECT_EQ(Show(SqlDecimal::Multiply(a, b)), "3.90625 decimal(19,5)");
    EXPECT_EQ(Show(SqlDecimal::Divide(a, b)), "0.40000000000 decimal(22,11)");
    EXPECT_EQ(Show(SqlDecimal::Modulo(b, a)), "0.625 decimal(8,3)");
    // 1.0 / 3: the integer counts with its own digits
    EXPECT_EQ(Show(SqlDecimal::Divide(D("1.0"), SqlDecimal::FromInteger(3))), "0.333333 decimal(7,6)");
    EXPECT_EQ(Show(SqlDecimal::Divide(D("2.0"), SqlDecimal::FromInteger(3))), "0.666667 decimal(7,6)");
}

TEST(Decimal, PrecisionAbove38CutsTheScale) {
    const SqlDecimal a = Typed("1.5", 30, 20);
    EXPECT_EQ(Show(SqlDecimal::Multiply(a, a)), "2.25000000000000000 decimal(38,17)");
    const SqlDecimal b = Typed("1.5", 30, 10);
    EXPECT_EQ(Show(SqlDecimal::Multiply(b, b)), "2.250000 decimal(38,6)");
    const SqlDecimal c = Typed("1", 38, 10);
    EXPECT_EQ(Show(SqlDecimal::Add(c, c)), "2.0000000000 decimal(38,10)");
    EXPECT_EQ(Show(SqlDecimal::Divide(Typed("1", 38, 0), Typed("3", 38, 0))), "0.333333 decimal(38,6)");
}

TEST(Decimal, RoundsHalfAwayFromZero) {
    EXPECT_EQ(D("2.345").To(10, 2).ToString(), "2.35");
    EXPECT_EQ(D("-2.345").To(10, 2).ToString(), "-2.35");
    EXPECT_EQ(D("2.344").To(10, 2).ToString(), "2.34");
    EXPECT_EQ(D("10.6496").To(18, 0).ToString(), "11");
    EXPECT_EQ(D("-10.6496").To(18, 0).ToString(), "-11");
    EXPECT_EQ(D("10.6496").Truncated().value_or(0), 10);
    EXPECT_EQ(D("-10.6496").Truncated().value_or(0), -10);
    EXPECT_EQ(Show(D("150.75").Round(0, false)), "151.00 decimal(5,2)");
    EXPECT_EQ(Show(D("150.75").Round(0, true)), "150.00 decimal(5,2)");
    EXPECT_EQ(Show(D("748.58").Round(-2, false)), "700.00 decimal(5,2)");
    EXPECT_EQ(OverflowOf([] { (void)D("748.58").Round(-3, false); }), 8115);
    EXPECT_EQ(D("-2.5").Floor().ToString(), "-3");
    EXPECT_EQ(D("-2.5").Ceiling().ToString(), "-2");
    EXPECT_EQ(D("-2.50").Sign().ToString(), "-1.00");
}

TEST(Decimal, OverflowAndDivisionByZeroAreErrors) {
    EXPECT_EQ(OverflowOf([] { (void)D("123.4").To(4, 2); }), 8115);
    EXPECT_EQ(OverflowOf([] { (void)D("99.995").To(4, 2); }), 8115);
    EXPECT_EQ(OverflowOf([] { (void)SqlDecimal::Divide(D("1"), D("0.00")); }), 8134);
    const SqlDecimal big = Typed("99999999999999999999999999999999999999", 38, 0);
    EXPECT_EQ(OverflowOf([&] { (void)SqlDecimal::Add(big, SqlDecimal::FromInteger(1)); }), 8115);
    EXPECT_EQ(OverflowOf([&] { (void)SqlDecimal::Multiply(big, big); }), 8115);
    EXPECT_EQ(OverflowOf([&] { (void)SqlDecimal::Divide(big, Typed("0.0000001", 38, 37)); }), 8115);
    EXPECT_EQ(Show(SqlDecimal::Multiply(big, SqlDecimal::FromInteger(0))), "0 decimal(38,0)");
}

TEST(Decimal, MoneyKeepsFourDecimalsAndItsOwnType) {
    const SqlDecimal m = *SqlDecimal::ParseLoose(u"$1,234.5", true);
    const SqlDecimal price = m.ToMoney(SqlDecimal::Kind::Money);
    EXPECT_EQ(Show(price), "1234.5000 money");
    EXPECT_EQ(Show(SqlDecimal::Multiply(price, SqlDecimal::FromInteger(3))), "3703.5000 money");
    EXPECT_EQ(Show(SqlDecimal::Divide(price, SqlDecimal::FromInteger(7))), "176.3571 money");
    EXPECT_EQ(Show(SqlDecimal::Multiply(price, D("0.5"))), "617.25000 decimal(21,5)");
    EXPECT_EQ(price.MoneyText(0), "1234.50");
    EXPECT_EQ(price.MoneyText(1), "1,234.50");
    EXPECT_EQ(price.MoneyText(2), "1234.5000");
    EXPECT_EQ(D("10.3496847").ToMoney(SqlDecimal::Kind::Money).ToString(), "10.3497");
    EXPECT_EQ(D("-1234567.891").ToMoney(SqlDecimal::Kind::Money).MoneyText(1), "-1,234,567.89");
    EXPECT_EQ(OverflowOf([] { (void)D("214748.3648").ToMoney(SqlDecimal::Kind::SmallMoney); }), 8115);
    EXPECT_EQ(D("-214748.3648").ToMoney(SqlDecimal::Kind::SmallMoney).ToString(), "-214748.3648");
    EXPECT_EQ(OverflowOf([] { (void)D("922337203685477.5808").ToMoney(SqlDecimal::Kind::Money); }), 8115);
}

TEST(Decimal, LooseTextAndFloats) {
    EXPECT_EQ(SqlDecimal::ParseLoose(u" 1.5E3 ", false)->ToString(), "1500");
    EXPECT_EQ(SqlDecimal::ParseLoose(u"-.25", false)->ToString(), "-0.25");
    EXPECT_FALSE(SqlDecimal::ParseLoose(u"abc", false).has_value());
    EXPECT_FALSE(SqlDecimal::ParseLoose(u"1,000", false).has_value());
    // Long runs of zeros, and more decimals than 38 digits hold, are read in one pass and rounded.
    EXPECT_EQ(SqlDecimal::ParseLoose(QString(200000, u'0') + QStringLiteral("12.5"), false)->ToString(),
              "12.5");
    EXPECT_EQ(SqlDecimal::ParseLoose(QStringLiteral("0.") + QString(50, u'6'), false)->ToString(),
              "0.66666666666666666666666666666666666667");
    EXPECT_EQ(OverflowOf([] { (void)SqlDecimal::ParseLoose(QString(39, u'9'), false); }), 8115);
    EXPECT_TRUE(SqlDecimal::ParseLoose(u"1e-50", false)->IsZero());
    EXPECT_EQ(SqlDecimal::ParseLoose(u"-5e-39", false)->ToString(),
              "-0.00000000000000000000000000000000000001");
    EXPECT_EQ(SqlDecimal::FromDouble(1e-300)->To(10, 2).ToString(), "0.00");
    EXPECT_EQ(SqlDecimal::FromDouble(0.1)->To(10, 4).ToString(), "0.1000");
    EXPECT_EQ(SqlDecimal::FromDouble(-2.675)->To(10, 2).ToString(), "-2.68");
    EXPECT_FALSE(SqlDecimal::FromDouble(std::numeric_limits<double>::infinity()).has_value());
    EXPECT_EQ(SqlDecimal::Compare(D("1.50"), D("1.5")), 0);
    EXPECT_EQ(SqlDecimal::Compare(D("-1.5"), D("1.25")), -1);
    EXPECT_EQ(SqlDecimal::Compare(D("-1.5"), D("-1.25")), -1);
}

} // namespace
