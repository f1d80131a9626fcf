// The DDL that real schemas carry beside the T-SQL itself: XML SCHEMA COLLECTION after CREATE,
// ALTER or DROP (the tables typed by a collection are created after it), and the EXTERNAL NAME of
// CLR modules, kept so that what calls them can be created too.
#include "SqlParser.h"

SqlStatementP SqlParser::ParseXmlSchemaCollection(const SqlToken& keyword, const QString& action) {
    auto s = MakeStatement(SqlStatement::Kind::XmlSchemaCollection, keyword);
    s->objectKind = action;
    if (action != QLatin1String("DROP"))
        ExpectWord("XML");
    ExpectWord("SCHEMA");
    ExpectWord("COLLECTION");
    s->target = ParseMultiPartName();
    if (action == QLatin1String("CREATE")) {
        ExpectWord("AS");
        s->condition = ParseExpr();
    } else if (action == QLatin1String("ALTER")) {
        ExpectWord("ADD");
        s->condition = ParseExpr();
    }
    return s;
}

bool SqlParser::ParseExternalName(SqlStatement& s) {
    if (!Peek().IsWord("EXTERNAL") || !Peek(1).IsWord("NAME"))
        return false;
    const SqlToken& external = Next();
    Next();
    ParseMultiPartName();
    AcceptSymbol(";");
    if (!AtEnd())
        Fail(Peek());
    auto body = MakeStatement(SqlStatement::Kind::Unsupported, external);
    body->construct = QStringLiteral("CLR modules (EXTERNAL NAME)");
    s.body = {body};
    return true;
}

void SqlParser::ParseServerTrigger(SqlStatement& s) {
    ExpectWord("ALL");
    ExpectWord("SERVER");
    s.objectKind = QStringLiteral("SERVER TRIGGER");
    ParseModuleOptions();
    if (!AcceptWord("FOR"))
        ExpectWord("AFTER");
    // LOGON, or DDL events and groups (CREATE_LOGIN, DDL_SERVER_LEVEL_EVENTS ...)
    do {
        const SqlToken& event = Next();
        if (event.kind != SqlToken::Kind::Word)
            Fail(event);
        s.triggerEvents.append(event.text.toUpper());
    } while (AcceptSymbol(","));
    ExpectWord("AS");
    s.body = ParseStatementsToEnd();
}
