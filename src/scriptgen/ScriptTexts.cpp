#include "ScriptTexts.h"

#include "ScriptCreatorObjects.h"
#include "SyncTexts.h"
#include "TARMOError.h"
#include "TARMOObjectVSS.h"
#include "TARMOVSS.h"
#include "VersionStore.h"
#include "modParser.h"

ScriptTexts::ScriptTexts(const ScriptCreatorObjects& entries)
    : mEntries(entries) {}

ScriptTexts::~ScriptTexts() = default;

QString ScriptTexts::Text(const ScriptCreatorObject& entry) {
    TARMOObjectVSS& object = *entry.ScriptObject();
    // An object the store doesn't hold yet has its only text on the project's server.
    if (!object.InVSS() && object.InSQL())
        return object.GetContent(TARMOObjectVSS::LocationSQL);
    if (entry.VersionNumber() == -1) {
        readLatest();
        const auto found = mLatest.constFind(object.ItemName().toLower());
        if (found != mLatest.constEnd())
            return *found;
    }
    if (object.IsDeleted())
        return deletedText(entry);
    return object.GetContent(TARMOObjectVSS::LocationVSS, entry.VersionNumber());
}

QString ScriptTexts::AlterText(const ScriptCreatorObject& entry) {
    return modParser::ReplaceFirstWord(Text(entry), QStringLiteral("CREATE"), QStringLiteral("ALTER"));
}

void ScriptTexts::readLatest() {
    if (mLatestRead)
        return;
    mLatestRead = true;
    TARMOVSS* vss = nullptr;
    QStringList names;
    QStringList heldByMe;
    for (const ScriptCreatorObject& entry : mEntries) {
        const bool hasText = entry.Action() == ScriptAction::Create || entry.Action() == ScriptAction::Alter;
        const std::shared_ptr<TARMOObjectVSS>& object = entry.ScriptObject();
        if (!hasText || entry.VersionNumber() != -1 || !object || !object->ActiveVSSConnection())
            continue;
        vss = object->ActiveVSSConnection();
        names << object->ItemName();
        if (object->IsCheckedOutByMe())
            heldByMe << object->ItemName();
    }
    if (!vss || names.isEmpty())
        return;
    try {
        mLatest = SyncTexts::StoredTexts(*vss, names, heldByMe);
    } catch (const TARMOError&) {
        // Each object then reads its own text, and tells the user where that fails.
        mLatest.clear();
    }
}

// The store connection reads living files only; a deleted object's text comes from a session of our
// own, opened once for the run.
QString ScriptTexts::deletedText(const ScriptCreatorObject& entry) {
    TARMOObjectVSS& object = *entry.ScriptObject();
    TARMOVSS* vss = object.ActiveVSSConnection();
    if (!vss)
        return QString();
    try {
        if (!mDeletedStore) {
            auto store = std::make_unique<VersionStore>();
            store->Open(vss->IniFile(), vss->UserName(), vss->Password());
            store->SetCurrentProject(vss->Project());
            mDeletedStore = std::move(store);
        }
        const StoreItem item =
            mDeletedStore->Item(mDeletedStore->CurrentProject() + QLatin1Char('/') + object.ItemName(), true);
        for (const StoreVersion& version : item.Versions()) {
            if (version.IsLabel())
                continue;
            if (entry.VersionNumber() == -1 || version.VersionNumber() == entry.VersionNumber())
                return QString::fromUtf8(version.Text());
        }
    } catch (const TARMOError&) {
        // Recovered or gone since the list was built: the object's own read says what it holds now.
        return object.GetContent(TARMOObjectVSS::LocationVSS, entry.VersionNumber());
    }
    return QString();
}
