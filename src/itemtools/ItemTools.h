#pragma once

class mdiMain;

namespace ItemTools {
// Puts the history window into the edit window's hook, and the rename and undelete dialogs into the
// main window's factories. The undelete dialog needs the core's object half, which it finds through
// the main window's dispatch when it opens.
void Install(mdiMain& main);
} // namespace ItemTools
