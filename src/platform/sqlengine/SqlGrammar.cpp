// The recognizer's tokens, names and types, and the statements of control of flow, variables,
// cursors, transactions and procedure calls.
#include "SqlGrammar.h"

#include "ServerError.h"

#include <QSet>

namespace {

// Words that open a statement: an administrative statement's option clauses end before them.
bool IsStatementWord(const QString& upper) {
    static const QSet<QString> words = {
        QStringLiteral("SELECT"),     QStringLiteral("INSERT"),      QStringLiteral("UPDATE"),
        QStringLiteral("DELETE"),     QStringLiteral("MERGE"),       QStringLiteral("CREATE"),
        QStringLiteral("ALTER"),      QStringLiteral("DROP"),        QStringLiteral("IF"),
        QStringLiteral("ELSE"),       QStringLiteral("WHILE"),       QStringLiteral("BEGIN"),
        QStringLiteral("END"),        QStringLiteral("DECLARE"),     QStringLiteral("SET"),
        QStringLiteral("PRINT"),      QStringLiteral("RETURN"),      QStringLiteral("EXEC"),
        QStringLiteral("EXECUTE"),    QStringLiteral("USE"),         QStringLiteral("GRANT"),
        QStringLiteral("DENY"),       QStringLiteral("REVOKE"),      QStringLiteral("RAISERROR"),
        QStringLiteral("THROW"),      QStringLiteral("COMMIT"),      QStringLiteral("ROLLBACK"),
        QStringLiteral("SAVE"),       QStringLiteral("TRUNCATE"),    QStringLiteral("WAITFOR"),
        QStringLiteral("OPEN"),       QStringLiteral("FETCH"),       QStringLiteral("CLOSE"),
        QStringLiteral("DEALLOCATE"), QStringLiteral("DBCC"),        QStringLiteral("BACKUP"),
        QStringLiteral("RESTORE"),    QStringLiteral("BULK"),        QStringLiteral("KILL"),
        QStringLiteral("CHECKPOINT"), QStringLiteral("GOTO"),        QStringLiteral("BREAK"),
        QStringLiteral("CONTINUE"),   QStringLiteral("RECONFIGURE"), QStringLiteral("SHUTDOWN"),
        QStringLiteral("REVERT"),     QStringLiteral("SETUSER"),     QStringLiteral("READTEXT"),
        QStringLiteral("WRITETEXT"),  QStringLiteral("UPDATETEXT")};
    return words.contains(upper);
}

} // namespace

SqlGrammar::SqlGrammar(const QList<SqlToken>& tokens)
    : mTokens(tokens) {}

SqlGrammar::Depth::Depth(SqlGrammar& g, int& depth, int limit)
    : mDepth(depth) {
    if (depth >= limit) {
        g.mFailAt = -2;
        throw Failure{};
    }
    ++mDepth;
}

const SqlToken& SqlGrammar::Peek(int ahead) const {
    const int i = qMin(mPos + ahead, int(mTokens.size()) - 1);
    return mTokens[i];
}

const SqlToken& SqlGrammar::Next() {
    const SqlToken& t = mTokens[mPos];
    if (mPos < mTokens.size() - 1)
        ++mPos;
    return t;
}

bool SqlGrammar::Accept(const char* word) {
    if (!Peek().IsWord(word))
        return false;
    Next();
    return true;
}

bool SqlGrammar::AcceptSym(const char* s) {
    if (!Peek().IsSymbol(s))
        return false;
    Next();
    return true;
}

void SqlGrammar::Expect(const char* word) {
    if (!Accept(word))
        Fail();
}

void SqlGrammar::ExpectSym(const char* s) {
    if (!AcceptSym(s))
        Fail();
}

void SqlGrammar::Fail() {
    FailAt(mPos);
}

void SqlGrammar::FailAt(int index) {
    mFailAt = index;
    throw Failure{};
}

bool SqlGrammar::IsIdentifier(int ahead) const {
    const SqlToken& t = Peek(ahead);
    return t.kind == SqlToken::Kind::QuotedName ||
           (t.kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(t.text));
}

bool SqlGrammar::IsStatementStart(int ahead) const {
    const SqlToken& t = Peek(ahead);
    if (t.kind != SqlToken::Kind::Word)
        return false;
    const QString upper = t.text.toUpper();
    if (upper == QLatin1String("WITH"))
        return false;
    return IsStatementWord(upper);
}

