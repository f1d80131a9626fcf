#include "SessionState.h"

#include <QRegularExpression>

namespace {

// The type of a result column. A column that SQLite can't trace to a table (a computed one) has no
// declared type: it takes the widest kind of value any row holds, so that a 0 in the first row
// doesn't make integers of the fractions below it.
class ResultColumns {
public:
    // known: the types of computed columns that the executor worked out (decimals).
    ResultColumns(const SqliteStatement& st, const QHash<int, SqlColumn>& known) {
        const int n = st.ColumnCount();
        for (int i = 0; i < n; ++i) {
            SqlColumn c;
            c.name = SqlTranslator::ResultName(st.ColumnName(i));
            QString decl = st.DeclaredType(i);
            // The one column of FOR JSON and FOR XML is nvarchar(max), as the server names it.
            if (c.name.endsWith(QLatin1String("_F52E2B61-18A1-11d1-B105-00805F49916B")))
                decl = QStringLiteral("nvarchar(max)");
            if (!decl.isEmpty()) {
                Catalogue::DescribeDeclaredType(decl, &c.typeId, &c.length, &c.precision, &c.scale);
            } else if (const auto it = known.constFind(i); it != known.cend()) {
                const QString name = c.name;
                c = *it;
                c.name = name;
            } else {
                mGuessed.append(Guess{i});
            }
            mColumns.append(c);
        }
    }

    bool NeedsGuess() const { return !mGuessed.isEmpty(); }

    void Observe(const QVariantList& row) {
        static const QRegularExpression date(
            QStringLiteral("^\\d{4}-\\d{2}-\\d{2} \\d{2}:\\d{2}:\\d{2}\\.\\d{3}$"));
        for (Guess& g : mGuessed) {
            const QVariant& v = row[g.index];
            if (!v.isValid() || v.isNull())
                continue;
            if (v.typeId() == QMetaType::LongLong) {
                g.integer = true;
            } else if (v.typeId() == QMetaType::Double) {
                g.fraction = true;
            } else if (v.typeId() == QMetaType::QByteArray) {
                g.binary = true;
            } else {
                g.text = true;
                g.dates = g.dates && date.match(v.toString()).hasMatch();
            }
        }
    }

    // The columns, with the guessed ones decided from what was observed.
    const QList<SqlColumn>& Decide() {
        for (const Guess& g : std::as_const(mGuessed)) {
            SqlColumn& c = mColumns[g.index];
            if (g.text) {
                // Dates are kept as text; a computed one still reads as a datetime.
                c.typeId = g.dates && !g.integer && !g.fraction && !g.binary ? 61 : 231;
                c.length = c.typeId == 61 ? 8 : 8000;
            } else if (g.binary) {
                c.typeId = 165;
                c.length = 8000;
            } else if (g.fraction) {
                c.typeId = 62;
                c.length = 8;
                c.precision = 53;
            } else {
                c.typeId = 56;
                c.length = 4;
                c.precision = g.integer ? 10 : 0;
            }
        }
        return mColumns;
    }

private:
    struct Guess {
        int index = 0;
        bool integer = false, fraction = false, binary = false, text = false, dates = true;
    };
    QList<SqlColumn> mColumns;
    QList<Guess> mGuessed;
};

QVariantList RawRow(const SqliteStatement& st, int n) {
    QVariantList row;
    row.reserve(n);
    for (int i = 0; i < n; ++i)
        row.append(st.Value(i));
    return row;
}

ServerError TooManyRows(qsizetype limit) {
    return ServerError::Make(50002, 16,
                             QStringLiteral("The result has more than %1 rows, the most this server gives in "
                                            "one result. Narrow the query.")
                                 .arg(limit));
}

void ToServerValues(QVariantList& row, const QList<SqlColumn>& columns, const QHash<int, KnownValue>& known) {
    for (int i = 0; i < columns.size(); ++i) {
        const auto it = known.isEmpty() ? known.cend() : known.constFind(i);
        row[i] = ServerResultValue(row[i], columns[i], it == known.cend() ? nullptr : &*it);
    }
}

} // namespace

SqlRowSet SessionState::Query(const QString& sql, const QVariantList& params) {
    const QHash<int, SqlColumn> known = std::exchange(mKnownColumns, {});
    const QHash<int, KnownValue> values = std::exchange(mKnownValues, {});
    SqliteStatement st(mDb->Handle(), sql);
    st.BindAll(params);
    const int n = st.ColumnCount();
    ResultColumns columns(st, known);
    QList<QVariantList> raw;
    while (st.Step()) {
        if (rowLimit > 0 && raw.size() >= rowLimit)
            throw TooManyRows(rowLimit);
        raw.append(RawRow(st, n));
        columns.Observe(raw.last());
    }
    SqlRowSet rs;
    rs.columns = columns.Decide();
    // In place: a large result is held once, not twice.
    for (QVariantList& row : raw)
        ToServerValues(row, rs.columns, values);
    rs.rows = std::move(raw);
    return rs;
}

long long SessionState::StreamQuery(const QString& sql, const QVariantList& params) {
    const QHash<int, SqlColumn> known = std::exchange(mKnownColumns, {});
    const QHash<int, KnownValue> values = std::exchange(mKnownValues, {});
    // The statement runs once more for each round a reader needs before the rows: what a computed
    // column holds, then what the sink looks at to choose its wire types. Reading again costs far
    // less than holding a large result.
    SqliteStatement st(mDb->Handle(), sql);
    st.BindAll(params);
    const int n = st.ColumnCount();
    ResultColumns guess(st, known);
    if (guess.NeedsGuess()) {
        while (st.Step())
            guess.Observe(RawRow(st, n));
        st.Reset();
        st.BindAll(params);
    }
    const QList<SqlColumn> columns = guess.Decide();
    if (mSink->WantsPreview()) {
        for (qsizetype seen = 0; (rowLimit == 0 || seen < rowLimit) && st.Step(); ++seen) {
            QVariantList row = RawRow(st, n);
            ToServerValues(row, columns, values);
            mSink->Preview(columns, row);
        }
        if (Cancelled())
            return 0;
        st.Reset();
        st.BindAll(params);
    }
    mSink->BeginRows(columns);
    long long count = 0;
    try {
        while (st.Step()) {
            if (rowLimit > 0 && count >= rowLimit)
                throw TooManyRows(rowLimit);
            QVariantList row = RawRow(st, n);
            ToServerValues(row, columns, values);
            ++count;
            if (!mSink->Row(row)) {
                mCancelled = true;
                break;
            }
        }
    } catch (...) {
        // What went stays sent, and its row set is closed before the error that follows it.
        mSink->EndRows(count);
        throw;
    }
    mSink->EndRows(count);
    return count;
}

QStringList SessionState::ColumnNames(const QString& sql) {
    // Prepared, not run: SQLite knows a statement's columns before its first row.
    const SqliteStatement st(mDb->Handle(), sql);
    QStringList names;
    for (int i = 0; i < st.ColumnCount(); ++i)
        names.append(st.ColumnName(i));
    return names;
}
