#include "frmRenameObject.h"

#include "HelpTopics.h"
#include "SqlQuote.h"
#include "UserPrompts.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

frmRenameObject::frmRenameObject(QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Rename Item ..."));
    setModal(true);

    auto* from = new QLabel(QStringLiteral("From:"), this);
    mlblOldName = new QLabel(this);
    mlblOldName->setObjectName(QStringLiteral("lblOldName"));
    mlblOldName->setTextFormat(Qt::PlainText);

    auto* to = new QLabel(QStringLiteral("&To:"), this);
    mlblOwner = new QLabel(this);
    mlblOwner->setObjectName(QStringLiteral("lblOwner"));
    mlblOwner->setTextFormat(Qt::PlainText);
    mtxtNewName = new QLineEdit(this);
    mtxtNewName->setObjectName(QStringLiteral("txtNewName"));
    mtxtNewName->setMinimumWidth(220);
    mtxtNewName->installEventFilter(this);
    to->setBuddy(mtxtNewName);
    mlblOwnerClose = new QLabel(QStringLiteral("]"), this);
    mlblOwnerClose->setObjectName(QStringLiteral("lblOwnerClose"));

    // The fixed parts sit tight against the entry, so that the three read as one name.
    auto* nameRow = new QHBoxLayout;
    nameRow->setSpacing(0);
    nameRow->addWidget(mlblOwner);
    nameRow->addWidget(mtxtNewName, 1);
    nameRow->addWidget(mlblOwnerClose);

    mcmdRename = new QPushButton(QStringLiteral("Rename"), this);
    mcmdRename->setObjectName(QStringLiteral("cmdRename"));
    mcmdRename->setDefault(true);
    mcmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    mcmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mcmdRename);
    buttons->addWidget(mcmdCancel);

    auto* grid = new QGridLayout(this);
    grid->addWidget(from, 0, 0);
    grid->addWidget(mlblOldName, 0, 1);
    grid->addWidget(to, 1, 0);
    grid->addLayout(nameRow, 1, 1);
    grid->addLayout(buttons, 2, 0, 1, 2);
    grid->setColumnStretch(1, 1);

    connect(mcmdRename, &QPushButton::clicked, this, [this] { cmdRename_Click(); });
    connect(mcmdCancel, &QPushButton::clicked, this, [this] { reject(); });
}

QString frmRenameObject::RenameItem(TARMODatabase&, const QString& strOldName, const QString& strOwner) {
    Setup(strOldName, strOwner);
    exec();
    return NewName();
}

void frmRenameObject::Setup(const QString& strOldName, const QString& strOwner) {
    mstrOldName = strOldName;
    mstrNewName.clear();
    mbCancelled = true;
    mlblOldName->setText(SqlQuote::TwoPartName(strOwner, strOldName));
    mlblOwner->setText(SqlQuote::Name(strOwner) + QStringLiteral(".["));
    mtxtNewName->setText(strOldName);
    placeNameParts();
    mtxtNewName->selectAll();
    mtxtNewName->setFocus();
}

void frmRenameObject::placeNameParts() {
    const QFontMetrics metrics(mlblOwner->font());
    mlblOwner->setFixedWidth(metrics.horizontalAdvance(mlblOwner->text()) + 1);
    mlblOwnerClose->setFixedWidth(metrics.horizontalAdvance(mlblOwnerClose->text()) + 2);
    mlblOldName->setMinimumWidth(metrics.horizontalAdvance(mlblOldName->text()) + 2);
}

void frmRenameObject::refuse(const QString& text) {
    MsgBox(text, Prompt::Buttons::OK, Prompt::Icon::Exclamation, QStringLiteral("Invalid Data"));
    mtxtNewName->setFocus();
}

void frmRenameObject::cmdRename_Click() {
    const QString name = mtxtNewName->text().trimmed();
    mtxtNewName->setText(name);
    if (name.isEmpty()) {
        refuse(QStringLiteral("New Name is missing!"));
    } else if (name.compare(mstrOldName, Qt::CaseInsensitive) == 0) {
        refuse(QStringLiteral("New Name is the same as the Old Name!"));
    } else if (name.contains(QLatin1Char('[')) || name.contains(QLatin1Char(']'))) {
        refuse(QStringLiteral("New Name is invalid!"));
    } else {
        mstrNewName = name;
        mbCancelled = false;
        accept();
    }
}

bool frmRenameObject::eventFilter(QObject* watched, QEvent* event) {
    // A click places the caret after the focus arrives, so the whole text is selected once the
    // click is through.
    if (watched == mtxtNewName && event->type() == QEvent::FocusIn)
        QTimer::singleShot(0, mtxtNewName, [this] { mtxtNewName->selectAll(); });
    return QDialog::eventFilter(watched, event);
}

void frmRenameObject::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp(this, HelpId(HelpTopic::Rename));
        return;
    }
    QDialog::keyPressEvent(event);
}
