#include "ServerState.h"

#include "Catalogue.h"
#include "LoginThrottle.h"
#include "PasswordHash.h"
#include "ServerError.h"
#include "SqliteDb.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

namespace {

QByteArray RandomBytes(int n) {
    QByteArray b(n, Qt::Uninitialized);
    for (int i = 0; i < n; ++i)
        b[i] = char(QRandomGenerator::system()->bounded(256));
    return b;
}

// One table for the whole process: a listener makes a server object per connection.
LoginThrottle::Failures& loginFailures() {
    static LoginThrottle::Failures failures;
    return failures;
}

QString clientKey(const QString& folder, const QString& client) {
    return folder + QLatin1Char('\n') + client;
}

QByteArray newHash(const QString& password) {
    QByteArray hash = PasswordHash::Make(password);
    if (hash.isEmpty())
        throw ServerError::Make(701, 17,
                                QStringLiteral("There is insufficient system memory in resource pool "
                                               "'default' to run this query."));
    return hash;
}

} // namespace

QString ServerState::MasterPath(const QString& folder) {
    return QDir(folder).filePath(QStringLiteral("master.db"));
}
QString ServerState::MasterPath() const {
    return MasterPath(folder);
}

QString ServerState::DatabasePath(const QString& name) const {
    if (name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0)
        return MasterPath();
    SqliteDb m(MasterPath());
    const QVariant file =
        m.Scalar(QStringLiteral("SELECT filename FROM sysdatabases WHERE name = ?"), {name});
    if (!file.isValid())
        return {};
    return QDir(folder).filePath(file.toString());
}

QString ServerState::DatabaseName(const QString& name) const {
    SqliteDb m(MasterPath());
    return m.Scalar(QStringLiteral("SELECT name FROM sysdatabases WHERE name = ?"), {name}).toString();
}

QStringList ServerState::DatabaseNames() const {
    SqliteDb m(MasterPath());
    QStringList names;
    for (const QVariantList& r : m.Rows(QStringLiteral("SELECT name FROM sysdatabases ORDER BY dbid")))
        names.append(r[0].toString());
    return names;
}

static LoginInfo ReadLogin(const QList<QVariantList>& rows) {
    LoginInfo l;
    if (rows.isEmpty())
        return l;
    const QVariantList& r = rows.first();
    l.sid = r[0].toByteArray();
    l.name = r[1].toString();
    l.defaultDatabase = r[2].toString();
    l.sysadmin = r[3].toInt() != 0;
    return l;
}

LoginInfo ServerState::FindLogin(const QString& name) const {
    SqliteDb m(MasterPath());
    return ReadLogin(m.Rows(
        QStringLiteral("SELECT sid, name, dbname, sysadmin FROM engine_logins WHERE name = ?"), {name}));
}

LoginInfo ServerState::CheckPassword(const QString& name, const QString& password,
                                     const QString& client) const {
    SqliteDb m(MasterPath());
    const auto rows = m.Rows(
        QStringLiteral(
            "SELECT sid, name, dbname, sysadmin, salt, hash, isntname FROM engine_logins WHERE name = ?"),
        {name});
    PasswordHash::Check check;
    if (!rows.isEmpty() && rows.first()[6].toInt() == 0)
        check = PasswordHash::Verify(password, rows.first()[5].toByteArray(), rows.first()[4].toByteArray(),
                                     PasswordHash::Legacy::Server);
    if (!client.isEmpty()) {
        if (check.matches)
            loginFailures().Succeeded(clientKey(folder, client));
        else
            loginFailures().Failed(clientKey(folder, client));
    }
    if (!check.matches)
        return {};
    if (check.wantsRehash) {
        // Best effort: a server folder that can't be written to still lets its logins in. Compared with
        // the old hash, so that a password changed meanwhile by another session stays.
        const QByteArray hash = PasswordHash::Make(password);
        try {
            if (!hash.isEmpty())
                m.Exec(QStringLiteral(
                           "UPDATE engine_logins SET salt = NULL, hash = ? WHERE name = ? AND hash = ?"),
                       {hash, name, rows.first()[5].toByteArray()});
        } catch (const SqliteError&) {
        }
    }
    return ReadLogin(rows);
}

std::chrono::milliseconds ServerState::LoginDelayFor(const QString& client) const {
    return loginFailures().DelayFor(clientKey(folder, client));
}

int ServerState::RecentLoginFailures(const QString& client) const {
    return loginFailures().Recent(clientKey(folder, client));
}

LoginInfo ServerState::EnsureOsLogin(const QString& osUser) const {
    LoginInfo l = FindLogin(osUser);
    if (l.IsValid())
        return l;
    CreateLogin(osUser, QString(), QStringLiteral("master"), true, true);
    return FindLogin(osUser);
}

