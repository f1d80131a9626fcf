// sp_addextendedproperty, sp_updateextendedproperty and sp_dropextendedproperty: named values on the
// database, a schema, an object, or a column, parameter, constraint or trigger of one. Test
// frameworks mark their classes with them and documentation tools keep descriptions in them; they
// are rows of engine_extended_properties, listed by sys.extended_properties and
// fn_listextendedproperty.
#include "SessionState.h"

namespace {

const char* const kLevelParams[] = {"@level0type", "@level0name", "@level1type",
                                    "@level1name", "@level2type", "@level2name"};

// Where a property hangs, as sys.extended_properties names it.
struct PropertyTarget {
    int cls = 0;
    qlonglong major = 0;
    qlonglong minor = 0;
    int owner = 1;   // the owner of the schema, who may change the property
    QString written; // schema.object.column, for the messages
};

ServerError InvalidTarget(const QString& written) {
    return ServerError::Make(
        15135, 16,
        QStringLiteral("Object is invalid. Extended properties are not permitted on '%1', or the object does "
                       "not exist.")
            .arg(written));
}

ServerError InvalidOption(const QString& procedure) {
    return ServerError::Make(
        15600, 15,
        QStringLiteral("An invalid parameter or option was specified for procedure '%1'.").arg(procedure));
}

QString Text(const QVariant& v) {
    return v.isValid() && !v.isNull() ? v.toString().trimmed() : QString();
}

// levels: type and name of level 0, 1 and 2, as given (empty when not).
PropertyTarget ResolveTarget(SqliteDb& db, const QStringList& levels, const QString& procedure,
                             const QString& database) {
    PropertyTarget t;
    // A level's name without its type, or a level below one not given, is no place at all.
    qsizetype depth = 0;
    for (qsizetype level = 0; level < 3; ++level) {
        const bool typed = !levels[level * 2].isEmpty();
        const bool named = !levels[level * 2 + 1].isEmpty();
        if (typed != named || (typed && depth != level))
            throw InvalidOption(procedure);
        if (typed)
            depth = level + 1;
    }
    if (depth == 0) {
        t.written = database;
        return t;
    }
    const QString type0 = levels[0].toUpper();
    if (type0 != QLatin1String("SCHEMA") && type0 != QLatin1String("USER"))
        throw ServerError::Unsupported(QStringLiteral("extended properties on a %1").arg(type0.toLower()));
    t.written = levels[1];
    const QList<QVariantList> schema = db.Rows(
        QStringLiteral("SELECT id, owner FROM engine_schemas WHERE name = ?1 UNION ALL SELECT uid, uid FROM "
                       "sysusers WHERE name = ?1 AND uid NOT IN (3, 4) AND (issqlrole = 0 OR uid BETWEEN "
                       "16384 AND 16393) LIMIT 1"),
        {levels[1]});
    if (schema.isEmpty())
        throw InvalidTarget(t.written);
    t.owner = schema.first()[1].toInt();
    t.cls = 3;
    t.major = schema.first()[0].toLongLong();
    if (depth == 1)
        return t;
    const QString type1 = levels[2].toUpper();
    t.written += u'.' + levels[3];
    const QList<QVariantList> objects =
        db.Rows(QStringLiteral("SELECT id, rtrim(xtype) FROM sysobjects WHERE name = ? AND uid = ? AND "
                               "parent_obj = 0"),
                {levels[3], t.major});
    const QString xtype = objects.isEmpty() ? QString() : objects.first()[1].toString();
    const bool fits =
        (type1 == QLatin1String("TABLE") && xtype == QLatin1String("U")) ||
        (type1 == QLatin1String("VIEW") && xtype == QLatin1String("V")) ||
        (type1 == QLatin1String("PROCEDURE") && xtype == QLatin1String("P")) ||
        (type1 == QLatin1String("FUNCTION") &&
         (xtype == QLatin1String("FN") || xtype == QLatin1String("IF") || xtype == QLatin1String("TF")));
    if (!fits)
        throw InvalidTarget(t.written);
    t.cls = 1;
    t.major = objects.first()[0].toLongLong();
    if (depth == 2)
        return t;
    const QString type2 = levels[4].toUpper();
    t.written += u'.' + levels[5];
    if (type2 == QLatin1String("COLUMN") || type2 == QLatin1String("PARAMETER")) {
        // Parameters are kept as the columns of their module, under their @names.
        const bool parameter = type2 == QLatin1String("PARAMETER");
        if (parameter == (xtype == QLatin1String("U") || xtype == QLatin1String("V")))
            throw InvalidTarget(t.written);
        const QVariant colid =
            db.Scalar(QStringLiteral("SELECT colid FROM syscolumns WHERE id = ? AND name = ? AND colid > 0"),
                      {t.major, levels[5]});
        if (!colid.isValid())
            throw InvalidTarget(t.written);
        t.cls = parameter ? 2 : 1;
        t.minor = colid.toLongLong();
        return t;
    }
    if (type2 == QLatin1String("CONSTRAINT") || type2 == QLatin1String("TRIGGER")) {
        const QVariant id =
            db.Scalar(QStringLiteral("SELECT id FROM sysobjects WHERE parent_obj = ? AND name = ? AND %1")
                          .arg(type2 == QLatin1String("TRIGGER")
                                   ? QStringLiteral("xtype = 'TR'")
                                   : QStringLiteral("xtype IN ('PK', 'UQ', 'F', 'C', 'D')")),
                      {t.major, levels[5]});
        if (!id.isValid())
            throw InvalidTarget(t.written);
        t.major = id.toLongLong();
        return t;
    }
    throw ServerError::Unsupported(QStringLiteral("extended properties on a %1").arg(type2.toLower()));
}

} // namespace

