#pragma once

#include "MainMenus.h"

#include <QMdiArea>

class ChildWindowContract;
enum class FormType : long;
class QMdiSubWindow;

// The area of the main window that holds the child windows, with the operations the commands ask
// of it: tiling both ways, cascading, arranging, activating the next window, the window list.
// A child is any widget; those built on EditorChildWindow take part in the commands.
class ChildWindowArea : public QMdiArea {
    Q_OBJECT
public:
    explicit ChildWindowArea(QWidget* parent = nullptr);

    // The contract of a child built on EditorChildWindow, else nullptr.
    static ChildWindowContract* Contract(QWidget* form);
    // A child that takes the edit commands: its Tag is "ALLOWEDIT".
    static bool IsEditChild(QWidget* form);

    QMdiSubWindow* AddChildWindow(QWidget* child);
    // The active child window's widget, or nullptr.
    QWidget* ActiveForm() const;
    void BringToFront(QWidget* child);
    // The first open edit child that shows the object in that kind of window.
    QWidget* FindChild(const QString& strTag, const QString& strKey, FormType formType) const;
    void RefreshForms();

    // Horizontal tiling stacks the windows one above the other, vertical sets them side by side.
    void Tile(bool horizontal);
    void MaximiseActive();
    void MinimiseAll();
    // The next or previous window; a minimized window that comes up is restored unless the one
    // before was maximized.
    void SwitchWindow(bool next);
    // The list of visible children, keyed by their index among all open windows (the main window
    // is index 0, hidden children count too).
    QList<MainMenus::WindowEntry> WindowList() const;
    // Brings the window of that index forward; nothing for an index that isn't a child.
    void BringWindowForward(int index);
    // Closes every child, each with its own closing check. False when an edit child stayed.
    bool CloseChildren();
    // Activates the child again if the focus went astray, at most once a second.
    void BringBack(QWidget* current);

private:
    qint64 mLastRepairSecond = -1;
};
