// AFTER triggers. A table with triggers gets, on this connection only, SQLite TEMP triggers that copy
// the rows a statement inserts and deletes into capture tables; after the statement those are copied
// once more for the nesting level, and the server's triggers read them as `inserted` and `deleted`.
// Triggers nest up to 32 levels and do not fire themselves again (the server's defaults); they run
// inside a transaction, and an error in one rolls it back and ends the batch.
#include "SessionState.h"

namespace {

QString CaptureName(const char* kind, int tableId) {
    return QStringLiteral("tsql_%1_%2").arg(QLatin1String(kind)).arg(tableId);
}

} // namespace

QList<SessionState::Module> SessionState::TriggersFor(const CatalogueObject& table, const QString& verb) {
    QList<Module> out;
    const auto rows = mDb->Rows(
        QStringLiteral("SELECT id, name FROM sysobjects WHERE parent_obj = ? AND xtype = 'TR' ORDER BY id"),
        {table.id});
    for (const QVariantList& r : rows) {
        CatalogueObject o;
        o.id = r[0].toInt();
        o.name = r[1].toString();
        o.xtype = QStringLiteral("TR");
        o.parent = table.id;
        Module m = LoadModule(o);
        if (!m.statement || !m.statement->triggerEvents.contains(verb))
            continue;
        // A trigger does not fire itself again.
        if (!mTriggers.isEmpty() && mTriggers.last().triggerId == o.id)
            continue;
        m.text = o.name; // the name, for the frame the trigger runs in
        out.append(m);
    }
    return out;
}

QStringList SessionState::PrepareCapture(int tableId) {
    QStringList columns;
    for (const QVariantList& r :
         mDb->Rows(QStringLiteral("SELECT name FROM syscolumns WHERE id = ? ORDER BY colid"), {tableId}))
        columns.append(r[0].toString());
    const QString signature = columns.join(QChar(0x1f));
    const QString ins = CaptureName("ins", tableId);
    const QString del = CaptureName("del", tableId);
    if (mCaptures.value(tableId) != signature || !mCaptures.contains(tableId)) {
        const QString physical = QStringLiteral("\"T%1\"").arg(tableId);
        QStringList newValues;
        QStringList oldValues;
        for (const QString& c : columns) {
            newValues.append(QStringLiteral("NEW.") + SqlTranslator::Quote(c));
            oldValues.append(QStringLiteral("OLD.") + SqlTranslator::Quote(c));
        }
        for (const char* kind : {"cap_i", "cap_u", "cap_d"})
            mDb->Exec(QStringLiteral("DROP TRIGGER IF EXISTS temp.\"%1\"").arg(CaptureName(kind, tableId)));
        for (const QString& table : {ins, del}) {
            mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS temp.\"%1\"").arg(table));
            mDb->Exec(QStringLiteral("CREATE TEMP TABLE \"%1\" AS SELECT * FROM main.%2 WHERE 0")
                          .arg(table, physical));
        }
        const QString insert = QStringLiteral("INSERT INTO \"%1\" SELECT %2;").arg(ins, newValues.join(u','));
        const QString remove = QStringLiteral("INSERT INTO \"%1\" SELECT %2;").arg(del, oldValues.join(u','));
        mDb->Exec(QStringLiteral("CREATE TEMP TRIGGER \"%1\" AFTER INSERT ON %2 BEGIN %3 END")
                      .arg(CaptureName("cap_i", tableId), physical, insert));
        mDb->Exec(QStringLiteral("CREATE TEMP TRIGGER \"%1\" AFTER UPDATE ON %2 BEGIN %3 %4 END")
                      .arg(CaptureName("cap_u", tableId), physical, insert, remove));
        mDb->Exec(QStringLiteral("CREATE TEMP TRIGGER \"%1\" AFTER DELETE ON %2 BEGIN %3 END")
                      .arg(CaptureName("cap_d", tableId), physical, remove));
        mCaptures.insert(tableId, signature);
    }
    mDb->Exec(QStringLiteral("DELETE FROM temp.\"%1\"").arg(ins));
    mDb->Exec(QStringLiteral("DELETE FROM temp.\"%1\"").arg(del));
    return columns;
}

