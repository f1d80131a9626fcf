#include "VersionStore.h"

#include "GroupFiles.h"
#include "PasswordHash.h"
#include "StoreErrors.h"
#include "StoreLogins.h"
#include "StoreSchema.h"
#include "StoreSession.h"
#include "TARMOError.h"

#include <QDir>
#include <QFileInfo>

namespace {

// A memory-hard hash: a copy of the data folder must not hand out the passwords cheaply. The salt
// lives inside the hash; the column of the older hashes' salt stays empty.
QByteArray newHash(const QString& password) {
    QByteArray hash = PasswordHash::Make(password);
    if (hash.isEmpty())
        StoreSession::Raise(StoreErrors::Database,
                            QStringLiteral("There is not enough memory to hash the password."));
    return hash;
}

void checkUserName(const QString& name) {
    // A comma would split the "-y user,password" of the command line.
    if (name.trimmed().isEmpty() || name != name.trimmed() || name.contains(QLatin1Char(',')) ||
        name.size() > 31)
        StoreSession::Raise(StoreErrors::InvalidName,
                            QStringLiteral("'%1' is not a valid user name.").arg(name));
}

void writeUser(StoreConnection& db, const QString& name, const QString& password, bool admin, bool insert) {
    Statement s(db, insert ? "INSERT INTO users(name, salt, hash, admin) VALUES(?1, ?2, ?3, ?4)"
                           : "UPDATE users SET salt = ?2, hash = ?3 WHERE name = ?1");
    s.Bind(1, name).BindBlob(2, QByteArray()).BindBlob(3, newHash(password));
    if (insert)
        s.Bind(4, admin ? 1 : 0);
    s.Run();
}

// Best effort: a store on a read-only medium still lets its users in with the older hash.
void upgradeHash(StoreConnection& db, const QString& name, const QByteArray& old, const QString& password) {
    const QByteArray hash = PasswordHash::Make(password);
    if (hash.isEmpty())
        return;
    try {
        // Compared with the old hash, so that a password changed meanwhile by another process stays.
        Statement s(db, "UPDATE users SET salt = ?2, hash = ?3 WHERE name = ?1 AND hash = ?4");
        s.Bind(1, name).BindBlob(2, QByteArray()).BindBlob(3, hash).BindBlob(4, old).Run();
    } catch (const TARMOError&) {
    }
}

} // namespace

VersionStore::VersionStore() = default;
VersionStore::~VersionStore() = default;

QString VersionStore::Create(const QString& folder, const QString& adminPassword, bool multipleCheckouts) {
    QDir dir(folder);
    if (!GroupFiles::MakeFolder(dir.absolutePath()))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The folder '%1' cannot be made.").arg(folder));
    StoreIni ini;
    ini.iniFile = dir.absoluteFilePath(QStringLiteral("srcsafe.ini"));
    ini.dataFolder = dir.absoluteFilePath(QStringLiteral("data"));
    ini.multipleCheckouts = multipleCheckouts;
    if (QFileInfo::exists(ini.iniFile) || QFileInfo::exists(ini.DatabaseFile()))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("'%1' already holds a version store.").arg(dir.absolutePath()));
    if (!GroupFiles::MakeFolder(ini.dataFolder))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The folder '%1' cannot be made.").arg(ini.dataFolder));
    {
        StoreConnection db(ini.DatabaseFile(), ini.busyTimeoutMs, true);
        UpgradeStore(db, multipleCheckouts);
        Transaction transaction(db);
        writeUser(db, QStringLiteral("Admin"), adminPassword, true, true);
        transaction.Commit();
    }
    // The ini comes last: a store whose creation failed half-way can't be opened by mistake.
    StoreIni::Write(ini);
    return ini.iniFile;
}

