// Expressions and queries of the parser.
#include "SqlParser.h"

#include <vector>

namespace {

SqlExprP MakeExpr(SqlExpr::Kind kind, int line, const QString& text = {}) {
    auto e = std::make_shared<SqlExpr>();
    e->kind = kind;
    e->line = line;
    e->text = text;
    return e;
}

bool IsComparison(const SqlToken& t) {
    if (t.kind != SqlToken::Kind::Symbol)
        return false;
    static const QStringList ops = {QStringLiteral("="),  QStringLiteral("<>"), QStringLiteral("!="),
                                    QStringLiteral("<"),  QStringLiteral(">"),  QStringLiteral("<="),
                                    QStringLiteral(">="), QStringLiteral("!<"), QStringLiteral("!>")};
    return ops.contains(t.text);
}

// Reserved words that are also names of functions when a parenthesis follows.
bool IsFunctionKeyword(const QString& w) {
    static const QStringList words = {QStringLiteral("LEFT"),      QStringLiteral("RIGHT"),
                                      QStringLiteral("COALESCE"),  QStringLiteral("NULLIF"),
                                      QStringLiteral("USER_NAME"), QStringLiteral("IDENTITY"),
                                      QStringLiteral("UPDATE")};
    return words.contains(w.toUpper());
}

} // namespace

// A chain such as 1+1+...+1 is a left-deep tree as deep as the chain is long; taking it apart
// node by node here keeps its destruction off the stack.
SqlExpr::~SqlExpr() {
    if (args.isEmpty())
        return;
    std::vector<SqlExprP> pending(args.begin(), args.end());
    args.clear();
    while (!pending.empty()) {
        SqlExprP e = std::move(pending.back());
        pending.pop_back();
        if (e && e.use_count() == 1 && !e->args.isEmpty()) {
            pending.insert(pending.end(), e->args.begin(), e->args.end());
            e->args.clear();
        }
    }
}

// The same for a long chain of joins.
SqlTableRef::~SqlTableRef() {
    std::vector<std::shared_ptr<SqlTableRef>> pending;
    for (auto* side : {&left, &right})
        if (*side)
            pending.push_back(std::move(*side));
    while (!pending.empty()) {
        std::shared_ptr<SqlTableRef> r = std::move(pending.back());
        pending.pop_back();
        if (r.use_count() == 1) {
            for (auto* side : {&r->left, &r->right})
                if (*side)
                    pending.push_back(std::move(*side));
        }
    }
}

SqlSelectP SqlParser::ParseSelect() {
    const Nesting level = ExpressionLevel();
    auto sel = std::make_shared<SqlSelect>();
    sel->line = Peek().line;
    sel->cores.append(ParseSelectCore());
    for (;;) {
        QString op;
        if (AcceptWord("UNION"))
            op = AcceptWord("ALL") ? QStringLiteral("UNION ALL") : QStringLiteral("UNION");
        else if (AcceptWord("EXCEPT"))
            op = QStringLiteral("EXCEPT");
        else if (AcceptWord("INTERSECT"))
            op = QStringLiteral("INTERSECT");
        else
            break;
        sel->unionOps.append(op);
        if (Peek().IsSymbol("(")) {
            // (SELECT ...) as a union member
            Next();
            SqlSelectP inner = ParseSelect();
            ExpectSymbol(")");
            if (inner->cores.size() != 1 || !inner->orderBy.isEmpty())
                Unsupported(QStringLiteral("a nested UNION in parentheses"), inner->line);
            sel->cores.append(inner->cores.first());
        } else {
            sel->cores.append(ParseSelectCore());
        }
    }
    if (AcceptWord("ORDER")) {
        ExpectWord("BY");
        do {
            SqlOrderItem o;
            o.expr = ParseExpr();
            if (AcceptWord("DESC"))
                o.descending = true;
            else
                AcceptWord("ASC");
            sel->orderBy.append(o);
        } while (AcceptSymbol(","));
    }
    if (Peek().IsWord("FOR") && (Peek(1).IsWord("XML") || Peek(1).IsWord("JSON")))
        sel->forClause = ParseForClause();
    if (Peek().IsWord("FOR") && Peek(1).IsWord("BROWSE"))
        Unsupported(QStringLiteral("FOR BROWSE"), Peek().line);
    if (Peek().IsWord("OPTION") && Peek(1).IsSymbol("("))
        Unsupported(QStringLiteral("query hints (OPTION)"), Peek().line);
    if (Peek().IsWord("COMPUTE"))
        Unsupported(QStringLiteral("COMPUTE"), Peek().line);
    return sel;
}

