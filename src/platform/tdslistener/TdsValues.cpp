#include "TdsValues.h"

#include "TdsRowSetEncoder.h"
#include "TdsTokens.h"

#include <QDateTime>
#include <QUuid>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace {

enum Wire : uint8_t {
    Null = 0x1F,
    Image = 0x22,
    Text = 0x23,
    Guid = 0x24,
    VarBinary = 0x25,
    IntN = 0x26,
    VarChar = 0x27,
    DateN = 0x28,
    TimeN = 0x29,
    DateTime2N = 0x2A,
    DateTimeOffsetN = 0x2B,
    Binary = 0x2D,
    Char = 0x2F,
    Int1 = 0x30,
    Bit = 0x32,
    Int2 = 0x34,
    Int4 = 0x38,
    DateTim4 = 0x3A,
    Flt4 = 0x3B,
    Money = 0x3C,
    DateTime = 0x3D,
    Flt8 = 0x3E,
    NText = 0x63,
    BitN = 0x68,
    DecimalN = 0x6A,
    NumericN = 0x6C,
    FltN = 0x6D,
    MoneyN = 0x6E,
    DateTimN = 0x6F,
    Money4 = 0x7A,
    Int8 = 0x7F,
    BigVarBinary = 0xA5,
    BigVarChar = 0xA7,
    BigBinary = 0xAD,
    BigChar = 0xAF,
    NVarChar = 0xE7,
    NChar = 0xEF,
};

constexpr uint16_t kMaxMarker = 0xFFFF;
constexpr uint64_t kPlpNull = ~uint64_t(0);
constexpr qsizetype kMaxValue = qsizetype(64) * 1024 * 1024;

// The bytes of a fixed-length type, 0 for the others.
int fixedSize(uint8_t type) {
    switch (type) {
    case Null:
        return 0;
    case Int1:
    case Bit:
        return 1;
    case Int2:
        return 2;
    case Int4:
    case DateTim4:
    case Flt4:
    case Money4:
        return 4;
    case Money:
    case DateTime:
    case Flt8:
    case Int8:
        return 8;
    default:
        return -1;
    }
}

bool byteLength(uint8_t type) {
    switch (type) {
    case Guid:
    case IntN:
    case BitN:
    case DecimalN:
    case NumericN:
    case FltN:
    case MoneyN:
    case DateTimN:
    case VarBinary:
    case VarChar:
    case Binary:
    case Char:
        return true;
    default:
        return false;
    }
}

// The largest length a client may declare for a type whose length is one byte.
bool possibleMaxLength(uint8_t type, int length) {
    switch (type) {
    case IntN:
        return length == 1 || length == 2 || length == 4 || length == 8;
    case BitN:
        return length == 1;
    case FltN:
    case MoneyN:
    case DateTimN:
        return length == 4 || length == 8;
    case DecimalN:
    case NumericN:
        return length >= 2 && length <= 17;
    case Guid:
        return length == 16;
    default:
        return true;
    }
}

bool shortLength(uint8_t type) {
    return type == BigVarBinary || type == BigVarChar || type == BigBinary || type == BigChar ||
           type == NVarChar || type == NChar;
}

bool hasCollation(uint8_t type) {
    return type == BigVarChar || type == BigChar || type == NVarChar || type == NChar || type == Text ||
           type == NText;
}

bool longLength(uint8_t type) {
    return type == Text || type == NText || type == Image;
}

qlonglong signedLittle(const QByteArray& bytes) {
    uint64_t v = 0;
    for (qsizetype i = bytes.size() - 1; i >= 0; --i)
        v = (v << 8) | uint8_t(bytes[i]);
    const qsizetype bits = bytes.size() * 8;
    if (bits > 0 && bits < 64 && (v >> (bits - 1)) & 1)
        v |= ~uint64_t(0) << bits;
    return qlonglong(v);
}

uint64_t unsignedLittle(const QByteArray& bytes) {
    uint64_t v = 0;
    for (qsizetype i = bytes.size() - 1; i >= 0; --i)
        v = (v << 8) | uint8_t(bytes[i]);
    return v;
}

