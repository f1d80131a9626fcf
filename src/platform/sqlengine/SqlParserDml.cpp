// MERGE, and the SET list that UPDATE and MERGE's WHEN MATCHED clauses share.
#include "SqlParser.h"

// col = expr, col += expr, col = DEFAULT, @v = expr, @v = col = expr, col = @v = expr. An
// assignment's name is the column's parts, or the variable alone, or the variable followed by the
// column's parts when both take the value.
void SqlParser::ParseSetList(SqlStatement& s) {
    do {
        QStringList col;
        if (Peek().kind == SqlToken::Kind::Variable)
            col.append(Next().text);
        else
            col = ParseMultiPartName();
        if (col.size() >= 2 && col.last().compare(QLatin1String("modify"), Qt::CaseInsensitive) == 0 &&
            Peek().IsSymbol("(")) {
            // column.modify('...'): the column takes the changed xml
            const SqlToken method = Peek(-1);
            col.removeLast();
            auto target = std::make_shared<SqlExpr>();
            target->kind = SqlExpr::Kind::Column;
            target->parts = col;
            target->line = method.line;
            s.assignments.append({col, XmlMethodCall(target, method, true)});
            continue;
        }
        const SqlToken& op = Next();
        if (!op.IsSymbol("=")) {
            if (op.kind == SqlToken::Kind::Symbol && op.text.size() == 2 && op.text.endsWith(u'=') &&
                QStringLiteral("+-*/%&|^").contains(op.text[0])) {
                SqlExprP rhs = ParseExpr();
                auto b = std::make_shared<SqlExpr>();
                b->kind = SqlExpr::Kind::Binary;
                b->text = op.text.left(1);
                b->line = op.line;
                auto lhs = std::make_shared<SqlExpr>();
                lhs->kind = col.first().startsWith(u'@') ? SqlExpr::Kind::Variable : SqlExpr::Kind::Column;
                lhs->text = col.first();
                lhs->parts = col;
                lhs->line = op.line;
                b->args = {lhs, rhs};
                s.assignments.append({col, b});
                continue;
            }
            Fail(op);
        }
        int ahead = 0;
        while (Peek(ahead).IsName() && Peek(ahead + 1).IsSymbol("."))
            ahead += 2;
        if (col.first().startsWith(u'@') && Peek(ahead).IsName() && Peek(ahead + 1).IsSymbol("=")) {
            // @v = column = expression
            col.append(ParseMultiPartName());
            ExpectSymbol("=");
        } else if (!col.first().startsWith(u'@') && Peek().kind == SqlToken::Kind::Variable &&
                   Peek(1).IsSymbol("=")) {
            // column = @v = expression
            col.prepend(Next().text);
            ExpectSymbol("=");
        }
        if (AcceptWord("DEFAULT")) {
            s.assignments.append({col, nullptr});
            continue;
        }
        s.assignments.append({col, ParseExpr()});
    } while (AcceptSymbol(","));
}

// MERGE [INTO] target [WITH (hints)] [[AS] alias] USING source ON condition
//   WHEN MATCHED [AND c] THEN UPDATE SET ... | DELETE
//   WHEN NOT MATCHED [BY TARGET] [AND c] THEN INSERT [(columns)] VALUES (...) | DEFAULT VALUES
//   WHEN NOT MATCHED BY SOURCE [AND c] THEN UPDATE SET ... | DELETE
//   [OUTPUT ...] [OPTION (...)];
// The server wants the semicolon at the end (10713).
SqlStatementP SqlParser::ParseMerge() {
    const SqlToken keyword = Next();
    auto s = MakeStatement(SqlStatement::Kind::Merge, keyword);
    if (Peek().IsWord("TOP"))
        Unsupported(QStringLiteral("MERGE TOP"), Peek().line);
    AcceptWord("INTO");
    if (Peek().kind == SqlToken::Kind::Variable)
        s->target = QStringList{Next().text};
    else
        s->target = ParseMultiPartName();
    if (Peek().IsWord("WITH") && Peek(1).IsSymbol("(")) {
        Next();
        Next();
        while (!AtEnd() && !Peek().IsSymbol(")"))
            Next();
        ExpectSymbol(")");
    }
    if (AcceptWord("AS") || !Peek().IsWord("USING"))
        s->targetAlias = ParseName();
    ExpectWord("USING");
    s->from.append(ParseTableRef());
    ExpectWord("ON");
    s->condition = ParseExpr();
    if (!Peek().IsWord("WHEN"))
        Fail(Peek());
    while (Peek().IsWord("WHEN")) {
        const SqlToken when = Next();
        QString kind = QStringLiteral("MATCHED");
        if (AcceptWord("NOT")) {
            ExpectWord("MATCHED");
            kind = QStringLiteral("NOT MATCHED");
            if (AcceptWord("BY")) {
                if (AcceptWord("SOURCE"))
                    kind = QStringLiteral("NOT MATCHED BY SOURCE");
                else
                    ExpectWord("TARGET");
            }
        } else {
            ExpectWord("MATCHED");
        }
        SqlExprP condition;
        if (AcceptWord("AND"))
            condition = ParseExpr();
        ExpectWord("THEN");
        SqlStatementP clause;
        if (kind == QLatin1String("NOT MATCHED")) {
            clause = MakeStatement(SqlStatement::Kind::Insert, Peek());
            ExpectWord("INSERT");
            if (AcceptSymbol("(")) {
                do
                    clause->columns.append(ParseName());
                while (AcceptSymbol(","));
                ExpectSymbol(")");
            }
            if (AcceptWord("DEFAULT")) {
                ExpectWord("VALUES");
                clause->defaultValues = true;
            } else {
                ExpectWord("VALUES");
                ExpectSymbol("(");
                QList<SqlExprP> row;
                do
                    row.append(AcceptWord("DEFAULT") ? nullptr : ParseExpr());
                while (AcceptSymbol(","));
                ExpectSymbol(")");
                clause->values.append(row);
            }
        } else if (Peek().IsWord("DELETE")) {
            clause = MakeStatement(SqlStatement::Kind::Delete, Next());
        } else {
            clause = MakeStatement(SqlStatement::Kind::Update, Peek());
            ExpectWord("UPDATE");
            ExpectWord("SET");
            ParseSetList(*clause);
        }
        clause->line = when.line;
        clause->optionValue = kind;
        clause->condition = condition;
        s->body.append(clause);
    }
    if (Peek().IsWord("OUTPUT"))
        ParseOutput(*s);
    if (Peek().IsWord("OPTION") && Peek(1).IsSymbol("("))
        Unsupported(QStringLiteral("query hints (OPTION)"), Peek().line);
    if (!Peek().IsSymbol(";")) {
        SqlSyntaxError e;
        e.number = 10713;
        e.severity = 15;
        e.line = mPos > 0 ? mTokens[mPos - 1].line : keyword.line;
        e.text = QStringLiteral("A MERGE statement must be terminated by a semi-colon (;).");
        if (mErrors)
            mErrors->append(e);
        throw Failure{};
    }
    return s;
}

void SqlParser::ParseCurrentOf(SqlStatement& s) {
    ExpectWord("CURRENT");
    ExpectWord("OF");
    if (AcceptWord("GLOBAL"))
        s.optionNames.append(QStringLiteral("GLOBAL"));
    if (s.optionNames.isEmpty() && Peek().kind == SqlToken::Kind::Variable)
        s.variable = Next().text;
    else
        s.name = ParseName();
    s.optionValue = QStringLiteral("CURRENT OF");
}
