#include "HelpWindow.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpLink>
#include <QHelpSearchEngine>
#include <QHelpSearchQueryWidget>
#include <QHelpSearchResultWidget>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QSplitter>
#include <QStyle>
#include <QTabWidget>
#include <QTextBrowser>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

const QString kNamespace = QStringLiteral("tarmo.manual");
const QString kFolder = QStringLiteral("manual");
const QString kStartPage = QStringLiteral("Manual.htm");

// Reads the manual's pages, pictures and style sheet out of the compiled help; links to anything
// else (a web address) go to the desktop's browser.
class HelpBrowser : public QTextBrowser {
public:
    HelpBrowser(QHelpEngine& engine, QWidget* parent)
        : QTextBrowser(parent)
        , mEngine(engine) {
        setObjectName(QStringLiteral("HelpBrowser"));
        // Left to itself the browser takes a relative link in a page that isn't a local file for
        // an outside address, and hands it to the desktop.
        setOpenLinks(false);
        connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl& url) {
            if (url.scheme() == QLatin1String("qthelp"))
                setSource(url);
            else
                QDesktopServices::openUrl(url);
        });
        // The pages are written as white paper with dark text; a dark desktop palette would give
        // their dark text a dark background.
        QPalette paper = palette();
        paper.setColor(QPalette::Base, Qt::white);
        paper.setColor(QPalette::Text, QColor(0x1a, 0x1a, 0x1a));
        paper.setColor(QPalette::Link, QColor(0x2e, 0x6d, 0xa4));
        setPalette(paper);
    }

    QVariant loadResource(int type, const QUrl& name) override {
        const QUrl url = name.isRelative() ? source().resolved(name) : name;
        if (url.scheme() == QLatin1String("qthelp"))
            return mEngine.fileData(url);
        return QTextBrowser::loadResource(type, name);
    }

private:
    QHelpEngine& mEngine;
};

} // namespace

