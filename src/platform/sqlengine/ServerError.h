#pragma once

#include <QString>

// An error the engine reports as the server would: it ends the statement, and with abortsBatch
// the batch as well.
struct ServerError {
    long number = 0;
    int severity = 16;
    QString text;
    int line = 0;
    bool abortsBatch = false;
    int state = 1;

    static ServerError Make(long number, int severity, const QString& text, bool abortsBatch = false) {
        ServerError e;
        e.number = number;
        e.severity = severity;
        e.text = text;
        e.abortsBatch = abortsBatch;
        return e;
    }
    static ServerError InvalidObject(const QString& name) {
        return Make(208, 16, QStringLiteral("Invalid object name '%1'.").arg(name), true);
    }
    // Error 191: more nesting than the parser, the translator or SQLite below them can take.
    static ServerError TooDeep() {
        return Make(
            191, 15,
            QStringLiteral("Some part of your SQL statement is nested too deeply. Rewrite the query or "
                           "break it up into smaller queries."),
            true);
    }
    static ServerError Unsupported(const QString& construct) {
        return Make(50001, 16, QStringLiteral("The embedded server does not support %1.").arg(construct),
                    true);
    }
};
