#include "ScreenMetrics.h"

#include <QGuiApplication>
#include <QScreen>

ScreenSize ScreenMetrics::Current() {
    ScreenSize metrics;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        if (const QScreen* screen = QGuiApplication::primaryScreen()) {
            const auto size = screen->size();
            metrics.widthPixels = size.width();
            metrics.heightPixels = size.height();
            if (screen->logicalDotsPerInchX() > 0)
                metrics.twipsPerPixelX = 1440.0 / screen->logicalDotsPerInchX();
            if (screen->logicalDotsPerInchY() > 0)
                metrics.twipsPerPixelY = 1440.0 / screen->logicalDotsPerInchY();
        }
    }
    return metrics;
}
