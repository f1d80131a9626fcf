#include "BenchQuery.h"

#include "DbConnection.h"
#include "EmbeddedServer.h"
#include "GeneralHelpers.h"
#include "TARMOError.h"
#include "multiGrid.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTableView>

#include <cstdio>
#include <ctime>
#include <malloc.h>
#include <sqlite3.h>
#include <unistd.h>

namespace {

const QString kDatabase = QStringLiteral("QueryBench");
const QString kTable = QStringLiteral("BenchRows");
const QString kPassword = QStringLiteral("bench-sa");
const QString kReady = QStringLiteral("ready");

QString selectAll() {
    return QStringLiteral("SELECT * FROM ") + kTable;
}

double residentMb() {
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? double(fields[1].toLongLong()) * double(sysconf(_SC_PAGESIZE)) / 1048576.0 : 0;
}

// The peak of the resident set since the last reset, which writing 5 to clear_refs makes.
double peakMb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return double(line.mid(6).trimmed().split(' ').value(0).toLongLong()) / 1024.0;
    return 0;
}

// The processor time of this process, which the load of the machine spares.
qint64 cpuMs() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return qint64(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

void resetPeak() {
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    if (refs.open(QIODevice::WriteOnly))
        refs.write("5");
}

// The rows come from digit tables joined with themselves: a few statements whatever the count.
void build(const QString& folder, int rows) {
    std::fprintf(stderr, "Building %d rows in %s ...\n", rows, qPrintable(folder));
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    EmbeddedServer::Create(folder + QStringLiteral("/srv"), kPassword);
    EmbeddedServer server(folder + QStringLiteral("/srv"));
    auto master = server.Connect(QStringLiteral("sa"), kPassword, QStringLiteral("master"));
    if (!master)
        throw TARMOError(1, QStringLiteral("tarmo-bench"), QStringLiteral("The new server can't be opened."));
    master->Execute(QStringLiteral("CREATE DATABASE ") + kDatabase);
    auto session = server.Connect(QStringLiteral("sa"), kPassword, kDatabase);
    QString digits;
    for (int d = 0; d <= 9; ++d)
        digits += QStringLiteral("INSERT INTO BenchDigit VALUES (%1)\n").arg(d);
    QStringList tables;
    QStringList terms;
    int power = 1;
    for (int place = 0; power < rows; ++place, power *= 10) {
        tables << QStringLiteral("BenchDigit d%1").arg(place);
        terms << QStringLiteral("%1 * d%2.d").arg(power).arg(place);
    }
    const QString numbers = QStringLiteral("(SELECT ") + terms.join(QStringLiteral(" + ")) +
                            QStringLiteral(" AS n FROM ") + tables.join(QStringLiteral(", ")) +
                            QStringLiteral(") AS numbers");
    const SqlBatchResults results = session->Execute(
        QStringLiteral("SET NOCOUNT ON\nCREATE TABLE BenchDigit (d int NOT NULL)\n") + digits +
        QStringLiteral("CREATE TABLE ") + kTable +
        QStringLiteral(" (id int NOT NULL, name nvarchar(40) NOT NULL, stamp datetime NOT NULL, "
                       "amount money NOT NULL)\nINSERT INTO ") +
        kTable +
        QStringLiteral(" (id, name, stamp, amount)\nSELECT n + 1, N'Customer ' + CAST(n AS nvarchar(10)), "
                       "DATEADD(minute, n, '2020-01-01 08:00:00'), n / 8.0\nFROM ") +
        numbers + QStringLiteral(" WHERE n < %1\nDROP TABLE BenchDigit\n").arg(rows));
    for (const SqlResult& result : results)
        if (result.kind == SqlResult::Kind::Message && result.message.IsError())
            throw TARMOError(1, QStringLiteral("tarmo-bench"), result.message.text);
    CreateTextFile(folder + QLatin1Char('/') + kReady, QStringLiteral("1"));
}

// The SQLite file that holds the database, and the table's name in it.
QString databaseFile(const QString& srv) {
    const QStringList files = QDir(srv).entryList({kDatabase.toLower() + QStringLiteral("*.db")},
                                                  QDir::Files | QDir::CaseSensitive);
    return files.isEmpty() ? QString() : QDir(srv).filePath(files.first());
}

// The floor: the SQLite library reading every value of the rows, without any conversion.
qint64 sqliteFloorMs(const QString& file, int* rowsRead) {
    sqlite3* db = nullptr;
    *rowsRead = 0;
    if (sqlite3_open_v2(file.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        return -1;
    }
    QElapsedTimer timer;
    timer.start();
    sqlite3_stmt* stmt = nullptr;
    // The engine keeps a table as "T" and its object id. The names compare under a collation of the
    // engine's own, so the catalogue is read whole and searched here.
    QByteArray table;
    if (sqlite3_prepare_v2(db, "SELECT id, name FROM sysobjects", -1, &stmt, nullptr) == SQLITE_OK)
        while (table.isEmpty() && sqlite3_step(stmt) == SQLITE_ROW)
            if (QByteArray(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1))) == kTable.toUtf8())
                table = "T" + QByteArray::number(sqlite3_column_int64(stmt, 0));
    sqlite3_finalize(stmt);
    const QByteArray select = "SELECT * FROM \"" + table + '"';
    long long checksum = 0;
    if (sqlite3_prepare_v2(db, select.constData(), -1, &stmt, nullptr) == SQLITE_OK) {
        const int columns = sqlite3_column_count(stmt);
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            for (int c = 0; c < columns; ++c) {
                if (sqlite3_column_type(stmt, c) == SQLITE_TEXT)
                    checksum += sqlite3_column_bytes(stmt, c);
                else
                    checksum += sqlite3_column_int64(stmt, c);
            }
            ++*rowsRead;
        }
    }
    sqlite3_finalize(stmt);
    const qint64 ms = timer.elapsed();
    sqlite3_close(db);
    return checksum >= 0 ? ms : -1;
}

