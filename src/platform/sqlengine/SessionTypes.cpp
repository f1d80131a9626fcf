// User types (CREATE TYPE ... FROM): rows of systypes after the system types, each naming its base
// type by xtype, size and nullability. Columns, parameters and variables of a user type are made
// as ones of its base type. Table types are in SessionUserTypes.cpp.
#include "Catalogue.h"
#include "SessionState.h"

namespace {

// The first id a user type takes; below it are the system types and sysname.
constexpr int kFirstUserType = 257;

} // namespace

void SessionState::CreateType(const SqlStatement& s) {
    if (!IsDbOwner() && !MyPrincipals().contains(16387))
        throw ServerError::Make(
            262, 14, QStringLiteral("CREATE TYPE permission denied in database '%1'.").arg(database));
    const QString name = s.target.last();
    const int uid = OwnerUid(s.target, s.line);
    if (Catalogue::FindType(name) ||
        mDb->Scalar(QStringLiteral("SELECT 1 FROM systypes WHERE name = ?"), {name}).isValid())
        throw ServerError::Make(
            219, 16,
            QStringLiteral("The type '%1' already exists, or you do not have permission to create it.")
                .arg(name));
    if (s.objectKind == QLatin1String("TABLE")) {
        CreateTableType(s, uid);
        return;
    }
    const SqlColumnDef& c = s.columnDefs.first();
    const SqlTypeSpec base = ResolveType(c.type);
    const SystemType* t = Catalogue::FindType(base.name);
    if (!t || QLatin1String(t->name) == QLatin1String("sysname") || t->xtype == 240 || t->xtype == 241)
        throw ServerError::Make(
            2715, 16,
            QStringLiteral("Column, parameter, or variable #1: Cannot find data type %1.").arg(c.type.name));
    int length = 0, precision = 0, scale = 0;
    Catalogue::ColumnSize(base, &length, &precision, &scale);
    const int id =
        qMax(kFirstUserType, mDb->Scalar(QStringLiteral("SELECT MAX(xusertype) FROM systypes")).toInt() + 1);
    mDb->Exec(QStringLiteral("INSERT INTO systypes (name, xtype, status, xusertype, length, xprec, xscale, "
                             "tdefault, domain, uid, reserved, collationid, usertype, variable, allownulls, "
                             "type, prec, scale) VALUES (?,?,0,?,?,?,?,0,0,?,0,0,?,?,?,?,?,?)"),
              {name, t->xtype, id, length, precision, scale, uid, id, t->variable ? 1 : 0,
               c.nullGiven && !c.nullable ? 0 : 1, t->xtype, precision, scale});
}

SqlTypeSpec SessionState::ResolveType(const SqlTypeSpec& type, bool* notNull) {
    if (!type.IsValid() || Catalogue::FindType(type.name) || !mDb)
        return type;
    const QList<QVariantList> rows = mDb->Rows(
        QStringLiteral("SELECT xtype, length, xprec, xscale, allownulls FROM systypes WHERE name = ? "
                       "AND xusertype >= ?"),
        {type.name, kFirstUserType});
    if (rows.isEmpty())
        return type;
    const QVariantList& r = rows.first();
    const SystemType* t = Catalogue::FindTypeById(r[0].toInt());
    if (!t)
        return type;
    SqlTypeSpec base;
    base.name = QString::fromLatin1(t->name);
    const QString n = base.name;
    if (t->character && t->length == 8000) {
        const int bytes = r[1].toInt();
        base.length = bytes < 0 ? -2 : (t->unicode ? bytes / 2 : bytes);
    } else if (n == QLatin1String("binary") || n == QLatin1String("varbinary")) {
        base.length = r[1].toInt() < 0 ? -2 : r[1].toInt();
    } else if (n == QLatin1String("decimal") || n == QLatin1String("numeric")) {
        base.length = base.precision = r[2].toInt();
        base.scale = r[3].toInt();
    }
    if (notNull)
        *notNull = r[4].toInt() == 0;
    return base;
}
