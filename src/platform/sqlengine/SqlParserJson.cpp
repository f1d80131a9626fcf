// The parser's reading of FOR JSON and FOR XML after a query, the schema of OPENJSON ... WITH, and
// the value() method of an xml subquery.
#include "SqlParser.h"

namespace {

// A name in parentheses after RAW, PATH or ROOT: ('name'); empty when none is written.
bool IsParenthesisedString(const SqlToken& open, const SqlToken& text, const SqlToken& close) {
    return open.IsSymbol("(") && text.kind == SqlToken::Kind::String && close.IsSymbol(")");
}

} // namespace

std::shared_ptr<SqlForClause> SqlParser::ParseForClause() {
    auto f = std::make_shared<SqlForClause>();
    f->line = Next().line; // FOR
    f->json = Next().IsWord("JSON");
    const SqlToken& mode = Next();
    const bool named = mode.IsWord("RAW") || mode.IsWord("PATH");
    if (f->json ? !(mode.IsWord("PATH") || mode.IsWord("AUTO"))
                : !(named || mode.IsWord("AUTO") || mode.IsWord("EXPLICIT")))
        Fail(mode);
    if (mode.IsWord("EXPLICIT"))
        Unsupported(QStringLiteral("FOR XML EXPLICIT"), mode.line);
    f->mode = mode.text.toUpper();
    if (named && Peek().IsSymbol("(")) {
        if (!IsParenthesisedString(Peek(), Peek(1), Peek(2)))
            Fail(Peek(1));
        Next();
        f->element = Next().text;
        f->elementGiven = true;
        Next();
    }
    while (AcceptSymbol(",")) {
        const SqlToken& option = Next();
        if (option.IsWord("ROOT")) {
            f->root = true;
            f->rootName = QStringLiteral("root");
            if (Peek().IsSymbol("(")) {
                if (!IsParenthesisedString(Peek(), Peek(1), Peek(2)))
                    Fail(Peek(1));
                Next();
                f->rootName = Next().text;
                Next();
            }
        } else if (f->json && option.IsWord("INCLUDE_NULL_VALUES")) {
            f->includeNulls = true;
        } else if (f->json && option.IsWord("WITHOUT_ARRAY_WRAPPER")) {
            f->withoutArrayWrapper = true;
        } else if (!f->json && option.IsWord("TYPE")) {
            f->type = true;
        } else if (!f->json && option.IsWord("ELEMENTS")) {
            f->elements = true;
            if (Peek().IsWord("XSINIL") || Peek().IsWord("ABSENT"))
                Unsupported(QStringLiteral("FOR XML ELEMENTS ") + Peek().text.toUpper(), Peek().line);
        } else if (!f->json &&
                   (option.IsWord("BINARY") || option.IsWord("XMLDATA") || option.IsWord("XMLSCHEMA"))) {
            Unsupported(QStringLiteral("FOR XML ") + option.text.toUpper(), option.line);
        } else {
            Fail(option);
        }
    }
    return f;
}

// WITH (name type ['path'] [AS JSON], ...)
void SqlParser::ParseJsonSchema(SqlTableRef& r) {
    Next(); // WITH
    ExpectSymbol("(");
    r.hasJsonSchema = true;
    do {
        SqlJsonColumn c;
        c.name = ParseName();
        c.type = ParseTypeSpec();
        if (Peek().kind == SqlToken::Kind::String)
            c.path = Next().text;
        if (AcceptWord("AS")) {
            const SqlToken& j = Next();
            if (!j.IsWord("JSON"))
                Fail(j);
            c.asJson = true;
        }
        r.jsonColumns.append(c);
    } while (AcceptSymbol(","));
    ExpectSymbol(")");
}

// (SELECT ... FOR XML ..., TYPE).value('xpath', 'type'): the other xml methods stay unsupported.
SqlExprP SqlParser::ParseXmlMethod(SqlExprP target) {
    if (!Peek().IsSymbol(".") || !Peek(1).IsName() || !Peek(2).IsSymbol("("))
        return target;
    Next();
    const SqlToken method = Next();
    if (!method.IsWord("VALUE"))
        Unsupported(QStringLiteral("the xml method ") + method.text.toLower() + QStringLiteral("()"),
                    method.line);
    Next(); // (
    auto e = std::make_shared<SqlExpr>();
    e->kind = SqlExpr::Kind::Function;
    e->text = QStringLiteral("XML.VALUE");
    e->line = method.line;
    e->args.append(target);
    e->args.append(ParseExpr());
    ExpectSymbol(",");
    e->args.append(ParseExpr());
    ExpectSymbol(")");
    return e;
}
