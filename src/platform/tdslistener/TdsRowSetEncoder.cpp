#include "TdsRowSetEncoder.h"

#include "TdsTokens.h"

#include <QDateTime>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace {

constexpr int kLongLimit = 8000; // bytes of the longest value a non-chunked column carries
constexpr uint16_t kMaxMarker = 0xFFFF;
constexpr uint64_t kPlpNull = ~uint64_t(0);

enum Wire : uint8_t {
    DateN = 0x28,
    TimeN = 0x29,
    DateTime2N = 0x2A,
    DateTimeOffsetN = 0x2B,
    IntN = 0x26,
    BitN = 0x68,
    DecimalN = 0x6A,
    NumericN = 0x6C,
    FloatN = 0x6D,
    MoneyN = 0x6E,
    DateTimeN = 0x6F,
    BigVarBinary = 0xA5,
    BigVarChar = 0xA7,
    BigBinary = 0xAD,
    BigChar = 0xAF,
    NVarChar = 0xE7,
    NChar = 0xEF,
};

std::optional<qlonglong> integerOf(const QVariant& v) {
    bool ok = false;
    if (v.typeId() == QMetaType::Double) {
        const double d = v.toDouble();
        if (d != std::floor(d) || std::fabs(d) > 9.2e18)
            return std::nullopt;
        return qlonglong(d);
    }
    const qlonglong n = v.toLongLong(&ok);
    return ok ? std::optional<qlonglong>(n) : std::nullopt;
}

std::optional<double> doubleOf(const QVariant& v) {
    bool ok = false;
    const double d = v.toDouble(&ok);
    return ok && std::isfinite(d) ? std::optional<double>(d) : std::nullopt;
}

std::optional<QDateTime> dateTimeOf(const QVariant& v) {
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime();
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    if (v.typeId() == QMetaType::QString) {
        const QDateTime parsed = QDateTime::fromString(v.toString(), Qt::ISODateWithMs);
        if (parsed.isValid())
            return parsed;
    }
    return std::nullopt;
}

QString textOf(const QVariant& v) {
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    if (v.typeId() == QMetaType::Double)
        return QString::number(v.toDouble(), 'g', 15);
    if (v.typeId() == QMetaType::QByteArray)
        return QStringLiteral("0x") + QString::fromLatin1(v.toByteArray().toHex().toUpper());
    return v.toString();
}

int intWidthFor(qlonglong n) {
    if (n >= 0 && n <= 255)
        return 1;
    if (n >= -32768 && n <= 32767)
        return 2;
    if (n >= INT32_MIN && n <= INT32_MAX)
        return 4;
    return 8;
}

int declaredIntWidth(int typeId) {
    switch (typeId) {
    case 48:
        return 1;
    case 52:
        return 2;
    case 56:
        return 4;
    default:
        return 8;
    }
}

int decimalSize(int precision) {
    return precision <= 9 ? 5 : precision <= 19 ? 9 : precision <= 28 ? 13 : 17;
}

// |value| x 10^scale as an integer of up to 38 digits; nullopt when it has more.
std::optional<unsigned __int128> decimalMagnitude(double value, int scale, int precision) {
    const long double scaled =
        std::round(std::fabs(static_cast<long double>(value)) * std::pow(10.0L, scale));
    if (scaled >= std::pow(10.0L, precision))
        return std::nullopt;
    return static_cast<unsigned __int128>(scaled);
}

unsigned __int128 pow10(int n) {
    unsigned __int128 p = 1;
    for (int i = 0; i < n; ++i)
        p *= 10;
    return p;
}

