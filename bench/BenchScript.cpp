#include "BenchScript.h"

#include "BenchProject.h"
#include "EmbeddedConnection.h"
#include "ScriptBuilder.h"
#include "ScriptCreator.h"
#include "ScriptSteps.h"
#include "ScriptWriter.h"
#include "StoreTraffic.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VSSBulkReader.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <thread>

int RunScriptBenchmark(const BenchProject& project, int rttMs) {
    QTemporaryDir scratch;
    // The core reads its settings; the user's own stay out of the benchmark.
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratch.filePath(QStringLiteral("config"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(scratch.filePath(QStringLiteral("data"))));
    TARMODatabase settings;
    TARMOProject target;
    if (!project.Connect(target.SQL(), target.VSS()))
        return 1;
    TARMODatabaseObjects core(settings, &target);

    ScriptCreator creator;
    creator.SetOptionSelected(static_cast<long>(ScriptMode::All));
    creator.SetFileName(scratch.filePath(QStringLiteral("all.sql")));
    ScriptSteps steps;
    ScriptBuilder builder(core, creator, steps);
    ScriptWriter writer(creator, steps);

    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(rttMs));
    if (rttMs > 0)
        StoreTraffic::SetStoreCallObserver(
            [rttMs] { std::this_thread::sleep_for(std::chrono::milliseconds(rttMs)); });
    StoreTraffic::Reset();
    QElapsedTimer timer;
    timer.start();
    const bool written = builder.BuildAllList() == ScriptBuildOutcome::Found && writer.WriteScript();
    const qint64 ms = timer.elapsed();
    StoreTraffic::SetStoreCallObserver(nullptr);
    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(0));
    VSSBulkReader::Release();
    if (!written) {
        std::fprintf(stderr, "tarmo-bench: the script was not written\n");
        return 1;
    }
    std::printf("total_ms=%lld objects=%ld bytes=%lld statements=%lld store_calls=%lld\n", ms,
                creator.ObjectsToScript().Count(), static_cast<long long>(QFile(creator.FileName()).size()),
                StoreTraffic::StatementCount(), StoreTraffic::StoreCallCount());
    return 0;
}
