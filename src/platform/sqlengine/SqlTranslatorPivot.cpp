// PIVOT and UNPIVOT. The columns of the source that the operator doesn't name are read from the
// source itself (the server knows them the same way): PIVOT groups by them, UNPIVOT keeps them.
#include "SqlTranslator.h"

#include "ServerError.h"

namespace {

bool Named(const QStringList& names, const QString& column) {
    return std::any_of(names.cbegin(), names.cend(),
                       [&column](const QString& n) { return n.compare(column, Qt::CaseInsensitive) == 0; });
}

} // namespace

QString SqlTranslator::Pivot(const SqlTableRef& ref) {
    const QString source = TableRef(*ref.left);
    const QStringList columns = mContext.QueryColumns(QStringLiteral("SELECT * FROM ") + source);
    const QString& forColumn = ref.args[1]->parts.last();
    if (ref.kind == SqlTableRef::Kind::Pivot) {
        if (!Named(columns, forColumn))
            throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(forColumn),
                                    true);
        const SqlExpr& aggregate = *ref.args[0];
        const QString& valueColumn = aggregate.args[0]->parts.last();
        if (!Named(columns, valueColumn))
            throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(valueColumn),
                                    true);
        QStringList grouped;
        for (const QString& c : columns)
            if (c.compare(valueColumn, Qt::CaseInsensitive) != 0 &&
                c.compare(forColumn, Qt::CaseInsensitive) != 0)
                grouped.append(Quote(c));
        QStringList items = grouped;
        for (const QString& value : ref.name)
            items.append(
                QStringLiteral("%1(%2CASE WHEN CAST(%3 AS TEXT) = %4 COLLATE TSQL THEN %5 END) AS %6")
                    .arg(aggregate.text.toLower(),
                         aggregate.distinct ? QStringLiteral("DISTINCT ") : QString(), Quote(forColumn),
                         Literal(value), Quote(valueColumn), Quote(value)));
        QString sql = QStringLiteral("(SELECT %1 FROM %2").arg(items.join(QStringLiteral(", ")), source);
        if (!grouped.isEmpty())
            sql += QStringLiteral(" GROUP BY ") + grouped.join(QStringLiteral(", "));
        return sql + QStringLiteral(") AS ") + Quote(ref.alias);
    }
    const QString& valueColumn = ref.args[0]->parts.last();
    QStringList kept;
    for (const QString& c : columns)
        if (!Named(ref.name, c))
            kept.append(Quote(c));
    QStringList parts;
    for (const QString& column : ref.name) {
        if (!Named(columns, column))
            throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(column), true);
        QStringList items = kept;
        items.append(QStringLiteral("%1 COLLATE TSQL AS %2").arg(Literal(column), Quote(forColumn)));
        items.append(QStringLiteral("%1 AS %2").arg(Quote(column), Quote(valueColumn)));
        parts.append(QStringLiteral("SELECT %1 FROM %2 WHERE %3 IS NOT NULL")
                         .arg(items.join(QStringLiteral(", ")), source, Quote(column)));
    }
    return u'(' + parts.join(QStringLiteral(" UNION ALL ")) + QStringLiteral(") AS ") + Quote(ref.alias);
}
