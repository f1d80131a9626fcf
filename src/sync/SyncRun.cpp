#include "SyncRun.h"

#include "SyncTexts.h"
#include "TARMODBTItems.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOObjectList.h"
#include "TARMOObjectRef.h"
#include "TARMOSQL.h"
#include "UserPrompts.h"

namespace {

const QString kSqlVss = QStringLiteral("SQLVSS");
const QString kCompare = QStringLiteral("COMP");

// The core's progress event belongs to the run while a list is read, and to its old listener again
// afterwards, also when the read raises.
class ProgressHook {
public:
    ProgressHook(TARMODatabaseObjects& core, const std::function<void(long, long)>& progress)
        : mCore(core)
        , mPrevious(core.RetrieveStatusChange) {
        core.RetrieveStatusChange = [progress](const QString&, const QString&, long current, long total,
                                               bool&) { progress(current, total); };
    }
    ~ProgressHook() { mCore.RetrieveStatusChange = mPrevious; }
    ProgressHook(const ProgressHook&) = delete;
    ProgressHook& operator=(const ProgressHook&) = delete;

private:
    TARMODatabaseObjects& mCore;
    decltype(TARMODatabaseObjects::RetrieveStatusChange) mPrevious;
};

SyncDifference differenceOf(const TARMOObjectVSS& object, bool textsDiffer) {
    SyncDifference row;
    row.DBID = object.DBID();
    row.ObjectType = object.ObjectType();
    row.InSQL = object.InSQL();
    row.InVSS = object.InVSS();
    row.TextsDiffer = textsDiffer;
    row.Owner = object.Owner();
    row.Name = object.Name();
    row.DisplayName =
        object.Owner().isEmpty() ? object.Name() : object.Owner() + QLatin1Char('.') + object.Name();
    row.ObjectDisplayName = object.ObjectDisplayName();
    return row;
}

QString storeWord(StoreLocation location) {
    return location == StoreLocation::SqlServer ? QStringLiteral("SQL") : QStringLiteral("VSS");
}

} // namespace

int SyncDifference::Kind() const {
    if (!InVSS)
        return 1;
    if (!InSQL)
        return 2;
    return 3;
}

SyncRun::SyncRun(TARMODatabaseObjects& core)
    : mCore(core) {
    const std::unique_ptr<TARMODBTItems> kinds = core.GetItemsForSyncronisation();
    for (int n = 1; kinds && n <= kinds->Count(); ++n) {
        const TARMODBTItem& kind = kinds->Item(n);
        mSteps.append(
            {kSqlVss, kind.Key, QStringLiteral("Find ") + kind.Text + QStringLiteral(" in SQL and VSS")});
        mSteps.append(
            {kCompare, kind.Key, QStringLiteral("Compare ") + kind.Text + QStringLiteral(" content")});
    }
}

QList<SyncDifference> SyncRun::Run() {
    QList<SyncDifference> results;
    TARMOObjectList* list = nullptr;
    for (int step = 0; step < mSteps.size(); ++step) {
        if (StepStatus)
            StepStatus(step, QStringLiteral("Processing"));
        const auto progress = [this, step](long current, long total) {
            if (StepProgress)
                StepProgress(step, current, total);
        };
        if (mSteps[step].Kind == kSqlVss) {
            ProgressHook hook(mCore, progress);
            list = mCore.GetObjectObjects(mSteps[step].Key);
            // A list without its server keeps whatever it held (nothing, at first): comparing that
            // would call a project in sync that was never looked at.
            if (list && (!list->ActiveDBConnection() || !list->ActiveDBConnection()->ConnectionOpen()))
                throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("Synchronization"),
                                 QStringLiteral("There is no connection to SQL Server: the database can't "
                                                "be compared with the version store."));
        } else if (list) {
            compare(*list, results, progress);
        }
        if (StepStatus)
            StepStatus(step, QStringLiteral("Completed"));
    }
    return results;
}

void SyncRun::compare(const TARMOObjectList& list, QList<SyncDifference>& results,
                      const std::function<void(long, long)>& progress) {
    QList<std::shared_ptr<TARMOObjectVSS>> inBoth;
    for (const auto& object : list)
        if (object->InSQL() && object->InVSS())
            inBoth.append(object);
    const QSet<QString> differing = SyncTexts::Differing(list, inBoth);
    const long total = list.Count();
    long current = 0;
    for (const auto& object : list) {
        if (object->InSQL() && object->InVSS()) {
            if (differing.contains(object->DBID()))
                results.append(differenceOf(*object, true));
        } else if (object->InSQL() || object->InVSS()) {
            results.append(differenceOf(*object, false));
        }
        progress(++current, total);
    }
}

bool ApplySyncAction(TARMODatabaseObjects& core, const SyncDifference& row, SyncDirection direction) {
    if (direction == SyncDirection::None)
        return false;
    const StoreLocation target =
        direction == SyncDirection::ToSql ? StoreLocation::SqlServer : StoreLocation::VersionStore;
    try {
        const TARMOObjectRef object = core.GetObject(row.ObjectType, row.DBID);
        if (!object)
            return false;
        switch (row.Kind()) {
        case 1: // only in SQL Server: the server loses it, or the store gains it
            return direction == SyncDirection::ToSql ? object.SyncRemove(target) : object.SyncAdd(target);
        case 2: // only in the store: the server gains it, or the store loses it
            return direction == SyncDirection::ToSql ? object.SyncAdd(target) : object.SyncRemove(target);
        default:
            return object.SyncChange(target);
        }
    } catch (const TARMOError& e) {
        // A refused drop comes up from the object, and an object gone since the run from the list.
        prompts().MessageBox(
            QStringLiteral("Could not synchronize the item ") + row.DisplayName + QStringLiteral(" in ") +
                storeWord(target) + QStringLiteral("\n\nError Description: ") + e.Description(),
            Prompt::Buttons::OK, Prompt::Icon::Critical, QStringLiteral("Item not synchronized"));
        return false;
    }
}
