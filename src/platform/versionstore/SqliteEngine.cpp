// The embedded engine's reading of items and its rules: rights, options, users and logins.
#include "SqliteEngine.h"

#include "PasswordHash.h"
#include "StoreErrors.h"
#include "StoreLogins.h"
#include "StoreRights.h"
#include "StoreSchema.h"
#include "StoreSession.h"
#include "TARMOError.h"

#include <QDir>
#include <QFileInfo>

namespace {

QDateTime fromStore(qint64 ms) {
    return QDateTime::fromMSecsSinceEpoch(ms).toLocalTime();
}

// A memory-hard hash: a copy of the data folder must not hand out the passwords cheaply. The salt
// lives inside the hash; the column of the older hashes' salt stays empty.
QByteArray newHash(const QString& password) {
    QByteArray hash = PasswordHash::Make(password);
    if (hash.isEmpty())
        StoreSession::Raise(StoreErrors::Database,
                            QStringLiteral("There is not enough memory to hash the password."));
    return hash;
}

void writeUser(StoreConnection& db, const QString& name, const QString& password, bool admin, bool insert) {
    Statement s(db, insert ? "INSERT INTO users(name, salt, hash, admin) VALUES(?1, ?2, ?3, ?4)"
                           : "UPDATE users SET salt = ?2, hash = ?3 WHERE name = ?1");
    s.Bind(1, name).BindBlob(2, QByteArray()).BindBlob(3, newHash(password));
    if (insert)
        s.Bind(4, admin ? 1 : 0);
    s.Run();
}

// Best effort: a store on a read-only medium still lets its users in with the older hash.
void upgradeHash(StoreConnection& db, const QString& name, const QByteArray& old, const QString& password) {
    const QByteArray hash = PasswordHash::Make(password);
    if (hash.isEmpty())
        return;
    try {
        // Compared with the old hash, so that a password changed meanwhile by another process stays.
        Statement s(db, "UPDATE users SET salt = ?2, hash = ?3 WHERE name = ?1 AND hash = ?4");
        s.Bind(1, name).BindBlob(2, QByteArray()).BindBlob(3, hash).BindBlob(4, old).Run();
    } catch (const TARMOError&) {
    }
}

} // namespace

SqliteEngine::SqliteEngine(StoreSession& session, std::unique_ptr<StoreConnection> db)
    : mSession(session)
    , mDb(std::move(db)) {}

void SqliteEngine::Create(const StoreIni& ini, const QString& adminPassword, bool multipleCheckouts) {
    StoreConnection db(ini.DatabaseFile(), ini.busyTimeoutMs, true);
    UpgradeStore(db, multipleCheckouts);
    Transaction transaction(db);
    writeUser(db, QStringLiteral("Admin"), adminPassword, true, true);
    transaction.Commit();
}

std::unique_ptr<SqliteEngine> SqliteEngine::Open(StoreSession& s, const QString& userName,
                                                 const QString& password) {
    if (!QFileInfo::exists(s.ini.DatabaseFile()))
        StoreSession::Raise(
            StoreErrors::IniFile,
            QStringLiteral("The store's data '%1' does not exist.").arg(s.ini.DatabaseFile()));
    auto engine = std::make_unique<SqliteEngine>(
        s, std::make_unique<StoreConnection>(s.ini.DatabaseFile(), s.ini.busyTimeoutMs, false));
    StoreConnection& db = *engine->mDb;
    UpgradeStore(db, s.ini.multipleCheckouts);
    const QString name = userName.trimmed();
    StoreLogins logins(db, s.ini.dataFolder);
    logins.HoldBack(name);
    QByteArray salt, stored;
    {
        Statement find(db, "SELECT name, salt, hash, admin FROM users WHERE name = ?1");
        find.Bind(1, name);
        if (find.Step()) {
            s.userName = find.Text(0);
            salt = find.Blob(1);
            stored = find.Blob(2);
            s.admin = find.Int(3) != 0;
        }
    }
    if (s.userName.isEmpty()) {
        logins.Refused(name, QStringLiteral("unknown user"));
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(userName));
    }
    const PasswordHash::Check check =
        PasswordHash::Verify(password, stored, salt, PasswordHash::Legacy::Store);
    if (!check.matches) {
        logins.Refused(name, QStringLiteral("wrong password"));
        StoreSession::Raise(StoreErrors::Login,
                            QStringLiteral("Invalid password for user \"%1\"").arg(userName));
    }
    logins.Accepted(name);
    if (check.wantsRehash)
        upgradeHash(db, s.userName, stored, password);
    return engine;
}

