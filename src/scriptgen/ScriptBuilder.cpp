#include "ScriptBuilder.h"

#include "ScriptMessages.h"
#include "ScriptSteps.h"
#include "SyncTexts.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOHistoryData.h"
#include "TARMOObjectList.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "UserPrompts.h"
#include "modParser.h"

#include <QHash>

namespace {

// The core's list progress drives the running step for as long as a builder runs, and the cancel
// flag of the steps stops a long read.
class ProgressRelay {
public:
    ProgressRelay(TARMODatabaseObjects& core, ScriptSteps& steps)
        : mCore(core)
        , mPrevious(core.RetrieveStatusChange) {
        core.RetrieveStatusChange = [&steps](const QString&, const QString&, long current, long total,
                                             bool& cancel) {
            if (current == 0)
                steps.SetStepRange(total);
            steps.ShowStepProgress(current);
            cancel = steps.CancelRequested();
        };
    }
    ~ProgressRelay() { mCore.RetrieveStatusChange = mPrevious; }
    ProgressRelay(const ProgressRelay&) = delete;
    ProgressRelay& operator=(const ProgressRelay&) = delete;

private:
    TARMODatabaseObjects& mCore;
    decltype(TARMODatabaseObjects::RetrieveStatusChange) mPrevious;
};

QString identity(const TARMOObjectVSS& object) {
    return object.Owner().toLower() + QLatin1Char('.') + object.Name().toLower();
}

TARMOObjectList* listOfType(const QList<TARMOObjectList*>& lists, const QString& type) {
    for (TARMOObjectList* list : lists)
        if (list && list->ObjectType() == type)
            return list;
    return nullptr;
}

} // namespace

bool ScriptTimeFrame::Contains(const QDateTime& date, const QDateTime& now) const {
    if (!date.isValid())
        return false;
    const qint64 at = date.toSecsSinceEpoch();
    const QDateTime end = UntilToday ? now : Until;
    return at >= From.toSecsSinceEpoch() && at <= end.toSecsSinceEpoch();
}

ScriptBuilder::ScriptBuilder(TARMODatabaseObjects& core, ScriptCreator& creator, ScriptSteps& steps)
    : mCore(core)
    , mCreator(creator)
    , mSteps(steps) {}

QString ScriptBuilder::ProgressCaption(ScriptMode mode) {
    switch (mode) {
    case ScriptMode::TimeFrame:
        return QStringLiteral("Creating object list for time frame ...");
    case ScriptMode::Compare:
        return QStringLiteral("Comparing to the specified database ...");
    case ScriptMode::All:
        return QStringLiteral("Finding all objects that need to be scripted ...");
    case ScriptMode::Custom:
        return QStringLiteral("Finding relevant information ...");
    case ScriptMode::None:
        break;
    }
    return QString();
}

ScriptField ScriptBuilder::CheckTimeFrame(const QDateTime& from, const QDateTime& until, bool untilToday,
                                          const QDateTime& now) {
    if (!from.isValid()) {
        ScriptMessages::NoFromDate();
        return ScriptField::From;
    }
    if (!untilToday && !until.isValid()) {
        ScriptMessages::NoUntilDate();
        return ScriptField::Until;
    }
    if (!untilToday && until.toSecsSinceEpoch() < from.toSecsSinceEpoch()) {
        ScriptMessages::UntilBeforeFrom();
        return ScriptField::Until;
    }
    if (untilToday && from.toSecsSinceEpoch() > now.toSecsSinceEpoch()) {
        ScriptMessages::FromInFuture();
        return ScriptField::From;
    }
    return ScriptField::None;
}