bool SqlGrammar::AtStatementEnd() const {
    return AtEnd() || IsSym(";") || IsStatementStart();
}

bool SqlGrammar::IsCompoundAssign(int ahead) const {
    const SqlToken& t = Peek(ahead);
    if (t.kind != SqlToken::Kind::Symbol)
        return false;
    if (t.text == QLatin1String("+=") || t.text == QLatin1String("-=") || t.text == QLatin1String("*=") ||
        t.text == QLatin1String("/="))
        return true;
    const bool op = t.text == QLatin1String("%") || t.text == QLatin1String("&") ||
                    t.text == QLatin1String("|") || t.text == QLatin1String("^");
    return op && Peek(ahead + 1).IsSymbol("=") && Peek(ahead + 1).begin == t.end;
}

void SqlGrammar::SkipCompoundAssign() {
    if (Next().text.size() == 1)
        Next();
}

// ---- names, types, literals

void SqlGrammar::Name() {
    if (!IsIdentifier())
        Fail();
    Next();
}

void SqlGrammar::MultiName() {
    Name();
    int parts = 1;
    while (IsSym(".")) {
        Next();
        ++parts;
        if (IsSym("."))
            continue;
        if (parts > 4)
            Fail();
        // After a dot, reserved words are names: x.dbo.[table], s.Procedure
        if (Peek().kind != SqlToken::Kind::Word && Peek().kind != SqlToken::Kind::QuotedName)
            Fail();
        Next();
    }
}

void SqlGrammar::NameOrVariable() {
    if (Peek().kind == SqlToken::Kind::Variable)
        Next();
    else
        MultiName();
}

void SqlGrammar::NameList() {
    ExpectSym("(");
    do
        Name();
    while (AcceptSym(","));
    ExpectSym(")");
}

void SqlGrammar::DataType() {
    // DOUBLE PRECISION and NATIONAL CHAR[ACTER] VARYING are the reserved words a type may start with.
    if (Accept("DOUBLE")) {
        Expect("PRECISION");
        return;
    }
    if (Accept("NATIONAL")) {
        Name();
        Accept("VARYING");
    } else {
        MultiName();
        if (Is("VARYING"))
            Next();
    }
    if (AcceptSym("(")) {
        if (Accept("MAX")) {
        } else if (Peek().kind == SqlToken::Kind::Number) {
            Next();
            if (AcceptSym(",")) {
                if (Peek().kind != SqlToken::Kind::Number)
                    Fail();
                Next();
            }
        } else {
            // xml(CONTENT|DOCUMENT schema_collection)
            if (Is("CONTENT") || Is("DOCUMENT"))
                Next();
            MultiName();
        }
        ExpectSym(")");
    }
}

void SqlGrammar::Literal() {
    AcceptSym("-") || AcceptSym("+");
    const SqlToken& t = Peek();
    if (t.kind == SqlToken::Kind::Number || t.kind == SqlToken::Kind::String ||
        t.kind == SqlToken::Kind::Variable || t.IsWord("NULL")) {
        Next();
        return;
    }
    if (t.IsSymbol("$")) {
        Next();
        AcceptSym("-");
        if (Peek().kind != SqlToken::Kind::Number)
            Fail();
        Next();
        return;
    }
    if (t.kind == SqlToken::Kind::Word || t.kind == SqlToken::Kind::QuotedName) {
        // A bare word where a constant goes: a procedure's default such as = GETDATE is read as a string.
        Next();
        return;
    }
    Fail();
}

void SqlGrammar::Balanced() {
    const Depth level(*this, mExpressionDepth, SqlParser::kMaxExpressionNesting);
    ExpectSym("(");
    while (!IsSym(")")) {
        if (AtEnd())
            Fail();
        if (IsSym("("))
            Balanced();
        else
            Next();
    }
    Next();
}

void SqlGrammar::GenericTail() {
    // WITH ROLLBACK IMMEDIATE and the like: a statement word right after WITH belongs to the options.
    while (!AtEnd() && !IsSym(";")) {
        if (IsSym(")"))
            Fail();
        if (IsSym("(")) {
            Balanced();
            continue;
        }
        if (IsStatementStart() && !(mPos > 0 && mTokens[mPos - 1].IsWord("WITH")) &&
            !(mPos > 0 && mTokens[mPos - 1].IsSymbol("=")))
            return;
        Next();
    }
}

