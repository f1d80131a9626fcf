#pragma once

#include "SqlResults.h"
#include "TdsWriter.h"

#include <cstdint>
#include <limits>

// Writes one row set as COLMETADATA and ROW tokens. Each column goes out in the simplest wire type
// that carries its server type and every one of its values: integers as INTN of the width they
// need, bit, float, money, decimal (exactly, from the engine's text), datetime, date, time, datetime2
// and datetimeoffset (the last four from 7.3 on) in their own nullable types, character data
// as NVARCHAR (or VARCHAR when every value has a Latin-1 code), binaries as VARBINARY, and the
// long forms for values beyond 8000 bytes. A column whose values don't fit its declared type (the
// engine keeps what SQLite stored) goes out as text, so that nothing is ever lost on the way.
class TdsRowSetEncoder {
public:
    enum class Kind {
        Int,
        Bit,
        Float,
        Money,
        Decimal,
        DateTime,
        SmallDateTime,
        Date,
        Time,
        DateTime2,
        DateTimeOffset,
        Ansi,
        Unicode,
        Binary
    };

    struct ColumnPlan {
        Kind kind = Kind::Unicode;
        uint8_t wireType = 0;
        int size = 0;      // bytes of a fixed value, or the declared maximum of a variable one
        bool max = false;  // sent in chunks: varchar(max), nvarchar(max), varbinary(max)
        int precision = 0; // Decimal
        int scale = 0;     // Decimal; Time, DateTime2, DateTimeOffset: decimals of a second
    };

    // Dates without time have a type of their own from 7.3 on.
    explicit TdsRowSetEncoder(uint32_t tdsVersion)
        : mTdsVersion(tdsVersion) {}

    static constexpr qsizetype kNoLength = std::numeric_limits<qsizetype>::max();
    // What the values of one column are, gathered one value at a time, so that a plan can be made
    // for rows that are never all held.
    struct ColumnFacts {
        qsizetype values = 0; // not NULL
        int firstTypeId = 0;
        bool allInteger = true, allBit = true, allDouble = true, allDates = true, allBinary = true,
             allAnsi = true;
        int intWidth = 1;
        double largestMagnitude = 0;
        int decimalPrecision = 18, decimalScale = 0;
        bool fitsDeclaredDecimal = true, fitsWidestDecimal = true;
        bool wantDates = false;
        bool allNewDates = true; // time, datetime2 and datetimeoffset values in a form they are read from
        int firstYear = 1 << 30, lastYear = -(1 << 30);
        qsizetype shortestBinary = kNoLength, longestBinary = 0;
        qsizetype shortestText = kNoLength, longestText = 0; // characters of the value as text

        void Observe(const QVariant& value);
    };
    static ColumnFacts FactsFor(const SqlColumn& column);

    ColumnPlan Plan(const SqlColumn& column, const QList<QVariantList>& rows, int index) const;
    ColumnPlan Plan(const SqlColumn& column, const ColumnFacts& facts) const;
    // Flushes the writer after each row; stops early when the writer's sink stopped the reply.
    void Write(TdsWriter& out, const SqlRowSet& rows) const;
    // The same in pieces, for rows that come one by one: the COLMETADATA, then each ROW (false once
    // the writer's sink stopped the reply).
    void WriteMetadata(TdsWriter& out, const QList<SqlColumn>& columns, const QList<ColumnPlan>& plans) const;
    bool WriteRow(TdsWriter& out, const QList<ColumnPlan>& plans, const QVariantList& row) const;

    // The Windows-1252 code of a character; -1 when it has none.
    static int Cp1252(QChar c);

private:
    static bool fits(const ColumnPlan& plan, const QVariant& value);
    void writeValue(TdsWriter& out, const ColumnPlan& plan, const QVariant& value) const;

    uint32_t mTdsVersion;
};
