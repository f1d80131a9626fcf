#pragma once

#include "SqlLexer.h"
#include "SqlParser.h"

// A recognizer of the whole T-SQL language of current server versions. It reads the lexer's
// tokens and builds nothing: it only tells whether a batch, or one statement of it, is valid T-SQL
// and where the first token stands that is not, as the server would report it. The tree parser
// handles what the engine runs; this one is consulted for everything else, so that a module the
// engine can't run yet is still created, as the server creates it, and fails only when it runs.
//
// Recursive descent without backtracking beyond a few tokens of lookahead. Every recursion passes a
// depth guard with the tree parser's limits, so a deep batch gives error 191, never a crash.
// Names are resolved late, as on the server: nothing here looks at the catalogue.
class SqlGrammar {
public:
    explicit SqlGrammar(const QList<SqlToken>& tokens);

    // Reads the whole batch. False with the first error when it is not valid.
    bool CheckBatch(SqlSyntaxError* error);
    // Reads one statement starting at token index `from` (`first` when it opens the batch, where a
    // bare procedure name is an EXEC). Gives the index one past its last token, or -1 with the error
    // and, in *errorAt, the index of the offending token.
    int ReadOneStatement(int from, bool first, SqlSyntaxError* error, int* errorAt = nullptr);
    // Reads a query (a view's or an inline function's, from `from`) up to the end of the batch; an
    // optional WITH CHECK OPTION and semicolon may close it.
    int ReadModuleQuery(int from, SqlSyntaxError* error, int* errorAt = nullptr);

private:
    struct Failure {};
    class Depth {
    public:
        Depth(SqlGrammar& g, int& depth, int limit);
        ~Depth() { --mDepth; }
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;

    private:
        int& mDepth;
    };

    // Tokens
    const SqlToken& Peek(int ahead = 0) const;
    const SqlToken& Next();
    bool AtEnd() const { return Peek().kind == SqlToken::Kind::End; }
    bool Is(const char* word, int ahead = 0) const { return Peek(ahead).IsWord(word); }
    bool IsSym(const char* s, int ahead = 0) const { return Peek(ahead).IsSymbol(s); }
    bool Accept(const char* word);
    bool AcceptSym(const char* s);
    void Expect(const char* word);
    void ExpectSym(const char* s);
    [[noreturn]] void Fail();
    [[noreturn]] void FailAt(int index);
    bool IsIdentifier(int ahead = 0) const; // a name that isn't a reserved word
    bool IsStatementStart(int ahead = 0) const;
    bool AtStatementEnd() const;                // end of batch, ';' or the start of another statement
    bool IsCompoundAssign(int ahead = 0) const; // +=, %=, &= ...: two tokens for some of them
    void SkipCompoundAssign();

    // Names, types, literals
    void Name();
    void MultiName();
    void NameOrVariable();
    void NameList(); // ( a, b, ... )
    void DataType();
    void Literal();     // a signed number, a string, NULL, a variable: defaults and option values
    void Balanced();    // ( ... ) with its nested parentheses, read unchecked
    void GenericTail(); // option clauses of administrative statements, to the statement's end
    void OptionList();  // ( name [= value], ... )

    // Statements (SqlGrammar.cpp)
    void Statement(bool first);
    void StatementsUntilEnd(); // statements until END
    void BlockOrStatement();
    void If();
    void Declare();
    void Set();
    void Exec(bool implicit);
    void ExecArguments();
    void Raiserror();
    void Throw();
    void Transaction(); // BEGIN/COMMIT/ROLLBACK/SAVE ...
    void CursorStatement();
    void CursorDefinition();
    void Waitfor();
    void Dbcc();
    void ExecuteAs();

    // Queries and data changes (SqlGrammarQuery.cpp)
    void Expr();
    void ExprOr();
    void ExprAnd();
    void ExprNot();
    void Predicate();
    void Additive();
    void Unary();
    void Postfix();
    void Primary();
    void FunctionArguments(bool aggregateLike);
    void OverClause();
    void WindowSpecification();
    void CaseExpr();
    void SubqueryOrExprList(); // after '(' of IN
    void Query();              // query expression with ORDER BY, FOR, OPTION
    void QueryBody();
    void QueryTerm();
    void QuerySpecification();
    void SelectItem();
    void OrderBy();
    void ForClause();
    void OptionClause();
    void GroupBy();
    void GroupingElement();
    void TableSources();
    void TableSource();
    void TablePrimary();
    void TableAlias(bool columnsAllowed);
    void TableHints();
    void WithCommonTables();
    void StatementAfterWith();
    void Insert();
    void Update();
    void Delete();
    void Merge();
    void Output();
    void Top();
    void DmlTarget();
    void SetAssignments();
    void WhereClause();
    void OpenJsonWith();

    // CREATE, ALTER, DROP and the other definitions (SqlGrammarDdl.cpp)
    void Create(bool first);
    void Alter(bool first);
    void Drop();
    void Module(bool first, const QString& kind);
    void Parameters(bool parenthesised);
    void ModuleOptions();
    void ModuleBody();
    void TableDefinition(); // ( column | constraint | index, ... )
    void ColumnDefinition();
    void ColumnConstraint();
    bool TableConstraint();
    void IndexColumns();
    void IndexTail();
    void CreateTable();
    void AlterTable();
    void CreateIndex();
    void CreateType();
    void CreateSchema();
    void Permission();
    void Truncate();
    void BulkInsert();
    void UpdateStatistics();

    const QList<SqlToken>& mTokens;
    int mPos = 0;
    int mStatementDepth = 0;
    int mExpressionDepth = 0;
    int mFailAt = -1;
};
