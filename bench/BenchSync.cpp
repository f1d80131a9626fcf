#include "BenchSync.h"

#include "BenchProject.h"
#include "EmbeddedConnection.h"
#include "GeneralHelpers.h"
#include "StoreTraffic.h"
#include "SyncRun.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VSSBulkReader.h"
#include "modParser.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

// Per kind of object: how many of each difference the copy gets.
constexpr int kChanged = 20;
constexpr int kServerOnly = 5;
constexpr int kStoreOnly = 5;
constexpr int kPadded = 5;
constexpr int kKinds = 4;

bool copyFolder(const QString& from, const QString& to) {
    QDirIterator it(from, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString target = to + source.mid(from.size());
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (!QFile::copy(source, target))
            return false;
    }
    return true;
}

struct Kind {
    QString prefix; // the object names: dbo. + prefix + number
    QString word;   // what DROP names
    QString ext;
};

// A text with the object's name (dbo.prefix + number) replaced.
QString renamed(const QString& text, const QString& oldName, const QString& newName) {
    QString out = text;
    const qsizetype at = out.indexOf(oldName, 0, Qt::CaseInsensitive);
    return at < 0 ? out : out.replace(at, oldName.size(), newName);
}

// The differences, made on the copy, per kind: a comment added on the server is a difference of
// texts, a copy under a new name one on the server alone, a dropped object one in the store alone,
// and blank lines around the stored text none at all.
void makeDifferences(TARMOSQL& sql, TARMOVSS& vss) {
    const Kind kinds[kKinds] = {
        {QStringLiteral("spProcedure"), QStringLiteral("PROCEDURE"), QStringLiteral(".sp")},
        {QStringLiteral("vwView"), QStringLiteral("VIEW"), QStringLiteral(".vw")},
        {QStringLiteral("fnFunction"), QStringLiteral("FUNCTION"), QStringLiteral(".udf")},
        {QStringLiteral("trTrigger"), QStringLiteral("TRIGGER"), QStringLiteral(".trg")}};
    for (const Kind& kind : kinds) {
        const auto name = [&](int n) { return QStringLiteral("dbo.") + kind.prefix + QString::number(n); };
        const auto textOf = [&](int n) {
            return sql.GetObjectText(
                sql.GetObjectID(kind.prefix + QString::number(n), QStringLiteral("dbo")));
        };
        const QString first = textOf(1);
        for (int i = 0; i < kServerOnly; ++i)
            sql.ExecuteSQL(renamed(first, name(1), name(1) + QStringLiteral("ServerOnly%1").arg(i)));
        int n = 1;
        for (int i = 0; i < kChanged; ++i, ++n)
            sql.ExecuteSQL(
                modParser::ReplaceFirstWord(textOf(n), QStringLiteral("CREATE"), QStringLiteral("ALTER")) +
                QStringLiteral("\r\n-- changed\r\n"));
        for (int i = 0; i < kStoreOnly; ++i, ++n)
            sql.ExecuteSQL(QStringLiteral("DROP ") + kind.word + QLatin1Char(' ') + name(n));
        // Files held by a user can't take a new version: those are passed over.
        for (int padded = 0; padded < kPadded; ++n) {
            const QString item =
                sql.GetObjectID(kind.prefix + QString::number(n), QStringLiteral("dbo")) + kind.ext;
            if (vss.ChangeItemContent(item,
                                      QStringLiteral("\r\n\r\n") + vss.ItemContent(item, false) + "\t \r\n",
                                      QString(), true))
                ++padded;
        }
    }
}

} // namespace

int RunSyncBenchmark(const BenchProject& project, int rttMs) {
    QTemporaryDir scratch;
    const QString source = QFileInfo(project.IniFile()).absolutePath() + QStringLiteral("/..");
    const QString copy = scratch.path();
    for (const QString& part : {QStringLiteral("srv"), QStringLiteral("store"), QStringLiteral("work")})
        if (!copyFolder(QDir(source + QLatin1Char('/') + part).absolutePath(),
                        copy + QLatin1Char('/') + part)) {
            std::fprintf(stderr, "tarmo-bench: the benchmark project can't be copied\n");
            return 1;
        }
    // The core reads its settings; the user's own stay out of the benchmark.
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(copy + QStringLiteral("/config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(copy + QStringLiteral("/data")));

    TARMODatabase settings;
    TARMOProject target;
    const QString server = QStringLiteral("embedded:") + copy + QStringLiteral("/srv");
    if (!target.SQL()
             .OpenConnection(server, project.Database(), QStringLiteral("sa"), BenchProject::SaPassword(), 0,
                             true)
             .isEmpty())
        return 1;
    target.VSS().SetGeneralWorkingFolder(copy + QStringLiteral("/work"));
    if (!target.VSS()
             .OpenConnection(copy + QStringLiteral("/store/srcsafe.ini"), BenchProject::UserName(),
                             BenchProject::UserPassword(), project.Project(), {}, true)
             .isEmpty())
        return 1;
    makeDifferences(target.SQL(), target.VSS());
    TARMODatabaseObjects core(settings, &target);

    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(rttMs));
    if (rttMs > 0)
        StoreTraffic::SetStoreCallObserver(
            [rttMs] { std::this_thread::sleep_for(std::chrono::milliseconds(rttMs)); });
    StoreTraffic::Reset();
    SyncRun run(core);
    // The time of the read steps (the lists) and of the compare steps (the texts), apart.
    qint64 stepMs[2] = {0, 0};
    QElapsedTimer step;
    run.StepStatus = [&](int n, const QString& status) {
        if (status == QLatin1String("Processing"))
            step.start();
        else
            stepMs[n % 2] += step.elapsed();
    };
    QElapsedTimer timer;
    timer.start();
    const QList<SyncDifference> rows = run.Run();
    const qint64 ms = timer.elapsed();
    StoreTraffic::SetStoreCallObserver(nullptr);
    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(0));
    VSSBulkReader::Release();

    QMap<QString, QList<int>> byKind; // tag -> rows of kind 1, 2, 3
    for (const SyncDifference& row : rows) {
        QList<int>& counts = byKind[row.ObjectType];
        counts.resize(3);
        ++counts[row.Kind() - 1];
    }
    std::printf("kind                  sql-only  vss-only   differs\n");
    for (auto it = byKind.begin(); it != byKind.end(); ++it)
        std::printf("%-20s %9d %9d %9d\n", qPrintable(it.key()), it.value()[0], it.value()[1], it.value()[2]);
    std::printf("read_ms=%lld compare_ms=%lld\n", stepMs[0], stepMs[1]);
    std::printf("total_ms=%lld statements=%lld store_calls=%lld differences=%lld\n", ms,
                StoreTraffic::StatementCount(), StoreTraffic::StoreCallCount(),
                static_cast<long long>(rows.size()));
    const int made = kKinds * (kChanged + kServerOnly + kStoreOnly);
    if (rows.size() != made) {
        std::fprintf(stderr, "tarmo-bench: %d differences were made\n", made);
        return 1;
    }
    return 0;
}
