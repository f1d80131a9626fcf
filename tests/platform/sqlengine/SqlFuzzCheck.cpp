#include "SqlFuzzCheck.h"

#include "EmbeddedServer.h"
#include "SqlLexer.h"
#include "SqlParser.h"

#include <QRegularExpression>

namespace {

QString CheckTokens(const QString& text, bool quotedIdentifier) {
    SqlLexError lexError;
    const QList<SqlToken> tokens = SqlLexer::Tokenize(text, quotedIdentifier, &lexError);
    if (tokens.isEmpty() || tokens.last().kind != SqlToken::Kind::End)
        return QStringLiteral("the token list does not end with End");
    int previousEnd = 0;
    int previousLine = 1;
    for (const SqlToken& t : tokens) {
        if (t.begin < previousEnd || t.end < t.begin || t.end > text.size())
            return QStringLiteral("token %1..%2 out of place").arg(t.begin).arg(t.end);
        if (t.kind != SqlToken::Kind::End && t.raw != text.mid(t.begin, t.end - t.begin))
            return QStringLiteral("token '%1' is not the text it stands on").arg(t.raw);
        if (t.line < previousLine)
            return QStringLiteral("token line %1 goes back").arg(t.line);
        previousEnd = t.end;
        previousLine = t.line;
    }
    if (lexError.number != 0 && (lexError.text.isEmpty() || lexError.line < 1))
        return QStringLiteral("scanner error %1 without text or line").arg(lexError.number);
    return {};
}

QString CheckMessages(const SqlBatchResults& results, const char* what) {
    for (const SqlResult& r : results) {
        if (r.kind != SqlResult::Kind::Message || !r.message.IsError())
            continue;
        if (r.message.text.isEmpty() || r.message.line < 1)
            return QStringLiteral("%1: error %2 without text or line")
                .arg(QLatin1String(what))
                .arg(r.message.number);
        // SQLite refusing what the translation made of a statement is the engine's own fault.
        if (r.message.number == 50002)
            return QStringLiteral("%1: %2").arg(QLatin1String(what), r.message.text);
    }
    return {};
}

} // namespace

bool MayDisableTheSession(const QString& text) {
    static const QRegularExpression risky(
        QStringLiteral("\\b(USE|WHILE|GOTO|WAITFOR|DATABASE|PARSEONLY|NOEXEC|SHUTDOWN)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    return text.contains(risky);
}

QString CheckArbitrarySql(EmbeddedSession& session, const QString& text) {
    for (const bool quoted : {true, false}) {
        const QString fault = CheckTokens(text, quoted);
        if (!fault.isEmpty())
            return fault;
    }
    QList<SqlSyntaxError> errors;
    SqlParser(text, true).ParseBatch(&errors);
    for (const SqlSyntaxError& e : errors)
        if (e.text.isEmpty() || e.line < 1)
            return QStringLiteral("syntax error %1 without text or line").arg(e.number);
    SqlParser::SplitName(text);
    SqlParser::ParseType(text);
    QString fault = CheckMessages(session.Parse(text), "parse");
    if (fault.isEmpty() && !MayDisableTheSession(text))
        fault = CheckMessages(session.Execute(text), "execute");
    return fault;
}

FuzzSession::FuzzSession(const QString& folder) {
    EmbeddedServer::Create(folder, QStringLiteral("sa"));
    mServer = std::make_unique<EmbeddedServer>(folder);
    mSession = mServer->Connect(QStringLiteral("sa"), QStringLiteral("sa"), {});
    mSession->Execute(QStringLiteral("CREATE DATABASE Fuzz"));
    mSession->Execute(QStringLiteral("USE Fuzz"));
    mSession->Execute(QStringLiteral("CREATE TABLE T (a int, b nvarchar(10))"));
    mSession->Execute(QStringLiteral("CREATE TABLE U (a int)"));
}

FuzzSession::~FuzzSession() = default;
