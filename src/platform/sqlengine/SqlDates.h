#pragma once

#include <QDate>
#include <QString>

// What SET DATEFORMAT, SET LANGUAGE and SET DATEFIRST chose for one session. The session owns it
// and its connections point at it, so that the built-in functions read a date as the session
// would at the moment they run.
struct DateOptions {
    QString dateFormat = QStringLiteral("mdy");
    QString language = QStringLiteral("us_english");
    int dateFirst = 7;
};

// A date and time read from a value: the date (1900-01-01 when the text had none) and the time of
// day in nanoseconds.
struct DateTimeValue {
    QDate date;
    qint64 nanos = 0;
    bool hasDate = false;
    bool hasTime = false;
};

namespace SqlDates {

enum class Kind { DateTime, SmallDateTime, Date, DateTime2, DateTimeOffset, Time };

// The kind a type name stands for; false when it is no date type.
bool KindOf(const QString& typeName, Kind* kind);
const char* TypeName(Kind kind);

constexpr qint64 kNanosPerSecond = 1000000000;
constexpr qint64 kNanosPerDay = 86400 * kNanosPerSecond;

// Reads text as the server reads it into kind under dateFormat ("mdy", "dmy", ...): 0 on success,
// else 241 (not a date) or 242 (a date out of the type's range). The value is rounded as the type
// keeps it: datetime to 1/300 second, smalldatetime to the minute.
int Parse(const QString& text, const QString& dateFormat, Kind kind, DateTimeValue* out);

// Rounds v to what kind keeps (datetime to 1/300 second, smalldatetime to the minute) and checks
// the type's range: 0, or 242 (241 for the types of the newer servers).
int Fit(Kind kind, DateTimeValue* v);

// The value as the database keeps it: "yyyy-MM-dd" for date, "HH:mm:ss" (and a fraction) for time,
// "yyyy-MM-dd HH:mm:ss.zzz" for the rest.
QString Stored(const DateTimeValue& v, Kind kind);

// The fractional seconds that time(n), datetime2(n) and datetimeoffset(n) keep, from a type's
// arguments as the conversions get them (either may be -1): 7 when none is given
// (SqlDateScales.cpp).
int FractionScale(qint64 length, qint64 scale);
// v rounded to scale decimals of a second, carrying into the next day (time wraps to midnight).
void RoundToScale(DateTimeValue* v, int scale);
// The value as the database keeps one of the newer types: exactly scale decimals of a second
// (none for 0), "HH:mm:ss.fffffff" for time, "yyyy-MM-dd HH:mm:ss.fffffff" for datetime2 and
// datetimeoffset (whose offset is always +00:00 here and not kept).
QString StoredScaled(const DateTimeValue& v, Kind kind, int scale);
// The text the server gives for a value of the kind: the kept form, datetimeoffset with its offset.
QString Shown(const DateTimeValue& v, Kind kind, int scale);
// A kept time of day ("10:00:00", "10:00:00.1234567") read back; false when text is none.
bool ReadStoredTime(const QString& text, qint64* nanos);

// A value as the database keeps it read back; false when text is in no kept form.
bool ReadStored(const QString& text, DateTimeValue* out);

// The value printed in a CONVERT style; false for a style that has no date form (281).
bool Styled(const DateTimeValue& v, int style, QString* out);

// The date order a CONVERT style reads text in; empty for a style unknown to dates.
QString StyleOrder(int style);

QString MonthName(int month, bool abbreviated);
QString DayName(int dayOfWeek, bool abbreviated); // dayOfWeek 1 = Monday
} // namespace SqlDates
