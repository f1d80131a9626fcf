#include "frmVSSProjectBrowser.h"

#include "GuiHelpers.h"
#include "HelpIntegration.h"
#include "TARMOError.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
constexpr int KeyRole = Qt::UserRole;
constexpr int TagRole = Qt::UserRole + 1;
} // namespace

frmVSSProjectBrowser::frmVSSProjectBrowser(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmVSSProjectBrowser"));
    InstallHelpKey(this, HelpId(HelpTopic::StoreProject));
    setWindowTitle(QStringLiteral("VSS Project Browser"));
    mtvwVSSProjects = new QTreeWidget;
    mtvwVSSProjects->setObjectName(QStringLiteral("tvwVSSProjects"));
    mtvwVSSProjects->setHeaderHidden(true);
    mtvwVSSProjects->setContextMenuPolicy(Qt::CustomContextMenu);
    mcmdOK = new QPushButton(QStringLiteral("OK"));
    mcmdOK->setObjectName(QStringLiteral("cmdOK"));
    mcmdOK->setDefault(true);
    mcmdCancel = new QPushButton(QStringLiteral("Cancel"));
    mcmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    mcmdNewProject = new QPushButton(QStringLiteral("&New Project"));
    mcmdNewProject->setObjectName(QStringLiteral("cmdNewProject"));
    mmnuPopup = new QMenu(this);
    auto* mnuNewProject = mmnuPopup->addAction(QStringLiteral("&New Project"));
    mnuNewProject->setObjectName(QStringLiteral("mnuNewProject"));

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(mcmdOK);
    buttons->addWidget(mcmdCancel);
    buttons->addSpacing(12);
    buttons->addWidget(mcmdNewProject);
    buttons->addStretch();
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(mtvwVSSProjects, 1);
    layout->addLayout(buttons);
    resize(420, 320);

    connect(mcmdOK, &QPushButton::clicked, this, &frmVSSProjectBrowser::cmdOK_Click);
    connect(mcmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(mcmdNewProject, &QPushButton::clicked, this, &frmVSSProjectBrowser::cmdNewProject_Click);
    connect(mnuNewProject, &QAction::triggered, this, &frmVSSProjectBrowser::cmdNewProject_Click);
    connect(mtvwVSSProjects, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem* node) {
        if (node->childCount() > 0 && node->child(0)->data(0, TagRole).toString() == QLatin1String("temp"))
            LoadChildren(node, QString());
    });
    connect(mtvwVSSProjects, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        if (auto* node = mtvwVSSProjects->itemAt(at)) {
            mtvwVSSProjects->setCurrentItem(node);
            mmnuPopup->popup(mtvwVSSProjects->viewport()->mapToGlobal(at));
        }
    });
}

QString frmVSSProjectBrowser::KeyOf(const QTreeWidgetItem* node) {
    return node ? node->data(0, KeyRole).toString() : QString();
}

void frmVSSProjectBrowser::Prepare(const QString& strCurrentFolder, TARMOVSS& svConnection) {
    mbCancelled = true;
    mConnection = &svConnection;
    mFolder = strCurrentFolder;
    if (!mFolder.isEmpty() && !mFolder.endsWith(QLatin1Char('\\')))
        mFolder += QLatin1Char('\\');
    mtvwVSSProjects->clear();
    auto* root = new QTreeWidgetItem(QStringList{QStringLiteral("$")});
    root->setData(0, KeyRole, QStringLiteral("$\\"));
    mtvwVSSProjects->addTopLevelItem(root);
    LoadChildren(root, mFolder);
}

QString frmVSSProjectBrowser::GetFolder(const QString& strCurrentFolder, TARMOVSS& svConnection) {
    Prepare(strCurrentFolder, svConnection);
    exec();
    return mbCancelled ? QString() : mFolder;
}

