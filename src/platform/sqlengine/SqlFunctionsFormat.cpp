// FORMAT(value, format [, culture]): dates and numbers in the standard and custom format strings of
// the server's .NET formatting, with the names and separators of a culture.
#include "SqlDates.h"
#include "SqlFunctions.h"
#include "SqlValueAccess.h"
#include "SqliteDb.h"

#include <QLocale>
#include <QRegularExpression>
#include <cmath>
#include <sqlite3.h>

namespace {

using SqlValueAccess::ResultText;
using SqlValueAccess::Text;

// The date patterns of a culture's standard formats d, D, t, T, M and Y.
struct DatePatterns {
    const char* culture;
    const char* shortDate;
    const char* longDate;
    const char* shortTime;
    const char* longTime;
    const char* monthDay;
    const char* yearMonth;
};

const DatePatterns kPatterns[] = {
    {"en-US", "M/d/yyyy", "dddd, MMMM d, yyyy", "h:mm tt", "h:mm:ss tt", "MMMM d", "MMMM yyyy"},
    {"en-GB", "dd/MM/yyyy", "dd MMMM yyyy", "HH:mm", "HH:mm:ss", "d MMMM", "MMMM yyyy"},
    {"de-DE", "dd.MM.yyyy", "dddd, d. MMMM yyyy", "HH:mm", "HH:mm:ss", "d. MMMM", "MMMM yyyy"},
    {"fr-FR", "dd/MM/yyyy", "dddd d MMMM yyyy", "HH:mm", "HH:mm:ss", "d MMMM", "MMMM yyyy"},
    {"", "MM/dd/yyyy", "dddd, dd MMMM yyyy", "HH:mm", "HH:mm:ss", "MMMM dd", "yyyy MMMM"},
};

const DatePatterns& PatternsOf(const QLocale& locale, const QString& culture) {
    for (const DatePatterns& p : kPatterns)
        if (culture.compare(QLatin1String(p.culture), Qt::CaseInsensitive) == 0)
            return p;
    // Another culture of a known language takes that language's patterns.
    const QString language = locale.name().left(2);
    for (const DatePatterns& p : kPatterns)
        if (QLatin1String(p.culture).startsWith(language))
            return p;
    return kPatterns[2];
}

qsizetype RunLength(const QString& f, qsizetype i) {
    qsizetype n = 1;
    while (i + n < f.size() && f[i + n] == f[i])
        ++n;
    return n;
}

QString Pad(qint64 n, qsizetype width) {
    return QStringLiteral("%1").arg(n, int(width), 10, QLatin1Char('0'));
}

// A custom date format: d M y h H m s f t, quoted literals and \ escapes; the rest as written.
QString CustomDate(const QString& f, const DateTimeValue& v, const QLocale& locale) {
    const QDate& d = v.date;
    const qint64 ms = v.nanos / 1000000;
    const int hour = int(ms / 3600000), minute = int(ms / 60000 % 60), second = int(ms / 1000 % 60);
    QString out;
    for (qsizetype i = 0; i < f.size();) {
        const QChar c = f[i];
        const qsizetype n = RunLength(f, i);
        switch (c.unicode()) {
        case 'd':
            out += n == 1   ? QString::number(d.day())
                   : n == 2 ? Pad(d.day(), 2)
                   : n == 3 ? locale.dayName(d.dayOfWeek(), QLocale::ShortFormat)
                            : locale.dayName(d.dayOfWeek(), QLocale::LongFormat);
            break;
        case 'M':
            out += n == 1   ? QString::number(d.month())
                   : n == 2 ? Pad(d.month(), 2)
                   : n == 3 ? locale.monthName(d.month(), QLocale::ShortFormat)
                            : locale.monthName(d.month(), QLocale::LongFormat);
            break;
        case 'y':
            out += n == 1   ? QString::number(d.year() % 100)
                   : n == 2 ? Pad(d.year() % 100, 2)
                            : Pad(d.year(), n);
            break;
        case 'h':
            out += n == 1 ? QString::number(hour % 12 == 0 ? 12 : hour % 12)
                          : Pad(hour % 12 == 0 ? 12 : hour % 12, 2);
            break;
        case 'H':
            out += n == 1 ? QString::number(hour) : Pad(hour, 2);
            break;
        case 'm':
            out += n == 1 ? QString::number(minute) : Pad(minute, 2);
            break;
        case 's':
            out += n == 1 ? QString::number(second) : Pad(second, 2);
            break;
        case 'f':
        case 'F': {
            QString digits = Pad(v.nanos % SqlDates::kNanosPerSecond, 9).left(qMin<qsizetype>(n, 7));
            if (c == u'F')
                while (digits.endsWith(u'0'))
                    digits.chop(1);
            out += digits;
            break;
        }
        case 't': {
            const QString ampm = hour < 12 ? locale.amText() : locale.pmText();
            out += n == 1 ? ampm.left(1) : ampm;
            break;
        }
        case '/':
            out += locale.dateFormat(QLocale::ShortFormat).contains(u'.') ? QStringLiteral(".")
                                                                          : QStringLiteral("/");
            break;
        case '\'':
        case '"': {
            const qsizetype close = f.indexOf(c, i + 1);
            const qsizetype end = close < 0 ? f.size() : close;
            out += f.mid(i + 1, end - i - 1);
            i = end + 1;
            continue;
        }
        case '\\':
            if (i + 1 < f.size())
                out += f[i + 1];
            i += 2;
            continue;
        case '%':
            break;
        default:
            out += QString(n, c);
        }
        i += n;
    }
    return out;
}

// A date in a standard (one letter) or custom format; false when the letter is no standard one.
bool FormatDate(const QString& format, const DateTimeValue& v, const QLocale& locale, const QString& culture,
                QString* out) {
    if (format.size() != 1) {
        *out = CustomDate(format, v, locale);
        return true;
    }
    const DatePatterns& p = PatternsOf(locale, culture);
    const auto s = [](const char* pattern) { return QString::fromLatin1(pattern); };
    QString pattern;
    switch (format[0].unicode()) {
    case 'd':
        pattern = s(p.shortDate);
        break;
    case 'D':
        pattern = s(p.longDate);
        break;
    case 'f':
        pattern = s(p.longDate) + u' ' + s(p.shortTime);
        break;
    case 'F':
        pattern = s(p.longDate) + u' ' + s(p.longTime);
        break;
    case 'g':
        pattern = s(p.shortDate) + u' ' + s(p.shortTime);
        break;
    case 'G':
        pattern = s(p.shortDate) + u' ' + s(p.longTime);
        break;
    case 't':
        pattern = s(p.shortTime);
        break;
    case 'T':
        pattern = s(p.longTime);
        break;
    case 'm':
    case 'M':
        pattern = s(p.monthDay);
        break;
    case 'y':
    case 'Y':
        pattern = s(p.yearMonth);
        break;
    case 's':
        pattern = QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss");
        break;
    case 'u':
        pattern = QStringLiteral("yyyy'-'MM'-'dd HH':'mm':'ss'Z'");
        break;
    case 'o':
    case 'O':
        pattern = QStringLiteral("yyyy'-'MM'-'dd'T'HH':'mm':'ss'.'fffffff");
        break;
    case 'r':
    case 'R':
        *out = CustomDate(QStringLiteral("ddd, dd MMM yyyy HH':'mm':'ss 'GMT'"), v, QLocale::c());
        return true;
    default:
        return false;
    }
    *out = CustomDate(pattern, v, locale);
    return true;
}

// A time of day as a .NET TimeSpan: standard formats c, g and G, or custom ones of d h m s f F
// with every other character quoted or escaped; false (NULL) for any other.
bool FormatTime(const QString& format, DateTimeValue v, QString* out) {
    if (format.size() == 1) {
        if (!QStringLiteral("cgGT").contains(format[0]))
            return false;
        const qint64 fraction = v.nanos % SqlDates::kNanosPerSecond;
        *out = CustomDate(QStringLiteral("HH\\:mm\\:ss"), v, QLocale::c());
        if (fraction != 0)
            *out += u'.' + Pad(fraction / 100, 7);
        return true;
    }
    QString custom;
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QChar c = format[i];
        if (c == u'\\' || c == u'\'' || c == u'"') {
            const qsizetype close = c == u'\\' ? i + 1 : format.indexOf(c, i + 1);
            if (close < 0 || close >= format.size())
                return false;
            custom += format.mid(i, close - i + 1);
            i = close;
        } else if (QStringLiteral("dhmsfF").contains(c)) {
            // A TimeSpan's hours run 0 to 23: h is the 24-hour H of a date.
            custom += c == u'h' ? QChar(u'H') : c;
        } else {
            return false;
        }
    }
    v.date = QDate(1900, 1, 1);
    *out = CustomDate(custom, v, QLocale::c());
    return true;
}

