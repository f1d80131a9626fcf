// INSERT, UPDATE and DELETE on a view that has an INSTEAD OF trigger for them. Nothing is changed: the
// statement's rows are worked out in the view's columns (for INSERT the rows it gives, for UPDATE and
// DELETE the view's rows its WHERE picks, before and after) and the trigger runs in its place with
// them as `inserted` and `deleted`. Without such a trigger the statement goes the usual way.
#include "SessionDmlColumns.h"
#include "SessionState.h"

namespace {

SqlExprP ColumnRef(const QString& name, int line) {
    auto e = std::make_shared<SqlExpr>();
    e->kind = SqlExpr::Kind::Column;
    e->parts = QStringList{name};
    e->line = line;
    return e;
}

} // namespace

bool SessionState::RunOnView(const SqlStatement& s, const QString& verb) {
    const QStringList& name = s.target;
    if (name.isEmpty() || name.last().startsWith(u'@'))
        return false;
    const QString dbName = name.size() >= 3 ? name[name.size() - 3] : QString();
    if (!dbName.isEmpty() && dbName.compare(database, Qt::CaseInsensitive) != 0)
        return false;
    const CatalogueObject view = Catalogue::FindObject(
        *mDb, Schema(), name.last(), name.size() >= 2 ? name[name.size() - 2] : QString(), mUid);
    if (!view.IsValid() || view.xtype != QLatin1String("V"))
        return false;
    QList<Module> instead;
    for (const Module& t : TriggersFor(view, verb))
        if (t.statement->insteadOf)
            instead.append(t);
    if (instead.isEmpty())
        return false;
    const bool insert = verb == QLatin1String("INSERT");
    const bool update = verb == QLatin1String("UPDATE");
    CheckPermission(view, insert ? 195 : update ? 197 : 196);
    if (!s.from.isEmpty() || s.top || !s.output.isEmpty() || !s.body.isEmpty() || (s.select && !insert))
        throw ServerError::Unsupported(QStringLiteral(
            "FROM, TOP, OUTPUT, WITH or EXEC in a statement on a view with an INSTEAD OF trigger"));

    // The view's rows, all of them or those the WHERE picks, with the given columns.
    const auto viewQuery = [&](const QList<SqlSelectItem>& items, bool filtered, QVariantList& params) {
        auto ref = std::make_shared<SqlTableRef>();
        ref->name = name;
        ref->alias = name.last();
        ref->line = s.line;
        SqlSelectCore core;
        core.items = items;
        core.from.append(ref);
        if (filtered)
            core.where = s.where;
        SqlSelect select;
        select.cores.append(core);
        select.line = s.line;
        SqlTranslator t(*this);
        QString sql = t.Select(select);
        params = t.Params();
        return sql;
    };
    SqlSelectItem star;
    star.expr = std::make_shared<SqlExpr>();
    star.expr->kind = SqlExpr::Kind::Star;
    star.expr->line = s.line;
    QVariantList allParams;
    const QString all = viewQuery({star}, false, allParams);
    QStringList columns;
    {
        SqliteStatement st(mDb->Handle(), all);
        for (int i = 0; i < st.ColumnCount(); ++i)
            columns.append(st.ColumnName(i));
    }
    const auto findColumn = [&columns](const QString& c) {
        for (const QString& v : columns)
            if (v.compare(c, Qt::CaseInsensitive) == 0)
                return v;
        throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(c), true);
    };

    long long n = 0;
    // The statement and its trigger are one transaction, as on the server.
    InStatementTransaction([&] {
        TriggerRun run;
        run.tableId = view.id;
        run.depth = int(mTriggers.size()) + 1;
        run.columns = columns;
        run.instead = true;
        const QString ins = TriggerSnapshot("inserted", run.depth);
        const QString del = TriggerSnapshot("deleted", run.depth);
        for (const QString& snapshot : {ins, del}) {
            mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS ") + snapshot);
            mDb->Exec(QStringLiteral("CREATE TABLE %1 AS SELECT * FROM (%2) WHERE 0").arg(snapshot, all),
                      allParams);
        }
        if (insert) {
            QStringList targets;
            for (const QString& c : s.columns.isEmpty() ? columns : s.columns)
                targets.append(findColumn(c));
            QStringList quoted;
            for (const QString& c : targets)
                quoted.append(SqlTranslator::Quote(c));
            SqlTranslator t(*this);
            QString sql;
            if (s.defaultValues) {
                sql = QStringLiteral("INSERT INTO %1 DEFAULT VALUES").arg(ins);
            } else if (s.select) {
                sql = QStringLiteral("INSERT INTO %1 (%2) SELECT * FROM (%3)")
                          .arg(ins, quoted.join(QStringLiteral(", ")), t.Select(*s.select));
            } else {
                QStringList rows;
                for (const QList<SqlExprP>& row : s.values) {
                    if (row.size() != targets.size())
                        throw dml::ValuesMismatch(row.size(), targets.size());
                    QStringList values;
                    for (const SqlExprP& v : row)
                        values.append(v ? t.Expr(*v) : QStringLiteral("NULL"));
                    rows.append(u'(' + values.join(QStringLiteral(", ")) + u')');
                }
                sql = QStringLiteral("INSERT INTO %1 (%2) VALUES %3")
                          .arg(ins, quoted.join(QStringLiteral(", ")), rows.join(QStringLiteral(", ")));
            }
            try {
                mDb->Exec(sql, t.Params());
            } catch (const SqliteError& e) {
                throw MapSqliteError(e, verb);
            }
            n = mDb->Changes();
            for (const QString& c : columns)
                run.updatedColumns.append(c.toLower());
        } else {
            QVariantList params;
            const QString before = viewQuery({star}, true, params);
            try {
                mDb->Exec(QStringLiteral("INSERT INTO %1 %2").arg(del, before), params);
                n = mDb->Changes();
                if (update) {
                    // The same rows in the same order, with the new values in the columns SET names.
                    QList<SqlSelectItem> items;
                    for (const QString& c : columns) {
                        SqlSelectItem item;
                        item.expr = ColumnRef(c, s.line);
                        item.alias = c;
                        item.hasAlias = true;
                        items.append(item);
                    }
                    for (const auto& a : s.assignments) {
                        if (a.first.first().startsWith(u'@'))
                            throw ServerError::Unsupported(QStringLiteral(
                                "variables set in an UPDATE of a view with an INSTEAD OF trigger"));
                        const QString c = findColumn(a.first.last());
                        const qsizetype i = columns.indexOf(c);
                        auto null = std::make_shared<SqlExpr>();
                        null->kind = SqlExpr::Kind::Null;
                        items[i].expr = a.second ? a.second : null;
                        if (!run.updatedColumns.contains(c.toLower()))
                            run.updatedColumns.append(c.toLower());
                    }
                    const QString after = viewQuery(items, true, params);
                    mDb->Exec(QStringLiteral("INSERT INTO %1 %2").arg(ins, after), params);
                }
            } catch (const SqliteError& e) {
                throw MapSqliteError(e, verb);
            }
        }
        FireTriggers({instead.first()}, view, run, n);
    });
    EmitCount(n);
    return true;
}
