#include "frmModuleMaint.h"

#include "DocGenModule.h"
#include "DocGenProject.h"
#include "DocGenWindowSupport.h"
#include "UserPrompts.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int fileNameRole = Qt::UserRole;

const QString invalidData = QStringLiteral("Invalid Data");

QLineEdit* field(const QString& name, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    return edit;
}

// The path as the module keeps it: with "/" between the folders and one at the end.
QString modulePath(const QString& typed) {
    const QString trimmed = typed.trimmed();
    if (trimmed.isEmpty())
        return {};
    QString path = QDir::cleanPath(QDir::fromNativeSeparators(trimmed));
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    return path;
}

bool fileExists(const QString& name) {
    return QFileInfo(name).isFile();
}

} // namespace

frmModuleMaint::frmModuleMaint(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmModuleMaint"));
    setModal(true);

    mtxtName = field(QStringLiteral("txtName"), this);
    mtxtProject = field(QStringLiteral("txtProject"), this);
    mtxtCreatedBy = field(QStringLiteral("txtCreatedBy"), this);
    mtxtCreatedOn = field(QStringLiteral("txtCreatedOn"), this);
    mtxtDevelopedBy = field(QStringLiteral("txtDevelopedBy"), this);
    mtxtDescription = new QPlainTextEdit(this);
    mtxtDescription->setObjectName(QStringLiteral("txtDescription"));
    mtxtDescription->setTabChangesFocus(true);
    mtxtDescription->setFixedHeight(mtxtDescription->fontMetrics().lineSpacing() * 4 +
                                    2 * mtxtDescription->frameWidth() + 8);
    mtxtPath = field(QStringLiteral("txtPath"), this);
    mcmdBrowse = new QToolButton(this);
    mcmdBrowse->setObjectName(QStringLiteral("cmdBrowse"));
    mcmdBrowse->setText(QStringLiteral("&..."));
    mcmdBrowse->setToolTip(QStringLiteral("Select the Primary module path"));

    auto* fields = new QGridLayout;
    int row = 0;
    auto addRow = [&](const QString& caption, QWidget* edit, QWidget* extra = nullptr) {
        auto* label = new QLabel(caption, this);
        label->setBuddy(edit);
        fields->addWidget(label, row, 0, edit == mtxtDescription ? Qt::AlignTop : Qt::Alignment());
        if (extra) {
            auto* line = new QHBoxLayout;
            line->addWidget(edit, 1);
            line->addWidget(extra);
            fields->addLayout(line, row, 1);
        } else {
            fields->addWidget(edit, row, 1);
        }
        ++row;
    };
    addRow(QStringLiteral("&Name:"), mtxtName);
    addRow(QStringLiteral("&Project:"), mtxtProject);
    addRow(QStringLiteral("Created &by:"), mtxtCreatedBy);
    addRow(QStringLiteral("Created &on:"), mtxtCreatedOn);
    addRow(QStringLiteral("&Developed by (team):"), mtxtDevelopedBy);
    addRow(QStringLiteral("D&escription:"), mtxtDescription);
    addRow(QStringLiteral("Primary &module path:"), mtxtPath, mcmdBrowse);
    fields->setColumnStretch(1, 1);

    mlvwFiles = new QTreeWidget(this);
    mlvwFiles->setObjectName(QStringLiteral("lvwFiles"));
    mlvwFiles->setHeaderLabels({QStringLiteral("File Name")});
    mlvwFiles->setRootIsDecorated(false);
    mlvwFiles->setUniformRowHeights(true);
    mlvwFiles->setSelectionMode(QAbstractItemView::ExtendedSelection);
    // The end of a long name tells the files apart, so the middle gives way.
    mlvwFiles->setTextElideMode(Qt::ElideMiddle);
    mcmdAdd = new QPushButton(QStringLiteral("&Add Files"), this);
    mcmdAdd->setObjectName(QStringLiteral("cmdAdd"));
    mcmdAddMatching = new QPushButton(QStringLiteral("Add Files by Pa&ttern ..."), this);
    mcmdAddMatching->setObjectName(QStringLiteral("cmdAddMatching"));
    mcmdRemove = new QPushButton(QStringLiteral("&Remove Files"), this);
    mcmdRemove->setObjectName(QStringLiteral("cmdRemove"));
    mfraError = new DocGenWarningPanel(this);
    mfraError->setObjectName(QStringLiteral("fraError"));

    auto* fileButtons = new QVBoxLayout;
    fileButtons->addWidget(mcmdAdd);
    fileButtons->addWidget(mcmdAddMatching);
    fileButtons->addWidget(mcmdRemove);
    fileButtons->addStretch(1);
    auto* filesGroup = new QGroupBox(QStringLiteral("Files"), this);
    auto* filesGrid = new QGridLayout(filesGroup);
    filesGrid->addWidget(mlvwFiles, 0, 0);
    filesGrid->addLayout(fileButtons, 0, 1);
    filesGrid->addWidget(mfraError, 1, 0, 1, 2);
    filesGrid->setRowStretch(0, 1);

    mcmdSave = new QPushButton(QStringLiteral("&Save"), this);
    mcmdSave->setObjectName(QStringLiteral("cmdSave"));
    mcmdSave->setDefault(true);
    mcmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    mcmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mcmdSave);
    buttons->addWidget(mcmdCancel);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields);
    layout->addWidget(filesGroup, 1);
    layout->addLayout(buttons);

    for (QLineEdit* edit : {mtxtName, mtxtProject, mtxtCreatedBy, mtxtCreatedOn, mtxtDevelopedBy, mtxtPath})
        connect(edit, &QLineEdit::textChanged, this, [this] {
            if (!mbLoading)
                setChanged();
        });
    connect(mtxtDescription, &QPlainTextEdit::textChanged, this, [this] {
        if (!mbLoading)
            setChanged();
    });
    connect(mcmdBrowse, &QToolButton::clicked, this, &frmModuleMaint::BrowsePath);
    connect(mcmdAdd, &QPushButton::clicked, this, &frmModuleMaint::AddChosenFile);
    connect(mcmdAddMatching, &QPushButton::clicked, this, &frmModuleMaint::AddMatchingFiles);
    connect(mcmdRemove, &QPushButton::clicked, this, &frmModuleMaint::RemoveSelectedFiles);
    connect(mcmdSave, &QPushButton::clicked, this, [this] { Save(); });
    connect(mcmdCancel, &QPushButton::clicked, this, &frmModuleMaint::reject);

    const QSize wanted(fontMetrics().averageCharWidth() * 90, fontMetrics().lineSpacing() * 34);
    resize(DocGenWindowSupport::SizeOnScreen(this, wanted.expandedTo(sizeHint()), 0.8, 0.85));
}

