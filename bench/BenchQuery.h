#pragma once

#include <QString>

// Runs SELECT * over a table of `rows` rows (int, nvarchar, datetime, money) through the query
// window's result area, offscreen, and prints its time and the memory its grid keeps, then the same
// rows read by the SQLite library alone (the floor) and by tarmo-sql. The table is built once in
// the cache folder and kept while the row count matches.
int RunQueryBenchmark(const QString& cacheFolder, int rows);
