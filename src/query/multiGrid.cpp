#include "multiGrid.h"

#include "QueryRunner.h"
#include "ResultGridModel.h"
#include "ScreenMetrics.h"
#include "TARMOSQL.h"

#include <QHeaderView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QVBoxLayout>
#include <cmath>

#include <algorithm>

namespace {
// The distances of the layout are in twips; the grid heights of a stack are in pixels.
int px(int twips) {
    return std::max(1, static_cast<int>(std::lround(twips / ScreenMetrics::Current().twipsPerPixelX)));
}

QFont resultFont() {
    QFont font(QStringLiteral("Courier New"));
    font.setStyleHint(QFont::TypeWriter);
    return font;
}

int digits(long long value) {
    return static_cast<int>(QString::number(value).size());
}
} // namespace

multiGrid::multiGrid(QWidget* parent)
    : QWidget(parent)
    , mtxtMessages(new QPlainTextEdit)
    , mpicMessages(new QWidget(this))
    , mpicResults(new QWidget(this))
    , mpicArea(new QWidget(mpicResults))
    , mpicButtons(new QWidget(this))
    , mcmdMessages(new QPushButton(QStringLiteral("Messages"), mpicButtons))
    , mcmdResults(new QPushButton(QStringLiteral("Results"), mpicButtons))
    , mvsb(new QScrollBar(Qt::Vertical, this)) {
    setObjectName(QStringLiteral("grdResults"));
    mpicMessages->setObjectName(QStringLiteral("picMessages"));
    mpicResults->setObjectName(QStringLiteral("picResults"));
    mpicButtons->setObjectName(QStringLiteral("picButtons"));
    mcmdMessages->setObjectName(QStringLiteral("cmdMessages"));
    mcmdResults->setObjectName(QStringLiteral("cmdResults"));
    mvsb->setObjectName(QStringLiteral("vsb"));
    mtxtMessages->setObjectName(QStringLiteral("txtMessages"));

    mtxtMessages->setReadOnly(true);
    mtxtMessages->setFont(resultFont());
    mtxtMessages->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* messagesLayout = new QVBoxLayout(mpicMessages);
    messagesLayout->setContentsMargins(0, 0, 0, 0);
    messagesLayout->addWidget(mtxtMessages);

    for (QPushButton* button : {mcmdMessages, mcmdResults}) {
        button->setCheckable(true);
        button->setFocusPolicy(Qt::NoFocus);
        button->adjustSize();
    }
    mpicButtons->setFixedHeight(mcmdMessages->sizeHint().height() + 4);
    connect(mcmdMessages, &QPushButton::clicked, this, [this] { ShowPane(true); });
    connect(mcmdResults, &QPushButton::clicked, this, [this] { ShowPane(false); });
    connect(mvsb, &QScrollBar::valueChanged, this, [this](int value) { mpicArea->move(0, -value); });

    mvsb->hide();
    mcmdResults->hide();
    ShowPane(true);
}

// The run connection goes with the area.
multiGrid::~multiGrid() = default;

void multiGrid::SetRedraw(bool bRedraw) {
    mbRedraw = bRedraw;
    setUpdatesEnabled(bRedraw);
    mpicMessages->setUpdatesEnabled(bRedraw);
    mpicResults->setUpdatesEnabled(bRedraw);
    for (QTableView* grid : mGrids)
        grid->setUpdatesEnabled(bRedraw);
}

// --- Parse and execute

void multiGrid::ParseQuery(const QString& strQuery) {
    if (!mSQLConnection)
        return;
    mbShowMessages = true;
    ClearResults();
    QString answer;
    try {
        answer = mSQLConnection->ParseSQL(strQuery);
    } catch (const std::exception& error) {
        const auto* tarmo = dynamic_cast<const TARMOError*>(&error);
        answer = tarmo ? tarmo->Description() : QString::fromUtf8(error.what());
    }
    SetMessages(QueryRunner::ParseAnswerText(answer));
    ResizeContainer();
    ShowPane(true);
}

void multiGrid::ExecuteQuery(const QString& strQuery, const DbLogin* login) {
    mbShowMessages = true;
    if (mRunConnection) {
        mRunConnection->Close();
        mRunConnection.reset();
    }
    if (!login && !mSQLConnection)
        return;
    const DbLogin values = login ? *login : mSQLConnection->ConnectionLogin();
    ClearResults();

    QueryOutcome outcome;
    try {
        mRunConnection = DbDriver::CreateConnection(values.server);
        mRunConnection->Open(values);
        outcome = QueryRunner::Execute(*mRunConnection, strQuery);
    } catch (const std::exception& error) {
        // The batches report their own failures; what lands here is the connection's.
        const auto* tarmo = dynamic_cast<const TARMOError*>(&error);
        QueryRunner::AppendFailure(outcome, tarmo ? tarmo->Description() : QString::fromUtf8(error.what()));
    }

    for (ResultGridData& gridData : outcome.grids)
        AddResultGrid(std::move(gridData));
    outcome.grids.clear();
    SetMessages(outcome.messages);
    ResizeContainer();
    ShowPane(mGrids.empty() || outcome.runFailed);
}