void SqlGrammar::OptionList() {
    ExpectSym("(");
    if (AcceptSym(")"))
        return;
    do {
        if (IsSym("(")) {
            Balanced();
            continue;
        }
        if (Peek().kind == SqlToken::Kind::End || IsSym(")") || IsSym(","))
            Fail();
        Next();
        while (!IsSym(",") && !IsSym(")")) {
            if (AtEnd())
                Fail();
            if (IsSym("("))
                Balanced();
            else
                Next();
        }
    } while (AcceptSym(","));
    ExpectSym(")");
}

// ---- entry points

bool SqlGrammar::CheckBatch(SqlSyntaxError* error) {
    mPos = 0;
    bool first = true;
    while (!AtEnd()) {
        if (AcceptSym(";"))
            continue;
        const int end = ReadOneStatement(mPos, first, error);
        if (end < 0)
            return false;
        mPos = end;
        first = false;
    }
    return true;
}

namespace {

SqlSyntaxError ErrorAt(const QList<SqlToken>& tokens, int index) {
    SqlSyntaxError e;
    if (index == -2) {
        const ServerError tooDeep = ServerError::TooDeep();
        e.number = tooDeep.number;
        e.severity = tooDeep.severity;
        e.text = tooDeep.text;
        return e;
    }
    index = qBound(0, index, int(tokens.size()) - 1);
    // At the end of the batch the server names the last token it read.
    if (tokens[index].kind == SqlToken::Kind::End && index > 0)
        --index;
    const SqlToken& t = tokens[index];
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
    return e;
}

} // namespace

int SqlGrammar::ReadOneStatement(int from, bool first, SqlSyntaxError* error, int* errorAt) {
    mPos = from;
    mStatementDepth = 0;
    mExpressionDepth = 0;
    try {
        Statement(first);
        return mPos;
    } catch (const Failure&) {
        if (error) {
            *error = ErrorAt(mTokens, mFailAt);
            if (mFailAt == -2)
                error->line = Peek().line;
        }
        if (errorAt)
            *errorAt = mFailAt == -2 ? mPos : mFailAt;
        return -1;
    }
}

int SqlGrammar::ReadModuleQuery(int from, SqlSyntaxError* error, int* errorAt) {
    mPos = from;
    mStatementDepth = 0;
    mExpressionDepth = 0;
    try {
        if (Is("WITH"))
            WithCommonTables();
        Query();
        if (Accept("WITH")) {
            Expect("CHECK");
            Expect("OPTION");
        }
        AcceptSym(";");
        if (!AtEnd())
            Fail();
        return mPos;
    } catch (const Failure&) {
        if (error) {
            *error = ErrorAt(mTokens, mFailAt);
            if (mFailAt == -2)
                error->line = Peek().line;
        }
        if (errorAt)
            *errorAt = mFailAt == -2 ? mPos : mFailAt;
        return -1;
    }
}

// ---- statements

