#include "frmSyncResults.h"

#include "HelpTopics.h"
#include "SyncPictures.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "TARMOProject.h"
#include "TARMOSQL.h"
#include "TARMOVSS.h"
#include "UserPrompts.h"
#include "frmSyncDifference.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

constexpr int kRowHeight = 20;

// The button cell shows the row's picture over the whole cell, so that the frames of a block's
// rows join; no text, no focus rectangle.
class ActionButtonDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        painter->save();
        painter->fillRect(option.rect, QColor(0xc8, 0xc4, 0xdc));
        const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        const QPixmap picture =
            SyncPictures::Action(index.data(frmSyncResults::IconKeyRole).toString(), ratio);
        if (!picture.isNull())
            painter->drawPixmap(option.rect, picture);
        painter->restore();
    }
    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
        return SyncPictures::ActionSize;
    }
};

QTableWidgetItem* cell(const QString& text, const QColor& colour, const QColor& background) {
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsEnabled);
    item->setForeground(colour);
    item->setBackground(background);
    return item;
}

// What a row's button will do, for its tool tip.
QString actionText(int kind, SyncDirection direction) {
    switch (direction) {
    case SyncDirection::None:
        return QStringLiteral(
            "No action. Click to choose one; a right click sets a whole block of like rows.");
    case SyncDirection::ToSql:
        return kind == 1   ? QStringLiteral("Drop the object from the database")
               : kind == 2 ? QStringLiteral("Create the object in the database")
                           : QStringLiteral("The database takes the text of the version store");
    case SyncDirection::ToVss:
        break;
    }
    return kind == 1   ? QStringLiteral("Add the object to the version store")
           : kind == 2 ? QStringLiteral("Remove the object from the version store")
                       : QStringLiteral("The version store takes the text of the database");
}

// The row's object as the actions find it again: by tag and key, with the kind of the row.
SyncDifference differenceOf(const SyncActionRow& row) {
    SyncDifference difference;
    difference.DBID = row.Key;
    difference.ObjectType = row.Tag;
    difference.InSQL = row.Kind != 2;
    difference.InVSS = row.Kind != 1;
    difference.TextsDiffer = row.Kind == 3;
    difference.DisplayName = row.Name;
    difference.ObjectDisplayName = row.TypeName;
    return difference;
}

} // namespace

frmSyncResults::frmSyncResults(QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Synchronization Results"));
    setModal(true);

    mlvwResults = new QTableWidget(0, 5, this);
    mlvwResults->setObjectName(QStringLiteral("lvwResults"));
    mlvwResults->setEditTriggers(QAbstractItemView::NoEditTriggers);
    mlvwResults->setSelectionMode(QAbstractItemView::NoSelection);
    mlvwResults->setShowGrid(false);
    mlvwResults->setWordWrap(false);
    mlvwResults->verticalHeader()->hide();
    mlvwResults->verticalHeader()->setMinimumSectionSize(kRowHeight);
    mlvwResults->verticalHeader()->setDefaultSectionSize(kRowHeight);
    mlvwResults->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    mlvwResults->setItemDelegateForColumn(button, new ActionButtonDelegate(mlvwResults));
    QHeaderView* header = mlvwResults->horizontalHeader();
    header->setHighlightSections(false);
    header->setStretchLastSection(true);
    mlvwResults->setColumnWidth(objSQL, 200);
    mlvwResults->setColumnWidth(objSQLType, 100);
    mlvwResults->setColumnWidth(button, SyncPictures::ActionSize.width());
    mlvwResults->setColumnWidth(objVSS, 200);
    mlvwResults->setColumnWidth(objVSSType, 100);
    header->setSectionResizeMode(button, QHeaderView::Fixed);
    mlvwResults->viewport()->installEventFilter(this);
    mlvwResults->installEventFilter(this);

    mactShowDifferences = new QAction(QStringLiteral("Show Differences..."), this);
    mactShowDifferences->setObjectName(QStringLiteral("actShowDifferences"));
    connect(mactShowDifferences, &QAction::triggered, this,
            [this] { ShowDifferences(mlvwResults->currentRow()); });

    mcmdInSQL = new QPushButton(QStringLiteral("< Make all changes in SQL"), this);
    mcmdInSQL->setObjectName(QStringLiteral("cmdInSQL"));
    mcmdInVSS = new QPushButton(QStringLiteral("Make all changes in VSS >"), this);
    mcmdInVSS->setObjectName(QStringLiteral("cmdInVSS"));
    mcmdApply = new QPushButton(QStringLiteral("Apply the specified Changes"), this);
    mcmdApply->setObjectName(QStringLiteral("cmdApply"));
    mcmdClose = new QPushButton(QStringLiteral("Close"), this);
    mcmdClose->setObjectName(QStringLiteral("cmdClose"));
    for (QPushButton* command : {mcmdInSQL, mcmdInVSS, mcmdApply, mcmdClose})
        command->setAutoDefault(false);
    mpbrSync = new QProgressBar(this);
    mpbrSync->setObjectName(QStringLiteral("pbrSync"));
    mpbrSync->hide();

    auto* commands = new QHBoxLayout;
    commands->addWidget(mcmdInSQL);
    commands->addWidget(mcmdInVSS);
    commands->addStretch(1);
    commands->addWidget(mpbrSync, 2);
    commands->addWidget(mcmdApply);
    commands->addWidget(mcmdClose);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mlvwResults, 1);
    layout->addLayout(commands);

    connect(mcmdInSQL, &QPushButton::clicked, this, [this] {
        mDisplay.SetAllDirections(SyncDirection::ToSql);
        ShowRows();
    });
    connect(mcmdInVSS, &QPushButton::clicked, this, [this] {
        mDisplay.SetAllDirections(SyncDirection::ToVss);
        ShowRows();
    });
    connect(mcmdApply, &QPushButton::clicked, this, [this] { cmdApply_Click(); });
    connect(mcmdClose, &QPushButton::clicked, this, [this] { close(); });
    resize(200 + 100 + 66 + 200 + 100 + 60, 420);
}

