#include "ErrorReport.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(ErrorReport, WhatAStepThrowsIsShownWithItsSourceAndText) {
    ScriptedPromptsScope prompts;
    int runs = 0;
    EXPECT_TRUE(Guarded([&] { ++runs; }));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(prompts->Records().isEmpty());

    EXPECT_FALSE(Guarded(
        [] { throw TARMOError(-2147217843, QStringLiteral("TARMOSQL"), QStringLiteral("Login failed")); }));
    EXPECT_FALSE(Guarded([] { throw std::runtime_error("disk full"); }));
    EXPECT_FALSE(Guarded([] { throw 42; }));
    EXPECT_FALSE(Guarded([] { throw TARMOError(5, QString(), QString()); }));

    const auto& records = prompts->Records();
    ASSERT_EQ(records.size(), 4);
    EXPECT_EQ(records[0].title, QStringLiteral("TARMOSQL"));
    EXPECT_EQ(records[0].text, QStringLiteral("Login failed"));
    EXPECT_TRUE(records[1].text.contains(QStringLiteral("disk full")));
    EXPECT_FALSE(records[2].text.isEmpty());
    EXPECT_FALSE(records[3].title.isEmpty()) << "an error without a source still gets a title";
    EXPECT_TRUE(records[3].text.contains(QStringLiteral("5")));
    for (const auto& record : records) {
        EXPECT_EQ(record.icon, Prompt::Icon::Critical);
        EXPECT_EQ(record.buttons, Prompt::Buttons::OK);
    }
}

namespace {

// A box whose own event loop meets the failure again, as a repaint behind it would.
class FailingAgainPrompts : public ScriptedPrompts {
public:
    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                              const QString& title, int defaultButton) override {
        const auto answer = ScriptedPrompts::MessageBox(text, buttons, icon, title, defaultButton);
        if (++depth < 5)
            Guarded([] { throw TARMOError(7, QStringLiteral("Paint"), QStringLiteral("again")); });
        return answer;
    }
    int depth = 0;
};

class ThrowingPrompts : public ScriptedPrompts {
public:
    Prompt::Answer MessageBox(const QString&, Prompt::Buttons, Prompt::Icon, const QString&, int) override {
        ++calls;
        throw std::runtime_error("no display");
    }
    int calls = 0;
};

} // namespace

TEST(ErrorReport, AReportNeitherStacksBoxesNorThrows) {
    auto owned = std::make_unique<FailingAgainPrompts>();
    auto* again = owned.get();
    installPrompts(std::move(owned));
    EXPECT_FALSE(Guarded([] { throw TARMOError(7, QStringLiteral("Paint"), QStringLiteral("first")); }));
    EXPECT_EQ(again->Records().size(), 1) << "the failure met while the box is up goes to stderr";

    auto throwing = std::make_unique<ThrowingPrompts>();
    auto* failing = throwing.get();
    installPrompts(std::move(throwing));
    EXPECT_FALSE(Guarded([] { throw TARMOError(7, QStringLiteral("Paint"), QStringLiteral("first")); }));
    EXPECT_FALSE(Guarded([] { throw TARMOError(7, QStringLiteral("Paint"), QStringLiteral("second")); }));
    EXPECT_EQ(failing->calls, 2) << "a report that failed does not leave the next one silenced";
    installPrompts(nullptr);
}
