#include "TdsListener.h"

#include "EmbeddedServer.h"
#include "TARMOError.h"
#include "TdsConnection.h"

#include <QSysInfo>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

const QString kSource = QStringLiteral("TdsListener");

struct Client {
    std::unique_ptr<TdsConnection> connection;
    std::thread thread;
};

} // namespace

class ListenerState {
public:
    QString folder;
    QString serverName;
    int listenSocket = -1;
    int wakeRead = -1, wakeWrite = -1; // wakes the accepting thread for Stop
    uint16_t port = 0;
    std::thread acceptor;
    mutable std::mutex lock;
    std::list<Client> clients;
    int accepted = 0;
    uint16_t nextSpid = 51;

    void AcceptLoop();
    void Reap(bool all);
};

void ListenerState::Reap(bool all) {
    std::list<Client> done;
    {
        std::lock_guard<std::mutex> guard(lock);
        for (auto it = clients.begin(); it != clients.end();) {
            if (all)
                it->connection->Shutdown();
            if (all || it->connection->Finished()) {
                done.push_back(std::move(*it));
                it = clients.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (Client& c : done)
        c.thread.join();
}

void ListenerState::AcceptLoop() {
    for (;;) {
        pollfd fds[2] = {{listenSocket, POLLIN, 0}, {wakeRead, POLLIN, 0}};
        if (::poll(fds, 2, 1000) < 0 && errno != EINTR)
            return;
        if (fds[1].revents != 0)
            return;
        Reap(false);
        if (!(fds[0].revents & POLLIN))
            continue;
        const int socket = ::accept4(listenSocket, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            continue;
        const int one = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        std::lock_guard<std::mutex> guard(lock);
        ++accepted;
        Client client;
        client.connection = std::make_unique<TdsConnection>(socket, folder, serverName, nextSpid);
        nextSpid = nextSpid >= 32000 ? 51 : uint16_t(nextSpid + 1);
        TdsConnection* connection = client.connection.get();
        client.thread = std::thread([connection] { connection->Run(); });
        clients.push_back(std::move(client));
    }
}

TdsListener::TdsListener(const QString& folder)
    : mState(std::make_unique<ListenerState>()) {
    if (!EmbeddedServer::IsServerFolder(folder))
        throw TARMOError(2, kSource, QStringLiteral("'%1' is not an embedded server folder.").arg(folder));
    mState->folder = folder;
    mState->serverName = QSysInfo::machineHostName().section(QLatin1Char('.'), 0, 0).toUpper();
}

TdsListener::~TdsListener() {
    Stop();
}

void TdsListener::SetServerName(const QString& name) {
    mState->serverName = name;
}

uint16_t TdsListener::Start(const QString& address, uint16_t port) {
    Stop();
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const QByteArray host = address.toUtf8();
    const QByteArray service = QByteArray::number(port);
    if (::getaddrinfo(host.isEmpty() ? nullptr : host.constData(), service.constData(), &hints, &found) !=
            0 ||
        found == nullptr)
        throw TARMOError(3, kSource, QStringLiteral("The address '%1' is not known.").arg(address));

    int socket = -1;
    QString failure;
    for (addrinfo* a = found; a != nullptr && socket < 0; a = a->ai_next) {
        socket = ::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol);
        if (socket < 0)
            continue;
        const int one = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        if (::bind(socket, a->ai_addr, a->ai_addrlen) != 0 || ::listen(socket, 64) != 0) {
            failure = QString::fromLocal8Bit(std::strerror(errno));
            ::close(socket);
            socket = -1;
        }
    }
    ::freeaddrinfo(found);
    if (socket < 0)
        throw TARMOError(
            4, kSource, QStringLiteral("Can't listen on %1 port %2: %3").arg(address).arg(port).arg(failure));

    sockaddr_storage bound{};
    socklen_t boundLength = sizeof bound;
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&bound), &boundLength);
    mState->port = ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port
                                                     : reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
    int wake[2];
    if (::pipe2(wake, O_CLOEXEC) != 0) {
        ::close(socket);
        throw TARMOError(4, kSource, QStringLiteral("Can't start the listener."));
    }
    mState->listenSocket = socket;
    mState->wakeRead = wake[0];
    mState->wakeWrite = wake[1];
    mState->accepted = 0;
    ListenerState* state = mState.get();
    mState->acceptor = std::thread([state] { state->AcceptLoop(); });
    return mState->port;
}

void TdsListener::Stop() {
    if (!mState->acceptor.joinable())
        return;
    const char wake = 1;
    [[maybe_unused]] const ssize_t written = ::write(mState->wakeWrite, &wake, 1);
    mState->acceptor.join();
    ::close(mState->listenSocket);
    ::close(mState->wakeRead);
    ::close(mState->wakeWrite);
    mState->listenSocket = mState->wakeRead = mState->wakeWrite = -1;
    mState->Reap(true);
}

bool TdsListener::IsRunning() const {
    return mState->acceptor.joinable();
}

uint16_t TdsListener::Port() const {
    return mState->port;
}

int TdsListener::ActiveConnections() const {
    std::lock_guard<std::mutex> guard(mState->lock);
    int active = 0;
    for (const Client& c : mState->clients)
        if (!c.connection->Finished())
            ++active;
    return active;
}

int TdsListener::AcceptedConnections() const {
    std::lock_guard<std::mutex> guard(mState->lock);
    return mState->accepted;
}
