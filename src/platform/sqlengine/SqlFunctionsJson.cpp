// JSON and XML as the server's built-ins see them: ISJSON, JSON_VALUE, JSON_QUERY, JSON_MODIFY with
// the server's paths (lax and strict) and errors, the checks in front of SQLite's json_each for
// OPENJSON, and the aggregates that put the rows of FOR JSON and FOR XML into one text.
//
// SQLite's own JSON functions read paths and report errors their own way, and rewrite the text they
// return; the server returns fragments of the text as written and names the offending character.
// So the scalar functions read the text here, keeping each value's place in it.
#include "SqlFunctions.h"
#include "SqlValueAccess.h"

#include "SqlJson.h"
#include "SqliteDb.h"

#include <QString>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <vector>

namespace {

// SQLite marks a value that holds JSON with this subtype.
constexpr unsigned int kJsonSubtype = 74;

QString TextOf(sqlite3_value* v) {
    return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(v)), sqlite3_value_bytes(v));
}

using SqlValueAccess::ResultText;

void ResultError(sqlite3_context* ctx, long number, const QString& text) {
    const QByteArray b = QStringLiteral("TSQL%1:%2").arg(number).arg(text).toUtf8();
    sqlite3_result_error(ctx, b.constData(), int(b.size()));
}

bool AnyNull(int argc, sqlite3_value** a) {
    for (int i = 0; i < argc; ++i)
        if (sqlite3_value_type(a[i]) == SQLITE_NULL)
            return true;
    return false;
}

[[noreturn]] void Fail(long number, const QString& text) {
    throw Json::Error{number, text};
}

// Runs a function's body, turning its failure into the server's error.
template <typename Body> void Guarded(sqlite3_context* ctx, Body body) {
    try {
        body();
    } catch (const Json::Error& f) {
        ResultError(ctx, f.number, f.text);
    }
}

const QString kPropertyMissing = QStringLiteral("Property cannot be found on the specified JSON path.");

Json::Document Read(const QString& text) {
    Json::Document d(text);
    if (!d.Ok())
        Fail(13609, d.Error());
    return d;
}

Json::Path ReadPath(const QString& text, bool allowAppend = false) {
    Json::Path p = Json::Path::Parse(text, allowAppend);
    if (!p.ok)
        Fail(13607, p.error);
    return p;
}

