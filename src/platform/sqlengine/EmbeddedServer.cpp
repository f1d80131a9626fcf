#include "EmbeddedServer.h"

#include "Catalogue.h"
#include "GeneralHelpers.h"
#include "GroupFiles.h"
#include "PasswordHash.h"
#include "ServerState.h"
#include "SessionState.h"
#include "SqliteDb.h"
#include "TARMOError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <algorithm>
#include <unistd.h>

namespace {

const QString kSource = QStringLiteral("EmbeddedServer");

SqlMessage LoginFailed(const QString& login) {
    SqlMessage m;
    m.number = 18456;
    m.severity = 14;
    m.state = 1;
    m.line = 1;
    m.text = QStringLiteral("Login failed for user '%1'.").arg(login);
    return m;
}

} // namespace

void EmbeddedServer::Create(const QString& folder, const QString& saPassword) {
    if (IsServerFolder(folder))
        throw TARMOError(1801, kSource,
                         QStringLiteral("The folder '%1' already holds a server.").arg(folder));
    if (!GroupFiles::MakeFolder(folder))
        throw TARMOError(5, kSource, QStringLiteral("The server folder '%1' can't be created.").arg(folder));
    const QByteArray saHash = PasswordHash::Make(saPassword);
    if (saHash.isEmpty())
        throw TARMOError(5, kSource, QStringLiteral("There is not enough memory to hash the password."));
    const QString path = ServerState::MasterPath(folder);
    const QString temp = path + QStringLiteral(".new");
    QFile::remove(temp);
    try {
        {
            SqliteDb db(temp, true);
            Catalogue::CreateMasterCatalogue(db);
            const QByteArray saSid(1, '\x01');
            Catalogue::CreateDatabaseCatalogue(db, saSid);
            db.Exec(QStringLiteral(
                        "INSERT INTO engine_logins (sid, name, dbname, createdate, sysadmin, isntname, salt, "
                        "hash) VALUES (?, 'sa', 'master', ?, 1, 0, NULL, ?)"),
                    {saSid, Catalogue::Now(), saHash});
            db.Exec(QStringLiteral(
                        "INSERT INTO sysdatabases (name, dbid, sid, mode, status, status2, crdate, reserved, "
                        "category, cmptlevel, filename) VALUES ('master', 1, ?, 0, 24, 0, ?, NULL, 0, 80, "
                        "'master.db')"),
                    {saSid, Catalogue::Now()});
            // As on the server, every login may enter master as guest.
            db.Exec(QStringLiteral("UPDATE sysusers SET hasdbaccess = 1 WHERE uid = 2"));
            // One file, not three: the folder then holds a finished server or none.
            db.Exec(QStringLiteral("PRAGMA journal_mode=DELETE"));
        }
        QFile::remove(temp + QStringLiteral("-wal"));
        QFile::remove(temp + QStringLiteral("-shm"));
        if (!QFile::rename(temp, path))
            throw SqliteError{0, QStringLiteral("rename failed")};
    } catch (const SqliteError& e) {
        QFile::remove(temp);
        throw TARMOError(
            5, kSource, QStringLiteral("The server folder '%1' can't be written: %2").arg(folder, e.message));
    }
}

bool EmbeddedServer::IsServerFolder(const QString& folder) {
    return QFileInfo(ServerState::MasterPath(folder)).isFile();
}

EmbeddedServer::EmbeddedServer(const QString& folder) {
    if (!IsServerFolder(folder))
        throw TARMOError(5, kSource, QStringLiteral("'%1' is not a server folder.").arg(folder));
    mState = std::make_shared<ServerState>(QDir(folder).absolutePath());
}

EmbeddedServer::~EmbeddedServer() = default;

std::chrono::milliseconds EmbeddedServer::LoginDelayFor(const QString& client) const {
    return mState->LoginDelayFor(client);
}

QString EmbeddedServer::Folder() const {
    return mState->folder;
}

QStringList EmbeddedServer::DatabaseNames() const {
    try {
        return mState->DatabaseNames();
    } catch (const SqliteError& e) {
        throw TARMOError(5, kSource, e.message);
    }
}

std::unique_ptr<EmbeddedSession> EmbeddedServer::Connect(const QString& loginName, const QString& password,
                                                         const QString& database, bool trusted,
                                                         QList<SqlMessage>* messages, const QString& client) {
    try {
        LoginInfo login;
        QString shownName = loginName;
        if (trusted) {
            // The operating-system user who owns the server folder is its administrator.
            shownName = GetWindowsUserName();
            if (QFileInfo(mState->folder).ownerId() == uint(geteuid()) && !shownName.isEmpty())
                login = mState->EnsureOsLogin(shownName);
        } else {
            login = mState->CheckPassword(loginName, password, client);
        }
        if (!login.IsValid()) {
            if (messages)
                messages->append(LoginFailed(shownName));
            return nullptr;
        }
        auto state = std::make_unique<SessionState>(mState, login);
        if (!state->Open(database, messages))
            return nullptr;
        return std::unique_ptr<EmbeddedSession>(new EmbeddedSession(std::move(state)));
    } catch (const SqliteError& e) {
        throw TARMOError(5, kSource, e.message);
    }
}

EmbeddedSession::EmbeddedSession(std::unique_ptr<SessionState> state)
    : mState(std::move(state)) {}
EmbeddedSession::~EmbeddedSession() = default;

SqlBatchResults EmbeddedSession::Execute(const QString& batch) {
    return mState->Execute(batch);
}
void EmbeddedSession::Execute(const QString& batch, SqlResultSink& sink) {
    mState->Execute(batch, &sink);
}
SqlBatchResults EmbeddedSession::Parse(const QString& batch) {
    return mState->Parse(batch);
}
void EmbeddedSession::SetCancelCheck(std::function<bool()> check) {
    mState->cancelCheck = std::move(check);
}
void EmbeddedSession::RequestCancel() {
    mState->cancelRequested = true;
}
int EmbeddedSession::TransactionCount() const {
    return mState->TransactionCount();
}
void EmbeddedSession::SetRowLimit(qsizetype rows) {
    mState->rowLimit = std::max<qsizetype>(rows, 0);
}
QString EmbeddedSession::CurrentDatabase() const {
    return mState->database;
}
QString EmbeddedSession::LoginName() const {
    return mState->login.name;
}
QString EmbeddedSession::UserName() const {
    return mState->userName;
}