SqlSelectCore SqlParser::ParseSelectCore() {
    SqlSelectCore core;
    ExpectWord("SELECT");
    if (AcceptWord("DISTINCT"))
        core.distinct = true;
    else
        AcceptWord("ALL");
    if (AcceptWord("TOP")) {
        if (AcceptSymbol("(")) {
            core.top = ParseExpr();
            ExpectSymbol(")");
        } else {
            const SqlToken& t = Next();
            if (t.kind != SqlToken::Kind::Number && t.kind != SqlToken::Kind::Variable)
                Fail(t);
            core.top =
                MakeExpr(t.kind == SqlToken::Kind::Number ? SqlExpr::Kind::Number : SqlExpr::Kind::Variable,
                         t.line, t.text);
        }
        if (AcceptWord("PERCENT"))
            core.topPercent = true;
        if (Peek().IsWord("WITH") && Peek(1).IsWord("TIES")) {
            Next();
            Next();
            core.topWithTies = true;
        }
    }
    do {
        SqlSelectItem item;
        const SqlToken& t = Peek();
        if (t.IsSymbol("*")) {
            Next();
            item.expr = MakeExpr(SqlExpr::Kind::Star, t.line);
        } else if (t.kind == SqlToken::Kind::Variable && !t.text.startsWith(QLatin1String("@@")) &&
                   Peek(1).kind == SqlToken::Kind::Symbol &&
                   (Peek(1).text == QLatin1String("=") || Peek(1).text.size() == 2) &&
                   Peek(1).text.endsWith(u'=') && Peek(1).text != QLatin1String("<=") &&
                   Peek(1).text != QLatin1String(">=") && Peek(1).text != QLatin1String("!=")) {
            Next();
            const QString op = Next().text;
            item.assignTo = t.text;
            item.expr = ParseExpr();
            if (op != QLatin1String("=")) {
                auto b = MakeExpr(SqlExpr::Kind::Binary, t.line, op.left(1));
                auto v = MakeExpr(SqlExpr::Kind::Variable, t.line, t.text);
                b->args = {v, item.expr};
                item.expr = b;
            }
        } else if ((t.kind == SqlToken::Kind::QuotedName || t.kind == SqlToken::Kind::String ||
                    (t.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(t.text))) &&
                   Peek(1).IsSymbol("=")) {
            Next();
            Next();
            item.alias = t.text;
            item.hasAlias = true;
            item.expr = ParseExpr();
        } else if (t.IsName() && Peek(1).IsSymbol(".") &&
                   (Peek(2).IsSymbol("*") ||
                    (Peek(2).IsName() && Peek(3).IsSymbol(".") && Peek(4).IsSymbol("*")))) {
            auto star = MakeExpr(SqlExpr::Kind::Star, t.line);
            while (!Peek().IsSymbol("*")) {
                star->parts.append(ParseName());
                ExpectSymbol(".");
            }
            Next();
            item.expr = star;
        } else {
            item.expr = ParseExpr();
        }
        if (item.expr->kind != SqlExpr::Kind::Star && item.assignTo.isEmpty() && !item.hasAlias) {
            if (AcceptWord("AS")) {
                const SqlToken& a = Next();
                if (a.kind != SqlToken::Kind::String && !a.IsName())
                    Fail(a);
                item.alias = a.text;
                item.hasAlias = true;
            } else if (Peek().kind == SqlToken::Kind::String || Peek().kind == SqlToken::Kind::QuotedName ||
                       (Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text))) {
                item.alias = Next().text;
                item.hasAlias = true;
            }
        }
        core.items.append(item);
    } while (AcceptSymbol(","));
    if (AcceptWord("INTO")) {
        core.into = ParseMultiPartName();
    }
    if (AcceptWord("FROM"))
        core.from = ParseFromList();
    if (AcceptWord("WHERE"))
        core.where = ParseExpr();
    if (AcceptWord("GROUP")) {
        ExpectWord("BY");
        if (AcceptWord("ALL"))
            Unsupported(QStringLiteral("GROUP BY ALL"), Peek().line);
        ParseGroupBy(core);
    }
    if (AcceptWord("HAVING"))
        core.having = ParseExpr();
    return core;
}

