#include "KeyStore.h"

#include "GeneralHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSaveFile>

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

QJsonObject readDocument(const QString& filePath) {
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto doc = QJsonDocument::fromJson(file.readAll());
    return doc.isObject() ? doc.object() : QJsonObject();
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

} // namespace

KeyStore::KeyStore(QString filePath)
    : mPath(std::move(filePath)) {}

QString KeyStore::DefaultPath() {
    return ConfigFolder() + QStringLiteral("/registry.json");
}

bool KeyStore::KeyExists(long root, const QString& path) const {
    return findKey(readDocument(mPath), root, path).has_value();
}

std::optional<QList<KeyStore::Value>> KeyStore::Values(long root, const QString& path) const {
    const auto key = findKey(readDocument(mPath), root, path);
    if (!key)
        return std::nullopt;
    QList<Value> values;
    for (const auto& v : key->value(kValues).toArray())
        values << valueFromJson(v.toObject());
    return values;
}

std::optional<QStringList> KeyStore::SubKeys(long root, const QString& path) const {
    const auto key = findKey(readDocument(mPath), root, path);
    if (!key)
        return std::nullopt;
    QStringList names;
    for (const auto& k : key->value(kKeys).toArray())
        names << k.toObject().value(kName).toString();
    return names;
}

namespace {

// One read-modify-write of the whole file under the lock.
bool modify(const QString& filePath, long root, const QString& path, bool create,
            const std::function<bool(QJsonObject&)>& change) {
    QDir().mkpath(QFileInfo(filePath).absolutePath());
    QLockFile lock(filePath + QStringLiteral(".lock"));
    lock.setStaleLockTime(10000);
    if (!lock.tryLock(10000))
        return false;

    QJsonObject document = readDocument(filePath);
    if (document.isEmpty() && QFileInfo(filePath).size() > 0) {
        // Unreadable content is kept aside rather than silently overwritten.
        QFile::rename(filePath, filePath + QStringLiteral(".damaged"));
    }
    QJsonArray roots = document.value(kRoots).toArray();
    qsizetype index = -1;
    for (qsizetype i = 0; i < roots.size(); ++i)
        if (static_cast<long>(roots[i].toObject().value(kRoot).toDouble()) == root)
            index = i;
    QJsonObject rootObject = index >= 0 ? roots[index].toObject() : QJsonObject{{kRoot, double(root)}};
    if (!editPath(rootObject, splitPath(path), create, change))
        return false;
    if (index >= 0)
        roots[index] = rootObject;
    else
        roots.append(rootObject);
    document.insert(kRoots, roots);

    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(QJsonDocument(document).toJson(QJsonDocument::Indented));
    return file.commit();
}

} // namespace

bool KeyStore::CreateKey(long root, const QString& path) {
    return modify(mPath, root, path, true, [](QJsonObject&) { return true; });
}

bool KeyStore::SetValue(long root, const QString& path, const Value& value) {
    return modify(mPath, root, path, true, [&](QJsonObject& key) {
        QJsonArray values = key.value(kValues).toArray();
        bool replaced = false;
        for (qsizetype i = 0; i < values.size() && !replaced; ++i) {
            if (sameName(values[i].toObject().value(kName).toString(), value.name)) {
                values[i] = valueToJson(value);
                replaced = true;
            }
        }
        if (!replaced)
            values.append(valueToJson(value));
        key.insert(kValues, values);
        return true;
    });
}

bool KeyStore::DeleteKey(long root, const QString& path) {
    QStringList parts = splitPath(path);
    if (parts.isEmpty())
        return false;
    const QString last = parts.takeLast();
    return modify(mPath, root, parts.join(QLatin1Char('\\')), false, [&](QJsonObject& parent) {
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
