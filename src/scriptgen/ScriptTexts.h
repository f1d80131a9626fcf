#pragma once

#include <QHash>
#include <QString>

#include <memory>

class ScriptCreatorObject;
class ScriptCreatorObjects;
class VersionStore;

// The source texts of a script's entries. The latest texts of all living objects are read in one
// visit of the store when the first is asked for, so a script of thousands of objects costs a few
// store calls rather than one per object; an older version, or an object whose file was deleted,
// is read on its own.
class ScriptTexts {
public:
    explicit ScriptTexts(const ScriptCreatorObjects& entries);
    ~ScriptTexts();
    ScriptTexts(const ScriptTexts&) = delete;
    ScriptTexts& operator=(const ScriptTexts&) = delete;

    // The checked-in text at the entry's version (never a working copy).
    QString Text(const ScriptCreatorObject& entry);
    // The same with its first CREATE turned into ALTER.
    QString AlterText(const ScriptCreatorObject& entry);

private:
    void readLatest();
    QString deletedText(const ScriptCreatorObject& entry);

    const ScriptCreatorObjects& mEntries;
    bool mLatestRead = false;
    QHash<QString, QString> mLatest; // by file name in lower case
    std::unique_ptr<VersionStore> mDeletedStore;
};
