#include "SqlDecimal.h"

#include "ServerError.h"

#include <QLocale>
#include <algorithm>
#include <climits>
#include <cmath>

// Magnitudes of 38 digits multiplied or aligned to a common scale need up to 77 digits, so the
// working values are 256-bit unsigned integers of four 64-bit words, low word first.
struct U256 {
    uint64_t w[4] = {0, 0, 0, 0};

    static U256 Of(unsigned __int128 v) {
        U256 r;
        r.w[0] = uint64_t(v);
        r.w[1] = uint64_t(v >> 64);
        return r;
    }
    bool IsZero() const { return (w[0] | w[1] | w[2] | w[3]) == 0; }
    bool Fits128() const { return (w[2] | w[3]) == 0; }
    unsigned __int128 Low128() const { return (static_cast<unsigned __int128>(w[1]) << 64) | w[0]; }
};

namespace {

using u128 = unsigned __int128;

int Cmp(const U256& a, const U256& b) {
    for (int i = 3; i >= 0; --i)
        if (a.w[i] != b.w[i])
            return a.w[i] < b.w[i] ? -1 : 1;
    return 0;
}

// false on overflow
bool AddTo(U256& a, const U256& b) {
    u128 carry = 0;
    for (int i = 0; i < 4; ++i) {
        const u128 s = u128(a.w[i]) + b.w[i] + carry;
        a.w[i] = uint64_t(s);
        carry = s >> 64;
    }
    return carry == 0;
}

// a - b with a >= b
U256 Sub(const U256& a, const U256& b) {
    U256 r;
    uint64_t borrow = 0;
    for (int i = 0; i < 4; ++i) {
        const uint64_t x = a.w[i];
        const uint64_t y = b.w[i];
        r.w[i] = x - y - borrow;
        borrow = (x < y || (x == y && borrow != 0)) ? 1 : 0;
    }
    return r;
}

bool MulSmall(U256& a, uint64_t m) {
    u128 carry = 0;
    for (uint64_t& word : a.w) {
        const u128 p = u128(word) * m + carry;
        word = uint64_t(p);
        carry = p >> 64;
    }
    return carry == 0;
}

bool MulPow10(U256& a, int n) {
    while (n > 0) {
        const int step = std::min(n, 19);
        uint64_t f = 1;
        for (int i = 0; i < step; ++i)
            f *= 10;
        if (!MulSmall(a, f))
            return false;
        n -= step;
    }
    return true;
}

U256 Pow10(int n) {
    U256 r = U256::Of(1);
    MulPow10(r, n);
    return r;
}

bool Mul(const U256& a, const U256& b, U256& out) {
    uint64_t r[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 4; ++i) {
        u128 carry = 0;
        for (int j = 0; j < 4; ++j) {
            const u128 p = u128(a.w[i]) * b.w[j] + r[i + j] + carry;
            r[i + j] = uint64_t(p);
            carry = p >> 64;
        }
        for (int k = i + 4; k < 8 && carry != 0; ++k) {
            const u128 s = u128(r[k]) + carry;
            r[k] = uint64_t(s);
            carry = s >> 64;
        }
    }
    for (int i = 0; i < 4; ++i)
        out.w[i] = r[i];
    return (r[4] | r[5] | r[6] | r[7]) == 0;
}

void Shl1(U256& a) {
    for (int i = 3; i > 0; --i)
        a.w[i] = (a.w[i] << 1) | (a.w[i - 1] >> 63);
    a.w[0] <<= 1;
}

// n / d and n % d, d not zero; bit by bit, which is plenty for the few divisions a statement makes.
void DivMod(const U256& n, const U256& d, U256& q, U256& r) {
    q = U256();
    r = U256();
    for (int bit = 255; bit >= 0; --bit) {
        Shl1(r);
        const int word = bit / 64;
        const int shift = bit % 64;
        r.w[0] |= (n.w[word] >> shift) & 1U;
        if (Cmp(r, d) >= 0) {
            r = Sub(r, d);
            q.w[word] |= uint64_t(1) << shift;
        }
    }
}

// n / d rounded half away from zero (of magnitudes), or toward zero with truncate.
U256 Quotient(const U256& n, const U256& d, bool truncate = false) {
    U256 q;
    U256 r;
    DivMod(n, d, q, r);
    if (!truncate) {
        U256 twice = r;
        Shl1(twice);
        if (Cmp(twice, d) >= 0)
            AddTo(q, U256::Of(1));
    }
    return q;
}

// m at scale from, brought to scale to; false when it grows past 256 bits.
bool Rescale(U256& m, int from, int to, bool truncate = false) {
    if (to >= from)
        return MulPow10(m, to - from);
    m = Quotient(m, Pow10(from - to), truncate);
    return true;
}

QString Digits(u128 v) {
    if (v == 0)
        return QStringLiteral("0");
    char buf[48];
    int i = 48;
    while (v != 0 && i > 0) {
        buf[--i] = char('0' + int(v % 10));
        v /= 10;
    }
    return QString::fromLatin1(buf + i, 48 - i);
}

QString TypeWord(SqlDecimal::Kind kind) {
    switch (kind) {
    case SqlDecimal::Kind::Money:
        return QStringLiteral("money");
    case SqlDecimal::Kind::SmallMoney:
        return QStringLiteral("smallmoney");
    default:
        return QStringLiteral("numeric");
    }
}

ServerError Overflow(const QString& from, SqlDecimal::Kind kind) {
    ServerError e = ServerError::Make(
        8115, 16,
        QStringLiteral("Arithmetic overflow error converting %1 to data type %2.").arg(from, TypeWord(kind)));
    e.state = 2;
    return e;
}

// The largest magnitude of a money type at scale 4, for a value of the given sign.
U256 MoneyLimit(SqlDecimal::Kind kind, bool negative) {
    if (kind == SqlDecimal::Kind::SmallMoney)
        return U256::Of(negative ? 2147483648U : 2147483647U);
    return U256::Of(negative ? u128(9223372036854775808ULL) : u128(9223372036854775807ULL));
}

struct ResultType {
    int precision;
    int scale;
};

// Above 38 digits a product, quotient or remainder keeps its integral digits at the cost of scale,
// but never below 6 decimals unless it had fewer.
ResultType Reduce(int precision, int scale) {
    if (precision <= SqlDecimal::kMaxPrecision)
        return {precision, scale};
    const int integral = precision - scale;
    if (integral < 32)
        scale = std::min(scale, SqlDecimal::kMaxPrecision - integral);
    else
        scale = std::min(scale, 6);
    return {SqlDecimal::kMaxPrecision, scale};
}

// How an operand counts in decimal arithmetic: money as decimal(19,4), smallmoney as (10,4).
ResultType AsDecimal(const SqlDecimal& v) {
    switch (v.TypeKind()) {
    case SqlDecimal::Kind::Money:
        return {19, 4};
    case SqlDecimal::Kind::SmallMoney:
        return {10, 4};
    default:
        return {v.Precision(), v.Scale()};
    }
}

// Money with money, smallmoney or an integer gives money; money with a decimal gives decimal.
std::optional<SqlDecimal::Kind> MoneyResult(const SqlDecimal& a, const SqlDecimal& b) {
    if (!a.IsMoney() && !b.IsMoney())
        return std::nullopt;
    if ((a.IsMoney() || a.IsInteger()) && (b.IsMoney() || b.IsInteger()))
        return a.TypeKind() == SqlDecimal::Kind::Money || b.TypeKind() == SqlDecimal::Kind::Money
                   ? SqlDecimal::Kind::Money
                   : SqlDecimal::Kind::SmallMoney;
    return std::nullopt;
}

// Leading zeros of the integral digits go, in one step: a long run of them is no reason to slow.
void StripZeros(QString& digits, qsizetype scale) {
    qsizetype zeros = 0;
    while (zeros + 1 < digits.size() && digits[zeros] == u'0' && digits.size() - zeros > scale)
        ++zeros;
    digits.remove(0, zeros);
}

int DigitCount(u128 v) {
    int n = 1;
    while (v >= 10) {
        v /= 10;
        ++n;
    }
    return n;
}

} // namespace

