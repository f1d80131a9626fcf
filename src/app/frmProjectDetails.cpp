#include "frmProjectDetails.h"

#include "DbConnection.h"
#include "EmbeddedServer.h"
#include "GeneralHelpers.h"
#include "Globals.h"
#include "GuiHelpers.h"
#include "HelpIntegration.h"
#include "SqlQuote.h"
#include "TARMODatabase.h"
#include "TARMOError.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"
#include "VersionStore.h"
#include "frmVSSProjectBrowser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const QString kWindowsAuthentication = QStringLiteral("(Windows authentication)");

QLabel* note(const QString& text = {}) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    return label;
}

QLabel* image(QStyle::StandardPixmap which) {
    auto* label = new QLabel;
    label->setPixmap(label->style()->standardIcon(which).pixmap(32, 32));
    return label;
}

// Sets a box only when its text differs: putting back what is there is no change of the record.
void setChanged(QLineEdit* box, const QString& text) {
    if (box->text() != text)
        box->setText(text);
}

template <typename T> T* named(T* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

// The embedded servers the user is likely to want: the demo's, and those of the saved projects.
QStringList knownEmbeddedServers() {
    QStringList servers;
    const QString demo = ApplicationFolder() + QStringLiteral("/demo/server");
    if (FolderExists(demo))
        servers << QStringLiteral("embedded:") + demo;
    if (gDatabase) {
        const auto projects = gDatabase->FindAllProjects();
        for (const auto& project : *projects) {
            const QString server = project->SQL().Server();
            if (server.startsWith(QStringLiteral("embedded:")) && !servers.contains(server))
                servers << server;
        }
    }
    return servers;
}

} // namespace

frmProjectDetails::frmProjectDetails(QWidget* parent)
    : QDialog(parent)
    , mProject(std::make_shared<TARMOProject>()) {
    setObjectName(QStringLiteral("frmProjectDetails"));
    InstallHelpKey(this, HelpId(HelpTopic::ProjectWizard));
    buildWindow();
}

frmProjectDetails::~frmProjectDetails() = default;

