#include "ScriptGenWindows.h"

#include "ObjectDispatch.h"
#include "frmScriptCreator.h"
#include "mdiMain.h"

namespace ScriptGenWindows {

void Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().ScriptGenerator = [window](TARMODatabase& database, QWidget* owner) {
        TARMODatabaseObjects* objects = window->Dispatch() ? window->Dispatch()->DatabaseObjects() : nullptr;
        if (!objects)
            return;
        frmScriptCreator form(owner);
        form.SetHelp(window->Factories().Help);
        form.StartScriptGenerator(database, *objects);
    };
}

} // namespace ScriptGenWindows
