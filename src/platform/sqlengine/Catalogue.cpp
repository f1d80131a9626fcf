#include "Catalogue.h"

#include "SqlDates.h"
#include "SqliteDb.h"

#include <QDateTime>
#include <QRegularExpression>

#include <algorithm>
#include <iterator>
#include <memory>

#include <sqlite3.h>

namespace {

const SystemType kTypes[] = {
    {"bit", 104, 104, 1, 1, 0, false, false, false},
    {"tinyint", 48, 48, 1, 3, 0, false, false, false},
    {"smallint", 52, 52, 2, 5, 0, false, false, false},
    {"int", 56, 56, 4, 10, 0, false, false, false},
    {"bigint", 127, 127, 8, 19, 0, false, false, false},
    {"real", 59, 59, 4, 24, 0, false, false, false},
    {"float", 62, 62, 8, 53, 0, false, false, false},
    {"decimal", 106, 106, 17, 38, 38, false, false, false},
    {"numeric", 108, 108, 17, 38, 38, false, false, false},
    {"money", 60, 60, 8, 19, 4, false, false, false},
    {"smallmoney", 122, 122, 4, 10, 4, false, false, false},
    {"datetime", 61, 61, 8, 23, 3, false, false, false},
    {"smalldatetime", 58, 58, 4, 16, 0, false, false, false},
    {"date", 40, 40, 3, 10, 0, false, false, false},
    {"char", 175, 175, 8000, 0, 0, false, true, false},
    {"varchar", 167, 167, 8000, 0, 0, true, true, false},
    {"nchar", 239, 239, 8000, 0, 0, false, true, true},
    {"nvarchar", 231, 231, 8000, 0, 0, true, true, true},
    {"text", 35, 35, 16, 0, 0, false, true, false},
    {"ntext", 99, 99, 16, 0, 0, false, true, true},
    {"binary", 173, 173, 8000, 0, 0, false, false, false},
    {"varbinary", 165, 165, 8000, 0, 0, true, false, false},
    {"image", 34, 34, 16, 0, 0, false, false, false},
    {"uniqueidentifier", 36, 36, 16, 0, 0, false, false, false},
    {"timestamp", 189, 189, 8, 0, 0, false, false, false},
    {"sql_variant", 98, 98, 8016, 0, 0, false, false, false},
    {"sysname", 231, 256, 256, 0, 0, true, true, true},
    // The types of the newer servers. The dates keep the text of datetime; the others are kept as
    // written (xml as text, the spatial and hierarchy types as bytes) and not interpreted.
    {"time", 41, 41, 5, 16, 7, false, false, false},
    {"datetime2", 42, 42, 8, 27, 7, false, false, false},
    {"datetimeoffset", 43, 43, 10, 34, 7, false, false, false},
    {"xml", 241, 241, -1, 0, 0, false, true, true},
    {"hierarchyid", 240, 128, 892, 0, 0, true, false, false},
    {"geometry", 240, 129, -1, 0, 0, true, false, false},
    {"geography", 240, 130, -1, 0, 0, true, false, false},
};

// The schemas made with CREATE SCHEMA. Their ids start far above the users' (below 16384) and the
// roles' (from 16384), so that sysobjects.uid names either a user or a schema, never both.
const char* const kSchemaTable = "CREATE TABLE IF NOT EXISTS engine_schemas (id int PRIMARY KEY, name "
                                 "nvarchar(128) COLLATE TSQL UNIQUE, owner int)";

const char* kCatalogueDdl[] = {
    "CREATE TABLE sysobjects (name nvarchar(128) COLLATE TSQL, id int PRIMARY KEY, xtype char(2) COLLATE "
    "TSQL, "
    "uid smallint, info smallint, status int, base_schema_ver int, replinfo int, parent_obj int, crdate "
    "datetime, "
    "ftcatid smallint, schema_ver int, stats_schema_ver int, type char(2) COLLATE TSQL, userstat smallint, "
    "sysstat smallint, indexdel smallint, refdate datetime, version int, deltrig int, instrig int, updtrig "
    "int, "
    "seltrig int, category int, cache smallint)",
    "CREATE TABLE syscolumns (name nvarchar(128) COLLATE TSQL, id int, xtype tinyint, typestat tinyint, "
    "xusertype smallint, length smallint, xprec tinyint, xscale tinyint, colid smallint, xoffset smallint, "
    "bitpos tinyint, reserved tinyint, colstat smallint, cdefault int, domain int, number smallint, "
    "colorder smallint, autoval varbinary(8000), offset smallint, collationid int, language int, status "
    "tinyint, "
    "type tinyint, usertype smallint, printfmt varchar(255) COLLATE TSQL, prec smallint, scale int, "
    "iscomputed int, isoutparam int, isnullable int, collation nvarchar(128) COLLATE TSQL)",
    "CREATE TABLE systypes (name nvarchar(128) COLLATE TSQL, xtype tinyint, status tinyint, xusertype "
    "smallint, "
    "length smallint, xprec tinyint, xscale tinyint, tdefault int, domain int, uid smallint, reserved "
    "smallint, "
    "collationid int, usertype smallint, variable bit, allownulls bit, type tinyint, "
    "printfmt varchar(255) COLLATE TSQL, prec smallint, scale tinyint, collation nvarchar(128) COLLATE TSQL)",
    "CREATE TABLE sysusers (uid smallint, status smallint, name nvarchar(128) COLLATE TSQL, sid "
    "varbinary(85), "
    "roles varbinary(2048), createdate datetime, updatedate datetime, altuid smallint, password "
    "varbinary(256), "
    "gid smallint, environ varchar(255) COLLATE TSQL, hasdbaccess int, islogin int, isntname int, isntgroup "
    "int, "
    "isntuser int, issqluser int, isaliased int, issqlrole int, isapprole int)",
    "CREATE TABLE syscomments (id int, number smallint, colid smallint, status smallint, ctext "
    "varbinary(8000), "
    "texttype smallint, language smallint, encrypted bit, compressed bit, text nvarchar(4000) COLLATE TSQL)",
    "CREATE TABLE sysprotects (id int, uid smallint, action tinyint, protecttype tinyint, columns "
    "varbinary(8000), "
    "grantor smallint)",
    "CREATE TABLE sysmembers (memberuid smallint, groupuid smallint)",
    // What the server keeps elsewhere: which statements fire a trigger, and each user's login and
    // default schema.
    "CREATE TABLE engine_triggers (id int PRIMARY KEY, isinsert int, isupdate int, isdelete int)",
    "CREATE TABLE engine_info (name text PRIMARY KEY, value)",
    kSchemaTable,
};

// The look-ups the server answers from an index: an object by name and owner, the parts of an
// object (text, columns, permissions, triggers of a table) by its id, a user by name or uid.
// Without them every name look-up reads the whole catalogue, and one CREATE costs more the bigger
// the database.
const char* kCatalogueIndexes[] = {
    "CREATE INDEX IF NOT EXISTS sysobjects_name ON sysobjects (name, uid)",
    "CREATE INDEX IF NOT EXISTS sysobjects_parent ON sysobjects (parent_obj)",
    "CREATE INDEX IF NOT EXISTS syscomments_id ON syscomments (id, number, colid)",
    "CREATE INDEX IF NOT EXISTS syscolumns_id ON syscolumns (id, colid)",
    "CREATE INDEX IF NOT EXISTS sysprotects_id ON sysprotects (id, uid)",
    "CREATE INDEX IF NOT EXISTS sysusers_name ON sysusers (name)",
    "CREATE INDEX IF NOT EXISTS sysusers_uid ON sysusers (uid)",
};

void CreateIndexes(SqliteDb& db) {
    for (const char* ddl : kCatalogueIndexes)
        db.Exec(QString::fromLatin1(ddl));
}

} // namespace

