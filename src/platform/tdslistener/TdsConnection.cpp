#include "TdsConnection.h"

#include "TdsReader.h"
#include "TdsTokens.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

TdsConnection::TdsConnection(int socket, QString folder, QString serverName, uint16_t spid)
    : mSocket(socket)
    , mSpid(spid)
    , mSession(std::move(folder), std::move(serverName)) {}

TdsConnection::~TdsConnection() {
    ::close(mSocket);
}

void TdsConnection::Shutdown() {
    ::shutdown(mSocket, SHUT_RDWR);
}

bool TdsConnection::readExactly(char* into, qsizetype count) {
    while (count > 0) {
        const ssize_t n = ::recv(mSocket, into, size_t(count), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        into += n;
        count -= n;
    }
    return true;
}

std::optional<TdsConnection::Message> TdsConnection::readMessage() {
    if (mPending)
        return std::exchange(mPending, std::nullopt);
    Message message;
    for (bool first = true;; first = false) {
        char header[Tds::kHeaderSize];
        if (!readExactly(header, Tds::kHeaderSize))
            return std::nullopt;
        const uint8_t type = uint8_t(header[0]);
        const uint8_t status = uint8_t(header[1]);
        const int length = (uint8_t(header[2]) << 8) | uint8_t(header[3]);
        if (length < Tds::kHeaderSize)
            throw TdsProtocolError("packet shorter than its header");
        if (first)
            message.type = type;
        else if (type != message.type)
            throw TdsProtocolError("packet type changes inside a message");
        if (message.payload.size() + length > kMaxMessage)
            throw TdsProtocolError("message too long");
        const qsizetype at = message.payload.size();
        message.payload.resize(at + length - Tds::kHeaderSize);
        if (!readExactly(message.payload.data() + at, length - Tds::kHeaderSize))
            return std::nullopt;
        message.status = status;
        if (status & Tds::EndOfMessage)
            return message;
        // An ATTENTION is always a message of its own.
        if (type == Tds::Attention)
            throw TdsProtocolError("attention without end of message");
    }
}

bool TdsConnection::attentionWaiting() {
    pollfd p{mSocket, POLLIN, 0};
    if (::poll(&p, 1, 0) <= 0 || !(p.revents & POLLIN))
        return false;
    std::optional<Message> next = readMessage();
    if (!next)
        return false;
    if (next->type == Tds::Attention)
        return true;
    mPending = std::move(next);
    return false;
}

bool TdsConnection::send(const QByteArray& tokens) {
    const qsizetype room = mSession.PacketSize() - Tds::kHeaderSize;
    uint8_t packetId = 1;
    qsizetype at = 0;
    do {
        const qsizetype chunk = std::min(room, tokens.size() - at);
        const bool last = at + chunk >= tokens.size();
        const int length = int(chunk + Tds::kHeaderSize);
        QByteArray packet;
        packet.reserve(length);
        packet.append(char(Tds::TabularResult));
        packet.append(char(last ? Tds::EndOfMessage : 0));
        packet.append(char(length >> 8));
        packet.append(char(length & 0xff));
        packet.append(char(mSpid >> 8));
        packet.append(char(mSpid & 0xff));
        packet.append(char(packetId++));
        packet.append(char(0));
        packet.append(tokens.constData() + at, chunk);
        for (qsizetype sent = 0; sent < packet.size();) {
            const ssize_t n =
                ::send(mSocket, packet.constData() + sent, size_t(packet.size() - sent), MSG_NOSIGNAL);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return false;
            sent += n;
        }
        at += chunk;
    } while (at < tokens.size());
    return true;
}

void TdsConnection::Run() {
    try {
        for (;;) {
            std::optional<Message> message = readMessage();
            if (!message)
                break;
            // The client gave up on a message it had begun: nothing to answer.
            if ((message->status & Tds::IgnoreThisMessage) && message->type != Tds::Attention)
                continue;
            TdsSession::Reply reply = mSession.Handle(message->type, message->payload);
            // A cancel that came while the batch ran takes the place of its results.
            if (message->type == Tds::SqlBatch && attentionWaiting())
                reply.tokens = TdsSession::AttentionReply();
            if (!reply.tokens.isEmpty() && !send(reply.tokens))
                break;
            if (reply.close)
                break;
        }
    } catch (const std::exception&) {
        // A client that breaks the protocol (or a failure in its own session) loses this
        // connection; the other clients and the listener go on.
    }
    ::shutdown(mSocket, SHUT_RDWR);
    mFinished = true;
}
