#include "BenchProject.h"

#include "EmbeddedServer.h"
#include "GeneralHelpers.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VersionStore.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QHash>
#include <QTextStream>

#include <cmath>
#include <cstdio>

namespace {

const QString kReady = QStringLiteral("ready");

void say(const QString& text) {
    std::fprintf(stderr, "%s\n", qPrintable(text));
}

struct Kind {
    QString ext;
    QString listQuery;
};

} // namespace

BenchProject::BenchProject(const QString& cacheFolder, double scale, bool onServer)
    : mFolder(QDir(cacheFolder)
                  .absoluteFilePath(QStringLiteral("scale-") + QString::number(scale) +
                                    (onServer ? QStringLiteral("-postgres") : QString())))
    , mScale(scale) {
    // In the temporary folder, which the server's own user can reach when the benchmark runs as root.
    if (onServer)
        mServer = std::make_shared<LocalPostgres>(QDir::tempPath() + QStringLiteral("/tarmo-bench-pg-") +
                                                  QString::number(qHash(mFolder), 16));
}

bool BenchProject::Connect(TARMOSQL& sql, TARMOVSS& vss) const {
    vss.SetGeneralWorkingFolder(WorkingFolder());
    if (sql.OpenConnection(Server(), Database(), QStringLiteral("sa"), SaPassword(), 0, true).isEmpty() &&
        vss.OpenConnection(IniFile(), UserName(), UserPassword(), Project(), {}, true).isEmpty())
        return true;
    std::fprintf(stderr, "tarmo-bench: the benchmark project can't be opened\n");
    return false;
}

QString BenchProject::Server() const {
    return QStringLiteral("embedded:") + mFolder + QStringLiteral("/srv");
}

QString BenchProject::IniFile() const {
    return mFolder + QStringLiteral("/store/srcsafe.ini");
}

QString BenchProject::WorkingFolder() const {
    return mFolder + QStringLiteral("/work");
}

int BenchProject::scaled(int count) const {
    return std::max(1, static_cast<int>(std::lround(count * mScale)));
}

void BenchProject::Ensure() {
    // A server whose data went with the temporary folder takes the project with it.
    const bool serverKept =
        !mServer || QFileInfo::exists(mServer->Folder() + QStringLiteral("/data/PG_VERSION"));
    if (mServer) {
        QString why;
        if (!mServer->Start(&why))
            throw TARMOError(
                1, QStringLiteral("tarmo-bench"),
                QStringLiteral("The benchmark's PostgreSQL server can't be started: %1").arg(why));
    }
    if (serverKept && QFileInfo::exists(mFolder + QLatin1Char('/') + kReady))
        return;
    QDir(mFolder).removeRecursively();
    QDir().mkpath(WorkingFolder());
    build();
    CreateTextFile(mFolder + QLatin1Char('/') + kReady, QStringLiteral("1"));
}

QString BenchProject::makeStore() {
    if (!mServer)
        return VersionStore::Create(mFolder + QStringLiteral("/store"), QStringLiteral("bench-admin"));
    const QString database = QStringLiteral("bench%1").arg(QDateTime::currentSecsSinceEpoch());
    mServer->CreateDatabase(database);
    return VersionStore::CreateOnServer(mFolder + QStringLiteral("/store"), mServer->OwnerUrl(database),
                                        QStringLiteral("bench-admin"));
}