// |value| x 10^scale from a decimal's text, exactly (past scale rounded half away from zero);
// nullopt for text that is no plain number or has more than 38 digits.
std::optional<unsigned __int128> textMagnitude(const QString& text, int scale, bool* negative) {
    QStringView t = QStringView(text).trimmed();
    *negative = t.startsWith(u'-');
    if (*negative || t.startsWith(u'+'))
        t = t.mid(1);
    const qsizetype point = t.indexOf(u'.');
    const QStringView whole = point < 0 ? t : t.left(point);
    const QStringView fraction = point < 0 ? QStringView() : t.mid(point + 1);
    if (whole.isEmpty() && fraction.isEmpty())
        return std::nullopt;
    unsigned __int128 m = 0;
    int digits = 0;
    const auto add = [&](QChar c) {
        if (!c.isDigit() || c.unicode() > u'9')
            return false;
        if (m != 0 || c != u'0')
            ++digits;
        m = m * 10 + unsigned(c.unicode() - u'0');
        return digits <= 38;
    };
    for (const QChar c : whole)
        if (!add(c))
            return std::nullopt;
    for (qsizetype i = 0; i < scale; ++i)
        if (!add(i < fraction.size() ? fraction[i] : QChar(u'0')))
            return std::nullopt;
    for (qsizetype i = scale; i < fraction.size(); ++i)
        if (!fraction[i].isDigit())
            return std::nullopt;
    if (fraction.size() > scale && fraction[scale] >= u'5') {
        ++m;
        if (m >= pow10(38))
            return std::nullopt;
    }
    return m;
}

// A decimal value as magnitude and sign at the scale, when it has no more than precision digits:
// text exactly, a number through its double.
std::optional<unsigned __int128> decimalOf(const QVariant& v, int scale, int precision, bool* negative) {
    if (v.typeId() == QMetaType::QString) {
        const std::optional<unsigned __int128> m = textMagnitude(v.toString(), scale, negative);
        if (!m || *m >= pow10(precision))
            return std::nullopt;
        return m;
    }
    const std::optional<double> d = doubleOf(v);
    if (!d)
        return std::nullopt;
    *negative = *d < 0;
    return decimalMagnitude(*d, scale, precision);
}

// A money value in ten-thousandths: text exactly, a number through its double.
std::optional<qlonglong> moneyUnits(const QVariant& v) {
    if (v.typeId() == QMetaType::QString) {
        bool negative = false;
        const std::optional<unsigned __int128> m = textMagnitude(v.toString(), 4, &negative);
        if (!m || *m > static_cast<unsigned __int128>(INT64_MAX))
            return std::nullopt;
        return negative ? -qlonglong(*m) : qlonglong(*m);
    }
    const std::optional<double> d = doubleOf(v);
    if (!d || std::fabs(*d) >= 9.2e14)
        return std::nullopt;
    return std::llround(*d * 10000.0);
}

// A value of time, datetime2 or datetimeoffset: days since 0001-01-01, nanoseconds into the day
// and the offset in minutes; from the engine's text or a Qt date.
struct NewDate {
    qint64 days = 0;
    qint64 nanos = 0;
    int offset = 0;
};

std::optional<NewDate> newDateOf(const QVariant& v) {
    const QDate origin(1, 1, 1);
    if (v.typeId() == QMetaType::QDateTime) {
        const QDateTime t = v.toDateTime();
        return NewDate{origin.daysTo(t.date()), qint64(t.time().msecsSinceStartOfDay()) * 1000000, 0};
    }
    if (v.typeId() == QMetaType::QDate)
        return NewDate{origin.daysTo(v.toDate()), 0, 0};
    if (v.typeId() != QMetaType::QString)
        return std::nullopt;
    static const QRegularExpression form(QStringLiteral(
        "^(?:(\\d{4})-(\\d{2})-(\\d{2}))?[ T]?(?:(\\d{2}):(\\d{2}):(\\d{2})(?:\\.(\\d{1,9}))?)?"
        "(?: ?([+-])(\\d{2}):(\\d{2}))?$"));
    const QRegularExpressionMatch m = form.match(v.toString());
    if (!m.hasMatch() || (m.capturedLength(1) == 0 && m.capturedLength(4) == 0))
        return std::nullopt;
    NewDate d;
    if (m.capturedLength(1) > 0) {
        const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
        if (!date.isValid() || date.year() < 1)
            return std::nullopt;
        d.days = origin.daysTo(date);
    }
    if (m.capturedLength(4) > 0) {
        const int h = m.captured(4).toInt(), mi = m.captured(5).toInt(), sec = m.captured(6).toInt();
        if (h > 23 || mi > 59 || sec > 59)
            return std::nullopt;
        const QString fraction = m.captured(7).leftJustified(9, u'0');
        d.nanos = ((qint64(h) * 60 + mi) * 60 + sec) * 1000000000 + fraction.toLongLong();
    }
    if (m.capturedLength(8) > 0) {
        const int minutes = m.captured(9).toInt() * 60 + m.captured(10).toInt();
        d.offset = m.captured(8) == QLatin1String("-") ? -minutes : minutes;
        // The value goes as UTC with its offset beside it.
        d.nanos -= qint64(d.offset) * 60 * 1000000000;
        while (d.nanos < 0) {
            d.nanos += 86400LL * 1000000000;
            --d.days;
        }
        while (d.nanos >= 86400LL * 1000000000) {
            d.nanos -= 86400LL * 1000000000;
            ++d.days;
        }
        if (d.days < 0)
            return std::nullopt;
    }
    return d;
}

