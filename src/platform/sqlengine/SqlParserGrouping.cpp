// GROUP BY with ROLLUP, CUBE and GROUPING SETS, and PIVOT / UNPIVOT after a table.
//
// GROUP BY with ROLLUP, CUBE and GROUPING SETS. Each element of the list gives the sets it stands
// for; the list stands for every combination of one set of each element (a plain expression is one
// set of one column). WITH ROLLUP and WITH CUBE after a plain list make the list a ROLLUP or CUBE.
#include "SqlParser.h"

namespace {

// The server's own limit.
constexpr qsizetype kMaxGroupingSets = 4096;
// CUBE of more columns than this makes more sets than the limit.
constexpr qsizetype kMaxCubeColumns = 12;

QList<QList<int>> Rollup(const QList<QList<int>>& groups) {
    QList<QList<int>> sets;
    for (qsizetype n = groups.size(); n >= 0; --n) {
        QList<int> set;
        for (qsizetype i = 0; i < n; ++i)
            set += groups[i];
        sets.append(set);
    }
    return sets;
}

QList<QList<int>> Cube(const QList<QList<int>>& groups) {
    QList<QList<int>> sets;
    const unsigned count = 1U << unsigned(groups.size()); // groups.size() <= kMaxCubeColumns
    for (unsigned mask = count; mask-- > 0;) {
        QList<int> set;
        for (qsizetype i = 0; i < groups.size(); ++i)
            if ((mask & (1U << unsigned(groups.size() - 1 - i))) != 0)
                set += groups[i];
        sets.append(set);
    }
    return sets;
}

} // namespace

// (a, b) or (): a set of columns; a single expression otherwise.
QList<int> SqlParser::ParseGroupingColumns(SqlSelectCore& core) {
    QList<int> set;
    if (Peek().IsSymbol("(") && Peek(1).IsSymbol(")")) {
        Next();
        Next();
        return set;
    }
    if (Peek().IsSymbol("(") && !Peek(1).IsWord("SELECT")) {
        Next();
        do {
            core.groupBy.append(ParseExpr());
            set.append(int(core.groupBy.size()) - 1);
        } while (AcceptSymbol(","));
        ExpectSymbol(")");
        return set;
    }
    core.groupBy.append(ParseExpr());
    set.append(int(core.groupBy.size()) - 1);
    return set;
}

QList<QList<int>> SqlParser::ParseGroupingElement(SqlSelectCore& core, bool inSets) {
    const Nesting level = ExpressionLevel();
    const SqlToken& t = Peek();
    if ((t.IsWord("ROLLUP") || t.IsWord("CUBE")) && Peek(1).IsSymbol("(")) {
        const bool cube = t.IsWord("CUBE");
        Next();
        Next();
        QList<QList<int>> groups;
        do
            groups.append(ParseGroupingColumns(core));
        while (AcceptSymbol(","));
        ExpectSymbol(")");
        if (cube && groups.size() > kMaxCubeColumns)
            Unsupported(QStringLiteral("CUBE of more than 12 columns"), t.line);
        return cube ? Cube(groups) : Rollup(groups);
    }
    if (!inSets && t.IsWord("GROUPING") && Peek(1).IsWord("SETS")) {
        Next();
        Next();
        ExpectSymbol("(");
        QList<QList<int>> sets;
        do {
            sets += ParseGroupingElement(core, true);
            if (sets.size() > kMaxGroupingSets)
                Unsupported(QStringLiteral("more than 4096 grouping sets"), t.line);
        } while (AcceptSymbol(","));
        ExpectSymbol(")");
        return sets;
    }
    if (inSets || (t.IsSymbol("(") && Peek(1).IsSymbol(")")))
        return {ParseGroupingColumns(core)};
    // A plain expression, which may well start with a parenthesis.
    core.groupBy.append(ParseExpr());
    return {QList<int>{int(core.groupBy.size()) - 1}};
}

void SqlParser::ParseGroupBy(SqlSelectCore& core) {
    QList<QList<int>> sets{QList<int>()};
    bool extended = false;
    do {
        const bool plain = !(Peek().IsWord("ROLLUP") || Peek().IsWord("CUBE") ||
                             (Peek().IsWord("GROUPING") && Peek(1).IsWord("SETS")));
        extended = extended || !plain;
        const QList<QList<int>> element = ParseGroupingElement(core, false);
        QList<QList<int>> combined;
        for (const QList<int>& left : sets)
            for (const QList<int>& right : element)
                combined.append(left + right);
        if (combined.size() > kMaxGroupingSets)
            Unsupported(QStringLiteral("more than 4096 grouping sets"), Peek().line);
        sets = combined;
    } while (AcceptSymbol(","));
    if (Peek().IsWord("WITH") && (Peek(1).IsWord("ROLLUP") || Peek(1).IsWord("CUBE"))) {
        Next();
        const SqlToken& how = Next();
        if (extended)
            Fail(how);
        QList<QList<int>> groups;
        for (int i = 0; i < core.groupBy.size(); ++i)
            groups.append(QList<int>{i});
        if (how.IsWord("CUBE") && groups.size() > kMaxCubeColumns)
            Unsupported(QStringLiteral("CUBE of more than 12 columns"), how.line);
        sets = how.IsWord("CUBE") ? Cube(groups) : Rollup(groups);
        extended = true;
    }
    if (extended)
        core.groupingSets = sets;
}

// source PIVOT (aggregate(column) FOR column IN ([value], ...)) [AS] alias
// source UNPIVOT (value FOR name IN (column, ...)) [AS] alias
SqlTableRefP SqlParser::ParsePivot(const SqlTableRefP& source) {
    auto r = std::make_shared<SqlTableRef>();
    r->line = Peek().line;
    r->kind = Next().IsWord("PIVOT") ? SqlTableRef::Kind::Pivot : SqlTableRef::Kind::Unpivot;
    r->left = source;
    ExpectSymbol("(");
    const auto column = [this]() {
        auto c = std::make_shared<SqlExpr>();
        c->kind = SqlExpr::Kind::Column;
        c->line = Peek().line;
        c->parts = QStringList{ParseName()};
        return c;
    };
    if (r->kind == SqlTableRef::Kind::Pivot) {
        SqlExprP aggregate = ParseExpr();
        if (aggregate->kind != SqlExpr::Kind::Function || aggregate->args.size() != 1 ||
            aggregate->args[0]->kind != SqlExpr::Kind::Column)
            Fail(Peek());
        r->args.append(aggregate);
    } else {
        r->args.append(column());
    }
    ExpectWord("FOR");
    r->args.append(column());
    ExpectWord("IN");
    ExpectSymbol("(");
    do
        r->name.append(ParseName());
    while (AcceptSymbol(","));
    ExpectSymbol(")");
    ExpectSymbol(")");
    r->alias = ParseOptionalAlias();
    if (r->alias.isEmpty())
        Fail(Peek());
    return r;
}
