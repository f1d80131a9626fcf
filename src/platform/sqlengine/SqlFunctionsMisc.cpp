// The mathematical functions SQRT, LOG, SIGN, ... and RAND; the later string functions (STR, STUFF,
// QUOTENAME, PATINDEX, SOUNDEX, DIFFERENCE, UNICODE, NCHAR, CHAR, ASCII, FORMATMESSAGE) and the hashes:
// CHECKSUM, BINARY_CHECKSUM and HASHBYTES.
#include "SqlFunctions.h"
#include "SqlValueAccess.h"
#include "SqliteDb.h"

#include <QCryptographicHash>
#include <QHash>
#include <QRegularExpression>
#include <array>
#include <cmath>
#include <sqlite3.h>

namespace {

using SqlValueAccess::IsNull;
using SqlValueAccess::ResultText;
using SqlValueAccess::Text;

QByteArray Blob(sqlite3_value* v) {
    return QByteArray(static_cast<const char*>(sqlite3_value_blob(v)), sqlite3_value_bytes(v));
}

// Code page 1252 between 0x80 and 0x9F, where it differs from Latin-1; 0 marks a byte it leaves out.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// A character's byte in code page 1252; '?' for one it lacks, as the server substitutes.
int Cp1252Byte(char16_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return c;
    for (size_t i = 0; i < kCp1252High.size(); ++i)
        if (kCp1252High[i] == c && c != 0)
            return int(0x80 + i);
    return '?';
}

QByteArray Cp1252(const QString& s) {
    QByteArray b;
    b.reserve(s.size());
    for (const QChar c : s)
        b.append(char(Cp1252Byte(c.unicode())));
    return b;
}

// The hash of one argument, the same for the same value; CHECKSUM's text compares as the
// server's default collation does, ignoring case and trailing blanks.
quint32 ValueHash(sqlite3_value* v, bool ignoreCase) {
    quint32 h = 2166136261U;
    const auto feed = [&h](const QByteArray& bytes) {
        for (const char c : bytes) {
            h ^= quint8(c);
            h *= 16777619U;
        }
    };
    switch (sqlite3_value_type(v)) {
    case SQLITE_NULL:
        return 0;
    case SQLITE_INTEGER: {
        const qint64 n = sqlite3_value_int64(v);
        feed(QByteArray(reinterpret_cast<const char*>(&n), sizeof n));
        return h;
    }
    case SQLITE_FLOAT:
        feed(QByteArray::number(sqlite3_value_double(v), 'g', 17));
        return h;
    case SQLITE_BLOB:
        feed(Blob(v));
        return h;
    default: {
        QString s = Text(v);
        while (s.endsWith(u' '))
            s.chop(1);
        feed((ignoreCase ? s.toUpper() : s).toUtf8());
        return h;
    }
    }
}

void Checksum(sqlite3_context* ctx, int argc, sqlite3_value** a, bool ignoreCase) {
    quint32 h = 0;
    for (int i = 0; i < argc; ++i)
        h = ((h << 4) | (h >> 28)) ^ ValueHash(a[i], ignoreCase);
    sqlite3_result_int64(ctx, qint32(h));
}

void ChecksumFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    Checksum(ctx, argc, a, true);
}

void BinaryChecksumFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    Checksum(ctx, argc, a, false);
}