int timeBytes(int scale) {
    return scale <= 2 ? 3 : scale <= 4 ? 4 : 5;
}

bool isAnsiText(const QString& text) {
    for (const QChar c : text)
        if (TdsRowSetEncoder::Cp1252(c) < 0)
            return false;
    return true;
}

QByteArray toCp1252(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    for (const QChar c : text)
        out.append(char(TdsRowSetEncoder::Cp1252(c)));
    return out;
}

QByteArray toUcs2(const QString& text) {
    TdsWriter w;
    w.Ucs2(text);
    return w.Take();
}

// The declared length of a variable column: the catalogue's when the values fit it, else 8000.
int variableLength(int declared, qsizetype longest) {
    if (declared > 0 && declared <= kLongLimit && declared >= longest)
        return declared;
    return kLongLimit;
}

} // namespace

bool TdsRowSetEncoder::fits(const ColumnPlan& plan, const QVariant& value) {
    switch (plan.kind) {
    case Kind::Int: {
        const std::optional<qlonglong> n = integerOf(value);
        return n && intWidthFor(*n) <= plan.size;
    }
    case Kind::Bit: {
        const std::optional<qlonglong> n = integerOf(value);
        return n && (*n == 0 || *n == 1);
    }
    case Kind::Float:
        return doubleOf(value).has_value();
    case Kind::Money:
        return moneyUnits(value).has_value();
    case Kind::Decimal: {
        bool negative = false;
        return decimalOf(value, plan.scale, plan.precision, &negative).has_value();
    }
    case Kind::Time:
    case Kind::DateTime2:
    case Kind::DateTimeOffset:
        return newDateOf(value).has_value();
    case Kind::DateTime:
    case Kind::SmallDateTime:
    case Kind::Date: {
        const std::optional<QDateTime> t = dateTimeOf(value);
        return t && t->isValid();
    }
    default:
        return true;
    }
}

int TdsRowSetEncoder::Cp1252(QChar c) {
    const char16_t u = c.unicode();
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF))
        return u;
    static const char16_t high[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
    for (int i = 0; i < 32; ++i)
        if (high[i] != 0 && high[i] == u)
            return 0x80 + i;
    return -1;
}