QList<SqlTableRefP> SqlParser::ParseFromList() {
    QList<SqlTableRefP> list;
    do
        list.append(ParseTableRef());
    while (AcceptSymbol(","));
    return list;
}

SqlTableRefP SqlParser::ParseTableRef() {
    SqlTableRefP left = ParseTablePrimary();
    for (;;) {
        QString type;
        const int line = Peek().line;
        if (AcceptWord("JOIN")) {
            type = QStringLiteral("INNER");
        } else if (AcceptWord("INNER")) {
            ExpectWord("JOIN");
            type = QStringLiteral("INNER");
        } else if (Peek().IsWord("LEFT") || Peek().IsWord("RIGHT") || Peek().IsWord("FULL")) {
            type = Next().text.toUpper();
            AcceptWord("OUTER");
            ExpectWord("JOIN");
        } else if (AcceptWord("CROSS")) {
            if (AcceptWord("APPLY")) {
                type = QStringLiteral("CROSS APPLY");
            } else {
                ExpectWord("JOIN");
                type = QStringLiteral("CROSS");
            }
        } else if (Peek().IsWord("OUTER") && Peek(1).IsWord("APPLY")) {
            Next();
            Next();
            type = QStringLiteral("OUTER APPLY");
        } else if (Peek().IsWord("PIVOT") || Peek().IsWord("UNPIVOT")) {
            left = ParsePivot(left);
            continue;
        } else {
            break;
        }
        auto j = std::make_shared<SqlTableRef>();
        j->kind = SqlTableRef::Kind::Join;
        j->joinType = type;
        j->left = left;
        j->right = ParseTablePrimary();
        j->line = line;
        if (!type.startsWith(QLatin1String("CROSS")) && type != QLatin1String("OUTER APPLY")) {
            ExpectWord("ON");
            j->on = ParseExpr();
        }
        left = j;
    }
    return left;
}

QString SqlParser::ParseOptionalAlias() {
    if (AcceptWord("AS"))
        return ParseName();
    const SqlToken& t = Peek();
    if (t.kind == SqlToken::Kind::QuotedName ||
        (t.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(t.text)))
        return Next().text;
    return {};
}

SqlTableRefP SqlParser::ParseTablePrimary() {
    const Nesting level = ExpressionLevel();
    auto r = std::make_shared<SqlTableRef>();
    r->line = Peek().line;
    if (AcceptSymbol("(")) {
        if (Peek().IsWord("SELECT")) {
            r->kind = SqlTableRef::Kind::Subquery;
            r->select = ParseSelect();
            ExpectSymbol(")");
            r->alias = ParseOptionalAlias();
            if (r->alias.isEmpty())
                Fail(Peek());
            return r;
        }
        SqlTableRefP inner = ParseTableRef();
        ExpectSymbol(")");
        return inner;
    }
    if (Peek().kind == SqlToken::Kind::Variable && Peek(1).IsSymbol(".") && Peek(2).IsWord("NODES") &&
        Peek(3).IsSymbol("(")) {
        const SqlToken variable = Next();
        Next();
        Next();
        return ParseXmlNodes(MakeExpr(SqlExpr::Kind::Variable, variable.line, variable.text), variable.line);
    }
    if (Peek().kind == SqlToken::Kind::Variable) {
        r->name = QStringList{Next().text};
        r->alias = ParseOptionalAlias();
        return r;
    }
    if (Peek().IsWord("OPENQUERY") || Peek().IsWord("OPENROWSET"))
        Unsupported(Peek().text.toUpper(), Peek().line);
    r->name = ParseMultiPartName();
    if (r->name.size() >= 2 && r->name.last().compare(QLatin1String("nodes"), Qt::CaseInsensitive) == 0 &&
        Peek().IsSymbol("(")) {
        auto column = MakeExpr(SqlExpr::Kind::Column, r->line);
        column->parts = r->name.mid(0, r->name.size() - 1);
        return ParseXmlNodes(column, r->line);
    }
    if (AcceptSymbol("(")) {
        r->kind = SqlTableRef::Kind::Function;
        if (!Peek().IsSymbol(")")) {
            do {
                // DEFAULT for a parameter, as fn_listextendedproperty's callers write it
                if (Peek().IsWord("DEFAULT") && (Peek(1).IsSymbol(",") || Peek(1).IsSymbol(")")))
                    r->args.append(MakeExpr(SqlExpr::Kind::Null, Next().line, QStringLiteral("DEFAULT")));
                else
                    r->args.append(ParseExpr());
            } while (AcceptSymbol(","));
        }
        ExpectSymbol(")");
    }
    if (r->kind == SqlTableRef::Kind::Function && r->name.size() == 1 &&
        (r->name.first().compare(QLatin1String("OPENJSON"), Qt::CaseInsensitive) == 0 ||
         r->name.first().compare(QLatin1String("OPENXML"), Qt::CaseInsensitive) == 0) &&
        Peek().IsWord("WITH") && Peek(1).IsSymbol("("))
        ParseJsonSchema(*r);
    r->alias = ParseOptionalAlias();
    if (Peek().IsWord("WITH") && Peek(1).IsSymbol("(")) {
        // Table hints only steer locking; one process's SQLite has nothing to steer.
        Next();
        Next();
        while (!AtEnd() && !Peek().IsSymbol(")"))
            Next();
        ExpectSymbol(")");
    }
    return r;
}

