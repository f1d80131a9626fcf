#pragma once

#include <QWidget>

class QProgressBar;
class QTreeWidget;
class ScriptSteps;

// Paints the steps of a script run: one row per step with a picture, "Step N - text" and a status,
// and the progress bar of the running step. Each move of the bar lets pending window events
// through, which is how a click on Cancel reaches the window while a list is built.
class ScriptStepList : public QWidget {
    Q_OBJECT
public:
    explicit ScriptStepList(QWidget* parent = nullptr);
    ~ScriptStepList() override;

    // Follows the steps from now on; the steps must outlive the list or be detached first.
    void Attach(ScriptSteps* steps);

    QTreeWidget* lvwSteps() const { return mlvwSteps; }
    QProgressBar* pbrCurrent() const { return mpbrCurrent; }

private:
    void showRows();
    void showRow(int row);
    void showProgress(long value, long maximum, const QString& percentage);

    ScriptSteps* mSteps = nullptr;
    QTreeWidget* mlvwSteps = nullptr;
    QProgressBar* mpbrCurrent = nullptr;
};
