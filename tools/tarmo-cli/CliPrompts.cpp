#include "CliPrompts.h"

#include "TerminalPassword.h"

CliPrompts::CliPrompts(QTextStream& err, Policy policy)
    : mErr(err)
    , mPolicy(policy) {}

Prompt::Answer CliPrompts::MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon,
                                      const QString& title, int) {
    ++mShown;
    mErr << title << ": " << text << Qt::endl;
    const bool question = buttons == Prompt::Buttons::YesNo || buttons == Prompt::Buttons::YesNoCancel;
    if (question && mPolicy == Policy::Yes)
        return Prompt::Answer::Yes;
    if (question && mPolicy == Policy::No)
        return Prompt::Answer::No;
    return Prompt::SafestAnswer(buttons);
}

QString CliPrompts::OpenFileName(const QString&, const QString&, const QString&) {
    return QString();
}

QString CliPrompts::SaveFileName(const QString&, const QString&, const QString&) {
    return QString();
}

QString CliPrompts::FolderName(const QString&, const QString&) {
    return QString();
}

bool CliPrompts::passwordFrom(const char* variable, const QString& what, QString& password) {
    mErr.flush();
    const std::optional<QString> given =
        TerminalPassword::FromEnvironmentOrAsk(variable, QStringLiteral("Password for %1: ").arg(what));
    if (!given) {
        mErr << what << ": no password stored; set " << variable << " or run at a terminal" << Qt::endl;
        return false;
    }
    password = *given;
    return true;
}

bool CliPrompts::SQLLogin(const QString& server, const QString& database, QString&, QString& password) {
    return passwordFrom("TARMO_SQL_PASSWORD", server + QLatin1Char('/') + database, password);
}

bool CliPrompts::VSSLogin(const QString& iniFile, QString&, QString& password) {
    return passwordFrom("TARMO_VSS_PASSWORD", iniFile, password);
}
