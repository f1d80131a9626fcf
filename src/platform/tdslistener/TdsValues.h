#pragma once

#include "TdsReader.h"
#include "TdsWriter.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <cstdint>

// The typed values a client sends with a remote procedure call, and those the server sends back
// for its OUTPUT parameters: the TYPE_INFO of each, its value on the wire, and the T-SQL type and
// literal that carry it into a batch the engine runs.
struct TdsTypeInfo {
    uint8_t type = 0;
    int length = 0; // the declared maximum in bytes; 0xFFFF for the chunked (max) forms
    int precision = 0;
    int scale = 0;
    QByteArray collation;

    bool Chunked() const;
};

// A value as read: integers as qlonglong, floats as double, exact numerics and GUIDs as text
// (decimal(38) has more digits than a double), dates as QDate / QDateTime, times as QTime,
// binaries as QByteArray, character data as QString. NULL is an invalid QVariant.
namespace TdsValues {

TdsTypeInfo ReadTypeInfo(TdsReader& in);
QVariant ReadValue(TdsReader& in, const TdsTypeInfo& type);

// The type an OUTPUT parameter goes back in: the client's own, with the fixed-length forms turned
// into their nullable ones (an OUTPUT value may be NULL).
TdsTypeInfo ReturnType(const TdsTypeInfo& type);
void WriteTypeInfo(TdsWriter& out, const TdsTypeInfo& type);
// value as the engine gives it (qlonglong, double, QString, QDateTime, QByteArray...); one that
// doesn't fit the type goes as NULL rather than as something else.
void WriteValue(TdsWriter& out, const TdsTypeInfo& type, const QVariant& value);

// The T-SQL type that holds values of this wire type, e.g. "nvarchar(4000)", "decimal(18,2)".
// Throws TdsProtocolError for a type the server can't take as a parameter.
QString SqlType(const TdsTypeInfo& type);
// A value read for that type as a T-SQL literal: NULL, 12, 1.5E0, 12.50, N'it''s', 0x0AFF, '2024-...'.
QString Literal(const QVariant& value, const TdsTypeInfo& type);

} // namespace TdsValues
