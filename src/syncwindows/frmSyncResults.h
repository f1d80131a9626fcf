#pragma once

#include "SyncActionDisplay.h"
#include "SyncRun.h"

#include <QDialog>
#include <QList>

#include <functional>

class QAction;
class QProgressBar;
class QPushButton;
class QTableWidget;
class TARMODatabaseObjects;

// What a synchronization run found, one row per object, with the database on the left and the
// version store on the right; the picture between the sides is the row's action button. The user
// picks a direction per row, per block of like rows or for all rows, and Apply carries the actions
// out. A row that fails stays, with its direction, for another try.
class frmSyncResults : public QDialog {
    Q_OBJECT
public:
    enum Column { objSQL = 0, objSQLType, button, objVSS, objVSSType };
    // The picture key of a row, on the item of its button cell.
    static constexpr int IconKeyRole = Qt::UserRole + 1;

    explicit frmSyncResults(QWidget* parent = nullptr);
    ~frmSyncResults() override;

    // Load, then the modal show; True once at least one action succeeded.
    bool ShowSyncProblems(TARMODatabaseObjects& sdbCurrent, const QList<SyncDifference>& arrResults);
    // Keeps the core and fills the table, without showing the window.
    void Load(TARMODatabaseObjects& sdbCurrent, const QList<SyncDifference>& arrResults);
    bool ChangesMade() const { return mbChangesMade; }

    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    const SyncActionDisplay& Display() const { return mDisplay; }
    QTableWidget* lvwResults() const { return mlvwResults; }
    QPushButton* cmdInSQL() const { return mcmdInSQL; }
    QPushButton* cmdInVSS() const { return mcmdInVSS; }
    QPushButton* cmdApply() const { return mcmdApply; }
    QPushButton* cmdClose() const { return mcmdClose; }
    QProgressBar* pbrSync() const { return mpbrSync; }
    // "Show Differences": the line by line view of the current row, for a row whose texts differ.
    QAction* actShowDifferences() const { return mactShowDifferences; }

public slots:
    // Asks first while rows are left.
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ShowRows();
    void ButtonClicked(int row, bool rightButton);
    void cmdApply_Click();
    void ShowDifferences(int row);
    void ShowContextMenu(const QPoint& position);

    TARMODatabaseObjects* msdbCurrent = nullptr;
    SyncActionDisplay mDisplay;
    bool mbChangesMade = false;

    QTableWidget* mlvwResults = nullptr;
    QPushButton* mcmdInSQL = nullptr;
    QPushButton* mcmdInVSS = nullptr;
    QPushButton* mcmdApply = nullptr;
    QPushButton* mcmdClose = nullptr;
    QProgressBar* mpbrSync = nullptr;
    QAction* mactShowDifferences = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
