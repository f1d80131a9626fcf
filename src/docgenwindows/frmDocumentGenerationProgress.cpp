#include "frmDocumentGenerationProgress.h"

#include "DocGenProject.h"
#include "DocGenWindowSupport.h"
#include "UserPrompts.h"

#include <QCoreApplication>
#include <QDir>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <climits>

namespace {

constexpr int iconColumn = 0;
constexpr int stepColumn = 1;
constexpr int statusColumn = 2;
constexpr int keyRole = Qt::UserRole;

} // namespace

frmDocumentGenerationProgress::frmDocumentGenerationProgress(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmDocumentGenerationProgress"));
    setWindowTitle(QStringLiteral("Generating Documentation ..."));
    setModal(true);

    mlblDocument = new QLabel(this);
    mlblDocument->setObjectName(QStringLiteral("lblDocument"));
    mlblDocument->setTextFormat(Qt::PlainText);
    mlblDocument->setMinimumWidth(1);

    // The list only shows: the run can't be steered from it, but it isn't disabled either, so that
    // its texts keep their colours.
    mlvwSteps = new QTreeWidget(this);
    mlvwSteps->setObjectName(QStringLiteral("lvwSteps"));
    mlvwSteps->setFocusPolicy(Qt::NoFocus);
    mlvwSteps->setSelectionMode(QAbstractItemView::NoSelection);
    mlvwSteps->setRootIsDecorated(false);
    mlvwSteps->setUniformRowHeights(true);
    mlvwSteps->setTextElideMode(Qt::ElideRight);
    mlvwSteps->setHeaderLabels({QString(), QStringLiteral("Step"), QStringLiteral("Status")});
    mlvwSteps->header()->setStretchLastSection(false);
    mlvwSteps->header()->setSectionResizeMode(stepColumn, QHeaderView::Stretch);

    mpbrCurrent = new QProgressBar(this);
    mpbrCurrent->setObjectName(QStringLiteral("pbrCurrent"));
    mpbrCurrent->setRange(0, 1);
    mpbrCurrent->setValue(0);
    mpbrCurrent->setFormat(QString());
    mpbrCurrent->setTextVisible(true);

    mcmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    mcmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    mcmdCancel->setAutoDefault(false);
    connect(mcmdCancel, &QPushButton::clicked, this, &frmDocumentGenerationProgress::CancelRun);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mcmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mlblDocument);
    layout->addWidget(mlvwSteps, 1);
    layout->addWidget(mpbrCurrent);
    layout->addLayout(buttons);
}

frmDocumentGenerationProgress::~frmDocumentGenerationProgress() = default;

DocGenRun::Outcome frmDocumentGenerationProgress::GenerateAll(TARMODatabaseObjects& sdbCurrent,
                                                              const DocGenProject& currProject) {
    mDocumentName = currProject.GenerateName;
    return Generate(std::make_unique<DocGenRun>(sdbCurrent, currProject));
}

DocGenRun::Outcome frmDocumentGenerationProgress::GenerateModule(TARMODatabaseObjects& sdbCurrent,
                                                                 const DocGenProject& currProject,
                                                                 DocGenModule& selectedModule) {
    mDocumentName = currProject.GenerateName;
    return Generate(std::make_unique<DocGenRun>(sdbCurrent, currProject, &selectedModule));
}

DocGenRun::Outcome frmDocumentGenerationProgress::Generate(std::unique_ptr<DocGenRun> run) {
    mRun = std::move(run);
    DocGenSteps& steps = mRun->Steps();
    steps.RowChanged = [this](int row) { ShowRow(row); };
    steps.BarChanged = [this] { ShowBar(); };
    steps.KeepAlive = [] { QCoreApplication::processEvents(); };
    mOutcome = DocGenRun::Outcome::Cancelled;
    mError.clear();
    mlngReferences = 0;
    mStartedRow = 0;
    FillSteps();
    FitToSteps();
    ShowDocumentName();
    mcmdCancel->setEnabled(true);
    mcmdCancel->setText(QStringLiteral("Cancel"));

    // The run starts from the event loop, so that the window stands on the screen first; until
    // it is over, nothing closes the window (see done).
    mbRunning = true;
    QTimer::singleShot(0, this, &frmDocumentGenerationProgress::RunNow);
    exec();

    // The window is gone before the outcome is told, so the message stands over the start dialog.
    const DocGenRun::Outcome outcome = mOutcome;
    mlngReferences = mRun->ReferenceCount();
    mRun.reset();
    DocGenRun::ReportOutcome(outcome, mError);
    return outcome;
}

void frmDocumentGenerationProgress::RunNow() {
    if (!mRun || !mbRunning)
        return;
    {
        BusyCursor busy;
        try {
            mOutcome = mRun->Run();
            mError = mRun->ErrorDescription();
        } catch (...) {
            // The run turns what it knows into its outcome; anything else still ends it as failed.
            mOutcome = DocGenRun::Outcome::Failed;
            mError = QStringLiteral("Unexpected error");
        }
    }
    mbRunning = false;
    accept();
}

