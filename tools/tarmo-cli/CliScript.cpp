// The script command of tarmo-cli: the deployment script of the wizard, written without windows.
#include "CliCommands.h"

#include "CliArgs.h"
#include "ScriptBuilder.h"
#include "ScriptCreator.h"
#include "ScriptSteps.h"
#include "ScriptWriter.h"
#include "TARMODatabaseObjects.h"
#include "TARMOObjectRef.h"
#include "TerminalPassword.h"

namespace {

ScriptMode modeOf(const QString& word) {
    if (word == QLatin1String("timeframe"))
        return ScriptMode::TimeFrame;
    if (word == QLatin1String("compare"))
        return ScriptMode::Compare;
    if (word == QLatin1String("all"))
        return ScriptMode::All;
    if (word == QLatin1String("custom"))
        return ScriptMode::Custom;
    return ScriptMode::None;
}

} // namespace

int CliCommands::script(QStringList args) {
    QString modeWord, from, until, server, database, user, objects, out;
    for (const auto& [name, value] : {std::pair{"--mode", &modeWord},
                                      {"--from", &from},
                                      {"--until", &until},
                                      {"--server", &server},
                                      {"--database", &database},
                                      {"--user", &user},
                                      {"--objects", &objects},
                                      {"--out", &out}})
        if (!takeOption(args, QString::fromLatin1(name), *value))
            return usageError(QStringLiteral("script: ") + QString::fromLatin1(name) +
                              QStringLiteral(" needs a value"));
    const bool trusted = takeFlag(args, QStringLiteral("--trusted"));
    const bool drop = takeFlag(args, QStringLiteral("--drop"));
    const bool permissions = takeFlag(args, QStringLiteral("--permissions"));
    if (!args.isEmpty())
        return usageError(QStringLiteral("script: unexpected argument '") + args.first() + QLatin1Char('\''));
    const ScriptMode mode = modeOf(modeWord);
    if (mode == ScriptMode::None)
        return usageError(QStringLiteral("script: --mode takes all, timeframe, compare or custom"));
    if (out.isEmpty())
        return usageError(QStringLiteral("script: --out FILE is needed"));
    if (mode == ScriptMode::TimeFrame && from.isEmpty())
        return usageError(QStringLiteral("script: --mode timeframe needs --from DATE"));
    if (mode == ScriptMode::Compare &&
        (server.isEmpty() || database.isEmpty() || (user.isEmpty() == !trusted)))
        return usageError(
            QStringLiteral("script: --mode compare needs --server, --database and --user or --trusted"));
    if (mode == ScriptMode::Custom && objects.isEmpty())
        return usageError(QStringLiteral("script: --mode custom needs --objects TAG:NAME,..."));

    QString password;
    if (mode == ScriptMode::Compare && !trusted) {
        const std::optional<QString> typed = TerminalPassword::FromEnvironmentOrAsk(
            "SQLCMDPASSWORD", QStringLiteral("Password for %1: ").arg(user));
        if (!typed) {
            mErr << "tarmo-cli: the password of --user is read from SQLCMDPASSWORD or typed at a terminal; "
                    "there is neither"
                 << Qt::endl;
            return 1;
        }
        password = *typed;
    }
    if (!openProject())
        return 1;

    ScriptCreator creator;
    creator.SetOptionSelected(static_cast<long>(mode));
    creator.SetFileName(out);
    creator.SetDropObjects(drop);
    creator.SetCreatePermission(permissions);
    ScriptSteps steps;
    ScriptBuilder builder(*mObjects, creator, steps);
    ScriptBuildOutcome outcome = ScriptBuildOutcome::Found;
    switch (mode) {
    case ScriptMode::TimeFrame: {
        ScriptTimeFrame frame{ScriptCreator::ParseDateText(from), ScriptCreator::ParseDateText(until),
                              until.isEmpty()};
        if (ScriptBuilder::CheckTimeFrame(frame.From, frame.Until, frame.UntilToday, builder.Now()) !=
            ScriptField::None)
            return 2;
        outcome = builder.BuildTimeFrameList(frame);
        break;
    }
    case ScriptMode::Compare:
        if (builder.CheckOtherDatabase(server, user, password, trusted, database) != ScriptField::None)
            return 1;
        outcome = builder.BuildCompareList();
        break;
    case ScriptMode::All:
        outcome = builder.BuildAllList();
        break;
    case ScriptMode::Custom: {
        QList<ScriptCustomRow> rows;
        for (const QString& item : objects.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const qsizetype colon = item.indexOf(QLatin1Char(':'));
            const QString tag = item.left(colon).trimmed();
            if (colon < 1 || !knownTag(tag))
                return usageError(QStringLiteral("script: '") + item + QStringLiteral("' is no TAG:NAME"));
            const TARMOObjectRef object = findObject(tag, item.mid(colon + 1).trimmed());
            if (!object.Versioned())
                return 1;
            rows.append({QStringLiteral("I") + object.DBID(), object.ObjectType(), {}, {}, {}});
        }
        builder.BuildCustomSelection(rows);
        break;
    }
    case ScriptMode::None:
        break;
    }
    if (outcome != ScriptBuildOutcome::Found)
        return 1;
    ScriptWriter writer(creator, steps);
    if (!writer.WriteScript())
        return 1;
    mOut << creator.ObjectsToScript().Count() << " objects scripted to " << out << Qt::endl;
    return 0;
}
