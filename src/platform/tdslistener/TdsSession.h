#pragma once

#include "SqlResults.h"
#include "TdsTls.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

class EmbeddedServer;
class EmbeddedSession;
class TdsWriter;
struct TdsRpcCall;
struct TdsDeclaredParam;

// The protocol state of one client, apart from its socket: takes whole client messages (packets
// already joined) and writes the token stream of the reply. PRELOGIN, then LOGIN7 against the
// server folder's logins, then SQL batches run by an engine session of its own.
class TdsSession {
public:
    enum class Tls { None, LoginOnly, Full };
    struct Reply {
        bool close = false;  // end the connection after sending the reply
        Tls tls = Tls::None; // the TLS handshake follows the reply (PRELOGIN)
        QString login;       // a refused login: its name,
        QString refusal;     // and why (the server's message); empty when no login was refused
    };

    TdsSession(QString folder, QString serverName);
    ~TdsSession();
    TdsSession(const TdsSession&) = delete;
    TdsSession& operator=(const TdsSession&) = delete;

    // One message of the given packet type; its reply goes to out (nothing = no reply). Throws
    // TdsProtocolError when the client broke the protocol; the caller ends the connection then.
    Reply Handle(uint8_t type, const QByteArray& message, TdsWriter& out);
    // Asked while a batch runs; true stops it, and its results are not written.
    void SetCancelCheck(std::function<bool()> check);
    // How the listener encrypts (Off when it has no certificate); SetStrictTls: the connection is in
    // TLS already (TDS 8).
    void SetEncryption(TdsEncryption mode) { mEncryption = mode; }
    void SetStrictTls() { mStrictTls = true; }
    // From another thread: stops the request that runs, if any.
    void RequestCancel();
    // The most rows one SELECT may give where the engine holds them all (rows sent as they are read
    // have no limit); 0 = no limit.
    void SetRowLimit(int rows) { mRowLimit = rows; }
    // The answer to an ATTENTION: a DONE that acknowledges it.
    static QByteArray AttentionReply();
    // The answer to a request the client abandoned before its last packet.
    static QByteArray AbandonedReply();
    // The reply of one batch's results, as a token stream. oldDatabase/newDatabase tell a change of
    // the current database during the batch. Stops when the writer's sink stops the reply.
    void EncodeResults(const SqlBatchResults& results, const QString& oldDatabase, const QString& newDatabase,
                       TdsWriter& out) const;

    bool LoggedIn() const { return mSession != nullptr; }
    // The packet size agreed at login (4096 before).
    int PacketSize() const { return mPacketSize; }

private:
    Reply preLogin(const QByteArray& message, TdsWriter& out);
    Reply login(const QByteArray& message, TdsWriter& out);
    Reply batch(const QByteArray& message, TdsWriter& out);
    // TdsSessionRpc.cpp
    Reply rpc(const QByteArray& message, TdsWriter& out);
    // One call of an RPC request; false when its reply stopped or the request was cancelled.
    bool call(const TdsRpcCall& call, bool last, TdsWriter& out);
    Reply transactionManager(const QByteArray& message, TdsWriter& out);
    // The ENVCHANGE that tells the client its transaction began or ended since @@TRANCOUNT was before;
    // an end after an error is told as a rollback, any other as a commit (the client only forgets
    // the descriptor either way).
    void writeTransactionChange(int before, bool failed, TdsWriter& out);
    Reply refuse(long number, const QString& text, TdsWriter& out) const;

    QString mFolder;
    QString mServerName;
    std::unique_ptr<EmbeddedServer> mServer;
    std::unique_ptr<EmbeddedSession> mSession;
    std::atomic<EmbeddedSession*> mEngine = nullptr; // mSession, for RequestCancel from another thread
    std::function<bool()> mCancelCheck;
    int mRowLimit = 0;
    uint32_t mTdsVersion = 0;
    int mPacketSize = 4096;
    bool mPreLoginSeen = false;
    TdsEncryption mEncryption = TdsEncryption::Off;
    bool mStrictTls = false;
    QString mEncryptionRefusal; // why the login that follows the PRELOGIN is refused

    struct Prepared {
        QList<TdsDeclaredParam> declared;
        QString statement;
    };
    QHash<int, Prepared> mPrepared; // by handle (sp_prepare, sp_prepexec)
    int mNextHandle = 1;
    uint64_t mTransaction = 0; // the descriptor the client holds for its open transaction; 0 = none
    uint64_t mNextTransaction = 1;
};
