#include "SyncFixture.h"

void SyncTest::SetUp() {
    ObjectsTest::SetUp();
    ASSERT_EQ(project.SQL().OpenConnection(sql.Server(), QStringLiteral("Shop"), QStringLiteral("sa"),
                                           QStringLiteral("sa-pw"), 0, true),
              QString());
    project.VSS().SetGeneralWorkingFolder(vss.GeneralWorkingFolder());
    ASSERT_EQ(project.VSS().OpenConnection(ini, QStringLiteral("Bob"), QStringLiteral("bob"),
                                           QStringLiteral("$\\Shop\\"), {}, true),
              QString());
    core = std::make_unique<TARMODatabaseObjects>(settings, &project);
}

void SyncTest::TearDown() {
    core.reset();
    ObjectsTest::TearDown();
}

QString SyncTest::InServer(const QString& name, const QString& createText) {
    Exec(createText);
    const QString id = IdOf(name);
    EXPECT_FALSE(id.isEmpty()) << name.toStdString();
    return id;
}

QString SyncTest::InBoth(const QString& name, const QString& createText, const QString& extension,
                         const QString& storedText) {
    const QString id = InServer(name, createText);
    AddFile(id + extension, storedText);
    return id;
}

QString SyncTest::InStore(const QString& storedText, const QString& extension) {
    const QString id = QString::number(nextStoreOnlyId++);
    AddFile(id + extension, storedText);
    return id;
}

QStringList SyncTest::Rows(const QList<SyncDifference>& rows) {
    QStringList out;
    for (const SyncDifference& row : rows)
        out << QString::number(row.Kind()) + QLatin1Char(':') + row.ObjectType + QLatin1Char(':') +
                   row.DisplayName;
    return out;
}
