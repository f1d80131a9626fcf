// The procedural statements: TRY...CATCH, THROW, RAISERROR, GOTO and labels, WAITFOR and the
// transaction statements with their names and save points.
#include "SqlParser.h"

#include <QSet>

namespace {

// The labels of one batch or module body and the GOTOs that name them; a module's body is a scope
// of its own.
struct LabelScope {
    QSet<QString> labels;
    QList<const SqlStatement*> gotos;
    const SqlStatement* duplicate = nullptr;
};

void CollectLabels(const QList<SqlStatementP>& list, LabelScope& scope, QList<LabelScope>& modules) {
    for (const SqlStatementP& s : list) {
        if (s->kind == SqlStatement::Kind::Label) {
            const QString key = s->name.toLower();
            if (scope.labels.contains(key) && !scope.duplicate)
                scope.duplicate = s.get();
            scope.labels.insert(key);
        } else if (s->kind == SqlStatement::Kind::Goto) {
            scope.gotos.append(s.get());
        }
        if (s->kind == SqlStatement::Kind::CreateModule) {
            LabelScope inner;
            CollectLabels(s->body, inner, modules);
            modules.append(inner);
            continue;
        }
        CollectLabels(s->body, scope, modules);
        CollectLabels(s->elseBody, scope, modules);
    }
}

} // namespace

void SqlParser::CheckLabels(const QList<SqlStatementP>& statements) {
    QList<LabelScope> scopes;
    LabelScope top;
    CollectLabels(statements, top, scopes);
    scopes.prepend(top);
    for (const LabelScope& scope : scopes) {
        if (scope.duplicate) {
            SqlSyntaxError e;
            e.number = 132;
            e.line = scope.duplicate->line;
            e.text = QStringLiteral("The label '%1' has already been declared. Label names must be unique "
                                    "within a query batch or stored procedure.")
                         .arg(scope.duplicate->name);
            mErrors->append(e);
        }
        for (const SqlStatement* g : scope.gotos) {
            if (scope.labels.contains(g->name.toLower()))
                continue;
            SqlSyntaxError e;
            e.number = 133;
            e.line = g->line;
            e.text = QStringLiteral("A GOTO statement references the label '%1' but the label has not been "
                                    "declared.")
                         .arg(g->name);
            mErrors->append(e);
        }
    }
}

// A transaction's or save point's name after BEGIN/COMMIT/ROLLBACK/SAVE TRAN: a name or a variable
// on the same line.
void SqlParser::ParseTranName(SqlStatement& s, const SqlToken& keyword) {
    const SqlToken& n = Peek();
    if (n.line != keyword.line)
        return;
    if (n.kind == SqlToken::Kind::Variable) {
        s.procedureVariable = Next().text;
        return;
    }
    if (n.kind == SqlToken::Kind::QuotedName ||
        (n.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(n.text)))
        s.name = Next().text;
}

QList<SqlStatementP> SqlParser::ParseStatementsUntilEnd(const char* blockWord) {
    QList<SqlStatementP> list;
    while (!(Peek().IsWord("END") && Peek(1).IsWord(blockWord))) {
        if (AtEnd())
            Fail(Peek());
        if (AcceptSymbol(";"))
            continue;
        SqlStatementP inner = ParseStatement(false);
        inner->end = Peek().begin;
        list.append(inner);
        AcceptSymbol(";");
    }
    Next();
    Next();
    return list;
}

