#include "DemoSeed.h"

#include "EmbeddedServer.h"
#include "GeneralHelpers.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VersionStore.h"

#include <QDir>

namespace DemoSeed {

namespace {

const QString kSaPassword = QStringLiteral("demo");
const QString kAdminPassword = QStringLiteral("demo");
const QString kProjectName = QStringLiteral("Demo");

// The demo database: two tables, and one object of each kind that TARMO versions.
const QStringList demoBatches = {
    QStringLiteral("CREATE DATABASE Demo"),
    QStringLiteral("CREATE TABLE dbo.Customers (\r\n"
                   "    CustomerID int IDENTITY(1,1) PRIMARY KEY,\r\n"
                   "    Name nvarchar(100) NOT NULL,\r\n"
                   "    City nvarchar(50) NULL,\r\n"
                   "    CreatedOn datetime NOT NULL DEFAULT GETDATE()\r\n"
                   ")"),
    QStringLiteral("CREATE TABLE dbo.Orders (\r\n"
                   "    OrderID int IDENTITY(1,1) PRIMARY KEY,\r\n"
                   "    CustomerID int NOT NULL,\r\n"
                   "    Amount money NOT NULL,\r\n"
                   "    OrderedOn datetime NOT NULL DEFAULT GETDATE()\r\n"
                   ")"),
    QStringLiteral("INSERT INTO dbo.Customers (Name, City) VALUES (N'Aalto Trading', N'Helsinki')"),
    QStringLiteral("INSERT INTO dbo.Customers (Name, City) VALUES (N'Birch & Pine', N'Tampere')"),
    QStringLiteral("INSERT INTO dbo.Orders (CustomerID, Amount) VALUES (1, 120.50)"),
    QStringLiteral("INSERT INTO dbo.Orders (CustomerID, Amount) VALUES (2, 75.00)"),
    QStringLiteral("CREATE PROCEDURE dbo.GetCustomerOrders\r\n"
                   "    @CustomerID int\r\n"
                   "AS\r\n"
                   "SET NOCOUNT ON\r\n"
                   "SELECT o.OrderID, o.Amount, o.OrderedOn\r\n"
                   "FROM dbo.Orders o\r\n"
                   "WHERE o.CustomerID = @CustomerID\r\n"
                   "ORDER BY o.OrderedOn\r\n"),
    QStringLiteral(
        "CREATE FUNCTION dbo.CustomerTotal (@CustomerID int)\r\n"
        "RETURNS money\r\n"
        "AS\r\n"
        "BEGIN\r\n"
        "    RETURN (SELECT ISNULL(SUM(Amount), 0) FROM dbo.Orders WHERE CustomerID = @CustomerID)\r\n"
        "END\r\n"),
    QStringLiteral("CREATE VIEW dbo.CustomerSummary\r\n"
                   "AS\r\n"
                   "SELECT c.CustomerID, c.Name, COUNT(o.OrderID) AS Orders\r\n"
                   "FROM dbo.Customers c\r\n"
                   "LEFT JOIN dbo.Orders o ON o.CustomerID = c.CustomerID\r\n"
                   "GROUP BY c.CustomerID, c.Name\r\n"),
    QStringLiteral("CREATE TRIGGER dbo.Orders_Insert ON dbo.Orders\r\n"
                   "FOR INSERT\r\n"
                   "AS\r\n"
                   "SET NOCOUNT ON\r\n"),
};

QString firstError(const SqlBatchResults& results) {
    for (const auto& r : results)
        if (r.kind == SqlResult::Kind::Message && r.message.IsError())
            return QStringLiteral("Msg %1: %2").arg(r.message.number).arg(r.message.text);
    return {};
}

void seedServer(const QString& serverFolder, Result& result) {
    if (EmbeddedServer::IsServerFolder(serverFolder)) {
        result.log << QStringLiteral("Server folder %1 is there.").arg(serverFolder);
        return;
    }
    EmbeddedServer::Create(serverFolder, kSaPassword);
    EmbeddedServer server(serverFolder);
    auto session = server.Connect(QStringLiteral("sa"), kSaPassword, QStringLiteral("master"));
    if (!session)
        throw TARMOError(18456, QStringLiteral("DemoSeed"), QStringLiteral("Login failed for user 'sa'."));
    for (const auto& batch : demoBatches) {
        const QString error = firstError(session->Execute(batch));
        if (!error.isEmpty())
            throw TARMOError(1, QStringLiteral("DemoSeed"),
                             error + QStringLiteral("\nin: ") + batch.left(60));
        if (batch == demoBatches.first())
            session->Execute(QStringLiteral("USE Demo"));
    }
    result.log << QStringLiteral("Server folder %1 made: database Demo, login sa.").arg(serverFolder);
}

QString seedStore(const QString& storeFolder, const QString& workFolder, Result& result) {
    const QString ini = storeFolder + QStringLiteral("/srcsafe.ini");
    if (!FileExists(ini)) {
        VersionStore::Create(storeFolder, kAdminPassword);
        result.log << QStringLiteral("Version store %1 made: user Admin.").arg(storeFolder);
    }
    TARMOVSS vss;
    const QString error = vss.OpenConnection(ini, QStringLiteral("Admin"), kAdminPassword,
                                             QStringLiteral("$\\"), workFolder, true, true);
    if (!error.isEmpty())
        throw TARMOError(1, QStringLiteral("DemoSeed"), error);
    if (!vss.GetProjectSubFolders(QStringLiteral("$\\")).contains(kProjectName)) {
        const QString made = vss.CreateNewProject(QStringLiteral("$\\"), kProjectName);
        if (!made.isEmpty())
            throw TARMOError(1, QStringLiteral("DemoSeed"), made);
        result.log << QStringLiteral("Store project $/Demo made.");
    }
    return ini;
}

void seedProjectRecord(const QString& serverFolder, const QString& ini, const QString& workFolder,
                       Result& result) {
    TARMODatabase database;
    auto projects = database.FindAllProjects();
    if (!projects->Contains(kProjectName)) {
        TARMOProject project;
        project.SetName(kProjectName);
        project.SQL().SetServer(QStringLiteral("embedded:") + serverFolder);
        project.SQL().SetDatabase(QStringLiteral("Demo"));
        project.SQL().SetUserName(QStringLiteral("sa"));
        project.SQL().SetPassword(kSaPassword);
        project.SQL().SetStorePassword(true);
        project.VSS().SetIniFile(ini);
        project.VSS().SetUserName(QStringLiteral("Admin"));
        project.VSS().SetPassword(kAdminPassword);
        project.VSS().SetStorePassword(true);
        project.VSS().SetProject(QStringLiteral("$\\Demo\\"));
        project.VSS().SetGeneralWorkingFolder(workFolder);
        database.SaveProject(project);
        database.MoveProjectToTop(project.Sequence());
        result.log << QStringLiteral("Project record \"Demo\" saved.");
    }
    if (database.SettingText(QStringLiteral("ProjectToOpen")).isEmpty()) {
        database.SetOpenMostRecent(true);
        result.log << QStringLiteral("TARMO opens the most recent project at start.");
    }
}

} // namespace

QString DefaultFolder() {
    return ApplicationFolder() + QStringLiteral("/demo");
}

Result Seed(const QString& folder, bool reset) {
    Result result;
    try {
        QDir dir(folder);
        if (reset && dir.exists()) {
            dir.removeRecursively();
            result.log << QStringLiteral("Removed %1.").arg(folder);
        }
        QDir().mkpath(folder);
        const QString root = QDir(folder).absolutePath();
        const QString serverFolder = root + QStringLiteral("/server");
        const QString workFolder = root + QStringLiteral("/work");
        QDir().mkpath(workFolder);
        seedServer(serverFolder, result);
        const QString ini = seedStore(root + QStringLiteral("/store"), workFolder, result);
        seedProjectRecord(serverFolder, ini, workFolder, result);
        result.ok = true;
    } catch (const TARMOError& e) {
        result.error = e.Description();
    }
    return result;
}

} // namespace DemoSeed
