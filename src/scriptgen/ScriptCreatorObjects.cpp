#include "ScriptCreatorObjects.h"

#include "TARMOError.h"

ScriptCreatorObject& ScriptCreatorObjects::Item(long index) const {
    if (index < 1 || index > Count())
        throw TARMOError(9, QStringLiteral("ScriptCreatorObjects"), QStringLiteral("Subscript out of range"));
    return *mItems.at(index - 1);
}

ScriptCreatorObject& ScriptCreatorObjects::Add() {
    mItems.append(std::make_shared<ScriptCreatorObject>());
    mItems.last()->mIndex = Count();
    return *mItems.last();
}

void ScriptCreatorObjects::Remove(long index) {
    Item(index);
    mItems.removeAt(index - 1);
    renumber();
}

void ScriptCreatorObjects::Reorder(const QList<qsizetype>& order) {
    QList<std::shared_ptr<ScriptCreatorObject>> reordered;
    reordered.reserve(order.size());
    for (const qsizetype at : order)
        reordered.append(mItems.at(at));
    mItems = reordered;
    renumber();
}

void ScriptCreatorObjects::renumber() {
    long index = 0;
    for (const auto& item : mItems)
        item->mIndex = ++index;
}
