#include "BenchDocs.h"
#include "BenchExpand.h"
#include "BenchParse.h"
#include "BenchProject.h"
#include "BenchQuery.h"
#include "BenchRefresh.h"
#include "BenchScript.h"
#include "BenchStartup.h"
#include "BenchSync.h"
#include "BenchTest.h"
#include "BenchWhile.h"
#include "MemoryTuning.h"
#include "TARMOError.h"

#include <QApplication>
#include <QStandardPaths>
#include <QStringList>

#include <cstdio>

namespace {

int usage() {
    std::fprintf(stderr,
                 "Usage: tarmo-bench refresh|test|sync|script [--scale F] [--rtt-ms M] [--cache DIR]\n"
                 "                   [--store embedded|postgres]\n"
                 "       tarmo-bench expand [--runs N] [--cache DIR]\n"
                 "       tarmo-bench startup [--runs N]\n"
                 "       tarmo-bench query [--rows N] [--cache DIR]\n"
                 "       tarmo-bench parse [--lines N]\n"
                 "       tarmo-bench docs [--objects N] [--files F] [--rtt-ms M] [--cache DIR]\n"
                 "       tarmo-bench while [--rounds N]\n"
                 "  refresh      refreshes the four lists of the project\n"
                 "  test         tests the syntax of one procedure and checks it in\n"
                 "  sync         compares a copy of the project, with known differences, as a\n"
                 "               synchronization does\n"
                 "  script       writes the complete deployment script of the project\n"
                 "  expand       opens the Stored Procedures node of the tree (scale 1)\n"
                 "  startup      starts the program on the demo until its main window shows\n"
                 "  query        reads a large table into the query window\n"
                 "  while        runs a WHILE loop of N simple rounds in the embedded server\n"
                 "               (default 1000000)\n"
                 "  parse        one procedure of N lines (default 5000) through the grammar and the\n"
                 "               embedded server under SET PARSEONLY ON\n"
                 "  docs         documents a module of F source files of 500 lines (default 200)\n"
                 "               over a project of N objects (default 9000, scale 1)\n"
                 "  --scale F    size of the project; 1 is 5,000 procedures, 1,000 views, 1,000\n"
                 "               functions and 2,000 triggers on 500 tables (default 1)\n"
                 "  --rtt-ms M   round trip added to every statement and store call (default 0)\n"
                 "  --runs N     timed starts after one to warm up (default 10)\n"
                 "  --rows N     rows of the table that the query reads (default 100000)\n"
                 "  --cache DIR  where the project or the table is built once and kept\n"
                 "  --store S    the project's version store: embedded (a folder, the default) or\n"
                 "               postgres (a PostgreSQL server the benchmark starts for the run)\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[]) {
    TuneAllocator();
    // The windows of the benchmarks are drawn, but never on a screen.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty())
        return usage();
    const QString command = args.takeFirst();
    if (command == QLatin1String("bare-window"))
        return RunBareWindow();
    if (command == QLatin1String("while")) {
        long long rounds = 1000000;
        if (args.size() == 2 && args[0] == QLatin1String("--rounds")) {
            bool ok = false;
            rounds = args[1].toLongLong(&ok);
            if (!ok || rounds < 0)
                return usage();
        } else if (!args.isEmpty()) {
            return usage();
        }
        return RunWhileBenchmark(rounds);
    }
    const bool onProject = command == QLatin1String("refresh") || command == QLatin1String("test") ||
                           command == QLatin1String("sync") || command == QLatin1String("docs") ||
                           command == QLatin1String("script");
    const bool expand = command == QLatin1String("expand");
    const bool parse = command == QLatin1String("parse");
    if (!onProject && !expand && !parse && command != QLatin1String("startup") &&
        command != QLatin1String("query"))
        return usage();
    double scale = 1;
    int rtt = 0;
    int runs = 10;
    int rows = 100000;
    int files = 200;
    bool onServer = false;
    int lines = 5000;
    QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                    QStringLiteral("/tarmo-bench");
    for (int i = 0; i < args.size(); ++i) {
        const QString option = args[i];
        if (i + 1 >= args.size())
            return usage();
        const QString value = args[++i];
        bool ok = true;
        if (option == QLatin1String("--scale") && onProject)
            scale = value.toDouble(&ok);
        else if (option == QLatin1String("--rtt-ms") && onProject)
            rtt = value.toInt(&ok);
        else if (option == QLatin1String("--runs") && (command == QLatin1String("startup") || expand))
            runs = value.toInt(&ok);
        else if (option == QLatin1String("--objects") && command == QLatin1String("docs"))
            scale = value.toDouble(&ok) / 9000.0;
        else if (option == QLatin1String("--files") && command == QLatin1String("docs"))
            files = value.toInt(&ok);
        else if (option == QLatin1String("--lines") && parse)
            lines = value.toInt(&ok);
        else if (option == QLatin1String("--rows") && command == QLatin1String("query"))
            rows = value.toInt(&ok);
        else if (option == QLatin1String("--cache") && command != QLatin1String("startup") && !parse)
            cache = value;
        else if (option == QLatin1String("--store") && onProject &&
                 (value == QLatin1String("embedded") || value == QLatin1String("postgres")))
            onServer = value == QLatin1String("postgres");
        else
            return usage();
        if (!ok || scale <= 0 || rtt < 0 || runs < 1 || rows < 1 || files < 1 || lines < 3)
            return usage();
    }
    if (command == QLatin1String("startup"))
        return RunStartupBenchmark(runs);
    if (command == QLatin1String("query"))
        return RunQueryBenchmark(cache, rows);
    if (parse)
        return RunParseBenchmark(lines);
    if (expand) {
        try {
            BenchProject project(cache, 1);
            project.Ensure();
            return RunExpandBenchmark(project, runs);
        } catch (const TARMOError& e) {
            std::fprintf(stderr, "tarmo-bench: %s\n", qPrintable(e.Description()));
            return 1;
        }
    }
    try {
        BenchProject project(cache, scale, onServer);
        project.Ensure();
        if (command == QLatin1String("test"))
            return RunTestBenchmark(project);
        if (command == QLatin1String("sync"))
            return RunSyncBenchmark(project, rtt);
        if (command == QLatin1String("docs"))
            return RunDocsBenchmark(project, files, rtt);
        if (command == QLatin1String("script"))
            return RunScriptBenchmark(project, rtt);
        return RunRefreshBenchmark(project, rtt);
    } catch (const TARMOError& e) {
        std::fprintf(stderr, "tarmo-bench: %s\n", qPrintable(e.Description()));
        return 1;
    }
}
