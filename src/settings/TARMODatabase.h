#pragma once

#include "MainWindowContract.h"
#include "Registry.h"
#include "ScreenSize.h"
#include "TARMOProject.h"
#include "TARMOProjects.h"
#include "WindowState.h"

#include <QString>
#include <QStringList>

#include <functional>

class TARMOError;

// The core object of the running system. It holds the settings: every preference and remembered
// window geometry is a property backed by one value under "Software\Tarmo Integration". Nothing is
// cached: each read asks the store and each write goes to it at once, so two running instances see
// each other's changes. It also keeps the project records, numbered subkeys of the same key in
// most-recent order (1 is the project opened last), and the current project.
class TARMODatabase {
public:
    static const QString SettingsKey; // "Software\Tarmo Integration"

    TARMODatabase();
    explicit TARMODatabase(std::shared_ptr<KeyStore> store);

    Registry& SettingsRegistry() { return mRegistry; }

    // The screen that bounds the remembered window sizes and places.
    const ScreenSize& Screen() const { return mScreen; }
    void SetScreen(const ScreenSize& screen) { mScreen = screen; }

    // Where a preference that couldn't be saved is told (a lock held by a stopped copy, a full disk).
    // The setters never throw, since many run from close events; without a handler the failure goes
    // to standard error. The value is then not saved: the next write tries again.
    using WriteFailureHandler = std::function<void(const TARMOError&)>;
    void SetWriteFailureHandler(WriteFailureHandler handler) { mWriteFailed = std::move(handler); }

    // --- Projects
    const std::shared_ptr<TARMOProject>& Project() const { return mProject; }
    void SetProject(std::shared_ptr<TARMOProject> project) { mProject = std::move(project); }
    // Makes the project current and number 1 of the most-recent order and brings up the main window
    // on it. Its connections are open.
    bool OpenProject(const std::shared_ptr<TARMOProject>& prjToOpen);
    // How the main window is made on first use; without a factory, opening a project shows no window.
    void SetMainWindowFactory(MainWindowFactory factory) { mMainWindowFactory = std::move(factory); }
    MainWindowContract* MainWindow() const { return mMainWindow; }
    // The project named by ProjectToOpen, with Default set; nullptr when there is none.
    std::shared_ptr<TARMOProject> GetDefaultProject() const;
    // nullptr when the key is missing or has no name.
    std::shared_ptr<TARMOProject> FindProjectByID(long SequenceID) const;
    // All projects, by number.
    std::unique_ptr<TARMOProjects> FindAllProjects(bool bGetProjectValues = true,
                                                   bool bGetAllSubProjects = true) const;
    bool ProjectNameExists(const QString& strNewName, const QString& strOldName) const;
    // Gives a new record the next free number and writes its thirteen values, all in one step of the
    // store. The changes of records below (save, remove, move to top) each happen whole or not at all
    // and throw TARMOError when the store can't be written or stays locked by another copy.
    void SaveProject(TARMOProject& spToSave);
    // The highest project number in use; 0 when there is none.
    long GetRegistryProjectCount() const;
    // Moves the projects behind it down by one, so the numbers stay without a gap.
    void RemoveProject(const TARMOProject& spToRemove);
    // The names of projects 1 to 4 from element 1; element 0 stays empty.
    QStringList GetMostRecentProject() const;
    // Makes project n number 1 and moves the ones before it up by one.
    void MoveProjectToTop(long n);

    // --- Project start-up
    bool OpenMostRecent() const;
    void SetOpenMostRecent(bool value);

    // --- Main window (twips unless noted)
    long WindowHeight() const;
    void SetWindowHeight(long value);
    long WindowWidth() const;
    void SetWindowWidth(long value);
    ::WindowState WindowState() const; // Normal or Maximized
    void SetWindowState(::WindowState value);
    long DBTWidth() const;
    void SetDBTWidth(long value);
    bool DBTVisible() const;
    void SetDBTVisible(bool value);
    bool ExtraPanelVisible() const;
    void SetExtraPanelVisible(bool value);
    long ExtraPanelHeight() const; // pixels; -1 when none is stored
    void SetExtraPanelHeight(long value);
    bool ShowMainStatusBar() const;
    void SetShowMainStatusBar(bool value);

