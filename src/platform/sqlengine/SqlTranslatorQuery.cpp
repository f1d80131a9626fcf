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
