#pragma once

#include "UserPrompts.h"

#include <QObject>
#include <QSet>

#include <memory>

// A question asked while a command shows the hourglass gets the arrow back for as long as it is open:
// the user has to point at its buttons. The hourglass returns when the answer is given.
class ArrowWhileAsking {
public:
    ArrowWhileAsking();
    ~ArrowWhileAsking();
    ArrowWhileAsking(const ArrowWhileAsking&) = delete;
    ArrowWhileAsking& operator=(const ArrowWhileAsking&) = delete;

private:
    bool mBusy;
};

// Any modal window shown while the hourglass is up (the comment dialog, the project wizard, a login)
// gets the arrow until it is hidden again: a window that waits for input must not look busy.
class ArrowOverModalWindows : public QObject {
public:
    explicit ArrowOverModalWindows(QObject* parent = nullptr);
    ~ArrowOverModalWindows() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void release(QObject* window);
    QSet<QObject*> mArrowed;
};

// The GUI's message boxes, file dialogs and hourglass, modal over the active window. The program
// adds its own login windows in a class of its own.
class QtPrompts : public UserPrompts {
public:
    QtPrompts();
    ~QtPrompts() override;
    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                              const QString& title, int defaultButton = 1) override;
    QString OpenFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString SaveFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString FolderName(const QString& title, const QString& initialPath) override;
    bool InputText(const QString& title, const QString& label, QString& text) override;
    void SetBusy(bool busy) override;

private:
    std::unique_ptr<ArrowOverModalWindows> mModalArrow;
};
