#include "KeyStore.h"

#include "GeneralHelpers.h"
#include "TARMOError.h"
#include "UserPrompts.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QLockFile>
#include <QSaveFile>

#include <atomic>
#include <functional>

// File layout:
// { "roots": [ { "root": 2147483649, "keys": [ <key> ... ] } ] }
// <key>: { "name": "...", "values": [ { "name": "...", "type": 1, "text": "..." } |
//                                     { "name": "...", "type": 3, "hex": "0aff" } ],
//          "keys": [ <key> ... ] }

namespace {

const QString kRoots = QStringLiteral("roots");
const QString kRoot = QStringLiteral("root");
const QString kKeys = QStringLiteral("keys");
const QString kValues = QStringLiteral("values");
const QString kName = QStringLiteral("name");
const QString kType = QStringLiteral("type");
const QString kText = QStringLiteral("text");
const QString kHex = QStringLiteral("hex");

QStringList splitPath(const QString& path) {
    return path.split(QLatin1Char('\\'), Qt::SkipEmptyParts);
}

bool sameName(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// A file that is there but doesn't hold a store (cut short, overwritten with something else).
struct Damaged {};

// The file's contents; empty when there is no file. Throws Damaged.
QJsonObject readDocument(const QString& filePath) {
    QFile file(filePath);
    if (!file.exists())
        return {};
    if (!file.open(QIODevice::ReadOnly))
        throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("Settings"),
                         QStringLiteral("The settings file %1 could not be read: %2")
                             .arg(QDir::toNativeSeparators(filePath), file.errorString()));
    QJsonParseError error{};
    const auto doc = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        throw Damaged{};
    return doc.object();
}

// The contents, or nullopt when the file is missing, unreadable or damaged.
std::optional<QJsonObject> tryReadDocument(const QString& filePath) {
    if (!QFile::exists(filePath))
        return std::nullopt;
    try {
        return readDocument(filePath);
    } catch (...) {
        return std::nullopt;
    }
}

// Finds the key object along the path inside a root's key list; nullopt when any step is missing.
std::optional<QJsonObject> findKey(const QJsonObject& document, long root, const QString& path) {
    const auto parts = splitPath(path);
    for (const auto& r : document.value(kRoots).toArray()) {
        const auto rootObject = r.toObject();
        if (static_cast<long>(rootObject.value(kRoot).toDouble()) != root)
            continue;
        QJsonObject current = rootObject;
        for (const auto& part : parts) {
            bool found = false;
            for (const auto& k : current.value(kKeys).toArray()) {
                if (sameName(k.toObject().value(kName).toString(), part)) {
                    current = k.toObject();
                    found = true;
                    break;
                }
            }
            if (!found)
                return std::nullopt;
        }
        return current;
    }
    return std::nullopt;
}

KeyStore::Value valueFromJson(const QJsonObject& object) {
    KeyStore::Value v;
    v.name = object.value(kName).toString();
    v.type = object.value(kType).toInt(KeyStore::String);
    if (v.type == KeyStore::String)
        v.text = object.value(kText).toString();
    else
        v.data = QByteArray::fromHex(object.value(kHex).toString().toLatin1());
    return v;
}

QJsonObject valueToJson(const KeyStore::Value& v) {
    QJsonObject object{{kName, v.name}, {kType, v.type}};
    if (v.type == KeyStore::String)
        object.insert(kText, v.text);
    else
        object.insert(kHex, QString::fromLatin1(v.data.toHex()));
    return object;
}

// Walks (and with create, makes) the path below a key object, then lets change() edit the last
// key. Returns False when a step is missing and create is off, or when change() refuses.
bool editPath(QJsonObject& key, QStringList parts, bool create,
              const std::function<bool(QJsonObject&)>& change) {
    if (parts.isEmpty())
        return change(key);
    const QString part = parts.takeFirst();
    QJsonArray keys = key.value(kKeys).toArray();
    for (qsizetype i = 0; i < keys.size(); ++i) {
        QJsonObject child = keys[i].toObject();
        if (sameName(child.value(kName).toString(), part)) {
            if (!editPath(child, parts, create, change))
                return false;
            keys[i] = child;
            key.insert(kKeys, keys);
            return true;
        }
    }
    if (!create)
        return false;
    QJsonObject child{{kName, part}};
    if (!editPath(child, parts, create, change))
        return false;
    keys.append(child);
    key.insert(kKeys, keys);
    return true;
}

// Walks (and with create, makes) root and path in the document, then lets change() edit the key.
bool editDocument(QJsonObject& document, long root, const QString& path, bool create,
                  const std::function<bool(QJsonObject&)>& change) {
    QJsonArray roots = document.value(kRoots).toArray();
    qsizetype index = -1;
    for (qsizetype i = 0; i < roots.size(); ++i)
        if (static_cast<long>(roots[i].toObject().value(kRoot).toDouble()) == root)
            index = i;
    if (index < 0 && !create)
        return false;
    QJsonObject rootObject = index >= 0 ? roots[index].toObject() : QJsonObject{{kRoot, double(root)}};
    if (!editPath(rootObject, splitPath(path), create, change))
        return false;
    if (index >= 0)
        roots[index] = rootObject;
    else
        roots.append(rootObject);
    document.insert(kRoots, roots);
    return true;
}

std::atomic<int> gDefaultLockTimeout{5000};

constexpr QFile::Permissions kPrivateFile = QFile::ReadOwner | QFile::WriteOwner;

QString backupPath(const QString& filePath) {
    return filePath + QStringLiteral(".bak");
}

QString lockPath(const QString& filePath) {
    return filePath + QStringLiteral(".lock");
}

QString native(const QString& path) {
    return QDir::toNativeSeparators(path);
}

TARMOError settingsError(const QString& text) {
    return TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("Settings"), text);
}

