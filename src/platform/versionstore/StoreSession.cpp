#include "StoreSession.h"

#include "GeneralHelpers.h"
#include "StoreEngine.h"
#include "StoreErrors.h"
#include "StoreSchema.h"
#include "TARMOError.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// Path parts without the leading "$"; both separators are taken.
QStringList pathParts(const QString& spec, bool& absolute) {
    QString path = spec.trimmed();
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    absolute = path.startsWith(QLatin1Char('$'));
    if (absolute) {
        path.remove(0, 1);
        if (!path.isEmpty() && !path.startsWith(QLatin1Char('/')))
            StoreSession::Raise(StoreErrors::NotFound, QStringLiteral("'%1' is not a valid path.").arg(spec));
    }
    return path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
}

} // namespace

void StoreSession::Raise(long number, const QString& text) {
    throw TARMOError(number, QStringLiteral("VersionStore"), text);
}

qint64 StoreSession::Now() {
    return QDateTime::currentMSecsSinceEpoch();
}

void StoreSession::CheckName(const QString& name) {
    if (name.trimmed().isEmpty() || name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')))
        Raise(StoreErrors::NameStructure, QStringLiteral("'%1' is not a name of one item.").arg(name));
    static const QString forbidden = QStringLiteral(":*?\"<>|;,$@");
    bool bad = name != name.trimmed() || name.size() > 255;
    for (const QChar c : name)
        bad = bad || c.unicode() < 32 || forbidden.contains(c);
    if (bad)
        Raise(StoreErrors::InvalidName, QStringLiteral("'%1' is not a valid item name.").arg(name));
}

StoreSession::StoreSession() = default;
StoreSession::~StoreSession() = default;

void StoreSession::CheckUserName(const QString& name) {
    // A comma would split the "-y user,password" of the command line.
    if (name.trimmed().isEmpty() || name != name.trimmed() || name.contains(QLatin1Char(',')) ||
        name.size() > 31)
        Raise(StoreErrors::InvalidName, QStringLiteral("'%1' is not a valid user name.").arg(name));
}

qint64 StoreSession::Resolve(const QString& spec, bool deleted) const {
    bool absolute = false;
    const QStringList parts = pathParts(spec, absolute);
    return engine->Resolve(absolute ? rootId : currentProject, parts, deleted, spec);
}

bool StoreSession::Intact(const QByteArray& content, bool hasChecksum, const QByteArray& checksum) {
    return hasChecksum && checksum == TextChecksum(content);
}

void StoreSession::RaiseDamaged(qint64 number, const QString& spec) {
    Raise(StoreErrors::DamagedText,
          QStringLiteral("Version %1 of '%2' is damaged: its stored text does not match its checksum.")
              .arg(number)
              .arg(spec));
}

QString CleanLocalPath(const QString& path) {
    return path.isEmpty() ? QString() : QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

QByteArray ReadWorkingFile(const QString& path) {
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        StoreSession::Raise(StoreErrors::LocalFile,
                            QStringLiteral("The file '%1' cannot be read.").arg(path));
    return file.readAll();
}

void WriteWorkingFile(const QString& path, const QByteArray& content, bool readOnly) {
    if (path.isEmpty())
        StoreSession::Raise(StoreErrors::LocalFile, QStringLiteral("No working file was given."));
    if (FileExists(path) && IsReadOnlyFile(path))
        SetReadOnlyFile(path, false);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        const QString folder = QFileInfo(path).absolutePath();
        const QString reason = QFileInfo(folder).isDir()
                                   ? file.errorString()
                                   : QStringLiteral("the working folder '%1' does not exist").arg(folder);
        StoreSession::Raise(StoreErrors::LocalFile,
                            QStringLiteral("The file '%1' cannot be written: %2.").arg(path, reason));
    }
    SetReadOnlyFile(path, readOnly);
}
