#pragma once

#include "SqlAst.h"
#include "SqlLexer.h"

struct SqlSyntaxError {
    long number = 102;
    int severity = 15;
    QString text;
    int line = 1;
};

// A recursive-descent parser for T-SQL batches. The whole batch is parsed before anything runs, so
// a syntax error anywhere keeps the batch from running, as on the server. After an error the parser
// goes on at the next statement to report further errors.
//
// Nesting is limited as on the server (error 191): every recursion passes a Nesting guard, so no
// batch can run the parser, the translator or the executor out of stack. Operator chains such as
// 1+1+...+1 don't nest: they are read in a loop however long they are.
// A statement of the given kind that starts at a token.
SqlStatementP MakeStatement(SqlStatement::Kind kind, const SqlToken& at);

class SqlParser {
public:
    // Levels of statements within statements (BEGIN...END, IF, ELSE IF, WHILE) and of expressions
    // and queries within one statement. Chosen so that the deepest batch, parsed, translated and
    // run, stays within 1 MB of stack, and within half of 8 MB under the address sanitizer.
    static constexpr int kMaxStatementNesting = 500;
    static constexpr int kMaxExpressionNesting = 128;

    SqlParser(const QString& batch, bool quotedIdentifier);
    QList<SqlStatementP> ParseBatch(QList<SqlSyntaxError>* errors);

    // Parses a name as written in a string ('[dbo].[x]', 'dbo.x', 'x'); empty on a malformed name.
    static QStringList SplitName(const QString& name);
    // Parses a type name such as "nvarchar(50)"; invalid on a malformed text.
    static SqlTypeSpec ParseType(const QString& text);

    const QString& Text() const { return mText; }

private:
    struct Failure {};

    class Nesting {
    public:
        Nesting(SqlParser& parser, int& depth, int limit);
        ~Nesting() { --mDepth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        int& mDepth;
    };
    Nesting StatementLevel() { return Nesting(*this, mStatementDepth, kMaxStatementNesting); }
    Nesting ExpressionLevel() { return Nesting(*this, mExpressionDepth, kMaxExpressionNesting); }

    const SqlToken& Peek(int ahead = 0) const;
    const SqlToken& Next();
    bool AtEnd() const { return Peek().kind == SqlToken::Kind::End; }
    bool AcceptWord(const char* word);
    bool AcceptSymbol(const char* symbol);
    void ExpectWord(const char* word);
    void ExpectSymbol(const char* symbol);
    [[noreturn]] void Fail(const SqlToken& at);
    [[noreturn]] void Unsupported(const QString& construct, int line);
    [[noreturn]] void TooDeep();
    bool IsStatementStart(const SqlToken& t) const;

    QString ParseName(); // one identifier
    QStringList ParseMultiPartName();
    SqlTypeSpec ParseTypeSpec();

