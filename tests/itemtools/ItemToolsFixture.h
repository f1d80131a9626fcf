#pragma once

#include "CoreDispatch.h"
#include "DemoProject.h"

#include <gtest/gtest.h>

#include <memory>

class TARMOObjectVSS;

// The demo project (server, store, project record) in a temporary folder, opened as the core does,
// with the main window's way to the object half and the scripted prompts.
class ItemToolsTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    TARMODatabaseObjects& objects() { return dispatch->Objects(); }
    // A stored procedure of the demo by name, from a fresh read of its list.
    std::shared_ptr<TARMOObjectVSS> procedure(const QString& name);
    QString idOf(const QString& name) { return project->SQL().GetObjectID(name, QStringLiteral("dbo")); }
    // A new version of an item through the store alone.
    void newVersion(const QString& item, const QString& text, const QString& comment);
    // A label on the latest version of an item.
    void label(const QString& item, const QString& name, const QString& comment);
    QString serverText(const QString& name);
    QStringList messages() { return MessagesOf(prompts); }

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    std::unique_ptr<CoreDispatch> dispatch;
};