void TdsRowSetEncoder::ColumnFacts::Observe(const QVariant& v) {
    if (!v.isValid() || v.isNull())
        return;
    if (values++ == 0)
        firstTypeId = v.typeId();

    const std::optional<qlonglong> n = integerOf(v);
    allInteger = allInteger && n.has_value();
    if (n) {
        intWidth = std::max(intWidth, intWidthFor(*n));
        allBit = allBit && (*n == 0 || *n == 1);
    }
    const std::optional<double> d = doubleOf(v);
    allDouble = allDouble && d.has_value();
    if (d)
        largestMagnitude = std::max(largestMagnitude, std::fabs(*d));
    bool negative = false;
    fitsDeclaredDecimal = fitsDeclaredDecimal && decimalOf(v, decimalScale, decimalPrecision, &negative);
    fitsWidestDecimal = fitsWidestDecimal && decimalOf(v, decimalScale, 38, &negative);

    // Dates are only looked for where the column holds dates: parsing every text is not free.
    if (wantDates) {
        allNewDates = allNewDates && newDateOf(v).has_value();
        const std::optional<QDateTime> t = dateTimeOf(v);
        if (t && t->isValid()) {
            firstYear = std::min(firstYear, t->date().year());
            lastYear = std::max(lastYear, t->date().year());
        } else {
            allDates = false;
        }
    }

    allBinary = allBinary && v.typeId() == QMetaType::QByteArray;
    if (v.typeId() == QMetaType::QByteArray) {
        shortestBinary = std::min(shortestBinary, v.toByteArray().size());
        longestBinary = std::max(longestBinary, v.toByteArray().size());
    }

    // The text a value goes out as where the column is sent as text; only strings need a look at
    // their characters (numbers, dates and hex are plain ASCII).
    qsizetype length = 0;
    if (v.typeId() == QMetaType::QString) {
        const QString text = v.toString();
        length = text.size();
        allAnsi = allAnsi && isAnsiText(text);
    } else if (v.typeId() == QMetaType::QDateTime) {
        length = 23;
    } else if (v.typeId() == QMetaType::QByteArray) {
        length = 2 + 2 * v.toByteArray().size();
    } else {
        const QString text = textOf(v);
        length = text.size();
        allAnsi = allAnsi && isAnsiText(text);
    }
    shortestText = std::min(shortestText, length);
    longestText = std::max(longestText, length);
}

TdsRowSetEncoder::ColumnFacts TdsRowSetEncoder::FactsFor(const SqlColumn& column) {
    ColumnFacts facts;
    facts.decimalPrecision = column.precision >= 1 && column.precision <= 38 ? column.precision : 18;
    facts.decimalScale = std::clamp(column.scale, 0, facts.decimalPrecision);
    const int t = column.typeId;
    facts.wantDates = t == 40 || t == 41 || t == 42 || t == 43 || t == 58 || t == 61 || t <= 0 || t == 98;
    return facts;
}

TdsRowSetEncoder::ColumnPlan TdsRowSetEncoder::Plan(const SqlColumn& column, const QList<QVariantList>& rows,
                                                    int index) const {
    ColumnFacts facts = FactsFor(column);
    for (const QVariantList& row : rows)
        if (index < row.size())
            facts.Observe(row[index]);
    return Plan(column, facts);
}

