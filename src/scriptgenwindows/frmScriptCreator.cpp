#include "frmScriptCreator.h"

#include "DbConnection.h"
#include "ScriptCreator.h"
#include "ScriptMessages.h"
#include "ScriptObjectChecklist.h"
#include "ScriptStepList.h"
#include "ScriptSteps.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOHistoryData.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QFrame>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace {

template <typename T> T* named(T* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

QLabel* note(const QString& text = {}) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    return label;
}

// A page: its title as a heading that wraps, then the page's own controls.
QFrame* page(const char* name, const QString& title, QLabel** heading = nullptr) {
    auto* frame = named(new QFrame, name);
    auto* layout = new QVBoxLayout(frame);
    auto* label = note(title);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    label->setObjectName(QString::fromLatin1(name) + QStringLiteral("Caption"));
    layout->addWidget(label);
    if (heading)
        *heading = label;
    return frame;
}

// The combo box of the database names: filled when it drops down, since only then are the server and
// the login known.
class DropDownComboBox : public QComboBox {
public:
    std::function<void()> BeforeDropDown;

    void showPopup() override {
        if (BeforeDropDown)
            BeforeDropDown();
        QComboBox::showPopup();
    }
};

// The "..." buttons beside a field: as narrow as their text allows.
QPushButton* browseButton(const char* name, const QString& toolTip) {
    auto* button = named(new QPushButton(QStringLiteral("...")), name);
    button->setToolTip(toolTip);
    button->setFixedWidth(button->fontMetrics().horizontalAdvance(QStringLiteral("...")) * 3);
    return button;
}

QDateTimeEdit* datePicker(const char* name) {
    auto* picker = named(new QDateTimeEdit, name);
    picker->setCalendarPopup(true);
    // The day first and a 24 hour clock, as the script's banner writes dates.
    picker->setDisplayFormat(QStringLiteral("dd.MM.yyyy HH:mm:ss"));
    // The earliest moment stands for "no date": it shows as a blank.
    picker->setMinimumDateTime(QDateTime(QDate(1900, 1, 1), QTime(0, 0)));
    picker->setSpecialValueText(QStringLiteral(" "));
    picker->setMinimumWidth(picker->fontMetrics().horizontalAdvance(QStringLiteral("00.00.0000 00:00:00")) +
                            picker->style()->pixelMetric(QStyle::PM_ScrollBarExtent) * 3);
    return picker;
}

// An arrow over the wizard for as long as it lives, above the hourglass of whoever opened it; the
// wizard's own hourglasses go on top of it.
class NormalPointer {
public:
    NormalPointer() { QGuiApplication::setOverrideCursor(Qt::ArrowCursor); }
    ~NormalPointer() { QGuiApplication::restoreOverrideCursor(); }
    NormalPointer(const NormalPointer&) = delete;
    NormalPointer& operator=(const NormalPointer&) = delete;
};

} // namespace

frmScriptCreator::frmScriptCreator(QWidget* parent)
    : QDialog(parent)
    , mStepModel(std::make_unique<ScriptSteps>()) {
    setObjectName(QStringLiteral("frmScriptCreator"));
    setWindowTitle(QStringLiteral("Script Generation ..."));
    setModal(true);
    buildWindow();
    connectControls();
    mSteps->Attach(mStepModel.get());
}

frmScriptCreator::~frmScriptCreator() {
    mSteps->Attach(nullptr);
}

