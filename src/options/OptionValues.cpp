#include "OptionValues.h"

#include "TARMODatabase.h"

namespace {

long offered(long code, const QList<long>& actions) {
    return actions.contains(code) ? code : 0;
}

template <typename T, typename Setter>
void writeIfChanged(TARMODatabase& database, T now, T before, Setter set) {
    if (now != before)
        (database.*set)(now);
}

} // namespace

const QList<long>& OptionValues::NewObjectActions() {
    static const QList<long> actions = {1, 2, 3};
    return actions;
}

const QList<long>& OptionValues::EditObjectActions() {
    static const QList<long> actions = {1, 2, 4, 5};
    return actions;
}

OptionValues OptionValues::Read(const TARMODatabase& database) {
    OptionValues values;
    values.ShowProjectBrowser = !database.OpenMostRecent();
    values.ShowMainStatusBar = database.ShowMainStatusBar();
    values.ShowDescriptionInDBT = database.ShowDescriptionInDBT();
    values.ShowOwnerNameInName = database.ShowOwnerNameInName();
    values.ShowOwnerNameInProp = database.ShowOwnerNameInProp();
    values.ShowDescriptionPrompt = database.ShowDescriptionPrompt();
    values.ShowPermissionsOnNewObjectCreate = database.ShowPermissionsOnNewObjectCreate();
    values.ShowCommentPrompt = database.ShowCommentPrompt();
    values.SaveChangesNewDefault = offered(database.SaveChangesNewDefault(), NewObjectActions());
    values.UseDefaultNew = !database.ShowSaveChangesNew();
    values.SaveChangesEditDefault = offered(database.SaveChangesEditDefault(), EditObjectActions());
    values.UseDefaultEdit = !database.ShowSaveChangesEdit();
    values.ShowSaveChangesPermission = database.ShowSaveChangesPermission();
    values.ShowPermissionsInDBT = database.ShowPermissionsInDBT();
    values.ShowPermissionsInEditor = database.ShowPermissionsInEditor();
    return values;
}

void OptionValues::WriteChanges(TARMODatabase& database, const OptionValues& before) const {
    using D = TARMODatabase;
    writeIfChanged(database, !ShowProjectBrowser, !before.ShowProjectBrowser, &D::SetOpenMostRecent);
    writeIfChanged(database, ShowMainStatusBar, before.ShowMainStatusBar, &D::SetShowMainStatusBar);
    writeIfChanged(database, ShowDescriptionInDBT, before.ShowDescriptionInDBT, &D::SetShowDescriptionInDBT);
    writeIfChanged(database, ShowOwnerNameInName, before.ShowOwnerNameInName, &D::SetShowOwnerNameInName);
    writeIfChanged(database, ShowOwnerNameInProp, before.ShowOwnerNameInProp, &D::SetShowOwnerNameInProp);
    writeIfChanged(database, ShowDescriptionPrompt, before.ShowDescriptionPrompt,
                   &D::SetShowDescriptionPrompt);
    writeIfChanged(database, ShowPermissionsOnNewObjectCreate, before.ShowPermissionsOnNewObjectCreate,
                   &D::SetShowPermissionsOnNewObjectCreate);
    writeIfChanged(database, ShowCommentPrompt, before.ShowCommentPrompt, &D::SetShowCommentPrompt);
    writeIfChanged(database, SaveChangesNewDefault, before.SaveChangesNewDefault,
                   &D::SetSaveChangesNewDefault);
    writeIfChanged(database, !UseDefaultNew, !before.UseDefaultNew, &D::SetShowSaveChangesNew);
    writeIfChanged(database, SaveChangesEditDefault, before.SaveChangesEditDefault,
                   &D::SetSaveChangesEditDefault);
    writeIfChanged(database, !UseDefaultEdit, !before.UseDefaultEdit, &D::SetShowSaveChangesEdit);
    writeIfChanged(database, ShowSaveChangesPermission, before.ShowSaveChangesPermission,
                   &D::SetShowSaveChangesPermission);
    writeIfChanged(database, ShowPermissionsInDBT, before.ShowPermissionsInDBT, &D::SetShowPermissionsInDBT);
    writeIfChanged(database, ShowPermissionsInEditor, before.ShowPermissionsInEditor,
                   &D::SetShowPermissionsInEditor);
}
