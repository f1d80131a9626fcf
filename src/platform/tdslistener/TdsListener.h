#pragma once

#include "TdsLoginGuard.h"
#include "TdsTls.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

class ListenerState;

// What the listener grants its clients, so that no one client, and no crowd of them, can take the
// server down.
struct TdsLimits {
    int maxConnections = 256;     // beyond it a new connection is closed at once
    int loginTimeoutSeconds = 30; // a connection not logged in by then is closed; 0 = none
    int idleTimeoutSeconds = 0;   // a session without a request this long is closed; 0 = none
    int maxResultRows = 0;        // the most rows one SELECT may give a client; 0 = no limit
    TdsLoginDelays loginDelays;   // how refused logins from one address slow down
};

// Serves an embedded server folder over TDS 7.4 (and TLS, as the clients ask) so that ODBC drivers, FreeTDS's
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
    // All three take effect at the next Start. Any encryption but Off makes the certificate
    // (TdsTlsContext) in the folder on first use.
    void SetLimits(const TdsLimits& limits);
    void SetEncryption(TdsEncryption mode);
    // What Start settled on: Off, Offered, Required or Strict.
    TdsEncryption Encryption() const;
    // Where refusals, time-outs and failures to accept go, one line each without a line break; the
    // time is put in front. Standard error unless set.
    void SetLog(std::function<void(const QString&)> log);
    // Connections open now, and accepted since Start.
    int ActiveConnections() const;
    int AcceptedConnections() const;

private:
    std::unique_ptr<ListenerState> mState;
};
