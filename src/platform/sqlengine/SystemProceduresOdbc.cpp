// The catalogue procedures ODBC drivers call for SQLTables, SQLColumns, SQLProcedures and the like,
// with the server's result shapes (column names, types and order), so that a driver can read them.
#include "SessionState.h"

#include <QRegularExpression>

namespace {

enum TypeId { TinyInt = 48, SmallInt = 52, Int = 56, VarChar = 167, NVarChar = 231 };

SqlColumn column(const char* name, int typeId, int length = 0) {
    SqlColumn c;
    c.name = QString::fromLatin1(name);
    c.typeId = typeId;
    c.length = length != 0          ? length
               : typeId == SmallInt ? 2
               : typeId == Int      ? 4
               : typeId == TinyInt  ? 1
                                    : 256;
    return c;
}

SqlColumn sysname(const char* name) {
    return column(name, NVarChar, 256);
}

// The procedures and their parameters in the order they are given without names.
struct OdbcProcedure {
    const char* name;
    QList<const char*> params;
};

const OdbcProcedure kProcedures[] = {
    {"sp_tables", {"@table_name", "@table_owner", "@table_qualifier", "@table_type", "@fUsePattern"}},
    {"sp_columns", {"@table_name", "@table_owner", "@table_qualifier", "@column_name", "@ODBCVer"}},
    {"sp_stored_procedures", {"@sp_name", "@sp_owner", "@sp_qualifier", "@fUsePattern"}},
    {"sp_sproc_columns",
     {"@procedure_name", "@procedure_owner", "@procedure_qualifier", "@column_name", "@ODBCVer",
      "@fUsePattern"}},
    {"sp_pkeys", {"@table_name", "@table_owner", "@table_qualifier"}},
    {"sp_fkeys",
     {"@pktable_name", "@pktable_owner", "@pktable_qualifier", "@fktable_name", "@fktable_owner",
      "@fktable_qualifier"}},
    {"sp_statistics",
     {"@table_name", "@table_owner", "@table_qualifier", "@index_name", "@is_unique", "@accuracy"}},
    {"sp_special_columns",
     {"@table_name", "@table_owner", "@table_qualifier", "@col_type", "@scope", "@nullable", "@ODBCVer"}},
    {"sp_datatype_info", {"@data_type", "@ODBCVer"}},
};

// What ODBC says about each of the server's types.
struct OdbcType {
    const char* name;
    int dataType;    // ODBC 3
    int odbc2Type;   // what ODBC 2 called it
    int precision;   // 0: from the column
    int radix;       // 0: none
    int sqlDataType; // the verbose type
    int datetimeSub; // 0: none
    int ssDataType;  // the server's own type number
    const char* prefix;
    const char* suffix;
    const char* createParams;
    bool caseSensitive;
    bool isUnsigned;
    bool money;
    int minScale, maxScale; // -1: none
};

const OdbcType kOdbcTypes[] = {
    {"bit", -7, -7, 1, 0, -7, 0, 50, nullptr, nullptr, nullptr, false, false, false, -1, -1},
    {"tinyint", -6, -6, 3, 10, -6, 0, 38, nullptr, nullptr, nullptr, false, true, false, 0, 0},
    {"smallint", 5, 5, 5, 10, 5, 0, 38, nullptr, nullptr, nullptr, false, false, false, 0, 0},
    {"int", 4, 4, 10, 10, 4, 0, 38, nullptr, nullptr, nullptr, false, false, false, 0, 0},
    {"bigint", -5, -5, 19, 10, -5, 0, 108, nullptr, nullptr, nullptr, false, false, false, 0, 0},
    {"real", 7, 7, 24, 2, 7, 0, 109, nullptr, nullptr, nullptr, false, false, false, -1, -1},
    {"float", 6, 6, 53, 2, 6, 0, 109, nullptr, nullptr, nullptr, false, false, false, -1, -1},
    {"decimal", 3, 3, 0, 10, 3, 0, 106, nullptr, nullptr, "precision,scale", false, false, false, 0, 38},
    {"numeric", 2, 2, 0, 10, 2, 0, 108, nullptr, nullptr, "precision,scale", false, false, false, 0, 38},
    {"money", 3, 3, 19, 10, 3, 0, 110, "$", nullptr, nullptr, false, false, true, 4, 4},
    {"smallmoney", 3, 3, 10, 10, 3, 0, 110, "$", nullptr, nullptr, false, false, true, 4, 4},
    {"datetime", 93, 11, 23, 0, 9, 3, 111, "'", "'", nullptr, false, false, false, 3, 3},
    {"smalldatetime", 93, 11, 16, 0, 9, 3, 111, "'", "'", nullptr, false, false, false, 0, 0},
    {"date", 91, 9, 10, 0, 9, 1, 0, "'", "'", nullptr, false, false, false, -1, -1},
    {"char", 1, 1, 0, 0, 1, 0, 47, "'", "'", "length", false, false, false, -1, -1},
    {"varchar", 12, 12, 0, 0, 12, 0, 39, "'", "'", "max length", false, false, false, -1, -1},
    {"nchar", -8, -8, 0, 0, -8, 0, 39, "N'", "'", "length", false, false, false, -1, -1},
    {"nvarchar", -9, -9, 0, 0, -9, 0, 39, "N'", "'", "max length", false, false, false, -1, -1},
    {"sysname", -9, -9, 128, 0, -9, 0, 39, "N'", "'", nullptr, false, false, false, -1, -1},
    {"text", -1, -1, 2147483647, 0, -1, 0, 35, "'", "'", nullptr, false, false, false, -1, -1},
    {"ntext", -10, -10, 1073741823, 0, -10, 0, 35, "N'", "'", nullptr, false, false, false, -1, -1},
    {"binary", -2, -2, 0, 0, -2, 0, 45, "0x", nullptr, "length", false, false, false, -1, -1},
    {"varbinary", -3, -3, 0, 0, -3, 0, 37, "0x", nullptr, "max length", false, false, false, -1, -1},
    {"image", -4, -4, 2147483647, 0, -4, 0, 34, "0x", nullptr, nullptr, false, false, false, -1, -1},
    {"uniqueidentifier", -11, -11, 36, 0, -11, 0, 39, "'", "'", nullptr, false, false, false, -1, -1},
    {"timestamp", -2, -2, 8, 0, -2, 0, 45, "0x", nullptr, nullptr, false, false, false, -1, -1},
    {"sql_variant", -150, -150, 8000, 0, -150, 0, 39, nullptr, nullptr, nullptr, false, false, false, 0, 0},
};

const OdbcType* odbcType(const QString& name) {
    for (const OdbcType& t : kOdbcTypes)
        if (name.compare(QLatin1String(t.name), Qt::CaseInsensitive) == 0)
            return &t;
    return nullptr;
}

QVariant nullable(int value, bool present) {
    return present ? QVariant(value) : QVariant();
}

// LIKE as ODBC catalogue arguments use it: % and _ wild, [x] a class, \x the character itself.
QRegularExpression likePattern(const QString& pattern) {
    QString rx = QStringLiteral("^");
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern[i];
        if (c == u'%') {
            rx += QStringLiteral(".*");
        } else if (c == u'_') {
            rx += u'.';
        } else if (c == u'\\' && i + 1 < pattern.size()) {
            rx += QRegularExpression::escape(QString(pattern[++i]));
        } else if (c == u'[') {
            const qsizetype close = pattern.indexOf(u']', i + 1);
            if (close < 0) {
                rx += QStringLiteral("\\[");
                continue;
            }
            QString inside = pattern.mid(i + 1, close - i - 1);
            const bool negate = inside.startsWith(u'^');
            if (negate)
                inside = inside.mid(1);
            QString cls;
            for (const QChar k : inside)
                cls += k == u'-' ? QStringLiteral("-") : QRegularExpression::escape(QString(k));
            rx += (negate ? QStringLiteral("[^") : QStringLiteral("[")) + cls + u']';
            i = close;
        } else {
            rx += QRegularExpression::escape(QString(c));
        }
    }
    return QRegularExpression(rx + u'$', QRegularExpression::CaseInsensitiveOption |
                                             QRegularExpression::DotMatchesEverythingOption);
}