SqlExprP SqlParser::ParseExpr() {
    const Nesting level = ExpressionLevel();
    SqlExprP left = ParseAnd();
    while (Peek().IsWord("OR")) {
        const int line = Next().line;
        auto b = MakeExpr(SqlExpr::Kind::Binary, line, QStringLiteral("OR"));
        b->args = {left, ParseAnd()};
        left = b;
    }
    return left;
}

SqlExprP SqlParser::ParseAnd() {
    SqlExprP left = ParseNot();
    while (Peek().IsWord("AND")) {
        const int line = Next().line;
        auto b = MakeExpr(SqlExpr::Kind::Binary, line, QStringLiteral("AND"));
        b->args = {left, ParseNot()};
        left = b;
    }
    return left;
}

SqlExprP SqlParser::ParseNot() {
    if (Peek().IsWord("NOT")) {
        const int line = Next().line;
        auto u = MakeExpr(SqlExpr::Kind::Unary, line, QStringLiteral("NOT"));
        const Nesting level = ExpressionLevel();
        u->args = {ParseNot()};
        return u;
    }
    return ParsePredicate();
}

SqlExprP SqlParser::ParsePredicate() {
    SqlExprP left = ParseAdditive();
    const int line = Peek().line;
    if (IsComparison(Peek())) {
        QString op = Next().text;
        if (op == QLatin1String("!="))
            op = QStringLiteral("<>");
        if (Peek().IsWord("ALL") || Peek().IsWord("ANY") || Peek().IsWord("SOME"))
            Unsupported(QStringLiteral("ALL/ANY/SOME comparisons"), line);
        auto b = MakeExpr(SqlExpr::Kind::Binary, line, op);
        b->args = {left, ParseAdditive()};
        return b;
    }
    bool negated = false;
    if (Peek().IsWord("NOT") &&
        (Peek(1).IsWord("IN") || Peek(1).IsWord("LIKE") || Peek(1).IsWord("BETWEEN"))) {
        Next();
        negated = true;
    }
    if (AcceptWord("IN")) {
        auto e = MakeExpr(SqlExpr::Kind::In, line);
        e->negated = negated;
        e->args.append(left);
        ExpectSymbol("(");
        if (Peek().IsWord("SELECT")) {
            e->select = ParseSelect();
        } else {
            do
                e->args.append(ParseExpr());
            while (AcceptSymbol(","));
        }
        ExpectSymbol(")");
        return e;
    }
    if (AcceptWord("LIKE")) {
        auto e = MakeExpr(SqlExpr::Kind::Like, line);
        e->negated = negated;
        e->args = {left, ParseAdditive()};
        if (AcceptWord("ESCAPE"))
            e->args.append(ParseAdditive());
        return e;
    }
    if (AcceptWord("BETWEEN")) {
        auto e = MakeExpr(SqlExpr::Kind::Between, line);
        e->negated = negated;
        e->args.append(left);
        e->args.append(ParseAdditive());
        ExpectWord("AND");
        e->args.append(ParseAdditive());
        return e;
    }
    if (negated)
        Fail(Peek());
    if (AcceptWord("IS")) {
        auto e = MakeExpr(SqlExpr::Kind::IsNull, line);
        e->negated = AcceptWord("NOT");
        ExpectWord("NULL");
        e->args = {left};
        return e;
    }
    return left;
}

