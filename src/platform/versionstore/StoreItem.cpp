#include "StoreItem.h"

#include "GeneralHelpers.h"
#include "StoreErrors.h"
#include "StoreRights.h"
#include "StoreSession.h"

#include <QFileInfo>

namespace {

QDateTime fromStore(qint64 ms) {
    return QDateTime::fromMSecsSinceEpoch(ms).toLocalTime();
}

} // namespace

StoreItem::StoreItem(std::shared_ptr<StoreSession> session, qint64 id)
    : mSession(std::move(session))
    , mId(id) {}

void StoreItem::requireType(int type) const {
    if (Type() != type)
        StoreSession::Raise(StoreErrors::WrongType,
                            type == File ? QStringLiteral("'%1' is a project, not a file.").arg(Spec())
                                         : QStringLiteral("'%1' is a file, not a project.").arg(Spec()));
}

int StoreItem::Type() const {
    return mSession->TypeOf(mId);
}

QString StoreItem::Spec() const {
    return mSession->SpecOf(mId);
}

QString StoreItem::Name() const {
    return mSession->NameOf(mId);
}

void StoreItem::SetName(const QString& name) {
    StoreSession::CheckName(name);
    if (mId == StoreSession::rootId)
        StoreSession::Raise(StoreErrors::InvalidName, QStringLiteral("The root project cannot be renamed."));
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Add);
    mSession->RequireNotHeldByOthers(mId);
    const QString old = Name();
    if (!Deleted() && mSession->NameTaken(mSession->ParentOf(mId), name, mId))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in that project.").arg(name));
    Statement update(*mSession->db, "UPDATE items SET name = ?2 WHERE id = ?1");
    update.Bind(1, mId).Bind(2, name).Run();
    mSession->Record(mId, QStringLiteral("Renamed '%1' to '%2'").arg(old, name), QString(),
                     mSession->HeadContent(mId));
    transaction.Commit();
}

bool StoreItem::Deleted() const {
    return mSession->IsDeleted(mId);
}

void StoreItem::SetDeleted(bool deleted) {
    if (mId == StoreSession::rootId)
        StoreSession::Raise(StoreErrors::InvalidName, QStringLiteral("The root project cannot be deleted."));
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Add);
    if (Deleted() == deleted)
        return;
    if (deleted) {
        mSession->RequireNotHeldByOthers(mId);
        Statement release(*mSession->db, "DELETE FROM checkouts WHERE item = ?1");
        release.Bind(1, mId).Run();
    } else if (mSession->NameTaken(mSession->ParentOf(mId), Name())) {
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in that project.").arg(Name()));
    }
    Statement update(*mSession->db, "UPDATE items SET deleted = ?2, deleted_at = ?3 WHERE id = ?1");
    update.Bind(1, mId).Bind(2, deleted ? 1 : 0).Bind(3, deleted ? StoreSession::Now() : 0).Run();
    mSession->Record(mId, deleted ? QStringLiteral("Deleted") : QStringLiteral("Recovered"), QString(),
                     mSession->HeadContent(mId));
    transaction.Commit();
}

void StoreItem::RecoverAs(const QString& name) {
    StoreSession::CheckName(name);
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Add);
    if (!Deleted())
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is not deleted.").arg(Spec()));
    if (mSession->NameTaken(mSession->ParentOf(mId), name))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in that project.").arg(name));
    const QString old = Name();
    Statement update(*mSession->db, "UPDATE items SET name = ?2, deleted = 0, deleted_at = 0 WHERE id = ?1");
    update.Bind(1, mId).Bind(2, name).Run();
    const QByteArray head = mSession->HeadContent(mId);
    if (old != name)
        mSession->Record(mId, QStringLiteral("Renamed '%1' to '%2'").arg(old, name), QString(), head);
    mSession->Record(mId, QStringLiteral("Recovered"), QString(), head);
    transaction.Commit();
}

QStringList StoreItem::Holders() const {
    return mSession->Holders(mId);
}

int StoreItem::IsCheckedOut() const {
    return mSession->CheckoutState(mId);
}

QList<StoreCheckout> StoreItem::Checkouts() const {
    mSession->Require(mId, StoreRights::Read);
    Statement s(*mSession->db,
                "SELECT user, date, local, comment FROM checkouts WHERE item = ?1 ORDER BY date, rowid");
    s.Bind(1, mId);
    QList<StoreCheckout> result;
    while (s.Step())
        result << StoreCheckout{s.Text(0), fromStore(s.Int(1)), s.Text(2), s.Text(3)};
    return result;
}