// Whether a name passes an argument: no argument passes all; with usePattern a LIKE pattern.
bool passes(const QVariant& arg, const QString& name, bool usePattern = true) {
    if (!arg.isValid() || arg.isNull())
        return true;
    const QString a = arg.toString();
    if (!usePattern)
        return a.compare(name, Qt::CaseInsensitive) == 0;
    return likePattern(a).match(name).hasMatch();
}

} // namespace

bool SessionState::RunOdbcProcedure(const QString& name, const SqlStatement& s) {
    // Drivers of TDS 7.2 and later call the _90 and _100 forms, which differ from the first in the
    // codes of the date and time types (ours are those already).
    QString base = name;
    for (const QLatin1String suffix : {QLatin1String("_100"), QLatin1String("_90")})
        if (base.endsWith(suffix, Qt::CaseInsensitive))
            base.chop(suffix.size());
    const OdbcProcedure* proc = nullptr;
    for (const OdbcProcedure& p : kProcedures)
        if (base.compare(QLatin1String(p.name), Qt::CaseInsensitive) == 0)
            proc = &p;
    if (!proc)
        return false;
    const QString procName = QString::fromLatin1(proc->name);
    QStringList names;
    for (const char* p : proc->params)
        names.append(QLatin1String(p));
    const QVariantList args = SystemProcedureArgs(s, names, procName);
    // A qualifier names the current database, or the procedure gives nothing.
    const auto otherDatabase = [&](qsizetype i) {
        return i < args.size() && args[i].isValid() && !args[i].isNull() && !args[i].toString().isEmpty() &&
               args[i].toString() != QLatin1String("%") &&
               args[i].toString().compare(database, Qt::CaseInsensitive) != 0;
    };
    SqlRowSet rs;
    const QString& n = procName;
    if (n == QLatin1String("sp_tables"))
        rs = OdbcTables(args, otherDatabase(2));
    else if (n == QLatin1String("sp_columns") || n == QLatin1String("sp_sproc_columns"))
        rs = OdbcColumns(args, n == QLatin1String("sp_sproc_columns"), otherDatabase(2));
    else if (n == QLatin1String("sp_stored_procedures"))
        rs = OdbcProcedures(args, otherDatabase(2));
    else if (n == QLatin1String("sp_pkeys") || n == QLatin1String("sp_special_columns") ||
             n == QLatin1String("sp_statistics"))
        rs = OdbcKeys(n, args, otherDatabase(2));
    else if (n == QLatin1String("sp_fkeys"))
        rs = OdbcForeignKeys();
    else
        rs = OdbcTypes(args);
    mRowCount = rs.rows.size();
    Put(SqlResult::Rows(rs));
    return true;
}

