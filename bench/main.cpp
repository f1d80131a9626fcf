#include "BenchProject.h"
#include "BenchRefresh.h"
#include "BenchTest.h"
#include "TARMOError.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <QStringList>

#include <cstdio>

namespace {

int usage() {
    std::fprintf(stderr, "Usage: tarmo-bench refresh|test [--scale F] [--rtt-ms M] [--cache DIR]\n"
                         "  refresh      refreshes the four lists of the project\n"
                         "  test         tests the syntax of one procedure and checks it in\n"
                         "  --scale F    size of the project; 1 is 5,000 procedures, 1,000 views, 1,000\n"
                         "               functions and 2,000 triggers on 500 tables (default 1)\n"
                         "  --rtt-ms M   round trip added to every statement and store call (default 0)\n"
                         "  --cache DIR  where the project is built once and kept\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    const QString command = args.isEmpty() ? QString() : args.takeFirst();
    if (command != QLatin1String("refresh") && command != QLatin1String("test"))
        return usage();
    double scale = 1;
    int rtt = 0;
    QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                    QStringLiteral("/tarmo-bench");
    for (int i = 0; i < args.size(); ++i) {
        const QString option = args[i];
        if (i + 1 >= args.size())
            return usage();
        const QString value = args[++i];
        bool ok = true;
        if (option == QLatin1String("--scale"))
            scale = value.toDouble(&ok);
        else if (option == QLatin1String("--rtt-ms"))
            rtt = value.toInt(&ok);
        else if (option == QLatin1String("--cache"))
            cache = value;
        else
            return usage();
        if (!ok || scale <= 0 || rtt < 0)
            return usage();
    }
    try {
        BenchProject project(cache, scale);
        project.Ensure();
        if (command == QLatin1String("test"))
            return RunTestBenchmark(project);
        return RunRefreshBenchmark(project, rtt);
    } catch (const TARMOError& e) {
        std::fprintf(stderr, "tarmo-bench: %s\n", qPrintable(e.Description()));
        return 1;
    }
}
