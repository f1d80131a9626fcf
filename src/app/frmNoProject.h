#pragma once

#include <QWidget>

// Where the start-up arrives when it has no project to open: says so plainly. The project browser
// takes its place once projects can be chosen and created.
class frmNoProject : public QWidget {
    Q_OBJECT
public:
    explicit frmNoProject(QWidget* parent = nullptr);
};
