#include "SqlParser.h"

#include "ServerError.h"

namespace {

const char* kUnsupportedNumberNote = "The embedded server does not support %1.";

} // namespace

SqlStatementP MakeStatement(SqlStatement::Kind kind, const SqlToken& at) {
    auto s = std::make_shared<SqlStatement>();
    s->kind = kind;
    s->line = at.line;
    s->begin = at.begin;
    return s;
}

SqlParser::SqlParser(const QString& batch, bool quotedIdentifier)
    : mText(batch) {
    mTokens = SqlLexer::Tokenize(batch, quotedIdentifier, &mLexError);
}

const SqlToken& SqlParser::Peek(int ahead) const {
    const int i = qMin(mPos + ahead, int(mTokens.size()) - 1);
    return mTokens[i];
}

const SqlToken& SqlParser::Next() {
    const SqlToken& t = mTokens[mPos];
    if (mPos < mTokens.size() - 1)
        ++mPos;
    return t;
}

bool SqlParser::AcceptWord(const char* word) {
    if (Peek().IsWord(word)) {
        Next();
        return true;
    }
    return false;
}

bool SqlParser::AcceptSymbol(const char* symbol) {
    if (Peek().IsSymbol(symbol)) {
        Next();
        return true;
    }
    return false;
}

void SqlParser::ExpectWord(const char* word) {
    if (!AcceptWord(word))
        Fail(Peek());
}

void SqlParser::ExpectSymbol(const char* symbol) {
    if (!AcceptSymbol(symbol))
        Fail(Peek());
}

void SqlParser::Fail(const SqlToken& at) {
    SqlToken t = at;
    if (t.kind == SqlToken::Kind::End && mPos > 0) {
        // At the end of the batch the server names the last token it read.
        for (int i = int(mTokens.size()) - 2; i >= 0; --i) {
            t = mTokens[i];
            break;
        }
    }
    SqlSyntaxError e;
    e.line = t.line;
    if (t.kind == SqlToken::Kind::Word && SqlLexer::IsReserved(t.text)) {
        e.number = 156;
        e.text = QStringLiteral("Incorrect syntax near the keyword '%1'.").arg(t.text);
    } else {
        const QString near =
            (t.kind == SqlToken::Kind::String || t.kind == SqlToken::Kind::QuotedName) ? t.text : t.raw;
        e.number = 102;
        e.text = QStringLiteral("Incorrect syntax near '%1'.").arg(near);
    }
    if (mErrors)
        mErrors->append(e);
    throw Failure{};
}

void SqlParser::Unsupported(const QString& construct, int line) {
    SqlSyntaxError e;
    e.number = 50001;
    e.severity = 16;
    e.line = line;
    e.text = QString::fromLatin1(kUnsupportedNumberNote).arg(construct);
    if (mErrors)
        mErrors->append(e);
    throw Failure{};
}

SqlParser::Nesting::Nesting(SqlParser& parser, int& depth, int limit)
    : mDepth(depth) {
    if (depth >= limit)
        parser.TooDeep();
    ++mDepth;
}

void SqlParser::TooDeep() {
    const ServerError tooDeep = ServerError::TooDeep();
    SqlSyntaxError e;
    e.number = tooDeep.number;
    e.severity = tooDeep.severity;
    e.line = Peek().line;
    e.text = tooDeep.text;
    if (mErrors)
        mErrors->append(e);
    throw Failure{};
}

QString SqlParser::ParseName() {
    const SqlToken& t = Peek();
    if (t.kind == SqlToken::Kind::QuotedName ||
        (t.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(t.text)))
        return Next().text;
    Fail(t);
}

QStringList SqlParser::ParseMultiPartName() {
    QStringList parts;
    parts.append(ParseName());
    while (Peek().IsSymbol(".")) {
        Next();
        if (Peek().IsSymbol(".")) {
            parts.append(QString());
            continue;
        }
        parts.append(ParseName());
    }
    if (parts.size() > 4)
        Fail(Peek());
    return parts;
}

