#include "TdsConnection.h"

#include "TdsLoginGuard.h"
#include "TdsReader.h"
#include "TdsTokens.h"

#include <climits>
#include <cstring>

TdsConnection::TdsConnection(std::unique_ptr<TdsChannel> channel, TdsConnectionSettings settings)
    : mChannel(std::move(channel))
    , mIo(mChannel.get())
    , mSettings(std::move(settings))
    , mSession(mSettings.folder, mSettings.serverName) {
    mSession.SetCancelCheck([this] { return attentionArrived(); });
    mSession.SetRowLimit(mSettings.maxResultRows);
    mSession.SetEncryption(mSettings.tls ? mSettings.encryption : TdsEncryption::Off);
}

TdsConnection::~TdsConnection() = default;

void TdsConnection::Shutdown() {
    // A long batch stops now rather than when it would have ended, also one about to begin.
    mShutdown = true;
    mSession.RequestCancel();
    mChannel->Shutdown();
}

void TdsConnection::log(const QString& line) const {
    if (!mSettings.log)
        return;
    // Names come from the client: no line breaks or other controls may reach the log.
    QString text = QStringLiteral("client %1: %2").arg(mChannel->Peer(), line);
    for (QChar& c : text)
        if (c.unicode() < 0x20 || c.unicode() == 0x7F)
            c = QLatin1Char('?');
    mSettings.log(text.left(1000));
}

TdsConnection::ReadResult TdsConnection::readExactly(char* into, qsizetype count,
                                                     Clock::time_point deadline) {
    if (!mPushedBack.isEmpty() && count > 0) {
        const qsizetype n = std::min(count, mPushedBack.size());
        std::memcpy(into, mPushedBack.constData(), size_t(n));
        mPushedBack.remove(0, n);
        into += n;
        count -= n;
    }
    while (count > 0) {
        int timeoutMs = TdsChannel::kForever;
        if (deadline != Clock::time_point::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            timeoutMs = int(std::clamp<long long>(left, 0, INT_MAX));
        }
        const qsizetype n = mIo->Read(into, count, timeoutMs);
        if (n == TdsChannel::kTimedOut) {
            mTimedOut = true;
            return ReadResult::TimedOut;
        }
        if (n <= 0)
            return ReadResult::Closed;
        into += n;
        count -= n;
    }
    return ReadResult::Done;
}

std::optional<TdsConnection::Message> TdsConnection::readMessage() {
    if (mPending)
        return std::exchange(mPending, std::nullopt);
    if (!mPendingFault.isEmpty())
        throw TdsProtocolError(mPendingFault.toStdString());
    // Until the login went through, the whole conversation has one deadline; after it, each request
    // has the idle time-out to begin and end.
    Clock::time_point deadline = Clock::time_point::max();
    const bool loggedIn = mSession.LoggedIn();
    if (!loggedIn && mSettings.loginTimeoutMs > 0)
        deadline = mLoginDeadline;
    else if (loggedIn && mSettings.idleTimeoutMs > 0)
        deadline = Clock::now() + std::chrono::milliseconds(mSettings.idleTimeoutMs);

    // A TDS 8 client begins with TLS (a handshake record, 0x16) where others send PRELOGIN.
    if (!loggedIn && mSettings.tls && !mFirstByteSeen) {
        char first = 0;
        if (readExactly(&first, 1, deadline) != ReadResult::Done)
            return std::nullopt;
        mFirstByteSeen = true;
        mPushedBack = QByteArray(1, first);
        if (first == 0x16) {
            mPushedBack.clear();
            QByteArray hello(1, first);
            if (!startTls(false, hello))
                return std::nullopt;
            mSession.SetStrictTls();
        }
    }
    Message message;
    for (bool first = true;; first = false) {
        char header[Tds::kHeaderSize];
        if (readExactly(header, Tds::kHeaderSize, deadline) != ReadResult::Done)
            return std::nullopt;
        const uint8_t type = uint8_t(header[0]);
        const uint8_t status = uint8_t(header[1]);
        const int length = (uint8_t(header[2]) << 8) | uint8_t(header[3]);
        if (length < Tds::kHeaderSize)
            throw TdsProtocolError("packet shorter than its header");
        // A client that hasn't logged in gets no room to make the server buffer or work for it.
        if (length > (loggedIn ? mSession.PacketSize() : kPacketSizeBeforeLogin))
            throw TdsProtocolError("packet larger than the agreed packet size");
        if (!loggedIn && ++mPacketsBeforeLogin > kPacketsBeforeLogin)
            throw TdsProtocolError("too many packets before the login");
        if (first)
            message.type = type;
        else if (type != message.type)
            throw TdsProtocolError("packet type changes inside a message");
        if (message.payload.size() + length > kMaxMessage)
            throw TdsProtocolError("message too long");
        const qsizetype at = message.payload.size();
        message.payload.resize(at + length - Tds::kHeaderSize);
        if (readExactly(message.payload.data() + at, length - Tds::kHeaderSize, deadline) != ReadResult::Done)
            return std::nullopt;
        message.status = status;
        if (status & Tds::EndOfMessage)
            return message;
        // An ATTENTION is always a message of its own.
        if (type == Tds::Attention)
            throw TdsProtocolError("attention without end of message");
    }
}

