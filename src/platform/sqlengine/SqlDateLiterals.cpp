// Dates read from text as the server reads them: ISO forms, numeric forms in the session's date
// order, month names, times with AM and PM; and printed in the CONVERT styles.
#include "SqlDates.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

const char* const kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                               "July",    "August",   "September", "October", "November", "December"};
const char* const kDays[] = {"Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};

constexpr int kNotDate = 241;
constexpr int kOutOfRange = 242;

bool AllDigits(const QString& s) {
    if (s.isEmpty())
        return false;
    for (const QChar c : s)
        if (c < u'0' || c > u'9')
            return false;
    return true;
}

// A number of at most nine digits; -1 when s is none.
int Number(const QString& s) {
    if (!AllDigits(s) || s.size() > 9)
        return -1;
    return s.toInt();
}

// The month a name or its first three letters stand for, 0 when none.
int MonthOf(const QString& word) {
    if (word.size() < 3)
        return 0;
    for (int m = 0; m < 12; ++m) {
        const QString full = QString::fromLatin1(kMonths[m]);
        if (full.startsWith(word, Qt::CaseInsensitive) ||
            (word.size() == 4 && m == 8 && word.compare(QLatin1String("sept"), Qt::CaseInsensitive) == 0))
            return m + 1;
    }
    return 0;
}

// A year of two digits under the default cutoff of 2049.
int FullYear(const QString& digits) {
    const int y = Number(digits);
    if (digits.size() == 2)
        return y < 50 ? 2000 + y : 1900 + y;
    if (digits.size() == 4)
        return y;
    return -1;
}

// Ticks of fraction digits: ".9" is 900 ms, ":9" after seconds is 9 ms.
qint64 FractionNanos(const QString& digits, bool milliseconds) {
    if (digits.isEmpty())
        return 0;
    if (milliseconds)
        return qint64(Number(digits.left(3))) * 1000000;
    QString d = digits.left(9);
    while (d.size() < 9)
        d += u'0';
    return d.toLongLong();
}

// The time part: h:m[:s[.f | :ms]] with an optional AM/PM, or a bare hour with AM/PM.
int ParseTime(QString t, DateTimeValue* out) {
    t = t.trimmed();
    int meridian = 0; // 1 AM, 2 PM
    if (t.endsWith(QLatin1String("AM"), Qt::CaseInsensitive))
        meridian = 1;
    else if (t.endsWith(QLatin1String("PM"), Qt::CaseInsensitive))
        meridian = 2;
    if (meridian != 0)
        t = t.left(t.size() - 2).trimmed();
    static const QRegularExpression re(
        QStringLiteral("^(\\d{1,2})(?::(\\d{1,2})(?::(\\d{1,2})(?:([.:])(\\d{0,9}))?)?)?$"));
    const QRegularExpressionMatch m = re.match(t);
    if (!m.hasMatch() || (meridian == 0 && !m.hasCaptured(2)))
        return kNotDate;
    int hour = Number(m.captured(1));
    const int minute = m.hasCaptured(2) ? Number(m.captured(2)) : 0;
    const int second = m.hasCaptured(3) ? Number(m.captured(3)) : 0;
    if (meridian != 0) {
        if (hour > 12)
            return kNotDate;
        if (hour == 12)
            hour = 0;
        if (meridian == 2)
            hour += 12;
    }
    if (hour > 23 || minute > 59 || second > 59)
        return kNotDate;
    const qint64 fraction =
        m.hasCaptured(5) ? FractionNanos(m.captured(5), m.captured(4) == QLatin1String(":")) : 0;
    out->nanos = ((qint64(hour) * 60 + minute) * 60 + second) * SqlDates::kNanosPerSecond + fraction;
    out->hasTime = true;
    return 0;
}

// A date of numbers in the given order of y, m and d.
int NumericDate(const QStringList& parts, const QString& order, bool strictRange, DateTimeValue* out) {
    if (parts.size() != 3)
        return kNotDate;
    int y = -1, mo = -1, d = -1;
    for (int i = 0; i < 3; ++i) {
        const QString& p = parts[i];
        if (!AllDigits(p))
            return kNotDate;
        switch (order[i].unicode()) {
        case 'y':
            y = FullYear(p);
            break;
        case 'm':
            mo = p.size() <= 2 ? Number(p) : -1;
            break;
        default:
            d = p.size() <= 2 ? Number(p) : -1;
        }
    }
    if (y < 0 || mo < 0 || d < 0)
        return kNotDate;
    const QDate date(y, mo, d);
    if (!date.isValid())
        return strictRange ? kOutOfRange : kNotDate;
    out->date = date;
    out->hasDate = true;
    return 0;
}

// A date with a month name: the other numbers are the day and the year, whichever order.
int AlphabeticDate(const QString& text, DateTimeValue* out) {
    static const QRegularExpression split(QStringLiteral("[\\s,/.-]+"));
    const QStringList words = text.split(split, Qt::SkipEmptyParts);
    int month = 0;
    QStringList numbers;
    for (const QString& w : words) {
        if (AllDigits(w)) {
            numbers.append(w);
        } else {
            if (month != 0)
                return kNotDate;
            month = MonthOf(w);
            if (month == 0)
                return kNotDate;
        }
    }
    int year = -1, day = 1;
    if (numbers.size() == 1) {
        if (numbers[0].size() != 4)
            return kNotDate;
        year = numbers[0].toInt();
    } else if (numbers.size() == 2) {
        const bool yearFirst = numbers[0].size() == 4;
        day = Number(numbers[yearFirst ? 1 : 0]);
        year = FullYear(numbers[yearFirst ? 0 : 1]);
        if (numbers[yearFirst ? 1 : 0].size() > 2)
            return kNotDate;
    } else {
        return kNotDate;
    }
    if (year < 0 || month == 0)
        return kNotDate;
    const QDate date(year, month, day);
    if (!date.isValid())
        return kNotDate;
    out->date = date;
    out->hasDate = true;
    return 0;
}

int ParseDatePart(const QString& text, const QString& dateFormat, SqlDates::Kind kind, DateTimeValue* out) {
    const bool legacy = kind == SqlDates::Kind::DateTime || kind == SqlDates::Kind::SmallDateTime;
    if (text.isEmpty()) {
        out->date = QDate(1900, 1, 1);
        return 0;
    }
    if (AllDigits(text)) {
        // Unseparated: always year, month, day.
        QString y, m, d;
        if (text.size() == 8) {
            y = text.left(4);
            m = text.mid(4, 2);
            d = text.mid(6, 2);
        } else if (text.size() == 6) {
            y = text.left(2);
            m = text.mid(2, 2);
            d = text.mid(4, 2);
        } else if (text.size() == 4) {
            out->date = QDate(text.toInt(), 1, 1);
            out->hasDate = true;
            return 0;
        } else {
            return kNotDate;
        }
        return NumericDate({y, m, d}, QStringLiteral("ymd"), legacy, out);
    }
    for (const QChar c : text)
        if (c.isLetter())
            return AlphabeticDate(text, out);
    static const QRegularExpression numeric(QStringLiteral("^(\\d+)([/.-])(\\d+)\\2(\\d+)$"));
    const QRegularExpressionMatch m = numeric.match(text);
    if (!m.hasMatch())
        return kNotDate;
    const QStringList parts = {m.captured(1), m.captured(3), m.captured(4)};
    QString order = dateFormat;
    if (parts[0].size() == 4) {
        // A year first: ISO for the newer types; the older ones keep the order of month and day
        // the session gives them, so that under dmy '2024-05-21' is the 5th of a 21st month.
        const bool dayFirst = dateFormat.indexOf(u'd') < dateFormat.indexOf(u'm');
        order = legacy && dayFirst ? QStringLiteral("ydm") : QStringLiteral("ymd");
    } else if (!legacy && dateFormat == QLatin1String("ydm")) {
        return kNotDate;
    }
    return NumericDate(parts, order, legacy, out);
}

} // namespace

