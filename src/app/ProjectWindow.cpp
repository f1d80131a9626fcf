#include "ProjectWindow.h"

#include "Globals.h"
#include "TARMODatabase.h"

namespace {
MainWindowFactory& projectWindowFactory() {
    static MainWindowFactory factory;
    return factory;
}
} // namespace

void SetProjectWindowFactory(MainWindowFactory factory) {
    projectWindowFactory() = std::move(factory);
}

bool OpenProjectWindow(const std::shared_ptr<TARMOProject>& project) {
    if (!gDatabase->MainWindow() && projectWindowFactory())
        gDatabase->SetMainWindowFactory(projectWindowFactory());
    return gDatabase->OpenProject(project);
}
