#include "UserPrompts.h"

Prompt::Answer Prompt::SafestAnswer(Prompt::Buttons buttons) {
    switch (buttons) {
    case Prompt::Buttons::OK:
        return Prompt::Answer::OK;
    case Prompt::Buttons::YesNo:
        return Prompt::Answer::No;
    case Prompt::Buttons::AbortRetryIgnore:
        return Prompt::Answer::Abort;
    default:
        return Prompt::Answer::Cancel;
    }
}

namespace {

class SilentPrompts : public UserPrompts {
public:
    Prompt::Answer MessageBox(const QString&, Prompt::Buttons buttons, Prompt::Icon, const QString&,
                              int) override {
        return Prompt::SafestAnswer(buttons);
    }
    QString OpenFileName(const QString&, const QString&, const QString&) override { return {}; }
    QString SaveFileName(const QString&, const QString&, const QString&) override { return {}; }
    QString FolderName(const QString&, const QString&) override { return {}; }
    bool SQLLogin(const QString&, const QString&, QString&, QString&) override { return false; }
    bool VSSLogin(const QString&, QString&, QString&) override { return false; }
    void SetBusy(bool) override {}
};

std::unique_ptr<UserPrompts>& installed() {
    static std::unique_ptr<UserPrompts> current;
    return current;
}

} // namespace

UserPrompts& prompts() {
    static SilentPrompts silent;
    auto& current = installed();
    return current ? *current : static_cast<UserPrompts&>(silent);
}

std::unique_ptr<UserPrompts> installPrompts(std::unique_ptr<UserPrompts> implementation) {
    auto previous = std::move(installed());
    installed() = std::move(implementation);
    return previous;
}

Prompt::Answer MsgBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon, const QString& title) {
    return prompts().MessageBox(text, buttons, icon, title);
}