long long SessionState::RunDmlWithTriggers(const QString& sql, const QVariantList& params,
                                           const CatalogueObject& table, const QString& verb,
                                           const QList<Module>& triggers, const SqlStatement* output) {
    // An INSTEAD OF trigger takes the statement's place, except for the statements it runs itself on
    // its own table.
    QList<Module> instead;
    QList<Module> after;
    for (const Module& t : triggers)
        (t.statement->insteadOf ? instead : after).append(t);
    const bool insideOwn = std::any_of(mTriggers.cbegin(), mTriggers.cend(), [&table](const TriggerRun& r) {
        return r.instead && r.tableId == table.id;
    });
    if (insideOwn)
        instead.clear();
    long long n = 0;
    // The statement and its triggers are one transaction, as on the server.
    InStatementTransaction([&] {
        TriggerRun run;
        run.tableId = table.id;
        run.depth = int(mTriggers.size()) + 1;
        run.columns = PrepareCapture(table.id);
        // In place of the statement, its rows are found by running it and undoing it.
        if (!instead.isEmpty())
            mDb->Exec(QStringLiteral("SAVEPOINT tsql_instead"));
        QList<QVariantList> wouldInsert;
        QList<QVariantList> wouldDelete;
        try {
            SqliteStatement st(mDb->Handle(), sql);
            st.BindAll(params);
            while (st.Step()) {
            }
            if (!instead.isEmpty()) {
                wouldInsert =
                    mDb->Rows(QStringLiteral("SELECT * FROM temp.\"%1\"").arg(CaptureName("ins", table.id)));
                wouldDelete =
                    mDb->Rows(QStringLiteral("SELECT * FROM temp.\"%1\"").arg(CaptureName("del", table.id)));
            }
        } catch (const SqliteError& e) {
            if (!instead.isEmpty()) {
                mDb->Exec(QStringLiteral("ROLLBACK TO tsql_instead"));
                mDb->Exec(QStringLiteral("RELEASE tsql_instead"));
            }
            throw MapSqliteError(e, verb);
        }
        n = mDb->Changes();
        if (!instead.isEmpty()) {
            mDb->Exec(QStringLiteral("ROLLBACK TO tsql_instead"));
            mDb->Exec(QStringLiteral("RELEASE tsql_instead"));
            mDb->Exec(QStringLiteral("DELETE FROM temp.\"%1\"").arg(CaptureName("ins", table.id)));
            mDb->Exec(QStringLiteral("DELETE FROM temp.\"%1\"").arg(CaptureName("del", table.id)));
            const QPair<const char*, const QList<QVariantList>*> kept[] = {{"ins", &wouldInsert},
                                                                           {"del", &wouldDelete}};
            for (const auto& [capture, rows] : kept) {
                QStringList marks;
                for (qsizetype i = 0; i < run.columns.size(); ++i)
                    marks.append(QStringLiteral("?"));
                const QString insert = QStringLiteral("INSERT INTO temp.\"%1\" VALUES (%2)")
                                           .arg(CaptureName(capture, table.id), marks.join(u','));
                for (const QVariantList& row : *rows)
                    mDb->Exec(insert, row);
            }
            run.instead = true;
            after = {instead.first()};
        }
        if (verb == QLatin1String("INSERT")) {
            for (const QString& c : run.columns)
                run.updatedColumns.append(c.toLower());
        } else if (verb == QLatin1String("UPDATE")) {
            for (const QString& c : mDmlColumns)
                run.updatedColumns.append(c.toLower());
        }
        const QPair<const char*, const char*> snapshots[] = {{"inserted", "ins"}, {"deleted", "del"}};
        for (const auto& [kind, capture] : snapshots) {
            const QString snapshot = TriggerSnapshot(kind, run.depth);
            mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS ") + snapshot);
            mDb->Exec(QStringLiteral("CREATE TABLE %1 AS SELECT * FROM temp.\"%2\"")
                          .arg(snapshot, CaptureName(capture, table.id)));
        }
        if (output)
            RunOutput(*output, run, verb);
        FireTriggers(after, table, run, n);
    });
    EmitCount(n);
    return n;
}

QString SessionState::TriggerSnapshot(const char* kind, int depth) {
    return QStringLiteral("temp.\"tsql_%1_%2\"").arg(QLatin1String(kind)).arg(depth);
}

void SessionState::InStatementTransaction(const std::function<void()>& body) {
    const bool implicit = mTranCount == 0;
    if (implicit) {
        mDb->Exec(QStringLiteral("BEGIN"));
        mTranCount = 1;
        mTranName.clear();
        mSavepoints.clear();
        mDoomed = false;
    }
    try {
        body();
    } catch (...) {
        if (implicit && mTranCount > 0)
            RollbackAll();
        throw;
    }
    if (implicit && mTranCount == 1) {
        mDb->Exec(QStringLiteral("COMMIT"));
        mTranCount = 0;
    }
}

void SessionState::FireTriggers(const QList<Module>& triggers, const CatalogueObject& table, TriggerRun& run,
                                long long rows) {
    for (const Module& trigger : triggers) {
        run.triggerId = trigger.id;
        mRowCount = rows;
        FireTrigger(trigger, table, run);
        if (mTranCount == 0)
            throw ServerError::Make(
                3609, 16, QStringLiteral("The transaction ended in the trigger. The batch has been aborted."),
                true);
    }
}

