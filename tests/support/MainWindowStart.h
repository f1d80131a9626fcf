#pragma once

// Header only, for the suites that link the main window.

#include "ChildWindowArea.h"
#include "EditorChildWindow.h"
#include "TARMODatabase.h"
#include "mdiMain.h"

#include <QCoreApplication>
#include <QMdiSubWindow>
#include <QSize>

// Opens the main window over the database the way the program starts it: filled while loading,
// the tree at its usual width unless the test has no tree, then shown.
inline void StartMainWindow(mdiMain& window, TARMODatabase& database, bool withTree = true,
                            QSize size = QSize(1000, 700)) {
    window.SetLoading(true);
    window.Init(database);
    if (withTree)
        window.InitDBT(2865);
    window.resize(size);
    window.SetLoading(false);
    window.ShowWindow();
}

// Closes every editor child without asking, so that no window outlives its test's project.
inline void CloseEditorChildren(mdiMain& window) {
    for (QMdiSubWindow* sub : window.MdiArea()->subWindowList())
        if (auto* form = qobject_cast<EditorChildWindow*>(sub->widget()))
            form->CloseItem(true);
    QCoreApplication::processEvents();
}
