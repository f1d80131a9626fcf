#include "modParser.h"

namespace modParser {

namespace {

enum class Mode { None, BlockComment, LineComment, String, Brackets };

bool isBlank(QChar c) {
    const char16_t u = c.unicode();
    return u == 9 || u == 10 || u == 13 || u == 32;
}

bool startsAt(const QString& text, qsizetype index, const char* pair) {
    return index + 1 < text.size() && text[index] == QLatin1Char(pair[0]) &&
           text[index + 1] == QLatin1Char(pair[1]);
}

// One pass, character by character. The kind of a token is only known from its second character on,
// so an opener that is the very last character of the text stays a plain word.
SQLTokens tokenize(const QString& text) {
    SQLTokens rows;
    SQLToken row;
    Mode mode = Mode::None;
    const qsizetype n = text.size();

    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text[i];
        bool ended = false;
        int carry = 0;

        switch (mode) {
        case Mode::BlockComment:
            row.Kind = TokenKind::BlockComment;
            row.Text += c;
            if (startsAt(text, i, "*/")) {
                ++i;
                row.Text += text[i];
                mode = Mode::None;
                ended = true;
            }
            break;
        case Mode::LineComment:
            row.Kind = TokenKind::LineComment;
            if (c.unicode() == 10) {
                mode = Mode::None;
                ended = true;
            } else {
                row.Text += c;
            }
            break;
        case Mode::String:
            row.Kind = TokenKind::StringLiteral;
            row.Text += c;
            if (c == QLatin1Char('\'')) {
                mode = Mode::None;
                ended = true;
            }
            break;
        case Mode::Brackets:
            row.Kind = TokenKind::BracketedName;
            row.Text += c;
            // "]]" is a "]" of the name, not its end.
            if (c == QLatin1Char(']') && i + 1 < n && text[i + 1] == QLatin1Char(']')) {
                row.Text += text[++i];
            } else if (c == QLatin1Char(']')) {
                mode = Mode::None;
                ended = true;
            }
            break;
        case Mode::None:
            if (startsAt(text, i, "/*")) {
                mode = Mode::BlockComment;
                carry = 2;
            } else if (startsAt(text, i, "--")) {
                mode = Mode::LineComment;
                carry = 2;
            } else if (c == QLatin1Char('\'')) {
                mode = Mode::String;
                carry = 1;
            } else if (c == QLatin1Char('[')) {
                mode = Mode::Brackets;
                carry = 1;
            } else if (isBlank(c)) {
                ended = true;
            } else if (c == QLatin1Char('(')) {
                carry = 1;
            } else {
                row.Text += c;
            }
            if (carry > 0)
                ended = true;
            break;
        }

        if (!ended)
            continue;
        row.Length = static_cast<int>(row.Text.size());
        if (!row.Text.isEmpty())
            rows.append(row);
        row = SQLToken();
        // Start is 1-based: the carried opener begins at this character, anything else at the next.
        row.Start = static_cast<int>(carry > 0 ? i + 1 : i + 2);
        if (carry > 0) {
            row.Text = text.mid(i, carry);
            i += carry - 1;
        }
    }

