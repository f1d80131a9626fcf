#include "frmDocumentGenerationStart.h"

#include "DocGenWindowSupport.h"
#include "TARMOError.h"
#include "UserPrompts.h"
#include "frmDocumentGenerationProgress.h"
#include "frmModuleManager.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const QString invalidData = QStringLiteral("Invalid Data");
const QString noModule = QStringLiteral("-- Select a Module --");

QCheckBox* check(const QString& name, const QString& text, QWidget* parent) {
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(name);
    return box;
}

QToolButton* browseButton(const QString& name, const QString& tip, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setText(QStringLiteral("..."));
    button->setToolTip(tip);
    return button;
}

// Controls that depend on the one above them stand a little to the right of it.
QVBoxLayout* indented(QVBoxLayout* into) {
    auto* block = new QVBoxLayout;
    block->setContentsMargins(24, 0, 0, 0);
    into->addLayout(block);
    return block;
}

bool isWord(const QString& type) {
    return type.compare(DocGenTypes::Word, Qt::CaseInsensitive) == 0;
}

} // namespace

frmDocumentGenerationStart::frmDocumentGenerationStart(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmDocumentGenerationStart"));
    setWindowTitle(QStringLiteral("Automatic Documentation ..."));
    setModal(true);
    BuildControls();
}

