// JSON and XML in queries: the JSON built-ins, OPENJSON on SQLite's json_each, CROSS and OUTER APPLY,
// and FOR JSON / FOR XML as an aggregate over the query's rows.
#include "SqlTranslator.h"

#include "ServerError.h"
#include "SqlParser.h"

#include <algorithm>

namespace {

const QString kJsonColumn = QStringLiteral("JSON_F52E2B61-18A1-11d1-B105-00805F49916B");
const QString kXmlColumn = QStringLiteral("XML_F52E2B61-18A1-11d1-B105-00805F49916B");

// SQLite takes at most 127 arguments in one call: the options, then a name and a value per column.
constexpr qsizetype kMaxForColumns = 63;

bool IsJsonText(const SqlExpr& e) {
    if (e.kind == SqlExpr::Kind::Subquery)
        return e.select && e.select->forClause && e.select->forClause->json;
    return e.kind == SqlExpr::Kind::Function && e.parts.size() <= 1 &&
           (e.text == QLatin1String("JSON_QUERY") || e.text == QLatin1String("JSON_MODIFY"));
}

bool IsAggregate(const SqlExpr& e) {
    static const QStringList aggregates = {QStringLiteral("COUNT"),     QStringLiteral("COUNT_BIG"),
                                           QStringLiteral("SUM"),       QStringLiteral("AVG"),
                                           QStringLiteral("MIN"),       QStringLiteral("MAX"),
                                           QStringLiteral("STRING_AGG")};
    return e.kind == SqlExpr::Kind::Function && !e.over && e.parts.size() <= 1 && aggregates.contains(e.text);
}

bool IsXmlText(const SqlExpr& e) {
    return e.kind == SqlExpr::Kind::Subquery && e.select && e.select->forClause &&
           !e.select->forClause->json && e.select->forClause->type;
}

// A column's element of an OPENJSON row as JSON text: json_each gives strings undone of their quotes
// and true and false as numbers.
QString ElementJson(const QString& a) {
    return QStringLiteral("(CASE %1.\"type\" WHEN 'object' THEN %1.\"value\" WHEN 'array' THEN %1.\"value\" "
                          "WHEN 'true' THEN 'true' WHEN 'false' THEN 'false' WHEN 'null' THEN 'null' "
                          "ELSE json_quote(%1.\"value\") END)")
        .arg(a);
}

} // namespace

QString SqlTranslator::JsonFunction(const SqlExpr& e, const QString& f) {
    const auto need = [&](qsizetype min, qsizetype max) {
        if (e.args.size() < min || e.args.size() > max)
            throw ServerError::Make(
                174, 15,
                QStringLiteral("The %1 function requires %2 argument(s).").arg(e.text.toLower()).arg(min),
                true);
    };
    if (f == QLatin1String("ISJSON")) {
        need(1, 1);
        return QStringLiteral("tsql_isjson(%1)").arg(Expr(*e.args[0]));
    }
    if (f == QLatin1String("JSON_VALUE")) {
        need(2, 2);
        return QStringLiteral("tsql_json_value(%1, %2)").arg(Expr(*e.args[0]), Expr(*e.args[1]));
    }
    if (f == QLatin1String("JSON_QUERY")) {
        need(1, 2);
        if (e.args.size() == 1)
            return QStringLiteral("tsql_json_query(%1)").arg(Expr(*e.args[0]));
        return QStringLiteral("tsql_json_query(%1, %2)").arg(Expr(*e.args[0]), Expr(*e.args[1]));
    }
    if (f == QLatin1String("JSON_MODIFY")) {
        need(3, 3);
        return QStringLiteral("tsql_json_modify(%1, %2, %3, %4)")
            .arg(Expr(*e.args[0]), Expr(*e.args[1]), Expr(*e.args[2]),
                 IsJsonText(*e.args[2]) ? QStringLiteral("1") : QStringLiteral("0"));
    }
    if (f.startsWith(QLatin1String("XML.")) || f == QLatin1String("EVENTDATA"))
        return XmlMethod(e, f);
    return {};
}

