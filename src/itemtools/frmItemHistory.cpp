#include "frmItemHistory.h"

#include "HelpTopics.h"
#include "TARMOError.h"
#include "TARMOObjectVSS.h"
#include "UserPrompts.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// The list's widths are given in twips; the screen has 96 dots to the inch.
int twips(int value) {
    return value / 15;
}

// The pictures of the panel, drawn so that no image files are needed: a tag for the labels, a cross
// for closing, an arrow turning back for the rollback.
QIcon historyIcon(const QString& key) {
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    if (key == QLatin1String("LABEL")) {
        QPainterPath tag;
        tag.moveTo(1.5, 5.5);
        tag.lineTo(9.5, 5.5);
        tag.lineTo(14.5, 8.5);
        tag.lineTo(9.5, 11.5);
        tag.lineTo(1.5, 11.5);
        tag.closeSubpath();
        painter.setPen(QPen(QColor(120, 90, 0), 1));
        painter.setBrush(QColor(250, 210, 70));
        painter.drawPath(tag);
        painter.setBrush(Qt::white);
        painter.drawEllipse(QPointF(10.5, 8.5), 1.2, 1.2);
    } else if (key == QLatin1String("CLOSE")) {
        painter.setPen(QPen(QColor(190, 30, 30), 2.2, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(4, 4), QPointF(12, 12));
        painter.drawLine(QPointF(12, 4), QPointF(4, 12));
    } else if (key == QLatin1String("ROLLBACK")) {
        painter.setPen(QPen(QColor(30, 90, 170), 2, Qt::SolidLine, Qt::RoundCap));
        painter.setBrush(Qt::NoBrush);
        painter.drawArc(QRectF(4, 3, 9, 9), -90 * 16, 270 * 16);
        painter.setBrush(QColor(30, 90, 170));
        painter.setPen(Qt::NoPen);
        QPolygonF head;
        head << QPointF(1, 12) << QPointF(6, 9) << QPointF(6, 15);
        head.translate(2.5, 0);
        painter.drawPolygon(head);
    }
    return QIcon(pixmap);
}

QToolButton* newCommand(QWidget* parent, const QString& key, const QString& text, const QString& tip) {
    auto* button = new QToolButton(parent);
    button->setObjectName(key);
    button->setText(text);
    button->setToolTip(tip);
    button->setIcon(historyIcon(key.toUpper()));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return button;
}

constexpr int kIndexRole = Qt::UserRole;
constexpr int kKeyRole = Qt::UserRole + 1;

} // namespace

frmItemHistory::frmItemHistory(QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("History"));
    setModal(true);

    mlvwHistory = new QTreeWidget(this);
    mlvwHistory->setObjectName(QStringLiteral("lvwHistory"));
    mlvwHistory->setRootIsDecorated(false);
    mlvwHistory->setUniformRowHeights(true);
    mlvwHistory->setSelectionMode(QAbstractItemView::SingleSelection);
    mlvwHistory->setAllColumnsShowFocus(true);
    mlvwHistory->setHeaderLabels({QStringLiteral("Version"), QStringLiteral("User"), QStringLiteral("Action"),
                                  QStringLiteral("Date"), QStringLiteral("Comment")});
    const int widths[] = {705, 1400, 2475, 2000, 3825};
    for (int column = 0; column < 5; ++column)
        mlvwHistory->setColumnWidth(column, twips(widths[column]));
    mlvwHistory->header()->setStretchLastSection(true);

    mebcHistory = new QWidget(this);
    mebcHistory->setObjectName(QStringLiteral("ebcHistory"));
    mebcHistory->setFixedWidth(210);
    mPanelLayout = new QVBoxLayout(mebcHistory);
    mPanelLayout->setContentsMargins(0, 0, 0, 0);
    mgrpTools = new QGroupBox(QStringLiteral("Options"), mebcHistory);
    mgrpTools->setObjectName(QStringLiteral("Tools"));
    mToolsLayout = new QVBoxLayout(mgrpTools);
    mToolsLayout->setSpacing(2);
    mcmdLabel = newCommand(mgrpTools, QStringLiteral("Label"), QString(), QStringLiteral("Labels"));
    mcmdClose = newCommand(mgrpTools, QStringLiteral("Close"), QStringLiteral("Close"),
                           QStringLiteral("Close history window"));
    mToolsLayout->addWidget(mcmdLabel);
    mToolsLayout->addWidget(mcmdClose);
    mPanelLayout->addWidget(mgrpTools);
    mPanelLayout->addStretch(1);
    connect(mcmdLabel, &QToolButton::clicked, this, [this] { RunCommand(QStringLiteral("Label")); });
    connect(mcmdClose, &QToolButton::clicked, this, [this] { RunCommand(QStringLiteral("Close")); });

    auto* layout = new QHBoxLayout(this);
    layout->addWidget(mlvwHistory, 1);
    layout->addWidget(mebcHistory);

    connect(mlvwHistory, &QTreeWidget::currentItemChanged, this, [this] {
        if (!mbFilling)
            UpdatePanel();
    });
    connect(mlvwHistory, &QTreeWidget::itemClicked, this, [this] { UpdatePanel(); });
    resize(twips(705 + 1400 + 2475 + 2000 + 3825) + 240, 380);
}

