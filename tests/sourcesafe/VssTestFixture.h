#pragma once

#include "ScriptedPrompts.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

// A real store in a temporary folder with the project $/Sales, the users Bob and Carol, a working
// folder for each, and the scripted prompts installed.
class VssTest : public ::testing::Test {
protected:
    void SetUp() override;

    // A connection of the user to $\Sales\ with his working folder, opened silently.
    std::unique_ptr<TARMOVSS> Connect(const QString& user, const QString& password);
    QString Work(const QString& user, const QString& name = QString()) const;
    // The critical boxes shown so far, as "title|text".
    QStringList Boxes();

    TempFolder folder;
    QString ini;
    ScriptedPromptsScope prompts;
};

QString ReadFile(const QString& path);
void WriteFile(const QString& path, const QString& text);