SqlStatementP SqlParser::ParseProcedural(const SqlToken& t, const QString& word) {
    using K = SqlStatement::Kind;
    if (t.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(word) && Peek(1).IsSymbol(":") &&
        Peek(1).begin == t.end) {
        auto s = MakeStatement(K::Label, t);
        s->name = Next().text;
        Next();
        return s;
    }
    if (word == QLatin1String("OPEN") || word == QLatin1String("FETCH") || word == QLatin1String("CLOSE") ||
        word == QLatin1String("DEALLOCATE"))
        return ParseCursorStatement(t, word);
    if (word == QLatin1String("WITH") && Peek(1).IsName() && (Peek(2).IsWord("AS") || Peek(2).IsSymbol("(")))
        return ParseWith(t);
    if (word == QLatin1String("BEGIN") && Peek(1).IsWord("TRY")) {
        auto s = MakeStatement(K::TryCatch, t);
        Next();
        Next();
        s->body = ParseStatementsUntilEnd("TRY");
        AcceptSymbol(";");
        if (!Peek().IsWord("BEGIN") || !Peek(1).IsWord("CATCH"))
            Fail(Peek());
        Next();
        Next();
        s->elseBody = ParseStatementsUntilEnd("CATCH");
        return s;
    }
    if (word == QLatin1String("BEGIN") && (Peek(1).IsWord("TRAN") || Peek(1).IsWord("TRANSACTION"))) {
        auto s = MakeStatement(K::BeginTran, t);
        Next();
        const SqlToken& tran = Next();
        ParseTranName(*s, tran);
        if (AcceptWord("WITH")) {
            ExpectWord("MARK");
            if (Peek().kind == SqlToken::Kind::String)
                Next();
        }
        return s;
    }
    if (word == QLatin1String("COMMIT") || word == QLatin1String("ROLLBACK")) {
        auto s = MakeStatement(word == QLatin1String("COMMIT") ? K::CommitTran : K::RollbackTran, t);
        Next();
        if (AcceptWord("WORK"))
            return s;
        if (Peek().IsWord("TRAN") || Peek().IsWord("TRANSACTION")) {
            const SqlToken& tran = Next();
            ParseTranName(*s, tran);
        }
        return s;
    }
    if (word == QLatin1String("SAVE")) {
        auto s = MakeStatement(K::SaveTran, t);
        Next();
        if (!Peek().IsWord("TRAN") && !Peek().IsWord("TRANSACTION"))
            Fail(Peek());
        const SqlToken& tran = Next();
        ParseTranName(*s, tran);
        if (s->name.isEmpty() && s->procedureVariable.isEmpty())
            Fail(Peek());
        return s;
    }
    if (word == QLatin1String("THROW")) {
        auto s = MakeStatement(K::Throw, t);
        Next();
        const SqlToken& n = Peek();
        if (n.kind == SqlToken::Kind::End || n.IsSymbol(";") || n.IsWord("END") || IsStatementStart(n))
            return s;
        for (int i = 0; i < 3; ++i) {
            if (i > 0)
                ExpectSymbol(",");
            s->execArgs.append(SqlExecArg{QString(), ParseExpr(), false, false});
        }
        return s;
    }
    if (word == QLatin1String("RAISERROR") && Peek(1).IsSymbol("(")) {
        auto s = MakeStatement(K::Raiserror, t);
        Next();
        Next();
        do
            s->execArgs.append(SqlExecArg{QString(), ParseExpr(), false, false});
        while (AcceptSymbol(","));
        ExpectSymbol(")");
        if (s->execArgs.size() < 3)
            Fail(Peek());
        if (AcceptWord("WITH")) {
            do {
                const SqlToken& option = Peek();
                if (!option.IsWord("LOG") && !option.IsWord("NOWAIT") && !option.IsWord("SETERROR"))
                    Fail(option);
                s->optionNames.append(Next().text.toUpper());
            } while (AcceptSymbol(","));
        }
        return s;
    }
    if (word == QLatin1String("GOTO")) {
        auto s = MakeStatement(K::Goto, t);
        Next();
        s->name = ParseName();
        return s;
    }
    if (word == QLatin1String("WAITFOR")) {
        auto s = MakeStatement(K::WaitFor, t);
        Next();
        if (!Peek().IsWord("DELAY") && !Peek().IsWord("TIME"))
            Fail(Peek());
        s->optionValue = Next().text.toUpper();
        s->condition = ParseExpr();
        return s;
    }
    return nullptr;
}

// DECLARE @t TABLE (...): made as a table when the declaration runs.
SqlStatementP SqlParser::ParseTableVariable(const SqlToken& variable) {
    auto s = MakeStatement(SqlStatement::Kind::CreateTable, variable);
    ExpectWord("TABLE");
    s->target = QStringList{variable.text};
    ParseTableBody(s);
    return s;
}

