#include "ScriptSteps.h"

#include "TARMODBTItems.h"

#include <cmath>

void ScriptSteps::Clear() {
    mRows.clear();
    mCurrent = -1;
    mMaximum = 0;
    mValue = 0;
    if (RowsChanged)
        RowsChanged();
    progressChanged();
}

void ScriptSteps::AddStep(const QString& key, const QString& text) {
    ScriptStep step;
    step.Key = key;
    step.Text = QStringLiteral("Step ") + QString::number(mRows.size() + 1) + QStringLiteral(" - ") + text;
    step.Status = QStringLiteral("Not Started");
    mRows.append(step);
    if (RowsChanged)
        RowsChanged();
}

void ScriptSteps::AddTypeSteps(const TARMODBTItems& types, bool deleted, bool other) {
    const QString infix = deleted ? QStringLiteral("DEL_") : other ? QStringLiteral("OTHER_") : QString();
    types.ForEach([&](const TARMODBTItem& type) {
        AddStep(QStringLiteral("GETOBJECTS_") + infix + type.Key,
                QStringLiteral("Find all ") + (deleted ? QStringLiteral("deleted ") : QString()) + type.Text);
    });
}

void ScriptSteps::NextStep() {
    if (mCurrent >= 0 && mCurrent < mRows.size()) {
        mRows[mCurrent].Status = QStringLiteral("Completed");
        mRows[mCurrent].Icon = Done;
        rowChanged(mCurrent);
    }
    if (mCurrent < mRows.size())
        ++mCurrent;
    if (mCurrent < mRows.size()) {
        mRows[mCurrent].Status = QStringLiteral("Initialising");
        rowChanged(mCurrent);
    }
    mMaximum = 0;
    mValue = 0;
    progressChanged();
}

void ScriptSteps::SetStepRange(long maximum) {
    mMaximum = maximum;
    mValue = 0;
    if (mCurrent >= 0 && mCurrent < mRows.size()) {
        mRows[mCurrent].Icon = Running;
        rowChanged(mCurrent);
    }
}

void ScriptSteps::ShowStepProgress(long value) {
    if (value <= mMaximum)
        mValue = value;
    if (mCurrent >= 0 && mCurrent < mRows.size()) {
        mRows[mCurrent].Status = QStringLiteral("Progress: ") + Percentage();
        rowChanged(mCurrent);
    }
    progressChanged();
}

void ScriptSteps::SetCurrentStatus(const QString& status, int icon) {
    if (mCurrent < 0 || mCurrent >= mRows.size())
        return;
    mRows[mCurrent].Status = status;
    mRows[mCurrent].Icon = icon;
    rowChanged(mCurrent);
}

QString ScriptSteps::CurrentKey() const {
    return mCurrent >= 0 && mCurrent < mRows.size() ? mRows[mCurrent].Key : QString();
}

QString ScriptSteps::Percentage() const {
    if (mMaximum < 1 || mValue < 1)
        return QStringLiteral("0%");
    return QString::number(std::lround(static_cast<double>(mValue) * 100.0 / static_cast<double>(mMaximum))) +
           QLatin1Char('%');
}

void ScriptSteps::rowChanged(int row) {
    if (RowChanged)
        RowChanged(row);
}

void ScriptSteps::progressChanged() {
    if (ProgressChanged)
        ProgressChanged(mValue, mMaximum, Percentage());
}
