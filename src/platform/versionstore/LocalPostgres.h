#pragma once

#include <QString>

// A private PostgreSQL server in a folder, for the store's tests and the benchmark (the program
// itself never starts a server). It listens only on a unix socket in that folder and takes only
// passwords (scram-sha-256); its superuser "tarmo_owner" makes the databases. Run as root, initdb and
// pg_ctl run as the system user "postgres", which the server package makes, and the folder is his.
class LocalPostgres {
public:
    // The folder is made by initdb at the first Start unless it holds a server already.
    explicit LocalPostgres(const QString& folder);
    // Stops the server if this object started it.
    ~LocalPostgres();
    LocalPostgres(const LocalPostgres&) = delete;
    LocalPostgres& operator=(const LocalPostgres&) = delete;

    // Why there can't be a server here ("" when there can): PostgreSQL isn't installed.
    static QString Missing();

    // False, with the reason, when the server can't be made or started.
    bool Start(QString* why = nullptr);
    bool Stop();

    void CreateDatabase(const QString& name);
    // The URL of a database, with the superuser's name and password in it, or without them.
    QString OwnerUrl(const QString& database) const;
    QString Url(const QString& database) const;
    QString Folder() const { return mFolder; }
    static QString OwnerName() { return QStringLiteral("tarmo_owner"); }
    static QString OwnerPassword() { return QStringLiteral("tarmo-owner-pw"); }

private:
    bool run(const QString& program, const QStringList& arguments, QString* output = nullptr) const;
    bool initialize(QString& why);

    QString mBin; // the folder of initdb and pg_ctl
    QString mFolder;
    bool mRunning = false;
};
