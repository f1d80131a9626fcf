#include "LoginThrottle.h"

#include <algorithm>

namespace {

// Beyond this the delay is at its cap anyway; it bounds the memory a guesser can make us hold.
constexpr size_t keptPerClient = 32;
constexpr qsizetype keptClients = 10000;

} // namespace

std::chrono::milliseconds LoginThrottle::DelayAfter(int recentFailures) {
    if (recentFailures < freeFailures)
        return std::chrono::milliseconds(0);
    const int doublings = std::min(recentFailures - freeFailures, 16);
    return std::min<std::chrono::milliseconds>(firstDelay * (1LL << doublings), maxDelay);
}

void LoginThrottle::Failures::forgetOld(Clock::time_point now) {
    for (auto it = mFailures.begin(); it != mFailures.end();) {
        std::deque<Clock::time_point>& times = it.value();
        while (!times.empty() && now - times.front() > window)
            times.pop_front();
        it = times.empty() ? mFailures.erase(it) : std::next(it);
    }
}

int LoginThrottle::Failures::Recent(const QString& client, Clock::time_point now) {
    std::lock_guard lock(mMutex);
    const auto it = mFailures.constFind(client);
    if (it == mFailures.constEnd())
        return 0;
    return int(std::count_if(it->begin(), it->end(), [&](Clock::time_point t) { return now - t <= window; }));
}

std::chrono::milliseconds LoginThrottle::Failures::DelayFor(const QString& client, Clock::time_point now) {
    return DelayAfter(Recent(client, now));
}

void LoginThrottle::Failures::Failed(const QString& client, Clock::time_point now) {
    std::lock_guard lock(mMutex);
    if (mFailures.size() >= keptClients)
        forgetOld(now);
    // Still full of live entries: many clients at once. Forgetting them all costs only their delay.
    if (mFailures.size() >= keptClients)
        mFailures.clear();
    std::deque<Clock::time_point>& times = mFailures[client];
    times.push_back(now);
    if (times.size() > keptPerClient)
        times.pop_front();
}

void LoginThrottle::Failures::Succeeded(const QString& client) {
    std::lock_guard lock(mMutex);
    mFailures.remove(client);
}