QString Grouped(const QString& digits, const QLocale& locale) {
    QString out;
    const qsizetype n = digits.size();
    for (qsizetype i = 0; i < n; ++i) {
        if (i > 0 && (n - i) % 3 == 0)
            out += locale.groupSeparator();
        out += digits[i];
    }
    return out;
}

// A custom numeric format: 0 and # places, a decimal point, a group separator, % and literals.
// A second section after ';' is for negative values.
QString CustomNumber(const QString& format, double value, const QLocale& locale) {
    QStringList sections = format.split(u';');
    QString f = sections[0];
    bool sign = value < 0;
    if (value < 0 && sections.size() > 1 && !sections[1].isEmpty()) {
        f = sections[1];
        sign = false;
    }
    double x = std::fabs(value);
    QString prefix, suffix;
    QString intPattern, fracPattern;
    bool inFraction = false, grouping = false, seenDigit = false;
    for (qsizetype i = 0; i < f.size(); ++i) {
        const QChar c = f[i];
        if (c == u'0' || c == u'#') {
            (inFraction ? fracPattern : intPattern) += c;
            seenDigit = true;
        } else if (c == u'.' && !inFraction) {
            inFraction = true;
            seenDigit = true;
        } else if (c == u',' && seenDigit && !inFraction) {
            grouping = true;
        } else {
            QString literal;
            if (c == u'\'' || c == u'"') {
                const qsizetype close = f.indexOf(c, i + 1);
                const qsizetype end = close < 0 ? f.size() : close;
                literal = f.mid(i + 1, end - i - 1);
                i = end;
            } else if (c == u'\\' && i + 1 < f.size()) {
                literal = f[++i];
            } else {
                if (c == u'%')
                    x *= 100;
                literal = c;
            }
            (seenDigit ? suffix : prefix) += literal;
        }
    }
    const qsizetype minInt = intPattern.contains(u'0') ? intPattern.size() - intPattern.indexOf(u'0') : 0;
    const qsizetype minFrac = fracPattern.lastIndexOf(u'0') + 1;
    const int maxFrac = int(qMin<qsizetype>(fracPattern.size(), 15));
    const QString fixed = QString::number(x, 'f', maxFrac);
    QString whole = fixed.section(u'.', 0, 0);
    QString fraction = maxFrac > 0 ? fixed.section(u'.', 1, 1) : QString();
    while (fraction.size() > minFrac && fraction.endsWith(u'0'))
        fraction.chop(1);
    if (whole == QLatin1String("0") && minInt == 0)
        whole.clear();
    while (whole.size() < minInt)
        whole.prepend(u'0');
    if (grouping)
        whole = Grouped(whole, locale);
    QString number = whole;
    if (!fraction.isEmpty())
        number += locale.decimalPoint() + fraction;
    bool zero = true;
    for (const QChar c : number)
        zero = zero && (c == u'0' || !c.isDigit());
    return (sign && !zero ? QStringLiteral("-") : QString()) + prefix + number + suffix;
}

