#pragma once

#include "StoreItem.h"

#include <QString>
#include <QStringList>

#include <memory>

struct StoreSession;

// A version store database: a folder with a srcsafe.ini and its data. Open it with a login, then reach
// projects and files by path ("$/Sales/Orders/x.sp", "$\Sales\Orders\" or relative to CurrentProject).
// Several processes may use one store at once; the store arbitrates every change in one transaction.
// Failures raise TARMOError with the numbers of StoreErrors.h.
class VersionStore {
public:
    VersionStore();
    ~VersionStore();

    // Makes a new store in `folder` (created if needed): srcsafe.ini, the data folder, and the user
    // "Admin" with the given password. Raises if the folder already holds a store.
    static QString Create(const QString& folder, const QString& adminPassword,
                          bool multipleCheckouts = false);
    // Makes a new store in the PostgreSQL database that `url` names ("postgresql://host:5432/db"),
    // connecting as a role that may create schemas and roles (the owner given, else the URL's or
    // libpq's defaults), and `folder`/srcsafe.ini pointing at it without any user or password. Raises
    // if the database already holds a store.
    static QString CreateOnServer(const QString& folder, const QString& url, const QString& adminPassword,
                                  bool multipleCheckouts = false, const QString& owner = QString(),
                                  const QString& ownerPassword = QString());

    void Open(const QString& iniFile, const QString& userName, const QString& password);
    void Close();
    bool IsOpen() const;
    // Raises IniFile, as opening would, where the store's ini or data file is no longer where it
    // was opened: an open session still reads a data file that was removed under it.
    void RequirePresent() const;

    QString IniFile() const;
    QString UserName() const; // as the store spells it
    bool IsAdmin() const;
    // Options the store keeps for all its users; only the administrator may change them.
    bool MultipleCheckouts() const;
    void SetMultipleCheckouts(bool allowed);
    int DefaultRights() const; // StoreRights of a user with no entry on a project's path
    void SetDefaultRights(int rights);

    // The project that relative paths start from; "$/" at first. Set in any accepted form; read back
    // as "$/A/B" (or "$/" for the root), to which "/" and a name can be joined.
    QString CurrentProject() const;
    void SetCurrentProject(const QString& spec);

    // The item at a path: a living one, or with `deleted` a deleted one (the latest deleted of that name).
    StoreItem Item(const QString& spec, bool deleted = false) const;

    // Users. Adding needs the administrator; a password may be changed by its user or the administrator.
    void AddUser(const QString& name, const QString& password);
    void SetPassword(const QString& name, const QString& password);
    QStringList Users() const;

    // Project rights (StoreRights). Only the administrator may set them; inheriting drops the user's
    // entry on that project, so that the projects above it decide again.
    void SetRights(const QString& project, const QString& user, int rights);
    void InheritRights(const QString& project, const QString& user);
    struct UserRights {
        QString UserName;
        int Rights = 0;
        QString From; // the project whose entry gives them; "" for the default or the administrator
        bool Administrator = false;
    };
    // Every user's rights in a project, by name. Needs the read right there.
    QList<UserRights> Rights(const QString& project) const;

private:
    StoreSession& session() const;
    StoreSession& adminSession(const QString& what) const;
    std::shared_ptr<StoreSession> mSession;
};
