// The embedded engine's changes to items: each one BEGIN IMMEDIATE transaction that checks the right
// and the state it depends on first.
#include "SqliteEngine.h"

#include "StoreErrors.h"
#include "StoreRights.h"
#include "StoreSchema.h"
#include "StoreSession.h"

StoreGetState SqliteEngine::ForGet(qint64 id) {
    requireType(id, StoreSession::File);
    Transaction snapshot(*mDb, Transaction::Read);
    require(id, StoreRights::Read);
    StoreGetState state;
    state.Working = checkoutLocal(id);
    state.Mine = CheckoutState(id) == StoreItem::CheckedOutMe;
    state.Head = headContent(id);
    snapshot.Commit();
    return state;
}

void SqliteEngine::Checkout(qint64 id, const QString& comment, const QString& local,
                            const std::function<void(const QByteArray&)>& writeWorking) {
    requireType(id, StoreSession::File);
    Transaction transaction(*mDb);
    require(id, StoreRights::Checkout);
    if (IsDeleted(id))
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(SpecOf(id)));
    const int state = CheckoutState(id);
    if (state == StoreItem::CheckedOutMe)
        StoreSession::Raise(StoreErrors::AlreadyCheckedOut,
                            QStringLiteral("You currently have '%1' checked out.").arg(SpecOf(id)));
    if (state == StoreItem::CheckedOut && !multipleCheckouts())
        StoreSession::Raise(StoreErrors::CheckedOutByOther,
                            QStringLiteral("'%1' is checked out by %2.")
                                .arg(SpecOf(id), Holders(id).join(QStringLiteral(", "))));
    Statement insert(*mDb,
                     "INSERT INTO checkouts(item, user, date, local, comment) VALUES(?1, ?2, ?3, ?4, ?5)");
    insert.Bind(1, id).Bind(2, mSession.userName).Bind(3, StoreSession::Now()).Bind(4, local);
    insert.Bind(5, comment).Run();
    writeWorking(headContent(id));
    transaction.Commit();
}

void SqliteEngine::RequireMyCheckout(qint64 id) {
    requireType(id, StoreSession::File);
    require(id, StoreRights::Checkout);
    if (CheckoutState(id) != StoreItem::CheckedOutMe)
        StoreSession::Raise(StoreErrors::NotCheckedOut,
                            QStringLiteral("You do not have '%1' checked out.").arg(SpecOf(id)));
}

int SqliteEngine::Checkin(qint64 id, const QString& comment, const QByteArray& content) {
    Transaction transaction(*mDb);
    RequireMyCheckout(id);
    const int number = record(id, QStringLiteral("Checked in"), comment, content);
    Statement release(*mDb, "DELETE FROM checkouts WHERE item = ?1 AND user = ?2");
    release.Bind(1, id).Bind(2, mSession.userName).Run();
    transaction.Commit();
    return number;
}

QByteArray SqliteEngine::UndoCheckout(qint64 id) {
    requireType(id, StoreSession::File);
    Transaction transaction(*mDb);
    RequireMyCheckout(id);
    Statement release(*mDb, "DELETE FROM checkouts WHERE item = ?1 AND user = ?2");
    release.Bind(1, id).Bind(2, mSession.userName).Run();
    QByteArray head = headContent(id);
    transaction.Commit();
    return head;
}

int SqliteEngine::Label(qint64 id, const QString& label, const QString& comment) {
    Transaction transaction(*mDb);
    require(id, StoreRights::Checkout);
    if (IsDeleted(id))
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(SpecOf(id)));
    const int number =
        record(id, QStringLiteral("Labeled '%1'").arg(label), QString(), headContent(id), true, comment);
    transaction.Commit();
    return number;
}

qint64 SqliteEngine::AddFile(qint64 project, const QString& name, const QByteArray& content,
                             const QString& comment) {
    Transaction transaction(*mDb);
    require(project, StoreRights::Add);
    if (IsDeleted(project))
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(SpecOf(project)));
    if (nameTaken(project, name))
        StoreSession::Raise(
            StoreErrors::NameExists,
            QStringLiteral("An item named '%1' already exists in '%2'.").arg(name, SpecOf(project)));
    Statement insert(*mDb, "INSERT INTO items(parent, name, type) VALUES(?1, ?2, ?3)");
    insert.Bind(1, project).Bind(2, name).Bind(3, static_cast<int>(StoreSession::File)).Run();
    const qint64 id = mDb->LastInsertId();
    record(id, QStringLiteral("Created"), comment, content);
    transaction.Commit();
    return id;
}

