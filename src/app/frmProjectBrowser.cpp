#include "frmProjectBrowser.h"

#include "Globals.h"
#include "HelpIntegration.h"
#include "ProjectWindow.h"
#include "ScreenMetrics.h"
#include "TARMODatabase.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"
#include "frmProjectDetails.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

bool sameRecord(const TARMOProject& a, const TARMOProject& b) {
    return a.Name() == b.Name() && a.SQL().Database() == b.SQL().Database() &&
           a.SQL().Server() == b.SQL().Server() && a.SQL().UserName() == b.SQL().UserName() &&
           a.SQL().Password() == b.SQL().Password() && a.SQL().UseWinNTAuth() == b.SQL().UseWinNTAuth() &&
           a.VSS().UserName() == b.VSS().UserName() && a.VSS().Password() == b.VSS().Password() &&
           a.VSS().IniFile() == b.VSS().IniFile() && a.VSS().Project() == b.VSS().Project();
}

} // namespace

frmProjectBrowser::frmProjectBrowser(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmProjectBrowser"));
    InstallHelpKey(this, HelpId(HelpTopic::ProjectBrowser));
    setWindowTitle(QStringLiteral("Project Browser"));
    mlvwProjects = new QTreeWidget;
    mlvwProjects->setObjectName(QStringLiteral("lvwProjects"));
    mlvwProjects->setRootIsDecorated(false);
    mlvwProjects->setSelectionBehavior(QAbstractItemView::SelectRows);
    auto button = [](const QString& caption, const char* name) {
        auto* b = new QPushButton(caption);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        return b;
    };
    mcmdOpen = button(QStringLiteral("Open Project"), "cmdOpen");
    mcmdOpen->setDefault(true);
    mcmdNew = button(QStringLiteral("&New Project"), "cmdNew");
    mcmdEdit = button(QStringLiteral("&Change Project"), "cmdEdit");
    mcmdRemove = button(QStringLiteral("&Remove Project"), "cmdRemove");
    mcmdClose = button(QStringLiteral("Close"), "Close");
    mchkMostResent = new QCheckBox(
        QStringLiteral("Do not display this dialog in the future (Most recent project will be opened)"));
    mchkMostResent->setObjectName(QStringLiteral("chkMostResent"));

    auto* buttons = new QVBoxLayout;
    for (auto* b : {mcmdOpen, mcmdNew, mcmdEdit, mcmdRemove})
        buttons->addWidget(b);
    buttons->addStretch();
    buttons->addWidget(mcmdClose);
    auto* top = new QHBoxLayout;
    top->addWidget(mlvwProjects, 1);
    top->addLayout(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top, 1);
    layout->addWidget(mchkMostResent);
    resize(700, 320);

    connect(mcmdOpen, &QPushButton::clicked, this, &frmProjectBrowser::cmdOpen_Click);
    connect(mcmdNew, &QPushButton::clicked, this, &frmProjectBrowser::cmdNew_Click);
    connect(mcmdEdit, &QPushButton::clicked, this, &frmProjectBrowser::cmdEdit_Click);
    connect(mcmdRemove, &QPushButton::clicked, this, &frmProjectBrowser::cmdRemove_Click);
    connect(mcmdClose, &QPushButton::clicked, this, &QDialog::reject);
    // A double click beside the items finds no item and does nothing.
    connect(mlvwProjects, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        mlvwProjects->setCurrentItem(item);
        cmdOpen_Click();
    });
    connect(mchkMostResent, &QCheckBox::clicked, this, [this](bool ticked) {
        if (gDatabase)
            gDatabase->SetOpenMostRecent(ticked);
    });
}

frmProjectBrowser::~frmProjectBrowser() = default;

void frmProjectBrowser::buildColumns() {
    mlvwProjects->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("SQL Server"),
                                   QStringLiteral("SQL Database"), QStringLiteral("VSS Ini File")});
    const int widths[] = {1695, 1275, 1485, 3000};
    const double twips = ScreenMetrics::Current().twipsPerPixelX;
    for (int c = 0; c < 4; ++c)
        mlvwProjects->setColumnWidth(c, static_cast<int>(widths[c] / twips));
}

void frmProjectBrowser::fillList() {
    const QTreeWidgetItem* was = mlvwProjects->currentItem();
    const QString kept = was && was->isSelected() ? was->text(0) : QString();
    mlvwProjects->clear();
    if (mProjects) {
        for (const auto& project : *mProjects) {
            auto* item =
                new QTreeWidgetItem(QStringList{project->Name(), project->SQL().Server(),
                                                project->SQL().Database(), project->VSS().IniFile()});
            item->setData(0, Qt::UserRole, project->Default() ? QStringLiteral("1") : QStringLiteral("0"));
            mlvwProjects->addTopLevelItem(item);
        }
    }
    // A row is always chosen, so that Open, Edit and Remove act at once: the one chosen before a
    // refill, else the first.
    QTreeWidgetItem* chosen = nullptr;
    for (int i = 0; i < mlvwProjects->topLevelItemCount() && !chosen; ++i)
        if (mlvwProjects->topLevelItem(i)->text(0) == kept)
            chosen = mlvwProjects->topLevelItem(i);
    if (!chosen && mlvwProjects->topLevelItemCount() > 0)
        chosen = mlvwProjects->topLevelItem(0);
    if (chosen)
        mlvwProjects->setCurrentItem(chosen);
    mchkMostResent->setChecked(gDatabase && gDatabase->OpenMostRecent());
}

