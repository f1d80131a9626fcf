#pragma once

#include <QByteArray>
#include <QString>
#include <sqlite3.h>

// What every built-in function does with SQLite's values: read one as text, tell NULL, answer text.
namespace SqlValueAccess {

inline QString Text(sqlite3_value* v) {
    return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(v)), sqlite3_value_bytes(v));
}

inline bool IsNull(sqlite3_value* v) {
    return sqlite3_value_type(v) == SQLITE_NULL;
}

inline void ResultText(sqlite3_context* ctx, const QString& s) {
    const QByteArray b = s.toUtf8();
    sqlite3_result_text(ctx, b.constData(), int(b.size()), SQLITE_TRANSIENT);
}

} // namespace SqlValueAccess
