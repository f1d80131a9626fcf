#include "BenchStartup.h"

#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOVSS.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <vector>

namespace {

QString sibling(const QString& relative) {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../") + relative);
}

struct Timing {
    qint64 min = -1;
    qint64 median = -1;
    qint64 cpuMedian = -1; // user and system time of the process, which the load of the machine spares
};

// The processor time of every child ended so far.
qint64 childrenCpuMs() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return (qint64(usage.ru_utime.tv_sec) + usage.ru_stime.tv_sec) * 1000 +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
}

// Milliseconds from the start of the process to its end, or -1 when it failed or hung.
qint64 timedRun(const QString& program, const QStringList& arguments, const QProcessEnvironment& env) {
    QProcess process;
    process.setProcessEnvironment(env);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return -1;
    }
    const qint64 ms = timer.elapsed();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0 ? ms : -1;
}

Timing timedRuns(int runs, const QString& program, const QStringList& arguments,
                 const QProcessEnvironment& env) {
    if (timedRun(program, arguments, env) < 0)
        return {};
    std::vector<qint64> times;
    std::vector<qint64> cpu;
    for (int i = 0; i < runs; ++i) {
        const qint64 cpuBefore = childrenCpuMs();
        const qint64 ms = timedRun(program, arguments, env);
        if (ms < 0)
            return {};
        times.push_back(ms);
        cpu.push_back(childrenCpuMs() - cpuBefore);
    }
    std::sort(times.begin(), times.end());
    std::sort(cpu.begin(), cpu.end());
    return {times.front(), times[times.size() / 2], cpu[cpu.size() / 2]};
}

// A user who has opened the project before has answered the question of the first user; so does
// the benchmark, through the object model as the answer "No" does, before the first timed start.
bool answerFirstUserQuestion(const QTemporaryDir& home) {
    qputenv("XDG_DATA_HOME", QDir(home.path()).filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", QDir(home.path()).filePath(QStringLiteral("config")).toLocal8Bit());
    TARMODatabase database;
    const std::shared_ptr<TARMOProject> project = database.GetDefaultProject();
    if (!project || !project->VSS().OpenConnection().isEmpty())
        return false;
    if (project->IsFirstUserToConnect())
        project->ProjectWasSyncronized(QStringLiteral("NoSyncWanted"));
    return !project->IsFirstUserToConnect();
}

} // namespace

int RunBareWindow() {
    QMainWindow window;
    window.resize(800, 600);
    window.show();
    QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    return QApplication::exec();
}

int RunStartupBenchmark(int runs) {
    const QString tarmo = sibling(QStringLiteral("src/app/tarmo"));
    const QString cli = sibling(QStringLiteral("tools/tarmo-cli/tarmo-cli"));
    if (!QFileInfo::exists(tarmo) || !QFileInfo::exists(cli)) {
        std::fprintf(stderr, "tarmo-bench: build tarmo and tarmo-cli first (%s)\n", qPrintable(tarmo));
        return 1;
    }
    QTemporaryDir home;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_DATA_HOME"), QDir(home.path()).filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), QDir(home.path()).filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    if (timedRun(cli, {QStringLiteral("demo")}, env) < 0 || !answerFirstUserQuestion(home)) {
        std::fprintf(stderr, "tarmo-bench: the demo can't be made in %s\n", qPrintable(home.path()));
        return 1;
    }

    const Timing floor =
        timedRuns(runs, QCoreApplication::applicationFilePath(), {QStringLiteral("bare-window")}, env);
    std::printf("floor (bare Qt window, exec to shown): min_ms=%lld median_ms=%lld cpu_ms=%lld\n", floor.min,
                floor.median, floor.cpuMedian);
    env.insert(QStringLiteral("TARMO_EXIT_WHEN_SHOWN"), QStringLiteral("1"));
    const Timing start = timedRuns(runs, tarmo, {}, env);
    if (start.min < 0) {
        std::fprintf(stderr, "tarmo-bench: tarmo didn't reach its main window\n");
        return 1;
    }
    std::printf("tarmo on the demo (exec to main window shown): cpu_ms=%lld\n", start.cpuMedian);
    std::printf("min_ms=%lld median_ms=%lld\n", start.min, start.median);
    return 0;
}
