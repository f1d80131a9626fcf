#include "EmbeddedConnection.h"

#include "EmbeddedServer.h"

#include <QFileInfo>

#include <atomic>
#include <thread>

namespace {

const QString kPrefix = QStringLiteral("[TARMO][Embedded Server]");
const QString kSource = QStringLiteral("Embedded");

std::atomic<long long>& roundTripMs() {
    static std::atomic<long long> value(qEnvironmentVariableIntValue("TARMO_EMBEDDED_RTT_MS"));
    return value;
}

[[noreturn]] void noServer() {
    // The classic client's words for a server that isn't there.
    throw DbError(17, kSource, kPrefix + QStringLiteral("SQL Server does not exist or access denied."),
                  DbFailure::NoServer);
}

} // namespace

EmbeddedConnection::EmbeddedConnection() = default;

EmbeddedConnection::~EmbeddedConnection() {
    Close();
}

void EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds delay) {
    roundTripMs() = delay.count();
}

std::chrono::milliseconds EmbeddedConnection::SimulatedRoundTrip() {
    return std::chrono::milliseconds(roundTripMs().load());
}

void EmbeddedConnection::roundTrip() const {
    const long long ms = roundTripMs().load();
    if (ms > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

void EmbeddedConnection::Open(const DbLogin& login) {
    Close();
    roundTrip();
    const QString folder = DbDriver::EmbeddedFolder(login.server);
    if (folder.isEmpty() || !QFileInfo(folder).isDir() || !EmbeddedServer::IsServerFolder(folder))
        noServer();
    std::unique_ptr<EmbeddedServer> server;
    try {
        server = std::make_unique<EmbeddedServer>(folder);
    } catch (const TARMOError&) {
        noServer();
    }
    QList<SqlMessage> messages;
    std::unique_ptr<EmbeddedSession> session =
        server->Connect(login.trusted ? QString() : login.login, login.trusted ? QString() : login.password,
                        login.database, login.trusted, &messages);
    if (!session) {
        SqlMessage first;
        for (const SqlMessage& m : messages)
            if (m.IsError()) {
                first = m;
                break;
            }
        if (first.text.isEmpty()) {
            first.number = 18456;
            first.severity = 14;
            first.text = QStringLiteral("Login failed for user '%1'.").arg(login.login);
        }
        first.line = 0; // a login has no line to point at
        throw DbError(first.number, kSource, DbDriver::ErrorText(kPrefix, first),
                      DbDriver::ClassifyServerError(first), messages);
    }
    mFolder = folder;
    mServer = std::move(server);
    mSession = std::move(session);
}

// The open files of a removed folder would still answer, and what is written to them would be lost
// with the last handle.
void EmbeddedConnection::requireServer() {
    RequireOpen();
    if (!EmbeddedServer::IsServerFolder(mFolder)) {
        Close();
        noServer();
    }
}

void EmbeddedConnection::Close() {
    mSession.reset();
    mServer.reset();
}

bool EmbeddedConnection::IsOpen() const {
    return mSession != nullptr;
}

SqlBatchResults EmbeddedConnection::ExecuteBatch(const QString& batch) {
    requireServer();
    roundTrip();
    return mSession->Execute(batch);
}

SqlBatchResults EmbeddedConnection::ParseBatch(const QString& batch) {
    requireServer();
    roundTrip();
    return mSession->Parse(batch);
}

QStringList EmbeddedConnection::ListDatabases() {
    requireServer();
    roundTrip();
    return mServer->DatabaseNames();
}

QString EmbeddedConnection::CurrentDatabase() {
    RequireOpen();
    return mSession->CurrentDatabase();
}

QString EmbeddedConnection::DriverName() const {
    return kSource;
}

QString EmbeddedConnection::ErrorPrefix() const {
    return kPrefix;
}
