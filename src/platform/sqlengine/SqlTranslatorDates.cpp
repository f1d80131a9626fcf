// The date and time functions, FORMAT, and the later string, hash and checksum functions.
#include "SqlTranslator.h"

#include "ServerError.h"
#include "SqlDates.h"

namespace {

struct Arity {
    const char* function;
    int min;
    int max;
};

// The functions that map one to one onto a tsql_ function of the same name, with their arities.
const Arity kArities[] = {
    {"EOMONTH", 1, 2},
    {"DATEFROMPARTS", 3, 3},
    {"DATETIMEFROMPARTS", 7, 7},
    {"DATETIME2FROMPARTS", 8, 8},
    {"SMALLDATETIMEFROMPARTS", 5, 5},
    {"TIMEFROMPARTS", 5, 5},
    {"SYSDATETIME", 0, 0},
    {"SYSUTCDATETIME", 0, 0},
    {"SYSDATETIMEOFFSET", 0, 0},
    {"FORMAT", 2, 3},
    {"STR", 1, 3},
    {"STUFF", 4, 4},
    {"QUOTENAME", 1, 2},
    {"PATINDEX", 2, 2},
    {"SOUNDEX", 1, 1},
    {"DIFFERENCE", 2, 2},
    {"UNICODE", 1, 1},
    {"NCHAR", 1, 1},
    {"CHAR", 1, 1},
    {"ASCII", 1, 1},
};

// What DATEADD is told of its value's type: the type of a conversion, '*' for a value whose kept
// form tells (a column's, a date variable's, another function's), nothing for text, which the
// server reads as a datetime.
QString DateAddType(const SqlExpr& e, TranslatorContext& context) {
    switch (e.kind) {
    case SqlExpr::Kind::Cast: {
        SqlDates::Kind kind = SqlDates::Kind::DateTime;
        if (e.text.endsWith(QLatin1String("PARSE")) || !SqlDates::KindOf(e.type.name.toLower(), &kind))
            return {};
        const int scale =
            SqlDates::FractionScale(e.type.length >= 0 ? e.type.length : e.type.precision, e.type.scale);
        return QStringLiteral(", '%1', %2").arg(QLatin1String(SqlDates::TypeName(kind))).arg(scale);
    }
    case SqlExpr::Kind::Variable: {
        const QString type = context.VariableType(e.text);
        if (type == QLatin1String("smalldatetime") || type == QLatin1String("datetimeoffset"))
            return QStringLiteral(", '%1', NULL").arg(type);
        if (type == QLatin1String("date") || type == QLatin1String("time") ||
            type == QLatin1String("datetime2"))
            return QStringLiteral(", '*', NULL");
        return {};
    }
    case SqlExpr::Kind::Column:
        return QStringLiteral(", '*', NULL");
    case SqlExpr::Kind::Function: {
        static const QStringList dates = {
            QStringLiteral("DATEADD"),          QStringLiteral("SYSDATETIME"),
            QStringLiteral("SYSUTCDATETIME"),   QStringLiteral("GETDATE"),
            QStringLiteral("GETUTCDATE"),       QStringLiteral("DATEFROMPARTS"),
            QStringLiteral("EOMONTH"),          QStringLiteral("DATETIME2FROMPARTS"),
            QStringLiteral("TIMEFROMPARTS"),    QStringLiteral("DATETRUNC"),
            QStringLiteral("DATETIMEFROMPARTS")};
        return e.parts.size() <= 1 && dates.contains(e.text.toUpper()) ? QStringLiteral(", '*', NULL")
                                                                       : QString();
    }
    default:
        return {};
    }
}

} // namespace

