#include "SqlTranslator.h"

#include "ServerError.h"
#include "SqlDecimal.h"

#include <algorithm>
#include <utility>

namespace {
const QString kNoName = QStringLiteral("__noname_");

// SQLite takes at most 127 arguments in one call.
constexpr int kArgsPerCall = 100;

// The levels of binary operators; the operators of one level are read left to right.
enum class Level { Or, And, Comparison, Additive, Multiplicative };

Level LevelOf(const QString& op) {
    if (op == QLatin1String("OR"))
        return Level::Or;
    if (op == QLatin1String("AND"))
        return Level::And;
    if (op == QLatin1String("*") || op == QLatin1String("/") || op == QLatin1String("%"))
        return Level::Multiplicative;
    if (op == QLatin1String("+") || op == QLatin1String("-") || op == QLatin1String("&") ||
        op == QLatin1String("|") || op == QLatin1String("^"))
        return Level::Additive;
    return Level::Comparison;
}

// SQLite's own precedence among the operators it is handed: within one group, written one after
// the other without parentheses, they still go left to right.
int SqliteGroup(const QString& op) {
    if (op == QLatin1String("-"))
        return 1;
    if (op == QLatin1String("&") || op == QLatin1String("|"))
        return 2;
    return 3; // * / %
}

// Combines operands of an associative operator as a balanced tree, whose depth is the logarithm of
// their number; SQLite refuses an expression a thousand levels deep.
QString Balanced(const QStringList& parts, const QString& op, qsizetype from, qsizetype to) {
    if (to - from == 1)
        return parts[from];
    const qsizetype mid = from + (to - from) / 2;
    return u'(' + Balanced(parts, op, from, mid) + u' ' + op + u' ' + Balanced(parts, op, mid, to) + u')';
}

const QHash<QString, QString> kDirectFunctions = {
    {QStringLiteral("LEN"), QStringLiteral("tsql_len")},
    {QStringLiteral("DATALENGTH"), QStringLiteral("tsql_datalength")},
    {QStringLiteral("UPPER"), QStringLiteral("tsql_upper")},
    {QStringLiteral("LOWER"), QStringLiteral("tsql_lower")},
    {QStringLiteral("SUBSTRING"), QStringLiteral("tsql_substring")},
    {QStringLiteral("LEFT"), QStringLiteral("tsql_left")},
    {QStringLiteral("RIGHT"), QStringLiteral("tsql_right")},
    {QStringLiteral("CHARINDEX"), QStringLiteral("tsql_charindex")},
    {QStringLiteral("REPLACE"), QStringLiteral("tsql_replace")},
    {QStringLiteral("REPLICATE"), QStringLiteral("tsql_replicate")},
    {QStringLiteral("SPACE"), QStringLiteral("tsql_space")},
    {QStringLiteral("REVERSE"), QStringLiteral("tsql_reverse")},
    {QStringLiteral("GETDATE"), QStringLiteral("tsql_getdate")},
    {QStringLiteral("CURRENT_TIMESTAMP"), QStringLiteral("tsql_getdate")},
    {QStringLiteral("GETUTCDATE"), QStringLiteral("tsql_getutcdate")},
    {QStringLiteral("NEWID"), QStringLiteral("tsql_newid")},
    {QStringLiteral("ISNUMERIC"), QStringLiteral("tsql_isnumeric")},
    {QStringLiteral("ISDATE"), QStringLiteral("tsql_isdate")},
    {QStringLiteral("FLOOR"), QStringLiteral("tsql_floor")},
    {QStringLiteral("CEILING"), QStringLiteral("tsql_ceiling")},
    {QStringLiteral("POWER"), QStringLiteral("tsql_power")},
};

const QHash<QString, QPair<int, int>> kFunctionArity = {
    {QStringLiteral("LEN"), {1, 1}},        {QStringLiteral("DATALENGTH"), {1, 1}},
    {QStringLiteral("UPPER"), {1, 1}},      {QStringLiteral("LOWER"), {1, 1}},
    {QStringLiteral("SUBSTRING"), {3, 3}},  {QStringLiteral("LEFT"), {2, 2}},
    {QStringLiteral("RIGHT"), {2, 2}},      {QStringLiteral("CHARINDEX"), {2, 3}},
    {QStringLiteral("REPLACE"), {3, 3}},    {QStringLiteral("REPLICATE"), {2, 2}},
    {QStringLiteral("SPACE"), {1, 1}},      {QStringLiteral("REVERSE"), {1, 1}},
    {QStringLiteral("GETDATE"), {0, 0}},    {QStringLiteral("CURRENT_TIMESTAMP"), {0, 0}},
    {QStringLiteral("GETUTCDATE"), {0, 0}}, {QStringLiteral("NEWID"), {0, 0}},
    {QStringLiteral("ISNUMERIC"), {1, 1}},  {QStringLiteral("ISDATE"), {1, 1}},
    {QStringLiteral("FLOOR"), {1, 1}},      {QStringLiteral("CEILING"), {1, 1}},
    {QStringLiteral("POWER"), {2, 2}},
};

} // namespace

