#pragma once

#include <QDialog>

#include <functional>

class DocGenProject;
class DocGenWarningPanel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QToolButton;
class QTreeWidget;

// One module of the document generator: its name, descriptive fields, primary path and files. Modal;
// what it saves changes the project's modules in memory, and the start dialog writes them to the
// settings file when it closes.
class frmModuleMaint : public QDialog {
    Q_OBJECT
public:
    explicit frmModuleMaint(QWidget* parent = nullptr);

    // True when the module was saved.
    bool NewModule(DocGenProject& currProject);
    bool EditModule(DocGenProject& currProject, int Index);

    // The loading of the two without the modal show. Index from 1; 0 for a new module.
    void Load(DocGenProject& currProject, int Index);
    // The checks of the Save button, then the save; True when the module was saved.
    bool Save();

    // Adds the files that aren't in the list yet (ignoring case).
    void AddFiles(const QStringList& fileNames);
    // The full names of the listed files, in the list's order.
    QStringList FileNames() const;
    bool Changed() const { return mbChanged; }

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    QLineEdit* txtName() const { return mtxtName; }
    QLineEdit* txtProject() const { return mtxtProject; }
    QLineEdit* txtCreatedBy() const { return mtxtCreatedBy; }
    QLineEdit* txtCreatedOn() const { return mtxtCreatedOn; }
    QLineEdit* txtDevelopedBy() const { return mtxtDevelopedBy; }
    QPlainTextEdit* txtDescription() const { return mtxtDescription; }
    QLineEdit* txtPath() const { return mtxtPath; }
    QToolButton* cmdBrowse() const { return mcmdBrowse; }
    QTreeWidget* lvwFiles() const { return mlvwFiles; }
    QPushButton* cmdAdd() const { return mcmdAdd; }
    QPushButton* cmdAddMatching() const { return mcmdAddMatching; }
    QPushButton* cmdRemove() const { return mcmdRemove; }
    QPushButton* cmdSave() const { return mcmdSave; }
    QPushButton* cmdCancel() const { return mcmdCancel; }
    DocGenWarningPanel* fraError() const { return mfraError; }

    // Cancel, Escape and the window's close button: with changes made, the user is asked first.
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void BrowsePath();
    void AddChosenFile();
    void AddMatchingFiles();
    void RemoveSelectedFiles();
    // Looks up every listed file, marks the missing rows and shows or hides the warning.
    void CheckFiles();
    // The row's look for a file that is there or missing.
    void MarkRow(int row, bool missing);
    bool invalid(const QString& text, QWidget* focus);
    // Where the choosers start: the primary path, else the folder of the last file.
    QString StartFolder() const;
    void setChanged() { mbChanged = true; }

    DocGenProject* mProject = nullptr;
    int mIndex = 0;
    bool mbChanged = false;
    bool mbLoading = false;

    QLineEdit* mtxtName = nullptr;
    QLineEdit* mtxtProject = nullptr;
    QLineEdit* mtxtCreatedBy = nullptr;
    QLineEdit* mtxtCreatedOn = nullptr;
    QLineEdit* mtxtDevelopedBy = nullptr;
    QPlainTextEdit* mtxtDescription = nullptr;
    QLineEdit* mtxtPath = nullptr;
    QToolButton* mcmdBrowse = nullptr;
    QTreeWidget* mlvwFiles = nullptr;
    QPushButton* mcmdAdd = nullptr;
    QPushButton* mcmdAddMatching = nullptr;
    QPushButton* mcmdRemove = nullptr;
    QPushButton* mcmdSave = nullptr;
    QPushButton* mcmdCancel = nullptr;
    DocGenWarningPanel* mfraError = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
