#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>

#include <functional>
#include <optional>

// One text that a run of the program left behind.
struct RecoveredText {
    QString title;  // what the window was called, such as its caption
    QString origin; // the file or object the text belongs to
    QDateTime time; // when the text was taken
    QString text;
    QString path; // the recovery file itself
};

// The recovery folder of the present user. Open editors register a source for their unsaved text;
// the texts are written when the program goes down against its will, and the next start finds them in
// Pending(). Every running copy of the program names its files after itself and holds a lock for as
// long as it runs, so only the files of copies that no longer run are ever taken for leftovers.
//
// Used from the thread that owns the windows. A window forgets its source before it goes, since the
// source is called until then. Nothing here throws: a folder that cannot be made only means that
// nothing can be kept.
class RecoveryFiles {
public:
    // Gives the present unsaved text, or "" when there is nothing unsaved.
    using TextSource = std::function<QString()>;

    explicit RecoveryFiles(const QString& folder = DefaultFolder());
    ~RecoveryFiles();
    RecoveryFiles(const RecoveryFiles&) = delete;
    RecoveryFiles& operator=(const RecoveryFiles&) = delete;

    static QString DefaultFolder();
    const QString& Folder() const { return mFolder; }
    // False when the folder could not be made private and usable.
    bool Usable() const { return mLockFd >= 0; }

    // A second call with the same id changes title, origin and source and keeps the file.
    void Register(const QString& id, const QString& title, const QString& origin, TextSource source);
    // Takes the source's text again for the crash path. Editors call it after a change, not on every key.
    void TextChanged(const QString& id);
    // The window saved or closed cleanly: its file goes too.
    void Forget(const QString& id);

    // Writes the file of every source with unsaved text and removes those of sources without; answers
    // how many texts were kept.
    int SnapshotAll();

    // The texts of earlier runs that ended without closing their windows, oldest first.
    QList<RecoveredText> Pending();
    void Discard(const RecoveredText& entry);

private:
    friend void InstallLastResortHandlers(RecoveryFiles& files);
    void makeInstalled();

    struct Source {
        QString title;
        QString origin;
        TextSource text;
        QString path;
        int crashSlot = -1;
    };

    // Nothing when the source failed: its file and copy then stay as they were.
    std::optional<QString> currentText(const Source& source) const;
    QByteArray encode(const Source& source, const QString& text) const;
    bool ownerIsGone(const QString& owner) const;
    void removeOwnerLeftovers(const QString& owner) const;

    QString mFolder;
    QString mOwner; // the prefix of this run's files
    int mLockFd = -1;
    int mNextNumber = 1;
    QMap<QString, Source> mSources;
};

// The recovery files that the last-resort handlers write: the ones installed last, or nullptr.
RecoveryFiles* InstalledRecoveryFiles();
