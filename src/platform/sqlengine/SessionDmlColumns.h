#pragma once

#include "ServerError.h"
#include "SqliteDb.h"

#include <QHash>
#include <QList>
#include <QString>

// What the data changes of a session (SessionDml.cpp, SessionMerge.cpp) know of a table's columns.
namespace dml {

struct TableColumn {
    QString name;
    bool identity = false;
    QString type; // the system type's name
    int scale = 0;
    int precision = 0;
};

// The columns of table id, in order.
QList<TableColumn> Columns(SqliteDb& db, int id);

// The columns' types by lower case name, for the translator's typing of their arithmetic.
QHash<QString, QString> ColumnTypes(const QList<TableColumn>& columns);

// The SQLite text of a value stored into column c: sql converted to the column's type.
QString Stored(const TableColumn& c, const QString& sql);

// The SQLite text of a query whose rows go into columns: its decimal and money values rounded to
// their column's scale and checked against its precision, as Stored does for one value.
QString StoredRows(const QList<TableColumn>& columns, const QString& select);

// The SQLite text of the DEFAULT of a column of table id: NULL when it has none.
QString ColumnDefault(SqliteDb& db, int tableId, const QString& column);

// 109 / 110: a row of VALUES with more or fewer values than the INSERT names columns.
ServerError ValuesMismatch(qsizetype values, qsizetype columns);

} // namespace dml
