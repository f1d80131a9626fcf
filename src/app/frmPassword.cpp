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
