// Cursors: DECLARE ... CURSOR, OPEN, FETCH, CLOSE, DEALLOCATE and @@FETCH_STATUS. OPEN reads the
// query's rows once (what a STATIC cursor does; other kinds see the rows as they were at OPEN).
#include "SessionState.h"

namespace {

ServerError NoCursor(const QString& name) {
    return ServerError::Make(16916, 16,
                             QStringLiteral("A cursor with the name '%1' does not exist.").arg(name));
}

} // namespace

QString SessionState::CursorKey(const QString& name, bool local) const {
    return local ? QStringLiteral("%1:%2").arg(mFrames.size()).arg(name.toLower()) : name.toLower();
}

std::shared_ptr<SessionState::CursorState> SessionState::FindCursor(const SqlStatement& s) const {
    const bool global = s.optionNames.contains(QStringLiteral("GLOBAL"));
    if (!global) {
        if (auto it = mCursors.constFind(CursorKey(s.name, true)); it != mCursors.cend())
            return *it;
    }
    if (auto it = mCursors.constFind(CursorKey(s.name, false)); it != mCursors.cend())
        return *it;
    throw NoCursor(s.name);
}

void SessionState::RunCursor(const SqlStatement& s) {
    const QString& what = s.construct;
    if (what == QLatin1String("DECLARE")) {
        const bool local = s.optionNames.contains(QStringLiteral("LOCAL"));
        const QString key = CursorKey(s.name, local);
        if (mCursors.contains(key))
            throw ServerError::Make(
                16915, 16, QStringLiteral("A cursor with the name '%1' already exists.").arg(s.name));
        auto c = std::make_shared<CursorState>();
        c->name = s.name;
        c->select = s.select;
        for (const char* scrolling : {"SCROLL", "STATIC", "KEYSET", "DYNAMIC", "INSENSITIVE"})
            c->scroll = c->scroll || s.optionNames.contains(QLatin1String(scrolling));
        c->scroll = c->scroll && !s.optionNames.contains(QStringLiteral("FORWARD_ONLY")) &&
                    !s.optionNames.contains(QStringLiteral("FAST_FORWARD"));
        mCursors.insert(key, c);
        return;
    }
    const std::shared_ptr<CursorState> c = FindCursor(s);
    if (what == QLatin1String("OPEN")) {
        if (c->open)
            throw ServerError::Make(16905, 16, QStringLiteral("The cursor is already open."));
        SqlTranslator t(*this);
        const QString sql = t.Select(*c->select);
        c->rows = Query(sql, t.Params());
        c->open = true;
        c->position = -1;
        mCursorRows = c->rows.rows.size();
        return;
    }
    if (what == QLatin1String("CLOSE") || what == QLatin1String("DEALLOCATE")) {
        if (what == QLatin1String("CLOSE") && !c->open)
            throw ServerError::Make(16917, 16, QStringLiteral("Cursor is not open."));
        c->open = false;
        c->rows = SqlRowSet();
        if (what == QLatin1String("DEALLOCATE"))
            mCursors.remove(mCursors.key(c));
        return;
    }
    // FETCH
    if (!c->open)
        throw ServerError::Make(16917, 16, QStringLiteral("Cursor is not open."));
    const QString& direction = s.optionValue;
    if (!c->scroll && direction != QLatin1String("NEXT"))
        throw ServerError::Make(
            16911, 16,
            QStringLiteral("fetch: The fetch type %1 cannot be used with forward only cursors.")
                .arg(direction));
    const qsizetype n = c->rows.rows.size();
    qlonglong at = c->position;
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
        const qlonglong k = qBound(-qlonglong(n) - 2, Evaluate(*s.condition).toLongLong(), qlonglong(n) + 2);
        if (direction == QLatin1String("ABSOLUTE"))
            at = k > 0 ? k - 1 : k < 0 ? n + k : -1;
        else
            at = c->position + k;
    }
    if (at < 0 || at >= n) {
        c->position = at < 0 ? -1 : n;
        mFetchStatus = -1;
        return;
    }
    c->position = at;
    const QVariantList& row = c->rows.rows[at];
    if (s.columns.isEmpty()) {
        SqlRowSet one;
        one.columns = c->rows.columns;
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
        Assign(s.columns[i], DecimalVariableValue(row[i], c->rows.columns.value(i)), s.line);
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