void frmDocumentGenerationStart::BuildControls() {
    moptComplete = new QRadioButton(QStringLiteral("Generate complete &SQL object documentation"), this);
    moptComplete->setObjectName(QStringLiteral("optComplete"));
    moptModule = new QRadioButton(QStringLiteral("Generate documentation for selected &module:"), this);
    moptModule->setObjectName(QStringLiteral("optModule"));
    mcboModules = new QComboBox(this);
    mcboModules->setObjectName(QStringLiteral("cboModules"));
    // A long module name must not widen the dialog; the list shows it whole when it drops down.
    mcboModules->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    mcboModules->setMinimumContentsLength(20);
    mcmdOpen = new QPushButton(QStringLiteral("&Open Module Manager"), this);
    mcmdOpen->setObjectName(QStringLiteral("cmdOpen"));
    mchkObjectSummary = check(QStringLiteral("chkObjectSummary"),
                              QStringLiteral("&Include object summary before module documenation"), this);
    mchkObjectSummaryPerFile = check(QStringLiteral("chkObjectSummaryPerFile"),
                                     QStringLiteral("In&clude object summary per file"), this);

    auto* what = new QGroupBox(QStringLiteral("Documentation"), this);
    auto* whatLayout = new QVBoxLayout(what);
    whatLayout->addWidget(moptComplete);
    auto* moduleLine = new QHBoxLayout;
    moduleLine->addWidget(moptModule);
    moduleLine->addWidget(mcboModules, 1);
    whatLayout->addLayout(moduleLine);
    QVBoxLayout* summaries = indented(whatLayout);
    summaries->addWidget(mchkObjectSummary);
    summaries->addWidget(mchkObjectSummaryPerFile);
    auto* managerLine = new QHBoxLayout;
    managerLine->addStretch(1);
    managerLine->addWidget(mcmdOpen);
    whatLayout->addLayout(managerLine);

    mcboType = new QComboBox(this);
    mcboType->setObjectName(QStringLiteral("cboType"));
    mcboType->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    mtxtDocumentName = new QLineEdit(this);
    mtxtDocumentName->setObjectName(QStringLiteral("txtDocumentName"));
    mcmdBrowse = browseButton(QStringLiteral("cmdBrowse"), QStringLiteral("Save Document As ..."), this);
    mtxtTemplate = new QLineEdit(this);
    mtxtTemplate->setObjectName(QStringLiteral("txtTemplate"));
    mtxtTemplate->setPlaceholderText(QStringLiteral("(the default styles)"));
    mcmdBrowseTemplate =
        browseButton(QStringLiteral("cmdBrowseTemplate"), QStringLiteral("Select a Template ..."), this);
    auto* typeLabel = new QLabel(QStringLiteral("Output type:"), this);
    typeLabel->setBuddy(mcboType);
    auto* nameLabel = new QLabel(QStringLiteral("&File name:"), this);
    nameLabel->setBuddy(mtxtDocumentName);
    mlblTemplate = new QLabel(QStringLiteral("Use Word &template:"), this);
    mlblTemplate->setObjectName(QStringLiteral("lblTemplate"));
    mlblTemplate->setBuddy(mtxtTemplate);

    auto* output = new QGroupBox(QStringLiteral("Output"), this);
    auto* outputGrid = new QGridLayout(output);
    outputGrid->addWidget(typeLabel, 0, 0);
    outputGrid->addWidget(mcboType, 0, 1, Qt::AlignLeft);
    outputGrid->addWidget(nameLabel, 1, 0);
    outputGrid->addWidget(mtxtDocumentName, 1, 1);
    outputGrid->addWidget(mcmdBrowse, 1, 2);
    outputGrid->addWidget(mlblTemplate, 2, 0);
    outputGrid->addWidget(mtxtTemplate, 2, 1);
    outputGrid->addWidget(mcmdBrowseTemplate, 2, 2);
    outputGrid->setColumnStretch(1, 1);

    mchkOwnerNames =
        check(QStringLiteral("chkOwnerNames"), QStringLiteral("Include object owner &names"), this);
    mchkOwnerInOwnColumn = check(QStringLiteral("chkOwnerInOwnColumn"),
                                 QStringLiteral("&Display owner name in seperate column"), this);
    mchkEncapsulateOwner = check(QStringLiteral("chkEncapsulateOwner"),
                                 QStringLiteral("&Encapsulate owner name with \"[ ]\""), this);
    mchkEncapsulateObject = check(QStringLiteral("chkEncapsulateObject"),
                                  QStringLiteral("Enca&psulate object name with \"[ ]\""), this);
    auto* names = new QGroupBox(QStringLiteral("Object names"), this);
    auto* namesLayout = new QVBoxLayout(names);
    namesLayout->addWidget(mchkOwnerNames);
    QVBoxLayout* ownerBlock = indented(namesLayout);
    ownerBlock->addWidget(mchkOwnerInOwnColumn);
    ownerBlock->addWidget(mchkEncapsulateOwner);
    namesLayout->addWidget(mchkEncapsulateObject);

    mcmdGenerate = new QPushButton(QStringLiteral("Generate Document"), this);
    mcmdGenerate->setObjectName(QStringLiteral("cmdGenerate"));
    mcmdGenerate->setDefault(true);
    mcmdClose = new QPushButton(QStringLiteral("Close"), this);
    mcmdClose->setObjectName(QStringLiteral("cmdClose"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mcmdGenerate);
    buttons->addWidget(mcmdClose);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(what);
    layout->addWidget(output);
    layout->addWidget(names);
    layout->addStretch(1);
    layout->addLayout(buttons);

    connect(moptComplete, &QRadioButton::toggled, this, &frmDocumentGenerationStart::UpdateDependentControls);
    connect(moptModule, &QRadioButton::toggled, this, &frmDocumentGenerationStart::UpdateDependentControls);
    connect(mchkOwnerNames, &QCheckBox::toggled, this, &frmDocumentGenerationStart::UpdateDependentControls);
    connect(mcboModules, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index > 0)
            moptModule->setChecked(true);
    });
    connect(mcboType, &QComboBox::currentIndexChanged, this, &frmDocumentGenerationStart::TypeChanged);
    connect(mcmdOpen, &QPushButton::clicked, this, &frmDocumentGenerationStart::OpenModuleManager);
    connect(mcmdBrowse, &QToolButton::clicked, this, &frmDocumentGenerationStart::BrowseDocument);
    connect(mcmdBrowseTemplate, &QToolButton::clicked, this, &frmDocumentGenerationStart::BrowseTemplate);
    connect(mcmdGenerate, &QPushButton::clicked, this, [this] { Generate(); });
    connect(mcmdClose, &QPushButton::clicked, this, &frmDocumentGenerationStart::reject);

    const QSize wanted(fontMetrics().averageCharWidth() * 84, sizeHint().height());
    resize(DocGenWindowSupport::SizeOnScreen(this, wanted.expandedTo(sizeHint()), 0.8, 0.9));
}

void frmDocumentGenerationStart::StartDocumentGeneration(TARMODatabaseObjects& sdbCurrent,
                                                         const QString& projectName) {
    Load(sdbCurrent, projectName);
    exec();
}

void frmDocumentGenerationStart::Load(TARMODatabaseObjects& sdbCurrent, const QString& projectName) {
    msdbCurrent = &sdbCurrent;
    mSettingsFile = DocGenProject::SettingsFileName(projectName);
    mProject.LoadDocumentSettings(mSettingsFile);

    mTypes.clear();
    for (const DocGenOutputType& type : DocGenOutputTypes())
        mTypes.append({type.Key, type.DisplayName, QString()});
    int shown = 0;
    for (int i = 0; i < mTypes.size(); ++i)
        if (mTypes[i].Key.compare(mProject.DocumentType, Qt::CaseInsensitive) == 0)
            shown = i;
    for (int i = 0; i < mTypes.size(); ++i)
        mTypes[i].FileName = i == shown ? mProject.GenerateName : mProject.GenerateNameAlt;

    FillModules(mProject.CurrentModule);
    SetControls();
    mcboType->blockSignals(true);
    mcboType->clear();
    for (const OutputType& type : mTypes)
        mcboType->addItem(type.DisplayName, type.Key);
    mcboType->setCurrentIndex(shown);
    mcboType->blockSignals(false);
    mTypeShown = -1;
    TypeChanged(shown);
    mbLoaded = true;
}

