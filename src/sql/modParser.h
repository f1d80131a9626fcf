#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The one scanner of Transact-SQL text. It cuts a text into tokens that know comments, string
// literals and bracketed names, and offers the few services the rest of the system builds on.
// Stateless; every function is safe on any input.
namespace modParser {

enum class TokenKind { Word = 0, BlockComment = 1, LineComment = 2, BracketedName = 3, StringLiteral = 4 };

struct SQLToken {
    QString Text;  // delimiters included: brackets, quotes, comment marks
    int Start = 1; // position of the first character in the scanned text, from 1
    int Length = 0;
    TokenKind Kind = TokenKind::Word;
};

using SQLTokens = QList<SQLToken>;

// The word sequences that may precede a name: each inner list is one alternative, and every
// alternative has the same number of words, e.g. {{"CREATE","PROC"},{"CREATE","PROCEDURE"}}.
using SQLKeywords = QList<QStringList>;

// The token table of a text. Without keepComments the comment rows are left out; positions still
// refer to the whole text.
SQLTokens TokenizeSQL(const QString& text, bool keepComments);

// The batches of a script cut at each GO word; always at least one element (the list is 0-based).
QStringList SplitSQLBatches(const QString& text);

// The name written after the first matching keyword sequence, as written ([dbo].[x], dbo.x, ...);
// "" when no sequence matches. A parameter list written right after the name is not part of it.
QString FindNameAfterKeywords(const SQLKeywords& keywords, const QString& text);

// The text with the name after the first matching sequence replaced by newName; "" when no sequence
// matches. oldName receives the replaced part.
QString ReplaceNameAfterKeywords(const SQLKeywords& keywords, const QString& text, const QString& newName,
                                 QString& oldName);

// The text with the first code word equal to word (any case) replaced; "" when there is none.
QString ReplaceFirstWord(const QString& text, const QString& word, const QString& replacement);

bool SQLTextsEqual(const QString& a, const QString& b, bool trimStart, bool trimEnd);

// Tabs, line ends and blanks off one end.
QString TrimLeadingBlanks(const QString& text);
QString TrimTrailingBlanks(const QString& text);

} // namespace modParser
