#include "SyncWindowTestHelpers.h"
#include "SyncWindowsFixture.h"

#include <QProgressBar>
#include <QPushButton>

namespace {

QList<SyncDirection> directions(const frmSyncResults& form) {
    QList<SyncDirection> list;
    for (const SyncActionRow& row : form.Display().Rows())
        list << row.Direction;
    return list;
}

QStringList names(const frmSyncResults& form) {
    QStringList list;
    for (const SyncActionRow& row : form.Display().Rows())
        list << row.Name;
    return list;
}

} // namespace

// Apply goes from the last row to the first: rows without action stay, rows that succeed go, and
// the function, which the store refuses to take while another developer holds it, stays with its
// direction between its neighbours. A second Apply reaches the same object; the other direction
// then succeeds. Closing with a row left asks first.
TEST_F(SyncWindowsTest, ApplyKeepsFailingRowsAndAsksBeforeClosing) {
    frmSyncResults form;
    form.Load(objects(), SyncRun(objects()).Run());
    form.show();
    ASSERT_EQ(names(form), QStringList({"dbo.AddOrder", "dbo.ListCities", "dbo.PurgeOldOrders",
                                        "dbo.CustomerTotal", "dbo.Orders_Insert"}));

    // With no direction chosen, Apply changes nothing and says nothing.
    form.cmdApply()->click();
    EXPECT_EQ(form.Display().Count(), 5);
    EXPECT_FALSE(form.ChangesMade());
    EXPECT_EQ(prompts->Records().size(), 0);

    form.cmdInVSS()->click();
    clickButton(form, rowOf(form, QStringLiteral("dbo.PurgeOldOrders")));
    ASSERT_EQ(directions(form),
              QList<SyncDirection>({SyncDirection::ToVss, SyncDirection::ToVss, SyncDirection::None,
                                    SyncDirection::ToVss, SyncDirection::ToVss}));
    form.cmdApply()->click();
    EXPECT_TRUE(form.ChangesMade());
    EXPECT_EQ(names(form), QStringList({"dbo.PurgeOldOrders", "dbo.CustomerTotal"}));
    EXPECT_EQ(directions(form), QList<SyncDirection>({SyncDirection::None, SyncDirection::ToVss}));
    EXPECT_EQ(pictures(form), QStringList({"NRM", "CNG:R"}));
    EXPECT_EQ(form.lvwResults()->rowCount(), 2);
    EXPECT_EQ(text(form, 1, frmSyncResults::objSQL), QStringLiteral("dbo.CustomerTotal"));
    EXPECT_TRUE(form.cmdApply()->isVisible());
    EXPECT_TRUE(form.cmdClose()->isVisible());
    EXPECT_FALSE(form.pbrSync()->isVisible());
    EXPECT_TRUE(form.isVisible());
    ASSERT_EQ(prompts->Records().size(), 1) << qPrintable(messages().join(QLatin1Char('\n')));
    const QString refusal = messages().first();
    EXPECT_TRUE(refusal.contains(QStringLiteral("is checked out by"))) << qPrintable(refusal);
    EXPECT_EQ(differences(), QStringList({"dbo.PurgeOldOrders 2", "dbo.CustomerTotal 3"}));
    Screenshot(&form, QStringLiteral("syncwindows-results-after-apply"));

    form.cmdApply()->click();
    EXPECT_EQ(messages(), QStringList({refusal, refusal}));
    EXPECT_EQ(names(form), QStringList({"dbo.PurgeOldOrders", "dbo.CustomerTotal"}));

    // The database takes the store's text instead: that needs no check-out.
    clickButton(form, 1);
    clickButton(form, 1);
    EXPECT_EQ(pictureOf(form, 1), QStringLiteral("CNG:L"));
    form.cmdApply()->click();
    EXPECT_EQ(names(form), QStringList{QStringLiteral("dbo.PurgeOldOrders")});
    EXPECT_EQ(prompts->Records().size(), 2);
    EXPECT_EQ(differences(), QStringList{QStringLiteral("dbo.PurgeOldOrders 2")});

    prompts->QueueAnswer(Prompt::Answer::No);
    form.cmdClose()->click();
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(form.Display().Count(), 1);
    ASSERT_EQ(prompts->Records().size(), 3);
    EXPECT_EQ(prompts->Records().last().title, QStringLiteral("Close Synchronization Results?"));
    EXPECT_EQ(
        prompts->Records().last().text,
        QStringLiteral("There are still items that are not in Sync!\n\nAre you sure you want to close the "
                       "Synchronization Results now?"));
    EXPECT_EQ(prompts->Records().last().buttons, Prompt::Buttons::YesNo);

    prompts->QueueAnswer(Prompt::Answer::Yes);
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(prompts->Records().size(), 4);
}
