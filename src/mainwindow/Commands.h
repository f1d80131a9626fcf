#pragma once

#include <QString>

class QDataStream;

// Everything the user can start in the main window. The values are the numbers that menu entries,
// toolbar buttons and context-panel entries carry as their command, so a number read back from an
// entry converts to a command directly. The gaps are numbers that no entry uses.
enum class Command : long {
    NewObject = 1,
    Edit = 2,
    Delete = 3,
    LoadText = 4,
    SaveText = 5,
    GetLatest = 6,
    CheckIn = 7,
    CheckOut = 8,
    UndoCheckOut = 9,
    Undo = 10,
    Redo = 11,
    Cut = 12,
    Copy = 13,
    Paste = 14,
    RefreshNode = 15,
    RefreshTree = 16,
    Synchronize = 17,
    AddToVersionStore = 18,
    AddToSqlServer = 19,
    RemoveFromVersionStore = 22,
    RemoveFromSqlServer = 23,
    TileHorizontally = 24,
    TileVertically = 25,
    Cascade = 26,
    MaximiseWindow = 27,
    MinimiseAll = 28,
    NextWindow = 29,
    PreviousWindow = 30,
    BringWindowForward = 31,
    Exit = 32,
    Permissions = 33,
    Description = 34,
    RecentProject = 35,
    ToggleDatabaseTree = 36,
    ToggleGeneralToolbar = 38,
    ToggleEditToolbar = 39,
    RebuildWindowList = 40,
    ProjectBrowser = 41,
    Options = 42,
    Rename = 43,
    About = 44,
    ReportCriticalBug = 45,
    ReportModerateBug = 46,
    ReportMinorBug = 47,
    RequestMustHaveFeature = 48,
    RequestShouldHaveFeature = 49,
    RequestNiceToHaveFeature = 50,
    VisitWebSite = 51,
    TestSql = 52,
    NewQueryWindow = 53,
    History = 54,
    Find = 55,
    FindNext = 56,
    FindPrevious = 57,
    Replace = 58,
    Undelete = 59,
    Help = 60,
    DocumentGenerator = 61,
    ScriptGenerator = 62,
    ToggleContextPanel = 68,
    ToggleDragSubnodes = 69,
};

inline constexpr Command AllCommands[] = {
    Command::NewObject,
    Command::Edit,
    Command::Delete,
    Command::LoadText,
    Command::SaveText,
    Command::GetLatest,
    Command::CheckIn,
    Command::CheckOut,
    Command::UndoCheckOut,
    Command::Undo,
    Command::Redo,
    Command::Cut,
    Command::Copy,
    Command::Paste,
    Command::RefreshNode,
    Command::RefreshTree,
    Command::Synchronize,
    Command::AddToVersionStore,
    Command::AddToSqlServer,
    Command::RemoveFromVersionStore,
    Command::RemoveFromSqlServer,
    Command::TileHorizontally,
    Command::TileVertically,
    Command::Cascade,
    Command::MaximiseWindow,
    Command::MinimiseAll,
    Command::NextWindow,
    Command::PreviousWindow,
    Command::BringWindowForward,
    Command::Exit,
    Command::Permissions,
    Command::Description,
    Command::RecentProject,
    Command::ToggleDatabaseTree,
    Command::ToggleGeneralToolbar,
    Command::ToggleEditToolbar,
    Command::RebuildWindowList,
    Command::ProjectBrowser,
    Command::Options,
    Command::Rename,
    Command::About,
    Command::ReportCriticalBug,
    Command::ReportModerateBug,
    Command::ReportMinorBug,
    Command::RequestMustHaveFeature,
    Command::RequestShouldHaveFeature,
    Command::RequestNiceToHaveFeature,
    Command::VisitWebSite,
    Command::TestSql,
    Command::NewQueryWindow,
    Command::History,
    Command::Find,
    Command::FindNext,
    Command::FindPrevious,
    Command::Replace,
    Command::Undelete,
    Command::Help,
    Command::DocumentGenerator,
    Command::ScriptGenerator,
    Command::ToggleContextPanel,
    Command::ToggleDragSubnodes,
};

// The number that entries of the model-free widgets (the context panel) carry, and back. A number
// without a command converts too: the main window's table doesn't know it, so it does nothing.
constexpr long CommandNumber(Command command) {
    return static_cast<long>(command);
}
constexpr Command CommandFromNumber(long number) {
    return static_cast<Command>(number);
}

// "Check In", "Tile Horizontally": how messages and test reports name a command; "Command 20" for a
// number without one.
QString CommandName(Command command);

// Qt streams an enum through its underlying type and has no operator for long: signals that carry a
// Command need these.
QDataStream& operator<<(QDataStream& stream, Command command);
QDataStream& operator>>(QDataStream& stream, Command& command);
