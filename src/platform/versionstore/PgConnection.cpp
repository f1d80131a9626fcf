#include "PgConnection.h"

#include "StoreErrors.h"
#include "TARMOError.h"

#include <libpq-fe.h>

#include <vector>

namespace {

[[noreturn]] void raise(long number, const QString& text) {
    throw TARMOError(number, QStringLiteral("VersionStore"), text);
}

QByteArray quotedElement(const QByteArray& text) {
    QByteArray quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

QString fieldOf(const PGresult* result, int field) {
    const char* text = PQresultErrorField(result, field);
    return text ? QString::fromUtf8(text) : QString();
}

// A refused login reads the same whether the user is unknown or the password wrong, as the server
// tells no more.
bool refusedLogin(const QString& message) {
    return message.contains(QLatin1String("password authentication failed")) ||
           message.contains(QLatin1String("no password supplied")) ||
           message.contains(QLatin1String("is not permitted to log in")) ||
           (message.contains(QLatin1String("role \"")) && message.contains(QLatin1String("does not exist")));
}

} // namespace

PgParam PgParam::Text(const QString& text) {
    return PgParam{text.toUtf8(), false, false};
}

PgParam PgParam::Int(qint64 value) {
    return PgParam{QByteArray::number(value), false, false};
}

PgParam PgParam::Bool(bool value) {
    return PgParam{value ? QByteArray("t") : QByteArray("f"), false, false};
}

PgParam PgParam::Bytes(const QByteArray& bytes) {
    return PgParam{bytes, true, false};
}

PgParam PgParam::TextArray(const QStringList& texts) {
    QByteArray literal = "{";
    for (qsizetype i = 0; i < texts.size(); ++i)
        literal += (i ? "," : "") + quotedElement(texts[i].toUtf8());
    return PgParam{literal + '}', false, false};
}

PgParam PgParam::IntArray(const QList<qint64>& values) {
    QByteArray literal = "{";
    for (qsizetype i = 0; i < values.size(); ++i)
        literal += (i ? "," : "") + QByteArray::number(values[i]);
    return PgParam{literal + '}', false, false};
}

PgParam PgParam::BytesArray(const QList<QByteArray>& values) {
    QByteArray literal = "{";
    for (qsizetype i = 0; i < values.size(); ++i)
        literal += (i ? "," : "") + quotedElement("\\x" + values[i].toHex());
    return PgParam{literal + '}', false, false};
}

PgParam PgParam::Missing() {
    return PgParam{QByteArray(), false, true};
}

PgResult::PgResult(PGresult* result)
    : mResult(result) {}

PgResult::~PgResult() {
    PQclear(mResult);
}

PgResult::PgResult(PgResult&& other) noexcept
    : mResult(other.mResult) {
    other.mResult = nullptr;
}

int PgResult::Rows() const {
    return PQntuples(mResult);
}

bool PgResult::IsNull(int row, int column) const {
    return PQgetisnull(mResult, row, column) != 0;
}

QString PgResult::Text(int row, int column) const {
    if (IsNull(row, column))
        return {};
    return QString::fromUtf8(PQgetvalue(mResult, row, column), PQgetlength(mResult, row, column));
}

qint64 PgResult::Int(int row, int column) const {
    return QByteArray(PQgetvalue(mResult, row, column)).toLongLong();
}

bool PgResult::Bool(int row, int column) const {
    return PQgetvalue(mResult, row, column)[0] == 't';
}

QByteArray PgResult::Bytes(int row, int column) const {
    if (IsNull(row, column))
        return {};
    size_t length = 0;
    unsigned char* bytes =
        PQunescapeBytea(reinterpret_cast<const unsigned char*>(PQgetvalue(mResult, row, column)), &length);
    if (!bytes)
        raise(StoreErrors::Database,
              QStringLiteral("There is not enough memory to read a text of the store."));
    // An empty text is still a text, not a missing one.
    QByteArray result = length
                            ? QByteArray(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(length))
                            : QByteArray("");
    PQfreemem(bytes);
    return result;
}

QStringList PgResult::TextArray(int row, int column) const {
    QStringList items;
    const QByteArray text(PQgetvalue(mResult, row, column));
    if (text.size() < 2)
        return items;
    QByteArray item;
    bool quoted = false;
    bool any = false;
    for (qsizetype i = 1; i < text.size() - 1; ++i) {
        const char c = text[i];
        if (quoted && c == '\\' && i + 1 < text.size() - 1) {
            item += text[++i];
        } else if (c == '"') {
            quoted = !quoted;
            any = true;
        } else if (c == ',' && !quoted) {
            items << QString::fromUtf8(item);
            item.clear();
            any = false;
        } else {
            item += c;
            any = true;
        }
    }
    if (any || !items.isEmpty())
        items << QString::fromUtf8(item);
    return items;
}

QList<qint64> PgResult::IntArray(int row, int column) const {
    QList<qint64> values;
    for (const QString& item : TextArray(row, column))
        values << item.toLongLong();
    return values;
}

PgConnection::PgConnection(const QString& url, const QString& user, const QString& password) {
    const QByteArray urlBytes = url.toUtf8();
    const QByteArray userBytes = user.toUtf8();
    const QByteArray passwordBytes = password.toUtf8();
    std::vector<const char*> keys{"dbname", "connect_timeout", "client_encoding", "application_name"};
    std::vector<const char*> values{urlBytes.constData(), "10", "UTF8", "tarmo"};
    if (!user.isEmpty()) {
        keys.push_back("user");
        values.push_back(userBytes.constData());
    }
    if (!password.isNull()) {
        keys.push_back("password");
        values.push_back(passwordBytes.constData());
    }
    keys.push_back(nullptr);
    values.push_back(nullptr);
    mConn = PQconnectdbParams(keys.data(), values.data(), 1);
    if (!mConn)
        raise(StoreErrors::Database,
              QStringLiteral("There is not enough memory to reach the store's server."));
    if (PQstatus(mConn) != CONNECTION_OK) {
        const QString message = QString::fromUtf8(PQerrorMessage(mConn)).trimmed();
        PQfinish(mConn);
        mConn = nullptr;
        if (refusedLogin(message))
            raise(StoreErrors::Login,
                  QStringLiteral("The store's server refused the login of \"%1\".").arg(user));
        raise(StoreErrors::Database, QStringLiteral("The store's server cannot be reached: %1").arg(message));
    }
}

PgConnection::~PgConnection() {
    PQfinish(mConn);
}

QString PgConnection::DatabaseOf(const QString& url) {
    char* error = nullptr;
    PQconninfoOption* options = PQconninfoParse(url.toUtf8().constData(), &error);
    if (!options) {
        const QString text = error ? QString::fromUtf8(error).trimmed() : QStringLiteral("out of memory");
        PQfreemem(error);
        raise(StoreErrors::IniFile, QStringLiteral("'%1' is not a server's URL: %2").arg(url, text));
    }
    QString database;
    for (PQconninfoOption* option = options; option->keyword; ++option)
        if (qstrcmp(option->keyword, "dbname") == 0 && option->val)
            database = QString::fromUtf8(option->val);
    PQconninfoFree(options);
    return database;
}

QString PgConnection::DatabaseName() const {
    return QString::fromUtf8(PQdb(mConn));
}

void PgConnection::ensureConnected() {
    // A server restarted since the last step is reached again; what the old connection had open
    // was rolled back by the server.
    if (PQstatus(mConn) != CONNECTION_OK)
        PQreset(mConn);
    if (PQstatus(mConn) != CONNECTION_OK)
        raise(StoreErrors::Database, QStringLiteral("The connection to the store's server is lost: %1")
                                         .arg(QString::fromUtf8(PQerrorMessage(mConn)).trimmed()));
}

void PgConnection::failed(PGresult* result, const QString& what) {
    const QString detail = fieldOf(result, PG_DIAG_MESSAGE_DETAIL);
    const QString primary = fieldOf(result, PG_DIAG_MESSAGE_PRIMARY);
    const QString state = fieldOf(result, PG_DIAG_SQLSTATE);
    const QString message = result ? QString::fromUtf8(PQresultErrorMessage(result)).trimmed()
                                   : QString::fromUtf8(PQerrorMessage(mConn)).trimmed();
    PQclear(result);
    if (detail.startsWith(QLatin1String("tarmo:"))) {
        bool ok = false;
        const long number = static_cast<long>(detail.mid(6).toULong(&ok, 16));
        if (ok)
            raise(number, primary);
    }
    if (state == QLatin1String("42501"))
        raise(StoreErrors::Permission,
              QStringLiteral("The store's server refused the step: %1").arg(primary));
    if (PQstatus(mConn) != CONNECTION_OK || state.startsWith(QLatin1String("08")) ||
        state.startsWith(QLatin1String("57P")))
        raise(StoreErrors::Database,
              QStringLiteral("The connection to the store's server is lost: %1").arg(message));
    raise(StoreErrors::Database, QStringLiteral("%1: %2").arg(what, message));
}

PgResult PgConnection::Query(const char* sql, const QList<PgParam>& params) {
    ensureConnected();
    std::vector<const char*> values;
    std::vector<int> lengths;
    std::vector<int> formats;
    for (const PgParam& param : params) {
        values.push_back(param.Null ? nullptr : param.Value.constData());
        lengths.push_back(static_cast<int>(param.Value.size()));
        formats.push_back(param.Binary ? 1 : 0);
    }
    PGresult* result = PQexecParams(mConn, sql, static_cast<int>(params.size()), nullptr, values.data(),
                                    lengths.data(), formats.data(), 0);
    const ExecStatusType status = result ? PQresultStatus(result) : PGRES_FATAL_ERROR;
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
        failed(result, QStringLiteral("The store's data cannot be used"));
    return PgResult(result);
}

void PgConnection::Execute(const char* sql) {
    ensureConnected();
    PGresult* result = PQexec(mConn, sql);
    const ExecStatusType status = result ? PQresultStatus(result) : PGRES_FATAL_ERROR;
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
        failed(result, QStringLiteral("The store's data cannot be used"));
    PQclear(result);
}

QString PgConnection::Verifier(const QString& password, const QString& role) {
    char* verifier = PQencryptPasswordConn(mConn, password.toUtf8().constData(), role.toUtf8().constData(),
                                           "scram-sha-256");
    if (!verifier)
        raise(StoreErrors::Database, QStringLiteral("The password cannot be prepared: %1")
                                         .arg(QString::fromUtf8(PQerrorMessage(mConn)).trimmed()));
    QString text = QString::fromUtf8(verifier);
    PQfreemem(verifier);
    return text;
}

PgTransaction::PgTransaction(PgConnection& connection)
    : mConnection(connection) {
    mConnection.Execute("BEGIN");
}

PgTransaction::~PgTransaction() {
    if (!mOpen)
        return;
    try {
        mConnection.Execute("ROLLBACK");
    } catch (const TARMOError&) {
        // A lost connection rolled it back already.
    }
}

void PgTransaction::Commit() {
    mConnection.Execute("COMMIT");
    mOpen = false;
}
