// The pages of the wizard: what each one refuses, where Back and Next lead, the help topic of each
// page, and mnemonics that don't collide.
#include "ScriptWizardFixture.h"

#include "ScriptObjectChecklist.h"
#include "ScriptSteps.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSet>
#include <QTest>

namespace {

const QString invalid = QStringLiteral("Invalid Data: ");

} // namespace

TEST_F(ScriptWizardTest, FirstPageAsksForAModeAndLeadsToTheModesOwnPages) {
    EXPECT_EQ(form->windowTitle(), QStringLiteral("Script Generation ..."));
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Start);
    EXPECT_EQ(form->SelectedMode(), 0);
    EXPECT_FALSE(form->cmdBack->isEnabled());
    EXPECT_FALSE(form->cmdFinished->isEnabled());
    EXPECT_TRUE(form->cmdNext->isDefault());

    next();
    EXPECT_EQ(messages(),
              QStringList{invalid + "Please specify the Type of script you would like to create!"});
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Start);

    chooseMode(1);
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::VSS);
    EXPECT_TRUE(form->cmdBack->isEnabled());
    EXPECT_TRUE(form->cmdNext->isEnabled());
    EXPECT_FALSE(form->cmdFinished->isEnabled());
    EXPECT_EQ(form->focusWidget(), form->dtpFrom);
    back();
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Start);

    chooseMode(2);
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::AnotherDB);
    EXPECT_EQ(form->focusWidget(), form->txtSQLServer);
    back();
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::Start);
    EXPECT_EQ(form->focusWidget(), form->optType[1]);
}

// The four checks of the time frame come in their order, each with the focus on the field at fault,
// and none of them leaves the page.
TEST_F(ScriptWizardTest, TimeFrameChecksComeInOrderWithTheFocusOnTheField) {
    chooseMode(1);
    const QDateTime none = form->dtpFrom->minimumDateTime();
    const QDateTime noon(QDate(2024, 3, 1), QTime(12, 0, 0));
    form->chkUntil->setChecked(false);
    form->dtpFrom->setDateTime(none);
    form->dtpUntil->setDateTime(none);

    struct Case {
        QDateTime from, until;
        bool today;
        QString message;
        QWidget* field;
    };
    const Case cases[] = {
        {none, noon, false, QStringLiteral("No From date specified!"), form->dtpFrom},
        {noon, none, false, QStringLiteral("No Until date specified!"), form->dtpUntil},
        {noon, noon.addSecs(-1), false, QStringLiteral("Until date must be after From date!"),
         form->dtpUntil},
        {QDateTime::currentDateTime().addDays(2), none, true,
         QStringLiteral("From date must be in the past!"), form->dtpFrom},
    };
    for (const Case& c : cases) {
        prompts->Clear();
        form->dtpFrom->setDateTime(c.from);
        form->dtpUntil->setDateTime(c.until);
        form->chkUntil->setChecked(c.today);
        form->cmdBack->setFocus();
        next();
        EXPECT_EQ(messages(), QStringList{invalid + c.message});
        EXPECT_EQ(form->focusWidget(), c.field) << qPrintable(c.message);
        EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::VSS);
    }

    // "Today" stands for the end of the frame: the Until picker and its label can't be used.
    form->chkUntil->setChecked(true);
    EXPECT_FALSE(form->dtpUntil->isEnabled());
    EXPECT_FALSE(form->lblUntil->isEnabled());
    form->chkUntil->setChecked(false);
    EXPECT_TRUE(form->dtpUntil->isEnabled());
}

TEST_F(ScriptWizardTest, OtherDatabaseChecksComeInOrderAndTestTheConnection) {
    chooseMode(2);
    form->txtSQLServer->clear();
    next();
    EXPECT_EQ(messages(), QStringList{invalid + "Server is Missing!"});
    EXPECT_EQ(form->focusWidget(), form->txtSQLServer);

    // An embedded server isn't announced on the network: the list offers the project's own.
    QTest::mouseClick(form->cmdSQLServer, Qt::LeftButton);
    ASSERT_TRUE(form->cboSQLServer->isVisible());
    EXPECT_FALSE(form->txtSQLServer->isVisible());
    EXPECT_GE(form->cboSQLServer->findText(project->SQL().Server()), 0);
    next();
    EXPECT_EQ(form->focusWidget(), form->cboSQLServer);

    prompts->Clear();
    form->cboSQLServer->setEditText(project->SQL().Server());
    next();
    EXPECT_EQ(messages(), QStringList{invalid + "Username is Missing!"});
    EXPECT_EQ(form->focusWidget(), form->txtSQLUsername);

    // Windows authentication takes the place of the login and gives the fields back when cleared.
    form->chkUseWindowsAuth->setChecked(true);
    EXPECT_EQ(form->txtSQLUsername->text(), QStringLiteral("(Windows authentication)"));
    EXPECT_FALSE(form->txtSQLUsername->isEnabled());
    EXPECT_FALSE(form->txtSQLPassword->isEnabled());
    form->chkUseWindowsAuth->setChecked(false);
    EXPECT_EQ(form->txtSQLUsername->text(), QString());
    EXPECT_TRUE(form->txtSQLPassword->isEnabled());

    prompts->Clear();
    form->txtSQLUsername->setText(QStringLiteral("sa"));
    form->txtSQLPassword->setText(QStringLiteral("demo"));
    form->cboSQLDatabase->setEditText(QString());
    next();
    EXPECT_EQ(messages(), QStringList{invalid + "Database is Missing!"});
    EXPECT_EQ(form->focusWidget(), form->cboSQLDatabase);

    prompts->Clear();
    form->cboSQLDatabase->setEditText(QStringLiteral("NoSuchDatabase"));
    next();
    ASSERT_EQ(messages().size(), 1);
    EXPECT_TRUE(messages().first().startsWith(invalid +
                                              "Could not connect to specified database! The error was: \r\n"))
        << qPrintable(messages().first());
    EXPECT_EQ(form->focusWidget(), form->cboSQLDatabase);
    EXPECT_EQ(form->CurrentPage(), frmScriptCreator::Page::AnotherDB);
    // A failed test leaves no connection behind.
    EXPECT_FALSE(form->Creator()->SQLConnection().ConnectionOpen());
}

