#pragma once

#include <QString>

#include <chrono>
#include <functional>

class StoreConnection;

// Failed logins of a store. Each command of the command line is a process of its own, so the
// failures are kept in the store itself, per user name as typed: after a few within a quarter of an
// hour every further login of that name waits before its password is even looked at, longer with each
// failure, up to a few seconds; a successful login clears them. Each refusal is also a line of
// refused-logins.log beside the data (time, user, client, reason; never the password).
class StoreLogins {
public:
    using Sleeper = std::function<void(std::chrono::milliseconds)>;

    StoreLogins(StoreConnection& db, const QString& dataFolder);

    // Waits as long as the user's recent failures ask; gives the time it waited.
    std::chrono::milliseconds HoldBack(const QString& user);
    void Refused(const QString& user, const QString& reason);
    void Accepted(const QString& user);

    QString LogFile() const { return mLogFile; }

    // Tests watch the wait instead of sitting through it; an empty sleeper sleeps for real.
    static void SetSleeper(Sleeper sleeper);

private:
    int recentFailures(const QString& user);

    StoreConnection& mDb;
    QString mLogFile;
    int mFailures = 0; // as HoldBack found them
};
