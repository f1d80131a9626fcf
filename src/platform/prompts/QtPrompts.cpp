#include "QtPrompts.h"

#include <QApplication>
#include <QFileDialog>
#include <QGuiApplication>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>

namespace {

QWidget* owner() {
    return QApplication::activeWindow();
}

QList<QMessageBox::StandardButton> buttonsOf(Prompt::Buttons buttons) {
    using B = QMessageBox::StandardButton;
    switch (buttons) {
    case Prompt::Buttons::OK:
        return {B::Ok};
    case Prompt::Buttons::OKCancel:
        return {B::Ok, B::Cancel};
    case Prompt::Buttons::YesNo:
        return {B::Yes, B::No};
    case Prompt::Buttons::YesNoCancel:
        return {B::Yes, B::No, B::Cancel};
    case Prompt::Buttons::RetryCancel:
        return {B::Retry, B::Cancel};
    case Prompt::Buttons::AbortRetryIgnore:
        return {B::Abort, B::Retry, B::Ignore};
    }
    return {B::Ok};
}

Prompt::Answer answerOf(int button) {
    switch (button) {
    case QMessageBox::Ok:
        return Prompt::Answer::OK;
    case QMessageBox::Yes:
        return Prompt::Answer::Yes;
    case QMessageBox::No:
        return Prompt::Answer::No;
    case QMessageBox::Retry:
        return Prompt::Answer::Retry;
    case QMessageBox::Abort:
        return Prompt::Answer::Abort;
    case QMessageBox::Ignore:
        return Prompt::Answer::Ignore;
    default:
        return Prompt::Answer::Cancel;
    }
}

QMessageBox::Icon iconOf(Prompt::Icon icon) {
    switch (icon) {
    case Prompt::Icon::Critical:
        return QMessageBox::Critical;
    case Prompt::Icon::Question:
        return QMessageBox::Question;
    case Prompt::Icon::Exclamation:
        return QMessageBox::Warning;
    case Prompt::Icon::Information:
        return QMessageBox::Information;
    case Prompt::Icon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

} // namespace

Prompt::Answer QtPrompts::MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                                     const QString& title, int defaultButton) {
    const ArrowWhileAsking arrow;
    QMessageBox box(iconOf(icon), title, text, QMessageBox::NoButton, owner());
    const auto list = buttonsOf(buttons);
    for (auto b : list)
        box.addButton(b);
    if (defaultButton >= 1 && defaultButton <= list.size())
        box.setDefaultButton(list[defaultButton - 1]);
    return answerOf(box.exec());
}

QString QtPrompts::OpenFileName(const QString& title, const QString& filter, const QString& initialPath) {
    const ArrowWhileAsking arrow;
    return QFileDialog::getOpenFileName(owner(), title, initialPath, filter);
}

QString QtPrompts::SaveFileName(const QString& title, const QString& filter, const QString& initialPath) {
    const ArrowWhileAsking arrow;
    return QFileDialog::getSaveFileName(owner(), title, initialPath, filter);
}

QString QtPrompts::FolderName(const QString& title, const QString& initialPath) {
    const ArrowWhileAsking arrow;
    return QFileDialog::getExistingDirectory(owner(), title, initialPath);
}

bool QtPrompts::InputText(const QString& title, const QString& label, QString& text) {
    const ArrowWhileAsking arrow;
    bool ok = false;
    const QString typed = QInputDialog::getText(owner(), title, label, QLineEdit::Normal, text, &ok);
    if (ok)
        text = typed;
    return ok;
}

ArrowWhileAsking::ArrowWhileAsking()
    : mBusy(QGuiApplication::overrideCursor() != nullptr) {
    if (mBusy)
        QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
}

ArrowWhileAsking::~ArrowWhileAsking() {
    if (mBusy)
        QGuiApplication::restoreOverrideCursor();
}

void QtPrompts::SetBusy(bool busy) {
    if (busy)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QGuiApplication::restoreOverrideCursor();
}
