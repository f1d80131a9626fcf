#pragma once

#include <QDialog>

#include <memory>

class QCheckBox;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class TARMOProject;
class TARMOProjects;

// "Project Browser": the user's projects. From here a project is opened, created through the wizard,
// changed or removed. The start-up lands here when it opened no project; the main window shows it
// modally to switch projects, and uses it without showing it to open a project by name.
class frmProjectBrowser : public QDialog {
    Q_OBJECT
public:
    explicit frmProjectBrowser(QWidget* parent = nullptr);
    ~frmProjectBrowser() override;

    // Modal pick from the main window; nullptr when nothing or the open project, unchanged, was picked.
    std::shared_ptr<TARMOProject> OpenProjectBrowser(const TARMOProject& currentProject);
    // The browser with the given list (all projects when null). Modal: gives the picked project.
    // Not modal: shows the window and gives nullptr.
    std::shared_ptr<TARMOProject> ProjectBrowser(std::shared_ptr<TARMOProjects> prjList = nullptr,
                                                 bool ShowFormAsModal = false);
    // Finds the project by number (0 and above) or by exact name, connects and opens it; no window.
    bool OpenRecentProject(long SequenceID = -1, const QString& ProjectName = {});

    QTreeWidget* lvwProjects() const { return mlvwProjects; }
    QPushButton* cmdOpen() const { return mcmdOpen; }
    QPushButton* cmdNew() const { return mcmdNew; }
    QPushButton* cmdEdit() const { return mcmdEdit; }
    QPushButton* cmdRemove() const { return mcmdRemove; }
    QPushButton* cmdClose() const { return mcmdClose; }
    QCheckBox* chkMostResent() const { return mchkMostResent; }
    const std::shared_ptr<TARMOProjects>& Projects() const { return mProjects; }

private:
    void buildColumns();
    void fillList();
    void RefreshProjects();
    bool ConnectAndOpen(const std::shared_ptr<TARMOProject>& prj);
    std::shared_ptr<TARMOProject> selectedProject() const;

    void cmdOpen_Click();
    void cmdNew_Click();
    void cmdEdit_Click();
    void cmdRemove_Click();

    std::shared_ptr<TARMOProjects> mProjects;
    std::shared_ptr<TARMOProject> mSelectedProject;
    bool mbModalMode = false;
    bool mbFromMainWindow = false;
    QTreeWidget* mlvwProjects;
    QPushButton *mcmdOpen, *mcmdNew, *mcmdEdit, *mcmdRemove, *mcmdClose;
    QCheckBox* mchkMostResent;
};
