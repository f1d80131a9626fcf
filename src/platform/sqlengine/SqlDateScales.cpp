// The fractional seconds of time, datetime2 and datetimeoffset. Their values are kept with as many
// decimals as the column's type has, so that a client gets the seven of datetime2(7) and none of
// time(0), as the server sends them.
#include "SqlDates.h"

#include <algorithm>

namespace {

constexpr qint64 kPow10[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

QString Pad(qint64 n, int width) {
    return QStringLiteral("%1").arg(n, width, 10, QLatin1Char('0'));
}

QString TimeText(qint64 nanos, int scale) {
    const qint64 seconds = nanos / SqlDates::kNanosPerSecond;
    QString text = QStringLiteral("%1:%2:%3")
                       .arg(Pad(seconds / 3600, 2), Pad(seconds / 60 % 60, 2), Pad(seconds % 60, 2));
    if (scale > 0)
        text += u'.' + Pad(nanos % SqlDates::kNanosPerSecond / kPow10[9 - scale], scale);
    return text;
}

} // namespace

namespace SqlDates {

int FractionScale(qint64 length, qint64 scale) {
    if (scale >= 0 && scale <= 7)
        return int(scale);
    if (length >= 0 && length <= 7)
        return int(length);
    return 7;
}

void RoundToScale(DateTimeValue* v, int scale) {
    const qint64 unit = kPow10[9 - std::clamp(scale, 0, 7)];
    v->nanos = (v->nanos + unit / 2) / unit * unit;
    if (v->nanos >= kNanosPerDay) {
        v->nanos -= kNanosPerDay;
        v->date = v->date.addDays(1);
    }
}

QString StoredScaled(const DateTimeValue& v, Kind kind, int scale) {
    scale = std::clamp(scale, 0, 7);
    const qint64 nanos = std::clamp<qint64>(v.nanos, 0, kNanosPerDay - 1);
    if (kind == Kind::Time)
        return TimeText(nanos, scale);
    QString date = v.date.toString(QStringLiteral("yyyy-MM-dd"));
    if (kind == Kind::Date)
        return date;
    return date + u' ' + TimeText(nanos, scale);
}

QString Shown(const DateTimeValue& v, Kind kind, int scale) {
    const QString text = StoredScaled(v, kind, scale);
    return kind == Kind::DateTimeOffset ? text + QStringLiteral(" +00:00") : text;
}

bool ReadStoredTime(const QString& text, qint64* nanos) {
    const qsizetype size = text.size();
    if (size < 8 || size > 18 || text[2] != u':' || text[5] != u':' || (size > 8 && text[8] != u'.') ||
        size == 9)
        return false;
    qint64 parts[3] = {0, 0, 0};
    for (int p = 0; p < 3; ++p) {
        for (int i = p * 3; i < p * 3 + 2; ++i) {
            if (text[i] < u'0' || text[i] > u'9')
                return false;
            parts[p] = parts[p] * 10 + (text[i].unicode() - u'0');
        }
    }
    if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59)
        return false;
    qint64 fraction = 0;
    const qsizetype digits = size > 8 ? size - 9 : 0;
    for (qsizetype i = 9; i < size; ++i) {
        if (text[i] < u'0' || text[i] > u'9')
            return false;
        fraction = fraction * 10 + (text[i].unicode() - u'0');
    }
    *nanos = ((parts[0] * 60 + parts[1]) * 60 + parts[2]) * kNanosPerSecond + fraction * kPow10[9 - digits];
    return true;
}

} // namespace SqlDates
