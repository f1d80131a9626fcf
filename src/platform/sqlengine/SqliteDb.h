#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

#include <list>
#include <memory>
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

class SqliteDb;
struct DateOptions;

// A statement of the connection's cache, lent for one use: reset and given back when it goes.
class CachedStatement {
public:
    CachedStatement(const CachedStatement&) = delete;
    CachedStatement& operator=(const CachedStatement&) = delete;
    CachedStatement(CachedStatement&& other) noexcept;
    CachedStatement& operator=(CachedStatement&&) = delete;
    ~CachedStatement();

    SqliteStatement* operator->() const { return mStatement; }
    SqliteStatement& operator*() const { return *mStatement; }

private:
    friend class SqliteDb;
    CachedStatement(SqliteStatement* statement, bool* busy, std::unique_ptr<SqliteStatement> own);

    SqliteStatement* mStatement;
    bool* mBusy;                           // the cache's mark, when the statement is the cache's
    std::unique_ptr<SqliteStatement> mOwn; // one prepared for this use only
};

// One SQLite connection in WAL mode with a busy timeout, so that several sessions and processes
// share a file. The catalogue's queries and the built-in functions run the same few statements
// over and over, often once per row of a query, so the connection keeps the last ones prepared.
class SqliteDb {
public:
    explicit SqliteDb(const QString& path, bool create = false); // throws SqliteError
    ~SqliteDb();
    SqliteDb(const SqliteDb&) = delete;
    SqliteDb& operator=(const SqliteDb&) = delete;

    void Exec(const QString& sql, const QVariantList& params = {});
    QVariant Scalar(const QString& sql, const QVariantList& params = {});
    QList<QVariantList> Rows(const QString& sql, const QVariantList& params = {});
    // A prepared statement for sql from the cache, or prepared now; a statement still in use (a
    // query whose rows call a function that runs the same text) is never lent twice.
    CachedStatement Prepare(const QString& sql);
    long long Changes() const;
    long long LastInsertRowId() const;
    // What a caller keeps with the connection between statements (a read of the catalogue), found
    // again under its key as long as the database is as it was then: a commit of any connection or a
    // row changed by this one drops it.
    std::shared_ptr<void> Memo(const QString& key);
    void KeepMemo(const QString& key, std::shared_ptr<void> memo);
    sqlite3* Handle() const { return mDb; }
    QString Path() const { return mPath; }
    // The session's date settings that the built-in functions read; null outside a session.
    void SetDateOptions(const DateOptions* options) { mDateOptions = options; }
    const DateOptions* DateSettings() const { return mDateOptions; }

    static constexpr int kCachedStatements = 48;

private:
    struct Cached {
        QString sql;
        std::unique_ptr<SqliteStatement> statement;
        bool busy = false;
    };

    struct Kept {
        std::shared_ptr<void> memo;
        long long dataVersion;
        long long changes;
    };
    long long dataVersion();

    sqlite3* mDb = nullptr;
    QString mPath;
    const DateOptions* mDateOptions = nullptr;
    QHash<QString, Kept> mMemos;
    std::list<Cached> mCache; // the most recently used first
};

// Every text column of the catalogue and of user tables compares like the server's default
// collation: case does not count and trailing blanks do not count.
void RegisterServerCollation(sqlite3* db);
