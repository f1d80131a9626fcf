#pragma once

#include "UserPrompts.h"

#include <QTextStream>

// The prompts of the core from a shell: every message box is written as "TITLE: TEXT" on the error
// stream, a question is answered by the policy given (--yes, --no, or the safe answer by default),
// and a login takes its password from the environment (TARMO_SQL_PASSWORD, TARMO_VSS_PASSWORD) or,
// without it, from the terminal without echo, so that passwords stay out of the shell's history and
// out of the process list. File and folder choosers are cancelled.
class CliPrompts : public UserPrompts {
public:
    enum class Policy { Safe, Yes, No };

    CliPrompts(QTextStream& err, Policy policy);

    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                              const QString& title, int defaultButton = 1) override;
    QString OpenFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString SaveFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString FolderName(const QString& title, const QString& initialPath) override;
    bool SQLLogin(const QString& server, const QString& database, QString& userName,
                  QString& password) override;
    bool VSSLogin(const QString& iniFile, QString& userName, QString& password) override;
    void SetBusy(bool) override {}

    // How many message boxes were shown.
    int Shown() const { return mShown; }

private:
    bool passwordFrom(const char* variable, const QString& what, QString& password);

    QTextStream& mErr;
    Policy mPolicy;
    int mShown = 0;
};
