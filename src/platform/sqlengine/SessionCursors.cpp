// Cursors: DECLARE ... CURSOR, cursor variables and parameters, OPEN, FETCH, CLOSE, DEALLOCATE,
// @@FETCH_STATUS, @@CURSOR_ROWS and CURSOR_STATUS. How the rows are read is in SessionCursorRows.cpp.
#include "SessionCursors.h"

namespace {

ServerError NoCursor(const QString& name) {
    return ServerError::Make(16916, 16,
                             QStringLiteral("A cursor with the name '%1' does not exist.").arg(name));
}

ServerError NotOpen() {
    return ServerError::Make(16917, 16, QStringLiteral("Cursor is not open."));
}

ServerError NotAllocated(const QString& variable) {
    return ServerError::Make(
        16950, 16,
        QStringLiteral("The variable '%1' does not currently have a cursor allocated to it.").arg(variable));
}

ServerError WrongFetch(const QString& direction, const char* kind) {
    return ServerError::Make(16911, 16,
                             QStringLiteral("fetch: The fetch type %1 cannot be used with %2 cursors.")
                                 .arg(direction, QLatin1String(kind)));
}

bool Has(const SqlStatement& s, const char* option) {
    return s.optionNames.contains(QLatin1String(option));
}

} // namespace

QString SessionState::CursorKey(const QString& name, bool local) const {
    return local ? QStringLiteral("%1:%2").arg(mFrames.size()).arg(name.toLower()) : name.toLower();
}

SessionState::Var& SessionState::CursorVariable(const QString& name) {
    auto it = Top().vars.find(name.toLower());
    if (it == Top().vars.end())
        throw ServerError::Make(137, 15, QStringLiteral("Must declare the scalar variable \"%1\".").arg(name),
                                true);
    if (it->type.name != QLatin1String("cursor"))
        throw ServerError::Make(
            16948, 16,
            QStringLiteral("The variable '%1' is not a cursor variable, but it is used in "
                           "a place where a cursor variable is expected.")
                .arg(name));
    return *it;
}

std::shared_ptr<SessionState::CursorState> SessionState::FindCursor(const SqlStatement& s) {
    if (!s.variable.isEmpty()) {
        Var& v = CursorVariable(s.variable);
        if (!v.cursor)
            throw NotAllocated(s.variable);
        return v.cursor;
    }
    if (!Has(s, "GLOBAL")) {
        if (auto it = mCursors.constFind(CursorKey(s.name, true)); it != mCursors.cend())
            return *it;
    }
    if (auto it = mCursors.constFind(CursorKey(s.name, false)); it != mCursors.cend())
        return *it;
    throw NoCursor(s.name);
}

void SessionState::DeclareCursor(const SqlStatement& s) {
    auto c = std::make_shared<CursorState>();
    c->name = s.name;
    c->select = s.select;
    // No type is DYNAMIC, but SCROLL promises ABSOLUTE, which only the kinds that count their
    // rows give.
    if (Has(s, "STATIC") || Has(s, "INSENSITIVE"))
        c->declared = CursorState::Type::Static;
    else if (Has(s, "KEYSET") || (Has(s, "SCROLL") && !Has(s, "DYNAMIC")))
        c->declared = CursorState::Type::Keyset;
    for (const char* scrolling : {"SCROLL", "STATIC", "KEYSET", "DYNAMIC", "INSENSITIVE"})
        c->scroll = c->scroll || Has(s, scrolling);
    c->scroll = c->scroll && !Has(s, "FORWARD_ONLY") && !Has(s, "FAST_FORWARD");
    // A STATIC cursor works on its copy, which nothing writes back.
    c->readOnly = c->declared == CursorState::Type::Static || Has(s, "READ_ONLY") || Has(s, "FAST_FORWARD");
    if (s.construct == QLatin1String("SET")) {
        Var& v = CursorVariable(s.variable);
        v.cursor = c;
        return;
    }
    const bool local = Has(s, "LOCAL");
    c->global = !local;
    const QString key = CursorKey(s.name, local);
    if (mCursors.contains(key))
        throw ServerError::Make(16915, 16,
                                QStringLiteral("A cursor with the name '%1' already exists.").arg(s.name));
    mCursors.insert(key, c);
}

