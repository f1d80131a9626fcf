#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

// Saves pictures of windows into one folder, each name with the run's suffix ("-dark" for the dark
// palette). A modal window is caught from inside its own event loop, pictured and closed, so the code
// that opened it goes on as if the user had cancelled.
class ScreenshotRun {
public:
    ScreenshotRun(const QString& folder, const QString& suffix);

    void Save(QWidget* window, const QString& name);
    // Runs `open`, which shows a modal window whose class is `className`; `shoot` pictures it (by
    // default under `name`) and the window is then closed. Other modal windows on the way are passed
    // over. A window that never comes is reported.
    void Modal(const QString& name, const char* className, const std::function<void()>& open,
               const std::function<void(QWidget*)>& shoot = {});

    QStringList Saved() const { return mSaved; }
    QStringList Failed() const { return mFailed; }

private:
    QString mFolder, mSuffix;
    QStringList mSaved, mFailed;
};
