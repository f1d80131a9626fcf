#include "SqlFunctions.h"
#include "SqlValueAccess.h"

#include "Catalogue.h"
#include "SqlDates.h"
#include "SqlParser.h"
#include "SqliteDb.h"

#include <QDateTime>
#include <QHash>
#include <QRegularExpression>
#include <QUuid>
#include <cmath>
#include <cstring>
#include <sqlite3.h>

namespace {

using SqlValueAccess::IsNull;
using SqlValueAccess::ResultText;
using SqlValueAccess::Text;

// The connection a catalogue function was registered on, whose cache keeps its look-ups prepared.
SqliteDb& Connection(sqlite3_context* ctx) {
    return *static_cast<SqliteDb*>(sqlite3_user_data(ctx));
}

void ResultError(sqlite3_context* ctx, long number, const QString& text) {
    SqlFunctions::ResultError(ctx, number, text);
}

QString TrimRight(QString s) {
    while (s.endsWith(u' '))
        s.chop(1);
    return s;
}

bool ParseNumber(const QString& text, double* out) {
    bool ok = false;
    const double d = text.trimmed().toDouble(&ok);
    if (ok && out)
        *out = d;
    return ok;
}

QString FormatDate(const QDateTime& d) {
    return d.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

// One term of a sum, held outside SQLite so that a fold carries it from one step to the next.
struct Term {
    int type = SQLITE_NULL;
    qint64 integer = 0;
    double real = 0;
    QString text; // a text, or a blob's bytes read as text
};

// Packed terms are a blob of this subtype; see tsql_pack.
constexpr unsigned int kPackSubtype = 'P';

Term TermOf(sqlite3_value* v) {
    Term t;
    t.type = sqlite3_value_type(v);
    if (t.type == SQLITE_INTEGER)
        t.integer = sqlite3_value_int64(v);
    else if (t.type != SQLITE_NULL)
        t.real = sqlite3_value_double(v);
    if (t.type == SQLITE_TEXT || t.type == SQLITE_BLOB)
        t.text = Text(v);
    return t;
}

bool NumberOf(const Term& t, double* value, QString* error) {
    if (t.type != SQLITE_TEXT || ParseNumber(t.text, value))
        return true;
    *error = QStringLiteral("Conversion failed when converting the varchar value '%1' to data type int.")
                 .arg(t.text);
    return false;
}

// A datetime as the engine keeps it ("yyyy-MM-dd HH:mm:ss.zzz"): values carry no type, so that
// form is what marks a datetime in arithmetic.
bool StoredDateTime(const Term& t, QDateTime* out) {
    if (t.type != SQLITE_TEXT || t.text.size() != 23 || t.text[4] != u'-' || t.text[10] != u' ')
        return false;
    *out = QDateTime::fromString(t.text, QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    return out->isValid();
}

bool IsNumber(const Term& t) {
    return t.type == SQLITE_INTEGER || t.type == SQLITE_FLOAT;
}

// A datetime plus a number of days (fractions are parts of a day), as the server adds them.
bool AddDays(Term& acc, const QDateTime& at, double days, QString* error) {
    const double ms = std::round(days * 86400000.0);
    const QDateTime result = std::abs(ms) < 1e15 ? at.addMSecs(qint64(ms)) : QDateTime();
    if (!result.isValid() || result.date().year() < 1753 || result.date().year() > 9999) {
        *error = QStringLiteral("Arithmetic overflow error converting expression to data type datetime.");
        return false;
    }
    acc = Term();
    acc.type = SQLITE_TEXT;
    acc.text = FormatDate(result);
    return true;
}

// acc + term: text joins text, a datetime and a number add days, everything else adds. Gives false
// and the server's message when a text is no number.
bool AddTerm(Term& acc, const Term& b, QString* error) {
    if (acc.type == SQLITE_NULL || b.type == SQLITE_NULL) {
        acc = Term();
        return true;
    }
    if (QDateTime at; IsNumber(b) && StoredDateTime(acc, &at))
        return AddDays(acc, at, b.type == SQLITE_INTEGER ? double(b.integer) : b.real, error);
    if (QDateTime at; IsNumber(acc) && StoredDateTime(b, &at))
        return AddDays(acc, at, acc.type == SQLITE_INTEGER ? double(acc.integer) : acc.real, error);
    if (acc.type == SQLITE_TEXT && b.type == SQLITE_TEXT) {
        acc.text += b.text;
        return true;
    }
    if (acc.type == SQLITE_INTEGER && b.type == SQLITE_INTEGER) {
        acc.integer = qint64(quint64(acc.integer) + quint64(b.integer));
        return true;
    }
    double x = acc.real, y = b.real;
    if (!NumberOf(acc, &x, error) || !NumberOf(b, &y, error))
        return false;
    const auto integral = [](const Term& t, double v) {
        return t.type == SQLITE_INTEGER ||
               (t.type == SQLITE_TEXT && std::floor(v) == v && !t.text.contains(u'.'));
    };
    if (integral(acc, x) && integral(b, y)) {
        acc.integer = qint64(quint64(acc.type == SQLITE_INTEGER ? acc.integer : qint64(x)) +
                             quint64(b.type == SQLITE_INTEGER ? b.integer : qint64(y)));
        acc.type = SQLITE_INTEGER;
    } else {
        acc.real = (acc.type == SQLITE_INTEGER ? double(acc.integer) : x) +
                   (b.type == SQLITE_INTEGER ? double(b.integer) : y);
        acc.type = SQLITE_FLOAT;
    }
    acc.text.clear();
    return true;
}

void AppendPacked(QByteArray& pack, sqlite3_value* v) {
    if (sqlite3_value_subtype(v) == kPackSubtype) {
        pack.append(static_cast<const char*>(sqlite3_value_blob(v)), sqlite3_value_bytes(v));
        return;
    }
    const Term t = TermOf(v);
    pack.append(char(t.type));
    if (t.type == SQLITE_INTEGER) {
        pack.append(reinterpret_cast<const char*>(&t.integer), sizeof t.integer);
    } else if (t.type == SQLITE_FLOAT) {
        pack.append(reinterpret_cast<const char*>(&t.real), sizeof t.real);
    } else if (t.type != SQLITE_NULL) {
        const QByteArray bytes = t.text.toUtf8();
        const qint32 size = qint32(bytes.size());
        pack.append(reinterpret_cast<const char*>(&size), sizeof size);
        pack.append(bytes);
    }
}

QList<Term> Unpack(sqlite3_value* v) {
    QList<Term> terms;
    const char* p = static_cast<const char*>(sqlite3_value_blob(v));
    const char* end = p + sqlite3_value_bytes(v);
    while (p < end) {
        Term t;
        t.type = static_cast<unsigned char>(*p++);
        if (t.type == SQLITE_INTEGER) {
            memcpy(&t.integer, p, sizeof t.integer);
            p += sizeof t.integer;
        } else if (t.type == SQLITE_FLOAT) {
            memcpy(&t.real, p, sizeof t.real);
            p += sizeof t.real;
        } else if (t.type != SQLITE_NULL) {
            qint32 size = 0;
            memcpy(&size, p, sizeof size);
            p += sizeof size;
            t.text = QString::fromUtf8(p, size);
            p += size;
            t.real = t.text.trimmed().toDouble();
        }
        terms.append(t);
    }
    return terms;
}

// tsql_pack(a, b, ...): its arguments (packed ones spliced in) kept in order in one value, so that
// a sum of more terms than SQLite passes to one call still reaches tsql_add in one piece.
void Pack(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    QByteArray pack;
    for (int i = 0; i < argc; ++i)
        AppendPacked(pack, a[i]);
    sqlite3_result_blob(ctx, pack.constData(), int(pack.size()), SQLITE_TRANSIENT);
    sqlite3_result_subtype(ctx, kPackSubtype);
}

// tsql_add(a, b, ...): ((a + b) + ...) as the server reads a + b + ...
void Add(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    Term acc;
    bool first = true;
    QString error;
    const auto add = [&](const Term& t) {
        if (first) {
            acc = t;
            first = false;
            return true;
        }
        return AddTerm(acc, t, &error);
    };
    for (int i = 0; i < argc; ++i) {
        bool ok = true;
        if (sqlite3_value_subtype(a[i]) == kPackSubtype) {
            for (const Term& t : Unpack(a[i]))
                if (!(ok = add(t)))
                    break;
        } else {
            ok = add(TermOf(a[i]));
        }
        if (!ok) {
            ResultError(ctx, 245, error);
            return;
        }
    }
    if (acc.type == SQLITE_INTEGER)
        sqlite3_result_int64(ctx, acc.integer);
    else if (acc.type == SQLITE_FLOAT)
        sqlite3_result_double(ctx, acc.real);
    else if (acc.type == SQLITE_TEXT || acc.type == SQLITE_BLOB)
        ResultText(ctx, acc.text);
    else
        sqlite3_result_null(ctx);
}

// tsql_datesub(a, b): a - b where a may be a datetime: less a number of days, or less another
// datetime (the difference as a datetime after 1900-01-01, as the server gives it); else a - b
// as for numbers.
void DateSubtract(sqlite3_context* ctx, int, sqlite3_value** a) {
    Term acc = TermOf(a[0]);
    const Term b = TermOf(a[1]);
    if (acc.type == SQLITE_NULL || b.type == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    QString error;
    QDateTime at;
    QDateTime other;
    if (StoredDateTime(acc, &at)) {
        bool ok = false;
        if (IsNumber(b)) {
            ok = AddDays(acc, at, -(b.type == SQLITE_INTEGER ? double(b.integer) : b.real), &error);
        } else if (StoredDateTime(b, &other)) {
            const QDateTime base(QDate(1900, 1, 1), QTime(0, 0));
            ok = AddDays(acc, base, double(other.msecsTo(at)) / 86400000.0, &error);
        } else {
            error =
                QStringLiteral("Conversion failed when converting date and/or time from character string.");
            ResultError(ctx, 241, error);
            return;
        }
        if (!ok) {
            ResultError(ctx, 8115, error);
            return;
        }
        ResultText(ctx, acc.text);
        return;
    }
    double x = acc.real;
    double y = b.real;
    if (!NumberOf(acc, &x, &error) || !NumberOf(b, &y, &error)) {
        ResultError(ctx, 245, error);
        return;
    }
    qint64 difference = 0;
    if (acc.type == SQLITE_INTEGER && b.type == SQLITE_INTEGER &&
        !__builtin_sub_overflow(acc.integer, b.integer, &difference)) {
        sqlite3_result_int64(ctx, difference);
        return;
    }
    sqlite3_result_double(ctx, (acc.type == SQLITE_INTEGER ? double(acc.integer) : x) -
                                   (b.type == SQLITE_INTEGER ? double(b.integer) : y));
}

// tsql_bitxor(a, b, ...): a ^ b ^ ..., packed terms unpacked as for tsql_add.
void BitXor(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    qint64 result = 0;
    bool null = false;
    const auto xorWith = [&](const Term& t) {
        null = null || t.type == SQLITE_NULL;
        result ^= t.type == SQLITE_INTEGER ? t.integer : qint64(t.real);
    };
    for (int i = 0; i < argc; ++i) {
        if (sqlite3_value_subtype(a[i]) == kPackSubtype) {
            for (const Term& t : Unpack(a[i]))
                xorWith(t);
        } else {
            xorWith(TermOf(a[i]));
        }
    }
    if (null)
        sqlite3_result_null(ctx);
    else
        sqlite3_result_int64(ctx, result);
}

void Len(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    sqlite3_result_int64(ctx, TrimRight(Text(a[0])).size());
}

void DataLength(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    if (sqlite3_value_type(a[0]) == SQLITE_TEXT)
        sqlite3_result_int64(ctx, Text(a[0]).size() * 2);
    else
        sqlite3_result_int64(ctx, sqlite3_value_bytes(a[0]));
}

void Upper(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    ResultText(ctx, Text(a[0]).toUpper());
}

void Lower(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    ResultText(ctx, Text(a[0]).toLower());
}

void Substring(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2]))
        return sqlite3_result_null(ctx);
    const QString s = Text(a[0]);
    qint64 start = sqlite3_value_int64(a[1]);
    qint64 len = sqlite3_value_int64(a[2]);
    if (len < 0)
        return ResultError(ctx, 537,
                           QStringLiteral("Invalid length parameter passed to the substring function."));
    qint64 end = start + len; // exclusive, 1-based
    start = qMax<qint64>(start, 1);
    if (end <= start)
        return ResultText(ctx, QString());
    ResultText(ctx, s.mid(start - 1, end - start));
}

void Left(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const qint64 n = sqlite3_value_int64(a[1]);
    if (n < 0)
        return ResultError(ctx, 536, QStringLiteral("Invalid length parameter passed to the left function."));
    ResultText(ctx, Text(a[0]).left(n));
}

void Right(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const qint64 n = sqlite3_value_int64(a[1]);
    if (n < 0)
        return ResultError(ctx, 536,
                           QStringLiteral("Invalid length parameter passed to the right function."));
    ResultText(ctx, Text(a[0]).right(n));
}

void CharIndex(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    qint64 start = argc > 2 && !IsNull(a[2]) ? sqlite3_value_int64(a[2]) : 1;
    start = qMax<qint64>(start, 1);
    const QString needle = Text(a[0]);
    if (needle.isEmpty())
        return sqlite3_result_int64(ctx, 0);
    const qsizetype i = Text(a[1]).indexOf(needle, start - 1, Qt::CaseInsensitive);
    sqlite3_result_int64(ctx, i < 0 ? 0 : i + 1);
}

void Replace(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2]))
        return sqlite3_result_null(ctx);
    QString s = Text(a[0]);
    const QString from = Text(a[1]);
    if (from.isEmpty())
        return ResultText(ctx, s);
    ResultText(ctx, s.replace(from, Text(a[2]), Qt::CaseInsensitive));
}

