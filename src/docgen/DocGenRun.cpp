#include "DocGenRun.h"

#include "DocGenHtml.h"
#include "DocGenModule.h"
#include "DocGenProject.h"
#include "DocGenWord.h"
#include "ReferenceFinder.h"
#include "TARMODBTItems.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOObjectList.h"
#include "UserPrompts.h"

#include <exception>

namespace {

// The core's progress event belongs to the run while a list is read, and to its old listener again
// afterwards, also when the read raises.
class ProgressHook {
public:
    ProgressHook(TARMODatabaseObjects& core, DocGenSteps& steps, const std::atomic<bool>& cancel)
        : mCore(core)
        , mPrevious(core.RetrieveStatusChange) {
        core.RetrieveStatusChange = [&steps, &cancel](const QString&, const QString&, long current,
                                                      long total, bool& Cancel) {
            if (current == 0)
                steps.SetStepRange(total);
            steps.ShowStepProgress(current);
            if (cancel)
                Cancel = true;
        };
    }
    ~ProgressHook() { mCore.RetrieveStatusChange = mPrevious; }
    ProgressHook(const ProgressHook&) = delete;
    ProgressHook& operator=(const ProgressHook&) = delete;

private:
    TARMODatabaseObjects& mCore;
    decltype(TARMODatabaseObjects::RetrieveStatusChange) mPrevious;
};

} // namespace

DocGenRun::DocGenRun(TARMODatabaseObjects& core, const DocGenProject& project, DocGenModule* module)
    : mCore(core)
    , mProject(project)
    , mModule(module) {
    const std::unique_ptr<TARMODBTItems> kinds = core.GetItemsForDocGen();
    for (int n = 1; kinds && n <= kinds->Count(); ++n)
        mKinds.append(DocGenKind{kinds->Item(n).Key, kinds->Item(n).Text, nullptr, {}, {}});

    for (const DocGenKind& kind : mKinds)
        mSteps.AddStep(QStringLiteral("GETOBJECTS-") + kind.Key, QStringLiteral("Find all ") + kind.Text);
    if (module)
        for (const DocGenKind& kind : mKinds)
            mSteps.AddStep(QStringLiteral("FINDOBJECTS-") + kind.Key,
                           QStringLiteral("Find all ") + kind.Text + QStringLiteral(" used in Module "));
    mSteps.AddStep(QStringLiteral("START"), QStringLiteral("Initialise Microsoft Word"));
    if (!module || project.IncludeModuleSummay)
        for (const DocGenKind& kind : mKinds)
            mSteps.AddStep(QStringLiteral("ADDOBJECTS-") + kind.Key,
                           (module ? QStringLiteral("Generate summary for all ")
                                   : QStringLiteral("Generate documentation for all ")) +
                               kind.Text);
    if (module)
        mSteps.AddStep(QStringLiteral("FILES"), QStringLiteral("Document all objects found in module"));
    mSteps.AddStep(QStringLiteral("END"), QStringLiteral("Save Document"));
}

DocGenRun::~DocGenRun() = default;

DocGenRun::Outcome DocGenRun::Run() {
    mError.clear();
    mReferences = 0;
    try {
        loadLists();
        if (mModule)
            searchModule();
        write();
        return Outcome::Generated;
    } catch (const DocGenCancelled&) {
        return Outcome::Cancelled;
    } catch (const TARMOError& error) {
        mError = error.Description();
    } catch (const std::exception& error) {
        mError = QString::fromLocal8Bit(error.what());
    }
    return mCancel ? Outcome::Cancelled : Outcome::Failed;
}

void DocGenRun::loadLists() {
    ProgressHook hook(mCore, mSteps, mCancel);
    for (DocGenKind& kind : mKinds) {
        mSteps.NextStep();
        if (mCancel)
            throw DocGenCancelled();
        kind.List = mCore.GetObjectObjects(kind.Key);
        if (mCancel)
            throw DocGenCancelled();
        if (!kind.List)
            throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("DocGenRun"),
                             QStringLiteral("The list of ") + kind.Text +
                                 QStringLiteral(" could not be read."));
        kind.Objects.clear();
        kind.Found.clear();
        for (const auto& object : *kind.List)
            kind.Objects.append(object);
    }
}