TEST_F(ScriptWizardTest, F1ShowsTheTopicOfThePage) {
    QList<long> topics;
    form->SetHelp([&topics](QWidget*, long topic) { topics << topic; });
    auto help = [this] { QTest::keyClick(form.get(), Qt::Key_F1); };
    help();
    chooseMode(1);
    help();
    back();
    chooseMode(2);
    help();
    back();
    chooseMode(3);
    help();
    EXPECT_EQ(topics, (QList<long>{62, 63, 64, 67}));
}

// Alt and a letter must reach one control: a letter used twice on a page (or by a page and one of
// the buttons under every page) would leave the second one out of reach.
TEST_F(ScriptWizardTest, NoMnemonicIsUsedTwiceOnAPage) {
    auto mnemonicOf = [](const QString& text) {
        const qsizetype at = text.indexOf(QLatin1Char('&'));
        return at >= 0 && at + 1 < text.size() ? text.at(at + 1).toLower() : QChar();
    };
    for (QFrame* page : {form->fraStart, form->fraVSS, form->fraAnotherDB, form->fraCustom, form->fraProgress,
                         form->fraFinish}) {
        QStringList texts;
        for (QPushButton* button : {form->cmdBack, form->cmdNext, form->cmdFinished, form->cmdCancel})
            texts << button->text();
        for (QLabel* label : page->findChildren<QLabel*>())
            if (label->buddy())
                texts << label->text();
        for (QAbstractButton* button : page->findChildren<QAbstractButton*>())
            texts << button->text();
        QSet<QChar> seen;
        for (const QString& text : texts) {
            const QChar letter = mnemonicOf(text);
            if (letter.isNull())
                continue;
            EXPECT_FALSE(seen.contains(letter)) << qPrintable(page->objectName()) << ": " << qPrintable(text);
            seen.insert(letter);
        }
    }
}

// Pictures of every page, in the normal and in a dark palette, for a person to look at.
TEST_F(ScriptWizardTest, Screenshots) {
    if (qEnvironmentVariableIsEmpty("TARMO_SCREENSHOTS"))
        GTEST_SKIP() << "TARMO_SCREENSHOTS is not set";
    const QPalette normal = QApplication::palette();
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(45, 45, 48));
    dark.setColor(QPalette::WindowText, QColor(220, 220, 220));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    dark.setColor(QPalette::AlternateBase, QColor(45, 45, 48));
    dark.setColor(QPalette::Text, QColor(220, 220, 220));
    dark.setColor(QPalette::Button, QColor(60, 60, 64));
    dark.setColor(QPalette::ButtonText, QColor(220, 220, 220));
    dark.setColor(QPalette::Highlight, QColor(38, 79, 120));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? dark : normal);
        openWizard();
        const QString suffix = isDark ? QStringLiteral("-dark") : QString();
        form->optType[3]->setChecked(true);
        Screenshot(form.get(), QStringLiteral("script-start") + suffix);
        chooseMode(1);
        Screenshot(form.get(), QStringLiteral("script-timeframe") + suffix);
        back();
        chooseMode(2);
        form->chkUseWindowsAuth->setChecked(true);
        form->fraSQLError->show();
        form->lblSQLServerErrorLabel->setText(QStringLiteral(
            "The database list could not be filled due to the following error:\r\nLogin failed."));
        Screenshot(form.get(), QStringLiteral("script-compare") + suffix);
        back();
        chooseMode(4);
        form->lvwItems->topLevelItem(1)->setCheckState(0, Qt::Checked);
        Screenshot(form.get(), QStringLiteral("script-custom") + suffix);
        next();
        finish();
        Screenshot(form.get(), QStringLiteral("script-destination") + suffix);
        // The steps can only be seen while a run goes: the picture is taken from inside it.
        back();
        back();
        whileRunning([&] { Screenshot(form.get(), QStringLiteral("script-steps") + suffix); });
        chooseMode(3);
    }
    QApplication::setPalette(normal);
}