void frmProjectDetails::buildWindow() {
    txtProjectName = named(new QLineEdit, "txtProjectName");
    txtWorkingFolder = named(new QLineEdit, "txtWorkingFolder");
    cmdWFBrowse = named(new QPushButton(QStringLiteral("...")), "cmdWFBrowse");
    txtSQLServer = named(new QLineEdit, "txtSQLServer");
    cboSQLServer = named(new QComboBox, "cboSQLServer");
    cboSQLServer->setEditable(true);
    cmdSQLServer = named(new QPushButton(QStringLiteral("...")), "cmdSQLServer");
    chkUseWindowsAuth =
        named(new QCheckBox(QStringLiteral("Use &Windows authentication")), "chkUseWindowsAuth");
    txtSQLUsername = named(new QLineEdit, "txtSQLUsername");
    txtSQLPassword = named(new QLineEdit, "txtSQLPassword");
    txtSQLPassword->setEchoMode(QLineEdit::Password);
    lblSQLUserName = named(new QLabel(QStringLiteral("&User Name:")), "lblSQLUserName");
    lblSQLPassword = named(new QLabel(QStringLiteral("&Password:")), "lblSQLPassword");
    lblSQLUserName->setBuddy(txtSQLUsername);
    lblSQLPassword->setBuddy(txtSQLPassword);
    cboSQLDatabase = named(new QComboBox, "cboSQLDatabase");
    cboSQLDatabase->setEditable(true);
    chkSQLStorePassword =
        named(new QCheckBox(QStringLiteral("&Store SQL Password in the Registry")), "chkSQLStorePassword");
    lblSQLServerErrorLabel = named(note(), "lblSQLServerErrorLabel");
    lblSQLServerError = named(note(), "lblSQLServerError");
    imgSqlServerError = named(image(QStyle::SP_MessageBoxCritical), "imgSqlServerError");
    imgSqlServerInfo = named(image(QStyle::SP_MessageBoxInformation), "imgSqlServerInfo");
    txtVSSIniFile = named(new QLineEdit, "txtVSSIniFile");
    cmdVSSIniFile = named(new QPushButton(QStringLiteral("...")), "cmdVSSIniFile");
    txtVSSUserName = named(new QLineEdit, "txtVSSUserName");
    txtVSSPassword = named(new QLineEdit, "txtVSSPassword");
    txtVSSPassword->setEchoMode(QLineEdit::Password);
    txtVSSProject = named(new QLineEdit, "txtVSSProject");
    cmdVSSProject = named(new QPushButton(QStringLiteral("...")), "cmdVSSProject");
    cmdNewServer = named(new QPushButton(QStringLiteral("New Embedded Server...")), "cmdNewServer");
    cmdNewDatabase = named(new QPushButton(QStringLiteral("New Database...")), "cmdNewDatabase");
    cmdNewStore = named(new QPushButton(QStringLiteral("New Version Store...")), "cmdNewStore");
    cmdNewServerStore =
        named(new QPushButton(QStringLiteral("New Store on a Server...")), "cmdNewServerStore");
    chkVSSStorePassword =
        named(new QCheckBox(QStringLiteral("&Store VSS Password in the Registry")), "chkVSSStorePassword");
    lblVSSErrorLabel = named(
        note(QStringLiteral("The connection to the VSS could not be established due to the following eror:")),
        "lblVSSErrorLabel");
    lblVSSError = named(note(), "lblVSSError");
    imgVSSError = named(image(QStyle::SP_MessageBoxCritical), "imgVSSError");

    const char* titles[] = {"Project Details ...", "SQL Server Settings ...", "SQL Database Settings ...",
                            "Visual SourceSafe Settings ...", "VSS Project Settings ..."};
    const char* texts[] = {
        "Specify a unique name that can be used to identify the Project.",
        "Specify the Microsoft SQL Server Name to connect to and the related Login information.",
        "Specify the Database to connect to and specify whether the SQL Password should be saved in the "
        "registry. "
        "NOTE that the password will not be encrypted.",
        "Specify the Microsoft Visual SourceSafe Database to connect to and the relevant Login infomation.",
        "Specify the VSS Project that will be used for this project and specify whether the VSS Password "
        "should be "
        "stored in the Registry. NOTE that the password will not be encrypted."};
    mSteps = new QStackedWidget;
    QGridLayout* grids[5];
    for (int i = 0; i < 5; ++i) {
        fraStep[i] = new QGroupBox(QString::fromLatin1(titles[i]));
        fraStep[i]->setObjectName(QStringLiteral("fraStep%1").arg(i + 1));
        auto* outer = new QVBoxLayout(fraStep[i]);
        outer->addWidget(note(QString::fromLatin1(texts[i])));
        grids[i] = new QGridLayout;
        grids[i]->setColumnStretch(1, 1);
        outer->addLayout(grids[i]);
        outer->addStretch();
        mSteps->addWidget(fraStep[i]);
    }
    auto row = [](QGridLayout* g, int r, const QString& label, QWidget* field, QWidget* button = nullptr) {
        auto* l = new QLabel(label);
        l->setBuddy(field);
        g->addWidget(l, r, 0);
        g->addWidget(field, r, 1);
        if (button)
            g->addWidget(button, r, 2);
    };
    row(grids[0], 0, QStringLiteral("&Project Name:"), txtProjectName);
    grids[0]->addWidget(
        note(QStringLiteral("The Working Folder specifies the location where items will be checked "
                            "out to.")),
        1, 0, 1, 3);
    row(grids[0], 2, QStringLiteral("&Working Folder:"), txtWorkingFolder, cmdWFBrowse);

    auto* serverBox = new QHBoxLayout;
    serverBox->addWidget(txtSQLServer);
    serverBox->addWidget(cboSQLServer);
    auto* lblSQLServer = new QLabel(QStringLiteral("SQL &Server:"));
    lblSQLServer->setBuddy(txtSQLServer);
    grids[1]->addWidget(lblSQLServer, 0, 0);
    grids[1]->addLayout(serverBox, 0, 1);
    grids[1]->addWidget(cmdSQLServer, 0, 2);
    grids[1]->addWidget(chkUseWindowsAuth, 1, 1);
    grids[1]->addWidget(lblSQLUserName, 2, 0);
    grids[1]->addWidget(txtSQLUsername, 2, 1);
    grids[1]->addWidget(lblSQLPassword, 3, 0);
    grids[1]->addWidget(txtSQLPassword, 3, 1);
    grids[1]->addWidget(cmdNewServer, 4, 1, Qt::AlignLeft);

    row(grids[2], 0, QStringLiteral("&Database:"), cboSQLDatabase, cmdNewDatabase);
    grids[2]->addWidget(chkSQLStorePassword, 1, 1);
    grids[2]->addWidget(imgSqlServerError, 2, 0, Qt::AlignTop);
    grids[2]->addWidget(imgSqlServerInfo, 2, 0, Qt::AlignTop);
    grids[2]->addWidget(lblSQLServerErrorLabel, 2, 1);
    grids[2]->addWidget(lblSQLServerError, 3, 1);

    row(grids[3], 0, QStringLiteral("&Ini File:"), txtVSSIniFile, cmdVSSIniFile);
    row(grids[3], 1, QStringLiteral("&User Name:"), txtVSSUserName);
    row(grids[3], 2, QStringLiteral("&Password:"), txtVSSPassword);
    auto* storeButtons = new QHBoxLayout;
    storeButtons->addWidget(cmdNewStore);
    storeButtons->addWidget(cmdNewServerStore);
    storeButtons->addStretch();
    grids[3]->addLayout(storeButtons, 3, 1);

    row(grids[4], 0, QStringLiteral("VSS &Project:"), txtVSSProject, cmdVSSProject);
    grids[4]->addWidget(chkVSSStorePassword, 1, 1);
    grids[4]->addWidget(imgVSSError, 2, 0, Qt::AlignTop);
    grids[4]->addWidget(lblVSSErrorLabel, 2, 1);
    grids[4]->addWidget(lblVSSError, 3, 1);

    cmdBack = named(new QPushButton(QStringLiteral("&Back")), "cmdBack");
    cmdNext = named(new QPushButton(QStringLiteral("&Next")), "cmdNext");
    cmdFinished = named(new QPushButton(QStringLiteral("&Finished")), "cmdFinished");
    cmdCancel = named(new QPushButton(QStringLiteral("Cancel")), "cmdCancel");
    for (auto* b : {cmdBack, cmdNext, cmdFinished, cmdCancel, cmdNewServer, cmdNewDatabase, cmdNewStore,
                    cmdNewServerStore, cmdWFBrowse, cmdSQLServer, cmdVSSIniFile, cmdVSSProject})
        b->setAutoDefault(false);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (auto* b : {cmdBack, cmdNext, cmdFinished, cmdCancel})
        buttons->addWidget(b);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mSteps, 1);
    layout->addLayout(buttons);
    resize(std::max(620, sizeHint().width()), std::max(420, sizeHint().height()));

    // Every change of an input makes the record dirty.
    for (auto* box : findChildren<QLineEdit*>())
        connect(box, &QLineEdit::textChanged, this, [this] { mbDirty = true; });
    for (auto* check : {chkUseWindowsAuth, chkSQLStorePassword, chkVSSStorePassword})
        connect(check, &QCheckBox::toggled, this, [this] { mbDirty = true; });
    connect(cboSQLDatabase, &QComboBox::editTextChanged, this, [this] { mbDirty = true; });
    connect(cboSQLServer, &QComboBox::editTextChanged, this, [this](const QString& text) {
        mbDirty = true;
        txtSQLServer->setText(text);
    });
    connect(chkUseWindowsAuth, &QCheckBox::toggled, this, &frmProjectDetails::chkUseWindowsAuth_Click);
    connect(cmdBack, &QPushButton::clicked, this, &frmProjectDetails::cmdBack_Click);
    connect(cmdNext, &QPushButton::clicked, this, &frmProjectDetails::cmdNext_Click);
    connect(cmdFinished, &QPushButton::clicked, this, &frmProjectDetails::cmdFinished_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmProjectDetails::reject);
    connect(cmdSQLServer, &QPushButton::clicked, this, &frmProjectDetails::cmdSQLServer_Click);
    connect(cmdVSSIniFile, &QPushButton::clicked, this, &frmProjectDetails::cmdVSSIniFile_Click);
    connect(cmdWFBrowse, &QPushButton::clicked, this, &frmProjectDetails::cmdWFBrowse_Click);
    connect(cmdVSSProject, &QPushButton::clicked, this, &frmProjectDetails::cmdVSSProject_Click);
    connect(cmdNewServer, &QPushButton::clicked, this, &frmProjectDetails::cmdNewServer_Click);
    connect(cmdNewDatabase, &QPushButton::clicked, this, &frmProjectDetails::cmdNewDatabase_Click);
    connect(cmdNewStore, &QPushButton::clicked, this, &frmProjectDetails::cmdNewStore_Click);
    connect(cmdNewServerStore, &QPushButton::clicked, this, &frmProjectDetails::cmdNewServerStore_Click);
    SelectAllTextOnFocus(this);
}