void frmDocumentGenerationStart::FillModules(const QString& select) {
    mcboModules->blockSignals(true);
    mcboModules->clear();
    mcboModules->addItem(noModule);
    int selected = 0;
    for (const auto& module : mProject.Modules()) {
        mcboModules->addItem(module->Name);
        if (!selected && !select.isEmpty() && module->Name.compare(select, Qt::CaseInsensitive) == 0)
            selected = mcboModules->count() - 1;
    }
    mcboModules->setCurrentIndex(selected);
    mcboModules->blockSignals(false);
}

void frmDocumentGenerationStart::SetControls() {
    const bool module = mProject.OptionSelected == DocGenProject::OptionModule;
    moptModule->setChecked(module);
    moptComplete->setChecked(!module);
    mtxtTemplate->setText(mProject.TemplateName);
    mchkObjectSummary->setChecked(mProject.IncludeModuleSummay);
    mchkObjectSummaryPerFile->setChecked(mProject.IncludeModuleSummayPerFile);
    mchkOwnerNames->setChecked(mProject.IncludeOwnerNames);
    mchkOwnerInOwnColumn->setChecked(mProject.OwnerInOwnCol);
    mchkEncapsulateOwner->setChecked(mProject.EncapsOwnerNames);
    mchkEncapsulateObject->setChecked(mProject.EncapsObjects);
    UpdateDependentControls();
}

// Each type keeps a file name of its own: what stands in the field goes back to the type that was
// shown, and the new type's name comes in.
void frmDocumentGenerationStart::TypeChanged(int index) {
    if (mTypeShown >= 0 && mTypeShown < mTypes.size())
        mTypes[mTypeShown].FileName = mtxtDocumentName->text();
    mTypeShown = index;
    mtxtDocumentName->setText(index >= 0 && index < mTypes.size() ? mTypes[index].FileName : QString());
    UpdateDependentControls();
}

void frmDocumentGenerationStart::UpdateDependentControls() {
    const bool module = moptModule->isChecked();
    mchkObjectSummary->setEnabled(module);
    mchkObjectSummaryPerFile->setEnabled(module);
    const bool owners = mchkOwnerNames->isChecked();
    mchkOwnerInOwnColumn->setEnabled(owners);
    mchkEncapsulateOwner->setEnabled(owners);
    const bool word = isWord(CurrentType());
    mlblTemplate->setEnabled(word);
    mtxtTemplate->setEnabled(word);
    mcmdBrowseTemplate->setEnabled(word);
}

QString frmDocumentGenerationStart::CurrentType() const {
    return mTypeShown >= 0 && mTypeShown < mTypes.size() ? mTypes[mTypeShown].Key : QString();
}

DocGenModule* frmDocumentGenerationStart::SelectedModule() {
    const int index = mcboModules->currentIndex();
    return index >= 1 && index <= mProject.Modules().Count() ? &mProject.Modules().Item(index) : nullptr;
}

void frmDocumentGenerationStart::BrowseDocument() {
    const bool word = isWord(CurrentType());
    const QString filter = word ? QStringLiteral("Microsoft Word Files (*.docx);;All Files (*)")
                                : QStringLiteral("HTML Files (*.htm *.html);;All Files (*)");
    QString chosen = prompts().SaveFileName(QStringLiteral("Save Document As ..."), filter,
                                            mtxtDocumentName->text().trimmed());
    if (chosen.isEmpty())
        return;
    // A name typed without an extension gets the type's, so that the desktop opens the file with
    // the right program.
    if (QFileInfo(chosen).suffix().isEmpty())
        chosen += word ? QStringLiteral(".docx") : QStringLiteral(".html");
    mtxtDocumentName->setText(chosen);
}

void frmDocumentGenerationStart::BrowseTemplate() {
    const QString chosen =
        prompts().OpenFileName(QStringLiteral("Select a Template ..."),
                               QStringLiteral("Microsoft Word Template Files (*.dotx *.docx);;All Files (*)"),
                               mtxtTemplate->text().trimmed());
    if (!chosen.isEmpty())
        mtxtTemplate->setText(chosen);
}

void frmDocumentGenerationStart::OpenModuleManager() {
    const QString before = mcboModules->currentIndex() > 0 ? mcboModules->currentText() : QString();
    frmModuleManager manager(this);
    manager.SetHelp(mHelp);
    const QString saved = manager.ModuleManager(mProject);
    FillModules(before.isEmpty() ? saved : before);
    // A module just made or edited is what the user wants to document next.
    if (before.isEmpty() && mcboModules->currentIndex() > 0)
        moptModule->setChecked(true);
    UpdateDependentControls();
}

