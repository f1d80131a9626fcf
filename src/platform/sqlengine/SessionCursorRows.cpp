// The rows of a cursor. STATIC reads them all at OPEN. KEYSET reads only the rowids at OPEN and
// each row as it is when fetched (gone: @@FETCH_STATUS -2). DYNAMIC reads nothing at OPEN: each
// FETCH asks for the row that follows, in the cursor's order, the values of the last one fetched
// (the ORDER BY values, then the rowid), so rows changed, added or removed since are seen.
// A query whose rows have no one rowid each (a join, grouping, DISTINCT, a UNION, a view) runs
// STATIC, as the server turns such cursors into STATIC ones.
#include "SessionCursors.h"

namespace {

const QString kRowid = QStringLiteral("__cursor_rowid");

bool Aggregates(const SqlExpr& e, int depth = 0) {
    static const QStringList names = {
        QStringLiteral("COUNT"),    QStringLiteral("COUNT_BIG"),   QStringLiteral("SUM"),
        QStringLiteral("AVG"),      QStringLiteral("MIN"),         QStringLiteral("MAX"),
        QStringLiteral("STDEV"),    QStringLiteral("STDEVP"),      QStringLiteral("VAR"),
        QStringLiteral("VARP"),     QStringLiteral("STRING_AGG"),  QStringLiteral("CHECKSUM_AGG"),
        QStringLiteral("GROUPING"), QStringLiteral("GROUPING_ID"), QStringLiteral("APPROX_COUNT_DISTINCT")};
    // Deeper than the parser lets expressions go: taken as the safe answer.
    if (depth > 256)
        return true;
    if (e.kind == SqlExpr::Kind::Function && (e.over || names.contains(e.text.toUpper())))
        return true;
    for (const SqlExprP& a : e.args)
        if (a && Aggregates(*a, depth + 1))
            return true;
    return false;
}

// 2: the query can run DYNAMIC, 1: KEYSET (its TOP fixes the rows), 0: only STATIC.
int Keyable(const SqlSelect& s) {
    if (s.cores.size() != 1 || !s.ctes.isEmpty() || s.forClause)
        return 0;
    const SqlSelectCore& core = s.cores.first();
    if (core.from.size() != 1 || !core.from.first() || core.from.first()->kind != SqlTableRef::Kind::Named ||
        core.distinct || !core.groupBy.isEmpty() || core.having || !core.groupingSets.isEmpty() ||
        !core.into.isEmpty())
        return 0;
    for (const SqlSelectItem& item : core.items)
        if (!item.expr || Aggregates(*item.expr))
            return 0;
    for (const SqlOrderItem& o : s.orderBy)
        if (!o.expr || Aggregates(*o.expr))
            return 0;
    return core.top ? 1 : 2;
}

// An ORDER BY item as an expression over the table: a column alias or position is the item's.
SqlExprP OrderKey(const SqlSelectCore& core, const SqlOrderItem& o) {
    const SqlExpr& e = *o.expr;
    if (e.kind == SqlExpr::Kind::Number) {
        bool ok = false;
        const qsizetype i = e.text.toLongLong(&ok);
        if (!ok || i < 1 || i > core.items.size() || core.items[i - 1].expr->kind == SqlExpr::Kind::Star)
            return nullptr;
        return core.items[i - 1].expr;
    }
    if (e.kind == SqlExpr::Kind::Column && e.parts.size() == 1)
        for (const SqlSelectItem& item : core.items)
            if (item.hasAlias && item.alias.compare(e.parts.first(), Qt::CaseInsensitive) == 0)
                return item.expr;
    return o.expr;
}

SqlSelectItem Hidden(const SqlExprP& e, const QString& name) {
    SqlSelectItem item;
    item.expr = e;
    item.alias = name;
    item.hasAlias = true;
    return item;
}

SqlExprP RowidOf(const SqlSelect& s) {
    const SqlTableRef& table = *s.cores.first().from.first();
    auto rowid = std::make_shared<SqlExpr>();
    rowid->kind = SqlExpr::Kind::Column;
    rowid->parts =
        QStringList{table.alias.isEmpty() ? table.name.last() : table.alias, QStringLiteral("rowid")};
    rowid->line = s.line;
    return rowid;
}

// The hidden column i of hidden ones: the ORDER BY values, then the rowid.
QString KeyName(int hidden, int i) {
    return i == hidden - 1 ? kRowid : QStringLiteral("__cursor_k%1").arg(i);
}

// The order of a DYNAMIC cursor's query over its hidden columns; backward: the other way round.
QString OrderList(int hidden, const QList<bool>& descending, bool backward) {
    QStringList order;
    for (int i = 0; i < hidden; ++i)
        order.append(KeyName(hidden, i) +
                     (descending.value(i) != backward ? QStringLiteral(" DESC") : QString()));
    return order.join(QStringLiteral(", "));
}

} // namespace