std::shared_ptr<TARMOProject> frmProjectDetails::newProject(QWidget* parent) {
    frmProjectDetails wizard(parent);
    wizard.BeginNew();
    wizard.exec();
    return wizard.Result();
}

std::shared_ptr<TARMOProject> frmProjectDetails::EditProject(std::shared_ptr<TARMOProject> prjToEdit,
                                                             QWidget* parent) {
    frmProjectDetails wizard(parent);
    wizard.BeginEdit(std::move(prjToEdit));
    wizard.exec();
    return wizard.Result();
}

void frmProjectDetails::BeginNew() {
    mbCancelled = true;
    mbEditMode = false;
    mProject = std::make_shared<TARMOProject>();
    ResetWizard();
}

void frmProjectDetails::BeginEdit(std::shared_ptr<TARMOProject> prjToEdit) {
    mbCancelled = true;
    mbEditMode = true;
    mProject = std::move(prjToEdit);
    ResetWizard();
    LoadProject();
}

std::shared_ptr<TARMOProject> frmProjectDetails::Result() const {
    return mbCancelled ? nullptr : mProject;
}

void frmProjectDetails::ResetWizard() {
    mStep = 1;
    ShowStep(1, false);
    for (auto* box : findChildren<QLineEdit*>())
        if (box->parent() != cboSQLServer && box->parent() != cboSQLDatabase)
            box->clear();
    cboSQLServer->clear();
    cboSQLDatabase->clear();
    cboSQLDatabase->setEditText(QString());
    for (auto* check : {chkUseWindowsAuth, chkSQLStorePassword, chkVSSStorePassword})
        check->setChecked(false);
    for (QWidget* w :
         std::initializer_list<QWidget*>{lblSQLServerErrorLabel, lblSQLServerError, imgSqlServerError,
                                         imgSqlServerInfo, lblVSSErrorLabel, lblVSSError, imgVSSError})
        w->hide();
    setWindowTitle(QStringLiteral("Project Wizard - New Project"));
    cboSQLServer->hide();
    txtSQLServer->show();
    cmdSQLServer->setVisible(mProject->SQL().SQLDMOInstalled());
    if (!mbEditMode)
        mProject->SetSequence(-1);
    mbDirty = false;
    mOriginalName.clear();
}

