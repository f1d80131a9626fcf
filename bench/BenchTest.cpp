#include "BenchTest.h"

#include "BenchProject.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"
#include "TARMOStoredProcedures.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

const int kRounds = 9;

// The object model reports its failures in message boxes; here they go to stderr, and the round
// that met one fails.
class BenchPrompts : public UserPrompts {
public:
    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon,
                              const QString& title, int) override {
        std::fprintf(stderr, "tarmo-bench: %s: %s\n", qPrintable(title), qPrintable(text));
        return Prompt::SafestAnswer(buttons);
    }
    QString OpenFileName(const QString&, const QString&, const QString&) override { return {}; }
    QString SaveFileName(const QString&, const QString&, const QString&) override { return {}; }
    QString FolderName(const QString&, const QString&) override { return {}; }
    bool SQLLogin(const QString&, const QString&, QString&, QString&) override { return false; }
    bool VSSLogin(const QString&, QString&, QString&) override { return false; }
    void SetBusy(bool) override {}
};

// The processor time of this thread, which the other work of a busy machine hardly changes.
qint64 cpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return qint64(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

qint64 median(std::vector<qint64> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The same CREATE, and the drop that follows a syntax test, in a database that holds nothing else.
qint64 floorMs(const BenchProject& project, const QString& text) {
    const QString floorDb = QStringLiteral("BenchFloor");
    TARMOSQL master;
    master.OpenConnection(project.Server(), QStringLiteral("master"), QStringLiteral("sa"),
                          BenchProject::SaPassword(), 0, true);
    std::unique_ptr<DbRecordset> exists =
        master.OpenRecordset(QStringLiteral("SELECT name FROM sysdatabases WHERE name = N'BenchFloor'"));
    if (!exists || exists->Eof())
        master.ExecuteSQL(QStringLiteral("CREATE DATABASE [BenchFloor]"));
    TARMOSQL sql;
    if (!sql.OpenConnection(project.Server(), floorDb, QStringLiteral("sa"), BenchProject::SaPassword(), 0,
                            true)
             .isEmpty())
        return -1;
    std::vector<qint64> rounds;
    for (int i = 0; i < kRounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        sql.ExecuteSQL(text);
        sql.ExecuteSQL(QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = "
                                      "OBJECT_ID(N'[dbo].[spFloor]') AND OBJECTPROPERTY(id, N'IsProcedure') "
                                      "= 1) DROP PROCEDURE [dbo].[spFloor]"));
        rounds.push_back(timer.elapsed());
    }
    return median(rounds);
}

} // namespace

int RunTestBenchmark(const BenchProject& project) {
    installPrompts(std::make_unique<BenchPrompts>());
    TARMOSQL sql;
    TARMOVSS vss;
    if (!project.Connect(sql, vss))
        return 1;
    TARMOIcons icons;
    TARMOStoredProcedures procedures;
    procedures.SetActiveDBConnection(&sql);
    procedures.SetActiveVSSConnection(&vss);
    procedures.SetIcons(&icons);
    procedures.LoadIcons();
    bool cancel = false;
    procedures.RefreshList(cancel);
    const TARMOStoredProcedures::Object object =
        procedures.Item(procedures.FindIDByName(QStringLiteral("spProcedure1")));
    if (!object) {
        std::fprintf(stderr, "tarmo-bench: the project has no spProcedure1\n");
        return 1;
    }
    if (!object->IsCheckedOutByMe() && !object->CheckOut()) {
        std::fprintf(stderr, "tarmo-bench: spProcedure1 can't be checked out\n");
        return 1;
    }
    const QString text = object->GetContent(TARMOObjectVSS::LocationSQL);

    std::vector<qint64> tests, checkins, totals, cpu;
    for (int i = 0; i < kRounds; ++i) {
        const qint64 cpuStart = cpuMs();
        QElapsedTimer timer;
        timer.start();
        const bool tested = object->TestItem(text);
        const qint64 test = timer.elapsed();
        const bool checkedIn = tested && object->CheckIn(text, QStringLiteral("tarmo-bench"));
        const qint64 total = timer.elapsed();
        cpu.push_back(cpuMs() - cpuStart);
        // Checked out again for the next round and the next run, outside the time measured.
        if (!checkedIn || !object->CheckOut()) {
            std::fprintf(stderr, "tarmo-bench: the test or the check-in of spProcedure1 failed\n");
            return 1;
        }
        tests.push_back(test);
        checkins.push_back(total - test);
        totals.push_back(total);
    }
    QString floorText = text;
    floorText.replace(QStringLiteral("spProcedure1"), QStringLiteral("spFloor"));
    const qint64 floor = floorMs(project, floorText);
    std::printf("objects=%d rounds=%d (medians)\n", procedures.Count(), kRounds);
    std::printf("test_ms=%lld checkin_ms=%lld\n", median(tests), median(checkins));
    // The fastest round too: on a busy machine it says more about what the work costs than the median.
    std::printf("total_ms=%lld min_ms=%lld cpu_ms=%lld floor_ms=%lld\n", median(totals),
                *std::min_element(totals.begin(), totals.end()), median(cpu), floor);
    return 0;
}
