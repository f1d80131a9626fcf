#pragma once

#include <QByteArray>
#include <QString>

struct sqlite3;
struct sqlite3_stmt;

// One open SQLite file of a store, in WAL mode, with the schema in place. Every failure of SQLite
// becomes a TARMOError (StoreErrors::Database) carrying SQLite's text.
class StoreConnection {
public:
    StoreConnection(const QString& databaseFile, int busyTimeoutMs, bool create);
    ~StoreConnection();
    StoreConnection(const StoreConnection&) = delete;
    StoreConnection& operator=(const StoreConnection&) = delete;

    sqlite3* Handle() const { return mDb; }
    void Execute(const char* sql);
    qint64 LastInsertId() const;
    [[noreturn]] void Fail(const QString& what) const;

private:
    void createSchema();
    void checkSchema();

    sqlite3* mDb = nullptr;
};

// A prepared statement; columns and parameters count from 0 and 1 as SQLite does.
class Statement {
public:
    Statement(StoreConnection& connection, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int index, const QString& value);
    Statement& Bind(int index, qint64 value);
    Statement& Bind(int index, int value) { return Bind(index, static_cast<qint64>(value)); }
    Statement& BindBlob(int index, const QByteArray& value);
    Statement& BindNull(int index);

    // True while a row is there.
    bool Step();
    // Runs a statement that returns no rows.
    void Run();
    // Makes the statement ready to run again with new parameters.
    void Reset();

    qint64 Int(int column) const;
    QString Text(int column) const;
    QByteArray Blob(int column) const;
    bool IsNull(int column) const;

private:
    StoreConnection& mConnection;
    sqlite3_stmt* mStmt = nullptr;
};

// A write transaction taken at once (BEGIN IMMEDIATE), so that a look at an item's state and the change
// that depends on it can't be split by another process. Rolled back unless committed. A read
// transaction gives several reads one snapshot without keeping writers out.
class Transaction {
public:
    enum Kind { Write, Read };
    explicit Transaction(StoreConnection& connection, Kind kind = Write);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

private:
    StoreConnection& mConnection;
    bool mOpen = true;
};
