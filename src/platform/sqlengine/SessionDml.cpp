// INSERT, UPDATE and DELETE of a session.
#include "SessionState.h"

#include "SessionDmlColumns.h"
#include "SqlParser.h"

namespace dml {

QList<TableColumn> Columns(SqliteDb& db, int id) {
    QList<TableColumn> list;
    for (const QVariantList& r :
         db.Rows(QStringLiteral("SELECT name, status, xusertype, xscale, xprec FROM syscolumns WHERE "
                                "id = ? ORDER BY colid"),
                 {id})) {
        const SystemType* t = Catalogue::FindTypeById(r[2].toInt());
        list.append(TableColumn{r[0].toString(), (r[1].toInt() & 0x80) != 0,
                                t ? QString::fromLatin1(t->name) : QString(), r[3].toInt(), r[4].toInt()});
    }
    return list;
}

// A value stored into a column takes the column's type: '12' into an int column is 12, a date
// in any accepted form is kept in one form, 'abc' into an int column fails as on the server.
// Text keeps its value; its length is checked by the table itself.
QString Stored(const TableColumn& c, const QString& sql) {
    const SystemType* t = Catalogue::FindType(c.type);
    if (!t || t->character || c.type == QLatin1String("uniqueidentifier") ||
        c.type == QLatin1String("binary") || c.type == QLatin1String("varbinary") ||
        c.type == QLatin1String("image") || c.type == QLatin1String("timestamp") ||
        c.type == QLatin1String("sql_variant"))
        return sql;
    // A decimal is rounded to the column's scale and must fit its precision.
    const int length =
        c.type == QLatin1String("decimal") || c.type == QLatin1String("numeric") ? c.precision : -1;
    return QStringLiteral("tsql_convert('%1', %2, %3, %4)").arg(c.type).arg(length).arg(c.scale).arg(sql);
}

namespace {
// Exact numbers and integers must fit their column; other values are taken as the query gives them.
bool Checked(const QString& type) {
    return type == QLatin1String("decimal") || type == QLatin1String("numeric") ||
           type == QLatin1String("money") || type == QLatin1String("smallmoney") ||
           type == QLatin1String("tinyint") || type == QLatin1String("smallint") ||
           type == QLatin1String("int") || type == QLatin1String("bigint");
}
} // namespace

QHash<QString, QString> ColumnTypes(const QList<TableColumn>& columns) {
    QHash<QString, QString> types;
    for (const TableColumn& c : columns)
        types.insert(c.name.toLower(), c.type);
    return types;
}

QString StoredRows(const QList<TableColumn>& columns, const QString& select) {
    bool exact = false;
    for (const TableColumn& c : columns)
        exact = exact || Checked(c.type);
    if (!exact)
        return select;
    // The rows' columns get names of our own from a first SELECT that gives no row, so that each
    // can be read by position whatever the query calls it.
    QStringList names;
    QStringList values;
    for (int i = 0; i < columns.size(); ++i) {
        const QString name = QStringLiteral("\"tsql_c%1\"").arg(i);
        names.append(QStringLiteral("NULL AS ") + name);
        values.append(Checked(columns[i].type) ? Stored(columns[i], name) : name);
    }
    return QStringLiteral("SELECT %1 FROM (SELECT %2 WHERE 0 UNION ALL SELECT * FROM (%3))")
        .arg(values.join(QStringLiteral(", ")), names.join(QStringLiteral(", ")), select);
}

ServerError ValuesMismatch(qsizetype values, qsizetype columns) {
    const QString sides = values > columns
                              ? QStringLiteral("fewer columns in the INSERT statement than values")
                              : QStringLiteral("more columns in the INSERT statement than values");
    return ServerError::Make(values > columns ? 110 : 109, 15,
                             QStringLiteral("There are %1 specified in the VALUES clause. The number of "
                                            "values in the VALUES clause must match the number of "
                                            "columns specified in the INSERT statement.")
                                 .arg(sides),
                             true);
}

} // namespace dml

using dml::Columns;
using dml::Stored;
using dml::TableColumn;

