#include "SqliteDb.h"

#include "GroupFiles.h"
#include "SqlDecimal.h"

#include <QDateTime>
#include <sqlite3.h>

#include <algorithm>

namespace {

[[noreturn]] void Throw(sqlite3* db, int code) {
    throw SqliteError{code, QString::fromUtf8(db ? sqlite3_errmsg(db) : sqlite3_errstr(code))};
}

int CompareServerText(void*, int n1, const void* p1, int n2, const void* p2) {
    QString a = QString::fromUtf8(static_cast<const char*>(p1), n1);
    QString b = QString::fromUtf8(static_cast<const char*>(p2), n2);
    while (a.endsWith(u' '))
        a.chop(1);
    while (b.endsWith(u' '))
        b.chop(1);
    return a.compare(b, Qt::CaseInsensitive);
}

} // namespace

void RegisterServerCollation(sqlite3* db) {
    sqlite3_create_collation(db, "TSQL", SQLITE_UTF8, nullptr, &CompareServerText);
}

SqliteStatement::SqliteStatement(sqlite3* db, const QString& sql)
    : mDb(db) {
    const QByteArray utf8 = sql.toUtf8();
    const int rc = sqlite3_prepare_v2(db, utf8.constData(), int(utf8.size()), &mStmt, nullptr);
    if (rc != SQLITE_OK)
        Throw(db, rc);
}

SqliteStatement::~SqliteStatement() {
    sqlite3_finalize(mStmt);
}

void SqliteStatement::Bind(int index, const QVariant& v) {
    int rc = SQLITE_OK;
    if (!v.isValid() || v.isNull()) {
        rc = sqlite3_bind_null(mStmt, index);
    } else if (v.userType() == qMetaTypeId<SqlDecimal>()) {
        // SQLite computes with doubles; the exact digits stay with the executor.
        rc = sqlite3_bind_double(mStmt, index, v.value<SqlDecimal>().ToDouble());
    } else {
        switch (v.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::UInt:
        case QMetaType::ULongLong:
        case QMetaType::Bool:
            rc = sqlite3_bind_int64(mStmt, index, v.toLongLong());
            break;
        case QMetaType::Double:
        case QMetaType::Float:
            rc = sqlite3_bind_double(mStmt, index, v.toDouble());
            break;
        case QMetaType::QByteArray: {
            const QByteArray b = v.toByteArray();
            rc = sqlite3_bind_blob(mStmt, index, b.constData(), int(b.size()), SQLITE_TRANSIENT);
            break;
        }
        case QMetaType::QDateTime: {
            const QByteArray t = v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toUtf8();
            rc = sqlite3_bind_text(mStmt, index, t.constData(), int(t.size()), SQLITE_TRANSIENT);
            break;
        }
        default: {
            const QByteArray t = v.toString().toUtf8();
            rc = sqlite3_bind_text(mStmt, index, t.constData(), int(t.size()), SQLITE_TRANSIENT);
        }
        }
    }
    if (rc != SQLITE_OK)
        Throw(mDb, rc);
}

void SqliteStatement::BindAll(const QVariantList& values) {
    for (int i = 0; i < values.size(); ++i)
        Bind(i + 1, values[i]);
}

bool SqliteStatement::Step() {
    const int rc = sqlite3_step(mStmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    Throw(mDb, rc);
}

void SqliteStatement::Reset() {
    sqlite3_reset(mStmt);
}

int SqliteStatement::ColumnCount() const {
    return sqlite3_column_count(mStmt);
}

QVariant SqliteStatement::Value(int c) const {
    switch (sqlite3_column_type(mStmt, c)) {
    case SQLITE_INTEGER:
        return QVariant(qlonglong(sqlite3_column_int64(mStmt, c)));
    case SQLITE_FLOAT:
        return QVariant(sqlite3_column_double(mStmt, c));
    case SQLITE_TEXT:
        return QVariant(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(mStmt, c)),
                                          sqlite3_column_bytes(mStmt, c)));
    case SQLITE_BLOB:
        return QVariant(QByteArray(static_cast<const char*>(sqlite3_column_blob(mStmt, c)),
                                   sqlite3_column_bytes(mStmt, c)));
    default:
        return QVariant();
    }
}

QString SqliteStatement::ColumnName(int c) const {
    return QString::fromUtf8(sqlite3_column_name(mStmt, c));
}

QString SqliteStatement::DeclaredType(int c) const {
    const char* t = sqlite3_column_decltype(mStmt, c);
    return t ? QString::fromUtf8(t) : QString();
}

bool SqliteStatement::OriginNotNull(int c) const {
    const char* database = sqlite3_column_database_name(mStmt, c);
    const char* table = sqlite3_column_table_name(mStmt, c);
    const char* column = sqlite3_column_origin_name(mStmt, c);
    if (!database || !table || !column)
        return false; // an expression, not a column of a table
    int notNull = 0, primaryKey = 0, autoIncrement = 0;
    if (sqlite3_table_column_metadata(mDb, database, table, column, nullptr, nullptr, &notNull, &primaryKey,
                                      &autoIncrement) != SQLITE_OK)
        return false;
    return notNull || primaryKey;
}

