#pragma once

#include "KeyedCollection.h"
#include "TARMOField.h"

#include <memory>

// The fields of an object, keyed by name without regard to case; a second field of the same name is
// refused with the collection's error (457).
class TARMOFields {
public:
    // Creates the field, names it and adds it at the end.
    TARMOField& Add(const QString& name);
    TARMOField& Item(const QString& name) { return *mItems.Item(name); }
    TARMOField& Item(int position) { return *mItems.Item(position); }
    const TARMOField& Item(int position) const { return *mItems.Item(position); }
    bool Contains(const QString& name) const { return mItems.Contains(name); }
    int Count() const { return mItems.Count(); }

    // Range-for over the fields in the order they were added (what NewEnum gives).
    template <typename F> void ForEach(F&& visit) const {
        for (const auto& field : mItems)
            visit(*field);
    }

private:
    KeyedCollection<std::shared_ptr<TARMOField>> mItems;
};
