#pragma once

#include "LineDiff.h"

#include <QDialog>
#include <QList>

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QStackedWidget;

// Two texts of one object line by line: the database's on the left, the version store's on the
// right, with removed, added and changed lines marked and both sides scrolling together; or the
// unified form that a developer knows from the command line.
class frmSyncDifference : public QDialog {
    Q_OBJECT
public:
    // One line of the side-by-side view; a number of 0 is a filler where the other side has a line.
    struct SideBySideLine {
        int LeftLine = 0;
        QString LeftText;
        int RightLine = 0;
        QString RightText;
        bool Differs = false;
    };

    explicit frmSyncDifference(QWidget* parent = nullptr);

    void ShowTexts(const QString& objectName, const QString& leftName, const QString& leftText,
                   const QString& rightName, const QString& rightText);

    // The lines of a difference side by side: removed lines against the added lines that replace
    // them, fillers where one side has more.
    static QList<SideBySideLine> SideBySide(const QList<DiffLine>& lines);

    QPlainTextEdit* txtLeft() const { return mtxtLeft; }
    QPlainTextEdit* txtRight() const { return mtxtRight; }
    QPlainTextEdit* txtUnified() const { return mtxtUnified; }
    QCheckBox* chkUnified() const { return mchkUnified; }
    QLabel* lblSummary() const { return mlblSummary; }

private:
    void fillSides(const QList<SideBySideLine>& lines);
    void fillUnified(const QString& unified);

    QLabel* mlblLeft = nullptr;
    QLabel* mlblRight = nullptr;
    QLabel* mlblSummary = nullptr;
    QPlainTextEdit* mtxtLeft = nullptr;
    QPlainTextEdit* mtxtRight = nullptr;
    QPlainTextEdit* mtxtUnified = nullptr;
    QCheckBox* mchkUnified = nullptr;
    QStackedWidget* mViews = nullptr;
};
