#include "DocGenSteps.h"

#include <gtest/gtest.h>

// The step list as the progress window shows it: numbered texts, the running row's status and
// icon, the bar's percentage (0% for an empty range, rounded), and a value beyond the range that
// the bar doesn't take.
TEST(DocGenStepsTest, StatusIconsAndPercentages) {
    DocGenSteps steps;
    steps.AddStep(QStringLiteral("A"), QStringLiteral("Find all Views"));
    steps.AddStep(QStringLiteral("B"), QStringLiteral("Save Document"));
    QList<int> changed;
    int kept = 0;
    steps.RowChanged = [&](int row) { changed << row; };
    steps.KeepAlive = [&] { ++kept; };
    EXPECT_EQ(steps.Rows()[1].Text, QStringLiteral("Step 2 - Save Document"));
    EXPECT_EQ(steps.Rows()[1].Status, QStringLiteral("Not Started"));

    steps.NextStep();
    EXPECT_EQ(steps.Rows()[0].Status, QStringLiteral("Initialising"));
    steps.ShowStepProgress(5, QStringLiteral("x"));
    EXPECT_EQ(steps.BarText(), QStringLiteral("0%: x"));
    steps.SetStepRange(3);
    EXPECT_EQ(steps.Rows()[0].Icon, 1);
    steps.ShowStepProgress(2);
    EXPECT_EQ(steps.Rows()[0].Status, QStringLiteral("Progress: 67%"));
    EXPECT_EQ(steps.BarValue(), 2);
    steps.ShowStepProgress(4);
    EXPECT_EQ(steps.BarText(), QStringLiteral("133%"));
    EXPECT_EQ(steps.BarValue(), 2);

    steps.NextStep();
    EXPECT_EQ(steps.Rows()[0].Status, QStringLiteral("Completed"));
    EXPECT_EQ(steps.Rows()[0].Icon, 2);
    EXPECT_EQ(steps.Rows()[1].Status, QStringLiteral("Initialising"));
    EXPECT_EQ(steps.BarMaximum(), 0);
    steps.NextStep();
    steps.NextStep();
    EXPECT_EQ(steps.Rows()[1].Status, QStringLiteral("Completed"));
    EXPECT_EQ(kept, 3);
    EXPECT_TRUE(changed.contains(2));
}