QString SqlTranslator::LateralColumn(const SqlExpr& e) const {
    if (mLateral.isEmpty())
        return {};
    const QString column = e.parts.last().toLower();
    if (e.parts.size() >= 2) {
        const auto source = mLateral.find(e.parts[e.parts.size() - 2].toLower());
        return source == mLateral.end() ? QString() : source->value(column);
    }
    for (const QHash<QString, QString>& columns : mLateral) {
        const auto it = columns.find(column);
        if (it != columns.end())
            return *it;
    }
    return {};
}

// OPENJSON(json [, path]) [WITH (...)]: SQLite's json_each, its columns turned into the server's.
// Alone in FROM it is a derived table; after APPLY (lateral) json_each must stand in the join
// itself to see the columns before it, and the columns are worked out where they are named.
QString SqlTranslator::OpenJson(const SqlTableRef& ref, bool lateral) {
    if (ref.args.isEmpty() || ref.args.size() > 2)
        throw ServerError::Make(
            ref.args.isEmpty() ? 313 : 8144, 16,
            ref.args.isEmpty()
                ? QStringLiteral("An insufficient number of arguments were supplied for the procedure or "
                                 "function OPENJSON.")
                : QStringLiteral("Procedure or function OPENJSON has too many arguments specified."),
            true);
    const QString doc = Expr(*ref.args[0]);
    const QString path = ref.args.size() > 1 ? Expr(*ref.args[1]) : QStringLiteral("'$'");
    const QString source =
        QStringLiteral("json_each(tsql_json_document(%1), tsql_json_each_path(%1, %2))").arg(doc, path);
    const QString alias = ref.alias.isEmpty() ? QStringLiteral("OPENJSON") : ref.alias;
    const QString a = Quote(lateral ? alias : QStringLiteral("__json"));

    QList<QPair<QString, QString>> columns; // name, expression
    if (!ref.hasJsonSchema) {
        columns.append(
            {QStringLiteral("key"), QStringLiteral("(CAST(%1.\"key\" AS TEXT) COLLATE TSQL)").arg(a)});
        columns.append({QStringLiteral("value"),
                        QStringLiteral("(CASE %1.\"type\" WHEN 'true' THEN 'true' WHEN 'false' THEN 'false' "
                                       "WHEN 'null' THEN NULL ELSE tsql_text(%1.\"value\") END COLLATE TSQL)")
                            .arg(a)});
        columns.append(
            {QStringLiteral("type"),
             QStringLiteral("(CASE %1.\"type\" WHEN 'null' THEN 0 WHEN 'text' THEN 1 WHEN 'integer' "
                            "THEN 2 WHEN 'real' THEN 2 WHEN 'true' THEN 3 WHEN 'false' THEN 3 WHEN "
                            "'array' THEN 4 WHEN 'object' THEN 5 END)")
                 .arg(a)});
    } else {
        const QString element = ElementJson(a);
        for (const SqlJsonColumn& c : ref.jsonColumns) {
            QString columnPath = c.path;
            if (columnPath.isEmpty()) {
                QString key = c.name;
                columnPath = QStringLiteral("$.\"") + key.replace(u'"', QStringLiteral("\\\"")) + u'"';
            }
            if (c.asJson) {
                if (!(c.type.name == QLatin1String("nvarchar") && c.type.length == -2))
                    throw ServerError::Make(
                        13618, 16,
                        QStringLiteral("AS JSON option can be specified only for column of "
                                       "nvarchar(max) type in WITH clause."));
                columns.append(
                    {c.name, QStringLiteral("tsql_json_query(%1, %2)").arg(element, Literal(columnPath))});
                continue;
            }
            columns.append({c.name, QStringLiteral("tsql_convert(%1, %2, %3, tsql_json_value(%4, %5))")
                                        .arg(Literal(c.type.name))
                                        .arg(c.type.length == -1 && c.type.precision > 0 ? c.type.precision
                                                                                         : c.type.length)
                                        .arg(c.type.scale)
                                        .arg(element, Literal(columnPath))});
        }
    }
    return EachRows(source, alias, a, columns, lateral);
}

