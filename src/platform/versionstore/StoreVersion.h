#pragma once

#include <QDateTime>
#include <QString>

#include <memory>

struct StoreSession;

// One entry of an item's history: a version, or a label on a version (which shares its number).
class StoreVersion {
public:
    int VersionNumber() const { return mNumber; }
    QString UserName() const { return mUser; }
    QString Action() const { return mAction; }
    QDateTime Date() const { return mDate; }
    QString Comment() const { return mComment; }
    QString LabelComment() const { return mLabelComment; }
    bool IsLabel() const { return mIsLabel; }

    // The item's text as it stood at this entry.
    QByteArray Text() const;
    // Writes that text to a local file, read-only: an old version is never something to edit. Refuses,
    // like a get of the item, to replace the connected user's checked-out working file.
    void Get(QString& local) const;

private:
    friend class StoreItem;
    std::shared_ptr<StoreSession> mSession;
    qint64 mItem = 0;
    qint64 mSeq = 0;
    int mNumber = 0;
    QString mUser, mAction, mComment, mLabelComment;
    QDateTime mDate;
    bool mIsLabel = false;
};
