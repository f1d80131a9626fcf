#pragma once

#include "DbConnection.h"

#include <QWidget>

#include <memory>
#include <vector>

class QPlainTextEdit;
class QPushButton;
class QScrollBar;
class QTableView;
class TARMOSQL;
struct ResultGridData;

// The result area of the query window: checks or runs a text of Transact-SQL and shows what came
// back in two panes, "Messages" (read-only text) and "Results" (one grid per row set, stacked in a
// scrolling area), between which two tab buttons switch. Runs use a connection of the area's own,
// opened anew for each run and kept open until the next.
class multiGrid : public QWidget {
    Q_OBJECT
public:
    explicit multiGrid(QWidget* parent = nullptr);
    ~multiGrid() override;

    // The project's connection; not owned. Without it neither operation does anything.
    TARMOSQL* SQLConnection() const { return mSQLConnection; }
    void SetSQLConnection(TARMOSQL* connection) { mSQLConnection = connection; }
    // Stops or resumes the repaint of the area, its panes and every grid.
    void SetRedraw(bool bRedraw);

    // Syntax check of the whole text; nothing is executed.
    void ParseQuery(const QString& strQuery);
    // Runs the text batch by batch; without a login, with the values of SQLConnection.
    void ExecuteQuery(const QString& strQuery, const DbLogin* login = nullptr);
    // Lays the panes out anew; also done at every resize.
    void ResizeContainer();

    // --- Parts, for the window and tests
    bool MessagesShowing() const { return mbShowMessages; }
    QString MessagesText() const { return mstrMessages; }
    int GridCount() const { return static_cast<int>(mGrids.size()); }
    // By number from 1, in the order the server sent the row sets.
    QTableView* Grid(int number) const { return mGrids.at(static_cast<size_t>(number - 1)); }
    QPushButton* cmdMessages() const { return mcmdMessages; }
    QPushButton* cmdResults() const { return mcmdResults; }
    QScrollBar* vsb() const { return mvsb; }
    QWidget* picResults() const { return mpicResults; }
    QWidget* picMessages() const { return mpicMessages; }

    // The height of a grid in a stack: its header and its rows whole (from 2 up to 8 of them, so a
    // large result scrolls inside its grid), with room for a horizontal scroll bar when it needs one.
    static int StackedGridHeight(const QTableView* grid);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void ClearResults();
    void AddResultGrid(ResultGridData gridData);
    void ShowPane(bool bMessages);
    void SetMessages(const QString& text);
    void layoutGrids(int paneHeight);

    TARMOSQL* mSQLConnection = nullptr;
    std::unique_ptr<DbConnection> mRunConnection;
    bool mbShowMessages = true;
    bool mbScroll = false;
    bool mbRedraw = true;
    QString mstrMessages;
    std::vector<QTableView*> mGrids;
    QPlainTextEdit* mtxtMessages;
    QWidget* mpicMessages;
    QWidget* mpicResults;
    QWidget* mpicArea; // the scrolling area inside picResults that holds the grids
    QWidget* mpicButtons;
    QPushButton* mcmdMessages;
    QPushButton* mcmdResults;
    QScrollBar* mvsb;
};