void frmProjectDetails::LoadProject() {
    mOriginalName = mProject->Name();
    const TARMOSQL& sql = mProject->SQL();
    const TARMOVSS& vss = mProject->VSS();
    txtProjectName->setText(mProject->Name());
    txtWorkingFolder->setText(vss.GeneralWorkingFolder());
    txtSQLServer->setText(sql.Server());
    txtSQLUsername->setText(sql.UserName());
    txtSQLPassword->setText(sql.Password());
    chkUseWindowsAuth->setChecked(sql.UseWinNTAuth());
    cboSQLDatabase->setEditText(sql.Database());
    chkSQLStorePassword->setChecked(sql.StorePassword());
    txtVSSIniFile->setText(vss.IniFile());
    txtVSSUserName->setText(vss.UserName());
    txtVSSPassword->setText(vss.Password());
    txtVSSProject->setText(vss.Project());
    chkVSSStorePassword->setChecked(vss.StorePassword());
    setWindowTitle(QStringLiteral("Project Wizard - Project Details"));
    mbDirty = false;
}

void frmProjectDetails::ShowStep(int nStep, bool bFocus) {
    mStep = nStep;
    mSteps->setCurrentIndex(nStep - 1);
    if (bFocus) {
        QWidget* focus[] = {txtProjectName,
                            txtSQLServer->isVisible() ? static_cast<QWidget*>(txtSQLServer)
                                                      : static_cast<QWidget*>(cboSQLServer),
                            cboSQLDatabase, txtVSSIniFile, txtVSSProject};
        focus[nStep - 1]->setFocus();
    }
    cmdBack->setEnabled(nStep >= 2);
    cmdNext->setEnabled(nStep < 5);
    cmdNext->setDefault(cmdNext->isEnabled());
    cmdFinished->setDefault(!cmdNext->isEnabled());
}

bool frmProjectDetails::refuse(int nStep, QWidget* atFault, const QString& text) {
    MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Invalid Data"));
    ShowStep(nStep, false);
    atFault->setFocus();
    return false;
}

