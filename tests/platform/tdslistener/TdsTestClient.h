#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>

// A bare TDS client for driving the listener byte by byte: what a driver would send, and a reader of
// the replies that tells their tokens apart far enough to check DONE statuses and messages.
class TdsTestClient {
public:
    // Connects to 127.0.0.1:port, retrying briefly while the listener comes up.
    explicit TdsTestClient(uint16_t port);
    ~TdsTestClient();
    TdsTestClient(const TdsTestClient&) = delete;
    TdsTestClient& operator=(const TdsTestClient&) = delete;

    bool Connected() const { return mSocket >= 0; }
    void SendRaw(const QByteArray& bytes);
    // One message cut into packets of at most packetSize bytes.
    void SendMessage(uint8_t type, const QByteArray& payload, int packetSize = 4096);
    void CloseWrite();
    // The payload of the next whole reply message; empty when the server closed the connection.
    // Packet ids and the end-of-message bit are checked on the way (packetsSeen counts them).
    QByteArray ReadMessage(int* packetsSeen = nullptr);
    // Whether the server ends the connection within a few seconds (bytes it sends before are skipped).
    bool ServerCloses();

    // PRELOGIN then LOGIN7; returns the login reply.
    QByteArray Login(const QString& user, const QString& password, const QString& database,
                     uint32_t packetSize = 4096);
    QByteArray Batch(const QString& sql);

    static QByteArray PreLogin();
    static QByteArray Login7(const QString& user, const QString& password, const QString& database,
                             uint32_t packetSize = 4096, uint32_t tdsVersion = 0x74000004);
    static QByteArray BatchPayload(const QString& sql);
    // The packets of one message, as SendMessage sends them; lastStatus 3 abandons the message.
    static QByteArray Packets(uint8_t type, const QByteArray& payload, int packetSize = 4096,
                              uint8_t lastStatus = 1);
    // The reply messages in a stream of server packets; throws when a packet is malformed or the
    // stream ends inside a message. packets counts the packets seen.
    static QList<QByteArray> Messages(const QByteArray& stream, int* packets = nullptr);

    struct Token {
        uint8_t type = 0;
        uint16_t status = 0; // DONE
        uint64_t count = 0;  // DONE
        long number = 0;     // ERROR / INFO
        int severity = 0;    // ERROR / INFO
        int line = 0;        // ERROR / INFO
        QString text;        // ERROR / INFO message, ENVCHANGE new value
    };
    // The tokens of a reply that has no row data (login, messages, counts).
    static QList<Token> Tokens(const QByteArray& reply);

private:
    int mSocket = -1;
};