void Replicate(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const qint64 n = sqlite3_value_int64(a[1]);
    if (n < 0)
        return sqlite3_result_null(ctx);
    ResultText(ctx, Text(a[0]).repeated(qMin<qint64>(n, 1000000)));
}

void Space(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    const qint64 n = sqlite3_value_int64(a[0]);
    if (n < 0)
        return sqlite3_result_null(ctx);
    ResultText(ctx, QString(qMin<qint64>(n, 8000), u' '));
}

void Reverse(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    QString s = Text(a[0]);
    std::reverse(s.begin(), s.end());
    ResultText(ctx, s);
}

void GetDate(sqlite3_context* ctx, int, sqlite3_value**) {
    ResultText(ctx, FormatDate(QDateTime::currentDateTime()));
}

void GetUtcDate(sqlite3_context* ctx, int, sqlite3_value**) {
    ResultText(ctx, FormatDate(QDateTime::currentDateTimeUtc()));
}

void NewId(sqlite3_context* ctx, int, sqlite3_value**) {
    ResultText(ctx, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
}

void IsNumeric(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_int(ctx, 0);
    if (sqlite3_value_type(a[0]) != SQLITE_TEXT)
        return sqlite3_result_int(ctx, 1);
    sqlite3_result_int(ctx, ParseNumber(Text(a[0]), nullptr) ? 1 : 0);
}

void Floor(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    if (sqlite3_value_type(a[0]) == SQLITE_INTEGER)
        return sqlite3_result_int64(ctx, sqlite3_value_int64(a[0]));
    sqlite3_result_double(ctx, std::floor(sqlite3_value_double(a[0])));
}

void Ceiling(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    if (sqlite3_value_type(a[0]) == SQLITE_INTEGER)
        return sqlite3_result_int64(ctx, sqlite3_value_int64(a[0]));
    sqlite3_result_double(ctx, std::ceil(sqlite3_value_double(a[0])));
}

void Power(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const double r = std::pow(sqlite3_value_double(a[0]), sqlite3_value_double(a[1]));
    if (sqlite3_value_type(a[0]) == SQLITE_INTEGER)
        return sqlite3_result_int64(ctx, qint64(r));
    sqlite3_result_double(ctx, r);
}

// tsql_convert(type, length, scale, value[, style[, try[, source]]]): with try set (TRY_CONVERT,
// TRY_CAST) a value that doesn't convert gives NULL; source tells a decimal column's scale.
void Convert(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    const SqlFunctions::TryScope trying(argc > 5 && sqlite3_value_int(a[5]) != 0);
    if (IsNull(a[3]))
        return sqlite3_result_null(ctx);
    const QString type = Text(a[0]).toLower();
    const qint64 length = sqlite3_value_int64(a[1]);
    const qint64 scale = sqlite3_value_int64(a[2]);
    const int style = argc > 4 && !IsNull(a[4]) ? int(sqlite3_value_int64(a[4])) : 0;
    sqlite3_value* v = a[3];
    const int vt = sqlite3_value_type(v);
    const SystemType* t = Catalogue::FindType(type);
    if (!t)
        return ResultError(ctx, 243, QStringLiteral("Type %1 is not a defined system type.").arg(type));
    const QString name = QString::fromLatin1(t->name);
    if (argc > 6 && t->character &&
        SqlFunctions::DecimalText(ctx, name, length, style, sqlite3_value_int64(a[6]), v))
        return;
    if (SqlFunctions::ConvertStyled(ctx, name, length, style, v, SqlDates::FractionScale(length, scale)))
        return;
    auto typeText = [&]() -> const QString& { return name; };
    if (SqlFunctions::ConvertInteger(ctx, name, v))
        return;
    if (name == QLatin1String("bit")) {
        qint64 r = 0;
        if (vt == SQLITE_INTEGER) {
            r = sqlite3_value_int64(v);
        } else if (vt == SQLITE_FLOAT) {
            r = sqlite3_value_double(v) != 0 ? 1 : 0;
        } else {
            const QString s = Text(v).trimmed();
            bool ok = false;
            r = s.toLongLong(&ok);
            if (!ok) {
                double d = 0;
                if (name == QLatin1String("bit") &&
                    (s.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
                     s.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)) {
                    r = s.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ? 1 : 0;
                } else if (ParseNumber(s, &d) && s.contains(u'.') == false) {
                    r = d != 0 ? 1 : 0;
                } else {
                    return ResultError(
                        ctx, 245,
                        QStringLiteral("Conversion failed when converting the varchar value '%1' to "
                                       "data type %2.")
                            .arg(Text(v), typeText()));
                }
            }
        }
        if (name == QLatin1String("bit"))
            r = r != 0 ? 1 : 0;
        return sqlite3_result_int64(ctx, r);
    }
    if (name == QLatin1String("decimal") || name == QLatin1String("numeric") ||
        name == QLatin1String("money") || name == QLatin1String("smallmoney"))
        return SqlFunctions::ConvertDecimal(ctx, name, length, scale, v);
    if (name == QLatin1String("float") || name == QLatin1String("real")) {
        double d = 0;
        if (vt == SQLITE_TEXT) {
            if (!ParseNumber(Text(v), &d))
                return ResultError(
                    ctx, 8114, QStringLiteral("Error converting data type varchar to %1.").arg(typeText()));
        } else {
            d = sqlite3_value_double(v);
        }
        return sqlite3_result_double(ctx, d);
    }
    if (t->character || name == QLatin1String("uniqueidentifier") || name == QLatin1String("time")) {
        QString s;
        if (vt == SQLITE_FLOAT) {
            s = QString::number(sqlite3_value_double(v), 'g', 15);
        } else if (vt == SQLITE_BLOB) {
            s = QString::fromUtf8(
                QByteArray(static_cast<const char*>(sqlite3_value_blob(v)), sqlite3_value_bytes(v)));
        } else {
            s = Text(v);
        }
        qint64 max = length;
        if (max == -1 && name != QLatin1String("xml")) // xml has no length
            max = 30;
        if (max >= 0 && s.size() > max)
            s.truncate(max);
        if ((name == QLatin1String("char") || name == QLatin1String("nchar")) && max > 0 && s.size() < max)
            s = s.leftJustified(max, u' ');
        return ResultText(ctx, s);
    }
    if (name == QLatin1String("binary") || name == QLatin1String("varbinary") ||
        name == QLatin1String("image")) {
        const QByteArray b = vt == SQLITE_BLOB ? QByteArray(static_cast<const char*>(sqlite3_value_blob(v)),
                                                            sqlite3_value_bytes(v))
                                               : Text(v).toUtf8();
        return sqlite3_result_blob(ctx, b.constData(), int(b.size()), SQLITE_TRANSIENT);
    }
    sqlite3_result_value(ctx, v);
}

// T-SQL LIKE: % _ [set] [^set], case-insensitive.
void Like(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const QString value = Text(a[0]);
    const QString pattern = Text(a[1]);
    const QChar escape = argc > 2 && !IsNull(a[2]) && !Text(a[2]).isEmpty() ? Text(a[2]).at(0) : QChar();
    static thread_local QHash<QString, QRegularExpression> cache;
    const QString key = pattern + QChar(0) + escape;
    auto it = cache.find(key);
    if (it == cache.end()) {
        const QString re = u'^' + SqlFunctions::LikeRegex(pattern, escape, false) + u'$';
        it = cache.insert(key, QRegularExpression(re, QRegularExpression::CaseInsensitiveOption |
                                                          QRegularExpression::DotMatchesEverythingOption));
    }
    sqlite3_result_int(ctx, it->match(value).hasMatch() ? 1 : 0);
}

// tsql_object_id(name, schema, uid, currentdb, masterSchema)
void ObjectId(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]))
        return sqlite3_result_null(ctx);
    const QStringList parts = SqlParser::SplitName(Text(a[0]));
    if (parts.isEmpty() || parts.size() > 3 || parts.last().isEmpty())
        return sqlite3_result_null(ctx);
    QString schema = Text(a[1]);
    if (parts.size() == 3 && !parts[0].isEmpty() && parts[0].compare(Text(a[3]), Qt::CaseInsensitive) != 0) {
        if (parts[0].compare(QLatin1String("master"), Qt::CaseInsensitive) != 0)
            return sqlite3_result_null(ctx);
        schema = Text(a[4]);
    }
    const QString owner = parts.size() >= 2 ? parts[parts.size() - 2] : QString();
    try {
        SqliteDb& db = Connection(ctx);
        const int uid = int(sqlite3_value_int64(a[2]));
        auto lookup = [&](const QString& sql, const QVariantList& params) -> QVariant {
            return db.Scalar(sql, params);
        };
        const QString base = QStringLiteral("SELECT o.id FROM \"%1\".sysobjects o ").arg(schema);
        QVariant id;
        if (!owner.isEmpty()) {
            const int ownerId = Catalogue::SchemaId(db, schema, owner);
            if (ownerId >= 0)
                id = lookup(base + QStringLiteral("WHERE o.name = ? AND o.uid = ?"), {parts.last(), ownerId});
        } else {
            id = lookup(base + QStringLiteral("WHERE o.name = ? AND o.uid = ?"), {parts.last(), uid});
            if (!id.isValid())
                id = lookup(
                    base + QStringLiteral("WHERE o.name = ? AND (o.uid = 1 OR o.xtype = 'S') ORDER BY o.uid"),
                    {parts.last()});
        }
        if (!id.isValid())
            return sqlite3_result_null(ctx);
        sqlite3_result_int64(ctx, id.toLongLong());
    } catch (const SqliteError& e) {
        const QByteArray m = e.message.toUtf8();
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
    }
}

