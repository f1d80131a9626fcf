#pragma once

#include "UserPrompts.h"

// The GUI's implementation: Qt message boxes and file dialogs, and the login dialog
// "Connect to Database ..." for both kinds of connection. Dialogs are modal over the active window.
class QtPrompts : public UserPrompts {
public:
    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                              const QString& title, int defaultButton = 1) override;
    QString OpenFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString SaveFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString FolderName(const QString& title, const QString& initialPath) override;
    bool SQLLogin(const QString& server, const QString& database, QString& userName,
                  QString& password) override;
    bool VSSLogin(const QString& iniFile, QString& userName, QString& password) override;
    void SetBusy(bool busy) override;
};
