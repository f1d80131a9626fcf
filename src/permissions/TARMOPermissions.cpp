#include "TARMOPermissions.h"

#include "DbRecordset.h"
#include "SqlQuote.h"
#include "TARMOError.h"
#include "TARMOSQL.h"

namespace {

// Applies one row of sp_helprotect to a line.
void applyProtectRow(TARMOPermission& line, const DbRecordset& row) {
    const QString type = row.Text(QStringLiteral("ProtectType")).trimmed().toUpper();
    const long state = type == QLatin1String("GRANT")  ? TARMOPermission::Grant
                       : type == QLatin1String("DENY") ? TARMOPermission::Deny
                                                       : TARMOPermission::None;
    line.SetStateOf(row.Text(QStringLiteral("Action")), state);
}

// sp_helprotect fails when there is nothing to report; that is no error here.
std::unique_ptr<DbRecordset> helpProtect(TARMOSQL& sql, const QString& statement) {
    try {
        return sql.OpenRecordset(statement);
    } catch (const TARMOError&) {
        return nullptr;
    }
}

} // namespace

bool TARMOPermissions::resolveObject(QString& qualifiedName, QString& ownerName) const {
    if (!ActiveDBConnection)
        return false;
    std::unique_ptr<DbRecordset> rs = ActiveDBConnection->OpenRecordset(
        QStringLiteral("SELECT so.name AS [ObjectName], su.name AS [OwnerName] FROM sysobjects so INNER "
                       "JOIN sysusers su ON so.uid = su.uid WHERE so.id = ") +
        TARMOSQL::sqlFMTOUT(DatabaseID, 1));
    if (!rs || rs->Eof())
        return false;
    ownerName = rs->Text(QStringLiteral("OwnerName"));
    qualifiedName = SqlQuote::TwoPartName(ownerName, rs->Text(QStringLiteral("ObjectName")));
    return true;
}

TARMOPermission TARMOPermissions::newLine(const QString& name, bool role, const QString& ownerName) const {
    TARMOPermission line;
    line.Name = name;
    line.IsRole = role;
    line.IsOwner = name.compare(ownerName, Qt::CaseInsensitive) == 0;
    line.HasExecuteOnly = HasExecuteOnly;
    line.HasExecAndRefOnly = HasExecAndRefOnly;
    return line;
}

bool TARMOPermissions::isRole(const QString& name) const {
    // sysusers holds users as well as roles: only its role flag tells them apart.
    std::unique_ptr<DbRecordset> rs = ActiveDBConnection->OpenRecordset(
        QStringLiteral("SELECT COUNT(*) As [Exists] FROM sysusers WHERE issqlrole = 1 AND name = ") +
        SqlQuote::Literal(name));
    return rs && !rs->Eof() && rs->Field(QStringLiteral("Exists")).toInt() == 1;
}

void TARMOPermissions::GetItemPermissions() {
    QString qualifiedName;
    QString ownerName;
    if (!resolveObject(qualifiedName, ownerName))
        return;
    if (QuickList)
        readQuick(qualifiedName, ownerName);
    else
        readAll(qualifiedName, ownerName);
}

void TARMOPermissions::readAll(const QString& qualifiedName, const QString& ownerName) {
    struct Source {
        QString procedure;
        QString idColumn;
        QString nameColumn;
        bool roles;
    };
    QList<Source> sources;
    if (Show != UsersOnly)
        sources.append(
            {QStringLiteral("sp_helprole"), QStringLiteral("RoleID"), QStringLiteral("RoleName"), true});
    if (Show != RolesOnly)
        sources.append(
            {QStringLiteral("sp_helpuser"), QStringLiteral("UserID"), QStringLiteral("UserName"), false});

    for (const Source& source : sources) {
        std::unique_ptr<DbRecordset> rows =
            ActiveDBConnection->OpenRecordset(QStringLiteral("EXECUTE ") + source.procedure);
        QString previous;
        for (; rows && !rows->Eof(); rows->MoveNext()) {
            const long id = rows->Field(source.idColumn).toLongLong();
            // public (0) and the database's own roles; the fixed roles stay out of the list.
            if (source.roles && id != 0 && id < FirstUserRoleID)
                continue;
            const QString name = rows->Text(source.nameColumn);
            // sp_helpuser gives a user once for each of its groups.
            if (name == previous)
                continue;
            previous = name;
            TARMOPermission line = newLine(name, source.roles, ownerName);
            std::unique_ptr<DbRecordset> granted =
                helpProtect(*ActiveDBConnection, QStringLiteral("EXECUTE sp_helprotect ") +
                                                     SqlQuote::Literal(qualifiedName) + QStringLiteral(", ") +
                                                     SqlQuote::Literal(name));
            for (; granted && !granted->Eof(); granted->MoveNext())
                applyProtectRow(line, *granted);
            if (!mItems.Contains(name))
                mItems.Add(line, name);
        }
    }
}

void TARMOPermissions::readQuick(const QString& qualifiedName, const QString& ownerName) {
    std::unique_ptr<DbRecordset> rows = helpProtect(
        *ActiveDBConnection, QStringLiteral("EXECUTE sp_helprotect ") + SqlQuote::Literal(qualifiedName));
    bool inHand = false;
    TARMOPermission line;
    QString grantee;
    bool granteeWanted = false;
    for (; rows && !rows->Eof(); rows->MoveNext()) {
        const QString name = rows->Text(QStringLiteral("Grantee"));
        if (!inHand || name != grantee) {
            if (inHand && granteeWanted && !mItems.Contains(line.Name))
                mItems.Add(line, line.Name);
            grantee = name;
            const bool role = isRole(name);
            granteeWanted = !((Show == RolesOnly && !role) || (Show == UsersOnly && role));
            line = newLine(name, role, ownerName);
            inHand = true;
        }
        applyProtectRow(line, *rows);
    }
    if (inHand && granteeWanted && !mItems.Contains(line.Name))
        mItems.Add(line, line.Name);
}

bool TARMOPermissions::Save() {
    QString qualifiedName;
    QString ownerName;
    if (!resolveObject(qualifiedName, ownerName))
        return false;
    for (const TARMOPermission& line : mItems)
        for (const TARMOPermission::Statement& statement : line.Statements()) {
            const QString text =
                TARMOPermission::StatementText(statement.Word, statement.State, qualifiedName, line.Name);
            if (!text.isEmpty())
                ActiveDBConnection->ExecuteSQL(text);
        }
    return true;
}

QString TARMOPermissions::CreateScript(const QString& strObjectName, const QString& strOwnerName) {
    QString qualifiedName;
    if (!strObjectName.isEmpty() && !strOwnerName.isEmpty()) {
        qualifiedName = SqlQuote::TwoPartName(strOwnerName, strObjectName);
    } else {
        QString ownerName;
        if (!resolveObject(qualifiedName, ownerName))
            return QString();
    }
    QString script;
    for (const TARMOPermission& line : mItems)
        for (const TARMOPermission::Statement& statement : line.Statements()) {
            const QString text =
                TARMOPermission::StatementText(statement.Word, statement.State, qualifiedName, line.Name);
            if (!text.isEmpty())
                script += text + QStringLiteral("\r\n");
        }
    return script;
}
