#include "OdbcConnection.h"

#include <QDateTime>
#include <QMutex>
#include <QRegularExpression>

#include <algorithm>

#include <sql.h>
#include <sqlext.h>

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "unixODBC must use 2-byte wide characters");

namespace {

// Driver-specific diagnostic fields of the SQL Server drivers; Debian ships no header for them.
constexpr SQLSMALLINT kDiagMsgState = -1150;
constexpr SQLSMALLINT kDiagSeverity = -1151;
constexpr SQLSMALLINT kDiagLine = -1154;

const QString kFreeTDS = QStringLiteral("FreeTDS");

struct Settings {
    QMutex lock;
    bool driverSet = false;
    QString driver;
    bool optionsSet = false;
    QString options;
};

Settings& settings() {
    static Settings s;
    return s;
}

const SQLWCHAR* wide(const QString& text) {
    return reinterpret_cast<const SQLWCHAR*>(text.utf16());
}

QString fromWide(const SQLWCHAR* text, qsizetype length) {
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(text), length);
}

bool succeeded(SQLRETURN rc) {
    return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO;
}

struct Diagnostic {
    QString sqlState;
    SqlMessage message;  // text as the driver gave it, prefixes included
    SQLINTEGER rank = 0; // what FreeTDS sorts its records by (the severity it keeps)
};

// FreeTDS hands out the records of a call ranked, most severe first, by a selection sort that
// also shuffles records of equal rank; the server sent them in its own order, messages before the
// error that ended the statement. Undo the sort on that assumption: the server's order is the
// records in ascending rank, and the sort run on those ranks tells where each record went.
void restoreServerOrder(QList<Diagnostic>& ranked) {
    const qsizetype n = ranked.size();
    QList<SQLINTEGER> ranks;
    for (const Diagnostic& d : ranked)
        ranks.append(d.rank);
    std::sort(ranks.begin(), ranks.end());
    QList<qsizetype> from(n);
    for (qsizetype i = 0; i < n; ++i)
        from[i] = i;
    for (qsizetype settled = 0; settled < n; ++settled) {
        qsizetype best = settled;
        for (qsizetype current = settled; current < n; ++current)
            if (ranks[from[current]] > ranks[from[best]])
                best = current;
        std::swap(from[settled], from[best]);
    }
    QList<Diagnostic> original(n);
    for (qsizetype i = 0; i < n; ++i)
        original[from[i]] = ranked[i];
    ranked = original;
}

// Every diagnostic record of a handle after a call. FreeTDS reports the severity in the state field;
// Microsoft's drivers have fields for both.
QList<Diagnostic> diagnostics(SQLSMALLINT type, SQLHANDLE handle, bool freeTds, bool callFailed) {
    QList<Diagnostic> out;
    for (SQLSMALLINT i = 1;; ++i) {
        SQLWCHAR state[6] = {};
        SQLINTEGER native = 0;
        SQLWCHAR text[4096];
        SQLSMALLINT textLength = 0;
        const SQLRETURN rc = SQLGetDiagRecW(type, handle, i, state, &native, text,
                                            static_cast<SQLSMALLINT>(std::size(text)), &textLength);
        if (!succeeded(rc))
            break;
        Diagnostic d;
        d.sqlState = fromWide(state, 5);
        d.message.number = native;
        d.message.text = fromWide(text, std::min<qsizetype>(textLength, std::size(text) - 1));

        // Fixed-size fields take a buffer length of 0: FreeTDS refuses the SQL_IS_* markers.
        SQLUSMALLINT line = 0;
        if (succeeded(SQLGetDiagFieldW(type, handle, i, kDiagLine, &line, 0, nullptr)))
            d.message.line = line;
        SQLINTEGER msgState = 0;
        SQLINTEGER severity = 0;
        const bool hasState =
            succeeded(SQLGetDiagFieldW(type, handle, i, kDiagMsgState, &msgState, 0, nullptr));
        if (freeTds) {
            severity = hasState ? msgState : 0;
            d.rank = severity;
        } else {
            if (hasState)
                d.message.state = msgState;
            SQLGetDiagFieldW(type, handle, i, kDiagSeverity, &severity, 0, nullptr);
        }
        // A warning class never counts as an error; anything else that made the call fail does, even
        // when the driver itself wrote it and left the severity empty.
        if (d.sqlState.startsWith(QLatin1String("01")))
            d.message.severity = severity > 10 ? 10 : std::max<SQLINTEGER>(severity, 0);
        else
            d.message.severity = severity > 10 ? severity : (callFailed || native != 0 ? 16 : severity);
        out.append(d);
    }
    if (freeTds)
        restoreServerOrder(out);
    return out;
}