void SessionState::OpenCursor(CursorState& c) {
    c.Close();
    const SqlSelect& select = *c.select;
    int keyable = Keyable(select);
    QList<SqlOrderItem> order;
    for (const SqlOrderItem& o : select.orderBy) {
        SqlOrderItem key = o;
        key.expr = keyable > 0 ? OrderKey(select.cores.first(), o) : o.expr;
        if (!key.expr)
            keyable = 0;
        order.append(key);
    }
    if (keyable > 0) {
        try {
            SqlTranslator probe(*this);
            const Table table = ResolveTable(*select.cores.first().from.first(), probe);
            // A view, or a catalogue one, has no rowids of its own.
            if (table.catalogue || table.sql.startsWith(u'('))
                keyable = 0;
        } catch (const ServerError&) {
            keyable = 0; // the query run STATIC says what is wrong with it
        }
    }
    if (c.type == CursorState::Type::Dynamic && keyable < 2)
        c.type = CursorState::Type::Keyset;
    if (c.type == CursorState::Type::Keyset && keyable < 1)
        c.type = CursorState::Type::Static;
    const SqlExprP rowid = keyable > 0 ? RowidOf(select) : nullptr;
    // On an SQLite error (a query it can't key) the cursor runs as the next kind down.
    auto fallBack = [this, &c](CursorState::Type type) {
        if (Cancelled())
            throw BatchAborted{};
        c.Close();
        c.type = type;
    };
    if (c.type == CursorState::Type::Dynamic) {
        try {
            SqlSelect keyed = select;
            SqlSelectCore& core = keyed.cores.first();
            keyed.orderBy.clear();
            for (int i = 0; i < order.size(); ++i) {
                core.items.append(Hidden(order[i].expr, QStringLiteral("__cursor_k%1").arg(i)));
                c.descending.append(order[i].descending);
            }
            core.items.append(Hidden(rowid, kRowid));
            // The rowid breaks ties the way the last value goes, so that an index serves both.
            c.descending.append(!order.isEmpty() && order.last().descending);
            c.hidden = int(order.size()) + 1;
            SqlTranslator t(*this);
            c.sql = QStringLiteral("SELECT * FROM (%1)").arg(t.Select(keyed));
            c.params = t.Params();
            // Where no index gives the order, each FETCH would sort the table: such a cursor
            // runs KEYSET, as the server turns it. So does one whose order starts descending:
            // the rows beyond one include the NULLs, which an index range can't say.
            SqliteStatement plan(mDb->Handle(), QStringLiteral("EXPLAIN QUERY PLAN %1 ORDER BY %2 LIMIT 1")
                                                    .arg(c.sql, OrderList(c.hidden, c.descending, false)));
            plan.BindAll(c.params);
            bool sorts = c.descending.value(0);
            while (plan.Step())
                sorts = sorts || plan.Value(3).toString().contains(QLatin1String("TEMP B-TREE"));
            if (!sorts)
                return;
            fallBack(CursorState::Type::Keyset);
        } catch (const SqliteError&) {
            fallBack(CursorState::Type::Static);
        }
    }
    if (c.type == CursorState::Type::Keyset) {
        try {
            // The keys, in the cursor's order, are all that is held.
            SqlSelect keyed = select;
            keyed.orderBy = order;
            keyed.cores.first().items = {Hidden(rowid, kRowid)};
            SqlTranslator keys(*this);
            SqliteStatement st(mDb->Handle(), keys.Select(keyed));
            st.BindAll(keys.Params());
            while (st.Step()) {
                if ((c.keys.size() & 0xFFF) == 0 && Cancelled())
                    throw BatchAborted{};
                c.keys.append(st.Value(0).toLongLong());
            }
            // Each row as it is now, whether or not it still meets the condition.
            keyed = select;
            keyed.cores.first().where = nullptr;
            keyed.cores.first().top = nullptr;
            keyed.orderBy.clear();
            keyed.cores.first().items.append(Hidden(rowid, kRowid));
            c.hidden = 1;
            SqlTranslator t(*this);
            c.sql = QStringLiteral("SELECT * FROM (%1)").arg(t.Select(keyed));
            c.params = t.Params();
            return;
        } catch (const SqliteError&) {
            fallBack(CursorState::Type::Static);
        }
    }
    SqlTranslator t(*this);
    const QString sql = t.Select(select);
    c.rows = Query(sql, t.Params());
}

