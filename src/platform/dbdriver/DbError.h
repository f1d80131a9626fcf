#pragma once

#include "SqlResults.h"
#include "TARMOError.h"

#include <QList>

// What went wrong, in the terms the connection class maps its error tables from; every driver sorts
// its own failures into these.
enum class DbFailure {
    Statement,    // the server refused a statement it understood (missing object, permission, ...)
    CompileError, // the server could not compile the statement (syntax)
    NoServer,     // no such server, or it could not be reached
    LoginFailed,  // the server refused the login
    NoDatabase,   // the login worked but the database can't be opened
    Driver        // the driver or its configuration failed before the server answered
};

// A failure of a driver: TARMOError with the server's number and the driver's text (prefixes
// included, as the driver gave it), plus every message the server sent with it.
class DbError : public TARMOError {
public:
    DbError(long number, QString source, QString description, DbFailure failure,
            QList<SqlMessage> messages = {})
        : TARMOError(number, std::move(source), std::move(description))
        , mFailure(failure)
        , mMessages(std::move(messages)) {}

    DbFailure Failure() const { return mFailure; }
    const QList<SqlMessage>& Messages() const { return mMessages; }

private:
    DbFailure mFailure;
    QList<SqlMessage> mMessages;
};
