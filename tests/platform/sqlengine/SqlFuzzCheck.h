#pragma once

#include <QString>
#include <memory>

class EmbeddedServer;
class EmbeddedSession;

// Sends one arbitrary text through the scanner, the parser and (when that can't leave the session
// idle or looping forever) the executor, and checks what every caller relies on: tokens that cut the
// text exactly, errors with a text and a line, no refusal by SQLite of the translated statement.
// Returns what broke, or an empty string. Shared by the coverage-guided fuzzer and the replay of the
// inputs it once tripped on, so a fixed fault stays fixed.
QString CheckArbitrarySql(EmbeddedSession& session, const QString& text);

// Whether running the text could stop the rest of a run from executing anything (leaving the database,
// switching execution off) or hang it as it would hang the server (loops, waits).
bool MayDisableTheSession(const QString& text);

// A session as sa on the database Fuzz with the tables T (a int, b nvarchar(10)) and U (a int), in a
// new server folder.
class FuzzSession {
public:
    explicit FuzzSession(const QString& folder);
    ~FuzzSession();
    EmbeddedSession& Session() { return *mSession; }

private:
    std::unique_ptr<EmbeddedServer> mServer;
    std::unique_ptr<EmbeddedSession> mSession;
};
