#pragma once

#include <QHash>
#include <QString>

#include <functional>
#include <mutex>

// How the answer to a refused login is held back once an address has failed a few times.
struct TdsLoginDelays {
    int freeFailures = 3;          // refusals answered at once
    int firstMs = 500;             // the hold after those; doubles with each further refusal
    int maxMs = 4000;              // and never grows beyond this
    int forgetMs = 15 * 60 * 1000; // an address quiet this long starts afresh
};

// Counts the refused logins of each client address, so that guessing passwords gets slow while
// everyone else logs in at full speed. Shared by every connection of a listener.
class TdsLoginGuard {
public:
    // clock: milliseconds from any fixed point; a steady clock unless a test gives its own.
    explicit TdsLoginGuard(TdsLoginDelays delays = {}, std::function<qint64()> clock = {});

    // A login from the address was refused: how long to hold the answer back, in ms.
    int Refused(const QString& address);
    // A login from the address went through: its count starts afresh.
    void Succeeded(const QString& address);

    // Addresses followed at most; beyond it the longest quiet ones are forgotten.
    static constexpr qsizetype kMaxAddresses = 65536;

private:
    struct Record {
        int failures = 0;
        qint64 last = 0;
    };
    void makeRoom(qint64 now);

    TdsLoginDelays mDelays;
    std::function<qint64()> mClock;
    std::mutex mLock;
    QHash<QString, Record> mRecords;
};
