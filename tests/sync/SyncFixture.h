#pragma once

#include "ObjectsFixture.h"
#include "SyncRun.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "TARMOProject.h"

#include <memory>

// The core over a project whose connections reach the fixture's server and store as Bob, with
// helpers that put an object into either store or both.
class SyncTest : public ObjectsTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Creates the object `name` (of dbo) on the server and gives its id; InBoth also files the store's
    // version of it under that id and the kind's extension.
    QString InServer(const QString& name, const QString& createText);
    QString InBoth(const QString& name, const QString& createText, const QString& extension,
                   const QString& storedText);
    // A file for an object that the server doesn't have (an id that it never gave).
    QString InStore(const QString& storedText, const QString& extension);

    // The run's rows as "Kind:Tag:owner.name".
    static QStringList Rows(const QList<SyncDifference>& rows);

    IsolatedUserFolders userFolders;
    TARMODatabase settings;
    TARMOProject project;
    std::unique_ptr<TARMODatabaseObjects> core;
    int nextStoreOnlyId = 900001;
};
