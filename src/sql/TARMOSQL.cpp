#include "TARMOSQL.h"

#include "SqlQuote.h"
#include "UserPrompts.h"

#include <QDateTime>
#include <QLocale>

namespace {

const QString kSource = QStringLiteral("TARMOSQL");
const QString kConnectionError = QStringLiteral("Connection Error");

const QString kCreateProbe =
    QStringLiteral("CREATE FUNCTION udfCheck_SQL_SERVER_VERSION () RETURNS INT AS BEGIN RETURN 1 END");
const QString kDropProbe = QStringLiteral("DROP FUNCTION udfCheck_SQL_SERVER_VERSION");

bool isNull(const QVariant& v) {
    return !v.isValid() || v.isNull();
}

// What the classic IsNumeric accepted in practice: numbers, and texts that read as one.
bool isNumeric(const QVariant& v) {
    switch (v.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Bool:
        return true;
    default:
        break;
    }
    bool ok = false;
    v.toString().trimmed().toDouble(&ok);
    if (!ok)
        QLocale().toDouble(v.toString().trimmed(), &ok);
    return ok;
}

QDateTime asDate(const QVariant& v) {
    if (v.typeId() == QMetaType::QDateTime)
        return v.toDateTime();
    if (v.typeId() == QMetaType::QDate)
        return QDateTime(v.toDate(), QTime(0, 0));
    const QString text = v.toString().trimmed();
    if (text.isEmpty())
        return QDateTime();
    QDateTime dt = QDateTime::fromString(text, Qt::ISODate);
    for (const char* format : {"dd.MM.yyyy hh:mm:ss", "dd.MM.yyyy hh:mm", "dd.MM.yyyy", "d.M.yyyy",
                               "yyyy-MM-dd hh:mm:ss", "yyyy-MM-dd hh:mm:ss.zzz", "yyyy-MM-dd"}) {
        if (dt.isValid())
            break;
        dt = QDateTime::fromString(text, QLatin1String(format));
    }
    if (!dt.isValid())
        dt = QLocale().toDateTime(text, QLocale::ShortFormat);
    return dt;
}

} // namespace

TARMOSQL::TARMOSQL() = default;

TARMOSQL::~TARMOSQL() = default;

QString TARMOSQL::UserName() const {
    return mUseWinNTAuth ? QStringLiteral("(Windows authentication)") : mUserName;
}

DbLogin TARMOSQL::loginFor(const QString& server, const QString& database, const QString& userName,
                           const QString& password, bool trusted) const {
    DbLogin login;
    login.server = server;
    login.database = database;
    login.login = userName;
    login.password = password;
    login.trusted = trusted;
    return login;
}

bool TARMOSQL::UserDefinedFunctionsAllowed(bool bSilent) {
    try {
        if (!ConnectionOpen())
            throw TARMOError(1000, kSource, QStringLiteral("Connection is not open"));
        ExecuteSQL(kCreateProbe);
        ExecuteSQL(kDropProbe);
        return true;
    } catch (const TARMOError& e) {
        // A server that can't compile the statement simply has no such functions.
        const auto* db = dynamic_cast<const DbError*>(&e);
        if (bSilent || (db != nullptr && db->Failure() == DbFailure::CompileError))
            return false;
        throw;
    }
}

bool TARMOSQL::SQLDMOInstalled() const {
    return mServer.isEmpty() || DbDriver::CanListDatabasesAndParse(mServer);
}

QString TARMOSQL::CreateConnectionString(const QString& Server, const QString& Database,
                                         const QString& UserName, const QString& Password,
                                         bool bUseWinNTAuth) {
    if (bUseWinNTAuth)
        return QStringLiteral("Driver={SQL Server};Server=") + Server + QStringLiteral(";Database=") +
               Database + QStringLiteral(";Trusted_Connection=yes;");
    return QStringLiteral("Driver={SQL Server};Server=") + Server + QStringLiteral(";Database=") + Database +
           QStringLiteral(";Uid=") + UserName + QStringLiteral(";Pwd=") + Password + QStringLiteral(";");
}

QString TARMOSQL::ConnectionString() const {
    return CreateConnectionString(mServer, mDatabase, mUserName, mPassword, mUseWinNTAuth);
}

DbLogin TARMOSQL::ConnectionLogin() const {
    return loginFor(mServer, mDatabase, mUseWinNTAuth ? QString() : mUserName,
                    mUseWinNTAuth ? QString() : mPassword, mUseWinNTAuth);
}

void TARMOSQL::CloseConnection() {
    if (mConnectionOpen && mConn)
        mConn->Close();
    mConnectionOpen = false;
    mConn.reset();
}

