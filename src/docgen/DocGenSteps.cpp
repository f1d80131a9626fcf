#include "DocGenSteps.h"

#include <cmath>

void DocGenSteps::AddStep(const QString& key, const QString& text) {
    mRows.append(
        {key, QStringLiteral("Step %1 - ").arg(mRows.size() + 1) + text, QStringLiteral("Not Started"), 0});
}

int DocGenSteps::IndexOf(const QString& key) const {
    for (int n = 0; n < mRows.size(); ++n)
        if (mRows[n].Key == key)
            return n + 1;
    return 0;
}

void DocGenSteps::setRow(int row, const QString& status, int icon) {
    if (row < 1 || row > mRows.size())
        return;
    if (!status.isNull())
        mRows[row - 1].Status = status;
    mRows[row - 1].Icon = icon;
    if (RowChanged)
        RowChanged(row);
}

void DocGenSteps::NextStep() {
    if (mCurrent >= 1 && mCurrent <= mRows.size())
        setRow(mCurrent, QStringLiteral("Completed"), 2);
    ++mCurrent;
    setRow(mCurrent, QStringLiteral("Initialising"),
           mCurrent <= mRows.size() ? mRows.value(mCurrent - 1).Icon : 0);
    mMaximum = 0;
    mValue = 0;
    mBarText.clear();
    if (BarChanged)
        BarChanged();
}

void DocGenSteps::SetStepRange(long maximum) {
    mMaximum = maximum;
    mValue = 0;
    setRow(mCurrent, QString(), 1);
    if (BarChanged)
        BarChanged();
}

void DocGenSteps::ShowStepProgress(long value, const QString& text) {
    QString percent = QStringLiteral("0%");
    if (mMaximum >= 1 && value >= 1)
        percent = QString::number(std::lround(double(value) / double(mMaximum) * 100.0)) + QLatin1Char('%');
    mBarText = text.isEmpty() ? percent : percent + QStringLiteral(": ") + text;
    if (mCurrent >= 1 && mCurrent <= mRows.size()) {
        mRows[mCurrent - 1].Status = QStringLiteral("Progress: ") + percent;
        if (RowChanged)
            RowChanged(mCurrent);
    }
    if (value <= mMaximum)
        mValue = value;
    if (BarChanged)
        BarChanged();
    if (KeepAlive)
        KeepAlive();
}
