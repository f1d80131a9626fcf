// Where the tree parser fails on valid T-SQL, or stops short of a statement's end, the recognizer
// reads the statement instead: valid T-SQL becomes a statement that names the construct and fails
// only when it runs, as the server parses everything and runs what it can. Inside a module's body
// this keeps the module: CREATE PROCEDURE stores it as the server would.
#include "SqlGrammar.h"
#include "SqlParser.h"

namespace {

const QLatin1String kUnsupportedPrefix("The embedded server does not support ");

bool IsFallbackError(long number) {
    return number == 102 || number == 156 || number == 50001;
}

// The first construct of the statement that the engine is known not to run names it in the error.
QString DescribeConstruct(const QList<SqlToken>& tokens, int from, int to) {
    const auto word = [&](int i, const char* w) { return i < to && tokens[i].IsWord(w); };
    const auto symbol = [&](int i, const char* s) { return i < to && tokens[i].IsSymbol(s); };
    if (word(from, "MERGE"))
        return QStringLiteral("MERGE");
    if (word(from, "THROW"))
        return QStringLiteral("THROW");
    if (word(from, "WITH"))
        return QStringLiteral("common table expressions (WITH)");
    if (word(from, "BEGIN") && word(from + 1, "TRY"))
        return QStringLiteral("TRY...CATCH");
    if (word(from, "OPEN") || word(from, "FETCH") || word(from, "CLOSE") || word(from, "DEALLOCATE"))
        return QStringLiteral("cursors");
    for (int i = from; i < to; ++i) {
        const SqlToken& t = tokens[i];
        if (t.IsWord("FOR") && (word(i + 1, "XML") || word(i + 1, "JSON")))
            return QStringLiteral("FOR %1").arg(tokens[i + 1].text.toUpper());
        if (t.IsWord("OVER") && symbol(i + 1, "("))
            return QStringLiteral("window functions (OVER)");
        if (t.IsWord("PIVOT") || t.IsWord("UNPIVOT") || t.IsWord("OPENJSON") || t.IsWord("OPENROWSET") ||
            t.IsWord("OPENQUERY") || t.IsWord("OPENXML") || t.IsWord("OPENDATASOURCE") ||
            t.IsWord("CONTAINSTABLE") || t.IsWord("FREETEXTTABLE"))
            return t.text.toUpper();
        if (t.IsWord("OPTION") && symbol(i + 1, "("))
            return QStringLiteral("query hints (OPTION)");
        if (t.IsName() && t.text.startsWith(u'#'))
            return QStringLiteral("temporary tables");
        if (t.IsWord("NEXT") && word(i + 1, "VALUE") && word(i + 2, "FOR"))
            return QStringLiteral("sequences (NEXT VALUE FOR)");
        if ((t.IsWord("CROSS") || t.IsWord("OUTER")) && word(i + 1, "APPLY"))
            return QStringLiteral("APPLY");
        if (t.IsWord("OUTPUT") && i > from && !word(i - 1, "OUTPUT"))
            return QStringLiteral("the OUTPUT clause");
        if (t.IsWord("ROLLUP") || t.IsWord("CUBE") || (t.IsWord("GROUPING") && word(i + 1, "SETS")))
            return QStringLiteral("GROUP BY ROLLUP, CUBE and GROUPING SETS");
        if (t.IsWord("OFFSET") && i > from)
            return QStringLiteral("OFFSET ... FETCH");
        if (t.IsWord("CURSOR"))
            return QStringLiteral("cursors");
        if (t.IsWord("TABLE") && i > from && tokens[i - 1].kind == SqlToken::Kind::Variable)
            return QStringLiteral("table variables");
        if (t.IsSymbol("::"))
            return QStringLiteral("methods of types (::)");
        if (t.IsSymbol(".") && i + 2 < to && symbol(i + 2, "(") && word(i + 1, "modify"))
            return QStringLiteral("the xml method modify()");
    }
    if (tokens[from].kind == SqlToken::Kind::Word) {
        // A statement the tree parser doesn't know at all is named by its word: RECONFIGURE, DBCC ...
        static const QStringList known = {
            QStringLiteral("SELECT"),  QStringLiteral("INSERT"),   QStringLiteral("UPDATE"),
            QStringLiteral("DELETE"),  QStringLiteral("CREATE"),   QStringLiteral("ALTER"),
            QStringLiteral("DROP"),    QStringLiteral("IF"),       QStringLiteral("WHILE"),
            QStringLiteral("BEGIN"),   QStringLiteral("DECLARE"),  QStringLiteral("SET"),
            QStringLiteral("PRINT"),   QStringLiteral("RETURN"),   QStringLiteral("EXEC"),
            QStringLiteral("EXECUTE"), QStringLiteral("USE"),      QStringLiteral("GRANT"),
            QStringLiteral("DENY"),    QStringLiteral("REVOKE"),   QStringLiteral("RAISERROR"),
            QStringLiteral("COMMIT"),  QStringLiteral("ROLLBACK"), QStringLiteral("TRUNCATE")};
        const QString first = tokens[from].text.toUpper();
        return known.contains(first) ? QStringLiteral("this form of %1").arg(first) : first;
    }
    return QStringLiteral("this statement");
}

// The tables and views a query reads (names after FROM and JOIN that aren't calls), without the
// common tables it defines and the system catalogue: a view is checked against them at CREATE.
QList<QStringList> ReadNames(const QList<SqlToken>& tokens, int from, int to) {
    QStringList defined;
    for (int i = from; i + 2 < to; ++i) {
        const SqlToken& t = tokens[i];
        if (!t.IsName())
            continue;
        int j = i + 1;
        if (tokens[j].IsSymbol("(")) {
            while (j < to && !tokens[j].IsSymbol(")"))
                ++j;
            ++j;
        }
        if (j + 1 < to && tokens[j].IsWord("AS") && tokens[j + 1].IsSymbol("("))
            defined.append(t.text.toLower());
    }
    QList<QStringList> names;
    // FROM counts in queries only, not in a call such as TRIM('x' FROM name).
    QList<bool> queryLevels;
    for (int i = from; i + 1 < to; ++i) {
        if (tokens[i].IsSymbol("(")) {
            queryLevels.append(tokens[i + 1].IsWord("SELECT") || tokens[i + 1].IsWord("WITH"));
            continue;
        }
        if (tokens[i].IsSymbol(")") && !queryLevels.isEmpty()) {
            queryLevels.removeLast();
            continue;
        }
        if ((!tokens[i].IsWord("FROM") && !tokens[i].IsWord("JOIN")) ||
            (!queryLevels.isEmpty() && !queryLevels.last()))
            continue;
        int j = i + 1;
        QStringList name;
        while (j < to &&
               (tokens[j].kind == SqlToken::Kind::QuotedName ||
                (tokens[j].kind == SqlToken::Kind::Word && !SqlLexer::IsReserved(tokens[j].text)))) {
            name.append(tokens[j].text);
            if (j + 1 < to && tokens[j + 1].IsSymbol(".")) {
                j += 2;
                continue;
            }
            ++j;
            break;
        }
        if (name.isEmpty() || (j < to && tokens[j].IsSymbol("(")) ||
            defined.contains(name.last().toLower()) || name.last().startsWith(u'#'))
            continue;
        if (name.size() >= 2 &&
            (name[name.size() - 2].compare(QLatin1String("sys"), Qt::CaseInsensitive) == 0 ||
             name[name.size() - 2].compare(QLatin1String("INFORMATION_SCHEMA"), Qt::CaseInsensitive) == 0))
            continue;
        names.append(name);
    }
    return names;
}

QString ConstructOf(const SqlSyntaxError& e) {
    if (e.number == 50001 && e.text.startsWith(kUnsupportedPrefix) && e.text.endsWith(u'.'))
        return e.text.mid(kUnsupportedPrefix.size()).chopped(1);
    return {};
}

} // namespace

