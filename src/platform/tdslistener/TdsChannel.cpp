#include "TdsChannel.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

TdsSocketChannel::TdsSocketChannel(int socket, QString peer)
    : mSocket(socket)
    , mPeer(std::move(peer)) {}

TdsSocketChannel::~TdsSocketChannel() {
    ::close(mSocket);
}

qsizetype TdsSocketChannel::Read(char* into, qsizetype count, int timeoutMs) {
    for (;;) {
        pollfd p{mSocket, POLLIN, 0};
        const int ready = ::poll(&p, 1, timeoutMs);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0)
            return 0;
        if (ready == 0)
            return kTimedOut;
        const ssize_t n = ::recv(mSocket, into, size_t(count), 0);
        if (n < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        return n < 0 ? 0 : qsizetype(n);
    }
}

bool TdsSocketChannel::Write(const char* data, qsizetype count) {
    for (qsizetype sent = 0; sent < count;) {
        const ssize_t n = ::send(mSocket, data + sent, size_t(count - sent), MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += n;
    }
    return true;
}

bool TdsSocketChannel::Readable() {
    pollfd p{mSocket, POLLIN, 0};
    return ::poll(&p, 1, 0) > 0 && (p.revents & (POLLIN | POLLHUP | POLLERR));
}

void TdsSocketChannel::Pause(int ms) {
    std::unique_lock<std::mutex> guard(mLock);
    mWake.wait_for(guard, std::chrono::milliseconds(ms), [this] { return mShut; });
}

void TdsSocketChannel::Shutdown() {
    {
        std::lock_guard<std::mutex> guard(mLock);
        mShut = true;
    }
    mWake.notify_all();
    ::shutdown(mSocket, SHUT_RDWR);
}

TdsMemoryChannel::TdsMemoryChannel(QByteArray input, AtEnd atEnd, QString peer)
    : mInput(std::move(input))
    , mAtEnd(atEnd)
    , mPeer(std::move(peer)) {}

qsizetype TdsMemoryChannel::Read(char* into, qsizetype count, int timeoutMs) {
    if (mAt >= mInput.size()) {
        // A silent client outlasts any time-out at once; without one it would wait for ever, which a
        // test can't, so it hangs up then.
        if (mAtEnd == AtEnd::StaySilent && timeoutMs != kForever) {
            mTimedOut = true;
            return kTimedOut;
        }
        return 0;
    }
    const qsizetype n = std::min(count, mInput.size() - mAt);
    std::memcpy(into, mInput.constData() + mAt, size_t(n));
    mAt += n;
    return n;
}

void TdsMemoryChannel::SendLater(QByteArray bytes, qsizetype written) {
    mLater = std::move(bytes);
    mLaterAfter = written;
}

bool TdsMemoryChannel::Write(const char* data, qsizetype count) {
    mOutput.append(data, count);
    if (!mLater.isEmpty() && mOutput.size() >= mLaterAfter)
        mInput.append(std::exchange(mLater, QByteArray()));
    return true;
}
