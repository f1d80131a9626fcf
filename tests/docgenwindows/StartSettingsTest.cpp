#include "DocGenWindowsFixture.h"

#include "DocGenWindowSupport.h"
#include "DocGenWindows.h"
#include "frmDocumentGenerationStart.h"
#include "frmModuleMaint.h"
#include "frmModuleManager.h"
#include "mdiMain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QToolButton>

namespace {

void click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton);
}

void chooseType(frmDocumentGenerationStart& form, const QString& key) {
    form.cboType()->setCurrentIndex(form.cboType()->findData(key));
}

} // namespace

// The stored settings come into the controls, each type keeps its own file name however often the
// type changes, and everything goes back to the file when the dialog closes without a run.
TEST_F(DocGenWindowsTest, SettingsComeInAndSurviveAClosingWithoutARun) {
    const QString doc = folder.Path(QStringLiteral("a.docx"));
    const QString html = folder.Path(QStringLiteral("b.html"));
    saveSettings({}, [&](DocGenProject& settings) {
        settings.DocumentType = DocGenTypes::Word;
        settings.GenerateName = doc;
        settings.GenerateNameAlt = html;
        settings.OptionSelected = DocGenProject::OptionModule;
        settings.CurrentModule = QStringLiteral("WEB shop");
        settings.IncludeOwnerNames = true;
        settings.EncapsObjects = true;
        settings.IncludeModuleSummayPerFile = true;
    });
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Automatic Documentation ..."));
    EXPECT_EQ(form.cboType()->currentText(), QStringLiteral("Microsoft Word"));
    EXPECT_EQ(form.txtDocumentName()->text(), doc);
    EXPECT_TRUE(form.optModule()->isChecked());
    EXPECT_EQ(form.cboModules()->currentText(), QStringLiteral("Web Shop")) << "found ignoring case";
    EXPECT_EQ(form.cboModules()->itemText(0), QStringLiteral("-- Select a Module --"));
    EXPECT_TRUE(form.chkOwnerNames()->isChecked());
    EXPECT_TRUE(form.chkEncapsulateObject()->isChecked());
    EXPECT_TRUE(form.chkObjectSummaryPerFile()->isChecked());
    EXPECT_FALSE(form.chkObjectSummary()->isChecked());
    Screenshot(&form, QStringLiteral("docgenwindows-start"));
    {
        DarkPalette dark(&form);
        Screenshot(&form, QStringLiteral("docgenwindows-start-dark"));
    }

    chooseType(form, DocGenTypes::Html);
    EXPECT_EQ(form.txtDocumentName()->text(), html);
    form.txtDocumentName()->setText(folder.Path(QStringLiteral("c.html")));
    chooseType(form, DocGenTypes::Word);
    EXPECT_EQ(form.txtDocumentName()->text(), doc);
    chooseType(form, DocGenTypes::Html);
    EXPECT_EQ(form.txtDocumentName()->text(), folder.Path(QStringLiteral("c.html")));

    // A save dialog that was cancelled keeps the name; a chosen name without extension gets one.
    click(form.cmdBrowse());
    EXPECT_EQ(form.txtDocumentName()->text(), folder.Path(QStringLiteral("c.html")));
    prompts->QueueFile(folder.Path(QStringLiteral("d")));
    click(form.cmdBrowse());
    EXPECT_EQ(form.txtDocumentName()->text(), folder.Path(QStringLiteral("d.html")));
    EXPECT_EQ(prompts->Records().value(1).title, QStringLiteral("Save Document As ..."));

    form.show();
    click(form.cmdClose());
    EXPECT_FALSE(form.isVisible());
    const DocGenProject stored = storedSettings();
    EXPECT_EQ(stored.DocumentType, DocGenTypes::Html);
    EXPECT_EQ(stored.GenerateName, folder.Path(QStringLiteral("d.html")));
    EXPECT_EQ(stored.GenerateNameAlt, doc);
    EXPECT_EQ(stored.OptionSelected, DocGenProject::OptionModule);
    EXPECT_EQ(stored.CurrentModule, QStringLiteral("Web Shop"));
    EXPECT_TRUE(stored.IncludeOwnerNames);
    EXPECT_TRUE(stored.EncapsObjects);
    EXPECT_TRUE(stored.IncludeModuleSummayPerFile);
    EXPECT_EQ(stored.Modules().Count(), 1) << "the modules go back with the settings";
    EXPECT_TRUE(boxes().isEmpty());
}

