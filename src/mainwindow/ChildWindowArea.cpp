#include "ChildWindowArea.h"

#include "EditorChildWindow.h"

#include <QDateTime>
#include <QMdiSubWindow>

namespace {
const QString allowEdit = QStringLiteral("ALLOWEDIT");
}

ChildWindowArea::ChildWindowArea(QWidget* parent)
    : QMdiArea(parent) {
    setObjectName(QStringLiteral("mdiArea"));
}

ChildWindowContract* ChildWindowArea::Contract(QWidget* form) {
    return qobject_cast<EditorChildWindow*>(form);
}

bool ChildWindowArea::IsEditChild(QWidget* form) {
    ChildWindowContract* child = Contract(form);
    return child && child->Tag() == allowEdit;
}

QMdiSubWindow* ChildWindowArea::AddChildWindow(QWidget* child) {
    QMdiSubWindow* sub = addSubWindow(child);
    sub->setWindowIcon(child->windowIcon());
    child->show();
    setActiveSubWindow(sub);
    return sub;
}

QWidget* ChildWindowArea::ActiveForm() const {
    QMdiSubWindow* sub = currentSubWindow();
    return sub && !sub->isHidden() ? sub->widget() : nullptr;
}

void ChildWindowArea::BringToFront(QWidget* child) {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(child ? child->parentWidget() : nullptr)) {
        if (sub->isMinimized())
            sub->showNormal();
        setActiveSubWindow(sub);
    }
}

QWidget* ChildWindowArea::FindChild(const QString& strTag, const QString& strKey, FormType formType) const {
    for (QMdiSubWindow* sub : subWindowList(CreationOrder)) {
        ChildWindowContract* child = Contract(sub->widget());
        if (child && !sub->isHidden() && child->Tag() == allowEdit && child->FormType() == formType &&
            child->ObjectTag() == strTag && child->ObjectKey() == strKey)
            return sub->widget();
    }
    return nullptr;
}

void ChildWindowArea::RefreshForms() {
    for (QMdiSubWindow* sub : subWindowList())
        if (IsEditChild(sub->widget()))
            Contract(sub->widget())->RefreshCaption();
}

void ChildWindowArea::Tile(bool horizontal) {
    QList<QMdiSubWindow*> windows;
    for (QMdiSubWindow* sub : subWindowList(StackingOrder))
        if (!sub->isHidden() && !sub->isMinimized())
            windows << sub;
    if (windows.isEmpty())
        return;
    const QRect room = viewport()->rect();
    const int n = static_cast<int>(windows.size());
    for (int i = 0; i < n; ++i) {
        QMdiSubWindow* sub = windows[i];
        if (sub->isMaximized())
            sub->showNormal();
        if (horizontal)
            sub->setGeometry(0, room.height() * i / n, room.width(), room.height() / n);
        else
            sub->setGeometry(room.width() * i / n, 0, room.width() / n, room.height());
    }
}

void ChildWindowArea::MaximiseActive() {
    if (QMdiSubWindow* sub = currentSubWindow())
        sub->showMaximized();
}

void ChildWindowArea::MinimiseAll() {
    for (QMdiSubWindow* sub : subWindowList())
        sub->showMinimized();
}

void ChildWindowArea::SwitchWindow(bool next) {
    QMdiSubWindow* before = currentSubWindow();
    if (!before)
        return;
    const bool wasMaximized = before->isMaximized();
    if (next)
        activateNextSubWindow();
    else
        activatePreviousSubWindow();
    QMdiSubWindow* after = currentSubWindow();
    if (!wasMaximized && after && after->isMinimized())
        after->showNormal();
}

QList<MainMenus::WindowEntry> ChildWindowArea::WindowList() const {
    QList<MainMenus::WindowEntry> entries;
    const QList<QMdiSubWindow*> windows = subWindowList(CreationOrder);
    for (int i = 0; i < windows.size(); ++i) {
        QMdiSubWindow* sub = windows[i];
        if (sub->isHidden())
            continue;
        ChildWindowContract* child = Contract(sub->widget());
        entries.append({sub->widget() ? sub->widget()->windowTitle() : sub->windowTitle(), i + 1,
                        sub == currentSubWindow(), child ? static_cast<int>(child->CurrentIcon()) : 0});
    }
    return entries;
}

void ChildWindowArea::BringWindowForward(int index) {
    const QList<QMdiSubWindow*> windows = subWindowList(CreationOrder);
    if (index <= 0 || index > windows.size())
        return;
    BringToFront(windows[index - 1]->widget());
}

bool ChildWindowArea::CloseChildren() {
    for (QMdiSubWindow* sub : subWindowList(CreationOrder))
        sub->close();
    for (QMdiSubWindow* sub : subWindowList())
        if (!sub->isHidden() && IsEditChild(sub->widget()))
            return false;
    return true;
}

void ChildWindowArea::BringBack(QWidget* current) {
    auto* sub = qobject_cast<QMdiSubWindow*>(current ? current->parentWidget() : nullptr);
    if (!sub || sub == currentSubWindow())
        return;
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    if (second == mLastRepairSecond)
        return;
    mLastRepairSecond = second;
    setActiveSubWindow(sub);
    if (ChildWindowContract* child = Contract(current))
        child->SetFocusOfChild();
}
