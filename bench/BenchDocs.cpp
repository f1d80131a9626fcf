#include "BenchDocs.h"

#include "BenchProject.h"
#include "DocGenModule.h"
#include "DocGenProject.h"
#include "DocGenRun.h"
#include "EmbeddedConnection.h"
#include "GeneralHelpers.h"
#include "StoreTraffic.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOProject.h"
#include "VSSBulkReader.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

constexpr int kLinesPerFile = 500;
constexpr int kReferencesPerFile = 6;

// A file of ordinary code with kReferencesPerFile references spread over it, in the forms source
// code uses: bare, owner-qualified, bracketed, inside string literals. Objects are picked by the file's
// number, so files share some objects and each kind is used.
QString sourceFile(int file, double scale) {
    const auto count = [scale](int n) { return std::max(1, int(std::lround(n * scale))); };
    const QString names[kReferencesPerFile] = {
        QStringLiteral("spProcedure%1").arg(1 + (file * 7) % count(5000)),
        QStringLiteral("spProcedure%1").arg(1 + (file * 13 + 5) % count(5000)),
        QStringLiteral("vwView%1").arg(1 + (file * 3) % count(1000)),
        QStringLiteral("fnFunction%1").arg(1 + (file * 11) % count(1000)),
        QStringLiteral("spProcedure%1").arg(1 + (file * 17 + 1) % count(5000)),
        QStringLiteral("vwView%1").arg(1 + (file * 5 + 2) % count(1000))};
    const QString uses[kReferencesPerFile] = {
        QStringLiteral("    $rs = $db->execute(\"exec %1 @id = \" . $id);"),
        QStringLiteral("    $cmd->CommandText = 'dbo.%1';"),
        QStringLiteral("    $sql = \"SELECT id, amount FROM [dbo].[%1] WHERE id = \" . $id;"),
        QStringLiteral("    $total = $db->scalar(\"SELECT dbo.%1 (@x)\", array(\"x\" => $x));"),
        QStringLiteral("    call_procedure(\"%1\", $params);"),
        QStringLiteral("    $rows = $db->query(\"select * from dbo.%1 order by id\");")};
    QString text;
    int used = 0;
    for (int line = 1; line <= kLinesPerFile; ++line) {
        if (line % (kLinesPerFile / kReferencesPerFile) == 0 && used < kReferencesPerFile) {
            text += uses[used].arg(names[used]) + QStringLiteral("\r\n");
            ++used;
        } else {
            text += QStringLiteral(
                        "    $value%1 = compute_total($order->lines[%1], $customer->discount, $tax);\r\n")
                        .arg(line);
        }
    }
    return text;
}

} // namespace

int RunDocsBenchmark(const BenchProject& project, int files, int rttMs) {
    QTemporaryDir scratch;
    // The core reads its settings; the user's own stay out of the benchmark.
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratch.path() + QStringLiteral("/config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(scratch.path() + QStringLiteral("/data")));

    TARMODatabase settings;
    TARMOProject target;
    if (!project.Connect(target.SQL(), target.VSS()))
        return 1;
    TARMODatabaseObjects core(settings, &target);

    const double scale = project.Scale();
    DocGenProject options;
    options.IncludeModuleSummay = true;
    options.IncludeModuleSummayPerFile = true;
    options.IncludeOwnerNames = true;
    options.GenerateName = scratch.path() + QStringLiteral("/module.html");
    DocGenModule& module = options.Modules().Add();
    module.Name = QStringLiteral("Web shop");
    module.Path = scratch.path() + QStringLiteral("/src/");
    EnsureFolder(scratch.path() + QStringLiteral("/src"));
    for (int n = 1; n <= files; ++n) {
        const QString file = module.Path + QStringLiteral("page%1.php").arg(n, 4, 10, QLatin1Char('0'));
        WriteTextFile(file, sourceFile(n, scale));
        module.Files().Add(file);
    }

    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(rttMs));
    if (rttMs > 0)
        StoreTraffic::SetStoreCallObserver(
            [rttMs] { std::this_thread::sleep_for(std::chrono::milliseconds(rttMs)); });
    StoreTraffic::Reset();
    DocGenRun run(core, options, &module);
    QElapsedTimer timer;
    timer.start();
    const DocGenRun::Outcome outcome = run.Run();
    const qint64 ms = timer.elapsed();
    StoreTraffic::SetStoreCallObserver(nullptr);
    EmbeddedConnection::SetSimulatedRoundTrip(std::chrono::milliseconds(0));
    VSSBulkReader::Release();

    if (outcome != DocGenRun::Outcome::Generated) {
        std::fprintf(stderr, "tarmo-bench: the document failed: %s\n", qPrintable(run.ErrorDescription()));
        return 1;
    }
    std::printf("statements=%lld store_calls=%lld\n", StoreTraffic::StatementCount(),
                StoreTraffic::StoreCallCount());
    std::printf("total_ms=%lld files=%d references=%ld\n", ms, files, run.ReferenceCount());
    if (run.ReferenceCount() != long(files) * kReferencesPerFile) {
        std::fprintf(stderr, "tarmo-bench: %d references were written\n", files * kReferencesPerFile);
        return 1;
    }
    return 0;
}