bool frmModuleMaint::NewModule(DocGenProject& currProject) {
    Load(currProject, 0);
    return exec() == QDialog::Accepted;
}

bool frmModuleMaint::EditModule(DocGenProject& currProject, int Index) {
    if (Index < 1 || Index > currProject.Modules().Count())
        return false;
    Load(currProject, Index);
    return exec() == QDialog::Accepted;
}

void frmModuleMaint::Load(DocGenProject& currProject, int Index) {
    mProject = &currProject;
    mIndex = Index >= 1 && Index <= currProject.Modules().Count() ? Index : 0;
    setWindowTitle(mIndex ? QStringLiteral("Edit Module ...") : QStringLiteral("New Module ..."));
    mbLoading = true;
    mlvwFiles->clear();
    if (mIndex) {
        const DocGenModule& module = currProject.Modules().Item(mIndex);
        mtxtName->setText(module.Name);
        mtxtProject->setText(module.Project);
        mtxtCreatedBy->setText(module.CreatedBy);
        mtxtCreatedOn->setText(module.CreatedOn);
        mtxtDevelopedBy->setText(module.DevelopedBy);
        mtxtDescription->setPlainText(module.Description);
        mtxtPath->setText(module.Path);
        QStringList names;
        for (const auto& file : module.Files())
            names << file->FileName();
        AddFiles(names);
    } else {
        for (QLineEdit* edit :
             {mtxtName, mtxtProject, mtxtCreatedBy, mtxtCreatedOn, mtxtDevelopedBy, mtxtPath})
            edit->clear();
        mtxtDescription->clear();
        CheckFiles();
    }
    mbLoading = false;
    mbChanged = false;
    mtxtName->setFocus();
}

