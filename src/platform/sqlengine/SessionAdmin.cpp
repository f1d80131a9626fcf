// Logins, users, roles, databases, USE and SET of a session.
#include "SessionState.h"

namespace {

ServerError NoPermission() {
    return ServerError::Make(15247, 16,
                             QStringLiteral("User does not have permission to perform this action."));
}

} // namespace

void SessionState::Principal(const SqlStatement& s) {
    using K = SqlStatement::Kind;
    switch (s.kind) {
    case K::CreateDatabase:
        if (!login.sysadmin)
            throw ServerError::Make(
                262, 14, QStringLiteral("CREATE DATABASE permission denied in database 'master'."));
        mServer->CreateDatabase(s.name, login.sid);
        return;
    case K::DropDatabase: {
        if (!login.sysadmin)
            throw ServerError::Make(
                3701, 14,
                QStringLiteral("Cannot drop the database '%1', because it does not exist or you do "
                               "not have permission.")
                    .arg(s.name));
        if (s.name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0)
            throw ServerError::Make(
                3708, 16,
                QStringLiteral("Cannot drop the database 'master' because it is a system database."));
        if (s.name.compare(database, Qt::CaseInsensitive) == 0)
            throw ServerError::Make(
                3702, 16,
                QStringLiteral("Cannot drop database \"%1\" because it is currently in use.").arg(s.name));
        const QString key = s.name.toLower();
        if (mAttached.contains(key)) {
            mDb->Exec(QStringLiteral("DETACH DATABASE %1").arg(mAttached.value(key)));
            mAttached.remove(key);
        }
        mServer->DropDatabase(s.name);
        return;
    }
    case K::CreateLogin:
        if (!login.sysadmin)
            throw NoPermission();
        mServer->CreateLogin(s.name, s.password, s.defaultDatabase, false,
                             s.objectKind == QLatin1String("WINDOWS"));
        return;
    case K::AlterLogin:
        if (!login.sysadmin && s.name.compare(login.name, Qt::CaseInsensitive) != 0)
            throw NoPermission();
        mServer->SetPassword(s.name, s.password);
        return;
    case K::DropLogin:
        if (!login.sysadmin)
            throw NoPermission();
        if (s.name.compare(login.name, Qt::CaseInsensitive) == 0)
            throw ServerError::Make(
                15434, 16,
                QStringLiteral("Could not drop login '%1' as the user is currently logged in.").arg(s.name));
        mServer->DropLogin(s.name);
        return;
    case K::CreateUser: {
        if (!IsDbOwner() && !MyPrincipals().contains(16385))
            throw NoPermission();
        const QString loginName = s.loginName.isEmpty() ? s.name : s.loginName;
        const LoginInfo l = mServer->FindLogin(loginName);
        if (!l.IsValid())
            throw ServerError::Make(
                15007, 16,
                QStringLiteral("'%1' is not a valid login or you do not have permission.").arg(loginName));
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysusers WHERE name = ?"), {s.name}).isValid())
            throw ServerError::Make(
                15023, 16,
                QStringLiteral("User, group, or role '%1' already exists in the current database.")
                    .arg(s.name));
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysusers WHERE sid = ?"), {l.sid}).isValid())
            throw ServerError::Make(
                15063, 16, QStringLiteral("The login already has an account under a different user name."));
        const int uid = qMax(
            5, mDb->Scalar(QStringLiteral("SELECT MAX(uid) FROM sysusers WHERE uid < 16384")).toInt() + 1);
        const QString now = Catalogue::Now();
        mDb->Exec(QStringLiteral(
                      "INSERT INTO sysusers (uid, status, name, sid, createdate, updatedate, altuid, gid, "
                      "hasdbaccess, islogin, isntname, isntgroup, isntuser, issqluser, isaliased, issqlrole, "
                      "isapprole) VALUES (?,2,?,?,?,?,NULL,0,1,1,0,0,0,1,0,0,0)"),
                  {uid, s.name, l.sid, now, now});
        return;
    }
    case K::DropUser: {
        if (!IsDbOwner() && !MyPrincipals().contains(16385))
            throw NoPermission();
        const QVariant uid = mDb->Scalar(
            QStringLiteral("SELECT uid FROM sysusers WHERE name = ? AND issqlrole = 0"), {s.name});
        if (!uid.isValid())
            throw ServerError::Make(
                15151, 16,
                QStringLiteral("Cannot drop the user '%1', because it does not exist or you do not "
                               "have permission.")
                    .arg(s.name));
        if (uid.toInt() <= 4)
            throw ServerError::Make(15150, 16, QStringLiteral("Cannot drop the user '%1'.").arg(s.name));
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysobjects WHERE uid = ?"), {uid}).isValid())
            throw ServerError::Make(
                15138, 16,
                QStringLiteral("The database principal owns a schema in the database, and cannot be "
                               "dropped."));
        mDb->Exec(QStringLiteral("DELETE FROM sysusers WHERE uid = ?"), {uid});
        mDb->Exec(QStringLiteral("DELETE FROM sysmembers WHERE memberuid = ?"), {uid});
        mDb->Exec(QStringLiteral("DELETE FROM sysprotects WHERE uid = ?"), {uid});
        return;
    }
    case K::CreateRole: {
        if (!IsDbOwner() && !MyPrincipals().contains(16386))
            throw NoPermission();
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysusers WHERE name = ?"), {s.name}).isValid())
            throw ServerError::Make(
                15023, 16,
                QStringLiteral("User, group, or role '%1' already exists in the current database.")
                    .arg(s.name));
        const int uid = qMax(16400, mDb->Scalar(QStringLiteral("SELECT MAX(uid) FROM sysusers")).toInt() + 1);
        const QString now = Catalogue::Now();
        mDb->Exec(QStringLiteral(
                      "INSERT INTO sysusers (uid, status, name, sid, createdate, updatedate, altuid, gid, "
                      "hasdbaccess, islogin, isntname, isntgroup, isntuser, issqluser, isaliased, issqlrole, "
                      "isapprole) VALUES (?,0,?,?,?,?,1,?,0,0,0,0,0,0,0,1,0)"),
                  {uid, s.name, QByteArray::number(uid), now, now, uid});
        return;
    }
    case K::DropRole: {
        if (!IsDbOwner() && !MyPrincipals().contains(16386))
            throw NoPermission();
        const QVariant uid = mDb->Scalar(
            QStringLiteral("SELECT uid FROM sysusers WHERE name = ? AND issqlrole = 1"), {s.name});
        if (!uid.isValid())
            throw ServerError::Make(
                15151, 16,
                QStringLiteral("Cannot drop the role '%1', because it does not exist or you do not "
                               "have permission.")
                    .arg(s.name));
        if (uid.toInt() < 16400)
            throw ServerError::Make(15150, 16, QStringLiteral("Cannot drop the role '%1'.").arg(s.name));
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysmembers WHERE groupuid = ?"), {uid}).isValid())
            throw ServerError::Make(
                15144, 16,
                QStringLiteral("The role has members. It must be empty before it can be dropped."));
        mDb->Exec(QStringLiteral("DELETE FROM sysusers WHERE uid = ?"), {uid});
        mDb->Exec(QStringLiteral("DELETE FROM sysmembers WHERE memberuid = ?"), {uid});
        mDb->Exec(QStringLiteral("DELETE FROM sysprotects WHERE uid = ?"), {uid});
        return;
    }
    default:
        return;
    }
}

