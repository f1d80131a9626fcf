// The later built-in functions: IIF, CHOOSE, CONCAT, CONCAT_WS, TRIM, TRANSLATE, STRING_AGG; and
// UPDATE(column) and COLUMNS_UPDATED() of a trigger; CURSOR_STATUS.
#include "SqlTranslator.h"

#include "ServerError.h"

QString SqlTranslator::LaterFunction(const SqlExpr& e, const QString& f) {
    auto need = [&](qsizetype min, qsizetype max) {
        if (e.args.size() < min || e.args.size() > max)
            throw ServerError::Make(
                174, 15,
                QStringLiteral("The %1 function requires %2 argument(s).").arg(e.text.toLower()).arg(min),
                true);
    };
    if (f == QLatin1String("UPDATE")) {
        need(1, 1);
        if (e.args[0]->kind != SqlExpr::Kind::Column)
            throw ServerError::Make(102, 15, QStringLiteral("Incorrect syntax near 'UPDATE'."), true);
        return AddParam(mContext.Global(QStringLiteral("UPDATE(%1)").arg(e.args[0]->parts.last())));
    }
    if (f == QLatin1String("CURSOR_STATUS")) {
        need(2, 2);
        QStringList names;
        for (const SqlExprP& a : e.args)
            names.append(a->kind == SqlExpr::Kind::Variable ? mContext.Variable(a->text, a->line).toString()
                                                            : a->text);
        return AddParam(mContext.Global(QStringLiteral("CURSOR_STATUS\n") + names.join(u'\n')));
    }
    if (f == QLatin1String("COLUMNS_UPDATED")) {
        need(0, 0);
        return AddParam(mContext.Global(f));
    }
    QStringList args;
    for (const SqlExprP& a : e.args)
        args.append(Expr(*a));
    static const QStringList windowOnly = {QStringLiteral("ROW_NUMBER"),   QStringLiteral("RANK"),
                                           QStringLiteral("DENSE_RANK"),   QStringLiteral("NTILE"),
                                           QStringLiteral("LAG"),          QStringLiteral("LEAD"),
                                           QStringLiteral("FIRST_VALUE"),  QStringLiteral("LAST_VALUE"),
                                           QStringLiteral("PERCENT_RANK"), QStringLiteral("CUME_DIST")};
    if (windowOnly.contains(f)) {
        if (!e.over)
            throw ServerError::Make(
                10753, 15, QStringLiteral("The function '%1' must have an OVER clause.").arg(f), true);
        if (e.over->orderBy.isEmpty())
            throw ServerError::Make(
                4112, 15, QStringLiteral("The function '%1' must have an OVER clause with ORDER BY.").arg(f),
                true);
        return f.toLower() + u'(' + args.join(QStringLiteral(", ")) + u')';
    }
    if (f == QLatin1String("IIF")) {
        need(3, 3);
        return QStringLiteral("(CASE WHEN %1 THEN %2 ELSE %3 END)").arg(args[0], args[1], args[2]);
    }
    if (f == QLatin1String("CHOOSE")) {
        if (args.size() < 2)
            throw ServerError::Make(189, 15,
                                    QStringLiteral("The choose function requires 2 to 254 arguments."), true);
        QString sql = QStringLiteral("(CASE ") + args[0];
        for (qsizetype i = 1; i < args.size(); ++i)
            sql += QStringLiteral(" WHEN %1 THEN %2").arg(i).arg(args[i]);
        return sql + QStringLiteral(" END)");
    }
    if (f == QLatin1String("CONCAT")) {
        if (args.size() < 2)
            throw ServerError::Make(189, 15,
                                    QStringLiteral("The concat function requires 2 to 254 arguments."), true);
        // NULL counts as an empty string.
        for (QString& a : args)
            a = QStringLiteral("ifnull(tsql_text(%1), '')").arg(a);
        return u'(' + args.join(QStringLiteral(" || ")) + u')';
    }
    if (f == QLatin1String("CONCAT_WS")) {
        if (args.size() < 3)
            throw ServerError::Make(
                189, 15, QStringLiteral("The concat_ws function requires 3 to 254 arguments."), true);
        for (qsizetype i = 1; i < args.size(); ++i)
            args[i] = QStringLiteral("tsql_text(%1)").arg(args[i]);
        return QStringLiteral("tsql_concat_ws(") + args.join(QStringLiteral(", ")) + u')';
    }
    if (f == QLatin1String("TRIM")) {
        need(1, 1);
        return QStringLiteral("trim(%1, ' ')").arg(args[0]);
    }
    if (f == QLatin1String("TRANSLATE")) {
        need(3, 3);
        return QStringLiteral("tsql_translate(%1, %2, %3)").arg(args[0], args[1], args[2]);
    }
    if (f == QLatin1String("STRING_AGG")) {
        need(2, 2);
        return QStringLiteral("group_concat(tsql_text(%1), %2)").arg(args[0], args[1]);
    }
    return {};
}