namespace {

// The alias under which the target of an UPDATE or DELETE stands in its FROM list, if it does.
QString FindTargetAlias(const QList<SqlTableRefP>& from, const QString& target) {
    for (const SqlTableRefP& r : from) {
        if (r->kind == SqlTableRef::Kind::Join) {
            QString a = FindTargetAlias({r->left, r->right}, target);
            if (!a.isEmpty())
                return a;
            continue;
        }
        if (r->kind != SqlTableRef::Kind::Named)
            continue;
        if (!r->alias.isEmpty() && r->alias.compare(target, Qt::CaseInsensitive) == 0)
            return r->alias;
        if (r->alias.isEmpty() && r->name.last().compare(target, Qt::CaseInsensitive) == 0)
            return r->name.last();
    }
    return {};
}

// UPDATE o ... FROM Orders o: the table behind an alias of the FROM list.
QStringList AliasedTable(const QList<SqlTableRefP>& from, const QStringList& target) {
    if (target.size() != 1)
        return target;
    for (const SqlTableRefP& r : from) {
        if (r->kind == SqlTableRef::Kind::Join) {
            QStringList inner = AliasedTable({r->left, r->right}, target);
            if (inner != target)
                return inner;
            continue;
        }
        if (r->kind == SqlTableRef::Kind::Named && !r->alias.isEmpty() &&
            r->alias.compare(target.first(), Qt::CaseInsensitive) == 0)
            return r->name;
    }
    return target;
}

} // namespace

CatalogueObject SessionState::TargetTable(const QStringList& name, int, const char* action) {
    const QString written = name.join(u'.');
    if (name.last().startsWith(u'@'))
        throw ServerError::Unsupported(QStringLiteral("table variables"));
    if (Catalogue::IsCatalogueTable(name.last()) || Catalogue::IsMasterTable(name.last()))
        throw ServerError::Make(259, 16,
                                QStringLiteral("Ad hoc updates to system catalogs are not allowed."));
    const QString dbName = name.size() >= 3 ? name[name.size() - 3] : QString();
    if (!dbName.isEmpty() && dbName.compare(database, Qt::CaseInsensitive) != 0)
        throw ServerError::Unsupported(QStringLiteral("changing data of another database"));
    const QString owner = name.size() >= 2 ? name[name.size() - 2] : QString();
    CatalogueObject o = Catalogue::FindObject(*mDb, Schema(), name.last(), owner, mUid);
    if (!o.IsValid())
        throw ServerError::InvalidObject(written);
    if (o.xtype != QLatin1String("U") && o.xtype != QLatin1String("V"))
        throw ServerError::InvalidObject(written);
    const int code = QLatin1String(action) == QLatin1String("INSERT")   ? 195
                     : QLatin1String(action) == QLatin1String("UPDATE") ? 197
                                                                        : 196;
    // The server refuses a user without the right before it looks at what the view allows.
    CheckPermission(o, code);
    if (o.xtype == QLatin1String("V"))
        throw ServerError::Unsupported(QStringLiteral("changing data through a view"));
    return o;
}

long long SessionState::RunDml(const QString& sql, const QVariantList& params, const CatalogueObject& table,
                               const QString& verb) {
    const SqlStatement* dml = std::exchange(mDmlStatement, nullptr);
    const SqlStatement* output = dml && !dml->output.isEmpty() ? dml : nullptr;
    if (const QList<Module> triggers = TriggersFor(table, verb); !triggers.isEmpty() || output)
        return RunDmlWithTriggers(sql, params, table, verb, triggers, output);
    try {
        SqliteStatement st(mDb->Handle(), sql);
        st.BindAll(params);
        while (st.Step()) {
        }
    } catch (const SqliteError& e) {
        throw MapSqliteError(e, verb);
    }
    const long long n = mDb->Changes();
    EmitCount(n);
    return n;
}

