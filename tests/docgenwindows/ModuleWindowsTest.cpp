#include "DocGenWindowsFixture.h"

#include "DocGenWindowSupport.h"
#include "frmModuleMaint.h"
#include "frmModuleManager.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

namespace {

QStringList listed(const QListWidget* list) {
    QStringList names;
    for (int i = 0; i < list->count(); ++i)
        names << list->item(i)->text();
    return names;
}

QStringList fileNames(const DocGenModule& module) {
    QStringList names;
    for (const auto& file : module.Files())
        names << file->FileName();
    return names;
}

QList<int> selectedRows(const QTreeWidget* list) {
    QList<int> rows;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        if (list->topLevelItem(i)->isSelected())
            rows << i;
    return rows;
}

void click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton);
}

} // namespace

// A module made in the manager through its dialog with the pattern chooser, edited, a second one
// made and the first removed: the list, the manager's answer and the modules in memory follow each
// step, and the module keeps its files as full names under a path that ends in "/".
TEST_F(DocGenWindowsTest, ManagerMakesEditsAndRemovesModules) {
    DocGenProject settings;
    frmModuleManager manager;
    manager.Load(settings);
    manager.show();
    EXPECT_FALSE(manager.cmdEdit()->isEnabled()) << "nothing to edit in an empty list";

    {
        ModalAnswerOf<frmModuleMaint> answer([&](frmModuleMaint* form) {
            EXPECT_EQ(form->windowTitle(), QStringLiteral("New Module ..."));
            form->txtName()->setText(QStringLiteral("  Web Shop "));
            form->txtCreatedBy()->setText(QStringLiteral("ana"));
            form->txtDescription()->setPlainText(QStringLiteral("line one\nline two"));
            prompts->QueueFile(shop());
            click(form->cmdBrowse());
            prompts->QueueFile(shop());
            prompts->QueueText(QStringLiteral("*.php; *.INC"));
            click(form->cmdAddMatching());
            EXPECT_FALSE(form->fraError()->isVisibleTo(form));
            Screenshot(form, QStringLiteral("docgenwindows-module"));
            click(form->cmdSave());
        });
        click(manager.cmdNew());
        ASSERT_TRUE(answer.Answered());
    }
    ASSERT_EQ(settings.Modules().Count(), 1);
    const DocGenModule& made = settings.Modules().Item(1);
    EXPECT_EQ(made.Name, QStringLiteral("Web Shop"));
    EXPECT_EQ(made.CreatedBy, QStringLiteral("ana"));
    EXPECT_EQ(made.Description, QStringLiteral("line one\r\nline two"));
    EXPECT_EQ(made.Path, QDir(shop()).absolutePath() + QLatin1Char('/'));
    EXPECT_EQ(fileNames(made), QStringList({QDir::cleanPath(shop(QStringLiteral("lib/customers.inc"))),
                                            QDir::cleanPath(shop(QStringLiteral("orders.php")))}))
        << "every subfolder is searched, the pattern's case is ignored, readme.txt doesn't match";
    EXPECT_EQ(listed(manager.lstModules()), QStringList{QStringLiteral("Web Shop")});
    EXPECT_EQ(manager.Result(), QStringLiteral("Web Shop"));

    {
        ModalAnswerOf<frmModuleMaint> answer([&](frmModuleMaint* form) {
            EXPECT_EQ(form->windowTitle(), QStringLiteral("Edit Module ..."));
            EXPECT_EQ(form->txtDescription()->toPlainText(), QStringLiteral("line one\nline two"));
            EXPECT_FALSE(form->Changed()) << "loading is no change";
            form->txtName()->setText(QStringLiteral("Shop"));
            prompts->QueueFile(shop(QStringLiteral("readme.txt")));
            click(form->cmdAdd());
            prompts->QueueFile(shop(QStringLiteral("README.TXT")));
            click(form->cmdAdd());
            click(form->cmdSave());
        });
        // The double click's signal: the offscreen platform doesn't make one of two clicks.
        emit manager.lstModules()->itemDoubleClicked(manager.lstModules()->item(0));
        ASSERT_TRUE(answer.Answered());
    }
    EXPECT_EQ(settings.Modules().Item(1).Files().Count(), 3) << "a file already listed is not added twice";
    EXPECT_EQ(manager.Result(), QStringLiteral("Shop"));

    {
        ModalAnswerOf<frmModuleMaint> answer([&](frmModuleMaint* form) {
            form->txtName()->setText(QStringLiteral("Back Office"));
            form->txtPath()->setText(shop());
            form->AddFiles({shop(QStringLiteral("readme.txt"))});
            click(form->cmdSave());
        });
        click(manager.cmdNew());
    }
    EXPECT_EQ(listed(manager.lstModules()),
              QStringList({QStringLiteral("Shop"), QStringLiteral("Back Office")}));
    EXPECT_EQ(manager.lstModules()->currentRow(), 1) << "the new module is selected";

    manager.lstModules()->setCurrentRow(0);
    click(manager.cmdRemove());
    EXPECT_EQ(listed(manager.lstModules()), QStringList{QStringLiteral("Back Office")});
    EXPECT_EQ(settings.Modules().Item(1).Index, 1) << "the modules behind are numbered anew";
    EXPECT_TRUE(manager.Result().isEmpty()) << "Remove came after the last save";
    EXPECT_TRUE(boxes().isEmpty()) << boxes().join(QLatin1Char('\n')).toStdString();
}

