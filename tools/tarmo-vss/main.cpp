#include "VssCommandLine.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    VssCommandLine commandLine(out, err);
    return commandLine.Run(app.arguments().mid(1));
}
