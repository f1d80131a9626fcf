#pragma once

#include "MainWindowContract.h"

#include <memory>

class TARMOProject;

// The hand-over at the end of opening a project. The program installs how its main window is made
// (the window lives in a library above this one); opening a project then brings that window up.
void SetProjectWindowFactory(MainWindowFactory factory);

// Opens the connected project in the main window; without an installed maker the project is opened
// with no window.
bool OpenProjectWindow(const std::shared_ptr<TARMOProject>& project);