ScriptField ScriptBuilder::CheckOtherDatabase(const QString& server, const QString& userName,
                                              const QString& password, bool useWindowsAuth,
                                              const QString& database) {
    if (server.trimmed().isEmpty()) {
        ScriptMessages::ServerMissing();
        return ScriptField::Server;
    }
    if (!useWindowsAuth && userName.trimmed().isEmpty()) {
        ScriptMessages::UsernameMissing();
        return ScriptField::UserName;
    }
    if (database.trimmed().isEmpty()) {
        ScriptMessages::DatabaseMissing();
        return ScriptField::Database;
    }
    BusyCursor busy;
    TARMOSQL& other = mCreator.SQLConnection();
    other.SetServer(server);
    other.SetDatabase(database);
    other.SetUseWinNTAuth(useWindowsAuth);
    other.SetUserName(useWindowsAuth ? QString() : userName);
    other.SetPassword(useWindowsAuth ? QString() : password);
    const QString error =
        other.TestConnection(server, database, other.UserName(), other.Password(), useWindowsAuth);
    if (!error.isEmpty()) {
        ScriptMessages::CouldNotConnect(error);
        return ScriptField::Database;
    }
    const QString opened = openOther();
    if (!opened.isEmpty()) {
        ScriptMessages::CouldNotConnect(opened);
        return ScriptField::Database;
    }
    const bool projectHasFunctions =
        mCore.Project() && mCore.Project()->SQL().UserDefinedFunctionsAllowed(true);
    const bool otherHasFunctions = other.UserDefinedFunctionsAllowed(true);
    const bool declined =
        projectHasFunctions && !otherHasFunctions && !ScriptMessages::ContinueWithoutUserDefinedFunctions();
    other.CloseConnection();
    return declined ? ScriptField::Database : ScriptField::None;
}

QString ScriptBuilder::openOther() {
    TARMOSQL& other = mCreator.SQLConnection();
    return other.OpenConnection(other.Server(), other.Database(), other.UserName(), other.Password(),
                                other.UseWinNTAuth() ? TARMOSQL::kWindowsAuthentication : 0, true);
}

bool ScriptBuilder::loadCurrentLists(const TARMODBTItems& types, QList<TARMOObjectList*>& lists) {
    bool ok = true;
    types.ForEach([&](const TARMODBTItem& type) {
        if (!ok)
            return;
        mSteps.NextStep();
        TARMOObjectList* list = mCore.GetObjectObjects(type.Key);
        lists.append(list);
        ok = list != nullptr && !mSteps.CancelRequested();
    });
    return ok;
}

bool ScriptBuilder::loadDeletedObjects(const TARMODBTItems& types,
                                       QList<std::shared_ptr<TARMOObjectVSS>>& deleted) {
    bool ok = true;
    types.ForEach([&](const TARMODBTItem& type) {
        if (!ok)
            return;
        mSteps.NextStep();
        const QList<std::shared_ptr<TARMODBTItems>> found = mCore.GetObjectsForUndeleteing(type.Key);
        if (!found.isEmpty() && found.first()) {
            found.first()->ForEach([&](const TARMODBTItem& item) {
                if (const auto object = mCore.GetObject(item.Tag, item.Key, true).Versioned())
                    deleted.append(object);
            });
        }
        ok = !mSteps.CancelRequested();
    });
    return ok;
}

long ScriptBuilder::latestVersionInFrame(TARMOObjectVSS& object, const ScriptTimeFrame& frame,
                                         const QDateTime& now) {
    long best = -1;
    qint64 bestSeconds = TARMOHistoryData::ParseDate(QStringLiteral("1900.01.01")).toSecsSinceEpoch();
    for (const TARMODateSummaryEntry& version : object.DateSummary(true)) {
        const QDateTime date = TARMOHistoryData::ParseDate(version.VersionDate);
        if (frame.Contains(date, now) && date.toSecsSinceEpoch() > bestSeconds) {
            bestSeconds = date.toSecsSinceEpoch();
            best = version.VersionNumber.toLong();
        }
    }
    return best;
}

