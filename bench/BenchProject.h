#pragma once

#include "LocalPostgres.h"

#include <memory>

#include <QString>

class TARMOSQL;
class TARMOVSS;

// A large project for the benchmark: an embedded server with the database Bench and a store with the
// project $/Bench, built once in a cache folder and reused while its scale matches. At scale 1 it
// holds 5,000 procedures, 1,000 views, 1,000 functions and 2,000 triggers on 500 tables, every
// object versioned, half with a description, one in 40 checked out by another user and one in 200
// by the benchmark's own.
class BenchProject {
public:
    // With onServer, the store lives in a PostgreSQL server of the benchmark's own (started for the
    // run, its data in the temporary folder) instead of the embedded store of a folder.
    BenchProject(const QString& cacheFolder, double scale, bool onServer = false);

    // Builds the project unless the cache holds it already; progress goes to stderr.
    void Ensure();

    // Opens both connections as a project does (SQL Server as sa, the store as the benchmark's user);
    // false, with a line on stderr, when either can't be opened.
    bool Connect(TARMOSQL& sql, TARMOVSS& vss) const;

    double Scale() const { return mScale; }
    QString Server() const;
    QString Database() const { return QStringLiteral("Bench"); }
    QString IniFile() const;
    QString WorkingFolder() const;
    QString Project() const { return QStringLiteral("$\\Bench\\"); }

    static QString SaPassword() { return QStringLiteral("bench-sa"); }
    static QString UserName() { return QStringLiteral("Bench"); }
    static QString UserPassword() { return QStringLiteral("bench"); }

private:
    int scaled(int count) const;
    void build();
    QString makeStore();

    QString mFolder;
    double mScale;
    std::shared_ptr<LocalPostgres> mServer;
};
