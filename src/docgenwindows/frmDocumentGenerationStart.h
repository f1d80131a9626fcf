#pragma once

#include "DocGenProject.h"

#include <QDialog>
#include <QList>

#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QToolButton;
class TARMODatabaseObjects;
class frmDocumentGenerationProgress;

// "Automatic Documentation ...": what to document (the whole database or one module), in which
// format and where to, and how names are shown; starts the runs. It owns the project's document
// settings for its lifetime: loaded when it opens, written back when it closes.
class frmDocumentGenerationStart : public QDialog {
    Q_OBJECT
public:
    explicit frmDocumentGenerationStart(QWidget* parent = nullptr);

    // Loads the settings of the project and shows the dialog modally.
    void StartDocumentGeneration(TARMODatabaseObjects& sdbCurrent, const QString& projectName);
    // The loading without the modal show.
    void Load(TARMODatabaseObjects& sdbCurrent, const QString& projectName);

    // The checks of Generate Document, then the run; True when a document was generated.
    bool Generate();
    // Opens the module manager and takes its changes into the module list.
    void OpenModuleManager();
    void BrowseDocument();
    void BrowseTemplate();

    // The controls copied into the settings, as before a run and on closing.
    void TakeControls();
    // The settings as they stand in memory.
    const DocGenProject& Settings() const { return mProject; }
    const QString& SettingsFileName() const { return mSettingsFile; }

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }
    // Shown each progress window before its run starts.
    void SetProgressWatcher(std::function<void(frmDocumentGenerationProgress&)> watcher) {
        mProgressWatcher = std::move(watcher);
    }

    QRadioButton* optComplete() const { return moptComplete; }
    QRadioButton* optModule() const { return moptModule; }
    QComboBox* cboModules() const { return mcboModules; }
    QPushButton* cmdOpen() const { return mcmdOpen; }
    QComboBox* cboType() const { return mcboType; }
    QLineEdit* txtDocumentName() const { return mtxtDocumentName; }
    QToolButton* cmdBrowse() const { return mcmdBrowse; }
    QLineEdit* txtTemplate() const { return mtxtTemplate; }
    QToolButton* cmdBrowseTemplate() const { return mcmdBrowseTemplate; }
    QLabel* lblTemplate() const { return mlblTemplate; }
    QCheckBox* chkObjectSummary() const { return mchkObjectSummary; }
    QCheckBox* chkObjectSummaryPerFile() const { return mchkObjectSummaryPerFile; }
    QCheckBox* chkOwnerNames() const { return mchkOwnerNames; }
    QCheckBox* chkOwnerInOwnColumn() const { return mchkOwnerInOwnColumn; }
    QCheckBox* chkEncapsulateOwner() const { return mchkEncapsulateOwner; }
    QCheckBox* chkEncapsulateObject() const { return mchkEncapsulateObject; }
    QPushButton* cmdGenerate() const { return mcmdGenerate; }
    QPushButton* cmdClose() const { return mcmdClose; }

    // Every way of closing ends here: the settings are written, and if that fails the user may
    // keep the dialog open rather than lose them.
    void done(int result) override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    // One row of the output types: key, display name, and the file name the type keeps.
    struct OutputType {
        QString Key;
        QString DisplayName;
        QString FileName;
    };

    void BuildControls();
    void FillModules(const QString& select);
    void SetControls();
    void TypeChanged(int index);
    void UpdateDependentControls();
    bool invalid(const QString& text, QWidget* focus);
    // The type of the row that is shown, "" for none.
    QString CurrentType() const;
    DocGenModule* SelectedModule();
    bool SaveSettings();

    TARMODatabaseObjects* msdbCurrent = nullptr;
    DocGenProject mProject;
    QString mSettingsFile;
    QList<OutputType> mTypes;
    int mTypeShown = -1;
    bool mbLoaded = false;

    QRadioButton* moptComplete = nullptr;
    QRadioButton* moptModule = nullptr;
    QComboBox* mcboModules = nullptr;
    QPushButton* mcmdOpen = nullptr;
    QComboBox* mcboType = nullptr;
    QLineEdit* mtxtDocumentName = nullptr;
    QToolButton* mcmdBrowse = nullptr;
    QLabel* mlblTemplate = nullptr;
    QLineEdit* mtxtTemplate = nullptr;
    QToolButton* mcmdBrowseTemplate = nullptr;
    QCheckBox* mchkObjectSummary = nullptr;
    QCheckBox* mchkObjectSummaryPerFile = nullptr;
    QCheckBox* mchkOwnerNames = nullptr;
    QCheckBox* mchkOwnerInOwnColumn = nullptr;
    QCheckBox* mchkEncapsulateOwner = nullptr;
    QCheckBox* mchkEncapsulateObject = nullptr;
    QPushButton* mcmdGenerate = nullptr;
    QPushButton* mcmdClose = nullptr;
    std::function<void(QWidget*, long)> mHelp;
    std::function<void(frmDocumentGenerationProgress&)> mProgressWatcher;
};