QString SqlTranslator::Quote(const QString& name) {
    // SQLite reads a statement only up to a NUL, and a name has no other way to hold one.
    if (name.contains(QChar(0)))
        throw ServerError::Unsupported(QStringLiteral("a name with a NUL character"));
    QString n = name;
    n.replace(u'"', QStringLiteral("\"\""));
    return u'"' + n + u'"';
}

QString SqlTranslator::Literal(const QString& text) {
    QString t = text;
    t.replace(u'\'', QStringLiteral("''"));
    // SQLite reads a statement only up to a NUL, so a NUL in a string is spelled out.
    if (t.contains(QChar(0)))
        return QStringLiteral("('") + t.replace(QChar(0), QStringLiteral("' || char(0) || '")) +
               QStringLiteral("')");
    return u'\'' + t + u'\'';
}

QString SqlTranslator::ResultName(const QString& sqliteName) {
    return sqliteName.startsWith(kNoName) ? QString() : sqliteName;
}

QString SqlTranslator::AddParam(const QVariant& value) {
    mParams.append(value);
    QString p = QStringLiteral("?%1").arg(mParams.size());
    if (value.typeId() == QMetaType::QString)
        p += QStringLiteral(" COLLATE TSQL");
    return p;
}

QString SqlTranslator::FoldedValue(const QVariant& value, bool variables) {
    if (variables)
        return AddParam(value);
    if (!value.isValid())
        return QStringLiteral("NULL");
    if (value.userType() == qMetaTypeId<SqlDecimal>()) {
        // A literal with a point, so that SQLite divides it as a fraction.
        QString text = value.value<SqlDecimal>().ToString();
        if (!text.contains(u'.'))
            text += QStringLiteral(".0");
        return u'(' + text + u')';
    }
    if (value.typeId() == QMetaType::QString)
        return Literal(value.toString()) + QStringLiteral(" COLLATE TSQL");
    return value.toString();
}

QString SqlTranslator::Select(const SqlSelect& select) {
    if (select.forClause)
        return ForClause(select);
    if (select.cores.size() == 1 && !select.cores.first().groupingSets.isEmpty() && !mGrouping)
        return GroupedSelect(select);
    // The columns an APPLY brings are seen up to the end of its query, ORDER BY included.
    const auto outerLateral = mLateral;
    const QString outerQualifier = std::exchange(mQualifier, QString());
    QString sql = With(select);
    const bool compound = select.cores.size() > 1;
    for (int i = 0; i < select.cores.size(); ++i) {
        if (i > 0)
            sql += u' ' + select.unionOps[i - 1] + u' ';
        sql += Core(select.cores[i], compound);
    }
    if (!select.orderBy.isEmpty()) {
        sql += QStringLiteral(" ORDER BY ");
        for (int i = 0; i < select.orderBy.size(); ++i) {
            if (i > 0)
                sql += QStringLiteral(", ");
            sql += Expr(*select.orderBy[i].expr);
            if (select.orderBy[i].descending)
                sql += QStringLiteral(" DESC");
        }
    }
    if (!compound && select.cores.first().top && select.cores.first().topPercent) {
        if (select.cores.first().topWithTies)
            throw ServerError::Unsupported(QStringLiteral("TOP ... PERCENT WITH TIES"));
        return TopPercent(sql, *select.cores.first().top);
    }
    if (!compound && select.cores.first().top && select.cores.first().topWithTies)
        sql += QStringLiteral(" LIMIT ") + TopWithTies(select);
    else if (!compound && select.cores.first().top)
        sql += QStringLiteral(" LIMIT ") + Expr(*select.cores.first().top);
    mLateral = outerLateral;
    mQualifier = outerQualifier;
    return sql;
}