void SqlDecimal::RegisterConversions() {
    static const bool registered = [] {
        // As the server turns a value into text where none is asked for (PRINT): money with two
        // decimals, as style 0.
        QMetaType::registerConverter<SqlDecimal, QString>(
            [](const SqlDecimal& d) { return d.IsMoney() ? d.MoneyText(0) : d.ToString(); });
        QMetaType::registerConverter<SqlDecimal, double>(&SqlDecimal::ToDouble);
        // Where an integer is read from a value, a numeric constant past int (a bigint's worth of
        // digits) gives its whole part.
        QMetaType::registerConverter<SqlDecimal, qlonglong>(
            [](const SqlDecimal& d) { return d.Truncated().value_or(0); });
        QMetaType::registerConverter<SqlDecimal, int>([](const SqlDecimal& d) {
            return int(std::clamp<qlonglong>(d.Truncated().value_or(0), INT_MIN, INT_MAX));
        });
        return true;
    }();
    Q_UNUSED(registered);
}

std::optional<SqlDecimal> SqlDecimal::Parse(QStringView text) {
    qsizetype i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) {
        negative = text[i] == u'-';
        ++i;
    }
    u128 m = 0;
    int digits = 0;
    int scale = 0;
    bool point = false;
    bool any = false;
    bool leading = true;
    for (; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'.' && !point) {
            point = true;
            continue;
        }
        if (c < u'0' || c > u'9')
            return std::nullopt;
        any = true;
        if (point)
            ++scale;
        if (leading && c == u'0' && !point)
            continue;
        leading = false;
        if (++digits > kMaxPrecision)
            return std::nullopt;
        m = m * 10 + u128(c.unicode() - u'0');
    }
    if (!any)
        return std::nullopt;
    SqlDecimal d;
    d.mMagnitude = m;
    d.mNegative = negative && m != 0;
    d.mScale = scale;
    d.mPrecision = std::max(std::max(digits, scale), 1);
    return d;
}

