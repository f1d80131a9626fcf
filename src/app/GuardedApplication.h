#pragma once

#include <QApplication>

// The program's application object. Whatever an event handler, a slot or a timer throws comes back
// through notify(); it is shown to the user there and the event counts as not handled, so that one
// failed step never ends the program and the next event is served as usual.
class GuardedApplication : public QApplication {
    Q_OBJECT

public:
    GuardedApplication(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;
};
