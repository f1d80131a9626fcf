#pragma once

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <mutex>

// The byte stream between the listener and one client. A socket in service; bytes in memory for the
// fuzzer and for tests that need a client to stay silent or a delay to pass without waiting.
class TdsChannel {
public:
    static constexpr int kForever = -1;
    static constexpr qsizetype kTimedOut = -1;

    virtual ~TdsChannel() = default;

    // Reads what has come, up to count bytes, waiting at most timeoutMs (kForever: no limit).
    // Returns the bytes read; 0 when the client went or the channel failed; kTimedOut when nothing
    // came in time.
    virtual qsizetype Read(char* into, qsizetype count, int timeoutMs) = 0;
    // Sends every byte; false when the client went.
    virtual bool Write(const char* data, qsizetype count) = 0;
    // Whether a Read would find bytes now.
    virtual bool Readable() = 0;
    // Holds the calling thread for ms, or less when the channel is shut meanwhile.
    virtual void Pause(int ms) = 0;
    // From another thread: a blocked Read or Pause returns soon, and the client is disconnected.
    virtual void Shutdown() = 0;
    // Where the client is, for the log and the count of its failed logins.
    virtual QString Peer() const = 0;
};

// A connected socket, owned from here on.
class TdsSocketChannel : public TdsChannel {
public:
    TdsSocketChannel(int socket, QString peer);
    ~TdsSocketChannel() override;

    qsizetype Read(char* into, qsizetype count, int timeoutMs) override;
    bool Write(const char* data, qsizetype count) override;
    bool Readable() override;
    void Pause(int ms) override;
    void Shutdown() override;
    QString Peer() const override { return mPeer; }

private:
    int mSocket;
    QString mPeer;
    std::mutex mLock;
    std::condition_variable mWake;
    bool mShut = false;
};

// A client whose every byte is known in advance. Once they are read it either hangs up, or stays
// connected without a word, so that a time-out passes at once. Pauses are counted, not waited.
class TdsMemoryChannel : public TdsChannel {
public:
    enum class AtEnd { HangUp, StaySilent };

    explicit TdsMemoryChannel(QByteArray input, AtEnd atEnd = AtEnd::HangUp,
                              QString peer = QStringLiteral("memory"));

    qsizetype Read(char* into, qsizetype count, int timeoutMs) override;
    bool Write(const char* data, qsizetype count) override;
    bool Readable() override { return mAt < mInput.size(); }
    void Pause(int ms) override { mPaused += ms; }
    void Shutdown() override {}
    QString Peer() const override { return mPeer; }

    // Bytes the client sends once the server has written at least `written` bytes: what a client
    // does when it sees the start of a reply.
    void SendLater(QByteArray bytes, qsizetype written);

    const QByteArray& Output() const { return mOutput; }
    qint64 Paused() const { return mPaused; }
    bool TimedOut() const { return mTimedOut; }

private:
    QByteArray mInput;
    qsizetype mAt = 0;
    AtEnd mAtEnd;
    QString mPeer;
    QByteArray mOutput;
    QByteArray mLater;
    qsizetype mLaterAfter = 0;
    qint64 mPaused = 0;
    bool mTimedOut = false;
};
