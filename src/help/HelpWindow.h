#pragma once

#include <QUrl>
#include <QWidget>

class QHelpEngine;
class QLineEdit;
class QSplitter;
class QTabWidget;
class QTextBrowser;

// The help window: the manual's pages in a browser, with the contents, the keyword index and a full
// text search beside them, and back and forward through the pages seen. Independent of every other
// window: it stays open while the user works, and the program closing doesn't wait for it.
class HelpWindow : public QWidget {
    Q_OBJECT
public:
    // collectionFile must be writable; documentationFile is registered in it when it isn't yet.
    HelpWindow(const QString& collectionFile, const QString& documentationFile, QWidget* parent = nullptr);
    ~HelpWindow() override;

    // Opens "page" or "page#anchor" of the manual; "" opens the start page.
    // owner places the window on its screen the first time.
    void ShowTopic(const QString& topic, QWidget* owner = nullptr);

    // The address of a topic inside the compiled manual.
    static QUrl TopicUrl(const QString& topic);
    static QString StartPage();

    QTextBrowser* Browser() const { return mBrowser; }
    QHelpEngine& Engine() const { return *mEngine; }
    QTabWidget* Tabs() const { return mTabs; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* makeContentsTab();
    QWidget* makeIndexTab();
    QWidget* makeSearchTab();
    void placeOnScreen(QWidget* owner);
    void keepUsableOver(QWidget* modal);
    void followInContents(const QUrl& url);

    QHelpEngine* mEngine;
    QTextBrowser* mBrowser;
    QTabWidget* mTabs;
    QSplitter* mSplitter;
    QLineEdit* mIndexFilter = nullptr;
    bool mPlaced = false;
};