SqlTypeSpec SqlParser::ParseTypeSpec() {
    SqlTypeSpec t;
    QStringList name = ParseMultiPartName();
    t.name = name.last().toLower();
    if (t.name == QLatin1String("double") && AcceptWord("PRECISION"))
        t.name = QStringLiteral("float");
    // The server's synonyms of its type names
    if (name.size() == 1 && t.name == QLatin1String("dec"))
        t.name = QStringLiteral("decimal");
    else if (name.size() == 1 && t.name == QLatin1String("integer"))
        t.name = QStringLiteral("int");
    if (t.name == QLatin1String("xml") && AcceptSymbol("(")) {
        // xml typed by a schema collection: the engine keeps the collection but checks no schema.
        if (!AcceptWord("CONTENT"))
            AcceptWord("DOCUMENT");
        ParseMultiPartName();
        ExpectSymbol(")");
        return t;
    }
    if (AcceptSymbol("(")) {
        if (AcceptWord("MAX")) {
            t.length = -2;
        } else {
            const SqlToken& n = Next();
            if (n.kind != SqlToken::Kind::Number)
                Fail(n);
            t.length = n.text.toInt();
            t.precision = t.length;
            if (AcceptSymbol(",")) {
                const SqlToken& sc = Next();
                if (sc.kind != SqlToken::Kind::Number)
                    Fail(sc);
                t.scale = sc.text.toInt();
            }
        }
        ExpectSymbol(")");
    }
    return t;
}

bool SqlParser::IsStatementStart(const SqlToken& t) const {
    if (t.kind != SqlToken::Kind::Word)
        return false;
    static const QStringList starts = {
        QStringLiteral("SELECT"),  QStringLiteral("INSERT"),   QStringLiteral("UPDATE"),
        QStringLiteral("DELETE"),  QStringLiteral("CREATE"),   QStringLiteral("ALTER"),
        QStringLiteral("DROP"),    QStringLiteral("IF"),       QStringLiteral("WHILE"),
        QStringLiteral("BEGIN"),   QStringLiteral("DECLARE"),  QStringLiteral("SET"),
        QStringLiteral("PRINT"),   QStringLiteral("RETURN"),   QStringLiteral("EXEC"),
        QStringLiteral("EXECUTE"), QStringLiteral("USE"),      QStringLiteral("GRANT"),
        QStringLiteral("DENY"),    QStringLiteral("REVOKE"),   QStringLiteral("RAISERROR"),
        QStringLiteral("COMMIT"),  QStringLiteral("ROLLBACK"), QStringLiteral("TRUNCATE")};
    return starts.contains(t.text.toUpper());
}

QList<SqlStatementP> SqlParser::ParseBatch(QList<SqlSyntaxError>* errors) {
    mErrors = errors;
    QList<SqlStatementP> out;
    bool first = true;
    while (!AtEnd()) {
        const int startPos = mPos;
        try {
            if (AcceptSymbol(";"))
                continue;
            SqlStatementP s = ParseStatement(first);
            s->end = Peek().begin;
            out.append(s);
            AcceptSymbol(";");
        } catch (const Failure&) {
            // Past an unsupported construct or a nesting too deep, what follows would only be
            // misread.
            if (!errors || errors->size() >= 20 || errors->last().number == 50001 ||
                errors->last().number == 191)
                break;
            // Go on at the next statement on a later line, to report every error.
            const int line = mTokens[mPos].line;
            if (mPos == startPos)
                Next();
            while (!AtEnd() && !(IsStatementStart(Peek()) && Peek().line > line))
                Next();
        }
        first = false;
    }
    if (errors && errors->isEmpty() && mLexError.number == 0)
        CheckLabels(out);
    if (mLexError.number != 0 && errors) {
        // The tokens stop at an unclosed string or comment; what the parser said of the cut-off
        // end would only mislead.
        SqlSyntaxError e;
        e.number = mLexError.number;
        e.text = mLexError.text;
        e.line = mLexError.line;
        errors->clear();
        errors->append(e);
    }
    return out;
}

QList<SqlStatementP> SqlParser::ParseStatementsToEnd() {
    QList<SqlStatementP> list;
    while (!AtEnd()) {
        if (AcceptSymbol(";"))
            continue;
        SqlStatementP s = ParseStatement(false);
        s->end = Peek().begin;
        list.append(s);
        AcceptSymbol(";");
    }
    return list;
}

SqlStatementP SqlParser::ParseBlockOrStatement() {
    while (AcceptSymbol(";")) {
    }
    if (AtEnd())
        Fail(Peek());
    SqlStatementP s = ParseStatement(false);
    s->end = Peek().begin;
    return s;
}

