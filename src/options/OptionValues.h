#pragma once

#include <QList>

class TARMODatabase;

// Every setting that the Options dialog shows, as its controls hold it: the inverted settings are
// kept the way the check boxes read, and a stored action code that no option of its group offers
// reads as 0, which is what "no option chosen" stores.
struct OptionValues {
    // General
    bool ShowProjectBrowser = true; // OpenMostRecent, inverted
    // View
    bool ShowMainStatusBar = true;
    bool ShowDescriptionInDBT = false;
    bool ShowOwnerNameInName = false;
    bool ShowOwnerNameInProp = false;
    // Editor
    bool ShowDescriptionPrompt = false;
    bool ShowPermissionsOnNewObjectCreate = false;
    bool ShowCommentPrompt = true;
    // Changes made
    long SaveChangesNewDefault = 0;
    bool UseDefaultNew = false; // ShowSaveChangesNew, inverted
    long SaveChangesEditDefault = 0;
    bool UseDefaultEdit = false; // ShowSaveChangesEdit, inverted
    int ShowSaveChangesPermission = 0;
    // Permissions
    int ShowPermissionsInDBT = 0;
    int ShowPermissionsInEditor = 0;

    // The closing actions that the two pages of unsaved changes offer, in the order of their options.
    static const QList<long>& NewObjectActions();  // check in, save text, discard
    static const QList<long>& EditObjectActions(); // check in, save text, keep checked out, undo check-out

    static OptionValues Read(const TARMODatabase& database);
    // Writes, in the order of the pages, each value that differs from what was read before: a
    // setting left alone here keeps what another running copy may have stored since.
    void WriteChanges(TARMODatabase& database, const OptionValues& before) const;

    bool operator==(const OptionValues&) const = default;
};
