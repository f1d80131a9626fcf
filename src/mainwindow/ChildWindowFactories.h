#pragma once

#include <QString>

#include <functional>
#include <memory>

class DispatchedObject;
class QWidget;
class TARMODatabase;

// How the main window makes the windows and dialogs of the other subsystems. Each is installed by
// the program once that window exists; a command whose maker isn't installed does nothing.
// A maker of a child window returns the widget (an EditorChildWindow), and the main window places
// it in its window area. A child window reaches the makers through the main window it belongs to.
struct ChildWindowFactories {
    // A new object edit window on an existing object.
    std::function<QWidget*(TARMODatabase&, std::shared_ptr<DispatchedObject>)> OpenObjectWindow;
    // A new object edit window on a new object, with the default text of its kind and the table that
    // was selected ("" when none), for the tag substitution of the default text.
    std::function<QWidget*(TARMODatabase&, std::shared_ptr<DispatchedObject>, const QString& strDefaultText,
                           const QString& strTableName, const QString& strTableOwner)>
        NewObjectWindow;
    std::function<QWidget*(TARMODatabase&, std::shared_ptr<DispatchedObject>, const QString& strTag,
                           const QString& strKey)>
        PermissionWindow;
    std::function<QWidget*(TARMODatabase&)> QueryWindow;
    // The history of an object, modal; True when it rolled the object back, so the opener reads the
    // object again. Without it the object windows offer no history.
    std::function<bool(TARMODatabase&, QWidget* owner, std::shared_ptr<DispatchedObject>)> HistoryWindow;
    // Modal runs; True when the stores changed and the tree must be read again.
    std::function<bool(TARMODatabase&, QWidget* owner)> Synchronize;
    std::function<bool(TARMODatabase&, QWidget* owner)> Undelete;
    // The new name, or "" when the user cancelled.
    std::function<QString(TARMODatabase&, QWidget* owner, const QString& strName, const QString& strOwner)>
        RenameDialog;
    std::function<void(TARMODatabase&, QWidget* owner)> Options;
    std::function<void(TARMODatabase&, QWidget* owner)> DocumentGenerator;
    std::function<void(TARMODatabase&, QWidget* owner)> ScriptGenerator;
    // Shows a help topic for the window.
    std::function<void(QWidget* owner, long lngTopic)> Help;
};