TdsRowSetEncoder::ColumnPlan TdsRowSetEncoder::Plan(const SqlColumn& column, const ColumnFacts& facts) const {
    ColumnPlan plan;
    const bool none = facts.values == 0;

    int type = column.typeId;
    if (!none && (type <= 0 || type == 98 /* sql_variant */)) {
        // A type the catalogue doesn't name: go by what the values are.
        switch (facts.firstTypeId) {
        case QMetaType::LongLong:
        case QMetaType::Int:
            type = 127;
            break;
        case QMetaType::Double:
            type = 62;
            break;
        case QMetaType::QDateTime:
            type = 61;
            break;
        case QMetaType::QByteArray:
            type = 165;
            break;
        default:
            type = 231;
        }
    }
    auto datesWithin = [&facts, none](int from, int to) {
        return none || (facts.allDates && facts.firstYear >= from && facts.lastYear <= to);
    };

    switch (type) {
    case 48:
    case 52:
    case 56:
    case 127:
    case 104: {
        if (!facts.allInteger)
            break;
        if (type == 104 && facts.allBit) {
            plan.kind = Kind::Bit;
            plan.wireType = BitN;
            plan.size = 1;
            return plan;
        }
        plan.kind = Kind::Int;
        plan.wireType = IntN;
        plan.size = std::max(type == 104 ? 1 : declaredIntWidth(type), none ? 1 : facts.intWidth);
        return plan;
    }
    case 59:
    case 62:
        if (!facts.allDouble)
            break;
        plan.kind = Kind::Float;
        plan.wireType = FloatN;
        plan.size = type == 59 ? 4 : 8;
        return plan;
    case 60:
    case 122:
        if (!facts.allDouble || facts.largestMagnitude >= 9.2e14)
            break;
        // Money text is exact; its double only says how wide the type must be.
        plan.kind = Kind::Money;
        plan.wireType = MoneyN;
        plan.size = type == 122 && facts.largestMagnitude < 214748.3647 ? 4 : 8;
        return plan;
    case 106:
    case 108: {
        plan.precision = facts.decimalPrecision;
        plan.scale = facts.decimalScale;
        if (!facts.fitsDeclaredDecimal) {
            plan.precision = 38;
            if (!facts.fitsWidestDecimal)
                break;
        }
        plan.kind = Kind::Decimal;
        plan.wireType = type == 106 ? DecimalN : NumericN;
        plan.size = decimalSize(plan.precision);
        return plan;
    }
    case 40:
    case 58:
    case 61: {
        if (type == 40 && mTdsVersion >= Tds::kVersion73 && datesWithin(1, 9999)) {
            plan.kind = Kind::Date;
            plan.wireType = DateN;
            plan.size = 3;
            return plan;
        }
        if (type == 58 && datesWithin(1900, 2078)) {
            plan.kind = Kind::SmallDateTime;
            plan.wireType = DateTimeN;
            plan.size = 4;
            return plan;
        }
        if (!datesWithin(1753, 9999))
            break;
        plan.kind = Kind::DateTime;
        plan.wireType = DateTimeN;
        plan.size = 8;
        return plan;
    }
    case 41:
    case 42:
    case 43: {
        // A client before 7.3 knows none of these: it gets the server's text, as from the server.
        if (mTdsVersion < Tds::kVersion73 || !(none || facts.allNewDates))
            break;
        plan.kind = type == 41 ? Kind::Time : type == 42 ? Kind::DateTime2 : Kind::DateTimeOffset;
        plan.wireType = type == 41 ? TimeN : type == 42 ? DateTime2N : DateTimeOffsetN;
        plan.scale = std::clamp(column.scale, 0, 7);
        plan.size = timeBytes(plan.scale) + (type == 41 ? 0 : type == 42 ? 3 : 5);
        return plan;
    }
    case 34:
    case 165:
    case 173: {
        if (!facts.allBinary)
            break;
        const qsizetype longest = none ? 0 : facts.longestBinary;
        plan.kind = Kind::Binary;
        plan.max = longest > kLongLimit || type == 34;
        const bool fixed = type == 173 && column.length > 0 && column.length <= kLongLimit &&
                           (none || (facts.shortestBinary == column.length && longest == column.length));
        plan.wireType = fixed ? BigBinary : BigVarBinary;
        plan.size = fixed ? column.length : variableLength(column.length, longest);
        return plan;
    }
    case 35:
    case 167:
    case 175: {
        if (!facts.allAnsi)
            break;
        const qsizetype longest = none ? 0 : facts.longestText;
        plan.kind = Kind::Ansi;
        plan.max = longest > kLongLimit || type == 35;
        const bool fixed = type == 175 && column.length > 0 && column.length <= kLongLimit &&
                           (none || (facts.shortestText == column.length && longest == column.length));
        plan.wireType = fixed ? BigChar : BigVarChar;
        plan.size = fixed ? column.length : variableLength(column.length, longest);
        return plan;
    }
    default:
        break;
    }

    // Text carries every value.
    const qsizetype longest = none ? 0 : 2 * facts.longestText;
    const bool declaredUnicode = type == 231 || type == 239 || type == 256 || type == 99;
    const int declared = declaredUnicode ? column.length : 0;
    plan.kind = Kind::Unicode;
    plan.max = longest > kLongLimit || type == 99;
    const bool fixed = type == 239 && declared > 0 && declared <= kLongLimit &&
                       (none || (2 * facts.shortestText == declared && longest == declared));
    plan.wireType = fixed ? NChar : NVarChar;
    plan.size = fixed ? declared : variableLength(declared - declared % 2, longest);
    return plan;
}