void frmDocumentGenerationProgress::CancelRun() {
    if (!mbRunning || !mRun)
        return;
    mRun->Cancel();
    mcmdCancel->setEnabled(false);
    mcmdCancel->setText(QStringLiteral("Cancelling ..."));
}

void frmDocumentGenerationProgress::done(int result) {
    if (mbRunning) {
        CancelRun();
        return;
    }
    QDialog::done(result);
}

void frmDocumentGenerationProgress::FillSteps() {
    mlvwSteps->clear();
    for (const DocGenStepRow& step : mRun->Steps().Rows()) {
        auto* row = new QTreeWidgetItem(mlvwSteps);
        row->setData(iconColumn, keyRole, step.Key);
        row->setText(stepColumn, step.Text);
        row->setToolTip(stepColumn, step.Text);
        row->setText(statusColumn, step.Status);
    }
    DrawStepIcons();
    ShowBar();
}

void frmDocumentGenerationProgress::ShowRow(int row) {
    QTreeWidgetItem* item = mlvwSteps->topLevelItem(row - 1);
    if (!item || !mRun)
        return;
    const DocGenStepRow& step = mRun->Steps().Rows().at(row - 1);
    item->setText(statusColumn, step.Status);
    item->setIcon(iconColumn, mStepIcons[std::clamp(step.Icon, 0, 2)]);
    if (row > mStartedRow && step.Icon != 2) {
        mStartedRow = row;
        mlvwSteps->scrollToItem(item);
        emit StepStarted(step.Key);
    }
}

void frmDocumentGenerationProgress::ShowBar() {
    if (!mRun)
        return;
    const DocGenSteps& steps = mRun->Steps();
    // A bar without a range would run to and fro as if busy; before a step says its range, it
    // stands at nought.
    const long maximum = std::max(1L, steps.BarMaximum());
    mpbrCurrent->setRange(0, static_cast<int>(std::min<long>(maximum, INT_MAX)));
    mpbrCurrent->setValue(static_cast<int>(std::clamp(steps.BarValue(), 0L, maximum)));
    mpbrCurrent->setFormat(steps.BarText());
}

// Wide enough for every step's text and the longest status, within the screen.
void frmDocumentGenerationProgress::FitToSteps() {
    const QFontMetrics metrics = mlvwSteps->fontMetrics();
    const int iconWidth = mlvwSteps->iconSize().isValid() ? mlvwSteps->iconSize().width() : 16;
    mlvwSteps->setColumnWidth(iconColumn, iconWidth + 12);
    mlvwSteps->setColumnWidth(statusColumn, metrics.horizontalAdvance(QStringLiteral("Progress: 100%")) + 24);
    int widest = metrics.horizontalAdvance(QStringLiteral("Step 10 - Generate documentation for all "));
    for (int i = 0; i < mlvwSteps->topLevelItemCount(); ++i)
        widest = std::max(widest, metrics.horizontalAdvance(mlvwSteps->topLevelItem(i)->text(stepColumn)));
    const int rowHeight = std::max(mlvwSteps->sizeHintForRow(0), metrics.lineSpacing() + 4);
    const int listWidth = mlvwSteps->columnWidth(iconColumn) + widest + 24 +
                          mlvwSteps->columnWidth(statusColumn) + 2 * mlvwSteps->frameWidth();
    const int listHeight = mlvwSteps->header()->sizeHint().height() +
                           rowHeight * (mlvwSteps->topLevelItemCount() + 1) + 2 * mlvwSteps->frameWidth();
    const QMargins margins = layout()->contentsMargins();
    const QSize wanted(listWidth + margins.left() + margins.right(),
                       listHeight + mpbrCurrent->sizeHint().height() + mcmdCancel->sizeHint().height() +
                           mlblDocument->sizeHint().height() + 4 * layout()->spacing() + margins.top() +
                           margins.bottom());
    resize(DocGenWindowSupport::SizeOnScreen(this, wanted, 0.8, 0.8));
}

void frmDocumentGenerationProgress::ShowDocumentName() {
    const QString name = QDir::toNativeSeparators(mDocumentName);
    mlblDocument->setToolTip(name);
    mlblDocument->setText(mlblDocument->fontMetrics().elidedText(
        QStringLiteral("Document: ") + name, Qt::ElideMiddle, std::max(40, mlblDocument->width())));
}

void frmDocumentGenerationProgress::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    ShowDocumentName();
}

// The step pictures are drawn in the palette's colours, so a new palette draws them anew.
void frmDocumentGenerationProgress::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && mRun)
        DrawStepIcons();
}

void frmDocumentGenerationProgress::DrawStepIcons() {
    for (int state = 0; state < 3; ++state)
        mStepIcons[state] = DocGenWindowSupport::StepIcon(state, this);
    const QList<DocGenStepRow>& rows = mRun->Steps().Rows();
    for (int i = 0; i < mlvwSteps->topLevelItemCount() && i < rows.size(); ++i)
        mlvwSteps->topLevelItem(i)->setIcon(iconColumn, mStepIcons[std::clamp(rows[i].Icon, 0, 2)]);
}

void frmDocumentGenerationProgress::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, DocGenHelp::Run);
        return;
    }
    QDialog::keyPressEvent(event);
}