// The user's tables, views and catalogue tables (or, for a qualifier of % alone, the databases).
SqlRowSet SessionState::OdbcTables(const QVariantList& args, bool elsewhere) {
    SqlRowSet rs;
    rs.columns = {sysname("TABLE_QUALIFIER"), sysname("TABLE_OWNER"), sysname("TABLE_NAME"),
                  column("TABLE_TYPE", VarChar, 32), column("REMARKS", VarChar, 254)};
    const auto given = [&](int i) { return args[i].isValid() && !args[i].isNull(); };
    if (given(2) && args[2].toString() == QLatin1String("%") && !given(0) && !given(1)) {
        for (const QVariantList& r : mDb->Rows(
                 QStringLiteral("SELECT name FROM \"%1\".sysdatabases ORDER BY name").arg(MasterSchema())))
            rs.rows.append({r[0], QVariant(), QVariant(), QVariant(), QVariant()});
        return rs;
    }
    if (elsewhere)
        return rs;
    const bool usePattern = !given(4) || args[4].toInt() != 0;
    QStringList types;
    if (given(3))
        for (QString t : args[3].toString().split(u','))
            types.append(t.remove(u'\'').trimmed().toUpper());
    QList<QVariantList> rows;
    for (const QVariantList& r : mDb->Rows(
             QStringLiteral("SELECT o.name, trim(o.xtype), u.name FROM sysobjects o LEFT JOIN (SELECT "
                            "uid, name FROM sysusers UNION ALL SELECT id, name FROM "
                            "engine_schemas) u ON u.uid = o.uid "
                            "WHERE trim(o.xtype) IN ('U', 'V', 'S') AND substr(o.name, 1, 1) <> '#'"))) {
        const QString xtype = r[1].toString();
        const QString type = xtype == QLatin1String("U")   ? QStringLiteral("TABLE")
                             : xtype == QLatin1String("V") ? QStringLiteral("VIEW")
                                                           : QStringLiteral("SYSTEM TABLE");
        if (!types.isEmpty() && !types.contains(type))
            continue;
        if (!passes(args[0], r[0].toString(), usePattern) || !passes(args[1], r[2].toString(), usePattern))
            continue;
        rows.append({database, r[2], r[0], type, QVariant()});
    }
    std::sort(rows.begin(), rows.end(), [](const QVariantList& a, const QVariantList& b) {
        for (const int i : {3, 1, 2}) {
            const int c = a[i].toString().compare(b[i].toString(), Qt::CaseInsensitive);
            if (c != 0)
                return c < 0;
        }
        return false;
    });
    rs.rows = rows;
    return rs;
}