QString SqlTranslator::Core(const SqlSelectCore& core, bool wrapTop) {
    if (!core.into.isEmpty())
        throw ServerError::Unsupported(QStringLiteral("SELECT ... INTO"));
    if (core.topPercent && wrapTop)
        throw ServerError::Unsupported(QStringLiteral("TOP ... PERCENT in a UNION"));
    if (core.topWithTies && wrapTop)
        throw ServerError::Unsupported(QStringLiteral("TOP ... WITH TIES in a UNION"));
    if (!core.groupingSets.isEmpty() && !mGrouping)
        return GroupingSets(core, wrapTop);
    // FROM before the columns: an APPLY there decides how the columns it brings are read.
    QStringList applyConditions = std::exchange(mApplyConditions, {});
    const QString from = core.from.isEmpty() ? QString() : FromList(core.from);
    std::swap(applyConditions, mApplyConditions);
    QString sql = QStringLiteral("SELECT ");
    if (core.distinct)
        sql += QStringLiteral("DISTINCT ");
    for (int i = 0; i < core.items.size(); ++i) {
        const SqlSelectItem& item = core.items[i];
        if (i > 0)
            sql += QStringLiteral(", ");
        const SqlExpr& e = *item.expr;
        if (e.kind == SqlExpr::Kind::Star) {
            if (core.from.isEmpty())
                throw ServerError::Make(263, 16, QStringLiteral("Must specify table to select from."));
            if (e.parts.isEmpty())
                sql += u'*';
            else
                sql += Quote(e.parts.last()) + QStringLiteral(".*");
            continue;
        }
        sql += Expr(e);
        if (item.hasAlias)
            sql += QStringLiteral(" AS ") + Quote(item.alias);
        else if (e.kind == SqlExpr::Kind::Column)
            sql += QStringLiteral(" AS ") + Quote(e.parts.last());
        else
            sql += QStringLiteral(" AS ") + Quote(kNoName + QString::number(++mNoName));
    }
    if (!from.isEmpty())
        sql += QStringLiteral(" FROM ") + from;
    if (core.where)
        applyConditions.prepend(Expr(*core.where));
    if (!applyConditions.isEmpty())
        sql += QStringLiteral(" WHERE (") + applyConditions.join(QStringLiteral(") AND (")) + u')';
    if (!core.groupBy.isEmpty()) {
        sql += QStringLiteral(" GROUP BY ");
        for (int i = 0; i < core.groupBy.size(); ++i)
            sql += (i > 0 ? QStringLiteral(", ") : QString()) + Expr(*core.groupBy[i]);
    }
    if (core.having)
        sql += QStringLiteral(" HAVING ") + Expr(*core.having);
    if (wrapTop && core.top)
        sql = QStringLiteral("SELECT * FROM (") + sql + QStringLiteral(" LIMIT ") + Expr(*core.top) + u')';
    return sql;
}

QString SqlTranslator::FromList(const QList<SqlTableRefP>& from) {
    QString sql;
    for (int i = 0; i < from.size(); ++i)
        sql += (i > 0 ? QStringLiteral(", ") : QString()) + TableRef(*from[i]);
    return sql;
}

QString SqlTranslator::TableRef(const SqlTableRef& ref) {
    // What the statement reads from, for the types of its columns (SqlTranslatorTypes.cpp).
    const qsizetype source = mColumnSources.size();
    if (ref.kind != SqlTableRef::Kind::Join)
        mColumnSources.append(ColumnSource{ref.alias.toLower(), {}, true});
    switch (ref.kind) {
    case SqlTableRef::Kind::Join:
        return Joins(ref);
    case SqlTableRef::Kind::Subquery:
        return u'(' + Select(*ref.select) + QStringLiteral(") AS ") + Quote(ref.alias);
    case SqlTableRef::Kind::Pivot:
    case SqlTableRef::Kind::Unpivot:
        return Pivot(ref);
    case SqlTableRef::Kind::Named:
        if (ref.name.size() == 1 && mCtes.contains(ref.name.first().toLower()))
            return Quote(ref.name.first()) + QStringLiteral(" AS ") +
                   Quote(ref.alias.isEmpty() ? ref.name.first() : ref.alias);
        [[fallthrough]];
    case SqlTableRef::Kind::Function: {
        if (ref.kind == SqlTableRef::Kind::Function && ref.name.size() == 1 &&
            ref.name.first().compare(QLatin1String("STRING_SPLIT"), Qt::CaseInsensitive) == 0)
            return StringSplit(ref);
        if (ref.kind == SqlTableRef::Kind::Function && ref.name.size() == 1 &&
            ref.name.first().compare(QLatin1String("OPENJSON"), Qt::CaseInsensitive) == 0)
            return OpenJson(ref, false);
        if (ref.kind == SqlTableRef::Kind::Function && ref.name.size() == 1 &&
            ref.name.first() == QLatin1String("XML.NODES"))
            return XmlNodes(ref, false);
        if (ref.kind == SqlTableRef::Kind::Function && ref.name.size() == 1 &&
            ref.name.first().compare(QLatin1String("OPENXML"), Qt::CaseInsensitive) == 0)
            return OpenXml(ref, false);
        TranslatorContext::Table t = mContext.ResolveTable(ref, *this);
        const QString alias = ref.alias.isEmpty() ? t.alias : ref.alias;
        mColumnSources[source] = ColumnSource{alias.toLower(), t.columnTypes, t.columnTypes.isEmpty()};
        return t.sql + QStringLiteral(" AS ") + Quote(alias);
    }
    }
    return {};
}

