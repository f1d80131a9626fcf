// MERGE. The source's rows are copied into a temporary table first (every column compared as the
// server compares text), and which clause each target and source row takes is decided before
// anything changes, as the server decides it for the whole statement. Then each clause runs as one
// UPDATE, DELETE or INSERT on the rows it took. The rows each action changed are its triggers'
// inserted and deleted, and all of them, clause by clause, the rows of the OUTPUT with $action.
#include "SessionDmlColumns.h"
#include "SessionState.h"

namespace {

using dml::TableColumn;

QString TempName(const char* kind, int level) {
    return QStringLiteral("temp.\"tsql_merge_%1_%2\"").arg(QLatin1String(kind)).arg(level);
}

QString Marks(qsizetype n) {
    QStringList marks;
    for (qsizetype i = 0; i < n; ++i)
        marks.append(QStringLiteral("?"));
    return marks.join(u',');
}

const char* VerbOf(const SqlStatement& clause) {
    switch (clause.kind) {
    case SqlStatement::Kind::Insert:
        return "INSERT";
    case SqlStatement::Kind::Update:
        return "UPDATE";
    default:
        return "DELETE";
    }
}

// The rows one clause changed, as the table's columns before (deleted) and after (inserted), and the
// source row each came from (NULL for NOT MATCHED BY SOURCE).
struct ActionRows {
    QString verb;
    QList<QVariantList> inserted;
    QList<QVariantList> deleted;
    QVariantList sourceRows;
};

ServerError MatchedTwice() {
    return ServerError::Make(
        8672, 16,
        QStringLiteral("The MERGE statement attempted to UPDATE or DELETE the same row more than once. "
                       "This happens when a target row matches more than one source row. A MERGE "
                       "statement cannot UPDATE/DELETE the same row of the target table multiple times. "
                       "Refine the ON clause to ensure a target row matches at most one source row, or "
                       "use the GROUP BY clause to group the source rows."));
}

} // namespace