frmSyncResults::~frmSyncResults() = default;

bool frmSyncResults::ShowSyncProblems(TARMODatabaseObjects& sdbCurrent,
                                      const QList<SyncDifference>& arrResults) {
    Load(sdbCurrent, arrResults);
    exec();
    return mbChangesMade;
}

void frmSyncResults::Load(TARMODatabaseObjects& sdbCurrent, const QList<SyncDifference>& arrResults) {
    msdbCurrent = &sdbCurrent;
    mbChangesMade = false;
    const TARMOProject* project = sdbCurrent.Project();
    const QString database = project ? project->SQL().Database() : QString();
    const QString storeProject = project ? project->VSS().Project() : QString();
    mlvwResults->setHorizontalHeaderLabels(
        {QStringLiteral("Objects in '") + database + QStringLiteral("' Database"),
         QStringLiteral("Objects Type"), QString(),
         QStringLiteral("Objects in VSS Project '") + storeProject + QLatin1Char('\''),
         QStringLiteral("Objects Type")});

    mDisplay.Clear();
    for (const SyncDifference& found : arrResults) {
        const int kind = !found.InVSS ? 1 : !found.InSQL ? 2 : 3;
        mDisplay.AddRow(found.DBID, found.ObjectType, kind, found.DisplayName, found.ObjectDisplayName);
    }
    mDisplay.Rebuild();
    ShowRows();
}

// Copies the rows of the display into the table: texts, colours and the button pictures.
void frmSyncResults::ShowRows() {
    mlvwResults->setUpdatesEnabled(false);
    mlvwResults->setRowCount(mDisplay.Count());
    for (int i = 0; i < mDisplay.Count(); ++i) {
        const SyncActionRow& row = mDisplay.Row(i);
        const QColor& left = SyncActionDisplay::SQLBackground;
        const QColor& right = SyncActionDisplay::VSSBackground;
        mlvwResults->setItem(i, objSQL, cell(row.SQLName, row.SQLColour, left));
        mlvwResults->setItem(i, objSQLType, cell(row.SQLType, row.SQLColour, left));
        mlvwResults->setItem(i, objVSS, cell(row.VSSName, row.VSSColour, right));
        mlvwResults->setItem(i, objVSSType, cell(row.VSSType, row.VSSColour, right));
        auto* picture = new QTableWidgetItem;
        picture->setFlags(Qt::ItemIsEnabled);
        picture->setData(IconKeyRole, row.IconKey);
        picture->setToolTip(actionText(row.Kind, row.Direction));
        mlvwResults->setItem(i, button, picture);
    }
    mlvwResults->setUpdatesEnabled(true);
}

void frmSyncResults::ButtonClicked(int row, bool rightButton) {
    if (row < 0 || row >= mDisplay.Count() || !mcmdApply->isVisible())
        return;
    if (rightButton)
        mDisplay.RightClick(row);
    else
        mDisplay.LeftClick(row);
    ShowRows();
}

