#include "StoreLogins.h"

#include "GeneralHelpers.h"
#include "GroupFiles.h"
#include "LoginThrottle.h"
#include "StoreConnection.h"
#include "TARMOError.h"

#include <QDateTime>
#include <QDir>
#include <QSysInfo>

#include <thread>

namespace {

StoreLogins::Sleeper& sleeper() {
    static StoreLogins::Sleeper s;
    return s;
}

qint64 windowStart() {
    return QDateTime::currentSecsSinceEpoch() -
           std::chrono::duration_cast<std::chrono::seconds>(LoginThrottle::window).count();
}

// A name typed at a login may hold anything; one refusal must stay one line of the log.
QString oneField(QString text) {
    for (QChar& c : text)
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = u'?';
    return text.left(128);
}

QString client() {
    return GetWindowsUserName() + QLatin1Char('@') + QSysInfo::machineHostName();
}

} // namespace

StoreLogins::StoreLogins(StoreConnection& db, const QString& dataFolder)
    : mDb(db)
    , mLogFile(QDir(dataFolder).filePath(QStringLiteral("refused-logins.log"))) {}

void StoreLogins::SetSleeper(Sleeper s) {
    sleeper() = std::move(s);
}

int StoreLogins::recentFailures(const QString& user) {
    Statement count(mDb, "SELECT COUNT(*) FROM login_failures WHERE user = ?1 AND at >= ?2");
    count.Bind(1, user).Bind(2, windowStart());
    return count.Step() ? int(count.Int(0)) : 0;
}

std::chrono::milliseconds StoreLogins::HoldBack(const QString& user) {
    mFailures = recentFailures(user);
    const std::chrono::milliseconds delay = LoginThrottle::DelayAfter(mFailures);
    if (delay.count() > 0) {
        if (sleeper())
            sleeper()(delay);
        else
            std::this_thread::sleep_for(delay);
    }
    return delay;
}

void StoreLogins::Refused(const QString& user, const QString& reason) {
    // The refusal stands whether or not it can be written down; a store on a read-only medium still
    // says no.
    try {
        Transaction transaction(mDb);
        Statement forget(mDb, "DELETE FROM login_failures WHERE at < ?1");
        forget.Bind(1, windowStart()).Run();
        Statement note(mDb, "INSERT INTO login_failures(user, client, at) VALUES(?1, ?2, ?3)");
        note.Bind(1, user).Bind(2, client()).Bind(3, QDateTime::currentSecsSinceEpoch()).Run();
        transaction.Commit();
    } catch (const TARMOError&) {
    }
    const QString line = QStringLiteral("%1\t%2\t%3\t%4\n")
                             .arg(QDateTime::currentDateTimeUtc().toString(Qt::ISODate), oneField(user),
                                  oneField(client()), reason);
    GroupFiles::Append(mLogFile, line.toUtf8());
}

void StoreLogins::Accepted(const QString& user) {
    if (mFailures == 0)
        return; // nothing to clear: a good login writes nothing
    try {
        Statement clear(mDb, "DELETE FROM login_failures WHERE user = ?1");
        clear.Bind(1, user).Run();
    } catch (const TARMOError&) {
    }
}