namespace Catalogue {

void EnsureIndexes(SqliteDb& db) {
    // A database from before the schemas gets their table; one that can't be written answers
    // without schemas until it can.
    try {
        if (!db.Scalar(QStringLiteral("SELECT 1 FROM main.sqlite_master WHERE name = 'engine_schemas'"))
                 .isValid())
            db.Exec(QString::fromLatin1(kSchemaTable));
    } catch (const SqliteError&) {
    }
    EnsurePropertyTables(db);
    const qlonglong present =
        db.Scalar(
              QStringLiteral("SELECT COUNT(*) FROM main.sqlite_master WHERE type = 'index' AND name IN "
                             "('sysobjects_name', 'sysobjects_parent', 'syscomments_id', 'syscolumns_id', "
                             "'sysprotects_id', 'sysusers_name', 'sysusers_uid')"))
            .toLongLong();
    if (present == qlonglong(std::size(kCatalogueIndexes)))
        return;
    // A database from before the indexes: they come all at once, or not at all when another
    // connection holds the file or it can't be written; the engine answers without them, only slower.
    try {
        db.Exec(QStringLiteral("BEGIN IMMEDIATE"));
    } catch (const SqliteError&) {
        return;
    }
    try {
        CreateIndexes(db);
        db.Exec(QStringLiteral("COMMIT"));
    } catch (const SqliteError&) {
        try {
            db.Exec(QStringLiteral("ROLLBACK"));
        } catch (const SqliteError&) {
        }
    }
}

const SystemType* FindType(const QString& name) {
    const QString n = name.toLower();
    for (const SystemType& t : kTypes)
        if (n == QLatin1String(t.name))
            return &t;
    if (n == QLatin1String("integer"))
        return FindType(QStringLiteral("int"));
    return nullptr;
}

const SystemType* FindTypeById(int xtype) {
    for (const SystemType& t : kTypes)
        if (t.xusertype == xtype)
            return &t;
    return nullptr;
}

void ColumnSize(const SqlTypeSpec& spec, int* length, int* precision, int* scale) {
    const SystemType* t = FindType(spec.name);
    *length = t ? t->length : 0;
    *precision = t ? t->precision : 0;
    *scale = t ? t->scale : 0;
    if (!t)
        return;
    const QString n = QString::fromLatin1(t->name);
    if (t->character && t->length == 8000) {
        int chars = spec.length == -1 ? 1 : spec.length;
        *length = spec.length == -2 ? -1 : (t->unicode ? chars * 2 : chars);
        *precision = 0;
        *scale = 0;
    } else if (n == QLatin1String("binary") || n == QLatin1String("varbinary")) {
        *length = spec.length == -2 ? -1 : (spec.length == -1 ? 1 : spec.length);
    } else if (n == QLatin1String("decimal") || n == QLatin1String("numeric")) {
        const int p = spec.precision > 0 ? spec.precision : 18;
        *precision = p;
        *scale = spec.scale >= 0 ? spec.scale : 0;
        *length = p <= 9 ? 5 : p <= 19 ? 9 : p <= 28 ? 13 : 17;
    } else if (n == QLatin1String("time") || n == QLatin1String("datetime2") ||
               n == QLatin1String("datetimeoffset")) {
        // time(n): n decimals of a second, in 3 to 5 bytes; the date takes 3 more, the offset 2.
        const int s = SqlDates::FractionScale(spec.length >= 0 ? spec.length : spec.precision, spec.scale);
        const int time = s <= 2 ? 3 : s <= 4 ? 4 : 5;
        const int digits = s > 0 ? s + 1 : 0;
        *scale = s;
        *precision = n == QLatin1String("time")        ? 8 + digits
                     : n == QLatin1String("datetime2") ? 19 + digits
                                                       : 26 + digits;
        *length = n == QLatin1String("time") ? time : n == QLatin1String("datetime2") ? time + 3 : time + 5;
    } else if (n == QLatin1String("float") && spec.precision > 0 && spec.precision <= 24) {
        *length = 4;
        *precision = 24;
    }
}

QString TypeText(const SqlTypeSpec& spec) {
    QString text = spec.name.toLower();
    if (spec.length == -2)
        text += QStringLiteral("(max)");
    else if (spec.length >= 0 && spec.scale >= 0)
        text += QStringLiteral("(%1,%2)").arg(spec.length).arg(spec.scale);
    else if (spec.length >= 0)
        text += QStringLiteral("(%1)").arg(spec.length);
    return text;
}

QString DeclaredType(const SqlTypeSpec& spec) {
    const SystemType* t = FindType(spec.name);
    if (t && QLatin1String(t->name) == QLatin1String("sysname"))
        return QStringLiteral("nvarchar(128) COLLATE TSQL");
    QString text = TypeText(spec);
    // A decimal column gets SQLite's REAL affinity (the word real in its type), so that 12.00 stays
    // a fraction there: as an integer it would divide as one.
    const QString n = t ? QString::fromLatin1(t->name) : QString();
    if (n == QLatin1String("decimal") || n == QLatin1String("numeric") || n == QLatin1String("money") ||
        n == QLatin1String("smallmoney"))
        text.insert(spec.name.size(), QStringLiteral(" real"));
    // SQLite takes only numbers inside a type's parentheses; -1 stands for max there.
    text.replace(QStringLiteral("(max)"), QStringLiteral("(-1)"));
    if (t && t->character)
        text += QStringLiteral(" COLLATE TSQL");
    return text;
}

void DescribeDeclaredType(const QString& decl, int* typeId, int* length, int* precision, int* scale) {
    static const QRegularExpression re(QStringLiteral(
        "^\\s*([A-Za-z_][A-Za-z_0-9]*)(?: real)?\\s*(?:\\(\\s*(max|-1|\\d+)\\s*(?:,\\s*(\\d+))?\\s*\\))?"));
    const auto m = re.match(decl);
    SqlTypeSpec spec;
    if (m.hasMatch()) {
        spec.name = m.captured(1).toLower();
        if (m.captured(2) == QLatin1String("max") || m.captured(2) == QLatin1String("-1"))
            spec.length = -2;
        else if (!m.captured(2).isEmpty())
            spec.length = spec.precision = m.captured(2).toInt();
        if (!m.captured(3).isEmpty())
            spec.scale = m.captured(3).toInt();
    }
    const SystemType* t = FindType(spec.name);
    if (!t) {
        *typeId = 231;
        *length = 8000;
        *precision = *scale = 0;
        return;
    }
    *typeId = t->xtype;
    ColumnSize(spec, length, precision, scale);
    // The newer dates are described as they are (a listener sends them as text to a client too old
    // for them); the other newer types as text.
    if (t->xtype == 240 || t->xtype == 241) {
        *typeId = 231;
        *length = 8000;
        *precision = *scale = 0;
    }
}

void CreateDatabaseCatalogue(SqliteDb& db, const QByteArray& ownerSid) {
    db.Exec(QStringLiteral("BEGIN"));
    for (const char* ddl : kCatalogueDdl)
        db.Exec(QString::fromLatin1(ddl));
    CreateIndexes(db);
    for (const SystemType& t : kTypes) {
        const bool sysname = QLatin1String(t.name) == QLatin1String("sysname");
        db.Exec(QStringLiteral(
                    "INSERT INTO systypes (name, xtype, status, xusertype, length, xprec, xscale, "
                    "tdefault, domain, uid, reserved, collationid, usertype, variable, allownulls, type, "
                    "prec, scale) VALUES (?,?,0,?,?,?,?,0,0,4,0,0,?,?,?,?,?,?)"),
                {QString::fromLatin1(t.name), t.xtype, t.xusertype, t.length, t.precision, t.scale,
                 sysname ? 19 : 0, t.variable ? 1 : 0, sysname ? 0 : 1, t.xtype, t.precision, t.scale});
    }
    const QString now = Now();
    struct Principal {
        int uid;
        const char* name;
        bool role;
        bool access;
    };
    const Principal principals[] = {
        {0, "public", true, false},
        {1, "dbo", false, true},
        {2, "guest", false, false},
        {3, "INFORMATION_SCHEMA", false, false},
        {4, "sys", false, false},
        {16384, "db_owner", true, false},
        {16385, "db_accessadmin", true, false},
        {16386, "db_securityadmin", true, false},
        {16387, "db_ddladmin", true, false},
        {16389, "db_backupoperator", true, false},
        {16390, "db_datareader", true, false},
        {16391, "db_datawriter", true, false},
        {16392, "db_denydatareader", true, false},
        {16393, "db_denydatawriter", true, false},
    };
    for (const Principal& p : principals) {
        QVariant sid;
        if (p.uid == 1)
            sid = ownerSid;
        else if (p.uid == 2)
            sid = QByteArray(1, '\0');
        else if (p.role && p.uid >= 16384)
            sid = QByteArray::fromHex(QByteArray::number(p.uid, 16).rightJustified(8, '0'));
        else if (p.uid == 0)
            sid = QByteArray::fromHex("01050000000000090400000083741b006749c04ba943c02702f2a762");
        db.Exec(QStringLiteral(
                    "INSERT INTO sysusers (uid, status, name, sid, createdate, updatedate, altuid, gid, "
                    "hasdbaccess, islogin, isntname, isntgroup, isntuser, issqluser, isaliased, "
                    "issqlrole, isapprole) VALUES (?,?,?,?,?,?,?,?,?,?,0,0,0,?,0,?,0)"),
                {p.uid, p.role ? 0 : 2, QString::fromLatin1(p.name), sid, now, now, p.role ? 1 : QVariant(),
                 p.role ? p.uid : 0, p.access ? 1 : 0, p.uid == 1 ? 1 : 0, p.role ? 0 : 1, p.role ? 1 : 0});
    }
    db.Exec(QStringLiteral("INSERT INTO sysmembers VALUES (1, 16384)"));
    const struct {
        int id;
        const char* name;
    } systemTables[] = {{1, "sysobjects"}, {3, "syscolumns"},  {4, "systypes"},    {6, "syscomments"},
                        {10, "sysusers"},  {11, "sysmembers"}, {12, "sysprotects"}};
    for (const auto& t : systemTables)
        db.Exec(QStringLiteral(
                    "INSERT INTO sysobjects (name, id, xtype, uid, info, status, base_schema_ver, "
                    "replinfo, parent_obj, crdate, ftcatid, schema_ver, stats_schema_ver, type, "
                    "userstat, sysstat, indexdel, refdate, version, deltrig, instrig, updtrig, seltrig, "
                    "category, cache) VALUES (?,?,'S ',4,0,0,0,0,0,?,0,0,0,'S ',0,1,0,?,0,0,0,0,0,2,0)"),
                {QString::fromLatin1(t.name), t.id, now, now});
    db.Exec(QStringLiteral("COMMIT"));
}

void CreateMasterCatalogue(SqliteDb& db) {
    db.Exec(QStringLiteral("BEGIN"));
    // The password hashes stay out of the view the server shows as syslogins.
    db.Exec(QStringLiteral(
        "CREATE TABLE engine_logins (sid varbinary(85) PRIMARY KEY, name nvarchar(128) COLLATE TSQL UNIQUE, "
        "dbname nvarchar(128) COLLATE TSQL, createdate datetime, sysadmin int, isntname int, salt blob, hash "
        "blob)"));
    db.Exec(QStringLiteral(
        "CREATE VIEW syslogins AS SELECT sid, 9 AS status, createdate, createdate AS updatedate, createdate "
        "AS "
        "accdate, 0 AS totcpu, 0 AS totio, 0 AS spacelimit, 0 AS timelimit, 0 AS resultlimit, name, dbname, "
        "CAST(NULL AS nvarchar) AS password, 'us_english' AS language, 0 AS denylogin, 1 AS hasaccess, "
        "isntname, "
        "0 AS isntgroup, isntname AS isntuser, sysadmin, 0 AS securityadmin, 0 AS serveradmin, 0 AS "
        "setupadmin, "
        "0 AS processadmin, 0 AS diskadmin, 0 AS dbcreator, 0 AS bulkadmin, name AS loginname FROM "
        "engine_logins"));
    db.Exec(
        QStringLiteral("CREATE TABLE sysdatabases (name nvarchar(128) COLLATE TSQL UNIQUE, dbid smallint, "
                       "sid varbinary(85), mode smallint, status int, status2 int, crdate datetime, "
                       "reserved datetime, category int, cmptlevel tinyint, filename nvarchar(260))"));
    db.Exec(QStringLiteral("COMMIT"));
}

bool IsCatalogueTable(const QString& name) {
    static const QStringList names = {QStringLiteral("sysobjects"),  QStringLiteral("syscolumns"),
                                      QStringLiteral("systypes"),    QStringLiteral("sysusers"),
                                      QStringLiteral("syscomments"), QStringLiteral("sysprotects"),
                                      QStringLiteral("sysmembers")};
    return names.contains(name.toLower());
}

// Temporary tables and table variables are tables of the database under names that begin with '#';
// on the server they belong to tempdb, so what a client reads of a database's catalogue leaves them
// out, with the constraints that hang on them, and what it reads of tempdb's holds only them.
QString VisibleTable(const QString& schema, const QString& name, bool tempdb) {
    const QString temporaries =
        QStringLiteral("SELECT id FROM \"%1\".sysobjects WHERE substr(name, 1, 1) = '#'").arg(schema);
    const QString n = name.toLower();
    if (n == QLatin1String("sysobjects"))
        return QString::fromLatin1(
                   tempdb ? "(SELECT * FROM \"%1\".sysobjects WHERE substr(name, 1, 1) = '#' OR "
                            "parent_obj IN (%2))"
                          : "(SELECT * FROM \"%1\".sysobjects WHERE substr(name, 1, 1) <> '#' AND "
                            "parent_obj NOT IN (%2))")
            .arg(schema, temporaries);
    if (n == QLatin1String("syscolumns"))
        return QString::fromLatin1(tempdb ? "(SELECT * FROM \"%1\".syscolumns WHERE id IN (%2))"
                                          : "(SELECT * FROM \"%1\".syscolumns WHERE id NOT IN (%2))")
            .arg(schema, temporaries);
    return QStringLiteral("\"%1\".%2").arg(schema, n);
}

QString HideTemporaries(QString view, const QString& schema, bool tempdb) {
    for (const char* table : {"sysobjects", "syscolumns"}) {
        const QString name = QLatin1String(table);
        view.replace(QStringLiteral("\"%1\".%2 ").arg(schema, name),
                     VisibleTable(schema, name, tempdb) + u' ');
    }
    return view;
}

bool IsMasterTable(const QString& name) {
    return name.compare(QLatin1String("syslogins"), Qt::CaseInsensitive) == 0 ||
           name.compare(QLatin1String("sysdatabases"), Qt::CaseInsensitive) == 0;
}

static CatalogueObject ReadObject(const QList<QVariantList>& rows) {
    CatalogueObject o;
    if (rows.size() != 1)
        return o;
    const QVariantList& r = rows.first();
    o.id = r[0].toInt();
    o.name = r[1].toString();
    o.uid = r[2].toInt();
    o.xtype = r[3].toString().trimmed();
    o.parent = r[4].toInt();
    return o;
}

CatalogueObject FindObject(SqliteDb& db, const QString& schema, const QString& name, const QString& owner,
                           int userUid) {
    const QString base =
        QStringLiteral("SELECT o.id, o.name, o.uid, o.xtype, o.parent_obj FROM \"%1\".sysobjects o ")
            .arg(schema);
    if (!owner.isEmpty()) {
        const int ownerId = SchemaId(db, schema, owner);
        if (ownerId < 0)
            return {};
        return ReadObject(db.Rows(base + QStringLiteral("WHERE o.name = ? AND o.uid = ?"), {name, ownerId}));
    }
    CatalogueObject own =
        ReadObject(db.Rows(base + QStringLiteral("WHERE o.name = ? AND o.uid = ?"), {name, userUid}));
    if (own.IsValid() || userUid == 1)
        return own;
    CatalogueObject dbo =
        ReadObject(db.Rows(base + QStringLiteral("WHERE o.name = ? AND o.uid = 1"), {name}));
    if (dbo.IsValid())
        return dbo;
    // System tables belong to sys (4) but answer to any owner.
    return ReadObject(db.Rows(base + QStringLiteral("WHERE o.name = ? AND o.xtype = 'S'"), {name}));
}

CatalogueObject ObjectById(SqliteDb& db, const QString& schema, int id) {
    return ReadObject(
        db.Rows(QStringLiteral("SELECT id, name, uid, xtype, parent_obj FROM \"%1\".sysobjects WHERE id = ?")
                    .arg(schema),
                {id}));
}

int UserUid(SqliteDb& db, const QString& schema, const QString& name) {
    const QVariant v =
        db.Scalar(QStringLiteral("SELECT uid FROM \"%1\".sysusers WHERE name = ?").arg(schema), {name});
    return v.isValid() ? v.toInt() : -1;
}

namespace {
QString columnText(sqlite3_stmt* s, int column) {
    return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(s, column)),
                             sqlite3_column_bytes(s, column));
}
} // namespace

