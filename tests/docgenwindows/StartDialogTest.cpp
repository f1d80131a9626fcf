#include "DocGenWindowsFixture.h"

#include "DocGenWindowSupport.h"
#include "frmDocumentGenerationProgress.h"
#include "frmDocumentGenerationStart.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

namespace {

const QString generated = QStringLiteral("Document Generated: Document has been successfully generated!");

void click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton);
}

void chooseType(frmDocumentGenerationStart& form, const QString& key) {
    form.cboType()->setCurrentIndex(form.cboType()->findData(key));
}

void chooseModule(frmDocumentGenerationStart& form, const QString& name) {
    form.cboModules()->setCurrentIndex(form.cboModules()->findText(name));
}

QStringList column(const QTreeWidget* list, int column) {
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        texts << list->topLevelItem(i)->text(column);
    return texts;
}

} // namespace

// The four documents from the dialog: complete and module, HTML and Word. Each run ends with the
// success message, and each file holds what it documents: every object for the complete one, the
// module's files and the objects they use for the module one.
TEST_F(DocGenWindowsTest, GeneratesBothDocumentsInBothFormats) {
    saveSettings();
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());

    const auto run = [&](bool module, const QString& type, const QString& name) {
        prompts->Clear();
        (module ? form.optModule() : form.optComplete())->setChecked(true);
        if (module)
            chooseModule(form, QStringLiteral("Web Shop"));
        chooseType(form, type);
        form.txtDocumentName()->setText(folder.Path(name));
        click(form.cmdGenerate());
        EXPECT_EQ(boxes(), QStringList{generated}) << name.toStdString();
        EXPECT_EQ(prompts->BusyDepth(), 0);
        return folder.Path(name);
    };

    const QString allHtml = ReadText(run(false, DocGenTypes::Html, QStringLiteral("all.html")));
    EXPECT_TRUE(allHtml.contains(QStringLiteral("<h1>Database Object Documentation</h1>")));
    for (const char* name :
         {"GetCustomerOrders", "AddOrder", "CustomerTotal", "CustomerSummary", "Orders_Insert"})
        EXPECT_TRUE(allHtml.contains(QLatin1String(name))) << name;

    form.chkObjectSummary()->setChecked(true);
    const QString moduleHtml = ReadText(run(true, DocGenTypes::Html, QStringLiteral("shop.html")));
    EXPECT_TRUE(moduleHtml.contains(QStringLiteral("<h1>Module &quot;Web Shop&quot;</h1>")));
    EXPECT_TRUE(moduleHtml.contains(QStringLiteral("<h2>Summary of Objects used</h2>")));
    EXPECT_TRUE(moduleHtml.contains(QStringLiteral("lib:customers.inc:")))
        << "the file below the module path";
    EXPECT_TRUE(moduleHtml.contains(QStringLiteral("Shop &lt;2&gt;")));
    for (const char* name : {"AddOrder", "CustomerSummary", "GetCustomerOrders"})
        EXPECT_TRUE(moduleHtml.contains(QLatin1String(name))) << name;
    EXPECT_FALSE(moduleHtml.contains(QLatin1String("CustomerTotal"))) << "no file uses it";

    const QString allWord = DocxBody(run(false, DocGenTypes::Word, QStringLiteral("all.docx")));
    EXPECT_TRUE(allWord.contains(QStringLiteral("Database Object Documentation")));
    for (const char* name :
         {"GetCustomerOrders", "AddOrder", "CustomerTotal", "CustomerSummary", "Orders_Insert"})
        EXPECT_TRUE(allWord.contains(QLatin1String(name))) << name;

    const QString moduleWord = DocxBody(run(true, DocGenTypes::Word, QStringLiteral("shop.docx")));
    EXPECT_TRUE(moduleWord.contains(QStringLiteral("Web Shop")));
    EXPECT_TRUE(moduleWord.contains(QStringLiteral("customers.inc")));
    EXPECT_TRUE(moduleWord.contains(QStringLiteral("GetCustomerOrders")));
    EXPECT_FALSE(moduleWord.contains(QLatin1String("CustomerTotal")));

    EXPECT_TRUE(form.isEnabled()) << "the dialog stays for a further run";
}

