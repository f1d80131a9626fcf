#pragma once

#include "StoreConnection.h"
#include "StoreEngine.h"
#include "StoreIni.h"

#include <memory>

struct StoreSession;

// The embedded engine: the store's data in one SQLite file of the shared folder (StoreConnection).
// Every change is one BEGIN IMMEDIATE transaction that looks at the state it depends on, so several
// processes on one folder are arbitrated by the file's lock.
class SqliteEngine : public StoreEngine {
public:
    // Opens the data file named by the session's ini and logs the user in, setting the session's
    // user name and administrator flag.
    static std::unique_ptr<SqliteEngine> Open(StoreSession& session, const QString& userName,
                                              const QString& password);
    // Makes the data file of a new store with the administrator.
    static void Create(const StoreIni& ini, const QString& adminPassword, bool multipleCheckouts);

    SqliteEngine(StoreSession& session, std::unique_ptr<StoreConnection> db);

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

    StoreConnection& Db() { return *mDb; }

private:
    qint64 parentOf(qint64 id);
    QByteArray headContent(qint64 id);
    // The text of one history entry, checked against the checksum kept with it.
    QByteArray contentOf(qint64 seq);
    // Appends a history entry with the next number (or the present one for a label); inside a transaction.
    int record(qint64 id, const QString& action, const QString& comment, const QByteArray& content,
               bool isLabel = false, const QString& labelComment = QString());
    QString checkoutLocal(qint64 id);
    bool nameTaken(qint64 parent, const QString& name, qint64 except = 0);
    // Raises NoRight unless the connected user has `right` where the item is governed.
    void require(qint64 id, int right);
    int rightsIn(qint64 project, const QString& user, qint64* source = nullptr);
    void requireNotHeldByOthers(qint64 id, bool deletedToo = false);
    void requireType(qint64 id, int type);
    void requireAdmin(const QString& what);
    void requireProject(qint64 id);
    QString storedUserName(const QString& name, bool* admin = nullptr);
    bool multipleCheckouts();

    StoreSession& mSession;
    std::unique_ptr<StoreConnection> mDb;
};
