// UPDATE and DELETE of a common table expression, as in
//   WITH d AS (SELECT *, ROW_NUMBER() OVER (PARTITION BY k ORDER BY id) AS rn FROM t)
//   DELETE FROM d WHERE rn > 1
// The expression must read one table; it is given that table's rowid as one more column, and the
// statement changes the table's rows whose rowids the expression gives.
#include "SessionDmlColumns.h"
#include "SessionState.h"

namespace {

const SqlCte* FindCte(const SqlStatement& s) {
    if (!s.select || s.target.size() != 1)
        return nullptr;
    // DELETE x FROM d AS x: the target is an alias of the FROM list
    QString name = s.target.first();
    for (const SqlTableRefP& r : s.from)
        if (r->kind == SqlTableRef::Kind::Named && r->alias.compare(name, Qt::CaseInsensitive) == 0)
            name = r->name.last();
    for (const SqlCte& c : s.select->ctes)
        if (c.name.compare(name, Qt::CaseInsensitive) == 0)
            return &c;
    return nullptr;
}

ServerError NotUpdatable(const QString& name) {
    return ServerError::Make(
        4405, 16,
        QStringLiteral("View or function '%1' is not updatable because the modification affects multiple "
                       "base tables.")
            .arg(name));
}

// The base column behind a column of the expression; empty when it is computed.
QString BaseColumn(const SqlCte& cte, const QString& column) {
    const SqlSelectCore& core = cte.select->cores.first();
    for (int i = 0; i < core.items.size(); ++i) {
        const SqlSelectItem& item = core.items[i];
        QString name = i < cte.columns.size() ? cte.columns[i] : item.alias;
        if (name.isEmpty() && item.expr->kind == SqlExpr::Kind::Column)
            name = item.expr->parts.last();
        if (item.expr->kind == SqlExpr::Kind::Star && cte.columns.isEmpty())
            continue;
        if (name.compare(column, Qt::CaseInsensitive) != 0)
            continue;
        return item.expr->kind == SqlExpr::Kind::Column ? item.expr->parts.last() : QString();
    }
    return column; // through *
}

} // namespace

bool SessionState::RunOnCte(const SqlStatement& s) {
    const SqlCte* cte = FindCte(s);
    if (!cte)
        return false;
    const bool update = s.kind == SqlStatement::Kind::Update;
    const SqlSelect& query = *cte->select;
    if (query.cores.size() != 1 || query.cores.first().from.size() != 1 ||
        query.cores.first().from.first()->kind != SqlTableRef::Kind::Named || query.cores.first().distinct ||
        !query.cores.first().groupBy.isEmpty())
        throw NotUpdatable(cte->name);
    const SqlTableRef& baseRef = *query.cores.first().from.first();
    const CatalogueObject table = TargetTable(baseRef.name, s.line, update ? "UPDATE" : "DELETE");
    mDmlStatement = &s;
    const QString physical = QStringLiteral("\"main\".\"T%1\"").arg(table.id);

    // The expressions again, the changed one with the rowid of its table.
    SqlSelect with = *s.select;
    for (SqlCte& c : with.ctes) {
        if (c.name.compare(cte->name, Qt::CaseInsensitive) != 0)
            continue;
        auto select = std::make_shared<SqlSelect>(*c.select);
        auto rowid = std::make_shared<SqlExpr>();
        rowid->kind = SqlExpr::Kind::Column;
        rowid->parts = QStringList{baseRef.alias.isEmpty() ? baseRef.name.last() : baseRef.alias,
                                   QStringLiteral("rowid")};
        rowid->line = s.line;
        SqlSelectItem item;
        item.expr = rowid;
        item.alias = QStringLiteral("__rid");
        item.hasAlias = true;
        select->cores.first().items.append(item);
        if (!c.columns.isEmpty())
            c.columns.append(item.alias);
        c.select = select;
    }
    SqlTranslator t(*this);
    const QString prefix = t.WithClause(with);
    QString alias = SqlTranslator::Quote(s.target.first());
    QString from = t.FromList(s.from);
    if (s.from.isEmpty())
        from = SqlTranslator::Quote(cte->name) + QStringLiteral(" AS ") + alias;
    QString inner = QStringLiteral("SELECT %1.__rid AS __rid").arg(alias);
    QStringList sets;
    mDmlColumns.clear();
    if (update) {
        const QList<dml::TableColumn> columns = dml::Columns(*mDb, table.id);
        for (const auto& a : s.assignments) {
            if (a.first.first().startsWith(u'@'))
                throw ServerError::Unsupported(QStringLiteral("setting variables in an UPDATE"));
            const QString base = BaseColumn(*cte, a.first.last());
            const dml::TableColumn* found = nullptr;
            for (const dml::TableColumn& c : columns)
                if (c.name.compare(base, Qt::CaseInsensitive) == 0)
                    found = &c;
            if (base.isEmpty())
                throw ServerError::Make(4406, 16,
                                        QStringLiteral("Update or insert of view or function '%1' failed "
                                                       "because it contains a derived or constant field.")
                                            .arg(cte->name));
            if (!found)
                throw ServerError::Make(
                    207, 16, QStringLiteral("Invalid column name '%1'.").arg(a.first.last()), true);
            if (found->identity)
                throw ServerError::Make(
                    8102, 16, QStringLiteral("Cannot update identity column '%1'.").arg(found->name));
            if (!a.second)
                throw ServerError::Unsupported(QStringLiteral("SET column = DEFAULT"));
            inner +=
                QStringLiteral(", %1 AS __v%2").arg(dml::Stored(*found, t.Expr(*a.second))).arg(sets.size());
            sets.append(
                QStringLiteral("%1 = __u.__v%2").arg(SqlTranslator::Quote(found->name)).arg(sets.size()));
            mDmlColumns.append(found->name);
        }
    }
    inner += QStringLiteral(" FROM ") + from;
    if (s.where)
        inner += QStringLiteral(" WHERE ") + t.Expr(*s.where);
    if (s.top)
        inner += QStringLiteral(" LIMIT ") + t.Expr(*s.top);
    const QString sql = update
                            ? QStringLiteral("%1UPDATE %2 SET %3 FROM (%4) AS __u WHERE %2.rowid = __u.__rid")
                                  .arg(prefix, physical, sets.join(QStringLiteral(", ")), inner)
                            : QStringLiteral("%1DELETE FROM %2 WHERE rowid IN (SELECT __rid FROM (%3))")
                                  .arg(prefix, physical, inner);
    RunDml(sql, t.Params(), table, update ? QStringLiteral("UPDATE") : QStringLiteral("DELETE"));
    return true;
}
