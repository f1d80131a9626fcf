// CAST and CONVERT to decimal, numeric and money inside SQLite: the value rounded exactly to the
// target's scale, the server's errors when it doesn't fit or isn't a number. SQLite goes on with a
// double; the executor gives results the declared scale again.
#include "ServerError.h"
#include "SqlDecimal.h"
#include "SqlFunctions.h"
#include "SqliteDb.h"

#include <QString>
#include <sqlite3.h>

namespace {

// Through the shared reporter, so that TRY_CONVERT and TRY_CAST give NULL instead.
void Fail(sqlite3_context* ctx, long number, const QString& text) {
    SqlFunctions::ResultError(ctx, number, text);
}

// tsql_fail(number, text): the error an exact computation found, raised where SQLite evaluates it.
void FailWith(sqlite3_context* ctx, int, sqlite3_value** argv) {
    Fail(ctx, long(sqlite3_value_int64(argv[0])),
         QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(argv[1])),
                           sqlite3_value_bytes(argv[1])));
}

} // namespace

void SqlFunctions::RegisterDecimal(SqliteDb& db) {
    sqlite3_create_function_v2(db.Handle(), "tsql_fail", 2, SQLITE_UTF8, nullptr, FailWith, nullptr, nullptr,
                               nullptr);
}

bool SqlFunctions::DecimalText(sqlite3_context* ctx, const QString& type, long long length, int style,
                               long long source, sqlite3_value* v) {
    const int vt = sqlite3_value_type(v);
    if (source < 0 || (vt != SQLITE_INTEGER && vt != SQLITE_FLOAT))
        return false;
    const std::optional<SqlDecimal> d = vt == SQLITE_INTEGER
                                            ? SqlDecimal::FromInteger(sqlite3_value_int64(v))
                                            : SqlDecimal::FromDouble(sqlite3_value_double(v));
    if (!d)
        return false;
    QString text;
    try {
        if (source >= 100)
            text = d->ToMoney(source == 101 ? SqlDecimal::Kind::SmallMoney : SqlDecimal::Kind::Money)
                       .MoneyText(style);
        else
            text =
                d->To(SqlDecimal::kMaxPrecision, int(std::min<long long>(source, SqlDecimal::kMaxPrecision)))
                    .ToString();
    } catch (const ServerError&) {
        return false; // wider than any decimal: as SQLite has it
    }
    const long long max = length == -1 ? 30 : length;
    if (max >= 0 && text.size() > max) {
        Fail(ctx, 8115,
             QStringLiteral("Arithmetic overflow error converting %1 to data type varchar.")
                 .arg(source == 101   ? QStringLiteral("smallmoney")
                      : source >= 100 ? QStringLiteral("money")
                                      : QStringLiteral("numeric")));
        return true;
    }
    if ((type == QLatin1String("char") || type == QLatin1String("nchar")) && max > text.size())
        text = text.leftJustified(int(max), u' ');
    const QByteArray utf8 = text.toUtf8();
    sqlite3_result_text(ctx, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    return true;
}

void SqlFunctions::ConvertDecimal(sqlite3_context* ctx, const QString& type, long long precision,
                                  long long scale, sqlite3_value* v) {
    const bool money = type == QLatin1String("money") || type == QLatin1String("smallmoney");
    std::optional<SqlDecimal> d;
    try {
        switch (sqlite3_value_type(v)) {
        case SQLITE_NULL:
            sqlite3_result_null(ctx);
            return;
        case SQLITE_INTEGER:
            d = SqlDecimal::FromInteger(sqlite3_value_int64(v), 19);
            break;
        case SQLITE_FLOAT:
            d = SqlDecimal::FromDouble(sqlite3_value_double(v));
            break;
        default:
            d = SqlDecimal::ParseLoose(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(v)),
                                                         sqlite3_value_bytes(v)),
                                       money);
        }
        if (!d)
            return Fail(ctx, 8114,
                        QStringLiteral("Error converting data type varchar to %1.")
                            .arg(money ? type : QStringLiteral("numeric")));
        SqlDecimal r;
        if (money)
            r = d->ToMoney(
                type == QLatin1String("money") ? SqlDecimal::Kind::Money : SqlDecimal::Kind::SmallMoney,
                sqlite3_value_type(v) == SQLITE_INTEGER ? QStringLiteral("int") : QStringLiteral("numeric"));
        else
            r = d->To(precision > 0 && precision <= SqlDecimal::kMaxPrecision ? int(precision) : 18,
                      scale >= 0 && scale <= SqlDecimal::kMaxPrecision ? int(scale) : 0,
                      sqlite3_value_type(v) == SQLITE_INTEGER ? QStringLiteral("int")
                                                              : QStringLiteral("numeric"));
        sqlite3_result_double(ctx, r.ToDouble());
    } catch (const ServerError& e) {
        Fail(ctx, e.number, e.text);
    }
}
