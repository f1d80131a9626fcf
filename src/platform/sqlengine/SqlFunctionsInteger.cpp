// Integer arithmetic and conversions to the integer types with the server's overflow errors.
// SQLite computes in 64 bits and wraps or turns to doubles; the server's int stops at 2^31 and
// its bigint at 2^63, and a value that doesn't fit its target ends the statement.
#include "SqlFunctions.h"
#include "SqlValueAccess.h"
#include "SqliteDb.h"

#include <QList>
#include <QString>
#include <climits>
#include <cmath>
#include <cstring>
#include <sqlite3.h>

namespace {

using SqlValueAccess::IsNull;
using SqlValueAccess::Text;

// The operators of tsql_int as the translator codes them; kBig marks a step whose type is bigint.
enum Op { kAdd = 1, kSubtract = 2, kMultiply = 3, kDivide = 4, kModulo = 5 };
constexpr int kBig = 8;

// tsql_pack's blobs carry this subtype (SqlFunctions.cpp): a long chain arrives in pieces.
constexpr unsigned int kPackSubtype = 'P';

struct Value {
    int type = SQLITE_NULL;
    qint64 integer = 0;
    double real = 0;
    QString text;
};

Value ValueOf(sqlite3_value* v) {
    Value t;
    t.type = sqlite3_value_type(v);
    if (t.type == SQLITE_INTEGER)
        t.integer = sqlite3_value_int64(v);
    else if (t.type == SQLITE_FLOAT)
        t.real = sqlite3_value_double(v);
    else if (t.type != SQLITE_NULL)
        t.text = Text(v);
    return t;
}

// The terms of a tsql_pack blob, in order; a truncated blob ends where its last whole term does.
void Unpacked(sqlite3_value* v, QList<Value>& out) {
    const char* p = static_cast<const char*>(sqlite3_value_blob(v));
    if (!p)
        return;
    const char* end = p + sqlite3_value_bytes(v);
    while (p < end) {
        Value t;
        t.type = static_cast<unsigned char>(*p++);
        if (t.type == SQLITE_INTEGER || t.type == SQLITE_FLOAT) {
            if (end - p < 8)
                return;
            if (t.type == SQLITE_INTEGER)
                memcpy(&t.integer, p, sizeof t.integer);
            else
                memcpy(&t.real, p, sizeof t.real);
            p += 8;
        } else if (t.type != SQLITE_NULL) {
            qint32 size = 0;
            if (end - p < qsizetype(sizeof size))
                return;
            memcpy(&size, p, sizeof size);
            p += sizeof size;
            if (size < 0 || end - p < size)
                return;
            t.text = QString::fromUtf8(p, size);
            p += size;
        }
        out.append(t);
    }
}

bool FitsInt(qint64 v) {
    return v >= INT_MIN && v <= INT_MAX;
}

void Overflow(sqlite3_context* ctx, bool big) {
    SqlFunctions::ResultError(
        ctx, 8115,
        QStringLiteral("Arithmetic overflow error converting expression to data type %1.")
            .arg(big ? QStringLiteral("bigint") : QStringLiteral("int")),
        2);
}

// A text operand of integer arithmetic is converted to int first, as the server does.
bool TextInteger(sqlite3_context* ctx, Value& t) {
    bool ok = false;
    const qint64 v = t.text.trimmed().toLongLong(&ok);
    if (!ok || !FitsInt(v)) {
        SqlFunctions::ResultError(
            ctx, 245,
            QStringLiteral("Conversion failed when converting the varchar value '%1' to data type int.")
                .arg(t.text));
        return false;
    }
    t = Value{SQLITE_INTEGER, v, 0, {}};
    return true;
}

// acc op b, both integers: false (and the error set) when the server would stop.
bool IntegerStep(sqlite3_context* ctx, qint64& acc, int code, qint64 b) {
    const bool big = (code & kBig) != 0;
    qint64 r = 0;
    bool overflow = false;
    switch (code & ~kBig) {
    case kAdd:
        overflow = __builtin_add_overflow(acc, b, &r);
        break;
    case kSubtract:
        overflow = __builtin_sub_overflow(acc, b, &r);
        break;
    case kMultiply:
        overflow = __builtin_mul_overflow(acc, b, &r);
        break;
    default:
        if (b == 0) {
            SqlFunctions::ResultError(ctx, 8134, QStringLiteral("Divide by zero error encountered."));
            return false;
        }
        if (acc == LLONG_MIN && b == -1) {
            overflow = true;
            break;
        }
        r = (code & ~kBig) == kDivide ? acc / b : acc % b;
    }
    if (overflow || (!big && !FitsInt(r))) {
        Overflow(ctx, big);
        return false;
    }
    acc = r;
    return true;
}

// A value that is no integer after all (a column of a type the translator took for an integer one
// by its name): computed as SQLite would, without the integer types' limits.
bool RealStep(sqlite3_context* ctx, double& acc, int code, double b) {
    switch (code & ~kBig) {
    case kAdd:
        acc += b;
        return true;
    case kSubtract:
        acc -= b;
        return true;
    case kMultiply:
        acc *= b;
        return true;
    default:
        if (b == 0) {
            SqlFunctions::ResultError(ctx, 8134, QStringLiteral("Divide by zero error encountered."));
            return false;
        }
        acc = (code & ~kBig) == kDivide ? acc / b : std::fmod(acc, b);
        return true;
    }
}

// tsql_int(a, op, b, op, c, ...): ((a op b) op c) ... left to right with the server's integer
// limits at each step; the operands may come packed by tsql_pack.
void IntegerChain(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    QList<Value> terms;
    terms.reserve(argc);
    for (int i = 0; i < argc; ++i) {
        if (sqlite3_value_subtype(argv[i]) == kPackSubtype && sqlite3_value_type(argv[i]) == SQLITE_BLOB)
            Unpacked(argv[i], terms);
        else
            terms.append(ValueOf(argv[i]));
    }
    if (terms.isEmpty() || terms.size() % 2 == 0)
        return SqlFunctions::ResultError(ctx, 174, QStringLiteral("Invalid integer expression."));
    Value acc = terms[0];
    bool null = acc.type == SQLITE_NULL;
    if (acc.type == SQLITE_TEXT || acc.type == SQLITE_BLOB)
        if (!TextInteger(ctx, acc))
            return;
    for (qsizetype i = 1; i + 1 < terms.size(); i += 2) {
        const int code = terms[i].type == SQLITE_INTEGER ? int(terms[i].integer & 0xff) : 0;
        if ((code & ~kBig) < kAdd || (code & ~kBig) > kModulo)
            return SqlFunctions::ResultError(ctx, 174, QStringLiteral("Invalid integer expression."));
        Value b = terms[i + 1];
        if (b.type == SQLITE_NULL)
            null = true;
        if ((b.type == SQLITE_TEXT || b.type == SQLITE_BLOB) && !TextInteger(ctx, b))
            return;
        if (null)
            continue;
        if (acc.type == SQLITE_INTEGER && b.type == SQLITE_INTEGER) {
            if (!IntegerStep(ctx, acc.integer, code, b.integer))
                return;
            continue;
        }
        double x = acc.type == SQLITE_INTEGER ? double(acc.integer) : acc.real;
        if (!RealStep(ctx, x, code, b.type == SQLITE_INTEGER ? double(b.integer) : b.real))
            return;
        acc = Value{SQLITE_FLOAT, 0, x, {}};
    }
    if (null)
        return sqlite3_result_null(ctx);
    if (acc.type == SQLITE_INTEGER)
        return sqlite3_result_int64(ctx, acc.integer);
    sqlite3_result_double(ctx, acc.real);
}

// tsql_intneg(x, big): -x, which the smallest int (bigint) has no room for.
void Negate(sqlite3_context* ctx, int, sqlite3_value** argv) {
    const bool big = sqlite3_value_int(argv[1]) != 0;
    Value v = ValueOf(argv[0]);
    if ((v.type == SQLITE_TEXT || v.type == SQLITE_BLOB) && !TextInteger(ctx, v))
        return;
    if (v.type == SQLITE_NULL)
        return sqlite3_result_null(ctx);
    if (v.type == SQLITE_FLOAT)
        return sqlite3_result_double(ctx, -v.real);
    if (v.integer == LLONG_MIN || (!big && v.integer == INT_MIN))
        return Overflow(ctx, big);
    sqlite3_result_int64(ctx, -v.integer);
}

struct Range {
    qint64 low;
    qint64 high;
    const char* column; // the name a text's overflow gives the type
};

bool RangeOf(const QString& type, Range& out) {
    if (type == QLatin1String("tinyint"))
        out = Range{0, UCHAR_MAX, "INT1"};
    else if (type == QLatin1String("smallint"))
        out = Range{SHRT_MIN, SHRT_MAX, "INT2"};
    else if (type == QLatin1String("int"))
        out = Range{INT_MIN, INT_MAX, "int"};
    else if (type == QLatin1String("bigint"))
        out = Range{LLONG_MIN, LLONG_MAX, "INT8"};
    else
        return false;
    return true;
}

// An integer into a narrower integer type: 220 for the small types while the value is an int,
// else 8115 as for an expression.
void IntegerInto(sqlite3_context* ctx, const QString& type, const Range& range, qint64 v) {
    if (v >= range.low && v <= range.high)
        return sqlite3_result_int64(ctx, v);
    if (type != QLatin1String("int") && FitsInt(v))
        return SqlFunctions::ResultError(
            ctx, 220,
            QStringLiteral("Arithmetic overflow error for data type %1, value = %2.").arg(type).arg(v), 2);
    SqlFunctions::ResultError(
        ctx, 8115,
        QStringLiteral("Arithmetic overflow error converting expression to data type %1.").arg(type), 2);
}

// A double truncated toward zero, when the truncation fits the range.
bool Truncated(double d, const Range& range, qint64& out) {
    if (!std::isfinite(d))
        return false;
    const double t = std::trunc(d);
    // 2^63 is exact as a double; the bounds of the narrower types are exact anyway.
    const double low = range.low == LLONG_MIN ? -9223372036854775808.0 : double(range.low);
    const double high = range.high == LLONG_MAX ? 9223372036854775808.0 : double(range.high) + 1;
    if (t < low || t >= high)
        return false;
    out = qint64(t);
    return true;
}

bool AllDigits(const QString& s) {
    qsizetype i = s.startsWith(u'-') || s.startsWith(u'+') ? 1 : 0;
    if (i >= s.size())
        return false;
    for (; i < s.size(); ++i)
        if (!s[i].isDigit())
            return false;
    return true;
}

void NotInteger(sqlite3_context* ctx, const QString& text, const QString& type) {
    SqlFunctions::ResultError(
        ctx, 245,
        QStringLiteral("Conversion failed when converting the varchar value '%1' to data type %2.")
            .arg(text, type));
}

void TextInto(sqlite3_context* ctx, const QString& type, const Range& range, const QString& text) {
    const QString s = text.trimmed();
    bool ok = false;
    qint64 v = s.toLongLong(&ok);
    if (!ok) {
        double d = 0;
        // Digits past what 64 bits hold overflow; other text with an exponent is taken as before.
        if (!AllDigits(s)) {
            d = s.toDouble(&ok);
            if (!ok || s.contains(u'.') || !Truncated(d, range, v))
                return NotInteger(ctx, text, type);
            return sqlite3_result_int64(ctx, v);
        }
        v = s.startsWith(u'-') ? LLONG_MIN : LLONG_MAX;
        if (type == QLatin1String("bigint"))
            return SqlFunctions::ResultError(ctx, 8114,
                                             QStringLiteral("Error converting data type varchar to bigint."));
    }
    if (v >= range.low && v <= range.high)
        return sqlite3_result_int64(ctx, v);
    SqlFunctions::ResultError(
        ctx, type == QLatin1String("int") ? 248 : 244,
        QStringLiteral("The conversion of the varchar value '%1' overflowed an %2 column. "
                       "Use a larger integer column.")
            .arg(text, QLatin1String(range.column)));
}

} // namespace

void SqlFunctions::RegisterInteger(SqliteDb& db) {
    sqlite3_create_function_v2(db.Handle(), "tsql_int", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                               IntegerChain, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_intneg", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                               Negate, nullptr, nullptr, nullptr);
}

bool SqlFunctions::ConvertInteger(sqlite3_context* ctx, const QString& type, sqlite3_value* v) {
    Range range{};
    if (!RangeOf(type, range))
        return false;
    switch (sqlite3_value_type(v)) {
    case SQLITE_NULL:
        sqlite3_result_null(ctx);
        break;
    case SQLITE_INTEGER:
        IntegerInto(ctx, type, range, sqlite3_value_int64(v));
        break;
    case SQLITE_FLOAT: {
        const double d = sqlite3_value_double(v);
        qint64 r = 0;
        if (Truncated(d, range, r))
            sqlite3_result_int64(ctx, r);
        else
            ResultError(ctx, 232,
                        QStringLiteral("Arithmetic overflow error for type %1, value = %2.")
                            .arg(type, QString::number(d, 'f', 6)));
        break;
    }
    default:
        TextInto(ctx, type, range, Text(v));
    }
    return true;
}
