#pragma once

#include "SqlResults.h"

#include <QString>
#include <QVariant>

// A read-only result set that was fully fetched and holds no link to its connection, so that it can
// be read after the connection has been used again (or closed). Fields are read at the current row.
class DbRecordset {
public:
    DbRecordset() = default;
    explicit DbRecordset(SqlRowSet rows)
        : mRows(std::move(rows)) {}

    int RecordCount() const { return static_cast<int>(mRows.rows.size()); }
    bool Eof() const { return mPosition >= mRows.rows.size(); }
    bool Bof() const { return mRows.rows.isEmpty(); }
    void MoveNext();
    void MoveFirst() { mPosition = 0; }

    int FieldCount() const { return static_cast<int>(mRows.columns.size()); }
    QString FieldName(int index) const;
    bool HasField(const QString& name) const { return mRows.ColumnIndex(name) >= 0; }
    // The value at the current row; NULL is an invalid QVariant. An unknown name or index raises 3265,
    // reading at EOF raises 3021, as the classic recordset does.
    QVariant Field(const QString& name) const;
    QVariant Field(int index) const;
    // The value as text, "" for NULL.
    QString Text(const QString& name) const;

    const SqlRowSet& Rows() const { return mRows; }

private:
    SqlRowSet mRows;
    qsizetype mPosition = 0;
};
