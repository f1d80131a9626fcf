// The date and time functions: DATEPART, DATENAME, DATEADD, DATEDIFF[_BIG], DATETRUNC, EOMONTH, the FROMPARTS
// family, SYSDATETIME and friends, ISDATE, PARSE, and CONVERT to and from dates. Text is read in the
// date order of the session that runs the statement.
#include "SqlDates.h"
#include "SqlFunctions.h"
#include "SqlValueAccess.h"
#include "SqliteDb.h"

#include <QDateTime>
#include <QTimeZone>
#include <cmath>
#include <sqlite3.h>

namespace {

using SqlDates::Kind;
using SqlDates::kNanosPerDay;
using SqlDates::kNanosPerSecond;

thread_local bool tTrying = false;

const QString kNotDateText =
    QStringLiteral("Conversion failed when converting date and/or time from character string.");

using SqlValueAccess::IsNull;
using SqlValueAccess::ResultText;
using SqlValueAccess::Text;

const DateOptions& Options(sqlite3_context* ctx) {
    static const DateOptions defaults;
    const auto* db = static_cast<SqliteDb*>(sqlite3_user_data(ctx));
    return db && db->DateSettings() ? *db->DateSettings() : defaults;
}

void DateError(sqlite3_context* ctx, int number, Kind kind) {
    if (number == 242)
        SqlFunctions::ResultError(ctx, 242,
                                  QStringLiteral("The conversion of a varchar data type to a %1 data type "
                                                 "resulted in an out-of-range value.")
                                      .arg(QLatin1String(SqlDates::TypeName(kind))),
                                  3);
    else
        SqlFunctions::ResultError(ctx, 241, kNotDateText);
}

// A date argument: a kept date, text in the session's order, or a number of days since 1900.
bool DateArg(sqlite3_context* ctx, sqlite3_value* v, DateTimeValue* out) {
    const int type = sqlite3_value_type(v);
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) {
        const double days = sqlite3_value_double(v);
        if (!(days > -53690.0 && days < 2958464.0)) {
            SqlFunctions::ResultError(
                ctx, 8115,
                QStringLiteral("Arithmetic overflow error converting expression to data type datetime."));
            return false;
        }
        const double whole = std::floor(days);
        out->date = QDate(1900, 1, 1).addDays(qint64(whole));
        out->nanos = qint64(std::llround((days - whole) * 86400000.0)) * 1000000;
        if (out->nanos >= kNanosPerDay) {
            out->nanos -= kNanosPerDay;
            out->date = out->date.addDays(1);
        }
        out->hasDate = out->hasTime = true;
        return true;
    }
    const QString text = Text(v);
    if (SqlDates::ReadStored(text, out))
        return true;
    if (const int e = SqlDates::Parse(text, Options(ctx).dateFormat, Kind::DateTime2, out); e != 0) {
        SqlFunctions::ResultError(ctx, 241, kNotDateText);
        return false;
    }
    return true;
}

enum class Part {
    None,
    Year,
    Quarter,
    Month,
    DayOfYear,
    Day,
    Week,
    Weekday,
    Hour,
    Minute,
    Second,
    Millisecond,
    Microsecond,
    Nanosecond,
    TzOffset,
    IsoWeek
};

