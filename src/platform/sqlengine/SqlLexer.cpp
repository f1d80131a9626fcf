#include "SqlLexer.h"

#include <QSet>

namespace {

bool IsNameStart(QChar c) {
    return c.isLetter() || c == u'_' || c == u'#';
}
bool IsNamePart(QChar c) {
    return c.isLetterOrNumber() || c == u'_' || c == u'#' || c == u'$' || c == u'@';
}

} // namespace

bool SqlLexer::IsReserved(const QString& word) {
    static const QSet<QString> reserved = [] {
        QSet<QString> s;
        for (const char* w : {"ADD",
                              "ALL",
                              "ALTER",
                              "AND",
                              "ANY",
                              "AS",
                              "ASC",
                              "AUTHORIZATION",
                              "BACKUP",
                              "BEGIN",
                              "BETWEEN",
                              "BREAK",
                              "PIVOT",
                              "UNPIVOT",
                              "BROWSE",
                              "BULK",
                              "BY",
                              "CASCADE",
                              "CASE",
                              "CHECK",
                              "CHECKPOINT",
                              "CLOSE",
                              "CLUSTERED",
                              "COALESCE",
                              "COLLATE",
                              "COLUMN",
                              "COMMIT",
                              "COMPUTE",
                              "CONSTRAINT",
                              "CONTAINS",
                              "CONTINUE",
                              "CONVERT",
                              "CREATE",
                              "CROSS",
                              "CURRENT",
                              "CURRENT_DATE",
                              "CURRENT_TIME",
                              "CURRENT_TIMESTAMP",
                              "CURRENT_USER",
                              "CURSOR",
                              "DATABASE",
                              "DBCC",
                              "DEALLOCATE",
                              "DECLARE",
                              "DEFAULT",
                              "DELETE",
                              "DENY",
                              "DESC",
                              "DISTINCT",
                              "DISTRIBUTED",
                              "DOUBLE",
                              "DROP",
                              "ELSE",
                              "END",
                              "ERRLVL",
                              "ESCAPE",
                              "EXCEPT",
                              "EXEC",
                              "EXECUTE",
                              "EXISTS",
                              "EXIT",
                              "FETCH",
                              "FILE",
                              "FILLFACTOR",
                              "FOR",
                              "FOREIGN",
                              "FREETEXT",
                              "FROM",
                              "FULL",
                              "FUNCTION",
                              "GOTO",
                              "GRANT",
                              "GROUP",
                              "HAVING",
                              "HOLDLOCK",
                              "IDENTITY",
                              "IDENTITY_INSERT",
                              "IDENTITYCOL",
                              "IF",
                              "IN",
                              "INDEX",
                              "INNER",
                              "INSERT",
                              "INTERSECT",
                              "INTO",
                              "IS",
                              "JOIN",
                              "KEY",
                              "KILL",
                              "LEFT",
                              "LIKE",
                              "LINENO",
                              "MERGE",
                              "NATIONAL",
                              "NOCHECK",
                              "NONCLUSTERED",
                              "NOT",
                              "NULL",
                              "NULLIF",
                              "OF",
                              "OFF",
                              "OFFSETS",
                              "ON",
                              "OPEN",
                              "OPTION",
                              "OR",
                              "ORDER",
                              "OUTER",
                              "OVER",
                              "PERCENT",
                              "PLAN",
                              "PRIMARY",
                              "PRINT",
                              "PROC",
                              "PROCEDURE",
                              "PUBLIC",
                              "RAISERROR",
                              "READ",
                              "RECONFIGURE",
                              "REFERENCES",
                              "REPLICATION",
                              "RESTORE",
                              "RESTRICT",
                              "RETURN",
                              "REVOKE",
                              "RIGHT",
                              "ROLLBACK",
                              "ROWCOUNT",
                              "ROWGUIDCOL",
                              "RULE",
                              "SAVE",
                              "SCHEMA",
                              "SELECT",
                              "SESSION_USER",
                              "SET",
                              "SETUSER",
                              "SHUTDOWN",
                              "SOME",
                              "STATISTICS",
                              "SYSTEM_USER",
                              "TABLE",
                              "TABLESAMPLE",
                              "TEXTSIZE",
                              "THEN",
                              "TO",
                              "TOP",
                              "TRAN",
                              "TRANSACTION",
                              "TRIGGER",
                              "TRUNCATE",
                              "TRY_CONVERT",
                              "UNION",
                              "UNIQUE",
                              "UPDATE",
                              "UPDATETEXT",
                              "USE",
                              "USER",
                              "VALUES",
                              "VARYING",
                              "VIEW",
                              "WAITFOR",
                              "WHEN",
                              "WHERE",
                              "WHILE",
                              "WITH",
                              "WRITETEXT"})
            s.insert(QString::fromLatin1(w));
        return s;
    }();
    return reserved.contains(word.toUpper());
}

