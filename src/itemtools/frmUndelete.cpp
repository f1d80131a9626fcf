#include "frmUndelete.h"

#include "HelpTopics.h"
#include "TARMODBTItems.h"
#include "TARMODatabaseObjects.h"
#include "TARMOError.h"
#include "UserPrompts.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int kKeyRole = Qt::UserRole;
constexpr int kTagRole = Qt::UserRole + 1;

QString wasOrWere(long count) {
    return count == 1 ? QStringLiteral(" was") : QStringLiteral(" were");
}

} // namespace

frmUndelete::frmUndelete(QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Select Items to be Undeleted"));
    setModal(true);

    mlvwDeletedItems = new QTreeWidget(this);
    mlvwDeletedItems->setObjectName(QStringLiteral("lvwDeletedItems"));
    mlvwDeletedItems->setRootIsDecorated(false);
    mlvwDeletedItems->setUniformRowHeights(true);
    mlvwDeletedItems->setAllColumnsShowFocus(true);
    mlvwDeletedItems->setHeaderLabels({QStringLiteral("Item Name"), QStringLiteral("Item Type")});
    // Twips at 96 dots to the inch.
    mlvwDeletedItems->setColumnWidth(0, 4770 / 15);
    mlvwDeletedItems->setColumnWidth(1, 2000 / 15);

    mcmdUndelete = new QPushButton(QStringLiteral("&Undelete Selection"), this);
    mcmdUndelete->setObjectName(QStringLiteral("cmdUndelete"));
    mcmdClose = new QPushButton(QStringLiteral("Close"), this);
    mcmdClose->setObjectName(QStringLiteral("cmdClose"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mcmdUndelete);
    buttons->addWidget(mcmdClose);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mlvwDeletedItems, 1);
    layout->addLayout(buttons);

    connect(mcmdUndelete, &QPushButton::clicked, this, [this] { cmdUndelete_Click(); });
    connect(mcmdClose, &QPushButton::clicked, this, [this] { close(); });
    resize((4770 + 2000) / 15 + 40, 360);
}

bool frmUndelete::ShowDeletedItems(TARMODatabaseObjects& sdbCurrent) {
    Load(sdbCurrent);
    exec();
    return mbResult;
}

void frmUndelete::Load(TARMODatabaseObjects& sdbCurrent) {
    msdbCurrent = &sdbCurrent;
    mbResult = false;
    BusyCursor busy;
    FillList();
}

void frmUndelete::FillList() {
    mlvwDeletedItems->clear();
    if (!msdbCurrent)
        return;
    QList<std::shared_ptr<TARMODBTItems>> groups;
    try {
        groups = msdbCurrent->GetObjectsForUndeleteing(QString());
    } catch (const TARMOError& error) {
        MsgBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
               QStringLiteral("Could not read Deleted Items"));
        return;
    }
    for (const auto& group : groups) {
        if (!group || group->Count() == 0)
            continue;
        const QString typeText = msdbCurrent->GetObjectSubDisplayName(group->Item(1).Tag);
        group->ForEach([&](const TARMODBTItem& item) {
            auto* row = new QTreeWidgetItem(mlvwDeletedItems);
            row->setText(0, item.Text);
            row->setText(1, typeText);
            row->setToolTip(0, item.ToolTipText());
            row->setData(0, kKeyRole, item.Key);
            row->setData(0, kTagRole, item.Tag);
            row->setFlags(row->flags() | Qt::ItemIsUserCheckable);
            row->setCheckState(0, Qt::Unchecked);
        });
    }
}

QList<const QTreeWidgetItem*> frmUndelete::rowsToUndelete() const {
    QList<const QTreeWidgetItem*> rows;
    for (int i = 0; i < mlvwDeletedItems->topLevelItemCount(); ++i)
        if (mlvwDeletedItems->topLevelItem(i)->checkState(0) == Qt::Checked)
            rows << mlvwDeletedItems->topLevelItem(i);
    // A user who highlights a row and presses the button means that row, ticked or not.
    if (rows.isEmpty())
        for (const QTreeWidgetItem* row : mlvwDeletedItems->selectedItems())
            rows << row;
    return rows;
}

void frmUndelete::cmdUndelete_Click() {
    if (!msdbCurrent)
        return;
    const QList<const QTreeWidgetItem*> rows = rowsToUndelete();
    if (rows.isEmpty()) {
        MsgBox(QStringLiteral("No object is selected. Tick the objects to undelete, or select one."),
               Prompt::Buttons::OK, Prompt::Icon::Information, QStringLiteral("Nothing to Undelete"));
        return;
    }
    BusyCursor busy;
    long successes = 0;
    long failures = 0;
    for (const QTreeWidgetItem* row : rows) {
        bool done = false;
        try {
            done = msdbCurrent->UnDeleteObject(row->data(0, kTagRole).toString(),
                                               row->data(0, kKeyRole).toString());
        } catch (const TARMOError& error) {
            MsgBox(error.Description(), Prompt::Buttons::OK, Prompt::Icon::Critical,
                   QStringLiteral("Could not Undelete Item"));
        }
        if (done) {
            ++successes;
            mbResult = true;
        } else {
            ++failures;
        }
    }
    const long total = successes + failures;
    if (total > 0) {
        if (failures == 0) {
            MsgBox(QStringLiteral("All selected objects have been successfully undeleted."),
                   Prompt::Buttons::OK, Prompt::Icon::Information, QStringLiteral("Undeletion Successful"));
        } else if (successes == 0) {
            MsgBox(QStringLiteral("Non of the selected objects could be successfully undeleted!"),
                   Prompt::Buttons::OK, Prompt::Icon::Critical, QStringLiteral("Undeletion Unsuccessful"));
        } else {
            MsgBox(QStringLiteral("Not all selected objects could be successfully undeleted! Of the ") +
                       QString::number(total) + QStringLiteral(" selected objects, ") +
                       QString::number(successes) + wasOrWere(successes) +
                       QStringLiteral(" successfully undeleted and ") + QString::number(failures) +
                       wasOrWere(failures) + QStringLiteral(" could not be undeleted!"),
                   Prompt::Buttons::OK, Prompt::Icon::Exclamation,
                   QStringLiteral("Undeletion Partly Successful"));
        }
        FillList();
    }
}

void frmUndelete::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp(this, HelpId(HelpTopic::Undelete));
        return;
    }
    QDialog::keyPressEvent(event);
}