void DocGenRun::searchModule() {
    DocGenFiles& files = mModule->Files();
    for (const auto& file : files)
        file->FoundClear();

    // Every object of every kind goes into one finder, numbered in the order of the kinds and of
    // their lists, so each file is read and scanned once; the hits come out in the order the
    // object-by-object search would find them.
    ReferenceFinder finder;
    QList<std::shared_ptr<TARMOObjectVSS>> objects;
    QList<int> kindOf;
    for (int k = 0; k < mKinds.size(); ++k)
        for (const auto& object : mKinds[k].Objects) {
            finder.AddObject(object->Name(), object->Owner());
            objects.append(object);
            kindOf.append(k);
        }

    QList<QList<ReferenceHit>> hitsPerFile;
    QList<bool> usedObject(objects.size(), false);
    mSteps.NextStep();
    mSteps.SetStepRange(files.Count());
    long done = 0;
    for (const auto& file : files) {
        if (mCancel)
            throw DocGenCancelled();
        const QString text = ReadSourceFile(file->FileName());
        const QList<ReferenceHit> hits = finder.FindAll(text);
        AddReferences(*file, text, hits, objects);
        mReferences += hits.size();
        for (const ReferenceHit& hit : hits)
            usedObject[hit.Object] = true;
        mSteps.ShowStepProgress(++done);
    }

    // The found table of a kind: its objects that some file uses, in the list's order.
    for (int n = 0; n < objects.size(); ++n)
        if (usedObject[n])
            mKinds[kindOf[n]].Found.append(objects[n]);
    for (int k = 1; k < mKinds.size(); ++k) {
        mSteps.NextStep();
        mSteps.SetStepRange(1);
        mSteps.ShowStepProgress(1);
    }
}

void DocGenRun::write() {
    if (mProject.DocumentType.compare(DocGenTypes::Word, Qt::CaseInsensitive) == 0) {
        DocGenWord writer(mProject, *this);
        if (mModule)
            writer.ModuleDocument(mKinds, *mModule);
        else
            writer.CompleteDocument(mKinds);
        return;
    }
    DocGenHtml writer(mProject, *this);
    const QString text = mModule ? writer.ModuleDocument(mKinds, *mModule) : writer.CompleteDocument(mKinds);
    mSteps.NextStep();
    mSteps.SetStepRange(1);
    if (mCancel)
        throw DocGenCancelled();
    WriteDocumentFile(mProject.GenerateName, text);
    mSteps.ShowStepProgress(1);
    mSteps.NextStep();
}

void DocGenRun::ReportOutcome(Outcome outcome, const QString& errorDescription) {
    if (outcome == Outcome::Generated)
        MsgBox(QStringLiteral("Document has been successfully generated!"), Prompt::Buttons::OK,
               Prompt::Icon::Information, QStringLiteral("Document Generated"));
    else if (outcome == Outcome::Failed)
        MsgBox(QStringLiteral("An error occured: ") + errorDescription +
                   QStringLiteral("\r\n\r\nDocument could not be generated!"),
               Prompt::Buttons::OK, Prompt::Icon::Critical, QStringLiteral("Document Generation Aborted"));
}

DocGenRun::Outcome GenerateAll(TARMODatabaseObjects& core, const DocGenProject& project) {
    DocGenRun run(core, project);
    const DocGenRun::Outcome outcome = run.Run();
    DocGenRun::ReportOutcome(outcome, run.ErrorDescription());
    return outcome;
}

DocGenRun::Outcome GenerateModule(TARMODatabaseObjects& core, const DocGenProject& project,
                                  DocGenModule& module) {
    DocGenRun run(core, project, &module);
    const DocGenRun::Outcome outcome = run.Run();
    DocGenRun::ReportOutcome(outcome, run.ErrorDescription());
    return outcome;
}
