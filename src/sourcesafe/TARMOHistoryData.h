#pragma once

#include <QDateTime>
#include <QString>

class TARMOVSS;

// One entry of a file's history, as TARMOVSS reads it. Read-only outside TARMOVSS.
class TARMOHistoryData {
public:
    long VersionNumber() const { return mVersionNumber; }
    QString UserName() const { return mUserName; }
    QString Action() const { return mAction; }
    QString VersionDate() const { return mVersionDate; }
    QString Comment() const { return mComment; }
    bool IsLabel() const { return mIsLabel; }
    QString LabelComment() const { return mLabelComment; }

    // The one text form of the dates of the history ("yyyy-MM-dd HH:mm:ss", local time), and its
    // reading back; the reader also takes the "yyyy.MM.dd" form of the date range's starting values.
    static QString FormatDate(const QDateTime& date);
    static QDateTime ParseDate(const QString& text);

private:
    friend class TARMOVSS;
    long mVersionNumber = 0;
    QString mUserName;
    QString mAction;
    QString mVersionDate;
    QString mComment;
    bool mIsLabel = false;
    QString mLabelComment;
};
