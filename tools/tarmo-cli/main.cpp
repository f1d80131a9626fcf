// tarmo-cli: the core of TARMO from a shell.
#include "DemoSeed.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

namespace {

const char* const usage = "Usage: tarmo-cli COMMAND [OPTIONS]\n"
                          "\n"
                          "Commands:\n"
                          "  demo [--folder DIR] [--reset]\n"
                          "      Makes the demo: an embedded server with the database Demo (login sa,\n"
                          "      password demo), a version store with the project $/Demo (user Admin,\n"
                          "      password demo), and the project record \"Demo\" that TARMO opens at start.\n"
                          "      What exists is kept; --reset makes the folder anew.\n"
                          "      Default folder: $XDG_DATA_HOME/tarmo/demo.\n"
                          "\n"
                          "  -h, --help       show this help\n";

int demo(const QStringList& args) {
    QString folder = DemoSeed::DefaultFolder();
    bool reset = false;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--reset")) {
            reset = true;
        } else if (args[i] == QLatin1String("--folder") && i + 1 < args.size()) {
            folder = args[++i];
        } else {
            std::fprintf(stderr, "tarmo-cli demo: unexpected argument '%s'\n", qPrintable(args[i]));
            return 2;
        }
    }
    const auto result = DemoSeed::Seed(folder, reset);
    for (const auto& line : result.log)
        std::printf("%s\n", qPrintable(line));
    if (!result.ok) {
        std::fprintf(stderr, "tarmo-cli demo: %s\n", qPrintable(result.error));
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || args.first() == QLatin1String("--help") || args.first() == QLatin1String("-h")) {
        std::fputs(usage, args.isEmpty() ? stderr : stdout);
        return args.isEmpty() ? 2 : 0;
    }
    const QString command = args.takeFirst();
    if (command == QLatin1String("demo"))
        return demo(args);
    std::fprintf(stderr, "tarmo-cli: unknown command '%s'\nTry 'tarmo-cli --help'.\n", qPrintable(command));
    return 2;
}
