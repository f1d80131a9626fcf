#include "ItemToolsFixture.h"

#include "StoreItem.h"
#include "TARMOObjectVSS.h"
#include "TARMOStoredProcedures.h"
#include "VSSBulkReader.h"
#include "VersionStore.h"

void ItemToolsTest::SetUp() {
    ASSERT_TRUE(project = OpenDemoProject(folder, database));
    dispatch = std::make_unique<CoreDispatch>(database);
}

void ItemToolsTest::TearDown() {
    dispatch.reset();
    VSSBulkReader::Release();
}

std::shared_ptr<TARMOObjectVSS> ItemToolsTest::procedure(const QString& name) {
    objects().GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
    return objects().GetObject(QStringLiteral("StoredProcedure"), idOf(name)).Versioned();
}

void ItemToolsTest::newVersion(const QString& item, const QString& text, const QString& comment) {
    ASSERT_TRUE(project->VSS().CheckOut(item, true));
    ASSERT_TRUE(project->VSS().CheckIn(item, text, comment, true));
}

void ItemToolsTest::label(const QString& item, const QString& name, const QString& comment) {
    VersionStore store;
    store.Open(project->VSS().IniFile(), QStringLiteral("Admin"), QStringLiteral("demo"));
    store.Item(QStringLiteral("$/Demo/") + item).Label(name, comment);
}

QString ItemToolsTest::serverText(const QString& name) {
    auto rows = project->SQL().OpenRecordset(
        QStringLiteral("SELECT c.text FROM syscomments c JOIN sysobjects o ON o.id = c.id WHERE o.name = '") +
        name + QLatin1Char('\''));
    QString text;
    for (; !rows->Eof(); rows->MoveNext())
        text += rows->Text(QStringLiteral("text"));
    return text;
}
