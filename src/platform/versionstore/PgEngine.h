#pragma once

#include "PgConnection.h"
#include "StoreEngine.h"
#include "StoreIni.h"

#include <memory>

struct StoreSession;

// The engine of a store on a PostgreSQL server. Each store user is a login role of the server
// (named after the database and the user, so that one server holds several stores), authenticated by
// the server; the store's rules live in the server's functions (PgSchema.cpp), which are all a user's
// role may call. Every read and every change is one call, one round trip; a check-out writes its
// working file inside its transaction.
class PgEngine : public StoreEngine {
public:
    static std::unique_ptr<PgEngine> Open(StoreSession& session, const QString& userName,
                                          const QString& password);
    // Makes the store's schema in the database `url` names, connecting as `owner` with its password
    // where given, else as the URL says (its user, with a password from PGPASSWORD or the user's
    // password file), and the administrator "Admin".
    static void Create(const QString& url, const QString& owner, const QString& ownerPassword,
                       const QString& adminPassword, bool multipleCheckouts);
    // The login role of a user of the store in `database`.
    static QString RoleOf(const QString& database, const QString& userName);
    // The URL without its user and password, as an ini file may keep it.
    static QString WithoutPassword(const QString& url);

    PgEngine(StoreSession& session, std::unique_ptr<PgConnection> connection);

    qint64 Resolve(qint64 from, const QStringList& parts, bool deleted, const QString& spec) override;
    QString SpecOf(qint64 id) override;
    QString NameOf(qint64 id) override;
    int TypeOf(qint64 id) override;
    bool IsDeleted(qint64 id) override;
    int HeadNumber(qint64 id) override;
    QStringList Holders(qint64 id) override;
    int CheckoutState(qint64 id) override;
    QList<StoreCheckout> Checkouts(qint64 id) override;
    QList<StoreHistoryRow> History(qint64 id) override;
    QList<qint64> Children(qint64 id, bool includeDeleted) override;
    QList<StoreEntry> Entries(qint64 project, const QStringList* names, const QStringList* endings,
                              const std::function<bool(const QString&)>& wantsText,
                              bool skipDamaged) override;
    QByteArray VersionText(qint64 item, qint64 seq) override;
    QString WorkingFileOf(qint64 item) override;
    StoreGetState ForGet(qint64 id) override;
    void Checkout(qint64 id, const QString& comment, const QString& local,
                  const std::function<void(const QByteArray&)>& writeWorking) override;
    void RequireMyCheckout(qint64 id) override;
    int Checkin(qint64 id, const QString& comment, const QByteArray& content) override;
    QByteArray UndoCheckout(qint64 id) override;
    int Label(qint64 id, const QString& label, const QString& comment) override;
    qint64 AddFile(qint64 project, const QString& name, const QByteArray& content,
                   const QString& comment) override;
    qint64 NewProject(qint64 project, const QString& name, const QString& comment) override;
    QList<qint64> AddFiles(qint64 project, const QList<StoreNewFile>& files, const QString& comment) override;
    void Rename(qint64 id, const QString& name) override;
    void SetDeleted(qint64 id, bool deleted) override;
    void RecoverAs(qint64 id, const QString& name) override;
    void Destroy(qint64 id) override;
    QString Option(const QString& name) override;
    void SetOption(const QString& name, const QString& value) override;
    void AddUser(const QString& name, const QString& password) override;
    void SetPassword(const QString& name, const QString& password) override;
    QStringList Users() override;
    void SetRights(qint64 project, const QString& user, int rights) override;
    void InheritRights(qint64 project, const QString& user) override;
    QList<VersionStore::UserRights> Rights(qint64 project) override;
    void RequirePresent() override;

    PgConnection& Connection() { return *mConnection; }

private:
    // The item's row of api_item: found, name, type, deleted, number, spec.
    PgResult item(qint64 id);

    StoreSession& mSession;
    std::unique_ptr<PgConnection> mConnection;
};