void SessionState::UseDatabase(const SqlStatement& s) {
    if (mTranCount > 0)
        throw ServerError::Unsupported(QStringLiteral("USE inside a transaction"));
    const QString real = s.name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0
                             ? QStringLiteral("master")
                             : mServer->DatabaseName(s.name);
    if (real.isEmpty())
        throw ServerError::Make(
            911, 16,
            QStringLiteral("Database '%1' does not exist. Make sure that the name is entered "
                           "correctly.")
                .arg(s.name),
            true);
    if (mModuleDepth > 0 || mNesting > 0)
        throw ServerError::Make(154, 15,
                                QStringLiteral("a USE database statement is not allowed in a procedure, "
                                               "function or trigger."));
    try {
        OpenDatabase(real, mServer->DatabasePath(real));
    } catch (ServerError& e) {
        e.abortsBatch = true;
        throw;
    }
    EmitInfo(5701, QStringLiteral("Changed database context to '%1'.").arg(real));
}

void SessionState::SetOption(const SqlStatement& s) {
    const QString value = s.optionValue;
    const bool on = value == QLatin1String("ON");
    if (s.optionNames.first() == QLatin1String("IDENTITY_INSERT")) {
        const CatalogueObject o =
            Catalogue::FindObject(*mDb, Schema(), s.target.last(),
                                  s.target.size() >= 2 ? s.target[s.target.size() - 2] : QString(), mUid);
        if (!o.IsValid() || o.xtype != QLatin1String("U"))
            throw ServerError::InvalidObject(s.target.join(u'.'));
        mIdentityInsert = on ? QString::number(o.id) : QString();
        return;
    }
    if (s.optionNames.first() == QLatin1String("TRANSACTION ISOLATION LEVEL"))
        return;
    static const QStringList onOff = {QStringLiteral("NOCOUNT"),
                                      QStringLiteral("PARSEONLY"),
                                      QStringLiteral("NOEXEC"),
                                      QStringLiteral("QUOTED_IDENTIFIER"),
                                      QStringLiteral("ANSI_NULLS"),
                                      QStringLiteral("ANSI_WARNINGS"),
                                      QStringLiteral("ANSI_PADDING"),
                                      QStringLiteral("ANSI_NULL_DFLT_ON"),
                                      QStringLiteral("ANSI_NULL_DFLT_OFF"),
                                      QStringLiteral("CONCAT_NULL_YIELDS_NULL"),
                                      QStringLiteral("ARITHABORT"),
                                      QStringLiteral("ARITHIGNORE"),
                                      QStringLiteral("NUMERIC_ROUNDABORT"),
                                      QStringLiteral("XACT_ABORT"),
                                      QStringLiteral("ANSI_DEFAULTS"),
                                      QStringLiteral("CURSOR_CLOSE_ON_COMMIT"),
                                      QStringLiteral("IMPLICIT_TRANSACTIONS"),
                                      QStringLiteral("FMTONLY"),
                                      QStringLiteral("STATISTICS"),
                                      QStringLiteral("SHOWPLAN_TEXT"),
                                      QStringLiteral("SHOWPLAN_ALL"),
                                      QStringLiteral("SHOWPLAN_XML"),
                                      QStringLiteral("FORCEPLAN"),
                                      QStringLiteral("REMOTE_PROC_TRANSACTIONS")};
    static const QStringList valued = {QStringLiteral("ROWCOUNT"),          QStringLiteral("TEXTSIZE"),
                                       QStringLiteral("DATEFORMAT"),        QStringLiteral("DATEFIRST"),
                                       QStringLiteral("LANGUAGE"),          QStringLiteral("LOCK_TIMEOUT"),
                                       QStringLiteral("DEADLOCK_PRIORITY"), QStringLiteral("CONTEXT_INFO")};
    for (const QString& name : s.optionNames) {
        if (valued.contains(name)) {
            if (name == QLatin1String("ROWCOUNT") && value != QLatin1String("0"))
                throw ServerError::Unsupported(QStringLiteral("SET ROWCOUNT other than 0"));
            if (name == QLatin1String("DATEFORMAT") || name == QLatin1String("DATEFIRST") ||
                name == QLatin1String("LANGUAGE"))
                SetDateOption(name, value);
            continue;
        }
        if (name == QLatin1String("STATISTICS"))
            continue; // SET STATISTICS IO/TIME ON: nothing to measure.
        if (!onOff.contains(name))
            throw ServerError::Make(195, 15, QStringLiteral("'%1' is not a recognized SET option.").arg(name),
                                    true);
        if (value != QLatin1String("ON") && value != QLatin1String("OFF"))
            throw ServerError::Make(102, 15, QStringLiteral("Incorrect syntax near '%1'.").arg(value), true);
        if (name == QLatin1String("NOCOUNT"))
            mNoCount = on;
        else if (name == QLatin1String("PARSEONLY"))
            mParseOnly = on;
        else if (name == QLatin1String("NOEXEC"))
            mNoExec = on;
        else if (name == QLatin1String("XACT_ABORT"))
            mXactAbort = on;
        else if (name == QLatin1String("QUOTED_IDENTIFIER"))
            mQuotedIdentifier = on;
        else if (name == QLatin1String("ANSI_NULLS")) {
            if (!on)
                throw ServerError::Unsupported(QStringLiteral("SET ANSI_NULLS OFF"));
            mAnsiNulls = on;
        } else if ((name == QLatin1String("IMPLICIT_TRANSACTIONS") || name == QLatin1String("FMTONLY") ||
                    name.startsWith(QLatin1String("SHOWPLAN")) ||
                    name == QLatin1String("CONCAT_NULL_YIELDS_NULL")) &&
                   on != (name == QLatin1String("CONCAT_NULL_YIELDS_NULL"))) {
            throw ServerError::Unsupported(QStringLiteral("SET %1 %2").arg(name, value));
        }
    }
}
