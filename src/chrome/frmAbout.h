#pragma once

#include <QDialog>

// The about box: the product's name and version.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    frmAbout(const QString& productName, const QString& version, QWidget* parent = nullptr);
};