// a JOIN b JOIN c ... is a left-deep tree as long as the list of joins: read along its left edge.
QString SqlTranslator::Joins(const SqlTableRef& ref) {
    QList<const SqlTableRef*> joins;
    const SqlTableRef* first = &ref;
    for (; first->kind == SqlTableRef::Kind::Join; first = first->left.get())
        joins.prepend(first);
    QString sql = TableRef(*first);
    for (const SqlTableRef* j : joins) {
        if (j->joinType.endsWith(QLatin1String("APPLY"))) {
            sql += Apply(*j);
            continue;
        }
        sql += j->joinType == QLatin1String("INNER")   ? QStringLiteral(" JOIN ")
               : j->joinType == QLatin1String("CROSS") ? QStringLiteral(" CROSS JOIN ")
                                                       : u' ' + j->joinType + QStringLiteral(" OUTER JOIN ");
        // A JOIN (b JOIN c ON ...) ON ...: the inner join keeps its parentheses, which SQLite
        // reads as a join of its own.
        if (j->right->kind == SqlTableRef::Kind::Join)
            sql += u'(' + TableRef(*j->right) + u')';
        else
            sql += TableRef(*j->right);
        if (j->on)
            sql += QStringLiteral(" ON ") + Expr(*j->on);
    }
    return sql;
}

// A chain of operators of one level (1+1+...+1, a AND b AND ...) is a left-deep tree as deep as
// the chain is long. It is read along its left edge in a loop, and handed to SQLite in a shape whose
// nesting doesn't grow with its length: SQLite's parser takes only about 30 nested calls or
// parentheses.
QString SqlTranslator::Binary(const SqlExpr& e) {
    const Level level = LevelOf(e.text);
    if (level == Level::Comparison) {
        const QString a = Expr(*e.args[0]);
        const QString b = Expr(*e.args[1]);
        QString op = e.text;
        if (op == QLatin1String("!<"))
            op = QStringLiteral(">=");
        else if (op == QLatin1String("!>"))
            op = QStringLiteral("<=");
        return u'(' + a + u' ' + op + u' ' + b + u')';
    }
    QList<const SqlExpr*> operands;
    QStringList ops;
    const SqlExpr* n = &e;
    for (; n->kind == SqlExpr::Kind::Binary && LevelOf(n->text) == level; n = n->args[0].get()) {
        operands.append(n->args[1].get());
        ops.append(n->text);
    }
    operands.append(n);
    std::reverse(operands.begin(), operands.end());
    std::reverse(ops.begin(), ops.end());
    if (level == Level::And || level == Level::Or) {
        QStringList parts;
        parts.reserve(operands.size());
        for (const SqlExpr* o : operands)
            parts.append(Expr(*o));
        return Balanced(parts, e.text, 0, parts.size());
    }
    return Chain(operands, ops);
}

// Whether e is a datetime by its form: values carry no type, so a datetime less a number is told
// from a subtraction of numbers by what the left side is written as.
bool SqlTranslator::DateTimeExpr(const SqlExpr& e) {
    static const QStringList kDateFunctions = {
        QStringLiteral("GETDATE"),           QStringLiteral("GETUTCDATE"),
        QStringLiteral("SYSDATETIME"),       QStringLiteral("SYSUTCDATETIME"),
        QStringLiteral("CURRENT_TIMESTAMP"), QStringLiteral("DATEADD"),
        QStringLiteral("DATETIMEFROMPARTS"), QStringLiteral("SMALLDATETIMEFROMPARTS")};
    switch (e.kind) {
    case SqlExpr::Kind::Column:
        return true; // the value tells at run time: a kept datetime, else a number
    case SqlExpr::Kind::Function:
        return kDateFunctions.contains(e.text.toUpper());
    case SqlExpr::Kind::Cast:
        return e.type.name == QLatin1String("datetime") || e.type.name == QLatin1String("smalldatetime");
    case SqlExpr::Kind::Variable: {
        if (mOverrides.contains(e.text.toLower()))
            return false;
        const QString type = mContext.VariableType(e.text);
        return type == QLatin1String("datetime") || type == QLatin1String("smalldatetime");
    }
    default:
        return false;
    }
}

