#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>

class SqliteDb;

struct LoginInfo {
    QString name;
    QByteArray sid;
    QString defaultDatabase;
    bool sysadmin = false;
    bool IsValid() const { return !sid.isEmpty(); }
};

// What all sessions of one server folder share: where master and the databases lie, and the
// logins. Every call opens master afresh, so that other processes' changes are seen.
class ServerState {
public:
    explicit ServerState(const QString& serverFolder)
        : folder(serverFolder) {}

    QString MasterPath() const;
    static QString MasterPath(const QString& folder);
    // The file of a database; "" when there is no such database.
    QString DatabasePath(const QString& name) const;
    QString DatabaseName(const QString& name) const; // as sysdatabases spells it; "" when missing
    QStringList DatabaseNames() const;

    LoginInfo FindLogin(const QString& name) const;
    // Invalid on failure. With a client (the address a listener got the login from) the outcome counts
    // toward that client's delay. A hash of an older kind is replaced by today's on success.
    LoginInfo CheckPassword(const QString& name, const QString& password, const QString& client = {}) const;
    // How long a listener holds its answer to the client's next login: growing with the client's
    // recent failures on this server folder, in this process.
    std::chrono::milliseconds LoginDelayFor(const QString& client) const;
    int RecentLoginFailures(const QString& client) const;
    LoginInfo EnsureOsLogin(const QString& osUser) const;

    // Master's changes; throw ServerError.
    void CreateLogin(const QString& name, const QString& password, const QString& defaultDatabase,
                     bool sysadmin, bool osLogin) const;
    void SetPassword(const QString& name, const QString& password) const;
    void DropLogin(const QString& name) const;
    void CreateDatabase(const QString& name, const QByteArray& ownerSid) const;
    void DropDatabase(const QString& name) const;

    QString folder;
};
