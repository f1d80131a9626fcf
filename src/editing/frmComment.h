#pragma once

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

// Asks for the comment of a check-in. An empty comment is a valid answer; only Cancel or the frame's
// close button stop the check-in.
class frmComment : public QDialog {
    Q_OBJECT
public:
    explicit frmComment(QWidget* parent = nullptr);

    // True when confirmed; strComment takes the text, or "" when cancelled.
    static bool GetComment(QString& strComment, QWidget* parent = nullptr);

    QPlainTextEdit* txtComment() const { return mtxtComment; }
    QPushButton* cmdOK() const { return mcmdOK; }
    QPushButton* cmdCancel() const { return mcmdCancel; }

private:
    QPlainTextEdit* mtxtComment;
    QPushButton* mcmdOK;
    QPushButton* mcmdCancel;
    QString mstrComment;
    // Set before the dialog shows and cleared by OK alone, so that any other way out counts as Cancel.
    bool mbCancelled = true;
};