int StoreItem::VersionNumber() const {
    return mSession->HeadNumber(mId);
}

QList<StoreVersion> StoreItem::Versions() const {
    mSession->Require(mId, StoreRights::Read);
    Statement s(*mSession->db, "SELECT seq, number, is_label, user, action, date, comment, label_comment "
                               "FROM history WHERE item = ?1 ORDER BY seq DESC");
    s.Bind(1, mId);
    QList<StoreVersion> result;
    while (s.Step()) {
        StoreVersion v;
        v.mSession = mSession;
        v.mItem = mId;
        v.mSeq = s.Int(0);
        v.mNumber = static_cast<int>(s.Int(1));
        v.mIsLabel = s.Int(2) != 0;
        v.mUser = s.Text(3);
        v.mAction = s.Text(4);
        v.mDate = fromStore(s.Int(5));
        v.mComment = s.Text(6);
        v.mLabelComment = s.Text(7);
        result << v;
    }
    return result;
}

QList<StoreItem> StoreItem::Items(bool includeDeleted) const {
    requireType(Project);
    mSession->Require(mId, StoreRights::Read);
    Statement s(*mSession->db, "SELECT id FROM items WHERE parent = ?1 AND (deleted = 0 OR ?2) ORDER BY "
                               "name, deleted, deleted_at DESC, id");
    s.Bind(1, mId).Bind(2, includeDeleted ? 1 : 0);
    QList<StoreItem> result;
    while (s.Step())
        result << StoreItem(mSession, s.Int(0));
    return result;
}

void StoreItem::Get(QString& local) const {
    requireType(File);
    const QString path = CleanLocalPath(local);
    Transaction snapshot(*mSession->db, Transaction::Read);
    mSession->Require(mId, StoreRights::Read);
    const QString working = mSession->CheckoutLocal(mId);
    const bool mine = mSession->CheckoutState(mId) == CheckedOutMe;
    const QByteArray head = mSession->HeadContent(mId);
    snapshot.Commit();
    if (mine && path == working && FileExists(path) && !IsReadOnlyFile(path))
        StoreSession::Raise(
            StoreErrors::WorkingFileProtected,
            QStringLiteral("'%1' is checked out to '%2', which holds your changes; it was not "
                           "replaced.")
                .arg(Spec(), path));
    WriteWorkingFile(path, head, !mine);
    local = path;
}

void StoreItem::Checkout(const QString& comment, const QString& local) {
    requireType(File);
    const QString path = CleanLocalPath(local);
    {
        Transaction transaction(*mSession->db);
        mSession->Require(mId, StoreRights::Checkout);
        if (Deleted())
            StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(Spec()));
        const int state = mSession->CheckoutState(mId);
        if (state == CheckedOutMe)
            StoreSession::Raise(StoreErrors::AlreadyCheckedOut,
                                QStringLiteral("You currently have '%1' checked out.").arg(Spec()));
        if (state == CheckedOut && !mSession->MultipleCheckouts())
            StoreSession::Raise(StoreErrors::CheckedOutByOther,
                                QStringLiteral("'%1' is checked out by %2.")
                                    .arg(Spec(), mSession->Holders(mId).join(QStringLiteral(", "))));
        Statement insert(
            *mSession->db,
            "INSERT INTO checkouts(item, user, date, local, comment) VALUES(?1, ?2, ?3, ?4, ?5)");
        insert.Bind(1, mId).Bind(2, mSession->userName).Bind(3, StoreSession::Now()).Bind(4, path);
        insert.Bind(5, comment).Run();
        // Written before the commit: a check-out whose working file can't be written never happened.
        if (!path.isEmpty())
            WriteWorkingFile(path, mSession->HeadContent(mId), false);
        transaction.Commit();
    }
}

int StoreItem::Checkin(const QString& comment, const QString& local) {
    requireType(File);
    mSession->Require(mId, StoreRights::Checkout);
    const QString path = CleanLocalPath(local);
    auto requireMine = [this] {
        if (mSession->CheckoutState(mId) != CheckedOutMe)
            StoreSession::Raise(StoreErrors::NotCheckedOut,
                                QStringLiteral("You do not have '%1' checked out.").arg(Spec()));
    };
    // Looked at before the file is read, so that a user who holds nothing hears that first; and again
    // inside the transaction, where it counts.
    requireMine();
    const QByteArray content = ReadWorkingFile(path);
    Transaction transaction(*mSession->db);
    requireMine();
    const int number = mSession->Record(mId, QStringLiteral("Checked in"), comment, content);
    Statement release(*mSession->db, "DELETE FROM checkouts WHERE item = ?1 AND user = ?2");
    release.Bind(1, mId).Bind(2, mSession->userName).Run();
    transaction.Commit();
    SetReadOnlyFile(path, true);
    return number;
}