void SqliteEngine::RequirePresent() {
    const StoreIni& ini = mSession.ini;
    if (!QFileInfo::exists(ini.DatabaseFile()))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The store's data '%1' does not exist.").arg(ini.DatabaseFile()));
}

qint64 SqliteEngine::Resolve(qint64 from, const QStringList& parts, bool deleted, const QString& spec) {
    qint64 id = from;
    if (parts.isEmpty()) {
        if (deleted != IsDeleted(id))
            StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' was not found.").arg(spec));
        return id;
    }
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const bool last = i == parts.size() - 1;
        Statement find(*mDb, "SELECT id, type FROM items WHERE parent = ?1 AND name = ?2 AND deleted = ?3 "
                             "ORDER BY deleted_at DESC, id DESC LIMIT 1");
        find.Bind(1, id).Bind(2, parts[i]).Bind(3, (last && deleted) ? 1 : 0);
        if (!find.Step() || (!last && find.Int(1) != StoreSession::Project))
            StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' was not found.").arg(spec));
        id = find.Int(0);
    }
    return id;
}

QString SqliteEngine::SpecOf(qint64 id) {
    QStringList names;
    while (id != StoreSession::rootId) {
        names.prepend(NameOf(id));
        id = parentOf(id);
    }
    return QStringLiteral("$/") + names.join(QLatin1Char('/'));
}

QString SqliteEngine::NameOf(qint64 id) {
    Statement s(*mDb, "SELECT name FROM items WHERE id = ?1");
    s.Bind(1, id);
    if (!s.Step())
        StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("The item no longer exists."));
    return s.Text(0);
}

int SqliteEngine::TypeOf(qint64 id) {
    Statement s(*mDb, "SELECT type FROM items WHERE id = ?1");
    s.Bind(1, id);
    return s.Step() ? static_cast<int>(s.Int(0)) : StoreSession::File;
}

bool SqliteEngine::IsDeleted(qint64 id) {
    Statement s(*mDb, "SELECT deleted FROM items WHERE id = ?1");
    s.Bind(1, id);
    return s.Step() && s.Int(0) != 0;
}

qint64 SqliteEngine::parentOf(qint64 id) {
    Statement s(*mDb, "SELECT parent FROM items WHERE id = ?1");
    s.Bind(1, id);
    return s.Step() && !s.IsNull(0) ? s.Int(0) : StoreSession::rootId;
}

int SqliteEngine::HeadNumber(qint64 id) {
    Statement s(*mDb, "SELECT MAX(number) FROM history WHERE item = ?1");
    s.Bind(1, id);
    return s.Step() ? static_cast<int>(s.Int(0)) : 0;
}

QByteArray SqliteEngine::headContent(qint64 id) {
    Statement s(*mDb,
                "SELECT seq FROM history WHERE item = ?1 AND is_label = 0 ORDER BY number DESC LIMIT 1");
    s.Bind(1, id);
    return s.Step() ? contentOf(s.Int(0)) : QByteArray("");
}

QByteArray SqliteEngine::contentOf(qint64 seq) {
    Statement s(*mDb, "SELECT item, number, content, checksum FROM history WHERE seq = ?1");
    s.Bind(1, seq);
    if (!s.Step())
        StoreSession::Raise(StoreErrors::NoVersion, QStringLiteral("The version no longer exists."));
    QByteArray content = s.Blob(2);
    if (!StoreSession::Intact(content, !s.IsNull(3), s.Blob(3)))
        StoreSession::RaiseDamaged(s.Int(1), SpecOf(s.Int(0)));
    return content.isNull() ? QByteArray("") : content;
}

