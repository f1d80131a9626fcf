#include "SyncWindowsFixture.h"

#include "VSSBulkReader.h"

void SyncWindowsTest::SetUp() {
    ASSERT_TRUE(project = OpenDemoProject(folder, database));
    TARMOSQL& sql = project->SQL();
    sql.ExecuteSQL(
        QStringLiteral("ALTER PROCEDURE dbo.AddOrder\r\n"
                       "    @CustomerID int,\r\n"
                       "    @Amount money\r\n"
                       "AS\r\n"
                       "SET NOCOUNT ON\r\n"
                       "-- amounts are checked by the caller\r\n"
                       "INSERT INTO dbo.Orders (CustomerID, Amount) VALUES (@CustomerID, @Amount)\r\n"));
    sql.ExecuteSQL(QStringLiteral("ALTER FUNCTION dbo.CustomerTotal (@CustomerID int)\r\n"
                                  "RETURNS money\r\n"
                                  "AS\r\n"
                                  "BEGIN\r\n"
                                  "    RETURN (SELECT ISNULL(SUM(Amount), 0) FROM dbo.Orders\r\n"
                                  "            WHERE CustomerID = @CustomerID AND Amount > 0)\r\n"
                                  "END\r\n"));
    sql.ExecuteSQL(QStringLiteral("ALTER TRIGGER dbo.Orders_Insert ON dbo.Orders\r\n"
                                  "FOR INSERT\r\n"
                                  "AS\r\n"
                                  "SET NOCOUNT ON\r\n"
                                  "-- audited elsewhere\r\n"));
    dispatch = std::make_unique<CoreDispatch>(database);
}

void SyncWindowsTest::TearDown() {
    dispatch.reset();
    VSSBulkReader::Release();
}

QStringList SyncWindowsTest::differences() {
    SyncRun run(objects());
    QStringList list;
    for (const SyncDifference& found : run.Run())
        list << found.DisplayName + QLatin1Char(' ') + QString::number(found.Kind());
    return list;
}

QStringList SyncWindowsTest::syncHistory() {
    if (!project->VSS().ItemExists(TARMOProject::SyncHistoryItem))
        return {};
    return project->VSS()
        .ItemContent(TARMOProject::SyncHistoryItem, true, -1, false, false)
        .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
}