namespace {

// The objects of one kind whose name and owner pass the arguments.
struct Named {
    int id;
    QString name;
    QString owner;
    bool procedure; // a procedure's return status comes first as @RETURN_VALUE int
};

} // namespace

// The columns of tables and views (sp_columns) or the parameters of procedures (sp_sproc_columns).
SqlRowSet SessionState::OdbcColumns(const QVariantList& args, bool procedures, bool elsewhere) {
    SqlRowSet rs;
    const bool odbc3 = args[4].isValid() && !args[4].isNull() ? args[4].toInt() >= 3 : true;
    if (procedures)
        rs.columns = {sysname("PROCEDURE_QUALIFIER"), sysname("PROCEDURE_OWNER"),
                      column("PROCEDURE_NAME", NVarChar, 268), sysname("COLUMN_NAME"),
                      column("COLUMN_TYPE", SmallInt)};
    else
        rs.columns = {sysname("TABLE_QUALIFIER"), sysname("TABLE_OWNER"), sysname("TABLE_NAME"),
                      sysname("COLUMN_NAME")};
    rs.columns += {column("DATA_TYPE", SmallInt),
                   sysname("TYPE_NAME"),
                   column("PRECISION", Int),
                   column("LENGTH", Int),
                   column("SCALE", SmallInt),
                   column("RADIX", SmallInt),
                   column("NULLABLE", SmallInt),
                   column("REMARKS", VarChar, 254),
                   column("COLUMN_DEF", NVarChar, 8000),
                   column("SQL_DATA_TYPE", SmallInt),
                   column("SQL_DATETIME_SUB", SmallInt),
                   column("CHAR_OCTET_LENGTH", Int),
                   column("ORDINAL_POSITION", Int),
                   column("IS_NULLABLE", VarChar, 254),
                   column("SS_DATA_TYPE", TinyInt)};
    if (elsewhere)
        return rs;
    const bool usePattern = !procedures || !args[5].isValid() || args[5].isNull() || args[5].toInt() != 0;
    QList<Named> objects;
    for (const QVariantList& r :
         mDb->Rows(QStringLiteral("SELECT o.id, o.name, u.name, trim(o.xtype) FROM sysobjects o LEFT JOIN "
                                  "(SELECT uid, name FROM sysusers UNION ALL SELECT id, name FROM "
                                  "engine_schemas) u ON "
                                  "u.uid = o.uid WHERE trim(o.xtype) IN (%1) AND substr(o.name, 1, 1) <> '#' "
                                  "ORDER BY u.name, o.name")
                       .arg(procedures ? QStringLiteral("'P', 'FN'") : QStringLiteral("'U', 'V', 'S'")))) {
        const QString objectName = r[1].toString();
        if (passes(args[0], procedures ? objectName + QStringLiteral(";1") : objectName, usePattern) ||
            (procedures && passes(args[0], objectName, usePattern)))
            if (passes(args[1], r[2].toString(), usePattern))
                objects.append(
                    {r[0].toInt(), objectName, r[2].toString(), r[3].toString() == QLatin1String("P")});
    }
    for (const Named& o : objects) {
        QList<QVariantList> described = mDb->Rows(
            QStringLiteral("SELECT name, xtype, xusertype, length, prec, scale, isnullable, colid, colstat, "
                           "isoutparam FROM syscolumns WHERE id = ? ORDER BY colid"),
            {o.id});
        if (procedures && o.procedure)
            described.prepend({QString(), Int, Int, 4, 10, 0, 0, 0, 0, 1});
        for (const QVariantList& c : described) {
            const bool returnValue = procedures && c[0].toString().isEmpty();
            const QString columnName = returnValue ? QStringLiteral("@RETURN_VALUE") : c[0].toString();
            if (!passes(args[3], columnName, usePattern))
                continue;
            const SystemType* t = Catalogue::FindTypeById(c[1].toInt());
            QString typeName = c[2].toInt() == 256 ? QStringLiteral("sysname")
                               : t                 ? QString::fromLatin1(t->name)
                                                   : QStringLiteral("sql_variant");
            const OdbcType* ot = odbcType(typeName);
            if (!ot)
                ot = odbcType(QStringLiteral("sql_variant"));
            const int length = c[3].toInt();
            const bool max = length < 0;
            const bool character = t && t->character && QLatin1String(t->name) != QLatin1String("text") &&
                                   QLatin1String(t->name) != QLatin1String("ntext");
            const bool unicode = t && t->unicode;
            const bool binaryLike =
                typeName == QLatin1String("binary") || typeName == QLatin1String("varbinary");
            int precision = ot->precision;
            int bytes = length;
            if (ot->precision == 0 && (character || binaryLike)) {
                precision = max ? (unicode ? 1073741823 : 2147483647) : (unicode ? length / 2 : length);
                bytes = max ? 2147483647 : length;
            } else if (typeName == QLatin1String("decimal") || typeName == QLatin1String("numeric")) {
                precision = c[4].toInt();
                bytes = precision + 2;
            } else if (typeName == QLatin1String("money")) {
                bytes = 21;
            } else if (typeName == QLatin1String("smallmoney")) {
                bytes = 12;
            } else if (typeName == QLatin1String("datetime") || typeName == QLatin1String("smalldatetime")) {
                bytes = 16;
            } else if (typeName == QLatin1String("date")) {
                bytes = 6;
            } else if (typeName == QLatin1String("sysname")) {
                bytes = 256;
            }
            const bool scaled = ot->minScale >= 0 || typeName == QLatin1String("decimal") ||
                                typeName == QLatin1String("numeric") || ot->radix == 10;
            const int scale = typeName == QLatin1String("decimal") || typeName == QLatin1String("numeric")
                                  ? c[5].toInt()
                                  : std::max(ot->minScale, 0);
            if ((c[8].toInt() & 1) != 0)
                typeName += QStringLiteral(" identity");
            const bool isNullable = c[6].toInt() != 0;
            QVariantList row;
            if (procedures)
                row = {database, o.owner, o.name + QStringLiteral(";1"), columnName,
                       returnValue         ? 5
                       : c[9].toInt() != 0 ? 2
                                           : 1};
            else
                row = {database, o.owner, o.name, columnName};
            row += {odbc3 ? ot->dataType : ot->odbc2Type,
                    typeName,
                    precision,
                    bytes,
                    scaled ? QVariant(scale) : QVariant(),
                    nullable(ot->radix, ot->radix != 0),
                    isNullable ? 1 : 0,
                    QVariant(),
                    QVariant(),
                    odbc3 ? ot->sqlDataType : ot->odbc2Type,
                    nullable(ot->datetimeSub, odbc3 && ot->datetimeSub != 0),
                    character || binaryLike ? QVariant(bytes) : QVariant(),
                    returnValue ? 0 : c[7].toInt(),
                    isNullable ? QStringLiteral("YES") : QStringLiteral("NO"),
                    ot->ssDataType};
            rs.rows.append(row);
        }
    }
    return rs;
}