// Asked while a request runs and while its reply goes out: reads what the client sent meanwhile.
// Runs inside the engine, so it never throws.
bool TdsConnection::attentionArrived() {
    if (mShutdown)
        mBroken = true;
    if (mCancelled || mBroken)
        return true;
    if (mPending || !mPendingFault.isEmpty() || !mIo->Readable())
        return false;
    try {
        std::optional<Message> next = readMessage();
        if (!next)
            mBroken = true; // nobody is left to read the results
        else if (next->type == Tds::Attention)
            mCancelled = true;
        else
            mPending = std::move(next);
    } catch (const std::exception& e) {
        // The request that runs was sent in good form: it ends, and then so does the connection.
        mPendingFault = QString::fromLocal8Bit(e.what());
    }
    return mCancelled || mBroken;
}

bool TdsConnection::sendPackets(const QByteArray& tokens, bool last, uint8_t type) {
    const qsizetype room = mSession.PacketSize() - Tds::kHeaderSize;
    QByteArray packet;
    qsizetype at = 0;
    do {
        const qsizetype chunk = std::min(room, tokens.size() - at);
        const bool end = last && at + chunk >= tokens.size();
        const int length = int(chunk + Tds::kHeaderSize);
        packet.clear();
        packet.reserve(length);
        packet.append(char(type));
        packet.append(char(end ? Tds::EndOfMessage : 0));
        packet.append(char(length >> 8));
        packet.append(char(length & 0xff));
        packet.append(char(mSettings.spid >> 8));
        packet.append(char(mSettings.spid & 0xff));
        packet.append(char(mPacketId++));
        packet.append(char(0));
        packet.append(tokens.constData() + at, chunk);
        if (!mIo->Write(packet.constData(), packet.size()))
            return false;
        at += chunk;
    } while (at < tokens.size());
    return true;
}

// TLS records in PRELOGIN packets, both ways, until the handshake is over (TDS 7); or straight on
// the socket (TDS 8, before any TDS packet). False when the client went or the handshake failed.
bool TdsConnection::startTls(bool wrapped, QByteArray fromClient) {
    mTls = std::make_unique<TdsTlsChannel>(*mChannel, *mSettings.tls, wrapped);
    const Clock::time_point deadline =
        mSettings.loginTimeoutMs > 0 ? mLoginDeadline : Clock::time_point::max();
    for (int round = 0; round < kPacketsBeforeLogin * 2; ++round) {
        if (!mTls->Handshake(fromClient)) {
            log(QStringLiteral("closed: the TLS handshake failed: %1").arg(mTls->Failure()));
            return false;
        }
        const QByteArray toClient = mTls->TakeOutput();
        if (!toClient.isEmpty()) {
            const bool sent = wrapped ? (mPacketId = 1, sendPackets(toClient, true, Tds::PreLogin))
                                      : mChannel->Write(toClient.constData(), toClient.size());
            if (!sent)
                return false;
        }
        if (mTls->Done()) {
            mIo = mTls.get();
            return true;
        }
        fromClient.clear();
        if (wrapped) {
            char header[Tds::kHeaderSize];
            if (readExactly(header, Tds::kHeaderSize, deadline) != ReadResult::Done)
                return false;
            const auto type = uint8_t(header[0]);
            if (type >= 0x14 && type <= 0x17) {
                // A TLS record on its own: a client ends the handshake so when its last message is
                // one that TLS 1.3 encrypts.
                const int record = 5 + ((uint8_t(header[3]) << 8) | uint8_t(header[4]));
                fromClient = QByteArray(header, Tds::kHeaderSize);
                if (record > Tds::kHeaderSize) {
                    fromClient.resize(record);
                    if (readExactly(fromClient.data() + Tds::kHeaderSize, record - Tds::kHeaderSize,
                                    deadline) != ReadResult::Done)
                        return false;
                }
                continue;
            }
            const int length = (uint8_t(header[2]) << 8) | uint8_t(header[3]);
            if (type != Tds::PreLogin || length <= Tds::kHeaderSize || length > kPacketSizeBeforeLogin)
                throw TdsProtocolError("a TLS handshake packet that isn't one");
            fromClient.resize(length - Tds::kHeaderSize);
            if (readExactly(fromClient.data(), fromClient.size(), deadline) != ReadResult::Done)
                return false;
        } else {
            fromClient.resize(kPacketSizeBeforeLogin);
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            const qsizetype n = mChannel->Read(fromClient.data(), fromClient.size(),
                                               deadline == Clock::time_point::max()
                                                   ? TdsChannel::kForever
                                                   : int(std::clamp<long long>(left, 0, INT_MAX)));
            if (n <= 0)
                return false;
            fromClient.truncate(n);
        }
    }
    throw TdsProtocolError("the TLS handshake goes on too long");
}