void frmScriptCreator::buildWindow() {
    mPages = new QStackedWidget;
    for (QFrame* frame :
         {fraStart = buildStartPage(), fraVSS = buildVSSPage(), fraAnotherDB = buildAnotherDBPage(),
         fraCustom = buildCustomPage(), fraProgress = buildProgressPage(), fraFinish = buildFinishPage()})
        mPages->addWidget(frame);

    // No mnemonic on Next and Finished: the pages' labels own the letters.
    cmdBack = named(new QPushButton(QStringLiteral("< &Back")), "cmdBack");
    cmdNext = named(new QPushButton(QStringLiteral("Next >")), "cmdNext");
    cmdFinished = named(new QPushButton(QStringLiteral("Finished")), "cmdFinished");
    cmdCancel = named(new QPushButton(QStringLiteral("Cancel")), "cmdCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (QPushButton* button : {cmdBack, cmdNext, cmdFinished, cmdCancel})
        buttons->addWidget(button);

    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mPages, 1);
    layout->addWidget(line);
    layout->addLayout(buttons);

    // The first size from the screen: a third of its width and half of its height, within reason.
    const QRect screen = (parentWidget() && parentWidget()->screen() ? parentWidget()->screen()
                                                                     : QGuiApplication::primaryScreen())
                             ->availableGeometry();
    const int unit = fontMetrics().horizontalAdvance(QLatin1Char('x'));
    resize(qBound(unit * 70, screen.width() / 3, unit * 110),
           qBound(unit * 45, screen.height() / 2, unit * 70));
}

QFrame* frmScriptCreator::buildStartPage() {
    QFrame* frame =
        page("fraStart", QStringLiteral("Select the Type of script you would like to create ..."));
    mModes = new QButtonGroup(this);
    const QString captions[] = {
        QStringLiteral("Use Visual SourceSafe time frame"), QStringLiteral("Compare to another database"),
        QStringLiteral("Create script for all supported database objects"),
        QStringLiteral("Custom script (You can specify the objects you would like to script)")};
    auto* layout = static_cast<QVBoxLayout*>(frame->layout());
    for (int i = 0; i < 4; ++i) {
        optType[i] = new QRadioButton(captions[i]);
        optType[i]->setObjectName(QStringLiteral("optType%1").arg(i + 1));
        mModes->addButton(optType[i], i + 1);
        layout->addWidget(optType[i]);
    }
    layout->addStretch();
    return frame;
}

QFrame* frmScriptCreator::buildVSSPage() {
    QFrame* frame = page("fraVSS", QStringLiteral("Visual SourceSafe time frame to use ..."));
    dtpFrom = datePicker("dtpFrom");
    dtpUntil = datePicker("dtpUntil");
    chkUntil = named(new QCheckBox(QStringLiteral("&Today")), "chkUntil");
    auto* lblFrom = named(new QLabel(QStringLiteral("&Get changes made from:")), "lblFrom");
    lblFrom->setBuddy(dtpFrom);
    lblUntil = named(new QLabel(QStringLiteral("&Until:")), "lblUntil");
    lblUntil->setBuddy(dtpUntil);
    auto* grid = new QGridLayout;
    grid->addWidget(lblFrom, 0, 0);
    grid->addWidget(dtpFrom, 0, 1);
    grid->addWidget(lblUntil, 1, 0);
    grid->addWidget(dtpUntil, 1, 1);
    grid->addWidget(chkUntil, 1, 2);
    grid->setColumnStretch(3, 1);
    auto* layout = static_cast<QVBoxLayout*>(frame->layout());
    layout->addLayout(grid);
    layout->addStretch();
    return frame;
}

