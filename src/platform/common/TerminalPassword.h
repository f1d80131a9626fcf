#pragma once

#include <QString>

#include <optional>

// Passwords for the command-line tools without the command line, where every user of the machine can
// read them (ps, /proc/PID/cmdline): from an environment variable, or typed at the terminal without
// echo.
namespace TerminalPassword {

// Standard input is a terminal, so a question can be answered.
bool CanAsk();

// Writes the prompt on standard error and reads one line from the terminal without echo; nothing when
// there is no terminal or the input ended.
std::optional<QString> Ask(const QString& prompt);

// A new password: asked twice, until both match (three tries); nothing when there is no terminal or
// they never matched.
std::optional<QString> AskNew(const QString& prompt);

// The variable's value when it is set (also when empty), else asked for with the prompt.
std::optional<QString> FromEnvironmentOrAsk(const char* variable, const QString& prompt);
std::optional<QString> FromEnvironmentOrAskNew(const char* variable, const QString& prompt);

} // namespace TerminalPassword
