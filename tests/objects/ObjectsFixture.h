#pragma once

#include "ScriptedPrompts.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

class TARMOObjectList;
class TARMOObjectVSS;

// Puts objects into states that later actions make.
struct ObjectStateAccess {
    // What the first check-in of a new object does to it.
    static void MakeReal(TARMOObjectVSS& object, const QString& id, const QString& name);
    static void SetId(TARMOObjectVSS& object, const QString& id);
    static void SetHolder(TARMOObjectVSS& object, const QString& holder);
};

// A real embedded server with the database Shop and a real store with the project $/Shop, the users
// Bob and Carol; Bob's connections to both, the icon table, and the scripted prompts.
class ObjectsTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    void Exec(const QString& statement);
    // The id of an object by its name, as the catalogue gives it.
    QString IdOf(const QString& name, const QString& owner = QStringLiteral("dbo"));
    // A file of the store project with its text, added by Bob.
    void AddFile(const QString& name, const QString& text);
    bool FileExists(const QString& name);
    // Another user's connection to the same store project.
    std::unique_ptr<TARMOVSS> ConnectStore(const QString& user, const QString& password);
    // Gives the list Bob's connections and the icon table, and loads its icons.
    void Bind(TARMOObjectList& list);
    // A refresh that must not be cancelled.
    void Refresh(TARMOObjectList& list);

    TempFolder folder;
    ScriptedPromptsScope prompts;
    QString ini;
    TARMOSQL sql;
    TARMOVSS vss;
    TARMOIcons icons;
};
