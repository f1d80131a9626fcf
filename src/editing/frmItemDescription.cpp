#include "frmItemDescription.h"

#include "HelpIntegration.h"
#include "UserPrompts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmItemDescription::frmItemDescription(QWidget* parent)
    : QDialog(parent)
    , mtxtDescription(new QPlainTextEdit(this))
    , mcmdOK(new QPushButton(QStringLiteral("&Save"), this))
    , mcmdCancel(new QPushButton(QStringLiteral("&Cancel"), this)) {
    setWindowTitle(QStringLiteral("Description ..."));
    setObjectName(QStringLiteral("frmItemDescription"));
    InstallHelpKey(this, HelpId(HelpTopic::Descriptions));
    mtxtDescription->setObjectName(QStringLiteral("txtDescription"));
    auto* label = new QLabel(QStringLiteral("Object &Description:"), this);
    label->setBuddy(mtxtDescription);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mcmdOK);
    buttons->addWidget(mcmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(mtxtDescription);
    layout->addLayout(buttons);
    resize(460, 260);

    mtxtDescription->installEventFilter(this);
    setButtonsOwnKeys(true);
    connect(mcmdOK, &QPushButton::clicked, this, &frmItemDescription::cmdOK_Click);
    connect(mcmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmItemDescription::setButtonsOwnKeys(bool own) {
    mcmdOK->setDefault(own);
    mcmdOK->setAutoDefault(own);
    mcmdCancel->setAutoDefault(false);
    mcmdOK->setFocusPolicy(own ? Qt::StrongFocus : Qt::ClickFocus);
    mcmdCancel->setFocusPolicy(own ? Qt::StrongFocus : Qt::ClickFocus);
}

bool frmItemDescription::eventFilter(QObject* watched, QEvent* event) {
    if (watched == mtxtDescription) {
        if (event->type() == QEvent::FocusIn)
            setButtonsOwnKeys(false);
        else if (event->type() == QEvent::FocusOut)
            setButtonsOwnKeys(true);
        else if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
            return true; // the dialog's Escape would cancel while the user is typing
    }
    return QDialog::eventFilter(watched, event);
}

void frmItemDescription::cmdOK_Click() {
    const QString text = mtxtDescription->toPlainText();
    if (text.trimmed().isEmpty() &&
        prompts().MessageBox(QStringLiteral("Are you sure you want to save a blank description?"),
                             Prompt::Buttons::YesNo, Prompt::Icon::Question,
                             QStringLiteral("Save Blank Description")) != Prompt::Answer::Yes)
        return;
    BusyCursor busy;
    mstrDescription = text;
    mbCancelled = false;
    accept();
}

bool frmItemDescription::GetDescription(const QString& CurrentDescription, QString& NewDescription,
                                        QWidget* parent) {
    frmItemDescription dialog(parent);
    dialog.mtxtDescription->setPlainText(CurrentDescription);
    dialog.mbCancelled = true;
    dialog.exec();
    if (dialog.mbCancelled)
        return false;
    NewDescription = dialog.mstrDescription;
    return true;
}
