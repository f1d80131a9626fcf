#include "EmbeddedServer.h"

#include "TARMOError.h"

#include <QDir>
#include <QFileInfo>

class ServerState {
public:
    QString folder;
};

class SessionState {};

void EmbeddedServer::Create(const QString& folder, const QString&) {
    if (IsServerFolder(folder))
        throw TARMOError(1801, QStringLiteral("EmbeddedServer"),
                         QStringLiteral("The folder '%1' already holds a server.").arg(folder));
    throw TARMOError(5, QStringLiteral("EmbeddedServer"), QStringLiteral("Not built yet."));
}

bool EmbeddedServer::IsServerFolder(const QString& folder) {
    return QFileInfo::exists(QDir(folder).filePath(QStringLiteral("master.db")));
}

EmbeddedServer::EmbeddedServer(const QString& folder)
    : mState(std::make_shared<ServerState>()) {
    if (!IsServerFolder(folder))
        throw TARMOError(5, QStringLiteral("EmbeddedServer"),
                         QStringLiteral("'%1' is not a server folder.").arg(folder));
    mState->folder = folder;
}

EmbeddedServer::~EmbeddedServer() = default;
QString EmbeddedServer::Folder() const {
    return mState->folder;
}
QStringList EmbeddedServer::DatabaseNames() const {
    return {};
}

std::unique_ptr<EmbeddedSession> EmbeddedServer::Connect(const QString&, const QString&, const QString&, bool,
                                                         QList<SqlMessage>*) {
    return nullptr;
}

EmbeddedSession::EmbeddedSession(std::unique_ptr<SessionState> state)
    : mState(std::move(state)) {}
EmbeddedSession::~EmbeddedSession() = default;
SqlBatchResults EmbeddedSession::Execute(const QString&) {
    return {};
}
SqlBatchResults EmbeddedSession::Parse(const QString&) {
    return {};
}
QString EmbeddedSession::CurrentDatabase() const {
    return {};
}
QString EmbeddedSession::LoginName() const {
    return {};
}
QString EmbeddedSession::UserName() const {
    return {};
}
