#pragma once

#include "ScriptBuilder.h"

#include <QDialog>
#include <QList>
#include <QString>

#include <functional>
#include <memory>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QStackedWidget;
class ScriptCreator;
class ScriptObjectChecklist;
class ScriptStepList;
class ScriptSteps;
class TARMODatabase;
class TARMODatabaseObjects;

// "Script Generation ...": the wizard that decides which objects of the project go into a deployment
// script, with what action, and writes the script. Four modes: the changes of a version store time
// frame, the differences to another database, all objects, and a list picked by hand. Its settings
// are kept per project and user.
class frmScriptCreator : public QDialog {
    Q_OBJECT
public:
    enum class Page { Start, VSS, AnotherDB, Custom, Progress, Finish };

    explicit frmScriptCreator(QWidget* parent = nullptr);
    ~frmScriptCreator() override;

    // Prepares the window, loads the settings and shows it modally until it closes. The core comes
    // in its two halves: the user's settings and the object lists.
    void StartScriptGenerator(TARMODatabase& settings, TARMODatabaseObjects& sdbCurrent);
    // The same without the modal loop, for callers that drive the window themselves.
    void Begin(TARMODatabase& settings, TARMODatabaseObjects& sdbCurrent);

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    Page CurrentPage() const { return mPage; }
    // The mode chosen on the first page, 1 to 4; 0 while none is.
    int SelectedMode() const;
    // The settings and the object list of this run; null before Begin.
    ScriptCreator* Creator() const { return mCreator.get(); }
    ScriptSteps& Steps() const { return *mStepModel; }
    ScriptStepList* StepList() const { return mSteps; }
    bool Idle() const { return mbIdle; }

    // Controls, by the names the window gives them.
    QPushButton *cmdBack, *cmdNext, *cmdFinished, *cmdCancel;
    QRadioButton* optType[4];
    QFrame *fraStart, *fraVSS, *fraAnotherDB, *fraCustom, *fraProgress, *fraFinish;
    QLabel* fraProgressCaption;
    QDateTimeEdit *dtpFrom, *dtpUntil;
    QLabel* lblUntil;
    QCheckBox* chkUntil;
    QLineEdit *txtSQLServer, *txtSQLUsername, *txtSQLPassword;
    QComboBox *cboSQLServer, *cboSQLDatabase;
    QPushButton* cmdSQLServer;
    QCheckBox* chkUseWindowsAuth;
    QFrame* fraSQLError;
    QLabel* lblSQLServerErrorLabel;
    ScriptObjectChecklist* lvwItems;
    QLineEdit* txtFileLocation;
    QPushButton* cmdCreateFile;
    QCheckBox *chkCreatePermission, *chkDropObjectsFirst, *chkDependencyOrder;

public slots:
    // A close while a list is being built asks first and, on Yes, asks the builder to stop; the
    // window closes once it has.
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void buildWindow();
    QFrame* buildStartPage();
    QFrame* buildVSSPage();
    QFrame* buildAnotherDBPage();
    QFrame* buildCustomPage();
    QFrame* buildProgressPage();
    QFrame* buildFinishPage();
    void connectControls();

    void LoadDialogValues();
    void SaveSettings();
    void ShowPage(Page page);
    void focusField(ScriptField field);
    long HelpTopicOfPage() const;
    QWidget* serverField() const;

    void cmdBack_Click();
    void cmdNext_Click();
    void cmdFinished_Click();
    void cmdSQLServer_Click();
    void cmdCreateFile_Click();
    void cboSQLDatabase_DropDown();
    void chkUntil_Click();
    void chkUseWindowsAuth_Click();
    void DestinationChanged();

    ScriptTimeFrame TimeFrame() const;
    bool CheckTimeFrame();
    bool CheckAnotherDB();
    void RunSelectedMode();
    // Runs the builder of the mode and moves to the page that its outcome asks for.
    void BuildList(int mode);
    void FillCustomList();
    void WriteScript();
    void closeNow();

    TARMODatabase* mSettings = nullptr;
    TARMODatabaseObjects* msdbCurrent = nullptr;
    std::unique_ptr<ScriptCreator> mCreator;
    std::unique_ptr<ScriptSteps> mStepModel;
    std::unique_ptr<ScriptBuilder> mBuilder;
    QList<ScriptCustomRow> mCustomRows;
    Page mPage = Page::Start;
    bool mbCancel = false;
    bool mbIdle = true;
    bool mbWriting = false;
    bool mbCustomLoaded = false;
    QString mSettingsFile;

    QStackedWidget* mPages = nullptr;
    QButtonGroup* mModes = nullptr;
    ScriptStepList* mSteps = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