bool frmProjectDetails::ValidateStep(int nStep) {
    switch (nStep) {
    case 1: {
        const QString name = txtProjectName->text().trimmed();
        if (name.isEmpty())
            return refuse(1, txtProjectName, QStringLiteral("No Project Name specified!"));
        if (gDatabase && gDatabase->ProjectNameExists(name, mOriginalName))
            return refuse(1, txtProjectName, QStringLiteral("The specified Project Name already exists!"));
        const QString folder = txtWorkingFolder->text().trimmed();
        if (folder.isEmpty())
            return refuse(1, txtWorkingFolder, QStringLiteral("No Working Folder specified!"));
        if (!FolderExists(folder))
            return refuse(1, txtWorkingFolder,
                          QStringLiteral("The specified Working Folder does not exist!"));
        return true;
    }
    case 2: {
        QWidget* server = txtSQLServer->isVisible() || cboSQLServer->isHidden()
                              ? static_cast<QWidget*>(txtSQLServer)
                              : static_cast<QWidget*>(cboSQLServer);
        const QString serverText =
            server == txtSQLServer ? txtSQLServer->text() : cboSQLServer->currentText();
        if (serverText.trimmed().isEmpty())
            return refuse(2, server, QStringLiteral("No SQL Server specified!"));
        if (!chkUseWindowsAuth->isChecked() && txtSQLUsername->text().trimmed().isEmpty())
            return refuse(2, txtSQLUsername, QStringLiteral("No Username specified!"));
        FillDatabaseList();
        return true;
    }
    case 3: {
        if (cboSQLDatabase->currentText().trimmed().isEmpty())
            return refuse(3, cboSQLDatabase, QStringLiteral("No Database specified!"));
        const bool ok = TestSQLLogin();
        if (!ok) {
            ShowStep(3, false);
            cboSQLDatabase->setFocus();
        }
        return ok;
    }
    case 4: {
        const QString ini = txtVSSIniFile->text().trimmed();
        if (ini.isEmpty())
            return refuse(4, txtVSSIniFile, QStringLiteral("No Ini File specified!"));
        if (!FileExists(ini))
            return refuse(4, txtVSSIniFile, QStringLiteral("The specified Ini File does not exist!"));
        if (txtVSSUserName->text().trimmed().isEmpty())
            return refuse(4, txtVSSUserName, QStringLiteral("No Username specified!"));
        TestVSSLogin(false);
        return true;
    }
    case 5: {
        if (txtVSSProject->text().trimmed().isEmpty())
            return refuse(5, txtVSSProject, QStringLiteral("No Project specified!"));
        const bool ok = TestVSSLogin(true);
        if (!ok) {
            ShowStep(5, false);
            txtVSSProject->setFocus();
        }
        return ok;
    }
    default:
        return true;
    }
}

void frmProjectDetails::FillDatabaseList() {
    for (QWidget* w : std::initializer_list<QWidget*>{lblSQLServerErrorLabel, lblSQLServerError,
                                                      imgSqlServerError, imgSqlServerInfo})
        w->hide();
    // Refilling the list is no change of the user's: the text in the box stays as it was.
    const bool wasDirty = mbDirty;
    const QString kept = cboSQLDatabase->currentText();
    cboSQLDatabase->clear();
    TARMOSQL& sql = mProject->SQL();
    const QString server = txtSQLServer->text();
    const bool windows = chkUseWindowsAuth->isChecked();
    QString err = sql.ValidSQLDMOConnectionString(server, txtSQLUsername->text(), txtSQLPassword->text(),
                                                  QString(), windows);
    QStringList names;
    if (err.isEmpty() && DbDriver::CanListDatabasesAndParse(server)) {
        try {
            names = sql.FindDatabases(server, txtSQLUsername->text(), txtSQLPassword->text(), windows);
        } catch (const TARMOError& e) {
            err = sql.FormatSQLError(e.Description());
        }
    }
    if (!err.isEmpty()) {
        lblSQLServerErrorLabel->setText(
            QStringLiteral("The Database list could not be filled due to the following error:"));
        lblSQLServerError->setText(err);
        lblSQLServerErrorLabel->show();
        lblSQLServerError->show();
        imgSqlServerError->show();
    } else if (DbDriver::CanListDatabasesAndParse(server)) {
        for (qsizetype i = 1; i < names.size(); ++i)
            cboSQLDatabase->addItem(names[i]);
    } else {
        lblSQLServerErrorLabel->setText(QStringLiteral(
            "NOTE: The database list could not be generated because the Microsoft SQLDMO component is "
            "not installed on your machine. It is recommended that you install the Microsoft SQL "
            "Server Client components."));
        lblSQLServerErrorLabel->show();
        imgSqlServerInfo->show();
    }
    cboSQLDatabase->setEditText(kept);
    mbDirty = wasDirty;
}

