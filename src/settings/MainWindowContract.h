#pragma once

#include "WindowState.h"

#include <QString>

#include <functional>

class TARMODatabase;

// What opening a project asks of the main window. The core holds the main window only through this,
// so that the core stays free of widgets; the program installs the factory that makes the window.
class MainWindowContract {
public:
    virtual ~MainWindowContract() = default;

    virtual bool Loading() const = 0;
    virtual void SetLoading(bool loading) = 0;
    // First use: binds the window to the core.
    virtual void Init(TARMODatabase& database) = 0;
    virtual void SetCaption(const QString& caption) = 0;
    // Builds the top of the Database Tree; the width is in twips.
    virtual void InitDBT(long dbtWidth) = 0;
    // Height and width in twips, then the state (normal or maximized).
    virtual void SetGeometry(long height, long width, WindowState windowState) = 0;
    virtual void SetDatabaseTreeVisible(bool visible) = 0;
    virtual void SetExtraPanelVisible(bool visible) = 0;
    virtual void ShowWindow() = 0;
    virtual void HideWindow() = 0;
    // Offers the first user of a project to synchronize both stores.
    virtual void CheckProjectSyncInfo() = 0;
};

using MainWindowFactory = std::function<MainWindowContract*()>;
