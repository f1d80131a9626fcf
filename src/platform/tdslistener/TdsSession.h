#pragma once

#include "SqlResults.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>

class EmbeddedServer;
class EmbeddedSession;

// The protocol state of one client, apart from its socket: takes whole client messages (packets
// already joined) and gives the bytes of the reply stream. PRELOGIN, then LOGIN7 against the
// server folder's logins, then SQL batches run by an engine session of its own.
class TdsSession {
public:
    struct Reply {
        QByteArray tokens;  // the token stream of the reply; empty = no reply
        bool close = false; // end the connection after sending it
    };

    TdsSession(QString folder, QString serverName);
    ~TdsSession();
    TdsSession(const TdsSession&) = delete;
    TdsSession& operator=(const TdsSession&) = delete;

    // One message of the given packet type. Throws TdsProtocolError when the client broke the
    // protocol; the caller ends the connection then.
    Reply Handle(uint8_t type, const QByteArray& message);
    // The answer to an ATTENTION: a DONE that acknowledges it.
    static QByteArray AttentionReply();
    // The reply of one batch's results, as a token stream. oldDatabase/newDatabase tell a change of
    // the current database during the batch.
    QByteArray EncodeResults(const SqlBatchResults& results, const QString& oldDatabase,
                             const QString& newDatabase) const;

    bool LoggedIn() const { return mSession != nullptr; }
    // The packet size agreed at login (4096 before).
    int PacketSize() const { return mPacketSize; }

private:
    Reply preLogin(const QByteArray& message);
    Reply login(const QByteArray& message);
    Reply batch(const QByteArray& message);
    Reply refuse(long number, const QString& text) const;

    QString mFolder;
    QString mServerName;
    std::unique_ptr<EmbeddedServer> mServer;
    std::unique_ptr<EmbeddedSession> mSession;
    uint32_t mTdsVersion = 0;
    int mPacketSize = 4096;
    bool mPreLoginSeen = false;
};
