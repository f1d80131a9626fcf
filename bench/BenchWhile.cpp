#include "BenchWhile.h"

#include "EmbeddedServer.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

int RunWhileBenchmark(long long rounds) {
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "tarmo-bench: no temporary folder\n");
        return 1;
    }
    const QString folder = dir.filePath(QStringLiteral("srv"));
    EmbeddedServer::Create(folder, QStringLiteral("bench"));
    EmbeddedServer server(folder);
    std::unique_ptr<EmbeddedSession> session =
        server.Connect(QStringLiteral("sa"), QStringLiteral("bench"), {});
    if (!session) {
        std::fprintf(stderr, "tarmo-bench: sa can't log in\n");
        return 1;
    }
    const QString batch = QStringLiteral("DECLARE @i int = 0, @s int = 0\n"
                                         "WHILE @i < %1\n"
                                         "BEGIN\n"
                                         "    SET @i += 1\n"
                                         "    SET @s = (@s + @i * 3) % 1000\n"
                                         "END\n"
                                         "SELECT @i, @s")
                              .arg(rounds);
    QElapsedTimer timer;
    timer.start();
    const SqlBatchResults results = session->Execute(batch);
    const qint64 ms = timer.elapsed();
    QString answer;
    for (const SqlResult& r : results) {
        if (r.kind == SqlResult::Kind::Message)
            std::fprintf(stderr, "tarmo-bench: %s\n", qPrintable(r.message.text));
        if (r.kind == SqlResult::Kind::RowSet && !r.rowSet.rows.isEmpty())
            answer =
                r.rowSet.rows.first().value(0).toString() + u' ' + r.rowSet.rows.first().value(1).toString();
    }
    const double perRound = rounds > 0 ? double(ms) * 1000.0 / double(rounds) : 0;
    std::printf("while: %lld rounds, answer %s, %.2f us a round\n", rounds, qPrintable(answer), perRound);
    std::printf("total_ms=%lld\n", static_cast<long long>(ms));
    return 0;
}
