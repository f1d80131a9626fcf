#include "frmSyncProcess.h"

#include "ErrorReport.h"
#include "HelpTopics.h"
#include "SyncPictures.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOProject.h"
#include "UserPrompts.h"
#include "frmSyncResults.h"

#include <QCloseEvent>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QProgressBar>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <optional>

namespace {

constexpr int kStatusColumn = 2;

int fromTwips(int twips) {
    return twips / 15;
}

} // namespace

frmSyncProcess::frmSyncProcess(QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Synchronization Process"));
    setModal(true);

    // The list only shows: the run can't be steered from it. It takes neither the mouse nor the
    // focus, but isn't disabled, so that its texts and status pictures keep their colours.
    mfraStatus = new QGroupBox(this);
    mfraStatus->setObjectName(QStringLiteral("fraStatus"));
    mfraStatus->setAttribute(Qt::WA_TransparentForMouseEvents);
    mfraStatus->setFocusPolicy(Qt::NoFocus);
    mlvwSteps = new QTreeWidget(mfraStatus);
    mlvwSteps->setObjectName(QStringLiteral("lvwSteps"));
    mlvwSteps->setFocusPolicy(Qt::NoFocus);
    mlvwSteps->setSelectionMode(QAbstractItemView::NoSelection);
    mlvwSteps->setRootIsDecorated(false);
    mlvwSteps->setUniformRowHeights(true);
    mlvwSteps->setHeaderLabels({QString(), QStringLiteral("Step"), QStringLiteral("Status")});
    mlvwSteps->setColumnWidth(0, fromTwips(320));
    mlvwSteps->setColumnWidth(1, fromTwips(6090));
    mlvwSteps->setColumnWidth(kStatusColumn, fromTwips(2640));
    mlvwSteps->header()->setStretchLastSection(true);
    auto* frameLayout = new QVBoxLayout(mfraStatus);
    frameLayout->addWidget(mlvwSteps);

    mpbrCurrent = new QProgressBar(this);
    mpbrCurrent->setObjectName(QStringLiteral("pbrCurrent"));
    mpbrCurrent->setRange(0, 100);
    mpbrCurrent->setValue(0);
    mpbrCurrent->setFormat(QStringLiteral("%p%"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mfraStatus, 1);
    layout->addWidget(mpbrCurrent);
    resize(fromTwips(320 + 6090 + 2640) + 60, 380);
}

frmSyncProcess::~frmSyncProcess() = default;

bool frmSyncProcess::StartSync(TARMODatabaseObjects& sdbCurrent) {
    msdbCurrent = &sdbCurrent;
    marrResults.clear();
    mbCompleted = false;
    mbRunning = true;
    mRun = std::make_unique<SyncRun>(sdbCurrent);
    mRun->StepStatus = [this](int step, const QString& status) { SetStepStatus(step, status); };
    mRun->StepProgress = [this](int step, long current, long total) { ShowProgress(step, current, total); };
    SetupSteps();

    // The run starts from the event loop, so that the window stands on the screen before the long
    // loop begins.
    QTimer::singleShot(0, this, [this] { RunSteps(); });
    exec();

    bool changed = false;
    if (mbCompleted) {
        if (!marrResults.isEmpty()) {
            const ResultsWindow show = mResultsWindow
                                           ? mResultsWindow
                                           : [this](TARMODatabaseObjects& core,
                                                    const QList<SyncDifference>& results, QWidget* owner) {
                                                 frmSyncResults form(owner);
                                                 form.SetHelp(mHelp);
                                                 return form.ShowSyncProblems(core, results);
                                             };
            changed = show(sdbCurrent, marrResults, parentWidget());
        } else {
            MsgBox(QStringLiteral("Everything is in Sync"), Prompt::Buttons::OK, Prompt::Icon::Information,
                   QStringLiteral("No Synchronization Needed"));
        }
        if (TARMOProject* project = sdbCurrent.Project())
            project->ProjectWasSyncronized(QStringLiteral("Synchronization"));
    }
    mRun.reset();
    msdbCurrent = nullptr;
    return changed;
}

void frmSyncProcess::SetupSteps() {
    mlvwSteps->clear();
    const QList<SyncStep>& steps = mRun->Steps();
    for (int i = 0; i < steps.size(); ++i) {
        auto* row = new QTreeWidgetItem(mlvwSteps);
        row->setData(0, Qt::UserRole, steps[i].Kind + steps[i].Key);
        row->setText(1, QStringLiteral("Step ") + QString::number(i + 1) + QStringLiteral(" - ") +
                            steps[i].Text);
        row->setText(kStatusColumn, QStringLiteral("Not Started"));
    }
    mpbrCurrent->setValue(0);
}

// A run that can't read a store ends without results and without a history line, since nothing
// was compared; the user is told why.
void frmSyncProcess::RunSteps() {
    repaint();
    std::optional<TARMOError> failure;
    {
        BusyCursor busy;
        try {
            marrResults = mRun->Run();
            mbCompleted = true;
        } catch (const TARMOError& e) {
            mbCompleted = false;
            failure = e;
        }
    }
    if (failure)
        ReportError(*failure);
    mbRunning = false;
    accept();
}

void frmSyncProcess::SetStepStatus(int step, const QString& status) {
    QTreeWidgetItem* row = mlvwSteps->topLevelItem(step);
    if (!row)
        return;
    const bool done = status == QLatin1String("Completed");
    row->setText(kStatusColumn, status);
    row->setIcon(0, SyncPictures::Step(done ? 2 : 1));
    if (!done && mRun && mRun->Steps().value(step).Kind == QLatin1String("COMP")) {
        mpbrCurrent->setMinimum(0);
        mpbrCurrent->setValue(0);
        mpbrCurrent->setFormat(QStringLiteral("0%"));
    }
    mlvwSteps->scrollToItem(row);
    mlvwSteps->viewport()->repaint();
    mpbrCurrent->repaint();
}

void frmSyncProcess::ShowProgress(int step, long current, long total) {
    if (total != 0 && total != mpbrCurrent->maximum())
        mpbrCurrent->setMaximum(static_cast<int>(total));
    if (current >= 1 && current <= total) {
        const QString percent = QString::number(current * 100 / total) + QLatin1Char('%');
        mpbrCurrent->setValue(static_cast<int>(current));
        mpbrCurrent->setFormat(percent);
        if (QTreeWidgetItem* row = mlvwSteps->topLevelItem(step)) {
            row->setText(kStatusColumn, QStringLiteral("Progress: ") + percent);
            row->setIcon(0, SyncPictures::Step(1));
        }
    }
    mlvwSteps->viewport()->repaint();
    mpbrCurrent->repaint();
}

// A run can't be stopped by the user: the window goes when the run is over.
void frmSyncProcess::closeEvent(QCloseEvent* event) {
    if (mbRunning) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void frmSyncProcess::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, HelpId(HelpTopic::Synchronization));
        return;
    }
    if (event->key() == Qt::Key_Escape && mbRunning)
        return;
    QDialog::keyPressEvent(event);
}
