#include "AppPrompts.h"

#include <QApplication>
#include <QCursor>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

namespace {

Qt::CursorShape overrideShape() {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor != nullptr ? cursor->shape() : Qt::ArrowCursor;
}

} // namespace

// An error met inside a command is shown while the command's hourglass is up: the box must get the
// arrow, and the hourglass must be back when it closes, however many boxes the command shows.
TEST(AppPrompts, QuestionsAskedDuringABusyCommandShowTheArrow) {
    AppPrompts prompts;
    prompts.SetBusy(true);
    QList<Qt::CursorShape> seen;
    for (int box = 0; box < 2; ++box) {
        QTimer::singleShot(0, [&] {
            seen << overrideShape();
            if (QWidget* modal = QApplication::activeModalWidget())
                modal->close();
        });
        prompts.MessageBox(QStringLiteral("The store went away."), Prompt::Buttons::OK,
                           Prompt::Icon::Critical, QStringLiteral("TARMO"));
        EXPECT_EQ(overrideShape(), Qt::WaitCursor);
    }
    prompts.SetBusy(false);
    EXPECT_EQ(seen, (QList<Qt::CursorShape>{Qt::ArrowCursor, Qt::ArrowCursor}));
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}
