#pragma once

#include <QString>

#include <memory>

// Every message box, question, file or folder dialog and login dialog of the system goes through
// this interface. The object model calls it; the GUI installs QtPrompts, tests install
// ScriptedPrompts, so the model runs headless.
namespace Prompt {
enum class Buttons { OK, OKCancel, YesNo, YesNoCancel, RetryCancel, AbortRetryIgnore };
enum class Icon { None, Critical, Question, Exclamation, Information };
// The classic answer codes: the numbers are what callers compare with.
enum class Answer { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };
// The answer of a box that nobody answered: Cancel where there is one, else No, else the first button.
Answer SafestAnswer(Buttons buttons);
} // namespace Prompt

class UserPrompts {
public:
    virtual ~UserPrompts() = default;

    // A message box: text, buttons and icon, with a title. defaultButton is 1-based (1 = first button).
    virtual Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                                      const QString& title, int defaultButton = 1) = 0;

    // File and folder choosers: "" when cancelled. filter uses Qt's "Text (*.txt);;All (*)" form.
    virtual QString OpenFileName(const QString& title, const QString& filter, const QString& initialPath) = 0;
    virtual QString SaveFileName(const QString& title, const QString& filter, const QString& initialPath) = 0;
    virtual QString FolderName(const QString& title, const QString& initialPath) = 0;

    // Login dialogs: user and password are in-out; False when the user cancelled.
    virtual bool SQLLogin(const QString& server, const QString& database, QString& userName,
                          QString& password) = 0;
    virtual bool VSSLogin(const QString& iniFile, QString& userName, QString& password) = 0;

    // The login of something new (a server, a store): the user name and a password typed twice.
    // place says what is made; user and password are in-out. False when cancelled.
    virtual bool NewLogin(const QString& title, const QString& place, QString& userName, QString& password) {
        (void)title;
        (void)place;
        (void)userName;
        (void)password;
        return false;
    }

    // One line of text, such as the name of something new; text is in-out. False when cancelled.
    virtual bool InputText(const QString& title, const QString& label, QString& text) {
        (void)title;
        (void)label;
        (void)text;
        return false;
    }

    // The hourglass while a step talks to a server; calls nest.
    virtual void SetBusy(bool busy) = 0;
};

// The installed implementation. Without one installed, prompts() gives a silent implementation
// that answers every question with its safest button (Cancel, else No, else OK) and cancels dialogs.
UserPrompts& prompts();
// Installs an implementation and returns the previous one (nullptr for the silent default).
std::unique_ptr<UserPrompts> installPrompts(std::unique_ptr<UserPrompts> implementation);

// Shorthands for the common cases.
Prompt::Answer MsgBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon, const QString& title);

// Hourglass for the lifetime of the object.
class BusyCursor {
public:
    BusyCursor() { prompts().SetBusy(true); }
    ~BusyCursor() { prompts().SetBusy(false); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};
