// The smaller forms of data change: DEFAULT as a value of INSERT and UPDATE, and the variables an
// UPDATE sets.
#include "SessionDmlColumns.h"
#include "SessionState.h"

namespace {

bool NamesTarget(const QList<SqlTableRefP>& from, const QString& target) {
    for (const SqlTableRefP& r : from) {
        if (!r)
            continue;
        if (r->kind == SqlTableRef::Kind::Join) {
            if (NamesTarget({r->left, r->right}, target))
                return true;
            continue;
        }
        const QString name = !r->alias.isEmpty() ? r->alias : r->name.value(r->name.size() - 1);
        if (name.compare(target, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

} // namespace

QString dml::ColumnDefault(SqliteDb& db, int tableId, const QString& column) {
    // The table keeps the column's DEFAULT as SQLite text; a column without one takes NULL.
    const QList<QVariantList> rows =
        db.Rows(QStringLiteral("SELECT dflt_value FROM pragma_table_info(?) WHERE name = ? COLLATE NOCASE"),
                {QStringLiteral("T%1").arg(tableId), column});
    if (rows.isEmpty() || rows.first().value(0).isNull())
        return QStringLiteral("NULL");
    return u'(' + rows.first().value(0).toString() + u')';
}

long long SessionState::AssignUpdateVariables(const SqlStatement& s, const CatalogueObject& table,
                                              const QList<QPair<QString, SqlExprP>>& variables) {
    // Each variable takes its value for the last row the statement changes, worked out before
    // the change (a column set in the same statement gives its new value, which is the
    // expression's).
    SqlTranslator t(*this);
    const QString with = s.select ? t.WithClause(*s.select) : QString();
    const QString own =
        QStringLiteral("\"main\".\"T%1\" AS %2").arg(table.id).arg(SqlTranslator::Quote(table.name));
    QString from = own;
    if (!s.from.isEmpty()) {
        from = t.FromList(s.from);
        if (!NamesTarget(s.from, s.target.last()))
            from = own + QStringLiteral(", ") + from;
    }
    QStringList values;
    for (const auto& v : variables)
        values.append(v.second ? t.Expr(*v.second) : QStringLiteral("NULL"));
    QString sql = QStringLiteral("%1SELECT %2 FROM %3").arg(with, values.join(QStringLiteral(", ")), from);
    if (s.where)
        sql += QStringLiteral(" WHERE ") + t.Expr(*s.where);
    if (s.top)
        sql += QStringLiteral(" LIMIT ") + t.Expr(*s.top);
    const SqlRowSet rows = Query(sql, t.Params());
    if (rows.rows.isEmpty())
        return 0;
    const QVariantList& last = rows.rows.last();
    for (qsizetype i = 0; i < variables.size(); ++i)
        Assign(variables[i].first, last.value(i), s.line);
    return rows.rows.size();
}
