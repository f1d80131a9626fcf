// Common table expressions and window clauses: SQLite has both, in the same words.
#include "SqlTranslator.h"

#include "ServerError.h"

QString SqlTranslator::With(const SqlSelect& select) {
    if (select.ctes.isEmpty())
        return {};
    // Every name is known before any body is read: a body may name itself (recursion) or another.
    for (const SqlCte& c : select.ctes)
        mCtes.append(c.name.toLower());
    QStringList parts;
    for (const SqlCte& c : select.ctes) {
        QString head = Quote(c.name);
        if (!c.columns.isEmpty()) {
            QStringList columns;
            for (const QString& column : c.columns)
                columns.append(Quote(column));
            head += u'(' + columns.join(QStringLiteral(", ")) + u')';
        }
        parts.append(head + QStringLiteral(" AS (") + Select(*c.select) + u')');
    }
    return QStringLiteral("WITH RECURSIVE ") + parts.join(QStringLiteral(", ")) + u' ';
}

QString SqlTranslator::Over(const SqlWindow& over) {
    QStringList clauses;
    if (!over.partitionBy.isEmpty()) {
        QStringList terms;
        for (const SqlExprP& e : over.partitionBy)
            terms.append(Expr(*e));
        clauses.append(QStringLiteral("PARTITION BY ") + terms.join(QStringLiteral(", ")));
    }
    if (!over.orderBy.isEmpty()) {
        QStringList terms;
        for (const SqlOrderItem& o : over.orderBy)
            terms.append(Expr(*o.expr) + (o.descending ? QStringLiteral(" DESC") : QString()));
        clauses.append(QStringLiteral("ORDER BY ") + terms.join(QStringLiteral(", ")));
    }
    if (!over.frame.isEmpty())
        clauses.append(over.frame);
    return QStringLiteral(" OVER (") + clauses.join(u' ') + u')';
}

// STRING_SPLIT(text, separator): a recursive query that cuts off one piece a round.
QString SqlTranslator::StringSplit(const SqlTableRef& ref) {
    if (ref.args.size() != 2)
        throw ServerError::Make(
            ref.args.size() > 2 ? 8144 : 313, 16,
            ref.args.size() > 2
                ? QStringLiteral("Procedure or function STRING_SPLIT has too many arguments specified.")
                : QStringLiteral(
                      "An insufficient number of arguments were supplied for the procedure or function "
                      "STRING_SPLIT."),
            true);
    const QString text = Expr(*ref.args[0]);
    const QString separator = Expr(*ref.args[1]);
    const QString alias = Quote(ref.alias.isEmpty() ? QStringLiteral("STRING_SPLIT") : ref.alias);
    return QStringLiteral(
               "(WITH RECURSIVE \"__split\"(value, rest, sep) AS (SELECT NULL, (%1) || (%2), (%2) "
               "UNION ALL SELECT substr(rest, 1, instr(rest, sep) - 1), substr(rest, instr(rest, sep) + "
               "length(sep)), sep FROM \"__split\" WHERE length(rest) > 0 AND length(sep) > 0) "
               "SELECT value FROM \"__split\" WHERE value IS NOT NULL) AS %3")
        .arg(text, separator, alias);
}
