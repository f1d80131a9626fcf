#include "ModalAnswer.h"
#include "ScriptedPrompts.h"
#include "TARMODatabase.h"
#include "TestSupport.h"
#include "frmComment.h"
#include "frmEditObjectTextSavePrompt.h"
#include "frmItemDescription.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

namespace {
QStringList captions(frmEditObjectTextSavePrompt* prompt) {
    QStringList texts;
    for (QRadioButton* option : prompt->opt())
        texts << option->text() + QLatin1Char('=') + QString::number(option->property("tag").toLongLong()) +
                     (option->isChecked() ? QStringLiteral("*") : QString());
    return texts;
}
} // namespace

class EditPromptsTest : public ::testing::Test {
protected:
    IsolatedUserFolders folders;
    ScriptedPromptsScope prompts;
    TARMODatabase database;
};

// The setting silences the question only where a default fits the kind of object.
TEST_F(EditPromptsTest, TheClosingQuestionAppearsUnlessAFittingDefaultStands) {
    struct Case {
        bool isNew;
        bool ask;
        long stored;
        bool dialog;
        long silentResult;
    };
    const Case cases[] = {
        {false, false, 1, false, 1}, {false, false, 5, false, 5}, {false, false, 3, true, 0},
        {true, false, 3, false, 3},  {true, false, 4, true, 0},   {true, true, 1, true, 0},
        {false, true, 2, true, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "new " << c.isNew << " ask " << c.ask << " default " << c.stored);
        if (c.isNew) {
            database.SetShowSaveChangesNew(c.ask);
            database.SetSaveChangesNewDefault(c.stored);
        } else {
            database.SetShowSaveChangesEdit(c.ask);
            database.SetSaveChangesEditDefault(c.stored);
        }
        QStringList shown;
        ModalAnswer asked([&](QDialog* dialog) {
            auto* prompt = qobject_cast<frmEditObjectTextSavePrompt*>(dialog);
            ASSERT_NE(prompt, nullptr);
            shown = captions(prompt);
            prompt->cmdCancel()->click();
        });
        const long result = frmEditObjectTextSavePrompt::ChangesMade(database, c.isNew);
        QCoreApplication::processEvents();
        EXPECT_EQ(asked.Answered(), c.dialog);
        EXPECT_EQ(result, c.dialog ? 0 : c.silentResult);
        if (c.dialog) {
            const bool fits = frmEditObjectTextSavePrompt::ActionsFor(c.isNew).contains(c.stored);
            EXPECT_EQ(shown.filter(QStringLiteral("*")).size(), fits ? 1 : 0) << qPrintable(shown.join(' '));
        }
    }
}

TEST_F(EditPromptsTest, TheOptionsFollowTheKindOfObjectAndOKNeedsAChoice) {
    frmEditObjectTextSavePrompt prompt;
    prompt.BuildOptions(false, 5);
    EXPECT_EQ(captions(&prompt), (QStringList{QStringLiteral("&Check In=1"), QStringLiteral("&Save Text=2"),
                                              QStringLiteral("&Undo Check Out=5*"),
                                              QStringLiteral("&Keep Checked Out and Discard Changes=4")}));
    prompt.BuildOptions(true, 0);
    EXPECT_EQ(captions(&prompt), (QStringList{QStringLiteral("&Check In=1"), QStringLiteral("&Save Text=2"),
                                              QStringLiteral("&Discard Changes=3")}))
        << "built again, the options of before are gone";
    EXPECT_EQ(prompt.windowTitle(), QStringLiteral("Action to take ..."));

    prompt.show();
    prompt.cmdOK()->click();
    EXPECT_TRUE(prompt.isVisible()) << "nothing selected: the dialog stays";
    ASSERT_EQ(prompts->Records().size(), 1);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Invalid Data"));
    EXPECT_EQ(prompts->Records().first().text, QStringLiteral("Nothing has been selected!"));
    prompt.opt().at(2)->setChecked(true);
    prompt.cmdOK()->click();
    EXPECT_EQ(prompt.Result(), 3);
    Screenshot(&prompt, QStringLiteral("frmEditObjectTextSavePrompt"));
}

TEST_F(EditPromptsTest, ClosingTheQuestionThroughItsFrameCancels) {
    database.SetShowSaveChangesEdit(true);
    database.SetSaveChangesEditDefault(1);
    ModalAnswer answer1([](QDialog* dialog) { dialog->close(); });
    EXPECT_EQ(frmEditObjectTextSavePrompt::ChangesMade(database, false), 0);
}

TEST_F(EditPromptsTest, ACommentMayBeEmptyButACancelStopsTheCheckIn) {
    QString comment = QStringLiteral("left over");
    ModalAnswer answer2([](QDialog* dialog) { static_cast<frmComment*>(dialog)->cmdOK()->click(); });
    EXPECT_TRUE(frmComment::GetComment(comment));
    EXPECT_EQ(comment, QString());

    ModalAnswer answer3([](QDialog* dialog) {
        auto* form = static_cast<frmComment*>(dialog);
        QTest::keyClicks(form->txtComment(), QStringLiteral("typed, then thought better of it"));
        form->cmdCancel()->click();
    });
    EXPECT_FALSE(frmComment::GetComment(comment));
    EXPECT_EQ(comment, QString());
}

TEST_F(EditPromptsTest, ABlankDescriptionIsAskedForAndKeptAsEntered) {
    QString description;
    bool firstTry = true;
    ModalAnswer answer4([&](QDialog* dialog) {
        auto* form = static_cast<frmItemDescription*>(dialog);
        EXPECT_EQ(form->txtDescription()->toPlainText(), QStringLiteral("old text"));
        form->txtDescription()->setPlainText(QStringLiteral("   "));
        prompts->QueueAnswer(Prompt::Answer::No);
        form->cmdOK()->click();
        firstTry = form->isVisible();
        prompts->QueueAnswer(Prompt::Answer::Yes);
        form->cmdOK()->click();
    });
    EXPECT_TRUE(frmItemDescription::GetDescription(QStringLiteral("old text"), description));
    EXPECT_TRUE(firstTry) << "No leaves the dialog open";
    EXPECT_EQ(description, QStringLiteral("   "));
    ASSERT_EQ(prompts->Records().size(), 2);
    EXPECT_EQ(prompts->Records().first().title, QStringLiteral("Save Blank Description"));

    ModalAnswer answer5([](QDialog* dialog) {
        auto* form = static_cast<frmItemDescription*>(dialog);
        form->txtDescription()->setFocus();
        QTest::keyClick(form->txtDescription(), Qt::Key_Escape);
        EXPECT_TRUE(form->isVisible()) << "Escape belongs to the text";
        form->cmdCancel()->click();
    });
    QString untouched = QStringLiteral("unchanged");
    EXPECT_FALSE(frmItemDescription::GetDescription(QStringLiteral("x"), untouched));
    EXPECT_EQ(untouched, QStringLiteral("unchanged"));
}