// The driver's own view of the link; a driver that can't tell is taken at its word that it's alive.
bool connectionLost(SQLHDBC dbc) {
    SQLUINTEGER dead = SQL_CD_FALSE;
    return succeeded(SQLGetConnectAttrW(dbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) &&
           dead == SQL_CD_TRUE;
}

void appendMessages(SqlBatchResults& results, const QList<Diagnostic>& diags) {
    for (const Diagnostic& d : diags) {
        SqlMessage m = d.message;
        m.text = DbDriver::StripDriverPrefixes(m.text);
        results.append(SqlResult::Msg(m));
    }
}

int typeIdOf(SQLSMALLINT sqlType) {
    switch (sqlType) {
    case SQL_INTEGER:
        return 56;
    case SQL_SMALLINT:
        return 52;
    case SQL_TINYINT:
        return 48;
    case SQL_BIGINT:
        return 127;
    case SQL_BIT:
        return 104;
    case SQL_REAL:
        return 59;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return 62;
    case SQL_DECIMAL:
        return 106;
    case SQL_NUMERIC:
        return 108;
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATETIME:
        return 61;
    case SQL_TYPE_DATE:
        return 40;
    case SQL_CHAR:
        return 175;
    case SQL_VARCHAR:
        return 167;
    case SQL_LONGVARCHAR:
        return 35;
    case SQL_WCHAR:
        return 239;
    case SQL_WLONGVARCHAR:
        return 99;
    case SQL_BINARY:
        return 173;
    case SQL_VARBINARY:
        return 165;
    case SQL_LONGVARBINARY:
        return 34;
    case SQL_GUID:
        return 36;
    default:
        return 231;
    }
}

enum class Fetch { Integer, Double, Decimal, Timestamp, Binary, Text };

Fetch fetchOf(SQLSMALLINT sqlType) {
    switch (sqlType) {
    case SQL_INTEGER:
    case SQL_SMALLINT:
    case SQL_TINYINT:
    case SQL_BIGINT:
    case SQL_BIT:
        return Fetch::Integer;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
        return Fetch::Double;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
        return Fetch::Decimal;
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATETIME:
        return Fetch::Timestamp;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        return Fetch::Binary;
    default:
        return Fetch::Text;
    }
}

// A decimal's text as the server shows it: a digit before the point and exactly scale decimals
// (a driver may give "-.5" for -0.50).
QString decimalText(QString text, int scale) {
    text = text.trimmed();
    const bool negative = text.startsWith(u'-');
    if (negative)
        text.remove(0, 1);
    qsizetype point = text.indexOf(u'.');
    if (point < 0) {
        point = text.size();
        text += u'.';
    }
    if (point == 0) {
        text.prepend(u'0');
        ++point;
    }
    const qsizetype decimals = text.size() - point - 1;
    if (decimals < scale)
        text += QString(scale - decimals, u'0');
    else if (decimals > scale)
        text.truncate(point + 1 + scale);
    if (scale <= 0)
        text.truncate(point);
    return negative ? QStringLiteral("-") + text : text;
}

// One value of the current row. Long texts and binaries arrive in pieces: a driver may describe
// nvarchar(max) with size 0. Decimals come as text, exactly, as the embedded server gives them.
QVariant readValue(SQLHSTMT stmt, SQLUSMALLINT column, Fetch fetch, int scale) {
    SQLLEN indicator = 0;
    switch (fetch) {
    case Fetch::Decimal: {
        SQLCHAR buffer[128];
        if (!succeeded(SQLGetData(stmt, column, SQL_C_CHAR, buffer, sizeof buffer, &indicator)) ||
            indicator == SQL_NULL_DATA)
            return QVariant();
        const auto length = static_cast<qsizetype>(std::clamp<SQLLEN>(indicator, 0, sizeof buffer - 1));
        return QVariant(
            decimalText(QString::fromLatin1(reinterpret_cast<const char*>(buffer), length), scale));
    }
    case Fetch::Integer: {
        SQLBIGINT value = 0;
        if (!succeeded(SQLGetData(stmt, column, SQL_C_SBIGINT, &value, sizeof value, &indicator)) ||
            indicator == SQL_NULL_DATA)
            return QVariant();
        return QVariant(static_cast<qlonglong>(value));
    }
    case Fetch::Double: {
        double value = 0;
        if (!succeeded(SQLGetData(stmt, column, SQL_C_DOUBLE, &value, sizeof value, &indicator)) ||
            indicator == SQL_NULL_DATA)
            return QVariant();
        return QVariant(value);
    }
    case Fetch::Timestamp: {
        SQL_TIMESTAMP_STRUCT ts = {};
        if (!succeeded(SQLGetData(stmt, column, SQL_C_TYPE_TIMESTAMP, &ts, sizeof ts, &indicator)) ||
            indicator == SQL_NULL_DATA)
            return QVariant();
        // Zone-less, as the server sent it: held as UTC so that no value looks a zone up.
        return QVariant(QDateTime(
            QDate(ts.year, ts.month, ts.day),
            QTime(ts.hour, ts.minute, ts.second, static_cast<int>(ts.fraction / 1000000)), Qt::UTC));
    }
    case Fetch::Binary: {
        QByteArray value;
        char buffer[8192];
        for (;;) {
            const SQLRETURN rc = SQLGetData(stmt, column, SQL_C_BINARY, buffer, sizeof buffer, &indicator);
            if (rc == SQL_NO_DATA || !succeeded(rc) || indicator == SQL_NULL_DATA)
                return rc == SQL_NO_DATA ? QVariant(value) : QVariant();
            const bool more = indicator == SQL_NO_TOTAL || indicator > static_cast<SQLLEN>(sizeof buffer);
            value.append(buffer, more ? qsizetype(sizeof buffer) : qsizetype(indicator));
            if (!more)
                return QVariant(value);
        }
    }
    case Fetch::Text: {
        QString value;
        SQLWCHAR buffer[4096];
        const SQLLEN room = sizeof buffer - sizeof(SQLWCHAR); // the driver ends each piece with a 0
        for (;;) {
            const SQLRETURN rc = SQLGetData(stmt, column, SQL_C_WCHAR, buffer, sizeof buffer, &indicator);
            if (rc == SQL_NO_DATA)
                return QVariant(value);
            if (!succeeded(rc) || indicator == SQL_NULL_DATA)
                return QVariant();
            const bool more = indicator == SQL_NO_TOTAL || indicator > room;
            value += fromWide(buffer, (more ? room : indicator) / static_cast<SQLLEN>(sizeof(SQLWCHAR)));
            if (!more)
                return QVariant(value);
        }
    }
    }
    return QVariant();
}

SqlRowSet fetchRows(SQLHSTMT stmt, SQLSMALLINT columns, SqlBatchResults& messages, bool freeTds) {
    SqlRowSet rows;
    QList<Fetch> fetches;
    for (SQLUSMALLINT c = 1; c <= columns; ++c) {
        SQLWCHAR name[512];
        SQLSMALLINT nameLength = 0, sqlType = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        SQLDescribeColW(stmt, c, name, static_cast<SQLSMALLINT>(std::size(name)), &nameLength, &sqlType,
                        &size, &digits, &nullable);
        SqlColumn column;
        column.name = fromWide(name, std::min<qsizetype>(nameLength, std::size(name) - 1));
        column.typeId = typeIdOf(sqlType);
        // A timestamp with more than the milliseconds of datetime is a datetime2: its text keeps them.
        const bool fine = sqlType == SQL_TYPE_TIMESTAMP && digits > 3;
        if (fine)
            column.typeId = 42;
        column.length = static_cast<int>(std::min<SQLULEN>(size, 0x7fffffff));
        column.scale = digits;
        column.nullable = nullable != SQL_NO_NULLS;
        rows.columns.append(column);
        // A date and a datetime2 come as the server's text, as the embedded server gives them.
        fetches.append(fine || sqlType == SQL_TYPE_DATE ? Fetch::Text : fetchOf(sqlType));
    }
    for (;;) {
        const SQLRETURN rc = SQLFetch(stmt);
        if (rc == SQL_SUCCESS_WITH_INFO || rc == SQL_ERROR)
            appendMessages(messages, diagnostics(SQL_HANDLE_STMT, stmt, freeTds, rc == SQL_ERROR));
        if (!succeeded(rc))
            break;
        QVariantList row;
        row.reserve(columns);
        for (SQLUSMALLINT c = 1; c <= columns; ++c)
            row.append(readValue(stmt, c, fetches[c - 1], rows.columns[c - 1].scale));
        rows.rows.append(row);
    }
    return rows;
}

DbFailure connectFailure(const Diagnostic& d) {
    const QString& s = d.sqlState;
    if (d.message.number == 18456 || s == QLatin1String("28000"))
        return DbFailure::LoginFailed;
    if (d.message.number == 4060)
        return DbFailure::NoDatabase;
    if (s.startsWith(QLatin1String("08")) || s == QLatin1String("HYT00"))
        return DbFailure::NoServer;
    if (s.startsWith(QLatin1String("IM")))
        return DbFailure::Driver;
    return DbDriver::ClassifyServerError(d.message);
}

} // namespace

