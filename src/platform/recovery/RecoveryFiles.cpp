#include "RecoveryFiles.h"

#include "CrashCopies.h"
#include "GeneralHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<RecoveryFiles*> gInstalled{nullptr};

const QByteArray magicLine = QByteArrayLiteral("TARMO recovered text\n");
constexpr QFileDevice::Permissions ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
const QString textSuffix = QStringLiteral(".sql");
const QString lockSuffix = QStringLiteral(".lock");

// The folder holds other people's work only in the sense of other runs: it must be ours alone, and a
// symbolic link planted in its place is refused rather than followed.
bool makePrivateFolder(const QString& folder) {
    QDir().mkpath(QFileInfo(folder).absolutePath());
    const QByteArray path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST)
        return false;
    struct stat info {};
    if (::lstat(path.constData(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid())
        return false;
    return (info.st_mode & 07777) == 0700 || ::chmod(path.constData(), 0700) == 0;
}

// Files are named OWNER-N.sql, OWNER being the pid and a random part of the run that wrote them.
QString ownerOf(const QString& fileName) {
    const qsizetype dash = fileName.lastIndexOf(QLatin1Char('-'));
    return dash > 0 ? fileName.left(dash) : QString();
}

QString headerValue(QString value) {
    return value.replace(QLatin1Char('\r'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
}

RecoveredText readRecoveryFile(const QFileInfo& info) {
    RecoveredText entry;
    entry.path = info.absoluteFilePath();
    entry.title = info.fileName();
    entry.time = info.lastModified();
    QFile file(entry.path);
    if (!file.open(QIODevice::ReadOnly))
        return entry;
    const QByteArray bytes = file.readAll();
    const qsizetype end = bytes.indexOf("\n\n");
    if (!bytes.startsWith(magicLine) || end < 0) {
        entry.text = QString::fromUtf8(bytes);
        return entry;
    }
    const QStringList lines =
        QString::fromUtf8(bytes.mid(magicLine.size(), end - magicLine.size())).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QString value = line.section(QStringLiteral(": "), 1);
        if (line.startsWith(QStringLiteral("Title: ")))
            entry.title = value;
        else if (line.startsWith(QStringLiteral("Origin: ")))
            entry.origin = value;
        else if (line.startsWith(QStringLiteral("Time: "))) {
            const QDateTime time = QDateTime::fromString(value, Qt::ISODateWithMs);
            if (time.isValid())
                entry.time = time;
        }
    }
    entry.text = QString::fromUtf8(bytes.mid(end + 2));
    return entry;
}

bool writePrivateFile(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(ownerOnly);
    file.write(bytes);
    return file.commit();
}

} // namespace

RecoveryFiles* InstalledRecoveryFiles() {
    return gInstalled.load();
}

QString RecoveryFiles::DefaultFolder() {
    return UserFolder() + QStringLiteral("/Recovery");
}

RecoveryFiles::RecoveryFiles(const QString& folder)
    : mFolder(QDir::cleanPath(QFileInfo(folder).absoluteFilePath()))
    , mOwner(QStringLiteral("%1.%2")
                 .arg(::getpid())
                 .arg(QRandomGenerator::system()->generate(), 8, 16, QLatin1Char('0'))) {
    if (!makePrivateFolder(mFolder))
        return;
    const QByteArray lockPath = QFile::encodeName(mFolder + QLatin1Char('/') + mOwner + lockSuffix);
    const int fd = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return;
    }
    mLockFd = fd;
}

RecoveryFiles::~RecoveryFiles() {
    RecoveryFiles* self = this;
    gInstalled.compare_exchange_strong(self, nullptr);
    for (const Source& source : std::as_const(mSources))
        CrashCopies::Release(source.crashSlot);
    // The files of sources that were never forgotten stay: their windows did not close cleanly, and
    // without the lock the next start takes them for leftovers.
    if (mLockFd >= 0) {
        QFile::remove(mFolder + QLatin1Char('/') + mOwner + lockSuffix);
        ::close(mLockFd);
    }
}

void RecoveryFiles::makeInstalled() {
    gInstalled.store(this);
}

void RecoveryFiles::Register(const QString& id, const QString& title, const QString& origin,
                             TextSource source) {
    auto it = mSources.find(id);
    if (it == mSources.end()) {
        Source fresh;
        fresh.path = QStringLiteral("%1/%2-%3%4").arg(mFolder, mOwner).arg(mNextNumber++).arg(textSuffix);
        if (Usable())
            fresh.crashSlot = CrashCopies::Claim(QFile::encodeName(fresh.path));
        it = mSources.insert(id, fresh);
    }
    it->title = title;
    it->origin = origin;
    it->text = std::move(source);
    TextChanged(id);
}

