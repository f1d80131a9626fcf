// GROUP BY ROLLUP, CUBE and GROUPING SETS: one query per set, put together with UNION ALL. In the
// query of a set, a grouping column outside the set is NULL wherever it stands outside an
// aggregate, GROUPING(column) is 1 for it (0 for the set's own), and GROUPING_ID gives those bits
// as a number, the first column the highest bit.
#include "SqlTranslator.h"

#include "ServerError.h"

namespace {

bool SameExpr(const SqlExpr& a, const SqlExpr& b) {
    if (a.kind != b.kind || a.text.compare(b.text, Qt::CaseInsensitive) != 0 ||
        a.args.size() != b.args.size() || a.negated != b.negated || a.distinct != b.distinct ||
        a.star != b.star || a.select || b.select || a.over || b.over)
        return false;
    if (a.kind == SqlExpr::Kind::Column) {
        // t.x and x name the same column here; the server asks the same of a query's columns.
        if (a.parts.last().compare(b.parts.last(), Qt::CaseInsensitive) != 0)
            return false;
        const qsizetype common = qMin(a.parts.size(), b.parts.size());
        for (qsizetype i = 1; i <= common; ++i)
            if (a.parts[a.parts.size() - i].compare(b.parts[b.parts.size() - i], Qt::CaseInsensitive) != 0)
                return false;
    } else if (a.parts.size() != b.parts.size()) {
        return false;
    }
    for (qsizetype i = 0; i < a.args.size(); ++i) {
        if (!a.args[i] || !b.args[i]) {
            if (a.args[i] != b.args[i])
                return false;
            continue;
        }
        if (!SameExpr(*a.args[i], *b.args[i]))
            return false;
    }
    return true;
}

bool IsAggregate(const QString& name) {
    static const QStringList aggregates = {
        QStringLiteral("COUNT"), QStringLiteral("COUNT_BIG"), QStringLiteral("SUM"),
        QStringLiteral("AVG"),   QStringLiteral("MIN"),       QStringLiteral("MAX"),
        QStringLiteral("STDEV"), QStringLiteral("STDEVP"),    QStringLiteral("VAR"),
        QStringLiteral("VARP"),  QStringLiteral("STRING_AGG")};
    return aggregates.contains(name.toUpper());
}

// Whether an aggregate stands in e (not in its subqueries).
bool HasAggregate(const SqlExpr& e) {
    if (e.kind == SqlExpr::Kind::Function && !e.over && IsAggregate(e.text))
        return true;
    return std::any_of(e.args.cbegin(), e.args.cend(),
                       [](const SqlExprP& a) { return a && HasAggregate(*a); });
}

} // namespace

QString SqlTranslator::GroupingSets(const SqlSelectCore& core, bool wrapTop) {
    QStringList branches;
    for (const QList<int>& set : core.groupingSets) {
        SqlSelectCore branch = core;
        branch.groupingSets.clear();
        branch.top.reset();
        branch.groupBy.clear();
        for (int i : set)
            branch.groupBy.append(core.groupBy[i]);
        // The set () is one row for all rows, which a query without aggregates is only when grouped.
        const bool aggregates =
            std::any_of(core.items.cbegin(), core.items.cend(),
                        [](const SqlSelectItem& item) { return HasAggregate(*item.expr); }) ||
            (core.having && HasAggregate(*core.having));
        if (set.isEmpty() && !aggregates) {
            auto none = std::make_shared<SqlExpr>();
            none->kind = SqlExpr::Kind::Null;
            branch.groupBy.append(none);
        }
        GroupingBranch state;
        state.core = &core;
        state.set = set;
        mGrouping = &state;
        struct Leave {
            GroupingBranch*& grouping;
            ~Leave() { grouping = nullptr; }
        } leave{mGrouping};
        branches.append(Core(branch, false));
    }
    QString sql = QStringLiteral("SELECT * FROM (") + branches.join(QStringLiteral(" UNION ALL ")) + u')';
    if (wrapTop && core.top)
        sql = QStringLiteral("SELECT * FROM (") + sql + QStringLiteral(" LIMIT ") + Expr(*core.top) + u')';
    return sql;
}