void SqlGrammar::Statement(bool first) {
    const Depth level(*this, mStatementDepth, SqlParser::kMaxStatementNesting);
    const SqlToken& t = Peek();
    if (t.IsSymbol("(")) {
        Query();
        return;
    }
    if (t.kind != SqlToken::Kind::Word) {
        if (first && t.kind == SqlToken::Kind::QuotedName) {
            Exec(true);
            return;
        }
        Fail();
    }
    // A label: name followed by a colon.
    if (IsIdentifier() && IsSym(":", 1) && !IsSym(":", 2)) {
        Next();
        Next();
        return;
    }
    const QString w = t.text.toUpper();
    if (w == QLatin1String("SELECT")) {
        Query();
        return;
    }
    if (w == QLatin1String("WITH")) {
        WithCommonTables();
        StatementAfterWith();
        return;
    }
    if (w == QLatin1String("INSERT"))
        return Insert();
    if (w == QLatin1String("UPDATE")) {
        if (Is("STATISTICS", 1))
            return UpdateStatistics();
        return Update();
    }
    if (w == QLatin1String("DELETE"))
        return Delete();
    if (w == QLatin1String("MERGE"))
        return Merge();
    if (w == QLatin1String("CREATE"))
        return Create(first);
    if (w == QLatin1String("ALTER"))
        return Alter(first);
    if (w == QLatin1String("DROP"))
        return Drop();
    if (w == QLatin1String("IF"))
        return If();
    if (w == QLatin1String("WHILE")) {
        Next();
        Expr();
        BlockOrStatement();
        return;
    }
    if (w == QLatin1String("BEGIN")) {
        if (Is("TRAN", 1) || Is("TRANSACTION", 1) || Is("DISTRIBUTED", 1))
            return Transaction();
        Next();
        if (Accept("TRY")) {
            StatementsUntilEnd();
            Expect("TRY");
            // END TRY must be followed by its CATCH block, nothing in between.
            Expect("BEGIN");
            Expect("CATCH");
            StatementsUntilEnd();
            Expect("CATCH");
            return;
        }
        if (Is("DIALOG") || Is("CONVERSATION")) {
            GenericTail();
            return;
        }
        if (Accept("ATOMIC")) {
            Expect("WITH");
            OptionList();
        }
        StatementsUntilEnd();
        return;
    }
    if (w == QLatin1String("DECLARE"))
        return Declare();
    if (w == QLatin1String("SET"))
        return Set();
    if (w == QLatin1String("PRINT")) {
        Next();
        Expr();
        return;
    }
    if (w == QLatin1String("RETURN")) {
        Next();
        if (!AtStatementEnd() || Is("SELECT") || IsSym("("))
            Expr();
        return;
    }
    if (w == QLatin1String("BREAK") || w == QLatin1String("CONTINUE") || w == QLatin1String("CHECKPOINT") ||
        w == QLatin1String("REVERT") || w == QLatin1String("SHUTDOWN") || w == QLatin1String("RECONFIGURE")) {
        Next();
        if (w == QLatin1String("CHECKPOINT") && Peek().kind == SqlToken::Kind::Number)
            Next();
        if ((w == QLatin1String("SHUTDOWN") && Accept("WITH")) ||
            (w == QLatin1String("RECONFIGURE") && Accept("WITH")))
            Name();
        if (w == QLatin1String("REVERT") && Accept("WITH")) {
            Expect("COOKIE");
            ExpectSym("=");
            Literal();
        }
        return;
    }
    if (w == QLatin1String("GOTO")) {
        Next();
        Name();
        return;
    }
    if (w == QLatin1String("EXEC") || w == QLatin1String("EXECUTE"))
        return Exec(false);
    if (w == QLatin1String("USE")) {
        Next();
        Name();
        return;
    }
    if (w == QLatin1String("GRANT") || w == QLatin1String("DENY") || w == QLatin1String("REVOKE"))
        return Permission();
    if (w == QLatin1String("RAISERROR"))
        return Raiserror();
    if (w == QLatin1String("THROW") && (Peek(1).kind != SqlToken::Kind::Symbol || IsSym(";", 1)))
        return Throw();
    if (w == QLatin1String("COMMIT") || w == QLatin1String("ROLLBACK") || w == QLatin1String("SAVE"))
        return Transaction();
    if (w == QLatin1String("TRUNCATE"))
        return Truncate();
    if (w == QLatin1String("WAITFOR"))
        return Waitfor();
    if (w == QLatin1String("OPEN") || w == QLatin1String("FETCH") || w == QLatin1String("CLOSE") ||
        w == QLatin1String("DEALLOCATE"))
        return CursorStatement();
    if (w == QLatin1String("DBCC"))
        return Dbcc();
    if (w == QLatin1String("BULK"))
        return BulkInsert();
    if (w == QLatin1String("BACKUP") || w == QLatin1String("RESTORE") || w == QLatin1String("KILL") ||
        w == QLatin1String("SETUSER") || w == QLatin1String("READTEXT") || w == QLatin1String("WRITETEXT") ||
        w == QLatin1String("UPDATETEXT") || w == QLatin1String("ENABLE") || w == QLatin1String("DISABLE") ||
        w == QLatin1String("SEND") || w == QLatin1String("RECEIVE") || w == QLatin1String("GET") ||
        w == QLatin1String("MOVE")) {
        if ((w == QLatin1String("ENABLE") || w == QLatin1String("DISABLE")) && !Is("TRIGGER", 1))
            Fail();
        // Service broker statements begin with words that are no reserved words.
        if ((w == QLatin1String("SEND") && !Is("ON", 1)) ||
            ((w == QLatin1String("GET") || w == QLatin1String("MOVE")) && !Is("CONVERSATION", 1)) ||
            (w == QLatin1String("RECEIVE") && !Is("TOP", 1) && IsIdentifier(1) && !IsSym(",", 2) &&
             !IsSym("=", 2) && !Is("FROM", 2))) {
            if (first)
                return Exec(true);
            Fail();
        }
        Next();
        GenericTail();
        return;
    }
    if (w == QLatin1String("END") && Is("CONVERSATION", 1)) {
        Next();
        GenericTail();
        return;
    }
    if (first && !SqlLexer::IsReserved(w))
        return Exec(true);
    Fail();
}

