#include "frmEditObjectTextSavePrompt.h"

#include "HelpIntegration.h"
#include "TARMODatabase.h"
#include "UserPrompts.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QVBoxLayout>

namespace {
const char* actionCaption(long code) {
    switch (code) {
    case 1:
        return "&Check In";
    case 2:
        return "&Save Text";
    case 3:
        return "&Discard Changes";
    case 4:
        return "&Keep Checked Out and Discard Changes";
    case 5:
        return "&Undo Check Out";
    default:
        return "";
    }
}
} // namespace

frmEditObjectTextSavePrompt::frmEditObjectTextSavePrompt(QWidget* parent)
    : QDialog(parent)
    , mlblCaption(new QLabel(this))
    , mOptionsLayout(new QVBoxLayout)
    , mcmdOK(new QPushButton(QStringLiteral("OK"), this))
    , mcmdCancel(new QPushButton(QStringLiteral("Cancel"), this)) {
    setWindowTitle(QStringLiteral("Action to take ..."));
    setObjectName(QStringLiteral("frmEditObjectTextSavePrompt"));
    InstallHelpKey(this, HelpId(HelpTopic::ChangesMade));
    mlblCaption->setText(QStringLiteral(
        "Changes have been made do the object. Which of the following actions would you like to take?"));
    mlblCaption->setWordWrap(true);
    auto* imgQuestion = new QLabel(this);
    imgQuestion->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxQuestion).pixmap(32, 32));
    imgQuestion->setAlignment(Qt::AlignTop);

    auto* right = new QVBoxLayout;
    right->addWidget(mlblCaption);
    right->addLayout(mOptionsLayout);
    auto* top = new QHBoxLayout;
    top->addWidget(imgQuestion);
    top->addLayout(right, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mcmdOK);
    buttons->addWidget(mcmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    mlblCaption->setMinimumWidth(320);
    mcmdOK->setDefault(true);

    connect(mcmdOK, &QPushButton::clicked, this, &frmEditObjectTextSavePrompt::cmdOK_Click);
    connect(mcmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

QList<long> frmEditObjectTextSavePrompt::ActionsFor(bool bIsNewObject) {
    return bIsNewObject ? QList<long>{1, 2, 3} : QList<long>{1, 2, 5, 4};
}

long frmEditObjectTextSavePrompt::UsableDefault(TARMODatabase& msdbCurrent, bool bIsNewObject) {
    const long stored =
        bIsNewObject ? msdbCurrent.SaveChangesNewDefault() : msdbCurrent.SaveChangesEditDefault();
    return ActionsFor(bIsNewObject).contains(stored) ? stored : 0;
}

void frmEditObjectTextSavePrompt::BuildOptions(bool bIsNewObject, long lngDefault) {
    for (QRadioButton* option : mopt)
        delete option;
    mopt.clear();
    for (long code : ActionsFor(bIsNewObject)) {
        auto* option = new QRadioButton(QString::fromLatin1(actionCaption(code)), this);
        option->setProperty("tag", static_cast<qlonglong>(code));
        option->setChecked(code == lngDefault);
        mOptionsLayout->addWidget(option);
        mopt << option;
    }
}

void frmEditObjectTextSavePrompt::cmdOK_Click() {
    for (QRadioButton* option : mopt) {
        if (option->isChecked()) {
            mlngResult = static_cast<long>(option->property("tag").toLongLong());
            accept();
            return;
        }
    }
    prompts().MessageBox(QStringLiteral("Nothing has been selected!"), Prompt::Buttons::OK,
                         Prompt::Icon::Exclamation, QStringLiteral("Invalid Data"));
}

long frmEditObjectTextSavePrompt::ChangesMade(TARMODatabase& msdbCurrent, bool bIsNewObject,
                                              QWidget* parent) {
    const long lngDefault = UsableDefault(msdbCurrent, bIsNewObject);
    const bool ask = bIsNewObject ? msdbCurrent.ShowSaveChangesNew() : msdbCurrent.ShowSaveChangesEdit();
    if (lngDefault != 0 && !ask)
        return lngDefault;
    frmEditObjectTextSavePrompt dialog(parent);
    dialog.BuildOptions(bIsNewObject, lngDefault);
    dialog.mlngResult = 0;
    dialog.exec();
    return dialog.mlngResult;
}
