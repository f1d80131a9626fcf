#pragma once

#include "ScriptCreatorObjects.h"

#include <QDateTime>
#include <QString>

#include <memory>

class TARMOSQL;

// The mode of a script run: which objects go into the list, and with what action.
enum class ScriptMode : long {
    None = 0,
    TimeFrame = 1, // the changes the store recorded in a time frame
    Compare = 2,   // the differences to another database
    All = 3,       // every object the project's server holds
    Custom = 4     // the objects the user picked
};

// What the script generator remembers between two uses (per project and user, in the
// `_scripts.xml` file), the connection to the other database of a compare, and the list of objects
// to script. One per wizard run or command line call.
class ScriptCreator {
public:
    ScriptCreator();
    ~ScriptCreator();
    ScriptCreator(const ScriptCreator&) = delete;
    ScriptCreator& operator=(const ScriptCreator&) = delete;

    // 0 where no mode was chosen yet, else 1 to 4.
    long OptionSelected() const { return mOptionSelected; }
    void SetOptionSelected(long option) { mOptionSelected = option; }
    ScriptMode Mode() const { return static_cast<ScriptMode>(mOptionSelected); }

    // The other database of a compare: server, database, user and authentication come from the
    // settings file; the password never does.
    TARMOSQL& SQLConnection() const { return *mSQLConnection; }
    ScriptCreatorObjects& ObjectsToScript() { return mObjectsToScript; }
    const ScriptCreatorObjects& ObjectsToScript() const { return mObjectsToScript; }

    const QString& FileName() const { return mFileName; }
    void SetFileName(const QString& fileName) { mFileName = fileName; }
    // The time frame as the date pickers hold it (see DateText); "" until a first value is set.
    const QString& VSSStart() const { return mVSSStart; }
    void SetVSSStart(const QString& start) { mVSSStart = start; }
    const QString& VSSEnd() const { return mVSSEnd; }
    void SetVSSEnd(const QString& end) { mVSSEnd = end; }
    bool VSSIsToday() const { return mVSSIsToday; }
    void SetVSSIsToday(bool today) { mVSSIsToday = today; }
    // Drop every object at the beginning of a complete or custom script.
    bool DropObjects() const { return mDropObjects; }
    void SetDropObjects(bool drop) { mDropObjects = drop; }
    bool CreatePermission() const { return mCreatePermission; }
    void SetCreatePermission(bool create) { mCreatePermission = create; }
    // Creates ordered so that an object comes after the objects its text uses; on by default.
    bool DependencyOrder() const { return mDependencyOrder; }
    void SetDependencyOrder(bool order) { mDependencyOrder = order; }

    // Reads the file; a file that isn't there changes nothing. A file that can't be read as XML
    // leaves every value as it was and tells the user so through the prompts. Values that don't pass
    // their checks are skipped without a word.
    void LoadDocumentSettings(const QString& fileName);
    // Writes the whole file in one piece; False after telling the user why it failed.
    bool SaveDocumentSettings(const QString& fileName) const;

    // The settings file of a project for the present user (or the user named), in that user's own
    // folder under the program's per-user folder.
    static QString SettingsFileName(const QString& projectName, const QString& userName = QString());
    // Creates the user's folder of the settings file where it isn't there.
    static void EnsureSettingsFolder(const QString& settingsFileName);

    // A date as the settings file and the date pickers hold it, and back (an invalid QDateTime for
    // a text that is no date).
    static QString DateText(const QDateTime& date);
    static QDateTime ParseDateText(const QString& text);

private:
    long mOptionSelected = 0;
    std::unique_ptr<TARMOSQL> mSQLConnection;
    ScriptCreatorObjects mObjectsToScript;
    QString mFileName;
    QString mVSSStart;
    QString mVSSEnd;
    bool mVSSIsToday = false;
    bool mDropObjects = false;
    bool mCreatePermission = false;
    bool mDependencyOrder = true;
};