QString cp1252Text(const QByteArray& bytes) {
    QString out;
    out.reserve(bytes.size());
    for (const char b : bytes) {
        const auto u = uint8_t(b);
        if (u < 0x80 || u >= 0xA0) {
            out.append(QChar(char16_t(u)));
            continue;
        }
        // The code page's own letters between 0x80 and 0x9F.
        char16_t found = u;
        for (char16_t c = 0x100; c < 0x2200; ++c)
            if (TdsRowSetEncoder::Cp1252(QChar(c)) == u) {
                found = c;
                break;
            }
        out.append(QChar(found));
    }
    return out;
}

QString ucs2Text(const QByteArray& bytes) {
    QString out(bytes.size() / 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < out.size(); ++i)
        out[i] = QChar(char16_t(uint8_t(bytes[2 * i]) | (uint8_t(bytes[2 * i + 1]) << 8)));
    return out;
}

// The magnitude of a decimal (little-endian bytes) with its scale, as text.
QString decimalText(const QByteArray& magnitude, bool positive, int scale) {
    unsigned __int128 v = 0;
    for (qsizetype i = std::min<qsizetype>(magnitude.size(), 16) - 1; i >= 0; --i)
        v = (v << 8) | uint8_t(magnitude[i]);
    QString digits;
    do {
        digits.prepend(QChar(char16_t(u'0' + int(v % 10))));
        v /= 10;
    } while (v != 0);
    while (digits.size() <= scale)
        digits.prepend(QLatin1Char('0'));
    if (scale > 0)
        digits.insert(digits.size() - scale, QLatin1Char('.'));
    return positive ? digits : QStringLiteral("-") + digits;
}

const QDate kDateBase(1, 1, 1);
const QDateTime kDateTimeBase(QDate(1900, 1, 1), QTime(0, 0));

QTime timeOf(const QByteArray& bytes, int scale) {
    uint64_t units = unsignedLittle(bytes);
    for (int s = scale; s < 7; ++s)
        units *= 10;
    // 100 ns units to milliseconds: the engine keeps times to the millisecond.
    return QTime::fromMSecsSinceStartOfDay(int(std::min<uint64_t>(units / 10000, 86399999)));
}

int timeBytes(int scale) {
    return scale <= 2 ? 3 : scale <= 4 ? 4 : 5;
}

QByteArray readPlp(TdsReader& in) {
    const uint64_t total = uint64_t(in.U32()) | (uint64_t(in.U32()) << 32);
    if (total == kPlpNull)
        return {};
    QByteArray out;
    for (;;) {
        const uint32_t chunk = in.U32();
        if (chunk == 0)
            break;
        if (qsizetype(chunk) > kMaxValue - out.size())
            throw TdsProtocolError("parameter value too long");
        out.append(in.Bytes(qsizetype(chunk)));
    }
    // An empty value still differs from NULL.
    if (out.isNull())
        out = QByteArray("");
    return out;
}

QVariant textValue(uint8_t type, const QByteArray& bytes) {
    if (type == NVarChar || type == NChar || type == NText)
        return ucs2Text(bytes);
    if (type == BigVarChar || type == BigChar || type == VarChar || type == Char || type == Text)
        return cp1252Text(bytes);
    return bytes;
}

