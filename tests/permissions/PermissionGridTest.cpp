#include "PermissionGrid.h"

#include <gtest/gtest.h>

namespace {

using P = TARMOPermission;

P line(const QString& name, bool isRole, bool isOwner = false) {
    P l;
    l.Name = name;
    l.IsRole = isRole;
    l.IsOwner = isOwner;
    return l;
}

// A table's set: public granted SELECT, the owner dbo, a user denied DELETE.
TARMOPermissions tableSet() {
    TARMOPermissions set;
    P pub = line(QStringLiteral("public"), true);
    pub.HasSelect = P::Grant;
    P owner = line(QStringLiteral("dbo"), false, true);
    owner.HasSelect = P::Grant;
    P ann = line(QStringLiteral("ann"), false);
    ann.HasDelete = P::Deny;
    set.Add(pub);
    set.Add(owner);
    set.Add(ann);
    return set;
}

QList<long> rowStates(const PermissionGrid& grid, int row) {
    QList<long> states;
    for (int column = 1; column < grid.ColumnCount(); ++column)
        states << grid.State(row, column);
    return states;
}

} // namespace

TEST(PermissionGridTest, LoadTakesTheKindsColumnsAndMarksTheOwnersCells) {
    PermissionGrid grid;
    grid.Load(tableSet());
    QStringList headings, words;
    for (const auto& column : grid.Columns()) {
        headings << column.Heading;
        words << column.Word;
    }
    EXPECT_EQ(headings.join(QLatin1Char(',')), QStringLiteral("Select,Insert,Update,Delete,DRI"));
    EXPECT_EQ(words.last(), QStringLiteral("REFERENCES"));
    ASSERT_EQ(grid.RowCount(), 3);
    EXPECT_EQ(rowStates(grid, 0), (QList<long>{P::Grant, P::None, P::None, P::None, P::None}));
    EXPECT_EQ(rowStates(grid, 1), QList<long>(5, P::LeaveOut)) << "the owner's cells, whatever was read";
    EXPECT_EQ(rowStates(grid, 2), (QList<long>{P::None, P::None, P::None, P::Deny, P::None}));
    EXPECT_EQ(grid.State(0, 0), -1) << "the name column holds no state";
    EXPECT_EQ(grid.State(3, 1), -1);

    TARMOPermissions procedure;
    procedure.HasExecuteOnly = true;
    P sales = line(QStringLiteral("Sales"), true);
    sales.HasExecuteOnly = true;
    sales.HasExecute = P::Deny;
    sales.HasSelect = P::Grant; // not a statement of the kind: no column shows it
    procedure.Add(sales);
    grid.Load(procedure);
    ASSERT_EQ(grid.ColumnCount(), 2);
    EXPECT_EQ(grid.Columns().first().Heading, QStringLiteral("Execute"));
    EXPECT_EQ(grid.State(0, 1), P::Deny);

    TARMOPermissions function;
    function.HasExecAndRefOnly = true;
    grid.Load(function);
    EXPECT_EQ(grid.ColumnCount(), 3);
    EXPECT_EQ(grid.Columns().last().Key, QStringLiteral("REFERENCE"));
}

TEST(PermissionGridTest, ClicksCycleThroughTheStatesAndOnlyStatementCellsOfGranteesMove) {
    PermissionGrid grid;
    grid.Load(tableSet());
    EXPECT_FALSE(grid.Cycle(0, 0)) << "the name column";
    EXPECT_FALSE(grid.Cycle(1, 3)) << "an owner's cell";
    EXPECT_FALSE(grid.Cycle(5, 1));
    EXPECT_FALSE(grid.Cycle(0, 6));
    EXPECT_FALSE(grid.Changed());
    EXPECT_FALSE(grid.CanUndo());

    QList<long> seen;
    for (int click = 0; click < 3; ++click) {
        ASSERT_TRUE(grid.Cycle(2, 2));
        seen << grid.State(2, 2);
    }
    EXPECT_EQ(seen, (QList<long>{P::Grant, P::Deny, P::None}));
    EXPECT_TRUE(grid.Changed()) << "back at the first state, but clicked";
    EXPECT_TRUE(grid.Differences().isEmpty());

    ASSERT_TRUE(grid.Cycle(2, 4)); // Deny becomes None
    const auto differences = grid.Differences();
    ASSERT_EQ(differences.size(), 1);
    EXPECT_EQ(differences[0].Row, 2);
    EXPECT_EQ(differences[0].Column, 4);
    EXPECT_EQ(differences[0].OldState, P::Deny);
    EXPECT_EQ(differences[0].NewState, P::None);
}

