#pragma once

#include "SyncRun.h"

#include <QDialog>
#include <QList>

#include <functional>
#include <memory>

class QGroupBox;
class QProgressBar;
class QTreeWidget;
class TARMODatabaseObjects;

// The steps of a synchronization run, modal: each kind is read from both stores and then compared,
// with the progress of the running step. What differs goes to the results window once the steps
// window is gone; the run itself changes nothing in either store.
class frmSyncProcess : public QDialog {
    Q_OBJECT
public:
    // The results window: the core and what differs; True when it changed anything.
    using ResultsWindow =
        std::function<bool(TARMODatabaseObjects&, const QList<SyncDifference>&, QWidget* owner)>;

    explicit frmSyncProcess(QWidget* parent = nullptr);
    ~frmSyncProcess() override;

    // Runs everything and answers what the results window answered: True when at least one change
    // was made. Whatever was found, the project's history of synchronizations gets its line.
    bool StartSync(TARMODatabaseObjects& sdbCurrent);

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }
    // The window the differences go to; frmSyncResults unless a caller says otherwise.
    void SetResultsWindow(ResultsWindow window) { mResultsWindow = std::move(window); }

    QTreeWidget* lvwSteps() const { return mlvwSteps; }
    QProgressBar* pbrCurrent() const { return mpbrCurrent; }
    // What the last run found.
    const QList<SyncDifference>& Results() const { return marrResults; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void SetupSteps();
    void RunSteps();
    void SetStepStatus(int step, const QString& status);
    void ShowProgress(int step, long current, long total);

    TARMODatabaseObjects* msdbCurrent = nullptr;
    std::unique_ptr<SyncRun> mRun;
    QList<SyncDifference> marrResults;
    bool mbCompleted = false;
    bool mbRunning = false;

    QGroupBox* mfraStatus = nullptr;
    QTreeWidget* mlvwSteps = nullptr;
    QProgressBar* mpbrCurrent = nullptr;
    std::function<void(QWidget*, long)> mHelp;
    ResultsWindow mResultsWindow;
};
