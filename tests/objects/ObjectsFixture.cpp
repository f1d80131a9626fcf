#include "ObjectsFixture.h"

#include "EmbeddedServer.h"
#include "TARMOObjectList.h"
#include "TARMOObjectVSS.h"
#include "VSSBulkReader.h"
#include "VersionStore.h"

#include <QDir>

void ObjectStateAccess::MakeReal(TARMOObjectVSS& object, const QString& id, const QString& name) {
    object.SetIsNew(false);
    object.SetDBID(id);
    object.SetName(name);
    object.SetInSQL(true);
}

void ObjectStateAccess::SetId(TARMOObjectVSS& object, const QString& id) {
    object.SetDBID(id);
}

void ObjectStateAccess::SetHolder(TARMOObjectVSS& object, const QString& holder) {
    object.SetCheckedOutBy(holder);
}

namespace {
const QString kSa = QStringLiteral("sa-pw");
} // namespace

void ObjectsTest::SetUp() {
    const QString server = QStringLiteral("embedded:") + folder.Path(QStringLiteral("srv"));
    EmbeddedServer::Create(folder.Path(QStringLiteral("srv")), kSa);
    ASSERT_EQ(sql.OpenConnection(server, QStringLiteral("master"), QStringLiteral("sa"), kSa, 0, true),
              QString());
    sql.ExecuteSQL(QStringLiteral("CREATE DATABASE Shop"));
    ASSERT_EQ(sql.OpenConnection(server, QStringLiteral("Shop"), QStringLiteral("sa"), kSa, 0, true),
              QString());

    ini = VersionStore::Create(folder.Path(QStringLiteral("store")), QStringLiteral("adminpw"));
    VersionStore admin;
    admin.Open(ini, QStringLiteral("Admin"), QStringLiteral("adminpw"));
    admin.AddUser(QStringLiteral("Bob"), QStringLiteral("bob"));
    admin.AddUser(QStringLiteral("Carol"), QStringLiteral("carol"));
    admin.Item(QStringLiteral("$/")).NewSubproject(QStringLiteral("Shop"), QString());
    QDir().mkpath(folder.Path(QStringLiteral("work-Bob")));
    vss.SetGeneralWorkingFolder(folder.Path(QStringLiteral("work-Bob")));
    ASSERT_EQ(vss.OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"),
                                 QStringLiteral("$\\Shop\\"), {}, true),
              QString());
}

void ObjectsTest::TearDown() {
    VSSBulkReader::Release();
}

void ObjectsTest::Exec(const QString& statement) {
    sql.ExecuteSQL(statement);
}

QString ObjectsTest::IdOf(const QString& name, const QString& owner) {
    return sql.GetObjectID(name, owner);
}

void ObjectsTest::AddFile(const QString& name, const QString& text) {
    ASSERT_TRUE(vss.AddItem(name, text, true)) << name.toStdString();
}

bool ObjectsTest::FileExists(const QString& name) {
    return vss.ItemExists(name);
}

std::unique_ptr<TARMOVSS> ObjectsTest::ConnectStore(const QString& user, const QString& password) {
    auto other = std::make_unique<TARMOVSS>();
    QDir().mkpath(folder.Path(QStringLiteral("work-") + user));
    other->SetGeneralWorkingFolder(folder.Path(QStringLiteral("work-") + user));
    EXPECT_EQ(other->OpenConnection(ini, user, password, QStringLiteral("$\\Shop\\"), {}, true), QString());
    return other;
}

void ObjectsTest::Bind(TARMOObjectList& list) {
    list.SetActiveDBConnection(&sql);
    list.SetActiveVSSConnection(&vss);
    list.SetIcons(&icons);
    list.LoadIcons();
}

void ObjectsTest::Refresh(TARMOObjectList& list) {
    bool cancelled = true;
    list.RefreshList(cancelled);
    ASSERT_FALSE(cancelled);
}