// A number in a standard format (a letter and an optional precision) or a custom one; false for
// a format the value can't take.
bool FormatNumber(const QString& format, double value, bool integral, const QLocale& locale, QString* out) {
    const QChar letter = format.isEmpty() ? u'G' : format[0].toUpper();
    bool standard = format.size() <= 3 && format[0].isLetter();
    int precision = -1;
    if (standard && format.size() > 1) {
        bool ok = false;
        precision = format.mid(1).toInt(&ok);
        standard = ok && precision >= 0;
    }
    if (!standard) {
        *out = CustomNumber(format, value, locale);
        return true;
    }
    if (!std::isfinite(value))
        return false;
    QLocale plain = locale;
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    switch (letter.unicode()) {
    case 'N':
        *out = locale.toString(value, 'f', precision < 0 ? 2 : precision);
        return true;
    case 'F':
        *out = plain.toString(value, 'f', precision < 0 ? 2 : precision);
        return true;
    case 'C':
        *out = locale.toCurrencyString(value, locale.currencySymbol(), precision < 0 ? 2 : precision);
        return true;
    case 'P': {
        const QString n = locale.toString(value * 100, 'f', precision < 0 ? 2 : precision);
        *out = locale.language() == QLocale::English ? n + u'%' : n + QStringLiteral(" %");
        return true;
    }
    case 'D':
    case 'X': {
        if (!integral || !(std::fabs(value) < 9.0e18))
            return false;
        const qint64 n = qint64(value);
        const quint64 magnitude = n < 0 ? quint64(0) - quint64(n) : quint64(n);
        QString digits = letter == u'D' ? QString::number(magnitude) : QString::number(quint64(n), 16);
        if (letter == u'X' && format[0] == u'X')
            digits = digits.toUpper();
        if (precision > 0 && precision <= 100)
            digits = digits.rightJustified(precision, u'0');
        *out = (letter == u'D' && n < 0 ? QStringLiteral("-") : QString()) + digits;
        return true;
    }
    case 'E': {
        const int p = precision < 0 ? 6 : qMin(precision, 100);
        int exponent = value == 0 ? 0 : int(std::floor(std::log10(std::fabs(value))));
        double mantissa = value == 0 ? 0 : value / std::pow(10.0, exponent);
        if (std::fabs(std::round(mantissa * std::pow(10.0, p)) / std::pow(10.0, p)) >= 10) {
            mantissa /= 10;
            ++exponent;
        }
        *out = plain.toString(mantissa, 'f', p) + (format[0] == u'e' ? u'e' : u'E') +
               (exponent < 0 ? u'-' : u'+') + Pad(std::abs(exponent), 3);
        return true;
    }
    case 'G':
    case 'R':
        *out = plain.toString(value, 'g', precision <= 0 ? 15 : qMin(precision, 17));
        return true;
    default:
        return false;
    }
}

