#pragma once

// Times the real program from its start to its main window shown, on the demo made in a temporary
// home by tarmo-cli, offscreen: one run to warm up, then `runs` timed ones, the minimum and the
// median. The floor is a bare Qt window timed the same way.
int RunStartupBenchmark(int runs);

// The floor's own process: shows one empty main window and ends as soon as it is shown.
int RunBareWindow();
