#pragma once

#include <QString>

#include <cstdint>
#include <memory>

class ListenerState;

// Serves an embedded server folder over TDS 7.4 (no encryption) so that ODBC drivers, FreeTDS's
// tools and any other SQL Server client can use it: one thread accepts, one thread per client runs
// its session. Logins are the server folder's own SQL logins.
class TdsListener {
public:
    // Throws TARMOError when the folder is not an embedded server.
    explicit TdsListener(const QString& folder);
    // Stops if still running.
    ~TdsListener();
    TdsListener(const TdsListener&) = delete;
    TdsListener& operator=(const TdsListener&) = delete;

    // Starts listening on the address (IPv4 or IPv6 literal, or "localhost") and port; port 0 takes a
    // free one. Returns the port. Throws TARMOError when the address can't be bound.
    uint16_t Start(const QString& address = QStringLiteral("127.0.0.1"), uint16_t port = 1433);
    // Closes the listening socket and every client connection, and waits for their threads.
    void Stop();
    bool IsRunning() const;
    uint16_t Port() const;

    // The name that messages give as their server (the host name unless set before Start).
    void SetServerName(const QString& name);
    // Connections open now, and accepted since Start.
    int ActiveConnections() const;
    int AcceptedConnections() const;

private:
    std::unique_ptr<ListenerState> mState;
};
