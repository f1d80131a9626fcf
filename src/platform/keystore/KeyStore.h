#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The medium under the registry classes: a tree of keys under numbered roots, each key with
// named values, kept in one JSON file in the user's settings folder. Keys and values keep the
// order in which they were first written, which is the order enumeration gives back. Key and value
// names compare without regard to case, as the registry's do.
//
// Two running instances share the file safely: a writer holds a lock file for its
// read-modify-write and replaces the file in one piece, so a reader sees the old or the new
// file, never half of one.
class KeyStore {
public:
    // Value types, numbered as the registry numbers them.
    enum Type { String = 1, Binary = 3 };

    struct Value {
        QString name;
        int type = String;
        QString text;    // String: the text without its terminating zero
        QByteArray data; // any other type: the bytes
    };

    // The store's file; DefaultPath() is registry.json in the settings folder.
    explicit KeyStore(QString filePath = DefaultPath());
    static QString DefaultPath();
    const QString& FilePath() const { return mPath; }

    bool KeyExists(long root, const QString& path) const;
    // The values of a key in enumeration order; nullopt when the key doesn't exist.
    std::optional<QList<Value>> Values(long root, const QString& path) const;
    // The names of the subkeys in enumeration order; nullopt when the key doesn't exist.
    std::optional<QStringList> SubKeys(long root, const QString& path) const;

    // Creates the key and its parents as needed. False when the store can't be written.
    bool CreateKey(long root, const QString& path);
    // Writes a value, replacing one of the same name in its place or adding it at the end.
    bool SetValue(long root, const QString& path, const Value& value);
    // Removes a key that has no subkeys. False when it is missing, has subkeys or can't be written.
    bool DeleteKey(long root, const QString& path);

private:
    QString mPath;
};
