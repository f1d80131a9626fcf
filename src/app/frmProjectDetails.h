#pragma once

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class TARMOProject;

// The project wizard: five steps that fill one project record, testing each step as the user moves
// on (the name is free, the working folder exists, the server lists its databases, the logins work).
// A failed login can be accepted, since a project may be defined while its server is away. The
// wizard doesn't save: the project browser does.
class frmProjectDetails : public QDialog {
    Q_OBJECT
public:
    explicit frmProjectDetails(QWidget* parent = nullptr);
    ~frmProjectDetails() override;

    // A new record, or nullptr when cancelled.
    static std::shared_ptr<TARMOProject> newProject(QWidget* parent = nullptr);
    // The same object changed, or nullptr when cancelled (the object is then as it was).
    static std::shared_ptr<TARMOProject> EditProject(std::shared_ptr<TARMOProject> prjToEdit,
                                                     QWidget* parent = nullptr);

    // The two runs without the modal loop, for callers that drive the window themselves.
    void BeginNew();
    void BeginEdit(std::shared_ptr<TARMOProject> prjToEdit);
    std::shared_ptr<TARMOProject> Result() const;

    int Step() const { return mStep; }
    bool Dirty() const { return mbDirty; }
    bool Cancelled() const { return mbCancelled; }
    void reject() override;

    // Controls, by the names the window gives them.
    QLineEdit *txtProjectName, *txtWorkingFolder, *txtSQLServer, *txtSQLUsername, *txtSQLPassword;
    QLineEdit *txtVSSIniFile, *txtVSSUserName, *txtVSSPassword, *txtVSSProject;
    QComboBox *cboSQLServer, *cboSQLDatabase;
    QCheckBox *chkUseWindowsAuth, *chkSQLStorePassword, *chkVSSStorePassword;
    QPushButton *cmdWFBrowse, *cmdSQLServer, *cmdVSSIniFile, *cmdVSSProject;
    // Beyond the classic wizard: make a new embedded server, database or version store on the spot, so
    // that a project can be set up without any server or store at hand.
    QPushButton *cmdNewServer, *cmdNewDatabase, *cmdNewStore, *cmdNewServerStore;
    QPushButton *cmdBack, *cmdNext, *cmdFinished, *cmdCancel;
    QLabel *lblSQLUserName, *lblSQLPassword, *lblSQLServerErrorLabel, *lblSQLServerError;
    QLabel *imgSqlServerError, *imgSqlServerInfo, *lblVSSErrorLabel, *lblVSSError, *imgVSSError;
    QGroupBox* fraStep[5];

private:
    void buildWindow();
    void ResetWizard();
    void LoadProject();
    void ShowStep(int nStep, bool bFocus);
    bool ValidateStep(int nStep);
    bool TestVSSLogin(bool bFull);
    bool TestSQLLogin();
    void FillDatabaseList();
    bool refuse(int nStep, QWidget* atFault, const QString& text);
    bool askToContinue(const QString& firstLine, const QString& err);

    void cmdNext_Click();
    void cmdBack_Click();
    void cmdFinished_Click();
    void chkUseWindowsAuth_Click();
    void cmdSQLServer_Click();
    void cmdVSSIniFile_Click();
    void cmdWFBrowse_Click();
    void cmdVSSProject_Click();
    void cmdNewServer_Click();
    void cmdNewDatabase_Click();
    void cmdNewStore_Click();
    void cmdNewServerStore_Click();
    // After a store was made: its administrator, or the user named instead, is the wizard's login.
    void useNewStore(const QString& ini, const QString& user, const QString& password);

    bool mbCancelled = true;
    bool mbEditMode = false;
    bool mbDirty = false;
    QString mOriginalName;
    int mStep = 1;
    std::shared_ptr<TARMOProject> mProject;
    QStackedWidget* mSteps;
};
