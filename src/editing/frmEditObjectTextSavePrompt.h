#pragma once

#include <QDialog>
#include <QList>

class QLabel;
class QPushButton;
class QRadioButton;
class QVBoxLayout;
class TARMODatabase;

// Decides what becomes of the unsaved changes of an object window that is closing: the user's
// standing default at once, or a question with the actions that fit a new or an existing object.
// Action codes: 0 cancel, 1 check in, 2 save the text, 3 discard, 4 keep checked out and discard,
// 5 undo the check-out. The window that asked carries the action out.
class frmEditObjectTextSavePrompt : public QDialog {
    Q_OBJECT
public:
    explicit frmEditObjectTextSavePrompt(QWidget* parent = nullptr);

    static long ChangesMade(TARMODatabase& msdbCurrent, bool bIsNewObject, QWidget* parent = nullptr);
    // The codes offered, in their order on the dialog.
    static QList<long> ActionsFor(bool bIsNewObject);
    // The standing default where it is one of the codes offered, else 0.
    static long UsableDefault(TARMODatabase& msdbCurrent, bool bIsNewObject);

    // Rebuilds the options for the kind of object, with the default (0: none) selected.
    void BuildOptions(bool bIsNewObject, long lngDefault);
    long Result() const { return mlngResult; }

    const QList<QRadioButton*>& opt() const { return mopt; }
    QPushButton* cmdOK() const { return mcmdOK; }
    QPushButton* cmdCancel() const { return mcmdCancel; }
    QLabel* lblCaption() const { return mlblCaption; }

private:
    void cmdOK_Click();

    QLabel* mlblCaption;
    QVBoxLayout* mOptionsLayout;
    QList<QRadioButton*> mopt;
    QPushButton* mcmdOK;
    QPushButton* mcmdCancel;
    long mlngResult = 0;
};