bool SessionState::AssignCursor(const SqlStatement& s) {
    const auto target = Top().vars.find(s.variable.toLower());
    if (target == Top().vars.end() || target->type.name != QLatin1String("cursor"))
        return false;
    const SqlExpr& e = *s.condition;
    std::shared_ptr<CursorState> c;
    if (e.kind == SqlExpr::Kind::Variable) {
        c = CursorVariable(e.text).cursor;
        if (!c)
            throw NotAllocated(e.text);
    } else if (e.kind == SqlExpr::Kind::Column && e.parts.size() == 1) {
        SqlStatement named;
        named.name = e.parts.first();
        c = FindCursor(named);
    } else {
        throw ServerError::Make(206, 16,
                                QStringLiteral("Operand type clash: int is incompatible with cursor"));
    }
    if (s.assignOp != QLatin1String("="))
        throw ServerError::Make(
            402, 16,
            QStringLiteral("The data types cursor and cursor are incompatible in the %1 operator.")
                .arg(s.assignOp));
    // The lookups may have moved the frame's variables; find the target again.
    CursorVariable(s.variable).cursor = c;
    return true;
}

void SessionState::RunCursor(const SqlStatement& s) {
    const QString& what = s.construct;
    if (what == QLatin1String("DECLARE") || what == QLatin1String("SET")) {
        DeclareCursor(s);
        return;
    }
    const std::shared_ptr<CursorState> c = FindCursor(s);
    if (what == QLatin1String("OPEN")) {
        if (c->open)
            throw ServerError::Make(16905, 16, QStringLiteral("The cursor is already open."));
        OpenCursor(*c);
        c->open = true;
        mLastOpened = c;
        return;
    }
    if (what == QLatin1String("CLOSE")) {
        if (!c->open)
            throw NotOpen();
        c->Close();
        return;
    }
    if (what == QLatin1String("DEALLOCATE")) {
        // The reference goes; the cursor itself with the last of them.
        if (!s.variable.isEmpty())
            CursorVariable(s.variable).cursor.reset();
        else
            mCursors.remove(mCursors.key(c));
        return;
    }
    FetchCursor(s, *c);
}

void SessionState::FetchCursor(const SqlStatement& s, CursorState& c) {
    if (!c.open)
        throw NotOpen();
    const QString& direction = s.optionValue;
    if (!c.scroll && direction != QLatin1String("NEXT"))
        throw WrongFetch(direction, "forward only");
    if (c.type == CursorState::Type::Dynamic && direction == QLatin1String("ABSOLUTE"))
        throw WrongFetch(direction, "dynamic");
    qlonglong k = 0;
    if (s.condition) {
        const QVariant v = Evaluate(*s.condition);
        k = v.isNull() ? 0 : v.toLongLong();
    }
    QVariantList row;
    bool found = false;
    bool missing = false; // a KEYSET row that has gone since OPEN
    if (c.type == CursorState::Type::Dynamic) {
        using P = CursorState::Place;
        const bool relative = direction == QLatin1String("RELATIVE");
        if (direction == QLatin1String("FIRST")) {
            found = ReadDynamicRow(c, 1, true, 0, row);
            if (!found)
                c.place = P::After;
        } else if (direction == QLatin1String("LAST")) {
            found = ReadDynamicRow(c, -1, true, 0, row);
            if (!found)
                c.place = P::Before;
        } else if (direction == QLatin1String("NEXT") || (relative && k > 0)) {
            found =
                c.place != P::After && ReadDynamicRow(c, 1, c.place == P::Before, relative ? k - 1 : 0, row);
            if (!found)
                c.place = P::After;
        } else if (direction == QLatin1String("PRIOR") || (relative && k < 0)) {
            // -(k + 1) rows passed over: it can't overflow.
            found = c.place != P::Before &&
                    ReadDynamicRow(c, -1, c.place == P::After, relative ? -(k + 1) : 0, row);
            if (!found)
                c.place = P::Before;
        } else if (c.place == P::On) { // RELATIVE 0: the row it is on, as it is now
            found = ReadDynamicRow(c, 0, false, 0, row);
            missing = !found;
        }
        if (!found && !missing) {
            c.at.clear();
            c.rowid = QVariant();
        }
    } else {
        const qlonglong n = c.RowCount();
        qlonglong at = c.position;
        if (direction == QLatin1String("NEXT"))
            ++at;
        else if (direction == QLatin1String("PRIOR"))
            --at;
        else if (direction == QLatin1String("FIRST"))
            at = 0;
        else if (direction == QLatin1String("LAST"))
            at = n - 1;
        else {
            // Anything beyond the rows by more than one is as good as one beyond.
            k = qBound(-n - 2, k, n + 2);
            if (direction == QLatin1String("ABSOLUTE"))
                at = k > 0 ? k - 1 : k < 0 ? n + k : -1;
            else
                at = c.position + k;
        }
        c.rowid = QVariant();
        if (at < 0 || at >= n) {
            c.position = at < 0 ? -1 : n;
        } else {
            c.position = at;
            if (c.type == CursorState::Type::Keyset) {
                found = ReadKeysetRow(c, at, row);
                missing = !found;
                c.rowid = c.keys[at];
            } else {
                row = c.rows.rows[at];
                found = true;
            }
        }
    }
    if (!found) {
        mFetchStatus = missing ? -2 : -1;
        return;
    }
    const QList<SqlColumn>& columns = c.type == CursorState::Type::Static ? c.rows.columns : c.columns;
    if (s.columns.isEmpty()) {
        SqlRowSet one;
        one.columns = columns;
        one.rows.append(row);
        Put(SqlResult::Rows(std::move(one)));
        mFetchStatus = 0;
        return;
    }
    if (s.columns.size() != row.size())
        throw ServerError::Make(
            16924, 16,
            QStringLiteral("Cursor Fetch: The number of variables declared in the INTO list must "
                           "match that of selected columns."));
    for (qsizetype i = 0; i < row.size(); ++i)
        Assign(s.columns[i], DecimalVariableValue(row[i], columns.value(i)), s.line);
    mFetchStatus = 0;
}

