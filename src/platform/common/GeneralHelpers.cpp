#include "GeneralHelpers.h"

#include "TARMOError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <pwd.h>
#include <unistd.h>

namespace {

QString environmentFolder(const char* variable, const QString& fallbackUnderHome) {
    QString base = qEnvironmentVariable(variable);
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QLatin1Char('/') + fallbackUnderHome;
    return QDir::cleanPath(base);
}

constexpr QFileDevice::Permissions writeBits =
    QFileDevice::WriteOwner | QFileDevice::WriteUser | QFileDevice::WriteGroup | QFileDevice::WriteOther;

} // namespace

bool FolderExists(const QString& path) {
    return !path.isEmpty() && QFileInfo(path).isDir();
}

void EnsureFolder(const QString& path) {
    if (!FolderExists(path))
        QDir().mkdir(path);
}

bool FileExists(const QString& path) {
    return !path.isEmpty() && QFileInfo(path).isFile();
}

QString ReadTextFile(const QString& path, bool, bool bDeleteAfter) {
    QFile file(path);
    if (!file.exists())
        return {};
    QString text;
    if (file.open(QIODevice::ReadOnly)) {
        text = QString::fromUtf8(file.readAll());
        file.close();
    }
    if (bDeleteAfter)
        DeleteFileIfExists(path, true);
    return text;
}

bool DeleteFileIfExists(const QString& path, bool bForce) {
    if (!FileExists(path))
        return true;
    if (IsReadOnlyFile(path) && !bForce)
        throw TARMOError(70, QStringLiteral("DeleteFileIfExists"), QStringLiteral("Permission denied"));
    QFile::remove(path);
    return true;
}

bool CreateTextFile(const QString& path, const QString& content) {
    const bool wasReadOnly = FileExists(path) && IsReadOnlyFile(path);
    if (wasReadOnly)
        SetReadOnlyFile(path, false);
    QSaveFile file(path);
    bool ok = file.open(QIODevice::WriteOnly);
    if (ok) {
        file.write(content.toUtf8());
        ok = file.commit();
    }
    if (wasReadOnly)
        SetReadOnlyFile(path, true);
    if (!ok)
        throw TARMOError(75, QStringLiteral("CreateTextFile"),
                         QStringLiteral("Path/File access error: %1").arg(path));
    return true;
}

bool WriteTextFile(const QString& path, const QString& content) {
    return CreateTextFile(path, content);
}

bool IsReadOnlyFile(const QString& path) {
    QFileInfo info(path);
    // The owner's write bit is the attribute; the user bit would say "writable" to root whatever it is.
    return info.exists() && !(info.permissions() & QFileDevice::WriteOwner);
}

void SetReadOnlyFile(const QString& path, bool readOnly) {
    QFile file(path);
    auto permissions = file.permissions();
    if (readOnly)
        permissions &= ~writeBits;
    else
        permissions |= QFileDevice::WriteOwner | QFileDevice::WriteUser;
    file.setPermissions(permissions);
}

QString GetTempFolder() {
    QString folder = QDir::tempPath();
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    return folder;
}

QString GetWindowsUserName() {
    QString name;
    if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_name)
        name = QString::fromLocal8Bit(entry->pw_name);
    if (name.isEmpty())
        name = qEnvironmentVariable("USER");
    return name.left(24);
}

QStringList VariantToStringArray(const QVariant& value) {
    const QVariantList list = value.toList();
    QStringList result;
    result << QString();
    for (qsizetype i = 1; i < list.size(); ++i)
        result << list[i].toString();
    return result;
}

QList<QStringList> VariantToStringArray2D(const QVariant& value) {
    const QVariantList rows = value.toList();
    QList<QStringList> result;
    for (qsizetype r = 0; r < rows.size(); ++r) {
        QStringList row = VariantToStringArray(rows[r]);
        if (r == 0)
            row = QStringList(row.size());
        result << row;
    }
    return result;
}

QString ApplicationFolder() {
    return environmentFolder("XDG_DATA_HOME", QStringLiteral(".local/share")) + QStringLiteral("/tarmo");
}

QString UserFolder() {
    return ApplicationFolder() + QLatin1Char('/') + GetWindowsUserName();
}

QString ConfigFolder() {
    return environmentFolder("XDG_CONFIG_HOME", QStringLiteral(".config")) + QStringLiteral("/tarmo");
}
