// The administrator's side of the store's rules: its options and the users' project rights.
#include "VersionStore.h"

#include "StoreErrors.h"
#include "StoreRights.h"
#include "StoreSession.h"

StoreSession& VersionStore::adminSession(const QString& what) const {
    StoreSession& s = session();
    if (!s.admin)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("Only the administrator may %1.").arg(what));
    return s;
}

qint64 VersionStore::projectOf(const QString& spec) const {
    StoreSession& s = session();
    const qint64 id = s.Resolve(spec, false);
    if (s.TypeOf(id) != StoreSession::Project)
        StoreSession::Raise(StoreErrors::WrongType,
                            QStringLiteral("'%1' is a file; rights belong to projects.").arg(spec));
    return id;
}

QString VersionStore::storedUserName(const QString& name, bool* admin) const {
    Statement find(*session().db, "SELECT name, admin FROM users WHERE name = ?1");
    find.Bind(1, name.trimmed());
    if (!find.Step())
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(name));
    if (admin)
        *admin = find.Int(1) != 0;
    return find.Text(0);
}

void VersionStore::SetMultipleCheckouts(bool allowed) {
    StoreSession& s = adminSession(QStringLiteral("change the store's options"));
    Transaction transaction(*s.db);
    s.SetOption(QStringLiteral("MultipleCheckouts"), allowed ? QStringLiteral("yes") : QStringLiteral("no"));
    transaction.Commit();
}

int VersionStore::DefaultRights() const {
    int rights = StoreRights::Default;
    StoreRights::Parse(session().Option(QStringLiteral("DefaultRights")), rights);
    return rights;
}

void VersionStore::SetDefaultRights(int rights) {
    StoreSession& s = adminSession(QStringLiteral("change the store's options"));
    Transaction transaction(*s.db);
    s.SetOption(QStringLiteral("DefaultRights"), StoreRights::Format(rights & StoreRights::All));
    transaction.Commit();
}

void VersionStore::SetRights(const QString& project, const QString& user, int rights) {
    StoreSession& s = adminSession(QStringLiteral("set rights"));
    Transaction transaction(*s.db);
    const qint64 id = projectOf(project);
    bool admin = false;
    const QString name = storedUserName(user, &admin);
    if (admin)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("The administrator always has every right."));
    Statement set(*s.db, "INSERT OR REPLACE INTO rights(item, user, rights) VALUES(?1, ?2, ?3)");
    set.Bind(1, id).Bind(2, name).Bind(3, rights & StoreRights::All).Run();
    transaction.Commit();
}

void VersionStore::InheritRights(const QString& project, const QString& user) {
    StoreSession& s = adminSession(QStringLiteral("set rights"));
    Transaction transaction(*s.db);
    const qint64 id = projectOf(project);
    Statement drop(*s.db, "DELETE FROM rights WHERE item = ?1 AND user = ?2");
    drop.Bind(1, id).Bind(2, storedUserName(user)).Run();
    transaction.Commit();
}

QList<VersionStore::UserRights> VersionStore::Rights(const QString& project) const {
    StoreSession& s = session();
    Transaction snapshot(*s.db, Transaction::Read);
    const qint64 id = projectOf(project);
    s.Require(id, StoreRights::Read);
    QList<UserRights> result;
    Statement users(*s.db, "SELECT name, admin FROM users ORDER BY name");
    while (users.Step()) {
        UserRights entry{users.Text(0), StoreRights::All, QString(), users.Int(1) != 0};
        if (!entry.Administrator) {
            qint64 source = 0;
            entry.Rights = s.RightsIn(id, entry.UserName, &source);
            if (source != 0)
                entry.From = s.SpecOf(source);
        }
        result << entry;
    }
    snapshot.Commit();
    return result;
}