QFrame* frmScriptCreator::buildAnotherDBPage() {
    QFrame* frame =
        page("fraAnotherDB", QStringLiteral("Connection information for comparing to another database ..."));
    txtSQLServer = named(new QLineEdit, "txtSQLServer");
    cboSQLServer = named(new QComboBox, "cboSQLServer");
    cboSQLServer->setEditable(true);
    cboSQLServer->hide();
    cmdSQLServer = browseButton("cmdSQLServer", QStringLiteral("List the servers"));
    txtSQLUsername = named(new QLineEdit, "txtSQLUsername");
    txtSQLPassword = named(new QLineEdit, "txtSQLPassword");
    txtSQLPassword->setEchoMode(QLineEdit::Password);
    chkUseWindowsAuth =
        named(new QCheckBox(QStringLiteral("Use &windows authentication")), "chkUseWindowsAuth");
    auto* databases = new DropDownComboBox;
    databases->BeforeDropDown = [this] { cboSQLDatabase_DropDown(); };
    cboSQLDatabase = named(static_cast<QComboBox*>(databases), "cboSQLDatabase");
    cboSQLDatabase->setEditable(true);
    cboSQLDatabase->setInsertPolicy(QComboBox::NoInsert);

    auto label = [](const QString& text, QWidget* buddy) {
        auto* l = new QLabel(text);
        l->setBuddy(buddy);
        return l;
    };
    auto* server = new QHBoxLayout;
    server->addWidget(txtSQLServer, 1);
    server->addWidget(cboSQLServer, 1);
    server->addWidget(cmdSQLServer);
    auto* grid = new QGridLayout;
    grid->addWidget(label(QStringLiteral("&Server:"), txtSQLServer), 0, 0);
    grid->addLayout(server, 0, 1);
    grid->addWidget(chkUseWindowsAuth, 1, 1);
    grid->addWidget(label(QStringLiteral("&Username:"), txtSQLUsername), 2, 0);
    grid->addWidget(txtSQLUsername, 2, 1);
    grid->addWidget(label(QStringLiteral("&Password:"), txtSQLPassword), 3, 0);
    grid->addWidget(txtSQLPassword, 3, 1);
    grid->addWidget(label(QStringLiteral("&Database:"), cboSQLDatabase), 4, 0);
    grid->addWidget(cboSQLDatabase, 4, 1);
    grid->setColumnStretch(1, 1);

    fraSQLError = named(new QFrame, "fraSQLError");
    fraSQLError->setFrameShape(QFrame::StyledPanel);
    auto* picture = new QLabel;
    picture->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(32, 32));
    lblSQLServerErrorLabel = named(note(), "lblSQLServerErrorLabel");
    lblSQLServerErrorLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* errorLayout = new QHBoxLayout(fraSQLError);
    errorLayout->addWidget(picture, 0, Qt::AlignTop);
    errorLayout->addWidget(lblSQLServerErrorLabel, 1);
    fraSQLError->hide();

    auto* layout = static_cast<QVBoxLayout*>(frame->layout());
    layout->addLayout(grid);
    layout->addWidget(fraSQLError);
    layout->addStretch();
    return frame;
}

QFrame* frmScriptCreator::buildCustomPage() {
    QFrame* frame = page("fraCustom", QStringLiteral("Select objects to script ..."));
    lvwItems = new ScriptObjectChecklist;
    frame->layout()->addWidget(lvwItems);
    return frame;
}

QFrame* frmScriptCreator::buildProgressPage() {
    QFrame* frame = page("fraProgress", QString(), &fraProgressCaption);
    mSteps = new ScriptStepList;
    frame->layout()->addWidget(mSteps);
    return frame;
}

QFrame* frmScriptCreator::buildFinishPage() {
    QFrame* frame = page("fraFinish", QStringLiteral("Destination ..."));
    txtFileLocation = named(new QLineEdit, "txtFileLocation");
    cmdCreateFile = browseButton("cmdCreateFile", QStringLiteral("Choose the script file"));
    auto* lblFile = new QLabel(QStringLiteral("&Script file name:"));
    lblFile->setBuddy(txtFileLocation);
    chkCreatePermission =
        named(new QCheckBox(QStringLiteral("&Mirror object permissions")), "chkCreatePermission");
    chkDropObjectsFirst = named(new QCheckBox(QStringLiteral("&Drop objects at the beginning of the script")),
                                "chkDropObjectsFirst");
    chkDependencyOrder =
        named(new QCheckBox(QStringLiteral("&Order objects so that each follows those it uses")),
              "chkDependencyOrder");
    chkDependencyOrder->setToolTip(
        QStringLiteral("Views on views, procedures calling procedures and functions used by views are "
                       "created after the objects they use."));
    auto* file = new QHBoxLayout;
    file->addWidget(txtFileLocation, 1);
    file->addWidget(cmdCreateFile);
    auto* layout = static_cast<QVBoxLayout*>(frame->layout());
    layout->addWidget(lblFile);
    layout->addLayout(file);
    layout->addWidget(chkCreatePermission);
    layout->addWidget(chkDropObjectsFirst);
    layout->addWidget(chkDependencyOrder);
    layout->addStretch();
    return frame;
}

