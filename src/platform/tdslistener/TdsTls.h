#pragma once

#include "TdsChannel.h"

#include <QString>

#include <memory>

struct ssl_ctx_st;
struct ssl_st;

// When the listener encrypts a connection.
enum class TdsEncryption {
    Default,  // Offered on a loopback address, Required on any other
    Off,      // never; a client that asks for encryption is refused at its login
    Offered,  // when the client asks for it; only its login when it doesn't (the server's usual way)
    Required, // every connection, the client's choice aside; one that can't is refused
    Strict,   // TDS 8 only: TLS before the first TDS packet
};

// The server's certificate and key, and the TLS settings every connection shares.
class TdsTlsContext {
public:
    // Loads <folder>/tarmo-server.pem (key and certificate), making a self-signed one for the host
    // name first when there is none. Throws TARMOError when it can't be read or made.
    explicit TdsTlsContext(const QString& folder);
    ~TdsTlsContext();
    TdsTlsContext(const TdsTlsContext&) = delete;
    TdsTlsContext& operator=(const TdsTlsContext&) = delete;

    ssl_ctx_st* Handle() const { return mContext; }
    static QString CertificatePath(const QString& folder);

private:
    ssl_ctx_st* mContext = nullptr;
};

// TLS over another channel, through memory buffers, so that the TLS records can travel inside TDS
// packets while the handshake runs (TDS 7) or straight on the socket (after it, and in TDS 8).
class TdsTlsChannel : public TdsChannel {
public:
    // raw must outlive this channel. A handshake inside TDS packets is TLS 1.2 at most, as clients of
    // TDS 7 expect; TDS 8 takes 1.3.
    TdsTlsChannel(TdsChannel& raw, const TdsTlsContext& context, bool wrapped);
    ~TdsTlsChannel() override;
    TdsTlsChannel(const TdsTlsChannel&) = delete;
    TdsTlsChannel& operator=(const TdsTlsChannel&) = delete;

    // One step of the server's handshake with the client's bytes so far: false when the handshake
    // failed. Done() tells when it is over; TakeOutput what goes to the client meanwhile.
    bool Handshake(const QByteArray& fromClient);
    bool Done() const;
    QByteArray TakeOutput();
    QString Failure() const { return mFailure; }

    qsizetype Read(char* into, qsizetype count, int timeoutMs) override;
    bool Write(const char* data, qsizetype count) override;
    bool Readable() override;
    void Pause(int ms) override { mRaw.Pause(ms); }
    void Shutdown() override { mRaw.Shutdown(); }
    QString Peer() const override { return mRaw.Peer(); }

private:
    TdsChannel& mRaw;
    ssl_st* mSsl = nullptr;
    QString mFailure;
};
