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

// A value as the database keeps it read back; false when text is in no kept form.
bool ReadStored(const QString& text, DateTimeValue* out);

// The value printed in a CONVERT style; false for a style that has no date form (281).
bool Styled(const DateTimeValue& v, int style, QString* out);

// The date order a CONVERT style reads text in; empty for a style unknown to dates.
QString StyleOrder(int style);

QString MonthName(int month, bool abbreviated);
QString DayName(int dayOfWeek, bool abbreviated); // dayOfWeek 1 = Monday
} // namespace SqlDates
