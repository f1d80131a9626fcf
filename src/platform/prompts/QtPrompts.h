#pragma once

#include "UserPrompts.h"

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

// The GUI's message boxes, file dialogs and hourglass, modal over the active window. The program
// adds its own login windows in a class of its own.
class QtPrompts : public UserPrompts {
public:
    Prompt::Answer MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                              const QString& title, int defaultButton = 1) override;
    QString OpenFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString SaveFileName(const QString& title, const QString& filter, const QString& initialPath) override;
    QString FolderName(const QString& title, const QString& initialPath) override;
    bool InputText(const QString& title, const QString& label, QString& text) override;
    void SetBusy(bool busy) override;
};