// The settings folder holds passwords of projects: only its owner may look inside.
void makePrivateFolder(const QString& filePath) {
    const QString folder = QFileInfo(filePath).absolutePath();
    QDir().mkpath(folder);
    QFile::setPermissions(folder, kPrivateFile | QFile::ExeOwner);
}

// Replaces the file in one piece with private permissions; false with the reason in error.
bool writeWhole(const QString& filePath, const QByteArray& bytes, QString& error) {
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        error = file.errorString();
        return false;
    }
    file.setPermissions(kPrivateFile);
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        error = file.errorString();
        return false;
    }
    QFile::setPermissions(filePath, kPrivateFile);
    return true;
}

// Holds the lock file for one read-modify-write, or throws after the wait, naming the holder.
class WriterLock {
public:
    WriterLock(const QString& filePath, int timeout)
        : mLock(lockPath(filePath)) {
        // Only a holder that has ended gives its lock up; one that is merely slow or stopped must not
        // have its change overwritten, however long it takes.
        mLock.setStaleLockTime(0);
        if (mLock.tryLock(timeout))
            return;
        qint64 pid = 0;
        QString host, application;
        const bool known = mLock.getLockInfo(&pid, &host, &application);
        const QString holder = known ? QStringLiteral("another running copy (process %1)").arg(pid)
                                     : QStringLiteral("another running copy");
        throw settingsError(
            QStringLiteral("The settings could not be saved: %1 has held the lock file %2 for too long. "
                           "Nothing was changed. Close or end that copy, or delete the lock file if no "
                           "copy is running, and try again.")
                .arg(holder, native(lockPath(filePath))));
    }

private:
    QLockFile mLock;
};

// With the lock held: a damaged file is kept aside, the last good copy (if any) takes its place, and
// the user is told once. Gives the contents that are now in the file.
QJsonObject recoverDamaged(const QString& filePath) {
    const QString aside = filePath + QStringLiteral(".damaged-") +
                          QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    if (!QFile::rename(filePath, aside))
        throw settingsError(
            QStringLiteral("The settings file %1 is damaged and could not be kept aside as %2.")
                .arg(native(filePath), native(aside)));
    const auto backup = tryReadDocument(backupPath(filePath));
    QString text;
    if (backup) {
        QString error;
        QFile backupFile(backupPath(filePath));
        backupFile.open(QIODevice::ReadOnly);
        if (!writeWhole(filePath, backupFile.readAll(), error))
            throw settingsError(QStringLiteral("The settings file %1 could not be restored from %2: %3")
                                    .arg(native(filePath), native(backupPath(filePath)), error));
        text =
            QStringLiteral("The settings file %1 was damaged. It has been kept as %2, and the last good copy "
                           "of the settings has been restored from %3.")
                .arg(native(filePath), native(aside), native(backupPath(filePath)));
    } else {
        text = QStringLiteral(
                   "The settings file %1 was damaged and there is no good copy of it. It has been kept "
                   "as %2; TARMO starts with default settings and no project records.")
                   .arg(native(filePath), native(aside));
    }
    MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Settings"));
    return backup.value_or(QJsonObject());
}

} // namespace

// --- Batch

bool KeyStore::Batch::KeyExists(long root, const QString& path) const {
    return findKey(mDocument, root, path).has_value();
}

std::optional<QList<KeyStore::Value>> KeyStore::Batch::Values(long root, const QString& path) const {
    const auto key = findKey(mDocument, root, path);
    if (!key)
        return std::nullopt;
    QList<Value> values;
    for (const auto& v : key->value(kValues).toArray())
        values << valueFromJson(v.toObject());
    return values;
}

std::optional<QStringList> KeyStore::Batch::SubKeys(long root, const QString& path) const {
    const auto key = findKey(mDocument, root, path);
    if (!key)
        return std::nullopt;
    QStringList names;
    for (const auto& k : key->value(kKeys).toArray())
        names << k.toObject().value(kName).toString();
    return names;
}

