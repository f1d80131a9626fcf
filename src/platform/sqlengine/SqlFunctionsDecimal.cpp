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