void SessionState::RunMerge(const SqlStatement& s) {
    CatalogueObject table;
    QStringList verbs;
    for (const SqlStatementP& clause : s.body) {
        const QString verb = QLatin1String(VerbOf(*clause));
        if (!verbs.contains(verb))
            verbs.append(verb);
        table = TargetTable(s.target, s.line, VerbOf(*clause));
    }
    const SqlTableRef& source = *s.from.first();
    if (source.kind == SqlTableRef::Kind::Join)
        throw ServerError::Unsupported(QStringLiteral("a join as the source of MERGE"));
    QHash<QString, QList<Module>> triggers;
    for (const QString& verb : verbs) {
        triggers.insert(verb, TriggersFor(table, verb));
        for (const Module& m : triggers.value(verb))
            if (m.statement->insteadOf)
                throw ServerError::Unsupported(QStringLiteral("MERGE into a table with INSTEAD OF triggers"));
    }
    const QList<TableColumn> columns = dml::Columns(*mDb, table.id);
    const int level = int(mTriggers.size()) + 1; // a MERGE in a trigger has tables of its own
    const QString src = TempName("src", level);
    const QString matched = TempName("m", level);
    const QString bySource = TempName("s", level);
    const QString byTarget = TempName("t", level);
    const QString actions = TempName("act", level);
    const QString physical = QStringLiteral("\"main\".\"T%1\"").arg(table.id);
    const QString alias = SqlTranslator::Quote(s.targetAlias.isEmpty() ? s.target.last() : s.targetAlias);
    const QString sourceName =
        !source.alias.isEmpty() ? source.alias : source.name.value(source.name.size() - 1);
    const QString srcAlias = SqlTranslator::Quote(sourceName);
    struct Cleanup {
        SqliteDb& db;
        QStringList tables;
        ~Cleanup() {
            for (const QString& t : tables) {
                try {
                    db.Exec(QStringLiteral("DROP TABLE IF EXISTS ") + t);
                } catch (...) {
                }
            }
        }
    } cleanup{*mDb, {src, matched, bySource, byTarget, actions}};
    const auto exec = [this](const QString& sql, const QVariantList& params, const QString& verb) {
        try {
            SqliteStatement st(mDb->Handle(), sql);
            st.BindAll(params);
            while (st.Step()) {
            }
        } catch (const SqliteError& e) {
            throw MapSqliteError(e, verb);
        }
        return mDb->Changes();
    };
    const QString merge = QStringLiteral("MERGE");

    // The source, once.
    {
        SqlTranslator t(*this);
        const QString with = s.select ? t.WithClause(*s.select) : QString();
        const QString select = with + QStringLiteral("SELECT * FROM ") + t.FromList(s.from);
        QStringList defs;
        for (const QString& name : QueryColumns(select))
            defs.append(SqlTranslator::Quote(name) + QStringLiteral(" COLLATE TSQL"));
        for (const QString& name : cleanup.tables)
            mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS ") + name);
        mDb->Exec(QStringLiteral("CREATE TABLE %1 (%2)").arg(src, defs.join(QStringLiteral(", "))));
        exec(QStringLiteral("INSERT INTO %1 %2").arg(src, select), t.Params(), merge);
    }

    // Which clause each row takes: the first whose condition holds, 0 for none.
    QList<int> matchedClauses;
    QList<int> sourceClauses;
    QList<int> targetClauses;
    for (int i = 0; i < s.body.size(); ++i) {
        const QString& when = s.body[i]->optionValue;
        (when == QLatin1String("MATCHED")                 ? matchedClauses
         : when == QLatin1String("NOT MATCHED BY SOURCE") ? sourceClauses
                                                          : targetClauses)
            .append(i);
    }
    const auto decide = [&s](const QList<int>& clauses, SqlTranslator& t) {
        QString sql = QStringLiteral("CASE");
        for (int i : clauses) {
            const SqlExprP& c = s.body[i]->condition;
            sql += QStringLiteral(" WHEN %1 THEN %2").arg(c ? t.Expr(*c) : QStringLiteral("1")).arg(i + 1);
        }
        return sql + QStringLiteral(" ELSE 0 END");
    };
    if (!matchedClauses.isEmpty()) {
        SqlTranslator t(*this);
        const QString on = t.Expr(*s.condition);
        const QString k = decide(matchedClauses, t);
        exec(
            QStringLiteral("CREATE TABLE %1 AS SELECT %2.rowid AS trid, %3.rowid AS srid, %4 AS k FROM %5 AS "
                           "%2 JOIN %6 AS %3 ON %7")
                .arg(matched, alias, srcAlias, k, physical, src, on),
            t.Params(), merge);
    }
    if (!sourceClauses.isEmpty()) {
        SqlTranslator t(*this);
        const QString on = t.Expr(*s.condition);
        const QString k = decide(sourceClauses, t);
        exec(QStringLiteral("CREATE TABLE %1 AS SELECT %2.rowid AS trid, NULL AS srid, %3 AS k FROM %4 AS %2 "
                            "WHERE NOT EXISTS (SELECT 1 FROM %5 AS %6 WHERE %7)")
                 .arg(bySource, alias, k, physical, src, srcAlias, on),
             t.Params(), merge);
    }
    if (!targetClauses.isEmpty()) {
        SqlTranslator t(*this);
        const QString on = t.Expr(*s.condition);
        const QString k = decide(targetClauses, t);
        exec(QStringLiteral("CREATE TABLE %1 AS SELECT %2.rowid AS srid, %3 AS k FROM %4 AS %2 WHERE NOT "
                            "EXISTS (SELECT 1 FROM %5 AS %6 WHERE %7)")
                 .arg(byTarget, srcAlias, k, src, physical, alias, on),
             t.Params(), merge);
    }

    long long total = 0;
    QList<ActionRows> done;
    QStringList updated;
    // The statement changes everything or nothing; with its triggers it is one transaction.
    InStatementTransaction([&] {
        mDb->Exec(QStringLiteral("SAVEPOINT tsql_merge"));
        try {
            if (!matchedClauses.isEmpty() &&
                !mDb->Rows(QStringLiteral("SELECT 1 FROM %1 WHERE k > 0 GROUP BY trid HAVING COUNT(*) > 1 "
                                          "LIMIT 1")
                               .arg(matched))
                     .isEmpty())
                throw MatchedTwice();
            for (int i = 0; i < s.body.size(); ++i) {
                const SqlStatement& clause = *s.body[i];
                ActionRows rows;
                rows.verb = QLatin1String(VerbOf(clause));
                const QString k = QString::number(i + 1);
                if (clause.kind == SqlStatement::Kind::Insert) {
                    QStringList names;
                    QStringList values;
                    SqlTranslator t(*this);
                    QList<const TableColumn*> targets;
                    if (clause.columns.isEmpty()) {
                        for (const TableColumn& c : columns)
                            if (!c.identity || mIdentityInsert == QString::number(table.id))
                                targets.append(&c);
                    } else {
                        for (const QString& name : clause.columns) {
                            const TableColumn* found = nullptr;
                            for (const TableColumn& c : columns)
                                if (c.name.compare(name, Qt::CaseInsensitive) == 0)
                                    found = &c;
                            if (!found)
                                throw ServerError::Make(
                                    207, 16, QStringLiteral("Invalid column name '%1'.").arg(name), true);
                            if (found->identity && mIdentityInsert != QString::number(table.id))
                                throw ServerError::Make(
                                    544, 16,
                                    QStringLiteral("Cannot insert explicit value for identity column in "
                                                   "table '%1' when IDENTITY_INSERT is set to OFF.")
                                        .arg(table.name));
                            targets.append(found);
                        }
                    }
                    if (!clause.defaultValues) {
                        const QList<SqlExprP>& row = clause.values.first();
                        if (row.size() != targets.size())
                            throw dml::ValuesMismatch(row.size(), targets.size());
                        for (int c = 0; c < row.size(); ++c) {
                            if (!row[c])
                                continue; // DEFAULT: the column's default
                            names.append(SqlTranslator::Quote(targets[c]->name));
                            values.append(dml::Stored(*targets[c], t.Expr(*row[c])));
                        }
                    }
                    PrepareCapture(table.id);
                    if (names.isEmpty()) {
                        const long long n =
                            mDb->Rows(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE k = %2").arg(byTarget, k))
                                .value(0)
                                .value(0)
                                .toLongLong();
                        for (long long r = 0; r < n; ++r)
                            exec(QStringLiteral("INSERT INTO %1 DEFAULT VALUES").arg(physical), {},
                                 rows.verb);
                    } else {
                        exec(QStringLiteral("INSERT INTO %1 (%2) SELECT %3 FROM %4 AS __m JOIN %5 AS %6 ON "
                                            "%6.rowid = __m.srid WHERE __m.k = %7 ORDER BY __m.srid")
                                 .arg(physical, names.join(QStringLiteral(", ")),
                                      values.join(QStringLiteral(", ")), byTarget, src, srcAlias, k),
                             t.Params(), rows.verb);
                    }
                    rows.inserted = mDb->Rows(
                        QStringLiteral("SELECT * FROM temp.\"tsql_ins_%1\" ORDER BY rowid").arg(table.id));
                    for (const QVariantList& r :
                         mDb->Rows(QStringLiteral("SELECT srid FROM %1 WHERE k = %2 ORDER BY srid")
                                       .arg(byTarget, k)))
                        rows.sourceRows.append(r.value(0));
                    for (qsizetype r = 0; r < rows.inserted.size(); ++r)
                        rows.deleted.append(QVariantList(rows.inserted[r].size()));
                    total += rows.inserted.size();
                    done.append(rows);
                    continue;
                }
                const bool bySourceClause = clause.optionValue == QLatin1String("NOT MATCHED BY SOURCE");
                const QString decided = bySourceClause ? bySource : matched;
                const QString read =
                    QStringLiteral("SELECT __m.srid, __t.* FROM %2 AS __m JOIN %1 AS __t ON __t.rowid = "
                                   "__m.trid WHERE __m.k = %3 ORDER BY __m.trid")
                        .arg(physical, decided, k);
                const QList<QVariantList> before = mDb->Rows(read);
                for (const QVariantList& r : before) {
                    rows.sourceRows.append(r.value(0));
                    rows.deleted.append(r.mid(1));
                }
                if (clause.kind == SqlStatement::Kind::Delete) {
                    total += exec(
                        QStringLiteral("DELETE FROM %1 WHERE rowid IN (SELECT trid FROM %2 WHERE k = %3)")
                            .arg(physical, decided, k),
                        {}, rows.verb);
                    for (const QVariantList& r : rows.deleted)
                        rows.inserted.append(QVariantList(r.size()));
                    done.append(rows);
                    continue;
                }
                SqlTranslator t(*this);
                QStringList sets;
                QStringList values;
                for (const auto& a : clause.assignments) {
                    if (a.first.first().startsWith(u'@'))
                        throw ServerError::Unsupported(QStringLiteral("setting variables in MERGE"));
                    const QString col = a.first.last();
                    const TableColumn* found = nullptr;
                    for (const TableColumn& c : columns)
                        if (c.name.compare(col, Qt::CaseInsensitive) == 0)
                            found = &c;
                    if (!found)
                        throw ServerError::Make(207, 16, QStringLiteral("Invalid column name '%1'.").arg(col),
                                                true);
                    if (found->identity)
                        throw ServerError::Make(
                            8102, 16, QStringLiteral("Cannot update identity column '%1'.").arg(found->name));
                    sets.append(QStringLiteral("%1 = __u.__v%2")
                                    .arg(SqlTranslator::Quote(found->name))
                                    .arg(sets.size()));
                    values.append(QStringLiteral("%1 AS __v%2")
                                      .arg(a.second ? dml::Stored(*found, t.Expr(*a.second))
                                                    : dml::ColumnDefault(*mDb, table.id, found->name))
                                      .arg(values.size()));
                    if (!updated.contains(found->name.toLower()))
                        updated.append(found->name.toLower());
                }
                const QString sourceJoin =
                    bySourceClause
                        ? QString()
                        : QStringLiteral(" JOIN %1 AS %2 ON %2.rowid = __m.srid").arg(src, srcAlias);
                total +=
                    exec(QStringLiteral("UPDATE %1 SET %2 FROM (SELECT __m.trid AS __rid, %3 FROM %4 AS __m "
                                        "JOIN %1 AS %5 ON %5.rowid = __m.trid%6 WHERE __m.k = %7) AS __u "
                                        "WHERE %1.rowid = __u.__rid")
                             .arg(physical, sets.join(QStringLiteral(", ")),
                                  values.join(QStringLiteral(", ")), decided, alias, sourceJoin, k),
                         t.Params(), rows.verb);
                for (const QVariantList& r : mDb->Rows(read))
                    rows.inserted.append(r.mid(1));
                done.append(rows);
            }
            mDb->Exec(QStringLiteral("RELEASE tsql_merge"));
        } catch (...) {
            // The error that got here is the one to report, whatever undoing it gives.
            try {
                mDb->Exec(QStringLiteral("ROLLBACK TO tsql_merge"));
                mDb->Exec(QStringLiteral("RELEASE tsql_merge"));
            } catch (const SqliteError&) {
            }
            throw;
        }
        bool inserted = false;
        for (const ActionRows& a : done)
            inserted = inserted || (a.verb == QLatin1String("INSERT") && !a.inserted.isEmpty());
        bool hasIdentity = false;
        for (const TableColumn& c : columns)
            hasIdentity = hasIdentity || c.identity;
        if (inserted && hasIdentity) {
            mIdentity = mDb->LastInsertRowId();
            mScopeIdentity = mIdentity;
        }

        TriggerRun run;
        run.tableId = table.id;
        run.depth = int(mTriggers.size()) + 1;
        for (const TableColumn& c : columns)
            run.columns.append(c.name);
        // inserted and deleted (and $action, and the source) for a set of the actions' rows
        // aligned: row by row, with NULLs where an action has no row (for the OUTPUT); otherwise only
        // the rows there are (for triggers)
        const auto snapshot = [&](const QStringList& of, bool aligned) {
            for (const char* kind : {"inserted", "deleted"}) {
                const QString name = TriggerSnapshot(kind, run.depth);
                mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS ") + name);
                mDb->Exec(QStringLiteral("CREATE TABLE %1 AS SELECT * FROM %2 WHERE 0").arg(name, physical));
            }
            mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS ") + actions);
            mDb->Exec(QStringLiteral("CREATE TABLE %1 (\"$action\" COLLATE TSQL, __srid)").arg(actions));
            const QString marks = Marks(columns.size());
            long long n = 0;
            for (const ActionRows& a : done) {
                if (!of.contains(a.verb))
                    continue;
                for (qsizetype r = 0; r < a.inserted.size(); ++r) {
                    if (aligned || a.verb != QLatin1String("DELETE"))
                        mDb->Exec(QStringLiteral("INSERT INTO %1 VALUES (%2)")
                                      .arg(TriggerSnapshot("inserted", run.depth), marks),
                                  a.inserted[r]);
                    if (aligned || a.verb != QLatin1String("INSERT"))
                        mDb->Exec(QStringLiteral("INSERT INTO %1 VALUES (%2)")
                                      .arg(TriggerSnapshot("deleted", run.depth), marks),
                                  a.deleted.value(r));
                    mDb->Exec(QStringLiteral("INSERT INTO %1 VALUES (?, ?)").arg(actions),
                              {a.verb, a.sourceRows.value(r)});
                    ++n;
                }
            }
            return n;
        };
        if (!s.output.isEmpty()) {
            snapshot(verbs, true);
            RunMergeOutput(s, run, sourceName, src, actions);
        }
        for (const QString& verb : verbs) {
            const QList<Module>& fired = triggers[verb];
            if (fired.isEmpty())
                continue;
            run.updatedColumns = verb == QLatin1String("INSERT")   ? QStringList()
                                 : verb == QLatin1String("UPDATE") ? updated
                                                                   : QStringList();
            if (verb == QLatin1String("INSERT"))
                for (const QString& c : run.columns)
                    run.updatedColumns.append(c.toLower());
            FireTriggers(fired, table, run, snapshot({verb}, false));
        }
    });
    EmitCount(total);
}

void SessionState::RunMergeOutput(const SqlStatement& s, const TriggerRun& run, const QString& sourceName,
                                  const QString& sourceTable, const QString& actionTable) {
    auto named = [&s](const QString& name) {
        auto r = std::make_shared<SqlTableRef>();
        r->name = QStringList{name};
        r->line = s.line;
        return r;
    };
    auto column = [&s](const QString& table, const char* name) {
        auto c = std::make_shared<SqlExpr>();
        c->kind = SqlExpr::Kind::Column;
        c->parts = QStringList{table, QString::fromLatin1(name)};
        c->line = s.line;
        return c;
    };
    auto join = [&](const SqlTableRefP& left, const SqlTableRefP& right, const QString& type,
                    const SqlExprP& a, const SqlExprP& b) {
        auto on = std::make_shared<SqlExpr>();
        on->kind = SqlExpr::Kind::Binary;
        on->text = QStringLiteral("=");
        on->args = {a, b};
        auto j = std::make_shared<SqlTableRef>();
        j->kind = SqlTableRef::Kind::Join;
        j->joinType = type;
        j->left = left;
        j->right = right;
        j->on = on;
        return j;
    };
    const QString inserted = QStringLiteral("inserted");
    const QString deleted = QStringLiteral("deleted");
    const QString action = QStringLiteral("tsql_merge_action");
    SqlTableRefP from = join(named(inserted), named(deleted), QStringLiteral("INNER"),
                             column(inserted, "rowid"), column(deleted, "rowid"));
    from = join(from, named(action), QStringLiteral("INNER"), column(action, "rowid"),
                column(inserted, "rowid"));
    if (!sourceName.isEmpty())
        from = join(from, named(sourceName), QStringLiteral("LEFT"), column(sourceName, "rowid"),
                    column(action, "__srid"));
    SqlSelectCore core;
    core.items = s.output;
    core.from.append(from);
    auto select = std::make_shared<SqlSelect>();
    select->cores.append(core);
    select->line = s.line;
    auto order = std::make_shared<SqlExpr>(*column(action, "rowid"));
    select->orderBy.append(SqlOrderItem{order, false});

    mTriggers.append(run);
    const QHash<QString, QString> outer = mMergeTables;
    mMergeTables.insert(action, actionTable);
    if (!sourceName.isEmpty())
        mMergeTables.insert(sourceName.toLower(), sourceTable);
    const bool noCount = mNoCount;
    struct Leave {
        SessionState& s;
        bool noCount;
        QHash<QString, QString> outer;
        ~Leave() {
            s.mTriggers.removeLast();
            s.mMergeTables = outer;
            s.mNoCount = noCount;
        }
    } leave{*this, noCount, outer};
    DeliverOutput(s, select);
}

QStringList SessionState::QueryColumns(const QString& sql) {
    QStringList names;
    try {
        SqliteStatement st(mDb->Handle(), sql);
        for (int i = 0; i < st.ColumnCount(); ++i)
            names.append(st.ColumnName(i));
    } catch (const SqliteError& e) {
        throw MapSqliteError(e, QStringLiteral("SELECT"));
    }
    return names;
}
