#pragma once

#include "SqlResults.h"

#include <QString>
#include <QStringList>

// Runs a script of SQL cases against a fresh embedded server and gives back what went wrong,
// one text per failed case (empty when all passed). The format is described in ScriptRunner.cpp.
QStringList RunSqlScript(const QString& path);

// How one value of a row set is written in a script: NULL, a date as yyyy-MM-dd HH:mm:ss, a text
// that has blanks at either end, a '|' or a line break in 'quotes' with \r, \n and \t written out.
QString RenderSqlValue(const QVariant& value);
// A value of a column: decimal and money show every decimal of the column's scale, as a client
// that reads the column's type does (10.50, money 12.5000).
QString RenderSqlValue(const QVariant& value, const SqlColumn& column);