// Rounds to what the type keeps and checks its range.
int SqlDates::Fit(Kind kind, DateTimeValue* v) {
    using SqlDates::kNanosPerDay;
    using SqlDates::kNanosPerSecond;
    if (kind == SqlDates::Kind::DateTime) {
        const qint64 seconds = v->nanos / kNanosPerSecond;
        const qint64 rest = v->nanos % kNanosPerSecond;
        const qint64 ticks = (rest * 300 + kNanosPerSecond / 2) / kNanosPerSecond; // 1/300 s
        const qint64 millis = (ticks * 10 + 1) / 3;
        v->nanos = seconds * kNanosPerSecond + millis * 1000000;
    } else if (kind == SqlDates::Kind::SmallDateTime) {
        const qint64 minute = 60 * kNanosPerSecond;
        // 29.998 seconds and more round up, as the server rounds.
        v->nanos = (v->nanos + minute / 2 + 2000000) / minute * minute;
    } else {
        v->nanos = v->nanos / 100 * 100; // the newer types keep 100 ns
    }
    if (v->nanos >= kNanosPerDay) {
        v->nanos -= kNanosPerDay;
        v->date = v->date.addDays(1);
    }
    const int year = v->date.year();
    if (kind == SqlDates::Kind::DateTime && (year < 1753 || year > 9999))
        return kOutOfRange;
    if (kind == SqlDates::Kind::SmallDateTime && (v->date < QDate(1900, 1, 1) || v->date > QDate(2079, 6, 6)))
        return kOutOfRange;
    if (year < 1 || year > 9999)
        return kNotDate;
    return 0;
}