bool frmProjectDetails::askToContinue(const QString& firstLine, const QString& err) {
    return MsgBox(firstLine + QStringLiteral("\r\nThe following error occured:\r\n") + err,
                  Prompt::Buttons::YesNo, Prompt::Icon::Critical,
                  QStringLiteral("Invalid Data")) == Prompt::Answer::Yes;
}

bool frmProjectDetails::TestSQLLogin() {
    TARMOSQL& sql = mProject->SQL();
    const QString server = txtSQLServer->text();
    const QString database = cboSQLDatabase->currentText();
    QString user = txtSQLUsername->text();
    QString password = txtSQLPassword->text();
    const bool windows = chkUseWindowsAuth->isChecked();
    QString err;
    bool asked = false;
    if (password.isEmpty() && !windows && !chkSQLStorePassword->isChecked()) {
        err = sql.ValidSQLDMOConnectionString(server, user, QString(), QString(), false);
        if (!err.isEmpty()) {
            asked = true;
            if (!prompts().SQLLogin(server, database, user, password))
                err = QStringLiteral("Password was not entered!");
            else
                asked = false;
        }
    }
    if (!asked)
        err = sql.ValidSQLDMOConnectionString(server, user, password, database, windows);
    const bool ok =
        err.isEmpty() ||
        askToContinue(
            QStringLiteral("Could not connect to the specified database. Would you like to continue anyway?"),
            err);
    if (ok) {
        setChanged(txtSQLUsername, user);
        setChanged(txtSQLPassword, password);
    }
    return ok;
}

bool frmProjectDetails::TestVSSLogin(bool bFull) {
    TARMOVSS& vss = mProject->VSS();
    const QString ini = txtVSSIniFile->text();
    QString user = txtVSSUserName->text();
    QString password = txtVSSPassword->text();
    if (!bFull) {
        for (QWidget* w : std::initializer_list<QWidget*>{lblVSSError, lblVSSErrorLabel, imgVSSError})
            w->hide();
        BusyCursor busy;
        const QString err = vss.TestConnection(ini, user, password, QString());
        if (!err.isEmpty()) {
            lblVSSError->setText(err);
            for (QWidget* w : std::initializer_list<QWidget*>{lblVSSError, lblVSSErrorLabel, imgVSSError})
                w->show();
        }
        return true;
    }
    // The store is tested with the password entered: one just made has no empty password.
    QString err = vss.TestConnection(ini, user, password, QString());
    if (!err.isEmpty() && password.trimmed().isEmpty() && !chkVSSStorePassword->isChecked()) {
        if (!prompts().VSSLogin(ini, user, password))
            err = QStringLiteral("Password was not entered!");
        else
            err = vss.TestConnection(ini, user, password, QString());
    }
    const bool ok =
        err.isEmpty() ||
        askToContinue(
            QStringLiteral("Could not connect to the specified project. Would you like to continue anyway?"),
            err);
    if (ok) {
        setChanged(txtVSSUserName, user);
        setChanged(txtVSSPassword, password);
    }
    return ok;
}

void frmProjectDetails::cmdBack_Click() {
    if (mStep > 1)
        --mStep;
    ShowStep(mStep, true);
}

void frmProjectDetails::cmdNext_Click() {
    BusyCursor busy;
    if (ValidateStep(mStep)) {
        if (mStep < 5)
            ++mStep;
        ShowStep(mStep, true);
    }
}

