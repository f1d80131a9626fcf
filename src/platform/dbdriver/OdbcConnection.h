#pragma once

#include "DbConnection.h"

#include <QStringList>

// The driver for real servers: unixODBC with the FreeTDS driver by default, or Microsoft's "ODBC
// Driver 17/18 for SQL Server" when one is installed or chosen. Connection strings are built without
// a DSN; values that ODBC would misread are written in braces.
class OdbcConnection : public DbConnection {
public:
    OdbcConnection();
    ~OdbcConnection() override;
    OdbcConnection(const OdbcConnection&) = delete;
    OdbcConnection& operator=(const OdbcConnection&) = delete;

    void Open(const DbLogin& login) override;
    void Close() override;
    bool IsOpen() const override;
    SqlBatchResults ExecuteBatch(const QString& batch) override;
    SqlBatchResults ParseBatch(const QString& batch) override;
    QStringList ListDatabases() override;
    QString CurrentDatabase() override;
    QString DriverName() const override { return mDriver; }
    QString ErrorPrefix() const override { return ErrorPrefixFor(mDriver); }

    // The ODBC drivers for SQL Server that the driver manager knows, in its order.
    static QStringList InstalledDrivers();
    // Microsoft's newest driver when installed, else FreeTDS.
    static QString DefaultDriverName(const QStringList& installed);
    // The driver new connections use: the one set here (the application passes its setting), else the
    // environment variable TARMO_ODBC_DRIVER, else the default from the installed drivers.
    static void SetDriverName(const QString& driver);
    static QString ChosenDriverName();
    // Extra "key=value;" pairs appended to every connection string (TARMO_ODBC_OPTIONS gives the
    // starting value), e.g. "TrustServerCertificate=yes" for a server with its own certificate.
    static void SetExtraOptions(const QString& options);
    static QString ExtraOptions();

    static bool IsFreeTDS(const QString& driver);
    // A connection string value as ODBC reads it: braced, with "}" doubled (as it stands for FreeTDS),
    // when it holds a character that would end or confuse it.
    static QString QuoteValue(const QString& value, bool freeTds = false);
    // The DSN-less connection string for a driver and the login values.
    static QString BuildConnectionString(const QString& driver, const DbLogin& login);
    // The prefix the driver puts in front of server messages.
    static QString ErrorPrefixFor(const QString& driver);

private:
    SqlBatchResults run(const QString& batch);

    void* mEnv = nullptr;
    void* mDbc = nullptr;
    QString mDriver;
};