void frmProjectBrowser::RefreshProjects() {
    mProjects = gDatabase->FindAllProjects(true, true);
    fillList();
}

std::shared_ptr<TARMOProject> frmProjectBrowser::selectedProject() const {
    QTreeWidgetItem* item = mlvwProjects->currentItem();
    if (!item || !mProjects || mProjects->Count() == 0 || !item->isSelected())
        return nullptr;
    return mProjects->Item(item->text(0));
}

std::shared_ptr<TARMOProject> frmProjectBrowser::OpenProjectBrowser(const TARMOProject& currentProject) {
    mSelectedProject = nullptr;
    mbFromMainWindow = true;
    mProjects = gDatabase->FindAllProjects(true, true);
    buildColumns();
    fillList();
    exec();
    if (mSelectedProject && sameRecord(*mSelectedProject, currentProject))
        mSelectedProject = nullptr;
    return mSelectedProject;
}

std::shared_ptr<TARMOProject> frmProjectBrowser::ProjectBrowser(std::shared_ptr<TARMOProjects> prjList,
                                                                bool ShowFormAsModal) {
    mSelectedProject = nullptr;
    mProjects =
        prjList ? std::move(prjList) : std::shared_ptr<TARMOProjects>(gDatabase->FindAllProjects(true, true));
    buildColumns();
    fillList();
    mbModalMode = ShowFormAsModal;
    if (ShowFormAsModal) {
        exec();
        return mSelectedProject;
    }
    setModal(false);
    show();
    return nullptr;
}

bool frmProjectBrowser::OpenRecentProject(long SequenceID, const QString& ProjectName) {
    mbModalMode = false;
    mProjects = gDatabase->FindAllProjects(true, true);
    for (const auto& project : *mProjects) {
        if ((!ProjectName.isEmpty() && ProjectName == project->Name()) ||
            (SequenceID >= 0 && SequenceID == project->Sequence()))
            return ConnectAndOpen(project);
    }
    MsgBox(QStringLiteral("Project could not be found in the project list!"), Prompt::Buttons::OK,
           Prompt::Icon::Critical, QStringLiteral("Unable to open project"));
    return false;
}

bool frmProjectBrowser::ConnectAndOpen(const std::shared_ptr<TARMOProject>& prj) {
    if (!prj->SQL().ConnectionOpen() && !prj->SQL()
                                             .OpenConnection(QString(), QString(), QString(), QString(),
                                                             TARMOSQL::kUseStoredAuthentication, false)
                                             .isEmpty())
        return false;
    if (!prj->VSS().ConnectionOpen() &&
        !prj->VSS()
             .OpenConnection(QString(), QString(), QString(), QString(), QString(), false, false)
             .isEmpty())
        return false;
    if (mbModalMode) {
        mSelectedProject = prj;
        return true;
    }
    return OpenProjectWindow(prj);
}

void frmProjectBrowser::cmdOpen_Click() {
    auto project = selectedProject();
    if (!project)
        return;
    if (mbFromMainWindow) {
        mSelectedProject = project;
        accept();
        return;
    }
    bool opened;
    {
        BusyCursor busy;
        opened = ConnectAndOpen(project);
    }
    if (opened)
        accept();
}

void frmProjectBrowser::cmdNew_Click() {
    BusyCursor busy;
    if (auto project = frmProjectDetails::newProject(this)) {
        gDatabase->SaveProject(*project);
        RefreshProjects();
    }
}

void frmProjectBrowser::cmdEdit_Click() {
    auto project = selectedProject();
    if (!project)
        return;
    BusyCursor busy;
    if (auto changed = frmProjectDetails::EditProject(project, this)) {
        gDatabase->SaveProject(*changed);
        RefreshProjects();
    }
}

void frmProjectBrowser::cmdRemove_Click() {
    auto project = selectedProject();
    if (!project)
        return;
    if (MsgBox(QStringLiteral("Are you sure you want to the project '%1'?").arg(project->Name()),
               Prompt::Buttons::YesNo, Prompt::Icon::Question,
               QStringLiteral("Remove Project")) == Prompt::Answer::No)
        return;
    BusyCursor busy;
    gDatabase->RemoveProject(*project);
    RefreshProjects();
}
