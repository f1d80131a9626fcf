#pragma once

#include "ScriptBuilder.h"
#include "ScriptCreator.h"
#include "ScriptSteps.h"
#include "ScriptWriter.h"
#include "SyncFixture.h"

#include <QDateTime>

// The core over the fixture's server and store, with a script creator, its steps and a builder,
// and the means to date the store's versions.
class ScriptTest : public SyncTest {
protected:
    void SetUp() override;

    // Gives version `number` of the store file `itemName` the date `at` (the store dates a version
    // when it is made, so a test that needs known times sets them afterwards).
    void DateVersion(const QString& itemName, int number, const QDateTime& at);
    // Every version of every file of the store at `at`.
    void DateAllVersions(const QDateTime& at);
    // Writes the script of the creator's list to a file of the temporary folder; its bytes.
    QByteArray WriteScript(const QString& fileName = QStringLiteral("out.sql"));
    // The entries of the list as "Action:owner.name" (with "@version" where it isn't the latest).
    QStringList Entries() const;

    ScriptCreator creator;
    ScriptSteps steps;
    std::unique_ptr<ScriptBuilder> builder;

private:
    void runOnStore(const QString& statement, const QList<QVariant>& values);
};

// A day of the fixture's time line at noon.
QDateTime Day(int day, int hour = 12);