void SqlGrammar::StatementsUntilEnd() {
    while (!Is("END")) {
        if (AtEnd())
            Fail();
        if (AcceptSym(";"))
            continue;
        Statement(false);
    }
    Next();
}

void SqlGrammar::BlockOrStatement() {
    while (AcceptSym(";")) {
    }
    if (AtEnd())
        Fail();
    Statement(false);
}

void SqlGrammar::If() {
    Next();
    Expr();
    BlockOrStatement();
    AcceptSym(";");
    if (Accept("ELSE"))
        BlockOrStatement();
}

void SqlGrammar::Declare() {
    Next();
    if (Peek().kind != SqlToken::Kind::Variable) {
        // DECLARE name CURSOR ...
        Name();
        CursorDefinition();
        return;
    }
    do {
        if (Peek().kind != SqlToken::Kind::Variable || Peek().text.startsWith(QLatin1String("@@")))
            Fail();
        Next();
        Accept("AS");
        if (Accept("CURSOR"))
            continue;
        if (Accept("TABLE")) {
            TableDefinition();
            continue;
        }
        DataType();
        if (AcceptSym("="))
            Expr();
    } while (AcceptSym(","));
}

void SqlGrammar::CursorDefinition() {
    // ISO form: [INSENSITIVE] [SCROLL] CURSOR FOR query [FOR READ ONLY | UPDATE [OF cols]]
    // and the extended form: CURSOR [LOCAL|GLOBAL] [FORWARD_ONLY|SCROLL] [STATIC|KEYSET|DYNAMIC|
    // FAST_FORWARD] [READ_ONLY|SCROLL_LOCKS|OPTIMISTIC] [TYPE_WARNING] FOR query [FOR UPDATE [OF]].
    Accept("INSENSITIVE");
    Accept("SCROLL");
    Expect("CURSOR");
    static const char* options[] = {"LOCAL",     "GLOBAL",       "FORWARD_ONLY", "SCROLL",
                                    "STATIC",    "KEYSET",       "DYNAMIC",      "FAST_FORWARD",
                                    "READ_ONLY", "SCROLL_LOCKS", "OPTIMISTIC",   "TYPE_WARNING"};
    for (bool any = true; any;) {
        any = false;
        for (const char* o : options)
            if (Accept(o))
                any = true;
    }
    Expect("FOR");
    if (Is("WITH"))
        WithCommonTables();
    Query();
    if (Accept("FOR")) {
        if (Accept("READ")) {
            Expect("ONLY");
        } else {
            Expect("UPDATE");
            if (Accept("OF")) {
                do
                    Name();
                while (AcceptSym(","));
            }
        }
    }
}

