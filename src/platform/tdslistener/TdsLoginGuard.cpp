#include "TdsLoginGuard.h"

#include <QElapsedTimer>

#include <algorithm>
#include <memory>

TdsLoginGuard::TdsLoginGuard(TdsLoginDelays delays, std::function<qint64()> clock)
    : mDelays(delays)
    , mClock(std::move(clock)) {
    if (!mClock) {
        auto started = std::make_shared<QElapsedTimer>();
        started->start();
        mClock = [started] { return started->elapsed(); };
    }
}

int TdsLoginGuard::Refused(const QString& address) {
    const qint64 now = mClock();
    std::lock_guard<std::mutex> guard(mLock);
    auto it = mRecords.find(address);
    if (it == mRecords.end()) {
        makeRoom(now);
        it = mRecords.insert(address, Record());
    } else if (now - it->last >= mDelays.forgetMs) {
        it->failures = 0;
    }
    it->failures = std::min(it->failures + 1, 1 << 20);
    it->last = now;
    const int beyond = it->failures - mDelays.freeFailures;
    if (beyond <= 0)
        return 0;
    // Doubling from the first hold; the shift stays small enough not to overflow.
    const qint64 held = qint64(mDelays.firstMs) << std::min(beyond - 1, 30);
    return int(std::min<qint64>(held, mDelays.maxMs));
}

void TdsLoginGuard::Succeeded(const QString& address) {
    std::lock_guard<std::mutex> guard(mLock);
    mRecords.remove(address);
}

void TdsLoginGuard::makeRoom(qint64 now) {
    if (mRecords.size() < kMaxAddresses)
        return;
    mRecords.removeIf([&](const auto& entry) { return now - entry.value().last >= mDelays.forgetMs; });
    if (mRecords.size() < kMaxAddresses)
        return;
    auto oldest = mRecords.begin();
    for (auto it = mRecords.begin(); it != mRecords.end(); ++it)
        if (it->last < oldest->last)
            oldest = it;
    mRecords.erase(oldest);
}