TEST(PermissionGridTest, UndoRetracesTheClicksAndANewClickDropsWhatCouldBeRedone) {
    PermissionGrid grid;
    grid.Load(tableSet());
    for (int click = 0; click < 3; ++click)
        grid.Cycle(0, 2);
    grid.Cycle(2, 1);

    auto undone = grid.Undo();
    ASSERT_TRUE(undone);
    EXPECT_EQ(undone->Row, 2);
    EXPECT_EQ(grid.State(2, 1), P::None);
    QList<long> back;
    while (grid.CanUndo() && grid.Undo())
        back << grid.State(0, 2);
    EXPECT_EQ(back, (QList<long>{P::Deny, P::Grant, P::None}));
    EXPECT_FALSE(grid.Undo());
    EXPECT_TRUE(grid.Changed()) << "undo leaves the window changed";

    auto redone = grid.Redo();
    ASSERT_TRUE(redone);
    EXPECT_EQ(redone->NewState, P::Grant);
    EXPECT_EQ(grid.State(0, 2), P::Grant);
    EXPECT_TRUE(grid.CanRedo());

    grid.Cycle(0, 5); // a new click drops the three changes above it
    EXPECT_FALSE(grid.CanRedo());
    EXPECT_FALSE(grid.Redo());
    grid.Undo();
    grid.Undo();
    EXPECT_FALSE(grid.CanUndo());
    EXPECT_EQ(rowStates(grid, 0), (QList<long>{P::Grant, P::None, P::None, P::None, P::None}));

    grid.Cycle(0, 1);
    grid.Load(tableSet());
    EXPECT_FALSE(grid.CanUndo() || grid.CanRedo() || grid.Changed()) << "a load starts afresh";
}

TEST(PermissionGridTest, WritingBackGivesTheScriptOfTheTableAndLeavesTheOwnerAlone) {
    TARMOPermissions set = tableSet();
    PermissionGrid grid;
    grid.Load(set);
    grid.Cycle(0, 1); // public: SELECT Grant -> Deny
    grid.Cycle(2, 5); // ann: REFERENCES None -> Grant
    grid.Cycle(2, 4); // ann: DELETE Deny -> None
    grid.WriteInto(set);
    EXPECT_EQ(set.Item(QStringLiteral("dbo")).HasSelect, P::Grant) << "the owner's line keeps what was read";
    EXPECT_EQ(set.CreateScript(QStringLiteral("Stock"), QStringLiteral("dbo")),
              QStringLiteral("DENY SELECT ON [dbo].[Stock] TO [public]\r\n"
                             "REVOKE INSERT ON [dbo].[Stock] TO [public]\r\n"
                             "REVOKE UPDATE ON [dbo].[Stock] TO [public]\r\n"
                             "REVOKE DELETE ON [dbo].[Stock] TO [public]\r\n"
                             "REVOKE REFERENCES ON [dbo].[Stock] TO [public]\r\n"
                             "REVOKE SELECT ON [dbo].[Stock] TO [ann]\r\n"
                             "REVOKE INSERT ON [dbo].[Stock] TO [ann]\r\n"
                             "REVOKE UPDATE ON [dbo].[Stock] TO [ann]\r\n"
                             "REVOKE DELETE ON [dbo].[Stock] TO [ann]\r\n"
                             "GRANT REFERENCES ON [dbo].[Stock] TO [ann]\r\n"));
}