QString SqlTranslator::GroupedSelect(const SqlSelect& select) {
    QString sql = With(select);
    const SqlSelectCore& core = select.cores.first();
    const bool star = std::any_of(core.items.cbegin(), core.items.cend(),
                                  [](const SqlSelectItem& i) { return i.expr->kind == SqlExpr::Kind::Star; });
    if (star || select.orderBy.isEmpty()) {
        sql += GroupingSets(core, false);
        if (!select.orderBy.isEmpty()) {
            QStringList terms;
            for (const SqlOrderItem& o : select.orderBy)
                terms.append(Expr(*o.expr) + (o.descending ? QStringLiteral(" DESC") : QString()));
            sql += QStringLiteral(" ORDER BY ") + terms.join(QStringLiteral(", "));
        }
    } else {
        // Every column gets a name; each ORDER BY term that is no column of the result becomes a
        // hidden one, computed with the rest in the query of each set.
        SqlSelectCore named = core;
        QStringList visible;
        for (qsizetype i = 0; i < named.items.size(); ++i) {
            SqlSelectItem& item = named.items[i];
            if (!item.hasAlias) {
                item.alias = item.expr->kind == SqlExpr::Kind::Column ? item.expr->parts.last()
                                                                      : QStringLiteral("__noname_g%1").arg(i);
                item.hasAlias = true;
            }
            visible.append(Quote(item.alias));
        }
        QStringList terms;
        for (qsizetype j = 0; j < select.orderBy.size(); ++j) {
            const SqlOrderItem& o = select.orderBy[j];
            QString term;
            if (o.expr->kind == SqlExpr::Kind::Number) {
                const int position = o.expr->text.toInt();
                if (position >= 1 && position <= visible.size())
                    term = visible[position - 1];
            } else if (o.expr->kind == SqlExpr::Kind::Column && o.expr->parts.size() == 1) {
                for (const SqlSelectItem& item : named.items)
                    if (item.alias.compare(o.expr->parts.last(), Qt::CaseInsensitive) == 0)
                        term = Quote(item.alias);
            }
            if (term.isEmpty()) {
                SqlSelectItem hidden;
                hidden.expr = o.expr;
                hidden.alias = QStringLiteral("__order%1").arg(j);
                hidden.hasAlias = true;
                named.items.append(hidden);
                term = Quote(hidden.alias);
            }
            terms.append(term + (o.descending ? QStringLiteral(" DESC") : QString()));
        }
        sql += QStringLiteral("SELECT %1 FROM (%2) ORDER BY %3")
                   .arg(visible.join(QStringLiteral(", ")), GroupingSets(named, false),
                        terms.join(QStringLiteral(", ")));
    }
    if (core.top)
        sql += QStringLiteral(" LIMIT ") + Expr(*core.top);
    return sql;
}

bool SqlTranslator::Grouped(const SqlExpr& e, QString* sql) {
    const bool function = e.kind == SqlExpr::Kind::Function;
    const QString name = function ? e.text.toUpper() : QString();
    const bool groupingFunction = name == QLatin1String("GROUPING") || name == QLatin1String("GROUPING_ID");
    if (!mGrouping) {
        if (!groupingFunction)
            return false;
        // Under a plain GROUP BY every column is grouped.
        if (e.args.isEmpty())
            throw ServerError::Make(
                174, 15, QStringLiteral("The %1 function requires 1 argument(s).").arg(name), true);
        *sql = QStringLiteral("0");
        return true;
    }
    if (mGrouping->insideAggregate)
        return false;
    if (function && !e.over && IsAggregate(name)) {
        mGrouping->insideAggregate = true;
        struct Leave {
            bool& inside;
            ~Leave() { inside = false; }
        } leave{mGrouping->insideAggregate};
        *sql = Expr(e);
        return true;
    }
    const SqlSelectCore& core = *mGrouping->core;
    // 1 when the column is grouped in no column of the set
    const auto outside = [&](const SqlExpr& column, bool* known) {
        *known = false;
        bool inSet = false;
        for (int i = 0; i < core.groupBy.size(); ++i) {
            if (!SameExpr(column, *core.groupBy[i]))
                continue;
            *known = true;
            inSet = inSet || mGrouping->set.contains(i);
        }
        return *known && !inSet;
    };
    if (groupingFunction) {
        if (e.args.isEmpty() || (name == QLatin1String("GROUPING") && e.args.size() > 1))
            throw ServerError::Make(
                174, 15, QStringLiteral("The %1 function requires 1 argument(s).").arg(name), true);
        long long bits = 0;
        for (const SqlExprP& a : e.args) {
            bool known = false;
            const bool out = outside(*a, &known);
            if (!known)
                throw ServerError::Make(
                    8161, 16,
                    QStringLiteral("Argument %1 of the %2 function does not match any of the expressions in "
                                   "the GROUP BY clause.")
                        .arg(e.args.indexOf(a) + 1)
                        .arg(name),
                    true);
            // at most 63 arguments keep the bits within a bigint
            if (e.args.size() > 63)
                throw ServerError::Unsupported(QStringLiteral("GROUPING_ID of more than 63 columns"));
            bits = bits * 2 + (out ? 1 : 0);
        }
        *sql = QString::number(bits);
        return true;
    }
    bool known = false;
    if (e.kind != SqlExpr::Kind::Null && e.kind != SqlExpr::Kind::Number && e.kind != SqlExpr::Kind::String &&
        outside(e, &known)) {
        *sql = QStringLiteral("NULL");
        return true;
    }
    return false;
}
