#pragma once

#include "StoreVersion.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <memory>

struct StoreSession;

// One check-out of a file by one user.
struct StoreCheckout {
    QString UserName;
    QDateTime Date;
    QString LocalSpec; // the working file it was checked out to
    QString Comment;
};

// A project or a file of the store. The object names the item, not a copy of it: every property reads
// the store afresh, and every change is one transaction that looks at the state it depends on first.
// Every step needs its right (StoreRights) in the item's project: reading its texts, history, check-outs
// or contents needs read; check out, check in, undo and label need checkout; add, new project, rename,
// delete and recover need add; destroy needs destroy. A user may not rename or delete what another
// user holds. Failures raise TARMOError with the numbers of StoreErrors.h.
class StoreItem {
public:
    enum Type { Project = 0, File = 1 };
    enum CheckoutStatus { NotCheckedOut = 0, CheckedOut = 1, CheckedOutMe = 2 };

    int Type() const;
    QString Spec() const; // "$/A/B/x.sp"
    QString Name() const;
    // Renames; the new name must be free among the living items of the project.
    void SetName(const QString& name);
    bool Deleted() const;
    // True deletes (keeping item and history), False recovers under the item's name.
    void SetDeleted(bool deleted);
    // Recovers a deleted item under a new name in one step: it either comes back named so, or stays
    // deleted under its old name.
    void RecoverAs(const QString& name);
    // Removes the item for good, with its history and, for a project, everything in it. Needs the
    // destroy right; refused while another user holds anything in it.
    void Destroy();
    QStringList Holders() const;
    int IsCheckedOut() const; // CheckoutStatus, relative to the connected user
    QList<StoreCheckout> Checkouts() const;
    int VersionNumber() const;                         // the latest
    QList<StoreVersion> Versions() const;              // newest first
    QList<StoreItem> Items(bool includeDeleted) const; // of a project, by name

    // Files. A get writes the latest text read-only, or writable when the connected user holds a
    // check-out; it never replaces the working file of the user's check-out while that is writable.
    void Get(QString& local) const;
    void Checkout(const QString& comment, const QString& local);
    // Gives the number of the version it made, as the check-in made it.
    int Checkin(const QString& comment, const QString& local);
    void UndoCheckout(const QString& local);
    int Label(const QString& label, const QString& comment); // the number of the labelled version

    // Projects: add a local file as a new item, or make a project inside this one.
    StoreItem Add(const QString& local, const QString& comment);
    StoreItem NewSubproject(const QString& name, const QString& comment);

    bool operator==(const StoreItem& other) const { return mId == other.mId; }

private:
    friend class VersionStore;
    StoreItem(std::shared_ptr<StoreSession> session, qint64 id);
    void requireType(int type) const;

    std::shared_ptr<StoreSession> mSession;
    qint64 mId = 0;
};
