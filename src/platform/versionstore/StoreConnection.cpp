#include "StoreConnection.h"

#include "GroupFiles.h"
#include "StoreErrors.h"
#include "TARMOError.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

namespace {

const char* const schema = R"SQL(
CREATE TABLE IF NOT EXISTS users(
    name TEXT PRIMARY KEY COLLATE NOCASE,
    salt BLOB NOT NULL,
    hash BLOB NOT NULL,
    admin INTEGER NOT NULL DEFAULT 0);
CREATE TABLE IF NOT EXISTS items(
    id INTEGER PRIMARY KEY,
    parent INTEGER REFERENCES items(id),
    name TEXT NOT NULL COLLATE NOCASE,
    type INTEGER NOT NULL,
    deleted INTEGER NOT NULL DEFAULT 0,
    deleted_at INTEGER NOT NULL DEFAULT 0);
CREATE UNIQUE INDEX IF NOT EXISTS items_living ON items(parent, name) WHERE deleted = 0;
CREATE INDEX IF NOT EXISTS items_parent ON items(parent, deleted);
CREATE TABLE IF NOT EXISTS history(
    seq INTEGER PRIMARY KEY,
    item INTEGER NOT NULL REFERENCES items(id),
    number INTEGER NOT NULL,
    is_label INTEGER NOT NULL DEFAULT 0,
    user TEXT NOT NULL,
    action TEXT NOT NULL,
    date INTEGER NOT NULL,
    comment TEXT NOT NULL DEFAULT '',
    label_comment TEXT NOT NULL DEFAULT '',
    content BLOB);
CREATE UNIQUE INDEX IF NOT EXISTS history_numbers ON history(item, number) WHERE is_label = 0;
CREATE INDEX IF NOT EXISTS history_item ON history(item, seq);
CREATE TABLE IF NOT EXISTS checkouts(
    item INTEGER NOT NULL REFERENCES items(id),
    user TEXT NOT NULL COLLATE NOCASE,
    date INTEGER NOT NULL,
    local TEXT NOT NULL DEFAULT '',
    comment TEXT NOT NULL DEFAULT '',
    PRIMARY KEY(item, user));
INSERT OR IGNORE INTO items(id, parent, name, type) VALUES(1, NULL, '$', 0);
)SQL";

// Failed logins, so that a login made by another process sees them too.
const char* const loginFailures = R"SQL(
CREATE TABLE IF NOT EXISTS login_failures(
    user TEXT NOT NULL COLLATE NOCASE,
    client TEXT NOT NULL,
    at INTEGER NOT NULL);
CREATE INDEX IF NOT EXISTS login_failures_user ON login_failures(user, at);
)SQL";

[[noreturn]] void damaged(const QString& databaseFile, const QString& why) {
    throw TARMOError(StoreErrors::Database, QStringLiteral("VersionStore"),
                     QStringLiteral("The store's data '%1' is damaged or is not a store's data file (%2).")
                         .arg(databaseFile, why));
}

quint32 bigEndian(const QByteArray& bytes, int at, int size) {
    quint32 value = 0;
    for (int i = 0; i < size; ++i)
        value = (value << 8) | static_cast<quint8>(bytes[at + i]);
    return value;
}

// Looked at before SQLite touches the file: SQLite takes an empty file for a new database and would
// write into it, and a cut-off file shows only when a missing page is read, deep inside some later
// operation.
void checkDataFile(const QString& databaseFile) {
    QFile file(databaseFile);
    if (!file.open(QIODevice::ReadOnly))
        return; // SQLite says why
    const QByteArray header = file.read(100);
    if (header.size() < 100 || !header.startsWith(QByteArrayLiteral("SQLite format 3\0")))
        damaged(databaseFile, QStringLiteral("no database header"));
    // While a WAL file stands the main file may lag behind a checkpoint; only a closed store is exact.
    if (QFileInfo::exists(databaseFile + QStringLiteral("-wal")))
        return;
    const quint32 pageSize = bigEndian(header, 16, 2) == 1 ? 65536 : bigEndian(header, 16, 2);
    const bool countValid = bigEndian(header, 24, 4) == bigEndian(header, 92, 4);
    const qint64 expected = static_cast<qint64>(pageSize) * bigEndian(header, 28, 4);
    if (countValid && file.size() < expected)
        damaged(databaseFile, QStringLiteral("%1 of %2 bytes").arg(file.size()).arg(expected));
}

} // namespace

