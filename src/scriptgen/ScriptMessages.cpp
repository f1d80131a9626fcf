#include "ScriptMessages.h"

#include "TARMOSQL.h"
#include "UserPrompts.h"

namespace {

void invalid(const QString& text) {
    MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Exclamation, ScriptMessages::InvalidDataTitle());
}

QString crLf() {
    return QStringLiteral("\r\n");
}

} // namespace

namespace ScriptMessages {

QString InvalidDataTitle() {
    return QStringLiteral("Invalid Data");
}

void NoTypeSelected() {
    invalid(QStringLiteral("Please specify the Type of script you would like to create!"));
}

void NoFromDate() {
    invalid(QStringLiteral("No From date specified!"));
}

void NoUntilDate() {
    invalid(QStringLiteral("No Until date specified!"));
}

void UntilBeforeFrom() {
    invalid(QStringLiteral("Until date must be after From date!"));
}

void FromInFuture() {
    invalid(QStringLiteral("From date must be in the past!"));
}

void ServerMissing() {
    invalid(QStringLiteral("Server is Missing!"));
}

void UsernameMissing() {
    invalid(QStringLiteral("Username is Missing!"));
}

void DatabaseMissing() {
    invalid(QStringLiteral("Database is Missing!"));
}

void CouldNotConnect(const QString& error) {
    invalid(QStringLiteral("Could not connect to specified database! The error was: ") + crLf() +
            TARMOSQL::FormatSQLError(error));
}

void CouldNotConnectForCompare(const QString& error) {
    MsgBox(QStringLiteral("Could not connect to specified database! The error was: ") + crLf() +
               TARMOSQL::FormatSQLError(error),
           Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Invalid Connection"));
}

bool ContinueWithoutUserDefinedFunctions() {
    return MsgBox(QStringLiteral("WARNING: The specified SQL Server does not support User Defined Functions! "
                                 "This could cause the script not to work when it is run on the specified "
                                 "database. Are you sure you want to continue?"),
                  Prompt::Buttons::YesNo, Prompt::Icon::Question,
                  QStringLiteral("Continue anyway?")) == Prompt::Answer::Yes;
}

QString DatabaseListError(const QString& error) {
    return QStringLiteral("The database list could not be filled due to the following error:") + crLf() +
           TARMOSQL::FormatSQLError(error);
}

void NoObjectsSelected() {
    invalid(QStringLiteral("No Objects have been selected!"));
}

void NoObjectsInTimeFrame() {
    MsgBox(QStringLiteral("No objects to be scripted were found for the specified time frame!"),
           Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("No Objects Found to Script"));
}

void NoObjectsInCompare() {
    MsgBox(QStringLiteral("No objects to be scripted were found for the specified database! The current "
                          "project and the specified database are identical."),
           Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("No Objects Found to Script"));
}

void NoScriptFileName() {
    invalid(QStringLiteral("No Script file name specifed!"));
}

bool OverwriteScriptFile() {
    return MsgBox(QStringLiteral("The specified Script file name already exists. Would you like to overwrite "
                                 "the file?"),
                  Prompt::Buttons::YesNo, Prompt::Icon::Question,
                  QStringLiteral("Overwrite File?")) == Prompt::Answer::Yes;
}

void ScriptGenerated() {
    MsgBox(QStringLiteral("Script was successfully generated!"), Prompt::Buttons::OK,
           Prompt::Icon::Information, QStringLiteral("Operation Successful"));
}

void ScriptNotWritten(const QString& fileName, const QString& error) {
    MsgBox(QStringLiteral("The script file \"%1\" could not be written: %2").arg(fileName, error),
           Prompt::Buttons::OK, Prompt::Icon::Critical, QStringLiteral("Script Generation ..."));
}

bool InterruptProcess() {
    return MsgBox(QStringLiteral("Are you sure you want to interrupt the process now?"),
                  Prompt::Buttons::YesNo, Prompt::Icon::Question,
                  QStringLiteral("Are you sure?")) == Prompt::Answer::Yes;
}

void SettingsDamaged(const QString& fileName, const QString& error) {
    MsgBox(QStringLiteral("The script generator's settings in \"%1\" could not be read (%2). The wizard "
                          "starts with its defaults; the file is replaced when the settings are next saved.")
               .arg(fileName, error),
           Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Script Generation ..."));
}

void SettingsNotSaved(const QString& fileName, const QString& error) {
    MsgBox(QStringLiteral("The script generator's settings could not be saved to \"%1\": %2")
               .arg(fileName, error),
           Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Script Generation ..."));
}

} // namespace ScriptMessages
