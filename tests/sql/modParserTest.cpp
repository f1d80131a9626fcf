#include "modParser.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>

using namespace modParser;

namespace {

QStringList texts(const SQLTokens& rows) {
    QStringList out;
    for (const SQLToken& t : rows)
        out << t.Text;
    return out;
}

const SQLKeywords kProc = {{"create", "proc"}, {"create", "procedure"}};
const QString kCRLF = QStringLiteral("\r\n");

} // namespace

TEST(TokenizeSQL, KindsPositionsAndDelimitersKept) {
    const QString sql = QStringLiteral("SELECT [a b], 'x' /* c */ -- d\nFROM t");
    const SQLTokens rows = TokenizeSQL(sql, true);
    EXPECT_EQ(texts(rows), QStringList({"SELECT", "[a b]", ",", "'x'", "/* c */", "-- d", "FROM", "t"}));
    ASSERT_EQ(rows.size(), 8);
    EXPECT_EQ(rows[1].Kind, TokenKind::BracketedName);
    EXPECT_EQ(rows[3].Kind, TokenKind::StringLiteral);
    EXPECT_EQ(rows[4].Kind, TokenKind::BlockComment);
    EXPECT_EQ(rows[5].Kind, TokenKind::LineComment);
    for (const SQLToken& t : rows) {
        EXPECT_EQ(sql.mid(t.Start - 1, t.Length), t.Text) << t.Text.toStdString();
        EXPECT_EQ(t.Length, t.Text.size());
    }
    // The comma stays an ordinary word character after a bracket closes the name.
    EXPECT_EQ(rows[2].Start, 13);
}

TEST(TokenizeSQL, ParenthesisStaysAtTheHeadOfTheFollowingWord) {
    EXPECT_EQ(texts(TokenizeSQL(QStringLiteral("proc x(@a int)"), true)),
              QStringList({"proc", "x", "(@a", "int)"}));
    EXPECT_EQ(texts(TokenizeSQL(QStringLiteral("f((a),b)"), true)), QStringList({"f", "(", "(a),b)"}));
}

TEST(TokenizeSQL, OwnerAndBracketedNameAreTwoTouchingRows) {
    const SQLTokens rows = TokenizeSQL(QStringLiteral("dbo.[x]"), true);
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].Text, "dbo.");
    EXPECT_EQ(rows[1].Text, "[x]");
    EXPECT_EQ(rows[0].Start + rows[0].Length, rows[1].Start);
}

TEST(TokenizeSQL, DoubledQuoteGivesTwoAdjacentStrings) {
    const SQLTokens rows = TokenizeSQL(QStringLiteral("'O''Brien'"), true);
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].Text, "'O'");
    EXPECT_EQ(rows[1].Text, "'Brien'");
    EXPECT_EQ(rows[1].Start, 4);
    EXPECT_EQ(rows[1].Kind, TokenKind::StringLiteral);
}

TEST(TokenizeSQL, CommentsAndUnclosedTokens) {
    // A line comment keeps its CR but not its LF; at the end of the text it still is a comment.
    SQLTokens rows = TokenizeSQL(QStringLiteral("a -- x\r\nb -- tail"), true);
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows[1].Text, "-- x\r");
    EXPECT_EQ(rows[3].Text, "-- tail");
    EXPECT_EQ(rows[3].Kind, TokenKind::LineComment);

    // Whatever never closes is one last token of its kind.
    rows = TokenizeSQL(QStringLiteral("x /* open\ncomment"), true);
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[1].Kind, TokenKind::BlockComment);
    EXPECT_EQ(rows[1].Text, "/* open\ncomment");
    rows = TokenizeSQL(QStringLiteral("x 'open"), true);
    EXPECT_EQ(rows.last().Kind, TokenKind::StringLiteral);

    // An opener as the very last thing has had no second step: it stays a plain word.
    for (const char* tail : {"'", "[", "--", "/*"}) {
        rows = TokenizeSQL(QStringLiteral("x ") + QLatin1String(tail), true);
        ASSERT_EQ(rows.size(), 2) << tail;
        EXPECT_EQ(rows[1].Kind, TokenKind::Word) << tail;
        EXPECT_EQ(rows[1].Text, QLatin1String(tail));
    }

    // "/*/" does not close the comment it opens.
    rows = TokenizeSQL(QStringLiteral("/*/ x */y"), true);
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].Text, "/*/ x */");
    EXPECT_EQ(rows[1].Text, "y");
}

TEST(TokenizeSQL, WithoutCommentsPositionsStillReferToTheWholeText) {
    const QString sql = QStringLiteral("CREATE/*c*/PROC x");
    const SQLTokens rows = TokenizeSQL(sql, false);
    EXPECT_EQ(texts(rows), QStringList({"CREATE", "PROC", "x"}));
    EXPECT_EQ(rows[1].Start, 12);
    EXPECT_TRUE(TokenizeSQL(QString(), true).isEmpty());
    EXPECT_TRUE(TokenizeSQL(QStringLiteral(" \t\r\n "), true).isEmpty());
}

