#pragma once

#include "CoreDispatch.h"
#include "DemoProject.h"
#include "MainWindowStart.h"
#include "VSSBulkReader.h"
#include "frmEditObjectText.h"
#include "frmSQLQuery.h"

#include <gtest/gtest.h>

// The demo project, seeded into a temporary folder, open in one main window with the object and
// query windows installed: where every whole-road test starts. The prompts of check-in and new
// objects are off; a test that wants them sets them in Configure.
class DemoWindowFixture : public ::testing::Test {
protected:
    // Settings of the test, before the window opens.
    virtual void Configure() {}

    void SetUp() override {
        ASSERT_TRUE(project = OpenDemoProject(folder, database));
        database.SetShowCommentPrompt(false);
        database.SetShowDescriptionPrompt(false);
        database.SetShowPermissionsOnNewObjectCreate(false);
        Configure();

        window.AdoptDispatch(std::make_unique<CoreDispatch>(database));
        frmEditObjectText::Install(window);
        frmSQLQuery::Install(window);
        StartMainWindow(window, database);
    }
    void TearDown() override {
        closeAll();
        VSSBulkReader::Release();
    }
    void closeAll() { CloseEditorChildren(window); }

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    mdiMain window;
};
