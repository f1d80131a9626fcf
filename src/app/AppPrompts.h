#pragma once

#include "QtPrompts.h"

// The program's prompts: Qt's boxes and file dialogs, with the program's own login windows.
class AppPrompts : public QtPrompts {
public:
    bool SQLLogin(const QString& server, const QString& database, QString& userName,
                  QString& password) override;
    bool VSSLogin(const QString& iniFile, QString& userName, QString& password) override;
    bool NewLogin(const QString& title, const QString& place, QString& userName, QString& password) override;
};
