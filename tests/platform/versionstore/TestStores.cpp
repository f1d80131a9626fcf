#include "TestStores.h"

#include "PgConnection.h"
#include "StoreIni.h"
#include "TestPostgres.h"
#include "VersionStore.h"

#include <QDir>

#include <sqlite3.h>

std::string StoreKindName(const ::testing::TestParamInfo<StoreKind>& info) {
    return info.param == StoreKind::Embedded ? "Embedded" : "Server";
}

QString StoreKindMissing(StoreKind kind) {
    return kind == StoreKind::Embedded ? QString() : TestPostgres::Missing();
}

QString CreateStore(StoreKind kind, const QString& folder, const QString& adminPassword,
                    bool multipleCheckouts) {
    if (kind == StoreKind::Embedded)
        return VersionStore::Create(folder, adminPassword, multipleCheckouts);
    // A folder that holds a store already keeps its database, so that making it again is refused as
    // the embedded store refuses it.
    const QString ini = QDir(folder).filePath(QStringLiteral("srcsafe.ini"));
    LocalPostgres& server = *TestPostgres::Instance();
    const QString database = QFile::exists(ini) ? PgConnection::DatabaseOf(StoreIni::Read(ini).server)
                                                : TestPostgres::NewDatabase();
    return VersionStore::CreateOnServer(folder, server.OwnerUrl(database), adminPassword, multipleCheckouts);
}

void TamperWithStore(StoreKind kind, const QString& folder, const char* sqliteSql, const char* serverSql) {
    if (kind == StoreKind::Embedded) {
        sqlite3* db = nullptr;
        ASSERT_EQ(
            sqlite3_open(QDir(folder).filePath(QStringLiteral("data/store.db")).toUtf8().constData(), &db),
            SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, sqliteSql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
        return;
    }
    const StoreIni ini = StoreIni::Read(QDir(folder).filePath(QStringLiteral("srcsafe.ini")));
    PgConnection owner(TestPostgres::Instance()->OwnerUrl(PgConnection::DatabaseOf(ini.server)), QString(),
                       QString());
    owner.Execute(serverSql);
}
