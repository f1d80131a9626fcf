// The embedded engine's set-based side of a project: its living items read together, and files added
// in bulk. Each costs a fixed number of statements, where the properties of an item cost several each.
#include "SqliteEngine.h"

#include "StoreErrors.h"
#include "StoreRights.h"
#include "StoreSchema.h"
#include "StoreSession.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

// Parameters that hold a list go to SQLite as one JSON array, which json_each opens as a table.
QString jsonList(const QJsonArray& values) {
    return QString::fromUtf8(QJsonDocument(values).toJson(QJsonDocument::Compact));
}

// The living items of the project ?1, narrowed to the names of ?2 (a JSON array; in any case, as the
// store's names compare) where it isn't null, and to the names that end with one of ?4, ?5, ... (in
// the case given) where `endings` says how many there are.
QByteArray livingItems(qsizetype endings) {
    QByteArray where = "i.parent = ?1 AND i.deleted = 0 AND "
                       "(?2 IS NULL OR i.name IN (SELECT value FROM json_each(?2))) ";
    for (qsizetype e = 0; e < endings; ++e)
        where += QByteArray(e == 0 ? "AND (" : "OR ") + "substr(i.name, -length(?" +
                 QByteArray::number(4 + e) + ")) = ?" + QByteArray::number(4 + e) + " COLLATE BINARY " +
                 (e + 1 == endings ? ") " : "");
    return where;
}

// In the order of Items.
QByteArray listItems(qsizetype endings) {
    // A label takes its file's latest number, so the highest number is that of the versions, which
    // the index of version numbers answers at once.
    return "SELECT i.id, i.name, i.type, "
           "(SELECT MAX(number) FROM history WHERE item = i.id AND is_label = 0) FROM items i WHERE " +
           livingItems(endings) + "ORDER BY i.name, i.deleted, i.deleted_at DESC, i.id";
}

// Their check-outs, in the order of Holders; ?3 is the connected user, whom the store's collation
// tells apart as CheckoutState does. A project holds far fewer check-outs than items, so the
// check-outs lead (CROSS JOIN keeps that order) instead of a walk of every item of the folder.
QByteArray listCheckouts(qsizetype endings) {
    return "SELECT c.item, c.user, c.user = ?3, c.local FROM checkouts c CROSS JOIN items i ON i.id = c.item "
           "WHERE " +
           livingItems(endings) + "ORDER BY c.date, c.rowid";
}

// The latest text of each file of ?1 (a JSON array of ids): the newest entry of its history that
// isn't a label, as Versions lists it first.
const char* const latestTexts =
    "SELECT w.value, h.number, h.content, h.checksum, h.seq IS NOT NULL FROM json_each(?1) w "
    "LEFT JOIN history h ON h.seq = (SELECT MAX(seq) FROM history WHERE item = w.value AND is_label = 0)";

} // namespace

QList<StoreEntry> SqliteEngine::Entries(qint64 project, const QStringList* names, const QStringList* endings,
                                        const std::function<bool(const QString&)>& wantsText,
                                        bool skipDamaged) {
    StoreConnection& db = *mDb;
    Transaction snapshot(db, Transaction::Read);
    requireType(project, StoreSession::Project);
    require(project, StoreRights::Read);
    const QString nameList = names ? jsonList(QJsonArray::fromStringList(*names)) : QString();
    const qsizetype endingCount = endings ? endings->size() : 0;
    auto bindScope = [&](Statement& s) {
        s.Bind(1, project);
        if (names)
            s.Bind(2, nameList);
        else
            s.BindNull(2);
        for (qsizetype e = 0; e < endingCount; ++e)
            s.Bind(static_cast<int>(4 + e), endings->at(e));
    };

    QList<StoreEntry> result;
    QHash<qint64, qsizetype> at; // item id -> index in result
    QJsonArray wanted;
    {
        Statement items(db, listItems(endingCount).constData());
        bindScope(items);
        while (items.Step()) {
            StoreEntry entry;
            entry.Name = items.Text(1);
            entry.Type = static_cast<int>(items.Int(2));
            entry.VersionNumber = static_cast<int>(items.Int(3));
            const qint64 id = items.Int(0);
            at.insert(id, result.size());
            if (entry.Type == StoreSession::File && wantsText && wantsText(entry.Name))
                wanted.append(id);
            result.append(std::move(entry));
        }
    }
    {
        Statement checkouts(db, listCheckouts(endingCount).constData());
        bindScope(checkouts);
        checkouts.Bind(3, mSession.userName);
        while (checkouts.Step()) {
            StoreEntry& entry = result[at.value(checkouts.Int(0))];
            entry.Holders << checkouts.Text(1);
            if (checkouts.Int(2) != 0) {
                entry.CheckoutState = StoreItem::CheckedOutMe;
                entry.LocalSpec = checkouts.Text(3);
            } else if (entry.CheckoutState == StoreItem::NotCheckedOut) {
                entry.CheckoutState = StoreItem::CheckedOut;
            }
        }
    }
    if (!wanted.isEmpty()) {
        const QString spec = SpecOf(project);
        const QString prefix = spec.endsWith(QLatin1Char('/')) ? spec : spec + QLatin1Char('/');
        Statement texts(db, latestTexts);
        texts.Bind(1, jsonList(wanted));
        while (texts.Step()) {
            StoreEntry& entry = result[at.value(texts.Int(0))];
            if (texts.Int(4) == 0) {
                // A file without any version reads as an empty text.
                entry.HasText = true;
                entry.Text = QByteArray("");
                continue;
            }
            QByteArray content = texts.Blob(2);
            if (!StoreSession::Intact(content, !texts.IsNull(3), texts.Blob(3))) {
                if (skipDamaged)
                    continue;
                StoreSession::RaiseDamaged(texts.Int(1), prefix + entry.Name);
            }
            entry.HasText = true;
            entry.Text = content.isNull() ? QByteArray("") : content;
        }
    }
    snapshot.Commit();
    return result;
}

QList<qint64> SqliteEngine::AddFiles(qint64 project, const QList<StoreNewFile>& files,
                                     const QString& comment) {
    StoreConnection& db = *mDb;
    Transaction transaction(db);
    require(project, StoreRights::Add);
    if (IsDeleted(project))
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(SpecOf(project)));
    Statement insertItem(db, "INSERT INTO items(parent, name, type) VALUES(?1, ?2, ?3)");
    Statement insertVersion(db,
                            "INSERT INTO history(item, number, is_label, user, action, date, comment, "
                            "label_comment, content, checksum) VALUES(?1, 1, 0, ?2, ?3, ?4, ?5, '', ?6, ?7)");
    QList<qint64> added;
    added.reserve(files.size());
    const qint64 now = StoreSession::Now();
    for (const StoreNewFile& file : files) {
        // Sees the files added before it in this transaction, so a name given twice is refused too.
        if (nameTaken(project, file.Name))
            StoreSession::Raise(
                StoreErrors::NameExists,
                QStringLiteral("An item named '%1' already exists in '%2'.").arg(file.Name, SpecOf(project)));
        insertItem.Reset();
        insertItem.Bind(1, project).Bind(2, file.Name).Bind(3, static_cast<int>(StoreSession::File)).Run();
        const qint64 id = db.LastInsertId();
        insertVersion.Reset();
        insertVersion.Bind(1, id).Bind(2, mSession.userName).Bind(3, QStringLiteral("Created"));
        insertVersion.Bind(4, now)
            .Bind(5, comment)
            .BindBlob(6, file.Text)
            .BindBlob(7, TextChecksum(file.Text));
        insertVersion.Run();
        added << id;
    }
    transaction.Commit();
    return added;
}
