#include "TdsListener.h"

#include "EmbeddedServer.h"
#include "TARMOError.h"
#include "TdsConnection.h"

#include <QDateTime>
#include <QSysInfo>

#include <cstdio>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace {

const QString kSource = QStringLiteral("TdsListener");

struct Client {
    std::unique_ptr<TdsConnection> connection;
    std::thread thread;
};

// The address of a client as text, for the log and the count of refused logins.
QString peerName(const sockaddr_storage& address) {
    char text[INET6_ADDRSTRLEN] = {};
    if (address.ss_family == AF_INET6) {
        const auto* a6 = reinterpret_cast<const sockaddr_in6*>(&address);
        ::inet_ntop(AF_INET6, &a6->sin6_addr, text, sizeof text);
    } else if (address.ss_family == AF_INET) {
        const auto* a4 = reinterpret_cast<const sockaddr_in*>(&address);
        ::inet_ntop(AF_INET, &a4->sin_addr, text, sizeof text);
    }
    return text[0] ? QString::fromLatin1(text) : QStringLiteral("unknown");
}

// accept() fails when the process or the system runs out of descriptors or memory; then the
// listener waits for connections to end, longer each time, instead of spinning on the error.
constexpr int kFirstBackOffMs = 10;
constexpr int kMaxBackOffMs = 1000;

int milliseconds(int seconds) {
    return int(std::clamp<qint64>(qint64(seconds) * 1000, 0, INT_MAX));
}

} // namespace

class ListenerState {
public:
    QString folder;
    QString serverName;
    TdsLimits limits;
    TdsEncryption encryption = TdsEncryption::Default;
    TdsEncryption settled = TdsEncryption::Off;
    std::unique_ptr<TdsTlsContext> tls;
    std::function<void(const QString&)> logSink;
    std::unique_ptr<TdsLoginGuard> loginGuard;
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
    void Log(const QString& line) const;
    // Waits ms unless Stop comes first; false when it came.
    bool WaitForStop(int ms) const;
};

void ListenerState::Log(const QString& line) const {
    const QString stamped =
        QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) + QStringLiteral(" ") + line;
    if (logSink) {
        logSink(stamped);
        return;
    }
    std::fprintf(stderr, "%s\n", stamped.toLocal8Bit().constData());
}