QString SqlTranslator::Chain(const QList<const SqlExpr*>& operands, const QStringList& ops) {
    QString acc;
    const qsizetype integers = IntegerPrefix(operands, ops, &acc);
    if (integers == 0)
        acc = Expr(*operands[0]);
    // acc is a datetime: a number taken from it is days
    bool dateTime = integers == 0 && DateTimeExpr(*operands[0]);
    int group = 0;      // SQLite's group of the operators written into acc without parentheses
    QStringList folded; // the terms of a run of + or of ^, folded by one call
    QString foldedOp;
    const auto close = [&] {
        if (!folded.isEmpty())
            acc = Fold(foldedOp == QLatin1String("+") ? QStringLiteral("tsql_add")
                                                      : QStringLiteral("tsql_bitxor"),
                       folded);
        else if (group != 0)
            acc = u'(' + acc + u')';
        folded.clear();
        group = 0;
    };
    for (qsizetype i = integers; i < ops.size(); ++i) {
        const QString& op = ops[i];
        const QString rhs = Expr(*operands[i + 1]);
        if (op == QLatin1String("+") || op == QLatin1String("^")) {
            dateTime = dateTime && op == QLatin1String("+");
            if (folded.isEmpty() || op != foldedOp) {
                close();
                folded.append(acc);
                foldedOp = op;
            }
            folded.append(rhs);
        } else if (op == QLatin1String("-") && dateTime) {
            close();
            acc = QStringLiteral("tsql_datesub(") + acc + QStringLiteral(", ") + rhs + u')';
        } else if (op == QLatin1String("/") || op == QLatin1String("%")) {
            dateTime = false;
            // Division by zero is an error, not SQLite's NULL.
            close();
            acc = (op == QLatin1String("/") ? QStringLiteral("tsql_divide(")
                                            : QStringLiteral("tsql_remainder(")) +
                  acc + QStringLiteral(", ") + rhs + u')';
        } else {
            dateTime = false;
            const int g = SqliteGroup(op);
            if (g != group)
                close();
            acc += u' ' + op + u' ' + rhs;
            group = g;
        }
    }
    close();
    return acc;
}

// tsql_add and tsql_bitxor fold their arguments from left to right, as the server reads a + b + c.
// SQLite takes only so many arguments in one call, so a long chain hands its terms over packed:
// tsql_pack keeps its arguments in their order, and the fold unpacks them.
QString SqlTranslator::Fold(const QString& function, QStringList terms) {
    while (terms.size() > kArgsPerCall) {
        QStringList packed;
        for (qsizetype i = 0; i < terms.size(); i += kArgsPerCall)
            packed.append(QStringLiteral("tsql_pack(") +
                          terms.mid(i, kArgsPerCall).join(QStringLiteral(", ")) + u')');
        terms = packed;
    }
    return function + u'(' + terms.join(QStringLiteral(", ")) + u')';
}