std::optional<SqlDecimal> SqlDecimal::ParseLoose(QStringView text, bool money) {
    QString t = text.trimmed().toString();
    bool negative = false;
    bool haveSign = false;
    const auto takeSign = [&] {
        if (!haveSign && (t.startsWith(u'-') || t.startsWith(u'+'))) {
            negative = t[0] == u'-';
            haveSign = true;
            t = t.mid(1).trimmed();
        }
    };
    takeSign();
    if (money && t.startsWith(u'$')) {
        t = t.mid(1).trimmed();
        takeSign();
    }
    if (money)
        t.remove(u',');
    int exponent = 0;
    if (const qsizetype e = t.indexOf(u'e', 0, Qt::CaseInsensitive); e >= 0) {
        bool ok = false;
        exponent = t.mid(e + 1).toInt(&ok);
        if (!ok || exponent > 4 * kMaxPrecision || exponent < -4 * kMaxPrecision)
            return std::nullopt;
        t.truncate(e);
    }
    QString digits;
    int scale = 0;
    bool point = false;
    for (const QChar c : std::as_const(t)) {
        if (c == u'.' && !point) {
            point = true;
        } else if (c >= u'0' && c <= u'9') {
            digits += c;
            scale += point ? 1 : 0;
        } else {
            return std::nullopt;
        }
    }
    if (digits.isEmpty())
        return std::nullopt;
    scale -= exponent;
    if (scale < 0) {
        digits += QString(-scale, u'0');
        scale = 0;
    }
    // 1e-50: the zeros between the point and the digits are digits too.
    if (digits.size() <= scale)
        digits.prepend(QString(scale - digits.size() + 1, u'0'));
    StripZeros(digits, scale);
    // Decimals beyond what 38 digits hold are rounded away, half away from zero.
    const qsizetype excess = std::max<qsizetype>(digits.size() - kMaxPrecision, scale - kMaxPrecision);
    if (excess > 0) {
        const qsizetype drop = std::min<qsizetype>(excess, scale);
        const bool up = drop > 0 && digits[digits.size() - drop] >= u'5';
        digits.chop(drop);
        scale -= int(drop);
        if (up) {
            qsizetype i = digits.size() - 1;
            for (; i >= 0 && digits[i] == u'9'; --i)
                digits[i] = u'0';
            if (i >= 0)
                digits[i] = QChar(digits[i].unicode() + 1);
            else
                digits.prepend(u'1');
        }
        StripZeros(digits, scale);
    }
    if (digits.size() > kMaxPrecision && digits.size() - scale > 0) {
        QString integral = digits.left(digits.size() - scale);
        StripZeros(integral, 0);
        if (integral.size() > kMaxPrecision)
            throw Overflow(QStringLiteral("varchar"), money ? Kind::Money : Kind::Decimal);
    }
    u128 m = 0;
    for (const QChar c : std::as_const(digits))
        m = m * 10 + u128(c.unicode() - u'0');
    SqlDecimal d;
    d.mMagnitude = m;
    d.mNegative = negative && m != 0;
    d.mScale = scale;
    d.mPrecision = kMaxPrecision;
    return d;
}