void SessionState::RunInsert(const SqlStatement& s) {
    if (RunOnView(s, QStringLiteral("INSERT")))
        return;
    if (!s.body.isEmpty()) {
        RunInsertExec(s);
        return;
    }
    const CatalogueObject table = TargetTable(s.target, s.line, "INSERT");
    mDmlStatement = &s;
    const QList<TableColumn> columns = Columns(*mDb, table.id);
    bool hasIdentity = false;
    for (const TableColumn& c : columns)
        hasIdentity = hasIdentity || c.identity;
    QStringList targets;
    QList<TableColumn> targetColumns;
    if (s.columns.isEmpty()) {
        for (const TableColumn& c : columns)
            if (!c.identity || mIdentityInsert == QString::number(table.id)) {
                targets.append(c.name);
                targetColumns.append(c);
            }
    } else {
        for (const QString& name : s.columns) {
            const TableColumn* found = nullptr;
            for (const TableColumn& c : columns)
                if (c.name.compare(name, Qt::CaseInsensitive) == 0)
                    found = &c;
            if (!found)
                throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(name), true);
            if (found->identity && mIdentityInsert != QString::number(table.id))
                throw ServerError::Make(
                    544, 16,
                    QStringLiteral("Cannot insert explicit value for identity column in table '%1' "
                                   "when IDENTITY_INSERT is set to OFF.")
                        .arg(table.name));
            targets.append(found->name);
            targetColumns.append(*found);
        }
    }
    SqlTranslator t(*this);
    QStringList quoted;
    for (const QString& c : targets)
        quoted.append(SqlTranslator::Quote(c));
    QString sql = QStringLiteral("INSERT INTO \"main\".\"T%1\"").arg(table.id);
    if (s.defaultValues) {
        sql += QStringLiteral(" DEFAULT VALUES");
    } else {
        sql += QStringLiteral(" (") + quoted.join(QStringLiteral(", ")) + u')';
        if (s.select) {
            const int produced = int(s.select->cores.first().items.size());
            bool star = false;
            for (const SqlSelectItem& i : s.select->cores.first().items)
                star = star || i.expr->kind == SqlExpr::Kind::Star;
            if (!star && produced != targets.size())
                throw ServerError::Make(
                    produced > targets.size() ? 121 : 120, 15,
                    produced > targets.size()
                        ? QStringLiteral("The select list for the INSERT statement contains more "
                                         "items than the insert list. The number of SELECT values "
                                         "must match the number of INSERT columns.")
                        : QStringLiteral("The select list for the INSERT statement contains fewer "
                                         "items than the insert list. The number of SELECT values "
                                         "must match the number of INSERT columns."),
                    true);
            const QString source =
                s.top ? QStringLiteral("SELECT * FROM (%1) LIMIT %2").arg(t.Select(*s.select), t.Expr(*s.top))
                      : t.Select(*s.select);
            sql += u' ' + dml::StoredRows(targetColumns, source);
        } else {
            if (s.top)
                throw ServerError::Unsupported(QStringLiteral("INSERT TOP with VALUES"));
            sql += QStringLiteral(" VALUES ");
            for (int r = 0; r < s.values.size(); ++r) {
                const QList<SqlExprP>& row = s.values[r];
                if (row.size() != targets.size())
                    throw dml::ValuesMismatch(row.size(), targets.size());
                QStringList values;
                for (int k = 0; k < row.size(); ++k) {
                    values.append(row[k] ? Stored(targetColumns[k], t.Expr(*row[k]))
                                         : dml::ColumnDefault(*mDb, table.id, targetColumns[k].name));
                }
                sql += (r > 0 ? QStringLiteral(", (") : QStringLiteral("(")) +
                       values.join(QStringLiteral(", ")) + u')';
            }
        }
    }
    const long long n = RunDml(sql, t.Params(), table, QStringLiteral("INSERT"));
    if (hasIdentity && n > 0) {
        mIdentity = mDb->LastInsertRowId();
        mScopeIdentity = mIdentity;
    }
}