SqlStatementP SqlParser::ParseStatementTree(bool first) {
    const Nesting level = StatementLevel();
    const SqlToken t = Peek();
    if (t.kind == SqlToken::Kind::Symbol && t.IsSymbol("(") && Peek(1).IsWord("SELECT")) {
        auto s = MakeStatement(SqlStatement::Kind::Select, t);
        Next();
        s->select = ParseSelect();
        ExpectSymbol(")");
        return s;
    }
    if (t.kind != SqlToken::Kind::Word)
        Fail(t);
    const QString w = t.text.toUpper();
    if (SqlStatementP procedural = ParseProcedural(t, w))
        return procedural;
    if (w == QLatin1String("SELECT")) {
        auto s = MakeStatement(SqlStatement::Kind::Select, t);
        s->select = ParseSelect();
        return s;
    }
    if (w == QLatin1String("INSERT"))
        return ParseInsert();
    if (w == QLatin1String("UPDATE"))
        return ParseUpdate();
    if (w == QLatin1String("DELETE"))
        return ParseDelete();
    if (w == QLatin1String("CREATE") || w == QLatin1String("ALTER")) {
        Next();
        return ParseCreate(first, w == QLatin1String("ALTER"));
    }
    if (w == QLatin1String("DROP"))
        return ParseDrop();
    if (w == QLatin1String("IF"))
        return ParseIf();
    if (w == QLatin1String("WHILE")) {
        auto s = MakeStatement(SqlStatement::Kind::While, t);
        Next();
        s->condition = ParseExpr();
        s->body.append(ParseBlockOrStatement());
        return s;
    }
    if (w == QLatin1String("BEGIN")) {
        Next();
        if (AcceptWord("TRAN") || AcceptWord("TRANSACTION")) {
            auto s = MakeStatement(SqlStatement::Kind::BeginTran, t);
            if (Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text) &&
                Peek().line == t.line)
                Next();
            return s;
        }
        if (Peek().IsWord("TRY") || Peek().IsWord("CATCH"))
            Unsupported(QStringLiteral("TRY...CATCH"), t.line);
        if (Peek().IsWord("DISTRIBUTED"))
            Unsupported(QStringLiteral("distributed transactions"), t.line);
        auto s = MakeStatement(SqlStatement::Kind::Block, t);
        while (!Peek().IsWord("END")) {
            if (AtEnd())
                Fail(Peek());
            if (AcceptSymbol(";"))
                continue;
            SqlStatementP inner = ParseStatement(false);
            inner->end = Peek().begin;
            s->body.append(inner);
            AcceptSymbol(";");
        }
        Next();
        return s;
    }
    if (w == QLatin1String("DECLARE"))
        return ParseDeclare();
    if (w == QLatin1String("SET"))
        return ParseSet();
    if (w == QLatin1String("PRINT")) {
        auto s = MakeStatement(SqlStatement::Kind::Print, t);
        Next();
        s->condition = ParseExpr();
        return s;
    }
    if (w == QLatin1String("RETURN")) {
        auto s = MakeStatement(SqlStatement::Kind::Return, t);
        Next();
        const SqlToken& n = Peek();
        const bool valueFollows = n.kind == SqlToken::Kind::Number || n.kind == SqlToken::Kind::String ||
                                  n.kind == SqlToken::Kind::Variable || n.IsSymbol("(") || n.IsSymbol("-") ||
                                  n.IsSymbol("+") || n.kind == SqlToken::Kind::QuotedName ||
                                  n.IsWord("NULL") || n.IsWord("CASE") || n.IsWord("CAST") ||
                                  n.IsWord("CONVERT") || n.IsWord("COALESCE") || n.IsWord("NULLIF") ||
                                  ((n.IsWord("LEFT") || n.IsWord("RIGHT")) && Peek(1).IsSymbol("(")) ||
                                  (n.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(n.text));
        if (valueFollows)
            s->condition = ParseExpr();
        return s;
    }
    if (w == QLatin1String("EXEC") || w == QLatin1String("EXECUTE"))
        return ParseExec(false);
    if (w == QLatin1String("USE")) {
        auto s = MakeStatement(SqlStatement::Kind::Use, t);
        Next();
        s->name = ParseName();
        return s;
    }
    if (w == QLatin1String("GRANT") || w == QLatin1String("DENY") || w == QLatin1String("REVOKE"))
        return ParsePermission();
    if (w == QLatin1String("RAISERROR")) {
        auto s = MakeStatement(SqlStatement::Kind::Raiserror, t);
        Next();
        if (!Peek().IsSymbol("("))
            Unsupported(QStringLiteral("the old RAISERROR form without parentheses"), t.line);
        Next();
        do
            s->execArgs.append(SqlExecArg{QString(), ParseExpr(), false, false});
        while (AcceptSymbol(","));
        ExpectSymbol(")");
        if (s->execArgs.size() < 3)
            Fail(Peek());
        if (AcceptWord("WITH")) {
            do
                ParseName();
            while (AcceptSymbol(","));
        }
        return s;
    }
    if (w == QLatin1String("BREAK") || w == QLatin1String("CONTINUE")) {
        Next();
        return MakeStatement(
            w == QLatin1String("BREAK") ? SqlStatement::Kind::Break : SqlStatement::Kind::Continue, t);
    }
    if (w == QLatin1String("COMMIT") || w == QLatin1String("ROLLBACK")) {
        Next();
        auto s = MakeStatement(w == QLatin1String("COMMIT") ? SqlStatement::Kind::CommitTran
                                                            : SqlStatement::Kind::RollbackTran,
                               t);
        if (AcceptWord("TRAN") || AcceptWord("TRANSACTION") || AcceptWord("WORK")) {
            if (Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text) &&
                Peek().line == t.line)
                Next();
        }
        return s;
    }
    if (w == QLatin1String("TRUNCATE")) {
        auto s = MakeStatement(SqlStatement::Kind::Truncate, t);
        Next();
        ExpectWord("TABLE");
        s->target = ParseMultiPartName();
        return s;
    }
    if (w == QLatin1String("MERGE"))
        return ParseMerge();
    if (w == QLatin1String("GOTO") || w == QLatin1String("WAITFOR") || w == QLatin1String("OPEN") ||
        w == QLatin1String("FETCH") || w == QLatin1String("CLOSE") || w == QLatin1String("DEALLOCATE") ||
        w == QLatin1String("DBCC") || w == QLatin1String("BACKUP") || w == QLatin1String("RESTORE") ||
        w == QLatin1String("BULK") || w == QLatin1String("SAVE") || w == QLatin1String("KILL") ||
        w == QLatin1String("SHUTDOWN") || w == QLatin1String("THROW") || w == QLatin1String("READTEXT") ||
        w == QLatin1String("WRITETEXT") || w == QLatin1String("UPDATETEXT"))
        Unsupported(w, t.line);
    if (first && !SqlLexer::IsReserved(w))
        return ParseExec(true);
    if (Peek(1).IsSymbol(":") && !SqlLexer::IsReserved(w))
        Unsupported(QStringLiteral("labels and GOTO"), t.line);
    Fail(t);
}

