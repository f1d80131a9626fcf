#include "ScriptStepList.h"

#include "ScriptSteps.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QProgressBar>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

enum Column { PictureColumn = 0, StepColumn = 1, StatusColumn = 2 };

} // namespace

ScriptStepList::ScriptStepList(QWidget* parent)
    : QWidget(parent) {
    // The list only shows the run: it takes neither the mouse nor the focus, but isn't disabled, so
    // that its texts and pictures keep their colours.
    mlvwSteps = new QTreeWidget(this);
    mlvwSteps->setObjectName(QStringLiteral("lvwSteps"));
    mlvwSteps->setFocusPolicy(Qt::NoFocus);
    mlvwSteps->setSelectionMode(QAbstractItemView::NoSelection);
    mlvwSteps->setRootIsDecorated(false);
    mlvwSteps->setUniformRowHeights(true);
    mlvwSteps->setTextElideMode(Qt::ElideRight);
    mlvwSteps->setHeaderLabels({QString(), QStringLiteral("Step"), QStringLiteral("Status")});
    mlvwSteps->setColumnWidth(PictureColumn, style()->pixelMetric(QStyle::PM_SmallIconSize) + 12);
    // The step's text takes what the window offers; the status keeps room for its longest text.
    QHeaderView* header = mlvwSteps->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(PictureColumn, QHeaderView::Fixed);
    header->setSectionResizeMode(StepColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(StatusColumn, QHeaderView::Interactive);
    mlvwSteps->setColumnWidth(StatusColumn,
                              fontMetrics().horizontalAdvance(QStringLiteral("No Objects Found!")) +
                                  fontMetrics().averageCharWidth() * 4);

    mpbrCurrent = new QProgressBar(this);
    mpbrCurrent->setObjectName(QStringLiteral("pbrCurrent"));
    mpbrCurrent->setRange(0, 1);
    mpbrCurrent->setValue(0);
    mpbrCurrent->setFormat(QString());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mlvwSteps, 1);
    layout->addWidget(mpbrCurrent);
}

ScriptStepList::~ScriptStepList() {
    Attach(nullptr);
}

void ScriptStepList::Attach(ScriptSteps* steps) {
    if (mSteps) {
        mSteps->RowsChanged = nullptr;
        mSteps->RowChanged = nullptr;
        mSteps->ProgressChanged = nullptr;
    }
    mSteps = steps;
    if (mSteps) {
        mSteps->RowsChanged = [this] { showRows(); };
        mSteps->RowChanged = [this](int row) { showRow(row); };
        mSteps->ProgressChanged = [this](long value, long maximum, const QString& percentage) {
            showProgress(value, maximum, percentage);
        };
    }
    showRows();
}

void ScriptStepList::showRows() {
    const int count = mSteps ? static_cast<int>(mSteps->Rows().size()) : 0;
    while (mlvwSteps->topLevelItemCount() > count)
        delete mlvwSteps->takeTopLevelItem(mlvwSteps->topLevelItemCount() - 1);
    while (mlvwSteps->topLevelItemCount() < count)
        new QTreeWidgetItem(mlvwSteps);
    for (int row = 0; row < count; ++row)
        showRow(row);
    if (count == 0)
        showProgress(0, 0, QString());
}

void ScriptStepList::showRow(int row) {
    QTreeWidgetItem* item = mlvwSteps->topLevelItem(row);
    if (!mSteps || !item || row >= mSteps->Rows().size())
        return;
    const ScriptStep& step = mSteps->Rows().at(row);
    item->setText(StepColumn, step.Text);
    item->setToolTip(StepColumn, step.Text);
    item->setText(StatusColumn, step.Status);
    switch (step.Icon) {
    case ScriptSteps::Running:
        item->setIcon(PictureColumn, style()->standardIcon(QStyle::SP_ArrowRight));
        break;
    case ScriptSteps::Done:
        item->setIcon(PictureColumn, style()->standardIcon(QStyle::SP_DialogApplyButton));
        break;
    case ScriptSteps::Failed:
        item->setIcon(PictureColumn, style()->standardIcon(QStyle::SP_MessageBoxWarning));
        break;
    default:
        item->setIcon(PictureColumn, QIcon());
        break;
    }
    if (row == mSteps->Current())
        mlvwSteps->scrollToItem(item);
}

void ScriptStepList::showProgress(long value, long maximum, const QString& percentage) {
    mpbrCurrent->setRange(0, static_cast<int>(qMax(1L, maximum)));
    mpbrCurrent->setValue(static_cast<int>(qBound(0L, value, qMax(1L, maximum))));
    mpbrCurrent->setFormat(percentage);
    mlvwSteps->viewport()->update();
    QCoreApplication::processEvents();
}