// The controls that depend on another one: the summaries on the module option, the owner's display
// on the owner names, the template on the Word type; choosing a module chooses the module option.
TEST_F(DocGenWindowsTest, DependentControlsFollowTheirMasters) {
    saveSettings();
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    EXPECT_TRUE(form.optComplete()->isChecked()) << "the complete documentation by default";
    EXPECT_FALSE(form.chkObjectSummary()->isEnabled());
    EXPECT_FALSE(form.chkObjectSummaryPerFile()->isEnabled());
    EXPECT_FALSE(form.chkOwnerInOwnColumn()->isEnabled());
    EXPECT_FALSE(form.chkEncapsulateOwner()->isEnabled());
    EXPECT_TRUE(form.chkEncapsulateObject()->isEnabled());
    EXPECT_FALSE(form.txtTemplate()->isEnabled());
    EXPECT_FALSE(form.cmdBrowseTemplate()->isEnabled());

    form.cboModules()->setCurrentIndex(1);
    EXPECT_TRUE(form.optModule()->isChecked());
    EXPECT_TRUE(form.chkObjectSummary()->isEnabled());
    EXPECT_TRUE(form.chkObjectSummaryPerFile()->isEnabled());
    form.chkOwnerNames()->setChecked(true);
    EXPECT_TRUE(form.chkOwnerInOwnColumn()->isEnabled());
    EXPECT_TRUE(form.chkEncapsulateOwner()->isEnabled());
    chooseType(form, DocGenTypes::Word);
    EXPECT_TRUE(form.lblTemplate()->isEnabled());
    EXPECT_TRUE(form.txtTemplate()->isEnabled());
    prompts->QueueFile(folder.Path(QStringLiteral("house.dotx")));
    click(form.cmdBrowseTemplate());
    EXPECT_EQ(form.txtTemplate()->text(), folder.Path(QStringLiteral("house.dotx")));

    form.cboModules()->setCurrentIndex(0);
    EXPECT_TRUE(form.optModule()->isChecked()) << "the first entry chooses nothing";
    form.optComplete()->setChecked(true);
    EXPECT_FALSE(form.chkObjectSummary()->isEnabled());
}

// The module manager from the start dialog: a module made there is listed and, when none was
// chosen before, chosen; a module that was chosen stays chosen.
TEST_F(DocGenWindowsTest, ModuleManagerFromTheStartDialog) {
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    EXPECT_EQ(form.cboModules()->count(), 1);
    const auto makeModule = [&](const QString& name) {
        ModalAnswerOf<frmModuleManager> manager([&](frmModuleManager* window) {
            ModalAnswerOf<frmModuleMaint> maint([&](frmModuleMaint* dialog) {
                dialog->txtName()->setText(name);
                dialog->txtPath()->setText(shop());
                dialog->AddFiles({shop(QStringLiteral("orders.php"))});
                click(dialog->cmdSave());
            });
            click(window->cmdNew());
            EXPECT_TRUE(maint.Answered());
            click(window->cmdClose());
        });
        click(form.cmdOpen());
        EXPECT_TRUE(manager.Answered());
    };
    makeModule(QStringLiteral("First"));
    EXPECT_EQ(form.cboModules()->currentText(), QStringLiteral("First"));
    EXPECT_TRUE(form.optModule()->isChecked());
    makeModule(QStringLiteral("Second"));
    EXPECT_EQ(form.cboModules()->count(), 3);
    EXPECT_EQ(form.cboModules()->currentText(), QStringLiteral("First"));

    form.done(QDialog::Rejected);
    EXPECT_EQ(storedSettings().Modules().Count(), 2) << "the modules reach the file when the dialog closes";
}

// A settings file that isn't what it should be: the user is told, the dialog opens with the
// defaults, and closing it writes a sound file.
TEST_F(DocGenWindowsTest, DamagedSettingsFileGivesTheDefaults) {
    WriteText(DocGenProject::SettingsFileName(projectName()), QStringLiteral("<ModuleManager><Settings"));
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    ASSERT_EQ(boxes().size(), 1);
    EXPECT_TRUE(form.optComplete()->isChecked());
    EXPECT_EQ(form.cboType()->currentText(), QStringLiteral("HTML"));
    EXPECT_EQ(form.cboModules()->count(), 1);
    form.done(QDialog::Rejected);
    prompts->Clear();
    EXPECT_EQ(storedSettings().DocumentType, DocGenTypes::Html);
    EXPECT_TRUE(boxes().isEmpty()) << "the file written on closing reads again";
}

// Settings that can't be written: the user chooses between staying and closing without them.
TEST_F(DocGenWindowsTest, UnwritableSettingsLetTheUserStay) {
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    // A folder where the file should be: no write can replace it.
    QFile::remove(form.SettingsFileName());
    ASSERT_TRUE(QDir().mkpath(form.SettingsFileName()));
    form.show();
    prompts->QueueAnswer(Prompt::Answer::No);
    click(form.cmdClose());
    EXPECT_TRUE(form.isVisible());
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Document Settings"));
    prompts->QueueAnswer(Prompt::Answer::Yes);
    click(form.cmdClose());
    EXPECT_FALSE(form.isVisible());
}

// The main window's command opens the start dialog for the open project, with the help topic of
// the settings.
TEST_F(DocGenWindowsTest, MainWindowCommandOpensTheStartDialog) {
    mdiMain window;
    window.SetDispatch(dispatch.get());
    QList<long> topics;
    window.Factories().Help = [&](QWidget*, long topic) { topics << topic; };
    DocGenWindows::Install(window);
    ASSERT_TRUE(window.Factories().DocumentGenerator);

    ModalAnswerOf<frmDocumentGenerationStart> answer([&](frmDocumentGenerationStart* form) {
        EXPECT_EQ(form->SettingsFileName(), DocGenProject::SettingsFileName(projectName()));
        QTest::keyClick(form, Qt::Key_F1);
        form->txtDocumentName()->setText(folder.Path(QStringLiteral("typed.html")));
        click(form->cmdClose());
    });
    window.Factories().DocumentGenerator(database, &window);
    EXPECT_TRUE(answer.Answered());
    EXPECT_EQ(topics, QList<long>{DocGenHelp::Settings});
    EXPECT_EQ(storedSettings().GenerateName, folder.Path(QStringLiteral("typed.html")));
}