ScriptBuildOutcome ScriptBuilder::BuildTimeFrameList(const ScriptTimeFrame& frame) {
    ScriptCreatorObjects& entries = mCreator.ObjectsToScript();
    entries.Clear();
    mSteps.Clear();
    const std::unique_ptr<TARMODBTItems> types = mCore.GetItemsForScriptGen();
    mSteps.AddTypeSteps(*types, false, false);
    mSteps.AddTypeSteps(*types, true, false);
    mSteps.AddStep(QStringLiteral("FIND"), QStringLiteral("Find objects that fit in specified time frame"));
    mSteps.AddStep(QStringLiteral("END"), QStringLiteral("Create VSS time line"));
    ProgressRelay relay(mCore, mSteps);

    QList<TARMOObjectList*> lists;
    QList<std::shared_ptr<TARMOObjectVSS>> candidates;
    if (!loadCurrentLists(*types, lists))
        return ScriptBuildOutcome::Cancelled;
    for (TARMOObjectList* list : lists)
        for (const auto& object : *list)
            if (object->InVSS()) // only what the store holds has a history
                candidates.append(object);
    if (!loadDeletedObjects(*types, candidates))
        return ScriptBuildOutcome::Cancelled;

    const QDateTime now = Now();
    mSteps.NextStep();
    mSteps.SetStepRange(static_cast<long>(candidates.size()));
    long done = 0;
    for (const auto& object : candidates) {
        const long version = latestVersionInFrame(*object, frame, now);
        if (version != -1) {
            ScriptCreatorObject& entry = entries.Add();
            entry.SetAction(ScriptAction::Alter);
            entry.SetVersionNumber(version);
            entry.SetScriptObject(object);
        }
        mSteps.ShowStepProgress(++done);
        if (mSteps.CancelRequested())
            return ScriptBuildOutcome::Cancelled;
    }

    mSteps.NextStep();
    mSteps.SetStepRange(entries.Count());
    long count = entries.Count();
    done = 0;
    for (ScriptCreatorObject& entry : entries) {
        TARMOObjectVSS& object = *entry.ScriptObject();
        if (frame.Contains(TARMOHistoryData::ParseDate(object.FirstDate()), now))
            entry.SetAction(ScriptAction::Create);
        if (frame.Contains(TARMOHistoryData::ParseDate(object.LastDate()), now) && object.IsDeleted()) {
            // Born and gone inside the frame: the target never saw it.
            if (entry.Action() == ScriptAction::Create) {
                entry.SetAction(ScriptAction::None);
                --count;
            } else {
                entry.SetAction(ScriptAction::Drop);
            }
        }
        mSteps.ShowStepProgress(++done);
        if (mSteps.CancelRequested())
            return ScriptBuildOutcome::Cancelled;
    }
    if (count > 0) {
        mSteps.NextStep();
        return ScriptBuildOutcome::Found;
    }
    mSteps.SetCurrentStatus(QStringLiteral("No Objects Found!"), ScriptSteps::Failed);
    ScriptMessages::NoObjectsInTimeFrame();
    return ScriptBuildOutcome::NoObjects;
}

