#include "ScriptFixture.h"

#include "ScriptedPrompts.h"
#include "TARMOObjectVSS.h"

#include <QDirIterator>
#include <QFile>

#include <sqlite3.h>

QDateTime Day(int day, int hour) {
    return QDateTime(QDate(2026, 3, day), QTime(hour, 0));
}

void ScriptTest::SetUp() {
    SyncTest::SetUp();
    builder = std::make_unique<ScriptBuilder>(*core, creator, steps);
    builder->Now = [] { return Day(30); };
}

void ScriptTest::runOnStore(const QString& statement, const QList<QVariant>& values) {
    QDirIterator files(folder.Path(QStringLiteral("store")), {QStringLiteral("store.db")}, QDir::Files,
                       QDirIterator::Subdirectories);
    ASSERT_TRUE(files.hasNext());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(files.next().toUtf8().constData(), &db), SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, statement.toUtf8().constData(), -1, &stmt, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db);
    for (int i = 0; i < values.size(); ++i) {
        if (values[i].typeId() == QMetaType::QString)
            sqlite3_bind_text(stmt, i + 1, values[i].toString().toUtf8().constData(), -1, SQLITE_TRANSIENT);
        else
            sqlite3_bind_int64(stmt, i + 1, values[i].toLongLong());
    }
    EXPECT_EQ(sqlite3_step(stmt), SQLITE_DONE) << sqlite3_errmsg(db);
    sqlite3_finalize(stmt);
    sqlite3_close(db);
}

void ScriptTest::DateVersion(const QString& itemName, int number, const QDateTime& at) {
    runOnStore(QStringLiteral("UPDATE history SET date = ?1 WHERE number = ?2 AND item IN "
                              "(SELECT id FROM items WHERE name = ?3)"),
               {at.toMSecsSinceEpoch(), number, itemName});
}

void ScriptTest::DateAllVersions(const QDateTime& at) {
    runOnStore(QStringLiteral("UPDATE history SET date = ?1"), {at.toMSecsSinceEpoch()});
}

QByteArray ScriptTest::WriteScript(const QString& fileName) {
    creator.SetFileName(folder.Path(fileName));
    ScriptWriter writer(creator, steps);
    EXPECT_TRUE(writer.WriteScript()) << qPrintable(prompts->Messages().join(QLatin1Char('\n')));
    QFile file(creator.FileName());
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

QStringList ScriptTest::Entries() const {
    QStringList out;
    for (const ScriptCreatorObject& entry : creator.ObjectsToScript()) {
        QString row = QString::number(static_cast<long>(entry.Action())) + QLatin1Char(':') +
                      entry.ScriptObject()->Owner() + QLatin1Char('.') + entry.ScriptObject()->Name();
        if (entry.VersionNumber() != -1)
            row += QLatin1Char('@') + QString::number(entry.VersionNumber());
        out << row;
    }
    return out;
}