Part PartOf(const QString& name) {
    static const QHash<QString, Part> parts = {
        {QStringLiteral("year"), Part::Year},       {QStringLiteral("yy"), Part::Year},
        {QStringLiteral("yyyy"), Part::Year},       {QStringLiteral("quarter"), Part::Quarter},
        {QStringLiteral("qq"), Part::Quarter},      {QStringLiteral("q"), Part::Quarter},
        {QStringLiteral("month"), Part::Month},     {QStringLiteral("mm"), Part::Month},
        {QStringLiteral("m"), Part::Month},         {QStringLiteral("dayofyear"), Part::DayOfYear},
        {QStringLiteral("dy"), Part::DayOfYear},    {QStringLiteral("y"), Part::DayOfYear},
        {QStringLiteral("day"), Part::Day},         {QStringLiteral("dd"), Part::Day},
        {QStringLiteral("d"), Part::Day},           {QStringLiteral("week"), Part::Week},
        {QStringLiteral("wk"), Part::Week},         {QStringLiteral("ww"), Part::Week},
        {QStringLiteral("weekday"), Part::Weekday}, {QStringLiteral("dw"), Part::Weekday},
        {QStringLiteral("w"), Part::Weekday},       {QStringLiteral("hour"), Part::Hour},
        {QStringLiteral("hh"), Part::Hour},         {QStringLiteral("minute"), Part::Minute},
        {QStringLiteral("mi"), Part::Minute},       {QStringLiteral("n"), Part::Minute},
        {QStringLiteral("second"), Part::Second},   {QStringLiteral("ss"), Part::Second},
        {QStringLiteral("s"), Part::Second},        {QStringLiteral("millisecond"), Part::Millisecond},
        {QStringLiteral("ms"), Part::Millisecond},  {QStringLiteral("microsecond"), Part::Microsecond},
        {QStringLiteral("mcs"), Part::Microsecond}, {QStringLiteral("nanosecond"), Part::Nanosecond},
        {QStringLiteral("ns"), Part::Nanosecond},   {QStringLiteral("tzoffset"), Part::TzOffset},
        {QStringLiteral("tz"), Part::TzOffset},     {QStringLiteral("iso_week"), Part::IsoWeek},
        {QStringLiteral("isowk"), Part::IsoWeek},   {QStringLiteral("isoww"), Part::IsoWeek},
    };
    return parts.value(name.toLower(), Part::None);
}

// The day of the week counted from the session's first day (1 .. 7).
int Weekday(const QDate& d, int dateFirst) {
    return (d.dayOfWeek() - dateFirst + 7) % 7 + 1;
}

qint64 PartValue(Part part, const DateTimeValue& v, int dateFirst) {
    const QDate& d = v.date;
    switch (part) {
    case Part::Year:
        return d.year();
    case Part::Quarter:
        return (d.month() - 1) / 3 + 1;
    case Part::Month:
        return d.month();
    case Part::DayOfYear:
        return d.dayOfYear();
    case Part::Day:
        return d.day();
    case Part::Week:
        // Week 1 holds January 1st; a week begins on the session's first day.
        return (d.dayOfYear() - 1 + Weekday(QDate(d.year(), 1, 1), dateFirst) - 1) / 7 + 1;
    case Part::Weekday:
        return Weekday(d, dateFirst);
    case Part::Hour:
        return v.nanos / (3600 * kNanosPerSecond);
    case Part::Minute:
        return v.nanos / (60 * kNanosPerSecond) % 60;
    case Part::Second:
        return v.nanos / kNanosPerSecond % 60;
    case Part::Millisecond:
        return v.nanos / 1000000 % 1000;
    case Part::Microsecond:
        return v.nanos / 1000 % 1000000;
    case Part::Nanosecond:
        return v.nanos % kNanosPerSecond;
    case Part::IsoWeek:
        return d.weekNumber();
    case Part::TzOffset:
    case Part::None:
        break;
    }
    return 0;
}

void DatePartFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    const Part part = PartOf(Text(a[0]));
    if (part == Part::None)
        return SqlFunctions::ResultError(
            ctx, 155, QStringLiteral("'%1' is not a recognized datepart option.").arg(Text(a[0])));
    if (IsNull(a[1]))
        return sqlite3_result_null(ctx);
    DateTimeValue v;
    if (!DateArg(ctx, a[1], &v))
        return;
    sqlite3_result_int64(ctx, PartValue(part, v, Options(ctx).dateFirst));
}

void DateNameFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    const Part part = PartOf(Text(a[0]));
    if (part == Part::None)
        return SqlFunctions::ResultError(
            ctx, 155, QStringLiteral("'%1' is not a recognized datepart option.").arg(Text(a[0])));
    if (IsNull(a[1]))
        return sqlite3_result_null(ctx);
    DateTimeValue v;
    if (!DateArg(ctx, a[1], &v))
        return;
    if (part == Part::Month)
        return ResultText(ctx, SqlDates::MonthName(v.date.month(), false));
    if (part == Part::Weekday)
        return ResultText(ctx, SqlDates::DayName(v.date.dayOfWeek(), false));
    ResultText(ctx, QString::number(PartValue(part, v, Options(ctx).dateFirst)));
}