void ServerState::CreateLogin(const QString& name, const QString& password, const QString& defaultDatabase,
                              bool sysadmin, bool osLogin) const {
    SqliteDb m(MasterPath());
    if (m.Scalar(QStringLiteral("SELECT 1 FROM engine_logins WHERE name = ?"), {name}).isValid())
        throw ServerError::Make(15025, 16,
                                QStringLiteral("The server principal '%1' already exists.").arg(name));
    QString db = defaultDatabase.isEmpty() ? QStringLiteral("master") : defaultDatabase;
    if (db.compare(QLatin1String("master"), Qt::CaseInsensitive) != 0) {
        const QString real =
            m.Scalar(QStringLiteral("SELECT name FROM sysdatabases WHERE name = ?"), {db}).toString();
        if (real.isEmpty())
            throw ServerError::Make(15010, 16,
                                    QStringLiteral("The database '%1' does not exist. Supply a valid "
                                                   "database name. To see available databases, use "
                                                   "sys.databases.")
                                        .arg(db));
        db = real;
    } else {
        db = QStringLiteral("master");
    }
    m.Exec(QStringLiteral(
               "INSERT INTO engine_logins (sid, name, dbname, createdate, sysadmin, isntname, salt, hash) "
               "VALUES (?,?,?,?,?,?,NULL,?)"),
           {RandomBytes(16), name, db, Catalogue::Now(), sysadmin ? 1 : 0, osLogin ? 1 : 0,
            osLogin ? QByteArray() : newHash(password)});
}

void ServerState::SetPassword(const QString& name, const QString& password) const {
    SqliteDb m(MasterPath());
    m.Exec(QStringLiteral("UPDATE engine_logins SET salt = NULL, hash = ? WHERE name = ?"),
           {newHash(password), name});
    if (m.Changes() == 0)
        throw ServerError::Make(
            15151, 16,
            QStringLiteral("Cannot alter the login '%1', because it does not exist or you do not "
                           "have permission.")
                .arg(name));
}

void ServerState::DropLogin(const QString& name) const {
    SqliteDb m(MasterPath());
    if (name.compare(QLatin1String("sa"), Qt::CaseInsensitive) == 0)
        throw ServerError::Make(15405, 11, QStringLiteral("Cannot use the special principal 'sa'."));
    m.Exec(QStringLiteral("DELETE FROM engine_logins WHERE name = ?"), {name});
    if (m.Changes() == 0)
        throw ServerError::Make(
            15151, 16,
            QStringLiteral("Cannot drop the login '%1', because it does not exist or you do not "
                           "have permission.")
                .arg(name));
}

void ServerState::CreateDatabase(const QString& name, const QByteArray& ownerSid) const {
    SqliteDb m(MasterPath());
    if (name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0 ||
        m.Scalar(QStringLiteral("SELECT 1 FROM sysdatabases WHERE name = ?"), {name}).isValid())
        throw ServerError::Make(
            1801, 16,
            QStringLiteral("Database '%1' already exists. Choose a different database name.").arg(name));
    QString base;
    for (const QChar c : name)
        base += (c.isLetterOrNumber() || c == u'_' || c == u'-') ? c : u'_';
    base = base.toLower();
    QString file = base + QStringLiteral(".db");
    for (int n = 2; QFile::exists(QDir(folder).filePath(file)); ++n)
        file = QStringLiteral("%1_%2.db").arg(base).arg(n);
    const QString path = QDir(folder).filePath(file);
    try {
        SqliteDb db(path, true);
        Catalogue::CreateDatabaseCatalogue(db, ownerSid);
    } catch (const SqliteError& e) {
        QFile::remove(path);
        throw ServerError::Make(1802, 16, QStringLiteral("CREATE DATABASE failed: %1").arg(e.message));
    }
    const int dbid = m.Scalar(QStringLiteral("SELECT MAX(dbid) FROM sysdatabases")).toInt() + 1;
    m.Exec(
        QStringLiteral("INSERT INTO sysdatabases (name, dbid, sid, mode, status, status2, crdate, reserved, "
                       "category, cmptlevel, filename) VALUES (?,?,?,0,16,0,?,NULL,0,80,?)"),
        {name, qMax(dbid, 5), ownerSid, Catalogue::Now(), file});
}

void ServerState::DropDatabase(const QString& name) const {
    SqliteDb m(MasterPath());
    const QVariant file =
        m.Scalar(QStringLiteral("SELECT filename FROM sysdatabases WHERE name = ?"), {name});
    if (!file.isValid())
        throw ServerError::Make(
            3701, 11,
            QStringLiteral("Cannot drop the database '%1', because it does not exist or you do not "
                           "have permission.")
                .arg(name));
    m.Exec(QStringLiteral("DELETE FROM sysdatabases WHERE name = ?"), {name});
    const QString path = QDir(folder).filePath(file.toString());
    QFile::remove(path);
    QFile::remove(path + QStringLiteral("-wal"));
    QFile::remove(path + QStringLiteral("-shm"));
}