bool TypeOfObject(SqliteDb& db, const QString& schema, qint64 id, ObjectType& type) {
    // One step of a prepared statement, read without building rows of variants: a list of the
    // catalogue may ask once per row.
    CachedStatement s =
        db.Prepare(QStringLiteral("SELECT xtype, uid FROM \"%1\".sysobjects WHERE id = ?").arg(schema));
    sqlite3_bind_int64(s->Handle(), 1, id);
    if (!s->Step())
        return false;
    type = {columnText(s->Handle(), 0).trimmed(), sqlite3_column_int(s->Handle(), 1)};
    return true;
}

namespace {
std::size_t slotOf(qint64 id, std::size_t mask) {
    return static_cast<std::size_t>(static_cast<quint64>(id) * 0x9E3779B97F4A7C15ULL >> 17) & mask;
}
} // namespace

void ObjectTypeCache::load(SqliteDb& db, const QString& schema) {
    const qint64 count =
        db.Scalar(QStringLiteral("SELECT COUNT(*) FROM \"%1\".sysobjects").arg(schema)).toLongLong();
    std::size_t size = 16;
    while (size < static_cast<std::size_t>(count) * 2)
        size *= 2;
    mIds.assign(size, -1);
    mTypes.assign(size, ObjectType{});
    CachedStatement s =
        db.Prepare(QStringLiteral("SELECT id, xtype, uid FROM \"%1\".sysobjects").arg(schema));
    // A catalogue holds a handful of types: each is made once and shared by its objects.
    QList<QString> seen;
    while (s->Step()) {
        const qint64 id = sqlite3_column_int64(s->Handle(), 0);
        const QString xtype = columnText(s->Handle(), 1).trimmed();
        auto same = std::find(seen.cbegin(), seen.cend(), xtype);
        if (same == seen.cend())
            same = seen.insert(seen.cend(), xtype);
        std::size_t slot = slotOf(id, size - 1);
        while (mIds[slot] != -1 && mIds[slot] != id)
            slot = (slot + 1) & (size - 1);
        mIds[slot] = id;
        mTypes[slot] = {*same, sqlite3_column_int(s->Handle(), 2)};
    }
    mLoaded = true;
}

