#pragma once

// How a window was left, as the settings store keeps it. Only Normal and Maximized are restored:
// a window that comes back minimized is easily taken for one that did not open.
enum class WindowState : long { Normal = 0, Minimized = 1, Maximized = 2 };
