#pragma once

#include "SessionState.h"

// A cursor, named or held by variables (or both); it goes when the last of them lets it go.
struct SessionState::CursorState {
    enum class Type { Static, Keyset, Dynamic };
    enum class Place { Before, On, After };

    QString name; // empty for one made by SET @c = CURSOR
    bool global = false;
    SqlSelectP select;
    Type declared = Type::Dynamic; // as asked for
    Type type = Type::Dynamic;     // as it runs: a query that can't keep keys runs STATIC
    bool scroll = false;
    bool readOnly = false;
    bool open = false;

    // STATIC: the rows read at OPEN.
    SqlRowSet rows;
    // KEYSET: the rowids read at OPEN.
    QList<qlonglong> keys;
    // KEYSET and DYNAMIC: the query with its hidden columns (the ORDER BY values, then the rowid)
    // last, and the values the query was opened with; ?N past them are the keys.
    QString sql;
    QVariantList params;
    QList<bool> descending; // of each hidden column
    int hidden = 0;         // hidden columns, the rowid included
    QList<SqlColumn> columns;

    // STATIC and KEYSET: the row's index; -1 before the first row, the row count past the last.
    qlonglong position = -1;
    // DYNAMIC: where it stands, and the hidden values of the row it is on (kept when the row goes).
    Place place = Place::Before;
    QVariantList at;
    // The rowid of the row it is on, for WHERE CURRENT OF; invalid when it is on none.
    QVariant rowid;

    void Close() {
        open = false;
        type = declared;
        rows = SqlRowSet();
        keys.clear();
        sql.clear();
        params.clear();
        descending.clear();
        hidden = 0;
        columns.clear();
        position = -1;
        place = Place::Before;
        at.clear();
        rowid = QVariant();
    }

    qlonglong RowCount() const { return type == Type::Keyset ? keys.size() : rows.rows.size(); }
};
