#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

// The tags that a default text of new objects may hold, and their replacement at the moment an
// object is created. What the user sees in the new window is plain text: the tags are replaced once.
struct DefaultTextTag {
    QString Tag;  // "<DATE>"
    QString Text; // as the Options dialog lists it: "<DATE> - Date Created (dd.mm.yyyy)"
};

// The seven tags, in the order in which they are replaced. "<TABLEWITHOWNER>" comes before "<TABLE>"
// and "<TABLEOWNER>", so that a text is read the same way whatever the user's table is called.
const QList<DefaultTextTag>& DefaultTextTags();

// What the tags stand for when one object is created.
struct DefaultTextTagValues {
    QDateTime Created;
    QString VSSUserName;
    QString SQLUserName;
    // The table whose node was selected for a new trigger; both "" for anything else, and the table
    // tags then vanish.
    QString TableName;
    QString TableOwner;
};

// Each tag in the order above is replaced in all its occurrences. Tags are compared exactly: a tag
// in other case is plain text and stays.
QString ReplaceDefaultTextTags(const QString& strText, const DefaultTextTagValues& values);