SqlRowSet SessionState::OdbcProcedures(const QVariantList& args, bool elsewhere) {
    SqlRowSet rs;
    rs.columns = {sysname("PROCEDURE_QUALIFIER"),          sysname("PROCEDURE_OWNER"),
                  column("PROCEDURE_NAME", NVarChar, 268), column("NUM_INPUT_PARAMS", Int),
                  column("NUM_OUTPUT_PARAMS", Int),        column("NUM_RESULT_SETS", Int),
                  column("REMARKS", VarChar, 254),         column("PROCEDURE_TYPE", SmallInt)};
    if (elsewhere)
        return rs;
    const bool usePattern = !args[3].isValid() || args[3].isNull() || args[3].toInt() != 0;
    for (const QVariantList& r :
         mDb->Rows(QStringLiteral("SELECT o.name, u.name FROM sysobjects o LEFT JOIN (SELECT uid, name FROM "
                                  "sysusers UNION ALL SELECT id, name FROM "
                                  "engine_schemas) u ON u.uid = o.uid "
                                  "WHERE trim(o.xtype) IN ('P', 'FN') ORDER BY u.name, o.name"))) {
        const QString full = r[0].toString() + QStringLiteral(";1");
        if ((passes(args[0], full, usePattern) || passes(args[0], r[0].toString(), usePattern)) &&
            passes(args[1], r[1].toString(), usePattern))
            rs.rows.append({database, r[1], full, -1, -1, -1, QVariant(), 2});
    }
    return rs;
}

