#pragma once

#include "CoreDispatch.h"
#include "DemoSeed.h"
#include "EditorChildWindow.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"
#include "VSSBulkReader.h"
#include "frmEditObjectText.h"
#include "frmSQLQuery.h"
#include "mdiMain.h"

#include <QCoreApplication>
#include <QMdiSubWindow>

#include <gtest/gtest.h>

// The demo project, seeded into a temporary folder, open in one main window with the object and
// query windows installed: where every whole-road test starts. The prompts of check-in and new
// objects are off; a test that wants them sets them in Configure.
class DemoWindowFixture : public ::testing::Test {
protected:
    // Settings of the test, before the window opens.
    virtual void Configure() {}

    void SetUp() override {
        const auto seeded = DemoSeed::Seed(folder.Path(QStringLiteral("demo")), false);
        ASSERT_TRUE(seeded.ok) << qPrintable(seeded.error);
        project = database.GetDefaultProject();
        ASSERT_TRUE(project);
        ASSERT_EQ(project->SQL().OpenConnection(), QString());
        ASSERT_EQ(project->VSS().OpenConnection(), QString());
        database.SetProject(project);
        database.SetShowCommentPrompt(false);
        database.SetShowDescriptionPrompt(false);
        database.SetShowPermissionsOnNewObjectCreate(false);
        Configure();

        window.AdoptDispatch(std::make_unique<CoreDispatch>(database));
        frmEditObjectText::Install(window);
        frmSQLQuery::Install(window);
        window.SetLoading(true);
        window.Init(database);
        window.InitDBT(2865);
        window.resize(1000, 700);
        window.SetLoading(false);
        window.ShowWindow();
    }
    void TearDown() override {
        closeAll();
        VSSBulkReader::Release();
    }
    void closeAll() {
        for (QMdiSubWindow* sub : window.MdiArea()->subWindowList())
            if (auto* form = qobject_cast<EditorChildWindow*>(sub->widget()))
                form->CloseItem(true);
        QCoreApplication::processEvents();
    }

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    mdiMain window;
};
