#include "HelpFixture.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QHelpEngine>
#include <QHelpLink>
#include <QPalette>
#include <QScreen>
#include <QTextBlock>
#include <QTextDocument>

namespace {

QAction* action(HelpWindow* window, const char* name) {
    return window->findChild<QAction*>(QLatin1String(name));
}

// The colour of the first heading of the page shown, as the browser laid it out.
QColor firstHeadingColour(QTextBrowser* browser) {
    for (QTextBlock block = browser->document()->begin(); block.isValid(); block = block.next())
        if (block.blockFormat().headingLevel() == 1)
            return block.charFormat().foreground().color();
    return {};
}

double luminance(const QColor& colour) {
    return 0.2126 * colour.redF() + 0.7152 * colour.greenF() + 0.0722 * colour.blueF();
}

// A desktop palette of light text on dark ground, as dark themes set it.
QPalette darkPalette() {
    QPalette dark;
    for (auto role : {QPalette::Window, QPalette::Base, QPalette::Button, QPalette::AlternateBase})
        dark.setColor(role, QColor(0x20, 0x22, 0x25));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        dark.setColor(role, QColor(0xe8, 0xe8, 0xe8));
    return dark;
}

} // namespace

TEST_F(HelpTest, BackAndForwardWalkThePagesSeen) {
    gHelp->ShowHelp(nullptr, 1);
    EXPECT_FALSE(action(window(), "actBack")->isEnabled());
    gHelp->ShowHelp(nullptr, 50);
    gHelp->ShowHelp(nullptr, 45);
    ASSERT_TRUE(action(window(), "actBack")->isEnabled());
    action(window(), "actBack")->trigger();
    action(window(), "actBack")->trigger();
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("Introduction.htm")));
    ASSERT_TRUE(action(window(), "actForward")->isEnabled());
    action(window(), "actForward")->trigger();
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("Synchronization.htm")));
    action(window(), "actHome")->trigger();
    EXPECT_EQ(shown().fileName(), HelpWindow::StartPage());
}

// A link inside a page is relative; it must be read from the manual like the page itself, and so
// must the page's style sheet, or every page would come out in the browser's plain default.
TEST_F(HelpTest, LinksAndTheStyleSheetAreReadFromTheManual) {
    gHelp->ShowHelp(nullptr, 1);
    QTextBrowser* browser = window()->Browser();
    EXPECT_EQ(firstHeadingColour(browser), QColor(0x1f, 0x4e, 0x79));
    browser->setSource(QUrl(QStringLiteral("ObjectMaint.htm#History")));
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("ObjectMaint.htm#History")));
    EXPECT_TRUE(browser->toPlainText().contains(QStringLiteral("Rollback"), Qt::CaseInsensitive));
}

// The index of the window is made of each page's title and its headings with an id.
TEST_F(HelpTest, TheIndexLeadsFromAHeadingToItsSection) {
    gHelp->ShowHelp(nullptr, 1);
    const QList<QHelpLink> links =
        window()->Engine().documentsForKeyword(QStringLiteral("The Project Browser"));
    ASSERT_FALSE(links.isEmpty());
    EXPECT_EQ(links.first().url, HelpWindow::TopicUrl(QStringLiteral("ProjectManager.htm#Browser")));
    EXPECT_FALSE(window()->Engine().documentsForKeyword(QStringLiteral("Synchronization")).isEmpty());
}

TEST_F(HelpTest, TheWindowTakesAGoodPartOfTheScreenAndStaysWhereTheUserPutIt) {
    gHelp->ShowHelp(nullptr, 23);
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_TRUE(screen.contains(window()->geometry()));
    EXPECT_GE(window()->width(), screen.width() / 2);
    window()->resize(500, 400);
    window()->move(10, 20);
    gHelp->ShowHelp(nullptr, 24);
    EXPECT_EQ(window()->size(), QSize(500, 400));
    Screenshot(window(), QStringLiteral("help-window"));
}

// On a dark desktop the page keeps its paper: dark text on a light ground, never dark on dark.
TEST_F(HelpTest, APageStaysReadableOnADarkDesktop) {
    const QPalette before = QApplication::palette();
    QApplication::setPalette(darkPalette());
    gHelp->ShowHelp(nullptr, 50);
    QTextBrowser* browser = window()->Browser();
    const QPalette seen = browser->viewport()->palette();
    EXPECT_GT(luminance(seen.color(QPalette::Base)) - luminance(seen.color(QPalette::Text)), 0.6);
    EXPECT_LT(luminance(firstHeadingColour(browser)), 0.5);
    Screenshot(window(), QStringLiteral("help-window-dark"));
    gHelp.reset();
    QApplication::setPalette(before);
}

// A modal dialog blocks every window that isn't its own: while one is up the help window belongs to
// it, and when it closes the help window is on its own again instead of going with the dialog.
TEST_F(HelpTest, TheHelpWindowServesAModalDialogAndOutlivesIt) {
    auto* dialog = new QDialog;
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->show();
    ASSERT_EQ(QApplication::activeModalWidget(), dialog);
    gHelp->ShowHelp(dialog, 22);
    ASSERT_NE(window(), nullptr);
    EXPECT_EQ(window()->parentWidget(), dialog);
    EXPECT_TRUE(window()->isVisible());

    dialog->hide();
    delete dialog;
    ASSERT_NE(window(), nullptr);
    EXPECT_EQ(window()->parentWidget(), nullptr);
    EXPECT_TRUE(window()->isVisible());
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("ProjectManager.htm#Wizard")));
}

// The program ends with its last own window; the help window neither holds it up nor outlives it.
TEST_F(HelpTest, TheHelpWindowDoesNotKeepTheProgramAndGoesWithIt) {
    gHelp->ShowHelp(nullptr, 1);
    QPointer<HelpWindow> open = window();
    EXPECT_FALSE(open->testAttribute(Qt::WA_QuitOnClose));
    gHelp.reset();
    EXPECT_TRUE(open.isNull());
}
