#include "BenchParse.h"

#include "EmbeddedServer.h"
#include "SqlGrammar.h"
#include "SqlLexer.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

// Statements of a real procedure's kinds, each on its own lines; the body repeats them.
const char* const kStatements[] = {
    "SET NOCOUNT ON;",
    "DECLARE @id int = 1, @name nvarchar(100) = N'x', @total decimal(18, 2), @when datetime2(3);",
    "DECLARE @t TABLE (id int PRIMARY KEY, name nvarchar(50) NOT NULL DEFAULT N'');",
    "IF @id > 0 AND EXISTS (SELECT 1 FROM dbo.Orders o WITH (NOLOCK) WHERE o.CustomerID = @id)\n"
    "BEGIN\n    SET @total = (SELECT SUM(Amount) FROM dbo.Orders WHERE CustomerID = @id);\nEND",
    "WITH recent AS (\n    SELECT o.OrderID, o.CustomerID, ROW_NUMBER() OVER (PARTITION BY o.CustomerID\n"
    "        ORDER BY o.OrderDate DESC) AS rn\n    FROM dbo.Orders AS o\n)\n"
    "SELECT r.OrderID, c.Name FROM recent r JOIN dbo.Customers c ON c.CustomerID = r.CustomerID WHERE r.rn = "
    "1;",
    "BEGIN TRY\n    BEGIN TRAN;\n    UPDATE dbo.Orders SET Status = 2, @when = SYSDATETIME() WHERE OrderID = "
    "@id;\n"
    "    COMMIT TRAN;\nEND TRY\nBEGIN CATCH\n    IF @@TRANCOUNT > 0 ROLLBACK TRAN;\n    THROW;\nEND CATCH",
    "MERGE dbo.Totals AS t\nUSING (SELECT CustomerID, SUM(Amount) AS Amount FROM dbo.Orders GROUP BY "
    "CustomerID) AS s\n"
    "ON t.CustomerID = s.CustomerID\nWHEN MATCHED THEN UPDATE SET t.Amount = s.Amount\n"
    "WHEN NOT MATCHED BY TARGET THEN INSERT (CustomerID, Amount) VALUES (s.CustomerID, s.Amount)\n"
    "OUTPUT $action, inserted.CustomerID;",
    "SELECT @name = STUFF((SELECT ',' + Name FROM dbo.Customers FOR XML PATH(''), TYPE)\n"
    "    .value('.', 'nvarchar(max)'), 1, 1, '');",
    "INSERT INTO @t (id, name) SELECT CustomerID, Name FROM dbo.Customers WHERE Name LIKE N'A%';",
    "DECLARE c CURSOR LOCAL FAST_FORWARD FOR SELECT id FROM @t;\nOPEN c;\nFETCH NEXT FROM c INTO @id;\n"
    "WHILE @@FETCH_STATUS = 0\nBEGIN\n    PRINT @id;\n    FETCH NEXT FROM c INTO @id;\nEND\nCLOSE "
    "c;\nDEALLOCATE c;",
    "EXEC @id = dbo.usp_Log @Message = N'done', @Level = 1;",
    "RAISERROR (N'Processed %d rows', 10, 1, @id) WITH NOWAIT;",
};

QString Procedure(int lines) {
    QStringList text{QStringLiteral("CREATE PROCEDURE dbo.usp_Bench @Customer int = NULL, @Out int OUTPUT"),
                     QStringLiteral("AS")};
    int count = 2;
    for (int i = 0; count < lines; ++i) {
        const QString statement = QString::fromLatin1(kStatements[i % int(std::size(kStatements))]);
        text.append(statement);
        count += int(statement.count(u'\n')) + 1;
    }
    return text.join(u'\n');
}

} // namespace

int RunParseBenchmark(int lines) {
    const QString batch = Procedure(lines);
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("server"));
    EmbeddedServer::Create(folder, QStringLiteral("bench-sa"));
    EmbeddedServer server(folder);
    std::unique_ptr<EmbeddedSession> session =
        server.Connect(QStringLiteral("sa"), QStringLiteral("bench-sa"), QString());
    if (!session) {
        std::fprintf(stderr, "tarmo-bench: the embedded server refused the login\n");
        return 1;
    }
    session->Execute(QStringLiteral("SET PARSEONLY ON"));
    qint64 bestRecognizer = -1;
    qint64 bestServer = -1;
    bool valid = true;
    for (int run = 0; run < 5; ++run) {
        QElapsedTimer timer;
        timer.start();
        SqlLexError lexError;
        const QList<SqlToken> tokens = SqlLexer::Tokenize(batch, true, &lexError);
        SqlSyntaxError error;
        valid = SqlGrammar(tokens).CheckBatch(&error) && valid;
        const qint64 recognizer = timer.nsecsElapsed();
        timer.restart();
        const SqlBatchResults results = session->Execute(batch);
        const qint64 parsed = timer.nsecsElapsed();
        for (const SqlResult& r : results)
            valid = valid && !(r.kind == SqlResult::Kind::Message && r.message.IsError());
        bestRecognizer = bestRecognizer < 0 ? recognizer : std::min(bestRecognizer, recognizer);
        bestServer = bestServer < 0 ? parsed : std::min(bestServer, parsed);
    }
    if (!valid) {
        std::fprintf(stderr, "tarmo-bench: the procedure did not parse\n");
        return 1;
    }
    std::printf("lines=%d chars=%lld recognizer_ms=%.2f parseonly_ms=%.2f total_ms=%.2f\n", lines,
                static_cast<long long>(batch.size()), double(bestRecognizer) / 1e6, double(bestServer) / 1e6,
                double(bestRecognizer + bestServer) / 1e6);
    return 0;
}