bool SessionState::ReadKeysetRow(CursorState& c, qlonglong index, QVariantList& row) {
    QVariantList params = c.params;
    params.append(c.keys[index]);
    SqlRowSet rs = Query(c.sql + QStringLiteral(" WHERE %1 = ?%2").arg(kRowid).arg(params.size()), params);
    if (rs.rows.isEmpty())
        return false;
    row = rs.rows.first();
    row.resize(row.size() - c.hidden);
    rs.columns.resize(rs.columns.size() - c.hidden);
    c.columns = rs.columns;
    return true;
}

bool SessionState::ReadDynamicRow(CursorState& c, int direction, bool fromEnd, qlonglong skip,
                                  QVariantList& row) {
    QVariantList params = c.params;
    auto param = [&params](const QVariant& v) {
        params.append(v);
        QString p = QStringLiteral("?%1").arg(params.size());
        if (v.typeId() == QMetaType::QString)
            p += QStringLiteral(" COLLATE TSQL");
        return p;
    };
    QStringList conditions;
    if (direction == 0) {
        conditions.append(QStringLiteral("%1 = %2").arg(kRowid, param(c.rowid)));
    } else if (!fromEnd && c.at.size() == c.hidden) {
        // The rows beyond the one it stands on: equal in the first i values and beyond it in the
        // next. NULL comes first in ascending order, as on the server.
        QStringList alternatives;
        QStringList equal;
        for (int i = 0; i < c.hidden; ++i) {
            const QString column = KeyName(c.hidden, i);
            const QVariant& v = c.at[i];
            const bool up = c.descending.value(i) == (direction < 0);
            QString beyond;
            if (up)
                beyond = v.isNull() ? column + QStringLiteral(" IS NOT NULL")
                                    : QStringLiteral("%1 > %2").arg(column, param(v));
            else if (!v.isNull())
                beyond = QStringLiteral("(%1 < %2 OR %1 IS NULL)").arg(column, param(v));
            if (!beyond.isEmpty())
                alternatives.append(
                    u'(' + QStringList(equal + QStringList{beyond}).join(QStringLiteral(" AND ")) + u')');
            equal.append(v.isNull() ? column + QStringLiteral(" IS NULL")
                                    : QStringLiteral("%1 = %2").arg(column, param(v)));
        }
        conditions.append(u'(' + alternatives.join(QStringLiteral(" OR ")) + u')');
        // Implied by the above; said once more so that an index on the first value is used.
        if (c.hidden > 1 && !c.at.first().isNull() && c.descending.value(0) == (direction < 0))
            conditions.append(QStringLiteral("%1 >= %2").arg(KeyName(c.hidden, 0), param(c.at.first())));
    }
    QString sql = c.sql;
    if (!conditions.isEmpty())
        sql += QStringLiteral(" WHERE ") + conditions.join(QStringLiteral(" AND "));
    sql += QStringLiteral(" ORDER BY %1 LIMIT 1 OFFSET %2")
               .arg(OrderList(c.hidden, c.descending, direction < 0), param(skip));
    SqlRowSet rs = Query(sql, params);
    if (rs.rows.isEmpty())
        return false;
    row = rs.rows.first();
    c.at = row.mid(row.size() - c.hidden);
    row.resize(row.size() - c.hidden);
    rs.columns.resize(rs.columns.size() - c.hidden);
    c.columns = rs.columns;
    c.rowid = c.at.last();
    c.place = CursorState::Place::On;
    return true;
}

void SessionState::RunCurrentOf(const SqlStatement& s) {
    const std::shared_ptr<CursorState> c = FindCursor(s);
    if (!c->open)
        throw ServerError::Make(16917, 16, QStringLiteral("Cursor is not open."));
    const bool onRow = c->type == CursorState::Type::Static ? c->position >= 0 && c->position < c->RowCount()
                                                            : c->rowid.isValid();
    if (!onRow)
        throw ServerError::Make(16930, 16, QStringLiteral("The requested row is not in the fetch buffer."));
    if (c->readOnly || c->type == CursorState::Type::Static)
        throw ServerError::Make(16929, 16, QStringLiteral("The cursor is READ ONLY."));
    SqlStatement row = s;
    row.optionValue.clear();
    auto column = std::make_shared<SqlExpr>();
    column->kind = SqlExpr::Kind::Column;
    column->parts = QStringList{s.target.last(), QStringLiteral("rowid")};
    column->line = s.line;
    auto value = std::make_shared<SqlExpr>();
    value->kind = SqlExpr::Kind::Number;
    value->text = QString::number(c->rowid.toLongLong());
    value->line = s.line;
    auto where = std::make_shared<SqlExpr>();
    where->kind = SqlExpr::Kind::Binary;
    where->text = QStringLiteral("=");
    where->args = {column, value};
    where->line = s.line;
    row.where = where;
    if (s.kind == SqlStatement::Kind::Update)
        RunUpdate(row);
    else
        RunDelete(row);
}
