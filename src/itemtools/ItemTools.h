#pragma once

class mdiMain;

namespace ItemTools {
// Puts the history window and the rename and undelete dialogs into the main window's factories.
// The undelete dialog works on the core's object lists, which it asks the main window's dispatch
// for when it opens.
void Install(mdiMain& main);
} // namespace ItemTools
