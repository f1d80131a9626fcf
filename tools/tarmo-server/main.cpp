#include "MemoryTuning.h"
#include "TARMOError.h"
#include "TdsListener.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <semaphore.h>

namespace {

sem_t gStop;

void requestStop(int) {
    sem_post(&gStop); // async-signal-safe
}

const char kUsage[] = "usage: tarmo-server DIR [--port N] [--listen ADDRESS] [--max-connections N]\n"
                      "                   [--login-timeout S] [--idle-timeout S] [--max-result-rows N]\n"
                      "                   [--encrypt off|on|strict]\n"
                      "  --encrypt: off never; on for every client; strict for TDS 8 clients only.\n"
                      "  Without it a loopback address encrypts when the client asks, any other always.\n";

struct NumberOption {
    const char* name;
    int* value;
    int lowest;
    int highest;
};

} // namespace

int main(int argc, char* argv[]) {
    TuneAllocator();
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QString folder;
    QString address = QStringLiteral("127.0.0.1");
    int port = 1433;
    TdsLimits limits;
    TdsEncryption encryption = TdsEncryption::Default;
    const NumberOption numbers[] = {
        {"--port", &port, 0, 65535},
        {"--max-connections", &limits.maxConnections, 1, 100000},
        {"--login-timeout", &limits.loginTimeoutSeconds, 0, 86400},
        {"--idle-timeout", &limits.idleTimeoutSeconds, 0, 7 * 86400},
        {"--max-result-rows", &limits.maxResultRows, 0, 2000000000},
    };
    const QStringList args = app.arguments().mid(1);
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        const auto number = std::find_if(std::begin(numbers), std::end(numbers),
                                         [&](const NumberOption& o) { return a == QLatin1String(o.name); });
        if (number != std::end(numbers) && i + 1 < args.size()) {
            bool ok = false;
            *number->value = args[++i].toInt(&ok);
            if (!ok || *number->value < number->lowest || *number->value > number->highest) {
                err << "tarmo-server: " << number->name << " takes a number from " << number->lowest << " to "
                    << number->highest << '\n'
                    << kUsage;
                return 2;
            }
        } else if (a == QLatin1String("--encrypt") && i + 1 < args.size()) {
            const QString mode = args[++i].toLower();
            if (mode == QLatin1String("off"))
                encryption = TdsEncryption::Off;
            else if (mode == QLatin1String("on"))
                encryption = TdsEncryption::Required;
            else if (mode == QLatin1String("strict"))
                encryption = TdsEncryption::Strict;
            else {
                err << "tarmo-server: --encrypt takes off, on or strict\n" << kUsage;
                return 2;
            }
        } else if (a == QLatin1String("--listen") && i + 1 < args.size()) {
            address = args[++i];
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
        listener.SetLimits(limits);
        listener.SetEncryption(encryption);
        const uint16_t bound = listener.Start(address, uint16_t(port));
        // Scripts and tests read this line to learn the port when they asked for port 0.
        out << "tarmo-server: serving embedded:" << folder << " on " << address << " port " << bound
            << Qt::endl;
        const TdsEncryption settled = listener.Encryption();
        out << "tarmo-server: encryption "
            << (settled == TdsEncryption::Off        ? "off"
                : settled == TdsEncryption::Offered  ? "when the client asks"
                : settled == TdsEncryption::Required ? "on"
                                                     : "strict (TDS 8)")
            << (settled == TdsEncryption::Off
                    ? QString()
                    : QStringLiteral(", certificate ") + TdsTlsContext::CertificatePath(folder))
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