StoreConnection::StoreConnection(const QString& databaseFile, int busyTimeoutMs, bool create) {
    if (!create)
        checkDataFile(databaseFile);
    // Made here with the mode of the store's files, which SQLite hands on to its WAL and shared memory.
    if (create && !GroupFiles::EnsureFile(databaseFile))
        throw TARMOError(StoreErrors::Database, QStringLiteral("VersionStore"),
                         QStringLiteral("The store's data '%1' cannot be made.").arg(databaseFile));
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    if (sqlite3_open_v2(databaseFile.toUtf8().constData(), &mDb, flags, nullptr) != SQLITE_OK) {
        const QString text = mDb ? QString::fromUtf8(sqlite3_errmsg(mDb)) : QStringLiteral("out of memory");
        sqlite3_close(mDb);
        mDb = nullptr;
        throw TARMOError(
            StoreErrors::Database, QStringLiteral("VersionStore"),
            QStringLiteral("The store's data '%1' cannot be opened: %2").arg(databaseFile, text));
    }
    sqlite3_busy_timeout(mDb, busyTimeoutMs);
    try {
        // Read only: a file that isn't a store's is left as it was found.
        if (!create)
            checkSchema();
        Execute("PRAGMA journal_mode=WAL");
        Execute("PRAGMA synchronous=NORMAL");
        Execute("PRAGMA foreign_keys=ON");
        if (create)
            createSchema();
        else
            // Stores made before the history of one item had its own index get it on first open.
            Execute("CREATE INDEX IF NOT EXISTS history_item ON history(item, seq)");
        // Older stores get the table on first open, newer ones find it.
        Execute(loginFailures);
    } catch (...) {
        sqlite3_close(mDb);
        mDb = nullptr;
        throw;
    }
}

StoreConnection::~StoreConnection() {
    sqlite3_close(mDb);
}

void StoreConnection::createSchema() {
    Transaction transaction(*this);
    Execute(schema);
    transaction.Commit();
}

void StoreConnection::checkSchema() {
    Statement tables(*this, "SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' AND name IN "
                            "('users', 'items', 'history', 'checkouts')");
    if (!tables.Step() || tables.Int(0) != 4)
        throw TARMOError(StoreErrors::Database, QStringLiteral("VersionStore"),
                         QStringLiteral("The file '%1' is not a store's data file (its tables are missing).")
                             .arg(QString::fromUtf8(sqlite3_db_filename(mDb, "main"))));
}

void StoreConnection::Execute(const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(mDb, sql, nullptr, nullptr, &message) != SQLITE_OK) {
        const QString text = QString::fromUtf8(message ? message : "unknown error");
        sqlite3_free(message);
        throw TARMOError(StoreErrors::Database, QStringLiteral("VersionStore"),
                         QStringLiteral("The store's data cannot be used: %1").arg(text));
    }
}

qint64 StoreConnection::LastInsertId() const {
    return sqlite3_last_insert_rowid(mDb);
}

void StoreConnection::Fail(const QString& what) const {
    throw TARMOError(StoreErrors::Database, QStringLiteral("VersionStore"),
                     QStringLiteral("%1: %2").arg(what, QString::fromUtf8(sqlite3_errmsg(mDb))));
}

Statement::Statement(StoreConnection& connection, const char* sql)
    : mConnection(connection) {
    if (sqlite3_prepare_v2(connection.Handle(), sql, -1, &mStmt, nullptr) != SQLITE_OK)
        connection.Fail(QStringLiteral("The store's data cannot be read"));
}

Statement::~Statement() {
    sqlite3_finalize(mStmt);
}

Statement& Statement::Bind(int index, const QString& value) {
    const QByteArray utf8 = value.toUtf8();
    sqlite3_bind_text(mStmt, index, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::Bind(int index, qint64 value) {
    sqlite3_bind_int64(mStmt, index, value);
    return *this;
}

Statement& Statement::BindBlob(int index, const QByteArray& value) {
    // An empty text is still a text, not a missing one.
    sqlite3_bind_blob(mStmt, index, value.constData() ? value.constData() : "",
                      static_cast<int>(value.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::BindNull(int index) {
    sqlite3_bind_null(mStmt, index);
    return *this;
}

bool Statement::Step() {
    const int rc = sqlite3_step(mStmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    mConnection.Fail(QStringLiteral("The store's data cannot be used"));
}

void Statement::Run() {
    while (Step()) {
    }
}

void Statement::Reset() {
    sqlite3_reset(mStmt);
    sqlite3_clear_bindings(mStmt);
}

qint64 Statement::Int(int column) const {
    return sqlite3_column_int64(mStmt, column);
}

QString Statement::Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(mStmt, column));
    return text ? QString::fromUtf8(text, sqlite3_column_bytes(mStmt, column)) : QString();
}

QByteArray Statement::Blob(int column) const {
    const void* data = sqlite3_column_blob(mStmt, column);
    return data ? QByteArray(static_cast<const char*>(data), sqlite3_column_bytes(mStmt, column))
                : QByteArray();
}

bool Statement::IsNull(int column) const {
    return sqlite3_column_type(mStmt, column) == SQLITE_NULL;
}

Transaction::Transaction(StoreConnection& connection, Kind kind)
    : mConnection(connection) {
    mConnection.Execute(kind == Write ? "BEGIN IMMEDIATE" : "BEGIN");
}

Transaction::~Transaction() {
    if (mOpen)
        sqlite3_exec(mConnection.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::Commit() {
    mConnection.Execute("COMMIT");
    mOpen = false;
}
