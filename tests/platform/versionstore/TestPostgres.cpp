#include "TestPostgres.h"

#include "PgConnection.h"
#include "TARMOError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace {

const char* const owner = "tarmo_owner";
const char* const ownerPassword = "tarmo-owner-pw";
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

std::unique_ptr<TestPostgres>& instance() {
    static std::unique_ptr<TestPostgres> server;
    return server;
}

QString& missing() {
    static QString why;
    return why;
}

} // namespace

TestPostgres* TestPostgres::Instance() {
    static bool tried = false;
    if (!tried) {
        tried = true;
        std::unique_ptr<TestPostgres> server(new TestPostgres());
        QString why;
        if (server->setUp(why))
            instance() = std::move(server);
        else
            missing() = why;
    }
    return instance().get();
}

QString TestPostgres::Missing() {
    Instance();
    return missing();
}

bool TestPostgres::run(const QString& program, const QStringList& arguments, QString* output) const {
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

bool TestPostgres::setUp(QString& why) {
    mBin = findBin();
    if (mBin.isEmpty()) {
        why = QStringLiteral("PostgreSQL is not installed (no initdb)");
        return false;
    }
    QByteArray pattern = QDir::tempPath().toLocal8Bit() + "/tarmo-pg-XXXXXX";
    if (!mkdtemp(pattern.data())) {
        why = QStringLiteral("no temporary folder for the server");
        return false;
    }
    mFolder = QString::fromLocal8Bit(pattern);
    const QString passwordFile = mFolder + QStringLiteral("/owner-password");
    {
        QFile file(passwordFile);
        if (!file.open(QIODevice::WriteOnly) || file.write(ownerPassword) < 0) {
            why = QStringLiteral("cannot write %1").arg(passwordFile);
            return false;
        }
    }
    if (geteuid() == 0) {
        const passwd* user = getpwnam("postgres");
        if (!user) {
            why = QStringLiteral("running as root and there is no user 'postgres' to run the server");
            return false;
        }
        if (chown(pattern.constData(), user->pw_uid, user->pw_gid) != 0 ||
            chown(passwordFile.toLocal8Bit().constData(), user->pw_uid, user->pw_gid) != 0) {
            why = QStringLiteral("cannot hand %1 to the user 'postgres'").arg(mFolder);
            return false;
        }
    }
    QString output;
    if (!run(QStringLiteral("initdb"),
             {QStringLiteral("-D"), mFolder + QStringLiteral("/data"), QStringLiteral("-U"),
              QString::fromLatin1(owner), QStringLiteral("--pwfile"), passwordFile,
              QStringLiteral("--auth=scram-sha-256"), QStringLiteral("-E"), QStringLiteral("UTF8"),
              QStringLiteral("--no-locale"), QStringLiteral("--no-sync")},
             &output)) {
        why = QStringLiteral("initdb failed: %1").arg(output.trimmed());
        return false;
    }
    if (!Start()) {
        why = QStringLiteral("the server did not start; see %1/log").arg(mFolder);
        return false;
    }
    return true;
}

bool TestPostgres::Start() {
    // Only the socket in the folder: nothing else on the machine can reach the server.
    const QString options = QStringLiteral("-k %1 -c listen_addresses= -p %2 -c fsync=off "
                                           "-c synchronous_commit=off -c full_page_writes=off")
                                .arg(mFolder, QString::fromLatin1(port));
    mRunning = run(QStringLiteral("pg_ctl"),
                   {QStringLiteral("-D"), mFolder + QStringLiteral("/data"), QStringLiteral("-l"),
                    mFolder + QStringLiteral("/log"), QStringLiteral("-o"), options, QStringLiteral("-w"),
                    QStringLiteral("start")});
    return mRunning;
}

bool TestPostgres::Stop() {
    const bool stopped = run(QStringLiteral("pg_ctl"),
                             {QStringLiteral("-D"), mFolder + QStringLiteral("/data"), QStringLiteral("-m"),
                              QStringLiteral("fast"), QStringLiteral("-w"), QStringLiteral("stop")});
    mRunning = mRunning && !stopped;
    return stopped;
}

TestPostgres::~TestPostgres() {
    if (mRunning)
        Stop();
    if (!mFolder.isEmpty())
        QDir(mFolder).removeRecursively();
}

QString TestPostgres::Url(const QString& database) const {
    return QStringLiteral("postgresql:///%1?host=%2&port=%3")
        .arg(database, mFolder, QString::fromLatin1(port));
}

QString TestPostgres::OwnerUrl(const QString& database) const {
    return QStringLiteral("postgresql://%1:%2@/%3?host=%4&port=%5")
        .arg(QString::fromLatin1(owner), QString::fromLatin1(ownerPassword), database, mFolder,
             QString::fromLatin1(port));
}

QString TestPostgres::NewDatabase() {
    QString name = QStringLiteral("store%1_%2").arg(getpid()).arg(++mDatabases);
    PgConnection connection(OwnerUrl(QStringLiteral("postgres")), QString(), QString());
    connection.Execute(QStringLiteral("CREATE DATABASE \"%1\"").arg(name).toUtf8().constData());
    return name;
}