QVariant LookupOne(SqliteDb& db, const QString& sql, const QVariant& param) {
    return db.Scalar(sql, {param});
}

void ResultVariant(sqlite3_context* ctx, const QVariant& v) {
    if (!v.isValid() || v.isNull())
        sqlite3_result_null(ctx);
    else if (v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Int)
        sqlite3_result_int64(ctx, v.toLongLong());
    else
        ResultText(ctx, v.toString());
}

// The property argument in lower case, made once per statement where it is a constant.
const QString& PropertyOf(sqlite3_context* ctx, sqlite3_value* arg, QString& scratch) {
    if (auto* kept = static_cast<QString*>(sqlite3_get_auxdata(ctx, 1)))
        return *kept;
    scratch = Text(arg).toLower();
    sqlite3_set_auxdata(ctx, 1, new QString(scratch), [](void* p) { delete static_cast<QString*>(p); });
    return scratch;
}

// tsql_objectproperty(id, property, schema): the argument is evaluated where it stands, so a
// correlated column such as so.id can't be captured by a subquery's own tables.
void ObjectPropertyFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]))
        return sqlite3_result_null(ctx);
    QString propScratch;
    const QString& prop = PropertyOf(ctx, a[1], propScratch);
    try {
        SqliteDb& db = Connection(ctx);
        Catalogue::ObjectType scratch;
        const Catalogue::ObjectType* type =
            Catalogue::StatementObjectType(ctx, db, a[2], sqlite3_value_int64(a[0]), scratch);
        if (!type)
            return sqlite3_result_null(ctx);
        const QString& x = type->xtype;
        const int uid = type->uid;
        auto flag = [&](bool b) { sqlite3_result_int(ctx, b ? 1 : 0); };
        static const QStringList modules{QStringLiteral("P"),  QStringLiteral("TR"), QStringLiteral("V"),
                                         QStringLiteral("FN"), QStringLiteral("IF"), QStringLiteral("TF")};
        const bool module = modules.contains(x);
        if (prop == QLatin1String("isprocedure"))
            return flag(x == QLatin1String("P"));
        if (prop == QLatin1String("istrigger"))
            return flag(x == QLatin1String("TR"));
        if (prop == QLatin1String("isview"))
            return flag(x == QLatin1String("V"));
        if (prop == QLatin1String("isusertable"))
            return flag(x == QLatin1String("U"));
        if (prop == QLatin1String("istable"))
            return flag(x == QLatin1String("U") || x == QLatin1String("S"));
        if (prop == QLatin1String("issystemtable") || prop == QLatin1String("ismsshipped"))
            return flag(x == QLatin1String("S"));
        if (prop == QLatin1String("isscalarfunction"))
            return flag(x == QLatin1String("FN"));
        if (prop == QLatin1String("istablefunction"))
            return flag(x == QLatin1String("IF") || x == QLatin1String("TF"));
        if (prop == QLatin1String("isinlinefunction"))
            return flag(x == QLatin1String("IF"));
        if (prop == QLatin1String("isprimarykey"))
            return flag(x == QLatin1String("PK"));
        if (prop == QLatin1String("ownerid") || prop == QLatin1String("schemaid"))
            return sqlite3_result_int(ctx, uid);
        if (prop == QLatin1String("isencrypted") || prop == QLatin1String("isschemabound"))
            return flag(false);
        if (prop == QLatin1String("execisquotedidenton") || prop == QLatin1String("execisansinullson") ||
            prop == QLatin1String("isquotedidenton") || prop == QLatin1String("isansinullson"))
            return module ? flag(true) : sqlite3_result_null(ctx);
        if (prop == QLatin1String("execisinserttrigger") || prop == QLatin1String("execisupdatetrigger") ||
            prop == QLatin1String("execisdeletetrigger")) {
            if (x != QLatin1String("TR"))
                return sqlite3_result_null(ctx);
            const QString column = prop.mid(6, prop.size() - 6 - 7);
            const QVariant v =
                LookupOne(db,
                          QStringLiteral("SELECT is%1 FROM \"%2\".engine_triggers WHERE id = ?")
                              .arg(column, Text(a[2])),
                          qlonglong(sqlite3_value_int64(a[0])));
            return ResultVariant(ctx, v);
        }
        sqlite3_result_null(ctx);
    } catch (const SqliteError& e) {
        const QByteArray m = e.message.toUtf8();
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
    }
}

