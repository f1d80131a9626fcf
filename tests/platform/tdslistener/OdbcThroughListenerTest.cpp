#include "DbConnection.h"
#include "ListenerFixture.h"
#include "OdbcConnection.h"
#include "ScriptedPrompts.h"
#include "TARMOSQL.h"

#include <QDateTime>

#include <atomic>
#include <thread>

namespace {

// The product's ODBC driver with FreeTDS against the listener, side by side with the embedded driver
// on the same server folder: what the windows get must not depend on the road.
class OdbcThroughListener : public ListenerFixture {
protected:
    static void SetUpTestSuite() {
        ListenerFixture::SetUpTestSuite();
        OdbcConnection::SetDriverName(QStringLiteral("FreeTDS"));
        auto sa = connect(EmbeddedName());
        sa->Execute(QStringLiteral("CREATE PROCEDURE dbo.GetNames @n int AS\r\n"
                                   "SELECT name FROM sysobjects WHERE id < @n ORDER BY id\r\n"));
        sa->Execute(QStringLiteral("CREATE TABLE Orders (id int, customer nvarchar(40))"));
        sa->Execute(QStringLiteral("INSERT INTO Orders VALUES (1, N'Ann')"));
        sa->Execute(QStringLiteral("INSERT INTO Orders VALUES (2, N'Bo')"));
        sa->Execute(QStringLiteral("CREATE TABLE Scratch (k int)"));
    }
    static void TearDownTestSuite() {
        OdbcConnection::SetDriverName(QString());
        ListenerFixture::TearDownTestSuite();
    }
    void SetUp() override {
        if (!OdbcConnection::InstalledDrivers().contains(QStringLiteral("FreeTDS")))
            GTEST_SKIP() << "the FreeTDS ODBC driver is not installed (scripts/setup installs it)";
    }

    static std::unique_ptr<DbConnection> connect(const QString& server, const QString& database = "Sales") {
        DbLogin login;
        login.server = server;
        login.database = database;
        login.login = QStringLiteral("sa");
        login.password = kSaPassword;
        std::unique_ptr<DbConnection> c = DbDriver::CreateConnection(server);
        c->Open(login);
        return c;
    }

    // The results of a batch on both roads, as text; rowsOnly leaves counts and messages out.
    static std::pair<std::string, std::string> both(const QString& batch, bool rowsOnly = false) {
        return {render(connect(EmbeddedName())->ExecuteBatch(batch), rowsOnly),
                render(connect(TcpName())->ExecuteBatch(batch), rowsOnly)};
    }

    static QString value(const QVariant& v) {
        if (!v.isValid() || v.isNull())
            return QStringLiteral("NULL");
        switch (v.typeId()) {
        case QMetaType::LongLong:
            return QStringLiteral("i:") + v.toString();
        case QMetaType::Double:
            return QStringLiteral("d:") + QString::number(v.toDouble(), 'g', 15);
        case QMetaType::QDateTime:
            return QStringLiteral("t:") + v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
        case QMetaType::QByteArray:
            return QStringLiteral("b:") + QString::fromLatin1(v.toByteArray().toHex());
        default:
            return QStringLiteral("s:") + v.toString();
        }
    }

    static std::string render(const SqlBatchResults& results, bool rowsOnly = false) {
        QStringList out;
        for (const SqlResult& r : results) {
            if (rowsOnly && r.kind != SqlResult::Kind::RowSet)
                continue;
            switch (r.kind) {
            case SqlResult::Kind::RowSet: {
                QStringList names;
                for (const SqlColumn& c : r.rowSet.columns)
                    names.append(c.name);
                out.append(QStringLiteral("rows(%1)").arg(names.join(',')));
                for (const QVariantList& row : r.rowSet.rows) {
                    QStringList values;
                    for (const QVariant& v : row)
                        values.append(value(v));
                    out.append(QStringLiteral("  ") + values.join(' '));
                }
                break;
            }
            case SqlResult::Kind::RowCount:
                out.append(QStringLiteral("count %1").arg(r.rowCount));
                break;
            case SqlResult::Kind::Message:
                out.append(QStringLiteral("%1 %2 line %3: %4")
                               .arg(r.message.IsError() ? "error" : "info")
                               .arg(r.message.number)
                               .arg(r.message.line)
                               .arg(r.message.text));
                break;
            }
        }
        return out.join('\n').toStdString();
    }
};

} // namespace

