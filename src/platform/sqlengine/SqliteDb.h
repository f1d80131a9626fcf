#pragma once

#include <QString>
#include <QVariant>
#include <stdexcept>

struct sqlite3;
struct sqlite3_stmt;

// A failure of SQLite itself; the executor turns it into the server's message.
struct SqliteError {
    int code = 0;
    QString message;
};

class SqliteStatement {
public:
    SqliteStatement(sqlite3* db, const QString& sql); // throws SqliteError
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    void Bind(int index, const QVariant& value); // from 1
    void BindAll(const QVariantList& values);
    bool Step(); // true while a row stands; throws SqliteError
    void Reset();
    int ColumnCount() const;
    QVariant Value(int column) const;
    QString ColumnName(int column) const;
    QString DeclaredType(int column) const;
    // The column comes straight from a table column that takes no NULL (NOT NULL or the key).
    bool OriginNotNull(int column) const;
    sqlite3_stmt* Handle() const { return mStmt; }

private:
    sqlite3* mDb;
    sqlite3_stmt* mStmt = nullptr;
};

// One SQLite connection in WAL mode with a busy timeout, so that several sessions and processes
// share a file.
class SqliteDb {
public:
    explicit SqliteDb(const QString& path, bool create = false); // throws SqliteError
    ~SqliteDb();
    SqliteDb(const SqliteDb&) = delete;
    SqliteDb& operator=(const SqliteDb&) = delete;

    void Exec(const QString& sql, const QVariantList& params = {});
    QVariant Scalar(const QString& sql, const QVariantList& params = {});
    QList<QVariantList> Rows(const QString& sql, const QVariantList& params = {});
    long long Changes() const;
    long long LastInsertRowId() const;
    sqlite3* Handle() const { return mDb; }
    QString Path() const { return mPath; }

private:
    sqlite3* mDb = nullptr;
    QString mPath;
};

// Every text column of the catalogue and of user tables compares like the server's default
// collation: case does not count and trailing blanks do not count.
void RegisterServerCollation(sqlite3* db);