namespace {

QString Pad(qint64 n, int width) {
    return QStringLiteral("%1").arg(n, width, 10, QLatin1Char('0'));
}

} // namespace

namespace SqlDates {

bool KindOf(const QString& typeName, Kind* kind) {
    static const QHash<QString, Kind> kinds = {{QStringLiteral("datetime"), Kind::DateTime},
                                               {QStringLiteral("smalldatetime"), Kind::SmallDateTime},
                                               {QStringLiteral("date"), Kind::Date},
                                               {QStringLiteral("datetime2"), Kind::DateTime2},
                                               {QStringLiteral("datetimeoffset"), Kind::DateTimeOffset},
                                               {QStringLiteral("time"), Kind::Time}};
    const auto it = kinds.find(typeName.toLower());
    if (it == kinds.end())
        return false;
    *kind = *it;
    return true;
}

const char* TypeName(Kind kind) {
    switch (kind) {
    case Kind::DateTime:
        return "datetime";
    case Kind::SmallDateTime:
        return "smalldatetime";
    case Kind::Date:
        return "date";
    case Kind::DateTime2:
        return "datetime2";
    case Kind::DateTimeOffset:
        return "datetimeoffset";
    case Kind::Time:
        return "time";
    }
    return "datetime";
}

int Parse(const QString& text, const QString& dateFormat, Kind kind, DateTimeValue* out) {
    *out = DateTimeValue();
    out->date = QDate(1900, 1, 1);
    QString t = text.trimmed();
    // ISO 8601: yyyy-mm-ddThh:mi[:ss[.fff]], with a zone for datetimeoffset.
    static const QRegularExpression iso(QStringLiteral(
        "^(\\d{4})-(\\d{2})-(\\d{2})T(\\d{2}:\\d{2}(?::\\d{2}(?:\\.\\d{1,9})?)?)(Z|[+-]\\d{2}:\\d{2})?$"));
    if (const QRegularExpressionMatch m = iso.match(t); m.hasMatch()) {
        const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
        if (!date.isValid())
            return kind == Kind::DateTime || kind == Kind::SmallDateTime ? kOutOfRange : kNotDate;
        if (const int e = ParseTime(m.captured(4), out); e != 0)
            return e;
        out->date = date;
        out->hasDate = true;
        return Fit(kind, out);
    }
    // A zone at the end is datetimeoffset's alone; elsewhere it is no date.
    static const QRegularExpression zone(QStringLiteral("\\s*(Z|[+-]\\d{2}:\\d{2})$"));
    if (const QRegularExpressionMatch m = zone.match(t); m.hasMatch() && t.contains(u' ')) {
        if (kind != Kind::DateTimeOffset)
            return kNotDate;
        t.truncate(m.capturedStart());
    }
    // The time is the words from the first one with a colon or an AM/PM on.
    static const QRegularExpression timeStart(QStringLiteral("(^|\\s)(\\d{1,2}:|\\d{1,2}\\s*[AaPp][Mm]\\b)"));
    QString datePart = t;
    if (const QRegularExpressionMatch m = timeStart.match(t); m.hasMatch()) {
        datePart = t.left(m.capturedStart(2)).trimmed();
        if (const int e = ParseTime(t.mid(m.capturedStart(2)), out); e != 0)
            return e;
    }
    if (datePart.endsWith(u'T') || datePart.contains(u':'))
        return kNotDate;
    if (kind == Kind::Time && datePart.isEmpty())
        return out->hasTime || t.isEmpty() ? 0 : kNotDate;
    if (const int e = ParseDatePart(datePart, dateFormat, kind, out); e != 0)
        return e;
    return Fit(kind, out);
}

QString Stored(const DateTimeValue& v, Kind kind) {
    const qint64 ms = v.nanos / 1000000;
    const QString time =
        QStringLiteral("%1:%2:%3").arg(Pad(ms / 3600000, 2), Pad(ms / 60000 % 60, 2), Pad(ms / 1000 % 60, 2));
    if (kind == Kind::Time)
        return ms % 1000 == 0 ? time : time + u'.' + Pad(ms % 1000, 3);
    QString date = v.date.toString(QStringLiteral("yyyy-MM-dd"));
    if (kind == Kind::Date)
        return date;
    return date + u' ' + time + u'.' + Pad(ms % 1000, 3);
}

bool ReadStored(const QString& text, DateTimeValue* out) {
    static const QRegularExpression re(
        QStringLiteral("^(\\d{4})-(\\d{2})-(\\d{2})(?:[ T](\\d{2}):(\\d{2}):(\\d{2})(?:\\.(\\d{1,9}))?)?$"));
    const QRegularExpressionMatch m = re.match(text);
    if (!m.hasMatch())
        return false;
    DateTimeValue v;
    v.date = QDate(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    if (!v.date.isValid())
        return false;
    v.hasDate = true;
    if (m.hasCaptured(4)) {
        const int h = m.captured(4).toInt(), mi = m.captured(5).toInt(), s = m.captured(6).toInt();
        if (h > 23 || mi > 59 || s > 59)
            return false;
        v.nanos = ((qint64(h) * 60 + mi) * 60 + s) * kNanosPerSecond +
                  (m.hasCaptured(7) ? FractionNanos(m.captured(7), false) : 0);
        v.hasTime = true;
    }
    *out = v;
    return true;
}

QString MonthName(int month, bool abbreviated) {
    const QString name = QString::fromLatin1(kMonths[qBound(1, month, 12) - 1]);
    return abbreviated ? name.left(3) : name;
}

QString DayName(int dayOfWeek, bool abbreviated) {
    const QString name = QString::fromLatin1(kDays[qBound(1, dayOfWeek, 7) - 1]);
    return abbreviated ? name.left(3) : name;
}

bool Styled(const DateTimeValue& v, int style, QString* out) {
    const QDate d = v.date;
    const qint64 ms = v.nanos / 1000000;
    const int hour = int(ms / 3600000), minute = int(ms / 60000 % 60), second = int(ms / 1000 % 60);
    const int milli = int(ms % 1000);
    const bool four = style >= 100;
    const QString yy = four ? Pad(d.year(), 4) : Pad(d.year() % 100, 2);
    const QString mm = Pad(d.month(), 2), dd = Pad(d.day(), 2);
    const QString mon = MonthName(d.month(), true);
    const QString hms = QStringLiteral("%1:%2:%3").arg(Pad(hour, 2), Pad(minute, 2), Pad(second, 2));
    const int h12 = hour % 12 == 0 ? 12 : hour % 12;
    const QString ampm = hour < 12 ? QStringLiteral("AM") : QStringLiteral("PM");
    const QString iso = Pad(d.year(), 4) + u'-' + mm + u'-' + dd;
    switch (style) {
    case 0:
    case 100:
        *out = QStringLiteral("%1 %2 %3 %4:%5%6")
                   .arg(mon)
                   .arg(d.day(), 2)
                   .arg(d.year())
                   .arg(h12, 2)
                   .arg(Pad(minute, 2), ampm);
        return true;
    case 1:
    case 101:
        *out = mm + u'/' + dd + u'/' + yy;
        return true;
    case 2:
    case 102:
        *out = yy + u'.' + mm + u'.' + dd;
        return true;
    case 3:
    case 103:
        *out = dd + u'/' + mm + u'/' + yy;
        return true;
    case 4:
    case 104:
        *out = dd + u'.' + mm + u'.' + yy;
        return true;
    case 5:
    case 105:
        *out = dd + u'-' + mm + u'-' + yy;
        return true;
    case 6:
    case 106:
        *out = dd + u' ' + mon + u' ' + yy;
        return true;
    case 7:
    case 107:
        *out = mon + u' ' + dd + QStringLiteral(", ") + yy;
        return true;
    case 8:
    case 24:
    case 108:
        *out = hms;
        return true;
    case 9:
    case 109:
        *out = QStringLiteral("%1 %2 %3 %4:%5:%6:%7%8")
                   .arg(mon)
                   .arg(d.day(), 2)
                   .arg(d.year())
                   .arg(h12, 2)
                   .arg(Pad(minute, 2), Pad(second, 2), Pad(milli, 3), ampm);
        return true;
    case 10:
    case 110:
        *out = mm + u'-' + dd + u'-' + yy;
        return true;
    case 11:
    case 111:
        *out = yy + u'/' + mm + u'/' + dd;
        return true;
    case 12:
    case 112:
        *out = yy + mm + dd;
        return true;
    case 13:
    case 113:
        *out = dd + u' ' + mon + u' ' + Pad(d.year(), 4) + u' ' + hms + u':' + Pad(milli, 3);
        return true;
    case 14:
    case 114:
        *out = hms + u':' + Pad(milli, 3);
        return true;
    case 20:
    case 120:
        *out = iso + u' ' + hms;
        return true;
    case 21:
    case 25:
    case 121:
        *out = iso + u' ' + hms + u'.' + Pad(milli, 3);
        return true;
    case 22:
        *out = mm + u'/' + dd + u'/' + yy + u' ' +
               QStringLiteral("%1:%2:%3 %4").arg(h12, 2).arg(Pad(minute, 2), Pad(second, 2), ampm);
        return true;
    case 23:
        *out = iso;
        return true;
    case 126:
    case 127:
        *out = iso + u'T' + hms + (milli != 0 ? u'.' + Pad(milli, 3) : QString());
        return true;
    default:
        return false;
    }
}

QString StyleOrder(int style) {
    switch (style % 100) {
    case 1:
    case 10:
    case 22:
        return QStringLiteral("mdy");
    case 3:
    case 4:
    case 5:
        return QStringLiteral("dmy");
    case 0:
    case 6:
    case 7:
    case 8:
    case 9:
    case 13:
    case 14:
    case 24:
        return QStringLiteral("mdy");
    case 2:
    case 11:
    case 12:
    case 20:
    case 21:
    case 23:
    case 25:
    case 26:
    case 27:
        return QStringLiteral("ymd");
    default:
        return {};
    }
}

} // namespace SqlDates
