#include "TARMOProjects.h"

#include <algorithm>

TARMOProjects::ProjectPtr TARMOProjects::Add(const QString& name, ProjectPtr spToAdd) {
    if (!name.isEmpty()) {
        spToAdd = std::make_shared<TARMOProject>();
        spToAdd->SetName(name);
    }
    if (!spToAdd)
        throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("TARMOProjects"),
                         QStringLiteral("Invalid procedure call or argument"));
    return mItems.Add(spToAdd, spToAdd->Name());
}

TARMOProjects::ProjectPtr TARMOProjects::ChangeProjectName(const QString& originalName,
                                                           const QString& newName) {
    const int position = mItems.PositionOf(originalName);
    ProjectPtr project = mItems.Item(originalName);
    const QString previous = position > 1 ? mItems.KeyAt(position - 1) : QString();
    const QString next = position < mItems.Count() ? mItems.KeyAt(position + 1) : QString();
    mItems.Remove(position);
    project->SetName(newName);
    if (!previous.isEmpty())
        mItems.Add(project, newName, 0, mItems.PositionOf(previous));
    else if (!next.isEmpty())
        mItems.Add(project, newName, mItems.PositionOf(next));
    else
        mItems.Add(project, newName);
    return project;
}

void TARMOProjects::SortBySequence() {
    QList<ProjectPtr> projects;
    for (const auto& p : mItems)
        projects << p;
    std::stable_sort(projects.begin(), projects.end(),
                     [](const ProjectPtr& a, const ProjectPtr& b) { return a->Sequence() < b->Sequence(); });
    mItems.Clear();
    for (const auto& p : projects)
        mItems.Add(p, p->Name());
}
