// Writes values into a store from its own process, for the concurrency test.
#include "KeyStore.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const auto args = app.arguments();
    if (args.size() != 4)
        return 2;
    KeyStore store(args[1]);
    const QString key = QStringLiteral("Software\\W") + args[2];
    const int count = args[3].toInt();
    for (int i = 0; i < count; ++i) {
        KeyStore::Value v{QStringLiteral("v%1").arg(i), KeyStore::String, QString::number(i), {}};
        if (!store.SetValue(0x80000001L, key, v)) {
            std::fprintf(stderr, "write %d failed\n", i);
            return 1;
        }
    }
    return 0;
}