// OVER ([PARTITION BY ...] [ORDER BY ...] [ROWS | RANGE ...]) after a function.
std::shared_ptr<SqlWindow> SqlParser::ParseOver() {
    ExpectWord("OVER");
    ExpectSymbol("(");
    auto w = std::make_shared<SqlWindow>();
    if (AcceptWord("PARTITION")) {
        ExpectWord("BY");
        do
            w->partitionBy.append(ParseExpr());
        while (AcceptSymbol(","));
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
            w->orderBy.append(o);
        } while (AcceptSymbol(","));
    }
    if (Peek().IsWord("ROWS") || Peek().IsWord("RANGE")) {
        static const QStringList frameWords = {
            QStringLiteral("ROWS"),      QStringLiteral("RANGE"),     QStringLiteral("BETWEEN"),
            QStringLiteral("UNBOUNDED"), QStringLiteral("PRECEDING"), QStringLiteral("FOLLOWING"),
            QStringLiteral("AND"),       QStringLiteral("CURRENT"),   QStringLiteral("ROW")};
        QStringList words;
        while (!Peek().IsSymbol(")")) {
            const SqlToken& k = Peek();
            const bool number = k.kind == SqlToken::Kind::Number && !k.text.contains(u'.') &&
                                !k.text.contains(u'e') && !k.text.contains(u'E');
            if (!number && !(k.kind == SqlToken::Kind::Word && frameWords.contains(k.text.toUpper())))
                Fail(k);
            words.append(Next().text.toUpper());
        }
        w->frame = words.join(u' ');
    }
    ExpectSymbol(")");
    return w;
}

// WITH name [(columns)] AS (query) [, ...] followed by the query or INSERT that uses them.
SqlStatementP SqlParser::ParseWith(const SqlToken& t) {
    ExpectWord("WITH");
    QList<SqlCte> ctes;
    do {
        SqlCte c;
        c.name = ParseName();
        if (AcceptSymbol("(")) {
            do
                c.columns.append(ParseName());
            while (AcceptSymbol(","));
            ExpectSymbol(")");
        }
        ExpectWord("AS");
        ExpectSymbol("(");
        c.select = ParseSelect();
        ExpectSymbol(")");
        ctes.append(c);
    } while (AcceptSymbol(","));
    SqlStatementP s = ParseStatement(false);
    // UPDATE, DELETE and MERGE hold their expressions in a query of their own, with nothing else.
    if (!s->select && (s->kind == SqlStatement::Kind::Update || s->kind == SqlStatement::Kind::Delete ||
                       s->kind == SqlStatement::Kind::Merge))
        s->select = std::make_shared<SqlSelect>();
    if (!s->select || (s->kind != SqlStatement::Kind::Select && s->kind != SqlStatement::Kind::Insert &&
                       s->kind != SqlStatement::Kind::Update && s->kind != SqlStatement::Kind::Delete &&
                       s->kind != SqlStatement::Kind::Merge))
        Unsupported(QStringLiteral("common table expressions before this statement"), t.line);
    s->select->ctes = ctes;
    s->line = t.line;
    s->begin = t.begin;
    return s;
}

// DECLARE name [INSENSITIVE] [SCROLL] CURSOR [options] FOR query [FOR READ ONLY | FOR UPDATE [OF ...]]
SqlStatementP SqlParser::ParseDeclareCursor(const SqlStatement& declare) {
    auto s = std::make_shared<SqlStatement>();
    s->kind = SqlStatement::Kind::Cursor;
    s->construct = QStringLiteral("DECLARE");
    s->line = declare.line;
    s->begin = declare.begin;
    s->name = ParseName();
    ParseCursorDefinition(*s);
    return s;
}

// SET @c = CURSOR [options] FOR query ...: a cursor of the variable's own.
SqlStatementP SqlParser::ParseSetCursor(const SqlToken& set, const QString& variable) {
    auto s = MakeStatement(SqlStatement::Kind::Cursor, set);
    s->construct = QStringLiteral("SET");
    s->variable = variable;
    ParseCursorDefinition(*s);
    return s;
}

// The words around CURSOR, and the query: FOR READ ONLY counts as READ_ONLY.
void SqlParser::ParseCursorDefinition(SqlStatement& s) {
    static const QStringList options = {
        QStringLiteral("INSENSITIVE"), QStringLiteral("SCROLL"),       QStringLiteral("LOCAL"),
        QStringLiteral("GLOBAL"),      QStringLiteral("FORWARD_ONLY"), QStringLiteral("STATIC"),
        QStringLiteral("KEYSET"),      QStringLiteral("DYNAMIC"),      QStringLiteral("FAST_FORWARD"),
        QStringLiteral("READ_ONLY"),   QStringLiteral("SCROLL_LOCKS"), QStringLiteral("OPTIMISTIC"),
        QStringLiteral("TYPE_WARNING")};
    bool cursorSeen = false;
    while (!Peek().IsWord("FOR")) {
        const SqlToken& w = Peek();
        if (w.IsWord("CURSOR") && !cursorSeen) {
            cursorSeen = true;
            Next();
            continue;
        }
        if (w.kind != SqlToken::Kind::Word || !options.contains(w.text.toUpper()))
            Fail(w);
        s.optionNames.append(Next().text.toUpper());
    }
    if (!cursorSeen)
        Fail(Peek());
    ExpectWord("FOR");
    s.select = ParseSelect();
    if (AcceptWord("FOR")) {
        if (AcceptWord("READ")) {
            ExpectWord("ONLY");
            s.optionNames.append(QStringLiteral("READ_ONLY"));
        } else {
            ExpectWord("UPDATE");
            if (AcceptWord("OF")) {
                do
                    ParseName();
                while (AcceptSymbol(","));
            }
        }
    }
}

