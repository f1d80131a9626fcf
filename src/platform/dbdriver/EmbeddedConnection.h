#pragma once

#include "DbConnection.h"

#include <chrono>
#include <memory>

class EmbeddedServer;
class EmbeddedSession;

// The driver for "embedded:<folder>" servers: calls the embedded engine in-process.
class EmbeddedConnection : public DbConnection {
public:
    EmbeddedConnection();
    ~EmbeddedConnection() override;

    void Open(const DbLogin& login) override;
    void Close() override;
    bool IsOpen() const override;
    SqlBatchResults ExecuteBatch(const QString& batch) override;
    SqlBatchResults ParseBatch(const QString& batch) override;
    QStringList ListDatabases() override;
    QString CurrentDatabase() override;
    QString DriverName() const override;
    QString ErrorPrefix() const override;

    // A delay added to every call that would cross a network with a real server, so that tests and
    // benchmarks can see what a slow link does. Process-wide; the environment variable
    // TARMO_EMBEDDED_RTT_MS gives the starting value.
    static void SetSimulatedRoundTrip(std::chrono::milliseconds delay);
    static std::chrono::milliseconds SimulatedRoundTrip();

private:
    void roundTrip() const;
    // A server whose folder went away while connected is gone, as a server on a dropped network is.
    void requireServer();

    QString mFolder;
    std::unique_ptr<EmbeddedServer> mServer;
    std::unique_ptr<EmbeddedSession> mSession;
};
