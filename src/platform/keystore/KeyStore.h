#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// The medium under the registry classes: a tree of keys under numbered roots, each key with
// named values, kept in one JSON file in the user's settings folder. Keys and values keep the
// order in which they were first written, which is the order enumeration gives back. Key and value
// names compare without regard to case, as the registry's do.
//
// Two running instances share the file safely: a writer holds a lock file for its
// read-modify-write and replaces the file in one piece, so a reader sees the old or the new
// file, never half of one. Each replace also leaves a copy of the new contents beside the file
// (registry.json.bak); a file found damaged is kept aside as registry.json.damaged-<time>, the
// copy takes its place and the user is told once. The file and its copy are private to the user.
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

    // The whole store in memory for one read-modify-write: reads see the edits made so far.
    class Batch {
    public:
        bool KeyExists(long root, const QString& path) const;
        std::optional<QList<Value>> Values(long root, const QString& path) const;
        std::optional<QStringList> SubKeys(long root, const QString& path) const;
        void CreateKey(long root, const QString& path);
        void SetValue(long root, const QString& path, const Value& value);
        // False when the key is missing or has subkeys.
        bool DeleteKey(long root, const QString& path);

    private:
        friend class KeyStore;
        QJsonObject mDocument;
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

    // Runs edit on the current contents while holding the lock, and replaces the file with the
    // result in one piece when edit answers true (nothing is written when it answers false). Throws
    // TARMOError, naming the lock file, when another process holds the lock past LockTimeout(), and
    // when the file can't be written: the caller's change is then not saved and must say so.
    bool Update(const std::function<bool(Batch&)>& edit);

    // How long a writer waits for another one's lock. A holder that has ended frees the lock at
    // once; one that is stopped or hung keeps it, and the wait ends with an error.
    int LockTimeout() const { return mLockTimeout; }
    void SetLockTimeout(int milliseconds) { mLockTimeout = milliseconds; }
    // The wait that new stores start with.
    static void SetDefaultLockTimeout(int milliseconds);

    // The single-value writes below are each one Update; they answer false instead of throwing.
    // Creates the key and its parents as needed. False when the store can't be written.
    bool CreateKey(long root, const QString& path);
    // Writes a value, replacing one of the same name in its place or adding it at the end.
    bool SetValue(long root, const QString& path, const Value& value);
    // Removes a key that has no subkeys. False when it is missing, has subkeys or can't be written.
    bool DeleteKey(long root, const QString& path);

private:
    QJsonObject currentDocument() const;

    QString mPath;
    int mLockTimeout;
};