void frmScriptCreator::StartScriptGenerator(TARMODatabase& settings, TARMODatabaseObjects& sdbCurrent) {
    Begin(settings, sdbCurrent);
    {
        // The main window opens the wizard under the hourglass; the pages are for typing into.
        NormalPointer pointer;
        exec();
    }
    mBuilder.reset();
    mCreator.reset();
}

void frmScriptCreator::Begin(TARMODatabase& settings, TARMODatabaseObjects& sdbCurrent) {
    mSettings = &settings;
    msdbCurrent = &sdbCurrent;
    mCreator = std::make_unique<ScriptCreator>();
    mBuilder = std::make_unique<ScriptBuilder>(sdbCurrent, *mCreator, *mStepModel);
    mbCancel = false;
    mbIdle = true;
    mbWriting = false;
    mbCustomLoaded = false;
    lvwItems->clear();
    mCustomRows.clear();
    mStepModel->Clear();
    mStepModel->ResetCancel();
    TARMOProject* project = sdbCurrent.Project();
    mSettingsFile = ScriptCreator::SettingsFileName(project ? project->Name() : QString());
    ScriptCreator::EnsureSettingsFolder(mSettingsFile);
    mCreator->LoadDocumentSettings(mSettingsFile);
    LoadDialogValues();
    ShowPage(Page::Start);
}

void frmScriptCreator::LoadDialogValues() {
    ScriptCreator& creator = *mCreator;
    if (creator.VSSStart().isEmpty() || creator.VSSEnd().isEmpty()) {
        TARMOProject* project = msdbCurrent->Project();
        QString first, last;
        try {
            if (project)
                project->VSS().GetDate(first, last);
        } catch (const TARMOError&) {
            // A store that can't be read leaves the pickers blank; the time frame page asks for dates.
        }
        if (creator.VSSStart().isEmpty() && !first.isEmpty())
            creator.SetVSSStart(ScriptCreator::DateText(TARMOHistoryData::ParseDate(first)));
        if (creator.VSSEnd().isEmpty() && !last.isEmpty())
            creator.SetVSSEnd(ScriptCreator::DateText(TARMOHistoryData::ParseDate(last)));
    }
    auto pick = [](QDateTimeEdit* picker, const QString& text) {
        const QDateTime date = ScriptCreator::ParseDateText(text);
        picker->setDateTime(date.isValid() ? date : picker->minimumDateTime());
    };
    pick(dtpFrom, creator.VSSStart());
    pick(dtpUntil, creator.VSSEnd());
    chkUntil->setChecked(creator.VSSIsToday());
    chkUntil_Click();

    if (QAbstractButton* mode = mModes->button(static_cast<int>(creator.OptionSelected())))
        mode->setChecked(true);
    else if (QAbstractButton* checked = mModes->checkedButton()) {
        mModes->setExclusive(false);
        checked->setChecked(false);
        mModes->setExclusive(true);
    }

    const TARMOSQL& other = creator.SQLConnection();
    txtSQLServer->setText(other.Server());
    txtSQLServer->show();
    cboSQLServer->hide();
    TARMOProject* project = msdbCurrent->Project();
    cmdSQLServer->setVisible(project && project->SQL().SQLDMOInstalled());
    chkUseWindowsAuth->setChecked(other.UseWinNTAuth());
    chkUseWindowsAuth_Click();
    if (!other.UseWinNTAuth())
        txtSQLUsername->setText(other.UserName());
    txtSQLPassword->clear();
    cboSQLDatabase->clear();
    cboSQLDatabase->setEditText(other.Database());
    fraSQLError->hide();

    const QSignalBlocker blockFile(txtFileLocation);
    txtFileLocation->setText(creator.FileName());
    for (auto [check, value] : {std::pair{chkCreatePermission, creator.CreatePermission()},
                                std::pair{chkDropObjectsFirst, creator.DropObjects()},
                                std::pair{chkDependencyOrder, creator.DependencyOrder()}}) {
        const QSignalBlocker block(check);
        check->setChecked(value);
    }
}

