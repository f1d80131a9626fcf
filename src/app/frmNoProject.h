#pragma once

#include <QWidget>

#include <memory>

class TARMOProject;

// Where the start-up arrives until the main window and the project browser stand: says plainly
// that no project is open, or which project was connected.
class frmNoProject : public QWidget {
    Q_OBJECT
public:
    explicit frmNoProject(const TARMOProject* connected = nullptr, QWidget* parent = nullptr);
};

// Shows the window of an opened project: the hand-over at the end of opening a project.
void ShowProjectWindow(const std::shared_ptr<TARMOProject>& project);
