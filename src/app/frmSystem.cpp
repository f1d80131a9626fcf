#include "frmSystem.h"

#include "GuiHelpers.h"
#include "ScreenMetrics.h"
#include "UserPrompts.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

frmSystem::frmSystem(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmSystem"));
    setWindowTitle(QStringLiteral("System Requirements not met!"));
    auto* text =
        new QLabel(QStringLiteral("Your system does not meet all the requirements! Please ensure that you "
                                  "have the required components installed before using TARMO."));
    text->setWordWrap(true);
    mlvwError = new QTreeWidget;
    mlvwError->setObjectName(QStringLiteral("lvwError"));
    mlvwError->setRootIsDecorated(false);
    mlvwError->setHeaderLabels(
        {QStringLiteral("Missing Component"), QStringLiteral("Min Version Required"), QStringLiteral("URL")});
    mcmdContinue = new QPushButton(QStringLiteral("Continue Anyway"));
    mcmdContinue->setObjectName(QStringLiteral("cmdContinue"));
    mcmdClose = new QPushButton(QStringLiteral("Close TARMO"));
    mcmdClose->setObjectName(QStringLiteral("cmdClose"));
    mcmdClose->setDefault(true);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mcmdContinue);
    buttons->addWidget(mcmdClose);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(mlvwError);
    layout->addLayout(buttons);

    resize(560, 300);

    connect(mcmdContinue, &QPushButton::clicked, this, &frmSystem::cmdContinue_Click);
    connect(mcmdClose, &QPushButton::clicked, this, &QDialog::reject);
    connect(mlvwError, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { lvwError_Click(item); });
}

bool frmSystem::PrepareList() {
    mMissing = SystemComponents::FindMissing();
    mbContinue = false;
    mlvwError->clear();
    const auto screen = ScreenMetrics::Current();
    const int widths[] = {1830, 1800, 3820};
    for (int c = 0; c < 3; ++c)
        mlvwError->setColumnWidth(c, static_cast<int>(widths[c] / screen.twipsPerPixelX));
    for (const auto& m : mMissing)
        mlvwError->addTopLevelItem(new QTreeWidgetItem(QStringList{m.component, m.minimumVersion, m.url}));
    return !mMissing.isEmpty();
}

bool frmSystem::SystemRequirementsOK() {
    if (!PrepareList())
        return true;
    exec();
    return mbContinue;
}

void frmSystem::cmdContinue_Click() {
    const auto answer = MsgBox(
        QStringLiteral("WARNING: If you continue, TARMO may crash at any time!\n\nAre you sure you wish to "
                       "continue?"),
        Prompt::Buttons::YesNo, Prompt::Icon::Exclamation, QStringLiteral("Continue Anyway?"));
    if (answer == Prompt::Answer::No)
        return;
    mbContinue = true;
    accept();
}

void frmSystem::lvwError_Click(QTreeWidgetItem* item) {
    if (item)
        OpenURL(this, item->text(2));
}