SqlStatementP SqlParser::ParseIf() {
    auto s = MakeStatement(SqlStatement::Kind::If, Peek());
    Next();
    s->condition = ParseExpr();
    s->body.append(ParseBlockOrStatement());
    AcceptSymbol(";");
    if (AcceptWord("ELSE")) {
        s->hasElse = true;
        s->elseBody.append(ParseBlockOrStatement());
    }
    return s;
}

SqlStatementP SqlParser::ParseDeclare() {
    auto s = MakeStatement(SqlStatement::Kind::Declare, Peek());
    Next();
    if (Peek().kind != SqlToken::Kind::Variable) {
        if (Peek().IsName() &&
            (Peek(1).IsWord("CURSOR") || Peek(1).IsWord("INSENSITIVE") || Peek(1).IsWord("SCROLL")))
            return ParseDeclareCursor(*s);
        Fail(Peek());
    }
    do {
        const SqlToken& v = Next();
        if (v.kind != SqlToken::Kind::Variable || v.text.startsWith(QLatin1String("@@")))
            Fail(v);
        AcceptWord("AS");
        if (Peek().IsWord("TABLE") && s->declarations.isEmpty())
            return ParseTableVariable(v);
        SqlParam p;
        p.name = v.text;
        if (AcceptWord("CURSOR")) {
            p.type.name = QStringLiteral("cursor");
            s->declarations.append({p, nullptr});
            continue;
        }
        p.type = ParseTypeSpec();
        SqlExprP init;
        if (AcceptSymbol("="))
            init = ParseExpr();
        s->declarations.append({p, init});
    } while (AcceptSymbol(","));
    return s;
}

