#pragma once

#include "EditorChildWindow.h"
#include "HelpTopics.h"

class QAction;
class QSplitter;
class QToolBar;
class QToolButton;
class SQLTextEditor;
class StatusPanels;
class TARMODatabase;
class mdiMain;
class multiGrid;

// The child window in which the user types Transact-SQL against the project's database, checks its
// syntax or runs it, and reads the answer in the result area below the text. It holds no object;
// each command that opens a query makes a new one.
class frmSQLQuery : public EditorChildWindow {
    Q_OBJECT
public:
    explicit frmSQLQuery(mdiMain& main, QWidget* parent = nullptr);
    ~frmSQLQuery() override;

    // Installs the maker of this window into the main window's factories.
    static void Install(mdiMain& main);

    void OpenSQLQuery(TARMODatabase& sdbCurrent);

    // --- The contract
    ::FormType FormType() const override { return ::FormType::Query; }
    QString ObjectTag() const override { return {}; }
    QString ObjectKey() const override { return {}; }
    std::shared_ptr<DispatchedObject> CurrentObject() const override { return nullptr; }
    long CurrentIcon() const override;
    long HelpContextID() const override { return HelpId(HelpTopic::QueryWindow); }
    QString OpenFileText() const override { return QStringLiteral("Open"); }
    QString SaveFileText() const override { return QStringLiteral("Save"); }

    bool CanReplace() const override { return true; }
    bool CanOpenFile() const override { return true; }
    bool CanSaveFile() const override { return true; }
    bool CanTestSQL() const override { return false; }
    bool CanGetLatest() const override { return false; }
    bool CanCheckOut() const override { return false; }
    bool CanCheckIn() const override { return false; }
    bool CanUndoCheckOut() const override { return false; }
    bool CanShowHistory() const override { return false; }
    bool CanPermissions() const override { return false; }
    bool CanDescription() const override { return false; }

    void OpenText() override;
    void SaveText() override { SaveText(false); }
    // Nothing of these concerns a query.
    void TestItem() override {}
    void GetLatestVersion() override {}
    void CheckIn() override {}
    void CheckOut() override {}
    void UndoCheckout() override {}
    void ShowHistory() override {}
    void ChangeDescription() override {}
    // Closes with the question about unsaved text; no command of the main window forces it.
    bool CloseItem(bool bForce = false) override { return EditorChildWindow::CloseItem(bForce); }
    void RefreshCaption() override;

    bool SaveText(bool bPrompt);
    // The tool band's commands: 1 parse, 2 execute, 3 show or hide the result panel.
    void ToolbarCommand(int lngCommand);
    void ParseSQL() { runQuery(false); }
    void ExecuteSQL() { runQuery(true); }
    void ShowResultsPanel(bool bShow);

    // --- Parts, for the main window and tests
    multiGrid* grdResults() const { return mgrdResults; }
    StatusPanels* StatusBar() const { return mStatusBar; }
    QToolBar* tbrQuery() const { return mtbrQuery; }
    QToolButton* cmdSplit() const { return mcmdSplit; }
    QSplitter* Splitter() const { return mSplitter; }
    // The tool band's button by its key ("SQWBAR:EXECUTE", ...).
    QAction* ToolbarButton(const QString& key) const;
    QString FileName() const { return mstrFileName; }
    QString Caption() const { return windowTitle(); }

protected:
    bool ClosingCheck() override;
    QString TextOrigin() const override { return mstrFileName; }
    QString ClosingStatus() const override { return QStringLiteral("Closing SQL Query Window"); }
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildToolBand();
    void runQuery(bool bExecute);
    void layoutContainer();

    QString mstrFileName;
    bool mbSplitterPlaced = false;
    double mdblProportion = 0.5; // share of the text half while the panel shows
    QToolBar* mtbrQuery;
    QWidget* mpicContainer;
    QSplitter* mSplitter;
    SQLTextEditor* mtxtSQL;
    multiGrid* mgrdResults;
    QToolButton* mcmdSplit;
    StatusPanels* mStatusBar;
};
