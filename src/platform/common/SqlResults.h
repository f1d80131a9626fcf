#pragma once

#include <QList>
#include <QString>
#include <QVariant>

// What one batch sent to a SQL Server gives back, in order: row sets, row counts, and messages
// (PRINT and other information, and errors). The embedded engine produces these and the drivers
// hand them on, so the query window and the command line see one shape whatever the server.
//
// Values: NULL is an invalid QVariant; integers are qlonglong; float and real are double; decimal,
// numeric, money and smallmoney are QString, their exact digits with every decimal of the column's
// scale ("12.5000", "3.10": a double can't carry 38 digits); character types are QString; datetime
// and smalldatetime are QDateTime in UTC (the server's zone-less wall-clock time, as it was
// stored); date, time, datetime2 and datetimeoffset are QString in the server's text
// ("2020-01-02", "10:00:00.1234567"); binary types QByteArray; bit is qlonglong 0/1.
struct SqlColumn {
    QString name;
    int typeId = 231; // the server's system type id (56 int, 231 nvarchar, 61 datetime, ...)
    int length = 0;   // bytes, as the catalogue gives them (nvarchar(50) is 100)
    int precision = 0;
    int scale = 0;
    bool nullable = true;
};

struct SqlRowSet {
    QList<SqlColumn> columns;
    QList<QVariantList> rows;

    int ColumnIndex(const QString& name) const {
        for (int i = 0; i < columns.size(); ++i)
            if (columns[i].name.compare(name, Qt::CaseInsensitive) == 0)
                return i;
        return -1;
    }
};

struct SqlMessage {
    long number = 0;  // 0 for PRINT
    int severity = 0; // above 10 is an error
    int state = 1;
    int line = 0; // line within the batch, from 1; 0 when unknown
    QString text;
    QString procedure; // the procedure that raised it, when there is one
    bool IsError() const { return severity > 10; }
};

struct SqlResult {
    enum class Kind { RowSet, RowCount, Message };
    Kind kind = Kind::Message;
    SqlRowSet rowSet;       // Kind::RowSet
    long long rowCount = 0; // Kind::RowCount: rows affected by one statement
    SqlMessage message;     // Kind::Message

    static SqlResult Rows(SqlRowSet rows) {
        SqlResult r;
        r.kind = Kind::RowSet;
        r.rowSet = std::move(rows);
        return r;
    }
    static SqlResult Count(long long count) {
        SqlResult r;
        r.kind = Kind::RowCount;
        r.rowCount = count;
        return r;
    }
    static SqlResult Msg(SqlMessage message) {
        SqlResult r;
        r.kind = Kind::Message;
        r.message = std::move(message);
        return r;
    }
};

using SqlBatchResults = QList<SqlResult>;

// Where a batch's results go while it runs, for a client that passes them on at once (a network
// listener) instead of waiting for the whole list. A row set of a SELECT comes row by row, so that a
// large result is never held whole: first every row once to Preview, for a sink that must choose how
// to send the columns before the first row goes (values are the same in both rounds), then
// BeginRows, the rows again, EndRows. Everything else, small row sets of system procedures included,
// comes whole through Add, in batch order.
class SqlResultSink {
public:
    virtual ~SqlResultSink() = default;
    virtual void Add(SqlResult result) = 0;
    // Whether the sink wants the round of Preview before the rows.
    virtual bool WantsPreview() const { return false; }
    virtual void Preview(const QList<SqlColumn>& /*columns*/, const QVariantList& /*row*/) {}
    virtual void BeginRows(const QList<SqlColumn>& columns) = 0;
    // False stops the batch (the client went or cancelled): no more rows are read.
    virtual bool Row(const QVariantList& values) = 0;
    // After the last row; also when the statement fails after some rows went.
    virtual void EndRows(long long rows) = 0;
};
