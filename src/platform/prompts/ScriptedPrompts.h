#pragma once

#include "UserPrompts.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <deque>

// The implementation for tests: records every prompt and answers from queues. A prompt that finds
// its queue empty is answered as the silent default does and counted in Unanswered(), so a test
// can assert that nothing unexpected was asked.
class ScriptedPrompts : public UserPrompts {
public:
    enum class Kind { Message, OpenFile, SaveFile, Folder, SQLLogin, VSSLogin, NewLogin, Input };
    struct Record {
        Kind kind;
        QString title;
        QString text; // the message, or the server / ini file of a login
        Prompt::Icon icon = Prompt::Icon::None;
        Prompt::Buttons buttons = Prompt::Buttons::OK;
    };
    struct Login {
        bool ok;
        QString userName;
        QString password;
    };

    void QueueAnswer(Prompt::Answer answer) { mAnswers.push_back(answer); }
    void QueueFile(const QString& path) { mFiles.push_back(path); }
    // Answers the next text input; a null text cancels it.
    void QueueText(const QString& text) { mTexts.push_back(text); }
    void QueueLogin(bool ok, const QString& userName = {}, const QString& password = {}) {
        mLogins.push_back({ok, userName, password});
    }

    const QList<Record>& Records() const { return mRecords; }
    QStringList Messages() const; // the texts of the message boxes, in order
    int Unanswered() const { return mUnanswered; }
    int BusyDepth() const { return mBusy; }
    void Clear();

    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                              const QString& title, int defaultButton = 1) override;
    QString OpenFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString SaveFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString FolderName(const QString& title, const QString& initialPath) override;
    bool SQLLogin(const QString& server, const QString& database, QString& userName,
                  QString& password) override;
    bool VSSLogin(const QString& iniFile, QString& userName, QString& password) override;
    // Answered from the same queue as the logins.
    bool NewLogin(const QString& title, const QString& place, QString& userName, QString& password) override;
    bool InputText(const QString& title, const QString& label, QString& text) override;
    void SetBusy(bool busy) override { mBusy += busy ? 1 : -1; }

private:
    QString nextFile(Kind kind, const QString& title);
    bool nextLogin(Kind kind, const QString& where, QString& userName, QString& password);

    QList<Record> mRecords;
    std::deque<Prompt::Answer> mAnswers;
    std::deque<QString> mFiles;
    std::deque<QString> mTexts;
    std::deque<Login> mLogins;
    int mUnanswered = 0;
    int mBusy = 0;
};