// Every check of Generate Document in its order, each with its message and the focus where the
// user mends it; a No to a question ends the click and writes nothing.
TEST_F(DocGenWindowsTest, GenerateChecksBeforeARun) {
    const QString gone = shop(QStringLiteral("gone.php"));
    saveSettings({gone});
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    const auto refused = [&](const QString& box, QWidget* focus) {
        EXPECT_FALSE(form.Generate());
        EXPECT_EQ(boxes(), QStringList{box});
        EXPECT_EQ(form.focusWidget(), focus) << box.toStdString();
        prompts->Clear();
    };

    form.optModule()->setChecked(true);
    refused(QStringLiteral("Invalid Data: No Module has been selected!"), form.cboModules());
    chooseModule(form, QStringLiteral("Web Shop"));
    form.txtDocumentName()->setText(QStringLiteral("  "));
    refused(QStringLiteral("Invalid Data: No File Name has been specified!"), form.cmdBrowse());

    const QString old = folder.Path(QStringLiteral("old.html"));
    WriteText(old, QStringLiteral("kept"));
    form.txtDocumentName()->setText(old);
    prompts->QueueAnswer(Prompt::Answer::No);
    refused(
        QStringLiteral("Overwrite File?: The specified File Name already exists. Would you like to Overwrite "
                       "the file?"),
        form.cmdBrowse());

    chooseType(form, DocGenTypes::Word);
    form.txtDocumentName()->setText(folder.Path(QStringLiteral("shop.docx")));
    form.txtTemplate()->setText(folder.Path(QStringLiteral("missing.dotx")));
    refused(QStringLiteral("Invalid Data: The Word Template file specified does not exist!"),
            form.cmdBrowseTemplate());

    // A template name left in the field doesn't stop an HTML run.
    chooseType(form, DocGenTypes::Html);
    EXPECT_EQ(form.txtDocumentName()->text(), old);
    prompts->QueueAnswer(Prompt::Answer::Yes);
    prompts->QueueAnswer(Prompt::Answer::No);
    EXPECT_FALSE(form.Generate());
    EXPECT_EQ(boxes().value(1),
              QStringLiteral("Continue Anyway?: WARNING: Some of the files assigned to this module "
                             "no longer exist! Are you sure you would like to continue?"));
    EXPECT_EQ(form.focusWidget(), form.cmdOpen());
    EXPECT_EQ(ReadText(old), QStringLiteral("kept"));
    prompts->Clear();

    prompts->QueueAnswer(Prompt::Answer::Yes);
    prompts->QueueAnswer(Prompt::Answer::Yes);
    EXPECT_TRUE(form.Generate());
    EXPECT_EQ(boxes().value(2), generated);
    EXPECT_TRUE(ReadText(old).contains(QStringLiteral("orders.php:")));
    EXPECT_TRUE(ReadText(old).contains(QStringLiteral("gone.php:"))) << "a missing file counts as empty";
}

// A run that can't write its document says why, in the one message of a failed run, and the dialog
// stays with everything the user set, for a run to a better place.
TEST_F(DocGenWindowsTest, FailedRunTellsWhyAndTheDialogStays) {
    saveSettings();
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    // Below a plain file there can be no file, whoever runs the test.
    WriteText(folder.Path(QStringLiteral("plain")), QStringLiteral("x"));
    for (const QString& type : {DocGenTypes::Html, DocGenTypes::Word}) {
        prompts->Clear();
        chooseType(form, type);
        form.txtDocumentName()->setText(folder.Path(QStringLiteral("plain/out")));
        EXPECT_FALSE(form.Generate());
        ASSERT_EQ(prompts->Records().size(), 1);
        const auto& box = prompts->Records().first();
        EXPECT_EQ(box.title, QStringLiteral("Document Generation Aborted"));
        EXPECT_EQ(box.icon, Prompt::Icon::Critical);
        EXPECT_TRUE(box.text.startsWith(QStringLiteral("An error occured: "))) << box.text.toStdString();
        EXPECT_TRUE(box.text.endsWith(QStringLiteral("\r\n\r\nDocument could not be generated!")));
        EXPECT_GT(box.text.size(),
                  QStringLiteral("An error occured: \r\n\r\nDocument could not be generated!").size())
            << "the reason is told";
        EXPECT_EQ(form.txtDocumentName()->text(), folder.Path(QStringLiteral("plain/out")));
    }
    prompts->Clear();
    form.txtDocumentName()->setText(folder.Path(QStringLiteral("out.docx")));
    EXPECT_TRUE(form.Generate());
    EXPECT_FALSE(DocxBody(folder.Path(QStringLiteral("out.docx"))).isEmpty());
}

