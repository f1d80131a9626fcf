#pragma once

#include "SyncRun.h"

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

// One row of the results: an object the two stores disagree on, the action chosen for it, and how
// the row shows that action before it is carried out.
struct SyncActionRow {
    QString Key;      // DBID
    QString Tag;      // the kind tag of the object
    int Kind = 3;     // 1 only in SQL Server, 2 only in the version store, 3 texts differ
    QString Name;     // owner.name of the object
    QString TypeName; // the kind's display name
    SyncDirection Direction = SyncDirection::None;

    // What the row shows; set by the rebuild.
    QString SQLName, SQLType, VSSName, VSSType;
    QColor SQLColour, VSSColour;
    int Position = 0; // 0 alone, 1 first, 2 inner, 3 last row of a block of like rows
    QString IconKey;
};

// The rows of the results window and every rule about them that needs no widget: the directions and
// how clicks change them, the blocks of like rows, the picture key of each row, and the texts and
// colours that show each side as it will be. The window only copies the rows into its table.
class SyncActionDisplay {
public:
    static const QColor SQLBackground;
    static const QColor VSSBackground;

    // A row with no action, for an object of that kind; the name shows on the side(s) it is on.
    void AddRow(const QString& key, const QString& tag, int kind, const QString& name,
                const QString& typeName);
    void Clear() { mRows.clear(); }

    int Count() const { return static_cast<int>(mRows.size()); }
    // From 0.
    const SyncActionRow& Row(int index) const { return mRows.at(index); }
    const QList<SyncActionRow>& Rows() const { return mRows; }

    // "< Make all changes in SQL" and "Make all changes in VSS >".
    void SetAllDirections(SyncDirection direction);
    // 0 -> 1 -> 2 -> 0 on that row alone.
    void LeftClick(int index);
    // 0 -> 1 -> 2 -> 1, on the row and the unbroken run of rows around it that had the same direction
    // and kind. Gives the first and last row changed.
    std::pair<int, int> RightClick(int index);
    // Takes an applied row out; the others keep their order, directions and objects. The caller
    // rebuilds once all are out.
    void RemoveRow(int index);

    // Finds the blocks afresh and sets each row's picture key, texts and colours.
    void Rebuild();

    // "ADD", "DEL", "CNG", or "NRM" for no direction.
    static QString ActionWord(int kind, SyncDirection direction);
    // The picture key of a row: word, direction letter, and the frame of its place in a block.
    static QString IconKey(int kind, SyncDirection direction, int position);
    // What a key says of its direction.
    static SyncDirection DirectionOfKey(const QString& key);
    // Every key the picture list holds, in its order (some of them no row ever shows).
    static QStringList AllIconKeys();

private:
    void findBlocks();
    static void showAction(SyncActionRow& row);

    QList<SyncActionRow> mRows;
};