SqliteDb::SqliteDb(const QString& path, bool create)
    : mPath(path) {
    // The file is made here, so that it has its mode before SQLite writes to it, and its WAL and
    // journal files take that mode over.
    if (create && !GroupFiles::EnsureFile(path))
        throw SqliteError{SQLITE_CANTOPEN, QStringLiteral("unable to open database file")};
    const int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_NOMUTEX;
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &mDb, flags, nullptr);
    if (rc != SQLITE_OK) {
        SqliteError e{rc, QString::fromUtf8(mDb ? sqlite3_errmsg(mDb) : sqlite3_errstr(rc))};
        sqlite3_close(mDb);
        mDb = nullptr;
        throw e;
    }
    sqlite3_busy_timeout(mDb, 10000);
    // "name" is always a name here, never a string that SQLite guesses at.
    sqlite3_db_config(mDb, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(mDb, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    sqlite3_extended_result_codes(mDb, 0);
    RegisterServerCollation(mDb);
    Exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    Exec(QStringLiteral("PRAGMA foreign_keys=OFF"));
}

SqliteDb::~SqliteDb() {
    // The cached statements go first: a connection with statements left open would stay open.
    mCache.clear();
    sqlite3_close_v2(mDb);
}

CachedStatement::CachedStatement(SqliteStatement* statement, bool* busy, std::unique_ptr<SqliteStatement> own)
    : mStatement(statement)
    , mBusy(busy)
    , mOwn(std::move(own)) {}

CachedStatement::CachedStatement(CachedStatement&& other) noexcept
    : mStatement(other.mStatement)
    , mBusy(other.mBusy)
    , mOwn(std::move(other.mOwn)) {
    other.mStatement = nullptr;
    other.mBusy = nullptr;
}

CachedStatement::~CachedStatement() {
    if (!mBusy || !mStatement)
        return;
    // Given back without a read transaction left open and without the last use's values.
    sqlite3_reset(mStatement->Handle());
    sqlite3_clear_bindings(mStatement->Handle());
    *mBusy = false;
}

CachedStatement SqliteDb::Prepare(const QString& sql) {
    for (auto it = mCache.begin(); it != mCache.end(); ++it) {
        if (it->sql != sql)
            continue;
        if (it->busy)
            break;
        mCache.splice(mCache.begin(), mCache, it);
        Cached& hit = mCache.front();
        hit.busy = true;
        return CachedStatement(hit.statement.get(), &hit.busy, nullptr);
    }
    auto statement = std::make_unique<SqliteStatement>(mDb, sql);
    const bool inUse =
        std::any_of(mCache.begin(), mCache.end(), [&](const Cached& c) { return c.sql == sql; });
    if (inUse) {
        SqliteStatement* raw = statement.get();
        return CachedStatement(raw, nullptr, std::move(statement));
    }
    // The least recently used statement that nobody holds makes room.
    if (int(mCache.size()) >= kCachedStatements) {
        for (auto it = mCache.end(); it != mCache.begin();) {
            --it;
            if (!it->busy) {
                mCache.erase(it);
                break;
            }
        }
    }
    mCache.push_front(Cached{sql, std::move(statement), true});
    Cached& added = mCache.front();
    return CachedStatement(added.statement.get(), &added.busy, nullptr);
}

void SqliteDb::Exec(const QString& sql, const QVariantList& params) {
    CachedStatement s = Prepare(sql);
    s->BindAll(params);
    while (s->Step()) {
    }
}

QVariant SqliteDb::Scalar(const QString& sql, const QVariantList& params) {
    CachedStatement s = Prepare(sql);
    s->BindAll(params);
    return s->Step() ? s->Value(0) : QVariant();
}

QList<QVariantList> SqliteDb::Rows(const QString& sql, const QVariantList& params) {
    CachedStatement s = Prepare(sql);
    s->BindAll(params);
    QList<QVariantList> rows;
    while (s->Step()) {
        QVariantList r;
        for (int i = 0; i < s->ColumnCount(); ++i)
            r.append(s->Value(i));
        rows.append(r);
    }
    return rows;
}

long long SqliteDb::Changes() const {
    return sqlite3_changes64(mDb);
}
long long SqliteDb::LastInsertRowId() const {
    return sqlite3_last_insert_rowid(mDb);
}

long long SqliteDb::dataVersion() {
    CachedStatement version = Prepare(QStringLiteral("PRAGMA data_version"));
    return version->Step() ? sqlite3_column_int64(version->Handle(), 0) : -1;
}

std::shared_ptr<void> SqliteDb::Memo(const QString& key) {
    auto kept = mMemos.find(key);
    if (kept == mMemos.end())
        return nullptr;
    if (kept->changes != sqlite3_total_changes64(mDb) || kept->dataVersion != dataVersion()) {
        mMemos.erase(kept);
        return nullptr;
    }
    return kept->memo;
}

void SqliteDb::KeepMemo(const QString& key, std::shared_ptr<void> memo) {
    mMemos.insert(key, Kept{std::move(memo), dataVersion(), sqlite3_total_changes64(mDb)});
}
