#pragma once

class mdiMain;

namespace SyncWindows {
// Puts the synchronization run into the main window's factories: the steps window, then the
// results window. The run works on the core's object lists, which it asks the main window's
// dispatch for when it starts.
void Install(mdiMain& main);
} // namespace SyncWindows