qint64 SqliteEngine::NewProject(qint64 project, const QString& name, const QString& comment) {
    requireType(project, StoreSession::Project);
    Transaction transaction(*mDb);
    require(project, StoreRights::Add);
    if (IsDeleted(project))
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(SpecOf(project)));
    if (nameTaken(project, name))
        StoreSession::Raise(
            StoreErrors::NameExists,
            QStringLiteral("An item named '%1' already exists in '%2'.").arg(name, SpecOf(project)));
    Statement insert(*mDb, "INSERT INTO items(parent, name, type) VALUES(?1, ?2, ?3)");
    insert.Bind(1, project).Bind(2, name).Bind(3, static_cast<int>(StoreSession::Project)).Run();
    const qint64 id = mDb->LastInsertId();
    record(id, QStringLiteral("Created"), comment, QByteArray());
    transaction.Commit();
    return id;
}

void SqliteEngine::Rename(qint64 id, const QString& name) {
    Transaction transaction(*mDb);
    require(id, StoreRights::Add);
    requireNotHeldByOthers(id);
    const QString old = NameOf(id);
    if (!IsDeleted(id) && nameTaken(parentOf(id), name, id))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in that project.").arg(name));
    Statement update(*mDb, "UPDATE items SET name = ?2 WHERE id = ?1");
    update.Bind(1, id).Bind(2, name).Run();
    record(id, QStringLiteral("Renamed '%1' to '%2'").arg(old, name), QString(), headContent(id));
    transaction.Commit();
}

void SqliteEngine::SetDeleted(qint64 id, bool deleted) {
    Transaction transaction(*mDb);
    require(id, StoreRights::Add);
    if (IsDeleted(id) == deleted)
        return;
    if (deleted) {
        requireNotHeldByOthers(id);
        Statement release(*mDb, "DELETE FROM checkouts WHERE item = ?1");
        release.Bind(1, id).Run();
    } else if (nameTaken(parentOf(id), NameOf(id))) {
        StoreSession::Raise(
            StoreErrors::NameExists,
            QStringLiteral("An item named '%1' already exists in that project.").arg(NameOf(id)));
    }
    Statement update(*mDb, "UPDATE items SET deleted = ?2, deleted_at = ?3 WHERE id = ?1");
    update.Bind(1, id).Bind(2, deleted ? 1 : 0).Bind(3, deleted ? StoreSession::Now() : 0).Run();
    record(id, deleted ? QStringLiteral("Deleted") : QStringLiteral("Recovered"), QString(), headContent(id));
    transaction.Commit();
}

void SqliteEngine::RecoverAs(qint64 id, const QString& name) {
    Transaction transaction(*mDb);
    require(id, StoreRights::Add);
    if (!IsDeleted(id))
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is not deleted.").arg(SpecOf(id)));
    if (nameTaken(parentOf(id), name))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in that project.").arg(name));
    const QString old = NameOf(id);
    Statement update(*mDb, "UPDATE items SET name = ?2, deleted = 0, deleted_at = 0 WHERE id = ?1");
    update.Bind(1, id).Bind(2, name).Run();
    const QByteArray head = headContent(id);
    if (old != name)
        record(id, QStringLiteral("Renamed '%1' to '%2'").arg(old, name), QString(), head);
    record(id, QStringLiteral("Recovered"), QString(), head);
    transaction.Commit();
}

void SqliteEngine::Destroy(qint64 id) {
    Transaction transaction(*mDb);
    require(id, StoreRights::Destroy);
    requireNotHeldByOthers(id, true);
    QList<qint64> tree;
    Statement find(*mDb, "WITH RECURSIVE tree(id, depth) AS (SELECT ?1, 0 UNION ALL "
                         "SELECT items.id, tree.depth + 1 FROM items JOIN tree ON items.parent = tree.id) "
                         "SELECT id FROM tree ORDER BY depth DESC");
    find.Bind(1, id);
    while (find.Step())
        tree << find.Int(0);
    // Deepest first, so that no row is left pointing at an item that is gone.
    for (const qint64 each : tree)
        for (const char* sql :
             {"DELETE FROM checkouts WHERE item = ?1", "DELETE FROM history WHERE item = ?1",
              "DELETE FROM rights WHERE item = ?1", "DELETE FROM items WHERE id = ?1"}) {
            Statement remove(*mDb, sql);
            remove.Bind(1, each).Run();
        }
    transaction.Commit();
}