QString CultureOf(sqlite3_context* ctx) {
    const auto* db = static_cast<SqliteDb*>(sqlite3_user_data(ctx));
    const DateOptions* o = db ? db->DateSettings() : nullptr;
    return o && o->language == QLatin1String("British") ? QStringLiteral("en-GB") : QStringLiteral("en-US");
}

void FormatFn(sqlite3_context* ctx, int argc, sqlite3_value** a) {
    if (sqlite3_value_type(a[0]) == SQLITE_NULL || sqlite3_value_type(a[1]) == SQLITE_NULL ||
        (argc > 2 && sqlite3_value_type(a[2]) == SQLITE_NULL))
        return sqlite3_result_null(ctx);
    const QString format = Text(a[1]);
    const QString culture = argc > 2 ? Text(a[2]).trimmed() : CultureOf(ctx);
    const QLocale locale = culture.isEmpty() ? QLocale::c() : QLocale(culture);
    if (!culture.isEmpty() && locale.language() == QLocale::C)
        return SqlFunctions::ResultError(
            ctx, 9818,
            QStringLiteral("The culture parameter '%1' provided in the function call is not supported.")
                .arg(culture));
    if (format.isEmpty())
        return sqlite3_result_null(ctx);
    QString out;
    bool ok = false;
    const int type = sqlite3_value_type(a[0]);
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) {
        ok = FormatNumber(format, sqlite3_value_double(a[0]), type == SQLITE_INTEGER, locale, &out);
    } else {
        const QString text = Text(a[0]);
        DateTimeValue v;
        bool number = false;
        const double d = text.trimmed().toDouble(&number);
        static const QRegularExpression time(QStringLiteral("^\\d{2}:\\d{2}:\\d{2}(\\.\\d{1,7})?$"));
        if (SqlDates::ReadStored(text, &v))
            ok = FormatDate(format, v, locale, culture, &out);
        else if (time.match(text).hasMatch() &&
                 SqlDates::Parse(text, QStringLiteral("mdy"), SqlDates::Kind::Time, &v) == 0)
            ok = FormatTime(format, v, &out);
        else if (number)
            ok = FormatNumber(format, d, !text.contains(u'.') && std::floor(d) == d, locale, &out);
        else
            return SqlFunctions::ResultError(
                ctx, 8116,
                QStringLiteral("Argument data type varchar is invalid for argument 1 of format function."));
    }
    if (!ok)
        return sqlite3_result_null(ctx);
    ResultText(ctx, out);
}

} // namespace

void SqlFunctions::RegisterFormat(SqliteDb& db) {
    sqlite3_create_function_v2(db.Handle(), "tsql_format", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, &db,
                               FormatFn, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db.Handle(), "tsql_format", 3, SQLITE_UTF8 | SQLITE_DETERMINISTIC, &db,
                               FormatFn, nullptr, nullptr, nullptr);
}