// OPEN c; FETCH [NEXT | PRIOR | FIRST | LAST | ABSOLUTE n | RELATIVE n] [FROM] c [INTO @a, ...];
// CLOSE c; DEALLOCATE c. GLOBAL before the name is taken and means what it says; @c for c names
// a cursor variable.
SqlStatementP SqlParser::ParseCursorStatement(const SqlToken& t, const QString& word) {
    auto s = MakeStatement(SqlStatement::Kind::Cursor, t);
    s->construct = word;
    Next();
    if (word == QLatin1String("FETCH")) {
        s->optionValue = QStringLiteral("NEXT");
        for (const char* direction : {"NEXT", "PRIOR", "FIRST", "LAST", "ABSOLUTE", "RELATIVE"}) {
            if (AcceptWord(direction)) {
                s->optionValue = QString::fromLatin1(direction);
                if (s->optionValue == QLatin1String("ABSOLUTE") ||
                    s->optionValue == QLatin1String("RELATIVE"))
                    s->condition = ParseExpr();
                AcceptWord("FROM");
                break;
            }
        }
        AcceptWord("FROM");
    }
    if (AcceptWord("GLOBAL"))
        s->optionNames.append(QStringLiteral("GLOBAL"));
    if (s->optionNames.isEmpty() && Peek().kind == SqlToken::Kind::Variable)
        s->variable = Next().text;
    else
        s->name = ParseName();
    if (word == QLatin1String("FETCH") && AcceptWord("INTO")) {
        do {
            const SqlToken& v = Next();
            if (v.kind != SqlToken::Kind::Variable)
                Fail(v);
            s->columns.append(v.text);
        } while (AcceptSymbol(","));
    }
    return s;
}

// OUTPUT inserted.*, deleted.column [AS name], expression ... [INTO target [(columns)]]
void SqlParser::ParseOutput(SqlStatement& s) {
    ExpectWord("OUTPUT");
    do {
        SqlSelectItem item;
        const SqlToken& t = Peek();
        if (t.IsName() && Peek(1).IsSymbol(".") && Peek(2).IsSymbol("*")) {
            auto star = std::make_shared<SqlExpr>();
            star->kind = SqlExpr::Kind::Star;
            star->line = t.line;
            star->parts = QStringList{Next().text};
            Next();
            Next();
            item.expr = star;
        } else if (t.IsSymbol("$") && Peek(1).IsWord("ACTION")) {
            // MERGE's $action: a column of the rows its OUTPUT reads
            auto action = std::make_shared<SqlExpr>();
            action->kind = SqlExpr::Kind::Column;
            action->line = t.line;
            action->parts = QStringList{QStringLiteral("$action")};
            Next();
            Next();
            item.expr = action;
            if (AcceptWord("AS") || Peek().kind == SqlToken::Kind::QuotedName ||
                (Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text))) {
                item.alias = ParseName();
                item.hasAlias = true;
            }
        } else {
            item.expr = ParseExpr();
            if (AcceptWord("AS") || Peek().kind == SqlToken::Kind::QuotedName ||
                (Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text))) {
                item.alias = ParseName();
                item.hasAlias = true;
            }
        }
        s.output.append(item);
    } while (AcceptSymbol(","));
    if (AcceptWord("INTO")) {
        if (Peek().kind == SqlToken::Kind::Variable)
            s.outputInto = QStringList{Next().text};
        else
            s.outputInto = ParseMultiPartName();
        if (Peek().IsSymbol("(") && !Peek(1).IsWord("SELECT")) {
            Next();
            do
                s.outputColumns.append(ParseName());
            while (AcceptSymbol(","));
            ExpectSymbol(")");
        }
    }
}
