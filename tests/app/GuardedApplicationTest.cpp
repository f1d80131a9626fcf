#include "GuardedApplication.h"
#include "ErrorReport.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"

#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

class FailingWidget : public QWidget {
protected:
    void keyPressEvent(QKeyEvent*) override {
        throw TARMOError(3021, QStringLiteral("TARMOVSS"), QStringLiteral("No current record"));
    }
};

// Serves posted events until done is set; a bounded number of rounds, so a fault fails instead of hanging.
bool serveUntil(const bool& done) {
    for (int round = 0; round < 100 && !done; ++round)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    return done;
}

} // namespace

TEST(GuardedApplication, WhatHandlersSlotsAndTimersThrowIsShownAndTheProgramGoesOn) {
    ScriptedPromptsScope prompts;

    FailingWidget widget;
    widget.show();
    QTest::keyClick(&widget, Qt::Key_A);

    QPushButton button(QStringLiteral("Check Out"));
    QObject::connect(&button, &QPushButton::clicked, [] {
        throw TARMOError(75, QStringLiteral("CreateTextFile"),
                         QStringLiteral("Path/File access error: /gone/x.sp"));
    });
    button.show();
    QTest::mouseClick(&button, Qt::LeftButton);

    bool fired = false;
    QTimer::singleShot(0, [&] {
        fired = true;
        throw TARMOError(-2147467259, QStringLiteral("TARMOSQL"), QStringLiteral("The server went away"));
    });
    ASSERT_TRUE(serveUntil(fired));

    const auto& records = prompts->Records();
    ASSERT_EQ(records.size(), 3);
    EXPECT_EQ(records[0].title, QStringLiteral("TARMOVSS"));
    EXPECT_EQ(records[0].text, QStringLiteral("No current record"));
    EXPECT_EQ(records[1].title, QStringLiteral("CreateTextFile"));
    EXPECT_EQ(records[1].text, QStringLiteral("Path/File access error: /gone/x.sp"));
    EXPECT_EQ(records[2].title, QStringLiteral("TARMOSQL"));
    EXPECT_EQ(records[2].text, QStringLiteral("The server went away"));
    for (const auto& record : records)
        EXPECT_EQ(record.icon, Prompt::Icon::Critical);

    // The application is still serving: timers fire and clicks reach their slots.
    bool served = false;
    QTimer::singleShot(0, [&] { served = true; });
    EXPECT_TRUE(serveUntil(served));
    bool clicked = false;
    QPushButton next(QStringLiteral("Get"));
    QObject::connect(&next, &QPushButton::clicked, [&] { clicked = true; });
    next.show();
    QTest::mouseClick(&next, Qt::LeftButton);
    EXPECT_TRUE(clicked);
    EXPECT_EQ(prompts->Records().size(), 3);
}

// The application object is the subject here, so this test has its own main.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    GuardedApplication app(argc, argv);
    IsolatedUserFolders folders;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