void frmScriptCreator::SaveSettings() {
    if (!mCreator)
        return;
    ScriptCreator& creator = *mCreator;
    creator.SetOptionSelected(SelectedMode());
    creator.SetFileName(txtFileLocation->text());
    creator.SetDropObjects(chkDropObjectsFirst->isChecked());
    creator.SetCreatePermission(chkCreatePermission->isChecked());
    creator.SetDependencyOrder(chkDependencyOrder->isChecked());
    auto text = [](const QDateTimeEdit* picker) {
        return picker->dateTime() == picker->minimumDateTime() ? QString()
                                                               : ScriptCreator::DateText(picker->dateTime());
    };
    creator.SetVSSStart(text(dtpFrom));
    creator.SetVSSEnd(text(dtpUntil));
    creator.SetVSSIsToday(chkUntil->isChecked());
    TARMOSQL& other = creator.SQLConnection();
    other.SetServer(txtSQLServer->text());
    other.SetDatabase(cboSQLDatabase->currentText());
    other.SetUseWinNTAuth(chkUseWindowsAuth->isChecked());
    other.SetUserName(chkUseWindowsAuth->isChecked() ? QString() : txtSQLUsername->text());
    if (!mSettingsFile.isEmpty())
        creator.SaveDocumentSettings(mSettingsFile);
}

void frmScriptCreator::connectControls() {
    for (QPushButton* button : findChildren<QPushButton*>())
        button->setAutoDefault(false);
    connect(cmdBack, &QPushButton::clicked, this, &frmScriptCreator::cmdBack_Click);
    connect(cmdNext, &QPushButton::clicked, this, &frmScriptCreator::cmdNext_Click);
    connect(cmdFinished, &QPushButton::clicked, this, &frmScriptCreator::cmdFinished_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmScriptCreator::reject);
    connect(cmdSQLServer, &QPushButton::clicked, this, &frmScriptCreator::cmdSQLServer_Click);
    connect(cmdCreateFile, &QPushButton::clicked, this, &frmScriptCreator::cmdCreateFile_Click);
    connect(chkUntil, &QCheckBox::toggled, this, &frmScriptCreator::chkUntil_Click);
    connect(chkUseWindowsAuth, &QCheckBox::toggled, this, &frmScriptCreator::chkUseWindowsAuth_Click);
    connect(cboSQLServer, &QComboBox::editTextChanged, txtSQLServer, &QLineEdit::setText);
    connect(txtFileLocation, &QLineEdit::textChanged, this, &frmScriptCreator::DestinationChanged);
    for (QCheckBox* check : {chkCreatePermission, chkDropObjectsFirst, chkDependencyOrder})
        connect(check, &QCheckBox::toggled, this, &frmScriptCreator::DestinationChanged);
}

int frmScriptCreator::SelectedMode() const {
    const int id = mModes->checkedId();
    return id >= 1 && id <= 4 ? id : 0;
}

void frmScriptCreator::ShowPage(Page page) {
    mPage = page;
    QFrame* frames[] = {fraStart, fraVSS, fraAnotherDB, fraCustom, fraProgress, fraFinish};
    mPages->setCurrentWidget(frames[static_cast<int>(page)]);
    cmdCancel->setText(QStringLiteral("Cancel"));
    cmdBack->setEnabled(page != Page::Start && page != Page::Progress);
    cmdNext->setEnabled(page != Page::Progress && page != Page::Finish);
    cmdFinished->setEnabled(page == Page::Finish);
    cmdFinished->setDefault(page == Page::Finish);
    cmdNext->setDefault(page != Page::Finish);
    const int mode = SelectedMode();
    chkDropObjectsFirst->setVisible(mode == 3 || mode == 4);

    auto usable = [](QWidget* w) { return w && w->isVisible() && w->isEnabled(); };
    QWidget* first = nullptr;
    QWidget* second = nullptr;
    switch (page) {
    case Page::Start:
        first = mModes->checkedButton();
        second = optType[0];
        break;
    case Page::VSS:
        first = dtpFrom;
        break;
    case Page::AnotherDB:
        first = txtSQLServer;
        second = cboSQLServer;
        break;
    case Page::Custom:
        first = lvwItems;
        break;
    case Page::Progress:
        first = cmdCancel;
        break;
    case Page::Finish:
        first = txtFileLocation;
        second = cmdCreateFile;
        break;
    }
    if (usable(first))
        first->setFocus();
    else if (second && second->isVisible())
        second->setFocus();
}

