#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class SqlEditControl;

// The edit control's own find and replace window: modeless, over its editor.
class FindReplaceDialog : public QDialog {
    Q_OBJECT
public:
    FindReplaceDialog(SqlEditControl& editor, QWidget* parent);

    // Shows the window for finding, or for replacing too, with the search text filled in.
    void Open(bool bReplace, const QString& searchText);

    QLineEdit* txtFind() const { return mtxtFind; }
    QLineEdit* txtReplace() const { return mtxtReplace; }
    QPushButton* cmdFindNext() const { return mcmdFindNext; }
    QPushButton* cmdReplace() const { return mcmdReplace; }
    QPushButton* cmdReplaceAll() const { return mcmdReplaceAll; }
    QLabel* lblResult() const { return mlblResult; }

private:
    void findNext();
    void replaceNext();
    void replaceAll();
    void report(bool found);

    SqlEditControl& mEditor;
    QLineEdit* mtxtFind;
    QLineEdit* mtxtReplace;
    QLabel* mlblReplace;
    QCheckBox* mchkMatchCase;
    QCheckBox* mchkWholeWord;
    QRadioButton* moptUp;
    QPushButton* mcmdFindNext;
    QPushButton* mcmdReplace;
    QPushButton* mcmdReplaceAll;
    QLabel* mlblResult;
};
