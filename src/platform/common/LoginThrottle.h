#pragma once

#include <QHash>
#include <QString>

#include <chrono>
#include <deque>
#include <mutex>

// Slows down the guessing of passwords: after a few failed logins of one user or client within a
// window, the answer to the next login is held back, longer with each failure, up to a cap. The first
// failures cost nothing, so that a typo or two is not punished.
namespace LoginThrottle {

using Clock = std::chrono::system_clock;

constexpr int freeFailures = 3;
constexpr std::chrono::minutes window{15};
constexpr std::chrono::milliseconds firstDelay{250};
constexpr std::chrono::milliseconds maxDelay{4000};

// How long to hold the answer after so many failures within the window.
std::chrono::milliseconds DelayAfter(int recentFailures);

// Failures per client, kept in memory: for a server process that answers many clients. Safe to use
// from several threads.
class Failures {
public:
    int Recent(const QString& client, Clock::time_point now = Clock::now());
    std::chrono::milliseconds DelayFor(const QString& client, Clock::time_point now = Clock::now());
    void Failed(const QString& client, Clock::time_point now = Clock::now());
    void Succeeded(const QString& client);

private:
    void forgetOld(Clock::time_point now);

    std::mutex mMutex;
    QHash<QString, std::deque<Clock::time_point>> mFailures;
};

} // namespace LoginThrottle