void SessionState::FireTrigger(const Module& trigger, const CatalogueObject&, const TriggerRun& run) {
    if (mNesting >= 32)
        throw ServerError::Make(
            217, 16,
            QStringLiteral("Maximum stored procedure, function, trigger, or view nesting level "
                           "exceeded (limit 32)."),
            true);
    Frame frame;
    frame.procedure = trigger.text;
    mFrames.append(frame);
    mTriggers.append(run);
    ++mNesting;
    ++mModuleDepth;
    // Errors in a trigger end the batch and the transaction, as under XACT_ABORT.
    const bool xactAbort = std::exchange(mXactAbort, true);
    const bool noCount = mNoCount;
    struct Leave {
        SessionState& s;
        bool xactAbort;
        bool noCount;
        ~Leave() {
            --s.mNesting;
            --s.mModuleDepth;
            s.mFrames.removeLast();
            s.mTriggers.removeLast();
            s.mXactAbort = xactAbort;
            s.mNoCount = noCount;
        }
    } leave{*this, xactAbort, noCount};
    Run(trigger.statement->body);
}

bool SessionState::TriggerTable(const QString& name, Table& out) const {
    if (const auto merged = mMergeTables.constFind(name.toLower()); merged != mMergeTables.cend()) {
        out.sql = *merged;
        out.alias = name;
        return true;
    }
    if (mTriggers.isEmpty())
        return false;
    const bool inserted = name.compare(QLatin1String("inserted"), Qt::CaseInsensitive) == 0;
    const bool deleted = name.compare(QLatin1String("deleted"), Qt::CaseInsensitive) == 0;
    if (!inserted && !deleted)
        return false;
    out.sql = TriggerSnapshot(inserted ? "inserted" : "deleted", mTriggers.last().depth);
    out.alias = name;
    return true;
}

QVariant SessionState::TriggerFunction(const QString& name) const {
    if (name == QLatin1String("COLUMNS_UPDATED")) {
        if (mTriggers.isEmpty())
            return {};
        const TriggerRun& run = mTriggers.last();
        QByteArray bits((run.columns.size() + 7) / 8, '\0');
        for (qsizetype i = 0; i < run.columns.size(); ++i)
            if (run.updatedColumns.contains(run.columns[i].toLower()))
                bits[i / 8] = char(bits[i / 8] | (1 << (i % 8)));
        return bits;
    }
    // UPDATE(column)
    const QString column = name.mid(7, qMax<qsizetype>(name.size() - 8, 0)).toLower();
    if (mTriggers.isEmpty())
        return {};
    return mTriggers.last().updatedColumns.contains(column) ? 1 : 0;
}

void SessionState::RunOutput(const SqlStatement& s, const TriggerRun& run, const QString& verb) {
    auto named = [&s](const char* name) {
        auto r = std::make_shared<SqlTableRef>();
        r->name = QStringList{QString::fromLatin1(name)};
        r->line = s.line;
        return r;
    };
    SqlSelectCore core;
    core.items = s.output;
    if (verb == QLatin1String("UPDATE")) {
        // The capture tables get a row each for every row changed, in the same order.
        auto column = [&s](const char* table) {
            auto c = std::make_shared<SqlExpr>();
            c->kind = SqlExpr::Kind::Column;
            c->parts = QStringList{QString::fromLatin1(table), QStringLiteral("rowid")};
            c->line = s.line;
            return c;
        };
        auto on = std::make_shared<SqlExpr>();
        on->kind = SqlExpr::Kind::Binary;
        on->text = QStringLiteral("=");
        on->args = {column("inserted"), column("deleted")};
        auto join = std::make_shared<SqlTableRef>();
        join->kind = SqlTableRef::Kind::Join;
        join->joinType = QStringLiteral("INNER");
        join->left = named("inserted");
        join->right = named("deleted");
        join->on = on;
        core.from.append(join);
    } else {
        core.from.append(named(verb == QLatin1String("DELETE") ? "deleted" : "inserted"));
    }
    auto select = std::make_shared<SqlSelect>();
    select->cores.append(core);
    select->line = s.line;
    // inserted and deleted name this statement's rows while the output is read.
    mTriggers.append(run);
    const bool noCount = mNoCount;
    struct Leave {
        SessionState& s;
        bool noCount;
        ~Leave() {
            s.mTriggers.removeLast();
            s.mNoCount = noCount;
        }
    } leave{*this, noCount};
    DeliverOutput(s, select);
}

void SessionState::DeliverOutput(const SqlStatement& s, const SqlSelectP& select) {
    if (s.outputInto.isEmpty()) {
        SqlTranslator t(*this);
        const QString sql = t.Select(*select);
        Put(SqlResult::Rows(Query(sql, t.Params())));
        return;
    }
    SqlStatement insert;
    insert.kind = SqlStatement::Kind::Insert;
    insert.line = s.line;
    insert.target = s.outputInto;
    insert.columns = s.outputColumns;
    insert.select = select;
    // The rows OUTPUT INTO adds are not counted apart.
    const bool noCount = std::exchange(mNoCount, true);
    struct Restore {
        bool& flag;
        bool value;
        ~Restore() { flag = value; }
    } restore{mNoCount, noCount};
    RunInsert(insert);
}
