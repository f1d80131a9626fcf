#include "GroupFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// chmod with the mode wanted, keeping a setgid bit that the folder got from its parent.
bool setFolderMode(const QByteArray& path) {
    struct stat st {};
    if (stat(path.constData(), &st) != 0)
        return false;
    return chmod(path.constData(), (st.st_mode & S_ISGID) | GroupFiles::folderMode) == 0;
}

// Opens with O_CREAT|O_EXCL first, so that only a file made here is given the mode; -1 on failure.
int openOrCreate(const QByteArray& path, int flags, bool& created) {
    int fd = open(path.constData(), flags | O_CREAT | O_EXCL | O_CLOEXEC, GroupFiles::fileMode);
    created = fd >= 0;
    if (fd < 0 && errno == EEXIST)
        fd = open(path.constData(), flags | O_CLOEXEC);
    // The umask took bits away at open; fchmod on the descriptor is not subject to it.
    if (created && fchmod(fd, GroupFiles::fileMode) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

} // namespace

bool GroupFiles::MakeFolder(const QString& path) {
    QStringList missing;
    for (QString p = QDir::cleanPath(QFileInfo(path).absoluteFilePath()); !QFileInfo::exists(p);
         p = QFileInfo(p).absolutePath()) {
        missing.prepend(p);
        if (QFileInfo(p).isRoot())
            break;
    }
    for (const QString& folder : missing) {
        const QByteArray native = QFile::encodeName(folder);
        if (mkdir(native.constData(), folderMode) != 0) {
            if (errno == EEXIST)
                continue; // another process was quicker; its folder is its business
            return false;
        }
        if (!setFolderMode(native))
            return false;
    }
    return QFileInfo(path).isDir();
}

bool GroupFiles::EnsureFile(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    const int fd = open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode);
    if (fd < 0)
        return errno == EEXIST;
    const bool moded = fchmod(fd, fileMode) == 0;
    close(fd);
    return moded;
}

bool GroupFiles::Append(const QString& path, const QByteArray& bytes) {
    bool created = false;
    const int fd = openOrCreate(QFile::encodeName(path), O_WRONLY | O_APPEND, created);
    if (fd < 0)
        return false;
    // O_APPEND puts each write at the end in one piece, also with several processes appending.
    const ssize_t written = write(fd, bytes.constData(), size_t(bytes.size()));
    close(fd);
    return written == bytes.size();
}
