#pragma once

#include <QList>
#include <QString>

#include <functional>

// One row of the step list.
struct DocGenStepRow {
    QString Key;
    QString Text;   // "Step N - " and the step's text
    QString Status; // "Not Started", "Initialising", "Progress: 40%", "Completed"
    int Icon = 0;   // 0 waiting, 1 running, 2 done
};

// The steps of a run and the progress bar under them, without a window: the progress window shows
// what this holds and repaints when told.
class DocGenSteps {
public:
    void AddStep(const QString& key, const QString& text);
    const QList<DocGenStepRow>& Rows() const { return mRows; }
    // The row under way, from 1; 0 before the first.
    int Current() const { return mCurrent; }
    int IndexOf(const QString& key) const; // from 1, 0 for none

    // The running row is done, the next one starts ("Initialising"), the bar goes back to 0.
    void NextStep();
    void SetStepRange(long maximum);
    // Shows value of the bar's maximum as a percentage in the bar's text and the row's status.
    void ShowStepProgress(long value, const QString& text = QString());

    long BarMaximum() const { return mMaximum; }
    long BarValue() const { return mValue; }
    const QString& BarText() const { return mBarText; }

    // A row (from 1) changed its status or icon.
    std::function<void(int row)> RowChanged;
    // The bar changed: after NextStep, SetStepRange and every ShowStepProgress.
    std::function<void()> BarChanged;
    // Called by every ShowStepProgress: where the window repaints and lets pending events through.
    std::function<void()> KeepAlive;

private:
    void setRow(int row, const QString& status, int icon);
    QList<DocGenStepRow> mRows;
    int mCurrent = 0;
    long mMaximum = 0;
    long mValue = 0;
    QString mBarText;
};
