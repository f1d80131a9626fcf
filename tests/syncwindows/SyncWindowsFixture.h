#pragma once

#include "CoreDispatch.h"
#include "DemoProject.h"
#include "ModalAnswer.h"
#include "SyncRun.h"

#include <gtest/gtest.h>

#include <memory>

// The demo project in a temporary folder, opened as the core does, with differences of all three
// kinds: the demo's procedure on the server alone (dbo.ListCities) and in the store alone
// (dbo.PurgeOldOrders), and three objects whose server text was changed behind the store's back.
// dbo.CustomerTotal is among them and is checked out by another developer, so the store refuses to
// take its server text: a row whose action towards the store fails.
class SyncWindowsTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    TARMODatabaseObjects& objects() { return dispatch->Objects(); }
    // The differences a fresh compare finds, as "owner.name kind".
    QStringList differences();
    // The lines of the project's history of synchronizations.
    QStringList syncHistory();
    QStringList messages() { return MessagesOf(prompts); }

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    std::unique_ptr<CoreDispatch> dispatch;
};
