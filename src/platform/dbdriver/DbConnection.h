#pragma once

#include "DbError.h"
#include "DbRecordset.h"
#include "SqlResults.h"

#include <QString>
#include <QStringList>

#include <memory>

// The values a connection is opened with. trusted = the operating-system user's own identity
// (no login and password are sent).
struct DbLogin {
    QString server;
    QString database; // "" = the login's default database
    QString login;
    QString password;
    bool trusted = false;
};

// One connection to a SQL Server, whichever driver carries it. Drivers raise DbError; server
// messages (PRINT, errors of statements) come back in the results of ExecuteBatch, and Execute /
// OpenRecordset raise the first error of their batch the way the classic data layer did.
class DbConnection {
public:
    virtual ~DbConnection() = default;

    // Opens the connection; DbError with the server's number and the driver's text on failure.
    virtual void Open(const DbLogin& login) = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;

    // Runs one batch (no GO inside) and gives back every result in order. Errors of statements are
    // messages in the results; only a failure of the connection itself raises.
    virtual SqlBatchResults ExecuteBatch(const QString& batch) = 0;
    // Lets the server check the batch without running it: the syntax errors come back as messages.
    virtual SqlBatchResults ParseBatch(const QString& batch) = 0;
    // The databases of the server, master included.
    virtual QStringList ListDatabases() = 0;
    virtual QString CurrentDatabase() = 0;

    // The driver's own name ("Embedded", or the ODBC driver), and the prefix it puts in front of the
    // texts of server messages, the way the driver reports them.
    virtual QString DriverName() const = 0;
    virtual QString ErrorPrefix() const = 0;

    // Runs a statement and drops its results; raises the first error.
    void Execute(const QString& statement);
    // The first row set of the query, fully fetched and detached; raises the first error. A query
    // that gives no rows set gives an empty recordset without fields.
    DbRecordset OpenRecordset(const QString& query);
    // Raises the first error among the results, as the driver reports it: prefix, "Line N: " where
    // the line is known, the server's text.
    void RaiseFirstError(const SqlBatchResults& results) const;

protected:
    void RequireOpen() const;
};

namespace DbDriver {

// "embedded:<folder>" names an embedded server; anything else is a server reached through ODBC.
bool IsEmbeddedServer(const QString& server);
QString EmbeddedFolder(const QString& server);

// A closed connection of the driver that serves the server name.
std::unique_ptr<DbConnection> CreateConnection(const QString& server);

// Whether the driver of a server name can list databases and parse without running.
bool CanListDatabasesAndParse(const QString& server);

// The SQL Servers that answer a broadcast on the local network (embedded servers can't be found this
// way); an empty list when none answers within a second (TARMO_BROWSE_WAIT_MS changes the wait, 0
// turns the broadcast off).
QStringList ListServers();

// The message texts without the prefixes our drivers put in front of them ("[FreeTDS][SQL Server]",
// the Microsoft drivers' and the driver manager's, the embedded server's).
QString StripDriverPrefixes(const QString& text);

// Sorts a server error into the conditions the connection class reports.
DbFailure ClassifyServerError(const SqlMessage& message);

// The text a driver reports for a message: prefix, "Line N: " where the line is known, the text.
QString ErrorText(const QString& prefix, const SqlMessage& message);

} // namespace DbDriver
