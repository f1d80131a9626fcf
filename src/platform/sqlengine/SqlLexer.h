#pragma once

#include <QList>
#include <QString>

// One token of a T-SQL batch. Comments and white space are not tokens; every token knows where it
// stands in the batch so that a statement's text can be cut out exactly as written.
struct SqlToken {
    enum class Kind { Word, QuotedName, Variable, String, Number, Symbol, End };
    Kind kind = Kind::End;
    QString text;  // the value: a name without its brackets, a string without quotes, doubled quotes undone
    QString raw;   // as written
    int line = 1;  // from 1
    int begin = 0; // offset in the batch
    int end = 0;   // one past the last character
    bool unicode = false; // N'...'

    bool IsWord(const char* upper) const {
        return kind == Kind::Word && text.compare(QLatin1String(upper), Qt::CaseInsensitive) == 0;
    }
    bool IsSymbol(const char* s) const { return kind == Kind::Symbol && text == QLatin1String(s); }
    bool IsName() const { return kind == Kind::Word || kind == Kind::QuotedName; }
};

struct SqlLexError {
    long number = 0;
    QString text;
    int line = 0;
};

// Cuts a batch into tokens. Never fails on any input: an unclosed string, name or comment gives the
// server's error and ends the token list.
class SqlLexer {
public:
    static QList<SqlToken> Tokenize(const QString& batch, bool quotedIdentifier, SqlLexError* error);
    // Reserved words: as a bare token they can't be a name.
    static bool IsReserved(const QString& word);
};
