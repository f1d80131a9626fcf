// A query's values in the form a client gets them from the server. SQLite hands over doubles for
// decimals and kept text for dates; a client is given a decimal's exact digits at its column's
// scale (never a double's rounding or an exponent) and a date or time with as many decimals of a
// second as its type keeps.
#include "SessionState.h"

namespace {

bool IsMoney(int typeId) {
    return typeId == 60 || typeId == 122;
}

std::optional<SqlDecimal> DecimalOf(const QVariant& v, bool money, bool cut) {
    if (v.userType() == qMetaTypeId<SqlDecimal>())
        return v.value<SqlDecimal>();
    if (v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Int)
        return SqlDecimal::FromInteger(v.toLongLong());
    if (v.typeId() == QMetaType::Double) {
        // A quotient to be cut is first taken to a double's 15 good digits, so that 2.9999999999999996
        // is cut as the 3 it stands for.
        if (cut)
            return SqlDecimal::ParseLoose(QString::number(v.toDouble(), 'g', 15), money);
        return SqlDecimal::FromDouble(v.toDouble());
    }
    return SqlDecimal::ParseLoose(v.toString(), money);
}

// The digits of d with no more than `scale` decimals, the rest cut off.
SqlDecimal Cut(const SqlDecimal& d, int scale, bool money) {
    if (d.Scale() <= scale)
        return d;
    const QString text = d.ToString();
    return SqlDecimal::ParseLoose(text.left(text.size() - (d.Scale() - scale)), money).value_or(d);
}

QVariant DecimalText(const QVariant& v, const SqlColumn& c, const KnownValue* known) {
    const bool money = IsMoney(c.typeId);
    const bool cut = known && known->cutMoney;
    std::optional<SqlDecimal> d = known && known->exact ? known->exact : DecimalOf(v, money, cut);
    if (!d)
        return v;
    const int scale = money ? 4 : std::clamp(c.scale, 0, SqlDecimal::kMaxPrecision);
    try {
        if (cut)
            d = Cut(*d, scale, money);
        return d->To(SqlDecimal::kMaxPrecision, scale).ToString();
    } catch (const ServerError&) {
        return v; // more digits than any decimal holds: the value as SQLite has it
    }
}

QVariant DateText(const QVariant& v, const SqlColumn& c) {
    if (v.typeId() != QMetaType::QString)
        return ToServerValue(v, c.typeId);
    const QString text = v.toString();
    const SqlDates::Kind kind = c.typeId == 40   ? SqlDates::Kind::Date
                                : c.typeId == 41 ? SqlDates::Kind::Time
                                : c.typeId == 42 ? SqlDates::Kind::DateTime2
                                                 : SqlDates::Kind::DateTimeOffset;
    DateTimeValue d;
    if (kind == SqlDates::Kind::Time && SqlDates::ReadStoredTime(text, &d.nanos)) {
        d.date = QDate(1900, 1, 1);
    } else if (!SqlDates::ReadStored(text, &d)) {
        return v;
    }
    const int scale = std::clamp(c.scale, 0, 7);
    if (kind != SqlDates::Kind::Date)
        SqlDates::RoundToScale(&d, scale);
    return SqlDates::Shown(d, kind, scale);
}

SqlColumn DateColumn(SqlDates::Kind kind, int scale) {
    QString type = QLatin1String(SqlDates::TypeName(kind));
    if (kind == SqlDates::Kind::Time || kind == SqlDates::Kind::DateTime2 ||
        kind == SqlDates::Kind::DateTimeOffset)
        type += QStringLiteral("(%1)").arg(scale);
    SqlColumn c;
    Catalogue::DescribeDeclaredType(type, &c.typeId, &c.length, &c.precision, &c.scale);
    return c;
}

} // namespace

QVariant ServerResultValue(const QVariant& v, const SqlColumn& c, const KnownValue* known) {
    if (!v.isValid() || v.isNull())
        return {};
    switch (c.typeId) {
    case 106:
    case 108:
    case 60:
    case 122:
        return DecimalText(v, c, known);
    case 40:
    case 41:
    case 42:
    case 43:
        return DateText(v, c);
    default:
        return ToServerValue(v, c.typeId);
    }
}

std::optional<SqlColumn> SessionState::DateItemColumn(const SqlExpr& e) {
    SqlDates::Kind kind = SqlDates::Kind::DateTime;
    if (e.kind == SqlExpr::Kind::Cast) {
        if (!SqlDates::KindOf(e.type.name.toLower(), &kind))
            return std::nullopt;
        return DateColumn(kind, SqlDates::FractionScale(e.type.length >= 0 ? e.type.length : e.type.precision,
                                                        e.type.scale));
    }
    if (e.kind != SqlExpr::Kind::Function || e.parts.size() > 1)
        return std::nullopt;
    const QString f = e.text.toUpper();
    if (f == QLatin1String("DATEADD") && e.args.size() == 3 && e.args[2])
        return DateItemColumn(*e.args[2]);
    if (f == QLatin1String("DATEFROMPARTS") || f == QLatin1String("EOMONTH"))
        return DateColumn(SqlDates::Kind::Date, 0);
    if (f == QLatin1String("SYSDATETIME") || f == QLatin1String("SYSUTCDATETIME"))
        return DateColumn(SqlDates::Kind::DateTime2, 7);
    if (f == QLatin1String("SYSDATETIMEOFFSET"))
        return DateColumn(SqlDates::Kind::DateTimeOffset, 7);
    return std::nullopt;
}
