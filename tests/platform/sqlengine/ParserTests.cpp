#include "SqlLexer.h"
#include "SqlParser.h"

#include <gtest/gtest.h>

namespace {

QList<SqlToken> Tokens(const QString& text, bool quotedIdentifier = true) {
    SqlLexError error;
    QList<SqlToken> tokens = SqlLexer::Tokenize(text, quotedIdentifier, &error);
    EXPECT_EQ(error.number, 0) << error.text.toStdString();
    tokens.removeLast(); // End
    return tokens;
}

QList<SqlSyntaxError> Errors(const QString& batch) {
    QList<SqlSyntaxError> errors;
    SqlParser(batch, true).ParseBatch(&errors);
    return errors;
}

QList<SqlStatementP> Statements(const QString& batch) {
    QList<SqlSyntaxError> errors;
    QList<SqlStatementP> list = SqlParser(batch, true).ParseBatch(&errors);
    EXPECT_TRUE(errors.isEmpty()) << (errors.isEmpty() ? std::string() : errors.first().text.toStdString());
    return list;
}

TEST(SqlLexer, StringsNamesAndVariables) {
    const auto t = Tokens(QStringLiteral("N'it''s' 'x' [a]]b] \"q\" @v @@ROWCOUNT #tmp"));
    ASSERT_EQ(t.size(), 7);
    EXPECT_EQ(t[0].kind, SqlToken::Kind::String);
    EXPECT_TRUE(t[0].unicode);
    EXPECT_EQ(t[0].text, QStringLiteral("it's"));
    EXPECT_EQ(t[0].raw, QStringLiteral("N'it''s'"));
    EXPECT_FALSE(t[1].unicode);
    EXPECT_EQ(t[2].kind, SqlToken::Kind::QuotedName);
    EXPECT_EQ(t[2].text, QStringLiteral("a]b"));
    EXPECT_EQ(t[3].kind, SqlToken::Kind::QuotedName);
    EXPECT_EQ(t[4].kind, SqlToken::Kind::Variable);
    EXPECT_EQ(t[5].text, QStringLiteral("@@ROWCOUNT"));
    EXPECT_EQ(t[6].kind, SqlToken::Kind::Word);
    // With QUOTED_IDENTIFIER OFF a double-quoted text is a string.
    EXPECT_EQ(Tokens(QStringLiteral("\"q\""), false)[0].kind, SqlToken::Kind::String);
}

TEST(SqlLexer, CommentsNestAndCountLines) {
    const auto t = Tokens(QStringLiteral("a /* one /* two */ still */ b -- rest\r\nc\n/*\n*/d"));
    ASSERT_EQ(t.size(), 4);
    EXPECT_EQ(t[1].text, QStringLiteral("b"));
    EXPECT_EQ(t[2].text, QStringLiteral("c"));
    EXPECT_EQ(t[2].line, 2);
    EXPECT_EQ(t[3].line, 4);
    // A string or name that spans lines moves the lines of what follows.
    const auto m = Tokens(QStringLiteral("'a\nb' [c\nd] e"));
    EXPECT_EQ(m[2].line, 3);
}

TEST(SqlLexer, NumbersAndOperators) {
    const auto t = Tokens(QStringLiteral("1.5e3 .5 0x1F 10<>2 a>=b !< c.d"));
    QStringList texts;
    for (const SqlToken& k : t)
        texts.append(k.text);
    EXPECT_EQ(texts, (QStringList{QStringLiteral("1.5e3"), QStringLiteral(".5"), QStringLiteral("0x1F"),
                                  QStringLiteral("10"), QStringLiteral("<>"), QStringLiteral("2"),
                                  QStringLiteral("a"), QStringLiteral(">="), QStringLiteral("b"),
                                  QStringLiteral("!<"), QStringLiteral("c"), QStringLiteral("."),
                                  QStringLiteral("d")}));
}

TEST(SqlLexer, UnclosedTextsAreTheServersErrors) {
    SqlLexError error;
    SqlLexer::Tokenize(QStringLiteral("SELECT 1\nSELECT 'abc"), true, &error);
    EXPECT_EQ(error.number, 105);
    EXPECT_EQ(error.line, 2);
    SqlLexError comment;
    SqlLexer::Tokenize(QStringLiteral("/* a /* b */"), true, &comment);
    EXPECT_EQ(comment.number, 113);
}

TEST(SqlParser, StatementsNeedNoSeparator) {
    const auto s = Statements(
        QStringLiteral("SELECT 1 SELECT 2; PRINT 'x' IF 1 = 1 SELECT 3 ELSE SELECT 4 DECLARE @a int"));
    ASSERT_EQ(s.size(), 5);
    EXPECT_EQ(s[0]->kind, SqlStatement::Kind::Select);
    EXPECT_EQ(s[1]->kind, SqlStatement::Kind::Select);
    EXPECT_EQ(s[2]->kind, SqlStatement::Kind::Print);
    EXPECT_EQ(s[3]->kind, SqlStatement::Kind::If);
    EXPECT_TRUE(s[3]->hasElse);
    EXPECT_EQ(s[4]->kind, SqlStatement::Kind::Declare);
}

TEST(SqlParser, ProcedureNameWithoutExecOnlyFirst) {
    const auto s = Statements(QStringLiteral("sp_helptext 'x'"));
    ASSERT_EQ(s.size(), 1);
    EXPECT_EQ(s[0]->kind, SqlStatement::Kind::Exec);
    EXPECT_EQ(s[0]->procedure, QStringList{QStringLiteral("sp_helptext")});
    const auto errors = Errors(QStringLiteral("PRINT 1\nsp_helptext 'x'"));
    ASSERT_EQ(errors.size(), 1);
    EXPECT_EQ(errors[0].line, 2);
}

TEST(SqlParser, ModulesTakeTheRestOfTheBatch) {
    const auto s =
        Statements(QStringLiteral("-- c\nCREATE PROCEDURE dbo.P @a int = 5, @b varchar(10) OUTPUT\nAS\n"
                                  "SELECT @a\nIF @a > 1 RETURN 1\nPRINT 'x'"));
    ASSERT_EQ(s.size(), 1);
    const SqlStatement& p = *s[0];
    EXPECT_EQ(p.kind, SqlStatement::Kind::CreateModule);
    EXPECT_EQ(p.objectKind, QStringLiteral("PROCEDURE"));
    EXPECT_EQ(p.target, (QStringList{QStringLiteral("dbo"), QStringLiteral("P")}));
    ASSERT_EQ(p.params.size(), 2);
    EXPECT_TRUE(p.params[0].defaultValue);
    EXPECT_TRUE(p.params[1].output);
    EXPECT_EQ(p.params[1].type.length, 10);
    EXPECT_EQ(p.body.size(), 3);
    EXPECT_EQ(p.line, 2);
    EXPECT_EQ(p.keywordBegin, 5);

    const auto trigger =
        Statements(QStringLiteral("CREATE TRIGGER [dbo].[t] ON [dbo].[tbl] AFTER UPDATE, DELETE AS PRINT 1"));
    ASSERT_EQ(trigger.size(), 1);
    EXPECT_EQ(trigger[0]->triggerTable, (QStringList{QStringLiteral("dbo"), QStringLiteral("tbl")}));
    EXPECT_EQ(trigger[0]->triggerEvents, (QStringList{QStringLiteral("UPDATE"), QStringLiteral("DELETE")}));
}

TEST(SqlParser, SyntaxErrorsInsideABodyHaveTheirLine) {
    const auto errors = Errors(QStringLiteral("CREATE PROC p AS\nSELECT 1\nSELECT * FROM WHERE\n"));
    ASSERT_FALSE(errors.isEmpty());
    EXPECT_EQ(errors[0].number, 156);
    EXPECT_EQ(errors[0].text, QStringLiteral("Incorrect syntax near the keyword 'WHERE'."));
    EXPECT_EQ(errors[0].line, 3);
    const auto second = Errors(QStringLiteral("SELECT 1\nCREATE VIEW v AS SELECT 1"));
    ASSERT_EQ(second.size(), 1);
    EXPECT_EQ(second[0].number, 111);
    EXPECT_EQ(second[0].text, QStringLiteral("'CREATE VIEW' must be the first statement in a query batch."));
    EXPECT_EQ(second[0].line, 2);
}

TEST(SqlParser, ExpressionsBindAsTheServerDoes) {
    const auto s = Statements(
        QStringLiteral("SELECT a FROM t WHERE NOT a = 1 AND b = 2 OR c LIKE 'x%' AND d NOT IN (1, 2)"));
    ASSERT_EQ(s.size(), 1);
    const SqlExprP where = s[0]->select->cores[0].where;
    ASSERT_EQ(where->kind, SqlExpr::Kind::Binary);
    EXPECT_EQ(where->text, QStringLiteral("OR"));
    EXPECT_EQ(where->args[0]->text, QStringLiteral("AND"));
    EXPECT_EQ(where->args[0]->args[0]->text, QStringLiteral("NOT"));
    EXPECT_EQ(where->args[1]->args[1]->kind, SqlExpr::Kind::In);
    EXPECT_TRUE(where->args[1]->args[1]->negated);
    const auto arith = Statements(QStringLiteral("SELECT 1 + 2 * 3 - 4"));
    const SqlExprP e = arith[0]->select->cores[0].items[0].expr;
    EXPECT_EQ(e->text, QStringLiteral("-"));
    EXPECT_EQ(e->args[0]->text, QStringLiteral("+"));
    EXPECT_EQ(e->args[0]->args[1]->text, QStringLiteral("*"));
}

TEST(SqlParser, SelectItemsAndAliases) {
    const auto s =
        Statements(QStringLiteral("SELECT x = 1, 2 AS 'two', 3 three, [four] = 4, t.*, *, @v = 5 FROM t"));
    // @v = 5 mixed with others parses; the executor refuses the mix.
    const auto& items = s[0]->select->cores[0].items;
    ASSERT_EQ(items.size(), 7);
    EXPECT_EQ(items[0].alias, QStringLiteral("x"));
    EXPECT_EQ(items[1].alias, QStringLiteral("two"));
    EXPECT_EQ(items[2].alias, QStringLiteral("three"));
    EXPECT_EQ(items[3].alias, QStringLiteral("four"));
    EXPECT_EQ(items[4].expr->kind, SqlExpr::Kind::Star);
    EXPECT_EQ(items[4].expr->parts, QStringList{QStringLiteral("t")});
    EXPECT_TRUE(items[5].expr->parts.isEmpty());
    EXPECT_EQ(items[6].assignTo, QStringLiteral("@v"));
}

TEST(SqlParser, NamesFromStrings) {
    EXPECT_EQ(SqlParser::SplitName(QStringLiteral("[dbo].[my.proc]")),
              (QStringList{QStringLiteral("dbo"), QStringLiteral("my.proc")}));
    EXPECT_EQ(SqlParser::SplitName(QStringLiteral("master..syslogins")),
              (QStringList{QStringLiteral("master"), QString(), QStringLiteral("syslogins")}));
    EXPECT_EQ(SqlParser::SplitName(QStringLiteral(" x ")), QStringList{QStringLiteral("x")});
    EXPECT_TRUE(SqlParser::SplitName(QStringLiteral("a.b.c.d.e")).isEmpty());
    EXPECT_TRUE(SqlParser::SplitName(QStringLiteral("[unclosed")).isEmpty());
    const SqlTypeSpec t = SqlParser::ParseType(QStringLiteral("decimal(10, 2)"));
    EXPECT_EQ(t.name, QStringLiteral("decimal"));
    EXPECT_EQ(t.precision, 10);
    EXPECT_EQ(t.scale, 2);
    EXPECT_EQ(SqlParser::ParseType(QStringLiteral("nvarchar(max)")).length, -2);
}

TEST(SqlParser, ErrorsAfterTheFirstAreFoundToo) {
    const auto errors = Errors(QStringLiteral("SELECT * FORM a\nPRINT 1\nUPDATE SET x = 1\nSELECT 1"));
    ASSERT_EQ(errors.size(), 2);
    EXPECT_EQ(errors[0].line, 1);
    EXPECT_EQ(errors[1].line, 3);
    EXPECT_EQ(errors[1].number, 156);
}

} // namespace