SqlExprP SqlParser::ParseAdditive() {
    SqlExprP left = ParseMultiplicative();
    for (;;) {
        const SqlToken& t = Peek();
        if (t.kind == SqlToken::Kind::Symbol &&
            (t.text == QLatin1String("+") || t.text == QLatin1String("-") || t.text == QLatin1String("&") ||
             t.text == QLatin1String("|") || t.text == QLatin1String("^"))) {
            Next();
            auto b = MakeExpr(SqlExpr::Kind::Binary, t.line, t.text);
            b->args = {left, ParseMultiplicative()};
            left = b;
        } else {
            return left;
        }
    }
}

SqlExprP SqlParser::ParseMultiplicative() {
    SqlExprP left = ParseUnary();
    for (;;) {
        const SqlToken& t = Peek();
        if (t.kind == SqlToken::Kind::Symbol &&
            (t.text == QLatin1String("*") || t.text == QLatin1String("/") || t.text == QLatin1String("%"))) {
            Next();
            auto b = MakeExpr(SqlExpr::Kind::Binary, t.line, t.text);
            b->args = {left, ParseUnary()};
            left = b;
        } else {
            return left;
        }
    }
}

SqlExprP SqlParser::ParseUnary() {
    const SqlToken& t = Peek();
    if (t.IsSymbol("-") || t.IsSymbol("+") || t.IsSymbol("~")) {
        Next();
        auto u = MakeExpr(SqlExpr::Kind::Unary, t.line, t.text);
        const Nesting level = ExpressionLevel();
        u->args = {ParseUnary()};
        return u;
    }
    return ParsePrimary();
}