SqlStatementP SqlParser::ParseSet() {
    const SqlToken& setToken = Next();
    const SqlToken& t = Peek();
    if (t.kind == SqlToken::Kind::Variable) {
        auto s = MakeStatement(SqlStatement::Kind::SetVariable, setToken);
        Next();
        s->variable = t.text;
        if (Peek().IsSymbol(".") && Peek(1).IsWord("MODIFY") && Peek(2).IsSymbol("(")) {
            // SET @x.modify('...'): @x takes the changed xml
            Next();
            const SqlToken& method = Next();
            s->assignOp = QStringLiteral("=");
            auto target = std::make_shared<SqlExpr>();
            target->kind = SqlExpr::Kind::Variable;
            target->text = t.text;
            target->line = t.line;
            s->condition = XmlMethodCall(target, method, true);
            return s;
        }
        const SqlToken& op = Next();
        if (op.kind != SqlToken::Kind::Symbol || !op.text.endsWith(u'=') || op.text == QLatin1String("<=") ||
            op.text == QLatin1String(">=") || op.text == QLatin1String("!="))
            Fail(op);
        s->assignOp = op.text;
        if (op.text == QLatin1String("=") && Peek().IsWord("CURSOR"))
            return ParseSetCursor(setToken, t.text);
        s->condition = ParseExpr();
        return s;
    }
    auto s = MakeStatement(SqlStatement::Kind::SetOption, setToken);
    if (t.kind != SqlToken::Kind::Word)
        Fail(t);
    const QString first = t.text.toUpper();
    if (first == QLatin1String("TRANSACTION")) {
        // SET TRANSACTION ISOLATION LEVEL ...: one writer at a time is what SQLite gives anyway.
        Next();
        ExpectWord("ISOLATION");
        ExpectWord("LEVEL");
        while (Peek().kind == SqlToken::Kind::Word && !IsStatementStart(Peek()) && Peek().line == t.line)
            Next();
        s->optionNames = {QStringLiteral("TRANSACTION ISOLATION LEVEL")};
        return s;
    }
    if (first == QLatin1String("IDENTITY_INSERT")) {
        Next();
        s->optionNames = {first};
        s->target = ParseMultiPartName();
        const SqlToken& v = Next();
        if (!v.IsWord("ON") && !v.IsWord("OFF"))
            Fail(v);
        s->optionValue = v.text.toUpper();
        return s;
    }
    if (first == QLatin1String("STATISTICS")) {
        // SET STATISTICS IO, TIME ON
        Next();
        do
            ParseName();
        while (AcceptSymbol(","));
        s->optionNames = {first};
        const SqlToken& v = Next();
        if (!v.IsWord("ON") && !v.IsWord("OFF"))
            Fail(v);
        s->optionValue = v.text.toUpper();
        return s;
    }
    do {
        const SqlToken& o = Next();
        if (o.kind != SqlToken::Kind::Word)
            Fail(o);
        s->optionNames.append(o.text.toUpper());
    } while (AcceptSymbol(","));
    const SqlToken& v = Next();
    if (v.kind == SqlToken::Kind::End)
        Fail(v);
    s->optionValue = v.kind == SqlToken::Kind::Word ? v.text.toUpper() : v.text;
    if (v.IsSymbol("-") && Peek().kind == SqlToken::Kind::Number)
        s->optionValue += Next().text; // SET LOCK_TIMEOUT -1
    return s;
}