int SqliteEngine::record(qint64 id, const QString& action, const QString& comment, const QByteArray& content,
                         bool isLabel, const QString& labelComment) {
    const int number = HeadNumber(id) + (isLabel ? 0 : 1);
    Statement insert(*mDb,
                     "INSERT INTO history(item, number, is_label, user, action, date, comment, "
                     "label_comment, content, checksum) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)");
    insert.Bind(1, id).Bind(2, number).Bind(3, isLabel ? 1 : 0).Bind(4, mSession.userName).Bind(5, action);
    insert.Bind(6, StoreSession::Now()).Bind(7, comment).Bind(8, labelComment);
    if (TypeOf(id) == StoreSession::File) {
        insert.BindBlob(9, content).BindBlob(10, TextChecksum(content));
    } else {
        insert.BindNull(9).BindBlob(10, TextChecksum(QByteArray()));
    }
    insert.Run();
    return number;
}

int SqliteEngine::CheckoutState(qint64 id) {
    Statement s(*mDb, "SELECT COUNT(*), SUM(user = ?2) FROM checkouts WHERE item = ?1");
    s.Bind(1, id).Bind(2, mSession.userName);
    if (!s.Step() || s.Int(0) == 0)
        return 0;
    return s.Int(1) > 0 ? 2 : 1;
}

QStringList SqliteEngine::Holders(qint64 id) {
    Statement s(*mDb, "SELECT user FROM checkouts WHERE item = ?1 ORDER BY date, rowid");
    s.Bind(1, id);
    QStringList holders;
    while (s.Step())
        holders << s.Text(0);
    return holders;
}

QString SqliteEngine::checkoutLocal(qint64 id) {
    Statement s(*mDb, "SELECT local FROM checkouts WHERE item = ?1 AND user = ?2");
    s.Bind(1, id).Bind(2, mSession.userName);
    return s.Step() ? s.Text(0) : QString();
}

bool SqliteEngine::nameTaken(qint64 parent, const QString& name, qint64 except) {
    Statement s(*mDb, "SELECT 1 FROM items WHERE parent = ?1 AND name = ?2 AND deleted = 0 AND id <> ?3");
    s.Bind(1, parent).Bind(2, name).Bind(3, except);
    return s.Step();
}

void SqliteEngine::requireType(qint64 id, int type) {
    if (TypeOf(id) != type)
        StoreSession::Raise(StoreErrors::WrongType,
                            type == StoreSession::File
                                ? QStringLiteral("'%1' is a project, not a file.").arg(SpecOf(id))
                                : QStringLiteral("'%1' is a file, not a project.").arg(SpecOf(id)));
}

void SqliteEngine::require(qint64 id, int right) {
    if (mSession.admin)
        return;
    const qint64 project = TypeOf(id) == StoreSession::Project ? id : parentOf(id);
    if (!(rightsIn(project, mSession.userName) & right))
        StoreSession::Raise(StoreErrors::NoRight,
                            QStringLiteral("%1 does not have the %2 right in '%3'.")
                                .arg(mSession.userName, StoreRights::NameOf(right), SpecOf(project)));
}

int SqliteEngine::rightsIn(qint64 project, const QString& user, qint64* source) {
    // The nearest entry up the path wins, so that a project can give less, or more, than its parent.
    Statement s(*mDb, "WITH RECURSIVE up(id, depth) AS (SELECT ?1, 0 UNION ALL "
                      "SELECT items.parent, up.depth + 1 FROM items JOIN up ON items.id = up.id "
                      "WHERE items.parent IS NOT NULL) "
                      "SELECT rights.rights, up.id FROM up JOIN rights ON rights.item = up.id "
                      "AND rights.user = ?2 ORDER BY up.depth LIMIT 1");
    s.Bind(1, project).Bind(2, user);
    if (s.Step()) {
        if (source)
            *source = s.Int(1);
        return static_cast<int>(s.Int(0));
    }
    if (source)
        *source = 0;
    int rights = StoreRights::Default;
    StoreRights::Parse(Option(QStringLiteral("DefaultRights")), rights);
    return rights;
}

