#pragma once

class mdiMain;

namespace ScriptGenWindows {
// Puts the script generator's wizard into the main window's factories. The wizard works on the
// core's object lists, which it asks the main window's dispatch for when it opens.
void Install(mdiMain& main);
} // namespace ScriptGenWindows
