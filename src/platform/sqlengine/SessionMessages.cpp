// The messages users add with sp_addmessage. They are the server's, not a database's: master keeps them,
// so every database and session reads the same ones and they outlast the server process. Only the
// English (1033) versions are kept; RAISERROR and FORMATMESSAGE read them by number.
#include "SessionState.h"

namespace {

constexpr int kFirstUserMessage = 50001;

const char* const kAddParams[] = {"@msgnum", "@severity", "@msgtext", "@lang", "@with_log", "@replace"};
const char* const kDropParams[] = {"@msgnum", "@lang"};

bool English(const QVariant& lang) {
    if (!lang.isValid() || lang.isNull())
        return true;
    const QString l = lang.toString().trimmed();
    return l.compare(QLatin1String("us_english"), Qt::CaseInsensitive) == 0 ||
           l.compare(QLatin1String("English"), Qt::CaseInsensitive) == 0 || l == QLatin1String("1033");
}

ServerError ProcedureError(int number, const QString& text) {
    return ServerError::Make(number, 16, text);
}

} // namespace

void SessionState::EnsureMessageTable(SqliteDb& db, const QString& masterSchema) {
    db.Exec(QStringLiteral("CREATE TABLE IF NOT EXISTS %1.engine_messages (message_id int, language_id int, "
                           "severity int, is_event_logged int, text nvarchar(255), "
                           "PRIMARY KEY (message_id, language_id))")
                .arg(SqlTranslator::Quote(masterSchema)));
}

bool SessionState::StoredMessage(qlonglong number, int& severity, QString& text) {
    const auto rows = mDb->Rows(QStringLiteral("SELECT severity, text FROM %1.engine_messages "
                                               "WHERE message_id = ? AND language_id = 1033")
                                    .arg(SqlTranslator::Quote(MasterSchema())),
                                {number});
    if (rows.isEmpty())
        return false;
    severity = rows.first()[0].toInt();
    text = rows.first()[1].toString();
    return true;
}

QVariantList SessionState::SystemProcedureArgs(const SqlStatement& s, const QStringList& params,
                                               const QString& procName) {
    QVariantList args(params.size());
    qsizetype position = 0;
    for (const SqlExecArg& a : s.execArgs) {
        qsizetype index = position;
        if (!a.name.isEmpty()) {
            index = -1;
            for (qsizetype k = 0; k < params.size() && index < 0; ++k)
                if (a.name.compare(params[k], Qt::CaseInsensitive) == 0)
                    index = k;
            if (index < 0)
                throw ServerError::Make(
                    8145, 16,
                    QStringLiteral("%1 is not a parameter for procedure %2.").arg(a.name, procName));
        } else {
            ++position;
        }
        if (index >= params.size())
            throw ServerError::Make(
                8144, 16,
                QStringLiteral("Procedure or function %1 has too many arguments specified.").arg(procName));
        args[index] = a.isDefault || !a.value ? QVariant() : Evaluate(*a.value);
    }
    return args;
}

bool SessionState::RunMessageProcedure(const QString& name, const SqlStatement& s) {
    const bool add = name.compare(QLatin1String("sp_addmessage"), Qt::CaseInsensitive) == 0;
    if (!add && name.compare(QLatin1String("sp_dropmessage"), Qt::CaseInsensitive) != 0)
        return false;
    const QString procName = add ? QStringLiteral("sp_addmessage") : QStringLiteral("sp_dropmessage");
    const qsizetype count = add ? qsizetype(std::size(kAddParams)) : qsizetype(std::size(kDropParams));
    const char* const* params = add ? kAddParams : kDropParams;
    QStringList names;
    for (qsizetype k = 0; k < count; ++k)
        names.append(QLatin1String(params[k]));
    const QVariantList args = SystemProcedureArgs(s, names, procName);
    const int required = add ? 3 : 1;
    for (int i = 0; i < required; ++i)
        if (!args[i].isValid())
            throw ServerError::Make(201, 16,
                                    QStringLiteral("Procedure or function '%1' expects parameter '%2', "
                                                   "which was not supplied.")
                                        .arg(procName, QLatin1String(params[i])));
    if (!login.sysadmin)
        throw ProcedureError(15247, QStringLiteral("User does not have permission to perform this action."));
    const QVariant& lang = args[add ? 3 : 1];
    if (!English(lang))
        throw ServerError::Unsupported(QStringLiteral("messages in a language other than us_english"));
    bool ok = false;
    const qlonglong number = args[0].toLongLong(&ok);
    const QString table = SqlTranslator::Quote(MasterSchema()) + QStringLiteral(".engine_messages");
    mRowCount = 0;
    if (!add) {
        if (!ok || number < kFirstUserMessage)
            throw ProcedureError(15178, QStringLiteral("Cannot drop a message with an ID less than 50,000."));
        if (mDb->Rows(QStringLiteral("SELECT 1 FROM %1 WHERE message_id = ?").arg(table), {number}).isEmpty())
            throw ProcedureError(15179, QStringLiteral("Message number %1 does not exist.").arg(number));
        mDb->Exec(QStringLiteral("DELETE FROM %1 WHERE message_id = ?").arg(table), {number});
        return true;
    }
    if (!ok || number < kFirstUserMessage || number > 2147483647LL)
        throw ProcedureError(
            15040, QStringLiteral("User-defined error messages must have an ID greater than 50000."));
    const int severity = args[1].toInt(&ok);
    if (!ok || severity < 1 || severity > 25)
        throw ProcedureError(
            15041,
            QStringLiteral("User-defined error messages must have a severity level between 1 and 25."));
    if (args[2].isNull())
        throw ProcedureError(15071, QStringLiteral("Usage: sp_addmessage <msgnum>,<severity>,<msgtext> "
                                                   "[,<language> [,FALSE | TRUE [,REPLACE]]]"));
    const QString text = args[2].toString();
    if (text.size() > 255)
        throw ServerError::Make(8152, 16, QStringLiteral("String or binary data would be truncated."));
    const QString withLog = args[4].isValid() ? args[4].toString().trimmed() : QString();
    const bool logged = withLog.compare(QLatin1String("TRUE"), Qt::CaseInsensitive) == 0;
    const bool replace = args[5].isValid() && args[5].toString().trimmed().compare(QLatin1String("replace"),
                                                                                   Qt::CaseInsensitive) == 0;
    const bool exists =
        !mDb->Rows(QStringLiteral("SELECT 1 FROM %1 WHERE message_id = ?").arg(table), {number}).isEmpty();
    if (exists && !replace)
        throw ProcedureError(15043,
                             QStringLiteral("You must specify 'REPLACE' to overwrite an existing message."));
    mDb->Exec(QStringLiteral("INSERT OR REPLACE INTO %1 (message_id, language_id, severity, is_event_logged, "
                             "text) VALUES (?, 1033, ?, ?, ?)")
                  .arg(table),
              {number, severity, logged ? 1 : 0, text});
    return true;
}
