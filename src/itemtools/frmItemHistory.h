#pragma once

#include "TARMOHistoryData.h"

#include <QDialog>
#include <QList>

#include <functional>

class QGroupBox;
class QPlainTextEdit;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;
class QVBoxLayout;
class TARMOObjectVSS;

// The history of one object: its versions and labels, newest first, and the way back to an older
// version. Modal; tells its opener whether a rollback went through, because the opener then has to
// re-read the object.
class frmItemHistory : public QDialog {
    Q_OBJECT
public:
    explicit frmItemHistory(QWidget* parent = nullptr);

    // Load, then the modal show; True when a rollback succeeded.
    bool ShowHistory(TARMOObjectVSS& historyObject);
    // Keeps the object, sets up list and panel and fills the list, without showing the window.
    void Load(TARMOObjectVSS& historyObject);
    bool RolledBack() const { return mbRolledBack; }

    // The commands of the panel by key ("Label", "Close", "Rollback"), case ignored.
    void RunCommand(const QString& strKey);
    // How F1 reaches the help; unset, F1 does nothing.
    void SetHelp(std::function<void(QWidget*, long)> help) { mHelp = std::move(help); }

    QTreeWidget* lvwHistory() const { return mlvwHistory; }
    // A command's button, nullptr while the command isn't in the panel.
    QToolButton* Command(const QString& strKey) const;
    // The comment group, nullptr while there is no comment to show.
    QGroupBox* CommentGroup() const { return mgrpComment; }
    QPlainTextEdit* CommentText() const { return mtxtComment; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void FillList();
    void UpdatePanel();
    void fitColumnsToTexts();
    void Rollback();
    void setRollbackOffered(bool offered);
    void showComment(const QString& heading, const QString& comment);
    static QString rowKey(const TARMOHistoryData& entry);

    TARMOObjectVSS* mobjHistory = nullptr;
    bool mbRolledBack = false;
    QList<TARMOHistoryData> marrHistory;
    bool mbShowLabels = true;
    // 1 open, 0 folded; the user's choice outlives the group's coming and going.
    long mlngCommentBarState = 1;
    bool mbFilling = false;

    QTreeWidget* mlvwHistory = nullptr;
    QWidget* mebcHistory = nullptr;
    QVBoxLayout* mPanelLayout = nullptr;
    QGroupBox* mgrpTools = nullptr;
    QVBoxLayout* mToolsLayout = nullptr;
    QToolButton* mcmdLabel = nullptr;
    QToolButton* mcmdClose = nullptr;
    QToolButton* mcmdRollback = nullptr;
    QGroupBox* mgrpComment = nullptr;
    QPlainTextEdit* mtxtComment = nullptr;
    std::function<void(QWidget*, long)> mHelp;
};
