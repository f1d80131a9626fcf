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

// The methods of an xml value after it: x.value('path', 'type'), x.query('path'), x.exist('path'),
// also one after another. nodes() belongs in FROM and modify() in SET, both read elsewhere.
SqlExprP SqlParser::ParseXmlMethod(SqlExprP target) {
    while (Peek().IsSymbol(".") && Peek(1).IsName() && Peek(2).IsSymbol("(")) {
        const SqlToken& method = Peek(1);
        if (!IsXmlMethod(method.text))
            return target;
        Next();
        target = XmlMethodCall(target, Next());
    }
    return target;
}

bool SqlParser::IsXmlMethod(const QString& name) {
    static const QStringList methods = {QStringLiteral("value"), QStringLiteral("query"),
                                        QStringLiteral("exist"), QStringLiteral("nodes"),
                                        QStringLiteral("modify")};
    return methods.contains(name, Qt::CaseInsensitive);
}

// The call after the method's name: its arguments, with target first. modify() only where it
// changes what it is called on (mutator): SET @x.modify(...), UPDATE ... SET c.modify(...).
SqlExprP SqlParser::XmlMethodCall(const SqlExprP& target, const SqlToken& method, bool mutator) {
    const QString name = method.text.toUpper();
    if (name == QLatin1String("NODES"))
        Unsupported(QStringLiteral("the xml method nodes() outside FROM"), method.line);
    if (name == QLatin1String("MODIFY") && !mutator)
        Unsupported(QStringLiteral("the xml method modify() outside SET and UPDATE"), method.line);
    ExpectSymbol("(");
    auto e = std::make_shared<SqlExpr>();
    e->kind = SqlExpr::Kind::Function;
    e->text = QStringLiteral("XML.") + name;
    e->line = method.line;
    e->args.append(target);
    e->args.append(ParseExpr());
    if (name == QLatin1String("VALUE")) {
        ExpectSymbol(",");
        e->args.append(ParseExpr());
    }
    ExpectSymbol(")");
    return e;
}

// x.nodes('path') AS T(c) in FROM: a table of the nodes, one column c of each.
SqlTableRefP SqlParser::ParseXmlNodes(const SqlExprP& target, int line) {
    auto r = std::make_shared<SqlTableRef>();
    r->kind = SqlTableRef::Kind::Function;
    r->line = line;
    r->name = QStringList{QStringLiteral("XML.NODES")};
    r->args.append(target);
    ExpectSymbol("(");
    r->args.append(ParseExpr());
    ExpectSymbol(")");
    r->alias = ParseOptionalAlias();
    if (r->alias.isEmpty() || !Peek().IsSymbol("("))
        Fail(Peek());
    Next();
    SqlJsonColumn column; // the one column, by name
    column.name = ParseName();
    r->jsonColumns.append(column);
    ExpectSymbol(")");
    return r;
}