SqlStatementP SqlParser::ParseExec(bool implicit) {
    auto s = MakeStatement(SqlStatement::Kind::Exec, Peek());
    if (!implicit)
        Next();
    if (Peek().IsSymbol("(")) {
        Next();
        s->dynamicSql = ParseExpr();
        ExpectSymbol(")");
        return s;
    }
    if (Peek().kind == SqlToken::Kind::Variable && Peek(1).IsSymbol("=")) {
        s->returnInto = Next().text;
        Next();
    }
    if (Peek().kind == SqlToken::Kind::Variable)
        s->procedureVariable = Next().text;
    else
        s->procedure = ParseMultiPartName();
    if (AcceptSymbol(";")) {
        // proc;1 is a numbered procedure group; only number 1 is kept.
        const SqlToken& n = Next();
        if (n.kind != SqlToken::Kind::Number)
            Fail(n);
        if (n.text != QLatin1String("1"))
            Unsupported(QStringLiteral("numbered procedures"), n.line);
    }
    const auto argStarts = [this]() {
        const SqlToken& a = Peek();
        if (a.kind == SqlToken::Kind::End || a.IsSymbol(";"))
            return false;
        if (a.kind == SqlToken::Kind::Word &&
            (SqlLexer::IsReserved(a.text) && !a.IsWord("DEFAULT") && !a.IsWord("NULL")))
            return false;
        return true;
    };
    if (argStarts() && !Peek().IsWord("WITH")) {
        do {
            SqlExecArg a;
            if (Peek().kind == SqlToken::Kind::Variable && Peek(1).IsSymbol("=")) {
                a.name = Next().text;
                Next();
            }
            const SqlToken& v = Peek();
            if (v.IsWord("DEFAULT")) {
                Next();
                a.isDefault = true;
            } else if (v.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(v.text) &&
                       !Peek(1).IsSymbol("(") && !Peek(1).IsSymbol(".")) {
                // A bare word is a string to EXEC: sp_helptext MyProc.
                Next();
                auto e = std::make_shared<SqlExpr>();
                e->kind = SqlExpr::Kind::String;
                e->text = v.text;
                e->line = v.line;
                a.value = e;
            } else if (v.kind == SqlToken::Kind::QuotedName) {
                Next();
                auto e = std::make_shared<SqlExpr>();
                e->kind = SqlExpr::Kind::String;
                e->text = v.text;
                e->line = v.line;
                a.value = e;
            } else {
                a.value = ParseUnary();
            }
            if (AcceptWord("OUTPUT") || AcceptWord("OUT"))
                a.output = true;
            s->execArgs.append(a);
        } while (AcceptSymbol(","));
    }
    if (AcceptWord("WITH"))
        ExpectWord("RECOMPILE");
    return s;
}

SqlStatementP SqlParser::ParsePermission() {
    const SqlToken& verb = Next();
    auto s = MakeStatement(SqlStatement::Kind::Permission, verb);
    s->permissionVerb = verb.text.toUpper();
    if (s->permissionVerb == QLatin1String("REVOKE") && Peek().IsWord("GRANT") && Peek(1).IsWord("OPTION")) {
        Next();
        Next();
        ExpectWord("FOR");
        s->grantOptionFor = true;
    }
    if (AcceptWord("ALL")) {
        AcceptWord("PRIVILEGES");
        s->permissions = {QStringLiteral("ALL")};
    } else {
        do {
            const SqlToken& p = Next();
            if (p.kind != SqlToken::Kind::Word)
                Fail(p);
            QString perm = p.text.toUpper();
            if (perm == QLatin1String("EXEC"))
                perm = QStringLiteral("EXECUTE");
            if (perm == QLatin1String("CREATE")) {
                const SqlToken& what = Next();
                if (what.kind != SqlToken::Kind::Word)
                    Fail(what);
                QString w = what.text.toUpper();
                if (w == QLatin1String("PROC"))
                    w = QStringLiteral("PROCEDURE");
                perm += QLatin1Char(' ') + w;
            }
            static const QStringList known = {
                QStringLiteral("SELECT"),         QStringLiteral("INSERT"),
                QStringLiteral("UPDATE"),         QStringLiteral("DELETE"),
                QStringLiteral("EXECUTE"),        QStringLiteral("REFERENCES"),
                QStringLiteral("CREATE TABLE"),   QStringLiteral("CREATE PROCEDURE"),
                QStringLiteral("CREATE VIEW"),    QStringLiteral("CREATE FUNCTION"),
                QStringLiteral("CREATE DEFAULT"), QStringLiteral("CREATE RULE")};
            if (!known.contains(perm))
                Unsupported(QStringLiteral("the permission %1").arg(perm), p.line);
            s->permissions.append(perm);
            if (Peek().IsSymbol("(")) {
                Unsupported(QStringLiteral("column permissions"), Peek().line);
            }
        } while (AcceptSymbol(","));
    }
    if (AcceptWord("ON")) {
        if (Peek().IsWord("OBJECT") && Peek(1).IsSymbol("::")) {
            Next();
            Next();
        } else if (Peek().IsWord("SCHEMA") || Peek().IsWord("DATABASE")) {
            Unsupported(QStringLiteral("permissions on a schema or database"), Peek().line);
        }
        s->target = ParseMultiPartName();
        if (Peek().IsSymbol("("))
            Unsupported(QStringLiteral("column permissions"), Peek().line);
    }
    if (!AcceptWord("TO") && !(s->permissionVerb == QLatin1String("REVOKE") && AcceptWord("FROM")))
        Fail(Peek());
    // PUBLIC is a reserved word that the grantee list takes as the role of that name.
    do
        s->grantees.append(AcceptWord("PUBLIC") ? QStringLiteral("public") : ParseName());
    while (AcceptSymbol(","));
    if (s->permissionVerb == QLatin1String("GRANT") && AcceptWord("WITH")) {
        ExpectWord("GRANT");
        ExpectWord("OPTION");
        s->withGrantOption = true;
    }
    AcceptWord("CASCADE");
    if (AcceptWord("AS"))
        ParseName();
    return s;
}