void frmModuleMaint::AddFiles(const QStringList& fileNames) {
    QStringList listed = FileNames();
    bool added = false;
    for (const QString& name : fileNames) {
        if (name.isEmpty() || listed.contains(name, Qt::CaseInsensitive))
            continue;
        auto* item = new QTreeWidgetItem(mlvwFiles);
        item->setText(0, QDir::toNativeSeparators(name));
        item->setData(0, fileNameRole, name);
        listed << name;
        added = true;
    }
    if (added && !mbLoading)
        setChanged();
    CheckFiles();
}

QStringList frmModuleMaint::FileNames() const {
    QStringList names;
    for (int i = 0; i < mlvwFiles->topLevelItemCount(); ++i)
        names << mlvwFiles->topLevelItem(i)->data(0, fileNameRole).toString();
    return names;
}

void frmModuleMaint::CheckFiles() {
    bool anyMissing = false;
    for (int i = 0; i < mlvwFiles->topLevelItemCount(); ++i) {
        const bool missing = !fileExists(mlvwFiles->topLevelItem(i)->data(0, fileNameRole).toString());
        MarkRow(i, missing);
        anyMissing = anyMissing || missing;
    }
    mfraError->ShowWarning(anyMissing ? QStringLiteral("Some of the files listed do not exist!") : QString());
}

// A missing file keeps its row, so that a file that comes back later needs no new entry; the
// picture and the slanted name tell it apart without relying on a colour.
void frmModuleMaint::MarkRow(int row, bool missing) {
    QTreeWidgetItem* item = mlvwFiles->topLevelItem(row);
    item->setIcon(0, missing ? style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this) : QIcon());
    QFont font = mlvwFiles->font();
    font.setItalic(missing);
    item->setFont(0, font);
    const QString name = item->data(0, fileNameRole).toString();
    item->setToolTip(0, missing
                            ? QDir::toNativeSeparators(name) + QStringLiteral("\nThis file does not exist.")
                            : QDir::toNativeSeparators(name));
}

QString frmModuleMaint::StartFolder() const {
    QString path = modulePath(mtxtPath->text());
    if (!path.isEmpty() && QFileInfo(path).isDir())
        return path;
    const QStringList names = FileNames();
    return names.isEmpty() ? QString() : QFileInfo(names.last()).absolutePath();
}

void frmModuleMaint::BrowsePath() {
    const QString chosen =
        prompts().FolderName(QStringLiteral("Select the Primary module path"), StartFolder());
    if (!chosen.isEmpty())
        mtxtPath->setText(modulePath(chosen));
}

void frmModuleMaint::AddChosenFile() {
    const QString chosen = prompts().OpenFileName(QStringLiteral("Add files ..."),
                                                  QStringLiteral("All Files (*)"), StartFolder());
    if (!chosen.isEmpty())
        AddFiles({QDir::cleanPath(chosen)});
}