// The value's date and time moved by n parts; false when it leaves the years 1 to 9999.
bool Add(Part part, qint64 n, DateTimeValue* v) {
    qint64 unit = 0;
    switch (part) {
    case Part::Year:
    case Part::Quarter:
    case Part::Month: {
        const qint64 months = part == Part::Year ? 12 : part == Part::Quarter ? 3 : 1;
        if (n > 120000 || n < -120000)
            return false;
        v->date = v->date.addMonths(int(n * months));
        return v->date.isValid() && v->date.year() >= 1 && v->date.year() <= 9999;
    }
    case Part::DayOfYear:
    case Part::Day:
    case Part::Weekday:
    case Part::Week:
        unit = (part == Part::Week ? 7 : 1) * kNanosPerDay;
        break;
    case Part::Hour:
        unit = 3600 * kNanosPerSecond;
        break;
    case Part::Minute:
        unit = 60 * kNanosPerSecond;
        break;
    case Part::Second:
        unit = kNanosPerSecond;
        break;
    case Part::Millisecond:
        unit = 1000000;
        break;
    case Part::Microsecond:
        unit = 1000;
        break;
    case Part::Nanosecond:
        unit = 1;
        break;
    default:
        return false;
    }
    qint64 delta = 0;
    qint64 nanos = 0;
    if (__builtin_mul_overflow(n, unit, &delta) || __builtin_add_overflow(v->nanos, delta, &nanos))
        return false;
    qint64 days = nanos / kNanosPerDay;
    nanos %= kNanosPerDay;
    if (nanos < 0) {
        nanos += kNanosPerDay;
        --days;
    }
    v->date = v->date.addDays(days);
    v->nanos = nanos;
    return v->date.isValid() && v->date.year() >= 1 && v->date.year() <= 9999;
}

// The type of a kept value whose column's type the translation didn't know: its form tells.
void KeptKind(sqlite3_value* v, Kind* kind, int* scale) {
    *kind = Kind::DateTime;
    *scale = 3;
    if (sqlite3_value_type(v) != SQLITE_TEXT)
        return;
    const QString text = Text(v);
    qint64 nanos = 0;
    if (text.size() == 10 && text[4] == u'-') {
        *kind = Kind::Date;
    } else if (SqlDates::ReadStoredTime(text, &nanos)) {
        *kind = Kind::Time;
        *scale = int(std::max<qsizetype>(0, text.size() - 9));
    } else if (text.size() >= 19 && text.size() <= 27 && text[4] == u'-' && text[10] == u' ' &&
               text.size() != 20 && text.size() != 23) {
        *kind = Kind::DateTime2;
        *scale = int(std::max<qsizetype>(0, text.size() - 20));
    }
}

// tsql_dateadd(part, n, value[, type, scale]): the result has the value's type. The translation
// names it where it knows it ('*' for a column, whose kept form tells); text alone gives a datetime.
void DateAddFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    const Part part = PartOf(Text(a[0]));
    if (part == Part::None || part == Part::TzOffset || part == Part::IsoWeek)
        return SqlFunctions::ResultError(
            ctx, 155, QStringLiteral("'%1' is not a recognized dateadd option.").arg(Text(a[0])));
    if (IsNull(a[1]) || IsNull(a[2]))
        return sqlite3_result_null(ctx);
    Kind kind = Kind::DateTime;
    int scale = 3;
    if (argc > 3 && !IsNull(a[3])) {
        const QString type = Text(a[3]);
        if (type == QLatin1String("*"))
            KeptKind(a[2], &kind, &scale);
        else if (!SqlDates::KindOf(type, &kind))
            kind = Kind::DateTime;
        else if (argc > 4)
            scale = SqlDates::FractionScale(-1, IsNull(a[4]) ? -1 : sqlite3_value_int64(a[4]));
    }
    const bool timeOfDay = part == Part::Hour || part == Part::Minute || part == Part::Second ||
                           part == Part::Millisecond || part == Part::Microsecond || part == Part::Nanosecond;
    if ((kind == Kind::Date && timeOfDay) || (kind == Kind::Time && !timeOfDay))
        return SqlFunctions::ResultError(
            ctx, 9810,
            QStringLiteral("The datepart %1 is not supported by date function dateadd for data type %2.")
                .arg(Text(a[0]).toLower(), QLatin1String(SqlDates::TypeName(kind))));
    DateTimeValue v;
    if (!DateArg(ctx, a[2], &v))
        return;
    const DateTimeValue before = v;
    const bool added = Add(part, sqlite3_value_int64(a[1]), &v);
    if (kind == Kind::Time && added) {
        v.date = before.date; // a time of day wraps around midnight
    }
    const Kind fit = kind == Kind::DateTime || kind == Kind::SmallDateTime ? kind : Kind::DateTime2;
    if (!added || SqlDates::Fit(fit, &v) != 0)
        return SqlFunctions::ResultError(ctx, 517,
                                         QStringLiteral("Adding a value to a '%1' column caused an overflow.")
                                             .arg(QLatin1String(SqlDates::TypeName(kind))));
    switch (kind) {
    case Kind::DateTime2:
    case Kind::DateTimeOffset:
    case Kind::Time:
        SqlDates::RoundToScale(&v, scale);
        ResultText(ctx, SqlDates::StoredScaled(v, kind, scale));
        return;
    default:
        ResultText(ctx, SqlDates::Stored(v, kind));
    }
}

