#include "StoreSession.h"

#include "GeneralHelpers.h"
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

qint64 StoreSession::Resolve(const QString& spec, bool deleted) const {
    bool absolute = false;
    const QStringList parts = pathParts(spec, absolute);
    qint64 id = absolute ? rootId : currentProject;
    if (parts.isEmpty()) {
        if (deleted != IsDeleted(id))
            Raise(StoreErrors::NotFound, QStringLiteral("'%1' was not found.").arg(spec));
        return id;
    }
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const bool last = i == parts.size() - 1;
        Statement find(*db, "SELECT id, type FROM items WHERE parent = ?1 AND name = ?2 AND deleted = ?3 "
                            "ORDER BY deleted_at DESC, id DESC LIMIT 1");
        find.Bind(1, id).Bind(2, parts[i]).Bind(3, (last && deleted) ? 1 : 0);
        if (!find.Step() || (!last && find.Int(1) != Project))
            Raise(StoreErrors::NotFound, QStringLiteral("'%1' was not found.").arg(spec));
        id = find.Int(0);
    }
    return id;
}

QString StoreSession::SpecOf(qint64 id) const {
    QStringList names;
    while (id != rootId) {
        names.prepend(NameOf(id));
        id = ParentOf(id);
    }
    return QStringLiteral("$/") + names.join(QLatin1Char('/'));
}

QString StoreSession::NameOf(qint64 id) const {
    Statement s(*db, "SELECT name FROM items WHERE id = ?1");
    s.Bind(1, id);
    if (!s.Step())
        Raise(StoreErrors::NotFound, QStringLiteral("The item no longer exists."));
    return s.Text(0);
}

int StoreSession::TypeOf(qint64 id) const {
    Statement s(*db, "SELECT type FROM items WHERE id = ?1");
    s.Bind(1, id);
    return s.Step() ? static_cast<int>(s.Int(0)) : File;
}

bool StoreSession::IsDeleted(qint64 id) const {
    Statement s(*db, "SELECT deleted FROM items WHERE id = ?1");
    s.Bind(1, id);
    return s.Step() && s.Int(0) != 0;
}

qint64 StoreSession::ParentOf(qint64 id) const {
    Statement s(*db, "SELECT parent FROM items WHERE id = ?1");
    s.Bind(1, id);
    return s.Step() && !s.IsNull(0) ? s.Int(0) : rootId;
}

int StoreSession::HeadNumber(qint64 id) const {
    Statement s(*db, "SELECT MAX(number) FROM history WHERE item = ?1");
    s.Bind(1, id);
    return s.Step() ? static_cast<int>(s.Int(0)) : 0;
}

QByteArray StoreSession::HeadContent(qint64 id) const {
    Statement s(*db, "SELECT seq FROM history WHERE item = ?1 AND is_label = 0 ORDER BY number DESC LIMIT 1");
    s.Bind(1, id);
    return s.Step() ? ContentOf(s.Int(0)) : QByteArray("");
}

QByteArray StoreSession::ContentOf(qint64 seq) const {
    Statement s(*db, "SELECT item, number, content, checksum FROM history WHERE seq = ?1");
    s.Bind(1, seq);
    if (!s.Step())
        Raise(StoreErrors::NoVersion, QStringLiteral("The version no longer exists."));
    QByteArray content = s.Blob(2);
    if (!Intact(content, !s.IsNull(3), s.Blob(3)))
        RaiseDamaged(s.Int(1), SpecOf(s.Int(0)));
    return content.isNull() ? QByteArray("") : content;
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

int StoreSession::Record(qint64 id, const QString& action, const QString& comment, const QByteArray& content,
                         bool isLabel, const QString& labelComment) {
    const int number = HeadNumber(id) + (isLabel ? 0 : 1);
    Statement insert(*db,
                     "INSERT INTO history(item, number, is_label, user, action, date, comment, "
                     "label_comment, content, checksum) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)");
    insert.Bind(1, id).Bind(2, number).Bind(3, isLabel ? 1 : 0).Bind(4, userName).Bind(5, action);
    insert.Bind(6, Now()).Bind(7, comment).Bind(8, labelComment);
    if (TypeOf(id) == File) {
        insert.BindBlob(9, content).BindBlob(10, TextChecksum(content));
    } else {
        insert.BindNull(9).BindBlob(10, TextChecksum(QByteArray()));
    }
    insert.Run();
    return number;
}

int StoreSession::CheckoutState(qint64 id) const {
    Statement s(*db, "SELECT COUNT(*), SUM(user = ?2) FROM checkouts WHERE item = ?1");
    s.Bind(1, id).Bind(2, userName);
    if (!s.Step() || s.Int(0) == 0)
        return 0;
    return s.Int(1) > 0 ? 2 : 1;
}

QStringList StoreSession::Holders(qint64 id) const {
    Statement s(*db, "SELECT user FROM checkouts WHERE item = ?1 ORDER BY date, rowid");
    s.Bind(1, id);
    QStringList holders;
    while (s.Step())
        holders << s.Text(0);
    return holders;
}

QString StoreSession::CheckoutLocal(qint64 id) const {
    Statement s(*db, "SELECT local FROM checkouts WHERE item = ?1 AND user = ?2");
    s.Bind(1, id).Bind(2, userName);
    return s.Step() ? s.Text(0) : QString();
}

bool StoreSession::NameTaken(qint64 parent, const QString& name, qint64 except) const {
    Statement s(*db, "SELECT 1 FROM items WHERE parent = ?1 AND name = ?2 AND deleted = 0 AND id <> ?3");
    s.Bind(1, parent).Bind(2, name).Bind(3, except);
    return s.Step();
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