void frmProjectDetails::cmdFinished_Click() {
    {
        BusyCursor busy;
        for (int n = 1; n <= 5; ++n)
            if (!ValidateStep(n))
                return;
    }
    mProject->SetName(txtProjectName->text());
    TARMOSQL& sql = mProject->SQL();
    sql.SetServer(txtSQLServer->text());
    sql.SetUseWinNTAuth(chkUseWindowsAuth->isChecked());
    if (sql.UseWinNTAuth()) {
        sql.SetUserName(QString());
        sql.SetPassword(QString());
        sql.SetStorePassword(false);
    } else {
        sql.SetUserName(txtSQLUsername->text());
        sql.SetPassword(txtSQLPassword->text());
        sql.SetStorePassword(chkSQLStorePassword->isChecked());
    }
    sql.SetDatabase(cboSQLDatabase->currentText());
    TARMOVSS& vss = mProject->VSS();
    vss.SetIniFile(txtVSSIniFile->text());
    vss.SetUserName(txtVSSUserName->text());
    vss.SetPassword(txtVSSPassword->text());
    vss.SetProject(txtVSSProject->text());
    vss.SetStorePassword(chkVSSStorePassword->isChecked());
    vss.SetGeneralWorkingFolder(txtWorkingFolder->text());
    mbDirty = false;
    mbCancelled = false;
    accept();
}

void frmProjectDetails::reject() {
    if (mbDirty && MsgBox(QStringLiteral("Are you sure you want to exit without saving the changes made?"),
                          Prompt::Buttons::YesNo, Prompt::Icon::Question,
                          QStringLiteral("Discard Changes?")) == Prompt::Answer::No)
        return;
    QDialog::reject();
}

void frmProjectDetails::chkUseWindowsAuth_Click() {
    const bool windows = chkUseWindowsAuth->isChecked();
    for (QWidget* w :
         std::initializer_list<QWidget*>{lblSQLUserName, txtSQLUsername, lblSQLPassword, txtSQLPassword})
        w->setEnabled(!windows);
    chkSQLStorePassword->setVisible(!windows);
    mbDirty = true;
    if (!windows && txtSQLUsername->text() == kWindowsAuthentication) {
        txtSQLUsername->clear();
        txtSQLUsername->setFocus();
    }
}

void frmProjectDetails::cmdSQLServer_Click() {
    BusyCursor busy;
    QStringList names = mProject->SQL().FindServers();
    for (const auto& embedded : knownEmbeddedServers())
        if (!names.contains(embedded))
            names << embedded;
    if (names.size() < 2) {
        txtSQLServer->setFocus();
        return;
    }
    const QString remembered = cboSQLServer->isVisible() ? cboSQLServer->currentText() : txtSQLServer->text();
    const bool wasDirty = mbDirty;
    cboSQLServer->clear();
    for (qsizetype i = 1; i < names.size(); ++i)
        cboSQLServer->addItem(names[i]);
    cboSQLServer->setEditText(remembered);
    mbDirty = wasDirty;
    cboSQLServer->show();
    txtSQLServer->hide();
    cboSQLServer->setFocus();
}

void frmProjectDetails::cmdVSSIniFile_Click() {
    const QString initial =
        txtVSSIniFile->text().isEmpty() ? QStringLiteral("srcsafe.ini") : txtVSSIniFile->text();
    const QString chosen = prompts().OpenFileName(
        QStringLiteral("Select the Microsoft Visual SourceSafe Database File (srcsafe.ini)"),
        QStringLiteral("Microsoft Visual SourceSafe Database Files (srcsafe.ini)"), initial);
    if (!chosen.isEmpty())
        txtVSSIniFile->setText(chosen);
    txtVSSUserName->setFocus();
}

void frmProjectDetails::cmdWFBrowse_Click() {
    // A folder chooser where the classic dialog borrowed a file chooser and cut the file name off.
    const QString chosen =
        prompts().FolderName(QStringLiteral("Select the Working Folder"), txtWorkingFolder->text());
    if (!chosen.isEmpty())
        txtWorkingFolder->setText(chosen);
    txtWorkingFolder->setFocus();
}

void frmProjectDetails::cmdVSSProject_Click() {
    BusyCursor busy;
    TARMOVSS connection;
    const QString err =
        connection.OpenConnection(txtVSSIniFile->text(), txtVSSUserName->text(), txtVSSPassword->text(),
                                  QStringLiteral("$\\"), QString(), true, true);
    if (!err.isEmpty()) {
        MsgBox(err, Prompt::Buttons::OK, Prompt::Icon::Exclamation,
               QStringLiteral("Cannot connect to Visual SourceSafe Database"));
        return;
    }
    frmVSSProjectBrowser browser(this);
    const QString folder = browser.GetFolder(txtVSSProject->text(), connection);
    if (!folder.isEmpty())
        txtVSSProject->setText(folder);
    chkVSSStorePassword->setFocus();
}

