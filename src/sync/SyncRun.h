#pragma once

#include "StoreLocation.h"

#include <QList>
#include <QString>

#include <functional>

class TARMODatabaseObjects;
class TARMOObjectList;

// One object that the two stores don't agree on: a row of what a synchronization run found. An
// object in both stores with equal texts, or in neither, never makes a row.
struct SyncDifference {
    QString DBID;
    QString ObjectType; // the kind tag of the object
    bool InSQL = false;
    bool InVSS = false;
    bool TextsDiffer = false;  // in both, and the texts differ (white space at both ends aside)
    QString DisplayName;       // Owner + "." + Name, or Name alone where the owner is ""
    QString ObjectDisplayName; // the kind's display name ("Stored Procedure", ...)
    QString Owner;
    QString Name;

    // 1: only in SQL Server; 2: only in the version store; 3: in both, texts differ.
    int Kind() const;
};

// What the user chose for a row: nothing, or which store is to take the other's state.
enum class SyncDirection : int { None = 0, ToSql = 1, ToVss = 2 };

// One step of a run, in the order of the run: kind "SQLVSS" reads the lists of a kind from both
// stores, kind "COMP" compares them. Text is what the steps list shows.
struct SyncStep {
    QString Kind;
    QString Key; // the list tag of the object kind
    QString Text;
};

// The whole compare of a project's database with its store project, kind by kind, with no window:
// the steps window drives it and shows its progress, tarmo-cli prints what it finds. Changes
// nothing in either store (the history line is the caller's, see TARMOProject).
class SyncRun {
public:
    explicit SyncRun(TARMODatabaseObjects& core);

    // Two steps per editable kind, in the core's order.
    const QList<SyncStep>& Steps() const { return mSteps; }

    // Called as a step changes: its row (from 0), its status text ("Processing", "Completed").
    std::function<void(int step, const QString& status)> StepStatus;
    // Progress within the running step: current of total (both from the lists' events for a read
    // step, the objects compared for a compare step).
    std::function<void(int step, long current, long total)> StepProgress;

    // Runs every step and returns the differences in the order of the kinds and, within a kind,
    // of the list. Raises TARMOError where a store can't be read (the lists have told the user).
    QList<SyncDifference> Run();

private:
    // Adds the rows of one kind, in the list's order, and reports each object compared.
    void compare(const TARMOObjectList& list, QList<SyncDifference>& results,
                 const std::function<void(long, long)>& progress);

    TARMODatabaseObjects& mCore;
    QList<SyncStep> mSteps;
};

// The action of a row with a direction, as the results window's Apply and `tarmo-cli sync
// --apply-to` carry it out: finds the object by tag and key and calls SyncAdd / SyncRemove /
// SyncChange on the store that is to change. False where the object says no (it has told the
// user) or the direction is None.
bool ApplySyncAction(TARMODatabaseObjects& core, const SyncDifference& row, SyncDirection direction);

// The store that a direction changes, and the operation for a kind:
//   kind 1 (SQL only):  ToSql -> SyncRemove(SqlServer),     ToVss -> SyncAdd(VersionStore)
//   kind 2 (VSS only):  ToSql -> SyncAdd(SqlServer),        ToVss -> SyncRemove(VersionStore)
//   kind 3 (differs):   ToSql -> SyncChange(SqlServer),     ToVss -> SyncChange(VersionStore)
