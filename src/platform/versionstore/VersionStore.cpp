#include "VersionStore.h"

#include "StoreErrors.h"
#include "StoreSchema.h"
#include "StoreSession.h"
#include "TARMOError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>

namespace {

// Salted and stretched: a copy of the data folder must not hand out the passwords cheaply.
constexpr int hashRounds = 4096;

QByteArray hashPassword(const QByteArray& salt, const QString& password) {
    QByteArray digest = salt + password.toUtf8();
    for (int i = 0; i < hashRounds; ++i)
        digest = QCryptographicHash::hash(salt + digest, QCryptographicHash::Sha256);
    return digest;
}

QByteArray newSalt() {
    QByteArray salt(16, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(salt.data()), salt.size() / 4);
    return salt;
}

bool sameBytes(const QByteArray& a, const QByteArray& b) {
    if (a.size() != b.size())
        return false;
    int diff = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        diff |= a[i] ^ b[i];
    return diff == 0;
}

void checkUserName(const QString& name) {
    // A comma would split the "-y user,password" of the command line.
    if (name.trimmed().isEmpty() || name != name.trimmed() || name.contains(QLatin1Char(',')) ||
        name.size() > 31)
        StoreSession::Raise(StoreErrors::InvalidName,
                            QStringLiteral("'%1' is not a valid user name.").arg(name));
}

void writeUser(StoreConnection& db, const QString& name, const QString& password, bool admin, bool insert) {
    const QByteArray salt = newSalt();
    Statement s(db, insert ? "INSERT INTO users(name, salt, hash, admin) VALUES(?1, ?2, ?3, ?4)"
                           : "UPDATE users SET salt = ?2, hash = ?3 WHERE name = ?1");
    s.Bind(1, name).BindBlob(2, salt).BindBlob(3, hashPassword(salt, password));
    if (insert)
        s.Bind(4, admin ? 1 : 0);
    s.Run();
}

} // namespace

VersionStore::VersionStore() = default;
VersionStore::~VersionStore() = default;

QString VersionStore::Create(const QString& folder, const QString& adminPassword, bool multipleCheckouts) {
    QDir dir(folder);
    if (!dir.mkpath(QStringLiteral(".")))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The folder '%1' cannot be made.").arg(folder));
    StoreIni ini;
    ini.iniFile = dir.absoluteFilePath(QStringLiteral("srcsafe.ini"));
    ini.dataFolder = dir.absoluteFilePath(QStringLiteral("data"));
    ini.multipleCheckouts = multipleCheckouts;
    if (QFileInfo::exists(ini.iniFile) || QFileInfo::exists(ini.DatabaseFile()))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("'%1' already holds a version store.").arg(dir.absolutePath()));
    if (!QDir().mkpath(ini.dataFolder))
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
    Statement find(*s->db, "SELECT name, salt, hash, admin FROM users WHERE name = ?1");
    find.Bind(1, userName.trimmed());
    if (!find.Step())
        StoreSession::Raise(StoreErrors::Login, QStringLiteral("User \"%1\" not found").arg(userName));
    if (!sameBytes(hashPassword(find.Blob(1), password), find.Blob(2)))
        StoreSession::Raise(StoreErrors::Login,
                            QStringLiteral("Invalid password for user \"%1\"").arg(userName));
    s->userName = find.Text(0);
    s->admin = find.Int(3) != 0;
    mSession = std::move(s);
}

void VersionStore::Close() {
    mSession.reset();
}

bool VersionStore::IsOpen() const {
    return mSession != nullptr;
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
