#pragma once

#include <QString>

// A PostgreSQL server for the tests, started at first use in a temporary folder and stopped when the
// test program ends. It listens only on a unix socket in that folder and takes only passwords
// (scram-sha-256); its superuser "tarmo_owner" makes the databases. Run as root, initdb and pg_ctl
// run as the system user "postgres", which the server package makes.
class TestPostgres {
public:
    // The running server, or null when PostgreSQL isn't installed or won't start (see Missing).
    static TestPostgres* Instance();
    static QString Missing();

    // A fresh, empty database; gives its name.
    QString NewDatabase();
    // The URL of a database, with the superuser's name and password in it, or without them.
    QString OwnerUrl(const QString& database) const;
    QString Url(const QString& database) const;

    // Stops and starts the server, for the tests of a server that goes away.
    bool Stop();
    bool Start();

    ~TestPostgres();
    TestPostgres(const TestPostgres&) = delete;
    TestPostgres& operator=(const TestPostgres&) = delete;

private:
    TestPostgres() = default;
    bool setUp(QString& why);
    bool run(const QString& program, const QStringList& arguments, QString* output = nullptr) const;

    QString mBin;    // the folder of initdb and pg_ctl
    QString mFolder; // data/, the socket and the log
    bool mRunning = false;
    int mDatabases = 0;
};