void TdsRowSetEncoder::Write(TdsWriter& out, const SqlRowSet& rows) const {
    QList<ColumnPlan> plans;
    for (int c = 0; c < rows.columns.size(); ++c)
        plans.append(Plan(rows.columns[c], rows.rows, c));
    WriteMetadata(out, rows.columns, plans);
    for (const QVariantList& row : rows.rows)
        if (!WriteRow(out, plans, row))
            return;
}

void TdsRowSetEncoder::WriteMetadata(TdsWriter& out, const QList<SqlColumn>& columns,
                                     const QList<ColumnPlan>& plans) const {
    out.U8(Tds::ColMetadata);
    out.U16(uint16_t(plans.size()));
    for (int c = 0; c < plans.size(); ++c) {
        const ColumnPlan& p = plans[c];
        out.U32(0);                           // user type
        out.U16(columns[c].nullable ? 1 : 0); // flags: nullable
        out.U8(p.wireType);
        switch (p.kind) {
        case Kind::Date:
            break;
        case Kind::Time:
        case Kind::DateTime2:
        case Kind::DateTimeOffset:
            out.U8(uint8_t(p.scale));
            break;
        case Kind::Decimal:
            out.U8(uint8_t(p.size));
            out.U8(uint8_t(p.precision));
            out.U8(uint8_t(p.scale));
            break;
        case Kind::Ansi:
        case Kind::Unicode:
            out.U16(p.max ? kMaxMarker : uint16_t(p.size));
            out.Bytes(Tds::Collation());
            break;
        case Kind::Binary:
            out.U16(p.max ? kMaxMarker : uint16_t(p.size));
            break;
        default:
            out.U8(uint8_t(p.size));
        }
        out.BVarchar(columns[c].name.left(128));
    }
}

bool TdsRowSetEncoder::WriteRow(TdsWriter& out, const QList<ColumnPlan>& plans,
                                const QVariantList& row) const {
    out.U8(Tds::Row);
    for (int c = 0; c < plans.size(); ++c)
        writeValue(out, plans[c], c < row.size() ? row[c] : QVariant());
    // Rows go to the client as packets fill, not once the last one is written.
    return out.Flush();
}

