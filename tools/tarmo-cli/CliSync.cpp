// The sync command of tarmo-cli: the compare of the synchronization run, and the actions of its rows
// in one direction, for scripts and CI.
#include "CliCommands.h"

#include "CliArgs.h"
#include "SyncRun.h"
#include "TARMODatabaseObjects.h"
#include "TARMOProject.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// The exit codes of the command: in sync (or nothing stayed), differences found (or rows stayed).
constexpr int kInSync = 0;
constexpr int kDifferences = 3;

QString kindWord(const SyncDifference& row) {
    switch (row.Kind()) {
    case 1:
        return QStringLiteral("sql-only");
    case 2:
        return QStringLiteral("vss-only");
    default:
        return QStringLiteral("differs");
    }
}

QJsonObject jsonOf(const SyncDifference& row) {
    return QJsonObject{{QStringLiteral("tag"), row.ObjectType},
                       {QStringLiteral("owner"), row.Owner},
                       {QStringLiteral("name"), row.Name},
                       {QStringLiteral("kind"), kindWord(row)}};
}

QString lineOf(const SyncDifference& row) {
    return row.ObjectType + QLatin1Char('\t') + row.DisplayName + QLatin1Char('\t') + kindWord(row);
}

} // namespace

int CliCommands::sync(QStringList args) {
    QString applyTo;
    QString only;
    if (!takeOption(args, QStringLiteral("--apply-to"), applyTo) ||
        !takeOption(args, QStringLiteral("--only"), only))
        return usageError(QStringLiteral("sync: an option needs a value"));
    const bool json = takeFlag(args, QStringLiteral("--json"));
    if (!args.isEmpty())
        return usageError(QStringLiteral("sync: unexpected argument '") + args.first() + QLatin1Char('\''));
    if (!applyTo.isEmpty() && applyTo != QLatin1String("sql") && applyTo != QLatin1String("vss"))
        return usageError(QStringLiteral("--apply-to takes sql or vss"));
    if (!openProject())
        return 1;
    if (!only.isEmpty() && !knownTag(only))
        return usageError(QStringLiteral("unknown TAG '") + only + QLatin1Char('\''));

    QList<SyncDifference> rows;
    for (const SyncDifference& row : SyncRun(*mObjects).Run())
        if (only.isEmpty() || row.ObjectType == only)
            rows.append(row);

    QList<bool> applied(rows.size(), false);
    if (!applyTo.isEmpty()) {
        const SyncDirection direction =
            applyTo == QLatin1String("sql") ? SyncDirection::ToSql : SyncDirection::ToVss;
        // From the last row to the first, as the results window applies them.
        for (qsizetype n = rows.size() - 1; n >= 0; --n)
            applied[n] = ApplySyncAction(*mObjects, rows[n], direction);
    }
    // The run is noted in the project's history as the window notes it, whatever it found.
    mProject->ProjectWasSyncronized(QStringLiteral("Synchronization"));

    const qsizetype stayed = applyTo.isEmpty() ? rows.size() : applied.count(false);
    if (json) {
        QJsonArray array;
        for (qsizetype n = 0; n < rows.size(); ++n) {
            QJsonObject object = jsonOf(rows[n]);
            if (!applyTo.isEmpty())
                object.insert(QStringLiteral("applied"), applied[n]);
            array.append(object);
        }
        mOut << QJsonDocument(array).toJson(QJsonDocument::Compact) << Qt::endl;
    } else if (applyTo.isEmpty()) {
        for (const SyncDifference& row : rows)
            mOut << lineOf(row) << Qt::endl;
        mOut << rows.size() << " differences" << Qt::endl;
    } else {
        for (qsizetype n = 0; n < rows.size(); ++n)
            mOut << (applied[n] ? "applied\t" : "stayed\t") << lineOf(rows[n]) << Qt::endl;
        mOut << rows.size() - stayed << " applied, " << stayed << " stayed" << Qt::endl;
    }
    return stayed == 0 ? kInSync : kDifferences;
}
