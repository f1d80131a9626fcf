#pragma once

#include "KeyedCollection.h"
#include "TARMOProject.h"

#include <memory>

// Projects keyed by name (without regard to case), in the order they were added.
class TARMOProjects {
public:
    using ProjectPtr = std::shared_ptr<TARMOProject>;

    // With a name: a new project of that name. Without: spToAdd under its own name.
    ProjectPtr Add(const QString& name = {}, ProjectPtr spToAdd = nullptr);
    ProjectPtr Item(const QString& key) const { return mItems.Item(key); }
    ProjectPtr Item(int position) const { return mItems.Item(position); }
    int Count() const { return mItems.Count(); }
    bool Contains(const QString& key) const { return mItems.Contains(key); }
    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

    // Renames in memory; the project keeps its place between its neighbours.
    ProjectPtr ChangeProjectName(const QString& originalName, const QString& newName);
    // Ascending by Sequence, with the same keys.
    void SortBySequence();

private:
    KeyedCollection<ProjectPtr> mItems;
};