// tsql_lookup(kind, schema, value): OBJECT_NAME, USER_NAME, USER_ID, DB_NAME, DB_ID of a value.
void LookupFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (IsNull(a[2]))
        return sqlite3_result_null(ctx);
    const QString kind = Text(a[0]);
    const QString schema = Text(a[1]);
    QString sql;
    if (kind == QLatin1String("object_name"))
        sql = QStringLiteral("SELECT name FROM \"%1\".sysobjects WHERE id = ?");
    else if (kind == QLatin1String("user_name"))
        sql = QStringLiteral("SELECT name FROM \"%1\".sysusers WHERE uid = ?");
    else if (kind == QLatin1String("user_id"))
        sql = QStringLiteral("SELECT uid FROM \"%1\".sysusers WHERE name = ?");
    else if (kind == QLatin1String("db_name"))
        sql = QStringLiteral("SELECT name FROM \"%1\".sysdatabases WHERE dbid = ?");
    else
        sql = QStringLiteral("SELECT dbid FROM \"%1\".sysdatabases WHERE name = ?");
    try {
        QVariant param;
        switch (sqlite3_value_type(a[2])) {
        case SQLITE_INTEGER:
        case SQLITE_FLOAT:
            param = qlonglong(sqlite3_value_int64(a[2]));
            break;
        default:
            param = Text(a[2]);
        }
        ResultVariant(ctx, LookupOne(Connection(ctx), sql.arg(schema), param));
    } catch (const SqliteError& e) {
        const QByteArray m = e.message.toUtf8();
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
    }
}

