#include "TdsTestClient.h"

#include "TdsLoginRequest.h"
#include "TdsReader.h"
#include "TdsWriter.h"

#include <QDeadlineTimer>

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace {

constexpr int kTimeoutMs = 10000;

bool waitReadable(int socket, QDeadlineTimer deadline) {
    pollfd p{socket, POLLIN, 0};
    for (;;) {
        const int rc = ::poll(&p, 1, int(std::max<qint64>(deadline.remainingTime(), 0)));
        if (rc < 0 && errno == EINTR)
            continue;
        return rc > 0;
    }
}

} // namespace

TdsTestClient::TdsTestClient(uint16_t port) {
    const QDeadlineTimer deadline(kTimeoutMs);
    while (!deadline.hasExpired()) {
        const int s = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
            mSocket = s;
            return;
        }
        ::close(s);
        // Refused: the listener isn't up yet; poll() on nothing gives a short bounded pause.
        ::poll(nullptr, 0, 10);
    }
}

TdsTestClient::~TdsTestClient() {
    if (mSocket >= 0)
        ::close(mSocket);
}

void TdsTestClient::SendRaw(const QByteArray& bytes) {
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t n =
            ::send(mSocket, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (n <= 0)
            return; // the server may already have closed: the caller checks what comes back
        sent += n;
    }
}

void TdsTestClient::SendMessage(uint8_t type, const QByteArray& payload, int packetSize) {
    SendRaw(Packets(type, payload, packetSize));
}

QByteArray TdsTestClient::Packets(uint8_t type, const QByteArray& payload, int packetSize,
                                  uint8_t lastStatus) {
    const qsizetype room = packetSize - 8;
    QByteArray bytes;
    uint8_t id = 1;
    qsizetype at = 0;
    do {
        const qsizetype chunk = std::min(room, payload.size() - at);
        const bool last = at + chunk >= payload.size();
        TdsWriter packet;
        packet.U8(type);
        packet.U8(last ? lastStatus : 0);
        packet.U16BE(uint16_t(chunk + 8));
        packet.U16BE(0);
        packet.U8(id++);
        packet.U8(0);
        packet.Bytes(payload.mid(at, chunk));
        bytes.append(packet.Data());
        at += chunk;
    } while (at < payload.size());
    return bytes;
}

QList<QByteArray> TdsTestClient::Messages(const QByteArray& stream, int* packets) {
    QList<QByteArray> messages;
    QByteArray payload;
    qsizetype at = 0;
    while (at + 8 <= stream.size()) {
        const int length = (uint8_t(stream[at + 2]) << 8) | uint8_t(stream[at + 3]);
        if (uint8_t(stream[at]) != 0x04 || length < 8 || at + length > stream.size())
            throw std::runtime_error("malformed reply packet");
        payload.append(stream.mid(at + 8, length - 8));
        if (packets)
            ++*packets;
        if (stream[at + 1] & 1)
            messages.append(std::exchange(payload, QByteArray()));
        at += length;
    }
    if (at != stream.size() || !payload.isEmpty())
        throw std::runtime_error("a reply ends inside a message");
    return messages;
}

void TdsTestClient::CloseWrite() {
    ::shutdown(mSocket, SHUT_WR);
}

QByteArray TdsTestClient::ReadMessage(int* packetsSeen) {
    QByteArray payload;
    const QDeadlineTimer deadline(kTimeoutMs);
    auto readExactly = [&](char* into, qsizetype count) {
        while (count > 0) {
            if (!waitReadable(mSocket, deadline))
                throw std::runtime_error("no reply from the server in time");
            const ssize_t n = ::recv(mSocket, into, size_t(count), 0);
            if (n <= 0)
                return false;
            into += n;
            count -= n;
        }
        return true;
    };
    for (int packet = 1;; ++packet) {
        char header[8];
        if (!readExactly(header, 8))
            return {};
        const int length = (uint8_t(header[2]) << 8) | uint8_t(header[3]);
        if (uint8_t(header[0]) != 0x04 || length < 8 || uint8_t(header[6]) != uint8_t(packet))
            throw std::runtime_error("malformed reply packet");
        const qsizetype at = payload.size();
        payload.resize(at + length - 8);
        if (!readExactly(payload.data() + at, length - 8))
            return {};
        if (packetsSeen)
            *packetsSeen = packet;
        if (header[1] & 1)
            return payload;
    }
}

bool TdsTestClient::ServerCloses() {
    const QDeadlineTimer deadline(kTimeoutMs);
    char buffer[4096];
    for (;;) {
        if (!waitReadable(mSocket, deadline))
            return false;
        const ssize_t n = ::recv(mSocket, buffer, sizeof buffer, 0);
        if (n <= 0)
            return true;
    }
}