bool ListenerState::WaitForStop(int ms) const {
    pollfd wake{wakeRead, POLLIN, 0};
    return !(::poll(&wake, 1, ms) > 0 && wake.revents != 0);
}

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
    int backOffMs = 0;
    for (;;) {
        pollfd fds[2] = {{listenSocket, POLLIN, 0}, {wakeRead, POLLIN, 0}};
        if (::poll(fds, 2, 1000) < 0 && errno != EINTR)
            return;
        if (fds[1].revents != 0)
            return;
        Reap(false);
        if (!(fds[0].revents & POLLIN))
            continue;
        sockaddr_storage address{};
        socklen_t addressLength = sizeof address;
        const int socket =
            ::accept4(listenSocket, reinterpret_cast<sockaddr*>(&address), &addressLength, SOCK_CLOEXEC);
        if (socket < 0) {
            const int error = errno;
            if (error != EMFILE && error != ENFILE && error != ENOBUFS && error != ENOMEM)
                continue; // the client went before it was taken, or a signal: nothing to wait for
            if (backOffMs == 0)
                Log(QStringLiteral("can't accept connections: %1; waiting for some to end")
                        .arg(QString::fromLocal8Bit(std::strerror(error))));
            backOffMs = backOffMs == 0 ? kFirstBackOffMs : std::min(backOffMs * 2, kMaxBackOffMs);
            if (!WaitForStop(backOffMs))
                return;
            continue;
        }
        backOffMs = 0;
        const QString peer = peerName(address);
        std::lock_guard<std::mutex> guard(lock);
        ++accepted;
        int active = 0;
        for (const Client& c : clients)
            active += c.connection->Finished() ? 0 : 1;
        if (limits.maxConnections > 0 && active >= limits.maxConnections) {
            // Closed before a byte is read: the client sees the connection end and can try later.
            Log(QStringLiteral("client %1: refused: %2 connections are open already").arg(peer).arg(active));
            ::close(socket);
            continue;
        }
        const int one = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        TdsConnectionSettings settings;
        settings.folder = folder;
        settings.serverName = serverName;
        settings.spid = nextSpid;
        settings.loginTimeoutMs = milliseconds(limits.loginTimeoutSeconds);
        settings.idleTimeoutMs = milliseconds(limits.idleTimeoutSeconds);
        settings.maxResultRows = limits.maxResultRows;
        settings.tls = tls.get();
        settings.encryption = settled;
        settings.loginGuard = loginGuard.get();
        settings.log = [this](const QString& line) { Log(line); };
        Client client;
        client.connection = std::make_unique<TdsConnection>(std::make_unique<TdsSocketChannel>(socket, peer),
                                                            std::move(settings));
        nextSpid = nextSpid >= 32000 ? 51 : uint16_t(nextSpid + 1);
        TdsConnection* connection = client.connection.get();
        try {
            client.thread = std::thread([connection] { connection->Run(); });
        } catch (const std::system_error& e) {
            // Out of threads: this client goes (its socket closes with it), the others stay.
            Log(QStringLiteral("client %1: refused: %2").arg(peer, QString::fromLocal8Bit(e.what())));
            continue;
        }
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

void TdsListener::SetLimits(const TdsLimits& limits) {
    mState->limits = limits;
}

void TdsListener::SetEncryption(TdsEncryption mode) {
    mState->encryption = mode;
}

TdsEncryption TdsListener::Encryption() const {
    return mState->settled;
}

void TdsListener::SetLog(std::function<void(const QString&)> log) {
    mState->logSink = std::move(log);
}

namespace {

// The session threads parse and run what clients send. The engine refuses nesting deeper than it can
// take on 8 MB of stack (error 191), but a thread's default stack follows `ulimit -s`, which can be
// as small as 2 MB ("unlimited" gives that too). New threads of the process get at least 8 MB.
void ensureSessionStack() {
    constexpr size_t wanted = size_t{8} << 20;
    pthread_attr_t attributes;
    if (pthread_getattr_default_np(&attributes) != 0)
        return;
    size_t size = 0;
    if (pthread_attr_getstacksize(&attributes, &size) == 0 && size < wanted &&
        pthread_attr_setstacksize(&attributes, wanted) == 0)
        pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

} // namespace

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
    // On the machine's own address encryption is the client's choice; on any other it's a must.
    TdsEncryption settled = mState->encryption;
    if (settled == TdsEncryption::Default) {
        const bool loopback =
            bound.ss_family == AF_INET6
                ? IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<sockaddr_in6*>(&bound)->sin6_addr)
                : (ntohl(reinterpret_cast<sockaddr_in*>(&bound)->sin_addr.s_addr) >> 24) == 127;
        settled = loopback ? TdsEncryption::Offered : TdsEncryption::Required;
    }
    try {
        mState->tls =
            settled == TdsEncryption::Off ? nullptr : std::make_unique<TdsTlsContext>(mState->folder);
    } catch (const TARMOError& e) {
        // Encryption that was only to be offered on the machine itself doesn't keep a folder that
        // can't hold a certificate from being served; asked for, or off the machine, it does.
        if (mState->encryption != TdsEncryption::Default || settled != TdsEncryption::Offered) {
            ::close(socket);
            throw;
        }
        mState->Log(QStringLiteral("serving without encryption: %1").arg(e.Description()));
        settled = TdsEncryption::Off;
    }
    mState->settled = settled;
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
    mState->loginGuard = std::make_unique<TdsLoginGuard>(mState->limits.loginDelays);
    ListenerState* state = mState.get();
    ensureSessionStack();
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
