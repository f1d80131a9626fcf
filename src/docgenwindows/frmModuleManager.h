#pragma once

#include <QDialog>

#include <functional>

class DocGenProject;
class QListWidget;
class QPushButton;

// The list of a project's modules, with the ways to make, edit and remove them. Modal; the changes
// stay in memory, and the start dialog writes them to the settings file when it closes.
class frmModuleManager : public QDialog {
    Q_OBJECT
public:
    explicit frmModuleManager(QWidget* parent = nullptr);

    // Shows the list modally; answers the name of the module that New or Edit saved last, or ""
    // when nothing was saved or Remove came after it.
    QString ModuleManager(DocGenProject& currProject);
    // The loading without the modal show.
    void Load(DocGenProject& currProject);
    const QString& Result() const { return mResult; }

    void NewModule();
    void EditModule();
    void RemoveModule();

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    QListWidget* lstModules() const { return mlstModules; }
    QPushButton* cmdNew() const { return mcmdNew; }
    QPushButton* cmdEdit() const { return mcmdEdit; }
    QPushButton* cmdRemove() const { return mcmdRemove; }
    QPushButton* cmdClose() const { return mcmdClose; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    // Fills the list anew and selects the given row (from 0), else the first; empties the result.
    void FillList(int select = 0);
    void updateButtons();

    DocGenProject* mProject = nullptr;
    QString mResult;

    QListWidget* mlstModules = nullptr;
    QPushButton* mcmdNew = nullptr;
    QPushButton* mcmdEdit = nullptr;
    QPushButton* mcmdRemove = nullptr;
    QPushButton* mcmdClose = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