// MD2 (RFC 1319), which the server still offers and Qt does not.
QByteArray Md2(const QByteArray& input) {
    static const quint8 kPi[256] = {
        41,  46,  67,  201, 162, 216, 124, 1,   61,  54,  84,  161, 236, 240, 6,   19,  98,  167, 5,   243,
        192, 199, 115, 140, 152, 147, 43,  217, 188, 76,  130, 202, 30,  155, 87,  60,  253, 212, 224, 22,
        103, 66,  111, 24,  138, 23,  229, 18,  190, 78,  196, 214, 218, 158, 222, 73,  160, 251, 245, 142,
        187, 47,  238, 122, 169, 104, 121, 145, 21,  178, 7,   63,  148, 194, 16,  137, 11,  34,  95,  33,
        128, 127, 93,  154, 90,  144, 50,  39,  53,  62,  204, 231, 191, 247, 151, 3,   255, 25,  48,  179,
        72,  165, 181, 209, 215, 94,  146, 42,  172, 86,  170, 198, 79,  184, 56,  210, 150, 164, 125, 182,
        118, 252, 107, 226, 156, 116, 4,   241, 69,  157, 112, 89,  100, 113, 135, 32,  134, 91,  207, 101,
        230, 45,  168, 2,   27,  96,  37,  173, 174, 176, 185, 246, 28,  70,  97,  105, 52,  64,  126, 15,
        85,  71,  163, 35,  221, 81,  175, 58,  195, 92,  249, 206, 186, 197, 234, 38,  44,  83,  13,  110,
        133, 40,  132, 9,   211, 223, 205, 244, 65,  129, 77,  82,  106, 220, 55,  200, 108, 193, 171, 250,
        36,  225, 123, 8,   12,  189, 177, 74,  120, 136, 149, 139, 227, 99,  232, 109, 233, 203, 213, 254,
        59,  0,   29,  57,  242, 239, 183, 14,  102, 88,  208, 228, 166, 119, 114, 248, 235, 117, 75,  10,
        49,  68,  80,  180, 143, 237, 31,  26,  219, 153, 141, 51,  159, 17,  131, 20,
    };
    QByteArray m = input;
    const int pad = 16 - int(m.size() % 16);
    m.append(QByteArray(pad, char(pad)));
    quint8 checksum[16] = {};
    quint8 last = 0;
    for (qsizetype i = 0; i < m.size(); i += 16)
        for (int j = 0; j < 16; ++j) {
            checksum[j] ^= kPi[quint8(m[i + j]) ^ last];
            last = checksum[j];
        }
    m.append(reinterpret_cast<const char*>(checksum), 16);
    quint8 x[48] = {};
    for (qsizetype i = 0; i < m.size(); i += 16) {
        for (int j = 0; j < 16; ++j) {
            x[16 + j] = quint8(m[i + j]);
            x[32 + j] = x[16 + j] ^ x[j];
        }
        quint8 t = 0;
        for (int j = 0; j < 18; ++j) {
            for (quint8& k : x) {
                k ^= kPi[t];
                t = k;
            }
            t = quint8(t + j);
        }
    }
    return QByteArray(reinterpret_cast<const char*>(x), 16);
}

// tsql_hashbytes(algorithm, input, unicode): unicode 1 hashes text as UTF-16LE (nvarchar), 0 as
// code page 1252 (varchar), -1 as nvarchar only when the text holds a character varchar can't.
void HashBytesFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const QString algorithm = Text(a[0]).trimmed().toUpper();
    QByteArray input;
    switch (sqlite3_value_type(a[1])) {
    case SQLITE_BLOB:
        input = Blob(a[1]);
        break;
    case SQLITE_INTEGER: {
        const qint64 n = sqlite3_value_int64(a[1]);
        const bool small = n >= INT32_MIN && n <= INT32_MAX;
        for (int i = small ? 3 : 7; i >= 0; --i)
            input.append(char(quint64(n) >> (8 * i)));
        break;
    }
    default: {
        const QString s = Text(a[1]);
        int unicode = sqlite3_value_int(a[2]);
        if (unicode < 0) {
            unicode = 0;
            for (const QChar c : s)
                if (Cp1252Byte(c.unicode()) == '?' && c != u'?')
                    unicode = 1;
        }
        if (unicode == 1)
            input = QByteArray(reinterpret_cast<const char*>(s.utf16()), s.size() * 2);
        else
            input = Cp1252(s);
    }
    }
    QByteArray digest;
    if (algorithm == QLatin1String("MD2"))
        digest = Md2(input);
    else if (algorithm == QLatin1String("MD4"))
        digest = QCryptographicHash::hash(input, QCryptographicHash::Md4);
    else if (algorithm == QLatin1String("MD5"))
        digest = QCryptographicHash::hash(input, QCryptographicHash::Md5);
    else if (algorithm == QLatin1String("SHA") || algorithm == QLatin1String("SHA1"))
        digest = QCryptographicHash::hash(input, QCryptographicHash::Sha1);
    else if (algorithm == QLatin1String("SHA2_256"))
        digest = QCryptographicHash::hash(input, QCryptographicHash::Sha256);
    else if (algorithm == QLatin1String("SHA2_512"))
        digest = QCryptographicHash::hash(input, QCryptographicHash::Sha512);
    else
        return sqlite3_result_null(ctx);
    sqlite3_result_blob(ctx, digest.constData(), int(digest.size()), SQLITE_TRANSIENT);
}

