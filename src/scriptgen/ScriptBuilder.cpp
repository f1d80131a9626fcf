#include "ScriptBuilder.h"

#include "ScriptSteps.h"

struct ScriptBuilder::Loaded {};

bool ScriptTimeFrame::Contains(const QDateTime& date, const QDateTime& now) const {
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

ScriptField ScriptBuilder::CheckTimeFrame(const QDateTime&, const QDateTime&, bool, const QDateTime&) {
    return ScriptField::None;
}

ScriptField ScriptBuilder::CheckOtherDatabase(const QString&, const QString&, const QString&, bool,
                                              const QString&) {
    return ScriptField::None;
}

ScriptBuildOutcome ScriptBuilder::BuildTimeFrameList(const ScriptTimeFrame&) {
    return ScriptBuildOutcome::NoObjects;
}

ScriptBuildOutcome ScriptBuilder::BuildCompareList() {
    return ScriptBuildOutcome::NoObjects;
}

ScriptBuildOutcome ScriptBuilder::BuildAllList() {
    return ScriptBuildOutcome::NoObjects;
}

ScriptBuildOutcome ScriptBuilder::BuildCustomCandidates(QList<ScriptCustomRow>&) {
    return ScriptBuildOutcome::NoObjects;
}

void ScriptBuilder::BuildCustomSelection(const QList<ScriptCustomRow>&) {}