// Each fault of the Save button in its order, each with its message and the focus where the user
// mends it; files that are missing are flagged in the list and may be saved after a Yes.
TEST_F(DocGenWindowsTest, ModuleDialogChecksBeforeSaving) {
    DocGenProject settings;
    settings.Modules().Add().Name = QStringLiteral("Taken");
    frmModuleMaint form;
    form.Load(settings, 0);

    const auto saveFails = [&](const QString& message, QWidget* focus) {
        prompts->Clear();
        EXPECT_FALSE(form.Save());
        EXPECT_EQ(boxes(), QStringList{QStringLiteral("Invalid Data: ") + message});
        EXPECT_EQ(prompts->Records().value(0).icon, Prompt::Icon::Exclamation);
        EXPECT_EQ(form.focusWidget(), focus) << message.toStdString();
    };
    form.txtName()->setText(QStringLiteral("   "));
    saveFails(QStringLiteral("Module Name is missing!"), form.txtName());
    form.txtName()->setText(QStringLiteral("taken"));
    saveFails(QStringLiteral("A Module with this name already exists!"), form.txtName());
    form.txtName()->setText(QStringLiteral("Web Shop"));
    saveFails(QStringLiteral("Primary module path is missing!"), form.cmdBrowse());
    form.txtPath()->setText(shop(QStringLiteral("gone")));
    saveFails(QStringLiteral("The specified Primary module path does not exist!"), form.cmdBrowse());
    form.txtPath()->setText(shop());
    saveFails(QStringLiteral("At least one File must be specified!"), form.cmdAdd());

    const QString gone = shop(QStringLiteral("gone.php"));
    form.AddFiles({shop(QStringLiteral("orders.php")), gone});
    EXPECT_TRUE(form.fraError()->isVisibleTo(&form));
    EXPECT_EQ(form.fraError()->Text(), QStringLiteral("Some of the files listed do not exist!"));
    EXPECT_TRUE(form.lvwFiles()->topLevelItem(1)->font(0).italic()) << "the missing row is marked";
    EXPECT_FALSE(form.lvwFiles()->topLevelItem(0)->font(0).italic());
    Screenshot(&form, QStringLiteral("docgenwindows-module-missing"));
    {
        DarkPalette dark(&form);
        Screenshot(&form, QStringLiteral("docgenwindows-module-missing-dark"));
    }

    prompts->Clear();
    prompts->QueueAnswer(Prompt::Answer::No);
    EXPECT_FALSE(form.Save());
    EXPECT_EQ(boxes(),
              QStringList{QStringLiteral("Save Anyway?: Some of the files listed do not exist! Would you "
                                         "like to save the modules details anyway?")});
    EXPECT_EQ(selectedRows(form.lvwFiles()), QList<int>{1}) << "the missing file is selected for removal";
    EXPECT_EQ(form.focusWidget(), form.cmdRemove());
    EXPECT_EQ(settings.Modules().Count(), 1);

    prompts->QueueAnswer(Prompt::Answer::Yes);
    EXPECT_TRUE(form.Save());
    ASSERT_EQ(settings.Modules().Count(), 2);
    EXPECT_EQ(fileNames(settings.Modules().Item(2)), QStringList({shop(QStringLiteral("orders.php")), gone}))
        << "a missing file is kept, for it may come back";

    // Removing the missing row takes the warning away.
    form.Load(settings, 2);
    form.lvwFiles()->topLevelItem(1)->setSelected(true);
    click(form.cmdRemove());
    EXPECT_FALSE(form.fraError()->isVisibleTo(&form));
    EXPECT_EQ(form.FileNames(), QStringList{shop(QStringLiteral("orders.php"))});
    EXPECT_EQ(prompts->Unanswered(), 0);
}

