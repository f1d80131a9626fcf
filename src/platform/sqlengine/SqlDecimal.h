#pragma once

#include <QMetaType>
#include <QString>
#include <cstdint>
#include <optional>

// An exact decimal, numeric, money or smallmoney value of up to 38 digits, with its type. The
// arithmetic gives the server's result types (precision and scale, money with money) and rounds
// half away from zero where a result has fewer decimals than it needs; a result whose integral
// digits don't fit throws ServerError 8115, a zero divisor 8134.
class SqlDecimal {
public:
    enum class Kind : uint8_t { Decimal, Money, SmallMoney };
    static constexpr int kMaxPrecision = 38;

    SqlDecimal() = default;
    // A QVariant holding one converts to QString (money as style 0), double and the integers;
    // once per process.
    static void RegisterConversions();

    // A constant as written: "12.345" is numeric(5,3), "007" numeric(1,0). nullopt for anything that
    // isn't digits with at most one point and an optional sign, or has more than 38 digits.
    static std::optional<SqlDecimal> Parse(QStringView text);
    // Text as a conversion to decimal reads it: blanks around, a sign, digits, a point, an exponent
    // (1.5E3); for money also a currency sign and thousands commas. Of the type decimal(38, the
    // decimals written, at most 38).
    static std::optional<SqlDecimal> ParseLoose(QStringView text, bool money);
    // An integer as the server types it: an int column counts as decimal(10,0); precision 0 takes
    // just the digits v has (how a constant counts).
    static SqlDecimal FromInteger(qlonglong v, int precision = 0);
    // A float: at most 17 significant digits. nullopt for infinities and NaN.
    static std::optional<SqlDecimal> FromDouble(double d);

    int Precision() const { return mPrecision; }
    int Scale() const { return mScale; }
    Kind TypeKind() const { return mKind; }
    bool IsMoney() const { return mKind != Kind::Decimal; }
    // Made from an integer: with money it gives money, not decimal.
    bool IsInteger() const { return mInteger; }
    bool IsNegative() const { return mNegative; }
    bool IsZero() const { return mMagnitude == 0; }
    // The server's name of the type: "decimal(10,2)", "money".
    QString TypeName() const;

    // The digits with exactly Scale() decimals: "10.50", "-0.25", "3".
    QString ToString() const;
    // CONVERT(varchar, money, style): 0 two decimals, 1 also thousands commas, 2 and 126 four decimals.
    QString MoneyText(int style) const;
    double ToDouble() const;
    // Toward zero, as a conversion of numeric to an integer; nullopt beyond bigint.
    std::optional<qlonglong> Truncated() const;
    // Rounded half away from zero, as money goes to an integer; nullopt beyond bigint.
    std::optional<qlonglong> Rounded() const;

    // The value as decimal(precision, scale) or money: rounded to the scale; 8115 when the integral
    // digits don't fit. from names the source type in the message ("numeric", "int", "expression").
    SqlDecimal To(int precision, int scale, const QString& from = QStringLiteral("numeric")) const;
    SqlDecimal ToMoney(Kind kind, const QString& from = QStringLiteral("numeric")) const;

    static SqlDecimal Add(const SqlDecimal& a, const SqlDecimal& b);
    static SqlDecimal Subtract(const SqlDecimal& a, const SqlDecimal& b);
    static SqlDecimal Multiply(const SqlDecimal& a, const SqlDecimal& b);
    static SqlDecimal Divide(const SqlDecimal& a, const SqlDecimal& b);
    static SqlDecimal Modulo(const SqlDecimal& a, const SqlDecimal& b);
    // -1, 0 or 1, whatever the two scales.
    static int Compare(const SqlDecimal& a, const SqlDecimal& b);

    SqlDecimal Negated() const;
    SqlDecimal Abs() const;
    // -1, 0 or 1 in the value's own type.
    SqlDecimal Sign() const;
    // ROUND(x, places[, truncate]): the type stays; 8115 when the rounded value outgrows it.
    SqlDecimal Round(int places, bool truncate) const;
    // FLOOR and CEILING: decimal(p,0), money stays money.
    SqlDecimal Floor() const;
    SqlDecimal Ceiling() const;

private:
    // The result type of a binary operator, and the value in it: exact magnitude m at scale from,
    // rounded to the type's scale.
    static SqlDecimal Make(bool negative, const struct U256& m, int from, int precision, int scale,
                           Kind kind);
    static SqlDecimal MakeMoney(bool negative, const struct U256& m, int from, Kind kind);

    unsigned __int128 mMagnitude = 0;
    int mPrecision = 18;
    int mScale = 0;
    Kind mKind = Kind::Decimal;
    bool mNegative = false;
    bool mInteger = false;
};

Q_DECLARE_METATYPE(SqlDecimal)
