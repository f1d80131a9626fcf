#pragma once

#include <QWidget>

class TARMOProject;

// Where the start-up arrives until the main window and the project browser stand: says plainly
// that no project is open, or which project was connected.
class frmNoProject : public QWidget {
    Q_OBJECT
public:
    explicit frmNoProject(const TARMOProject* connected = nullptr, QWidget* parent = nullptr);
};
