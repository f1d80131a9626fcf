#pragma once

#include <QDialog>

class QLineEdit;
class QPushButton;

// "Connect to Database ...": asks for a login when there is no password to connect with. The place
// (server and database, or the store's ini file) is shown for reading; user name and password are typed.
class frmPassword : public QDialog {
    Q_OBJECT
public:
    QLineEdit* txtUserName() const { return mtxtUserName; }
    QLineEdit* txtPwd() const { return mtxtPwd; }
    QPushButton* cmdOK() const { return mcmdOK; }
    QPushButton* cmdCancel() const { return mcmdCancel; }

protected:
    // places: (label, object name, value) of each read-only box.
    frmPassword(const QList<std::tuple<QString, QString, QString>>& places, QWidget* parent);
    // Fills the boxes (the password empty), runs modally; on OK the values typed come back.
    bool Run(QString& strUsername, QString& strPassword);

private:
    void cmdOK_Click();

    bool mbCancelled = true;
    QLineEdit* mtxtUserName;
    QLineEdit* mtxtPwd;
    QPushButton* mcmdOK;
    QPushButton* mcmdCancel;
};

class frmSQLPassword : public frmPassword {
    Q_OBJECT
public:
    frmSQLPassword(const QString& strServer, const QString& strDatabase, QWidget* parent = nullptr);
    static bool GetUserNameAndPassword(const QString& strServer, const QString& strDatabase,
                                       QString& strUsername, QString& strPassword);
};

class frmVSSPassword : public frmPassword {
    Q_OBJECT
public:
    explicit frmVSSPassword(const QString& strIniFile, QWidget* parent = nullptr);
    static bool GetUserNameAndPassword(const QString& strIniFile, QString& strUsername, QString& strPassword);
};

// The login of something the user makes (a new embedded server, a new version store): a user name and
// a new password typed twice, so that a slip of the finger can't lock the user out of it.
class frmNewPassword : public QDialog {
    Q_OBJECT
public:
    frmNewPassword(const QString& title, const QString& place, QWidget* parent = nullptr);
    // Runs modally; on OK the user name and the password come back.
    static bool GetNewLogin(const QString& title, const QString& place, QString& strUsername,
                            QString& strPassword);

    QLineEdit* txtUserName() const { return mtxtUserName; }
    QLineEdit* txtPwd() const { return mtxtPwd; }
    QLineEdit* txtConfirm() const { return mtxtConfirm; }
    QPushButton* cmdOK() const { return mcmdOK; }

private:
    void cmdOK_Click();

    QLineEdit* mtxtUserName;
    QLineEdit* mtxtPwd;
    QLineEdit* mtxtConfirm;
    QPushButton* mcmdOK;
};