OdbcConnection::OdbcConnection()
    : mDriver(ChosenDriverName()) {}

OdbcConnection::~OdbcConnection() {
    Close();
}

QStringList OdbcConnection::InstalledDrivers() {
    QStringList drivers;
    SQLHENV env = SQL_NULL_HENV;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env)))
        return drivers;
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLUSMALLINT direction = SQL_FETCH_FIRST;
    for (;;) {
        SQLWCHAR name[256];
        SQLWCHAR attributes[1024];
        SQLSMALLINT nameLength = 0, attributesLength = 0;
        const SQLRETURN rc =
            SQLDriversW(env, direction, name, static_cast<SQLSMALLINT>(std::size(name)), &nameLength,
                        attributes, static_cast<SQLSMALLINT>(std::size(attributes)), &attributesLength);
        if (!succeeded(rc))
            break;
        direction = SQL_FETCH_NEXT;
        const QString driver = fromWide(name, std::min<qsizetype>(nameLength, std::size(name) - 1));
        if (IsFreeTDS(driver) || driver.contains(QLatin1String("SQL Server"), Qt::CaseInsensitive))
            drivers.append(driver);
    }
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    return drivers;
}

QString OdbcConnection::DefaultDriverName(const QStringList& installed) {
    static const QRegularExpression microsoft(QStringLiteral("^ODBC Driver (\\d+) for SQL Server$"),
                                              QRegularExpression::CaseInsensitiveOption);
    QString best;
    int bestVersion = 0;
    for (const QString& driver : installed) {
        const QRegularExpressionMatch m = microsoft.match(driver);
        if (m.hasMatch() && m.captured(1).toInt() > bestVersion) {
            bestVersion = m.captured(1).toInt();
            best = driver;
        }
    }
    if (!best.isEmpty())
        return best;
    for (const QString& driver : installed)
        if (IsFreeTDS(driver))
            return driver;
    return kFreeTDS;
}

