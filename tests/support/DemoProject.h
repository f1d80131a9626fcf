#pragma once

// Header only: the support library itself links none of the core, so only the suites that run the
// demo include this.

#include "DemoSeed.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <memory>

// Seeds the demo project into the folder and opens its server and store as the core does; the
// project becomes the database's current one. Null (with the failure added) when any step fails.
inline std::shared_ptr<TARMOProject> OpenDemoProject(const TempFolder& folder, TARMODatabase& database) {
    const auto seeded = DemoSeed::Seed(folder.Path(QStringLiteral("demo")), false);
    if (!seeded.ok) {
        ADD_FAILURE() << qPrintable(seeded.error);
        return nullptr;
    }
    auto project = database.GetDefaultProject();
    if (!project) {
        ADD_FAILURE() << "the demo has no default project";
        return nullptr;
    }
    const QString sql = project->SQL().OpenConnection();
    const QString vss = project->VSS().OpenConnection();
    if (!sql.isEmpty() || !vss.isEmpty()) {
        ADD_FAILURE() << qPrintable(sql) << qPrintable(vss);
        return nullptr;
    }
    database.SetProject(project);
    return project;
}

// The message boxes so far as "TITLE: TEXT".
inline QStringList MessagesOf(ScriptedPromptsScope& prompts) {
    QStringList list;
    for (const auto& record : prompts->Records())
        list << record.title + QStringLiteral(": ") + record.text;
    return list;
}
