// CHECK constraints: kept in the catalogue as the server keeps them (an object of type C under its
// table, its condition in syscomments) and enforced by the SQLite table's own CHECK clauses, whose
// names carry what the server's error message needs.
#include "Catalogue.h"
#include "SessionState.h"
#include "SqlTranslator.h"

QStringList SessionState::CheckConstraints(const SqlStatement& s, int tableId, const QString& table,
                                           int uid) {
    QStringList clauses;
    for (const SqlCheck& check : s.checks) {
        const int id = Catalogue::NextObjectId(*mDb);
        // The server's own names: CK__table__column__ and a number of the object's.
        const QString name = !check.name.isEmpty() ? check.name
                                                   : QStringLiteral("CK__%1__%2__%3")
                                                         .arg(table.left(9), check.column.left(5),
                                                              QString::number(id, 16).toUpper().right(8));
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysobjects WHERE name = ? AND uid = ?"), {name, uid})
                .isValid())
            throw ServerError::Make(
                2714, 16, QStringLiteral("There is already an object named '%1' in the database.").arg(name));
        SqlTranslator tr(*this);
        const QString condition = tr.Expr(*check.condition);
        if (!tr.Params().isEmpty())
            throw ServerError::Unsupported(QStringLiteral("this CHECK condition"));
        const QString now = Catalogue::Now();
        mDb->Exec(
            QStringLiteral(
                "INSERT INTO sysobjects (name, id, xtype, uid, info, status, base_schema_ver, replinfo, "
                "parent_obj, crdate, ftcatid, schema_ver, stats_schema_ver, type, userstat, sysstat, "
                "indexdel, refdate, version, deltrig, instrig, updtrig, seltrig, category, cache) "
                "VALUES (?,?,'C ',?,0,0,0,0,?,?,0,0,0,'C ',0,0,0,?,0,0,0,0,0,0,0)"),
            {name, id, uid, tableId, now, now});
        WriteText(id, u'(' + check.text + u')');
        // SQLite names the failed constraint; the name holds the object's id to find it by.
        clauses.append(QStringLiteral("CONSTRAINT \"tsql_check_%1\" CHECK (%2)").arg(id).arg(condition));
    }
    return clauses;
}

ServerError SessionState::CheckConflict(int checkId, const QString& verb) {
    const CatalogueObject check = Catalogue::ObjectById(*mDb, Schema(), checkId);
    const CatalogueObject table = Catalogue::ObjectById(*mDb, Schema(), check.parent);
    return ServerError::Make(
        547, 16,
        QStringLiteral("The %1 statement conflicted with the CHECK constraint \"%2\". The "
                       "conflict occurred in database \"%3\", table \"%4.%5\".")
            .arg(verb, check.name, database, Catalogue::UserName(*mDb, Schema(), table.uid), table.name));
}