bool frmItemHistory::ShowHistory(TARMOObjectVSS& historyObject) {
    Load(historyObject);
    exec();
    return mbRolledBack;
}

void frmItemHistory::Load(TARMOObjectVSS& historyObject) {
    mobjHistory = &historyObject;
    mbRolledBack = false;
    setWindowTitle(QStringLiteral("History of [") + historyObject.Owner() + QStringLiteral("].[") +
                   historyObject.Name() + QLatin1Char(']'));
    FillList();
}

QToolButton* frmItemHistory::Command(const QString& strKey) const {
    const QString key = strKey.toLower();
    if (key == QLatin1String("label"))
        return mcmdLabel;
    if (key == QLatin1String("close"))
        return mcmdClose;
    if (key == QLatin1String("rollback"))
        return mcmdRollback;
    return nullptr;
}

QString frmItemHistory::rowKey(const TARMOHistoryData& entry) {
    return QStringLiteral("I_") + QString::number(entry.VersionNumber()) +
           (entry.IsLabel() ? QStringLiteral("True") : QStringLiteral("False"));
}

void frmItemHistory::FillList() {
    QString remembered;
    if (QTreeWidgetItem* current = mlvwHistory->currentItem())
        remembered = current->data(0, kKeyRole).toString();
    mbFilling = true;
    mlvwHistory->clear();
    marrHistory.clear();
    if (mobjHistory) {
        try {
            marrHistory = mobjHistory->History();
        } catch (const TARMOError& error) {
            MsgBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
                   QStringLiteral("Could not read History"));
        }
    }
    QTreeWidgetItem* reselect = nullptr;
    // Element 0 of the history stays empty.
    for (int index = 1; index < marrHistory.size(); ++index) {
        const TARMOHistoryData& entry = marrHistory[index];
        if (entry.IsLabel() && !mbShowLabels)
            continue;
        auto* row = new QTreeWidgetItem(mlvwHistory);
        const QString key = rowKey(entry);
        row->setData(0, kKeyRole, key);
        row->setData(0, kIndexRole, index);
        if (entry.IsLabel())
            row->setIcon(0, historyIcon(QStringLiteral("LABEL")));
        else
            row->setText(0, QString::number(entry.VersionNumber()));
        row->setText(1, entry.UserName());
        row->setText(2, entry.Action());
        row->setText(3, entry.VersionDate());
        row->setText(4, entry.Comment());
        if (!remembered.isEmpty() && key == remembered && !reselect)
            reselect = row;
    }
    mcmdLabel->setText((mbShowLabels ? QStringLiteral("Hide") : QStringLiteral("Show")) +
                       QStringLiteral(" labeled versions"));
    if (!reselect && mlvwHistory->topLevelItemCount() > 0)
        reselect = mlvwHistory->topLevelItem(0);
    if (reselect)
        mlvwHistory->setCurrentItem(reselect);
    mbFilling = false;
    fitColumnsToTexts();
    UpdatePanel();
    if (reselect)
        mlvwHistory->scrollToItem(reselect);
}

void frmItemHistory::fitColumnsToTexts() {
    // The comment column takes what is left; the others show their texts whole (the date with its
    // time), however the user's locale writes them.
    for (int column = 0; column < 4; ++column) {
        const int given = mlvwHistory->columnWidth(column);
        mlvwHistory->resizeColumnToContents(column);
        const int needed = mlvwHistory->columnWidth(column) + mlvwHistory->fontMetrics().averageCharWidth();
        mlvwHistory->setColumnWidth(column, std::max(given, needed));
    }
}

void frmItemHistory::UpdatePanel() {
    QTreeWidgetItem* row = mlvwHistory->currentItem();
    const TARMOHistoryData* entry = nullptr;
    if (row) {
        const int index = row->data(0, kIndexRole).toInt();
        if (index >= 1 && index < marrHistory.size())
            entry = &marrHistory[index];
    }
    const bool first = row && mlvwHistory->indexOfTopLevelItem(row) == 0;
    setRollbackOffered(entry && !first && !entry->IsLabel());

    if (entry && entry->IsLabel())
        showComment(QStringLiteral("Label Comment"), entry->LabelComment());
    else
        showComment(QStringLiteral("Comment"), entry ? entry->Comment() : QString());
}