// --- Grids and panes

void multiGrid::ClearResults() {
    mpicResults->hide();
    while (!mGrids.empty()) {
        delete mGrids.back();
        mGrids.pop_back();
    }
    SetMessages(QString());
}

void multiGrid::SetMessages(const QString& text) {
    mstrMessages = text;
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    mtxtMessages->setPlainText(shown);
}

void multiGrid::AddResultGrid(ResultGridData gridData) {
    auto* grid = new QTableView(mpicArea);
    grid->hide();
    grid->setObjectName(QStringLiteral("grdResult%1").arg(mGrids.size() + 1));
    grid->setFont(resultFont());
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->verticalHeader()->hide();
    grid->setUpdatesEnabled(mbRedraw);

    const int rowCount = static_cast<int>(gridData.rowCount);
    auto* model = new ResultGridModel(std::move(gridData), palette().color(QPalette::Button), grid);
    grid->setModel(model);
    // Rows of one height need no measuring, which a large result would feel.
    grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);

    // Header, rows and the empty piece behind the last row delimiter, as the fetched text splits.
    grid->setColumnWidth(0, 7 * digits(rowCount + 2) + 10);
    for (int c = 1; c < model->columnCount(); ++c)
        grid->resizeColumnToContents(c);
    mGrids.push_back(grid);
    grid->show();
}

void multiGrid::ShowPane(bool bMessages) {
    mbShowMessages = bMessages;
    if (bMessages) {
        mpicResults->hide();
        mvsb->hide();
        mcmdResults->setChecked(false);
        mpicMessages->show();
        mcmdMessages->setChecked(true);
    } else {
        mpicResults->show();
        mcmdResults->setChecked(true);
        mvsb->setVisible(mbScroll);
        mpicMessages->hide();
        mcmdMessages->setChecked(false);
    }
}

// --- Layout

int multiGrid::StackedGridHeight(const QTableView* grid) {
    const int rows = std::clamp(grid->model() ? grid->model()->rowCount() : 0, 2, 8);
    int height = grid->horizontalHeader()->sizeHint().height() +
                 rows * grid->verticalHeader()->defaultSectionSize() + 2 * grid->frameWidth();
    if (grid->horizontalHeader()->length() > grid->width() - 2 * grid->frameWidth())
        height += grid->horizontalScrollBar()->sizeHint().height();
    return height;
}

void multiGrid::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    ResizeContainer();
}

void multiGrid::ResizeContainer() {
    const int stripHeight = mpicButtons->height();
    mpicButtons->setGeometry(0, height() - stripHeight, width(), stripHeight);
    const int paneHeight = std::max(0, height() - stripHeight - px(10));

    const int buttonTop = (stripHeight - mcmdMessages->height()) / 2;
    if (mGrids.empty()) {
        mcmdResults->hide();
        mpicResults->hide();
        mcmdMessages->move(px(50), buttonTop);
    } else {
        mcmdResults->move(px(50), buttonTop);
        mcmdResults->show();
        mcmdMessages->move(mcmdResults->x() + mcmdResults->width() + px(50), buttonTop);
    }

    mpicMessages->setGeometry(0, 0, width(), paneHeight);
    mpicResults->setGeometry(0, 0, width(), paneHeight);
    layoutGrids(paneHeight);
    if (!mbShowMessages)
        mvsb->setVisible(mbScroll);
}

void multiGrid::layoutGrids(int paneHeight) {
    mbScroll = false;
    const int left = px(10);
    if (mGrids.size() == 1) {
        mpicArea->setGeometry(0, 0, mpicResults->width(), paneHeight);
        mGrids.front()->setGeometry(left, 0, mpicArea->width() - 2 * left, paneHeight);
        return;
    }
    const int gap = px(10);
    int total = 0;
    for (QTableView* grid : mGrids)
        total += StackedGridHeight(grid);
    if (!mGrids.empty())
        total += gap * static_cast<int>(mGrids.size() - 1);

    mbScroll = total > paneHeight;
    const int barWidth = mvsb->sizeHint().width();
    const int areaWidth = mpicResults->width() - (mbScroll ? barWidth : 0);
    mpicArea->setGeometry(0, 0, areaWidth, mbScroll ? total : paneHeight);
    int top = 0;
    for (QTableView* grid : mGrids) {
        grid->setGeometry(left, top, areaWidth - 2 * left, grid->height());
        grid->resize(areaWidth - 2 * left, StackedGridHeight(grid));
        top += grid->height() + gap;
    }
    if (!mGrids.empty() && !mbScroll) {
        QTableView* last = mGrids.back();
        last->setGeometry(last->x(), last->y(), last->width(), mpicArea->height() - gap - last->y());
    }
    mvsb->setGeometry(width() - barWidth, 0, barWidth, paneHeight);
    mvsb->setRange(0, mbScroll ? total - paneHeight : 0);
    mvsb->setValue(0);
    mpicArea->move(0, 0);
}
