// tarmo-cli: the core of TARMO from a shell.
#include "CliCommands.h"
#include "MemoryTuning.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

#include <cstdio>

int main(int argc, char** argv) {
    TuneAllocator();
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (args.isEmpty() || args.first() == QLatin1String("--help") || args.first() == QLatin1String("-h")) {
        (args.isEmpty() ? err : out) << CliCommands::Usage();
        return args.isEmpty() ? 2 : 0;
    }
    CliCommands commands(out, err);
    return commands.Run(args);
}
