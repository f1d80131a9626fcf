#include "ItemTools.h"

#include "ObjectDispatch.h"
#include "frmItemHistory.h"
#include "frmRenameObject.h"
#include "frmUndelete.h"
#include "mdiMain.h"

namespace ItemTools {

void Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().HistoryWindow = [window](TARMODatabase&, QWidget* owner,
                                              const std::shared_ptr<DispatchedObject>& object) {
        const std::shared_ptr<TARMOObjectVSS> versioned = object ? object->Versioned() : nullptr;
        if (!versioned)
            return false;
        frmItemHistory form(owner);
        form.SetHelp(window->Factories().Help);
        return form.ShowHistory(*versioned);
    };
    main.Factories().RenameDialog = [window](TARMODatabase& database, QWidget* owner, const QString& strName,
                                             const QString& strOwner) {
        frmRenameObject form(owner);
        form.SetHelp(window->Factories().Help);
        return form.RenameItem(database, strName, strOwner);
    };
    main.Factories().Undelete = [window](TARMODatabase&, QWidget* owner) {
        TARMODatabaseObjects* objects = window->Dispatch() ? window->Dispatch()->DatabaseObjects() : nullptr;
        if (!objects)
            return false;
        frmUndelete form(owner);
        form.SetHelp(window->Factories().Help);
        return form.ShowDeletedItems(*objects);
    };
}

} // namespace ItemTools
