#include "EmbeddedServer.h"
#include "SaSessionTest.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

// A SELECT handed to a sink comes row by row and must say exactly what the listed form says:
// the same columns with the same types, the same values in the same order, the same messages and
// counts around it.

namespace {

// Rebuilds the listed form from what a sink is told, and checks the order of the calls.
class Collecting : public SqlResultSink {
public:
    SqlBatchResults results;
    QList<QVariantList> previewed;
    qsizetype stopAfter = -1; // rows to take before asking to stop; -1 = all
    bool open = false;

    void Add(SqlResult result) override {
        EXPECT_FALSE(open) << "a whole result came between the rows of a row set";
        results.append(std::move(result));
    }
    bool WantsPreview() const override { return true; }
    void Preview(const QList<SqlColumn>& columns, const QVariantList& row) override {
        EXPECT_FALSE(open);
        EXPECT_EQ(columns.size(), row.size());
        previewed.append(row);
    }
    void BeginRows(const QList<SqlColumn>& columns) override {
        EXPECT_FALSE(open);
        open = true;
        SqlRowSet rs;
        rs.columns = columns;
        results.append(SqlResult::Rows(rs));
    }
    bool Row(const QVariantList& values) override {
        EXPECT_TRUE(open);
        QList<QVariantList>& rows = results.last().rowSet.rows;
        rows.append(values);
        return stopAfter < 0 || rows.size() < stopAfter;
    }
    void EndRows(long long rows) override {
        EXPECT_TRUE(open);
        EXPECT_EQ(rows, results.last().rowSet.rows.size());
        open = false;
    }
};

void ExpectSame(const SqlBatchResults& listed, const SqlBatchResults& streamed) {
    ASSERT_EQ(listed.size(), streamed.size());
    for (qsizetype i = 0; i < listed.size(); ++i) {
        const SqlResult& a = listed[i];
        const SqlResult& b = streamed[i];
        ASSERT_EQ(int(a.kind), int(b.kind)) << "result " << i;
        EXPECT_EQ(a.rowCount, b.rowCount);
        EXPECT_EQ(a.message.number, b.message.number);
        EXPECT_EQ(a.message.text, b.message.text);
        ASSERT_EQ(a.rowSet.columns.size(), b.rowSet.columns.size());
        for (qsizetype c = 0; c < a.rowSet.columns.size(); ++c) {
            EXPECT_EQ(a.rowSet.columns[c].name, b.rowSet.columns[c].name);
            EXPECT_EQ(a.rowSet.columns[c].typeId, b.rowSet.columns[c].typeId)
                << a.rowSet.columns[c].name.toStdString();
            EXPECT_EQ(a.rowSet.columns[c].length, b.rowSet.columns[c].length);
        }
        EXPECT_EQ(a.rowSet.rows, b.rowSet.rows);
    }
}

class Streaming : public SaSessionTest {
protected:
    void SetUp() override {
        SaSessionTest::SetUp();
        if (HasFatalFailure())
            return;
        session->Execute(QStringLiteral(
            "CREATE TABLE t (id int NOT NULL, name nvarchar(40) NULL, price money NULL, made datetime NULL, "
            "raw varbinary(10) NULL)\n"
            "DECLARE @i int SET @i = 0\n"
            "WHILE @i < 300 BEGIN\n"
            "  INSERT INTO t VALUES (@i, CASE WHEN @i % 7 = 0 THEN NULL ELSE N'n' + CONVERT(varchar(10), @i) "
            "END,\n"
            "    @i * 1.25, DATEADD(day, @i, '2020-01-01'), 0x0102)\n"
            "  SET @i = @i + 1\n"
            "END"));
    }
};

TEST_F(Streaming, RowsCountsAndMessagesComeAsTheListSaysThem) {
    // Declared columns, computed ones whose type the rows decide (an integer first, fractions
    // later), several row sets, PRINT and a system procedure's whole row set between them.
    const QString batch = QStringLiteral(
        "PRINT 'before'\n"
        "SELECT id, name, price, made, raw FROM t ORDER BY id\n"
        "SELECT id * 2 AS twice, CASE WHEN id < 5 THEN 0 ELSE id / 3.0 END AS part, N'x' + name AS label,\n"
        "  DATEADD(hour, 1, made) AS later FROM t ORDER BY id DESC\n"
        "EXEC sp_helptext 'no_such_object'\n"
        "SELECT id FROM t WHERE id < 0\n"
        "PRINT 'after'");
    const SqlBatchResults listed = session->Execute(batch);
    Collecting sink;
    session->Execute(batch, sink);
    ExpectSame(listed, sink.results);
    // The look before the rows saw every row of the two SELECTs that had rows.
    EXPECT_EQ(sink.previewed.size(), 600);
}

TEST_F(Streaming, AFailingConversionAStoppingClientAndARowLimit) {
    // A conversion that fails at id 100 fails in the look before the rows: no rows go, the error
    // does and the batch goes on, as in the listed form.
    const QString failing = QStringLiteral(
        "UPDATE t SET name = N'bad' WHERE id = 100\n"
        "SELECT id, CONVERT(int, SUBSTRING(name, 2, 9)) AS n FROM t WHERE name IS NOT NULL ORDER BY id\n"
        "PRINT 'on'");
    const SqlBatchResults listed = session->Execute(failing);
    Collecting sink;
    session->Execute(failing, sink);
    ExpectSame(listed, sink.results);
    EXPECT_EQ(sink.results.last().message.text, QStringLiteral("on"));

    // A sink that stops (the client went) ends the batch there: what follows doesn't run.
    Collecting stopping;
    stopping.stopAfter = 10;
    session->Execute(QStringLiteral("SELECT id FROM t ORDER BY id\nINSERT INTO t (id) VALUES (-1)"),
                     stopping);
    EXPECT_EQ(stopping.results.first().rowSet.rows.size(), 10);
    const SqlBatchResults check = session->Execute(QStringLiteral("SELECT COUNT(*) FROM t WHERE id = -1"));
    EXPECT_EQ(check.first().rowSet.rows.first().first().toLongLong(), 0);

    // A row limit gives the first rows, then its error, and the batch goes on.
    session->SetRowLimit(50);
    Collecting capped;
    session->Execute(QStringLiteral("SELECT id FROM t\nPRINT 'still'"), capped);
    EXPECT_EQ(capped.results.first().rowSet.rows.size(), 50);
    bool limitError = false;
    for (const SqlResult& r : capped.results)
        limitError = limitError || (r.kind == SqlResult::Kind::Message && r.message.number == 50002);
    EXPECT_TRUE(limitError);
    EXPECT_EQ(capped.results.last().message.text, QStringLiteral("still"));
}

} // namespace