bool frmDocumentGenerationStart::invalid(const QString& text, QWidget* focus) {
    MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Exclamation, invalidData);
    focus->setFocus();
    return false;
}

bool frmDocumentGenerationStart::Generate() {
    if (!msdbCurrent)
        return false;
    const bool module = moptModule->isChecked();
    if (module && mcboModules->currentIndex() < 1)
        return invalid(QStringLiteral("No Module has been selected!"), mcboModules);
    const QString fileName = mtxtDocumentName->text().trimmed();
    if (fileName.isEmpty())
        return invalid(QStringLiteral("No File Name has been specified!"), mcmdBrowse);
    if (QFileInfo::exists(fileName) &&
        MsgBox(
            QStringLiteral("The specified File Name already exists. Would you like to Overwrite the file?"),
            Prompt::Buttons::YesNo, Prompt::Icon::Question,
            QStringLiteral("Overwrite File?")) != Prompt::Answer::Yes) {
        mcmdBrowse->setFocus();
        return false;
    }
    // The template only counts for the type that uses it; a name left behind from a Word run must
    // not stop an HTML run.
    const QString templateName = mtxtTemplate->text().trimmed();
    if (isWord(CurrentType()) && !templateName.isEmpty() && !QFileInfo(templateName).isFile())
        return invalid(QStringLiteral("The Word Template file specified does not exist!"),
                       mcmdBrowseTemplate);
    DocGenModule* selected = module ? SelectedModule() : nullptr;
    if (selected && !selected->MissingFiles().isEmpty() &&
        MsgBox(
            QStringLiteral("WARNING: Some of the files assigned to this module no longer exist! Are you sure "
                           "you would like to continue?"),
            Prompt::Buttons::YesNo, Prompt::Icon::Question,
            QStringLiteral("Continue Anyway?")) != Prompt::Answer::Yes) {
        mcmdOpen->setFocus();
        return false;
    }

    BusyCursor busy;
    TakeControls();
    frmDocumentGenerationProgress progress(this);
    progress.SetHelp(mHelp);
    if (mProgressWatcher)
        mProgressWatcher(progress);
    const DocGenRun::Outcome outcome = selected ? progress.GenerateModule(*msdbCurrent, mProject, *selected)
                                                : progress.GenerateAll(*msdbCurrent, mProject);
    return outcome == DocGenRun::Outcome::Generated;
}

void frmDocumentGenerationStart::TakeControls() {
    if (mTypeShown >= 0 && mTypeShown < mTypes.size())
        mTypes[mTypeShown].FileName = mtxtDocumentName->text().trimmed();
    mProject.GenerateName = mtxtDocumentName->text().trimmed();
    mProject.GenerateNameAlt.clear();
    for (int i = 0; i < mTypes.size(); ++i)
        if (i != mTypeShown) {
            mProject.GenerateNameAlt = mTypes[i].FileName;
            break;
        }
    mProject.DocumentType = CurrentType().isEmpty() ? mProject.DocumentType : CurrentType();
    mProject.OptionSelected =
        moptModule->isChecked() ? DocGenProject::OptionModule : DocGenProject::OptionComplete;
    mProject.CurrentModule = mcboModules->currentIndex() > 0 ? mcboModules->currentText() : QString();
    mProject.TemplateName = mtxtTemplate->text().trimmed();
    mProject.IncludeModuleSummay = mchkObjectSummary->isChecked();
    mProject.IncludeModuleSummayPerFile = mchkObjectSummaryPerFile->isChecked();
    mProject.IncludeOwnerNames = mchkOwnerNames->isChecked();
    mProject.OwnerInOwnCol = mchkOwnerInOwnColumn->isChecked();
    mProject.EncapsOwnerNames = mchkEncapsulateOwner->isChecked();
    mProject.EncapsObjects = mchkEncapsulateObject->isChecked();
}

bool frmDocumentGenerationStart::SaveSettings() {
    try {
        mProject.SaveDocumentSettings(mSettingsFile);
        return true;
    } catch (const TARMOError& error) {
        return MsgBox(QStringLiteral("The document settings could not be saved:\r\n") + error.Description() +
                          QStringLiteral("\r\n\r\nWould you like to close anyway? The modules and settings "
                                         "changed since this window opened will then be lost."),
                      Prompt::Buttons::YesNo, Prompt::Icon::Exclamation,
                      QStringLiteral("Document Settings")) == Prompt::Answer::Yes;
    }
}

void frmDocumentGenerationStart::done(int result) {
    if (mbLoaded) {
        TakeControls();
        if (!SaveSettings())
            return;
        mbLoaded = false;
    }
    QDialog::done(result);
}

void frmDocumentGenerationStart::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, DocGenHelp::Settings);
        return;
    }
    QDialog::keyPressEvent(event);
}
