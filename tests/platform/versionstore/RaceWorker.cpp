// A user in a process of its own for the race test: over and over, tries to check out one of the given
// items; when it wins, appends one line naming itself to the text and checks it in. Prints "won ITEM"
// for every check-in, "lost ITEM" for every refused check-out and "done" at the end. Any error other than
// losing the check-out is fatal.
#include "StoreErrors.h"
#include "TARMOError.h"
#include "VersionStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 6) {
        QTextStream(stderr) << "usage: vss_race_worker INI USER ROUNDS WORKDIR ITEM...\n";
        return 2;
    }
    const QString user = args[2];
    const int rounds = args[3].toInt();
    const QDir work(args[4]);
    const QStringList items = args.mid(5);
    QTextStream out(stdout);
    try {
        VersionStore store;
        store.Open(args[1], user, user + QStringLiteral("-pw"));
        for (int round = 0; round < rounds; ++round) {
            const QString spec = items[round % items.size()];
            StoreItem item = store.Item(spec);
            const QString local = work.absoluteFilePath(item.Name());
            try {
                item.Checkout(QString(), local);
            } catch (const TARMOError& e) {
                if (e.Number() == StoreErrors::CheckedOutByOther) {
                    out << "lost " << spec << "\n";
                    continue;
                }
                throw;
            }
            QFile file(local);
            if (!file.open(QIODevice::Append))
                throw TARMOError(1, QStringLiteral("worker"), QStringLiteral("cannot append to ") + local);
            file.write(QStringLiteral("%1 %2\n").arg(user).arg(round).toUtf8());
            file.close();
            item.Checkin(QStringLiteral("round %1").arg(round), local);
            out << "won " << spec << "\n";
            out.flush();
        }
    } catch (const TARMOError& e) {
        QTextStream(stderr) << user << ": " << e.Description() << "\n";
        return 1;
    }
    out << "done\n";
    return 0;
}