// The rows of a json_each (of OPENJSON, or of node references for xml) as a table: alone, a
// derived table of its columns in the order of its rows; after APPLY, json_each in the join named
// rowName and its columns worked out where they are named.
QString SqlTranslator::EachRows(const QString& source, const QString& alias, const QString& rowName,
                                const QList<QPair<QString, QString>>& columns, bool lateral) {
    if (lateral) {
        QHash<QString, QString> byName;
        for (const auto& [name, expression] : columns)
            byName.insert(name.toLower(), expression);
        mLateral.insert(alias.toLower(), byName);
        return source + QStringLiteral(" AS ") + rowName;
    }
    QStringList select;
    for (const auto& [name, expression] : columns)
        select.append(expression + QStringLiteral(" AS ") + Quote(name));
    return QStringLiteral("(SELECT %1 FROM %2 AS %3 ORDER BY %3.\"id\") AS %4")
        .arg(select.join(QStringLiteral(", ")), source, rowName, Quote(alias));
}

// CROSS APPLY and OUTER APPLY. SQLite has no lateral join, but its table-valued functions take the
// columns of the tables before them: OPENJSON and STRING_SPLIT become json_each in the join. A
// derived table with TOP 1, or of aggregates alone, gives at most one row per row before it; its
// columns become correlated subqueries where they are named (CROSS
// APPLY keeping only the rows where it has one). A plain SELECT ... FROM ... WHERE becomes a join.
// Anything else joins as it is, which is right as long as it doesn't name the tables before it.
QString SqlTranslator::Apply(const SqlTableRef& join) {
    const SqlTableRef& right = *join.right;
    const bool outer = join.joinType == QLatin1String("OUTER APPLY");
    const QString joinWord = outer ? QStringLiteral(" LEFT JOIN ") : QStringLiteral(" CROSS JOIN ");
    const QString on = outer ? QStringLiteral(" ON 1") : QString();
    const auto isFunction = [&](const char* name) {
        return right.kind == SqlTableRef::Kind::Function && right.name.size() == 1 &&
               right.name.first().compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    if (isFunction("OPENJSON"))
        return joinWord + OpenJson(right, true) + on;
    if (isFunction("XML.NODES"))
        return joinWord + XmlNodes(right, true) + on;
    if (isFunction("OPENXML"))
        return joinWord + OpenXml(right, true) + on;
    if (isFunction("STRING_SPLIT")) {
        if (right.args.size() != 2)
            return joinWord + StringSplit(right) + on; // its argument count error
        return joinWord +
               QStringLiteral("json_each(tsql_split_json(%1, %2)) AS %3")
                   .arg(Expr(*right.args[0]), Expr(*right.args[1]),
                        Quote(right.alias.isEmpty() ? QStringLiteral("STRING_SPLIT") : right.alias)) +
               on;
    }
    const bool simpleQuery = right.kind == SqlTableRef::Kind::Subquery && right.select->cores.size() == 1 &&
                             !right.select->forClause && right.select->ctes.isEmpty();
    if (!simpleQuery)
        return joinWord + TableRef(right) + on;
    const SqlSelectCore& core = right.select->cores.first();
    const bool aggregate = core.groupBy.isEmpty() && !core.items.isEmpty() &&
                           std::all_of(core.items.begin(), core.items.end(),
                                       [](const SqlSelectItem& item) { return IsAggregate(*item.expr); });
    const bool topOne =
        core.top && core.top->kind == SqlExpr::Kind::Number && core.top->text == QLatin1String("1");
    if (topOne || aggregate) {
        QStringList names;
        for (const SqlSelectItem& item : core.items) {
            if (item.hasAlias)
                names.append(item.alias);
            else if (item.expr->kind == SqlExpr::Kind::Column)
                names.append(item.expr->parts.last());
            else
                names.clear();
            if (names.isEmpty())
                break;
        }
        if (!names.isEmpty()) {
            const QString sub = Select(*right.select);
            QHash<QString, QString> byName;
            for (const QString& name : names)
                byName.insert(name.toLower(), QStringLiteral("(SELECT %1 FROM (%2))").arg(Quote(name), sub));
            mLateral.insert(right.alias.toLower(), byName);
            if (!outer && !aggregate)
                mApplyConditions.append(QStringLiteral("EXISTS (%1)").arg(sub));
            return {};
        }
    }
    // A plain SELECT ... FROM ... WHERE: its tables join those before it, its WHERE is the join's
    // condition, and its columns are its expressions.
    if (!core.top && !core.distinct && core.groupBy.isEmpty() && !core.having && !core.from.isEmpty() &&
        core.into.isEmpty() && right.select->orderBy.isEmpty() && !right.alias.isEmpty()) {
        QHash<QString, QString> byName;
        for (const SqlSelectItem& item : core.items) {
            const SqlExpr& e = *item.expr;
            if (e.kind == SqlExpr::Kind::Star || IsAggregate(e) || e.over)
                return joinWord + TableRef(right) + on;
            const QString name = item.hasAlias                     ? item.alias
                                 : e.kind == SqlExpr::Kind::Column ? e.parts.last()
                                                                   : QString();
            if (name.isEmpty())
                return joinWord + TableRef(right) + on;
            byName.insert(name.toLower(), QString());
        }
        const bool single = core.from.size() == 1 && core.from.first()->kind != SqlTableRef::Kind::Join;
        if (outer && !single)
            return joinWord + TableRef(right) + on;
        const QString tables = FromList(core.from);
        // Inside, a name without a table is the inner table's, as the server looks there first.
        const QString outerQualifier = mQualifier;
        if (single && core.from.first()->kind == SqlTableRef::Kind::Named)
            mQualifier = core.from.first()->alias.isEmpty() ? core.from.first()->name.last()
                                                            : core.from.first()->alias;
        const QString condition = core.where ? Expr(*core.where) : QStringLiteral("1");
        for (const SqlSelectItem& item : core.items) {
            const SqlExpr& e = *item.expr;
            const QString name = item.hasAlias ? item.alias : e.parts.last();
            byName.insert(name.toLower(), u'(' + Expr(e) + u')');
        }
        mQualifier = outerQualifier;
        mLateral.insert(right.alias.toLower(), byName);
        if (outer)
            return QStringLiteral(" LEFT JOIN ") + tables + QStringLiteral(" ON ") + condition;
        mApplyConditions.append(condition);
        return QStringLiteral(" CROSS JOIN ") + tables;
    }
    return joinWord + TableRef(right) + on;
}

// SELECT ... FOR JSON | FOR XML: the query's rows, each column named, folded into one text by the
// tsql_for_rows aggregate in the order the query gives them.
QString SqlTranslator::ForClause(const SqlSelect& select) {
    const SqlForClause& f = *select.forClause;
    SqlSelect inner = select;
    inner.forClause.reset();
    const SqlSelectCore& first = inner.cores.first();
    if (first.items.size() > kMaxForColumns)
        throw ServerError::Unsupported(QStringLiteral("FOR JSON and FOR XML of more than 63 columns"));
    const QString unnamedJson =
        QStringLiteral("Column expressions and data sources without names or aliases cannot be formatted as "
                       "JSON text using FOR JSON clause. Add alias to the unnamed column or table.");
    QStringList names;   // the names the aggregate is given, each after its kind
    QStringList columns; // the inner query's columns
    bool star = false;
    for (qsizetype i = 0; i < first.items.size(); ++i) {
        const SqlSelectItem& item = first.items[i];
        const SqlExpr& e = *item.expr;
        if (e.kind == SqlExpr::Kind::Star) {
            star = true;
            continue;
        }
        QString name = item.hasAlias                     ? item.alias
                       : e.kind == SqlExpr::Kind::Column ? e.parts.last()
                                                         : QString();
        if (name.isEmpty() && f.json)
            throw ServerError::Make(13605, 16, unnamedJson);
        QString column = name;
        if (name.isEmpty()) {
            column = QStringLiteral("__for_%1").arg(i);
            for (SqlSelectCore& core : inner.cores)
                if (i < core.items.size()) {
                    core.items[i].alias = column;
                    core.items[i].hasAlias = true;
                }
        }
        const QChar kind = f.json ? (IsJsonText(e) ? u'j' : u'v') : (IsXmlText(e) ? u'x' : u'v');
        names.append(Literal(kind + name));
        columns.append(Quote(column));
    }
    const QString innerSql = Select(inner);
    if (star) {
        // What * stands for is known once SQLite has read the query.
        names.clear();
        columns.clear();
        const QStringList all = mContext.ColumnNames(innerSql);
        if (all.isEmpty() || all.size() > kMaxForColumns)
            throw ServerError::Unsupported(QStringLiteral("FOR JSON and FOR XML of these columns"));
        for (const QString& column : all) {
            const bool unnamed = column.startsWith(QLatin1String("__for_")) || ResultName(column).isEmpty();
            if (unnamed && f.json)
                throw ServerError::Make(13605, 16, unnamedJson);
            names.append(Literal(QChar(u'v') + (unnamed ? QString() : column)));
            columns.append(Quote(column));
        }
    }
    QStringList options = {f.json ? QStringLiteral("json") : QStringLiteral("xml"),
                           QStringLiteral("mode=") + f.mode};
    if (!f.json) {
        QString element = f.elementGiven ? f.element : QStringLiteral("row");
        if (f.mode == QLatin1String("AUTO")) {
            element = QStringLiteral("row");
            if (!first.from.isEmpty()) {
                const SqlTableRef* t = first.from.first().get();
                while (t->kind == SqlTableRef::Kind::Join)
                    t = t->left.get();
                element = !t->alias.isEmpty() ? t->alias : !t->name.isEmpty() ? t->name.last() : element;
            }
        }
        options.append(QStringLiteral("element=") + element);
    }
    if (f.json && f.mode == QLatin1String("AUTO") && !star) {
        // Columns of other tables than the first column's nest as arrays named after their alias.
        QStringList tables;
        QList<int> levels;
        for (const SqlSelectItem& item : first.items) {
            const SqlExpr& e = *item.expr;
            const QString table = e.kind == SqlExpr::Kind::Column && e.parts.size() >= 2
                                      ? e.parts[e.parts.size() - 2]
                                      : QString();
            qsizetype level = 0;
            if (!table.isEmpty()) {
                level = tables.indexOf(table);
                if (level < 0) {
                    tables.append(table);
                    level = tables.size() - 1;
                }
            }
            levels.append(int(level));
        }
        if (tables.size() > 1) {
            for (const QString& table : tables)
                options.append(QStringLiteral("table=") + table);
            for (const int level : levels)
                options.append(QStringLiteral("level=%1").arg(level));
        }
    }
    if (f.root)
        options.append(QStringLiteral("root=") + f.rootName);
    if (f.includeNulls)
        options.append(QStringLiteral("nulls"));
    if (f.withoutArrayWrapper)
        options.append(QStringLiteral("nowrap"));
    if (f.elements)
        options.append(QStringLiteral("elements"));
    return QStringLiteral("SELECT tsql_for_rows(%1, %2, %3) AS %4 FROM (%5)")
        .arg(Literal(options.join(u'\n')), names.join(QStringLiteral(", ")),
             columns.join(QStringLiteral(", ")), Quote(f.json ? kJsonColumn : kXmlColumn), innerSql);
}