void frmItemHistory::setRollbackOffered(bool offered) {
    if (offered && !mcmdRollback) {
        mcmdRollback = newCommand(mgrpTools, QStringLiteral("Rollback"), QStringLiteral("Rollback"),
                                  QStringLiteral("Rollback to selected object"));
        mToolsLayout->addWidget(mcmdRollback);
        // A child added to a window on the screen must be shown; one added before the window is shown
        // comes up with it, and hiding it now would keep it hidden then.
        if (isVisible())
            mcmdRollback->show();
        connect(mcmdRollback, &QToolButton::clicked, this,
                [this] { RunCommand(QStringLiteral("Rollback")); });
    } else if (!offered && mcmdRollback) {
        // The button may be the one whose click got us here, so it goes once the click is over.
        mToolsLayout->removeWidget(mcmdRollback);
        mcmdRollback->hide();
        mcmdRollback->deleteLater();
        mcmdRollback = nullptr;
    }
}

void frmItemHistory::showComment(const QString& heading, const QString& comment) {
    if (comment.isEmpty()) {
        if (mgrpComment) {
            mPanelLayout->removeWidget(mgrpComment);
            mgrpComment->hide();
            mgrpComment->deleteLater();
            mgrpComment = nullptr;
            mtxtComment = nullptr;
        }
        return;
    }
    if (!mgrpComment) {
        mgrpComment = new QGroupBox(mebcHistory);
        mgrpComment->setObjectName(QStringLiteral("Comment"));
        mgrpComment->setCheckable(true);
        mgrpComment->setChecked(mlngCommentBarState != 0);
        auto* layout = new QVBoxLayout(mgrpComment);
        mtxtComment = new QPlainTextEdit(mgrpComment);
        mtxtComment->setObjectName(QStringLiteral("CommentText"));
        mtxtComment->setReadOnly(true);
        mtxtComment->setVisible(mlngCommentBarState != 0);
        layout->addWidget(mtxtComment);
        // The group folds rather than greys out: its check box is the fold of the bar.
        connect(mgrpComment, &QGroupBox::toggled, this, [this](bool open) {
            mlngCommentBarState = open ? 1 : 0;
            if (mtxtComment) {
                mtxtComment->setEnabled(true);
                mtxtComment->setVisible(open);
            }
        });
        mPanelLayout->insertWidget(1, mgrpComment, 1);
        if (isVisible())
            mgrpComment->show();
    }
    mgrpComment->setTitle(heading);
    mtxtComment->setPlainText(comment);
}

void frmItemHistory::RunCommand(const QString& strKey) {
    BusyCursor busy;
    const QString key = strKey.toLower();
    if (key == QLatin1String("rollback")) {
        Rollback();
    } else if (key == QLatin1String("label")) {
        mbShowLabels = !mbShowLabels;
        FillList();
    } else if (key == QLatin1String("close")) {
        close();
    }
}

void frmItemHistory::Rollback() {
    QTreeWidgetItem* row = mlvwHistory->currentItem();
    if (mlvwHistory->topLevelItemCount() == 0 || !row || !mobjHistory)
        return;
    if (mlvwHistory->indexOfTopLevelItem(row) == 0) {
        MsgBox(QStringLiteral("Cannot Rollback to the current version!"), Prompt::Buttons::OK,
               Prompt::Icon::Information, QStringLiteral("Cannot Rollback"));
        return;
    }
    if (MsgBox(QStringLiteral("Are you sure that you would like to Rollback to Version ") + row->text(0) +
                   QLatin1Char('?'),
               Prompt::Buttons::YesNo, Prompt::Icon::Question,
               QStringLiteral("Are you sure?")) != Prompt::Answer::Yes)
        return;
    BusyCursor busy;
    const long version = marrHistory[row->data(0, kIndexRole).toInt()].VersionNumber();
    bool done = false;
    try {
        done = mobjHistory->Rollback(version);
    } catch (const TARMOError& error) {
        // A refused ALTER of a version under the same name comes up to here.
        MsgBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
               QStringLiteral("Could not Rollback Item"));
    }
    if (done) {
        FillList();
        mbRolledBack = true;
        MsgBox(QStringLiteral("Rollback was successful!"), Prompt::Buttons::OK, Prompt::Icon::Information,
               QStringLiteral("Rollback Successful"));
    }
}

void frmItemHistory::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp(this, HelpId(HelpTopic::History));
        return;
    }
    QDialog::keyPressEvent(event);
}
