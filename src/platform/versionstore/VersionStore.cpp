#include "VersionStore.h"

#include "GroupFiles.h"
#include "PgEngine.h"
#include "SqliteEngine.h"
#include "StoreErrors.h"
#include "StoreSession.h"
#include "TARMOError.h"

#include <QDir>
#include <QFileInfo>

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
    SqliteEngine::Create(ini, adminPassword, multipleCheckouts);
    // The ini comes last: a store whose creation failed half-way can't be opened by mistake.
    StoreIni::Write(ini);
    return ini.iniFile;
}

QString VersionStore::CreateOnServer(const QString& folder, const QString& url, const QString& adminPassword,
                                     bool multipleCheckouts, const QString& owner,
                                     const QString& ownerPassword) {
    QDir dir(folder);
    if (!GroupFiles::MakeFolder(dir.absolutePath()))
        StoreSession::Raise(StoreErrors::IniFile,
                            QStringLiteral("The folder '%1' cannot be made.").arg(folder));
    StoreIni ini;
    ini.iniFile = dir.absoluteFilePath(QStringLiteral("srcsafe.ini"));
    ini.server = PgEngine::WithoutPassword(url);
    ini.multipleCheckouts = multipleCheckouts;
    if (QFileInfo::exists(ini.iniFile))
        StoreSession::Raise(StoreErrors::NameExists,
                            QStringLiteral("'%1' already holds a version store.").arg(dir.absolutePath()));
    PgEngine::Create(url, owner, ownerPassword, adminPassword, multipleCheckouts);
    StoreIni::Write(ini);
    return ini.iniFile;
}

void VersionStore::Open(const QString& iniFile, const QString& userName, const QString& password) {
    Close();
    auto s = std::make_shared<StoreSession>();
    s->ini = StoreIni::Read(iniFile);
    if (s->ini.server.isEmpty())
        s->engine = SqliteEngine::Open(*s, userName, password);
    else
        s->engine = PgEngine::Open(*s, userName, password);
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
    session().Engine().RequirePresent();
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

QString VersionStore::CurrentProject() const {
    StoreSession& s = session();
    return s.currentProject == StoreSession::rootId ? QStringLiteral("$/")
                                                    : s.Engine().SpecOf(s.currentProject);
}

void VersionStore::SetCurrentProject(const QString& spec) {
    StoreSession& s = session();
    const qint64 id = s.Resolve(spec, false);
    if (s.Engine().TypeOf(id) != StoreSession::Project)
        StoreSession::Raise(StoreErrors::WrongType,
                            QStringLiteral("'%1' is a file, not a project.").arg(spec));
    s.currentProject = id;
}

StoreItem VersionStore::Item(const QString& spec, bool deleted) const {
    return StoreItem(mSession, session().Resolve(spec, deleted));
}

void VersionStore::AddUser(const QString& name, const QString& password) {
    session().Engine().AddUser(name, password);
}

void VersionStore::SetPassword(const QString& name, const QString& password) {
    session().Engine().SetPassword(name, password);
}

QStringList VersionStore::Users() const {
    return session().Engine().Users();
}
