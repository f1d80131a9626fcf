#pragma once

#include "KeyedCollection.h"
#include "TARMOIcon.h"

// The table of every icon name the object model may hand out, keyed by the name in upper case. The
// windows hold one picture per name; the model only ever names them through this table, so a name
// that nobody entered shows as "-" instead of a wrong picture.
class TARMOIcons {
public:
    // Enters the name in upper case; a name already there is the caller's error (457).
    TARMOIcon& Add(const QString& Name);
    // The entry of that name (any case), or an icon named "-" when the table doesn't hold it.
    TARMOIcon Item(const QString& Name) const;
    bool Contains(const QString& Name) const { return mItems.Contains(Name); }
    int Count() const { return mItems.Count(); }

    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

private:
    KeyedCollection<TARMOIcon> mItems;
};
