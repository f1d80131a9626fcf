#include "Options.h"

#include "ChildWindowArea.h"
#include "ChildWindowContract.h"
#include "ObjectDispatch.h"
#include "StatusPanels.h"
#include "TARMODatabase.h"
#include "TARMODatabaseObjects.h"
#include "frmOptions.h"
#include "mdiMain.h"

#include <QMdiSubWindow>

namespace Options {

namespace {

QList<OptionsObjectKind> editableKinds(mdiMain& window) {
    QList<OptionsObjectKind> kinds;
    TARMODatabaseObjects* objects = window.Dispatch() ? window.Dispatch()->DatabaseObjects() : nullptr;
    if (!objects)
        return kinds;
    objects->AvailableEditableObjects()->ForEach([&](const TARMODBTItem& item) {
        kinds.append({item.Tag, item.Text, window.Images().Icon(item.ImageName)});
    });
    return kinds;
}

void takeSettings(mdiMain& window, TARMODatabase& database) {
    window.RefreshForms();
    window.sbrMain()->setVisible(database.ShowMainStatusBar());
    for (QMdiSubWindow* sub : window.MdiArea()->subWindowList())
        if (ChildWindowContract* child = ChildWindowArea::Contract(sub->widget()))
            child->RefreshStatusBar();
}

} // namespace

void Install(mdiMain& main) {
    mdiMain* window = &main;
    main.Factories().Options = [window](TARMODatabase& database, QWidget* owner) {
        frmOptions form(owner);
        form.SetObjectKinds(editableKinds(*window));
        form.SetHelp(window->Factories().Help);
        form.SetAfterSave([window, &database] { takeSettings(*window, database); });
        form.ShowOptions(database);
    };
}

} // namespace Options