void SqliteEngine::requireNotHeldByOthers(qint64 id, bool deletedToo) {
    Statement s(
        *mDb, "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL "
              "SELECT items.id FROM items JOIN tree ON items.parent = tree.id WHERE items.deleted = 0 OR ?3) "
              "SELECT checkouts.item, checkouts.user FROM checkouts JOIN tree ON checkouts.item = tree.id "
              "WHERE checkouts.user <> ?2 ORDER BY checkouts.date, checkouts.rowid LIMIT 1");
    s.Bind(1, id).Bind(2, mSession.userName).Bind(3, deletedToo ? 1 : 0);
    if (!s.Step())
        return;
    const QString held = SpecOf(s.Int(0));
    if (s.Int(0) == id)
        StoreSession::Raise(StoreErrors::CheckedOutByOther,
                            QStringLiteral("'%1' is checked out by %2.").arg(held, s.Text(1)));
    StoreSession::Raise(
        StoreErrors::CheckedOutByOther,
        QStringLiteral("'%1' holds '%2', which is checked out by %3.").arg(SpecOf(id), held, s.Text(1)));
}

QString SqliteEngine::Option(const QString& name) {
    Statement s(*mDb, "SELECT value FROM options WHERE name = ?1");
    s.Bind(1, name);
    return s.Step() ? s.Text(0) : QString();
}

void SqliteEngine::SetOption(const QString& name, const QString& value) {
    requireAdmin(QStringLiteral("change the store's options"));
    Transaction transaction(*mDb);
    Statement s(*mDb, "INSERT OR REPLACE INTO options(name, value) VALUES(?1, ?2)");
    s.Bind(1, name).Bind(2, value).Run();
    transaction.Commit();
}

bool SqliteEngine::multipleCheckouts() {
    return Option(QStringLiteral("MultipleCheckouts")) == QLatin1String("yes");
}

void SqliteEngine::requireAdmin(const QString& what) {
    if (!mSession.admin)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("Only the administrator may %1.").arg(what));
}

void SqliteEngine::requireProject(qint64 id) {
    if (TypeOf(id) != StoreSession::Project)
        StoreSession::Raise(StoreErrors::WrongType,
                            QStringLiteral("'%1' is a file; rights belong to projects.").arg(SpecOf(id)));
}

QString SqliteEngine::storedUserName(const QString& name, bool* admin) {
    Statement find(*mDb, "SELECT name, admin FROM users WHERE name = ?1");
    find.Bind(1, name.trimmed());
    if (!find.Step())
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(name));
    if (admin)
        *admin = find.Int(1) != 0;
    return find.Text(0);
}

void SqliteEngine::AddUser(const QString& name, const QString& password) {
    if (!mSession.admin)
        StoreSession::Raise(StoreErrors::Permission, QStringLiteral("Only the administrator may add users."));
    StoreSession::CheckUserName(name);
    Transaction transaction(*mDb);
    Statement find(*mDb, "SELECT 1 FROM users WHERE name = ?1");
    find.Bind(1, name);
    if (find.Step())
        StoreSession::Raise(StoreErrors::NameExists, QStringLiteral("User \"%1\" already exists").arg(name));
    writeUser(*mDb, name, password, false, true);
    transaction.Commit();
}

void SqliteEngine::SetPassword(const QString& name, const QString& password) {
    if (!mSession.admin && name.compare(mSession.userName, Qt::CaseInsensitive) != 0)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("Only the administrator may change another user's password."));
    Transaction transaction(*mDb);
    Statement find(*mDb, "SELECT 1 FROM users WHERE name = ?1");
    find.Bind(1, name);
    if (!find.Step())
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(name));
    writeUser(*mDb, name, password, false, false);
    transaction.Commit();
}

