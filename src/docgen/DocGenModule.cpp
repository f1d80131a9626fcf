#include "DocGenModule.h"

#include "GeneralHelpers.h"
#include "TARMOError.h"

DocGenModule& DocGenModules::Item(int Index) {
    if (Index < 1 || Index > Count())
        throw TARMOError(TARMOErrors::SubscriptOutOfRange, QStringLiteral("DocGenModules"),
                         QStringLiteral("Subscript out of range"));
    return *mModules[Index - 1];
}

const DocGenModule& DocGenModules::Item(int Index) const {
    return const_cast<DocGenModules*>(this)->Item(Index);
}

DocGenModule& DocGenModules::Add() {
    mModules.push_back(std::make_unique<DocGenModule>());
    renumber();
    return *mModules.back();
}

void DocGenModules::Remove(int Index) {
    Item(Index);
    mModules.erase(mModules.begin() + (Index - 1));
    renumber();
}

DocGenModule* DocGenModules::Find(const QString& name) {
    for (const auto& module : mModules)
        if (module->Name.compare(name, Qt::CaseInsensitive) == 0)
            return module.get();
    return nullptr;
}

const DocGenModule* DocGenModules::Find(const QString& name) const {
    return const_cast<DocGenModules*>(this)->Find(name);
}

void DocGenModules::renumber() {
    long index = 0;
    for (const auto& module : mModules)
        module->Index = ++index;
}

QStringList DocGenModule::MissingFiles() const {
    QStringList missing;
    for (const auto& file : mFiles)
        if (!FileExists(file->FileName()))
            missing.append(file->FileName());
    return missing;
}
