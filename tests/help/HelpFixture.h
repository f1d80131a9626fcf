#pragma once

#include "HelpIntegration.h"
#include "HelpWindow.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"

#include <QTextBrowser>

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QUrl& url, std::ostream* os) {
    *os << '"' << qPrintable(url.toString()) << '"';
}

// gHelp over the manual that this build compiled, with its own user folders, so that the writable
// copy of the collection is made anew for every test.
class HelpTest : public ::testing::Test {
protected:
    void SetUp() override { gHelp = std::make_unique<HelpIntegration>(QStringLiteral(TARMO_MANUAL_DIR)); }
    void TearDown() override { gHelp.reset(); }

    HelpWindow* window() const { return gHelp->Window(); }
    // Where the help window shows now; empty before it opened.
    QUrl shown() const { return window() ? window()->Browser()->source() : QUrl(); }

    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
};