// DATETRUNC(part, value): the value cut to the start of its part. A kept date alone stays a date.
void DateTruncFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    const Part part = PartOf(Text(a[0]));
    if (part == Part::None || part == Part::TzOffset || part == Part::Weekday || part == Part::Nanosecond)
        return SqlFunctions::ResultError(
            ctx, 9806,
            QStringLiteral(
                "The datepart %1 is not supported by date function datetrunc for data type datetime2.")
                .arg(Text(a[0]).toLower()));
    if (IsNull(a[1]))
        return sqlite3_result_null(ctx);
    DateTimeValue v;
    if (!DateArg(ctx, a[1], &v))
        return;
    const bool dateOnly = sqlite3_value_type(a[1]) == SQLITE_TEXT && sqlite3_value_bytes(a[1]) == 10;
    QDate& d = v.date;
    qint64 unit = 0;
    switch (part) {
    case Part::Year:
        d = QDate(d.year(), 1, 1);
        v.nanos = 0;
        break;
    case Part::Quarter:
        d = QDate(d.year(), (d.month() - 1) / 3 * 3 + 1, 1);
        v.nanos = 0;
        break;
    case Part::Month:
        d = QDate(d.year(), d.month(), 1);
        v.nanos = 0;
        break;
    case Part::Week:
        d = d.addDays(-(Weekday(d, Options(ctx).dateFirst) - 1));
        v.nanos = 0;
        break;
    case Part::IsoWeek:
        d = d.addDays(-(d.dayOfWeek() - 1));
        v.nanos = 0;
        break;
    case Part::DayOfYear:
    case Part::Day:
        v.nanos = 0;
        break;
    case Part::Hour:
        unit = 3600 * kNanosPerSecond;
        break;
    case Part::Minute:
        unit = 60 * kNanosPerSecond;
        break;
    case Part::Second:
        unit = kNanosPerSecond;
        break;
    case Part::Millisecond:
        unit = 1000000;
        break;
    default:
        unit = 1000;
    }
    if (unit != 0)
        v.nanos = v.nanos / unit * unit;
    if (!d.isValid() || d.year() < 1)
        return SqlFunctions::ResultError(
            ctx, 517, QStringLiteral("Adding a value to a 'datetime' column caused an overflow."));
    ResultText(ctx, SqlDates::Stored(v, dateOnly && unit == 0 ? Kind::Date : Kind::DateTime2));
}

// How many boundaries of the part lie between two values, as the server counts them: the year
// boundaries between Dec 31 and Jan 1 is one. Weeks always begin on Sunday here.
bool Difference(Part part, const DateTimeValue& a, const DateTimeValue& b, qint64* out) {
    const qint64 days = b.date.toJulianDay() - a.date.toJulianDay();
    switch (part) {
    case Part::Year:
        *out = b.date.year() - a.date.year();
        return true;
    case Part::Quarter:
        *out = (qint64(b.date.year()) * 4 + (b.date.month() - 1) / 3) -
               (qint64(a.date.year()) * 4 + (a.date.month() - 1) / 3);
        return true;
    case Part::Month:
        *out = (qint64(b.date.year()) * 12 + b.date.month()) - (qint64(a.date.year()) * 12 + a.date.month());
        return true;
    case Part::DayOfYear:
    case Part::Day:
    case Part::Weekday:
        *out = days;
        return true;
    case Part::Week: {
        // Julian day 0 is a Monday, so a week from Sunday is (jd + 1) / 7.
        const auto week = [](const QDate& d) {
            const qint64 jd = d.toJulianDay() + 1;
            return jd >= 0 ? jd / 7 : (jd - 6) / 7;
        };
        *out = week(b.date) - week(a.date);
        return true;
    }
    default:
        break;
    }
    qint64 unit = 0;
    switch (part) {
    case Part::Hour:
        unit = 3600 * kNanosPerSecond;
        break;
    case Part::Minute:
        unit = 60 * kNanosPerSecond;
        break;
    case Part::Second:
        unit = kNanosPerSecond;
        break;
    case Part::Millisecond:
        unit = 1000000;
        break;
    case Part::Microsecond:
        unit = 1000;
        break;
    default:
        unit = 1;
    }
    qint64 perDay = kNanosPerDay / unit;
    qint64 whole = 0;
    qint64 result = 0;
    if (__builtin_mul_overflow(days, perDay, &whole) ||
        __builtin_add_overflow(whole, b.nanos / unit - a.nanos / unit, &result))
        return false;
    *out = result;
    return true;
}

