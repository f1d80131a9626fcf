#pragma once

#include <QString>

#include <memory>

class TARMOSQL;
class TARMOVSS;

// Where an open project points, as the windows above the core show it, so that they need not reach
// into the two gateways themselves.
struct ProjectSummary {
    QString name;
    QString server;
    QString database;
    // The login, followed by " (<database user>)" when the database knows it under another name.
    QString user;
    QString storeProject;
    QString storeUser;
};

// One project: a SQL Server database, a version store project and a working folder, with the
// logins for both. It owns its two connections, which are not connected at creation.
class TARMOProject {
public:
    TARMOProject();
    ~TARMOProject();
    TARMOProject(const TARMOProject&) = delete;
    TARMOProject& operator=(const TARMOProject&) = delete;

    const QString& Name() const { return mName; }
    void SetName(const QString& name) { mName = name; }
    // The number of the project's key in the settings store; -1 until the first save.
    long Sequence() const { return mSequence; }
    void SetSequence(long sequence) { mSequence = sequence; }
    // The record came from GetDefaultProject.
    bool Default() const { return mDefault; }
    void SetDefault(bool value) { mDefault = value; }

    TARMOSQL& SQL() const { return *mSQL; }
    TARMOVSS& VSS() const { return *mVSS; }

    // Reads the database user from the server; without a connection the login stands alone.
    ProjectSummary Summary() const;

    // True unless the store is connected and its SyncHistory item holds something.
    bool IsFirstUserToConnect() const;
    // Puts a line "<comment>: dd.mm.yyyy hh:nn:ss - <user>" at the top of SyncHistory, silently.
    void ProjectWasSyncronized(const QString& strComment = QStringLiteral("Synchronization"));

    static const QString SyncHistoryItem; // "SyncHistory"

private:
    QString mName;
    long mSequence = -1;
    bool mDefault = false;
    std::unique_ptr<TARMOSQL> mSQL;
    std::unique_ptr<TARMOVSS> mVSS;
};
