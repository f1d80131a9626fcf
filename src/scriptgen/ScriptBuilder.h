#pragma once

#include "ScriptCreator.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <memory>

class ScriptSteps;
class TARMODBTItems;
class TARMODatabaseObjects;
class TARMOObjectList;
class TARMOObjectVSS;

// How a builder ended; the wizard picks its next page from it.
enum class ScriptBuildOutcome {
    Found,         // the list has entries: on to the destination
    NoObjects,     // nothing to script; the user has been told
    ConnectFailed, // the other database could not be opened; the user has been told
    Cancelled      // the user interrupted
};

// The time frame of mode 1, compared to the second.
struct ScriptTimeFrame {
    QDateTime From;
    QDateTime Until;
    bool UntilToday = false; // the frame ends at the present moment, whatever Until holds

    // Not before From and not after the end of the frame.
    bool Contains(const QDateTime& date, const QDateTime& now) const;
};

// Which field of a page a failed check points to, for the focus.
enum class ScriptField { None, From, Until, Server, UserName, Database };

// A row the custom page offers: an object of the project's server.
struct ScriptCustomRow {
    QString Key;      // "I" + DBID
    QString Tag;      // the object's kind tag
    QString Icon;     // the kind's icon key
    QString Text;     // the name, with the owner and "." in front where owners are shown
    QString TypeName; // the kind's display name
};

// The four ways of filling ScriptCreator::ObjectsToScript, without a window: the wizard shows the
// steps as they move, the command line just runs them. Every builder clears the list first, moves
// the steps, looks at the cancel flag of the steps after each object and step, and tells the user
// through the prompts where it found nothing or could not connect.
class ScriptBuilder {
public:
    ScriptBuilder(TARMODatabaseObjects& core, ScriptCreator& creator, ScriptSteps& steps);

    // The caption of the progress page while a mode runs.
    static QString ProgressCaption(ScriptMode mode);

    // The checks of the time frame page, in their order; the first that fails is told and its field
    // returned. None when the frame is fine.
    static ScriptField CheckTimeFrame(const QDateTime& from, const QDateTime& until, bool untilToday,
                                      const QDateTime& now);
    // The checks of the other database's page: missing values, then a test of the connection
    // through the creator's connection, then the user-defined-function question. The creator's
    // connection takes the values given and is closed again. None when the run may start; where the
    // user declined the question the database field is returned as well.
    ScriptField CheckOtherDatabase(const QString& server, const QString& userName, const QString& password,
                                   bool useWindowsAuth, const QString& database);

    // Mode 1: the objects changed in the frame (the deleted ones included), each at its latest
    // version inside the frame; born in it: create, gone in it: drop, both: nothing.
    ScriptBuildOutcome BuildTimeFrameList(const ScriptTimeFrame& frame);
    // Mode 2: the differences to the creator's connection, which must hold server, database, user,
    // password and authentication; it is opened for the run and closed again.
    ScriptBuildOutcome BuildCompareList();
    // Mode 3: every object of the project's server, to create.
    ScriptBuildOutcome BuildAllList();
    // Mode 4, first half: the objects the custom page offers, in the order of the kinds and lists.
    // Names carry their owner in front where showOwnerInName (the user's setting of owner names in
    // the tree, which the core doesn't hand out) asks for it.
    ScriptBuildOutcome BuildCustomCandidates(QList<ScriptCustomRow>& rows, bool showOwnerInName);
    // Mode 4, second half: the checked rows, in their order, to create.
    void BuildCustomSelection(const QList<ScriptCustomRow>& checkedRows);

    // The present moment; the tests set a fixed one.
    std::function<QDateTime()> Now = [] { return QDateTime::currentDateTime(); };

private:
    // One step per kind; False where the user interrupted.
    bool loadCurrentLists(const TARMODBTItems& types, QList<TARMOObjectList*>& lists);
    bool loadDeletedObjects(const TARMODBTItems& types, QList<std::shared_ptr<TARMOObjectVSS>>& deleted);
    long latestVersionInFrame(TARMOObjectVSS& object, const ScriptTimeFrame& frame, const QDateTime& now);
    // Opens the creator's connection with its own values; "" or the error.
    QString openOther();
    bool compareList(TARMOObjectList& list, TARMOObjectList& otherList, long& done);
    bool prepareAllOrCustom(const QString& endText, QList<TARMOObjectList*>& lists);

    TARMODatabaseObjects& mCore;
    ScriptCreator& mCreator;
    ScriptSteps& mSteps;
};
