#include "AppPrompts.h"

#include "frmPassword.h"

bool AppPrompts::SQLLogin(const QString& server, const QString& database, QString& userName,
                          QString& password) {
    const ArrowWhileAsking arrow;
    return frmSQLPassword::GetUserNameAndPassword(server, database, userName, password);
}

bool AppPrompts::VSSLogin(const QString& iniFile, QString& userName, QString& password) {
    const ArrowWhileAsking arrow;
    return frmVSSPassword::GetUserNameAndPassword(iniFile, userName, password);
}

bool AppPrompts::NewLogin(const QString& title, const QString& place, QString& userName, QString& password) {
    const ArrowWhileAsking arrow;
    return frmNewPassword::GetNewLogin(title, place, userName, password);
}