QList<SqlToken> SqlLexer::Tokenize(const QString& s, bool quotedIdentifier, SqlLexError* error) {
    // The list always ends with an End token, also after an error.
    QList<SqlToken> out;
    const int n = int(s.size());
    int i = 0;
    int line = 1;
    auto fail = [&](long number, const QString& text, int atLine) {
        SqlToken end;
        end.kind = SqlToken::Kind::End;
        end.line = atLine;
        end.begin = end.end = n;
        out.append(end);
        if (error) {
            error->number = number;
            error->text = text;
            error->line = atLine;
        }
    };
    auto countLines = [&](int from, int to) {
        for (int k = from; k < to; ++k)
            if (s[k] == u'\n')
                ++line;
    };
    while (i < n) {
        const QChar c = s[i];
        if (c.isSpace()) {
            if (c == u'\n')
                ++line;
            ++i;
            continue;
        }
        if (c == u'-' && i + 1 < n && s[i + 1] == u'-') {
            while (i < n && s[i] != u'\n')
                ++i;
            continue;
        }
        if (c == u'/' && i + 1 < n && s[i + 1] == u'*') {
            // Block comments nest in T-SQL.
            const int startLine = line;
            int depth = 0;
            int k = i;
            while (k < n) {
                if (s[k] == u'/' && k + 1 < n && s[k + 1] == u'*') {
                    ++depth;
                    k += 2;
                } else if (s[k] == u'*' && k + 1 < n && s[k + 1] == u'/') {
                    --depth;
                    k += 2;
                    if (depth == 0)
                        break;
                } else {
                    if (s[k] == u'\n')
                        ++line;
                    ++k;
                }
            }
            if (depth > 0) {
                fail(113, QStringLiteral("Missing end comment mark '*/'."), startLine);
                return out;
            }
            i = k;
            continue;
        }
        SqlToken t;
        t.line = line;
        t.begin = i;
        if ((c == u'N' || c == u'n') && i + 1 < n && s[i + 1] == u'\'') {
            t.unicode = true;
            ++i;
        }
        const QChar q = s[i];
        if (q == u'\'' || (q == u'"' && !quotedIdentifier) || q == u'[' || (q == u'"' && quotedIdentifier)) {
            const QChar close = q == u'[' ? u']' : q;
            QString value;
            int k = i + 1;
            bool closed = false;
            while (k < n) {
                if (s[k] == close) {
                    if (k + 1 < n && s[k + 1] == close) {
                        value += close;
                        k += 2;
                        continue;
                    }
                    closed = true;
                    ++k;
                    break;
                }
                value += s[k];
                ++k;
            }
            if (!closed) {
                countLines(i, n);
                fail(105,
                     QStringLiteral("Unclosed quotation mark after the character string '%1'.").arg(value),
                     line);
                return out;
            }
            countLines(i, k);
            t.kind = (q == u'\'' || (q == u'"' && !quotedIdentifier)) ? SqlToken::Kind::String
                                                                      : SqlToken::Kind::QuotedName;
            t.text = value;
            i = k;
        } else if (IsNameStart(c)) {
            int k = i;
            while (k < n && IsNamePart(s[k]))
                ++k;
            t.kind = SqlToken::Kind::Word;
            t.text = s.mid(i, k - i);
            i = k;
        } else if (c == u'@') {
            int k = i + 1;
            if (k < n && s[k] == u'@')
                ++k;
            while (k < n && IsNamePart(s[k]))
                ++k;
            t.kind = SqlToken::Kind::Variable;
            t.text = s.mid(i, k - i);
            i = k;
        } else if (c.isDigit() || (c == u'.' && i + 1 < n && s[i + 1].isDigit())) {
            int k = i;
            if (c == u'0' && k + 1 < n && (s[k + 1] == u'x' || s[k + 1] == u'X')) {
                k += 2;
                while (k < n && (s[k].isDigit() || QStringLiteral("abcdefABCDEF").contains(s[k])))
                    ++k;
            } else {
                while (k < n && s[k].isDigit())
                    ++k;
                if (k < n && s[k] == u'.') {
                    ++k;
                    while (k < n && s[k].isDigit())
                        ++k;
                }
                if (k < n && (s[k] == u'e' || s[k] == u'E')) {
                    int e = k + 1;
                    if (e < n && (s[e] == u'+' || s[e] == u'-'))
                        ++e;
                    if (e < n && s[e].isDigit()) {
                        k = e;
                        while (k < n && s[k].isDigit())
                            ++k;
                    }
                }
            }
            t.kind = SqlToken::Kind::Number;
            t.text = s.mid(i, k - i);
            i = k;
        } else {
            static const char* twoChar[] = {"<>", "!=", "<=", ">=", "!<", "!>", "+=", "-=", "*=", "/=", "::"};
            QString sym = QString(c);
            if (i + 1 < n) {
                const QString two = s.mid(i, 2);
                for (const char* op : twoChar)
                    if (two == QLatin1String(op))
                        sym = two;
            }
            t.kind = SqlToken::Kind::Symbol;
            t.text = sym;
            i += int(sym.size());
        }
        t.end = i;
        t.raw = s.mid(t.begin, t.end - t.begin);
        out.append(t);
        // The server reads SET QUOTED_IDENTIFIER while it parses: the rest of the batch is read
        // the new way, whether or not the statement is ever carried out.
        const qsizetype m = out.size();
        if (t.kind == SqlToken::Kind::Word && m >= 3 && out[m - 2].kind == SqlToken::Kind::Word &&
            out[m - 3].kind == SqlToken::Kind::Word &&
            out[m - 2].text.compare(QLatin1String("QUOTED_IDENTIFIER"), Qt::CaseInsensitive) == 0 &&
            out[m - 3].text.compare(QLatin1String("SET"), Qt::CaseInsensitive) == 0) {
            if (t.text.compare(QLatin1String("ON"), Qt::CaseInsensitive) == 0)
                quotedIdentifier = true;
            else if (t.text.compare(QLatin1String("OFF"), Qt::CaseInsensitive) == 0)
                quotedIdentifier = false;
        }
    }
    SqlToken end;
    end.kind = SqlToken::Kind::End;
    end.line = line;
    end.begin = end.end = n;
    out.append(end);
    return out;
}