SqlDecimal SqlDecimal::FromInteger(qlonglong v, int precision) {
    SqlDecimal d;
    d.mNegative = v < 0;
    d.mMagnitude = v < 0 ? u128(0) - u128(static_cast<unsigned long long>(v)) : u128(v);
    d.mMagnitude &= (u128(1) << 64) - 1;
    d.mPrecision = precision > 0 ? precision : DigitCount(d.mMagnitude);
    d.mScale = 0;
    d.mInteger = true;
    return d;
}

std::optional<SqlDecimal> SqlDecimal::FromDouble(double v) {
    if (!std::isfinite(v))
        return std::nullopt;
    // The shortest digits that read back as the same float: 0.1 is 0.1, not 0.1000000000000000055.
    return ParseLoose(QString::number(v, 'g', QLocale::FloatingPointShortest), false);
}

QString SqlDecimal::TypeName() const {
    if (mKind != Kind::Decimal)
        return TypeWord(mKind);
    return QStringLiteral("decimal(%1,%2)").arg(mPrecision).arg(mScale);
}

QString SqlDecimal::ToString() const {
    QString digits = Digits(mMagnitude);
    if (mScale > 0) {
        if (digits.size() <= mScale)
            digits = QString(mScale + 1 - digits.size(), u'0') + digits;
        digits.insert(digits.size() - mScale, u'.');
    }
    return mNegative && mMagnitude != 0 ? u'-' + digits : digits;
}

QString SqlDecimal::MoneyText(int style) const {
    const int places = style == 2 || style == 126 ? 4 : 2;
    const SqlDecimal r = To(kMaxPrecision, std::min(places, kMaxPrecision));
    QString text = Digits(r.mMagnitude);
    if (r.mScale > 0) {
        if (text.size() <= r.mScale)
            text = QString(r.mScale + 1 - text.size(), u'0') + text;
        text.insert(text.size() - r.mScale, u'.');
    }
    if (style == 1) {
        qsizetype integral = r.mScale > 0 ? text.indexOf(u'.') : text.size();
        for (qsizetype at = integral - 3; at > 0; at -= 3)
            text.insert(at, u',');
    }
    return r.mNegative && r.mMagnitude != 0 ? u'-' + text : text;
}

double SqlDecimal::ToDouble() const {
    return ToString().toDouble();
}

std::optional<qlonglong> SqlDecimal::Truncated() const {
    U256 m = U256::Of(mMagnitude);
    Rescale(m, mScale, 0, true);
    const u128 v = m.Low128();
    if (v > u128(mNegative ? 9223372036854775808ULL : 9223372036854775807ULL))
        return std::nullopt;
    return mNegative ? qlonglong(0 - static_cast<unsigned long long>(v)) : qlonglong(v);
}

std::optional<qlonglong> SqlDecimal::Rounded() const {
    return To(kMaxPrecision, 0).Truncated();
}

SqlDecimal SqlDecimal::Make(bool negative, const U256& m, int from, int precision, int scale, Kind kind) {
    if (kind != Kind::Decimal)
        return MakeMoney(negative, m, from, kind);
    U256 r = m;
    if (!Rescale(r, from, scale) || Cmp(r, Pow10(precision)) >= 0)
        throw Overflow(QStringLiteral("expression"), Kind::Decimal);
    SqlDecimal d;
    d.mMagnitude = r.Low128();
    d.mNegative = negative && d.mMagnitude != 0;
    d.mPrecision = precision;
    d.mScale = scale;
    return d;
}

SqlDecimal SqlDecimal::MakeMoney(bool negative, const U256& m, int from, Kind kind) {
    U256 r = m;
    if (!Rescale(r, from, 4) || Cmp(r, MoneyLimit(kind, negative)) > 0)
        throw Overflow(QStringLiteral("expression"), kind);
    SqlDecimal d;
    d.mMagnitude = r.Low128();
    d.mNegative = negative && d.mMagnitude != 0;
    d.mKind = kind;
    d.mPrecision = kind == Kind::Money ? 19 : 10;
    d.mScale = 4;
    return d;
}

SqlDecimal SqlDecimal::To(int precision, int scale, const QString& from) const {
    precision = std::clamp(precision, 1, kMaxPrecision);
    scale = std::clamp(scale, 0, precision);
    U256 r = U256::Of(mMagnitude);
    if (!Rescale(r, mScale, scale) || Cmp(r, Pow10(precision)) >= 0)
        throw Overflow(from, Kind::Decimal);
    SqlDecimal d;
    d.mMagnitude = r.Low128();
    d.mNegative = mNegative && d.mMagnitude != 0;
    d.mPrecision = precision;
    d.mScale = scale;
    return d;
}