QString SqlTranslator::DateFunction(const SqlExpr& e, const QString& f) {
    auto need = [&](qsizetype min, qsizetype max) {
        if (e.args.size() < min || e.args.size() > max)
            throw ServerError::Make(
                174, 15,
                QStringLiteral("The %1 function requires %2 argument(s).").arg(e.text.toLower()).arg(min),
                true);
    };
    auto call = [&](const QString& name, qsizetype from) {
        QString sql = name + u'(';
        for (qsizetype i = from; i < e.args.size(); ++i)
            sql += (i > from ? QStringLiteral(", ") : QString()) + Expr(*e.args[i]);
        return sql;
    };
    if (f == QLatin1String("DATEPART") || f == QLatin1String("DATENAME") || f == QLatin1String("DATEADD") ||
        f == QLatin1String("DATEDIFF") || f == QLatin1String("DATEDIFF_BIG") ||
        f == QLatin1String("DATETRUNC")) {
        const int count = f == QLatin1String("DATEPART") || f == QLatin1String("DATENAME") ||
                                  f == QLatin1String("DATETRUNC")
                              ? 2
                              : 3;
        need(count, count);
        const SqlExpr& part = *e.args[0];
        const QString partName = part.kind == SqlExpr::Kind::Column ? part.parts.last() : part.text;
        // A datepart is a keyword, checked when the statement is compiled.
        static const QStringList parts = {
            QStringLiteral("year"),       QStringLiteral("yy"),          QStringLiteral("yyyy"),
            QStringLiteral("quarter"),    QStringLiteral("qq"),          QStringLiteral("q"),
            QStringLiteral("month"),      QStringLiteral("mm"),          QStringLiteral("m"),
            QStringLiteral("dayofyear"),  QStringLiteral("dy"),          QStringLiteral("y"),
            QStringLiteral("day"),        QStringLiteral("dd"),          QStringLiteral("d"),
            QStringLiteral("week"),       QStringLiteral("wk"),          QStringLiteral("ww"),
            QStringLiteral("weekday"),    QStringLiteral("dw"),          QStringLiteral("w"),
            QStringLiteral("hour"),       QStringLiteral("hh"),          QStringLiteral("minute"),
            QStringLiteral("mi"),         QStringLiteral("n"),           QStringLiteral("second"),
            QStringLiteral("ss"),         QStringLiteral("s"),           QStringLiteral("millisecond"),
            QStringLiteral("ms"),         QStringLiteral("microsecond"), QStringLiteral("mcs"),
            QStringLiteral("nanosecond"), QStringLiteral("ns")};
        static const QStringList readOnly = {QStringLiteral("tzoffset"), QStringLiteral("tz"),
                                             QStringLiteral("iso_week"), QStringLiteral("isowk"),
                                             QStringLiteral("isoww")};
        const QString lower = partName.toLower();
        const bool reads = f == QLatin1String("DATEPART") || f == QLatin1String("DATENAME") ||
                           f == QLatin1String("DATETRUNC");
        if (!parts.contains(lower) && !(reads && readOnly.contains(lower)))
            throw ServerError::Make(155, 15,
                                    QStringLiteral("'%1' is not a recognized %2 option.")
                                        .arg(partName, reads ? QStringLiteral("datepart") : f.toLower()),
                                    true);
        const QString typed = f == QLatin1String("DATEADD") ? DateAddType(*e.args[2], mContext) : QString();
        return QStringLiteral("tsql_%1(%2, ").arg(f.toLower(), Literal(partName)) +
               call(QString(), 1).mid(1) + typed + u')';
    }
    if (f == QLatin1String("YEAR") || f == QLatin1String("MONTH") || f == QLatin1String("DAY")) {
        need(1, 1);
        return QStringLiteral("tsql_datepart('%1', %2)").arg(f.toLower(), Expr(*e.args[0]));
    }
    if (f == QLatin1String("CHECKSUM") || f == QLatin1String("BINARY_CHECKSUM")) {
        if (e.star)
            throw ServerError::Unsupported(f + QStringLiteral("(*)"));
        need(1, 4096);
        return call(QStringLiteral("tsql_") + f.toLower(), 0) + u')';
    }
    if (f == QLatin1String("HASHBYTES")) {
        need(2, 2);
        // nvarchar is hashed as UTF-16, as the server keeps it; a Unicode literal says which it is.
        const SqlExpr& input = *e.args[1];
        const bool unicode = input.kind == SqlExpr::Kind::String && input.unicode;
        const bool plain = input.kind == SqlExpr::Kind::String && !input.unicode;
        return QStringLiteral("tsql_hashbytes(%1, %2, %3)")
            .arg(Expr(*e.args[0]), Expr(input))
            .arg(unicode ? 1
                 : plain ? 0
                         : -1);
    }
    static const QHash<QString, int> math = {
        {QStringLiteral("SIGN"), 1}, {QStringLiteral("SQRT"), 1},    {QStringLiteral("SQUARE"), 1},
        {QStringLiteral("EXP"), 1},  {QStringLiteral("LOG10"), 1},   {QStringLiteral("SIN"), 1},
        {QStringLiteral("COS"), 1},  {QStringLiteral("TAN"), 1},     {QStringLiteral("COT"), 1},
        {QStringLiteral("ASIN"), 1}, {QStringLiteral("ACOS"), 1},    {QStringLiteral("ATAN"), 1},
        {QStringLiteral("ATN2"), 2}, {QStringLiteral("DEGREES"), 1}, {QStringLiteral("RADIANS"), 1},
        {QStringLiteral("PI"), 0}};
    if (const auto it = math.find(f); it != math.end() || f == QLatin1String("LOG")) {
        if (it != math.end())
            need(*it, *it);
        else
            need(1, 2);
        QString sql = QStringLiteral("tsql_math(") + Literal(f);
        if (e.args.isEmpty())
            sql += QStringLiteral(", NULL");
        for (const SqlExprP& a : e.args)
            sql += QStringLiteral(", ") + Expr(*a);
        return sql + u')';
    }
    if (f == QLatin1String("RAND")) {
        need(0, 1);
        return QStringLiteral("tsql_rand()");
    }
    if (f == QLatin1String("FORMATMESSAGE")) {
        need(1, 21);
        return call(QStringLiteral("tsql_formatmessage"), 0) + u')';
    }
    for (const Arity& a : kArities) {
        if (f == QLatin1String(a.function)) {
            need(a.min, a.max);
            return call(QStringLiteral("tsql_") + f.toLower(), 0) + u')';
        }
    }
    return {};
}