void OdbcConnection::SetDriverName(const QString& driver) {
    QMutexLocker locker(&settings().lock);
    settings().driverSet = !driver.isEmpty();
    settings().driver = driver;
}

QString OdbcConnection::ChosenDriverName() {
    {
        QMutexLocker locker(&settings().lock);
        if (settings().driverSet)
            return settings().driver;
    }
    QString fromEnvironment = qEnvironmentVariable("TARMO_ODBC_DRIVER");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return DefaultDriverName(InstalledDrivers());
}

void OdbcConnection::SetExtraOptions(const QString& options) {
    QMutexLocker locker(&settings().lock);
    settings().optionsSet = true;
    settings().options = options;
}

QString OdbcConnection::ExtraOptions() {
    QMutexLocker locker(&settings().lock);
    return settings().optionsSet ? settings().options : qEnvironmentVariable("TARMO_ODBC_OPTIONS");
}

bool OdbcConnection::IsFreeTDS(const QString& driver) {
    return driver.contains(kFreeTDS, Qt::CaseInsensitive);
}

QString OdbcConnection::QuoteValue(const QString& value, bool freeTds) {
    static const QRegularExpression special(QStringLiteral("[;{}=]|^\\s|\\s$"));
    if (!value.contains(special))
        return value;
    // FreeTDS ends a braced value at the first "};" and takes "}}" as it stands.
    QString inner = value;
    if (!freeTds)
        inner.replace(QLatin1Char('}'), QLatin1String("}}"));
    return QLatin1Char('{') + inner + QLatin1Char('}');
}

