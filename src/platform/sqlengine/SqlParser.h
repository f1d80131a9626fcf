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
class SqlParser {
public:
    SqlParser(const QString& batch, bool quotedIdentifier);
    QList<SqlStatementP> ParseBatch(QList<SqlSyntaxError>* errors);

    // Parses a name as written in a string ('[dbo].[x]', 'dbo.x', 'x'); empty on a malformed name.
    static QStringList SplitName(const QString& name);
    // Parses a type name such as "nvarchar(50)"; invalid on a malformed text.
    static SqlTypeSpec ParseType(const QString& text);

    const QString& Text() const { return mText; }

private:
    struct Failure {};

    const SqlToken& Peek(int ahead = 0) const;
    const SqlToken& Next();
    bool AtEnd() const { return Peek().kind == SqlToken::Kind::End; }
    bool AcceptWord(const char* word);
    bool AcceptSymbol(const char* symbol);
    void ExpectWord(const char* word);
    void ExpectSymbol(const char* symbol);
    [[noreturn]] void Fail(const SqlToken& at);
    [[noreturn]] void Unsupported(const QString& construct, int line);
    bool IsStatementStart(const SqlToken& t) const;

    QString ParseName(); // one identifier
    QStringList ParseMultiPartName();
    SqlTypeSpec ParseTypeSpec();

    SqlStatementP ParseStatement(bool first);
    SqlStatementP ParseCreate(bool first, bool alter);
    SqlStatementP ParseModule(bool first, bool alter, const SqlToken& keyword);
    SqlStatementP ParseCreateTable(SqlStatementP s);
    void ParseColumnDef(SqlColumnDef& c);
    void ParseTableBody(const SqlStatementP& s);
    SqlStatementP ParseDrop();
    SqlStatementP ParseIf();
    SqlStatementP ParseDeclare();
    SqlStatementP ParseSet();
    SqlStatementP ParseExec(bool implicit);
    SqlStatementP ParsePermission();
    SqlStatementP ParseInsert();
    SqlStatementP ParseUpdate();
    SqlStatementP ParseDelete();
    QList<SqlParam> ParseParams(bool parenthesised);
    QList<SqlStatementP> ParseStatementsToEnd();
    SqlStatementP ParseBlockOrStatement();

    SqlSelectP ParseSelect();
    SqlSelectCore ParseSelectCore();
    QList<SqlTableRefP> ParseFromList();
    SqlTableRefP ParseTableRef();
    SqlTableRefP ParseTablePrimary();
    QString ParseOptionalAlias();

    SqlExprP ParseExpr();
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
};