void frmVSSProjectBrowser::LoadChildren(QTreeWidgetItem* node, const QString& target) {
    qDeleteAll(node->takeChildren());
    QStringList names;
    try {
        BusyCursor busy;
        names = mConnection->GetProjectSubFolders(KeyOf(node));
    } catch (const TARMOError& e) {
        MsgBox(e.Description(), Prompt::Buttons::OK, Prompt::Icon::Exclamation,
               QStringLiteral("Cannot connect to Visual SourceSafe Database"));
        return;
    }
    for (qsizetype i = 1; i < names.size(); ++i) {
        auto* child = new QTreeWidgetItem(QStringList{names[i]});
        const QString key = KeyOf(node) + names[i] + QLatin1Char('\\');
        child->setData(0, KeyRole, key);
        node->addChild(child);
        if (target.startsWith(key)) {
            node->setExpanded(true);
            mtvwVSSProjects->setCurrentItem(child);
            LoadChildren(child, target);
            child->setExpanded(true);
        } else {
            auto* placeholder = new QTreeWidgetItem(QStringList{QString()});
            placeholder->setData(0, KeyRole, key + QStringLiteral("_tmp"));
            placeholder->setData(0, TagRole, QStringLiteral("temp"));
            child->addChild(placeholder);
        }
    }
}

void frmVSSProjectBrowser::refuseNoSelection() {
    MsgBox(QStringLiteral("No Project selected!"), Prompt::Buttons::OK, Prompt::Icon::Exclamation,
           QStringLiteral("Invalid Data"));
    mtvwVSSProjects->setFocus();
}

void frmVSSProjectBrowser::cmdNewProject_Click() {
    QTreeWidgetItem* selected = mtvwVSSProjects->currentItem();
    if (!selected) {
        refuseNoSelection();
        return;
    }
    const QString name = frmVSSNewProject::NewVSSProjectName(this);
    if (name.isEmpty())
        return;
    BusyCursor busy;
    const QString err = mConnection->CreateNewProject(KeyOf(selected), name);
    if (!err.isEmpty()) {
        MsgBox(err, Prompt::Buttons::OK, Prompt::Icon::Exclamation,
               QStringLiteral("Could not create folder"));
        return;
    }
    LoadChildren(selected, KeyOf(selected) + name + QLatin1Char('\\'));
}

void frmVSSProjectBrowser::cmdOK_Click() {
    QTreeWidgetItem* selected = mtvwVSSProjects->currentItem();
    if (!selected) {
        refuseNoSelection();
        return;
    }
    mbCancelled = false;
    mFolder = KeyOf(selected);
    accept();
}

frmVSSNewProject::frmVSSNewProject(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmVSSNewProject"));
    InstallHelpKey(this, HelpId(HelpTopic::StoreProject));
    setWindowTitle(QStringLiteral("New Project"));
    auto* txtVSSProject = new QLineEdit;
    txtVSSProject->setObjectName(QStringLiteral("txtVSSProject"));
    auto* cmdOK = new QPushButton(QStringLiteral("OK"));
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    auto* cmdCancel = new QPushButton(QStringLiteral("Cancel"));
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(QStringLiteral("Project &Name:"));
    // Without its box as buddy the label would show the "&" instead of underlining the key.
    label->setBuddy(txtVSSProject);
    layout->addWidget(label);
    layout->addWidget(txtVSSProject);
    layout->addLayout(buttons);
    connect(cmdOK, &QPushButton::clicked, this, [this, txtVSSProject] {
        if (txtVSSProject->text().trimmed().isEmpty()) {
            MsgBox(QStringLiteral("No Project Name specified!"), Prompt::Buttons::OK, Prompt::Icon::None,
                   QString());
            txtVSSProject->setFocus();
            return;
        }
        setProperty("result", txtVSSProject->text());
        accept();
    });
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    SelectAllTextOnFocus(this);
}

QString frmVSSNewProject::NewVSSProjectName(QWidget* parent) {
    frmVSSNewProject dialog(parent);
    return dialog.exec() == QDialog::Accepted ? dialog.property("result").toString() : QString();
}
