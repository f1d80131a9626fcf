#include "SqlGrammar.h"
#include "SqlLexer.h"
#include "SqlParser.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <random>

namespace {

bool Recognizes(const QString& batch, SqlSyntaxError* error = nullptr) {
    SqlLexError lexError;
    const QList<SqlToken> tokens = SqlLexer::Tokenize(batch, true, &lexError);
    SqlSyntaxError e;
    const bool ok = SqlGrammar(tokens).CheckBatch(&e);
    if (error)
        *error = e;
    return ok;
}

QList<SqlStatementP> Parse(const QString& batch, QList<SqlSyntaxError>* errors) {
    return SqlParser(batch, true).ParseBatch(errors);
}

// Random token soup: any sequence of words, symbols and literals must give an answer, never a crash
// or a hang, through the recognizer alone and through the parser that falls back on it.
TEST(SqlGrammar, TokenSoupNeverCrashesOrHangs) {
    static const char* vocabulary[] = {
        "SELECT",  "FROM",   "WHERE",   "(",      ")",      ",",         ";",      ".",      "::",
        "=",       "+",      "-",       "*",      "<",      "@a",        "@@x",    "1",      "'s'",
        "N'n'",    "[q]",    "name",    "BEGIN",  "END",    "TRY",       "CATCH",  "IF",     "ELSE",
        "WHILE",   "CASE",   "WHEN",    "THEN",   "WITH",   "AS",        "OVER",   "ORDER",  "BY",
        "GROUP",   "UNION",  "MERGE",   "USING",  "ON",     "MATCHED",   "INSERT", "INTO",   "VALUES",
        "UPDATE",  "SET",    "DELETE",  "EXEC",   "CREATE", "PROCEDURE", "TABLE",  "VIEW",   "FUNCTION",
        "RETURNS", "RETURN", "DECLARE", "CURSOR", "FOR",    "XML",       "PATH",   "OUTPUT", "TOP",
        "NOT",     "NULL",   "AND",     "OR",     "IN",     "EXISTS",    "$",      "{",      "}",
        "JOIN",    "APPLY",  "CROSS",   "PIVOT",  "THROW",  "GOTO",      "label:", "ALTER"};
    std::mt19937 random(20261124);
    std::uniform_int_distribution<int> pick(0, int(std::size(vocabulary)) - 1);
    std::uniform_int_distribution<int> length(1, 80);
    for (int round = 0; round < 3000; ++round) {
        QStringList words;
        const int n = length(random);
        for (int i = 0; i < n; ++i)
            words.append(QString::fromLatin1(vocabulary[pick(random)]));
        const QString batch = words.join(round % 3 == 0 ? QStringLiteral("\n") : QStringLiteral(" "));
        Recognizes(batch);
        QList<SqlSyntaxError> errors;
        Parse(batch, &errors);
    }
}

// Nesting beyond the parser's limits is error 191 from the recognizer too, not a stack overflow.
TEST(SqlGrammar, DeepNestingIsError191) {
    const struct {
        QString open, middle, close;
    } shapes[] = {
        {QStringLiteral("("), QStringLiteral("1"), QStringLiteral(")")},
        {QStringLiteral("BEGIN "), QStringLiteral("PRINT 1 "), QStringLiteral("END ")},
        {QStringLiteral("~"), QStringLiteral("1"), QString()},
        {QStringLiteral("(SELECT "), QStringLiteral("1"), QStringLiteral(")")},
        {QStringLiteral("IF 1=1 "), QStringLiteral("PRINT 1"), QString()},
    };
    for (const auto& shape : shapes) {
        const QString batch =
            QStringLiteral("SELECT ") + shape.open.repeated(5000) + shape.middle + shape.close.repeated(5000);
        const QString statement = shape.open.startsWith(QLatin1String("BEGIN")) || shape.open.startsWith(u'I')
                                      ? shape.open.repeated(5000) + shape.middle + shape.close.repeated(5000)
                                      : batch;
        SqlSyntaxError error;
        EXPECT_FALSE(Recognizes(statement, &error)) << shape.open.toStdString();
        EXPECT_EQ(error.number, 191) << shape.open.toStdString();
        QList<SqlSyntaxError> errors;
        Parse(statement, &errors);
        ASSERT_FALSE(errors.isEmpty());
        EXPECT_EQ(errors.first().number, 191) << shape.open.toStdString();
    }
}

// The recognizer reads the whole language: it must take every batch the tree parser takes. The
// engine's own scripts are the sample.
TEST(SqlGrammar, TakesEverythingTheTreeParserTakes) {
    const QDir dir(QStringLiteral(TARMO_SQL_SCRIPTS));
    int checked = 0;
    for (const QString& name : dir.entryList({QStringLiteral("*.test")}, QDir::Files)) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text));
        const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
        for (int i = 0; i < lines.size(); ++i) {
            const QString head = lines[i].trimmed();
            if (head.isEmpty() || head.startsWith(u'#') || head.startsWith(QLatin1String("connect")))
                continue;
            const int headLine = i + 1;
            QStringList sql;
            for (++i; i < lines.size() && !lines[i].trimmed().isEmpty() && lines[i] != QLatin1String("----");
                 ++i)
                sql.append(lines[i]);
            while (i < lines.size() && !lines[i].trimmed().isEmpty())
                ++i;
            if (head.startsWith(QLatin1String("syntax")) || sql.isEmpty())
                continue;
            const QString batch = sql.join(u'\n');
            QList<SqlSyntaxError> errors;
            const QList<SqlStatementP> statements = Parse(batch, &errors);
            bool fellBack = false;
            for (const SqlStatementP& s : statements)
                fellBack = fellBack || s->kind == SqlStatement::Kind::Unsupported;
            if (!errors.isEmpty() || fellBack)
                continue;
            SqlSyntaxError error;
            EXPECT_TRUE(Recognizes(batch, &error)) << name.toStdString() << ":" << headLine << ": "
                                                   << error.text.toStdString() << " line " << error.line;
            ++checked;
        }
    }
    EXPECT_GT(checked, 200);
}

