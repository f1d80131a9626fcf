#include "BenchRefresh.h"

#include "BenchProject.h"
#include "EmbeddedConnection.h"
#include "StoreTraffic.h"
#include "TARMODBTItems.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"
#include "TARMOStoredProcedures.h"
#include "TARMOTriggers.h"
#include "TARMOUserDefinedFunctions.h"
#include "TARMOVSS.h"
#include "TARMOViews.h"

#include <QElapsedTimer>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

namespace {

// The processor time of the process, which a busy machine hardly changes.
qint64 cpuMs() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

} // namespace

int RunRefreshBenchmark(const BenchProject& project, int rttMs) {
    TARMOSQL sql;
    TARMOVSS vss;
    if (!project.Connect(sql, vss))
        return 1;

    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(rttMs));
    if (rttMs > 0)
        StoreTraffic::SetStoreCallObserver(
            [rttMs] { std::this_thread::sleep_for(std::chrono::milliseconds(rttMs)); });

    TARMOIcons icons;
    TARMOStoredProcedures procedures;
    TARMOViews views;
    TARMOUserDefinedFunctions functions;
    TARMOTriggers triggers;
    std::printf("list                  objects  statements  store_calls        ms\n");
    qint64 totalMs = 0;
    qint64 totalCpuMs = 0;
    long long totalStatements = 0;
    long long totalCalls = 0;
    int totalObjects = 0;
    for (TARMOObjectList* list :
         std::initializer_list<TARMOObjectList*>{&procedures, &views, &functions, &triggers}) {
        list->SetActiveDBConnection(&sql);
        list->SetActiveVSSConnection(&vss);
        list->SetIcons(&icons);
        list->LoadIcons();
        StoreTraffic::Reset();
        QElapsedTimer timer;
        const qint64 cpuBefore = cpuMs();
        timer.start();
        std::unique_ptr<TARMODBTItems> records = list->GetItemInfo(false);
        const qint64 ms = timer.elapsed();
        totalCpuMs += cpuMs() - cpuBefore;
        const int objects = records ? records->Count() : 0;
        std::printf("%-20s %8d %11lld %12lld %9lld\n", qPrintable(list->ObjectType()), objects,
                    StoreTraffic::StatementCount(), StoreTraffic::StoreCallCount(), ms);
        totalMs += ms;
        totalStatements += StoreTraffic::StatementCount();
        totalCalls += StoreTraffic::StoreCallCount();
        totalObjects += objects;
    }
    StoreTraffic::SetStoreCallObserver(nullptr);
    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(0));
    std::printf("total_ms=%lld statements=%lld store_calls=%lld objects=%d cpu_ms=%lld\n", totalMs,
                totalStatements, totalCalls, totalObjects, totalCpuMs);
    return 0;
}