SqlDecimal SqlDecimal::ToMoney(Kind kind, const QString& from) const {
    if (kind == Kind::Decimal)
        return To(19, 4, from);
    U256 r = U256::Of(mMagnitude);
    if (!Rescale(r, mScale, 4) || Cmp(r, MoneyLimit(kind, mNegative)) > 0)
        throw Overflow(from, kind);
    SqlDecimal d;
    d.mMagnitude = r.Low128();
    d.mNegative = mNegative && d.mMagnitude != 0;
    d.mKind = kind;
    d.mPrecision = kind == Kind::Money ? 19 : 10;
    d.mScale = 4;
    return d;
}

namespace {

// Both magnitudes at the larger scale, which 77 digits always hold.
void Align(const SqlDecimal& a, const SqlDecimal& b, U256& ma, U256& mb, int& scale, u128 magA, u128 magB) {
    scale = std::max(a.Scale(), b.Scale());
    ma = U256::Of(magA);
    mb = U256::Of(magB);
    MulPow10(ma, scale - a.Scale());
    MulPow10(mb, scale - b.Scale());
}

} // namespace

SqlDecimal SqlDecimal::Add(const SqlDecimal& a, const SqlDecimal& b) {
    U256 ma;
    U256 mb;
    int scale = 0;
    Align(a, b, ma, mb, scale, a.mMagnitude, b.mMagnitude);
    bool negative = a.mNegative;
    U256 sum;
    if (a.mNegative == b.mNegative) {
        sum = ma;
        AddTo(sum, mb);
    } else if (Cmp(ma, mb) >= 0) {
        sum = Sub(ma, mb);
    } else {
        sum = Sub(mb, ma);
        negative = b.mNegative;
    }
    if (const auto money = MoneyResult(a, b))
        return MakeMoney(negative, sum, scale, *money);
    const ResultType ta = AsDecimal(a);
    const ResultType tb = AsDecimal(b);
    const int integral = std::max(ta.precision - ta.scale, tb.precision - tb.scale);
    int s = std::max(ta.scale, tb.scale);
    int p = s + integral + 1;
    if (p > kMaxPrecision) {
        s = std::max(0, kMaxPrecision - integral);
        p = kMaxPrecision;
    }
    return Make(negative, sum, scale, p, s, Kind::Decimal);
}

SqlDecimal SqlDecimal::Subtract(const SqlDecimal& a, const SqlDecimal& b) {
    return Add(a, b.Negated());
}

SqlDecimal SqlDecimal::Multiply(const SqlDecimal& a, const SqlDecimal& b) {
    U256 product;
    Mul(U256::Of(a.mMagnitude), U256::Of(b.mMagnitude), product);
    const bool negative = a.mNegative != b.mNegative;
    const int scale = a.mScale + b.mScale;
    if (const auto money = MoneyResult(a, b))
        return MakeMoney(negative, product, scale, *money);
    const ResultType ta = AsDecimal(a);
    const ResultType tb = AsDecimal(b);
    const ResultType t = Reduce(ta.precision + tb.precision + 1, ta.scale + tb.scale);
    return Make(negative, product, scale, t.precision, t.scale, Kind::Decimal);
}

SqlDecimal SqlDecimal::Divide(const SqlDecimal& a, const SqlDecimal& b) {
    if (b.mMagnitude == 0)
        throw ServerError::Make(8134, 16, QStringLiteral("Divide by zero error encountered."));
    const bool negative = a.mNegative != b.mNegative;
    const auto money = MoneyResult(a, b);
    ResultType t{19, 4};
    if (!money) {
        const ResultType ta = AsDecimal(a);
        const ResultType tb = AsDecimal(b);
        const int scale = std::max(6, ta.scale + tb.precision + 1);
        t = Reduce(ta.precision - ta.scale + tb.scale + scale, scale);
    }
    // a / b at scale S is round(|a| * 10^(s2 + S) / (|b| * 10^s1)); the common powers of ten go first.
    const int up = b.mScale + t.scale;
    const int common = std::min(up, a.mScale);
    U256 n = U256::Of(a.mMagnitude);
    U256 d = U256::Of(b.mMagnitude);
    // A numerator past 256 bits means a quotient past 38 digits: the divisor has at most 38.
    if (!MulPow10(n, up - common) || !MulPow10(d, a.mScale - common))
        throw Overflow(QStringLiteral("expression"), money ? *money : Kind::Decimal);
    // A money quotient is cut to its four decimals: $2 / 3 is 0.6666.
    const U256 q = Quotient(n, d, money.has_value());
    if (money)
        return MakeMoney(negative, q, 4, *money);
    return Make(negative, q, t.scale, t.precision, t.scale, Kind::Decimal);
}

