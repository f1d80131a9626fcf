// PIVOT and UNPIVOT, and TOP ... PERCENT and WITH TIES. The columns of the source that the operator doesn't
// name are read from the source itself (the server knows them the same way): PIVOT groups by them, UNPIVOT
// keeps them.
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

QString SqlTranslator::TopPercent(const QString& query, const SqlExpr& percent) {
    const QString share =
        QStringLiteral("((SELECT COUNT(*) FROM (%1)) * (%2) / 100.0)").arg(query, Expr(percent));
    // A negative LIMIT would be none at all.
    return QStringLiteral("SELECT * FROM (%1) LIMIT (SELECT MAX(0, CASE WHEN %2 > CAST(%2 AS INTEGER) THEN "
                          "CAST(%2 AS INTEGER) + 1 ELSE CAST(%2 AS INTEGER) END))")
        .arg(query, share);
}

QString SqlTranslator::TopWithTies(const SqlSelect& select) {
    if (select.orderBy.isEmpty())
        throw ServerError::Make(
            1062, 15,
            QStringLiteral(
                "The TOP N WITH TIES clause is not allowed without a corresponding ORDER BY clause."),
            true);
    const SqlSelectCore& core = select.cores.first();
    if (core.distinct)
        throw ServerError::Unsupported(QStringLiteral("TOP ... WITH TIES with DISTINCT"));
    // The rows tied with the last one all rank at or above n, and they come first in the order, so the
    // limit is how many rank there. A window's ORDER BY doesn't see the select list's aliases or
    // positions, so those are read as the expressions they name.
    auto window = std::make_shared<SqlWindow>();
    for (const SqlOrderItem& o : select.orderBy) {
        SqlOrderItem item = o;
        const SqlExpr& e = *o.expr;
        if (e.kind == SqlExpr::Kind::Number) {
            bool ok = false;
            const int position = e.text.toInt(&ok);
            if (ok && position >= 1 && position <= core.items.size() &&
                core.items[position - 1].expr->kind != SqlExpr::Kind::Star)
                item.expr = core.items[position - 1].expr;
        } else if (e.kind == SqlExpr::Kind::Column && e.parts.size() == 1) {
            for (const SqlSelectItem& s : core.items)
                if (s.hasAlias && s.alias.compare(e.parts.first(), Qt::CaseInsensitive) == 0) {
                    item.expr = s.expr;
                    break;
                }
        }
        window->orderBy.append(item);
    }
    auto rank = std::make_shared<SqlExpr>();
    rank->kind = SqlExpr::Kind::Function;
    rank->text = QStringLiteral("RANK");
    rank->over = window;
    rank->line = select.line;
    SqlSelectCore ranked = core;
    ranked.top.reset();
    ranked.topWithTies = false;
    ranked.items = {SqlSelectItem{rank, QStringLiteral("tsql_rank"), true, {}}};
    return QStringLiteral("(SELECT COUNT(*) FROM (%1) WHERE tsql_rank <= (%2))")
        .arg(Core(ranked, false), Expr(*core.top));
}
