#pragma once

#include <QString>

class TARMOVSS;

// The description of one object: one text kept in its own store item, the object's item name with
// ".desc" behind. A description that was never set has no item at all.
class TARMODescription {
public:
    static const QString Extension; // ".desc"

    TARMOVSS* ActiveVSSConnection() const { return mVSS; }
    void SetActiveVSSConnection(TARMOVSS* vss) { mVSS = vss; }
    // The object's item name; the description item is this + ".desc".
    const QString& VSSItemName() const { return mVSSItemName; }
    void SetVSSItemName(const QString& name) { mVSSItemName = name; }
    QString DescriptionItemName() const { return mVSSItemName + Extension; }

    // "" without an item; a text that is blank after trimming reads as "".
    QString Description();
    // An empty value is stored as one blank, since the item can't be emptied otherwise; a blank value
    // never creates an item.
    void SetDescription(const QString& value);
    // Moves the description item along with its object's item; True when it went.
    bool Rename(const QString& NewItemName);

    // What a stored description text reads as: blank counts as none.
    static QString ReadAs(const QString& storedText);

private:
    TARMOVSS* mVSS = nullptr;
    QString mVSSItemName;
};