HelpWindow::HelpWindow(const QString& collectionFile, const QString& documentationFile, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , mEngine(new QHelpEngine(collectionFile, this)) {
    setObjectName(QStringLiteral("HelpWindow"));
    setWindowTitle(QStringLiteral("TARMO Help"));
    setAttribute(Qt::WA_DeleteOnClose);
    // The program ends with its last own window, whatever the help shows then.
    setAttribute(Qt::WA_QuitOnClose, false);

    mEngine->setupData();
    // The collection is a copy in the user's folder: the manual it names may have moved with the
    // program, or been replaced by a newer build of it.
    const QString registered = mEngine->documentationFileName(kNamespace);
    if (QFileInfo(registered).absoluteFilePath() != documentationFile) {
        if (!registered.isEmpty())
            mEngine->unregisterDocumentation(kNamespace);
        mEngine->registerDocumentation(documentationFile);
    }

    mBrowser = new HelpBrowser(*mEngine, this);
    mTabs = new QTabWidget;
    mTabs->setObjectName(QStringLiteral("HelpTabs"));
    mTabs->addTab(makeContentsTab(), QStringLiteral("&Contents"));
    mTabs->addTab(makeIndexTab(), QStringLiteral("&Index"));
    mTabs->addTab(makeSearchTab(), QStringLiteral("&Search"));

    auto* toolbar = new QToolBar;
    QAction* back = toolbar->addAction(style()->standardIcon(QStyle::SP_ArrowBack), QStringLiteral("Back"),
                                       mBrowser, &QTextBrowser::backward);
    back->setObjectName(QStringLiteral("actBack"));
    back->setShortcut(QKeySequence::Back);
    back->setEnabled(false);
    QAction* forward = toolbar->addAction(style()->standardIcon(QStyle::SP_ArrowForward),
                                          QStringLiteral("Forward"), mBrowser, &QTextBrowser::forward);
    forward->setObjectName(QStringLiteral("actForward"));
    forward->setShortcut(QKeySequence::Forward);
    forward->setEnabled(false);
    QAction* home = toolbar->addAction(style()->standardIcon(QStyle::SP_DirHomeIcon),
                                       QStringLiteral("Contents"), this, [this] { ShowTopic(QString()); });
    home->setObjectName(QStringLiteral("actHome"));
    connect(mBrowser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(mBrowser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    connect(mBrowser, &QTextBrowser::sourceChanged, this, &HelpWindow::followInContents);
    // The contents are read on a thread: the first page is marked in them once they are there.
    connect(mEngine->contentModel(), &QHelpContentModel::contentsCreated, this,
            [this] { followInContents(mBrowser->source()); });

    auto* page = new QWidget;
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(0, 0, 0, 0);
    pageLayout->addWidget(toolbar);
    pageLayout->addWidget(mBrowser);

    mSplitter = new QSplitter;
    mSplitter->addWidget(mTabs);
    mSplitter->addWidget(page);
    mSplitter->setStretchFactor(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mSplitter);

    // Only what changed since the last index is read again.
    mEngine->searchEngine()->scheduleIndexDocumentation();
}

HelpWindow::~HelpWindow() = default;

QWidget* HelpWindow::makeContentsTab() {
    QHelpContentWidget* contents = mEngine->contentWidget();
    contents->setObjectName(QStringLiteral("HelpContents"));
    connect(contents, &QHelpContentWidget::linkActivated, mBrowser,
            [this](const QUrl& url) { mBrowser->setSource(url); });
    return contents;
}

QWidget* HelpWindow::makeIndexTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* label = new QLabel(QStringLiteral("&Look for:"));
    mIndexFilter = new QLineEdit;
    mIndexFilter->setObjectName(QStringLiteral("txtIndexFilter"));
    label->setBuddy(mIndexFilter);
    QHelpIndexWidget* index = mEngine->indexWidget();
    index->setObjectName(QStringLiteral("HelpIndex"));
    connect(mIndexFilter, &QLineEdit::textChanged, index,
            [index](const QString& text) { index->filterIndices(text); });
    connect(mIndexFilter, &QLineEdit::returnPressed, index, &QHelpIndexWidget::activateCurrentItem);
    connect(index, &QHelpIndexWidget::documentActivated, mBrowser,
            [this](const QHelpLink& document, const QString&) { mBrowser->setSource(document.url); });
    connect(index, &QHelpIndexWidget::documentsActivated, mBrowser,
            [this](const QList<QHelpLink>& documents, const QString&) {
                if (!documents.isEmpty())
                    mBrowser->setSource(documents.first().url);
            });
    layout->addWidget(label);
    layout->addWidget(mIndexFilter);
    layout->addWidget(index);
    return tab;
}

QWidget* HelpWindow::makeSearchTab() {
    QHelpSearchEngine* search = mEngine->searchEngine();
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    QHelpSearchQueryWidget* query = search->queryWidget();
    query->setObjectName(QStringLiteral("HelpSearchQuery"));
    QHelpSearchResultWidget* results = search->resultWidget();
    results->setObjectName(QStringLiteral("HelpSearchResults"));
    connect(query, &QHelpSearchQueryWidget::search, search,
            [search, query] { search->search(query->searchInput()); });
    connect(results, &QHelpSearchResultWidget::requestShowLink, mBrowser,
            [this](const QUrl& url) { mBrowser->setSource(url); });
    layout->addWidget(query);
    layout->addWidget(results, 1);
    return tab;
}

QUrl HelpWindow::TopicUrl(const QString& topic) {
    const QString page = topic.isEmpty() ? kStartPage : topic;
    return QUrl(QStringLiteral("qthelp://%1/%2/%3").arg(kNamespace, kFolder, page));
}

QString HelpWindow::StartPage() {
    return kStartPage;
}

void HelpWindow::ShowTopic(const QString& topic, QWidget* owner) {
    keepUsableOver(QApplication::activeModalWidget());
    mBrowser->setSource(TopicUrl(topic));
    if (!mPlaced)
        placeOnScreen(owner);
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void HelpWindow::keepUsableOver(QWidget* modal) {
    // A modal dialog blocks every window that isn't its own, and F1 is most wanted in a dialog: the
    // help window belongs to the dialog while it is up, and goes back to being on its own when the
    // dialog closes (and would otherwise take the help window with it).
    if (!modal || modal == this || parentWidget() == modal)
        return;
    const QRect frame = geometry();
    setParent(modal, Qt::Window);
    setGeometry(frame);
    modal->installEventFilter(this);
}

bool HelpWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Hide) {
        watched->removeEventFilter(this);
        const QRect frame = geometry();
        const bool shown = isVisible();
        setParent(nullptr, Qt::Window);
        setGeometry(frame);
        if (shown)
            show();
    }
    return QWidget::eventFilter(watched, event);
}

void HelpWindow::placeOnScreen(QWidget* owner) {
    QScreen* screen = owner ? owner->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    // A good part of a large screen; on a small one as much as it takes to read a page beside the
    // contents.
    resize(qMin(area.width(), qMax(area.width() * 3 / 5, 900)),
           qMin(area.height(), qMax(area.height() * 3 / 4, 650)));
    move(area.center() - rect().center());
    // The page is what the user came for; the lists beside it need only a quarter.
    mSplitter->setSizes({width() / 4, width() - width() / 4});
    mPlaced = true;
}

void HelpWindow::followInContents(const QUrl& url) {
    QHelpContentWidget* contents = mEngine->contentWidget();
    QUrl page = url;
    QModelIndex index = contents->indexOf(page);
    if (!index.isValid()) {
        page.setFragment(QString());
        index = contents->indexOf(page);
    }
    if (index.isValid()) {
        const QSignalBlocker quiet(contents);
        contents->setCurrentIndex(index);
    }
}