void SqlGrammar::Set() {
    Next();
    if (Peek().kind == SqlToken::Kind::Variable) {
        Next();
        if (IsSym(".")) {
            // SET @x.modify('...'), a CLR or xml method called on a variable.
            Next();
            Name();
            FunctionArguments(false);
            return;
        }
        if (IsCompoundAssign()) {
            SkipCompoundAssign();
        } else {
            ExpectSym("=");
            if (Is("CURSOR") || (Is("INSENSITIVE") || (Is("SCROLL") && Is("CURSOR", 1)))) {
                CursorDefinition();
                return;
            }
        }
        Expr();
        return;
    }
    if (Accept("TRANSACTION")) {
        Expect("ISOLATION");
        Expect("LEVEL");
        if (Accept("READ")) {
            if (!Accept("COMMITTED"))
                Expect("UNCOMMITTED");
        } else if (Accept("REPEATABLE")) {
            Expect("READ");
        } else if (!Accept("SNAPSHOT")) {
            Expect("SERIALIZABLE");
        }
        return;
    }
    if (Is("STATISTICS") || Is("OFFSETS")) {
        Next();
        do
            Name();
        while (AcceptSym(","));
        if (!Accept("ON"))
            Expect("OFF");
        return;
    }
    if (Accept("IDENTITY_INSERT")) {
        MultiName();
        if (!Accept("ON"))
            Expect("OFF");
        return;
    }
    // SET option[, option...] ON|OFF, or SET option value (DATEFORMAT dmy, LANGUAGE x, ROWCOUNT @n,
    // TEXTSIZE n, DEADLOCK_PRIORITY LOW, LOCK_TIMEOUT -1, CONTEXT_INFO 0x01, DATEFIRST 1 ...)
    if (Peek().kind != SqlToken::Kind::Word)
        Fail();
    Next();
    if (IsSym(",")) {
        while (AcceptSym(","))
            Name();
        if (!Accept("ON"))
            Expect("OFF");
        return;
    }
    if (Accept("ON") || Accept("OFF"))
        return;
    Literal();
}

void SqlGrammar::ExecuteAs() {
    // EXECUTE AS CALLER | SELF | OWNER | LOGIN = 'x' | USER = 'x' [WITH NO REVERT | COOKIE INTO @c]
    Expect("AS");
    if (Accept("LOGIN") || Accept("USER")) {
        ExpectSym("=");
        Literal();
        if (Accept("WITH")) {
            if (Accept("NO")) {
                Expect("REVERT");
            } else {
                Expect("COOKIE");
                Expect("INTO");
                if (Peek().kind != SqlToken::Kind::Variable)
                    Fail();
                Next();
            }
        }
        return;
    }
    if (!Accept("CALLER") && !Accept("SELF") && !Accept("OWNER"))
        Fail();
}

void SqlGrammar::Exec(bool implicit) {
    if (!implicit)
        Next();
    if (Is("AS") && (Is("LOGIN", 1) || Is("USER", 1) || Is("CALLER", 1) || Is("SELF", 1) || Is("OWNER", 1))) {
        ExecuteAs();
        return;
    }
    if (AcceptSym("(")) {
        // EXEC ('...' + @sql) [AS LOGIN|USER = '...'] [AT linked_server]
        Expr();
        while (AcceptSym(","))
            Expr();
        ExpectSym(")");
        if (Accept("AS")) {
            if (!Accept("LOGIN"))
                Expect("USER");
            ExpectSym("=");
            Literal();
        }
        if (Accept("AT"))
            Name();
        return;
    }
    if (Peek().kind == SqlToken::Kind::Variable && IsSym("=", 1)) {
        Next();
        Next();
    }
    NameOrVariable();
    if (IsSym(";") && Peek(1).kind == SqlToken::Kind::Number && Peek(1).begin == Peek().end) {
        // proc;2, a numbered procedure
        Next();
        Next();
    }
    ExecArguments();
}

void SqlGrammar::ExecArguments() {
    const auto argumentStarts = [this] {
        const SqlToken& a = Peek();
        if (a.kind == SqlToken::Kind::End || a.IsSymbol(";") || a.IsSymbol(")"))
            return false;
        if (a.kind == SqlToken::Kind::Word && SqlLexer::IsReserved(a.text) && !a.IsWord("DEFAULT") &&
            !a.IsWord("NULL"))
            return false;
        if (IsStatementStart())
            return false;
        return true;
    };
    if (argumentStarts()) {
        do {
            if (Peek().kind == SqlToken::Kind::Variable && IsSym("=", 1)) {
                Next();
                Next();
            }
            // A bare word is a string: EXEC sp_helptext MyProc
            const bool bareWord = Peek().kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(Peek().text) &&
                                  !IsSym("(", 1) && !IsSym(".", 1);
            if (!Accept("DEFAULT")) {
                if (bareWord || Peek().kind == SqlToken::Kind::QuotedName)
                    Next();
                else
                    Unary();
            }
            if (!Accept("OUTPUT"))
                Accept("OUT");
        } while (AcceptSym(","));
    }
    if (Accept("WITH")) {
        do {
            if (Accept("RESULT")) {
                Expect("SETS");
                if (Accept("NONE") || Accept("UNDEFINED"))
                    continue;
                Balanced();
            } else {
                Expect("RECOMPILE");
            }
        } while (AcceptSym(","));
    }
    if (Accept("AT"))
        Name();
}