    // --- Object display and prompts
    bool ShowDescriptionPrompt() const;
    void SetShowDescriptionPrompt(bool value);
    bool ShowDescriptionInDBT() const;
    void SetShowDescriptionInDBT(bool value);
    bool ShowOwnerNameInName() const;
    void SetShowOwnerNameInName(bool value);
    bool ShowOwnerNameInProp() const;
    void SetShowOwnerNameInProp(bool value);
    bool ShowSaveChangesNew() const;
    void SetShowSaveChangesNew(bool value);
    bool ShowSaveChangesEdit() const;
    void SetShowSaveChangesEdit(bool value);
    int ShowSaveChangesPermission() const;
    void SetShowSaveChangesPermission(int value);
    long SaveChangesEditDefault() const;
    void SetSaveChangesEditDefault(long value);
    long SaveChangesNewDefault() const;
    void SetSaveChangesNewDefault(long value);
    bool ShowPermissionsOnNewObjectCreate() const;
    void SetShowPermissionsOnNewObjectCreate(bool value);
    bool ShowCommentPrompt() const;
    void SetShowCommentPrompt(bool value);
    int ShowPermissionsInDBT() const;
    void SetShowPermissionsInDBT(int value);
    int ShowPermissionsInEditor() const;
    void SetShowPermissionsInEditor(int value);

    // --- Child windows (twips)
    ::WindowState ChildWindowState() const; // Normal or Maximized
    void SetChildWindowState(::WindowState value);
    // False until a child window's size has been stored: the first one then fills the window area.
    bool ChildWindowSizeSet() const;
    long ChildWindowWidth() const;
    void SetChildWindowWidth(long value);
    long ChildWindowHeight() const;
    void SetChildWindowHeight(long value);

    // --- Comparison window (pixels); diffRect is "left, top, right, bottom"
    long diffLeft() const;
    void SetdiffLeft(long value);
    long diffTop() const;
    void SetdiffTop(long value);
    long diffRight() const;
    void SetdiffRight(long value);
    long diffBottom() const;
    void SetdiffBottom(long value);
    QString diffRect() const;
    void SetdiffRect(const QString& value);
    bool diffMaximized() const;
    void SetdiffMaximized(bool value);

    // --- Document generator
    int DocGenType() const;
    void SetDocGenType(int value);
    QString DocGenFileName() const;
    void SetDocGenFileName(const QString& value);
    QString DocGenTempalte() const;
    void SetDocGenTempalte(const QString& value);

    // --- Real servers: the ODBC driver by its registered name ("" = the newest SQL Server driver that
    // is installed, else FreeTDS), and extra connection-string options for it.
    QString ODBCDriver() const;
    void SetODBCDriver(const QString& value);
    QString ODBCOptions() const;
    void SetODBCOptions(const QString& value);

    // Default texts of new objects: <user folder>/<ObjectTag>.default.
    QString GetDefaultText(const QString& objectTag) const;
    void SetDefaultText(const QString& objectTag, const QString& defaultText);

    // The raw text of a setting, for readers with a view of their own (the project number).
    QString SettingText(const QString& valueName) const;

private:
    void writeSetting(const QString& valueName, const QString& text);
    void writeBool(const QString& valueName, bool value);
    void writeLong(const QString& valueName, long value);
    bool readBool(const QString& valueName, bool defaultValue) const;
    int readCode(const QString& valueName, int defaultValue, std::initializer_list<int> codes) const;
    long readBounded(const QString& valueName, long defaultValue, long lowest, long belowLimit) const;
    long readWhole(const QString& valueName, long defaultValue, long lowest) const;

    std::shared_ptr<TARMOProject> LoadProjectFromKey(const RegistryKey& key) const;
    std::shared_ptr<RegistryKey> ProjectsRoot(bool withValues) const;

    Registry mRegistry;
    ScreenSize mScreen;
    std::shared_ptr<TARMOProject> mProject;
    MainWindowFactory mMainWindowFactory;
    MainWindowContract* mMainWindow = nullptr;
    WriteFailureHandler mWriteFailed;
};
