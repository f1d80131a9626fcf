#include "FindReplaceDialog.h"

#include "SqlEditControl.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

FindReplaceDialog::FindReplaceDialog(SqlEditControl& editor, QWidget* parent)
    : QDialog(parent)
    , mEditor(editor)
    , mtxtFind(new QLineEdit)
    , mtxtReplace(new QLineEdit)
    , mlblReplace(new QLabel(QStringLiteral("Re&place with:")))
    , mchkMatchCase(new QCheckBox(QStringLiteral("Match &case")))
    , mchkWholeWord(new QCheckBox(QStringLiteral("Match &whole word only")))
    , moptUp(new QRadioButton(QStringLiteral("&Up")))
    , mcmdFindNext(new QPushButton(QStringLiteral("&Find Next")))
    , mcmdReplace(new QPushButton(QStringLiteral("&Replace")))
    , mcmdReplaceAll(new QPushButton(QStringLiteral("Replace &All")))
    , mlblResult(new QLabel) {
    setObjectName(QStringLiteral("frmFindReplace"));
    setModal(false);
    auto* findLabel = new QLabel(QStringLiteral("Fi&nd what:"));
    findLabel->setBuddy(mtxtFind);
    mlblReplace->setBuddy(mtxtReplace);
    auto* down = new QRadioButton(QStringLiteral("&Down"));
    down->setChecked(true);
    auto* direction = new QGroupBox(QStringLiteral("Direction"));
    auto* directionLayout = new QHBoxLayout(direction);
    directionLayout->addWidget(moptUp);
    directionLayout->addWidget(down);
    auto* close = new QPushButton(QStringLiteral("Close"));

    auto* layout = new QGridLayout(this);
    layout->addWidget(findLabel, 0, 0);
    layout->addWidget(mtxtFind, 0, 1);
    layout->addWidget(mlblReplace, 1, 0);
    layout->addWidget(mtxtReplace, 1, 1);
    layout->addWidget(mchkMatchCase, 2, 0, 1, 2);
    layout->addWidget(mchkWholeWord, 3, 0, 1, 2);
    layout->addWidget(direction, 4, 0, 1, 2);
    layout->addWidget(mlblResult, 5, 0, 1, 2);
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(mcmdFindNext);
    buttons->addWidget(mcmdReplace);
    buttons->addWidget(mcmdReplaceAll);
    buttons->addStretch();
    buttons->addWidget(close);
    layout->addLayout(buttons, 0, 2, 6, 1);
    mcmdFindNext->setDefault(true);

    connect(mcmdFindNext, &QPushButton::clicked, this, &FindReplaceDialog::findNext);
    connect(mcmdReplace, &QPushButton::clicked, this, &FindReplaceDialog::replaceNext);
    connect(mcmdReplaceAll, &QPushButton::clicked, this, &FindReplaceDialog::replaceAll);
    connect(close, &QPushButton::clicked, this, &QDialog::hide);
}

void FindReplaceDialog::Open(bool bReplace, const QString& searchText) {
    setWindowTitle(bReplace ? QStringLiteral("Replace") : QStringLiteral("Find"));
    for (QWidget* w : {static_cast<QWidget*>(mtxtReplace), static_cast<QWidget*>(mlblReplace),
                       static_cast<QWidget*>(mcmdReplace), static_cast<QWidget*>(mcmdReplaceAll)})
        w->setVisible(bReplace);
    const auto& last = mEditor.LastSearch();
    mchkMatchCase->setChecked(last.MatchCase);
    mchkWholeWord->setChecked(last.WholeWord);
    if (!searchText.contains(QLatin1Char('\n')))
        mtxtFind->setText(searchText);
    mlblResult->clear();
    show();
    raise();
    mtxtFind->setFocus();
    mtxtFind->selectAll();
}

void FindReplaceDialog::report(bool found) {
    mlblResult->setText(found ? QString() : QStringLiteral("Cannot find \"%1\".").arg(mtxtFind->text()));
}

void FindReplaceDialog::findNext() {
    report(mEditor.SearchFor({mtxtFind->text(), mchkMatchCase->isChecked(), mchkWholeWord->isChecked()},
                             !moptUp->isChecked()));
}

void FindReplaceDialog::replaceNext() {
    report(mEditor.ReplaceNext({mtxtFind->text(), mchkMatchCase->isChecked(), mchkWholeWord->isChecked()},
                               mtxtReplace->text()));
}

void FindReplaceDialog::replaceAll() {
    const int count = mEditor.ReplaceAll(
        {mtxtFind->text(), mchkMatchCase->isChecked(), mchkWholeWord->isChecked()}, mtxtReplace->text());
    mlblResult->setText(QStringLiteral("%1 replaced.").arg(count));
}
