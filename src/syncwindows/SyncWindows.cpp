#include "SyncWindows.h"

#include "ObjectDispatch.h"
#include "frmSyncProcess.h"
#include "mdiMain.h"

namespace SyncWindows {

void Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().Synchronize = [window](TARMODatabase&, QWidget* owner) {
        TARMODatabaseObjects* objects = window->Dispatch() ? window->Dispatch()->DatabaseObjects() : nullptr;
        if (!objects)
            return false;
        frmSyncProcess form(owner);
        form.SetHelp(window->Factories().Help);
        return form.StartSync(*objects);
    };
}

} // namespace SyncWindows
