#pragma once

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

// Edits the description of an object. While the text has the focus, Enter, Escape and Tab belong to
// the text: a description runs over several lines.
class frmItemDescription : public QDialog {
    Q_OBJECT
public:
    explicit frmItemDescription(QWidget* parent = nullptr);

    // True when saved; NewDescription takes the text as entered, untrimmed.
    static bool GetDescription(const QString& CurrentDescription, QString& NewDescription,
                               QWidget* parent = nullptr);

    QPlainTextEdit* txtDescription() const { return mtxtDescription; }
    QPushButton* cmdOK() const { return mcmdOK; }
    QPushButton* cmdCancel() const { return mcmdCancel; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void cmdOK_Click();
    void setButtonsOwnKeys(bool own);

    QPlainTextEdit* mtxtDescription;
    QPushButton* mcmdOK;
    QPushButton* mcmdCancel;
    QString mstrDescription;
    bool mbCancelled = true;
};
