#pragma once

#include "DocGenRun.h"

#include <QDialog>
#include <QIcon>

#include <functional>
#include <memory>

class DocGenModule;
class DocGenProject;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;
class TARMODatabaseObjects;

// Carries out one document generation: the list of its steps with their status, the progress of
// the running step, and Cancel. The run starts once the window stands on the screen and goes on in
// the window's own thread; its progress calls let the window's events through, so it paints and
// takes the Cancel click. When the run is over the window closes, and then the outcome is told.
class frmDocumentGenerationProgress : public QDialog {
    Q_OBJECT
public:
    explicit frmDocumentGenerationProgress(QWidget* parent = nullptr);
    ~frmDocumentGenerationProgress() override;

    // The complete documentation of the database, and the documentation of one module.
    DocGenRun::Outcome GenerateAll(TARMODatabaseObjects& sdbCurrent, const DocGenProject& currProject);
    DocGenRun::Outcome GenerateModule(TARMODatabaseObjects& sdbCurrent, const DocGenProject& currProject,
                                      DocGenModule& selectedModule);

    // Asks the run to stop; it stops at the next object or step and writes nothing.
    void CancelRun();
    bool Running() const { return mbRunning; }
    // The references the last module run found in all files.
    long ReferenceCount() const { return mlngReferences; }

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    QTreeWidget* lvwSteps() const { return mlvwSteps; }
    QProgressBar* pbrCurrent() const { return mpbrCurrent; }
    QPushButton* cmdCancel() const { return mcmdCancel; }

    // Escape, the window's close button and whatever else would close the window while the run is
    // under way cancel the run instead: the window goes when the run is over.
    void done(int result) override;

signals:
    // A step began: its row reads "Initialising". The key is the run's ("START", "FILES", ...).
    void StepStarted(const QString& key);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    DocGenRun::Outcome Generate(std::unique_ptr<DocGenRun> run);
    void FillSteps();
    void ShowRow(int row);
    void ShowBar();
    void RunNow();
    void FitToSteps();
    void ShowDocumentName();
    void DrawStepIcons();

    std::unique_ptr<DocGenRun> mRun;
    DocGenRun::Outcome mOutcome = DocGenRun::Outcome::Cancelled;
    QString mError;
    long mlngReferences = 0;
    bool mbRunning = false;
    int mStartedRow = 0;
    QString mDocumentName;
    QIcon mStepIcons[3];

    QLabel* mlblDocument = nullptr;
    QTreeWidget* mlvwSteps = nullptr;
    QProgressBar* mpbrCurrent = nullptr;
    QPushButton* mcmdCancel = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