QString SqlTranslator::Expr(const SqlExpr& e) {
    if (QString grouped; e.kind == SqlExpr::Kind::Function || mGrouping) {
        if (Grouped(e, &grouped))
            return grouped;
    }
    if (QVariant folded; mOverrides.isEmpty() && e.kind != SqlExpr::Kind::Number) {
        bool variables = false;
        try {
            if (mContext.Fold(e, folded, variables))
                return FoldedValue(folded, variables);
        } catch (const ServerError& failed) {
            // The error belongs to the rows that compute the value: a query with none gives none.
            return QStringLiteral("tsql_fail(%1, %2)").arg(failed.number).arg(Literal(failed.text));
        }
    }
    switch (e.kind) {
    case SqlExpr::Kind::Null:
        return QStringLiteral("NULL");
    case SqlExpr::Kind::String:
        return Literal(e.text) + QStringLiteral(" COLLATE TSQL");
    case SqlExpr::Kind::Number:
        if (e.text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            QString hex = e.text.mid(2);
            if (hex.size() % 2)
                hex.prepend(u'0');
            return QStringLiteral("X'%1'").arg(hex);
        }
        if (e.text.startsWith(u'.'))
            return u'0' + e.text;
        return e.text;
    case SqlExpr::Kind::Column: {
        if (QString lateral = LateralColumn(e); !lateral.isEmpty())
            return lateral;
        if (e.parts.size() == 1)
            return mQualifier.isEmpty() ? Quote(e.parts.last())
                                        : Quote(mQualifier) + u'.' + Quote(e.parts.last());
        return Quote(e.parts[e.parts.size() - 2]) + u'.' + Quote(e.parts.last());
    }
    case SqlExpr::Kind::Variable: {
        auto it = mOverrides.find(e.text.toLower());
        if (it != mOverrides.end())
            return u'(' + *it + u')';
        return AddParam(mContext.Variable(e.text, e.line));
    }
    case SqlExpr::Kind::Star:
        return QStringLiteral("*");
    case SqlExpr::Kind::Unary:
        if (e.text == QLatin1String("NOT"))
            return QStringLiteral("(NOT ") + Expr(*e.args[0]) + u')';
        if (QString negated = IntegerNegation(e); !negated.isEmpty())
            return negated;
        return u'(' + e.text + Expr(*e.args[0]) + u')';
    case SqlExpr::Kind::Binary:
        return Binary(e);
    case SqlExpr::Kind::Function:
        return e.over ? Function(e) + Over(*e.over) : Function(e);
    case SqlExpr::Kind::Case: {
        QString sql = QStringLiteral("CASE");
        int i = 0;
        if (e.hasOperand)
            sql += u' ' + Expr(*e.args[i++]);
        const int whenEnd = int(e.args.size()) - (e.hasElse ? 1 : 0);
        for (; i + 1 < whenEnd + 1 && i < whenEnd; i += 2)
            sql +=
                QStringLiteral(" WHEN ") + Expr(*e.args[i]) + QStringLiteral(" THEN ") + Expr(*e.args[i + 1]);
        if (e.hasElse)
            sql += QStringLiteral(" ELSE ") + Expr(*e.args.last());
        return sql + QStringLiteral(" END");
    }
    case SqlExpr::Kind::Subquery:
        return u'(' + Select(*e.select) + u')';
    case SqlExpr::Kind::Exists:
        return QStringLiteral("EXISTS (") + Select(*e.select) + u')';
    case SqlExpr::Kind::In: {
        QString sql =
            u'(' + Expr(*e.args[0]) + (e.negated ? QStringLiteral(" NOT IN (") : QStringLiteral(" IN ("));
        if (e.select) {
            sql += Select(*e.select);
        } else {
            for (int i = 1; i < e.args.size(); ++i)
                sql += (i > 1 ? QStringLiteral(", ") : QString()) + Expr(*e.args[i]);
        }
        return sql + QStringLiteral("))");
    }
    case SqlExpr::Kind::Between:
        return u'(' + Expr(*e.args[0]) +
               (e.negated ? QStringLiteral(" NOT BETWEEN ") : QStringLiteral(" BETWEEN ")) +
               Expr(*e.args[1]) + QStringLiteral(" AND ") + Expr(*e.args[2]) + u')';
    case SqlExpr::Kind::Like: {
        QString sql =
            QStringLiteral("tsql_like(") + Expr(*e.args[0]) + QStringLiteral(", ") + Expr(*e.args[1]);
        if (e.args.size() > 2)
            sql += QStringLiteral(", ") + Expr(*e.args[2]);
        sql += u')';
        return e.negated ? QStringLiteral("(NOT ") + sql + u')' : sql;
    }
    case SqlExpr::Kind::IsNull:
        return u'(' + Expr(*e.args[0]) +
               (e.negated ? QStringLiteral(" IS NOT NULL)") : QStringLiteral(" IS NULL)"));
    case SqlExpr::Kind::Cast: {
        const bool trying = e.text.startsWith(QLatin1String("TRY_"));
        if (e.text.endsWith(QLatin1String("PARSE")))
            return QStringLiteral("tsql_parse(%1, %2, %3, %4)")
                .arg(Literal(e.type.name), Expr(*e.args[0]),
                     e.args.size() > 1 ? Expr(*e.args[1]) : QStringLiteral("NULL"))
                .arg(trying ? 1 : 0);
        const SqlTypeSpec type = mContext.BaseType(e.type);
        QString sql = QStringLiteral("tsql_convert(%1, %2, %3, %4")
                          .arg(Literal(type.name))
                          .arg(type.length == -1 && type.precision > 0 ? type.precision : type.length)
                          .arg(type.scale)
                          .arg(Expr(*e.args[0]));
        // A decimal column holds a double: the text needs the column's scale to show every decimal.
        const int source = mContext.DecimalTextSource(*e.args[0]);
        if (e.args.size() > 1)
            sql += QStringLiteral(", ") + Expr(*e.args[1]);
        else if (trying || source >= 0)
            sql += QStringLiteral(", 0");
        if (trying || source >= 0)
            sql += trying ? QStringLiteral(", 1") : QStringLiteral(", 0");
        if (source >= 0)
            sql += QStringLiteral(", %1").arg(source);
        return sql + u')';
    }
    }
    return QStringLiteral("NULL");
}