// STR(number [, length [, decimals]]): right-aligned in length places; fewer decimals when they
// don't fit, stars when the whole part doesn't.
void StrFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    for (int i = 0; i < argc; ++i)
        if (IsNull(a[i]))
            return sqlite3_result_null(ctx);
    const qint64 length = argc > 1 ? sqlite3_value_int64(a[1]) : 10;
    qint64 decimals = argc > 2 ? sqlite3_value_int64(a[2]) : 0;
    if (length <= 0 || length > 8000 || decimals < 0)
        return sqlite3_result_null(ctx);
    decimals = qMin<qint64>(decimals, 16);
    const double value = sqlite3_value_double(a[0]);
    if (!std::isfinite(value))
        return ResultText(ctx, QString(length, u'*'));
    QString s = QString::number(value, 'f', int(decimals));
    while (s.size() > length && decimals > 0)
        s = QString::number(value, 'f', int(--decimals));
    if (s.size() > length)
        s = QString(length, u'*');
    ResultText(ctx, s.rightJustified(length, u' '));
}

void StuffFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2]))
        return sqlite3_result_null(ctx);
    const QString s = Text(a[0]);
    const qint64 start = sqlite3_value_int64(a[1]);
    const qint64 length = sqlite3_value_int64(a[2]);
    if (start < 1 || start > s.size() || length < 0)
        return sqlite3_result_null(ctx);
    const QString insert = IsNull(a[3]) ? QString() : Text(a[3]);
    const qint64 cut = qMin<qint64>(length, s.size() - (start - 1));
    ResultText(ctx, s.left(start - 1) + insert + s.mid(start - 1 + cut));
}

void QuoteNameFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (IsNull(a[0]) || (argc > 1 && IsNull(a[1])))
        return sqlite3_result_null(ctx);
    const QString s = Text(a[0]);
    const QString q = argc > 1 ? Text(a[1]) : QStringLiteral("[");
    if (s.size() > 128 || q.size() != 1)
        return sqlite3_result_null(ctx);
    static const QHash<QChar, QPair<QChar, QChar>> pairs = {
        {u'[', {u'[', u']'}}, {u']', {u'[', u']'}}, {u'"', {u'"', u'"'}}, {u'\'', {u'\'', u'\''}},
        {u'(', {u'(', u')'}}, {u')', {u'(', u')'}}, {u'<', {u'<', u'>'}}, {u'>', {u'<', u'>'}},
        {u'{', {u'{', u'}'}}, {u'}', {u'{', u'}'}}, {u'`', {u'`', u'`'}}};
    const auto it = pairs.find(q[0]);
    if (it == pairs.end())
        return sqlite3_result_null(ctx);
    QString body = s;
    body.replace(it->second, QString(2, it->second));
    ResultText(ctx, it->first + body + it->second);
}

void PatIndexFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    QString pattern = Text(a[0]);
    const bool anyStart = pattern.startsWith(u'%');
    const bool anyEnd = pattern.endsWith(u'%') && pattern.size() > (anyStart ? 1 : 0);
    if (anyStart)
        pattern.remove(0, 1);
    if (anyEnd)
        pattern.chop(1);
    const QRegularExpression re(
        (anyStart ? QString() : QStringLiteral("^")) + SqlFunctions::LikeRegex(pattern, QChar(), true) +
            (anyEnd ? QString() : QStringLiteral("$")),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch m = re.match(Text(a[1]));
    sqlite3_result_int64(ctx, m.hasMatch() ? m.capturedStart() + 1 : 0);
}

QString Soundex(const QString& s) {
    // The digit of each letter A to Z; 0 for vowels, which separate equal digits, and '-' for H
    // and W, which don't.
    static const char* codes = "01230120022455012623010202";
    QString out;
    QChar previous;
    for (const QChar raw : s) {
        const QChar c = raw.toUpper();
        if (c < u'A' || c > u'Z') {
            if (out.isEmpty())
                continue;
            break;
        }
        const QChar code = QChar::fromLatin1(c == u'H' || c == u'W' ? '-' : codes[c.unicode() - 'A']);
        if (out.isEmpty()) {
            out += c;
            previous = code;
            continue;
        }
        if (code == u'-')
            continue;
        if (code != u'0' && code != previous)
            out += code;
        previous = code;
        if (out.size() == 4)
            break;
    }
    if (out.isEmpty())
        return out;
    return out.leftJustified(4, u'0');
}

void SoundexFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    ResultText(ctx, Soundex(Text(a[0])));
}

void DifferenceFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const QString x = Soundex(Text(a[0])), y = Soundex(Text(a[1]));
    int same = 0;
    for (qsizetype i = 0; i < qMin(x.size(), y.size()); ++i)
        same += x[i] == y[i] ? 1 : 0;
    sqlite3_result_int(ctx, same);
}

void UnicodeFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    const QString s = Text(a[0]);
    if (s.isEmpty())
        return sqlite3_result_null(ctx);
    if (s.size() > 1 && s[0].isHighSurrogate() && s[1].isLowSurrogate())
        return sqlite3_result_int64(ctx, QChar::surrogateToUcs4(s[0], s[1]));
    sqlite3_result_int64(ctx, s[0].unicode());
}

void NCharFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    const qint64 n = sqlite3_value_int64(a[0]);
    if (n < 0 || n > 0xFFFF)
        return sqlite3_result_null(ctx);
    ResultText(ctx, QString(QChar(char16_t(n))));
}

void CharFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    const qint64 n = sqlite3_value_int64(a[0]);
    if (n < 0 || n > 255)
        return sqlite3_result_null(ctx);
    char16_t c = char16_t(n);
    if (n >= 0x80 && n < 0xA0)
        c = kCp1252High[size_t(n - 0x80)] != 0 ? kCp1252High[size_t(n - 0x80)] : char16_t(n);
    ResultText(ctx, QString(QChar(c)));
}

void AsciiFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    const QString s = Text(a[0]);
    if (s.isEmpty())
        return sqlite3_result_null(ctx);
    sqlite3_result_int(ctx, Cp1252Byte(s[0].unicode()));
}

QVariant ValueOf(sqlite3_value* v) {
    switch (sqlite3_value_type(v)) {
    case SQLITE_NULL:
        return {};
    case SQLITE_INTEGER:
        return qlonglong(sqlite3_value_int64(v));
    case SQLITE_FLOAT:
        return sqlite3_value_double(v);
    default:
        return Text(v);
    }
}

// A user message's text by number from master (attached as "master", or the main database when that
// is master itself); "" when there is none.
QString StoredMessageText(sqlite3* db, sqlite3_int64 number) {
    const char* schema = sqlite3_db_filename(db, "master") ? "master" : "main";
    const QByteArray sql = QByteArray("SELECT text FROM \"") + schema +
                           "\".engine_messages WHERE message_id = ? AND language_id = 1033";
    sqlite3_stmt* st = nullptr;
    QString text;
    if (sqlite3_prepare_v2(db, sql.constData(), -1, &st, nullptr) == SQLITE_OK) {
        sqlite3_bind_int64(st, 1, number);
        if (sqlite3_step(st) == SQLITE_ROW)
            text = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
    }
    sqlite3_finalize(st);
    return text;
}

// FORMATMESSAGE(text or number, arguments...); a number that names no message gives NULL.
void FormatMessageFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    QString format;
    if (sqlite3_value_type(a[0]) == SQLITE_INTEGER) {
        format = StoredMessageText(sqlite3_context_db_handle(ctx), sqlite3_value_int64(a[0]));
        if (format.isEmpty())
            return sqlite3_result_null(ctx);
    } else if (sqlite3_value_type(a[0]) == SQLITE_TEXT) {
        format = Text(a[0]);
    } else {
        return sqlite3_result_null(ctx);
    }
    int next = 1;
    const QString text = SqlFunctions::FormatMessageText(
        format, [&]() { return next < argc ? ValueOf(a[next++]) : QVariant(); });
    ResultText(ctx, text);
}

// tsql_math(name, x[, y]): the server's mathematical functions. A value outside a function's domain
// (SQRT(-1), LOG(0)) is an invalid floating point operation, 3623.
void MathFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    constexpr double kPi = 3.14159265358979323846;
    const QString name = Text(a[0]);
    if (name == QLatin1String("PI"))
        return sqlite3_result_double(ctx, kPi);
    for (int i = 1; i < argc; ++i)
        if (IsNull(a[i]))
            return sqlite3_result_null(ctx);
    const double x = sqlite3_value_double(a[1]);
    if (name == QLatin1String("SIGN")) {
        if (sqlite3_value_type(a[1]) == SQLITE_INTEGER)
            return sqlite3_result_int64(ctx, sqlite3_value_int64(a[1]) > 0   ? 1
                                             : sqlite3_value_int64(a[1]) < 0 ? -1
                                                                             : 0);
        return sqlite3_result_double(ctx, x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0);
    }
    double r = 0;
    if (name == QLatin1String("SQRT"))
        r = std::sqrt(x);
    else if (name == QLatin1String("SQUARE"))
        r = x * x;
    else if (name == QLatin1String("EXP"))
        r = std::exp(x);
    else if (name == QLatin1String("LOG"))
        r = argc > 2 ? std::log(x) / std::log(sqlite3_value_double(a[2])) : std::log(x);
    else if (name == QLatin1String("LOG10"))
        r = std::log10(x);
    else if (name == QLatin1String("SIN"))
        r = std::sin(x);
    else if (name == QLatin1String("COS"))
        r = std::cos(x);
    else if (name == QLatin1String("TAN"))
        r = std::tan(x);
    else if (name == QLatin1String("COT"))
        r = 1.0 / std::tan(x);
    else if (name == QLatin1String("ASIN"))
        r = std::asin(x);
    else if (name == QLatin1String("ACOS"))
        r = std::acos(x);
    else if (name == QLatin1String("ATAN"))
        r = std::atan(x);
    else if (name == QLatin1String("ATN2"))
        r = std::atan2(x, sqlite3_value_double(a[2]));
    else if (name == QLatin1String("DEGREES"))
        r = x * 180.0 / kPi;
    else if (name == QLatin1String("RADIANS"))
        r = x * kPi / 180.0;
    if (!std::isfinite(r))
        return SqlFunctions::ResultError(ctx, 3623,
                                         QStringLiteral("An invalid floating point operation occurred."));
    sqlite3_result_double(ctx, r);
}

