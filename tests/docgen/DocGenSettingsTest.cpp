#include "DocGenProject.h"
#include "GeneralHelpers.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"

#include <QFile>

#include <gtest/gtest.h>

// Every setting and every module field survives a save and a load, line breaks and markup in a
// description included, and the attributes stand in their documented order. (An XML reader turns
// CR LF into LF; the maintenance window brings a description's line ends back to CR LF.)
TEST(DocGenSettingsTest, SaveAndLoadKeepEverything) {
    TempFolder dir;
    const QString file = dir.Path(QStringLiteral("Shop_documents.xml"));
    DocGenProject saved;
    saved.CurrentModule = QStringLiteral("Web");
    saved.TemplateName = QStringLiteral("/t/corp.dotx");
    saved.DocumentType = DocGenTypes::Word;
    saved.GenerateName = QStringLiteral("/out/doc.docx");
    saved.GenerateNameAlt = QStringLiteral("/out/doc.html");
    saved.OptionSelected = DocGenProject::OptionModule;
    saved.IncludeModuleSummay = true;
    saved.EncapsObjects = true;
    saved.IncludeOwnerNames = true;
    DocGenModule& web = saved.Modules().Add();
    web.Name = QStringLiteral("Web & <Shop>");
    web.Description = QStringLiteral("line one\n\"two\" <b>");
    web.Path = QStringLiteral("/src/web/");
    web.CreatedOn = QStringLiteral("1.2.2003");
    web.Files().Add(QStringLiteral("/src/web/a.php"));
    web.Files().Add(QStringLiteral("/src/web/b.php"));
    saved.Modules().Add().Name = QStringLiteral("Empty");
    saved.SaveDocumentSettings(file);

    const QString text = ReadTextFile(file);
    EXPECT_FALSE(text.startsWith(QStringLiteral("<?xml")));
    EXPECT_TRUE(text.contains(QStringLiteral(
        "<Settings currmodule=\"Web\" templatename=\"/t/corp.dotx\" generatename=\"/out/doc.docx\" "
        "generatenamealt=\"/out/doc.html\" documentype=\"WORD\" option=\"1\" showsummary=\"yes\" "
        "showsummaryperfile=\"no\" ownernames=\"yes\" encapsulateowner=\"no\" encapsulateobject=\"yes\" "
        "ownerowncol=\"no\"/>")))
        << qPrintable(text);

    DocGenProject loaded;
    ASSERT_TRUE(loaded.LoadDocumentSettings(file));
    EXPECT_EQ(loaded.SettingsText(), saved.SettingsText());
    ASSERT_EQ(loaded.Modules().Count(), 2);
    const DocGenModule& back = loaded.Modules().Item(1);
    EXPECT_EQ(back.Name, web.Name);
    EXPECT_EQ(back.Description, web.Description);
    EXPECT_EQ(back.Files().Count(), 2);
    EXPECT_EQ(back.Files().Item(2).Name(), QStringLiteral("b.php"));
    EXPECT_EQ(back.Files().Item(2).Extenstion(), QStringLiteral("php"));
    EXPECT_EQ(loaded.Modules().Item(2).Index, 2);
}

// Values are checked as they come in: an option out of range is skipped, yes in any case counts,
// attribute names are read in any case, a file listed twice in different case loads once.
TEST(DocGenSettingsTest, LoadChecksTheValues) {
    DocGenProject project;
    ASSERT_TRUE(project.ApplySettingsText(QStringLiteral(
        "<ModuleManager><Settings option=\"4\" ShowSummary=\"YES\" ownernames=\"y\"/><Modules>"
        "<Module name=\"M\"><File>/a/X.sql</File><File>/a/x.SQL</File><File>/a/y.sql</File></Module>"
        "</Modules></ModuleManager>")));
    EXPECT_EQ(project.OptionSelected, DocGenProject::OptionComplete);
    EXPECT_TRUE(project.IncludeModuleSummay);
    EXPECT_FALSE(project.IncludeOwnerNames);
    EXPECT_EQ(project.Modules().Item(1).Files().Count(), 2);
    EXPECT_EQ(project.DocumentType, DocGenTypes::Html);
}

// A damaged file: one message, the defaults, and the file kept beside so that the next save loses
// nothing of it. A missing file is no fault at all.
TEST(DocGenSettingsTest, DamagedFileGivesTheDefaultsAndIsKept) {
    TempFolder dir;
    ScriptedPromptsScope prompts;
    const QString file = dir.Path(QStringLiteral("Shop_documents.xml"));
    DocGenProject project;
    EXPECT_TRUE(project.LoadDocumentSettings(file));
    EXPECT_EQ(prompts->Records().size(), 0);

    WriteTextFile(file,
                  QStringLiteral("<ModuleManager><Settings option=\"1\"/><Modules><Module name=\"Half"));
    EXPECT_FALSE(project.LoadDocumentSettings(file));
    EXPECT_EQ(project.OptionSelected, DocGenProject::OptionComplete);
    EXPECT_EQ(project.Modules().Count(), 0);
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Document Settings"));
    EXPECT_TRUE(prompts->Records().first().text.contains(file));
    EXPECT_TRUE(ReadTextFile(file + QStringLiteral(".damaged")).contains(QStringLiteral("Half")));

    WriteTextFile(file, QStringLiteral("<Other/>"));
    EXPECT_FALSE(project.LoadDocumentSettings(file));
}

// Remove renumbers those behind; Find ignores case.
TEST(DocGenSettingsTest, ModulesRenumberOnRemove) {
    DocGenModules modules;
    modules.Add().Name = QStringLiteral("A");
    modules.Add().Name = QStringLiteral("B");
    modules.Add().Name = QStringLiteral("C");
    modules.Remove(1);
    EXPECT_EQ(modules.Item(1).Name, QStringLiteral("B"));
    EXPECT_EQ(modules.Item(1).Index, 1);
    EXPECT_EQ(modules.Find(QStringLiteral("c"))->Index, 2);
    EXPECT_EQ(ErrorOf([&] { modules.Remove(3); }).number, 9);
}