// And the other way round: what the recognizer takes, the server's parser takes too (falling back on
// the recognizer where it must), so parse-only and CREATE accept every case the grammar scripts hold.
TEST(SqlGrammar, TheServerParsesWhatTheRecognizerTakes) {
    const QDir dir(QStringLiteral(TARMO_SQL_SCRIPTS));
    int checked = 0;
    for (const QString& name : dir.entryList({QStringLiteral("syntax_*.test")}, QDir::Files)) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text));
        const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
        for (int i = 0; i < lines.size(); ++i) {
            if (lines[i].trimmed() != QLatin1String("syntax ok"))
                continue;
            const int headLine = i + 1;
            QStringList sql;
            for (++i; i < lines.size() && !lines[i].trimmed().isEmpty(); ++i)
                sql.append(lines[i]);
            QList<SqlSyntaxError> errors;
            Parse(sql.join(u'\n'), &errors);
            EXPECT_TRUE(errors.isEmpty())
                << name.toStdString() << ":" << headLine << ": "
                << (errors.isEmpty() ? std::string() : errors.first().text.toStdString()) << " line "
                << (errors.isEmpty() ? 0 : errors.first().line);
            ++checked;
        }
    }
    EXPECT_GT(checked, 30);
}

// Where the tree parser fails on valid T-SQL, the statement is kept as one that names what the
// engine can't run, at its own line; the statements around it stay runnable.
TEST(SqlParserFallback, KeepsValidStatementsTheEngineCannotRun) {
    QList<SqlSyntaxError> errors;
    const QList<SqlStatementP> statements = Parse(QStringLiteral("SELECT 1\n"
                                                                 "MERGE t USING s ON t.a = s.a\n"
                                                                 "WHEN MATCHED THEN DELETE;\n"
                                                                 "SELECT name FROM t FOR XML EXPLICIT\n"
                                                                 "PRINT 'done'"),
                                                  &errors);
    ASSERT_TRUE(errors.isEmpty()) << errors.first().text.toStdString();
    ASSERT_EQ(statements.size(), 4);
    EXPECT_EQ(statements[0]->kind, SqlStatement::Kind::Select);
    EXPECT_EQ(statements[1]->kind, SqlStatement::Kind::Merge);
    EXPECT_EQ(statements[1]->line, 2);
    EXPECT_EQ(statements[2]->kind, SqlStatement::Kind::Unsupported);
    EXPECT_EQ(statements[2]->construct, QStringLiteral("FOR XML EXPLICIT"));
    EXPECT_EQ(statements[2]->line, 4);
    EXPECT_EQ(statements[3]->kind, SqlStatement::Kind::Print);
}

