#include "Commands.h"

#include <QDataStream>

namespace {
// A switch, so that the compiler names a command that was added without a name.
const char* nameOf(Command command) {
    switch (command) {
    case Command::NewObject:
        return "New Object";
    case Command::Edit:
        return "Edit";
    case Command::Delete:
        return "Delete";
    case Command::LoadText:
        return "Load Text";
    case Command::SaveText:
        return "Save Text";
    case Command::GetLatest:
        return "Get Latest Version";
    case Command::CheckIn:
        return "Check In";
    case Command::CheckOut:
        return "Check Out";
    case Command::UndoCheckOut:
        return "Undo Check Out";
    case Command::Undo:
        return "Undo";
    case Command::Redo:
        return "Redo";
    case Command::Cut:
        return "Cut";
    case Command::Copy:
        return "Copy";
    case Command::Paste:
        return "Paste";
    case Command::RefreshNode:
        return "Refresh from here";
    case Command::RefreshTree:
        return "Refresh Database Tree";
    case Command::Synchronize:
        return "Synchronize";
    case Command::AddToVersionStore:
        return "Add to the Version Store";
    case Command::AddToSqlServer:
        return "Add to SQL Server";
    case Command::RemoveFromVersionStore:
        return "Remove from the Version Store";
    case Command::RemoveFromSqlServer:
        return "Remove from SQL Server";
    case Command::TileHorizontally:
        return "Tile Horizontally";
    case Command::TileVertically:
        return "Tile Vertically";
    case Command::Cascade:
        return "Cascade";
    case Command::MaximiseWindow:
        return "Maximise";
    case Command::MinimiseAll:
        return "Minimise All";
    case Command::NextWindow:
        return "Next Window";
    case Command::PreviousWindow:
        return "Previous Window";
    case Command::BringWindowForward:
        return "Bring Window Forward";
    case Command::Exit:
        return "Exit";
    case Command::Permissions:
        return "Permissions";
    case Command::Description:
        return "Description";
    case Command::RecentProject:
        return "Recent Project";
    case Command::ToggleDatabaseTree:
        return "Database Tree";
    case Command::ToggleGeneralToolbar:
        return "General Toolbar";
    case Command::ToggleEditToolbar:
        return "Edit Toolbar";
    case Command::RebuildWindowList:
        return "Window List";
    case Command::ProjectBrowser:
        return "Project Browser";
    case Command::Options:
        return "Options";
    case Command::Rename:
        return "Rename";
    case Command::About:
        return "About";
    case Command::ReportCriticalBug:
        return "Report a Critical Bug";
    case Command::ReportModerateBug:
        return "Report a Moderate Bug";
    case Command::ReportMinorBug:
        return "Report a Minor Bug";
    case Command::RequestMustHaveFeature:
        return "Request a Must have Feature";
    case Command::RequestShouldHaveFeature:
        return "Request a Should have Feature";
    case Command::RequestNiceToHaveFeature:
        return "Request a Nice to have Feature";
    case Command::VisitWebSite:
        return "Visit the Web Site";
    case Command::TestSql:
        return "Test SQL";
    case Command::NewQueryWindow:
        return "SQL Query Window";
    case Command::History:
        return "History";
    case Command::Find:
        return "Find";
    case Command::FindNext:
        return "Find Next";
    case Command::FindPrevious:
        return "Find Previous";
    case Command::Replace:
        return "Replace";
    case Command::Undelete:
        return "Undelete Items";
    case Command::Help:
        return "Help";
    case Command::DocumentGenerator:
        return "Document Generator";
    case Command::ScriptGenerator:
        return "Script Generator";
    case Command::ToggleContextPanel:
        return "Database Tree Context Panel";
    case Command::ToggleDragSubnodes:
        return "Drag Subnodes";
    }
    return nullptr;
}
} // namespace

QString CommandName(Command command) {
    if (const char* name = nameOf(command))
        return QString::fromLatin1(name);
    return QStringLiteral("Command %1").arg(CommandNumber(command));
}

QDataStream& operator<<(QDataStream& stream, Command command) {
    return stream << static_cast<qint64>(CommandNumber(command));
}

QDataStream& operator>>(QDataStream& stream, Command& command) {
    qint64 number = 0;
    stream >> number;
    command = CommandFromNumber(static_cast<long>(number));
    return stream;
}