// Decodes the bytes of one non-NULL value of a type whose length came first.
QVariant decode(const TdsTypeInfo& t, const QByteArray& bytes) {
    switch (t.type) {
    case Int1:
        return qlonglong(uint8_t(bytes[0]));
    case IntN:
        return bytes.size() == 1 ? qlonglong(uint8_t(bytes[0])) : signedLittle(bytes);
    case Int2:
    case Int4:
    case Int8:
        return signedLittle(bytes);
    case Bit:
    case BitN:
        return qlonglong(bytes[0] != 0 ? 1 : 0);
    case Flt4:
    case Flt8:
    case FltN:
        if (bytes.size() == 4) {
            const auto bits = uint32_t(unsignedLittle(bytes));
            float f = 0;
            std::memcpy(&f, &bits, sizeof f);
            return double(f);
        } else {
            const uint64_t bits = unsignedLittle(bytes);
            double d = 0;
            std::memcpy(&d, &bits, sizeof d);
            return d;
        }
    case Money:
    case Money4:
    case MoneyN: {
        qlonglong units = 0;
        if (bytes.size() == 4)
            units = signedLittle(bytes);
        else
            units = qlonglong((unsignedLittle(bytes.left(4)) << 32) | unsignedLittle(bytes.mid(4, 4)));
        // The magnitude unsigned: the smallest money has none as a signed number.
        const uint64_t magnitude = units < 0 ? uint64_t(0) - uint64_t(units) : uint64_t(units);
        const QString digits = QString::number(magnitude).rightJustified(5, QLatin1Char('0'));
        return (units < 0 ? QStringLiteral("-") : QString()) + digits.left(digits.size() - 4) +
               QLatin1Char('.') + digits.right(4);
    }
    case DecimalN:
    case NumericN:
        return decimalText(bytes.mid(1), bytes[0] != 0, t.scale);
    case DateTim4:
    case DateTime:
    case DateTimN:
        if (bytes.size() == 4)
            return kDateTimeBase.addDays(qint64(unsignedLittle(bytes.left(2))))
                .addSecs(qint64(unsignedLittle(bytes.mid(2, 2))) * 60);
        else {
            const qint64 ticks = qint64(unsignedLittle(bytes.mid(4, 4)));
            return kDateTimeBase.addDays(signedLittle(bytes.left(4))).addMSecs((ticks * 10 + 1) / 3);
        }
    case DateN:
        return kDateBase.addDays(qint64(unsignedLittle(bytes)));
    case TimeN:
        return timeOf(bytes, t.scale);
    case DateTime2N:
    case DateTimeOffsetN: {
        const int tb = timeBytes(t.scale);
        QDateTime at(kDateBase.addDays(qint64(unsignedLittle(bytes.mid(tb, 3)))),
                     timeOf(bytes.left(tb), t.scale));
        if (t.type == DateTimeOffsetN) {
            // Sent in UTC with the offset after it; the engine has no zone, so the local time goes.
            at = at.addSecs(qint64(int16_t(unsignedLittle(bytes.mid(tb + 3, 2)))) * 60);
        }
        return at;
    }
    case Guid: {
        QByteArray b = bytes;
        std::reverse(b.begin(), b.begin() + 4);
        std::reverse(b.begin() + 4, b.begin() + 6);
        std::reverse(b.begin() + 6, b.begin() + 8);
        return QUuid::fromRfc4122(b).toString(QUuid::WithoutBraces).toUpper();
    }
    default:
        return textValue(t.type, bytes);
    }
}

void putLittle(TdsWriter& out, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.U8(i < 8 ? uint8_t(value >> (8 * i)) : uint8_t(0));
}

QByteArray cp1252Bytes(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    for (const QChar c : text) {
        const int code = TdsRowSetEncoder::Cp1252(c);
        out.append(char(code < 0 ? '?' : code));
    }
    return out;
}

QByteArray ucs2Bytes(const QString& text) {
    QByteArray out;
    out.reserve(text.size() * 2);
    for (const QChar c : text) {
        out.append(char(c.unicode() & 0xff));
        out.append(char(c.unicode() >> 8));
    }
    return out;
}

std::optional<QDateTime> dateTimeOf(const QVariant& v) {
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime();
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    const QString text = v.toString().trimmed();
    for (const QString& format : {QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"),
                                  QStringLiteral("yyyy-MM-dd HH:mm:ss"), QStringLiteral("yyyy-MM-dd")}) {
        const QDateTime d = QDateTime::fromString(text, format);
        if (d.isValid())
            return d;
    }
    const QDateTime d = QDateTime::fromString(text, Qt::ISODateWithMs);
    return d.isValid() ? std::optional<QDateTime>(d) : std::nullopt;
}

