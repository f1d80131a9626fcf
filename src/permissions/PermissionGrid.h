#pragma once

#include "TARMOPermissions.h"

#include <QList>
#include <QString>

#include <optional>

// What the permission editor shows and changes, without the table control: a row per grantee, a
// column per statement the object's kind knows, the state of each cell, the clicks that turn a
// state from none to grant to deny and back, and their undo history. The window draws from it and
// hands it every click; saving writes its states into the set that was read.
//
// Columns count as in the table: 0 is the name, the statements follow from 1.
class PermissionGrid {
public:
    struct Column {
        QString Key;     // the table's key of the column
        QString Heading; // what the header shows
        QString Word;    // the statement word of a script
    };
    struct Row {
        QString Name;
        bool IsRole = false;
        bool IsOwner = false;
        // One per statement column; an owner's cells hold LeaveOut.
        QList<long> States;
    };
    // One click: the cell and its state before and after.
    struct Change {
        int Row = 0;
        int Column = 0;
        long OldState = TARMOPermission::None;
        long NewState = TARMOPermission::None;
    };

    // The statement columns of a kind: EXECUTE alone, EXECUTE and REFERENCES, or the five of a table.
    static QList<Column> StatementColumns(bool executeOnly, bool execAndRefOnly);
    // None to Grant to Deny to None; LeaveOut, the owner's mark, stays.
    static long NextState(long state);
    // The picture key of a cell's state, and of a row's grantee.
    static QString StateIconKey(long state);
    static QString GranteeIconKey(bool isRole);

    // Takes the lines of a freshly read set, in its order; the history and the changed mark go.
    void Load(const TARMOPermissions& set);

    const QList<Column>& Columns() const { return mColumns; }
    int ColumnCount() const { return static_cast<int>(mColumns.size()) + 1; }
    int RowCount() const { return static_cast<int>(mRows.size()); }
    const Row& RowAt(int row) const { return mRows.at(row); }
    // The state of a statement cell; -1 for the name column or a cell outside the grid.
    long State(int row, int column) const;

    // The click on a cell: the next state, recorded for undo, dropping what could have been redone.
    // False, and nothing recorded, for the name column, an owner's cell or a cell outside the grid.
    bool Cycle(int row, int column);
    bool CanUndo() const { return mPosition > 0; }
    bool CanRedo() const { return mPosition < static_cast<int>(mHistory.size()); }
    // The change undone or redone, with its cell back at the old or forward at the new state.
    std::optional<Change> Undo();
    std::optional<Change> Redo();
    // A cell was clicked since the last load, even when every click was undone or cycled back.
    bool Changed() const { return mbChanged; }
    void ForgetChanges() { mbChanged = false; }

    // The cells whose state differs from what was read, in row and column order.
    QList<Change> Differences() const;
    // Writes every row's states into the line of the same name. Owner lines keep what was read: the
    // owner's rights can't be changed.
    void WriteInto(TARMOPermissions& set) const;

private:
    void setState(int row, int column, long state) { mRows[row].States[column - 1] = state; }

    QList<Column> mColumns;
    QList<Row> mRows;
    // What Load read, row by row, for Differences.
    QList<QList<long>> mLoaded;
    QList<Change> mHistory;
    // The number of changes of mHistory that are applied.
    int mPosition = 0;
    bool mbChanged = false;
};