void DateDiffWith(sqlite3_context* ctx, sqlite3_value** a, bool big) {
    const QString name = big ? QStringLiteral("datediff_big") : QStringLiteral("datediff");
    const Part part = PartOf(Text(a[0]));
    if (part == Part::None || part == Part::TzOffset || part == Part::IsoWeek)
        return SqlFunctions::ResultError(
            ctx, 155, QStringLiteral("'%1' is not a recognized %2 option.").arg(Text(a[0]), name));
    if (IsNull(a[1]) || IsNull(a[2]))
        return sqlite3_result_null(ctx);
    DateTimeValue x, y;
    if (!DateArg(ctx, a[1], &x) || !DateArg(ctx, a[2], &y))
        return;
    qint64 r = 0;
    if (!Difference(part, x, y, &r) || (!big && (r > INT32_MAX || r < INT32_MIN)))
        return SqlFunctions::ResultError(
            ctx, 535,
            QStringLiteral("The %1 function resulted in an overflow. The number of dateparts separating two "
                           "date/time instances is too large. Try to use %1 with a less precise datepart.")
                .arg(name));
    sqlite3_result_int64(ctx, r);
}

void DateDiffFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    DateDiffWith(ctx, a, false);
}

void DateDiffBigFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    DateDiffWith(ctx, a, true);
}

void EoMonthFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (IsNull(a[0]) || (argc > 1 && IsNull(a[1])))
        return sqlite3_result_null(ctx);
    DateTimeValue v;
    if (!DateArg(ctx, a[0], &v))
        return;
    if (argc > 1 && !Add(Part::Month, sqlite3_value_int64(a[1]), &v))
        return SqlFunctions::ResultError(
            ctx, 517, QStringLiteral("Adding a value to a 'date' column caused an overflow."));
    v.date = QDate(v.date.year(), v.date.month(), v.date.daysInMonth());
    ResultText(ctx, SqlDates::Stored(v, Kind::Date));
}

// The arguments of a FROMPARTS function as numbers; false (and NULL set) when one is NULL.
bool Parts(sqlite3_context* ctx, int argc, sqlite3_value** a, qint64* out) {
    for (int i = 0; i < argc; ++i) {
        if (IsNull(a[i])) {
            sqlite3_result_null(ctx);
            return false;
        }
        out[i] = sqlite3_value_int64(a[i]);
    }
    return true;
}

bool MakeDate(qint64 y, qint64 m, qint64 d, QDate* out) {
    if (y < 1 || y > 9999 || m < 1 || m > 12 || d < 1 || d > 31)
        return false;
    *out = QDate(int(y), int(m), int(d));
    return out->isValid();
}

bool MakeTime(qint64 h, qint64 mi, qint64 s, qint64 nanos, qint64* out) {
    if (h < 0 || h > 23 || mi < 0 || mi > 59 || s < 0 || s > 59 || nanos < 0 || nanos >= kNanosPerSecond)
        return false;
    *out = ((h * 60 + mi) * 60 + s) * kNanosPerSecond + nanos;
    return true;
}

void CannotConstruct(sqlite3_context* ctx, const char* type) {
    SqlFunctions::ResultError(
        ctx, 289,
        QStringLiteral("Cannot construct data type %1, some of the arguments have values "
                       "which are not valid.")
            .arg(QLatin1String(type)));
}

// Fractions of the given precision as nanoseconds; -1 when they don't fit it.
qint64 FractionNanos(qint64 fractions, qint64 precision) {
    if (precision < 0 || precision > 7 || fractions < 0)
        return -1;
    qint64 scale = 1;
    for (qint64 i = 0; i < precision; ++i)
        scale *= 10;
    if (fractions >= scale)
        return -1;
    return fractions * (kNanosPerSecond / scale);
}

void DateFromPartsFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    qint64 p[3];
    if (!Parts(ctx, argc, a, p))
        return;
    DateTimeValue v;
    if (!MakeDate(p[0], p[1], p[2], &v.date))
        return CannotConstruct(ctx, "date");
    ResultText(ctx, SqlDates::Stored(v, Kind::Date));
}

void DateTimeFromPartsFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    qint64 p[7];
    if (!Parts(ctx, argc, a, p))
        return;
    DateTimeValue v;
    if (p[6] < 0 || p[6] > 999 || !MakeDate(p[0], p[1], p[2], &v.date) || v.date.year() < 1753 ||
        !MakeTime(p[3], p[4], p[5], p[6] * 1000000, &v.nanos))
        return CannotConstruct(ctx, "datetime");
    SqlDates::Fit(Kind::DateTime, &v);
    ResultText(ctx, SqlDates::Stored(v, Kind::DateTime));
}

void DateTime2FromPartsFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    qint64 p[8];
    if (!Parts(ctx, argc, a, p))
        return;
    DateTimeValue v;
    const qint64 fraction = FractionNanos(p[6], p[7]);
    if (fraction < 0 || !MakeDate(p[0], p[1], p[2], &v.date) ||
        !MakeTime(p[3], p[4], p[5], fraction, &v.nanos))
        return CannotConstruct(ctx, "datetime2");
    ResultText(ctx, SqlDates::Stored(v, Kind::DateTime2));
}

void SmallDateTimeFromPartsFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    qint64 p[5];
    if (!Parts(ctx, argc, a, p))
        return;
    DateTimeValue v;
    if (!MakeDate(p[0], p[1], p[2], &v.date) || v.date < QDate(1900, 1, 1) || v.date > QDate(2079, 6, 6) ||
        !MakeTime(p[3], p[4], 0, 0, &v.nanos))
        return CannotConstruct(ctx, "smalldatetime");
    ResultText(ctx, SqlDates::Stored(v, Kind::SmallDateTime));
}

void TimeFromPartsFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    qint64 p[5];
    if (!Parts(ctx, argc, a, p))
        return;
    DateTimeValue v;
    const qint64 fraction = FractionNanos(p[3], p[4]);
    if (fraction < 0 || !MakeTime(p[0], p[1], p[2], fraction, &v.nanos))
        return CannotConstruct(ctx, "time");
    QString text = SqlDates::Stored(v, Kind::Time).left(8);
    if (p[4] > 0)
        text += u'.' + QStringLiteral("%1").arg(p[3], int(p[4]), 10, QLatin1Char('0'));
    ResultText(ctx, text);
}

// The clock to the millisecond, as dates are kept, so that a result column of it reads as a date;
// with the zone's offset the server's seven digits.
QString NowText(const QDateTime& now, bool offset) {
    QString s = now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    if (offset) {
        s += QStringLiteral("0000");
        const int seconds = now.offsetFromUtc();
        const int minutes = std::abs(seconds) / 60;
        s += QStringLiteral(" %1%2:%3")
                 .arg(QChar(seconds < 0 ? u'-' : u'+'))
                 .arg(minutes / 60, 2, 10, QLatin1Char('0'))
                 .arg(minutes % 60, 2, 10, QLatin1Char('0'));
    }
    return s;
}

void SysDateTimeFn(sqlite3_context* ctx, int, sqlite3_value**) {
    ResultText(ctx, NowText(QDateTime::currentDateTime(), false));
}

void SysUtcDateTimeFn(sqlite3_context* ctx, int, sqlite3_value**) {
    ResultText(ctx, NowText(QDateTime::currentDateTimeUtc(), false));
}

void SysDateTimeOffsetFn(sqlite3_context* ctx, int, sqlite3_value**) {
    ResultText(ctx, NowText(QDateTime::currentDateTime(), true));
}

void IsDateFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    // A number is read as its text, as the server converts it to varchar first.
    if (sqlite3_value_type(a[0]) == SQLITE_NULL || sqlite3_value_type(a[0]) == SQLITE_BLOB)
        return sqlite3_result_int(ctx, 0);
    DateTimeValue v;
    sqlite3_result_int(ctx,
                       SqlDates::Parse(Text(a[0]), Options(ctx).dateFormat, Kind::DateTime, &v) == 0 ? 1 : 0);
}

