#pragma once

#include "Commands.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPair>
#include <QStringList>

class ImageList;
class QAction;
class QMainWindow;
class QMenu;
class QToolBar;
class QToolButton;
class ShortcutTable;
struct TARMOContextMenu;

// Rows of the New and recent-project tables: column 1, column 2.
using MenuTable = QList<QPair<QString, QString>>;

// The main menu, the pop-up menu of the tree and the two toolbars of the main window. Every entry
// has a key, a caption, a command and a picture; a click reports the command with the
// entry's parameter (its key, or the key that carries an index), which the window hands to its one
// command routine.
class MainMenus : public QObject {
    Q_OBJECT
public:
    MainMenus(QMainWindow& window, const ImageList& images, const ShortcutTable& shortcuts);

    // Builds everything anew from the New entries and the recent projects.
    void Build(const MenuTable& newEntries, const MenuTable& recentProjects);

    // An entry of the main menu or the pop-up menu by its key ("mnuUndo", "mnuPopupCheckIn"); a
    // toolbar button by its key ("EDITBAR:UNDO"). nullptr for an unknown key.
    QAction* Entry(const QString& key) const;
    QMenu* Menu(const QString& key) const;
    QToolBar* tbrDBT() const { return mtbrDBT; }
    QToolBar* tbrEdit() const { return mtbrEdit; }
    QMenu* mnuPopup() const { return mMenus.value(QStringLiteral("mnuPopup")); }
    // The toolbar buttons of a bar ("DBTBAR", "EDITBAR") without separators.
    QList<QAction*> Buttons(const QString& band) const;
    // The parameter and command that a click on the entry hands over.
    static QString Parameter(const QAction* action);
    static Command CommandOf(const QAction* action);

    // Shows and hides the pop-up entries according to what the selected thing offers; without a
    // node only the New entries and "Refresh Database Tree" remain.
    void PopupSetup(bool bHasNode, const TARMOContextMenu& menu);

    // The window list at the end of the Window menu: entries (caption, index among all windows,
    // checked, icon position from 1); the fixed entries are enabled when the list isn't empty.
    struct WindowEntry {
        QString Caption;
        int Index;
        bool Active;
        int Icon;
    };
    void SetWindowList(const QList<WindowEntry>& windows);

signals:
    void CommandChosen(Command command, const QString& strParameter);
    // A menu is about to open ("mnuView", "mnuToolbars", "mnuWindows").
    void MenuOpening(const QString& menuKey);

private:
    QMenu* addMenu(QMenu* parent, const QString& key, const QString& caption);
    QAction* addEntry(QMenu* menu, const QString& key, const QString& caption, Command command,
                      const QString& icon = {}, bool withShortcut = false, const QString& parameter = {});
    QAction* addButton(QToolBar* bar, const QString& key, const QString& text, const QString& tip,
                       Command command, const QString& icon);
    void addSeparator(QMenu* menu, const QString& key);
    void addBarSeparator(QToolBar* bar, const QString& key);
    void buildMainMenu(const MenuTable& newEntries, const MenuTable& recentProjects);
    void buildPopup(const MenuTable& newEntries);
    void buildToolbars(const MenuTable& newEntries);
    void addNewEntries(QMenu* menu, const MenuTable& newEntries, const QString& keyPrefix);
    void clear();

    QMainWindow& mWindow;
    const ImageList& mImages;
    const ShortcutTable& mShortcuts;
    QHash<QString, QAction*> mEntries;
    QHash<QString, QMenu*> mMenus;
    QToolBar* mtbrDBT = nullptr;
    QToolBar* mtbrEdit = nullptr;
    QMenu* mNewButtonMenu = nullptr;
};
