#pragma once

#include <QList>
#include <QString>

#include <functional>

class TARMODBTItems;

// One row of the step list of a script run.
struct ScriptStep {
    QString Key;
    QString Text;   // "Step N - ..." as the list shows it
    QString Status; // "Not Started", "Initialising", "Progress: 40%", "Completed", ...
    int Icon = 0;   // see ScriptSteps::Icon
};

// The step list of a script run and its progress bar, without a window: the builders and the
// writer move it on, the wizard paints it and the command line may print it. ProgressChanged is
// where a window repaints and lets pending events through, which is how a click on Cancel reaches
// RequestCancel during a run; the builders look at CancelRequested after each object and step.
class ScriptSteps {
public:
    enum Icon : int { Waiting = 0, Running = 1, Done = 2, Failed = 3 };

    void Clear();
    // Appends "Step N - text", "Not Started".
    void AddStep(const QString& key, const QString& text);
    // One row per object type (Key the type, Text its name): key "GETOBJECTS_", then "DEL_" when
    // deleted or else "OTHER_" when other, then the type; text "Find all ", "deleted " when
    // deleted, the type's name.
    void AddTypeSteps(const TARMODBTItems& types, bool deleted, bool other);
    // The running row becomes "Completed"; the next, if there is one, "Initialising". The bar goes
    // back to 0.
    void NextStep();
    // The bar's maximum; the running row gets the running icon.
    void SetStepRange(long maximum);
    // "Progress: " and the percentage on the running row; the bar takes the value where it doesn't
    // exceed the maximum.
    void ShowStepProgress(long value);
    // The running row's status and icon ("No Objects Found!", Failed).
    void SetCurrentStatus(const QString& status, int icon);

    // The row under way, from 0; -1 before the first NextStep.
    int Current() const { return mCurrent; }
    // The key of the row under way, "" before the first.
    QString CurrentKey() const;
    const QList<ScriptStep>& Rows() const { return mRows; }
    long Maximum() const { return mMaximum; }
    long Value() const { return mValue; }
    // "0%" below a maximum or value of 1, else value / maximum in whole percent.
    QString Percentage() const;

    // The user asked to interrupt; stays set until ResetCancel.
    void RequestCancel() { mCancel = true; }
    bool CancelRequested() const { return mCancel; }
    void ResetCancel() { mCancel = false; }

    // Rows were cleared or appended.
    std::function<void()> RowsChanged;
    // One row's status or icon changed.
    std::function<void(int row)> RowChanged;
    // The bar moved (value, maximum, percentage text).
    std::function<void(long value, long maximum, const QString& percentage)> ProgressChanged;

private:
    void rowChanged(int row);
    void progressChanged();

    QList<ScriptStep> mRows;
    int mCurrent = -1;
    long mMaximum = 0;
    long mValue = 0;
    bool mCancel = false;
};