void KeyStore::Batch::CreateKey(long root, const QString& path) {
    editDocument(mDocument, root, path, true, [](QJsonObject&) { return true; });
}

void KeyStore::Batch::SetValue(long root, const QString& path, const Value& value) {
    editDocument(mDocument, root, path, true, [&](QJsonObject& key) {
        QJsonArray values = key.value(kValues).toArray();
        for (qsizetype i = 0; i < values.size(); ++i) {
            if (sameName(values[i].toObject().value(kName).toString(), value.name)) {
                values[i] = valueToJson(value);
                key.insert(kValues, values);
                return true;
            }
        }
        values.append(valueToJson(value));
        key.insert(kValues, values);
        return true;
    });
}

bool KeyStore::Batch::DeleteKey(long root, const QString& path) {
    QStringList parts = splitPath(path);
    if (parts.isEmpty())
        return false;
    const QString last = parts.takeLast();
    return editDocument(mDocument, root, parts.join(QLatin1Char('\\')), false, [&](QJsonObject& parent) {
        QJsonArray keys = parent.value(kKeys).toArray();
        for (qsizetype i = 0; i < keys.size(); ++i) {
            const auto child = keys[i].toObject();
            if (sameName(child.value(kName).toString(), last)) {
                if (!child.value(kKeys).toArray().isEmpty())
                    return false;
                keys.removeAt(i);
                parent.insert(kKeys, keys);
                return true;
            }
        }
        return false;
    });
}

// --- KeyStore

KeyStore::KeyStore(QString filePath)
    : mPath(std::move(filePath))
    , mLockTimeout(gDefaultLockTimeout) {}

QString KeyStore::DefaultPath() {
    return ConfigFolder() + QStringLiteral("/registry.json");
}

void KeyStore::SetDefaultLockTimeout(int milliseconds) {
    gDefaultLockTimeout = milliseconds;
}

QJsonObject KeyStore::currentDocument() const {
    try {
        return readDocument(mPath);
    } catch (const Damaged&) {
    } catch (const TARMOError&) {
        return tryReadDocument(backupPath(mPath)).value_or(QJsonObject());
    }
    // Recovery needs the lock; a reader that can't have it sees the last good copy for now and leaves
    // the repair to the next one.
    try {
        WriterLock lock(mPath, mLockTimeout);
        try {
            return readDocument(mPath);
        } catch (const Damaged&) {
            return recoverDamaged(mPath);
        }
    } catch (const TARMOError&) {
        return tryReadDocument(backupPath(mPath)).value_or(QJsonObject());
    }
}

bool KeyStore::KeyExists(long root, const QString& path) const {
    Batch batch;
    batch.mDocument = currentDocument();
    return batch.KeyExists(root, path);
}

std::optional<QList<KeyStore::Value>> KeyStore::Values(long root, const QString& path) const {
    Batch batch;
    batch.mDocument = currentDocument();
    return batch.Values(root, path);
}

std::optional<QStringList> KeyStore::SubKeys(long root, const QString& path) const {
    Batch batch;
    batch.mDocument = currentDocument();
    return batch.SubKeys(root, path);
}

bool KeyStore::Update(const std::function<bool(Batch&)>& edit) {
    makePrivateFolder(mPath);
    WriterLock lock(mPath, mLockTimeout);
    Batch batch;
    try {
        batch.mDocument = readDocument(mPath);
    } catch (const Damaged&) {
        batch.mDocument = recoverDamaged(mPath);
    }
    if (!edit(batch))
        return false;
    const QByteArray bytes = QJsonDocument(batch.mDocument).toJson(QJsonDocument::Indented);
    QString error;
    if (!writeWhole(mPath, bytes, error))
        throw settingsError(
            QStringLiteral("The settings could not be saved to %1: %2").arg(native(mPath), error));
    // The copy that replaces the file should it ever be found damaged. The settings are saved
    // already; a copy that can't be written leaves the previous one.
    writeWhole(backupPath(mPath), bytes, error);
    return true;
}

namespace {
// The single-value writes answer false rather than throw; their callers decide what to tell.
template <class F> bool quietly(F&& f) {
    try {
        return f();
    } catch (const TARMOError&) {
        return false;
    }
}
} // namespace

bool KeyStore::CreateKey(long root, const QString& path) {
    return quietly([&] {
        return Update([&](Batch& batch) {
            batch.CreateKey(root, path);
            return true;
        });
    });
}

bool KeyStore::SetValue(long root, const QString& path, const Value& value) {
    return quietly([&] {
        return Update([&](Batch& batch) {
            batch.SetValue(root, path, value);
            return true;
        });
    });
}

bool KeyStore::DeleteKey(long root, const QString& path) {
    return quietly([&] { return Update([&](Batch& batch) { return batch.DeleteKey(root, path); }); });
}
