#pragma once

#include <QString>
#include <QVariant>

#include <functional>

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
// A LIKE pattern (% _ [set] [^set], with an escape character or none) as the body of a regular
// expression; shortest: % takes as little as it can, as PATINDEX's first match needs.
QString LikeRegex(const QString& pattern, QChar escape, bool shortest);
// tsql_text, tsql_concat_ws, tsql_translate (SqlFunctionsText.cpp); Register calls it.
void RegisterText(SqliteDb& db);
// The date and time functions (SqlFunctionsDate.cpp), FORMAT (SqlFunctionsFormat.cpp) and the
// later string, hash and checksum functions (SqlFunctionsMisc.cpp); Register calls them.
void RegisterDates(SqliteDb& db);
void RegisterFormat(SqliteDb& db);
void RegisterMisc(SqliteDb& db);
// CONVERT to a date type, of a date to text in a style, and between binary and hexadecimal text in
// styles 1 and 2: sets the result and gives true when the conversion is one of those, else false
// and leaves ctx alone (SqlFunctionsDate.cpp; the binary ones in SqlFunctionsMisc.cpp).
// fractionScale: the decimals of a second that time, datetime2 and datetimeoffset keep.
bool ConvertStyled(sqlite3_context* ctx, const QString& type, qint64 length, int style, sqlite3_value* v,
                   int fractionScale = 7);
bool ConvertBinaryStyle(sqlite3_context* ctx, const QString& type, int style, sqlite3_value* v);
// A failure as the server reports it: the executor reads "TSQL<number>[.<state>]:<text>". Inside
// TRY_CONVERT and TRY_CAST a failed conversion gives NULL instead, except 529.
void ResultError(sqlite3_context* ctx, long number, const QString& text, int state = 1);
// A RAISERROR or FORMATMESSAGE text with its %d, %s, ... filled from next() in turn
// (SessionControl.cpp).
QString FormatMessageText(const QString& format, const std::function<QVariant()>& next);
// Marks the conversions of this thread as TRY_ ones while it lives.
class TryScope {
public:
    explicit TryScope(bool active);
    ~TryScope();
    TryScope(const TryScope&) = delete;
    TryScope& operator=(const TryScope&) = delete;

private:
    bool mPrevious;
};
// tsql_isjson, tsql_json_*, tsql_for_rows and the xml helpers (SqlFunctionsJson.cpp); Register calls it.
void RegisterJson(SqliteDb& db);
// tsql_xml_value, _query, _exist, _nodes, _document: the xml methods (SqlFunctionsXml.cpp); Register
// calls it.
void RegisterXml(SqliteDb& db);
// tsql_fail (SqlFunctionsDecimal.cpp); Register calls it.
void RegisterDecimal(SqliteDb& db);
// tsql_convert to decimal, numeric, money or smallmoney (SqlFunctionsDecimal.cpp).
void ConvertDecimal(sqlite3_context* ctx, const QString& type, long long precision, long long scale,
                    sqlite3_value* v);
// tsql_convert of a decimal column's value to text: every decimal of its scale (source), or money's
// style; false and ctx left alone when the value is no number.
bool DecimalText(sqlite3_context* ctx, const QString& type, long long length, int style, long long source,
                 sqlite3_value* v);
// tsql_int and tsql_intneg, the integer arithmetic with the server's limits (SqlFunctionsInteger.cpp);
// Register calls it.
void RegisterInteger(SqliteDb& db);
// tsql_convert to tinyint, smallint, int or bigint with the server's overflow errors: false and ctx
// left alone when type is none of them.
bool ConvertInteger(sqlite3_context* ctx, const QString& type, sqlite3_value* v);
} // namespace SqlFunctions
