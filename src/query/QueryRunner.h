#pragma once

#include "SqlResults.h"

#include <QList>
#include <QString>
#include <QStringList>

class DbConnection;

// One result set as the grid shows it: the header texts and the values, column by column. A value
// becomes text only when its cell is drawn, so a large result costs its values and no more.
struct ResultGridData {
    QStringList columns;
    QList<QVariantList> values; // values[column][row]
    qsizetype rowCount = 0;

    // The text of a cell, as the grid shows it; rows and columns from 0.
    QString Text(qsizetype row, qsizetype column) const;
};

// What a run of a query text gave back: the text of the Messages pane, the row sets with rows in the
// order the server sent them, and whether any batch failed.
struct QueryOutcome {
    QString messages;
    QList<ResultGridData> grids;
    bool runFailed = false;
};

// The logic of the result area, without widgets: the text is cut into batches at GO, each batch runs
// on its own, and what comes back is turned into grids and message lines. A failed batch doesn't stop
// the ones after it.
namespace QueryRunner {

// Fixed texts of the result area.
inline constexpr auto kNullText = "(null)";
inline constexpr auto kNoColumnName = "(No column name)";
inline constexpr auto kClassicDriverPrefix = "[Microsoft][ODBC SQL Server Driver][SQL Server]";
inline constexpr auto kCompletedText = "The command(s) completed successfully.";

// True when nothing is left of the batch once line ends, tabs and blanks are gone.
bool IsBlankBatch(const QString& batch);

// The error text without driver prefixes, and where the server named a line ("Line N: ..."), the
// line in the editor behind it: the line breaks of the earlier batches plus N. Our drivers count
// lines from the first line of the batch as sent, so N needs no correction.
QString TranslateBatchError(const QString& description, int batchNumber, const QStringList& batches);

// "(N row affected)" / "(N rows affected)", with the line ends around it.
QString RowsAffectedText(long long count);

// A value as the grid shows it.
QString CellText(const QVariant& value);

// The header and the values of a row set, which gives its rows up row by row as they are taken.
ResultGridData GridData(SqlRowSet rows);

// The answer of a syntax check as the Messages pane shows it.
QString ParseAnswerText(const QString& answer);

// Runs every non-blank batch of the text on the connection, which must be open.
QueryOutcome Execute(DbConnection& connection, const QString& strQuery);

// Appends a failure that isn't a batch's (the run connection could not be opened, say).
void AppendFailure(QueryOutcome& outcome, const QString& description);

} // namespace QueryRunner
