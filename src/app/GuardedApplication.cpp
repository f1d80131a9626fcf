#include "GuardedApplication.h"

#include "ErrorReport.h"

GuardedApplication::GuardedApplication(int& argc, char** argv)
    : QApplication(argc, argv) {}

bool GuardedApplication::notify(QObject* receiver, QEvent* event) {
    bool handled = false;
    Guarded([&] { handled = QApplication::notify(receiver, event); });
    return handled;
}
