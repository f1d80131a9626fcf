#include "AppPrompts.h"
#include "ModalAnswer.h"
#include "ScriptedPrompts.h"
#include "TestSupport.h"
#include "frmPassword.h"

#include <QApplication>
#include <QCursor>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

namespace {

Qt::CursorShape overrideShape() {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor != nullptr ? cursor->shape() : Qt::ArrowCursor;
}

// The program's prompts as the program installs them, for the lifetime of the object.
class InstalledAppPrompts {
public:
    InstalledAppPrompts()
        : mPrevious(installPrompts(std::make_unique<AppPrompts>())) {}
    ~InstalledAppPrompts() { installPrompts(std::move(mPrevious)); }

private:
    std::unique_ptr<UserPrompts> mPrevious;
};

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

// Windows that wait for input (the comment dialog, the project wizard) are opened by commands that
// show the hourglass. While such a window is up the arrow shows, a step it runs itself shows the
// hourglass for that step only, and the command's hourglass comes back when it closes.
TEST(AppPrompts, ModalWindowsOpenedDuringABusyCommandShowTheArrow) {
    const InstalledAppPrompts installed;
    QList<Qt::CursorShape> seen;
    {
        const BusyCursor command;
        QDialog window;
        QTimer::singleShot(0, &window, [&] {
            seen << overrideShape();
            {
                const BusyCursor stepInsideTheWindow;
                seen << overrideShape();
            }
            seen << overrideShape();
            window.accept();
        });
        window.exec();
        seen << overrideShape();
        // A window that is destroyed while shown gives the arrow back as well.
        auto* doomed = new QDialog;
        doomed->setModal(true);
        doomed->show();
        seen << overrideShape();
        delete doomed;
        seen << overrideShape();
    }
    EXPECT_EQ(seen, (QList<Qt::CursorShape>{Qt::ArrowCursor, Qt::WaitCursor, Qt::ArrowCursor, Qt::WaitCursor,
                                            Qt::ArrowCursor, Qt::WaitCursor}));
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

// Without a command running nothing is pushed: a modal window must not leave a cursor behind.
TEST(AppPrompts, ModalWindowsLeaveTheCursorAloneWhenNothingIsBusy) {
    const InstalledAppPrompts installed;
    QDialog window;
    QTimer::singleShot(0, &window, [&] {
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
        window.accept();
    });
    window.exec();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

// The password of a new server or store is typed twice; two that differ are refused before anything
// is made, and the user types them again in the same window.
TEST(NewPasswordDialog, ThePasswordIsTypedTwiceAndMustAgree) {
    ScriptedPromptsScope prompts;
    bool refusedFirst = false;
    const ModalAnswerOf<frmNewPassword> answer([&](frmNewPassword* dialog) {
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("New Version Store"));
        EXPECT_EQ(dialog->txtUserName()->text(), QStringLiteral("Admin"));
        dialog->txtPwd()->setText(QStringLiteral("s3cret"));
        dialog->txtConfirm()->setText(QStringLiteral("secret"));
        dialog->cmdOK()->click();
        refusedFirst = dialog->isVisible() && dialog->txtConfirm()->text().isEmpty();
        dialog->txtConfirm()->setText(QStringLiteral("s3cret"));
        dialog->cmdOK()->click();
    });
    QString user = QStringLiteral("Admin"), password;
    ASSERT_TRUE(frmNewPassword::GetNewLogin(QStringLiteral("New Version Store"), QStringLiteral("/srv/store"),
                                            user, password));
    EXPECT_TRUE(answer.Answered());
    EXPECT_TRUE(refusedFirst);
    EXPECT_EQ(prompts->Messages(),
              QStringList{QStringLiteral("The two passwords differ. Type the new password twice.")});
    EXPECT_EQ(password, QStringLiteral("s3cret"));
}