SqlExprP SqlParser::ParsePrimary() {
    const SqlToken t = Peek();
    switch (t.kind) {
    case SqlToken::Kind::Number:
        Next();
        return MakeExpr(SqlExpr::Kind::Number, t.line, t.text);
    case SqlToken::Kind::String: {
        Next();
        auto e = MakeExpr(SqlExpr::Kind::String, t.line, t.text);
        e->unicode = t.unicode;
        return e;
    }
    case SqlToken::Kind::Variable: {
        Next();
        if (t.text.startsWith(QLatin1String("@@")))
            return MakeExpr(SqlExpr::Kind::Function, t.line, t.text.toUpper());
        return ParseXmlMethod(MakeExpr(SqlExpr::Kind::Variable, t.line, t.text));
    }
    case SqlToken::Kind::Symbol:
        if (t.IsSymbol("(")) {
            Next();
            if (Peek().IsWord("SELECT")) {
                auto e = MakeExpr(SqlExpr::Kind::Subquery, t.line);
                e->select = ParseSelect();
                ExpectSymbol(")");
                return e->select->forClause ? ParseXmlMethod(e) : e;
            }
            SqlExprP inner = ParseExpr();
            ExpectSymbol(")");
            return inner;
        }
        if (t.IsSymbol("$") && Peek(1).kind == SqlToken::Kind::Number &&
            !Peek(1).text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            // A money constant, $12.50: the number as money.
            Next();
            auto e = MakeExpr(SqlExpr::Kind::Cast, t.line, QStringLiteral("CAST"));
            e->args.append(MakeExpr(SqlExpr::Kind::Number, t.line, Next().text));
            e->type.name = QStringLiteral("money");
            return e;
        }
        Fail(t);
    case SqlToken::Kind::QuotedName:
    case SqlToken::Kind::Word:
        break;
    case SqlToken::Kind::End:
        Fail(t);
    }
    if (t.kind == SqlToken::Kind::Word) {
        const QString w = t.text.toUpper();
        if (w == QLatin1String("NULL")) {
            Next();
            return MakeExpr(SqlExpr::Kind::Null, t.line);
        }
        if (w == QLatin1String("EXISTS")) {
            Next();
            ExpectSymbol("(");
            auto e = MakeExpr(SqlExpr::Kind::Exists, t.line);
            e->select = ParseSelect();
            ExpectSymbol(")");
            return e;
        }
        if (w == QLatin1String("CASE")) {
            Next();
            auto e = MakeExpr(SqlExpr::Kind::Case, t.line);
            if (!Peek().IsWord("WHEN")) {
                e->hasOperand = true;
                e->args.append(ParseExpr());
            }
            if (!Peek().IsWord("WHEN"))
                Fail(Peek());
            while (AcceptWord("WHEN")) {
                e->args.append(ParseExpr());
                ExpectWord("THEN");
                e->args.append(ParseExpr());
            }
            if (AcceptWord("ELSE")) {
                e->hasElse = true;
                e->args.append(ParseExpr());
            }
            ExpectWord("END");
            return e;
        }
        if ((w == QLatin1String("CAST") || w == QLatin1String("TRY_CAST") || w == QLatin1String("PARSE") ||
             w == QLatin1String("TRY_PARSE")) &&
            Peek(1).IsSymbol("(")) {
            Next();
            Next();
            auto e = MakeExpr(SqlExpr::Kind::Cast, t.line, w);
            e->args.append(ParseExpr());
            ExpectWord("AS");
            e->type = ParseTypeSpec();
            // PARSE ... USING culture
            if (w.endsWith(QLatin1String("PARSE")) && AcceptWord("USING"))
                e->args.append(ParseExpr());
            ExpectSymbol(")");
            return ParseXmlMethod(e);
        }
        if ((w == QLatin1String("CONVERT") || w == QLatin1String("TRY_CONVERT")) && Peek(1).IsSymbol("(")) {
            Next();
            Next();
            auto e = MakeExpr(SqlExpr::Kind::Cast, t.line, w);
            e->type = ParseTypeSpec();
            ExpectSymbol(",");
            e->args.append(ParseExpr());
            if (AcceptSymbol(","))
                e->args.append(ParseExpr());
            ExpectSymbol(")");
            return ParseXmlMethod(e);
        }
        if (w == QLatin1String("CURRENT_TIMESTAMP") || w == QLatin1String("CURRENT_USER") ||
            w == QLatin1String("SESSION_USER") || w == QLatin1String("SYSTEM_USER") ||
            (w == QLatin1String("USER") && !Peek(1).IsSymbol("("))) {
            Next();
            return MakeExpr(SqlExpr::Kind::Function, t.line, w);
        }
        if (SqlLexer::IsReserved(w) && !(IsFunctionKeyword(w) && Peek(1).IsSymbol("(")))
            Fail(t);
        if (IsFunctionKeyword(w)) {
            Next();
            return ParseFunctionCall({t.text}, t.line);
        }
    }
    // A column, or a function with an optional owner.
    QStringList parts;
    parts.append(ParseName());
    while (Peek().IsSymbol(".")) {
        Next();
        if (Peek().IsSymbol(".")) {
            parts.append(QString()); // db..name
            continue;
        }
        parts.append(ParseName());
    }
    if (Peek().IsSymbol("(") && parts.size() >= 2 && IsXmlMethod(parts.last())) {
        // column.value(...), table.column.query(...): a method of an xml column
        const SqlToken method = Peek(-1);
        auto column = MakeExpr(SqlExpr::Kind::Column, t.line);
        column->parts = parts.mid(0, parts.size() - 1);
        return ParseXmlMethod(XmlMethodCall(column, method));
    }
    if (Peek().IsSymbol("("))
        return ParseXmlMethod(ParseFunctionCall(parts, t.line));
    auto e = MakeExpr(SqlExpr::Kind::Column, t.line);
    e->parts = parts;
    return e;
}

SqlExprP SqlParser::ParseFunctionCall(const QStringList& name, int line) {
    ExpectSymbol("(");
    auto e = MakeExpr(SqlExpr::Kind::Function, line, name.last().toUpper());
    e->parts = name;
    if (AcceptSymbol(")")) {
        if (Peek().IsWord("OVER"))
            e->over = ParseOver();
        return e;
    }
    if (Peek().IsSymbol("*") && Peek(1).IsSymbol(")")) {
        Next();
        Next();
        e->star = true;
        if (Peek().IsWord("OVER"))
            e->over = ParseOver();
        return e;
    }
    if (AcceptWord("DISTINCT"))
        e->distinct = true;
    else
        AcceptWord("ALL");
    do {
        // A user's function takes DEFAULT for a parameter that has a default value.
        if (name.size() > 1 && Peek().IsWord("DEFAULT") && (Peek(1).IsSymbol(",") || Peek(1).IsSymbol(")"))) {
            e->args.append(MakeExpr(SqlExpr::Kind::Null, Next().line, QStringLiteral("DEFAULT")));
            continue;
        }
        e->args.append(ParseExpr());
    } while (AcceptSymbol(","));
    ExpectSymbol(")");
    if (Peek().IsWord("OVER"))
        e->over = ParseOver();
    return e;
}