TEST(SplitSQLBatches, GoSeparatesOnlyAsACodeWord) {
    QStringList b = SplitSQLBatches(QStringLiteral("select 1 -- go\ngo\nselect 2"));
    ASSERT_EQ(b.size(), 2);
    EXPECT_EQ(b[0], "select 1 -- go\n");
    EXPECT_EQ(b[1], "\nselect 2");

    for (const char* s : {"select /* go */ 1", "select 'go'", "select [go]", "select 1 GO;", "select gone"})
        EXPECT_EQ(SplitSQLBatches(QLatin1String(s)).size(), 1) << s;

    // GO need not stand alone on its line, and in any case.
    b = SplitSQLBatches(QStringLiteral("select 1 Go select 2"));
    ASSERT_EQ(b.size(), 2);
    EXPECT_EQ(b[0], "select 1 ");
    EXPECT_EQ(b[1], " select 2");
}

TEST(SplitSQLBatches, AlwaysAtLeastOneBatchAndATrailingGoLeavesAnEmptyOne) {
    EXPECT_EQ(SplitSQLBatches(QString()), QStringList({""}));
    const QStringList b = SplitSQLBatches(QStringLiteral("create proc p as select 1") + kCRLF + "GO");
    ASSERT_EQ(b.size(), 2);
    EXPECT_EQ(b[0], QStringLiteral("create proc p as select 1") + kCRLF);
    EXPECT_EQ(b[1], "");
    EXPECT_EQ(SplitSQLBatches(QStringLiteral("go\ngo")), QStringList({"", "\n", ""}));
}

TEST(FindNameAfterKeywords, NameFormsComeBackWhole) {
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create proc dbo.x(@a int)")), "dbo.x");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("CREATE PROCEDURE [dbo].[x] AS")), "[dbo].[x]");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create proc dbo.[x]\r\nas")), "dbo.[x]");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create proc [my proc] as")), "[my proc]");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("CREATE/*c*/PROC x as")), "x");
    // A comment between owner and name cuts it.
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create proc dbo./*c*/x as")), "dbo.");
}

TEST(FindNameAfterKeywords, MatchingRulesAndMisses) {
    // Keywords inside comments and strings are not code; the first code match wins.
    const QString sql = QStringLiteral("-- create proc old\nprint 'create proc y'\ncreate proc real as\n"
                                       "create proc second");
    EXPECT_EQ(FindNameAfterKeywords(kProc, sql), "real");
    // The later alternative is tried at each row, not after the whole text.
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("CREATE PROCEDURE a create proc b")), "a");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create proc")), "");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create table t")), "");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QString()), "");
    EXPECT_EQ(FindNameAfterKeywords({}, QStringLiteral("create proc x")), "");
    // Rows after the first keyword need not be plain words.
    const SQLKeywords bracketed = {{"exec", "[sp]"}};
    EXPECT_EQ(FindNameAfterKeywords(bracketed, QStringLiteral("exec [SP] 'x'")), "'x'");
}

TEST(ReplaceNameAfterKeywords, ReplacesTheNameAndReportsTheOldOne) {
    QString old;
    EXPECT_EQ(ReplaceNameAfterKeywords(kProc, QStringLiteral("/* h */\r\ncreate proc [dbo].[a] as select 1"),
                                       QStringLiteral("[dbo].[tmp_1]"), old),
              QStringLiteral("/* h */\r\ncreate proc [dbo].[tmp_1] as select 1"));
    EXPECT_EQ(old, "[dbo].[a]");

    // A parameter list written against the name stays; only the name is replaced.
    EXPECT_EQ(ReplaceNameAfterKeywords(kProc, QStringLiteral("create proc dbo.x(@a int) as"), "y", old),
              "create proc y(@a int) as");
    EXPECT_EQ(old, "dbo.x");
    EXPECT_EQ(
        ReplaceNameAfterKeywords(kProc, QStringLiteral("CREATE PROC [dbo].[Twice](@a int) AS"), "[t]", old),
        "CREATE PROC [t](@a int) AS");
    EXPECT_EQ(old, "[dbo].[Twice]");

    old = "unchanged";
    EXPECT_EQ(ReplaceNameAfterKeywords(kProc, QStringLiteral("select 1"), "y", old), "");
}

