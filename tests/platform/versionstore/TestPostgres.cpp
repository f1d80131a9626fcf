#include "TestPostgres.h"

#include <QDir>

#include <unistd.h>

#include <memory>

namespace {

struct Server {
    std::unique_ptr<LocalPostgres> server;
    QString folder;
    QString missing;
    int databases = 0;

    Server() {
        QByteArray pattern = QDir::tempPath().toLocal8Bit() + "/tarmo-pg-XXXXXX";
        if (!mkdtemp(pattern.data())) {
            missing = QStringLiteral("no temporary folder for the server");
            return;
        }
        folder = QString::fromLocal8Bit(pattern);
        auto candidate = std::make_unique<LocalPostgres>(folder);
        if (candidate->Start(&missing))
            server = std::move(candidate);
    }
    ~Server() {
        server.reset();
        if (!folder.isEmpty())
            QDir(folder).removeRecursively();
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
};

Server& shared() {
    static Server s;
    return s;
}

} // namespace

LocalPostgres* TestPostgres::Instance() {
    return shared().server.get();
}

QString TestPostgres::Missing() {
    return shared().missing;
}

QString TestPostgres::NewDatabase() {
    QString name = QStringLiteral("store%1_%2").arg(getpid()).arg(++shared().databases);
    Instance()->CreateDatabase(name);
    return name;
}