void RandFn(sqlite3_context* ctx, int, sqlite3_value**) {
    quint64 bits = 0;
    sqlite3_randomness(int(sizeof bits), &bits);
    sqlite3_result_double(ctx, double(bits >> 11) / double(quint64(1) << 53));
}

} // namespace

bool SqlFunctions::ConvertBinaryStyle(sqlite3_context* ctx, const QString& type, int style,
                                      sqlite3_value* v) {
    if (style != 1 && style != 2)
        return false;
    const int vt = sqlite3_value_type(v);
    const bool toBinary = type == QLatin1String("binary") || type == QLatin1String("varbinary");
    if (vt == SQLITE_BLOB && !toBinary &&
        (type.contains(QLatin1String("char")) || type == QLatin1String("text"))) {
        const QString hex = QString::fromLatin1(Blob(v).toHex().toUpper());
        ResultText(ctx, style == 1 ? QStringLiteral("0x") + hex : hex);
        return true;
    }
    if (vt != SQLITE_TEXT || !toBinary)
        return false;
    QString text = Text(v);
    if (style == 1) {
        if (!text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            ResultError(ctx, 8114, QStringLiteral("Error converting data type varchar to %1.").arg(type));
            return true;
        }
        text = text.mid(2);
    }
    static const QRegularExpression hex(QStringLiteral("^([0-9A-Fa-f]{2})*$"));
    if (!hex.match(text).hasMatch()) {
        ResultError(ctx, 8114, QStringLiteral("Error converting data type varchar to %1.").arg(type));
        return true;
    }
    const QByteArray bytes = QByteArray::fromHex(text.toLatin1());
    sqlite3_result_blob(ctx, bytes.constData(), int(bytes.size()), SQLITE_TRANSIENT);
    return true;
}

void SqlFunctions::RegisterMisc(SqliteDb& db) {
    struct Entry {
        const char* name;
        int args;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
    };
    const Entry entries[] = {
        {"tsql_checksum", -1, ChecksumFn},
        {"tsql_binary_checksum", -1, BinaryChecksumFn},
        {"tsql_hashbytes", 3, HashBytesFn},
        {"tsql_str", 1, StrFn},
        {"tsql_str", 2, StrFn},
        {"tsql_str", 3, StrFn},
        {"tsql_stuff", 4, StuffFn},
        {"tsql_quotename", 1, QuoteNameFn},
        {"tsql_quotename", 2, QuoteNameFn},
        {"tsql_patindex", 2, PatIndexFn},
        {"tsql_soundex", 1, SoundexFn},
        {"tsql_difference", 2, DifferenceFn},
        {"tsql_unicode", 1, UnicodeFn},
        {"tsql_nchar", 1, NCharFn},
        {"tsql_char", 1, CharFn},
        {"tsql_ascii", 1, AsciiFn},
        {"tsql_formatmessage", -1, FormatMessageFn},
    };
    for (const Entry& e : entries)
        sqlite3_create_function_v2(db.Handle(), e.name, e.args, SQLITE_UTF8 | SQLITE_DETERMINISTIC, &db, e.fn,
                                   nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_math", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, &db, MathFn,
                               nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_math", 3, SQLITE_UTF8 | SQLITE_DETERMINISTIC, &db, MathFn,
                               nullptr, nullptr, nullptr);
    // RAND() differs from row to row, as the server's doesn't within a query; a seed is not kept.
    sqlite3_create_function_v2(db.Handle(), "tsql_rand", 0, SQLITE_UTF8, &db, RandFn, nullptr, nullptr,
                               nullptr);
}
