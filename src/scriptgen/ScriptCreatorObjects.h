#pragma once

#include "ScriptCreatorObject.h"

#include <QList>

#include <memory>

// The objects of a script in their order. Entries live on the heap so that a reference handed out
// by Add stays valid while more are added.
class ScriptCreatorObjects {
public:
    // From 1; raises TARMOError (9, subscript out of range) outside 1..Count.
    ScriptCreatorObject& Item(long index) const;
    // A new entry at the end, numbered.
    ScriptCreatorObject& Add();
    long Count() const { return static_cast<long>(mItems.size()); }
    void Clear() { mItems.clear(); }
    // Removes the entry and numbers the rest from 1 again.
    void Remove(long index);
    // Puts the entries into the order given (a permutation of 0-based positions) and numbers them.
    void Reorder(const QList<qsizetype>& order);

    class const_iterator {
    public:
        using Inner = QList<std::shared_ptr<ScriptCreatorObject>>::const_iterator;
        explicit const_iterator(Inner at)
            : mAt(at) {}
        ScriptCreatorObject& operator*() const { return **mAt; }
        ScriptCreatorObject* operator->() const { return mAt->get(); }
        const_iterator& operator++() {
            ++mAt;
            return *this;
        }
        bool operator!=(const const_iterator& other) const { return mAt != other.mAt; }
        bool operator==(const const_iterator& other) const { return mAt == other.mAt; }

    private:
        Inner mAt;
    };
    const_iterator begin() const { return const_iterator(mItems.cbegin()); }
    const_iterator end() const { return const_iterator(mItems.cend()); }

private:
    void renumber();

    QList<std::shared_ptr<ScriptCreatorObject>> mItems;
};
