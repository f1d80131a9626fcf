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

// Keeps the row sets of a call for INSERT ... EXEC, and passes on everything else.
class RowCapture : public SqlResultSink {
public:
    RowCapture(SqlResultSink* sink, SqlBatchResults* out)
        : mSink(sink)
        , mOut(out) {}
    void Add(SqlResult result) override {
        if (result.kind == SqlResult::Kind::RowSet) {
            Keep(int(result.rowSet.columns.size()));
            rows += result.rowSet.rows;
        } else if (mSink) {
            mSink->Add(std::move(result));
        } else if (mOut) {
            mOut->append(std::move(result));
        }
    }
    void BeginRows(const QList<SqlColumn>& columns) override { Keep(int(columns.size())); }
    bool Row(const QVariantList& values) override {
        rows.append(values);
        return true;
    }
    void EndRows(long long) override {}

    QList<QVariantList> rows;
    int width = -1;        // the columns of the row sets
    bool mismatch = false; // two row sets of different widths

private:
    void Keep(int columns) {
        if (width >= 0 && width != columns)
            mismatch = true;
        width = columns;
    }
    SqlResultSink* mSink;
    SqlBatchResults* mOut;
};

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

void SessionState::RunInsertExec(const SqlStatement& s) {
    const CatalogueObject table = TargetTable(s.target, s.line, "INSERT");
    if (mInsertExec)
        throw ServerError::Make(8164, 16, QStringLiteral("An INSERT EXEC statement cannot be nested."));
    int expected = int(s.columns.size());
    if (s.columns.isEmpty())
        for (const dml::TableColumn& c : dml::Columns(*mDb, table.id))
            if (!c.identity || mIdentityInsert == QString::number(table.id))
                ++expected;
    RowCapture capture(mSink, mOut);
    SqlResultSink* const sink = std::exchange(mSink, &capture);
    mInsertExec = true;
    struct Leave {
        SessionState& s;
        SqlResultSink* sink;
        ~Leave() {
            s.mSink = sink;
            s.mInsertExec = false;
        }
    } leave{*this, sink};
    RunStatementInner(*s.body.first());
    mSink = sink;
    mInsertExec = false;
    if (capture.mismatch || (capture.width >= 0 && capture.width != expected))
        throw ServerError::Make(
            213, 16,
            QStringLiteral("Column name or number of supplied values does not match table "
                           "definition."));
    // The rows stand in a table of their own, which the INSERT reads as a query.
    const QString held = QStringLiteral("temp.\"tsql_insert_exec_%1\"").arg(mNesting);
    QStringList columns;
    QList<SqlSelectItem> items;
    for (int i = 0; i < qMax(capture.width, expected); ++i) {
        const QString name = QStringLiteral("c%1").arg(i);
        columns.append(SqlTranslator::Quote(name));
        auto c = std::make_shared<SqlExpr>();
        c->kind = SqlExpr::Kind::Column;
        c->parts = QStringList{name};
        c->line = s.line;
        SqlSelectItem item;
        item.expr = c;
        items.append(item);
    }
    mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS ") + held);
    mDb->Exec(QStringLiteral("CREATE TABLE %1 (%2)").arg(held, columns.join(QStringLiteral(", "))));
    struct Drop {
        SqliteDb& db;
        QString table;
        ~Drop() {
            try {
                db.Exec(QStringLiteral("DROP TABLE IF EXISTS ") + table);
            } catch (...) {
            }
        }
    } drop{*mDb, held};
    QStringList marks;
    for (int i = 0; i < columns.size(); ++i)
        marks.append(QStringLiteral("?"));
    const QString insert = QStringLiteral("INSERT INTO %1 VALUES (%2)").arg(held, marks.join(u','));
    for (const QVariantList& row : capture.rows)
        mDb->Exec(insert, row);
    auto from = std::make_shared<SqlTableRef>();
    from->name = QStringList{QStringLiteral("tsql_insert_exec")};
    from->line = s.line;
    auto select = std::make_shared<SqlSelect>();
    SqlSelectCore core;
    core.items = items;
    core.from.append(from);
    select->cores.append(core);
    select->line = s.line;
    SqlStatement rows = s;
    rows.body.clear();
    rows.select = select;
    const QHash<QString, QString> outer = mMergeTables;
    mMergeTables.insert(QStringLiteral("tsql_insert_exec"), held);
    struct Restore {
        SessionState& s;
        QHash<QString, QString> tables;
        ~Restore() { s.mMergeTables = tables; }
    } restore{*this, outer};
    RunInsert(rows);
}
