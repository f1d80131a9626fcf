#include "GeneralHelpers.h"
#include "KeyStore.h"
#include "TARMODatabase.h"
#include "TestSupport.h"

#include <QFile>
#include <QLockFile>

#include <gtest/gtest.h>

namespace {

// A screen of 1000 x 600 pixels at 15 twips per pixel: 15000 x 9000 twips.
class SettingsTest : public ::testing::Test {
protected:
    void SetUp() override { db.SetScreen(ScreenSize{1000, 600, 15.0, 15.0}); }

    void store(const QString& name, const QString& text) {
        db.SettingsRegistry().WriteValue(Registry::HKEY_CURRENT_USER, TARMODatabase::SettingsKey, name, text);
    }

    TempFolder dir;
    TARMODatabase db{std::make_shared<KeyStore>(dir.Path(QStringLiteral("registry.json")))};
};

} // namespace

TEST_F(SettingsTest, EmptyStoreGivesEveryDefault) {
    EXPECT_FALSE(db.OpenMostRecent());
    // The first start takes four fifths of the screen, the tree a fifth of its width.
    EXPECT_EQ(db.WindowHeight(), 7200);
    EXPECT_EQ(db.WindowWidth(), 12000);
    EXPECT_EQ(db.WindowState(), WindowState::Normal);
    EXPECT_EQ(db.DBTWidth(), 3000);
    EXPECT_TRUE(db.DBTVisible());
    EXPECT_TRUE(db.ExtraPanelVisible());
    EXPECT_EQ(db.ExtraPanelHeight(), -1);
    EXPECT_TRUE(db.ShowMainStatusBar());
    EXPECT_FALSE(db.ShowDescriptionPrompt());
    EXPECT_FALSE(db.ShowOwnerNameInName());
    EXPECT_TRUE(db.ShowSaveChangesNew());
    EXPECT_TRUE(db.ShowSaveChangesEdit());
    EXPECT_EQ(db.ShowSaveChangesPermission(), 0);
    EXPECT_EQ(db.SaveChangesEditDefault(), 0);
    EXPECT_TRUE(db.ShowCommentPrompt());
    EXPECT_EQ(db.ChildWindowWidth(), 5000);
    EXPECT_EQ(db.ChildWindowHeight(), 5000);
    EXPECT_EQ(db.diffRect(), QStringLiteral("100, 100, 600, 400"));
    EXPECT_EQ(db.DocGenTempalte(), QString());
}

TEST_F(SettingsTest, ScreenBoundsOnReading) {
    store(QStringLiteral("WinHeight"), QStringLiteral("1000"));
    EXPECT_EQ(db.WindowHeight(), 7200);
    store(QStringLiteral("WinHeight"), QStringLiteral("1001"));
    EXPECT_EQ(db.WindowHeight(), 1001);
    store(QStringLiteral("WinHeight"), QStringLiteral("9000"));
    EXPECT_EQ(db.WindowHeight(), 7200) << "the screen's own height is out of bounds";
    store(QStringLiteral("WinHeight"), QStringLiteral("8999"));
    EXPECT_EQ(db.WindowHeight(), 8999);
    store(QStringLiteral("WinWidth"), QStringLiteral("tall"));
    EXPECT_EQ(db.WindowWidth(), 12000);

    // Out-of-bounds values stay in the store until the next write.
    store(QStringLiteral("ExtraInfoHeight"), QStringLiteral("600"));
    EXPECT_EQ(db.ExtraPanelHeight(), -1);
    EXPECT_EQ(db.SettingText(QStringLiteral("ExtraInfoHeight")), QStringLiteral("600"));
    db.SetScreen(ScreenSize{1000, 800, 15.0, 15.0});
    EXPECT_EQ(db.ExtraPanelHeight(), 600) << "bounds are taken at the time of each read";
}

TEST_F(SettingsTest, CodesAndWholeNumbers) {
    store(QStringLiteral("WinState"), QStringLiteral("1"));
    EXPECT_EQ(db.WindowState(), WindowState::Normal);
    store(QStringLiteral("WinState"), QStringLiteral("2"));
    EXPECT_EQ(db.WindowState(), WindowState::Maximized);
    store(QStringLiteral("ChildWindowWidth"), QStringLiteral("12.5"));
    EXPECT_EQ(db.ChildWindowWidth(), 5000);
    store(QStringLiteral("ChildWindowWidth"), QStringLiteral(" 600 "));
    EXPECT_EQ(db.ChildWindowWidth(), 600);
    store(QStringLiteral("ChildWindowState"), QStringLiteral("1"));
    EXPECT_EQ(db.ChildWindowState(), WindowState::Normal);
    store(QStringLiteral("ShowPermissionsInDBT"), QStringLiteral("3"));
    EXPECT_EQ(db.ShowPermissionsInDBT(), 0);
    db.SetShowPermissionsInDBT(2);
    EXPECT_EQ(db.ShowPermissionsInDBT(), 2);
    store(QStringLiteral("SaveChangesNewDefault"), QStringLiteral("0"));
    EXPECT_EQ(db.SaveChangesNewDefault(), 0);
    db.SetSaveChangesNewDefault(3);
    EXPECT_EQ(db.SaveChangesNewDefault(), 3);
}