const ObjectType* ObjectTypeCache::lookup(qint64 id) const {
    const std::size_t mask = mIds.size() - 1;
    for (std::size_t slot = slotOf(id, mask); mIds[slot] != -1; slot = (slot + 1) & mask)
        if (mIds[slot] == id)
            return &mTypes[slot];
    return nullptr;
}

const ObjectType* ObjectTypeCache::Find(SqliteDb& db, const QString& schema, qint64 id, ObjectType& scratch) {
    if (!mLoaded && ++mLookups > 32)
        load(db, schema);
    if (mLoaded && id != -1)
        if (const ObjectType* type = lookup(id))
            return type;
    return TypeOfObject(db, schema, id, scratch) ? &scratch : nullptr;
}

// A list of the catalogue calls OBJECTPROPERTY once per row. Its cache of the catalogue's types is
// kept with the connection for as long as the database is unchanged, so that the lists a refresh
// sends one after another read the types once; a statement holds on to the cache it started with
// (SQLite's auxiliary data of the constant schema argument), even if a change drops it meanwhile.
const ObjectType* StatementObjectType(sqlite3_context* ctx, SqliteDb& db, sqlite3_value* schemaArg, qint64 id,
                                      ObjectType& scratch) {
    using Cache = ObjectTypeCache;
    struct Held {
        std::shared_ptr<Cache> cache;
        QString schema;
    };
    auto* held = static_cast<Held*>(sqlite3_get_auxdata(ctx, 2));
    if (held)
        return held->cache->Find(db, held->schema, id, scratch);
    const QString schema = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(schemaArg)),
                                             sqlite3_value_bytes(schemaArg));
    const QString key = QStringLiteral("object types of ") + schema;
    auto cache = std::static_pointer_cast<Cache>(db.Memo(key));
    if (!cache) {
        cache = std::make_shared<Cache>();
        db.KeepMemo(key, cache);
    }
    sqlite3_set_auxdata(ctx, 2, new Held{cache, schema}, [](void* p) { delete static_cast<Held*>(p); });
    return cache->Find(db, schema, id, scratch);
}