void frmScriptCreator::focusField(ScriptField field) {
    switch (field) {
    case ScriptField::From:
        dtpFrom->setFocus();
        break;
    case ScriptField::Until:
        dtpUntil->setFocus();
        break;
    case ScriptField::Server:
        serverField()->setFocus();
        break;
    case ScriptField::UserName:
        txtSQLUsername->setFocus();
        break;
    case ScriptField::Database:
        cboSQLDatabase->setFocus();
        break;
    case ScriptField::None:
        break;
    }
}

QWidget* frmScriptCreator::serverField() const {
    return cboSQLServer->isVisible() ? static_cast<QWidget*>(cboSQLServer)
                                     : static_cast<QWidget*>(txtSQLServer);
}

void frmScriptCreator::cmdBack_Click() {
    switch (mPage) {
    case Page::VSS:
    case Page::AnotherDB:
    case Page::Custom:
        ShowPage(Page::Start);
        break;
    case Page::Finish: {
        const Page pages[] = {Page::VSS, Page::AnotherDB, Page::Start, Page::Custom};
        const int mode = SelectedMode();
        ShowPage(mode >= 1 ? pages[mode - 1] : Page::Start);
        break;
    }
    default:
        break;
    }
}

void frmScriptCreator::cmdNext_Click() {
    switch (mPage) {
    case Page::Start:
        switch (SelectedMode()) {
        case 0:
            ScriptMessages::NoTypeSelected();
            optType[0]->setFocus();
            return;
        case 1:
            ShowPage(Page::VSS);
            return;
        case 2:
            ShowPage(Page::AnotherDB);
            return;
        default:
            RunSelectedMode();
            return;
        }
    case Page::VSS:
        if (CheckTimeFrame())
            RunSelectedMode();
        return;
    case Page::AnotherDB:
        if (CheckAnotherDB())
            RunSelectedMode();
        return;
    case Page::Custom:
        if (lvwItems->CheckedCount() == 0) {
            ScriptMessages::NoObjectsSelected();
            lvwItems->setFocus();
            return;
        }
        {
            QList<ScriptCustomRow> checked;
            for (int number : lvwItems->CheckedNumbers())
                checked.append(mCustomRows.value(number));
            mBuilder->BuildCustomSelection(checked);
        }
        ShowPage(Page::Finish);
        cmdCreateFile->setFocus();
        return;
    default:
        return;
    }
}

ScriptTimeFrame frmScriptCreator::TimeFrame() const {
    auto date = [](const QDateTimeEdit* picker) {
        return picker->dateTime() == picker->minimumDateTime() ? QDateTime() : picker->dateTime();
    };
    return ScriptTimeFrame{date(dtpFrom), date(dtpUntil), chkUntil->isChecked()};
}

bool frmScriptCreator::CheckTimeFrame() {
    const ScriptTimeFrame frame = TimeFrame();
    const ScriptField fault =
        ScriptBuilder::CheckTimeFrame(frame.From, frame.Until, frame.UntilToday, mBuilder->Now());
    focusField(fault);
    return fault == ScriptField::None;
}

bool frmScriptCreator::CheckAnotherDB() {
    const bool windows = chkUseWindowsAuth->isChecked();
    ScriptField fault = ScriptField::None;
    {
        BusyCursor busy;
        fault = mBuilder->CheckOtherDatabase(
            txtSQLServer->text(), windows ? QString() : txtSQLUsername->text(),
            windows ? QString() : txtSQLPassword->text(), windows, cboSQLDatabase->currentText());
    }
    focusField(fault);
    return fault == ScriptField::None;
}

void frmScriptCreator::chkUntil_Click() {
    dtpUntil->setEnabled(!chkUntil->isChecked());
    lblUntil->setEnabled(!chkUntil->isChecked());
}