SqlStatementP SqlParser::ParseStatement(bool first) {
    const int start = mPos;
    const qsizetype errorCount = mErrors ? mErrors->size() : 0;
    SqlStatementP s;
    try {
        s = ParseStatementTree(first);
    } catch (const Failure&) {
        // A statement within this one that failed may fail only because this one is read wrongly
        // (BEGIN ATOMIC): the recognizer reads this one again, and the further error wins.
        if (!mErrors || mErrors->size() <= errorCount || !IsFallbackError(mErrors->last().number))
            throw;
        return Fallback(start, first, mPos, errorCount);
    }
    int end = 0;
    if (StopsShort(*s, start, first, &end)) {
        auto u = std::make_shared<SqlStatement>();
        u->kind = SqlStatement::Kind::Unsupported;
        u->line = mTokens[start].line;
        u->begin = mTokens[start].begin;
        u->construct = DescribeConstruct(mTokens, start, end);
        mPos = end;
        return u;
    }
    return s;
}

bool SqlParser::StopsShort(const SqlStatement& s, int start, bool first, int* recognizedEnd) {
    using K = SqlStatement::Kind;
    if (s.kind == K::Block || s.kind == K::If || s.kind == K::While || s.kind == K::CreateModule ||
        s.kind == K::Unsupported || AtEnd() || Peek().IsSymbol(";") || IsStatementStart(Peek()))
        return false;
    SqlGrammar grammar(mTokens);
    SqlSyntaxError error;
    int errorAt = -1;
    const int end = grammar.ReadOneStatement(start, first, &error, &errorAt);
    if (end < 0 && errorAt > mPos && mErrors) {
        // The statement goes on past where the tree parser stopped, into a syntax error.
        mErrors->append(error);
        mPos = errorAt;
        throw Failure{};
    }
    if (end <= mPos)
        return false;
    *recognizedEnd = end;
    return true;
}