void StoreItem::UndoCheckout(const QString& local) {
    requireType(File);
    const QString path = CleanLocalPath(local);
    QByteArray head;
    {
        Transaction transaction(*mSession->db);
        mSession->Require(mId, StoreRights::Checkout);
        if (mSession->CheckoutState(mId) != CheckedOutMe)
            StoreSession::Raise(StoreErrors::NotCheckedOut,
                                QStringLiteral("You do not have '%1' checked out.").arg(Spec()));
        Statement release(*mSession->db, "DELETE FROM checkouts WHERE item = ?1 AND user = ?2");
        release.Bind(1, mId).Bind(2, mSession->userName).Run();
        head = mSession->HeadContent(mId);
        transaction.Commit();
    }
    if (!path.isEmpty())
        WriteWorkingFile(path, head, true);
}

int StoreItem::Label(const QString& label, const QString& comment) {
    if (label.trimmed().isEmpty())
        StoreSession::Raise(StoreErrors::InvalidName, QStringLiteral("A label needs a name."));
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Checkout);
    if (Deleted())
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(Spec()));
    const int number = mSession->Record(mId, QStringLiteral("Labeled '%1'").arg(label), QString(),
                                        mSession->HeadContent(mId), true, comment);
    transaction.Commit();
    return number;
}

StoreItem StoreItem::Add(const QString& local, const QString& comment) {
    requireType(Project);
    const QString path = CleanLocalPath(local);
    const QString name = QFileInfo(path).fileName();
    StoreSession::CheckName(name);
    const QByteArray content = ReadWorkingFile(path);
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Add);
    if (Deleted())
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(Spec()));
    if (mSession->NameTaken(mId, name))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in '%2'.").arg(name, Spec()));
    Statement insert(*mSession->db, "INSERT INTO items(parent, name, type) VALUES(?1, ?2, ?3)");
    insert.Bind(1, mId).Bind(2, name).Bind(3, static_cast<int>(File)).Run();
    const qint64 id = mSession->db->LastInsertId();
    mSession->Record(id, QStringLiteral("Created"), comment, content);
    transaction.Commit();
    SetReadOnlyFile(path, true);
    return StoreItem(mSession, id);
}

StoreItem StoreItem::NewSubproject(const QString& name, const QString& comment) {
    requireType(Project);
    StoreSession::CheckName(name);
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Add);
    if (Deleted())
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is deleted.").arg(Spec()));
    if (mSession->NameTaken(mId, name))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("An item named '%1' already exists in '%2'.").arg(name, Spec()));
    Statement insert(*mSession->db, "INSERT INTO items(parent, name, type) VALUES(?1, ?2, ?3)");
    insert.Bind(1, mId).Bind(2, name).Bind(3, static_cast<int>(Project)).Run();
    const qint64 id = mSession->db->LastInsertId();
    mSession->Record(id, QStringLiteral("Created"), comment, QByteArray());
    transaction.Commit();
    return StoreItem(mSession, id);
}

void StoreItem::Destroy() {
    if (mId == StoreSession::rootId)
        StoreSession::Raise(StoreErrors::InvalidName,
                            QStringLiteral("The root project cannot be destroyed."));
    Transaction transaction(*mSession->db);
    mSession->Require(mId, StoreRights::Destroy);
    mSession->RequireNotHeldByOthers(mId, true);
    QList<qint64> tree;
    Statement find(*mSession->db,
                   "WITH RECURSIVE tree(id, depth) AS (SELECT ?1, 0 UNION ALL "
                   "SELECT items.id, tree.depth + 1 FROM items JOIN tree ON items.parent = tree.id) "
                   "SELECT id FROM tree ORDER BY depth DESC");
    find.Bind(1, mId);
    while (find.Step())
        tree << find.Int(0);
    // Deepest first, so that no row is left pointing at an item that is gone.
    for (const qint64 id : tree)
        for (const char* sql :
             {"DELETE FROM checkouts WHERE item = ?1", "DELETE FROM history WHERE item = ?1",
              "DELETE FROM rights WHERE item = ?1", "DELETE FROM items WHERE id = ?1"}) {
            Statement remove(*mSession->db, sql);
            remove.Bind(1, id).Run();
        }
    transaction.Commit();
}