void frmScriptCreator::chkUseWindowsAuth_Click() {
    const bool windows = chkUseWindowsAuth->isChecked();
    txtSQLUsername->setEnabled(!windows);
    txtSQLPassword->setEnabled(!windows);
    if (windows) {
        txtSQLUsername->setText(QStringLiteral("(Windows authentication)"));
        txtSQLPassword->clear();
    } else {
        txtSQLUsername->clear();
    }
}

// Another script can be written from the same list once the destination changes.
void frmScriptCreator::DestinationChanged() {
    if (mPage != Page::Finish || mbWriting)
        return;
    cmdFinished->setEnabled(true);
    cmdCancel->setText(QStringLiteral("Cancel"));
}

void frmScriptCreator::cmdCreateFile_Click() {
    const QString name = prompts().SaveFileName(QStringLiteral("Save Script As ..."),
                                                QStringLiteral("Script Files (*.sql);;All Files (*)"),
                                                txtFileLocation->text());
    if (!name.isEmpty())
        txtFileLocation->setText(name);
    txtFileLocation->setFocus();
}

long frmScriptCreator::HelpTopicOfPage() const {
    // The help file has a topic per mode and one for the destination; the first page and the steps of
    // a mode that has no page of its own show the wizard's topic or the mode's.
    constexpr long wizard = 62, timeFrame = 63, compare = 64, complete = 65, custom = 66, destination = 67;
    switch (mPage) {
    case Page::VSS:
        return timeFrame;
    case Page::AnotherDB:
        return compare;
    case Page::Custom:
        return custom;
    case Page::Finish:
        return destination;
    case Page::Progress: {
        const long modes[] = {timeFrame, compare, complete, custom};
        const int mode = SelectedMode();
        return mode >= 1 ? modes[mode - 1] : wizard;
    }
    case Page::Start:
        break;
    }
    return wizard;
}

void frmScriptCreator::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1 && event->modifiers() == Qt::NoModifier) {
        if (mHelp)
            mHelp(this, HelpTopicOfPage());
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmScriptCreator::cmdSQLServer_Click() {
    TARMOProject* project = msdbCurrent ? msdbCurrent->Project() : nullptr;
    if (!project)
        return;
    BusyCursor busy;
    QStringList names = project->SQL().FindServers();
    // An embedded server isn't announced on the network; the project's own is the likeliest other.
    const QString own = project->SQL().Server();
    if (own.startsWith(QStringLiteral("embedded:")) && !names.contains(own))
        names << own;
    if (names.size() < 2) {
        txtSQLServer->setFocus();
        return;
    }
    const QString remembered = txtSQLServer->text();
    cboSQLServer->clear();
    for (qsizetype i = 1; i < names.size(); ++i)
        cboSQLServer->addItem(names[i]);
    cboSQLServer->setEditText(remembered);
    txtSQLServer->hide();
    cboSQLServer->show();
    cboSQLServer->setFocus();
}

void frmScriptCreator::cboSQLDatabase_DropDown() {
    fraSQLError->hide();
    const QString server = txtSQLServer->text().trimmed();
    const bool windows = chkUseWindowsAuth->isChecked();
    const QString user = windows ? QString() : txtSQLUsername->text();
    if (server.isEmpty() || (!windows && user.trimmed().isEmpty()) || !mCreator ||
        !DbDriver::CanListDatabasesAndParse(server))
        return;
    TARMOSQL& other = mCreator->SQLConnection();
    const QString kept = cboSQLDatabase->currentText();
    QString failure =
        other.ValidSQLDMOConnectionString(server, user, txtSQLPassword->text(), QString(), windows);
    QStringList names;
    if (failure.isEmpty()) {
        try {
            names = other.FindDatabases(server, user, txtSQLPassword->text(), windows);
        } catch (const TARMOError& e) {
            failure = TARMOSQL::FormatSQLError(e.Description());
        }
    }
    if (!failure.isEmpty()) {
        lblSQLServerErrorLabel->setText(ScriptMessages::DatabaseListError(failure));
        fraSQLError->show();
        return;
    }
    cboSQLDatabase->clear();
    for (qsizetype i = 1; i < names.size(); ++i)
        cboSQLDatabase->addItem(names[i]);
    cboSQLDatabase->setEditText(kept);
}
