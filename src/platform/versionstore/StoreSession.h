#pragma once

#include "StoreConnection.h"
#include "StoreIni.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

// What an open store shares between the database object and the items and versions it hands out:
// the data, the connected user and the current project. Items keep it alive, so an item outlives the
// object it came from the way an automation object does.
struct StoreSession {
    StoreIni ini;
    std::unique_ptr<StoreConnection> db;
    QString userName; // as the store spells it
    bool admin = false;
    qint64 currentProject = rootId;

    static constexpr qint64 rootId = 1;
    enum ItemType { Project = 0, File = 1 };

    // The item at a path, "$/A/B", "$\A\B\" or relative to the current project. The last part is
    // looked up among living or deleted items as asked; the projects on the way must be living.
    qint64 Resolve(const QString& spec, bool deleted) const;
    QString SpecOf(qint64 id) const;
    QString NameOf(qint64 id) const;
    int TypeOf(qint64 id) const;
    bool IsDeleted(qint64 id) const;
    qint64 ParentOf(qint64 id) const;

    // Latest version number (labels share the number of the version they label), and its text.
    int HeadNumber(qint64 id) const;
    QByteArray HeadContent(qint64 id) const;
    // The text of one history entry, checked against the checksum kept with it; a text that doesn't
    // match raises DamagedText naming the item and the version.
    QByteArray ContentOf(qint64 seq) const;
    // Whether a stored text matches the checksum kept with it; one without a checksum was written
    // past this program and can't vouch for itself either.
    static bool Intact(const QByteArray& content, bool hasChecksum, const QByteArray& checksum);
    [[noreturn]] static void RaiseDamaged(qint64 number, const QString& spec);
    // Appends a history entry with the next number (or the present one for a label); inside a transaction.
    int Record(qint64 id, const QString& action, const QString& comment, const QByteArray& content,
               bool isLabel = false, const QString& labelComment = QString());

    // 0 nobody, 1 somebody else, 2 the connected user (whoever else holds it too).
    int CheckoutState(qint64 id) const;
    QStringList Holders(qint64 id) const;
    // The working file the connected user checked the item out to; "" when he doesn't hold it.
    QString CheckoutLocal(qint64 id) const;

    // A living item of that name directly in the project, other than `except`.
    bool NameTaken(qint64 parent, const QString& name, qint64 except = 0) const;

    // Rights (StoreRights): raises NoRight unless the connected user has `right` where the item is
    // governed (a file by its project, a project by itself).
    void Require(qint64 id, int right) const;
    // A user's rights in a project, and the project whose entry gave them (0 for the store's default).
    int RightsIn(qint64 project, const QString& user, qint64* source = nullptr) const;
    // Raises CheckedOutByOther when another user holds the item or, for a project, anything living in
    // it (with `deletedToo`, anything at all).
    void RequireNotHeldByOthers(qint64 id, bool deletedToo = false) const;

    // The options the store keeps for all its users.
    QString Option(const QString& name) const;
    void SetOption(const QString& name, const QString& value);
    bool MultipleCheckouts() const;

    // Raises NameStructure or InvalidName for names the store doesn't take.
    static void CheckName(const QString& name);
    static qint64 Now();
    [[noreturn]] static void Raise(long number, const QString& text);
};

// Working files: read whole, written in one piece with the read-only attribute as asked.
QByteArray ReadWorkingFile(const QString& path);
void WriteWorkingFile(const QString& path, const QByteArray& content, bool readOnly);
QString CleanLocalPath(const QString& path);
