#include "HelpFixture.h"
#include "HelpTopicTable.h"

#include <QDateTime>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QHelpEngine>
#include <QLineEdit>
#include <QTest>
#include <QTextDocument>
#include <QVBoxLayout>

namespace {

// A dialog with a text box that has the focus, as most windows with a topic are.
struct DialogWithText {
    explicit DialogWithText(long topic) {
        auto* layout = new QVBoxLayout(&dialog);
        layout->addWidget(text);
        InstallHelpKey(&dialog, topic);
        dialog.show();
        text->setFocus();
    }
    QDialog dialog;
    QLineEdit* text = new QLineEdit;
};

void copyManual(const QString& to) {
    QDir().mkpath(to);
    for (const char* name : {"TarmoHelp.qch", "TarmoHelp.qhc"})
        ASSERT_TRUE(QFile::copy(QStringLiteral(TARMO_MANUAL_DIR "/") + QLatin1String(name),
                                to + QLatin1Char('/') + QLatin1String(name)));
}

} // namespace

// Each topic lands on its page in the compiled manual and that page has the anchor, so F1 scrolls
// to the section the window is about; the page is read through the window's own browser (its
// title came through), and one window serves every call.
TEST_F(HelpTest, EveryTopicOpensItsPageAndAnchorInTheCompiledManual) {
    HelpWindow* first = nullptr;
    for (long id = 1; id <= static_cast<long>(kHelpTopicTable.size()); ++id) {
        SCOPED_TRACE(id);
        const QString topic = HelpIntegration::Topic(id);
        ASSERT_FALSE(topic.isEmpty());
        gHelp->ShowHelp(nullptr, id);
        ASSERT_NE(window(), nullptr) << qPrintable(prompts->Messages().join('\n'));
        if (!first)
            first = window();
        EXPECT_EQ(window(), first);
        EXPECT_EQ(shown(), HelpWindow::TopicUrl(topic));

        QUrl page = shown();
        const QString anchor = page.fragment();
        page.setFragment(QString());
        const QByteArray html = window()->Engine().fileData(page);
        ASSERT_FALSE(html.isEmpty()) << qPrintable(page.toString());
        if (!anchor.isEmpty()) {
            EXPECT_TRUE(html.contains("id=\"" + anchor.toUtf8() + '"')) << qPrintable(topic);
        }
        EXPECT_FALSE(window()->Browser()->documentTitle().isEmpty()) << qPrintable(topic);
    }
    EXPECT_TRUE(prompts->Records().isEmpty());
}

TEST_F(HelpTest, NoTopicOrAnUnknownOneOpensTheStartPage) {
    for (long id : {0L, -1L, 68L, 1000L}) {
        SCOPED_TRACE(id);
        EXPECT_TRUE(HelpIntegration::Topic(id).isEmpty());
        gHelp->ShowHelp(nullptr, 50);
        gHelp->ShowHelp(nullptr, id);
        EXPECT_EQ(shown(), HelpWindow::TopicUrl(QString()));
    }
    gHelp->ShowHelp(nullptr, 50);
    gHelp->ShowHelp(nullptr);
    EXPECT_EQ(shown().fileName(), HelpWindow::StartPage());
    EXPECT_FALSE(window()->Browser()->toPlainText().isEmpty());
}

// Without the manual (or with half of it) one key press gives one warning, no window, and the
// dialog goes on taking what the user types.
TEST_F(HelpTest, AMissingManualWarnsOnceAndLeavesTheWindowUsable) {
    const TempFolder empty;
    const TempFolder half;
    QFile::copy(QStringLiteral(TARMO_MANUAL_DIR "/TarmoHelp.qch"),
                half.Path(QStringLiteral("TarmoHelp.qch")));
    for (const QString& folder : {empty.Path(), half.Path()}) {
        SCOPED_TRACE(qPrintable(folder));
        gHelp = std::make_unique<HelpIntegration>(folder);
        ScriptedPromptsScope scripted;
        DialogWithText form(21);
        QTest::keyClick(form.text, Qt::Key_F1);
        ASSERT_EQ(scripted->Records().size(), 1);
        EXPECT_EQ(scripted->Records()[0].title, QStringLiteral("No help available!"));
        EXPECT_EQ(scripted->Records()[0].text, QStringLiteral("The help file is could not be found!"));
        EXPECT_EQ(scripted->Records()[0].icon, Prompt::Icon::Exclamation);
        EXPECT_EQ(window(), nullptr);
        QTest::keyClicks(form.text, QStringLiteral("usp_Orders"));
        EXPECT_EQ(form.text->text(), QStringLiteral("usp_Orders"));
        EXPECT_TRUE(form.dialog.isVisible());
    }
}

// The key is F1 alone: Shift+F1 is left to the window, and the topic is asked for when the key
// comes, so a window whose topic follows its state (the options' pages) shows the current one.
TEST_F(HelpTest, TheHelpKeyIsF1WithoutShiftAndAsksTheTopicWhenPressed) {
    QDialog dialog;
    auto* text = new QLineEdit(&dialog);
    long topic = 25;
    InstallHelpKey(&dialog, [&topic] { return topic; });
    dialog.show();
    text->setFocus();

    QTest::keyClick(text, Qt::Key_F1, Qt::ShiftModifier);
    EXPECT_EQ(window(), nullptr);
    QTest::keyClick(text, Qt::Key_F1);
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("Options.htm#General")));
    topic = 33;
    QTest::keyClick(text, Qt::Key_F1);
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("Options.htm#Permissions")));
    EXPECT_TRUE(prompts->Records().isEmpty());
}

// The collection the window writes to is the user's copy; when the program (and its manual) moves,
// the copy must follow it rather than go on naming the old place.
TEST_F(HelpTest, TheUsersCopyOfTheCollectionFollowsTheManualWhenItMoves) {
    const TempFolder programs;
    const QString before = programs.Path(QStringLiteral("before/help"));
    copyManual(before);
    gHelp = std::make_unique<HelpIntegration>(before);
    gHelp->ShowHelp(nullptr, 1);
    ASSERT_NE(window(), nullptr);
    EXPECT_TRUE(QFile::exists(folders.DataHome() + QStringLiteral("/tarmo/help/TarmoHelp.qhc")));
    EXPECT_FALSE(window()->Browser()->toPlainText().isEmpty());
    gHelp.reset();

    ASSERT_TRUE(QDir(programs.Path(QStringLiteral("before"))).removeRecursively());
    const QString after = programs.Path(QStringLiteral("after/help"));
    copyManual(after);
    // A user's copy newer than the shipped collection is kept as it is, so the registration inside
    // it, which still names the old place, has to be set right.
    QFile copy(folders.DataHome() + QStringLiteral("/tarmo/help/TarmoHelp.qhc"));
    ASSERT_TRUE(copy.open(QIODevice::ReadWrite));
    ASSERT_TRUE(copy.setFileTime(QDateTime::currentDateTime().addDays(1), QFileDevice::FileModificationTime));
    copy.close();
    gHelp = std::make_unique<HelpIntegration>(after);
    gHelp->ShowHelp(nullptr, 36);
    ASSERT_NE(window(), nullptr);
    EXPECT_EQ(window()->Engine().documentationFileName(QStringLiteral("tarmo.manual")),
              QDir(after).absoluteFilePath(QStringLiteral("TarmoHelp.qch")));
    EXPECT_FALSE(window()->Browser()->toPlainText().isEmpty());
    EXPECT_TRUE(prompts->Records().isEmpty());
}