// tarmo-sql printing the rows, with its output thrown away; the time includes its start.
qint64 tarmoSqlMs(const QString& server) {
    const QString program =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../tools/tarmo-sql/tarmo-sql");
    if (!QFileInfo::exists(program))
        return -1;
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program,
                  {QStringLiteral("-S"), server, QStringLiteral("-d"), kDatabase, QStringLiteral("-U"),
                   QStringLiteral("sa"), QStringLiteral("-P"), kPassword, QStringLiteral("-Q"), selectAll()});
    if (!process.waitForFinished(600000) || process.exitCode() != 0)
        return -1;
    return timer.elapsed();
}

} // namespace

int RunQueryBenchmark(const QString& cacheFolder, int rows) {
    const QString folder = QDir(cacheFolder).absoluteFilePath(QStringLiteral("query-%1").arg(rows));
    try {
        if (!QFileInfo::exists(folder + QLatin1Char('/') + kReady))
            build(folder, rows);
    } catch (const TARMOError& e) {
        std::fprintf(stderr, "tarmo-bench: %s\n", qPrintable(e.Description()));
        return 1;
    }
    const QString srv = folder + QStringLiteral("/srv");
    const QString server = QStringLiteral("embedded:") + srv;

    // The result area as the query window holds it, drawn offscreen.
    multiGrid area;
    area.resize(1000, 600);
    area.show();
    QApplication::processEvents();
    const DbLogin login{server, kDatabase, QStringLiteral("sa"), kPassword, false};
    malloc_trim(0);
    const double before = residentMb();
    resetPeak();
    const qint64 cpuBefore = cpuMs();
    QElapsedTimer timer;
    timer.start();
    area.ExecuteQuery(selectAll(), &login);
    QApplication::processEvents();
    const qint64 totalMs = timer.elapsed();
    const qint64 cpu = cpuMs() - cpuBefore;
    const double peak = peakMb();
    malloc_trim(0);
    const double after = residentMb();
    const int shown = area.GridCount() == 1 ? area.Grid(1)->model()->rowCount() : 0;
    if (shown != rows) {
        std::fprintf(stderr, "tarmo-bench: the grid shows %d rows of %d\n%s\n", shown, rows,
                     qPrintable(area.MessagesText()));
        return 1;
    }

    int floorRows = 0;
    const qint64 floorMs = sqliteFloorMs(databaseFile(srv), &floorRows);
    const qint64 sqlMs = tarmoSqlMs(server);
    std::printf("query window: %d rows, %lld ms of processor time, peak +%.1f MB while fetching\n", rows, cpu,
                peak - before);
    std::printf("floor (SQLite library reading the rows): %lld ms, %d rows\n", floorMs, floorRows);
    std::printf("tarmo-sql (to /dev/null, start included): %lld ms\n", sqlMs);
    std::printf("total_ms=%lld rss_mb=%.1f floor_ms=%lld tarmo_sql_ms=%lld\n", totalMs, after - before,
                floorMs, sqlMs);
    return 0;
}