void BenchProject::build() {
    QElapsedTimer timer;
    timer.start();
    say(QStringLiteral("Building the benchmark project in %1 ...").arg(mFolder));

    EmbeddedServer::Create(mFolder + QStringLiteral("/srv"), SaPassword());
    TARMOSQL sql;
    if (!sql.OpenConnection(Server(), QStringLiteral("master"), QStringLiteral("sa"), SaPassword(), 0, true)
             .isEmpty())
        throw TARMOError(1, QStringLiteral("tarmo-bench"), QStringLiteral("The new server can't be opened."));
    sql.ExecuteSQL(QStringLiteral("CREATE DATABASE Bench"));
    sql.OpenConnection(Server(), Database(), QStringLiteral("sa"), SaPassword(), 0, true);

    const int tables = scaled(500);
    const int procedures = scaled(5000);
    const int views = scaled(1000);
    const int functions = scaled(1000);
    const int triggers = scaled(2000);

    // The texts, by the name that the catalogue will give an id. The statements go in transactions
    // of a thousand: one commit per object made most of the time of a large project.
    QHash<QString, QString> texts;
    int pending = 0;
    auto run = [&](const QString& text) {
        if (pending == 0)
            sql.ExecuteSQL(QStringLiteral("BEGIN TRANSACTION"));
        sql.ExecuteSQL(text);
        if (++pending == 1000) {
            sql.ExecuteSQL(QStringLiteral("COMMIT TRANSACTION"));
            pending = 0;
        }
    };
    auto create = [&](const QString& name, const QString& text) {
        run(text);
        texts.insert(name, text);
    };
    for (int t = 1; t <= tables; ++t)
        run(QStringLiteral("CREATE TABLE dbo.Table%1 (id int NOT NULL, amount decimal(10, 2) NULL, "
                           "note varchar(40) NULL)")
                .arg(t));
    for (int i = 1; i <= procedures; ++i)
        create(QStringLiteral("spProcedure%1").arg(i),
               QStringLiteral("CREATE PROCEDURE dbo.spProcedure%1 @id int, @note varchar(40) = NULL\r\nAS\r\n"
                              "SELECT id, amount, note FROM dbo.Table%2 WHERE id = @id\r\n")
                   .arg(i)
                   .arg(1 + i % tables));
    for (int i = 1; i <= views; ++i)
        create(QStringLiteral("vwView%1").arg(i),
               QStringLiteral("CREATE VIEW dbo.vwView%1\r\nAS\r\nSELECT id, amount FROM dbo.Table%2\r\n")
                   .arg(i)
                   .arg(1 + i % tables));
    for (int i = 1; i <= functions; ++i)
        create(QStringLiteral("fnFunction%1").arg(i),
               QStringLiteral("CREATE FUNCTION dbo.fnFunction%1 (@x int)\r\nRETURNS int\r\nAS\r\nBEGIN\r\n"
                              "    RETURN @x * %1\r\nEND\r\n")
                   .arg(i));
    for (int i = 1; i <= triggers; ++i)
        create(QStringLiteral("trTrigger%1").arg(i),
               QStringLiteral("CREATE TRIGGER dbo.trTrigger%1 ON dbo.Table%2 FOR INSERT, UPDATE\r\nAS\r\n"
                              "SELECT 1\r\n")
                   .arg(i)
                   .arg(1 + i % tables));
    if (pending > 0)
        sql.ExecuteSQL(QStringLiteral("COMMIT TRANSACTION"));
    say(QStringLiteral("  %1 objects in the database (%2 s)")
            .arg(texts.size())
            .arg(double(timer.elapsed()) / 1000.0));

    const QString ini = makeStore();
    {
        VersionStore admin;
        admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("bench-admin"));
        admin.AddUser(UserName(), UserPassword());
        admin.AddUser(QStringLiteral("Other"), QStringLiteral("other"));
        admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Bench"), QString());
    }
    VersionStore store;
    store.Open(ini, UserName(), UserPassword());
    VersionStore other;
    other.Open(ini, QStringLiteral("Other"), QStringLiteral("other"));
    StoreItem project = store.Item(QStringLiteral("$/Bench"));

    const QList<Kind> kinds{{QStringLiteral(".sp"), QStringLiteral("OBJECTPROPERTY(id, N'IsProcedure') = 1")},
                            {QStringLiteral(".vw"), QStringLiteral("OBJECTPROPERTY(id, N'IsView') = 1")},
                            {QStringLiteral(".udf"), QStringLiteral("xtype in (N'FN', N'IF', N'TF')")},
                            {QStringLiteral(".trg"), QStringLiteral("OBJECTPROPERTY(id, N'IsTrigger') = 1")}};
    // Every file in one transaction of the store; the check-outs one by one, as users make them.
    QList<StoreNewFile> files;
    QStringList theirs, mine;
    int n = 0;
    for (const Kind& kind : kinds) {
        std::unique_ptr<DbRecordset> rs =
            sql.OpenRecordset(QStringLiteral("SELECT id, name FROM sysobjects WHERE ") + kind.listQuery +
                              QStringLiteral(" ORDER BY id"));
        for (; rs && !rs->Eof(); rs->MoveNext()) {
            ++n;
            const QString file = rs->Text(QStringLiteral("id")) + kind.ext;
            files.append({file, texts.value(rs->Text(QStringLiteral("name"))).toUtf8()});
            if (n % 2 == 0)
                files.append(
                    {file + QStringLiteral(".desc"),
                     QStringLiteral("What %1 is for.").arg(rs->Text(QStringLiteral("name"))).toUtf8()});
            if (n % 40 == 0)
                theirs << file;
            else if (n % 200 == 1)
                mine << file;
        }
    }
    project.AddFiles(files, QString());
    // The other user's check-outs need no working files; the benchmark's own user reads his.
    for (const QString& file : theirs)
        other.Item(QStringLiteral("$/Bench/") + file).Checkout(QString(), QString());
    for (const QString& file : mine)
        store.Item(QStringLiteral("$/Bench/") + file)
            .Checkout(QString(), WorkingFolder() + QLatin1Char('/') + file);
    say(QStringLiteral("  %1 objects versioned (%2 s)").arg(n).arg(double(timer.elapsed()) / 1000.0));
}
