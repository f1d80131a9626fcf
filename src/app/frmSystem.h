#pragma once

#include "SystemComponents.h"

#include <QDialog>

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// "System Requirements not met!": lists the components that are missing and lets the user close
// the program or go on at their own risk.
class frmSystem : public QDialog {
    Q_OBJECT
public:
    explicit frmSystem(QWidget* parent = nullptr);

    // True when every component is there (nothing is shown) or the user chose to go on.
    bool SystemRequirementsOK();

    bool Continue() const { return mbContinue; }
    QTreeWidget* lvwError() const { return mlvwError; }
    QPushButton* cmdContinue() const { return mcmdContinue; }
    QPushButton* cmdClose() const { return mcmdClose; }
    // Fills the list; True when something is missing.
    bool PrepareList();

private:
    void cmdContinue_Click();
    void lvwError_Click(QTreeWidgetItem* item);

    QList<SystemComponents::Missing> mMissing;
    bool mbContinue = false;
    QTreeWidget* mlvwError;
    QPushButton* mcmdContinue;
    QPushButton* mcmdClose;
};