ScriptBuildOutcome ScriptBuilder::BuildCompareList() {
    ScriptCreatorObjects& entries = mCreator.ObjectsToScript();
    entries.Clear();
    mSteps.Clear();
    const std::unique_ptr<TARMODBTItems> types = mCore.GetItemsForScriptGen();
    mSteps.AddTypeSteps(*types, false, false);
    mSteps.AddStep(QStringLiteral("CONNECT"), QStringLiteral("Open a Connection to specified Database"));
    mSteps.AddTypeSteps(*types, false, true);
    mSteps.AddStep(QStringLiteral("COMPARE"), QStringLiteral("Compare objects and mark changes"));
    mSteps.AddStep(QStringLiteral("END"), QStringLiteral("Close Connection to specified database"));
    ProgressRelay relay(mCore, mSteps);

    QList<TARMOObjectList*> current;
    if (!loadCurrentLists(*types, current))
        return ScriptBuildOutcome::Cancelled;

    mSteps.NextStep();
    TARMOSQL& other = mCreator.SQLConnection();
    const QString error = openOther();
    if (!error.isEmpty()) {
        mSteps.SetCurrentStatus(QStringLiteral("Failed"), ScriptSteps::Failed);
        ScriptMessages::CouldNotConnectForCompare(error);
        return ScriptBuildOutcome::ConnectFailed;
    }
    struct CloseOther {
        TARMOSQL& sql;
        ~CloseOther() { sql.CloseConnection(); }
    } closeOther{other};

    QList<TARMOObjectList*> others;
    for (TARMOObjectList* list : mCore.SetupAvailableEditableObjectsForAnotherDB(&other)) {
        mSteps.NextStep();
        bool cancel = false;
        list->RetrieveStatusChange = [this](long currentItem, long total, bool& stop) {
            if (currentItem == 0)
                mSteps.SetStepRange(total);
            mSteps.ShowStepProgress(currentItem);
            stop = mSteps.CancelRequested();
        };
        try {
            list->RefreshList(cancel);
            others.append(list);
        } catch (const TARMOError&) {
            // A kind the other server doesn't have takes no part in the compare.
        }
        // The list outlives this run; its progress must not reach a builder that is gone.
        list->RetrieveStatusChange = nullptr;
        if (cancel || mSteps.CancelRequested())
            return ScriptBuildOutcome::Cancelled;
    }

    mSteps.NextStep();
    long total = 0;
    for (TARMOObjectList* list : current)
        total += list->Count();
    for (TARMOObjectList* list : others)
        total += list->Count();
    mSteps.SetStepRange(total);
    long done = 0;
    for (TARMOObjectList* list : current) {
        TARMOObjectList* otherList = listOfType(others, list->ObjectType());
        if (!otherList) {
            done += list->Count();
            mSteps.ShowStepProgress(done);
            continue;
        }
        if (!compareList(*list, *otherList, done))
            return ScriptBuildOutcome::Cancelled;
    }
    for (TARMOObjectList* otherList : others) {
        TARMOObjectList* list = listOfType(current, otherList->ObjectType());
        if (!list)
            continue;
        QSet<QString> known;
        for (const auto& object : *list)
            known.insert(identity(*object));
        for (const auto& object : *otherList) {
            if (!known.contains(identity(*object))) {
                ScriptCreatorObject& entry = entries.Add();
                entry.SetAction(ScriptAction::Drop);
                entry.SetScriptObject(object);
            }
            mSteps.ShowStepProgress(++done);
            if (mSteps.CancelRequested())
                return ScriptBuildOutcome::Cancelled;
        }
    }

    mSteps.NextStep();
    other.CloseConnection();
    if (entries.Count() > 0) {
        mSteps.NextStep();
        return ScriptBuildOutcome::Found;
    }
    ScriptMessages::NoObjectsInCompare();
    return ScriptBuildOutcome::NoObjects;
}

// The project's texts are the store's, the other database's its own; both are read for the whole
// kind at once, and an object that a bulk read leaves out reads its own text.
bool ScriptBuilder::compareList(TARMOObjectList& list, TARMOObjectList& otherList, long& done) {
    QHash<QString, std::shared_ptr<TARMOObjectVSS>> byIdentity;
    for (const auto& object : otherList)
        byIdentity.insert(identity(*object), object);
    QStringList names;
    QStringList heldByMe;
    for (const auto& object : list) {
        if (!object->InVSS())
            continue;
        names << object->ItemName();
        if (object->IsCheckedOutByMe())
            heldByMe << object->ItemName();
    }
    QHash<QString, QString> stored;
    if (!names.isEmpty() && list.ActiveVSSConnection()) {
        try {
            stored = SyncTexts::StoredTexts(*list.ActiveVSSConnection(), names, heldByMe);
        } catch (const TARMOError&) {
            stored.clear();
        }
    }
    std::optional<QHash<QString, QString>> server;
    if (otherList.ActiveDBConnection())
        server = SyncTexts::ServerTexts(*otherList.ActiveDBConnection(), otherList);

    for (const auto& object : list) {
        const auto partner = byIdentity.constFind(identity(*object));
        if (partner == byIdentity.constEnd()) {
            ScriptCreatorObject& entry = mCreator.ObjectsToScript().Add();
            entry.SetAction(ScriptAction::Create);
            entry.SetScriptObject(object);
        } else {
            const auto storedText = stored.constFind(object->ItemName().toLower());
            const QString ours = storedText != stored.constEnd() ? *storedText
                                 : object->InVSS() ? object->GetContent(TARMOObjectVSS::LocationVSS)
                                                   : object->GetContent(TARMOObjectVSS::LocationSQL);
            const QString theirs = server && server->contains((*partner)->DBID())
                                       ? server->value((*partner)->DBID())
                                       : (*partner)->GetContent(TARMOObjectVSS::LocationSQL);
            if (!modParser::SQLTextsEqual(ours, theirs, true, true)) {
                ScriptCreatorObject& entry = mCreator.ObjectsToScript().Add();
                entry.SetAction(ScriptAction::Alter);
                entry.SetScriptObject(object);
            }
        }
        mSteps.ShowStepProgress(++done);
        if (mSteps.CancelRequested())
            return false;
    }
    return true;
}

