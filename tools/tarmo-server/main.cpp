#include "TARMOError.h"
#include "TdsListener.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

#include <csignal>
#include <cstdio>
#include <semaphore.h>

namespace {

sem_t gStop;

void requestStop(int) {
    sem_post(&gStop); // async-signal-safe
}

const char kUsage[] = "usage: tarmo-server DIR [--port N] [--listen ADDRESS]\n";

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QString folder;
    QString address = QStringLiteral("127.0.0.1");
    int port = 1433;
    const QStringList args = app.arguments().mid(1);
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if ((a == QLatin1String("--port") || a == QLatin1String("--listen")) && i + 1 < args.size()) {
            if (a == QLatin1String("--listen")) {
                address = args[++i];
                continue;
            }
            bool ok = false;
            port = args[++i].toInt(&ok);
            if (!ok || port < 0 || port > 65535) {
                err << "tarmo-server: the port must be a number from 0 to 65535\n" << kUsage;
                return 2;
            }
        } else if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            out << kUsage;
            return 0;
        } else if (!a.startsWith(QLatin1String("--")) && folder.isEmpty()) {
            folder = a;
        } else {
            err << "tarmo-server: unexpected argument " << a << '\n' << kUsage;
            return 2;
        }
    }
    if (folder.isEmpty()) {
        err << kUsage;
        return 2;
    }
    if (folder.startsWith(QLatin1String("embedded:")))
        folder = folder.mid(9);
    folder = QDir(folder).absolutePath();

    sem_init(&gStop, 0, 0);
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    try {
        TdsListener listener(folder);
        const uint16_t bound = listener.Start(address, uint16_t(port));
        // Scripts and tests read this line to learn the port when they asked for port 0.
        out << "tarmo-server: serving embedded:" << folder << " on " << address << " port " << bound
            << Qt::endl;
        while (sem_wait(&gStop) != 0) {
        }
        listener.Stop();
    } catch (const TARMOError& e) {
        err << "tarmo-server: " << e.Description() << '\n';
        return 1;
    }
    return 0;
}
