#pragma once

#include "HelpTopics.h"

#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

class HelpWindow;
class QWidget;

// The one help object of the program. It turns a topic id into a page of the compiled manual and
// shows it in the help window, which it keeps for the next call.
//
// The manual is a compiled Qt Help file with its collection, in the help folder beside the program.
// The help window needs a collection it may write to (its search index lives beside it), so the
// collection is used from a copy in the user's data folder, made anew whenever the shipped one is
// newer.
class HelpIntegration {
public:
    // helpFolder "" means the help folder beside the program.
    explicit HelpIntegration(QString helpFolder = QString());
    // Closes the help window, so that it doesn't outlive the program's last window.
    ~HelpIntegration();
    HelpIntegration(const HelpIntegration&) = delete;
    HelpIntegration& operator=(const HelpIntegration&) = delete;

    // Shows the topic, or with 0 or an id the table doesn't know, the manual's start page. A missing
    // manual is told to the user and nothing else happens. window is the caller, which the help
    // window stays independent of.
    void ShowHelp(QWidget* window, long lngContextID = 0);

    // "page" or "page#anchor" of a topic id; "" for an id outside the table.
    static QString Topic(long lngContextID);

    QString HelpFolder() const { return mHelpFolder; }
    QString DocumentationFile() const;
    QString CollectionFile() const;
    // The help window last opened; null before the first call and after the user closed it.
    HelpWindow* Window() const;

private:
    bool HelpFilesPresent() const;
    // The writable copy of the collection; "" when it can't be made.
    QString UserCollection() const;

    QString mHelpFolder;
    QPointer<HelpWindow> mWindow;
};

// Made by the program at start and dropped before its application object goes.
extern std::unique_ptr<HelpIntegration> gHelp;

// The hook that the windows with a SetHelp take: shows the topic through gHelp, if there is one.
std::function<void(QWidget*, long)> HelpHook();

// F1 without Shift anywhere in the window, unless the focused control takes the key itself, shows
// the topic that topic() gives at that moment.
void InstallHelpKey(QWidget* window, std::function<long()> topic);
void InstallHelpKey(QWidget* window, long topic);