QString TARMOSQL::OpenConnection(const QString& strServer, const QString& strDatabase,
                                 const QString& strUsername, const QString& strPassword, int bUseWinNTAuth,
                                 bool bSilent) {
    CloseConnection();
    const QString server = strServer.isEmpty() ? mServer : strServer;
    const QString database = strDatabase.isEmpty() ? mDatabase : strDatabase;
    QString userName = strUsername.isEmpty() ? mUserName : strUsername;
    QString password = strPassword.isEmpty() ? mPassword : strPassword;
    const bool trusted =
        bUseWinNTAuth == kUseStoredAuthentication ? mUseWinNTAuth : bUseWinNTAuth == kWindowsAuthentication;

    // Once connected the password is known, so a reconnection never asks again.
    if (password.isEmpty() && !trusted && !mHasConnected && !mStorePassword) {
        if (!prompts().SQLLogin(server, database, userName, password)) {
            QString text = QStringLiteral("Password was not entered!");
            if (!bSilent)
                prompts().MessageBox(text, Prompt::Buttons::OK, Prompt::Icon::Critical, kConnectionError);
            return text;
        }
    }

    QString failure = TestConnection(server, database, userName, password, trusted);
    if (!failure.isEmpty()) {
        if (!bSilent)
            prompts().MessageBox(FormatSQLError(failure), Prompt::Buttons::OK, Prompt::Icon::Critical,
                                 kConnectionError);
        return failure;
    }

    BusyCursor busy;
    std::unique_ptr<DbConnection> connection = DbDriver::CreateConnection(server);
    connection->Open(loginFor(server, database, userName, password, trusted));
    mConn = std::move(connection);
    mConnectionOpen = true;
    mServer = server;
    mDatabase = database;
    mUserName = userName;
    mPassword = password;
    mHasConnected = true;
    mUseWinNTAuth = trusted;
    return QString();
}

QString TARMOSQL::TestConnection(const QString& strServer, const QString& strDatabase,
                                 const QString& strUsername, const QString& strPassword, bool bUseWinNTAuth) {
    BusyCursor busy;
    try {
        std::unique_ptr<DbConnection> test = DbDriver::CreateConnection(strServer);
        test->Open(loginFor(strServer, strDatabase, strUsername, strPassword, bUseWinNTAuth));
        test->Close();
        return QString();
    } catch (const TARMOError& e) {
        return e.Description();
    }
}

void TARMOSQL::ExecuteSQL(const QString& Query) {
    if (!ConnectionOpen())
        return;
    BusyCursor busy;
    mConn->Execute(Query);
}

std::unique_ptr<DbRecordset> TARMOSQL::OpenRecordset(const QString& Query) {
    if (!ConnectionOpen())
        return nullptr;
    BusyCursor busy;
    return std::make_unique<DbRecordset>(mConn->OpenRecordset(Query));
}

QStringList TARMOSQL::FindServers() {
    return QStringList{QString()} + DbDriver::ListServers();
}

QStringList TARMOSQL::FindDatabases(const QString& strServer, const QString& strUsername,
                                    const QString& strPassword, bool bUseWinNTAuth) {
    QStringList names{QString()};
    if (!DbDriver::CanListDatabasesAndParse(strServer))
        return names;
    BusyCursor busy;
    std::unique_ptr<DbConnection> connection = DbDriver::CreateConnection(strServer);
    connection->Open(loginFor(strServer, QString(), strUsername, strPassword, bUseWinNTAuth));
    names += connection->ListDatabases();
    connection->Close();
    return names;
}

QString TARMOSQL::ValidateConnectionInformationADO(const QString& strServer, const QString& strUsername,
                                                   const QString& strPassword, const QString& strDatabase,
                                                   bool bUseWinNTAuth) {
    BusyCursor busy;
    try {
        std::unique_ptr<DbConnection> test = DbDriver::CreateConnection(strServer);
        test->Open(loginFor(strServer, strDatabase, strUsername, strPassword, bUseWinNTAuth));
        test->Close();
        return QString();
    } catch (const TARMOError& e) {
        return FormatSQLError(e.Description());
    }
}