void TdsRowSetEncoder::writeValue(TdsWriter& out, const ColumnPlan& plan, const QVariant& value) const {
    const bool isNull = !value.isValid() || value.isNull();
    switch (plan.kind) {
    case Kind::Ansi:
    case Kind::Unicode:
    case Kind::Binary: {
        if (isNull) {
            if (plan.max)
                out.U64(kPlpNull);
            else
                out.U16(0xFFFF);
            return;
        }
        const QByteArray bytes = plan.kind == Kind::Binary ? value.toByteArray()
                                 : plan.kind == Kind::Ansi ? toCp1252(textOf(value))
                                                           : toUcs2(textOf(value));
        if (!plan.max) {
            // A value longer than its plan only comes from a statement that read differently the
            // second time (rows streamed after a first look); it is cut rather than break the stream.
            const qsizetype size = std::min<qsizetype>(bytes.size(), plan.size - plan.size % 2);
            out.U16(uint16_t(size));
            out.Bytes(size == bytes.size() ? bytes : bytes.left(size));
            return;
        }
        // Chunked: the total, the chunks each with its length, and an empty chunk at the end.
        out.U64(uint64_t(bytes.size()));
        if (!bytes.isEmpty()) {
            out.U32(uint32_t(bytes.size()));
            out.Bytes(bytes);
        }
        out.U32(0);
        return;
    }
    default:
        break;
    }
    if (isNull || !fits(plan, value)) {
        // A value that its plan can't carry (a statement that read differently the second time)
        // goes as NULL rather than break the stream.
        out.U8(0);
        return;
    }
    switch (plan.kind) {
    case Kind::Int: {
        const qlonglong n = *integerOf(value);
        out.U8(uint8_t(plan.size));
        for (int i = 0; i < plan.size; ++i)
            out.U8(uint8_t(uint64_t(n) >> (8 * i)));
        return;
    }
    case Kind::Bit:
        out.U8(1);
        out.U8(uint8_t(*integerOf(value)));
        return;
    case Kind::Float: {
        const double d = *doubleOf(value);
        out.U8(uint8_t(plan.size));
        if (plan.size == 4) {
            const float f = float(d);
            uint32_t bits;
            std::memcpy(&bits, &f, 4);
            out.U32(bits);
        } else {
            uint64_t bits;
            std::memcpy(&bits, &d, 8);
            out.U64(bits);
        }
        return;
    }
    case Kind::Money: {
        const long long units = *moneyUnits(value);
        out.U8(uint8_t(plan.size));
        if (plan.size == 4) {
            out.U32(uint32_t(int32_t(units)));
        } else {
            out.U32(uint32_t(uint64_t(units) >> 32));
            out.U32(uint32_t(uint64_t(units)));
        }
        return;
    }
    case Kind::Decimal: {
        bool negative = false;
        unsigned __int128 magnitude = *decimalOf(value, plan.scale, plan.precision, &negative);
        out.U8(uint8_t(plan.size));
        out.U8(negative && magnitude != 0 ? 0 : 1);
        for (int i = 1; i < plan.size; ++i) {
            out.U8(uint8_t(magnitude & 0xff));
            magnitude >>= 8;
        }
        return;
    }
    case Kind::DateTime: {
        const QDateTime t = *dateTimeOf(value);
        qint64 days = QDate(1900, 1, 1).daysTo(t.date());
        // Three hundredths of a second, the resolution of the type.
        qint64 ticks = (qint64(t.time().msecsSinceStartOfDay()) * 300 + 500) / 1000;
        if (ticks >= 300LL * 86400) {
            ticks -= 300LL * 86400;
            ++days;
        }
        out.U8(8);
        out.U32(uint32_t(int32_t(days)));
        out.U32(uint32_t(ticks));
        return;
    }
    case Kind::SmallDateTime: {
        const QDateTime t = *dateTimeOf(value);
        qint64 days = QDate(1900, 1, 1).daysTo(t.date());
        qint64 minutes = (t.time().msecsSinceStartOfDay() + 30000) / 60000;
        if (minutes >= 1440) {
            minutes -= 1440;
            ++days;
        }
        out.U8(4);
        out.U16(uint16_t(days));
        out.U16(uint16_t(minutes));
        return;
    }
    case Kind::Time:
    case Kind::DateTime2:
    case Kind::DateTimeOffset: {
        const NewDate d = *newDateOf(value);
        const int bytes = timeBytes(plan.scale);
        uint64_t units = uint64_t(d.nanos);
        for (int i = plan.scale; i < 9; ++i)
            units /= 10;
        out.U8(uint8_t(plan.size));
        for (int i = 0; i < bytes; ++i)
            out.U8(uint8_t(units >> (8 * i)));
        if (plan.kind != Kind::Time)
            for (int i = 0; i < 3; ++i)
                out.U8(uint8_t(uint64_t(d.days) >> (8 * i)));
        if (plan.kind == Kind::DateTimeOffset)
            out.U16(uint16_t(int16_t(d.offset)));
        return;
    }
    case Kind::Date: {
        const qint64 days = QDate(1, 1, 1).daysTo(dateTimeOf(value)->date());
        out.U8(3);
        out.U8(uint8_t(days));
        out.U8(uint8_t(days >> 8));
        out.U8(uint8_t(days >> 16));
        return;
    }
    default:
        return;
    }
}