QStringList SqliteEngine::Users() {
    Statement s(*mDb, "SELECT name FROM users ORDER BY name");
    QStringList names;
    while (s.Step())
        names << s.Text(0);
    return names;
}

void SqliteEngine::SetRights(qint64 project, const QString& user, int rights) {
    requireAdmin(QStringLiteral("set rights"));
    Transaction transaction(*mDb);
    requireProject(project);
    bool admin = false;
    const QString name = storedUserName(user, &admin);
    if (admin)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("The administrator always has every right."));
    Statement set(*mDb, "INSERT OR REPLACE INTO rights(item, user, rights) VALUES(?1, ?2, ?3)");
    set.Bind(1, project).Bind(2, name).Bind(3, rights & StoreRights::All).Run();
    transaction.Commit();
}

void SqliteEngine::InheritRights(qint64 project, const QString& user) {
    requireAdmin(QStringLiteral("set rights"));
    Transaction transaction(*mDb);
    requireProject(project);
    Statement drop(*mDb, "DELETE FROM rights WHERE item = ?1 AND user = ?2");
    drop.Bind(1, project).Bind(2, storedUserName(user)).Run();
    transaction.Commit();
}

QList<VersionStore::UserRights> SqliteEngine::Rights(qint64 project) {
    Transaction snapshot(*mDb, Transaction::Read);
    requireProject(project);
    require(project, StoreRights::Read);
    QList<VersionStore::UserRights> result;
    Statement users(*mDb, "SELECT name, admin FROM users ORDER BY name");
    while (users.Step()) {
        VersionStore::UserRights entry{users.Text(0), StoreRights::All, QString(), users.Int(1) != 0};
        if (!entry.Administrator) {
            qint64 source = 0;
            entry.Rights = rightsIn(project, entry.UserName, &source);
            if (source != 0)
                entry.From = SpecOf(source);
        }
        result << entry;
    }
    snapshot.Commit();
    return result;
}

QList<StoreCheckout> SqliteEngine::Checkouts(qint64 id) {
    require(id, StoreRights::Read);
    Statement s(*mDb,
                "SELECT user, date, local, comment FROM checkouts WHERE item = ?1 ORDER BY date, rowid");
    s.Bind(1, id);
    QList<StoreCheckout> result;
    while (s.Step())
        result << StoreCheckout{s.Text(0), fromStore(s.Int(1)), s.Text(2), s.Text(3)};
    return result;
}

QList<StoreHistoryRow> SqliteEngine::History(qint64 id) {
    require(id, StoreRights::Read);
    Statement s(*mDb, "SELECT seq, number, is_label, user, action, date, comment, label_comment "
                      "FROM history WHERE item = ?1 ORDER BY seq DESC");
    s.Bind(1, id);
    QList<StoreHistoryRow> result;
    while (s.Step())
        result << StoreHistoryRow{
            s.Int(0), static_cast<int>(s.Int(1)), s.Int(2) != 0, s.Text(3), s.Text(4), s.Int(5), s.Text(6),
            s.Text(7)};
    return result;
}

QList<qint64> SqliteEngine::Children(qint64 id, bool includeDeleted) {
    requireType(id, StoreSession::Project);
    require(id, StoreRights::Read);
    Statement s(*mDb, "SELECT id FROM items WHERE parent = ?1 AND (deleted = 0 OR ?2) ORDER BY "
                      "name, deleted, deleted_at DESC, id");
    s.Bind(1, id).Bind(2, includeDeleted ? 1 : 0);
    QList<qint64> result;
    while (s.Step())
        result << s.Int(0);
    return result;
}

QByteArray SqliteEngine::VersionText(qint64 item, qint64 seq) {
    require(item, StoreRights::Read);
    return contentOf(seq);
}

QString SqliteEngine::WorkingFileOf(qint64 item) {
    require(item, StoreRights::Read);
    return CheckoutState(item) == StoreItem::CheckedOutMe ? checkoutLocal(item) : QString();
}