// Cancel with changes asks first and No keeps everything typed; without changes nothing is asked.
// A cancelled chooser adds nothing.
TEST_F(DocGenWindowsTest, ModuleDialogAsksBeforeDiscardingChanges) {
    DocGenProject settings;
    frmModuleMaint form;
    form.Load(settings, 0);
    form.show();
    click(form.cmdAdd());
    click(form.cmdBrowse());
    EXPECT_EQ(form.lvwFiles()->topLevelItemCount(), 0);
    EXPECT_TRUE(form.txtPath()->text().isEmpty());
    EXPECT_FALSE(form.Changed()) << "choosers that were cancelled change nothing";

    form.txtName()->setText(QStringLiteral("Draft"));
    prompts->Clear();
    prompts->QueueAnswer(Prompt::Answer::No);
    click(form.cmdCancel());
    EXPECT_EQ(boxes(),
              QStringList{QStringLiteral(
                  "Discard Changes?: Changes have been made! Would you like to discard these changes?")});
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(form.txtName()->text(), QStringLiteral("Draft"));

    prompts->QueueAnswer(Prompt::Answer::Yes);
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(settings.Modules().Count(), 0);

    form.Load(settings, 0);
    form.show();
    prompts->Clear();
    click(form.cmdCancel());
    EXPECT_FALSE(form.isVisible());
    EXPECT_TRUE(boxes().isEmpty());
}

// Help: both module dialogs show the modules' topic.
TEST_F(DocGenWindowsTest, ModuleDialogsShowTheirHelpTopic) {
    QList<long> topics;
    const auto help = [&](QWidget*, long topic) { topics << topic; };
    DocGenProject settings;
    frmModuleManager manager;
    manager.SetHelp(help);
    manager.Load(settings);
    QTest::keyClick(&manager, Qt::Key_F1);
    {
        ModalAnswerOf<frmModuleMaint> answer(
            [&](frmModuleMaint* form) { QTest::keyClick(form, Qt::Key_F1); });
        click(manager.cmdNew());
    }
    EXPECT_EQ(topics, QList<long>({DocGenHelp::Modules, DocGenHelp::Modules}));
}

// The pattern chooser's own rules: several patterns with any separator, every subfolder, a sorted
// answer, and all files when no pattern is given.
TEST_F(DocGenWindowsTest, FilesMatchingPatterns) {
    using DocGenWindowSupport::FilesMatching;
    EXPECT_EQ(FilesMatching(shop(), QStringLiteral("*.txt,*.php")),
              QStringList({QDir::cleanPath(shop(QStringLiteral("orders.php"))),
                           QDir::cleanPath(shop(QStringLiteral("readme.txt")))}));
    EXPECT_EQ(FilesMatching(shop(), QStringLiteral(" ")).size(), 3);
    EXPECT_TRUE(FilesMatching(shop(), QStringLiteral("*.cs")).isEmpty());
}