SqlStatementP SqlParser::Fallback(int start, bool first, int treeStop, qsizetype errorCount) {
    const SqlSyntaxError treeError = mErrors->last();
    SqlGrammar grammar(mTokens);
    SqlSyntaxError error;
    int errorAt = -1;
    int end = grammar.ReadOneStatement(start, first, &error, &errorAt);
    mErrors->resize(errorCount);
    if (end <= start && end >= 0) {
        error = treeError; // nothing read: never a statement without tokens
        errorAt = -1;
        end = -1;
    }
    if (end < 0) {
        // Where the tree parser stopped at a construct it doesn't know, the recognizer's error lies
        // further on; otherwise the tree parser's message stands.
        const bool recognizer = treeError.number == 50001 || errorAt > treeStop || error.number == 191;
        mErrors->append(recognizer ? error : treeError);
        mPos = qBound(start, recognizer ? errorAt : treeStop, int(mTokens.size()) - 1);
        throw Failure{};
    }
    auto s = std::make_shared<SqlStatement>();
    s->kind = SqlStatement::Kind::Unsupported;
    s->line = mTokens[start].line;
    s->begin = mTokens[start].begin;
    s->construct = ConstructOf(treeError);
    if (s->construct.isEmpty())
        s->construct = DescribeConstruct(mTokens, start, end);
    mPos = end;
    return s;
}

void SqlParser::ParseModuleOptions() {
    if (!AcceptWord("WITH"))
        return;
    do {
        if (AcceptWord("EXECUTE") || AcceptWord("EXEC")) {
            ExpectWord("AS");
            const SqlToken& who = Next();
            if (who.kind == SqlToken::Kind::End || who.kind == SqlToken::Kind::Symbol)
                Fail(who);
        } else if (AcceptWord("RETURNS")) {
            ExpectWord("NULL");
            ExpectWord("ON");
            ExpectWord("NULL");
            ExpectWord("INPUT");
        } else if (AcceptWord("CALLED")) {
            ExpectWord("ON");
            ExpectWord("NULL");
            ExpectWord("INPUT");
        } else if (AcceptWord("INLINE")) {
            ExpectSymbol("=");
            if (!AcceptWord("ON"))
                ExpectWord("OFF");
        } else if (!AcceptWord("RECOMPILE") && !AcceptWord("ENCRYPTION") && !AcceptWord("SCHEMABINDING") &&
                   !AcceptWord("VIEW_METADATA") && !AcceptWord("NATIVE_COMPILATION")) {
            Fail(Peek());
        }
    } while (AcceptSymbol(","));
}

void SqlParser::ParseModuleQuery(SqlStatement& s) {
    const int start = mPos;
    const qsizetype errorCount = mErrors ? mErrors->size() : 0;
    try {
        const bool paren = Peek().IsSymbol("(") && Peek(1).IsWord("SELECT");
        if (paren)
            Next();
        SqlSelectP select = ParseSelect();
        if (paren)
            ExpectSymbol(")");
        if (s.objectKind == QLatin1String("VIEW") && AcceptWord("WITH")) {
            ExpectWord("CHECK");
            ExpectWord("OPTION");
        }
        AcceptSymbol(";");
        if (!AtEnd())
            Fail(Peek());
        s.select = select;
        return;
    } catch (const Failure&) {
        if (!mErrors || mErrors->size() <= errorCount || !IsFallbackError(mErrors->last().number))
            throw;
    }
    // A query the engine can't run: the module is kept all the same, and reading from it says why.
    const int treeStop = mPos;
    const SqlSyntaxError treeError = mErrors->last();
    SqlGrammar grammar(mTokens);
    SqlSyntaxError error;
    int errorAt = -1;
    const int end = grammar.ReadModuleQuery(start, &error, &errorAt);
    mErrors->resize(errorCount);
    if (end < 0) {
        const bool recognizer = treeError.number == 50001 || errorAt > treeStop || error.number == 191;
        mErrors->append(recognizer ? error : treeError);
        throw Failure{};
    }
    s.select = nullptr;
    s.names = ReadNames(mTokens, start, end);
    s.construct = ConstructOf(treeError);
    if (s.construct.isEmpty())
        s.construct = DescribeConstruct(mTokens, start, end);
    mPos = end;
}
