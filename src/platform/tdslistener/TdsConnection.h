#pragma once

#include "TdsSession.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <optional>

// One client socket: joins packets into messages, hands them to its TdsSession and cuts the reply
// into packets of the agreed size. Runs on a thread of its own until the client goes, the client
// breaks the protocol, or the listener shuts the socket.
class TdsConnection {
public:
    TdsConnection(int socket, QString folder, QString serverName, uint16_t spid);
    ~TdsConnection();
    TdsConnection(const TdsConnection&) = delete;
    TdsConnection& operator=(const TdsConnection&) = delete;

    void Run();
    // From another thread: makes a blocked Run return soon.
    void Shutdown();
    bool Finished() const { return mFinished; }

    // The largest message a client may send; beyond it the connection ends.
    static constexpr qsizetype kMaxMessage = qsizetype(64) * 1024 * 1024;

private:
    struct Message {
        uint8_t type = 0;
        uint8_t status = 0;
        QByteArray payload;
    };

    bool readExactly(char* into, qsizetype count);
    std::optional<Message> readMessage();
    bool attentionWaiting();
    bool send(const QByteArray& tokens);

    int mSocket;
    uint16_t mSpid;
    TdsSession mSession;
    std::optional<Message> mPending; // read while looking for an ATTENTION, not handled yet
    std::atomic<bool> mFinished = false;
};
