// CREATE SCHEMA and DROP SCHEMA. A schema is a row of engine_schemas; the objects in it carry its id
// in sysobjects.uid, where the objects of the older owner-named databases carry their user's uid.
#include "Catalogue.h"
#include "SessionState.h"

namespace {

// The names a schema can't take: those of the schemas every database has.
bool IsFixedSchema(const QString& name) {
    static const QStringList fixed = {QStringLiteral("dbo"), QStringLiteral("guest"), QStringLiteral("sys"),
                                      QStringLiteral("INFORMATION_SCHEMA")};
    for (const QString& f : fixed)
        if (f.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

} // namespace

void SessionState::RunSchema(const SqlStatement& s) {
    if (s.kind == SqlStatement::Kind::CreateSchema) {
        if (!IsDbOwner() && !MyPrincipals().contains(16387))
            throw ServerError::Make(
                262, 14, QStringLiteral("CREATE SCHEMA permission denied in database '%1'.").arg(database));
        if (IsFixedSchema(s.name) ||
            mDb->Scalar(QStringLiteral("SELECT 1 FROM engine_schemas WHERE name = ?"), {s.name}).isValid())
            throw ServerError::Make(
                2714, 16,
                QStringLiteral("There is already an object named '%1' in the database.").arg(s.name));
        int owner = 1;
        if (!s.loginName.isEmpty()) {
            const QVariant uid =
                mDb->Scalar(QStringLiteral("SELECT uid FROM sysusers WHERE name = ?"), {s.loginName});
            if (!uid.isValid())
                throw ServerError::Make(
                    15151, 16,
                    QStringLiteral("Cannot find the user '%1', because it does not exist or you do not have "
                                   "permission.")
                        .arg(s.loginName));
            owner = uid.toInt();
        }
        const int id = qMax(Catalogue::kFirstSchemaId,
                            mDb->Scalar(QStringLiteral("SELECT MAX(id) FROM engine_schemas")).toInt() + 1);
        mDb->Exec(QStringLiteral("INSERT INTO engine_schemas (id, name, owner) VALUES (?,?,?)"),
                  {id, s.name, owner});
        return;
    }
    const QList<QVariantList> rows =
        mDb->Rows(QStringLiteral("SELECT id, owner FROM engine_schemas WHERE name = ?"), {s.name});
    if (rows.isEmpty() || !(IsDbOwner() || MyPrincipals().contains(rows.first()[1].toInt()))) {
        if (rows.isEmpty() && s.objectKind == QLatin1String("IF EXISTS"))
            return;
        throw ServerError::Make(
            15151, 16,
            QStringLiteral("Cannot drop the schema '%1', because it does not exist or you do not have "
                           "permission.")
                .arg(s.name));
    }
    const int id = rows.first()[0].toInt();
    const QVariant used = mDb->Scalar(
        QStringLiteral(
            "SELECT name FROM sysobjects WHERE uid = ? UNION ALL SELECT name FROM systypes WHERE uid = ? "
            "LIMIT 1"),
        {id, id});
    if (used.isValid())
        throw ServerError::Make(
            3729, 16,
            QStringLiteral("Cannot drop schema '%1' because it is being referenced by object '%2'.")
                .arg(s.name, used.toString()));
    mDb->Exec(QStringLiteral("DELETE FROM engine_schemas WHERE id = ?"), {id});
}
