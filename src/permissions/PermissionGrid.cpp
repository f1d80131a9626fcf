#include "PermissionGrid.h"

QList<PermissionGrid::Column> PermissionGrid::StatementColumns(bool executeOnly, bool execAndRefOnly) {
    const Column execute{QStringLiteral("EXECUTE"), QStringLiteral("Execute"), QStringLiteral("EXECUTE")};
    const Column references{QStringLiteral("REFERENCE"), QStringLiteral("DRI"), QStringLiteral("REFERENCES")};
    if (executeOnly)
        return {execute};
    if (execAndRefOnly)
        return {execute, references};
    return {{QStringLiteral("SELECT"), QStringLiteral("Select"), QStringLiteral("SELECT")},
            {QStringLiteral("INSERT"), QStringLiteral("Insert"), QStringLiteral("INSERT")},
            {QStringLiteral("UPDATE"), QStringLiteral("Update"), QStringLiteral("UPDATE")},
            {QStringLiteral("DELETE"), QStringLiteral("Delete"), QStringLiteral("DELETE")},
            references};
}

long PermissionGrid::NextState(long state) {
    switch (state) {
    case TARMOPermission::None:
        return TARMOPermission::Grant;
    case TARMOPermission::Grant:
        return TARMOPermission::Deny;
    case TARMOPermission::Deny:
        return TARMOPermission::None;
    default:
        return state;
    }
}

QString PermissionGrid::StateIconKey(long state) {
    switch (state) {
    case TARMOPermission::Grant:
        return QStringLiteral("PERMISSION:GRANT");
    case TARMOPermission::Deny:
        return QStringLiteral("PERMISSION:DENY");
    case TARMOPermission::LeaveOut:
        return QStringLiteral("PERMISSION:OWNER");
    default:
        return QStringLiteral("PERMISSION:NONE");
    }
}

QString PermissionGrid::GranteeIconKey(bool isRole) {
    return isRole ? QStringLiteral("PERMISSION:ROLE") : QStringLiteral("PERMISSION:USER");
}

void PermissionGrid::Load(const TARMOPermissions& set) {
    mColumns = StatementColumns(set.HasExecuteOnly, set.HasExecAndRefOnly);
    mRows.clear();
    mLoaded.clear();
    for (const TARMOPermission& line : set) {
        Row row{line.Name, line.IsRole, line.IsOwner, {}};
        for (const Column& column : mColumns) {
            const long state = line.StateOf(column.Word);
            row.States << (line.IsOwner ? TARMOPermission::LeaveOut
                                        : (state < 0 ? TARMOPermission::None : state));
        }
        mLoaded << row.States;
        mRows << row;
    }
    mHistory.clear();
    mPosition = 0;
    mbChanged = false;
}

long PermissionGrid::State(int row, int column) const {
    if (row < 0 || row >= RowCount() || column < 1 || column >= ColumnCount())
        return -1;
    return mRows.at(row).States.at(column - 1);
}

bool PermissionGrid::Cycle(int row, int column) {
    const long old = State(row, column);
    if (old < 0)
        return false;
    const long next = NextState(old);
    if (next == old)
        return false;
    mHistory.resize(mPosition);
    mHistory << Change{row, column, old, next};
    mPosition = static_cast<int>(mHistory.size());
    setState(row, column, next);
    mbChanged = true;
    return true;
}

std::optional<PermissionGrid::Change> PermissionGrid::Undo() {
    if (!CanUndo())
        return std::nullopt;
    const Change change = mHistory.at(--mPosition);
    setState(change.Row, change.Column, change.OldState);
    return change;
}

std::optional<PermissionGrid::Change> PermissionGrid::Redo() {
    if (!CanRedo())
        return std::nullopt;
    const Change change = mHistory.at(mPosition++);
    setState(change.Row, change.Column, change.NewState);
    return change;
}

QList<PermissionGrid::Change> PermissionGrid::Differences() const {
    QList<Change> list;
    for (int row = 0; row < RowCount(); ++row)
        for (int column = 1; column < ColumnCount(); ++column) {
            const long before = mLoaded.at(row).at(column - 1);
            const long now = State(row, column);
            if (before != now)
                list << Change{row, column, before, now};
        }
    return list;
}

void PermissionGrid::WriteInto(TARMOPermissions& set) const {
    for (const Row& row : mRows) {
        if (row.IsOwner || !set.Contains(row.Name))
            continue;
        TARMOPermission& line = set.Item(row.Name);
        for (int i = 0; i < mColumns.size(); ++i)
            line.SetStateOf(mColumns.at(i).Word, row.States.at(i));
    }
}