QString OdbcConnection::BuildConnectionString(const QString& driver, const DbLogin& login) {
    QStringList parts;
    const bool freeTds = IsFreeTDS(driver);
    auto add = [&parts, freeTds](const char* key, const QString& value) {
        parts.append(QLatin1String(key) + QLatin1Char('=') + QuoteValue(value, freeTds));
    };
    // A driver name is always braced: the names hold blanks.
    QString braced = driver;
    braced.replace(QLatin1Char('}'), QLatin1String("}}"));
    parts.append(QStringLiteral("Driver={%1}").arg(braced));

    // SQL Server's own form "host,port"; FreeTDS takes the port as a keyword of its own.
    QString host = login.server.trimmed();
    QString port;
    static const QRegularExpression withPort(QStringLiteral("^(.*),\\s*(\\d+)$"));
    const QRegularExpressionMatch m = withPort.match(host);
    if (freeTds && m.hasMatch()) {
        host = m.captured(1).trimmed();
        port = m.captured(2);
    }
    add("Server", host);
    if (!port.isEmpty())
        add("Port", port);
    if (!login.database.isEmpty())
        add("Database", login.database);
    if (login.trusted) {
        // FreeTDS logs in with Kerberos when no login is given; Microsoft's drivers want the keyword.
        parts.append(QStringLiteral("Trusted_Connection=yes"));
    } else {
        add("UID", login.login);
        add("PWD", login.password);
    }
    if (freeTds) {
        // Without a fixed version FreeTDS retries a failed login as another protocol and hides the
        // server's answer.
        parts.append(QStringLiteral("TDS_Version=7.4"));
        parts.append(QStringLiteral("ClientCharset=UTF-8"));
    }
    QString out = parts.join(QLatin1Char(';')) + QLatin1Char(';');
    const QString extra = ExtraOptions().trimmed();
    if (!extra.isEmpty())
        out += extra.endsWith(QLatin1Char(';')) ? extra : extra + QLatin1Char(';');
    return out;
}

QString OdbcConnection::ErrorPrefixFor(const QString& driver) {
    if (IsFreeTDS(driver))
        return QStringLiteral("[FreeTDS][SQL Server]");
    return QStringLiteral("[Microsoft][%1][SQL Server]").arg(driver);
}

void OdbcConnection::Open(const DbLogin& login) {
    Close();
    const bool freeTds = IsFreeTDS(mDriver);
    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env)))
        throw DbError(0, mDriver, QStringLiteral("The ODBC driver manager could not be loaded."),
                      DbFailure::Driver);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    SQLSetConnectAttrW(dbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(15), 0);

    const QString connectionString = BuildConnectionString(mDriver, login);
    SQLWCHAR out[1024];
    SQLSMALLINT outLength = 0;
    const SQLRETURN rc =
        SQLDriverConnectW(dbc, nullptr, const_cast<SQLWCHAR*>(wide(connectionString)), SQL_NTS, out,
                          static_cast<SQLSMALLINT>(std::size(out)), &outLength, SQL_DRIVER_NOPROMPT);
    if (!succeeded(rc)) {
        const QList<Diagnostic> diags = diagnostics(SQL_HANDLE_DBC, dbc, freeTds, true);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
        QList<SqlMessage> messages;
        for (const Diagnostic& d : diags) {
            messages.append(d.message);
            messages.last().text = DbDriver::StripDriverPrefixes(d.message.text);
        }
        // The server's own refusal explains more than the driver's summary that follows it. A
        // database that can't be opened is told first by the server (4060, then 18456); FreeTDS
        // ranks the more severe 18456 ahead, and a failed connection has no ranks to undo that.
        const Diagnostic* first = nullptr;
        for (const Diagnostic& d : diags)
            if (d.message.IsError() &&
                (first == nullptr || (first->message.number == 0 && d.message.number != 0) ||
                 d.message.number == 4060))
                first = &d;
        if (first == nullptr)
            throw DbError(0, mDriver, QStringLiteral("The connection could not be made."), DbFailure::Driver,
                          messages);
        const DbFailure failure = connectFailure(*first);
        const long number =
            first->message.number != 0 ? first->message.number : (failure == DbFailure::NoServer ? 17 : 0);
        throw DbError(number, mDriver, first->message.text, failure, messages);
    }
    mEnv = env;
    mDbc = dbc;
}

void OdbcConnection::Close() {
    if (mDbc != nullptr) {
        SQLDisconnect(static_cast<SQLHDBC>(mDbc));
        SQLFreeHandle(SQL_HANDLE_DBC, static_cast<SQLHDBC>(mDbc));
        mDbc = nullptr;
    }
    if (mEnv != nullptr) {
        SQLFreeHandle(SQL_HANDLE_ENV, static_cast<SQLHENV>(mEnv));
        mEnv = nullptr;
    }
}