ScriptBuildOutcome ScriptBuilder::BuildAllList() {
    ScriptCreatorObjects& entries = mCreator.ObjectsToScript();
    entries.Clear();
    QList<TARMOObjectList*> lists;
    if (!prepareAllOrCustom(QStringLiteral("Prepare objects for scripting"), lists))
        return ScriptBuildOutcome::Cancelled;
    for (TARMOObjectList* list : lists)
        for (const auto& object : *list)
            if (object->InSQL()) {
                ScriptCreatorObject& entry = entries.Add();
                entry.SetAction(ScriptAction::Create);
                entry.SetScriptObject(object);
            }
    mSteps.NextStep();
    return ScriptBuildOutcome::Found;
}

ScriptBuildOutcome ScriptBuilder::BuildCustomCandidates(QList<ScriptCustomRow>& rows, bool showOwnerInName) {
    mCreator.ObjectsToScript().Clear();
    rows.clear();
    QList<TARMOObjectList*> lists;
    if (!prepareAllOrCustom(QStringLiteral("Add objects to custom list"), lists))
        return ScriptBuildOutcome::Cancelled;
    for (TARMOObjectList* list : lists)
        for (const auto& object : *list)
            if (object->InSQL()) {
                const bool withOwner = showOwnerInName && !object->Owner().isEmpty();
                rows.append({QStringLiteral("I") + object->DBID(), object->ObjectType(),
                             object->IconToUse(true),
                             withOwner ? object->Owner() + QLatin1Char('.') + object->Name() : object->Name(),
                             object->ObjectDisplayName()});
            }
    mSteps.NextStep();
    return ScriptBuildOutcome::Found;
}

bool ScriptBuilder::prepareAllOrCustom(const QString& endText, QList<TARMOObjectList*>& lists) {
    mSteps.Clear();
    const std::unique_ptr<TARMODBTItems> types = mCore.GetItemsForScriptGen();
    mSteps.AddTypeSteps(*types, false, false);
    mSteps.AddStep(QStringLiteral("END"), endText);
    ProgressRelay relay(mCore, mSteps);
    if (!loadCurrentLists(*types, lists))
        return false;
    mSteps.NextStep();
    return true;
}

void ScriptBuilder::BuildCustomSelection(const QList<ScriptCustomRow>& checkedRows) {
    ScriptCreatorObjects& entries = mCreator.ObjectsToScript();
    entries.Clear();
    for (const ScriptCustomRow& row : checkedRows) {
        const std::shared_ptr<TARMOObjectVSS> object = mCore.GetObject(row.Tag, row.Key).Versioned();
        if (!object)
            continue;
        ScriptCreatorObject& entry = entries.Add();
        entry.SetAction(ScriptAction::Create);
        entry.SetScriptObject(object);
    }
}
