#pragma once

#include "TdsChannel.h"
#include "TdsSession.h"
#include "TdsTls.h"
#include "TdsTokens.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class TdsLoginGuard;

// What a connection needs to know beyond its channel.
struct TdsConnectionSettings {
    QString folder;
    QString serverName;
    uint16_t spid = 51;
    int loginTimeoutMs = 30000;         // from the first byte to a login that went through; 0 = none
    int idleTimeoutMs = 0;              // from one request to the next once logged in; 0 = none
    int maxResultRows = 0;              // the most rows one SELECT may give; 0 = no limit
    const TdsTlsContext* tls = nullptr; // the certificate; none = no encryption
    TdsEncryption encryption = TdsEncryption::Offered;
    TdsLoginGuard* loginGuard = nullptr;     // counts refused logins per client address
    std::function<void(const QString&)> log; // refusals and closed connections, one line each
};

// One client: joins packets into messages, hands them to its TdsSession and sends the reply in
// packets of the agreed size as it is written. Runs until the client goes, breaks the protocol,
// outlasts a time-out, or the listener shuts the channel. Before the login a client may send only a
// few packets of the initial size; a batch stops when the client sends ATTENTION while it runs.
class TdsConnection {
public:
    TdsConnection(std::unique_ptr<TdsChannel> channel, TdsConnectionSettings settings);
    ~TdsConnection();
    TdsConnection(const TdsConnection&) = delete;
    TdsConnection& operator=(const TdsConnection&) = delete;

    void Run();
    // From another thread: makes a blocked Run return soon.
    void Shutdown();
    bool Finished() const { return mFinished; }
    // The most reply bytes held at once on the way to the client.
    qsizetype PeakReplyHeld() const { return mPeakHeld; }

    // The largest message a client may send; beyond it the connection ends.
    static constexpr qsizetype kMaxMessage = qsizetype(64) * 1024 * 1024;
    // Packets a client may send before its login went through (a PRELOGIN and a LOGIN7 need two or
    // three), and their largest size until a packet size is agreed.
    static constexpr int kPacketsBeforeLogin = 8;
    static constexpr int kPacketSizeBeforeLogin = 4096;

private:
    struct Message {
        uint8_t type = 0;
        uint8_t status = 0;
        QByteArray payload;
    };
    enum class ReadResult { Done, Closed, TimedOut };
    using Clock = std::chrono::steady_clock;

    ReadResult readExactly(char* into, qsizetype count, Clock::time_point deadline);
    std::optional<Message> readMessage();
    bool attentionArrived();
    bool sendPackets(const QByteArray& tokens, bool last, uint8_t type = Tds::TabularResult);
    bool startTls(bool wrapped, QByteArray fromClient);
    void log(const QString& line) const;

    std::unique_ptr<TdsChannel> mChannel;
    std::unique_ptr<TdsTlsChannel> mTls;
    TdsChannel* mIo;        // what requests are read from and replies written to: the channel, or TLS over it
    QByteArray mPushedBack; // read before it was known whether TLS comes first
    bool mLoginOnlyTls = false;
    bool mFirstByteSeen = false;
    TdsConnectionSettings mSettings;
    TdsSession mSession;
    Clock::time_point mLoginDeadline;
    int mPacketsBeforeLogin = 0;
    uint8_t mPacketId = 1;
    std::optional<Message> mPending; // read while looking for an ATTENTION, not handled yet
    QString mPendingFault;           // how the client broke the protocol then
    bool mCancelled = false;         // an ATTENTION came while a request ran
    bool mBroken = false;            // the client went or broke the protocol while a request ran
    bool mTimedOut = false;
    qsizetype mPeakHeld = 0;
    std::atomic<bool> mFinished = false;
    std::atomic<bool> mShutdown = false; // Shutdown was asked from another thread
};