void SessionState::RunUpdate(const SqlStatement& s) {
    if (s.optionValue == QLatin1String("CURRENT OF")) {
        RunCurrentOf(s);
        return;
    }
    if (RunOnCte(s) || RunOnView(s, QStringLiteral("UPDATE")))
        return;
    const CatalogueObject table = TargetTable(AliasedTable(s.from, s.target), s.line, "UPDATE");
    mDmlStatement = &s;
    const QList<TableColumn> columns = Columns(*mDb, table.id);
    const QString physical = QStringLiteral("\"main\".\"T%1\"").arg(table.id);
    SqlTranslator t(*this);
    t.NoteTable(s.target.last(), dml::ColumnTypes(columns));
    const QString with = s.select ? t.WithClause(*s.select) : QString();
    QList<QPair<QString, SqlExprP>> sets;
    QList<TableColumn> setColumns;
    QList<QPair<QString, SqlExprP>> variableSets;
    for (const auto& a : s.assignments) {
        if (a.first.first().startsWith(u'@')) {
            variableSets.append({a.first.first(), a.second});
            if (a.first.size() == 1)
                continue; // @v = column = expression sets the column too
        }
        const QString col = a.first.last();
        const TableColumn* found = nullptr;
        for (const TableColumn& c : columns)
            if (c.name.compare(col, Qt::CaseInsensitive) == 0)
                found = &c;
        if (!found)
            throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(col), true);
        if (found->identity)
            throw ServerError::Make(8102, 16,
                                    QStringLiteral("Cannot update identity column '%1'.").arg(found->name));
        sets.append({found->name, a.second});
        setColumns.append(*found);
    }
    // DEFAULT: the column's own
    const auto value = [&](int i) {
        return sets[i].second ? Stored(setColumns[i], t.Expr(*sets[i].second))
                              : dml::ColumnDefault(*mDb, table.id, sets[i].first);
    };
    if (!variableSets.isEmpty()) {
        const long long n = AssignUpdateVariables(s, table, variableSets);
        if (sets.isEmpty()) {
            mDmlStatement = nullptr;
            EmitCount(n);
            return;
        }
    }
    QString sql;
    if (s.from.isEmpty() && !s.top) {
        sql = QStringLiteral("UPDATE %1 AS %2 SET ").arg(physical, SqlTranslator::Quote(table.name));
        for (int i = 0; i < sets.size(); ++i)
            sql += (i > 0 ? QStringLiteral(", ") : QString()) + SqlTranslator::Quote(sets[i].first) +
                   QStringLiteral(" = ") + value(i);
        if (s.where)
            sql += QStringLiteral(" WHERE ") + t.Expr(*s.where);
    } else {
        // The general form: compute the new values in a query over the FROM list and join back on rowid.
        QString alias = FindTargetAlias(s.from, s.target.last());
        QString from;
        if (alias.isEmpty()) {
            alias = table.name;
            from = QStringLiteral("%1 AS %2").arg(physical, SqlTranslator::Quote(alias));
            if (!s.from.isEmpty())
                from += QStringLiteral(", ") + t.FromList(s.from);
        } else {
            from = t.FromList(s.from);
        }
        QString inner = QStringLiteral("SELECT %1.rowid AS __rid").arg(SqlTranslator::Quote(alias));
        for (int i = 0; i < sets.size(); ++i)
            inner += QStringLiteral(", ") + value(i) + QStringLiteral(" AS __v%1").arg(i);
        inner += QStringLiteral(" FROM ") + from;
        if (s.where)
            inner += QStringLiteral(" WHERE ") + t.Expr(*s.where);
        if (s.top)
            inner += QStringLiteral(" LIMIT ") + t.Expr(*s.top);
        sql = QStringLiteral("UPDATE %1 SET ").arg(physical);
        for (int i = 0; i < sets.size(); ++i)
            sql += (i > 0 ? QStringLiteral(", ") : QString()) + SqlTranslator::Quote(sets[i].first) +
                   QStringLiteral(" = __u.__v%1").arg(i);
        sql += QStringLiteral(" FROM (%1) AS __u WHERE %2.rowid = __u.__rid").arg(inner, physical);
    }
    mDmlColumns.clear();
    for (const auto& set : sets)
        mDmlColumns.append(set.first);
    RunDml(with + sql, t.Params(), table, QStringLiteral("UPDATE"));
}

void SessionState::RunDelete(const SqlStatement& s) {
    if (s.optionValue == QLatin1String("CURRENT OF")) {
        RunCurrentOf(s);
        return;
    }
    if (RunOnCte(s) || RunOnView(s, QStringLiteral("DELETE")))
        return;
    const CatalogueObject table = TargetTable(AliasedTable(s.from, s.target), s.line, "DELETE");
    mDmlStatement = &s;
    const QString physical = QStringLiteral("\"main\".\"T%1\"").arg(table.id);
    SqlTranslator t(*this);
    t.NoteTable(s.target.last(), dml::ColumnTypes(Columns(*mDb, table.id)));
    const QString with = s.select ? t.WithClause(*s.select) : QString();
    QString sql;
    if (s.from.isEmpty() && !s.top) {
        sql = QStringLiteral("DELETE FROM %1 AS %2").arg(physical, SqlTranslator::Quote(table.name));
        if (s.where)
            sql += QStringLiteral(" WHERE ") + t.Expr(*s.where);
    } else {
        QString alias = FindTargetAlias(s.from, s.target.last());
        QString from;
        if (alias.isEmpty()) {
            alias = table.name;
            from = QStringLiteral("%1 AS %2").arg(physical, SqlTranslator::Quote(alias));
            if (!s.from.isEmpty())
                from += QStringLiteral(", ") + t.FromList(s.from);
        } else {
            from = t.FromList(s.from);
        }
        QString inner = QStringLiteral("SELECT %1.rowid FROM %2").arg(SqlTranslator::Quote(alias), from);
        if (s.where)
            inner += QStringLiteral(" WHERE ") + t.Expr(*s.where);
        if (s.top)
            inner += QStringLiteral(" LIMIT ") + t.Expr(*s.top);
        sql = QStringLiteral("DELETE FROM %1 WHERE rowid IN (%2)").arg(physical, inner);
    }
    RunDml(with + sql, t.Params(), table, QStringLiteral("DELETE"));
}