// The error a kept statement gives when it runs names what the engine lacks, not just the statement.
TEST(SqlParserFallback, NamesTheConstruct) {
    const struct {
        const char* statement;
        const char* construct;
    } cases[] = {
        {"RECONFIGURE WITH OVERRIDE", "RECONFIGURE"},
        {"DELETE FROM t WHERE a IN (SELECT a FROM u) OPTION (HASH JOIN)", "query hints (OPTION)"},
        {"SELECT a FROM t ORDER BY a FOR XML EXPLICIT, ROOT('x')", "FOR XML EXPLICIT"},
        {"SELECT a, SUM(b) FROM t JOIN OPENROWSET(BULK 'f', SINGLE_CLOB) AS x ON 1 = 1 GROUP BY a",
         "OPENROWSET"},
    };
    for (const auto& c : cases) {
        QList<SqlSyntaxError> errors;
        const QList<SqlStatementP> statements = Parse(QString::fromLatin1(c.statement), &errors);
        ASSERT_TRUE(errors.isEmpty()) << c.statement << ": " << errors.first().text.toStdString();
        ASSERT_EQ(statements.size(), 1) << c.statement;
        EXPECT_EQ(statements[0]->kind, SqlStatement::Kind::Unsupported) << c.statement;
        EXPECT_EQ(statements[0]->construct, QString::fromLatin1(c.construct)) << c.statement;
    }
}

TEST(SqlParserFallback, ModuleBodiesKeepTheirRunnableStatements) {
    QList<SqlSyntaxError> errors;
    const QList<SqlStatementP> statements =
        Parse(QStringLiteral("CREATE PROCEDURE p @c CURSOR VARYING OUTPUT WITH EXECUTE AS OWNER AS\n"
                             "SET NOCOUNT ON\n"
                             "IF 1 = 1\n"
                             "BEGIN\n"
                             "    SELECT a, COUNT(*) FROM OPENROWSET(BULK 'f', SINGLE_CLOB) AS x GROUP BY a\n"
                             "    SELECT 2\n"
                             "END"),
              &errors);
    ASSERT_TRUE(errors.isEmpty()) << errors.first().text.toStdString();
    ASSERT_EQ(statements.size(), 1);
    const SqlStatement& module = *statements[0];
    ASSERT_EQ(module.kind, SqlStatement::Kind::CreateModule);
    ASSERT_EQ(module.body.size(), 2);
    const SqlStatement& block = *module.body[1]->body[0];
    ASSERT_EQ(block.body.size(), 2);
    EXPECT_EQ(block.body[0]->kind, SqlStatement::Kind::Unsupported);
    EXPECT_EQ(block.body[0]->line, 5);
    EXPECT_EQ(block.body[1]->kind, SqlStatement::Kind::Select);
}

// A real syntax error is reported where the server would report it, also past a construct the
// tree parser doesn't know, and the batch is not kept.
TEST(SqlParserFallback, SyntaxErrorsPointAtTheOffendingToken) {
    const struct {
        const char* batch;
        long number;
        int line;
        const char* text;
    } cases[] = {
        {"SELECT ROW_NUMBER() OVER (ORDER BY a)\nFROM t\nWHERE a =", 102, 3, "Incorrect syntax near '='."},
        {"BEGIN TRY\n  SELECT 1\nEND TRY\nPRINT 1", 156, 4, "Incorrect syntax near the keyword 'PRINT'."},
        {"CREATE PROCEDURE p AS\nMERGE t USING s ON 1 = 1\nWHEN MATCHED THEN SELECT;", 156, 3,
         "Incorrect syntax near the keyword 'SELECT'."},
        {"SELECT 1 +", 102, 1, "Incorrect syntax near '+'."},
    };
    for (const auto& c : cases) {
        QList<SqlSyntaxError> errors;
        Parse(QString::fromLatin1(c.batch), &errors);
        ASSERT_FALSE(errors.isEmpty()) << c.batch;
        EXPECT_EQ(errors.first().number, c.number) << c.batch;
        EXPECT_EQ(errors.first().line, c.line) << c.batch;
        EXPECT_EQ(errors.first().text, QString::fromLatin1(c.text)) << c.batch;
    }
}

} // namespace