void SqlGrammar::Raiserror() {
    Next();
    if (AcceptSym("(")) {
        Expr();
        ExpectSym(",");
        Expr();
        ExpectSym(",");
        Expr();
        while (AcceptSym(","))
            Expr();
        ExpectSym(")");
    } else {
        // The old form: RAISERROR number 'text'
        if (Peek().kind != SqlToken::Kind::Number && Peek().kind != SqlToken::Kind::Variable)
            Fail();
        Next();
        if (Peek().kind != SqlToken::Kind::String && Peek().kind != SqlToken::Kind::Variable)
            Fail();
        Next();
    }
    if (Accept("WITH")) {
        do {
            if (!Accept("LOG") && !Accept("NOWAIT") && !Accept("SETERROR"))
                Fail();
        } while (AcceptSym(","));
    }
}

void SqlGrammar::Throw() {
    Next();
    if (AtStatementEnd())
        return;
    Unary();
    ExpectSym(",");
    Unary();
    ExpectSym(",");
    Unary();
}

void SqlGrammar::Transaction() {
    const SqlToken& verb = Next();
    const auto nameFollows = [this] { return Peek().kind == SqlToken::Kind::Variable || IsIdentifier(); };
    if (verb.IsWord("BEGIN")) {
        Accept("DISTRIBUTED");
        if (!Accept("TRAN"))
            Expect("TRANSACTION");
        if (nameFollows()) {
            Next();
            if (Accept("WITH")) {
                Expect("MARK");
                if (Peek().kind == SqlToken::Kind::String)
                    Next();
            }
        }
        return;
    }
    if (verb.IsWord("SAVE")) {
        if (!Accept("TRAN"))
            Expect("TRANSACTION");
        if (!nameFollows())
            Fail();
        Next();
        return;
    }
    // COMMIT/ROLLBACK [TRAN|TRANSACTION [name] | WORK] [WITH (DELAYED_DURABILITY = ON)]
    if (Accept("TRAN") || Accept("TRANSACTION")) {
        if (nameFollows())
            Next();
    } else {
        Accept("WORK");
    }
    if (verb.IsWord("COMMIT") && Accept("WITH"))
        OptionList();
}

void SqlGrammar::CursorStatement() {
    const SqlToken& verb = Next();
    if (verb.IsWord("OPEN") || verb.IsWord("CLOSE")) {
        // OPEN/CLOSE SYMMETRIC KEY, MASTER KEY, ALL SYMMETRIC KEYS
        if (Is("SYMMETRIC") || Is("MASTER") || (verb.IsWord("CLOSE") && Is("ALL"))) {
            GenericTail();
            return;
        }
    }
    if (verb.IsWord("FETCH")) {
        // FETCH [[NEXT|PRIOR|FIRST|LAST|ABSOLUTE n|RELATIVE n] FROM] [GLOBAL] cursor [INTO @a, ...]
        bool direction = false;
        if (Accept("NEXT") || Accept("PRIOR") || Accept("FIRST") || Accept("LAST")) {
            direction = true;
        } else if (Accept("ABSOLUTE") || Accept("RELATIVE")) {
            direction = true;
            Unary();
        }
        if (direction)
            Expect("FROM");
        else
            Accept("FROM");
    }
    Accept("GLOBAL");
    NameOrVariable();
    if (verb.IsWord("FETCH") && Accept("INTO")) {
        do {
            if (Peek().kind != SqlToken::Kind::Variable)
                Fail();
            Next();
        } while (AcceptSym(","));
    }
}

void SqlGrammar::Waitfor() {
    Next();
    if (Accept("DELAY") || Accept("TIME")) {
        Unary();
        return;
    }
    // WAITFOR (RECEIVE ... | GET CONVERSATION GROUP ...) [, TIMEOUT n]
    Balanced();
    if (AcceptSym(",")) {
        Expect("TIMEOUT");
        Unary();
    }
}

void SqlGrammar::Dbcc() {
    Next();
    Name();
    if (IsSym("("))
        Balanced();
    if (Accept("WITH")) {
        do
            Name();
        while (AcceptSym(","));
    }
}
