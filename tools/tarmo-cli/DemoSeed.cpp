#include "DemoSeed.h"

#include "EmbeddedServer.h"
#include "GeneralHelpers.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOObjectList.h"
#include "TARMOProject.h"
#include "TARMOProjects.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "VersionStore.h"

#include <QDir>

namespace DemoSeed {

namespace {

const QString kSaPassword = QStringLiteral("demo");
const QString kAdminPassword = QStringLiteral("demo");
const QString kProjectName = QStringLiteral("Demo");
const QString kOtherUser = QStringLiteral("Kaisa");
const QString kOtherPassword = QStringLiteral("demo");

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
    QStringLiteral("CREATE LOGIN clerk WITH PASSWORD = 'clerk'"),
    QStringLiteral("CREATE USER clerk FOR LOGIN clerk"),
    QStringLiteral("CREATE ROLE Reporting"),
    QStringLiteral("EXEC sp_addrolemember 'Reporting', 'clerk'"),
    QStringLiteral("GRANT SELECT ON dbo.Customers TO Reporting"),
    QStringLiteral("DENY DELETE ON dbo.Orders TO [public]"),
};

// The programmable objects come into being the way a developer's would: checked in through the
// object model, so that the server and the store hold them as TARMO itself leaves them.
struct DemoObject {
    QString tag;
    QString text;
};

const QList<DemoObject> demoObjects = {
    {QStringLiteral("StoredProcedure"), QStringLiteral("CREATE PROCEDURE dbo.GetCustomerOrders\r\n"
                                                       "    @CustomerID int\r\n"
                                                       "AS\r\n"
                                                       "SET NOCOUNT ON\r\n"
                                                       "SELECT o.OrderID, o.Amount, o.OrderedOn\r\n"
                                                       "FROM dbo.Orders o\r\n"
                                                       "WHERE o.CustomerID = @CustomerID\r\n"
                                                       "ORDER BY o.OrderedOn\r\n")},
    {QStringLiteral("StoredProcedure"),
     QStringLiteral("CREATE PROCEDURE dbo.AddOrder\r\n"
                    "    @CustomerID int,\r\n"
                    "    @Amount money\r\n"
                    "AS\r\n"
                    "SET NOCOUNT ON\r\n"
                    "INSERT INTO dbo.Orders (CustomerID, Amount) VALUES (@CustomerID, @Amount)\r\n")},
    {QStringLiteral("UserDefinedFunction"),
     QStringLiteral(
         "CREATE FUNCTION dbo.CustomerTotal (@CustomerID int)\r\n"
         "RETURNS money\r\n"
         "AS\r\n"
         "BEGIN\r\n"
         "    RETURN (SELECT ISNULL(SUM(Amount), 0) FROM dbo.Orders WHERE CustomerID = @CustomerID)\r\n"
         "END\r\n")},
    {QStringLiteral("View"), QStringLiteral("CREATE VIEW dbo.CustomerSummary\r\n"
                                            "AS\r\n"
                                            "SELECT c.CustomerID, c.Name, COUNT(o.OrderID) AS Orders\r\n"
                                            "FROM dbo.Customers c\r\n"
                                            "LEFT JOIN dbo.Orders o ON o.CustomerID = c.CustomerID\r\n"
                                            "GROUP BY c.CustomerID, c.Name\r\n")},
    {QStringLiteral("Trigger"), QStringLiteral("CREATE TRIGGER dbo.Orders_Insert ON dbo.Orders\r\n"
                                               "FOR INSERT\r\n"
                                               "AS\r\n"
                                               "SET NOCOUNT ON\r\n")},
    {QStringLiteral("StoredProcedure"),
     QStringLiteral("CREATE PROCEDURE dbo.PurgeOldOrders\r\n"
                    "    @Before datetime\r\n"
                    "AS\r\n"
                    "DELETE FROM dbo.Orders WHERE OrderedOn < @Before\r\n")},
};

// Made on the server alone, so that the demo shows an object that the store lacks.
const QString kServerOnly = QStringLiteral("CREATE PROCEDURE dbo.ListCities\r\n"
                                           "AS\r\n"
                                           "SELECT DISTINCT City FROM dbo.Customers ORDER BY City\r\n");

QString firstError(const SqlBatchResults& results) {
    for (const auto& r : results)
        if (r.kind == SqlResult::Kind::Message && r.message.IsError())
            return QStringLiteral("Msg %1: %2").arg(r.message.number).arg(r.message.text);
    return {};
}

// True when the server was made by this run.
bool seedServer(const QString& serverFolder, Result& result) {
    if (EmbeddedServer::IsServerFolder(serverFolder)) {
        result.log << QStringLiteral("Server folder %1 is there.").arg(serverFolder);
        return false;
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
    return true;
}

QString seedStore(const QString& storeFolder, const QString& workFolder, Result& result) {
    QString ini = storeFolder + QStringLiteral("/srcsafe.ini");
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

void checkInObjects(TARMODatabaseObjects& objects, TARMOProject& project, Result& result) {
    for (const DemoObject& object : demoObjects) {
        const std::shared_ptr<TARMOObjectVSS> created = objects.NewItemOfType(object.tag);
        if (!created || !created->CheckIn(object.text, QStringLiteral("Initial version")))
            throw TARMOError(1, QStringLiteral("DemoSeed"),
                             QStringLiteral("Could not check in: ") +
                                 object.text.section(QLatin1Char('\r'), 0, 0));
        if (created->Name() == QLatin1String("GetCustomerOrders"))
            created->SetDescription(QStringLiteral("The orders of one customer, oldest first."));
    }
    TARMOSQL& sql = project.SQL();
    sql.ExecuteSQL(QStringLiteral("GRANT EXECUTE ON dbo.GetCustomerOrders TO Reporting"));
    sql.ExecuteSQL(QStringLiteral("GRANT EXECUTE ON dbo.CustomerTotal TO [public]"));
    sql.ExecuteSQL(QStringLiteral("GRANT SELECT ON dbo.CustomerSummary TO clerk"));
    sql.ExecuteSQL(QStringLiteral("DENY EXECUTE ON dbo.AddOrder TO clerk"));
    result.log << QStringLiteral(
        "Objects checked in; the role Reporting and the user clerk have permissions.");
    // One object out of step each way: on the server alone, and in the store alone.
    sql.ExecuteSQL(kServerOnly);
    sql.ExecuteSQL(QStringLiteral("DROP PROCEDURE dbo.PurgeOldOrders"));
    result.log << QStringLiteral(
        "dbo.ListCities is on the server alone, dbo.PurgeOldOrders in the store alone.");
}

// Another developer holds two items, so that the demo shows a check-out by somebody else.
void checkOutAsAnotherUser(const QString& ini, const QString& workFolder, TARMODatabaseObjects& objects,
                           Result& result) {
    VersionStore admin;
    admin.Open(ini, QStringLiteral("Admin"), kAdminPassword);
    admin.AddUser(kOtherUser, kOtherPassword);
    TARMOVSS other;
    EnsureFolder(workFolder);
    const QString error = other.OpenConnection(ini, kOtherUser, kOtherPassword, QStringLiteral("$\\Demo\\"),
                                               workFolder, true, true);
    if (!error.isEmpty())
        throw TARMOError(1, QStringLiteral("DemoSeed"), error);
    for (TARMOObjectList* list : objects.EditableLists()) {
        for (const auto& object : *list) {
            if (object->Name() != QLatin1String("CustomerSummary") &&
                object->Name() != QLatin1String("CustomerTotal"))
                continue;
            if (!other.CheckOut(object->ItemName(), true))
                throw TARMOError(1, QStringLiteral("DemoSeed"),
                                 QStringLiteral("Could not check out ") + object->Name());
        }
    }
    result.log
        << QStringLiteral("%1 has dbo.CustomerSummary and dbo.CustomerTotal checked out.").arg(kOtherUser);
}

void seedObjects(const QString& root, const QString& ini, Result& result) {
    TARMODatabase database;
    auto projects = database.FindAllProjects();
    const auto project = projects->Item(kProjectName);
    if (!project->SQL()
             .OpenConnection(QString(), QString(), QString(), QString(), TARMOSQL::kUseStoredAuthentication,
                             true)
             .isEmpty() ||
        !project->VSS().OpenConnection(QString(), QString(), QString(), QString(), QString(), true).isEmpty())
        throw TARMOError(1, QStringLiteral("DemoSeed"), QStringLiteral("The demo project does not open."));
    TARMODatabaseObjects objects(database, project.get());
    checkInObjects(objects, *project, result);
    bool cancel = false;
    for (TARMOObjectList* list : objects.EditableLists())
        list->RefreshList(cancel);
    checkOutAsAnotherUser(ini, root + QStringLiteral("/work-") + kOtherUser.toLower(), objects, result);
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
        const bool made = seedServer(serverFolder, result);
        const QString ini = seedStore(root + QStringLiteral("/store"), workFolder, result);
        seedProjectRecord(serverFolder, ini, workFolder, result);
        if (made)
            seedObjects(root, ini, result);
        result.ok = true;
    } catch (const TARMOError& e) {
        result.error = e.Description();
    }
    return result;
}

} // namespace DemoSeed