QString SqlTranslator::ObjectProperty(const SqlExpr& e) {
    if (e.args.size() != 2)
        throw ServerError::Make(174, 15,
                                QStringLiteral("The objectproperty function requires 2 argument(s)."), true);
    return QStringLiteral("(tsql_objectproperty(%1, %2, %3) COLLATE BINARY)")
        .arg(Expr(*e.args[0]), Expr(*e.args[1]), Literal(mContext.Schema()));
}

QString SqlTranslator::Function(const SqlExpr& e) {
    const QString f = e.text.toUpper();
    auto arg = [&](int i) { return Expr(*e.args[i]); };
    auto args = [&]() {
        QString s;
        for (int i = 0; i < e.args.size(); ++i)
            s += (i > 0 ? QStringLiteral(", ") : QString()) + Expr(*e.args[i]);
        return s;
    };
    auto need = [&](int min, int max) {
        if (e.args.size() < min || e.args.size() > max)
            throw ServerError::Make(
                174, 15,
                QStringLiteral("The %1 function requires %2 argument(s).").arg(e.text.toLower()).arg(min),
                true);
    };
    if (f.startsWith(QLatin1String("@@"))) {
        const QVariant v = mContext.Global(f);
        if (!v.isValid() && f != QLatin1String("@@IDENTITY"))
            throw ServerError::Unsupported(f);
        return AddParam(v);
    }
    if (e.parts.size() > 1) {
        // owner.function(...): a user's scalar function.
        // The second argument marks the arguments written DEFAULT with a 1.
        QString defaults;
        QString values;
        for (const SqlExprP& a : e.args) {
            const bool isDefault = a->kind == SqlExpr::Kind::Null && a->text == QLatin1String("DEFAULT");
            defaults += isDefault ? u'1' : u'0';
            values += QStringLiteral(", ") + (isDefault ? QStringLiteral("NULL") : Expr(*a));
        }
        if (mComputedColumn.has_value()) {
            // column.Method(...) of a type (hierarchyid's GetLevel) is no user function, and the
            // engine has no methods of types: the column is NULL. SQLite computes every generated
            // column of a row it inserts, so an error here would refuse every row.
            for (const QString& c : *mComputedColumn)
                if (e.parts.size() == 2 && c.compare(e.parts.first(), Qt::CaseInsensitive) == 0)
                    return QStringLiteral("NULL");
            return QStringLiteral("tsql_udf_column(") + Literal(e.parts.join(u'.')) + QStringLiteral(", ") +
                   Literal(defaults) + values + u')';
        }
        return QStringLiteral("tsql_udf(") + Literal(e.parts.join(u'.')) + QStringLiteral(", ") +
               Literal(defaults) + values + u')';
    }
    if (f == QLatin1String("COUNT") || f == QLatin1String("COUNT_BIG")) {
        if (e.star)
            return QStringLiteral("COUNT(*)");
        need(1, 1);
        return QStringLiteral("COUNT(") + (e.distinct ? QStringLiteral("DISTINCT ") : QString()) + arg(0) +
               u')';
    }
    if (f == QLatin1String("SUM") || f == QLatin1String("AVG") || f == QLatin1String("MIN") ||
        f == QLatin1String("MAX")) {
        need(1, 1);
        return f + u'(' + (e.distinct ? QStringLiteral("DISTINCT ") : QString()) + arg(0) + u')';
    }
    if (f == QLatin1String("ISNULL")) {
        need(2, 2);
        return QStringLiteral("ifnull(%1, %2)").arg(arg(0), arg(1));
    }
    if (f == QLatin1String("COALESCE") || f == QLatin1String("NULLIF") || f == QLatin1String("ABS")) {
        return f.toLower() + u'(' + args() + u')';
    }
    if (f == QLatin1String("ROUND")) {
        need(2, 3);
        return QStringLiteral("round(%1, %2)").arg(arg(0), arg(1));
    }
    if (f == QLatin1String("LTRIM") || f == QLatin1String("RTRIM")) {
        need(1, 1);
        return QStringLiteral("%1(%2, ' ')").arg(f.toLower(), arg(0));
    }
    if (QString sql = DateFunction(e, f); !sql.isEmpty())
        return sql;
    auto it = kDirectFunctions.find(f);
    if (it != kDirectFunctions.end()) {
        const auto range = kFunctionArity.value(f);
        need(range.first, range.second);
        return *it + u'(' + args() + u')';
    }
    if (f == QLatin1String("OBJECT_ID")) {
        need(1, 2);
        // A number: the name's text collation must not become the comparison's, or "id = OBJECT_ID(...)"
        // compares as text and can't use the index on id.
        return QStringLiteral("(tsql_object_id(%1, %2, %3, %4, %5) COLLATE BINARY)")
            .arg(arg(0), Literal(mContext.Schema()))
            .arg(mContext.UserUid())
            .arg(Literal(mContext.DatabaseName()), Literal(mContext.MasterSchema()));
    }
    if (f == QLatin1String("OBJECT_NAME")) {
        need(1, 2);
        return QStringLiteral("tsql_lookup('object_name', %1, %2)").arg(Literal(mContext.Schema()), arg(0));
    }
    if (f == QLatin1String("OBJECTPROPERTY"))
        return ObjectProperty(e);
    if (f == QLatin1String("USER_NAME") || f == QLatin1String("USER_ID")) {
        if (e.args.isEmpty())
            return AddParam(mContext.Global(f));
        need(1, 1);
        const QString lookup =
            QStringLiteral("tsql_lookup('%1', %2, %3)").arg(f.toLower(), Literal(mContext.Schema()), arg(0));
        return f == QLatin1String("USER_ID") ? u'(' + lookup + QStringLiteral(" COLLATE BINARY)") : lookup;
    }
    if (f == QLatin1String("DB_NAME")) {
        if (e.args.isEmpty())
            return AddParam(mContext.DatabaseName());
        need(1, 1);
        return QStringLiteral("tsql_lookup('db_name', %1, %2)").arg(Literal(mContext.MasterSchema()), arg(0));
    }
    if (f == QLatin1String("DB_ID")) {
        if (e.args.isEmpty())
            return QStringLiteral("(SELECT dbid FROM \"%1\".sysdatabases WHERE name = %2)")
                .arg(mContext.MasterSchema(), AddParam(mContext.DatabaseName()));
        need(1, 1);
        return QStringLiteral("(tsql_lookup('db_id', %1, %2) COLLATE BINARY)")
            .arg(Literal(mContext.MasterSchema()), arg(0));
    }
    if (f == QLatin1String("SUSER_SNAME") || f == QLatin1String("SUSER_NAME") ||
        f == QLatin1String("SYSTEM_USER") || f == QLatin1String("CURRENT_USER") ||
        f == QLatin1String("SESSION_USER") || f == QLatin1String("USER") || f == QLatin1String("HOST_NAME") ||
        f == QLatin1String("APP_NAME") || f == QLatin1String("SCOPE_IDENTITY") ||
        f == QLatin1String("SUSER_SID") || f == QLatin1String("ERROR_NUMBER") ||
        f == QLatin1String("ERROR_MESSAGE") || f == QLatin1String("ERROR_LINE") ||
        f == QLatin1String("ERROR_PROCEDURE") || f == QLatin1String("ERROR_SEVERITY") ||
        f == QLatin1String("ERROR_STATE") || f == QLatin1String("XACT_STATE")) {
        if (!e.args.isEmpty())
            throw ServerError::Unsupported(QStringLiteral("%1 with an argument").arg(f));
        return AddParam(mContext.Global(f));
    }
    if (QString sql = CatalogueFunction(e, f); !sql.isEmpty())
        return sql;
    if (QString later = LaterFunction(e, f); !later.isEmpty())
        return later;
    if (QString json = JsonFunction(e, f); !json.isEmpty())
        return json;
    if (QString server = ServerFunction(e, f); !server.isEmpty())
        return server;
    throw ServerError::Make(
        195, 15, QStringLiteral("'%1' is not a recognized built-in function name.").arg(e.text), true);
}
