#pragma once

#include "StoreItem.h"
#include "VersionStore.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

// One entry of an item's history as an engine reads it; StoreItem makes the StoreVersion of it.
struct StoreHistoryRow {
    qint64 Seq = 0;
    int Number = 0;
    bool IsLabel = false;
    QString User, Action;
    qint64 DateMs = 0;
    QString Comment, LabelComment;
};

// What a get of a file needs, read in one snapshot: the latest text, and the connected user's
// check-out of it (the working file it went to).
struct StoreGetState {
    QByteArray Head;
    bool Mine = false;
    QString Working;
};

// Where a store keeps its data and enforces its rules: a SQLite file in a shared folder, or a
// PostgreSQL database. The public classes (VersionStore, StoreItem, StoreVersion) take care of paths,
// names and working files and hand every read and change of the store's data to the engine, which
// checks the connected user's rights and the item's state in the same transaction as the change.
// Items are named by id; every failure raises TARMOError with the numbers of StoreErrors.h.
class StoreEngine {
public:
    virtual ~StoreEngine() = default;
    StoreEngine() = default;
    StoreEngine(const StoreEngine&) = delete;
    StoreEngine& operator=(const StoreEngine&) = delete;

    // The item `parts` (names, the last living or deleted as asked) below `from`; raises NotFound
    // naming `spec`.
    virtual qint64 Resolve(qint64 from, const QStringList& parts, bool deleted, const QString& spec) = 0;
    virtual QString SpecOf(qint64 id) = 0;
    virtual QString NameOf(qint64 id) = 0;
    virtual int TypeOf(qint64 id) = 0;
    virtual bool IsDeleted(qint64 id) = 0;
    virtual int HeadNumber(qint64 id) = 0;
    virtual QStringList Holders(qint64 id) = 0;
    virtual int CheckoutState(qint64 id) = 0;

    // Reads that need the read right.
    virtual QList<StoreCheckout> Checkouts(qint64 id) = 0;
    virtual QList<StoreHistoryRow> History(qint64 id) = 0;
    virtual QList<qint64> Children(qint64 id, bool includeDeleted) = 0;
    virtual QList<StoreEntry> Entries(qint64 project, const QStringList* names, const QStringList* endings,
                                      const std::function<bool(const QString&)>& wantsText,
                                      bool skipDamaged) = 0;
    virtual QByteArray VersionText(qint64 item, qint64 seq) = 0;
    // The connected user's working file of the item; "" when he doesn't hold it.
    virtual QString WorkingFileOf(qint64 item) = 0;
    virtual StoreGetState ForGet(qint64 id) = 0;

    // Changes. `writeWorking` gets the latest text inside the check-out's transaction, which stands
    // only if the working file could be written.
    virtual void Checkout(qint64 id, const QString& comment, const QString& local,
                          const std::function<void(const QByteArray&)>& writeWorking) = 0;
    virtual void RequireMyCheckout(qint64 id) = 0;
    virtual int Checkin(qint64 id, const QString& comment, const QByteArray& content) = 0;
    // Gives the latest text, for the working file.
    virtual QByteArray UndoCheckout(qint64 id) = 0;
    virtual int Label(qint64 id, const QString& label, const QString& comment) = 0;
    virtual qint64 AddFile(qint64 project, const QString& name, const QByteArray& content,
                           const QString& comment) = 0;
    virtual qint64 NewProject(qint64 project, const QString& name, const QString& comment) = 0;
    virtual QList<qint64> AddFiles(qint64 project, const QList<StoreNewFile>& files,
                                   const QString& comment) = 0;
    virtual void Rename(qint64 id, const QString& name) = 0;
    virtual void SetDeleted(qint64 id, bool deleted) = 0;
    virtual void RecoverAs(qint64 id, const QString& name) = 0;
    virtual void Destroy(qint64 id) = 0;

    // The store's options, users and rights.
    virtual QString Option(const QString& name) = 0;
    virtual void SetOption(const QString& name, const QString& value) = 0;
    virtual void AddUser(const QString& name, const QString& password) = 0;
    virtual void SetPassword(const QString& name, const QString& password) = 0;
    virtual QStringList Users() = 0;
    virtual void SetRights(qint64 project, const QString& user, int rights) = 0;
    virtual void InheritRights(qint64 project, const QString& user) = 0;
    virtual QList<VersionStore::UserRights> Rights(qint64 project) = 0;

    // Raises IniFile where the store's data is no longer there.
    virtual void RequirePresent() = 0;
};