void RecoveryFiles::TextChanged(const QString& id) {
    const auto it = mSources.find(id);
    if (it == mSources.end())
        return;
    if (const auto text = currentText(*it))
        CrashCopies::Set(it->crashSlot, encode(*it, *text));
}

void RecoveryFiles::Forget(const QString& id) {
    const auto it = mSources.find(id);
    if (it == mSources.end())
        return;
    CrashCopies::Release(it->crashSlot);
    QFile::remove(it->path);
    mSources.erase(it);
}

int RecoveryFiles::SnapshotAll() {
    int kept = 0;
    for (Source& source : mSources) {
        const auto text = currentText(source);
        if (!text)
            continue;
        const QByteArray bytes = encode(source, *text);
        // The crash path may still run after this (an abort following an uncaught exception); it must
        // not put back an older text than the one written here.
        CrashCopies::Set(source.crashSlot, bytes);
        if (bytes.isEmpty())
            QFile::remove(source.path);
        else if (Usable() && writePrivateFile(source.path, bytes))
            ++kept;
    }
    return kept;
}

QList<RecoveredText> RecoveryFiles::Pending() {
    QList<RecoveredText> pending;
    if (!Usable())
        return pending;
    const QDir folder(mFolder);
    QHash<QString, bool> gone;
    const auto isGone = [&](const QString& owner) {
        if (!gone.contains(owner))
            gone.insert(owner, owner != mOwner && ownerIsGone(owner));
        return gone.value(owner);
    };
    QSet<QString> ownersWithTexts;
    for (const QFileInfo& info : folder.entryInfoList({QLatin1Char('*') + textSuffix}, QDir::Files)) {
        const QString owner = ownerOf(info.fileName());
        ownersWithTexts.insert(owner);
        if (!owner.isEmpty() && isGone(owner))
            pending << readRecoveryFile(info);
    }
    // What a run that ended leaves besides its texts (its lock, a half-written copy) goes once its
    // texts are gone.
    for (const QFileInfo& info : folder.entryInfoList({QLatin1Char('*') + lockSuffix}, QDir::Files)) {
        const QString owner = info.completeBaseName();
        if (!ownersWithTexts.contains(owner) && isGone(owner))
            removeOwnerLeftovers(owner);
    }
    std::stable_sort(pending.begin(), pending.end(),
                     [](const RecoveredText& a, const RecoveredText& b) { return a.time < b.time; });
    return pending;
}

void RecoveryFiles::Discard(const RecoveredText& entry) {
    const QFileInfo info(entry.path);
    if (QDir::cleanPath(info.absolutePath()) != mFolder)
        return;
    QFile::remove(entry.path);
    const QString owner = ownerOf(info.fileName());
    if (owner.isEmpty() || owner == mOwner || !ownerIsGone(owner))
        return;
    const QStringList others =
        QDir(mFolder).entryList({owner + QLatin1Char('-') + QLatin1Char('*') + textSuffix}, QDir::Files);
    if (others.isEmpty())
        removeOwnerLeftovers(owner);
}

std::optional<QString> RecoveryFiles::currentText(const Source& source) const {
    if (!source.text)
        return QString();
    try {
        return source.text();
    } catch (...) {
        return std::nullopt;
    }
}

QByteArray RecoveryFiles::encode(const Source& source, const QString& text) const {
    if (text.isEmpty())
        return {};
    QByteArray bytes = magicLine;
    bytes += "Title: " + headerValue(source.title).toUtf8() + '\n';
    bytes += "Origin: " + headerValue(source.origin).toUtf8() + '\n';
    bytes += "Time: " + QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs).toUtf8() + "\n\n";
    bytes += text.toUtf8();
    return bytes;
}

// A running copy holds the lock on its lock file for as long as it runs (the system drops it when the
// process ends, however it ends), so a lock that can be taken, or no lock file at all, means the
// owner is gone. Process ids alone would be fooled by a new process that got the same id.
bool RecoveryFiles::ownerIsGone(const QString& owner) const {
    const QByteArray lockPath = QFile::encodeName(mFolder + QLatin1Char('/') + owner + lockSuffix);
    const int fd = ::open(lockPath.constData(), O_RDWR | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT;
    const bool gone = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    ::close(fd);
    return gone;
}

void RecoveryFiles::removeOwnerLeftovers(const QString& owner) const {
    const QDir folder(mFolder);
    for (const QString& name : folder.entryList({owner + QLatin1Char('-') + QLatin1Char('*')}, QDir::Files))
        QFile::remove(folder.filePath(name));
    QFile::remove(folder.filePath(owner + lockSuffix));
}
