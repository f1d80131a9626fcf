#include "QtPrompts.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
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

// A folder chooser that also takes the name of a folder that isn't there yet, and makes it: a new
// server or store goes into a new folder, and a working folder is often new as well.
class NewFolderDialog : public QFileDialog {
public:
    NewFolderDialog(QWidget* parent, const QString& title, const QString& initialPath)
        : QFileDialog(parent, title, initialPath) {
        setFileMode(QFileDialog::Directory);
        setOption(QFileDialog::ShowDirsOnly);
        // The platform's own chooser would refuse the new name before this class could make it.
        setOption(QFileDialog::DontUseNativeDialog);
    }

    void accept() override {
        const QStringList chosen = selectedFiles();
        if (!chosen.isEmpty() && !QFileInfo::exists(chosen.constFirst()) &&
            !QDir().mkpath(chosen.constFirst())) {
            QMessageBox::warning(this, windowTitle(),
                                 QStringLiteral("The folder %1 could not be made.").arg(chosen.constFirst()));
            return;
        }
        QFileDialog::accept();
    }
};

// A box sized for a short text ("Syntax OK") would cut its own title: it is made wide enough for the
// title and the window frame's buttons.
void fitTitle(QMessageBox& box, const QString& title) {
    auto* grid = qobject_cast<QGridLayout*>(box.layout());
    if (!grid)
        return;
    const int width = box.fontMetrics().horizontalAdvance(title) + 4 * box.fontMetrics().height() + 60;
    grid->addItem(new QSpacerItem(width, 0, QSizePolicy::Minimum, QSizePolicy::Expanding), grid->rowCount(),
                  0, 1, grid->columnCount());
}

} // namespace

QtPrompts::QtPrompts()
    : mModalArrow(std::make_unique<ArrowOverModalWindows>()) {}

QtPrompts::~QtPrompts() = default;

Prompt::Answer QtPrompts::MessageBox(const QString& text, Prompt::Buttons buttons, Prompt::Icon icon,
                                     const QString& title, int defaultButton) {
    const ArrowWhileAsking arrow;
    QMessageBox box(iconOf(icon), title, text, QMessageBox::NoButton, owner());
    const auto list = buttonsOf(buttons);
    for (auto b : list)
        box.addButton(b);
    if (defaultButton >= 1 && defaultButton <= list.size())
        box.setDefaultButton(list[defaultButton - 1]);
    fitTitle(box, title);
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
    NewFolderDialog dialog(owner(), title, initialPath);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
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

ArrowOverModalWindows::ArrowOverModalWindows(QObject* parent)
    : QObject(parent) {
    if (qApp)
        qApp->installEventFilter(this);
}

ArrowOverModalWindows::~ArrowOverModalWindows() {
    if (qApp)
        qApp->removeEventFilter(this);
    for (QObject* window : std::as_const(mArrowed)) {
        disconnect(window, nullptr, this, nullptr);
        QGuiApplication::restoreOverrideCursor();
    }
}

bool ArrowOverModalWindows::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Show) {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (widget && widget->isWindow() && widget->isModal() && !mArrowed.contains(widget) &&
            QGuiApplication::overrideCursor() != nullptr) {
            mArrowed.insert(widget);
            QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
            connect(widget, &QObject::destroyed, this, &ArrowOverModalWindows::release);
        }
    } else if (event->type() == QEvent::Hide) {
        release(watched);
    }
    return false;
}

void ArrowOverModalWindows::release(QObject* window) {
    if (!mArrowed.remove(window))
        return;
    disconnect(window, nullptr, this, nullptr);
    QGuiApplication::restoreOverrideCursor();
}

void QtPrompts::SetBusy(bool busy) {
    if (busy)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QGuiApplication::restoreOverrideCursor();
}
