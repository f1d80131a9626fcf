#include "ServerError.h"
#include "SqlTranslator.h"

// The catalogue functions of the newer servers: a module's definition and the schema names of
// objects. A schema is one made with CREATE SCHEMA or else a user (the owners of the older
// databases, numbered by the user's id), with INFORMATION_SCHEMA and sys at the ids the server
// gives them.

namespace {

// The id is read once, outside the look-ups, so that a bare column in it (SCHEMA_NAME(uid)) can't
// bind to the catalogue table searched.
const QString kSchemaName =
    QStringLiteral("(SELECT CASE arg.v WHEN 3 THEN 'INFORMATION_SCHEMA' WHEN 4 THEN 'sys' ELSE "
                   "(SELECT sch.name FROM \"%1\".engine_schemas sch WHERE sch.id = arg.v UNION ALL "
                   "SELECT usr.name FROM \"%1\".sysusers usr WHERE usr.uid = arg.v LIMIT 1) END "
                   "FROM (SELECT %2 AS v) arg)");

} // namespace

QString SqlTranslator::CatalogueFunction(const SqlExpr& e, const QString& f) {
    auto need = [&](int min, int max) {
        if (e.args.size() < min || e.args.size() > max)
            throw ServerError::Make(
                174, 15,
                QStringLiteral("The %1 function requires %2 argument(s).").arg(e.text.toLower()).arg(min),
                true);
    };
    const QString s = mContext.Schema();
    if (f == QLatin1String("OBJECT_DEFINITION")) {
        need(1, 1);
        return QStringLiteral("(SELECT group_concat(c.text, '') FROM (SELECT text FROM \"%1\".syscomments "
                              "WHERE id = (%2) ORDER BY number, colid) c)")
            .arg(s, Expr(*e.args[0]));
    }
    if (f == QLatin1String("OBJECT_SCHEMA_NAME")) {
        need(1, 2);
        if (e.args.size() == 2)
            throw ServerError::Unsupported(QStringLiteral("OBJECT_SCHEMA_NAME with a database id"));
        return kSchemaName.arg(
            s, QStringLiteral("(SELECT obj.uid FROM \"%1\".sysobjects obj WHERE obj.id = (%2))")
                   .arg(s, Expr(*e.args[0])));
    }
    if (f == QLatin1String("SCHEMA_NAME")) {
        need(0, 1);
        // Without an argument: the caller's default schema, which is the owner its names resolve to.
        if (e.args.isEmpty())
            return kSchemaName.arg(s, QString::number(mContext.UserUid()));
        return kSchemaName.arg(s, u'(' + Expr(*e.args[0]) + u')');
    }
    if (f == QLatin1String("SCHEMA_ID")) {
        need(0, 1);
        if (e.args.isEmpty())
            return QString::number(mContext.UserUid());
        const QString name = Expr(*e.args[0]);
        return QStringLiteral(
                   "(SELECT CASE WHEN %2 = 'INFORMATION_SCHEMA' THEN 3 WHEN %2 = 'sys' THEN 4 ELSE "
                   "(SELECT u.id FROM \"%1\".engine_schemas u WHERE u.name = %2 UNION ALL "
                   "SELECT u.uid FROM \"%1\".sysusers u WHERE u.name = %2 AND u.uid NOT IN (3, 4) LIMIT 1) "
                   "END)")
            .arg(s, name);
    }
    if (f == QLatin1String("TYPE_NAME")) {
        need(1, 1);
        return QStringLiteral("(SELECT t.name FROM \"%1\".systypes t WHERE t.xusertype = (%2))")
            .arg(s, Expr(*e.args[0]));
    }
    if (f == QLatin1String("TYPE_ID")) {
        need(1, 1);
        // The name may carry its schema: dbo.Flag.
        return QStringLiteral(
                   "(SELECT t.xusertype FROM \"%1\".systypes t, (SELECT (%2) AS n) a WHERE t.name = a.n "
                   "OR a.n = (SELECT u.name FROM \"%1\".engine_schemas u WHERE u.id = t.uid UNION ALL "
                   "SELECT u.name FROM \"%1\".sysusers u WHERE u.uid = t.uid LIMIT 1) || '.' || t.name "
                   "LIMIT 1)")
            .arg(s, Expr(*e.args[0]));
    }
    return {};
}
