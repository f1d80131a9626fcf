#include "frmModuleManager.h"

#include "DocGenModule.h"
#include "DocGenProject.h"
#include "DocGenWindowSupport.h"
#include "frmModuleMaint.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

frmModuleManager::frmModuleManager(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmModuleManager"));
    setWindowTitle(QStringLiteral("Module Manager ..."));
    setModal(true);

    mlstModules = new QListWidget(this);
    mlstModules->setObjectName(QStringLiteral("lstModules"));
    mlstModules->setTextElideMode(Qt::ElideRight);
    mcmdNew = new QPushButton(QStringLiteral("&New"), this);
    mcmdNew->setObjectName(QStringLiteral("cmdNew"));
    mcmdEdit = new QPushButton(QStringLiteral("&Edit"), this);
    mcmdEdit->setObjectName(QStringLiteral("cmdEdit"));
    mcmdRemove = new QPushButton(QStringLiteral("&Remove"), this);
    mcmdRemove->setObjectName(QStringLiteral("cmdRemove"));
    mcmdClose = new QPushButton(QStringLiteral("Close"), this);
    mcmdClose->setObjectName(QStringLiteral("cmdClose"));

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(mcmdNew);
    buttons->addWidget(mcmdEdit);
    buttons->addWidget(mcmdRemove);
    buttons->addStretch(1);
    buttons->addWidget(mcmdClose);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(mlstModules, 1);
    layout->addLayout(buttons);

    connect(mcmdNew, &QPushButton::clicked, this, &frmModuleManager::NewModule);
    connect(mcmdEdit, &QPushButton::clicked, this, &frmModuleManager::EditModule);
    connect(mlstModules, &QListWidget::itemDoubleClicked, this, &frmModuleManager::EditModule);
    connect(mcmdRemove, &QPushButton::clicked, this, &frmModuleManager::RemoveModule);
    connect(mcmdClose, &QPushButton::clicked, this, &frmModuleManager::accept);
    connect(mlstModules, &QListWidget::currentRowChanged, this, &frmModuleManager::updateButtons);

    const QSize wanted(fontMetrics().averageCharWidth() * 60, fontMetrics().lineSpacing() * 18);
    resize(DocGenWindowSupport::SizeOnScreen(this, wanted.expandedTo(sizeHint()), 0.6, 0.7));
}

QString frmModuleManager::ModuleManager(DocGenProject& currProject) {
    Load(currProject);
    exec();
    return mResult;
}

void frmModuleManager::Load(DocGenProject& currProject) {
    mProject = &currProject;
    FillList();
}

void frmModuleManager::FillList(int select) {
    mlstModules->clear();
    mResult.clear();
    if (mProject)
        for (const auto& module : mProject->Modules())
            mlstModules->addItem(module->Name);
    if (mlstModules->count() > 0)
        mlstModules->setCurrentRow(select >= 0 && select < mlstModules->count() ? select : 0);
    updateButtons();
}

void frmModuleManager::updateButtons() {
    const bool selected = mlstModules->currentRow() >= 0;
    mcmdEdit->setEnabled(selected);
    mcmdRemove->setEnabled(selected);
}

void frmModuleManager::NewModule() {
    if (!mProject)
        return;
    frmModuleMaint form(this);
    form.SetHelp(mHelp);
    if (!form.NewModule(*mProject))
        return;
    FillList(mlstModules->count());
    mResult = mlstModules->currentItem() ? mlstModules->currentItem()->text() : QString();
}

void frmModuleManager::EditModule() {
    const int row = mlstModules->currentRow();
    if (!mProject || row < 0)
        return;
    frmModuleMaint form(this);
    form.SetHelp(mHelp);
    if (!form.EditModule(*mProject, row + 1))
        return;
    FillList(row);
    mResult = mlstModules->currentItem() ? mlstModules->currentItem()->text() : QString();
}

void frmModuleManager::RemoveModule() {
    const int row = mlstModules->currentRow();
    if (!mProject || row < 0)
        return;
    mProject->Modules().Remove(row + 1);
    FillList();
}

void frmModuleManager::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, DocGenHelp::Modules);
        return;
    }
    QDialog::keyPressEvent(event);
}
