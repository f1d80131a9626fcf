#include "frmPassword.h"

#include "GuiHelpers.h"
#include "HelpIntegration.h"
#include "UserPrompts.h"

#include <QApplication>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

frmPassword::frmPassword(const QList<std::tuple<QString, QString, QString>>& places, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Connect to Database ..."));
    InstallHelpKey(this, HelpId(HelpTopic::Login));
    auto* form = new QFormLayout;
    for (const auto& [label, name, value] : places) {
        auto* box = new QLineEdit(value);
        box->setObjectName(name);
        box->setReadOnly(true);
        form->addRow(label, box);
    }
    mtxtUserName = new QLineEdit;
    mtxtUserName->setObjectName(QStringLiteral("txtUserName"));
    mtxtPwd = new QLineEdit;
    mtxtPwd->setObjectName(QStringLiteral("txtPwd"));
    mtxtPwd->setEchoMode(QLineEdit::Password);
    form->addRow(QStringLiteral("&User Name:"), mtxtUserName);
    form->addRow(QStringLiteral("&Password:"), mtxtPwd);
    mcmdOK = new QPushButton(QStringLiteral("OK"));
    mcmdOK->setObjectName(QStringLiteral("cmdOK"));
    mcmdOK->setDefault(true);
    mcmdCancel = new QPushButton(QStringLiteral("Cancel"));
    mcmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mcmdOK);
    buttons->addWidget(mcmdCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
    resize(380, sizeHint().height());
    connect(mcmdOK, &QPushButton::clicked, this, &frmPassword::cmdOK_Click);
    connect(mcmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    SelectAllTextOnFocus(this);
}

bool frmPassword::Run(QString& strUsername, QString& strPassword) {
    mtxtUserName->setText(strUsername);
    mtxtPwd->clear();
    mbCancelled = true;
    (strUsername.isEmpty() ? mtxtUserName : mtxtPwd)->setFocus();
    exec();
    if (!mbCancelled) {
        strUsername = mtxtUserName->text();
        strPassword = mtxtPwd->text();
    }
    return !mbCancelled;
}

void frmPassword::cmdOK_Click() {
    if (mtxtUserName->text().isEmpty()) {
        MsgBox(QStringLiteral("User Name is missing"), Prompt::Buttons::OK, Prompt::Icon::Exclamation,
               QStringLiteral("Invalid Data"));
        mtxtUserName->setFocus();
        return;
    }
    mbCancelled = false;
    accept();
}

frmSQLPassword::frmSQLPassword(const QString& strServer, const QString& strDatabase, QWidget* parent)
    : frmPassword({{QStringLiteral("Server:"), QStringLiteral("txtServer"), strServer},
                   {QStringLiteral("Database:"), QStringLiteral("txtDatabase"), strDatabase}},
                  parent) {
    setObjectName(QStringLiteral("frmSQLPassword"));
}

bool frmSQLPassword::GetUserNameAndPassword(const QString& strServer, const QString& strDatabase,
                                            QString& strUsername, QString& strPassword) {
    frmSQLPassword dialog(strServer, strDatabase, QApplication::activeWindow());
    return dialog.Run(strUsername, strPassword);
}

frmVSSPassword::frmVSSPassword(const QString& strIniFile, QWidget* parent)
    : frmPassword({{QStringLiteral("Database:"), QStringLiteral("txtIniFile"), strIniFile}}, parent) {
    setObjectName(QStringLiteral("frmVSSPassword"));
}

bool frmVSSPassword::GetUserNameAndPassword(const QString& strIniFile, QString& strUsername,
                                            QString& strPassword) {
    frmVSSPassword dialog(strIniFile, QApplication::activeWindow());
    return dialog.Run(strUsername, strPassword);
}

frmNewPassword::frmNewPassword(const QString& title, const QString& place, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmNewPassword"));
    setWindowTitle(title);
    auto* where = new QLineEdit(place);
    where->setObjectName(QStringLiteral("txtPlace"));
    where->setReadOnly(true);
    where->setToolTip(place);
    mtxtUserName = new QLineEdit;
    mtxtUserName->setObjectName(QStringLiteral("txtUserName"));
    mtxtPwd = new QLineEdit;
    mtxtPwd->setObjectName(QStringLiteral("txtPwd"));
    mtxtPwd->setEchoMode(QLineEdit::Password);
    mtxtConfirm = new QLineEdit;
    mtxtConfirm->setObjectName(QStringLiteral("txtConfirm"));
    mtxtConfirm->setEchoMode(QLineEdit::Password);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Location:"), where);
    form->addRow(QStringLiteral("&User Name:"), mtxtUserName);
    form->addRow(QStringLiteral("New &Password:"), mtxtPwd);
    form->addRow(QStringLiteral("&Confirm Password:"), mtxtConfirm);
    mcmdOK = new QPushButton(QStringLiteral("OK"));
    mcmdOK->setObjectName(QStringLiteral("cmdOK"));
    mcmdOK->setDefault(true);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"));
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mcmdOK);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
    resize(std::max(460, sizeHint().width()), sizeHint().height());
    connect(mcmdOK, &QPushButton::clicked, this, &frmNewPassword::cmdOK_Click);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    SelectAllTextOnFocus(this);
}

bool frmNewPassword::GetNewLogin(const QString& title, const QString& place, QString& strUsername,
                                 QString& strPassword) {
    frmNewPassword dialog(title, place, QApplication::activeWindow());
    dialog.mtxtUserName->setText(strUsername);
    (strUsername.isEmpty() ? dialog.mtxtUserName : dialog.mtxtPwd)->setFocus();
    if (dialog.exec() != QDialog::Accepted)
        return false;
    strUsername = dialog.mtxtUserName->text();
    strPassword = dialog.mtxtPwd->text();
    return true;
}

void frmNewPassword::cmdOK_Click() {
    if (mtxtUserName->text().trimmed().isEmpty()) {
        MsgBox(QStringLiteral("User Name is missing"), Prompt::Buttons::OK, Prompt::Icon::Exclamation,
               QStringLiteral("Invalid Data"));
        mtxtUserName->setFocus();
        return;
    }
    if (mtxtPwd->text() != mtxtConfirm->text()) {
        MsgBox(QStringLiteral("The two passwords differ. Type the new password twice."), Prompt::Buttons::OK,
               Prompt::Icon::Exclamation, QStringLiteral("Invalid Data"));
        mtxtConfirm->clear();
        mtxtPwd->setFocus();
        mtxtPwd->selectAll();
        return;
    }
    accept();
}