// Many files at once: a folder and the patterns of their names, every subfolder included.
void frmModuleMaint::AddMatchingFiles() {
    const QString folder =
        prompts().FolderName(QStringLiteral("Add files from the folder ..."), StartFolder());
    if (folder.isEmpty())
        return;
    QString patterns = QStringLiteral("*");
    if (!prompts().InputText(QStringLiteral("Add files ..."),
                             QStringLiteral("File names to add, for example *.php *.inc (all files: *):"),
                             patterns))
        return;
    const QStringList found = DocGenWindowSupport::FilesMatching(folder, patterns);
    if (found.isEmpty()) {
        MsgBox(QStringLiteral("No file in ") + QDir::toNativeSeparators(folder) +
                   QStringLiteral(" matches ") + patterns.trimmed() + QLatin1Char('.'),
               Prompt::Buttons::OK, Prompt::Icon::Information, QStringLiteral("Add files ..."));
        return;
    }
    AddFiles(found);
}

void frmModuleMaint::RemoveSelectedFiles() {
    const QList<QTreeWidgetItem*> selected = mlvwFiles->selectedItems();
    if (selected.isEmpty())
        return;
    qDeleteAll(selected);
    setChanged();
    CheckFiles();
}

bool frmModuleMaint::invalid(const QString& text, QWidget* focus) {
    MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Exclamation, invalidData);
    focus->setFocus();
    return false;
}

bool frmModuleMaint::Save() {
    if (!mProject)
        return false;
    const QString name = mtxtName->text().trimmed();
    if (name.isEmpty())
        return invalid(QStringLiteral("Module Name is missing!"), mtxtName);
    // The start dialog and the settings file find a module by its name, so two of one name would
    // leave one of them out of reach.
    const DocGenModule* sameName = mProject->Modules().Find(name);
    if (sameName && sameName->Index != mIndex)
        return invalid(QStringLiteral("A Module with this name already exists!"), mtxtName);
    const QString path = modulePath(mtxtPath->text());
    if (path.isEmpty())
        return invalid(QStringLiteral("Primary module path is missing!"), mcmdBrowse);
    if (!QFileInfo(path).isDir())
        return invalid(QStringLiteral("The specified Primary module path does not exist!"), mcmdBrowse);
    const QStringList names = FileNames();
    if (names.isEmpty())
        return invalid(QStringLiteral("At least one File must be specified!"), mcmdAdd);
    CheckFiles();
    if (mfraError->isVisibleTo(this)) {
        const Prompt::Answer answer =
            MsgBox(QStringLiteral("Some of the files listed do not exist! Would you like to save the modules "
                                  "details anyway?"),
                   Prompt::Buttons::YesNo, Prompt::Icon::Question, QStringLiteral("Save Anyway?"));
        if (answer != Prompt::Answer::Yes) {
            mlvwFiles->clearSelection();
            for (int i = 0; i < mlvwFiles->topLevelItemCount(); ++i)
                if (!fileExists(names[i]))
                    mlvwFiles->topLevelItem(i)->setSelected(true);
            mcmdRemove->setFocus();
            return false;
        }
    }

    DocGenModule& module = mIndex ? mProject->Modules().Item(mIndex) : mProject->Modules().Add();
    module.Name = name;
    module.Project = mtxtProject->text();
    module.CreatedBy = mtxtCreatedBy->text();
    module.CreatedOn = mtxtCreatedOn->text();
    module.DevelopedBy = mtxtDevelopedBy->text();
    module.Description = mtxtDescription->toPlainText().replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    module.Path = path;
    module.Files().Clear();
    for (const QString& file : names)
        module.Files().Add(file);
    mIndex = static_cast<int>(module.Index);
    mbChanged = false;
    accept();
    return true;
}

void frmModuleMaint::reject() {
    if (mbChanged &&
        MsgBox(QStringLiteral("Changes have been made! Would you like to discard these changes?"),
               Prompt::Buttons::YesNo, Prompt::Icon::Question,
               QStringLiteral("Discard Changes?")) != Prompt::Answer::Yes)
        return;
    QDialog::reject();
}

void frmModuleMaint::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, DocGenHelp::Modules);
        return;
    }
    QDialog::keyPressEvent(event);
}