TEST(ReplaceNameAfterKeywords, ParenthesesInsideDelimitedNamesBelongToTheName) {
    QString old;
    EXPECT_EQ(
        ReplaceNameAfterKeywords(kProc, QStringLiteral("create proc dbo.[we(ird](@a int) as"), "y", old),
        "create proc y(@a int) as");
    EXPECT_EQ(old, "dbo.[we(ird]");
    EXPECT_EQ(
        ReplaceNameAfterKeywords(kProc, QStringLiteral("create proc \"dbo\".\"we(ird x\"(@a int)"), "y", old),
        "create proc y(@a int)");
    EXPECT_EQ(old, "\"dbo\".\"we(ird x\"");
    EXPECT_EQ(FindNameAfterKeywords(kProc, QStringLiteral("create proc \"a\"\"(\" as")), "\"a\"\"(\"");
    // A doubled ] is part of the name: blanks, quotes and comment marks behind it are too.
    const QString hostile = QStringLiteral("[dbo].[x]] p')) --\r\nDROP ]]]");
    EXPECT_EQ(ReplaceNameAfterKeywords(
                  kProc, QStringLiteral("create proc ") + hostile + QStringLiteral(" as"), "y", old),
              "create proc y as");
    EXPECT_EQ(old, hostile);
}

TEST(ReplaceFirstWord, PassesOverCommentsAndStrings) {
    const QString sql =
        QStringLiteral("/* CREATE here */ print 'create' --create\ncreate view v as select 1");
    EXPECT_EQ(ReplaceFirstWord(sql, "CREATE", "ALTER"),
              QStringLiteral("/* CREATE here */ print 'create' --create\nALTER view v as select 1"));
    EXPECT_EQ(ReplaceFirstWord(QStringLiteral("select 1"), "CREATE", "ALTER"), "");
    // Only a whole token counts.
    EXPECT_EQ(ReplaceFirstWord(QStringLiteral("createx create"), "create", "alter"), "createx alter");
}

TEST(SQLTextsEqual, TrimsOnlyBlanksAndOnlyWhereAsked) {
    const QString a = QStringLiteral("\r\n\t create proc x as select 1 \r\n");
    const QString b = QStringLiteral("create proc x as select 1");
    EXPECT_FALSE(SQLTextsEqual(a, b, false, false));
    EXPECT_FALSE(SQLTextsEqual(a, b, true, false));
    EXPECT_FALSE(SQLTextsEqual(a, b, false, true));
    EXPECT_TRUE(SQLTextsEqual(a, b, true, true));
    // Case and inner white space are never normalized.
    EXPECT_FALSE(SQLTextsEqual(b, b.toUpper(), true, true));
    EXPECT_FALSE(SQLTextsEqual(b, QStringLiteral("create  proc x as select 1"), true, true));
    EXPECT_EQ(TrimLeadingBlanks(QStringLiteral(" \t\r\nx \n")), "x \n");
    EXPECT_EQ(TrimTrailingBlanks(QStringLiteral(" x \t\r\n")), " x");
    EXPECT_EQ(TrimTrailingBlanks(QStringLiteral(" \n")), "");
}

// Random texts built from the characters that drive the scanner's modes: whatever comes in, the
// tokens must be slices of the text in order, the batches must give the text back, and a name that
// is found must be replaceable and restorable.
TEST(ModParserRandom, InvariantsHoldOnAnyInput) {
    const QStringList pieces = {"/*", "*/", "--", "'",  "''",   "[",  "]",      "(",    ")",
                                "go", "GO", " ",  "\n", "\r\n", "\t", "create", "proc", "dbo.",
                                "x",  ".",  ";",  "é",  "\"",   "*",  "/",      "-"};
    QRandomGenerator rng(20261123);
    for (int round = 0; round < 3000; ++round) {
        QString text;
        const int n = static_cast<int>(rng.bounded(40));
        for (int i = 0; i < n; ++i)
            text += pieces[static_cast<int>(rng.bounded(static_cast<quint32>(pieces.size())))];

        const SQLTokens rows = TokenizeSQL(text, true);
        int lastEnd = 1;
        int goCount = 0;
        for (const SQLToken& t : rows) {
            ASSERT_FALSE(t.Text.isEmpty()) << text.toStdString();
            ASSERT_GE(t.Start, lastEnd) << text.toStdString();
            ASSERT_EQ(text.mid(t.Start - 1, t.Length), t.Text) << text.toStdString();
            lastEnd = t.Start + t.Length;
            if (t.Kind == TokenKind::Word && t.Text.compare("go", Qt::CaseInsensitive) == 0)
                ++goCount;
        }
        ASSERT_LE(lastEnd, text.size() + 1);

        const QStringList batches = SplitSQLBatches(text);
        ASSERT_EQ(batches.size(), goCount + 1) << text.toStdString();
        ASSERT_EQ(batches.join(QString()).size() + 2 * goCount, text.size()) << text.toStdString();

        const QString name = FindNameAfterKeywords(kProc, text);
        QString old;
        const QString replaced = ReplaceNameAfterKeywords(kProc, text, QStringLiteral("[N]"), old);
        if (!name.isEmpty()) {
            ASSERT_FALSE(replaced.isEmpty()) << text.toStdString();
            ASSERT_TRUE(old.startsWith(name)) << text.toStdString();
            QString back;
            ASSERT_EQ(ReplaceNameAfterKeywords(kProc, replaced, old, back), text) << text.toStdString();
        }
        ReplaceFirstWord(text, QStringLiteral("create"), QStringLiteral("ALTER"));
    }
}