SqlStatementP SqlParser::ParseInsert() {
    auto s = MakeStatement(SqlStatement::Kind::Insert, Next());
    if (AcceptWord("TOP")) {
        ExpectSymbol("(");
        s->top = ParseExpr();
        ExpectSymbol(")");
        if (Peek().IsWord("PERCENT"))
            Unsupported(QStringLiteral("INSERT TOP ... PERCENT"), Peek().line);
    }
    AcceptWord("INTO");
    // A table variable (the result of a table function) parses; running it is refused.
    if (Peek().kind == SqlToken::Kind::Variable)
        s->target = QStringList{Next().text};
    else
        s->target = ParseMultiPartName();
    if (Peek().IsSymbol("(") && !Peek(1).IsWord("SELECT")) {
        Next();
        do
            s->columns.append(ParseName());
        while (AcceptSymbol(","));
        ExpectSymbol(")");
    }
    if (Peek().IsWord("OUTPUT"))
        ParseOutput(*s);
    if (AcceptWord("DEFAULT")) {
        ExpectWord("VALUES");
        s->defaultValues = true;
    } else if (AcceptWord("VALUES")) {
        do {
            ExpectSymbol("(");
            QList<SqlExprP> row;
            do {
                if (AcceptWord("DEFAULT")) {
                    row.append(nullptr);
                    continue;
                }
                row.append(ParseExpr());
            } while (AcceptSymbol(","));
            ExpectSymbol(")");
            s->values.append(row);
        } while (AcceptSymbol(","));
    } else if (Peek().IsWord("SELECT") || (Peek().IsSymbol("(") && Peek(1).IsWord("SELECT"))) {
        const bool paren = AcceptSymbol("(");
        s->select = ParseSelect();
        if (paren)
            ExpectSymbol(")");
    } else if (Peek().IsWord("EXEC") || Peek().IsWord("EXECUTE")) {
        // INSERT ... EXEC: the call is the one statement of the body
        s->body.append(ParseExec(false));
    } else {
        Fail(Peek());
    }
    return s;
}

SqlStatementP SqlParser::ParseUpdate() {
    auto s = MakeStatement(SqlStatement::Kind::Update, Next());
    if (AcceptWord("TOP")) {
        ExpectSymbol("(");
        s->top = ParseExpr();
        ExpectSymbol(")");
    }
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
    ExpectWord("SET");
    ParseSetList(*s);
    if (Peek().IsWord("OUTPUT"))
        ParseOutput(*s);
    if (AcceptWord("FROM"))
        s->from = ParseFromList();
    if (AcceptWord("WHERE")) {
        if (Peek().IsWord("CURRENT") && Peek(1).IsWord("OF"))
            ParseCurrentOf(*s);
        else
            s->where = ParseExpr();
    }
    return s;
}

SqlStatementP SqlParser::ParseDelete() {
    auto s = MakeStatement(SqlStatement::Kind::Delete, Next());
    if (AcceptWord("TOP")) {
        ExpectSymbol("(");
        s->top = ParseExpr();
        ExpectSymbol(")");
    }
    AcceptWord("FROM");
    if (Peek().kind == SqlToken::Kind::Variable)
        s->target = QStringList{Next().text};
    else
        s->target = ParseMultiPartName();
    if (Peek().IsWord("OUTPUT"))
        ParseOutput(*s);
    if (AcceptWord("FROM"))
        s->from = ParseFromList();
    if (AcceptWord("WHERE")) {
        if (Peek().IsWord("CURRENT") && Peek(1).IsWord("OF"))
            ParseCurrentOf(*s);
        else
            s->where = ParseExpr();
    }
    return s;
}