// Cancel during a run, by the button and by Escape, in a complete and in a module run: the run
// stops, nothing is written and nothing is said; the dialog is ready for the next run.
TEST_F(DocGenWindowsTest, CancelDuringTheRunWritesNothing) {
    saveSettings();
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    QString stopAt;
    bool byEscape = false;
    QStringList started;
    form.SetProgressWatcher([&](frmDocumentGenerationProgress& progress) {
        QObject::connect(&progress, &frmDocumentGenerationProgress::StepStarted, &progress,
                         [&, window = &progress](const QString& key) {
                             started << key;
                             if (key != stopAt)
                                 return;
                             if (byEscape)
                                 QTest::keyClick(window, Qt::Key_Escape);
                             else
                                 click(window->cmdCancel());
                             EXPECT_TRUE(window->isVisible()) << "the window waits for the run to stop";
                         });
    });

    const auto cancelled = [&](bool module, const QString& key, bool escape, const QString& name) {
        started.clear();
        stopAt = key;
        byEscape = escape;
        prompts->Clear();
        (module ? form.optModule() : form.optComplete())->setChecked(true);
        chooseModule(form, QStringLiteral("Web Shop"));
        form.txtDocumentName()->setText(folder.Path(name));
        EXPECT_FALSE(form.Generate());
        EXPECT_FALSE(QFile::exists(folder.Path(name))) << name.toStdString();
        EXPECT_TRUE(boxes().isEmpty()) << boxes().join(QLatin1Char('\n')).toStdString();
        EXPECT_TRUE(started.contains(key));
        EXPECT_FALSE(started.contains(QStringLiteral("END"))) << "the run stopped before its last step";
    };
    cancelled(false, QStringLiteral("START"), false, QStringLiteral("all.html"));
    cancelled(true, QStringLiteral("FILES"), true, QStringLiteral("shop.html"));
    chooseType(form, DocGenTypes::Word);
    cancelled(false, QStringLiteral("START"), true, QStringLiteral("all.docx"));

    stopAt.clear();
    prompts->Clear();
    EXPECT_TRUE(form.Generate());
    EXPECT_EQ(boxes(), QStringList{generated});
}

// The progress window: one row per step, numbered from 1, all waiting but the first when the run
// begins; before the last step every other one is completed; F1 shows the run's help topic.
TEST_F(DocGenWindowsTest, ProgressWindowFollowsTheSteps) {
    saveSettings();
    frmDocumentGenerationStart form;
    form.Load(objects(), projectName());
    QList<long> topics;
    form.SetHelp([&](QWidget*, long topic) { topics << topic; });
    frmDocumentGenerationProgress* shown = nullptr;
    QStringList steps, statusAtStart, statusAtEnd;
    form.SetProgressWatcher([&](frmDocumentGenerationProgress& progress) {
        shown = &progress;
        QObject::connect(&progress, &frmDocumentGenerationProgress::StepStarted, &progress,
                         [&, window = &progress](const QString& key) {
                             if (steps.isEmpty()) {
                                 steps = column(window->lvwSteps(), 1);
                                 statusAtStart = column(window->lvwSteps(), 2);
                             }
                             if (key != QStringLiteral("END"))
                                 return;
                             QTest::keyClick(window, Qt::Key_F1);
                             statusAtEnd = column(window->lvwSteps(), 2);
                             EXPECT_EQ(window->windowTitle(), QStringLiteral("Generating Documentation ..."));
                             EXPECT_TRUE(window->cmdCancel()->isEnabled());
                             Screenshot(window, QStringLiteral("docgenwindows-progress"));
                             DarkPalette dark(window);
                             Screenshot(window, QStringLiteral("docgenwindows-progress-dark"));
                         });
    });
    form.optModule()->setChecked(true);
    chooseModule(form, QStringLiteral("Web Shop"));
    form.chkObjectSummary()->setChecked(true);
    form.txtDocumentName()->setText(folder.Path(QStringLiteral("shop.html")));
    ASSERT_TRUE(form.Generate());
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(topics, QList<long>{DocGenHelp::Run});

    ASSERT_GE(steps.size(), 3);
    EXPECT_TRUE(steps.first().startsWith(QStringLiteral("Step 1 - Find all ")));
    EXPECT_EQ(steps.last(), QStringLiteral("Step %1 - Save Document").arg(steps.size()));
    EXPECT_EQ(statusAtStart.first(), QStringLiteral("Initialising"));
    EXPECT_EQ(statusAtStart.count(QStringLiteral("Not Started")), statusAtStart.size() - 1);
    ASSERT_FALSE(statusAtEnd.isEmpty());
    EXPECT_EQ(statusAtEnd.last(), QStringLiteral("Initialising"));
    EXPECT_EQ(statusAtEnd.count(QStringLiteral("Completed")), statusAtEnd.size() - 1);
}
