#pragma once

#include <QDialog>

class QMenu;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class TARMOVSS;

// "VSS Project Browser": the tree of projects of a version store, opened down the path of the present
// folder and filled as the user unfolds it; a new project can be made under the selected one.
class frmVSSProjectBrowser : public QDialog {
    Q_OBJECT
public:
    explicit frmVSSProjectBrowser(QWidget* parent = nullptr);

    // The chosen project ("$\A\B\"), "" when cancelled.
    QString GetFolder(const QString& strCurrentFolder, TARMOVSS& svConnection);
    // Builds the tree for the folder without showing the window (GetFolder does this, then runs it).
    void Prepare(const QString& strCurrentFolder, TARMOVSS& svConnection);

    QTreeWidget* tvwVSSProjects() const { return mtvwVSSProjects; }
    QPushButton* cmdOK() const { return mcmdOK; }
    QPushButton* cmdNewProject() const { return mcmdNewProject; }
    static QString KeyOf(const QTreeWidgetItem* node);

private:
    void LoadChildren(QTreeWidgetItem* node, const QString& target);
    void cmdNewProject_Click();
    void cmdOK_Click();
    void refuseNoSelection();

    bool mbCancelled = true;
    TARMOVSS* mConnection = nullptr;
    QString mFolder;
    QTreeWidget* mtvwVSSProjects;
    QPushButton* mcmdOK;
    QPushButton* mcmdCancel;
    QPushButton* mcmdNewProject;
    QMenu* mmnuPopup;
};

// "New Project": asks the name of a new version store project.
class frmVSSNewProject : public QDialog {
    Q_OBJECT
public:
    explicit frmVSSNewProject(QWidget* parent = nullptr);
    // The name typed, "" when cancelled.
    static QString NewVSSProjectName(QWidget* parent = nullptr);
};