void TdsConnection::Run() {
    mLoginDeadline = Clock::now() + std::chrono::milliseconds(mSettings.loginTimeoutMs);
    try {
        for (;;) {
            const std::optional<Message> message = readMessage();
            if (!message) {
                if (mTimedOut && !mSession.LoggedIn())
                    log(QStringLiteral("closed: no login within %1 s")
                            .arg(mSettings.loginTimeoutMs / 1000.0));
                else if (mTimedOut)
                    log(QStringLiteral("closed: no request for %1 s").arg(mSettings.idleTimeoutMs / 1000.0));
                break;
            }
            mPacketId = 1;
            // Only the login travelled encrypted: from here on both sides are in the clear.
            if (mLoginOnlyTls && message->type == Tds::Login7) {
                mIo = mChannel.get();
                mLoginOnlyTls = false;
            }
            // The client gave up on a request it had begun: it waits for a DONE that says so.
            if ((message->status & Tds::IgnoreThisMessage) && message->type != Tds::Attention) {
                if (mSession.LoggedIn() && !sendPackets(TdsSession::AbandonedReply(), true))
                    break;
                continue;
            }
            mCancelled = false;
            TdsWriter out;
            out.SetSink(mSession.PacketSize() - Tds::kHeaderSize, [this](const QByteArray& piece) {
                return !attentionArrived() && sendPackets(piece, false);
            });
            const bool wasLoggedIn = mSession.LoggedIn();
            const TdsSession::Reply reply = mSession.Handle(message->type, message->payload, out);
            mPeakHeld = std::max({mPeakHeld, out.PeakHeld(), out.Data().size()});
            // A cancel that came while the batch ran takes the place of what is left of its reply.
            if (message->type == Tds::SqlBatch || message->type == Tds::Rpc)
                attentionArrived();
            if (mBroken || (out.Stopped() && !mCancelled))
                break;
            // A reply the client has the start of is finished, its last token whole, and the
            // acknowledgement follows as a message of its own: clients look for it in the next one.
            if (mCancelled && mPacketId > 1) {
                if (!sendPackets(out.TakeUnsent(), true))
                    break;
                mPacketId = 1;
            }
            const QByteArray rest = mCancelled ? TdsSession::AttentionReply() : out.Take();

            if (!reply.refusal.isEmpty()) {
                const QString& peer = mChannel->Peer();
                const int held = mSettings.loginGuard ? mSettings.loginGuard->Refused(peer) : 0;
                log(QStringLiteral("login '%1' refused: %2%3")
                        .arg(reply.login.left(128), reply.refusal,
                             held > 0 ? QStringLiteral(" (answer held back %1 ms)").arg(held) : QString()));
                // Only this connection waits; every other one goes on meanwhile.
                if (held > 0)
                    mIo->Pause(held);
            } else if (!wasLoggedIn && mSession.LoggedIn() && mSettings.loginGuard) {
                mSettings.loginGuard->Succeeded(mChannel->Peer());
            }
            if ((!rest.isEmpty() || mPacketId > 1) && !sendPackets(rest, true))
                break;
            if (reply.close)
                break;
            if (reply.tls != TdsSession::Tls::None) {
                if (!startTls(true, {}))
                    break;
                mLoginOnlyTls = reply.tls == TdsSession::Tls::LoginOnly;
            }
        }
    } catch (const std::exception& e) {
        // A client that breaks the protocol (or a failure in its own session) loses this
        // connection; the other clients and the listener go on.
        log(QStringLiteral("closed: %1").arg(QString::fromLocal8Bit(e.what())));
    } catch (...) {
        log(QStringLiteral("closed: an unexpected failure in its session"));
    }
    // Finished before the client sees the end, so that its place under the maximum of connections
    // is free by the time it can try again.
    mFinished = true;
    mChannel->Shutdown();
}
