#include "LocalPostgres.h"

#include "PgConnection.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>

namespace {

const char* const port = "5432";

QString findBin() {
    const QDir versions(QStringLiteral("/usr/lib/postgresql"));
    QStringList found = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    // The newest installed first.
    std::sort(found.begin(), found.end(),
              [](const QString& a, const QString& b) { return a.toInt() > b.toInt(); });
    for (const QString& version : found) {
        QString bin = versions.filePath(version + QStringLiteral("/bin"));
        if (QFileInfo(bin + QStringLiteral("/initdb")).isExecutable())
            return bin;
    }
    for (const QString& path : qEnvironmentVariable("PATH").split(QLatin1Char(':')))
        if (!path.isEmpty() && QFileInfo(path + QStringLiteral("/initdb")).isExecutable() &&
            QFileInfo(path + QStringLiteral("/pg_ctl")).isExecutable())
            return path;
    return {};
}

// Hands a path to the user the server runs as, when that isn't us.
bool handOver(const QString& path) {
    if (geteuid() != 0)
        return true;
    const passwd* user = getpwnam("postgres");
    return user && chown(path.toLocal8Bit().constData(), user->pw_uid, user->pw_gid) == 0;
}

} // namespace

LocalPostgres::LocalPostgres(const QString& folder)
    : mBin(findBin())
    , mFolder(QDir(folder).absolutePath()) {}

LocalPostgres::~LocalPostgres() {
    if (mRunning)
        Stop();
}

QString LocalPostgres::Missing() {
    if (findBin().isEmpty())
        return QStringLiteral("PostgreSQL is not installed (no initdb)");
    if (geteuid() == 0 && !getpwnam("postgres"))
        return QStringLiteral("running as root and there is no user 'postgres' to run the server");
    return {};
}

bool LocalPostgres::run(const QString& program, const QStringList& arguments, QString* output) const {
    QProcess process;
    // initdb and the server refuse to run as root: they run as the server package's user.
    if (geteuid() == 0)
        process.start(QStringLiteral("runuser"),
                      QStringList{QStringLiteral("-u"), QStringLiteral("postgres"), QStringLiteral("--"),
                                  mBin + QLatin1Char('/') + program} +
                          arguments);
    else
        process.start(mBin + QLatin1Char('/') + program, arguments);
    const bool finished = process.waitForFinished(120000);
    if (output)
        *output = QString::fromLocal8Bit(process.readAllStandardOutput() + process.readAllStandardError());
    return finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool LocalPostgres::initialize(QString& why) {
    if (!QDir().mkpath(mFolder) || !handOver(mFolder)) {
        why = QStringLiteral("cannot make %1 for the server").arg(mFolder);
        return false;
    }
    QFile::setPermissions(mFolder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString passwordFile = mFolder + QStringLiteral("/owner-password");
    {
        QFile file(passwordFile);
        if (!file.open(QIODevice::WriteOnly) || file.write(OwnerPassword().toUtf8()) < 0) {
            why = QStringLiteral("cannot write %1").arg(passwordFile);
            return false;
        }
    }
    if (!handOver(passwordFile)) {
        why = QStringLiteral("cannot hand %1 to the user 'postgres'").arg(passwordFile);
        return false;
    }
    QString output;
    if (!run(QStringLiteral("initdb"),
             {QStringLiteral("-D"), mFolder + QStringLiteral("/data"), QStringLiteral("-U"), OwnerName(),
              QStringLiteral("--pwfile"), passwordFile, QStringLiteral("--auth=scram-sha-256"),
              QStringLiteral("-E"), QStringLiteral("UTF8"), QStringLiteral("--no-locale"),
              QStringLiteral("--no-sync")},
             &output)) {
        why = QStringLiteral("initdb failed: %1").arg(output.trimmed());
        return false;
    }
    return true;
}

bool LocalPostgres::Start(QString* why) {
    QString reason = Missing();
    if (reason.isEmpty() && !QFileInfo::exists(mFolder + QStringLiteral("/data/PG_VERSION")))
        initialize(reason);
    if (reason.isEmpty()) {
        // Only the socket in the folder: nothing else on the machine can reach the server.
        const QString options = QStringLiteral("-k %1 -c listen_addresses= -p %2 -c fsync=off "
                                               "-c synchronous_commit=off -c full_page_writes=off")
                                    .arg(mFolder, QString::fromLatin1(port));
        mRunning = run(QStringLiteral("pg_ctl"),
                       {QStringLiteral("-D"), mFolder + QStringLiteral("/data"), QStringLiteral("-l"),
                        mFolder + QStringLiteral("/log"), QStringLiteral("-o"), options, QStringLiteral("-w"),
                        QStringLiteral("start")});
        if (!mRunning)
            reason = QStringLiteral("the server did not start; see %1/log").arg(mFolder);
    }
    if (why)
        *why = reason;
    return mRunning;
}

bool LocalPostgres::Stop() {
    const bool stopped = run(QStringLiteral("pg_ctl"),
                             {QStringLiteral("-D"), mFolder + QStringLiteral("/data"), QStringLiteral("-m"),
                              QStringLiteral("fast"), QStringLiteral("-w"), QStringLiteral("stop")});
    mRunning = mRunning && !stopped;
    return stopped;
}

QString LocalPostgres::Url(const QString& database) const {
    return QStringLiteral("postgresql:///%1?host=%2&port=%3")
        .arg(database, mFolder, QString::fromLatin1(port));
}

QString LocalPostgres::OwnerUrl(const QString& database) const {
    return QStringLiteral("postgresql://%1:%2@/%3?host=%4&port=%5")
        .arg(OwnerName(), OwnerPassword(), database, mFolder, QString::fromLatin1(port));
}

void LocalPostgres::CreateDatabase(const QString& name) {
    PgConnection connection(OwnerUrl(QStringLiteral("postgres")), QString(), QString());
    QString quoted = name;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    connection.Execute(QStringLiteral("CREATE DATABASE \"%1\"").arg(quoted).toUtf8().constData());
}
