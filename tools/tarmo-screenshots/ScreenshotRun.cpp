#include "ScreenshotRun.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <memory>

ScreenshotRun::ScreenshotRun(const QString& folder, const QString& suffix)
    : mFolder(folder)
    , mSuffix(suffix) {
    QDir().mkpath(folder);
}

void ScreenshotRun::Save(QWidget* window, const QString& name) {
    // Layouts and deferred repaints settle before the picture is taken.
    QApplication::processEvents();
    QApplication::processEvents();
    const QString path = QDir(mFolder).filePath(name + mSuffix + QStringLiteral(".png"));
    if (window && window->grab().save(path))
        mSaved << path;
    else
        mFailed << name;
}

void ScreenshotRun::Modal(const QString& name, const char* className, const std::function<void()>& open,
                          const std::function<void(QWidget*)>& shoot) {
    struct Watch {
        bool seen = false;
        QTimer timer;
    };
    auto watch = std::make_shared<Watch>();
    watch->timer.setInterval(20);
    QObject::connect(&watch->timer, &QTimer::timeout, [this, watch, name, className, shoot] {
        QPointer<QWidget> modal = QApplication::activeModalWidget();
        if (watch->seen || !modal || !modal->inherits(className))
            return;
        watch->seen = true;
        watch->timer.stop();
        if (shoot)
            shoot(modal);
        else
            Save(modal, name);
        if (!modal || !modal->isVisible())
            return;
        if (auto* dialog = qobject_cast<QDialog*>(modal.data()))
            dialog->done(QDialog::Rejected);
        else
            modal->close();
    });
    watch->timer.start();
    open();
    watch->timer.stop();
    if (!watch->seen)
        mFailed << name;
}
