// The xml methods in queries: value(), query() and exist() of any xml expression, nodes() and
// OPENXML as tables (alone in FROM, or after APPLY seeing the tables before them), and EVENTDATA().
// The path is read here, once, so that its errors come before anything runs; SQLite's functions
// (SqlFunctionsXml.cpp) run it on each value.
#include "SqlTranslator.h"

#include "ServerError.h"
#include "SqlParser.h"
#include "SqlXml.h"

namespace {

ServerError ToServerError(const Xml::Error& e) {
    if (e.number == 50001)
        return ServerError::Make(50001, 16, e.text);
    return ServerError::Make(e.number, 16, e.text);
}

const SqlExpr& LiteralArgument(const SqlExpr& e, int argument, const QString& method) {
    const SqlExpr& a = *e.args[qsizetype(argument)];
    if (a.kind != SqlExpr::Kind::String)
        throw ServerError::Make(8172, 16,
                                QStringLiteral("The argument %1 of the XML data type method \"%2\" must be a "
                                               "string literal.")
                                    .arg(argument)
                                    .arg(method));
    return a;
}

} // namespace

// The arguments after the path of a tsql_xml_ call: the namespaces, then each sql:variable() and
// sql:column() that the query reads, by name and value.
QString SqlTranslator::XmlArguments(const QString& path, const QString& method) {
    QStringList externals;
    try {
        const Xml::Query query(path, method);
        if (method == QLatin1String("value()"))
            query.RequireSingleton();
        externals = query.Externals();
    } catch (const Xml::Error& e) {
        throw ToServerError(e);
    }
    QString sql = Literal(path) + QStringLiteral(", ''");
    for (const QString& name : externals) {
        auto value = std::make_shared<SqlExpr>();
        if (name.startsWith(u'@')) {
            value->kind = SqlExpr::Kind::Variable;
            value->text = name;
        } else {
            value->kind = SqlExpr::Kind::Column;
            value->parts = name.split(u'.');
        }
        sql += QStringLiteral(", ") + Literal(name) + QStringLiteral(", ") + Expr(*value);
    }
    return sql;
}

QString SqlTranslator::XmlMethod(const SqlExpr& e, const QString& f) {
    if (f == QLatin1String("EVENTDATA")) {
        // Data definition triggers don't fire in the engine, so there is never an event to give.
        if (!e.args.isEmpty())
            throw ServerError::Make(174, 15, QStringLiteral("The eventdata function requires 0 argument(s)."),
                                    true);
        return QStringLiteral("NULL");
    }
    const QString method = f.mid(4).toLower();
    // The parser makes these calls without a name of parts; a user's [XML.VALUE]() is no method.
    if (!e.parts.isEmpty() || e.args.size() != (method == QLatin1String("value") ? 3 : 2))
        throw ServerError::Make(
            195, 15, QStringLiteral("'%1' is not a recognized built-in function name.").arg(e.text), true);
    const QString target = Expr(*e.args[0]);
    const SqlExpr& path = LiteralArgument(e, 1, method);
    if (method == QLatin1String("modify")) {
        QStringList externals;
        try {
            externals = Xml::Modification(path.text).Externals();
        } catch (const Xml::Error& failure) {
            throw ToServerError(failure);
        }
        QString sql = QStringLiteral("tsql_xml_modify(%1, %2, ''").arg(target, Literal(path.text));
        for (const QString& name : externals) {
            auto value = std::make_shared<SqlExpr>();
            value->kind = name.startsWith(u'@') ? SqlExpr::Kind::Variable : SqlExpr::Kind::Column;
            value->text = name;
            value->parts = name.split(u'.');
            sql += QStringLiteral(", ") + Literal(name) + QStringLiteral(", ") + Expr(*value);
        }
        return sql + u')';
    }
    const QString arguments = XmlArguments(path.text, method + QStringLiteral("()"));
    if (method == QLatin1String("query"))
        return QStringLiteral("tsql_xml_query(%1, %2)").arg(target, arguments);
    if (method == QLatin1String("exist"))
        return QStringLiteral("tsql_xml_exist(%1, %2)").arg(target, arguments);
    const SqlExpr& type = LiteralArgument(e, 2, method);
    const SqlTypeSpec spec = SqlParser::ParseType(type.text);
    if (!spec.IsValid())
        throw ServerError::Make(
            243, 16, QStringLiteral("Type %1 is not a defined system type.").arg(type.text.trimmed()));
    if (spec.name == QLatin1String("xml") || spec.name == QLatin1String("image") ||
        spec.name == QLatin1String("text") || spec.name == QLatin1String("ntext") ||
        spec.name == QLatin1String("timestamp") || spec.name == QLatin1String("rowversion") ||
        spec.name == QLatin1String("sql_variant"))
        throw ServerError::Make(
            2220, 16,
            QStringLiteral("XQuery [value()]: The data type '%1' used in the VALUE method is invalid.")
                .arg(spec.name));
    return QStringLiteral("tsql_convert(%1, %2, %3, tsql_xml_value(%4, %5))")
        .arg(Literal(spec.name))
        .arg(spec.length == -1 && spec.precision > 0 ? spec.precision : spec.length)
        .arg(spec.scale)
        .arg(target, arguments);
}

