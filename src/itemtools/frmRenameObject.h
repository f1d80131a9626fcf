#pragma once

#include <QDialog>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;
class TARMODatabase;

// Asks for the new name of an object. The name is checked here; the rename itself is the core's,
// run by the caller with the answer.
class frmRenameObject : public QDialog {
    Q_OBJECT
public:
    explicit frmRenameObject(QWidget* parent = nullptr);

    // Setup, then the modal show; the new name, "" if the user cancelled.
    QString RenameItem(TARMODatabase& sdbCurrent, const QString& strOldName, const QString& strOwner);
    void Setup(const QString& strOldName, const QString& strOwner);
    // "" while the dialog is cancelled (before Rename went through, or after Cancel).
    QString NewName() const { return mbCancelled ? QString() : mstrNewName; }

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    QLabel* lblOldName() const { return mlblOldName; }
    QLabel* lblOwner() const { return mlblOwner; }
    QLineEdit* txtNewName() const { return mtxtNewName; }
    QLabel* lblOwnerClose() const { return mlblOwnerClose; }
    QPushButton* cmdRename() const { return mcmdRename; }
    QPushButton* cmdCancel() const { return mcmdCancel; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void cmdRename_Click();
    void refuse(const QString& text);
    void placeNameParts();

    QString mstrOldName;
    QString mstrNewName;
    bool mbCancelled = true;

    QLabel* mlblOldName = nullptr;
    QLabel* mlblOwner = nullptr;
    QLineEdit* mtxtNewName = nullptr;
    QLabel* mlblOwnerClose = nullptr;
    QPushButton* mcmdRename = nullptr;
    QPushButton* mcmdCancel = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