// sp_pkeys, sp_special_columns (the key that identifies a row) and sp_statistics, from the
// table's key and indexes.
SqlRowSet SessionState::OdbcKeys(const QString& procedure, const QVariantList& args, bool elsewhere) {
    SqlRowSet rs;
    const bool pkeys = procedure == QLatin1String("sp_pkeys");
    const bool special = procedure == QLatin1String("sp_special_columns");
    if (pkeys)
        rs.columns = {sysname("TABLE_QUALIFIER"), sysname("TABLE_OWNER"),      sysname("TABLE_NAME"),
                      sysname("COLUMN_NAME"),     column("KEY_SEQ", SmallInt), sysname("PK_NAME")};
    else if (special)
        rs.columns = {column("SCOPE", SmallInt),     sysname("COLUMN_NAME"),
                      column("DATA_TYPE", SmallInt), sysname("TYPE_NAME"),
                      column("PRECISION", Int),      column("LENGTH", Int),
                      column("SCALE", SmallInt),     column("PSEUDO_COLUMN", SmallInt)};
    else
        rs.columns = {sysname("TABLE_QUALIFIER"),
                      sysname("TABLE_OWNER"),
                      sysname("TABLE_NAME"),
                      column("NON_UNIQUE", SmallInt),
                      sysname("INDEX_QUALIFIER"),
                      sysname("INDEX_NAME"),
                      column("TYPE", SmallInt),
                      column("SEQ_IN_INDEX", SmallInt),
                      sysname("COLUMN_NAME"),
                      column("COLLATION", VarChar, 1),
                      column("CARDINALITY", Int),
                      column("PAGES", Int),
                      column("FILTER_CONDITION", VarChar, 128)};
    if (elsewhere || !args[0].isValid() || args[0].isNull())
        return rs;
    const QString owner = args[1].isValid() && !args[1].isNull() ? args[1].toString() : QString();
    const CatalogueObject table = Catalogue::FindObject(*mDb, Schema(), args[0].toString(), owner, mUid);
    if (!table.IsValid() || table.xtype != QLatin1String("U"))
        return rs;
    const QString ownerName = Catalogue::UserName(*mDb, Schema(), table.uid);
    const QString physical = QStringLiteral("T%1").arg(table.id);
    // The key: an identity key is SQLite's own rowid column; any other is the table's first UNIQUE.
    const QVariant pkName =
        mDb->Scalar(QStringLiteral("SELECT name FROM sysobjects WHERE parent_obj = ? AND trim(xtype) = 'PK'"),
                    {table.id});
    QStringList key;
    for (const QVariantList& r : mDb->Rows(
             QStringLiteral("SELECT name FROM pragma_table_info(?) WHERE pk > 0 ORDER BY pk"), {physical}))
        key.append(r[0].toString());
    if (key.isEmpty() && pkName.isValid())
        for (const QVariantList& r :
             mDb->Rows(QStringLiteral("SELECT name FROM pragma_index_info(?) ORDER BY seqno"),
                       {QStringLiteral("sqlite_autoindex_%1_1").arg(physical)}))
            key.append(r[0].toString());
    if (pkeys) {
        for (int i = 0; i < key.size(); ++i)
            rs.rows.append({database, ownerName, table.name, key[i], i + 1, pkName});
        return rs;
    }
    if (special) {
        const bool versions =
            args[3].isValid() && args[3].toString().compare(QLatin1String("V"), Qt::CaseInsensitive) == 0;
        for (const QVariantList& c :
             mDb->Rows(QStringLiteral(
                           "SELECT name, xtype, length, prec, scale, xusertype FROM syscolumns WHERE id = ? "
                           "ORDER BY colid"),
                       {table.id})) {
            const SystemType* t = Catalogue::FindTypeById(c[1].toInt());
            const QString typeName = t ? QString::fromLatin1(t->name) : QStringLiteral("sql_variant");
            const bool wanted =
                versions ? typeName == QLatin1String("timestamp") : key.contains(c[0].toString());
            if (!wanted)
                continue;
            const OdbcType* ot = odbcType(typeName);
            if (!ot)
                continue;
            const int length = c[2].toInt();
            const int precision = ot->precision != 0 ? ot->precision : t && t->unicode ? length / 2 : length;
            rs.rows.append({versions ? QVariant() : QVariant(1), c[0], ot->dataType, typeName, precision,
                            length, ot->minScale >= 0 ? QVariant(ot->minScale) : QVariant(), 1});
        }
        return rs;
    }
    const qlonglong rows =
        mDb->Scalar(QStringLiteral("SELECT count(*) FROM \"main\".\"%1\"").arg(physical)).toLongLong();
    rs.rows.append({database, ownerName, table.name, QVariant(), QVariant(), QVariant(), 0, QVariant(),
                    QVariant(), QVariant(), rows, QVariant(), QVariant()});
    const bool uniqueOnly =
        args[4].isValid() && !args[4].isNull() && args[4].toString() == QLatin1String("Y");
    const auto addIndex = [&](const QString& indexName, bool unique, const QStringList& columns) {
        if ((uniqueOnly && !unique) || !passes(args[3], indexName))
            return;
        for (int i = 0; i < columns.size(); ++i)
            rs.rows.append({database, ownerName, table.name, unique ? 0 : 1, table.name, indexName, 3, i + 1,
                            columns[i], QStringLiteral("A"), QVariant(), QVariant(), QVariant()});
    };
    if (!key.isEmpty())
        addIndex(pkName.toString(), true, key);
    const QString prefix = QStringLiteral("I%1_").arg(table.id);
    for (const QVariantList& r : mDb->Rows(QStringLiteral("SELECT name, \"unique\" FROM pragma_index_list(?) "
                                                          "WHERE name LIKE ? ORDER BY name"),
                                           {physical, prefix + u'%'})) {
        QStringList columns;
        for (const QVariantList& c :
             mDb->Rows(QStringLiteral("SELECT name FROM pragma_index_info(?) ORDER BY seqno"), {r[0]}))
            columns.append(c[0].toString());
        addIndex(r[0].toString().mid(prefix.size()), r[1].toInt() != 0, columns);
    }
    return rs;
}