struct Entry {
    const char* name;
    int args;
    void (*fn)(sqlite3_context*, int, sqlite3_value**);
    bool deterministic;
};

} // namespace

void SqlFunctions::Register(SqliteDb& db) {
    // Deterministic means within one statement: SQLite then works out a call whose arguments are
    // constant once per run of the statement instead of once per row. The catalogue look-ups are
    // that too, since no statement changes the catalogue while it runs; a later statement of the
    // same batch sees the objects the earlier ones created.
    const Entry entries[] = {
        {"tsql_add", -1, Add, true},
        {"tsql_datesub", 2, DateSubtract, true},
        {"tsql_pack", -1, Pack, true},
        {"tsql_bitxor", -1, BitXor, true},
        {"tsql_len", 1, Len, true},
        {"tsql_datalength", 1, DataLength, true},
        {"tsql_upper", 1, Upper, true},
        {"tsql_lower", 1, Lower, true},
        {"tsql_substring", 3, Substring, true},
        {"tsql_left", 2, Left, true},
        {"tsql_right", 2, Right, true},
        {"tsql_charindex", 2, CharIndex, true},
        {"tsql_charindex", 3, CharIndex, true},
        {"tsql_replace", 3, Replace, true},
        {"tsql_replicate", 2, Replicate, true},
        {"tsql_space", 1, Space, true},
        {"tsql_reverse", 1, Reverse, true},
        {"tsql_getdate", 0, GetDate, false},
        {"tsql_getutcdate", 0, GetUtcDate, false},
        {"tsql_newid", 0, NewId, false},
        {"tsql_isnumeric", 1, IsNumeric, true},
        {"tsql_floor", 1, Floor, true},
        {"tsql_ceiling", 1, Ceiling, true},
        {"tsql_power", 2, Power, true},
        {"tsql_convert", 4, Convert, true},
        {"tsql_convert", 5, Convert, true},
        {"tsql_convert", 6, Convert, true},
        {"tsql_convert", 7, Convert, true},
        {"tsql_like", 2, Like, true},
        {"tsql_like", 3, Like, true},
        {"tsql_object_id", 5, ObjectId, true},
        {"tsql_objectproperty", 3, ObjectPropertyFn, true},
        {"tsql_lookup", 3, LookupFn, true},
    };
    for (const Entry& e : entries)
        sqlite3_create_function_v2(db.Handle(), e.name, e.args,
                                   SQLITE_UTF8 | (e.deterministic ? SQLITE_DETERMINISTIC : 0), &db, e.fn,
                                   nullptr, nullptr, nullptr);
    RegisterText(db);
    RegisterDates(db);
    RegisterFormat(db);
    RegisterMisc(db);
    RegisterJson(db);
    RegisterXml(db);
    RegisterDecimal(db);
    RegisterInteger(db);
}