// tsql_parse(type, value, culture, try): PARSE and TRY_PARSE of text into a date or a number.
void ParseFn(sqlite3_context* ctx, int, sqlite3_value** a) {
    const SqlFunctions::TryScope trying(sqlite3_value_int(a[3]) != 0);
    if (IsNull(a[1]))
        return sqlite3_result_null(ctx);
    const QString type = Text(a[0]).toLower();
    const QString culture = IsNull(a[2]) ? QStringLiteral("en-US") : Text(a[2]);
    const QString text = Text(a[1]).trimmed();
    if (sqlite3_value_type(a[1]) != SQLITE_TEXT)
        return SqlFunctions::ResultError(
            ctx, 8116, QStringLiteral("Argument data type int is invalid for argument 1 of parse function."));
    Kind kind = Kind::DateTime;
    if (SqlDates::KindOf(type, &kind)) {
        const bool dayFirst =
            culture.compare(QLatin1String("en-US"), Qt::CaseInsensitive) != 0 && !culture.isEmpty();
        DateTimeValue v;
        QString t = text;
        // A weekday name in front ("Monday, 13 December 2010") says nothing more.
        const qsizetype comma = t.indexOf(u',');
        if (comma > 0) {
            const QString first = t.left(comma).trimmed();
            for (int d = 1; d <= 7; ++d)
                if (first.compare(SqlDates::DayName(d, false), Qt::CaseInsensitive) == 0 ||
                    first.compare(SqlDates::DayName(d, true), Qt::CaseInsensitive) == 0)
                    t = t.mid(comma + 1).trimmed();
        }
        if (SqlDates::Parse(t, dayFirst ? QStringLiteral("dmy") : QStringLiteral("mdy"), kind, &v) != 0)
            return SqlFunctions::ResultError(
                ctx, 9819,
                QStringLiteral("Error converting string value '%1' into data type %2 using culture '%3'.")
                    .arg(text, type, culture));
        return ResultText(ctx, SqlDates::Stored(v, kind));
    }
    QString digits = text;
    digits.remove(u',');
    digits.remove(u'$');
    bool ok = false;
    const double d = digits.toDouble(&ok);
    if (!ok)
        return SqlFunctions::ResultError(
            ctx, 9819,
            QStringLiteral("Error converting string value '%1' into data type %2 using culture '%3'.")
                .arg(text, type, culture));
    if (type == QLatin1String("int") || type == QLatin1String("bigint") ||
        type == QLatin1String("smallint") || type == QLatin1String("tinyint")) {
        if (!(std::fabs(d) < 9.2e18))
            return SqlFunctions::ResultError(
                ctx, 8115,
                QStringLiteral("Arithmetic overflow error converting expression to data type %1.").arg(type));
        return sqlite3_result_int64(ctx, qint64(d));
    }
    sqlite3_result_double(ctx, d);
}

} // namespace

