#pragma once

#include <QDialog>

#include <functional>

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class TARMODatabaseObjects;

// Lists the deleted objects of every editable list, with check boxes, and brings back the checked
// ones. Each failure has been told by the object; the dialog adds one summary.
class frmUndelete : public QDialog {
    Q_OBJECT
public:
    explicit frmUndelete(QWidget* parent = nullptr);

    // Load, then the modal show; True if at least one object was brought back.
    bool ShowDeletedItems(TARMODatabaseObjects& sdbCurrent);
    void Load(TARMODatabaseObjects& sdbCurrent);
    bool Result() const { return mbResult; }

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    QTreeWidget* lvwDeletedItems() const { return mlvwDeletedItems; }
    QPushButton* cmdUndelete() const { return mcmdUndelete; }
    QPushButton* cmdClose() const { return mcmdClose; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void FillList();
    void cmdUndelete_Click();
    // The ticked rows; without any, the highlighted ones.
    QList<const QTreeWidgetItem*> rowsToUndelete() const;

    TARMODatabaseObjects* msdbCurrent = nullptr;
    bool mbResult = false;

    QTreeWidget* mlvwDeletedItems = nullptr;
    QPushButton* mcmdUndelete = nullptr;
    QPushButton* mcmdClose = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