TEST_F(SettingsTest, BooleansReadOnlyTheirOwnOppositeExactly) {
    store(QStringLiteral("ShowMainStatusBar"), QStringLiteral("2"));
    EXPECT_TRUE(db.ShowMainStatusBar()) << "default True reads False only for \"0\"";
    store(QStringLiteral("ShowDescriptionPrompt"), QStringLiteral("2"));
    EXPECT_FALSE(db.ShowDescriptionPrompt()) << "default False reads True only for \"1\"";
    db.SetShowMainStatusBar(false);
    EXPECT_EQ(db.SettingText(QStringLiteral("ShowMainStatusBar")), QStringLiteral("0"));
    EXPECT_FALSE(db.ShowMainStatusBar());

    // The project number and the check box read the same text differently.
    store(QStringLiteral("ProjectToOpen"), QStringLiteral("3"));
    EXPECT_FALSE(db.OpenMostRecent());
    EXPECT_EQ(db.SettingText(QStringLiteral("ProjectToOpen")), QStringLiteral("3"));
    db.SetOpenMostRecent(true);
    EXPECT_EQ(db.SettingText(QStringLiteral("ProjectToOpen")), QStringLiteral("1"));
}

TEST_F(SettingsTest, DiffRectChecksLaterPartsOnlyOnReading) {
    store(QStringLiteral("DiffLeft"), QStringLiteral("300"));
    store(QStringLiteral("DiffRight"), QStringLiteral("200"));
    EXPECT_EQ(db.diffRight(), 600) << "right below left reads as the default";

    db.SetdiffRect(QStringLiteral("10, x, 20, 30"));
    EXPECT_EQ(db.SettingText(QStringLiteral("DiffTop")), QString()) << "a non-numeric part is not stored";
    EXPECT_EQ(db.diffRect(), QStringLiteral("10, 100, 20, 400")) << "bottom 30 is not below top 100";
    db.SetdiffRect(QStringLiteral("10, 20, 999, 100"));
    EXPECT_EQ(db.diffRect(), QStringLiteral("10, 20, 999, 100"));
    db.SetdiffRect(QStringLiteral("10, 20, 1000, 100"));
    EXPECT_EQ(db.diffRight(), 600) << "the screen's width is out of bounds";
}

TEST_F(SettingsTest, DefaultTextsLiveInTheUsersFolder) {
    EXPECT_EQ(db.GetDefaultText(QStringLiteral("STOREDPROCEDURE")), QString());
    db.SetDefaultText(QStringLiteral("STOREDPROCEDURE"), QStringLiteral("CREATE PROCEDURE <NAME>\r\nAS\r\n"));
    EXPECT_EQ(db.GetDefaultText(QStringLiteral("STOREDPROCEDURE")),
              QStringLiteral("CREATE PROCEDURE <NAME>\r\nAS\r\n"));
    EXPECT_TRUE(QFile::exists(UserFolder() + QStringLiteral("/STOREDPROCEDURE.default")));
}

TEST_F(SettingsTest, WindowsComeBackNormalOrMaximizedOnly) {
    db.SetWindowState(WindowState::Maximized);
    db.SetChildWindowState(WindowState::Maximized);
    EXPECT_EQ(db.WindowState(), WindowState::Maximized);
    EXPECT_EQ(db.ChildWindowState(), WindowState::Maximized);
    db.SetWindowState(WindowState::Minimized);
    db.SetChildWindowState(WindowState::Minimized);
    EXPECT_EQ(db.WindowState(), WindowState::Normal);
    EXPECT_EQ(db.ChildWindowState(), WindowState::Normal);
    // The main window's state was always read rounded, a child window's only as a whole number.
    store(QStringLiteral("WinState"), QStringLiteral("2.4"));
    store(QStringLiteral("ChildWindowState"), QStringLiteral("2.4"));
    EXPECT_EQ(db.WindowState(), WindowState::Maximized);
    EXPECT_EQ(db.ChildWindowState(), WindowState::Normal);
}

// A preference that can't be saved is told, never dropped silently, and the setter still returns.
TEST_F(SettingsTest, APreferenceThatCannotBeSavedIsTold) {
    QStringList told;
    db.SetWriteFailureHandler([&](const TARMOError& error) { told << error.Description(); });
    db.SettingsRegistry().Store()->SetLockTimeout(50);
    {
        QLockFile held(db.SettingsRegistry().Store()->FilePath() + QStringLiteral(".lock"));
        ASSERT_TRUE(held.tryLock(0));
        db.SetWindowWidth(9000);
    }
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told.first().contains(QStringLiteral("registry.json.lock"))) << told.first().toStdString();

    db.SetWindowWidth(9000);
    EXPECT_EQ(told.size(), 1);
    EXPECT_EQ(db.WindowWidth(), 9000);
}
