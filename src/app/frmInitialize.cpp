#include "frmInitialize.h"

#include "ErrorReport.h"
#include "Globals.h"
#include "HelpIntegration.h"
#include "OdbcConnection.h"
#include "ProjectWindow.h"
#include "ScreenMetrics.h"
#include "TARMODatabase.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "frmProjectBrowser.h"
#include "frmSystem.h"

#include <QApplication>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

frmInitialize::frmInitialize(QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("frmInitialize"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlag(Qt::SplashScreen);
    setWindowTitle(QStringLiteral("TARMO - Initializing"));
    InstallHelpKey(this, HelpId(HelpTopic::Introduction));
    auto* title = new QLabel(QStringLiteral("<h2>TARMO</h2>"));
    title->setAlignment(Qt::AlignCenter);
    mlblVersion = new QLabel;
    mlblVersion->setObjectName(QStringLiteral("lblVersion"));
    mlblVersion->setAlignment(Qt::AlignCenter);
    mlblStatus = new QLabel;
    mlblStatus->setObjectName(QStringLiteral("lblStatus"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(mlblVersion);
    layout->addStretch();
    layout->addWidget(mlblStatus);
    resize(420, 200);

    // The first step waits only for the splash to be shown.
    mtmr.setInterval(0);
    mtmr.setSingleShot(true);
    connect(&mtmr, &QTimer::timeout, this, &frmInitialize::tmr_Timer);
}

void frmInitialize::StartTARMO() {
    mlblStatus->clear();
    mlblVersion->setText(QStringLiteral("Version: ") + App::VersionText());
    show();
    mtmr.start();
}

void frmInitialize::SetStatus(const QString& text) {
    mStatusHistory << text;
    mlblStatus->setText(text + QStringLiteral(" ..."));
    // The steps run without a pause: the splash is drawn at once so that each status is seen while its
    // step works, and a fast step simply gives way to the next.
    repaint();
}

void frmInitialize::Unload() {
    Q_EMIT Finished();
    close();
}

bool frmInitialize::ConnectProject(TARMOProject& project, const QString&) {
    SetStatus(QStringLiteral("Opening Most Recent Project - Connecting to SQL"));
    if (!project.SQL().ConnectionOpen() && !project.SQL()
                                                .OpenConnection(QString(), QString(), QString(), QString(),
                                                                TARMOSQL::kUseStoredAuthentication, false)
                                                .isEmpty())
        return false;
    SetStatus(QStringLiteral("Opening Most Recent Project - Connecting to VSS"));
    if (!project.VSS().ConnectionOpen() &&
        !project.VSS()
             .OpenConnection(QString(), QString(), QString(), QString(), QString(), false, false)
             .isEmpty())
        return false;
    return true;
}

void frmInitialize::tmr_Timer() {
    mtmr.stop();
    // A step that fails is told; the start goes on as far as it can, so that the user always ends in
    // a window from which to go on.
    if (!Guarded([this] { startUp(); }))
        Unload();
}

namespace {

// Told once the event that saved it is done (a close event can't show a box), and once for a burst:
// closing a window saves several values, and each meets the same fault.
void tellSettingNotSaved(const TARMOError& error) {
    static bool pending = false;
    if (pending)
        return;
    pending = true;
    QTimer::singleShot(0, qApp, [error] {
        pending = false;
        ReportError(error);
    });
}

} // namespace

void frmInitialize::startUp() {
    const QString product = App::ProductName();

    SetStatus(QStringLiteral("Initializing %1 Database").arg(product));
    gDatabase = std::make_unique<TARMODatabase>();
    gDatabase->SetScreen(ScreenMetrics::Current());
    gDatabase->SetWriteFailureHandler(tellSettingNotSaved);
    // The settings choose the ODBC driver for real servers; the environment still can when they don't.
    if (!gDatabase->ODBCDriver().isEmpty())
        OdbcConnection::SetDriverName(gDatabase->ODBCDriver());
    if (!gDatabase->ODBCOptions().isEmpty())
        OdbcConnection::SetExtraOptions(gDatabase->ODBCOptions());

    SetStatus(QStringLiteral("Initializing %1 Projects").arg(product));

    SetStatus(QStringLiteral("Checking System Requirements"));
    {
        frmSystem system(this);
        if (!system.SystemRequirementsOK()) {
            Unload();
            return;
        }
    }

    SetStatus(QStringLiteral("Finding Most Recent %1 Project").arg(product));
    bool opened = false;
    // The most recent project that fails to open is told and the browser follows, as for one that
    // can't be reached.
    Guarded([&] {
        if (auto project = gDatabase->GetDefaultProject()) {
            if (ConnectProject(*project, product)) {
                SetStatus(QStringLiteral("Opening Most Recent Project"));
                OpenProjectWindow(project);
                opened = true;
            }
        }
    });
    if (opened) {
        Unload();
        return;
    }

    // A project that can't be reached never blocks the start: its connection has told the user why.
    SetStatus(QStringLiteral("Finding %1 Projects").arg(product));
    std::shared_ptr<TARMOProjects> projects = gDatabase->FindAllProjects(true, true);
    SetStatus(QStringLiteral("Initializing Project Browser"));
    auto* browser = new frmProjectBrowser;
    browser->setAttribute(Qt::WA_DeleteOnClose);
    browser->ProjectBrowser(projects, false);
    Unload();
}
