#include "ScriptObjectChecklist.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>

namespace {

constexpr int NumberRole = Qt::UserRole;

QAction* menuEntry(QMenu* menu, const char* name, const QString& text) {
    QAction* action = menu->addAction(text);
    action->setObjectName(QString::fromLatin1(name));
    return action;
}

} // namespace

ScriptObjectChecklist::ScriptObjectChecklist(QWidget* parent)
    : QTreeWidget(parent) {
    setObjectName(QStringLiteral("lvwItems"));
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setTextElideMode(Qt::ElideMiddle);
    setHeaderLabels({QStringLiteral("Object Name"), QStringLiteral("Object Type")});
    header()->setStretchLastSection(true);
    header()->setSectionResizeMode(0, QHeaderView::Interactive);
    setColumnWidth(0, fontMetrics().horizontalAdvance(QLatin1Char('x')) * 40);

    mPopup = new QMenu(this);
    mmnuCheckAll = menuEntry(mPopup, "mnuCheckAll", QStringLiteral("&Check All"));
    mmnuCheckSelection = menuEntry(mPopup, "mnuCheckSelection", QStringLiteral("Ch&eck Selection"));
    mmnuUncheckSelection = menuEntry(mPopup, "mnuUncheckSelection", QStringLiteral("Uncheck &Selection"));
    mmnuUncheckAll = menuEntry(mPopup, "mnuUncheckAll", QStringLiteral("&Uncheck All"));
    connect(mmnuCheckAll, &QAction::triggered, this, [this] { CheckAll(true); });
    connect(mmnuCheckSelection, &QAction::triggered, this, [this] { CheckSelection(true); });
    connect(mmnuUncheckSelection, &QAction::triggered, this, [this] { CheckSelection(false); });
    connect(mmnuUncheckAll, &QAction::triggered, this, [this] { CheckAll(false); });
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) { mPopup->popup(viewport()->mapToGlobal(position)); });
}

void ScriptObjectChecklist::AddObject(int number, const QIcon& icon, const QString& text,
                                      const QString& typeText) {
    auto* row = new QTreeWidgetItem(this);
    row->setData(0, NumberRole, number);
    row->setIcon(0, icon);
    row->setText(0, text);
    row->setToolTip(0, text);
    row->setText(1, typeText);
    row->setFlags(row->flags() | Qt::ItemIsUserCheckable);
    row->setCheckState(0, Qt::Unchecked);
}

QList<int> ScriptObjectChecklist::CheckedNumbers() const {
    QList<int> numbers;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = topLevelItem(i);
        if (row->checkState(0) == Qt::Checked)
            numbers.append(row->data(0, NumberRole).toInt());
    }
    return numbers;
}

int ScriptObjectChecklist::CheckedCount() const {
    return static_cast<int>(CheckedNumbers().size());
}

void ScriptObjectChecklist::CheckAll(bool checked) {
    for (int i = 0; i < topLevelItemCount(); ++i)
        topLevelItem(i)->setCheckState(0, checked ? Qt::Checked : Qt::Unchecked);
}

void ScriptObjectChecklist::CheckSelection(bool checked) {
    for (QTreeWidgetItem* row : selectedItems())
        row->setCheckState(0, checked ? Qt::Checked : Qt::Unchecked);
}