// From the last row to the first, so that removing a row leaves the numbers of the rows not yet
// reached as they were. A failure has been told by the object; its row stays with its direction.
void frmSyncResults::cmdApply_Click() {
    if (!msdbCurrent || mDisplay.Count() == 0)
        return;
    {
        BusyCursor busy;
        const int count = mDisplay.Count();
        mpbrSync->setRange(0, count);
        mpbrSync->setValue(0);
        mpbrSync->setFormat(QStringLiteral("0%"));
        mpbrSync->show();
        mcmdApply->hide();
        mcmdClose->hide();
        repaint();
        mlvwResults->setUpdatesEnabled(false);
        for (int i = count - 1; i >= 0; --i) {
            const SyncActionRow row = mDisplay.Row(i);
            if (row.Direction != SyncDirection::None) {
                bool done = false;
                try {
                    done = ApplySyncAction(*msdbCurrent, differenceOf(row), row.Direction);
                } catch (const TARMOError& error) {
                    MsgBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
                           QStringLiteral("Synchronization of ") + row.Name + QStringLiteral(" Failed"));
                }
                if (done) {
                    mbChangesMade = true;
                    mDisplay.RemoveRow(i);
                    mlvwResults->removeRow(i);
                }
            }
            mpbrSync->setValue(mpbrSync->value() + 1);
            mpbrSync->setFormat(QString::number(mpbrSync->value() * 100 / count) + QLatin1Char('%'));
            mpbrSync->repaint();
        }
        mpbrSync->hide();
        mcmdApply->show();
        mcmdClose->show();
        mDisplay.Rebuild();
        ShowRows();
        mlvwResults->setUpdatesEnabled(true);
    }
    if (mDisplay.Count() == 0) {
        MsgBox(QStringLiteral("Everything is now in Sync."), Prompt::Buttons::OK, Prompt::Icon::Information,
               QStringLiteral("In Sync"));
        close();
    }
}

void frmSyncResults::ShowDifferences(int row) {
    if (!msdbCurrent || row < 0 || row >= mDisplay.Count() || mDisplay.Row(row).Kind != 3)
        return;
    const SyncActionRow& found = mDisplay.Row(row);
    QString sqlText, storeText;
    try {
        BusyCursor busy;
        const std::shared_ptr<TARMOObjectVSS> object =
            msdbCurrent->GetObject(found.Tag, found.Key).Versioned();
        if (!object)
            return;
        sqlText = object->GetContent(StoreLocation::SqlServer);
        storeText = object->GetContent(StoreLocation::VersionStore, -1);
    } catch (const TARMOError& error) {
        MsgBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
               QStringLiteral("Could not read the Texts of ") + found.Name);
        return;
    }
    const TARMOProject* project = msdbCurrent->Project();
    auto* view = new frmSyncDifference(this);
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->ShowTexts(found.Name + QStringLiteral(" (") + found.TypeName + QLatin1Char(')'),
                    QStringLiteral("Database '") + (project ? project->SQL().Database() : QString()) +
                        QLatin1Char('\''),
                    sqlText, QStringLiteral("VSS, latest version"), storeText);
    view->show();
}

void frmSyncResults::ShowContextMenu(const QPoint& position) {
    const int row = mlvwResults->rowAt(position.y());
    if (row < 0)
        return;
    mlvwResults->setCurrentCell(row, mlvwResults->columnAt(position.x()));
    mactShowDifferences->setEnabled(mDisplay.Row(row).Kind == 3);
    QMenu menu(this);
    menu.addAction(mactShowDifferences);
    menu.exec(mlvwResults->viewport()->mapToGlobal(position));
}

void frmSyncResults::reject() {
    if (!mcmdClose->isVisible())
        return;
    if (mDisplay.Count() > 0 &&
        MsgBox(QStringLiteral(
                   "There are still items that are not in Sync!\n\nAre you sure you want to close the "
                   "Synchronization Results now?"),
               Prompt::Buttons::YesNo, Prompt::Icon::Question,
               QStringLiteral("Close Synchronization Results?")) != Prompt::Answer::Yes)
        return;
    QDialog::reject();
}

void frmSyncResults::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp(this, HelpId(HelpTopic::Synchronization));
        return;
    }
    QDialog::keyPressEvent(event);
}

// The button cell answers both mouse buttons; a right click elsewhere offers the difference view.
// From the keyboard, Space is the left button on the current row's button and Shift+Space the right.
bool frmSyncResults::eventFilter(QObject* watched, QEvent* event) {
    if (watched == mlvwResults && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() != Qt::Key_Space)
            return QDialog::eventFilter(watched, event);
        ButtonClicked(mlvwResults->currentRow(), key->modifiers() & Qt::ShiftModifier);
        return true;
    }
    if (watched != mlvwResults->viewport())
        return QDialog::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        const QPoint at = mouse->position().toPoint();
        if (mlvwResults->columnAt(at.x()) != button)
            break;
        if (mouse->button() == Qt::LeftButton || mouse->button() == Qt::RightButton)
            ButtonClicked(mlvwResults->rowAt(at.y()), mouse->button() == Qt::RightButton);
        return true;
    }
    case QEvent::MouseButtonDblClick: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        const QPoint at = mouse->position().toPoint();
        // A quick second click on the button is one more click, not an opening.
        if (mlvwResults->columnAt(at.x()) == button)
            ButtonClicked(mlvwResults->rowAt(at.y()), mouse->button() == Qt::RightButton);
        else if (mouse->button() == Qt::LeftButton)
            ShowDifferences(mlvwResults->rowAt(at.y()));
        return true;
    }
    case QEvent::ContextMenu: {
        const QPoint at = static_cast<QContextMenuEvent*>(event)->pos();
        if (mlvwResults->columnAt(at.x()) != button)
            ShowContextMenu(at);
        return true;
    }
    default:
        break;
    }
    return QDialog::eventFilter(watched, event);
}
