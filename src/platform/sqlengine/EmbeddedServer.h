#pragma once

#include "SqlResults.h"

#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <memory>

class EmbeddedSession;
class ServerState;

// A SQL Server stand-in that lives in a folder: master.db keeps the logins and the list of
// databases, each database is one SQLite file in WAL mode. Several servers objects (also in
// several processes) may open one folder at once; SQLite arbitrates the writers.
class EmbeddedServer {
public:
    // Makes a new server folder with master and the login sa; throws TARMOError if the folder already
    // holds a server or can't be written.
    static void Create(const QString& folder, const QString& saPassword);
    static bool IsServerFolder(const QString& folder);

    // Opens a server folder; throws TARMOError when it is not one.
    explicit EmbeddedServer(const QString& folder);
    ~EmbeddedServer();
    EmbeddedServer(const EmbeddedServer&) = delete;
    EmbeddedServer& operator=(const EmbeddedServer&) = delete;

    QString Folder() const;
    QStringList DatabaseNames() const; // as sysdatabases lists them, master included

    // Logs in. trusted = the operating-system user: accepted when that user owns the server folder,
    // as a sysadmin login named after the user (made on first use). database "" = the login's default
    // database. On failure returns nullptr and fills messages as SQL Server sends them: a bad database
    // gives 4060 then 18456; a bad login 18456 "Login failed for user 'x'.". A listener names the
    // client (its address), so that the client's failed logins count toward LoginDelayFor.
    std::unique_ptr<EmbeddedSession> Connect(const QString& login, const QString& password,
                                             const QString& database, bool trusted = false,
                                             QList<SqlMessage>* messages = nullptr,
                                             const QString& client = {});
    // How long to hold the answer to the client's next login: nothing for the first few failures
    // within a quarter of an hour, then growing up to a few seconds. Counted in this process.
    std::chrono::milliseconds LoginDelayFor(const QString& client) const;

private:
    std::shared_ptr<ServerState> mState;
};

class SessionState;

// One connection: its own current database, SET options and @@ROWCOUNT. Usable from one thread at a
// time; several sessions (also in several processes) can work on one server folder at once.
class EmbeddedSession {
public:
    ~EmbeddedSession();
    EmbeddedSession(const EmbeddedSession&) = delete;
    EmbeddedSession& operator=(const EmbeddedSession&) = delete;

    // Runs one batch (no GO inside; the caller splits at GO). SQL errors never throw: they come back as
    // messages in order with the results, with number, severity, state, line (from 1) and the server's
    // text.
    SqlBatchResults Execute(const QString& batch);
    // The same, with the results handed to the sink as they are made: a SELECT's rows one by one,
    // never all held (the row limit doesn't apply to them).
    void Execute(const QString& batch, SqlResultSink& sink);
    // Parse only (what SET PARSEONLY gives): syntax errors with their lines, nothing run.
    SqlBatchResults Parse(const QString& batch);
    // Asked on the thread that runs a batch, between its statements and now and then while one runs.
    // Once it answers true the batch stops where it is: nothing more runs and the results so far
    // come back. A network client's cancel arrives this way.
    void SetCancelCheck(std::function<bool()> check);
    // From any thread: the batch that runs now stops at its next check (between statements, in
    // loops, and within a few thousand steps of a long scan) as a cancel does; one that hasn't begun
    // is not affected.
    void RequestCancel();
    // @@TRANCOUNT between batches: a listener tells its client when a transaction began or ended.
    int TransactionCount() const;
    // The most rows one SELECT may give where the rows are all held before they go anywhere (the
    // Execute that returns a list); beyond it the statement ends with an error. 0 (the default) = no
    // limit.
    void SetRowLimit(qsizetype rows);

    QString CurrentDatabase() const;
    QString LoginName() const;
    QString UserName() const; // the database user, e.g. "dbo" for sa

private:
    friend class EmbeddedServer;
    explicit EmbeddedSession(std::unique_ptr<SessionState> state);
    std::unique_ptr<SessionState> mState;
};
