#pragma once

#include "DocGenSteps.h"

#include <QList>
#include <QString>

#include <atomic>
#include <memory>

class DocGenModule;
class DocGenProject;
class TARMODatabaseObjects;
class TARMOObjectList;
class TARMOObjectVSS;

// The objects of one kind for a document: the kind's key and display name, its list as the core
// gives it, and in a module run the distinct objects that at least one file uses, in the order of
// finding.
struct DocGenKind {
    QString Key;
    QString Text;
    TARMOObjectList* List = nullptr;
    QList<std::shared_ptr<TARMOObjectVSS>> Objects;
    QList<std::shared_ptr<TARMOObjectVSS>> Found;
};

// Where a writer puts the progress of its step.
class DocGenProgress {
public:
    virtual ~DocGenProgress() = default;
    virtual void NextStep() = 0;
    virtual void SetStepRange(long maximum) = 0;
    virtual void ShowStepProgress(long value, const QString& text = QString()) = 0;
    // The run was asked to stop: the writer leaves with DocGenCancelled.
    virtual bool Cancelled() const = 0;
};

// Thrown by a writer that stops because the run was cancelled; nothing has been written then.
struct DocGenCancelled {};

// One document generation without a window: the complete documentation of the database
// (module == nullptr) or the documentation of one module, as HTML or as a Word document by the
// project's DocumentType, written to GenerateName in one piece at the end. The progress window shows
// Steps() and lets the run's progress calls keep it alive; tarmo-cli and tarmo-bench run it bare.
class DocGenRun : private DocGenProgress {
public:
    enum class Outcome { Generated, Failed, Cancelled };

    // Builds the step list from the core's kinds for documents. The project and the module must
    // outlive the run; the module's files keep what the run found in them.
    DocGenRun(TARMODatabaseObjects& core, const DocGenProject& project, DocGenModule* module = nullptr);
    ~DocGenRun() override;
    DocGenRun(const DocGenRun&) = delete;
    DocGenRun& operator=(const DocGenRun&) = delete;

    DocGenSteps& Steps() { return mSteps; }
    bool IsModuleRun() const { return mModule != nullptr; }

    // Reads the lists, searches the module's files, writes the document. Shows no message: the
    // caller closes its window first and then calls ReportOutcome. A failure of any step ends in
    // Failed with its description in ErrorDescription(); the output file is then untouched.
    Outcome Run();

    // Asks the run to stop at the next object or step; safe from a progress callback. A cancelled
    // run writes nothing.
    void Cancel() { mCancel = true; }
    bool CancelRequested() const { return mCancel; }

    const QString& ErrorDescription() const { return mError; }
    // References found in all files of a module run.
    long ReferenceCount() const { return mReferences; }
    const QList<DocGenKind>& Kinds() const { return mKinds; }

    // The message of an outcome through the prompts layer: "Document has been successfully
    // generated!" or the failure message with the description; nothing for Cancelled.
    static void ReportOutcome(Outcome outcome, const QString& errorDescription);

private:
    void NextStep() override { mSteps.NextStep(); }
    void SetStepRange(long maximum) override { mSteps.SetStepRange(maximum); }
    void ShowStepProgress(long value, const QString& text) override { mSteps.ShowStepProgress(value, text); }
    bool Cancelled() const override { return mCancel; }

    void loadLists();
    void searchModule();
    void write();

    TARMODatabaseObjects& mCore;
    const DocGenProject& mProject;
    DocGenModule* mModule;
    DocGenSteps mSteps;
    QList<DocGenKind> mKinds;
    std::atomic<bool> mCancel = false;
    QString mError;
    long mReferences = 0;
};

// A run from start to message, without a window: runs and reports the outcome.
DocGenRun::Outcome GenerateAll(TARMODatabaseObjects& core, const DocGenProject& project);
DocGenRun::Outcome GenerateModule(TARMODatabaseObjects& core, const DocGenProject& project,
                                  DocGenModule& module);
