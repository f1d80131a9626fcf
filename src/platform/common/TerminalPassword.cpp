#include "TerminalPassword.h"

#include <cstdio>
#include <cstdlib>
#include <termios.h>
#include <unistd.h>

namespace {

// Echo off for as long as the object lives, and on again however the reading ends.
class NoEcho {
public:
    NoEcho() {
        mSaved = tcgetattr(STDIN_FILENO, &mOld) == 0;
        if (!mSaved)
            return;
        termios quiet = mOld;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        quiet.c_lflag |= ECHONL;
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    ~NoEcho() {
        if (mSaved)
            tcsetattr(STDIN_FILENO, TCSANOW, &mOld);
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;

private:
    termios mOld{};
    bool mSaved = false;
};

} // namespace

bool TerminalPassword::CanAsk() {
    return isatty(STDIN_FILENO) == 1;
}

std::optional<QString> TerminalPassword::Ask(const QString& prompt) {
    if (!CanAsk())
        return std::nullopt;
    char* line = nullptr;
    size_t capacity = 0;
    ssize_t length = -1;
    {
        // Echo off before the prompt shows: whatever is typed after seeing it stays unseen.
        NoEcho quiet;
        std::fputs(prompt.toLocal8Bit().constData(), stderr);
        std::fflush(stderr);
        length = getline(&line, &capacity, stdin);
    }
    std::optional<QString> password;
    if (length >= 0) {
        while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r'))
            --length;
        password = QString::fromLocal8Bit(line, length);
    }
    if (line) {
        // The typed password should not linger in freed memory.
        explicit_bzero(line, capacity);
        std::free(line);
    }
    return password;
}

std::optional<QString> TerminalPassword::FromEnvironmentOrAsk(const char* variable, const QString& prompt) {
    if (qEnvironmentVariableIsSet(variable))
        return qEnvironmentVariable(variable);
    return Ask(prompt);
}

std::optional<QString> TerminalPassword::AskNew(const QString& prompt) {
    for (int attempt = 0; attempt < 3; ++attempt) {
        std::optional<QString> first = Ask(prompt);
        if (!first)
            return std::nullopt;
        const std::optional<QString> second = Ask(QStringLiteral("Again: "));
        if (!second)
            return std::nullopt;
        if (*first == *second)
            return first;
        std::fputs("The passwords do not match.\n", stderr);
    }
    return std::nullopt;
}

std::optional<QString> TerminalPassword::FromEnvironmentOrAskNew(const char* variable,
                                                                 const QString& prompt) {
    if (qEnvironmentVariableIsSet(variable))
        return qEnvironmentVariable(variable);
    return AskNew(prompt);
}
