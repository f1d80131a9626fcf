#include "ErrorReport.h"

#include "UserPrompts.h"

#include <cstdio>

namespace {

const QString genericTitle = QStringLiteral("TARMO");

int gShowing = 0;

void show(const QString& title, const QString& text) {
    if (gShowing > 0) {
        std::fprintf(stderr, "tarmo: %s: %s\n", qPrintable(title), qPrintable(text));
        return;
    }
    ++gShowing;
    try {
        prompts().MessageBox(text, Prompt::Buttons::OK, Prompt::Icon::Critical, title);
    } catch (...) {
        std::fprintf(stderr, "tarmo: %s: %s\n", qPrintable(title), qPrintable(text));
    }
    --gShowing;
}

} // namespace

void ReportError(const TARMOError& error) {
    const QString text =
        error.Description().isEmpty() ? QStringLiteral("Error %1").arg(error.Number()) : error.Description();
    show(error.Source().isEmpty() ? genericTitle : error.Source(), text);
}

void ReportError(const std::exception& error) {
    show(genericTitle,
         QStringLiteral("An unexpected error occurred: %1").arg(QString::fromLocal8Bit(error.what())));
}

void ReportUnknownError() {
    show(genericTitle, QStringLiteral("An unexpected error of an unknown kind occurred."));
}