void frmProjectDetails::cmdNewServer_Click() {
    const QString folder = prompts().FolderName(
        QStringLiteral("Select an empty folder for the new embedded server"), ApplicationFolder());
    if (folder.isEmpty())
        return;
    const QString server = QStringLiteral("embedded:") + folder;
    QString user = QStringLiteral("sa");
    QString password;
    if (!EmbeddedServer::IsServerFolder(folder)) {
        if (!prompts().NewLogin(QStringLiteral("New Embedded Server"), server, user, password))
            return;
        try {
            BusyCursor busy;
            EmbeddedServer::Create(folder, password);
        } catch (const TARMOError& e) {
            MsgBox(e.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
                   QStringLiteral("Could not create the server"));
            return;
        }
    }
    chkUseWindowsAuth->setChecked(false);
    txtSQLServer->setText(server);
    cboSQLServer->setEditText(server);
    txtSQLUsername->setText(user);
    txtSQLPassword->setText(password);
}

void frmProjectDetails::cmdNewDatabase_Click() {
    QString name = txtProjectName->text().trimmed();
    if (!prompts().InputText(QStringLiteral("New Database"), QStringLiteral("Name of the new database:"),
                             name) ||
        name.trimmed().isEmpty())
        return;
    name = name.trimmed();
    try {
        BusyCursor busy;
        auto connection = DbDriver::CreateConnection(txtSQLServer->text());
        connection->Open({txtSQLServer->text(), QString(), txtSQLUsername->text(), txtSQLPassword->text(),
                          chkUseWindowsAuth->isChecked()});
        connection->Execute(QStringLiteral("CREATE DATABASE ") + SqlQuote::Name(name));
        connection->Close();
    } catch (const TARMOError& e) {
        MsgBox(TARMOSQL::FormatSQLError(e.Description()), Prompt::Buttons::OK, Prompt::Icon::Critical,
               QStringLiteral("Could not create the database"));
        return;
    }
    cboSQLDatabase->addItem(name);
    cboSQLDatabase->setEditText(name);
}

void frmProjectDetails::cmdNewStore_Click() {
    const QString folder = prompts().FolderName(
        QStringLiteral("Select an empty folder for the new version store"), ApplicationFolder());
    if (folder.isEmpty())
        return;
    QString user = QStringLiteral("Admin");
    QString password;
    if (!prompts().NewLogin(QStringLiteral("New Version Store"), folder, user, password))
        return;
    QString ini;
    try {
        BusyCursor busy;
        ini = VersionStore::Create(folder, password);
    } catch (const TARMOError& e) {
        MsgBox(e.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
               QStringLiteral("Could not create the store"));
        return;
    }
    useNewStore(ini, user, password);
}

void frmProjectDetails::cmdNewServerStore_Click() {
    const QString folder = prompts().FolderName(
        QStringLiteral("Select an empty folder for the new store's ini file"), ApplicationFolder());
    if (folder.isEmpty())
        return;
    QString url = QStringLiteral("postgresql://localhost:5432/tarmostore");
    if (!prompts().InputText(QStringLiteral("New Store on a Server"),
                             QStringLiteral("PostgreSQL database (it must exist):"), url))
        return;
    // The role that will own the store's tables: one that may create schemas and roles there.
    QString owner = QStringLiteral("postgres");
    QString ownerPassword;
    if (!prompts().SQLLogin(url, QStringLiteral("owner of the new store"), owner, ownerPassword))
        return;
    QString user = QStringLiteral("Admin");
    QString password;
    if (!prompts().NewLogin(QStringLiteral("New Store on a Server"), url, user, password))
        return;
    QString ini;
    try {
        BusyCursor busy;
        ini = VersionStore::CreateOnServer(folder, url, password, false, owner, ownerPassword);
    } catch (const TARMOError& e) {
        MsgBox(e.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
               QStringLiteral("Could not create the store"));
        return;
    }
    useNewStore(ini, user, password);
}

void frmProjectDetails::useNewStore(const QString& ini, const QString& user, const QString& password) {
    if (user.compare(QStringLiteral("Admin"), Qt::CaseInsensitive) != 0) {
        try {
            BusyCursor busy;
            VersionStore store;
            store.Open(ini, QStringLiteral("Admin"), password);
            store.AddUser(user, password);
        } catch (const TARMOError& e) {
            MsgBox(e.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
                   QStringLiteral("Could not add the user to the store"));
            return;
        }
    }
    txtVSSIniFile->setText(ini);
    txtVSSUserName->setText(user);
    txtVSSPassword->setText(password);
}