QString SqlFunctions::LikeRegex(const QString& pattern, QChar escape, bool shortest) {
    QString re;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern[i];
        if (!escape.isNull() && c == escape && i + 1 < pattern.size()) {
            re += QRegularExpression::escape(QString(pattern[++i]));
        } else if (c == u'%') {
            re += shortest ? QStringLiteral(".*?") : QStringLiteral(".*");
        } else if (c == u'_') {
            re += u'.';
        } else if (c == u'[') {
            const qsizetype close = pattern.indexOf(u']', i + 1);
            if (close < 0) {
                re += QStringLiteral("\\[");
                continue;
            }
            const QString set = pattern.mid(i + 1, close - i - 1);
            QString cls = QStringLiteral("[");
            qsizetype k = 0;
            if (set.startsWith(u'^')) {
                cls += u'^';
                k = 1;
            }
            for (; k < set.size(); ++k) {
                const QChar sc = set[k];
                if (sc == u'-' && k > 0 && k + 1 < set.size())
                    cls += u'-';
                else if (sc == u'\\' || sc == u']' || sc == u'[' || sc == u'^' || sc == u'-')
                    cls += u'\\' + QString(sc);
                else
                    cls += sc;
            }
            re += cls + u']';
            i = close;
        } else {
            re += QRegularExpression::escape(QString(c));
        }
    }
    return re;
}
