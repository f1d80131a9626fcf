#include "GeneralHelpers.h"
#include "ScriptCreator.h"
#include "ScriptedPrompts.h"
#include "TARMOSQL.h"
#include "TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

void writeFile(const QString& path, const QByteArray& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

} // namespace

class ScriptSettingsTest : public ::testing::Test {
protected:
    QString path() const { return folder.Path(QStringLiteral("Shop_scripts.xml")); }

    IsolatedUserFolders userFolders;
    ScriptedPromptsScope prompts;
    TempFolder folder;
};

// What one run saves the next one reads, the password excepted, and the file is the tree of the
// format with its attributes in their order and no declaration.
TEST_F(ScriptSettingsTest, SavedSettingsComeBackWithoutThePassword) {
    ScriptCreator saved;
    saved.SetOptionSelected(2);
    saved.SetFileName(QStringLiteral("/tmp/deploy & go.sql"));
    saved.SetDropObjects(true);
    saved.SetDependencyOrder(false);
    saved.SetVSSStart(QStringLiteral("2026-03-01 08:00:00"));
    saved.SetVSSEnd(QStringLiteral("2026-03-20 18:30:00"));
    saved.SetVSSIsToday(true);
    saved.SQLConnection().SetServer(QStringLiteral("embedded:/srv"));
    saved.SQLConnection().SetDatabase(QStringLiteral("Shop"));
    saved.SQLConnection().SetUserName(QStringLiteral("sa"));
    saved.SQLConnection().SetPassword(QStringLiteral("secret-pw"));
    ASSERT_TRUE(saved.SaveDocumentSettings(path()));

    const QString text = ReadTextFile(path());
    EXPECT_FALSE(text.contains(QStringLiteral("secret-pw")));
    EXPECT_FALSE(text.startsWith(QStringLiteral("<?xml")));
    EXPECT_TRUE(text.contains(QStringLiteral("<Settings option=\"2\" filename=\"/tmp/deploy &amp; go.sql\" "
                                             "dropobjects=\"yes\" createpermission=\"no\"")));

    ScriptCreator loaded;
    loaded.LoadDocumentSettings(path());
    EXPECT_EQ(loaded.OptionSelected(), 2);
    EXPECT_EQ(loaded.FileName(), saved.FileName());
    EXPECT_TRUE(loaded.DropObjects());
    EXPECT_FALSE(loaded.CreatePermission());
    EXPECT_FALSE(loaded.DependencyOrder());
    EXPECT_EQ(loaded.VSSStart(), saved.VSSStart());
    EXPECT_EQ(loaded.VSSEnd(), saved.VSSEnd());
    EXPECT_TRUE(loaded.VSSIsToday());
    EXPECT_EQ(loaded.SQLConnection().Server(), QStringLiteral("embedded:/srv"));
    EXPECT_EQ(loaded.SQLConnection().Database(), QStringLiteral("Shop"));
    EXPECT_EQ(loaded.SQLConnection().UserName(), QStringLiteral("sa"));
    EXPECT_EQ(loaded.SQLConnection().Password(), QString());
    EXPECT_EQ(prompts->Messages(), QStringList());
}

// Attribute names in any case, "yes" in any case; a value that fails its check leaves the
// property as it was, without a word; unknown attributes and missing elements are no fault.
TEST_F(ScriptSettingsTest, ValuesAreCheckedOneByOne) {
    writeFile(path(),
              "<ScriptCreator><Settings OPTION=\"5\" DropObjects=\"YES\" CreatePermission=\"Yes\" "
              "colour=\"red\"/><VSS from=\"not a date\" until=\"2026-03-20\" today=\"no\"/></ScriptCreator>");
    ScriptCreator loaded;
    loaded.SetVSSStart(QStringLiteral("2026-01-01 00:00:00"));
    loaded.LoadDocumentSettings(path());
    EXPECT_EQ(loaded.OptionSelected(), 0);
    EXPECT_TRUE(loaded.DropObjects());
    EXPECT_TRUE(loaded.CreatePermission());
    EXPECT_TRUE(loaded.DependencyOrder());
    EXPECT_EQ(loaded.VSSStart(), QStringLiteral("2026-01-01 00:00:00"));
    EXPECT_EQ(loaded.VSSEnd(), QStringLiteral("2026-03-20"));
    EXPECT_EQ(prompts->Messages(), QStringList());

    ScriptCreator other;
    other.LoadDocumentSettings(folder.Path(QStringLiteral("none.xml")));
    EXPECT_EQ(other.OptionSelected(), 0);
}

// A file cut off in the middle gives the defaults and says so; the next save repairs it.
TEST_F(ScriptSettingsTest, ADamagedFileGivesTheDefaultsAndAMessage) {
    writeFile(path(), "<ScriptCreator><Settings option=\"3\" dropobjects=\"yes\"");
    ScriptCreator loaded;
    loaded.LoadDocumentSettings(path());
    EXPECT_EQ(loaded.OptionSelected(), 0);
    EXPECT_FALSE(loaded.DropObjects());
    ASSERT_EQ(prompts->Messages().size(), 1);
    EXPECT_TRUE(prompts->Messages().first().contains(path()));

    ASSERT_TRUE(loaded.SaveDocumentSettings(path()));
    ScriptCreator again;
    again.LoadDocumentSettings(path());
    EXPECT_EQ(prompts->Messages().size(), 1);
}

// Each user of the machine has a settings file of their own for the same project.
TEST_F(ScriptSettingsTest, EachUserHasTheirOwnFile) {
    const QString anna = ScriptCreator::SettingsFileName(QStringLiteral("Shop"), QStringLiteral("anna"));
    const QString ben = ScriptCreator::SettingsFileName(QStringLiteral("Shop"), QStringLiteral("ben"));
    EXPECT_NE(anna, ben);
    EXPECT_TRUE(anna.endsWith(QStringLiteral("/anna/Shop_scripts.xml")));
    ScriptCreator first;
    first.SetOptionSelected(3);
    ASSERT_TRUE(first.SaveDocumentSettings(anna)); // the user's folder is made as needed
    ScriptCreator second;
    second.LoadDocumentSettings(ben);
    EXPECT_EQ(second.OptionSelected(), 0);
}