QString TARMOSQL::ValidSQLDMOConnectionString(const QString& strServer, const QString& strUsername,
                                              const QString& strPassword, const QString& strDatabase,
                                              bool bUseWinNTAuth) {
    if (!DbDriver::CanListDatabasesAndParse(strServer))
        return ValidateConnectionInformationADO(strServer, strUsername, strPassword, strDatabase,
                                                bUseWinNTAuth);
    BusyCursor busy;
    try {
        std::unique_ptr<DbConnection> connection = DbDriver::CreateConnection(strServer);
        connection->Open(loginFor(strServer, QString(), strUsername, strPassword, bUseWinNTAuth));
        if (!strDatabase.isEmpty() && !connection->ListDatabases().contains(strDatabase, Qt::CaseInsensitive))
            return QStringLiteral("Database '") + strDatabase + QStringLiteral("' does not exist.");
        return QString();
    } catch (const TARMOError& e) {
        const auto* db = dynamic_cast<const DbError*>(&e);
        switch (db != nullptr ? db->Failure() : DbFailure::Driver) {
        case DbFailure::NoServer:
            return QStringLiteral("SQL Server '") + strServer +
                   QStringLiteral("' does not exist or access denied.");
        case DbFailure::LoginFailed:
            return QStringLiteral("Login failed for user '") + strUsername + QStringLiteral("'.");
        case DbFailure::NoDatabase:
            return QStringLiteral("Database '") + strDatabase + QStringLiteral("' does not exist.");
        default:
            return FormatSQLError(e.Description());
        }
    }
}

QString TARMOSQL::FormatSQLError(const QString& strError) {
    QString text = strError;
    text.remove(QStringLiteral("[Microsoft][ODBC SQL Server Driver][Shared Memory]"), Qt::CaseSensitive);
    text.remove(QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]"), Qt::CaseSensitive);
    return DbDriver::StripDriverPrefixes(text);
}

QString TARMOSQL::firstValue(const QString& query, const QString& column) {
    std::unique_ptr<DbRecordset> rs = OpenRecordset(query);
    if (!rs || rs->Eof())
        return QString();
    return rs->Text(column);
}

QString TARMOSQL::GetObjectOwnerName(const QString& ObjectID) {
    return firstValue(
        QStringLiteral("SELECT name FROM sysusers WHERE uid IN (SELECT uid FROM sysobjects WHERE id =") +
            sqlFMTOUT(ObjectID, 1) + QStringLiteral(")"),
        QStringLiteral("name"));
}

QString TARMOSQL::GetObjectID(const QString& ObjectName, const QString& OwnerName) {
    const QString name = SqlQuote::Unbracket(ObjectName);
    const QString owner = SqlQuote::Unbracket(OwnerName);
    const QString query =
        owner.isEmpty()
            ? QStringLiteral("SELECT id FROM sysobjects WHERE name = ") + SqlQuote::Literal(name)
            : QStringLiteral(
                  "SELECT id FROM sysobjects so INNER JOIN sysusers su ON so.uid = su.uid WHERE so.name = ") +
                  SqlQuote::Literal(name) + QStringLiteral(" AND su.name = ") + SqlQuote::Literal(owner);
    std::unique_ptr<DbRecordset> rs = OpenRecordset(query);
    // A name that two owners share has no id without its owner.
    if (!rs || rs->RecordCount() != 1)
        return QString();
    return rs->Text(QStringLiteral("id"));
}

QString TARMOSQL::GetObjectName(const QString& ObjectID, bool IncludeOwnerName) {
    std::unique_ptr<DbRecordset> rs = OpenRecordset(
        QStringLiteral("SELECT so.name AS ObjectName, su.name AS UserName FROM sysobjects so INNER "
                       "JOIN sysusers su ON so.uid = su.uid WHERE so.id = ") +
        sqlFMTOUT(ObjectID, 1));
    if (!rs || rs->Eof())
        return QString();
    return SqlQuote::TwoPartName(IncludeOwnerName ? rs->Text(QStringLiteral("UserName")) : QString(),
                                 rs->Text(QStringLiteral("ObjectName")));
}

QString TARMOSQL::GetObjectText(const QString& ObjectID) {
    const QString name = GetObjectName(ObjectID, true);
    std::unique_ptr<DbRecordset> rs = OpenRecordset(QStringLiteral("sp_helptext ") + SqlQuote::Literal(name));
    QString text;
    for (; rs && !rs->Eof(); rs->MoveNext())
        text += rs->Text(QStringLiteral("Text"));
    return text;
}