QString UserName(SqliteDb& db, const QString& schema, int uid) {
    if (uid >= kFirstSchemaId)
        return db
            .Scalar(QStringLiteral("SELECT name FROM \"%1\".engine_schemas WHERE id = ?").arg(schema), {uid})
            .toString();
    return db.Scalar(QStringLiteral("SELECT name FROM \"%1\".sysusers WHERE uid = ?").arg(schema), {uid})
        .toString();
}

int SchemaId(SqliteDb& db, const QString& schema, const QString& name) {
    const QVariant id = db.Scalar(
        QStringLiteral("SELECT id FROM \"%1\".engine_schemas WHERE name = ? UNION ALL SELECT uid FROM "
                       "\"%1\".sysusers WHERE name = ? LIMIT 1")
            .arg(schema),
        {name, name});
    return id.isValid() ? id.toInt() : -1;
}

int NextObjectId(SqliteDb& db) {
    // An id is never given twice, as on the server: the id of a dropped object stays spent, so that
    // whatever is named after an id (the files of the version store) never attaches itself to the next
    // object created. User objects get large ids as on the server, far from the system tables' small ones.
    db.Exec(QStringLiteral("CREATE TABLE IF NOT EXISTS tarmo_spent_object_ids (last int NOT NULL)"));
    const qlonglong spent =
        db.Scalar(QStringLiteral("SELECT MAX(last) FROM tarmo_spent_object_ids")).toLongLong();
    const qlonglong max = db.Scalar(QStringLiteral("SELECT MAX(id) FROM sysobjects")).toLongLong();
    const qlonglong next = qMax<qlonglong>(qMax(max, spent) + 1, 1013578649);
    db.Exec(QStringLiteral("DELETE FROM tarmo_spent_object_ids"));
    db.Exec(QStringLiteral("INSERT INTO tarmo_spent_object_ids (last) VALUES (?)"), {next});
    return int(next);
}

QString Now() {
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

} // namespace Catalogue
