#include "ScriptedPrompts.h"

QStringList ScriptedPrompts::Messages() const {
    QStringList texts;
    for (const auto& r : mRecords)
        if (r.kind == Kind::Message)
            texts << r.text;
    return texts;
}

void ScriptedPrompts::Clear() {
    mRecords.clear();
    mAnswers.clear();
    mFiles.clear();
    mTexts.clear();
    mLogins.clear();
    mUnanswered = 0;
}

Prompt::Answer ScriptedPrompts::MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                                           const QString& title, int) {
    mRecords.append({Kind::Message, title, text, icon, buttons});
    if (mAnswers.empty()) {
        ++mUnanswered;
        return Prompt::SafestAnswer(buttons);
    }
    auto answer = mAnswers.front();
    mAnswers.pop_front();
    return answer;
}

QString ScriptedPrompts::nextFile(Kind kind, const QString& title) {
    mRecords.append({kind, title, QString()});
    if (mFiles.empty()) {
        ++mUnanswered;
        return {};
    }
    auto path = mFiles.front();
    mFiles.pop_front();
    return path;
}

QString ScriptedPrompts::OpenFileName(const QString& title, const QString&, const QString&) {
    return nextFile(Kind::OpenFile, title);
}
QString ScriptedPrompts::SaveFileName(const QString& title, const QString&, const QString&) {
    return nextFile(Kind::SaveFile, title);
}
QString ScriptedPrompts::FolderName(const QString& title, const QString&) {
    return nextFile(Kind::Folder, title);
}

bool ScriptedPrompts::nextLogin(Kind kind, const QString& where, QString& userName, QString& password) {
    mRecords.append({kind, QString(), where});
    if (mLogins.empty()) {
        ++mUnanswered;
        return false;
    }
    auto login = mLogins.front();
    mLogins.pop_front();
    if (login.ok) {
        if (!login.userName.isNull())
            userName = login.userName;
        password = login.password;
    }
    return login.ok;
}

bool ScriptedPrompts::SQLLogin(const QString& server, const QString&, QString& userName, QString& password) {
    return nextLogin(Kind::SQLLogin, server, userName, password);
}
bool ScriptedPrompts::VSSLogin(const QString& iniFile, QString& userName, QString& password) {
    return nextLogin(Kind::VSSLogin, iniFile, userName, password);
}

bool ScriptedPrompts::NewLogin(const QString& title, const QString& place, QString& userName,
                               QString& password) {
    const bool ok = nextLogin(Kind::NewLogin, place, userName, password);
    mRecords.last().title = title;
    return ok;
}

bool ScriptedPrompts::InputText(const QString& title, const QString& label, QString& text) {
    mRecords.append({Kind::Input, title, label});
    if (mTexts.empty()) {
        ++mUnanswered;
        return false;
    }
    const QString answer = mTexts.front();
    mTexts.pop_front();
    if (answer.isNull())
        return false;
    text = answer;
    return true;
}
