#include "StoreSchema.h"

#include "StoreConnection.h"
#include "StoreRights.h"

#include <QCryptographicHash>
#include <QList>

namespace {

// Marks a store that holds everything UpgradeStore adds; a later upgrade raises the number.
const char* const schemaKey = "Schema";
constexpr int schemaLevel = 2;

const char* const rulesSchema = R"SQL(
CREATE TABLE IF NOT EXISTS options(
    name TEXT PRIMARY KEY COLLATE NOCASE,
    value TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS rights(
    item INTEGER NOT NULL REFERENCES items(id),
    user TEXT NOT NULL COLLATE NOCASE,
    rights INTEGER NOT NULL,
    PRIMARY KEY(item, user));
)SQL";

bool upToDate(StoreConnection& db) {
    Statement table(db, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'options'");
    if (!table.Step())
        return false;
    Statement level(db, "SELECT value FROM options WHERE name = ?1");
    level.Bind(1, QString::fromLatin1(schemaKey));
    return level.Step() && level.Text(0).toInt() >= schemaLevel;
}

bool hasChecksumColumn(StoreConnection& db) {
    Statement columns(db, "SELECT 1 FROM pragma_table_info('history') WHERE name = 'checksum'");
    return columns.Step();
}

void setOptionIfMissing(StoreConnection& db, const QString& name, const QString& value) {
    Statement insert(db, "INSERT OR IGNORE INTO options(name, value) VALUES(?1, ?2)");
    insert.Bind(1, name).Bind(2, value).Run();
}

void addChecksums(StoreConnection& db) {
    QList<qint64> missing;
    Statement find(db, "SELECT seq FROM history WHERE checksum IS NULL");
    while (find.Step())
        missing << find.Int(0);
    for (const qint64 seq : missing) {
        // The texts kept so far are taken as they stand: damage done before now can't be told.
        Statement read(db, "SELECT content FROM history WHERE seq = ?1");
        read.Bind(1, seq);
        const QByteArray content = read.Step() ? read.Blob(0) : QByteArray();
        Statement update(db, "UPDATE history SET checksum = ?2 WHERE seq = ?1");
        update.Bind(1, seq).BindBlob(2, TextChecksum(content)).Run();
    }
}

} // namespace

QByteArray TextChecksum(const QByteArray& text) {
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256);
}

void UpgradeStore(StoreConnection& db, bool multipleCheckouts) {
    if (upToDate(db))
        return;
    Transaction transaction(db);
    // Looked at again under the write lock: another user may have upgraded it meanwhile.
    if (upToDate(db))
        return;
    db.Execute(rulesSchema);
    if (!hasChecksumColumn(db))
        db.Execute("ALTER TABLE history ADD COLUMN checksum BLOB");
    addChecksums(db);
    setOptionIfMissing(db, QStringLiteral("MultipleCheckouts"),
                       multipleCheckouts ? QStringLiteral("yes") : QStringLiteral("no"));
    setOptionIfMissing(db, QStringLiteral("DefaultRights"), StoreRights::Format(StoreRights::Default));
    Statement level(db, "INSERT OR REPLACE INTO options(name, value) VALUES(?1, ?2)");
    level.Bind(1, QString::fromLatin1(schemaKey)).Bind(2, QString::number(schemaLevel)).Run();
    transaction.Commit();
}