// The value scaled to an integer of `scale` decimals, from text (exact) or a number.
std::optional<unsigned __int128> scaledMagnitude(const QVariant& value, int scale, bool* negative) {
    QString text = value.typeId() == QMetaType::Double ? QString::number(value.toDouble(), 'f', scale)
                                                       : value.toString().trimmed();
    *negative = text.startsWith(QLatin1Char('-'));
    if (*negative || text.startsWith(QLatin1Char('+')))
        text = text.mid(1);
    const qsizetype point = text.indexOf(QLatin1Char('.'));
    QString whole = point < 0 ? text : text.left(point);
    QString fraction = point < 0 ? QString() : text.mid(point + 1);
    fraction = fraction.left(scale).leftJustified(scale, QLatin1Char('0'));
    unsigned __int128 v = 0;
    for (const QChar c : whole + fraction) {
        if (!c.isDigit())
            return std::nullopt;
        v = v * 10 + unsigned(c.unicode() - u'0');
    }
    return v;
}

uint64_t timeUnits(const QTime& t, int scale) {
    uint64_t units = uint64_t(t.msecsSinceStartOfDay()) * 10000;
    for (int s = scale; s < 7; ++s)
        units /= 10;
    return units;
}

} // namespace

bool TdsTypeInfo::Chunked() const {
    return shortLength(type) && length == kMaxMarker;
}

