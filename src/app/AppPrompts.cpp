#include "AppPrompts.h"

#include "frmPassword.h"

bool AppPrompts::SQLLogin(const QString& server, const QString& database, QString& userName,
                          QString& password) {
    return frmSQLPassword::GetUserNameAndPassword(server, database, userName, password);
}

bool AppPrompts::VSSLogin(const QString& iniFile, QString& userName, QString& password) {
    return frmVSSPassword::GetUserNameAndPassword(iniFile, userName, password);
}
