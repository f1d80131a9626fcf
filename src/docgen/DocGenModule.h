#pragma once

#include "DocGenFile.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

// A named set of source files of an application that uses the database, with a few descriptive
// fields. Created on and by are free text. Path is the primary module path with a trailing "/".
class DocGenModule {
public:
    long Index = 0;
    QString Name;
    QString CreatedOn;
    QString DevelopedBy;
    QString Project;
    QString Description;
    QString CreatedBy;
    QString Path;

    DocGenFiles& Files() { return mFiles; }
    const DocGenFiles& Files() const { return mFiles; }

    // The full names of the module's files that are not there (any more).
    QStringList MissingFiles() const;

private:
    DocGenFiles mFiles;
};

// The modules of a project in their order; Add and Remove renumber Index from 1.
class DocGenModules {
public:
    DocGenModule& Item(int Index);
    const DocGenModule& Item(int Index) const;
    // A new module at the end.
    DocGenModule& Add();
    int Count() const { return static_cast<int>(mModules.size()); }
    void Clear() { mModules.clear(); }
    void Remove(int Index);
    // The module of that name, ignoring case; nullptr for none.
    DocGenModule* Find(const QString& name);
    const DocGenModule* Find(const QString& name) const;

    auto begin() const { return mModules.begin(); }
    auto end() const { return mModules.end(); }

private:
    void renumber();
    std::vector<std::unique_ptr<DocGenModule>> mModules;
};