// The engine keeps no foreign keys: the shape alone.
SqlRowSet SessionState::OdbcForeignKeys() {
    SqlRowSet rs;
    rs.columns = {sysname("PKTABLE_QUALIFIER"),
                  sysname("PKTABLE_OWNER"),
                  sysname("PKTABLE_NAME"),
                  sysname("PKCOLUMN_NAME"),
                  sysname("FKTABLE_QUALIFIER"),
                  sysname("FKTABLE_OWNER"),
                  sysname("FKTABLE_NAME"),
                  sysname("FKCOLUMN_NAME"),
                  column("KEY_SEQ", SmallInt),
                  column("UPDATE_RULE", SmallInt),
                  column("DELETE_RULE", SmallInt),
                  sysname("FK_NAME"),
                  sysname("PK_NAME"),
                  column("DEFERRABILITY", SmallInt)};
    return rs;
}

SqlRowSet SessionState::OdbcTypes(const QVariantList& args) {
    SqlRowSet rs;
    rs.columns = {sysname("TYPE_NAME"),
                  column("DATA_TYPE", SmallInt),
                  column("PRECISION", Int),
                  column("LITERAL_PREFIX", VarChar, 32),
                  column("LITERAL_SUFFIX", VarChar, 32),
                  column("CREATE_PARAMS", VarChar, 32),
                  column("NULLABLE", SmallInt),
                  column("CASE_SENSITIVE", SmallInt),
                  column("SEARCHABLE", SmallInt),
                  column("UNSIGNED_ATTRIBUTE", SmallInt),
                  column("MONEY", SmallInt),
                  column("AUTO_INCREMENT", SmallInt),
                  sysname("LOCAL_TYPE_NAME"),
                  column("MINIMUM_SCALE", SmallInt),
                  column("MAXIMUM_SCALE", SmallInt),
                  column("SQL_DATA_TYPE", SmallInt),
                  column("SQL_DATETIME_SUB", SmallInt),
                  column("NUM_PREC_RADIX", Int),
                  column("INTERVAL_PRECISION", SmallInt),
                  column("USERTYPE", SmallInt)};
    const bool odbc3 = !args[1].isValid() || args[1].isNull() || args[1].toInt() >= 3;
    const bool filtered = args[0].isValid() && !args[0].isNull() && args[0].toInt() != 0;
    QList<QVariantList> rows;
    for (const OdbcType& t : kOdbcTypes) {
        const int dataType = odbc3 ? t.dataType : t.odbc2Type;
        if (filtered && dataType != args[0].toInt())
            continue;
        const QString name = QString::fromLatin1(t.name);
        const bool text = name.contains(QLatin1String("char")) || name == QLatin1String("sysname") ||
                          name.endsWith(QLatin1String("text"));
        const int precision = t.precision != 0                    ? t.precision
                              : name.startsWith(QLatin1Char('n')) ? 4000
                              : name.contains(QLatin1String("imal")) || name == QLatin1String("numeric")
                                  ? 38
                                  : 8000;
        const bool numeric = t.radix != 0;
        const auto text0 = [](const char* s) { return s ? QVariant(QString::fromLatin1(s)) : QVariant(); };
        rows.append({name,
                     dataType,
                     precision,
                     text0(t.prefix),
                     text0(t.suffix),
                     text0(t.createParams),
                     1,
                     t.caseSensitive ? 1 : 0,
                     name.endsWith(QLatin1String("text")) || name == QLatin1String("image") ? 1 : 3,
                     numeric ? QVariant(t.isUnsigned ? 1 : 0) : QVariant(),
                     t.money ? 1 : 0,
                     numeric && t.minScale == 0 && t.maxScale == 0 ? QVariant(0) : QVariant(),
                     name,
                     t.minScale >= 0 ? QVariant(t.minScale) : QVariant(),
                     t.maxScale >= 0 ? QVariant(t.maxScale) : QVariant(),
                     odbc3 ? t.sqlDataType : dataType,
                     odbc3 && t.datetimeSub != 0 ? QVariant(t.datetimeSub) : QVariant(),
                     numeric ? QVariant(t.radix) : QVariant(),
                     QVariant(),
                     text ? QVariant(0) : QVariant()});
    }
    std::stable_sort(rows.begin(), rows.end(), [](const QVariantList& a, const QVariantList& b) {
        return a[1].toInt() < b[1].toInt();
    });
    rs.rows = rows;
    return rs;
}