QByteArray TdsTestClient::PreLogin() {
    // version, encryption not supported (a client without TLS), terminator
    TdsWriter out;
    out.U8(0x00);
    out.U16BE(11);
    out.U16BE(6);
    out.U8(0x01);
    out.U16BE(17);
    out.U16BE(1);
    out.U8(0xFF);
    out.Bytes(QByteArray("\x0c\x00\x10\x00\x00\x00", 6));
    out.U8(0x02);
    return out.Take();
}

QByteArray TdsTestClient::Login7(const QString& user, const QString& password, const QString& database,
                                 uint32_t packetSize, uint32_t tdsVersion) {
    const QString host = QStringLiteral("testhost");
    const QString app = QStringLiteral("tds-test");
    const QString server = QStringLiteral("127.0.0.1");
    const QByteArray obfuscated = TdsLoginRequest::ObfuscatePassword(password);

    TdsWriter variable;
    QList<std::pair<uint16_t, uint16_t>> entries; // offset, length in characters
    const uint16_t fixed = 94;
    auto addText = [&](const QString& text) {
        entries.append({uint16_t(fixed + variable.Size()), uint16_t(text.size())});
        variable.Ucs2(text);
    };
    addText(host);
    addText(user);
    entries.append({uint16_t(fixed + variable.Size()), uint16_t(password.size())});
    variable.Bytes(obfuscated);
    addText(app);
    addText(server);
    addText(QString()); // extension
    addText(QStringLiteral("ODBC"));
    addText(QString()); // language
    addText(database);

    TdsWriter out;
    out.U32(uint32_t(fixed + variable.Size()));
    out.U32(tdsVersion);
    out.U32(packetSize);
    out.U32(7);    // client program version
    out.U32(1234); // process id
    out.U32(0);    // connection id
    out.U8(0xE0);  // option flags 1
    out.U8(0x03);  // option flags 2: ODBC, no integrated security
    out.U8(0);
    out.U8(0);
    out.U32(0);
    out.U32(0x0409);
    for (const auto& [offset, length] : entries) {
        out.U16(offset);
        out.U16(length);
    }
    out.Bytes(QByteArray(6, 0));  // client id
    for (int i = 0; i < 3; ++i) { // SSPI, attach file, change password: none
        out.U16(0);
        out.U16(0);
    }
    out.U32(0);
    out.Bytes(variable.Data());
    return out.Take();
}

QByteArray TdsTestClient::BatchPayload(const QString& sql) {
    TdsWriter out;
    // ALL_HEADERS with one transaction descriptor header
    out.U32(22);
    out.U32(18);
    out.U16(2);
    out.U64(0);
    out.U32(1);
    out.Ucs2(sql);
    return out.Take();
}

QByteArray TdsTestClient::Login(const QString& user, const QString& password, const QString& database,
                                uint32_t packetSize) {
    SendMessage(0x12, PreLogin());
    if (ReadMessage().isEmpty())
        return {};
    SendMessage(0x10, Login7(user, password, database, packetSize));
    return ReadMessage();
}

QByteArray TdsTestClient::Batch(const QString& sql) {
    SendMessage(0x01, BatchPayload(sql));
    return ReadMessage();
}

QList<TdsTestClient::Token> TdsTestClient::Tokens(const QByteArray& reply) {
    QList<Token> tokens;
    TdsReader in(reply);
    while (in.Remaining() > 0) {
        Token t;
        t.type = in.U8();
        switch (t.type) {
        case 0xFD:
        case 0xFE:
        case 0xFF: {
            t.status = in.U16();
            in.Skip(2);
            const uint64_t low = in.U32();
            t.count = low | (uint64_t(in.U32()) << 32);
            break;
        }
        case 0xAA:
        case 0xAB: {
            const uint16_t length = in.U16();
            const qsizetype end = in.Position() + length;
            t.number = long(in.U32());
            in.Skip(1);
            t.severity = in.U8();
            const uint16_t chars = in.U16();
            t.text = in.Ucs2At(in.Position(), chars);
            in.Skip(2 * chars);
            in.Skip(2 * in.U8()); // server
            in.Skip(2 * in.U8()); // procedure
            t.line = int(in.U32());
            in.Seek(end);
            break;
        }
        case 0xE3: {
            const uint16_t length = in.U16();
            const qsizetype end = in.Position() + length;
            const uint8_t kind = in.U8();
            const uint8_t chars = in.U8();
            if (kind != 7)
                t.text = in.Ucs2At(in.Position(), chars);
            in.Seek(end);
            break;
        }
        case 0xAD:
            in.Skip(in.U16());
            break;
        case 0x79: // RETURNSTATUS
            t.count = in.U32();
            break;
        default:
            throw std::runtime_error("row data in a reply read without types");
        }
        tokens.append(t);
    }
    return tokens;
}
