#pragma once

#include "SqliteDb.h"

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

// The SQLite text of a value stored into column c: sql converted to the column's type.
QString Stored(const TableColumn& c, const QString& sql);

} // namespace dml
