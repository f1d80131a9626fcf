// The administrator's side of the store's rules: its options and the users' project rights.
#include "VersionStore.h"

#include "StoreEngine.h"
#include "StoreErrors.h"
#include "StoreRights.h"
#include "StoreSession.h"

StoreSession& VersionStore::adminSession(const QString& what) const {
    StoreSession& s = session();
    // Told before the path is looked at; the engine checks again where it counts.
    if (!s.admin)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("Only the administrator may %1.").arg(what));
    return s;
}

bool VersionStore::MultipleCheckouts() const {
    return session().Engine().Option(QStringLiteral("MultipleCheckouts")) == QLatin1String("yes");
}

void VersionStore::SetMultipleCheckouts(bool allowed) {
    StoreSession& s = adminSession(QStringLiteral("change the store's options"));
    s.Engine().SetOption(QStringLiteral("MultipleCheckouts"),
                         allowed ? QStringLiteral("yes") : QStringLiteral("no"));
}

int VersionStore::DefaultRights() const {
    int rights = StoreRights::Default;
    StoreRights::Parse(session().Engine().Option(QStringLiteral("DefaultRights")), rights);
    return rights;
}

void VersionStore::SetDefaultRights(int rights) {
    StoreSession& s = adminSession(QStringLiteral("change the store's options"));
    s.Engine().SetOption(QStringLiteral("DefaultRights"), StoreRights::Format(rights & StoreRights::All));
}

void VersionStore::SetRights(const QString& project, const QString& user, int rights) {
    StoreSession& s = adminSession(QStringLiteral("set rights"));
    s.Engine().SetRights(s.Resolve(project, false), user, rights & StoreRights::All);
}

void VersionStore::InheritRights(const QString& project, const QString& user) {
    StoreSession& s = adminSession(QStringLiteral("set rights"));
    s.Engine().InheritRights(s.Resolve(project, false), user);
}

QList<VersionStore::UserRights> VersionStore::Rights(const QString& project) const {
    StoreSession& s = session();
    return s.Engine().Rights(s.Resolve(project, false));
}
