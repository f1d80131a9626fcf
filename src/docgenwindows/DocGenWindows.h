#pragma once

class mdiMain;

namespace DocGenWindows {
// Puts the document generator into the main window's factories: the start dialog for the open
// project, with the module manager and the progress window behind it.
void Install(mdiMain& main);
} // namespace DocGenWindows
