#pragma once

#include <QByteArray>
#include <QString>
#include <exception>

// The one error type of the system: what the object model raises to its caller and what the
// layers below it (drivers, engine, stores) throw. Number and source follow the conventions
// of the classic automation errors, so that a caller can tell a missing key (5) from a server
// message (the server's own number).
class TARMOError : public std::exception {
public:
    TARMOError(long number, QString source, QString description)
        : mNumber(number)
        , mSource(std::move(source))
        , mDescription(std::move(description))
        , mWhat(QStringLiteral("%1 (%2): %3").arg(mSource).arg(mNumber).arg(mDescription).toUtf8()) {}

    long Number() const { return mNumber; }
    const QString& Source() const { return mSource; }
    const QString& Description() const { return mDescription; }

    const char* what() const noexcept override { return mWhat.constData(); }

private:
    long mNumber;
    QString mSource;
    QString mDescription;
    QByteArray mWhat;
};

// The error numbers that the collections and helpers raise.
namespace TARMOErrors {
constexpr long InvalidProcedureCall = 5; // "Invalid procedure call or argument"
constexpr long SubscriptOutOfRange = 9;  // "Subscript out of range"
constexpr long DuplicateKey = 457; // "This key is already associated with an element of this collection"
} // namespace TARMOErrors
