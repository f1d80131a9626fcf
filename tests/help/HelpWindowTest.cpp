#include "HelpFixture.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpLink>
#include <QPalette>
#include <QPointer>
#include <QScreen>
#include <QTabWidget>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
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

// Where the first link to the target stands in the browser's viewport; invalid if there is none.
QRect linkRect(QTextBrowser* browser, const QString& target) {
    for (QTextBlock block = browser->document()->begin(); block.isValid(); block = block.next())
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.charFormat().anchorHref() != target)
                continue;
            QTextCursor cursor(browser->document());
            cursor.setPosition(fragment.position() + 1);
            return browser->cursorRect(cursor);
        }
    return {};
}

// The contents are read on a thread of their own; the test goes on once they are in.
void waitForContents(QHelpContentModel* model) {
    bool done = !model->isCreatingContents() && model->rowCount() > 0;
    QObject::connect(model, &QHelpContentModel::contentsCreated, model, [&done] { done = true; });
    while (!done)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
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
    QCoreApplication::processEvents(); // the layout of the freshly shown window
    const QRect link = linkRect(browser, QStringLiteral("Manual.htm"));
    ASSERT_TRUE(link.isValid());
    QTest::mouseClick(browser->viewport(), Qt::LeftButton, {}, link.center());
    EXPECT_EQ(shown(), HelpWindow::TopicUrl(QStringLiteral("Manual.htm")));
    EXPECT_TRUE(browser->toPlainText().contains(QStringLiteral("Introduction")));
}

// The index of the window is made of each page's title and its headings with an id.
TEST_F(HelpTest, TheIndexLeadsFromAHeadingToItsSection) {
    gHelp->ShowHelp(nullptr, 1);
    const QList<QHelpLink> links =
        window()->Engine().documentsForKeyword(QStringLiteral("The Project Browser"));
    QList<QUrl> urls;
    for (const QHelpLink& link : links)
        urls << link.url;
    EXPECT_TRUE(urls.contains(HelpWindow::TopicUrl(QStringLiteral("ProjectManager.htm#Browser"))));
    EXPECT_FALSE(window()->Engine().documentsForKeyword(QStringLiteral("Synchronization")).isEmpty());
}

// The contents follow the manual's own contents page: its entries in its order, the getting
// started steps below their chapter, each page's sections below the page.
TEST_F(HelpTest, TheContentsFollowTheManualsContentsPage) {
    gHelp->ShowHelp(nullptr, 1);
    QHelpContentModel* model = window()->Engine().contentModel();
    waitForContents(model);
    ASSERT_EQ(model->rowCount(), 1);
    QHelpContentItem* root = model->contentItemAt(model->index(0, 0));
    EXPECT_EQ(root->url().fileName(), HelpWindow::StartPage());
    QStringList chapters;
    for (int i = 0; i < root->childCount(); ++i)
        chapters << root->child(i)->url().fileName();
    EXPECT_EQ(chapters.mid(0, 3),
              (QStringList{QStringLiteral("Introduction.htm"), QStringLiteral("GettingStarted.htm"),
                           QStringLiteral("ProjectManager.htm")}));
    EXPECT_EQ(chapters.removeDuplicates(), 0);
    // The pages below a page, leaving out its own sections.
    const auto pagesBelow = [](QHelpContentItem* item) {
        QList<QHelpContentItem*> pages;
        for (int i = 0; i < item->childCount(); ++i)
            if (!item->child(i)->url().hasFragment())
                pages << item->child(i);
        return pages;
    };
    const QList<QHelpContentItem*> steps = pagesBelow(root->child(1));
    ASSERT_GE(steps.size(), 7);
    EXPECT_EQ(steps[0]->url().fileName(), QStringLiteral("GettingStarted_Firstly.htm"));
    QHelpContentItem* step2 = steps[2];
    EXPECT_EQ(step2->url().fileName(), QStringLiteral("GettingStarted_Step2.htm"));
    QStringList sections;
    for (int i = 0; i < step2->childCount(); ++i)
        sections << step2->child(i)->url().fragment();
    const QStringList wanted =
        (QStringList{QStringLiteral("ProjectDetails"), QStringLiteral("SQLServer"), QStringLiteral("SQLDB"),
                     QStringLiteral("VSSDB"), QStringLiteral("VSSProject"), QStringLiteral("OpenProject")});
    QStringList inOrder;
    for (const QString& section : sections)
        if (wanted.contains(section))
            inOrder << section;
    EXPECT_EQ(inOrder, wanted);
}

TEST_F(HelpTest, TheWindowTakesAGoodPartOfTheScreenAndStaysWhereTheUserPutIt) {
    gHelp->ShowHelp(nullptr, 23);
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(window()->width(), screen.width());
    EXPECT_LE(window()->height(), screen.height());
    EXPECT_GE(window()->width(), screen.width() / 2);
    QCoreApplication::processEvents(); // the layout of the freshly shown window
    EXPECT_GT(window()->Browser()->width(), window()->Tabs()->width() * 2) << "the page has the room";
    waitForContents(window()->Engine().contentModel());
    window()->Engine().contentWidget()->expandToDepth(1);
    Screenshot(window(), QStringLiteral("help-window"));

    window()->resize(500, 400);
    window()->move(10, 20);
    gHelp->ShowHelp(nullptr, 24);
    EXPECT_EQ(window()->size(), QSize(500, 400));
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