namespace SqlFunctions {

TryScope::TryScope(bool active)
    : mPrevious(tTrying) {
    tTrying = active;
}

TryScope::~TryScope() {
    tTrying = mPrevious;
}

void ResultError(sqlite3_context* ctx, long number, const QString& text, int state) {
    if (tTrying && number != 529)
        return sqlite3_result_null(ctx);
    const QString head =
        state == 1 ? QString::number(number) : QStringLiteral("%1.%2").arg(number).arg(state);
    const QByteArray b = QStringLiteral("TSQL%1:%2").arg(head, text).toUtf8();
    sqlite3_result_error(ctx, b.constData(), int(b.size()));
}

bool ConvertStyled(sqlite3_context* ctx, const QString& type, qint64 length, int style, sqlite3_value* v,
                   int fractionScale) {
    if (ConvertBinaryStyle(ctx, type, style, v))
        return true;
    Kind kind = Kind::DateTime;
    const int vt = sqlite3_value_type(v);
    if (SqlDates::KindOf(type, &kind)) {
        DateTimeValue d;
        if (vt == SQLITE_TEXT) {
            const QString text = Text(v);
            // A kept value is a date already, whatever the session's order; a literal in the kept
            // form reads the same way in every order but ydm.
            if (SqlDates::ReadStored(text, &d)) {
                if (const int e = SqlDates::Fit(kind, &d); e != 0) {
                    DateError(ctx, e, kind);
                    return true;
                }
            } else {
                QString order = Options(ctx).dateFormat;
                if (style != 0) {
                    order = SqlDates::StyleOrder(style);
                    if (order.isEmpty()) {
                        ResultError(
                            ctx, 281,
                            QStringLiteral("%1 is not a valid style number when converting from varchar "
                                           "to a date and/or time.")
                                .arg(style));
                        return true;
                    }
                }
                if (const int e = SqlDates::Parse(text, order, kind, &d); e != 0) {
                    DateError(ctx, e, kind);
                    return true;
                }
            }
        } else if (vt == SQLITE_INTEGER || vt == SQLITE_FLOAT) {
            if (kind != Kind::DateTime && kind != Kind::SmallDateTime) {
                ResultError(ctx, 529,
                            QStringLiteral("Explicit conversion from data type %1 to %2 is not allowed.")
                                .arg(vt == SQLITE_INTEGER ? QStringLiteral("int") : QStringLiteral("float"),
                                     QLatin1String(SqlDates::TypeName(kind))));
                return true;
            }
            if (!DateArg(ctx, v, &d))
                return true;
        } else {
            return false;
        }
        if (kind == Kind::DateTime2 || kind == Kind::DateTimeOffset || kind == Kind::Time) {
            SqlDates::RoundToScale(&d, fractionScale);
            ResultText(ctx, SqlDates::StoredScaled(d, kind, fractionScale));
        } else {
            ResultText(ctx, SqlDates::Stored(d, kind));
        }
        return true;
    }
    // A kept date printed in a style; text that is no kept date is text, whatever the style.
    if (vt != SQLITE_TEXT || !(type.contains(QLatin1String("char")) || type == QLatin1String("text")))
        return false;
    const QString text = Text(v);
    DateTimeValue d;
    if (!SqlDates::ReadStored(text, &d))
        return false;
    // Without a style only a full datetime reads as the default style; a date alone stays ISO.
    if (style == 0 && !d.hasTime)
        return false;
    QString out;
    if (!SqlDates::Styled(d, style, &out)) {
        ResultError(
            ctx, 281,
            QStringLiteral("%1 is not a valid style number when converting from datetime to a character "
                           "string.")
                .arg(style));
        return true;
    }
    const qint64 max = length == -1 ? 30 : length;
    if (max >= 0 && out.size() > max)
        out.truncate(max);
    if ((type == QLatin1String("char") || type == QLatin1String("nchar")) && max > 0 && out.size() < max)
        out = out.leftJustified(max, u' ');
    ResultText(ctx, out);
    return true;
}

void RegisterDates(SqliteDb& db) {
    struct Entry {
        const char* name;
        int args;
        void (*fn)(sqlite3_context*, int, sqlite3_value**);
        bool deterministic;
    };
    const Entry entries[] = {
        {"tsql_datepart", 2, DatePartFn, true},
        {"tsql_datename", 2, DateNameFn, true},
        {"tsql_dateadd", 3, DateAddFn, true},
        {"tsql_dateadd", 5, DateAddFn, true},
        {"tsql_datediff", 3, DateDiffFn, true},
        {"tsql_datediff_big", 3, DateDiffBigFn, true},
        {"tsql_datetrunc", 2, DateTruncFn, true},
        {"tsql_eomonth", 1, EoMonthFn, true},
        {"tsql_eomonth", 2, EoMonthFn, true},
        {"tsql_datefromparts", 3, DateFromPartsFn, true},
        {"tsql_datetimefromparts", 7, DateTimeFromPartsFn, true},
        {"tsql_datetime2fromparts", 8, DateTime2FromPartsFn, true},
        {"tsql_smalldatetimefromparts", 5, SmallDateTimeFromPartsFn, true},
        {"tsql_timefromparts", 5, TimeFromPartsFn, true},
        {"tsql_sysdatetime", 0, SysDateTimeFn, false},
        {"tsql_sysutcdatetime", 0, SysUtcDateTimeFn, false},
        {"tsql_sysdatetimeoffset", 0, SysDateTimeOffsetFn, false},
        {"tsql_isdate", 1, IsDateFn, true},
        {"tsql_parse", 4, ParseFn, true},
    };
    for (const Entry& e : entries)
        sqlite3_create_function_v2(db.Handle(), e.name, e.args,
                                   SQLITE_UTF8 | (e.deterministic ? SQLITE_DETERMINISTIC : 0), &db, e.fn,
                                   nullptr, nullptr, nullptr);
}

} // namespace SqlFunctions
