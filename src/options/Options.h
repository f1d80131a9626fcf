#pragma once

class mdiMain;

namespace Options {
// Puts the Options dialog into the main window's factories. After each save the main window takes
// the settings that show in it and in its open windows: the status bar, the owner names in the
// captions and what the object windows' status panels say about unsaved changes.
void Install(mdiMain& main);
} // namespace Options
