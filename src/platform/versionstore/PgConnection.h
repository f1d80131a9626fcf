#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

struct pg_conn;
struct pg_result;

// One parameter of a statement sent to PostgreSQL: text, or bytes sent as they are.
struct PgParam {
    QByteArray Value;
    bool Binary = false;
    bool Null = false;

    static PgParam Text(const QString& text);
    static PgParam Int(qint64 value);
    static PgParam Bool(bool value);
    static PgParam Bytes(const QByteArray& bytes);
    static PgParam TextArray(const QStringList& texts);
    static PgParam IntArray(const QList<qint64>& values);
    static PgParam BytesArray(const QList<QByteArray>& values);
    static PgParam Missing();
};

// The rows a statement gave, in text form; rows and columns count from 0.
class PgResult {
public:
    explicit PgResult(pg_result* result);
    ~PgResult();
    PgResult(PgResult&& other) noexcept;
    PgResult(const PgResult&) = delete;
    PgResult& operator=(const PgResult&) = delete;
    PgResult& operator=(PgResult&&) = delete;

    int Rows() const;
    bool IsNull(int row, int column) const;
    QString Text(int row, int column) const;
    qint64 Int(int row, int column) const;
    bool Bool(int row, int column) const;
    QByteArray Bytes(int row, int column) const; // a bytea column
    QStringList TextArray(int row, int column) const;
    QList<qint64> IntArray(int row, int column) const;

private:
    pg_result* mResult;
};

// A connection to a PostgreSQL server through libpq. Every failure becomes a TARMOError: a number the
// store's functions raise travels as "tarmo:NUMBER" in the error's detail; a server that can't be
// reached or a connection lost is StoreErrors::Database, a refused login StoreErrors::Login, a
// statement the server refuses for want of a privilege StoreErrors::Permission.
class PgConnection {
public:
    // `url` as "postgresql://host:port/database"; user and password, where given, replace the URL's.
    PgConnection(const QString& url, const QString& user, const QString& password);
    ~PgConnection();
    PgConnection(const PgConnection&) = delete;
    PgConnection& operator=(const PgConnection&) = delete;

    PgResult Query(const char* sql, const QList<PgParam>& params = {});
    // Runs statements that give no rows (several, separated by semicolons, without parameters).
    void Execute(const char* sql);
    // A SCRAM verifier of the password, so that the text of a password never reaches the server.
    QString Verifier(const QString& password, const QString& role);
    QString DatabaseName() const;

    // The parts of a URL, for naming things before connecting.
    static QString DatabaseOf(const QString& url);

private:
    [[noreturn]] void failed(pg_result* result, const QString& what);
    void ensureConnected();

    pg_conn* mConn = nullptr;
};

// Rolls back unless committed, as Transaction does for the embedded store.
class PgTransaction {
public:
    explicit PgTransaction(PgConnection& connection);
    ~PgTransaction();
    PgTransaction(const PgTransaction&) = delete;
    PgTransaction& operator=(const PgTransaction&) = delete;
    void Commit();

private:
    PgConnection& mConnection;
    bool mOpen = true;
};