void IsJson(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (sqlite3_value_type(a[0]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const Json::Document d(TextOf(a[0]));
    sqlite3_result_int(ctx, d.Ok() && d.At(0).IsContainer() ? 1 : 0);
}

void JsonValue(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    Guarded(ctx, [&] {
        if (AnyNull(argc, a)) {
            sqlite3_result_null(ctx);
            return;
        }
        const Json::Document d = Read(TextOf(a[0]));
        const Json::Path p = ReadPath(TextOf(a[1]));
        const int at = d.Find(p);
        if (at < 0) {
            if (p.strict)
                Fail(13608, kPropertyMissing);
            sqlite3_result_null(ctx);
            return;
        }
        const Json::Node& n = d.At(at);
        if (n.IsContainer()) {
            if (p.strict)
                Fail(13623, QStringLiteral("Scalar value cannot be found in the specified JSON path."));
            sqlite3_result_null(ctx);
            return;
        }
        if (n.kind == Json::Node::Kind::Null) {
            sqlite3_result_null(ctx);
            return;
        }
        const QString value = d.ScalarText(at);
        if (value.size() > 4000) {
            if (p.strict)
                Fail(13625, QStringLiteral("String value in the specified JSON path would be truncated."));
            sqlite3_result_null(ctx);
            return;
        }
        ResultText(ctx, value);
    });
}

void JsonQuery(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    Guarded(ctx, [&] {
        if (AnyNull(argc, a)) {
            sqlite3_result_null(ctx);
            return;
        }
        const Json::Document d = Read(TextOf(a[0]));
        const Json::Path p = ReadPath(argc > 1 ? TextOf(a[1]) : QStringLiteral("$"));
        const int at = d.Find(p);
        if (at < 0 || !d.At(at).IsContainer()) {
            if (p.strict)
                Fail(at < 0 ? 13608 : 13624,
                     at < 0 ? kPropertyMissing
                            : QStringLiteral("Object or array cannot be found in the specified JSON path."));
            sqlite3_result_null(ctx);
            return;
        }
        ResultText(ctx, d.Raw(at));
        sqlite3_result_subtype(ctx, kJsonSubtype);
    });
}

// JSON_MODIFY(json, path, value, isJson): the value is JSON text when the translator saw JSON_QUERY
// or FOR JSON there, or when SQLite marked it so.
void JsonModify(sqlite3_context* ctx, int, sqlite3_value** a) {
    Guarded(ctx, [&] {
        if (sqlite3_value_type(a[0]) == SQLITE_NULL || sqlite3_value_type(a[1]) == SQLITE_NULL) {
            sqlite3_result_null(ctx);
            return;
        }
        const Json::Document d = Read(TextOf(a[0]));
        const Json::Path p = ReadPath(TextOf(a[1]), true);
        std::optional<QString> value;
        if (sqlite3_value_type(a[2]) != SQLITE_NULL) {
            const bool isJson = sqlite3_value_int(a[3]) != 0 || sqlite3_value_subtype(a[2]) == kJsonSubtype;
            if (isJson) {
                const QString text = TextOf(a[2]);
                if (!Json::Document(text).Ok())
                    Fail(13609, Json::Document(text).Error());
                value = text;
            } else if (sqlite3_value_type(a[2]) == SQLITE_INTEGER ||
                       sqlite3_value_type(a[2]) == SQLITE_FLOAT) {
                value = Json::NumberText(sqlite3_value_type(a[2]) == SQLITE_INTEGER,
                                         sqlite3_value_int64(a[2]), sqlite3_value_double(a[2]));
            } else {
                value = Json::Quote(TextOf(a[2]));
            }
        }
        const std::optional<QString> result = d.Modify(p, value);
        if (!result)
            Fail(13608, kPropertyMissing);
        ResultText(ctx, *result);
    });
}

// OPENJSON's text, checked: json_each would only say "malformed JSON".
void JsonDocument(sqlite3_context* ctx, int, sqlite3_value** a) {
    Guarded(ctx, [&] {
        if (sqlite3_value_type(a[0]) == SQLITE_NULL) {
            sqlite3_result_null(ctx);
            return;
        }
        Read(TextOf(a[0]));
        sqlite3_result_value(ctx, a[0]);
    });
}

// OPENJSON's path in SQLite's spelling, or NULL where it finds nothing to open (lax).
void JsonEachPath(sqlite3_context* ctx, int, sqlite3_value** a) {
    Guarded(ctx, [&] {
        if (sqlite3_value_type(a[0]) == SQLITE_NULL || sqlite3_value_type(a[1]) == SQLITE_NULL) {
            sqlite3_result_null(ctx);
            return;
        }
        const Json::Document d = Read(TextOf(a[0]));
        const Json::Path p = ReadPath(TextOf(a[1]));
        const int at = d.Find(p);
        if (at < 0 || !d.At(at).IsContainer()) {
            if (p.strict)
                Fail(at < 0 ? 13608 : 13611,
                     at < 0 ? kPropertyMissing
                            : QStringLiteral("Value referenced by JSON path is not an array or object and "
                                             "cannot be opened with OPENJSON."));
            sqlite3_result_null(ctx);
            return;
        }
        const QString sqlitePath = p.SqlitePath();
        if (sqlitePath.isEmpty())
            sqlite3_result_null(ctx);
        else
            ResultText(ctx, sqlitePath);
    });
}

// STRING_SPLIT(text, separator) as a JSON array of its pieces, which json_each opens: unlike a
// subquery, json_each takes the columns of the tables before it in a join (APPLY).
void SplitJson(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (sqlite3_value_type(a[0]) == SQLITE_NULL) {
        ResultText(ctx, QStringLiteral("[]"));
        return;
    }
    const QString separator = sqlite3_value_type(a[1]) == SQLITE_NULL ? QString() : TextOf(a[1]);
    const QStringList pieces =
        separator.isEmpty() ? QStringList{TextOf(a[0])} : TextOf(a[0]).split(separator);
    QStringList quoted;
    quoted.reserve(pieces.size());
    for (const QString& piece : pieces)
        quoted.append(Json::Quote(piece));
    ResultText(ctx, u'[' + quoted.join(u',') + u']');
}

// The text of an xml value as its value('.', ...) reads it: the text between the tags, with the
// entities turned back into characters.
void XmlText(sqlite3_context* ctx, int, sqlite3_value** a) {
    if (sqlite3_value_type(a[0]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    ResultText(ctx, Json::XmlText(TextOf(a[0])));
}

// The aggregates keep their rows' texts in an object that the aggregate context points to.
template <typename State> State* StateOf(sqlite3_context* ctx, bool create) {
    auto** slot = static_cast<State**>(sqlite3_aggregate_context(ctx, create ? int(sizeof(State*)) : 0));
    if (!slot)
        return nullptr;
    if (!*slot && create)
        *slot = new State;
    return *slot;
}

template <typename State> void Step(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    State* state = StateOf<State>(ctx, true);
    if (!state) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    Guarded(ctx, [&] {
        if (!state->builder)
            state->builder = std::make_unique<Json::RowsBuilder>(TextOf(a[0]), argc - 1, a + 1);
        QList<Json::Cell> cells;
        const int n = (argc - 1) / 2;
        cells.reserve(n);
        for (int i = 0; i < n; ++i) {
            sqlite3_value* v = a[1 + n + i];
            Json::Cell c;
            c.type = sqlite3_value_type(v);
            if (c.type == SQLITE_INTEGER)
                c.integer = sqlite3_value_int64(v);
            else if (c.type == SQLITE_FLOAT)
                c.real = sqlite3_value_double(v);
            else if (c.type == SQLITE_BLOB)
                c.text = QString::fromLatin1(
                    QByteArray(static_cast<const char*>(sqlite3_value_blob(v)), sqlite3_value_bytes(v))
                        .toBase64());
            else if (c.type == SQLITE_TEXT)
                c.text = TextOf(v);
            cells.append(c);
        }
        state->builder->AddRow(cells);
    });
}

struct AggregateState {
    std::unique_ptr<Json::RowsBuilder> builder;
};

void Final(sqlite3_context* ctx) {
    std::unique_ptr<AggregateState> state(StateOf<AggregateState>(ctx, false));
    if (!state || !state->builder) {
        sqlite3_result_null(ctx);
        return;
    }
    Guarded(ctx, [&] {
        ResultText(ctx, state->builder->Finish());
        if (state->builder->IsJson())
            sqlite3_result_subtype(ctx, kJsonSubtype);
    });
}

} // namespace

void SqlFunctions::RegisterJson(SqliteDb& db) {
    struct Entry {
        const char* name;
        int args;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
    };
    const Entry entries[] = {
        {"tsql_isjson", 1, IsJson},
        {"tsql_json_value", 2, JsonValue},
        {"tsql_json_query", 1, JsonQuery},
        {"tsql_json_query", 2, JsonQuery},
        {"tsql_json_modify", 4, JsonModify},
        {"tsql_json_document", 1, JsonDocument},
        {"tsql_json_each_path", 2, JsonEachPath},
        {"tsql_split_json", 2, SplitJson},
        {"tsql_xml_text", 1, XmlText},
    };
    for (const Entry& e : entries)
        sqlite3_create_function_v2(db.Handle(), e.name, e.args,
                                   SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_SUBTYPE, nullptr, e.fn,
                                   nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_for_rows", -1, SQLITE_UTF8, nullptr, nullptr,
                               Step<AggregateState>, Final, nullptr);
}
