#pragma once

#include <QString>

class SqliteDb;
struct sqlite3_context;
struct sqlite3_value;

// The server's built-in functions that SQLite lacks or does differently, registered on a
// connection under tsql_ names. A function that fails as the server would sets an error text of
// the form "TSQL<number>:<text>", which the executor turns into that message. The catalogue's
// look-ups run on db's statement cache, so db must outlive its connection's functions (it does:
// closing db closes the connection).
namespace SqlFunctions {
void Register(SqliteDb& db);
// tsql_text, tsql_concat_ws, tsql_translate (SqlFunctionsText.cpp); Register calls it.
void RegisterText(SqliteDb& db);
// tsql_fail (SqlFunctionsDecimal.cpp); Register calls it.
void RegisterDecimal(SqliteDb& db);
// tsql_convert to decimal, numeric, money or smallmoney (SqlFunctionsDecimal.cpp).
void ConvertDecimal(sqlite3_context* ctx, const QString& type, long long precision, long long scale,
                    sqlite3_value* v);
} // namespace SqlFunctions
