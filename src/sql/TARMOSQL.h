#pragma once

#include "DbConnection.h"
#include "DbRecordset.h"
#include "modParser.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

// The one gateway to a SQL Server database: the login values of a project, the connection, its
// statements and read-only queries, the catalogue lookups for one object, the quoting of values and
// the taking apart of names. Connection methods report through their result text (and the
// "Connection Error" box unless silent); statements raise the driver's error (DbError) to the caller.
class TARMOSQL {
public:
    // Values of the authentication argument of OpenConnection, as the classic Booleans read.
    static constexpr int kUseStoredAuthentication = -2;
    static constexpr int kWindowsAuthentication = -1;
    static constexpr int kSQLAuthentication = 0;

    TARMOSQL();
    ~TARMOSQL();
    TARMOSQL(const TARMOSQL&) = delete;
    TARMOSQL& operator=(const TARMOSQL&) = delete;

    const QString& Server() const { return mServer; }
    void SetServer(const QString& server) { mServer = server; }
    const QString& Database() const { return mDatabase; }
    void SetDatabase(const QString& database) { mDatabase = database; }
    // "(Windows authentication)" while UseWinNTAuth is set, the stored login otherwise.
    QString UserName() const;
    void SetUserName(const QString& userName) { mUserName = userName; }
    const QString& Password() const { return mPassword; }
    void SetPassword(const QString& password) { mPassword = password; }
    bool StorePassword() const { return mStorePassword; }
    void SetStorePassword(bool storePassword) { mStorePassword = storePassword; }
    bool UseWinNTAuth() const { return mUseWinNTAuth; }
    void SetUseWinNTAuth(bool useWinNTAuth) { mUseWinNTAuth = useWinNTAuth; }
    bool ConnectionOpen() const { return mConnectionOpen; }
    // The live connection; nullptr while closed.
    DbConnection* DBConn() const { return mConnectionOpen ? mConn.get() : nullptr; }

    // Whether the server knows user defined functions: one is created and dropped again.
    bool UserDefinedFunctionsAllowed(bool bSilent = false);
    // Whether the driver of the object's server can list databases and parse without running.
    bool SQLDMOInstalled() const;

    // The connection string as the classic driver took it, for display and comparison; the drivers
    // build their own from the same values.
    static QString CreateConnectionString(const QString& Server, const QString& Database,
                                          const QString& UserName = QString(),
                                          const QString& Password = QString(), bool bUseWinNTAuth = false);
    QString ConnectionString() const;
    // The object's present values as a driver takes them, for a connection of its own (the query
    // window's): open it with DbDriver::CreateConnection(Server())->Open(ConnectionLogin()).
    DbLogin ConnectionLogin() const;

    void CloseConnection();
    // "" on success, else the error text. bUseWinNTAuth: kUseStoredAuthentication, kWindowsAuthentication
    // or anything else for a SQL login.
    QString OpenConnection(const QString& strServer = QString(), const QString& strDatabase = QString(),
                           const QString& strUsername = QString(), const QString& strPassword = QString(),
                           int bUseWinNTAuth = kUseStoredAuthentication, bool bSilent = false);
    // "" if a connection could be made, else the driver's error text; the object is not touched.
    QString TestConnection(const QString& strServer, const QString& strDatabase, const QString& strUsername,
                           const QString& strPassword = QString(), bool bUseWinNTAuth = false);

    // Runs a statement and drops its results; nothing happens while closed.
    void ExecuteSQL(const QString& Query);
    // A detached, read-only result set; nullptr while closed.
    std::unique_ptr<DbRecordset> OpenRecordset(const QString& Query);

    // Element 0 stays empty; the names follow from element 1.
    QStringList FindServers();
    QStringList FindDatabases(const QString& strServer, const QString& strUsername = QString(),
                              const QString& strPassword = QString(), bool bUseWinNTAuth = false);

    QString ValidateConnectionInformationADO(const QString& strServer, const QString& strUsername = QString(),
                                             const QString& strPassword = QString(),
                                             const QString& strDatabase = QString(),
                                             bool bUseWinNTAuth = false);
    // The login check with the clearest messages: "" when server, login and database are good.
    QString ValidSQLDMOConnectionString(const QString& strServer, const QString& strUsername = QString(),
                                        const QString& strPassword = QString(),
                                        const QString& strDatabase = QString(), bool bUseWinNTAuth = false);
    // The error text without the prefixes of the drivers.
    static QString FormatSQLError(const QString& strError);

    // Catalogue lookups for one object (ids are the text form of sysobjects.id).
    QString GetObjectOwnerName(const QString& ObjectID);
    QString GetObjectID(const QString& ObjectName, const QString& OwnerName = QStringLiteral("dbo"));
    QString GetObjectName(const QString& ObjectID, bool IncludeOwnerName = true);
    QString GetObjectText(const QString& ObjectID);

    // The one way a data value enters a statement text: with a leading blank, quoted as its type
    // asks, or " NULL". Names and text that must stay Unicode go through SqlQuote instead. lDataType: 0 text,
    // 1 or 3 number, 2 date, 12 always NULL, others "".
    static QString sqlFMTOUT(const QVariant& vData, long lDataType = 0, bool bAddComma = false);
    static bool IsValidObjectName(const QString& ObjectName);
    // Element 0 the owner, element 1 the name, both without brackets or double quotes.
    static QStringList ExtractOwnerAndItemName(const QString& ObjectName);
    // The database user of the present login; "" while closed.
    QString DatabaseUserName();
    // The table a trigger is on, as written in its text; Keywords are the words in front of a
    // trigger's name.
    static QString ExtractTableNameFromTrigger(const QString& ObjectText,
                                               const modParser::SQLKeywords& Keywords);
    // "" if the server finds the text sound, else the error text.
    QString ParseSQL(const QString& strQuery);

private:
    DbLogin loginFor(const QString& server, const QString& database, const QString& userName,
                     const QString& password, bool trusted) const;
    QString firstValue(const QString& query, const QString& column);

    QString mServer;
    QString mDatabase;
    QString mUserName;
    QString mPassword;
    bool mStorePassword = false;
    bool mConnectionOpen = false;
    bool mHasConnected = false;
    bool mUseWinNTAuth = false;
    std::unique_ptr<DbConnection> mConn;
};