SqlDecimal SqlDecimal::Modulo(const SqlDecimal& a, const SqlDecimal& b) {
    if (b.mMagnitude == 0)
        throw ServerError::Make(8134, 16, QStringLiteral("Divide by zero error encountered."));
    U256 ma;
    U256 mb;
    int scale = 0;
    Align(a, b, ma, mb, scale, a.mMagnitude, b.mMagnitude);
    U256 q;
    U256 r;
    DivMod(ma, mb, q, r);
    if (const auto money = MoneyResult(a, b))
        return MakeMoney(a.mNegative, r, scale, *money);
    const ResultType ta = AsDecimal(a);
    const ResultType tb = AsDecimal(b);
    const int s = std::max(ta.scale, tb.scale);
    const ResultType t = Reduce(std::min(ta.precision - ta.scale, tb.precision - tb.scale) + s, s);
    return Make(a.mNegative, r, scale, std::max(t.precision, 1), t.scale, Kind::Decimal);
}

int SqlDecimal::Compare(const SqlDecimal& a, const SqlDecimal& b) {
    const bool za = a.mMagnitude == 0;
    const bool zb = b.mMagnitude == 0;
    const bool na = a.mNegative && !za;
    const bool nb = b.mNegative && !zb;
    if (na != nb)
        return na ? -1 : 1;
    U256 ma;
    U256 mb;
    int scale = 0;
    Align(a, b, ma, mb, scale, a.mMagnitude, b.mMagnitude);
    const int c = Cmp(ma, mb);
    return na ? -c : c;
}

SqlDecimal SqlDecimal::Negated() const {
    SqlDecimal d = *this;
    d.mNegative = !mNegative && mMagnitude != 0;
    if (mKind != Kind::Decimal && d.mNegative == false &&
        Cmp(U256::Of(mMagnitude), MoneyLimit(mKind, false)) > 0)
        throw Overflow(QStringLiteral("expression"), mKind);
    return d;
}

SqlDecimal SqlDecimal::Abs() const {
    SqlDecimal d = *this;
    if (mNegative)
        d = Negated();
    return d;
}

SqlDecimal SqlDecimal::Sign() const {
    SqlDecimal d = *this;
    d.mMagnitude = 0;
    if (mMagnitude != 0) {
        U256 one = Pow10(mScale);
        d.mMagnitude = one.Low128();
    }
    d.mNegative = mNegative && mMagnitude != 0;
    return d;
}

SqlDecimal SqlDecimal::Round(int places, bool truncate) const {
    if (places >= mScale)
        return *this;
    // Rounding at a place left of the point takes the whole value when it has fewer digits.
    const int drop = std::min(mScale - places, mScale + kMaxPrecision);
    U256 m = U256::Of(mMagnitude);
    Rescale(m, mScale, mScale - drop, truncate);
    if (!MulPow10(m, drop))
        throw Overflow(QStringLiteral("expression"), mKind);
    const bool money = mKind != Kind::Decimal;
    if ((money && Cmp(m, MoneyLimit(mKind, mNegative)) > 0) || (!money && Cmp(m, Pow10(mPrecision)) >= 0))
        throw Overflow(QStringLiteral("expression"), mKind);
    SqlDecimal d = *this;
    d.mMagnitude = m.Low128();
    d.mNegative = mNegative && d.mMagnitude != 0;
    return d;
}

SqlDecimal SqlDecimal::Floor() const {
    U256 m = U256::Of(mMagnitude);
    U256 q;
    U256 r;
    DivMod(m, Pow10(mScale), q, r);
    if (mNegative && !r.IsZero())
        AddTo(q, U256::Of(1));
    SqlDecimal d = *this;
    if (mKind == Kind::Decimal) {
        d.mScale = 0;
    } else {
        MulPow10(q, mScale);
    }
    d.mMagnitude = q.Low128();
    d.mNegative = mNegative && d.mMagnitude != 0;
    d.mInteger = false;
    return d;
}

SqlDecimal SqlDecimal::Ceiling() const {
    return Negated().Floor().Negated();
}
