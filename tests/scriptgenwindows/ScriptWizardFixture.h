#pragma once

#include "CoreDispatch.h"
#include "DemoProject.h"
#include "frmScriptCreator.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

// The demo project in a temporary folder, opened as the core does, and the wizard on it, shown but
// not modal, so that a test clicks its way through as a user would.
class ScriptWizardTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    TARMODatabaseObjects& objects() { return dispatch->Objects(); }
    // A fresh wizard on the project, as the menu command opens it.
    void openWizard();
    // Chooses the mode on the first page and clicks Next.
    void chooseMode(int mode);
    void next();
    void back();
    // Names the script file and clicks Finished; the text of the file, "" where none was written.
    QString finish(const QString& fileName = QStringLiteral("script.sql"));
    QString scriptPath(const QString& fileName = QStringLiteral("script.sql")) const;
    // The titles of the sections the script holds, in their order.
    static QStringList sectionsOf(const QString& script);
    // The objects a section of the script creates, alters or drops, in their order ("dbo.Name").
    static QStringList objectsIn(const QString& script, const QString& section);
    QStringList messages() { return MessagesOf(prompts); }
    // Does what it is given from inside the next run, once its steps are under way: the step list
    // lets window events through at each move, as it does for a user's click.
    void whileRunning(std::function<void()> act);

    IsolatedUserFolders folders;
    TempFolder folder;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
    std::shared_ptr<TARMOProject> project;
    std::unique_ptr<CoreDispatch> dispatch;
    std::unique_ptr<frmScriptCreator> form;
};
