#include "DbConnection.h"

#include "EmbeddedConnection.h"
#include "OdbcConnection.h"
#include "ServerBrowser.h"

#include <QRegularExpression>

void DbConnection::RequireOpen() const {
    if (!IsOpen())
        throw DbError(3704, DriverName(),
                      QStringLiteral("Operation is not allowed when the object is closed."),
                      DbFailure::Driver);
}

void DbConnection::Execute(const QString& statement) {
    RaiseFirstError(ExecuteBatch(statement));
}

DbRecordset DbConnection::OpenRecordset(const QString& query) {
    const SqlBatchResults results = ExecuteBatch(query);
    RaiseFirstError(results);
    for (const SqlResult& r : results)
        if (r.kind == SqlResult::Kind::RowSet)
            return DbRecordset(r.rowSet);
    return DbRecordset();
}

void DbConnection::RaiseFirstError(const SqlBatchResults& results) const {
    QList<SqlMessage> messages;
    for (const SqlResult& r : results)
        if (r.kind == SqlResult::Kind::Message)
            messages.append(r.message);
    for (const SqlMessage& m : messages)
        if (m.IsError())
            throw DbError(m.number, DriverName(), DbDriver::ErrorText(ErrorPrefix(), m),
                          DbDriver::ClassifyServerError(m), messages);
}

namespace DbDriver {

namespace {
const QString kEmbeddedScheme = QStringLiteral("embedded:");
}

bool IsEmbeddedServer(const QString& server) {
    return server.startsWith(kEmbeddedScheme, Qt::CaseInsensitive);
}

QString EmbeddedFolder(const QString& server) {
    return IsEmbeddedServer(server) ? server.mid(kEmbeddedScheme.size()) : QString();
}

std::unique_ptr<DbConnection> CreateConnection(const QString& server) {
    if (IsEmbeddedServer(server))
        return std::make_unique<EmbeddedConnection>();
    return std::make_unique<OdbcConnection>();
}

bool CanListDatabasesAndParse(const QString& server) {
    if (IsEmbeddedServer(server))
        return true;
    return !OdbcConnection::InstalledDrivers().isEmpty();
}

QStringList ListServers() {
    // TARMO_BROWSE_WAIT_MS sets how long to wait for answers; 0 keeps the broadcast off the network.
    bool set = false;
    const int wait = qEnvironmentVariableIntValue("TARMO_BROWSE_WAIT_MS", &set);
    if (set && wait <= 0)
        return {};
    return ServerBrowser::Browse(set ? wait : 1000);
}

QString StripDriverPrefixes(const QString& text) {
    // Bracketed groups as the drivers write them in front of a text: vendor, driver, then the
    // component that answered. Only groups that start with a known vendor are touched, so a
    // bracketed name inside the message stays.
    static const QRegularExpression prefix(
        QStringLiteral("\\[(?:unixODBC|FreeTDS|Microsoft|TARMO)\\](?:\\[(?:Driver Manager|FreeTDS|SQL Server|"
                       "ODBC Driver \\d+ for SQL Server|ODBC SQL Server Driver|SQL Server Native Client "
                       "[\\d.]+|Shared Memory|TCP/IP Sockets|DBNETLIB|Embedded Server)\\])*"));
    QString out = text;
    out.remove(prefix);
    return out;
}

DbFailure ClassifyServerError(const SqlMessage& message) {
    switch (message.number) {
    case 18456:
    case 18452:
    case 18470:
    case 18486:
    case 18487:
    case 18488:
        return DbFailure::LoginFailed;
    case 4060:
    case 911:
        return DbFailure::NoDatabase;
    case 102:
    case 103:
    case 105:
    case 156:
    case 170:
        return DbFailure::CompileError;
    default:
        return message.severity == 15 ? DbFailure::CompileError : DbFailure::Statement;
    }
}

QString ErrorText(const QString& prefix, const SqlMessage& message) {
    if (message.line > 0)
        return prefix + QStringLiteral("Line %1: ").arg(message.line) + message.text;
    return prefix + message.text;
}

} // namespace DbDriver
