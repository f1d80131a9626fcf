#pragma once

#include <QString>

// Every message of the script generator, shown through the prompts layer with its title and icon,
// so that the wizard and the command line say the same things. The questions return True for Yes.
namespace ScriptMessages {

// Titles the wizard's own checks use.
QString InvalidDataTitle();

// --- Start page
void NoTypeSelected();

// --- Time frame page
void NoFromDate();
void NoUntilDate();
void UntilBeforeFrom();
void FromInFuture();

// --- Other database page
void ServerMissing();
void UsernameMissing();
void DatabaseMissing();
// The connection test of the page failed (title "Invalid Data").
void CouldNotConnect(const QString& error);
// The connection of the compare run failed (title "Invalid Connection").
void CouldNotConnectForCompare(const QString& error);
// The project's server has user defined functions and the other one doesn't: go on anyway?
bool ContinueWithoutUserDefinedFunctions();
// The text of the label under the database list when the list could not be filled.
QString DatabaseListError(const QString& error);

// --- Custom page
void NoObjectsSelected();

// --- Runs that found nothing
void NoObjectsInTimeFrame();
void NoObjectsInCompare();

// --- Destination page
void NoScriptFileName();
bool OverwriteScriptFile();
void ScriptGenerated();
// The script file could not be written; nothing of it was left behind.
void ScriptNotWritten(const QString& fileName, const QString& error);

// --- Closing during a run
bool InterruptProcess();

// --- The settings file
void SettingsDamaged(const QString& fileName, const QString& error);
void SettingsNotSaved(const QString& fileName, const QString& error);

} // namespace ScriptMessages
