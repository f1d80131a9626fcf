#pragma once

#include "StoreVersion.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

struct StoreSession;

// One check-out of a file by one user.
struct StoreCheckout {
    QString UserName;
    QDateTime Date;
    QString LocalSpec; // the working file it was checked out to
    QString Comment;
};

// A living item of a project as a listing gives it: what Name, Type, IsCheckedOut, Holders and
// VersionNumber say of the item, read together with the others.
struct StoreEntry {
    QString Name;
    int Type = 0;
    int CheckoutState = 0; // StoreItem::CheckoutStatus, relative to the connected user
    QStringList Holders;   // in the order of their check-outs
    QString LocalSpec;     // the connected user's working file, where he holds the item
    int VersionNumber = 0; // the latest
    bool HasText = false;  // its latest text was asked for and read
    QByteArray Text;
};
// Moved, not copied, when a listing of a hundred thousand of them grows.
Q_DECLARE_TYPEINFO(StoreEntry, Q_RELOCATABLE_TYPE);

// A file to add with its text in hand.
struct StoreNewFile {
    QString Name;
    QByteArray Text;
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

    // The living items of a project, in the order of Items, read in one snapshot with a few
    // statements however many there are (the properties of an item read one by one cost several
    // statements each); with endings, only those whose names end with one of them (in the case
    // given). Needs the read right, as Items does. The files that wantsText picks by name come with
    // their latest text, checked against its checksum as Text checks it: a damaged text raises
    // DamagedText, or with skipDamaged leaves that entry without its text.
    QList<StoreEntry> Entries(const QStringList& endings = {},
                              const std::function<bool(const QString& name)>& wantsText = {},
                              bool skipDamaged = false) const;
    // The same for the living items of the project named (in any case) only; a name the project
    // doesn't hold is left out.
    QList<StoreEntry> EntriesNamed(const QStringList& names,
                                   const std::function<bool(const QString& name)>& wantsText = {},
                                   bool skipDamaged = false) const;

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
    // Adds many files from texts in hand in one transaction, each as Add would add it: all of them,
    // or none when one can't be added. Gives the new items in the order of `files`.
    QList<StoreItem> AddFiles(const QList<StoreNewFile>& files, const QString& comment);

    bool operator==(const StoreItem& other) const { return mId == other.mId; }

private:
    friend class VersionStore;
    StoreItem(std::shared_ptr<StoreSession> session, qint64 id);
    void requireType(int type) const;
    QList<StoreEntry> entries(const QStringList* names, const QStringList* endings,
                              const std::function<bool(const QString&)>& wantsText, bool skipDamaged) const;

    std::shared_ptr<StoreSession> mSession;
    qint64 mId = 0;
};