void VersionStore::Open(const QString& iniFile, const QString& userName, const QString& password) {
    Close();
    auto s = std::make_shared<StoreSession>();
    s->ini = StoreIni::Read(iniFile);
    if (!QFileInfo::exists(s->ini.DatabaseFile()))
        StoreSession::Raise(
            StoreErrors::IniFile,
            QStringLiteral("The store's data '%1' does not exist.").arg(s->ini.DatabaseFile()));
    s->db = std::make_unique<StoreConnection>(s->ini.DatabaseFile(), s->ini.busyTimeoutMs, false);
    UpgradeStore(*s->db, s->ini.multipleCheckouts);
    const QString name = userName.trimmed();
    StoreLogins logins(*s->db, s->ini.dataFolder);
    logins.HoldBack(name);
    QByteArray salt, stored;
    {
        Statement find(*s->db, "SELECT name, salt, hash, admin FROM users WHERE name = ?1");
        find.Bind(1, name);
        if (find.Step()) {
            s->userName = find.Text(0);
            salt = find.Blob(1);
            stored = find.Blob(2);
            s->admin = find.Int(3) != 0;
        }
    }
    if (s->userName.isEmpty()) {
        logins.Refused(name, QStringLiteral("unknown user"));
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(userName));
    }
    const PasswordHash::Check check =
        PasswordHash::Verify(password, stored, salt, PasswordHash::Legacy::Store);
    if (!check.matches) {
        logins.Refused(name, QStringLiteral("wrong password"));
        StoreSession::Raise(StoreErrors::Login,
                            QStringLiteral("Invalid password for user \"%1\"").arg(userName));
    }
    logins.Accepted(name);
    if (check.wantsRehash)
        upgradeHash(*s->db, s->userName, stored, password);
    mSession = std::move(s);
}

void VersionStore::Close() {
    mSession.reset();
}

bool VersionStore::IsOpen() const {
    return mSession != nullptr;
}

void VersionStore::RequirePresent() const {
    const StoreIni& ini = session().ini;
    if (!QFileInfo::exists(ini.iniFile))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The file '%1' does not exist.").arg(ini.iniFile));
    if (!QFileInfo::exists(ini.DatabaseFile()))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The store's data '%1' does not exist.").arg(ini.DatabaseFile()));
}

StoreSession& VersionStore::session() const {
    if (!mSession)
        StoreSession::Raise(StoreErrors::NotOpen, QStringLiteral("No version store is open."));
    return *mSession;
}

QString VersionStore::IniFile() const {
    return session().ini.iniFile;
}

QString VersionStore::UserName() const {
    return session().userName;
}

bool VersionStore::IsAdmin() const {
    return session().admin;
}

bool VersionStore::MultipleCheckouts() const {
    return session().MultipleCheckouts();
}

QString VersionStore::CurrentProject() const {
    StoreSession& s = session();
    return s.currentProject == StoreSession::rootId ? QStringLiteral("$/") : s.SpecOf(s.currentProject);
}

void VersionStore::SetCurrentProject(const QString& spec) {
    StoreSession& s = session();
    const qint64 id = s.Resolve(spec, false);
    if (s.TypeOf(id) != StoreSession::Project)
        StoreSession::Raise(StoreErrors::WrongType,
                            QStringLiteral("'%1' is a file, not a project.").arg(spec));
    s.currentProject = id;
}

StoreItem VersionStore::Item(const QString& spec, bool deleted) const {
    return StoreItem(mSession, session().Resolve(spec, deleted));
}

void VersionStore::AddUser(const QString& name, const QString& password) {
    StoreSession& s = session();
    if (!s.admin)
        StoreSession::Raise(StoreErrors::Permission, QStringLiteral("Only the administrator may add users."));
    checkUserName(name);
    Transaction transaction(*s.db);
    Statement find(*s.db, "SELECT 1 FROM users WHERE name = ?1");
    find.Bind(1, name);
    if (find.Step())
        StoreSession::Raise(StoreErrors::NameExists, QStringLiteral("User \"%1\" already exists").arg(name));
    writeUser(*s.db, name, password, false, true);
    transaction.Commit();
}

void VersionStore::SetPassword(const QString& name, const QString& password) {
    StoreSession& s = session();
    if (!s.admin && name.compare(s.userName, Qt::CaseInsensitive) != 0)
        StoreSession::Raise(StoreErrors::Permission,
                            QStringLiteral("Only the administrator may change another user's password."));
    Transaction transaction(*s.db);
    Statement find(*s.db, "SELECT 1 FROM users WHERE name = ?1");
    find.Bind(1, name);
    if (!find.Step())
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(name));
    writeUser(*s.db, name, password, false, false);
    transaction.Commit();
}

QStringList VersionStore::Users() const {
    Statement s(*session().db, "SELECT name FROM users ORDER BY name");
    QStringList names;
    while (s.Step())
        names << s.Text(0);
    return names;
}
