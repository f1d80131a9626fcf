#include "DocGenWindows.h"

#include "ObjectDispatch.h"
#include "QtPrompts.h"
#include "TARMODatabase.h"
#include "TARMOProject.h"
#include "frmDocumentGenerationStart.h"
#include "mdiMain.h"

namespace DocGenWindows {

void Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().DocumentGenerator = [window](TARMODatabase& database, QWidget* owner) {
        TARMODatabaseObjects* objects = window->Dispatch() ? window->Dispatch()->DatabaseObjects() : nullptr;
        if (!objects || !database.Project())
            return;
        // The main window holds the hourglass while a command runs; the dialog is for the user
        // to fill in, so the pointer is the ordinary one until a run starts.
        const ArrowWhileAsking arrow;
        frmDocumentGenerationStart form(owner);
        form.SetHelp(window->Factories().Help);
        form.StartDocumentGeneration(*objects, database.Project()->Name());
    };
}

} // namespace DocGenWindows