QString TARMOSQL::sqlFMTOUT(const QVariant& vData, long lDataType, bool bAddComma) {
    QString out;
    if (isNull(vData)) {
        out = QStringLiteral(" NULL");
    } else {
        switch (lDataType) {
        case 0: {
            const QString text = vData.toString();
            if (text.isEmpty()) {
                out = QStringLiteral(" NULL");
            } else {
                QString quoted = text;
                quoted.replace(QLatin1Char('\''), QLatin1String("''"));
                out = QStringLiteral(" '") + quoted + QStringLiteral("'");
            }
            break;
        }
        case 1:
        case 3:
            out = isNumeric(vData) ? QStringLiteral(" ") + vData.toString() : QStringLiteral(" NULL");
            break;
        case 2: {
            const QDateTime dt = asDate(vData);
            out = dt.isValid() ? QStringLiteral(" '") + dt.toString(QStringLiteral("dd.MM.yyyy hh:mm:ss")) +
                                     QStringLiteral("'")
                               : QStringLiteral(" NULL");
            break;
        }
        case 12:
            out = QStringLiteral(" NULL");
            break;
        default:
            break;
        }
    }
    if (bAddComma)
        out += QLatin1Char(',');
    return out;
}

bool TARMOSQL::IsValidObjectName(const QString& ObjectName) {
    if (ObjectName.compare(QLatin1String("as"), Qt::CaseInsensitive) == 0)
        return false;
    return !ObjectName.startsWith(QLatin1Char('(')) && !ObjectName.startsWith(QLatin1Char('@'));
}

QStringList TARMOSQL::ExtractOwnerAndItemName(const QString& ObjectName) {
    qsizetype separator = -1;
    QChar closing;
    for (qsizetype i = 0; i < ObjectName.size() && separator < 0; ++i) {
        const QChar c = ObjectName[i];
        if (!closing.isNull()) {
            // A doubled delimiter is part of the name ("[a]].b]" is the one name a].b).
            if (c == closing && i + 1 < ObjectName.size() && ObjectName[i + 1] == closing)
                ++i;
            else if (c == closing)
                closing = QChar();
        } else if (c == QLatin1Char('[')) {
            closing = QLatin1Char(']');
        } else if (c == QLatin1Char('"')) {
            closing = QLatin1Char('"');
        } else if (c == QLatin1Char('.')) {
            separator = i;
        }
    }
    QString owner = separator < 0 ? QString() : ObjectName.left(separator);
    QString name = separator < 0 ? ObjectName : ObjectName.mid(separator + 1);
    for (QString* s : {&owner, &name}) {
        const bool quoted = s->startsWith(QLatin1Char('"')) && s->endsWith(QLatin1Char('"'));
        const bool bracketed = s->startsWith(QLatin1Char('[')) && s->endsWith(QLatin1Char(']'));
        if (s->size() >= 2 && (quoted || bracketed)) {
            const QString delimiter = s->right(1);
            *s = s->mid(1, s->size() - 2).replace(delimiter + delimiter, delimiter);
            continue;
        }
        s->remove(QLatin1Char('['));
        s->remove(QLatin1Char(']'));
    }
    return {owner, name};
}

QString TARMOSQL::DatabaseUserName() {
    if (!ConnectionOpen())
        return QString();
    return firstValue(
        QStringLiteral("SELECT su.name AS [DatabaseUserName] FROM [dbo].[sysusers] su INNER JOIN "
                       "[master].[dbo].[syslogins] sl ON su.sid = sl.sid WHERE LOWER(sl.name) = ") +
            SqlQuote::Literal(mUserName.toLower()),
        QStringLiteral("DatabaseUserName"));
}

QString TARMOSQL::ExtractTableNameFromTrigger(const QString& ObjectText,
                                              const modParser::SQLKeywords& Keywords) {
    const QString triggerName = modParser::FindNameAfterKeywords(Keywords, ObjectText);
    if (triggerName.isEmpty())
        return QString();
    // The trigger's name as the scanner shows it in the source ("[dbo]" "." "[trg]", "dbo." "[trg]",
    // ...), so that the sequences extended by it match the text itself.
    QStringList nameTokens;
    for (const modParser::SQLToken& t : modParser::TokenizeSQL(triggerName, false))
        nameTokens.append(t.Text);
    modParser::SQLKeywords extended;
    for (const QStringList& sequence : Keywords)
        extended.append(sequence + nameTokens + QStringList{QStringLiteral("ON")});
    return modParser::FindNameAfterKeywords(extended, ObjectText);
}

QString TARMOSQL::ParseSQL(const QString& strQuery) {
    if (!SQLDMOInstalled())
        return QStringLiteral("SQLDMO not installed. Could not parse query");
    BusyCursor busy;
    std::unique_ptr<DbConnection> connection = DbDriver::CreateConnection(mServer);
    connection->Open(loginFor(mServer, QString(), mUseWinNTAuth ? QString() : mUserName,
                              mUseWinNTAuth ? QString() : mPassword, mUseWinNTAuth));
    try {
        connection->RaiseFirstError(connection->ParseBatch(strQuery));
    } catch (const TARMOError& e) {
        connection->Close();
        return e.Description();
    }
    connection->Close();
    return QString();
}
