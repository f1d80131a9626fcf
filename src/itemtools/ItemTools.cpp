#include "ItemTools.h"

#include "CoreDispatch.h"
#include "frmEditObjectText.h"
#include "frmItemHistory.h"
#include "frmRenameObject.h"
#include "frmUndelete.h"
#include "mdiMain.h"

namespace ItemTools {

void Install(mdiMain& main) {
    mdiMain* window = &main;
    frmEditObjectText::HistoryWindow() = [window](TARMODatabase&, QWidget* owner,
                                                  std::shared_ptr<DispatchedObject> object) {
        auto* core = dynamic_cast<CoreObject*>(object.get());
        const std::shared_ptr<TARMOObjectVSS> versioned = core ? core->Ref().Versioned() : nullptr;
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
        auto* dispatch = dynamic_cast<CoreDispatch*>(window->Dispatch());
        if (!dispatch)
            return false;
        frmUndelete form(owner);
        form.SetHelp(window->Factories().Help);
        return form.ShowDeletedItems(dispatch->Objects());
    };
}

} // namespace ItemTools