bool OdbcConnection::IsOpen() const {
    return mDbc != nullptr;
}

SqlBatchResults OdbcConnection::run(const QString& batch) {
    RequireOpen();
    const bool freeTds = IsFreeTDS(mDriver);
    SqlBatchResults results;
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(mDbc), &stmt))) {
        const QList<Diagnostic> diags =
            diagnostics(SQL_HANDLE_DBC, static_cast<SQLHDBC>(mDbc), freeTds, true);
        throw DbError(diags.isEmpty() ? 0 : diags.first().message.number, mDriver,
                      diags.isEmpty() ? QStringLiteral("The statement could not be prepared.")
                                      : diags.first().message.text,
                      DbFailure::Driver);
    }
    SQLRETURN rc = SQLExecDirectW(stmt, const_cast<SQLWCHAR*>(wide(batch)), SQL_NTS);
    if (rc == SQL_ERROR && connectionLost(static_cast<SQLHDBC>(mDbc))) {
        // A server that stopped or a network that went answers with whatever the socket said
        // ("Unknown error" from some drivers); the user needs to hear that the connection is gone.
        const QList<Diagnostic> diags = diagnostics(SQL_HANDLE_STMT, stmt, freeTds, true);
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
        const QString said =
            diags.isEmpty() ? QString() : DbDriver::StripDriverPrefixes(diags.first().message.text);
        throw DbError(0, mDriver,
                      QStringLiteral("The connection to the server was lost%1. Open the project again when "
                                     "the server can be reached.")
                          .arg(said.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(said)),
                      DbFailure::NoServer);
    }
    // Each statement of the batch is a result of its own: rows, or a count, with the messages that
    // came before it; SQLMoreResults walks them until the batch is drained.
    for (int guard = 0; guard < 100000; ++guard) {
        if (rc == SQL_SUCCESS_WITH_INFO || rc == SQL_ERROR) {
            const QList<Diagnostic> diags = diagnostics(SQL_HANDLE_STMT, stmt, freeTds, rc == SQL_ERROR);
            appendMessages(results, diags);
            if (rc == SQL_ERROR && diags.isEmpty())
                break; // nothing to report and nothing to read: the handle is done
        }
        if (succeeded(rc) || rc == SQL_NO_DATA) {
            SQLSMALLINT columns = 0;
            SQLNumResultCols(stmt, &columns);
            if (columns > 0) {
                results.append(SqlResult::Rows(fetchRows(stmt, columns, results, freeTds)));
                // The count of a SELECT comes with the end of its rows, as the embedded driver gives it.
                SQLLEN count = -1;
                if (succeeded(SQLRowCount(stmt, &count)) && count >= 0)
                    results.append(SqlResult::Count(count));
            } else {
                SQLLEN count = -1;
                if (succeeded(SQLRowCount(stmt, &count)) && count >= 0)
                    results.append(SqlResult::Count(count));
            }
        }
        if (rc == SQL_INVALID_HANDLE)
            break;
        rc = SQLMoreResults(stmt);
        if (rc == SQL_NO_DATA)
            break;
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return results;
}

SqlBatchResults OdbcConnection::ExecuteBatch(const QString& batch) {
    return run(batch);
}

SqlBatchResults OdbcConnection::ParseBatch(const QString& batch) {
    run(QStringLiteral("SET PARSEONLY ON"));
    SqlBatchResults results;
    try {
        results = run(batch);
    } catch (...) {
        run(QStringLiteral("SET PARSEONLY OFF"));
        throw;
    }
    run(QStringLiteral("SET PARSEONLY OFF"));
    return results;
}

QStringList OdbcConnection::ListDatabases() {
    DbRecordset rs = OpenRecordset(QStringLiteral("SELECT name FROM master.dbo.sysdatabases ORDER BY name"));
    QStringList names;
    for (; !rs.Eof(); rs.MoveNext())
        names.append(rs.Text(QStringLiteral("name")));
    return names;
}

QString OdbcConnection::CurrentDatabase() {
    DbRecordset rs = OpenRecordset(QStringLiteral("SELECT DB_NAME() AS name"));
    return rs.Eof() ? QString() : rs.Text(QStringLiteral("name"));
}
