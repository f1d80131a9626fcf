// Functions SQLite lacks or does differently: a value's text as the server prints it, CONCAT_WS,
// TRANSLATE, and division and remainder that fail on a zero divisor (8134) instead of giving NULL.
#include "SqlFunctions.h"
#include "SqlValueAccess.h"

#include "SqliteDb.h"

#include <QString>
#include <climits>
#include <cmath>
#include <sqlite3.h>

namespace {

QString TextOf(sqlite3_value* v) {
    return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(v)), sqlite3_value_bytes(v));
}

using SqlValueAccess::ResultText;

// A value in a string context: fractions without SQLite's trailing ".0".
void Text(sqlite3_context* ctx, int, sqlite3_value** argv) {
    switch (sqlite3_value_type(argv[0])) {
    case SQLITE_NULL:
        sqlite3_result_null(ctx);
        return;
    case SQLITE_FLOAT:
        ResultText(ctx, QString::number(sqlite3_value_double(argv[0]), 'g', 15));
        return;
    default:
        sqlite3_result_value(ctx, argv[0]);
    }
}

// The non-NULL arguments after the first, joined by it.
void ConcatWs(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    const QString separator = sqlite3_value_type(argv[0]) == SQLITE_NULL ? QString() : TextOf(argv[0]);
    QStringList parts;
    for (int i = 1; i < argc; ++i)
        if (sqlite3_value_type(argv[i]) != SQLITE_NULL)
            parts.append(TextOf(argv[i]));
    ResultText(ctx, parts.join(separator));
}

void Translate(sqlite3_context* ctx, int, sqlite3_value** argv) {
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL ||
        sqlite3_value_type(argv[2]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString from = TextOf(argv[1]);
    const QString to = TextOf(argv[2]);
    if (from.size() != to.size()) {
        const QByteArray m =
            QByteArrayLiteral("TSQL9828:The second and third arguments of the TRANSLATE built-in "
                              "function must contain an equal number of characters.");
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
        return;
    }
    QString text = TextOf(argv[0]);
    for (QChar& c : text) {
        const qsizetype at = from.indexOf(c);
        if (at >= 0)
            c = to[at];
    }
    ResultText(ctx, text);
}

// a / b and a % b as SQLite works them out, but a zero divisor is the server's error.
void DivideOrRemainder(sqlite3_context* ctx, sqlite3_value** argv, bool remainder) {
    const int ta = sqlite3_value_numeric_type(argv[0]);
    const int tb = sqlite3_value_numeric_type(argv[1]);
    if (ta == SQLITE_NULL || tb == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    if (sqlite3_value_double(argv[1]) == 0.0) {
        const QByteArray m = QByteArrayLiteral("TSQL8134:Divide by zero error encountered.");
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
        return;
    }
    if (ta == SQLITE_INTEGER && tb == SQLITE_INTEGER) {
        const sqlite3_int64 a = sqlite3_value_int64(argv[0]);
        const sqlite3_int64 b = sqlite3_value_int64(argv[1]);
        if (a == LLONG_MIN && b == -1) {
            if (remainder)
                sqlite3_result_int64(ctx, 0);
            else
                sqlite3_result_double(ctx, -double(a));
            return;
        }
        sqlite3_result_int64(ctx, remainder ? a % b : a / b);
        return;
    }
    const double a = sqlite3_value_double(argv[0]);
    const double b = sqlite3_value_double(argv[1]);
    sqlite3_result_double(ctx, remainder ? std::fmod(a, b) : a / b);
}

void Divide(sqlite3_context* ctx, int, sqlite3_value** argv) {
    DivideOrRemainder(ctx, argv, false);
}

void Remainder(sqlite3_context* ctx, int, sqlite3_value** argv) {
    DivideOrRemainder(ctx, argv, true);
}

} // namespace

void SqlFunctions::RegisterText(SqliteDb& db) {
    sqlite3_create_function_v2(db.Handle(), "tsql_divide", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                               Divide, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_remainder", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                               Remainder, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_text", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, Text,
                               nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_concat_ws", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                               ConcatWs, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_translate", 3, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                               Translate, nullptr, nullptr, nullptr);
}