// x.nodes('path') AS T(c): a row per node, its column a reference to the node that the methods of
// T.c read. After APPLY it stands in the join itself to see the columns before it.
QString SqlTranslator::XmlNodes(const SqlTableRef& ref, bool lateral) {
    const QString column = ref.jsonColumns.isEmpty() ? QStringLiteral("c") : ref.jsonColumns.first().name;
    if (ref.args.size() != 2 || ref.args[1]->kind != SqlExpr::Kind::String)
        throw ServerError::Make(
            8172, 16,
            QStringLiteral("The argument 1 of the XML data type method \"nodes\" must be a "
                           "string literal."));
    const QString source =
        QStringLiteral("json_each(tsql_xml_nodes(%1, %2))")
            .arg(Expr(*ref.args[0]), XmlArguments(ref.args[1]->text, QStringLiteral("nodes()")));
    return EachRows(source, ref.alias, XmlRowName(ref.alias, lateral),
                    {{column, XmlRowName(ref.alias, lateral) + QStringLiteral(".\"value\"")}}, lateral);
}

// The name of the json_each whose rows are the nodes, in the columns' expressions.
QString SqlTranslator::XmlRowName(const QString& alias, bool lateral) {
    return lateral ? Quote(alias) : QStringLiteral("\"__xml\"");
}

// OPENXML(handle, rowpattern [, flags]) WITH (column type ['path'], ...): the nodes of a prepared
// document, each column the first item its path finds (attributes by default, elements with flag 2).
QString SqlTranslator::OpenXml(const SqlTableRef& ref, bool lateral) {
    if (ref.args.size() < 2 || ref.args.size() > 3)
        throw ServerError::Make(
            ref.args.size() < 2 ? 313 : 8144, 16,
            ref.args.size() < 2
                ? QStringLiteral("An insufficient number of arguments were supplied for the procedure or "
                                 "function OPENXML.")
                : QStringLiteral("Procedure or function OPENXML has too many arguments specified."),
            true);
    if (!ref.hasJsonSchema)
        throw ServerError::Unsupported(QStringLiteral("OPENXML without WITH (the edge table)"));
    long long flags = 0;
    if (ref.args.size() > 2) {
        if (ref.args[2]->kind != SqlExpr::Kind::Number)
            throw ServerError::Unsupported(QStringLiteral("OPENXML flags other than a number"));
        flags = ref.args[2]->text.toLongLong();
    }
    const QString source = QStringLiteral("json_each(tsql_xml_nodes(tsql_xml_document(%1), %2, ''))")
                               .arg(Expr(*ref.args[0]), Expr(*ref.args[1]));
    const QString alias = ref.alias.isEmpty() ? QStringLiteral("OPENXML") : ref.alias;
    const QString row = XmlRowName(alias, lateral);
    QList<QPair<QString, QString>> columns;
    for (const SqlJsonColumn& c : ref.jsonColumns) {
        const auto value = [&](const QString& path) {
            if (path.contains(QLatin1String("@mp:")))
                throw ServerError::Unsupported(QStringLiteral("the meta properties of OPENXML (@mp:)"));
            try {
                const Xml::Query check(path, QStringLiteral("OPENXML"));
            } catch (const Xml::Error& e) {
                throw ToServerError(e);
            }
            return QStringLiteral("tsql_xml_value(") + row + QStringLiteral(".\"value\", ") + Literal(path) +
                   QStringLiteral(", '')");
        };
        QString expression;
        if (!c.path.isEmpty())
            expression = value(c.path);
        else if ((flags & 3) == 2)
            expression = value(c.name);
        else if ((flags & 3) == 3)
            expression = QStringLiteral("coalesce(%1, %2)").arg(value(u'@' + c.name), value(c.name));
        else
            expression = value(u'@' + c.name);
        if (c.type.name == QLatin1String("xml") || c.type.name == QLatin1String("ntext") ||
            c.type.name == QLatin1String("text"))
            throw ServerError::Unsupported(QStringLiteral("OPENXML columns of type %1").arg(c.type.name));
        columns.append(
            {c.name, QStringLiteral("tsql_convert(%1, %2, %3, %4)")
                         .arg(Literal(c.type.name))
                         .arg(c.type.length == -1 && c.type.precision > 0 ? c.type.precision : c.type.length)
                         .arg(c.type.scale)
                         .arg(expression)});
    }
    return EachRows(source, alias, XmlRowName(alias, lateral), columns, lateral);
}