    row.Length = static_cast<int>(row.Text.size());
    if (!row.Text.isEmpty())
        rows.append(row);
    return rows;
}

bool isComment(const SQLToken& t) {
    return t.Kind == TokenKind::BlockComment || t.Kind == TokenKind::LineComment;
}

// Index of the row that holds the name after the first matching sequence, or -1.
qsizetype findNameRow(const SQLKeywords& keywords, const SQLTokens& rows) {
    if (keywords.isEmpty())
        return -1;
    const qsizetype words = keywords.first().size();
    if (words == 0)
        return -1;
    for (qsizetype i = 0; i + words - 1 < rows.size(); ++i) {
        if (rows[i].Kind != TokenKind::Word)
            continue;
        for (const QStringList& sequence : keywords) {
            bool all = sequence.size() == words;
            for (qsizetype w = 0; all && w < words; ++w)
                all = rows[i + w].Text.compare(sequence[w], Qt::CaseInsensitive) == 0;
            if (all)
                return i + words < rows.size() ? i + words : -1;
        }
    }
    return -1;
}

bool togglesQuotes(const SQLToken& row) {
    return row.Kind == TokenKind::Word && row.Text.count(QLatin1Char('"')) % 2 == 1;
}

// Length of the name that starts at row nameRow: the rows that touch each other up to one that opens
// a parameter list, as in "dbo.P(@a int)". Inside a double-quoted name neither a blank nor a
// parenthesis ends it.
int nameLength(const SQLTokens& rows, qsizetype nameRow) {
    const int start = rows[nameRow].Start;
    int end = start + rows[nameRow].Length;
    bool quoted = togglesQuotes(rows[nameRow]);
    for (qsizetype i = nameRow + 1; i < rows.size(); ++i) {
        const SQLToken& row = rows[i];
        if (!quoted && (row.Start != end || row.Text.startsWith(QLatin1Char('('))))
            break;
        end = row.Start + row.Length;
        if (togglesQuotes(row))
            quoted = !quoted;
    }
    return end - start;
}

} // namespace

SQLTokens TokenizeSQL(const QString& text, bool keepComments) {
    SQLTokens rows = tokenize(text);
    if (!keepComments)
        rows.removeIf(isComment);
    return rows;
}

QStringList SplitSQLBatches(const QString& text) {
    QStringList batches;
    qsizetype start = 0; // 0-based
    for (const SQLToken& t : TokenizeSQL(text, true)) {
        if (t.Kind != TokenKind::Word || t.Text.compare(QLatin1String("go"), Qt::CaseInsensitive) != 0)
            continue;
        batches.append(text.mid(start, (t.Start - 1) - start));
        start = t.Start - 1 + t.Length;
    }
    batches.append(text.mid(start));
    return batches;
}

QString FindNameAfterKeywords(const SQLKeywords& keywords, const QString& text) {
    const SQLTokens rows = TokenizeSQL(text, false);
    const qsizetype nameRow = findNameRow(keywords, rows);
    if (nameRow < 0)
        return QString();
    return text.mid(rows[nameRow].Start - 1, nameLength(rows, nameRow));
}

QString ReplaceNameAfterKeywords(const SQLKeywords& keywords, const QString& text, const QString& newName,
                                 QString& oldName) {
    const SQLTokens rows = TokenizeSQL(text, false);
    const qsizetype nameRow = findNameRow(keywords, rows);
    if (nameRow < 0)
        return QString();
    const qsizetype start = rows[nameRow].Start - 1;
    const int length = nameLength(rows, nameRow);
    oldName = text.mid(start, length);
    return text.left(start) + newName + text.mid(start + length);
}

QString ReplaceFirstWord(const QString& text, const QString& word, const QString& replacement) {
    for (const SQLToken& t : TokenizeSQL(text, false)) {
        if (t.Kind == TokenKind::Word && t.Text.compare(word, Qt::CaseInsensitive) == 0)
            return text.left(t.Start - 1) + replacement + text.mid(t.Start - 1 + t.Length);
    }
    return QString();
}

QString TrimLeadingBlanks(const QString& text) {
    qsizetype i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    return text.mid(i);
}

QString TrimTrailingBlanks(const QString& text) {
    qsizetype n = text.size();
    while (n > 0 && isBlank(text[n - 1]))
        --n;
    return text.left(n);
}

bool SQLTextsEqual(const QString& a, const QString& b, bool trimStart, bool trimEnd) {
    QString left = a;
    QString right = b;
    if (trimStart) {
        left = TrimLeadingBlanks(left);
        right = TrimLeadingBlanks(right);
    }
    if (trimEnd) {
        left = TrimTrailingBlanks(left);
        right = TrimTrailingBlanks(right);
    }
    return left == right;
}

} // namespace modParser
