#pragma once

#include <QList>
#include <QString>
#include <QTreeWidget>

class QAction;
class QMenu;

// The list of the custom script: one row per object with a check box, the object's name and its
// kind. Ctrl+A selects every row; the pop-up menu checks or unchecks all rows or the selected ones.
class ScriptObjectChecklist : public QTreeWidget {
    Q_OBJECT
public:
    explicit ScriptObjectChecklist(QWidget* parent = nullptr);

    // A row with the number of the object it stands for.
    void AddObject(int number, const QIcon& icon, const QString& text, const QString& typeText);
    // The numbers of the checked rows, in list order.
    QList<int> CheckedNumbers() const;
    int CheckedCount() const;

    void CheckAll(bool checked);
    void CheckSelection(bool checked);

    QMenu* PopupMenu() const { return mPopup; }
    QAction* mnuCheckAll() const { return mmnuCheckAll; }
    QAction* mnuCheckSelection() const { return mmnuCheckSelection; }
    QAction* mnuUncheckSelection() const { return mmnuUncheckSelection; }
    QAction* mnuUncheckAll() const { return mmnuUncheckAll; }

private:
    QMenu* mPopup = nullptr;
    QAction* mmnuCheckAll = nullptr;
    QAction* mmnuCheckSelection = nullptr;
    QAction* mmnuUncheckSelection = nullptr;
    QAction* mmnuUncheckAll = nullptr;
};
