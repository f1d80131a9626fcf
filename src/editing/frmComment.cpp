#include "frmComment.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmComment::frmComment(QWidget* parent)
    : QDialog(parent)
    , mtxtComment(new QPlainTextEdit(this))
    , mcmdOK(new QPushButton(QStringLiteral("&OK"), this))
    , mcmdCancel(new QPushButton(QStringLiteral("Cancel"), this)) {
    setWindowTitle(QStringLiteral("Comment"));
    setObjectName(QStringLiteral("frmComment"));
    mtxtComment->setObjectName(QStringLiteral("txtComment"));
    mtxtComment->setTabChangesFocus(true);
    auto* label = new QLabel(QStringLiteral("&Comment:"), this);
    label->setBuddy(mtxtComment);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mcmdOK);
    buttons->addWidget(mcmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(mtxtComment);
    layout->addLayout(buttons);
    resize(420, 220);

    connect(mcmdOK, &QPushButton::clicked, this, [this] {
        mstrComment = mtxtComment->toPlainText();
        mbCancelled = false;
        accept();
    });
    connect(mcmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

bool frmComment::GetComment(QString& strComment, QWidget* parent) {
    frmComment dialog(parent);
    strComment.clear();
    dialog.mbCancelled = true;
    dialog.exec();
    if (dialog.mbCancelled)
        return false;
    strComment = dialog.mstrComment;
    return true;
}