TEST_F(OdbcThroughListener, LoginsAndTheirRefusalsReadAlikeAfterFormatSQLError) {
    ScriptedPromptsScope prompts;
    for (const QString& server : {EmbeddedName(), TcpName()}) {
        SCOPED_TRACE(server.toStdString());
        TARMOSQL sql;
        EXPECT_EQ(
            sql.OpenConnection(server, QStringLiteral("Sales"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        EXPECT_EQ(sql.DatabaseUserName(), QStringLiteral("dbo"));
        sql.CloseConnection();
        EXPECT_EQ(TARMOSQL::FormatSQLError(sql.OpenConnection(server, QStringLiteral("Sales"),
                                                              QStringLiteral("dev"), QStringLiteral("wrong"),
                                                              0, true)),
                  QStringLiteral("Login failed for user 'dev'."));
        EXPECT_FALSE(sql.ConnectionOpen());
    }
    EXPECT_TRUE((*prompts).Records().isEmpty()) << "silent connections show nothing";
}

TEST_F(OdbcThroughListener, PasswordsWithSemicolonAndBraceGetThrough) {
    for (const QString& server : {EmbeddedName(), TcpName()}) {
        TARMOSQL sql;
        EXPECT_EQ(
            sql.OpenConnection(server, QStringLiteral("Sales"), QStringLiteral("dev"), kDevPassword, 0, true),
            QString())
            << server.toStdString();
        EXPECT_EQ(sql.DatabaseUserName(), QStringLiteral("dev"));
    }
}

TEST_F(OdbcThroughListener, UnknownDatabaseNamesTheDatabase) {
    for (const QString& server : {EmbeddedName(), TcpName()}) {
        SCOPED_TRACE(server.toStdString());
        TARMOSQL sql;
        EXPECT_EQ(
            TARMOSQL::FormatSQLError(sql.OpenConnection(server, QStringLiteral("NoSuchDb"),
                                                        QStringLiteral("sa"), kSaPassword, 0, true)),
            QStringLiteral("Cannot open database \"NoSuchDb\" requested by the login. The login failed."));
    }
}

TEST_F(OdbcThroughListener, RowSetsMessagesAndCountsArriveInTheServersOrder) {
    const QString batches[] = {
        QStringLiteral("SELECT 1 AS a, N'x' AS b\nPRINT 'between'\nSELECT name FROM sysobjects WHERE 1 = 0\n"
                       "SELECT id, customer FROM Orders ORDER BY id"),
        QStringLiteral("SET NOCOUNT ON\nSELECT COUNT(*) AS n FROM Orders\nSET NOCOUNT OFF\nPRINT 'end'"),
        QStringLiteral("DELETE FROM Scratch\nINSERT INTO Scratch VALUES (1)\nPRINT 'one row'\n"
                       "INSERT INTO Scratch SELECT k + 1 FROM Scratch\nUPDATE Scratch SET k = k * 10\n"
                       "SELECT k FROM Scratch ORDER BY k\nDELETE FROM Scratch"),
        QStringLiteral("EXEC sp_helptext 'GetNames'\nEXEC GetNames 4"),
    };
    for (const QString& batch : batches) {
        const auto [embedded, odbc] = both(batch);
        EXPECT_EQ(odbc, embedded) << batch.toStdString();
    }
}

TEST_F(OdbcThroughListener, ErrorsKeepTheirPlaceNumberAndLine) {
    // The query window sends a probe row set first, so that an error in the first statement can't
    // hide the rest of the batch.
    const QString batches[] = {
        QStringLiteral(
            "select 1\r\nPRINT 'before'\r\nRAISERROR('boom', 16, 1)\r\nPRINT 'after'\r\nSELECT 2 AS two"),
        QStringLiteral("select 1\r\nSELECT 1 AS one\r\nSELECT * FROM nowhere\r\nPRINT 'never'"),
        QStringLiteral("select 1\r\nPRINT 'a'\r\nPRINT 'b'\r\nSELECT x FROM Orders"),
    };
    for (const QString& batch : batches) {
        const auto [embedded, odbc] = both(batch);
        EXPECT_EQ(odbc, embedded) << batch.toStdString();
    }
    // Raised the way TARMOSQL and the query window see it: "Line N: " in front, N counted in the
    // text sent, and no driver prefix after FormatSQLError.
    for (const QString& server : {EmbeddedName(), TcpName()}) {
        try {
            connect(server)->Execute(QStringLiteral("select 1\r\nSELECT 1 AS one\r\nSELECT * FROM nowhere"));
            ADD_FAILURE() << "the batch should fail";
        } catch (const DbError& e) {
            EXPECT_EQ(e.Number(), 208);
            EXPECT_EQ(TARMOSQL::FormatSQLError(e.Description()),
                      QStringLiteral("Line 3: Invalid object name 'nowhere'."))
                << server.toStdString();
        }
    }
}

TEST_F(OdbcThroughListener, ValuesOfEveryTypeSurviveTheWire) {
    auto sa = connect(EmbeddedName());
    sa->Execute(QStringLiteral(
        "CREATE TABLE Typed (i int, bi bigint, si smallint, ti tinyint, b bit, f float, r real, "
        "d decimal(12,3), m money, dt datetime, sdt smalldatetime, nv nvarchar(50), v varchar(20), c "
        "char(4), "
        "nc nchar(3), vb varbinary(16))"));
    sa->Execute(QStringLiteral("INSERT INTO Typed VALUES (-2147483647, 9007199254740993, -32000, 255, 1, "
                               "1.5e300, 2.5, -123456789.125, "
                               "922337203685.4775, '2024-02-29 23:59:59.997', '2079-06-06 23:59:00', N'Grüße "
                               "✓ 漢字', 'Ça € va', 'ab  ', "
                               "N'xyz', 0x00FF10)"));
    sa->Execute(QStringLiteral("INSERT INTO Typed (i) VALUES (NULL)"));
    // Beyond 8000 bytes a value travels in chunks.
    const auto [embedded, odbc] =
        both(QStringLiteral("SELECT *, REPLICATE(N'long ', 2000) AS big FROM Typed ORDER BY bi DESC"), true);
    EXPECT_EQ(odbc, embedded);

    // A tinyint at either end of its range (the engine refuses what it can't hold, as the server
    // does); a decimal rounded to its column's scale.
    sa->Execute(QStringLiteral("CREATE TABLE Loose (t tinyint, d decimal(4,2))"));
    sa->Execute(QStringLiteral("INSERT INTO Loose VALUES (255, 12.789)"));
    sa->Execute(QStringLiteral("INSERT INTO Loose VALUES (0, -0.5)"));
    const auto [looseEmbedded, looseOdbc] =
        both(QStringLiteral("SELECT t, d, NULL AS nothing, '' AS empty, N'' AS nempty FROM Loose"), true);
    EXPECT_EQ(looseOdbc, looseEmbedded);

    // The column types a window can tell apart arrive as the server's type ids; FreeTDS reports
    // decimal as numeric and money as decimal, which are all numbers to the windows.
    const SqlBatchResults results = connect(TcpName())->ExecuteBatch(QStringLiteral("SELECT * FROM Typed"));
    ASSERT_FALSE(results.isEmpty());
    ASSERT_EQ(results[0].kind, SqlResult::Kind::RowSet);
    QStringList types;
    for (const SqlColumn& c : results[0].rowSet.columns)
        types.append(QStringLiteral("%1=%2").arg(c.name).arg(c.typeId));
    EXPECT_EQ(types.join(' ').toStdString(),
              "i=56 bi=127 si=52 ti=48 b=104 f=62 r=59 d=108 m=106 dt=61 sdt=61 "
              "nv=231 v=167 c=175 nc=239 vb=165");
}

TEST_F(OdbcThroughListener, ComputedDecimalsTravelWithTheirScale) {
    const SqlBatchResults results = connect(TcpName())->ExecuteBatch(QStringLiteral(
        "DECLARE @p decimal(10,2) = 10.5, @m money = 2\n"
        "SELECT @p AS p, @p * 3 AS t, 1.0 / 3 AS third, @m * 2 AS m, CAST(2 AS decimal(9,4)) AS c"));
    ASSERT_FALSE(results.isEmpty());
    ASSERT_EQ(results[0].kind, SqlResult::Kind::RowSet);
    const SqlRowSet& rows = results[0].rowSet;
    QStringList got;
    for (int i = 0; i < rows.columns.size(); ++i)
        got.append(QStringLiteral("%1:%2@%3")
                       .arg(rows.columns[i].name)
                       .arg(rows.rows.value(0).value(i).toDouble())
                       .arg(rows.columns[i].scale));
    EXPECT_EQ(got.join(' ').toStdString(), "p:10.5@2 t:31.5@2 third:0.333333@6 m:4@4 c:2@4");
}

TEST_F(OdbcThroughListener, CatalogueLookupsOfTARMOSQLAgree) {
    ScriptedPromptsScope prompts;
    QStringList seen[2];
    int road = 0;
    for (const QString& server : {EmbeddedName(), TcpName()}) {
        TARMOSQL sql;
        ASSERT_EQ(
            sql.OpenConnection(server, QStringLiteral("Sales"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        const QString id = sql.GetObjectID(QStringLiteral("GetNames"));
        seen[road] << id << sql.GetObjectName(id) << sql.GetObjectName(id, false)
                   << sql.GetObjectOwnerName(id) << sql.GetObjectText(id) << sql.DatabaseUserName()
                   << sql.GetObjectID(QStringLiteral("Missing"))
                   << QString::number(sql.UserDefinedFunctionsAllowed(true));
        EXPECT_FALSE(id.isEmpty());
        ++road;
    }
    EXPECT_EQ(seen[1], seen[0]);
    EXPECT_EQ(seen[1].mid(1).join('|').toStdString(),
              "[dbo].[GetNames]|[GetNames]|dbo|CREATE PROCEDURE dbo.GetNames @n int AS\r\n"
              "SELECT name FROM sysobjects WHERE id < @n ORDER BY id\r\n|dbo||1");
}

TEST_F(OdbcThroughListener, ParsingReportsTheSameTextAndLine) {
    ScriptedPromptsScope prompts;
    for (const QString& server : {EmbeddedName(), TcpName()}) {
        SCOPED_TRACE(server.toStdString());
        TARMOSQL sql;
        ASSERT_EQ(
            sql.OpenConnection(server, QStringLiteral("Sales"), QStringLiteral("sa"), kSaPassword, 0, true),
            QString());
        EXPECT_EQ(sql.ParseSQL(QStringLiteral("SELECT * FROM nowhere")), QString())
            << "names aren't resolved";
        EXPECT_EQ(TARMOSQL::FormatSQLError(sql.ParseSQL(QStringLiteral("PRINT 1\r\nSELECT 1 +"))),
                  QStringLiteral("Line 2: Incorrect syntax near '+'."));
        // Parsing leaves the connection running statements again.
        EXPECT_EQ(sql.OpenRecordset(QStringLiteral("SELECT 7 AS n"))->Text(QStringLiteral("n")),
                  QStringLiteral("7"));
    }
}

// unixODBC ends a statement whose execution failed, so the results behind a failing first statement
// are dropped (the query window's probe row set avoids that). FreeTDS then cancels them with an
// attention, and the connection must be in step for the next batch.
TEST_F(OdbcThroughListener, ResultsBehindAFailedFirstStatementAreCancelled) {
    auto tcp = connect(TcpName());
    const SqlBatchResults failed =
        tcp->ExecuteBatch(QStringLiteral("RAISERROR('first', 16, 1)\nSELECT 1 AS one"));
    ASSERT_FALSE(failed.isEmpty());
    EXPECT_EQ(failed[0].message.number, 50000);
    EXPECT_EQ(failed[0].message.text, QStringLiteral("first"));
    EXPECT_EQ(render(tcp->ExecuteBatch(QStringLiteral("SELECT 2 AS two")), true), "rows(two)\n  i:2");
}

TEST_F(OdbcThroughListener, SeveralOdbcConnectionsWorkAtOnce) {
    constexpr int kConnections = 4;
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kConnections; ++i)
        threads.emplace_back([&good] {
            try {
                auto c = connect(TcpName());
                int right = 0;
                for (int n = 0; n < 10; ++n)
                    right += c->OpenRecordset(QStringLiteral("SELECT COUNT(*) AS n FROM Orders")).Text("n") ==
                             QLatin1String("2");
                good += right == 10 ? 1 : 0;
            } catch (const TARMOError&) {
            }
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(good, kConnections);
}