namespace TdsValues {

TdsTypeInfo ReadTypeInfo(TdsReader& in) {
    TdsTypeInfo t;
    t.type = in.U8();
    if (fixedSize(t.type) >= 0) {
        t.length = fixedSize(t.type);
        return t;
    }
    if (byteLength(t.type)) {
        t.length = in.U8();
        if (!possibleMaxLength(t.type, t.length))
            throw TdsProtocolError("parameter type of an impossible length");
        if (t.type == DecimalN || t.type == NumericN) {
            t.precision = in.U8();
            t.scale = in.U8();
            if (t.precision < 1 || t.precision > 38 || t.scale > t.precision)
                throw TdsProtocolError("decimal parameter of an impossible precision");
        }
        return t;
    }
    if (t.type == DateN)
        return t;
    if (t.type == TimeN || t.type == DateTime2N || t.type == DateTimeOffsetN) {
        t.scale = in.U8();
        if (t.scale > 7)
            throw TdsProtocolError("time parameter of an impossible scale");
        return t;
    }
    if (shortLength(t.type)) {
        t.length = in.U16();
        if (hasCollation(t.type))
            t.collation = in.Bytes(5);
        return t;
    }
    if (longLength(t.type)) {
        t.length = int(std::min<uint32_t>(in.U32(), 0x7FFFFFFF));
        if (hasCollation(t.type))
            t.collation = in.Bytes(5);
        return t;
    }
    throw TdsProtocolError("parameter of a type the server does not take");
}

QVariant ReadValue(TdsReader& in, const TdsTypeInfo& t) {
    if (t.type == Null)
        return {};
    if (fixedSize(t.type) > 0)
        return decode(t, in.Bytes(fixedSize(t.type)));
    if (t.Chunked()) {
        const QByteArray bytes = readPlp(in);
        return bytes.isNull() ? QVariant() : textValue(t.type, bytes);
    }
    qsizetype length = 0;
    if (shortLength(t.type)) {
        length = in.U16();
        if (length == kMaxMarker)
            return {};
    } else if (longLength(t.type)) {
        const uint32_t n = in.U32();
        if (n == 0xFFFFFFFF)
            return {};
        if (qsizetype(n) > kMaxValue)
            throw TdsProtocolError("parameter value too long");
        length = qsizetype(n);
    } else {
        length = in.U8();
        if (length == 0 && (t.type != VarChar && t.type != VarBinary && t.type != Char && t.type != Binary))
            return {};
    }
    const QByteArray bytes = in.Bytes(length);
    const auto bad = [] { throw TdsProtocolError("parameter value of an impossible length"); };
    switch (t.type) {
    case IntN:
        if (length != 1 && length != 2 && length != 4 && length != 8)
            bad();
        break;
    case BitN:
        if (length != 1)
            bad();
        break;
    case FltN:
    case MoneyN:
    case DateTimN:
        if (length != 4 && length != 8)
            bad();
        break;
    case DecimalN:
    case NumericN:
        if (length < 2 || length > 17)
            bad();
        break;
    case Guid:
        if (length != 16)
            bad();
        break;
    case DateN:
        if (length != 3)
            bad();
        break;
    case TimeN:
        if (length != timeBytes(t.scale))
            bad();
        break;
    case DateTime2N:
        if (length != timeBytes(t.scale) + 3)
            bad();
        break;
    case DateTimeOffsetN:
        if (length != timeBytes(t.scale) + 5)
            bad();
        break;
    default:
        break;
    }
    if (t.type == NVarChar || t.type == NChar || t.type == NText) {
        if (length % 2 != 0)
            bad();
    }
    return decode(t, bytes);
}

TdsTypeInfo ReturnType(const TdsTypeInfo& type) {
    TdsTypeInfo t = type;
    switch (type.type) {
    case Null:
        t.type = IntN;
        t.length = 4;
        break;
    case Int1:
    case Int2:
    case Int4:
    case Int8:
        t.type = IntN;
        break;
    case Bit:
        t.type = BitN;
        break;
    case Flt4:
    case Flt8:
        t.type = FltN;
        break;
    case Money:
    case Money4:
        t.type = MoneyN;
        break;
    case DateTime:
    case DateTim4:
        t.type = DateTimN;
        break;
    case VarChar:
    case Char:
        t.type = BigVarChar;
        t.collation = Tds::Collation();
        break;
    case VarBinary:
    case Binary:
        t.type = BigVarBinary;
        break;
    case Text:
        t = {BigVarChar, kMaxMarker, 0, 0, type.collation};
        break;
    case NText:
        t = {NVarChar, kMaxMarker, 0, 0, type.collation};
        break;
    case Image:
        t = {BigVarBinary, kMaxMarker, 0, 0, {}};
        break;
    default:
        break;
    }
    return t;
}

void WriteTypeInfo(TdsWriter& out, const TdsTypeInfo& t) {
    out.U8(t.type);
    if (byteLength(t.type)) {
        out.U8(uint8_t(t.length));
        if (t.type == DecimalN || t.type == NumericN) {
            out.U8(uint8_t(t.precision));
            out.U8(uint8_t(t.scale));
        }
    } else if (t.type == TimeN || t.type == DateTime2N || t.type == DateTimeOffsetN) {
        out.U8(uint8_t(t.scale));
    } else if (shortLength(t.type)) {
        out.U16(uint16_t(t.length));
        if (hasCollation(t.type))
            out.Bytes(t.collation.size() == 5 ? t.collation : Tds::Collation());
    }
}

void WriteValue(TdsWriter& out, const TdsTypeInfo& t, const QVariant& value) {
    const bool isNull = !value.isValid() || value.isNull();
    if (t.Chunked()) {
        if (isNull) {
            out.U32(0xFFFFFFFF);
            out.U32(0xFFFFFFFF);
            return;
        }
        const QByteArray bytes = t.type == NVarChar     ? ucs2Bytes(value.toString())
                                 : t.type == BigVarChar ? cp1252Bytes(value.toString())
                                                        : value.toByteArray();
        out.U64(uint64_t(bytes.size()));
        if (!bytes.isEmpty()) {
            out.U32(uint32_t(bytes.size()));
            out.Bytes(bytes);
        }
        out.U32(0);
        return;
    }
    if (shortLength(t.type)) {
        if (isNull) {
            out.U16(kMaxMarker);
            return;
        }
        QByteArray bytes = t.type == NVarChar || t.type == NChar       ? ucs2Bytes(value.toString())
                           : t.type == BigVarChar || t.type == BigChar ? cp1252Bytes(value.toString())
                                                                       : value.toByteArray();
        // Cut to what the parameter holds, as the server does; a fixed one is padded.
        bytes.truncate(t.length);
        if (t.type == NChar)
            while (bytes.size() + 1 < t.length)
                bytes.append(" \0", 2);
        else if (t.type == BigChar)
            bytes = bytes.leftJustified(t.length, ' ');
        else if (t.type == BigBinary)
            bytes = bytes.leftJustified(t.length, '\0');
        out.U16(uint16_t(bytes.size()));
        out.Bytes(bytes);
        return;
    }
    if (isNull) {
        out.U8(0);
        return;
    }
    bool ok = true;
    switch (t.type) {
    case IntN: {
        const qlonglong n = value.toLongLong(&ok);
        if (!ok)
            break;
        out.U8(uint8_t(t.length));
        putLittle(out, uint64_t(n), t.length);
        return;
    }
    case BitN:
        out.U8(1);
        out.U8(value.toLongLong(&ok) != 0 ? 1 : 0);
        if (!ok) // the byte count is out already; a failed conversion gives false
            return;
        return;
    case FltN: {
        const double d = value.toDouble(&ok);
        if (!ok)
            break;
        out.U8(uint8_t(t.length));
        if (t.length == 4) {
            const auto f = float(d);
            uint32_t bits = 0;
            std::memcpy(&bits, &f, sizeof bits);
            out.U32(bits);
        } else {
            uint64_t bits = 0;
            std::memcpy(&bits, &d, sizeof bits);
            out.U64(bits);
        }
        return;
    }
    case MoneyN: {
        bool negative = false;
        const std::optional<unsigned __int128> m = scaledMagnitude(value, 4, &negative);
        if (!m)
            break;
        const qlonglong units = negative ? -qlonglong(*m) : qlonglong(*m);
        out.U8(uint8_t(t.length));
        if (t.length == 4) {
            out.U32(uint32_t(units));
        } else {
            out.U32(uint32_t(uint64_t(units) >> 32));
            out.U32(uint32_t(uint64_t(units)));
        }
        return;
    }
    case DecimalN:
    case NumericN: {
        bool negative = false;
        const std::optional<unsigned __int128> m = scaledMagnitude(value, t.scale, &negative);
        if (!m)
            break;
        const int bytes = t.precision <= 9 ? 4 : t.precision <= 19 ? 8 : t.precision <= 28 ? 12 : 16;
        out.U8(uint8_t(bytes + 1));
        out.U8(negative ? 0 : 1);
        for (int i = 0; i < bytes; ++i)
            out.U8(uint8_t(*m >> (8 * i)));
        return;
    }
    case DateTimN: {
        const std::optional<QDateTime> d = dateTimeOf(value);
        if (!d || !d->isValid())
            break;
        const qint64 days = kDateTimeBase.date().daysTo(d->date());
        const qint64 ms = d->time().msecsSinceStartOfDay();
        out.U8(uint8_t(t.length));
        if (t.length == 4) {
            out.U16(uint16_t(days));
            out.U16(uint16_t((ms + 30000) / 60000));
        } else {
            out.U32(uint32_t(days));
            out.U32(uint32_t((ms * 3 + 5) / 10));
        }
        return;
    }
    case DateN:
    case DateTime2N:
    case DateTimeOffsetN:
    case TimeN: {
        std::optional<QDateTime> d = value.typeId() == QMetaType::QTime
                                         ? std::optional<QDateTime>(QDateTime(kDateBase, value.toTime()))
                                         : dateTimeOf(value);
        if (!d && t.type == TimeN) {
            const QTime time = QTime::fromString(value.toString(), Qt::ISODateWithMs);
            if (time.isValid())
                d = QDateTime(kDateBase, time);
        }
        if (!d || !d->isValid())
            break;
        const int tb = timeBytes(t.scale);
        const auto days = uint64_t(kDateBase.daysTo(d->date()));
        const int size = t.type == DateN ? 3 : t.type == TimeN ? tb : t.type == DateTime2N ? tb + 3 : tb + 5;
        out.U8(uint8_t(size));
        if (t.type != DateN)
            putLittle(out, timeUnits(d->time(), t.scale), tb);
        if (t.type != TimeN)
            putLittle(out, days, 3);
        if (t.type == DateTimeOffsetN)
            out.U16(0);
        return;
    }
    case Guid: {
        const QUuid id(value.toString());
        if (id.isNull() && !value.toString().startsWith(QLatin1String("00000000")))
            break;
        QByteArray b = id.toRfc4122();
        std::reverse(b.begin(), b.begin() + 4);
        std::reverse(b.begin() + 4, b.begin() + 6);
        std::reverse(b.begin() + 6, b.begin() + 8);
        out.U8(16);
        out.Bytes(b);
        return;
    }
    default:
        break;
    }
    out.U8(0); // what doesn't fit goes as NULL
}

QString SqlType(const TdsTypeInfo& t) {
    const auto sized = [&](const char* name, int divisor) {
        if (t.length == kMaxMarker)
            return QStringLiteral("%1(max)").arg(QLatin1String(name));
        return QStringLiteral("%1(%2)").arg(QLatin1String(name)).arg(std::max(1, t.length / divisor));
    };
    switch (t.type) {
    case Null:
    case Int4:
        return QStringLiteral("int");
    case Int1:
        return QStringLiteral("tinyint");
    case Int2:
        return QStringLiteral("smallint");
    case Int8:
        return QStringLiteral("bigint");
    case IntN:
        return t.length == 1   ? QStringLiteral("tinyint")
               : t.length == 2 ? QStringLiteral("smallint")
               : t.length == 8 ? QStringLiteral("bigint")
                               : QStringLiteral("int");
    case Bit:
    case BitN:
        return QStringLiteral("bit");
    case Flt4:
        return QStringLiteral("real");
    case Flt8:
        return QStringLiteral("float");
    case FltN:
        return t.length == 4 ? QStringLiteral("real") : QStringLiteral("float");
    case Money4:
        return QStringLiteral("smallmoney");
    case Money:
        return QStringLiteral("money");
    case MoneyN:
        return t.length == 4 ? QStringLiteral("smallmoney") : QStringLiteral("money");
    case DateTim4:
        return QStringLiteral("smalldatetime");
    case DateTime:
    case DateTime2N:
    case DateTimeOffsetN:
        return QStringLiteral("datetime");
    case DateTimN:
        return t.length == 4 ? QStringLiteral("smalldatetime") : QStringLiteral("datetime");
    case DateN:
        return QStringLiteral("date");
    case TimeN:
        return QStringLiteral("varchar(16)");
    case DecimalN:
    case NumericN:
        return QStringLiteral("%1(%2,%3)")
            .arg(t.type == DecimalN ? QLatin1String("decimal") : QLatin1String("numeric"))
            .arg(t.precision)
            .arg(t.scale);
    case Guid:
        return QStringLiteral("uniqueidentifier");
    case BigVarChar:
    case VarChar:
        return sized("varchar", 1);
    case BigChar:
    case Char:
        return sized("char", 1);
    case NVarChar:
        return sized("nvarchar", 2);
    case NChar:
        return sized("nchar", 2);
    case BigVarBinary:
    case VarBinary:
        return sized("varbinary", 1);
    case BigBinary:
    case Binary:
        return sized("binary", 1);
    case Text:
        return QStringLiteral("varchar(max)");
    case NText:
        return QStringLiteral("nvarchar(max)");
    case Image:
        return QStringLiteral("varbinary(max)");
    default:
        throw TdsProtocolError("parameter of a type the server does not take");
    }
}

QString Literal(const QVariant& value, const TdsTypeInfo& type) {
    if (!value.isValid() || value.isNull())
        return QStringLiteral("NULL");
    switch (value.typeId()) {
    case QMetaType::LongLong:
    case QMetaType::Int:
        return value.toString();
    case QMetaType::Double: {
        const double d = value.toDouble();
        if (!std::isfinite(d))
            return QStringLiteral("NULL");
        return QString::number(d, 'e', 17);
    }
    case QMetaType::QByteArray:
        return QStringLiteral("0x") + QString::fromLatin1(value.toByteArray().toHex().toUpper());
    case QMetaType::QDateTime:
        return QStringLiteral("'%1'").arg(
            value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")));
    case QMetaType::QDate:
        return QStringLiteral("'%1'").arg(value.toDate().toString(QStringLiteral("yyyy-MM-dd")));
    case QMetaType::QTime:
        return QStringLiteral("'%1'").arg(value.toTime().toString(QStringLiteral("HH:mm:ss.zzz")));
    default: {
        QString text = value.toString();
        // Exact numerics travel as their digits (read from the wire, so nothing else is in them).
        if (type.type == DecimalN || type.type == NumericN || type.type == MoneyN || type.type == Money ||
            type.type == Money4)
            return text;
        text.replace(QLatin1Char('\''), QLatin1String("''"));
        return QStringLiteral("N'%1'").arg(text);
    }
    }
}

} // namespace TdsValues