void SessionState::DropLocalCursors() {
    const QString prefix = QStringLiteral("%1:").arg(mFrames.size());
    for (auto it = mCursors.begin(); it != mCursors.end();) {
        if (it.key().startsWith(prefix))
            it = mCursors.erase(it);
        else
            ++it;
    }
}

qlonglong SessionState::CursorRows() const {
    const std::shared_ptr<CursorState> c = mLastOpened.lock();
    if (!c || !c->open)
        return 0;
    return c->type == CursorState::Type::Dynamic ? -1 : c->RowCount();
}

int SessionState::CursorStatus(const QString& scope, const QString& name) {
    std::shared_ptr<CursorState> c;
    const QString kind = scope.trimmed().toLower();
    if (kind == QLatin1String("variable")) {
        const auto it = Top().vars.constFind(name.toLower());
        if (it == Top().vars.cend() || it->type.name != QLatin1String("cursor"))
            return -3;
        c = it->cursor;
        if (!c)
            return -2;
    } else {
        c = mCursors.value(CursorKey(name, kind == QLatin1String("local")));
        if (!c || (kind != QLatin1String("local") && kind != QLatin1String("global")))
            return -3;
    }
    if (!c->open)
        return -1;
    // A dynamic cursor doesn't know whether rows are there until it fetches.
    return c->type == CursorState::Type::Dynamic || c->RowCount() > 0 ? 1 : 0;
}

void SessionState::CheckCursorArgument(const SqlParam& param, const SqlExecArg& arg) {
    if (param.type.name != QLatin1String("cursor"))
        return;
    if (!arg.value || arg.value->kind != SqlExpr::Kind::Variable)
        throw ServerError::Make(206, 16,
                                QStringLiteral("Operand type clash: int is incompatible with cursor"));
    if (CursorVariable(arg.value->text).cursor)
        throw ServerError::Make(16951, 16,
                                QStringLiteral("The variable '%1' cannot be used as a parameter because a "
                                               "CURSOR OUTPUT parameter must not have a cursor allocated to "
                                               "it before execution of the procedure.")
                                    .arg(arg.value->text));
}

void SessionState::ReturnCursor(const QString& callerVariable, const std::shared_ptr<CursorState>& cursor) {
    // A cursor the procedure left closed is not handed back.
    CursorVariable(callerVariable).cursor = cursor && cursor->open ? cursor : nullptr;
}
