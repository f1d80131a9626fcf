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
#include <thread>

int RunRefreshBenchmark(const BenchProject& project, int rttMs) {
    TARMOSQL sql;
    TARMOVSS vss;
    vss.SetGeneralWorkingFolder(project.WorkingFolder());
    if (!sql.OpenConnection(project.Server(), project.Database(), QStringLiteral("sa"),
                            BenchProject::SaPassword(), 0, true)
             .isEmpty() ||
        !vss.OpenConnection(project.IniFile(), BenchProject::UserName(), BenchProject::UserPassword(),
                            project.Project(), {}, true)
             .isEmpty()) {
        std::fprintf(stderr, "tarmo-bench: the benchmark project can't be opened\n");
        return 1;
    }

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
        timer.start();
        std::unique_ptr<TARMODBTItems> records = list->GetItemInfo(false);
        const qint64 ms = timer.elapsed();
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
    std::printf("total_ms=%lld statements=%lld store_calls=%lld objects=%d\n", totalMs, totalStatements,
                totalCalls, totalObjects);
    return 0;
}