bool SessionState::RunPropertyProcedure(const QString& name, const SqlStatement& s) {
    static const QStringList procedures = {QStringLiteral("sp_addextendedproperty"),
                                           QStringLiteral("sp_updateextendedproperty"),
                                           QStringLiteral("sp_dropextendedproperty")};
    int which = -1;
    for (int i = 0; i < procedures.size(); ++i)
        if (name.compare(procedures[i], Qt::CaseInsensitive) == 0)
            which = i;
    if (which < 0)
        return false;
    const QString& procName = procedures[which];
    const bool drop = which == 2;
    QStringList params = {QStringLiteral("@name")};
    if (!drop)
        params.append(QStringLiteral("@value"));
    for (const char* p : kLevelParams)
        params.append(QString::fromLatin1(p));
    const QVariantList args = SystemProcedureArgs(s, params, procName);
    const QString propertyName = Text(args[0]);
    if (propertyName.isEmpty())
        throw ServerError::Make(
            15600, 15,
            QStringLiteral("An invalid parameter or option was specified for procedure '%1'.").arg(procName));
    const qsizetype first = drop ? 1 : 2;
    QStringList levels;
    for (qsizetype i = first; i < first + 6; ++i)
        levels.append(Text(args[i]));
    const PropertyTarget t = ResolveTarget(*mDb, levels, procName, database);
    // The schema's owner and the database's owners may describe what is in it.
    if (!IsDbOwner() && !MyPrincipals().contains(t.owner))
        throw InvalidTarget(t.written);
    const QVariant value = drop ? QVariant() : args[1];
    const QVariantList key = {t.cls, t.major, t.minor, propertyName};
    const bool exists =
        mDb->Scalar(
               QStringLiteral("SELECT 1 FROM engine_extended_properties WHERE class = ? AND major_id = ? "
                              "AND minor_id = ? AND name = ?"),
               key)
            .isValid();
    mRowCount = 0;
    if (which == 0) {
        if (exists)
            throw ServerError::Make(
                15233, 16,
                QStringLiteral("Property cannot be added. Property '%1' already exists for "
                               "'%2'.")
                    .arg(propertyName, t.written));
        mDb->Exec(QStringLiteral("INSERT INTO engine_extended_properties (class, major_id, minor_id, name, "
                                 "value) VALUES (?,?,?,?,?)"),
                  key + QVariantList{value});
        return true;
    }
    if (!exists)
        throw ServerError::Make(
            15217, 16,
            QStringLiteral("Property cannot be updated or deleted. Property '%1' does not "
                           "exist for '%2'.")
                .arg(propertyName, t.written));
    if (drop)
        mDb->Exec(
            QStringLiteral("DELETE FROM engine_extended_properties WHERE class = ? AND major_id = ? AND "
                           "minor_id = ? AND name = ?"),
            key);
    else
        mDb->Exec(QStringLiteral("UPDATE engine_extended_properties SET value = ? WHERE class = ? AND "
                                 "major_id = ? AND minor_id = ? AND name = ?"),
                  QVariantList{value} + key);
    return true;
}

QString SessionState::ListExtendedProperties(const SqlTableRef& ref, const QString& schema,
                                             SqlTranslator& translator) {
    if (ref.args.size() > 7)
        throw ServerError::Make(
            8144, 16,
            QStringLiteral("Procedure or function fn_listextendedproperty has too many arguments specified."),
            true);
    if (ref.args.size() < 7)
        throw ServerError::Make(313, 16,
                                QStringLiteral("An insufficient number of arguments were supplied for the "
                                               "procedure or function fn_listextendedproperty."),
                                true);
    QStringList args;
    for (const SqlExprP& a : ref.args)
        args.append(translator.Expr(*a));
    return Catalogue::ListExtendedProperties(schema, args);
}
