#pragma once

#include <QString>

#include <memory>

class TARMOObjectVSS;

// What an entry of the list does to its object in the script.
enum class ScriptAction : long { Create = 1, Alter = 2, Drop = 3, None = 4 };

// One entry of the list of objects to script. The list holds a reference to the object and does
// not own it: the object belongs to its list in the core (or, in a compare, to the other
// database's list), which outlives the script run.
class ScriptCreatorObject {
public:
    // Position in the list, from 1; the list keeps it.
    long Index() const { return mIndex; }

    const std::shared_ptr<TARMOObjectVSS>& ScriptObject() const { return mScriptObject; }
    void SetScriptObject(std::shared_ptr<TARMOObjectVSS> object) { mScriptObject = std::move(object); }

    ScriptAction Action() const { return mAction; }
    void SetAction(ScriptAction action) { mAction = action; }

    // The store's version of the text; -1 is the latest.
    long VersionNumber() const { return mVersionNumber; }
    void SetVersionNumber(long version) { mVersionNumber = version; }

private:
    friend class ScriptCreatorObjects;

    long mIndex = 0;
    std::shared_ptr<TARMOObjectVSS> mScriptObject;
    ScriptAction mAction = ScriptAction::Create;
    long mVersionNumber = -1;
};