    // A statement: the tree parser's reading, or, where it fails or stops short on valid T-SQL, a
    // statement that names what the engine can't run (SqlParserFallback.cpp).
    SqlStatementP ParseStatement(bool first);
    SqlStatementP ParseStatementTree(bool first);
    SqlStatementP Fallback(int start, bool first, int treeStop, qsizetype errorCount);
    bool StopsShort(const SqlStatement& s, int start, bool first, int* recognizedEnd);
    void ParseModuleOptions();
    void ParseModuleQuery(SqlStatement& s);
    SqlStatementP ParseCreate(bool first, bool alter);
    SqlStatementP ParseModule(bool first, bool alter, const SqlToken& keyword);
    SqlStatementP ParseCreateTable(SqlStatementP s);
    // checks: where the column's CHECK constraints go; null where they can't be taken.
    void ParseColumnDef(SqlColumnDef& c, QList<SqlCheck>* checks = nullptr);
    void ParseTableBody(const SqlStatementP& s);
    SqlStatementP ParseDrop();
    // SqlParserCollections.cpp: the XML SCHEMA COLLECTION after CREATE, ALTER or DROP (action).
    SqlStatementP ParseXmlSchemaCollection(const SqlToken& keyword, const QString& action);
    // EXTERNAL NAME assembly.class.method, the body of a CLR module: the module is kept with a body
    // that fails when it runs. False when the body is T-SQL.
    bool ParseExternalName(SqlStatement& s);
    // A trigger ON ALL SERVER from ALL on: objectKind SERVER TRIGGER, its events and body.
    void ParseServerTrigger(SqlStatement& s);
    SqlStatementP ParseIf();
    SqlStatementP ParseDeclare();
    SqlStatementP ParseSet();
    SqlStatementP ParseExec(bool implicit);
    SqlStatementP ParsePermission();
    SqlStatementP ParseInsert();
    SqlStatementP ParseUpdate();
    SqlStatementP ParseDelete();
    // SqlParserDml.cpp: MERGE, and the SET list of UPDATE and of MERGE's WHEN clauses.
    SqlStatementP ParseMerge();
    void ParseSetList(SqlStatement& s);
    // WHERE CURRENT OF [GLOBAL] cursor: optionValue "CURRENT OF", name the cursor.
    void ParseCurrentOf(SqlStatement& s);
    QList<SqlParam> ParseParams(bool parenthesised);
    QList<SqlStatementP> ParseStatementsToEnd();
    SqlStatementP ParseBlockOrStatement();
    // SqlParserProc.cpp: TRY...CATCH, THROW, RAISERROR, GOTO, labels, WAITFOR, transactions; null
    // when the statement is none of these.
    SqlStatementP ParseProcedural(const SqlToken& t, const QString& word);
    QList<SqlStatementP> ParseStatementsUntilEnd(const char* blockWord);
    void ParseTranName(SqlStatement& s, const SqlToken& keyword);
    void CheckLabels(const QList<SqlStatementP>& statements);
    SqlStatementP ParseTableVariable(const SqlToken& variable);
    std::shared_ptr<SqlWindow> ParseOver();
    SqlStatementP ParseWith(const SqlToken& t);
    SqlStatementP ParseDeclareCursor(const SqlStatement& declare);
    SqlStatementP ParseSetCursor(const SqlToken& set, const QString& variable);
    void ParseCursorDefinition(SqlStatement& s);
    void ParseOutput(SqlStatement& s);
    SqlStatementP ParseCursorStatement(const SqlToken& t, const QString& word);

    SqlSelectP ParseSelect();
    SqlSelectCore ParseSelectCore();
    // SqlParserGrouping.cpp: the GROUP BY list with its ROLLUP, CUBE and GROUPING SETS.
    void ParseGroupBy(SqlSelectCore& core);
    QList<QList<int>> ParseGroupingElement(SqlSelectCore& core, bool inSets);
    QList<int> ParseGroupingColumns(SqlSelectCore& core);
    SqlTableRefP ParsePivot(const SqlTableRefP& source);
    QList<SqlTableRefP> ParseFromList();
    SqlTableRefP ParseTableRef();
    SqlTableRefP ParseTablePrimary();
    QString ParseOptionalAlias();
    // SqlParserJson.cpp: FOR JSON / FOR XML, OPENJSON's WITH schema, (subquery).value(...).
    std::shared_ptr<SqlForClause> ParseForClause();
    void ParseJsonSchema(SqlTableRef& r);
    SqlExprP ParseXmlMethod(SqlExprP target);
    static bool IsXmlMethod(const QString& name);
    SqlExprP XmlMethodCall(const SqlExprP& target, const SqlToken& method, bool mutator = false);
    SqlTableRefP ParseXmlNodes(const SqlExprP& target, int line);

    SqlExprP ParseExpr();
    SqlCheck ParseCheck(const QString& name, const QString& column);
    SqlExprP ParseAnd();
    SqlExprP ParseNot();
    SqlExprP ParsePredicate();
    SqlExprP ParseAdditive();
    SqlExprP ParseMultiplicative();
    SqlExprP ParseUnary();
    SqlExprP ParsePrimary();
    SqlExprP ParseFunctionCall(const QStringList& name, int line);

    QString mText;
    QList<SqlToken> mTokens;
    int mPos = 0;
    SqlLexError mLexError;
    QList<SqlSyntaxError>* mErrors = nullptr;
    int mStatementDepth = 0;
    int mExpressionDepth = 0;
};
