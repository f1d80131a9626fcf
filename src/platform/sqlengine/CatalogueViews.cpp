#include "Catalogue.h"

#include <QHash>

// The catalogue views of the newer servers (sys.objects, sys.sql_modules, INFORMATION_SCHEMA ...),
// read from the compatibility tables that the engine keeps. Each view is a query over one
// database's tables; a view's columns are those that code in the field reads, with the server's
// names and meanings.

namespace Catalogue {
namespace {

// The server's object types and their descriptions, as sys.objects shows them.
const char* const kTypeDesc = "CASE o.xtype WHEN 'P' THEN 'SQL_STORED_PROCEDURE' "
                              "WHEN 'FN' THEN 'SQL_SCALAR_FUNCTION' "
                              "WHEN 'IF' THEN 'SQL_INLINE_TABLE_VALUED_FUNCTION' "
                              "WHEN 'TF' THEN 'SQL_TABLE_VALUED_FUNCTION' WHEN 'V' THEN 'VIEW' "
                              "WHEN 'TR' THEN 'SQL_TRIGGER' WHEN 'U' THEN 'USER_TABLE' "
                              "WHEN 'D' THEN 'DEFAULT_CONSTRAINT' WHEN 'PK' THEN 'PRIMARY_KEY_CONSTRAINT' "
                              "WHEN 'UQ' THEN 'UNIQUE_CONSTRAINT' WHEN 'F' THEN 'FOREIGN_KEY_CONSTRAINT' "
                              "WHEN 'C' THEN 'CHECK_CONSTRAINT' WHEN 'S' THEN 'SYSTEM_TABLE' "
                              "WHEN 'TT' THEN 'TYPE_TABLE' ELSE '' END";

// The columns every view over objects shares; `o` is sysobjects, user tables are never the
// system's own.
QString ObjectColumns() {
    return QStringLiteral("o.name AS name, o.id AS object_id, NULL AS principal_id, o.uid AS schema_id, "
                          "o.parent_obj AS parent_object_id, rtrim(o.xtype) AS type, %1 AS type_desc, "
                          "o.crdate AS create_date, o.crdate AS modify_date, 0 AS is_ms_shipped, "
                          "0 AS is_published, 0 AS is_schema_published")
        .arg(QLatin1String(kTypeDesc));
}

QString ObjectsOf(const QString& s, const QString& types) {
    return QStringLiteral("SELECT %1 FROM \"%2\".sysobjects o WHERE o.xtype IN (%3)")
        .arg(ObjectColumns(), s, types);
}

// A module's text is kept in pieces of 4,000 characters; the definition is their sum.
QString Definition(const QString& s, const QString& id) {
    return QStringLiteral("(SELECT group_concat(c.text, '') FROM (SELECT text FROM \"%1\".syscomments "
                          "WHERE id = %2 ORDER BY number, colid) c)")
        .arg(s, id);
}

// The schemas a database shows: the four every database has, one per user or role (the owners of
// the older databases, their schema has the user's id) and those made with CREATE SCHEMA.
QString Schemas(const QString& s) {
    return QStringLiteral("SELECT name, uid AS schema_id, uid AS principal_id FROM \"%1\".sysusers "
                          "WHERE uid NOT IN (3, 4) AND (issqlrole = 0 OR uid BETWEEN 16384 AND 16393) "
                          "UNION ALL SELECT name, id, owner FROM \"%1\".engine_schemas "
                          "UNION ALL SELECT 'INFORMATION_SCHEMA', 3, 3 UNION ALL SELECT 'sys', 4, 4")
        .arg(s);
}

QString TypeName(const QString& s, const QString& userType) {
    return QStringLiteral("(SELECT t.name FROM \"%1\".systypes t WHERE t.xusertype = %2)").arg(s, userType);
}

QString Columns(const QString& s) {
    return QStringLiteral(
               "SELECT c.id AS object_id, c.name AS name, c.colid AS column_id, "
               "c.xtype AS system_type_id, c.xusertype AS user_type_id, c.length AS max_length, "
               "c.xprec AS precision, c.xscale AS scale, c.collation AS collation_name, "
               "c.isnullable AS is_nullable, 1 AS is_ansi_padded, 0 AS is_rowguidcol, "
               "(c.colstat & 1) AS is_identity, c.iscomputed AS is_computed, 0 AS is_filestream, "
               "0 AS is_replicated, 0 AS is_sparse, 0 AS is_column_set, c.cdefault AS "
               "default_object_id, 0 AS rule_object_id FROM \"%1\".syscolumns c JOIN \"%1\".sysobjects o "
               "ON o.id = c.id WHERE o.xtype IN ('U', 'V', 'IF', 'TF', 'S', 'TT')")
        .arg(s);
}

QString Parameters(const QString& s) {
    return QStringLiteral("SELECT c.id AS object_id, c.name AS name, c.colid AS parameter_id, "
                          "c.xtype AS system_type_id, c.xusertype AS user_type_id, c.length AS max_length, "
                          "c.xprec AS precision, c.xscale AS scale, (c.isoutparam AND c.colid > 0) AS "
                          "is_output, 0 AS is_cursor_ref, 0 AS has_default_value, 0 AS is_xml_document, "
                          "NULL AS default_value, (c.xtype = 243) AS is_readonly, 1 AS is_nullable "
                          "FROM \"%1\".syscolumns c JOIN \"%1\".sysobjects o ON o.id = c.id "
                          "WHERE o.xtype IN ('P', 'FN', 'IF', 'TF') AND (c.colid > 0 OR o.xtype = 'FN')")
        .arg(s);
}

// Types after sysname (256) are the users': aliases of a system type, and table types (243),
// whose domain is the object that holds their columns.
QString Types(const QString& s, bool tableTypes = false) {
    return QStringLiteral("SELECT name, xtype AS system_type_id, xusertype AS user_type_id, "
                          "CASE WHEN xusertype > 256 THEN uid ELSE 4 END AS schema_id, "
                          "NULL AS principal_id, length AS max_length, xprec AS precision, xscale AS scale, "
                          "collation AS collation_name, allownulls AS is_nullable, "
                          "(xusertype > 256) AS is_user_defined, "
                          "0 AS is_assembly_type, 0 AS default_object_id, 0 AS rule_object_id, "
                          "(xtype = 243) AS is_table_type%2 FROM \"%1\".systypes%3")
        .arg(s,
             tableTypes ? QStringLiteral(", domain AS type_table_object_id, 0 AS is_memory_optimized")
                        : QString(),
             tableTypes ? QStringLiteral(" WHERE xtype = 243") : QString());
}

QString SqlModules(const QString& s) {
    return QStringLiteral("SELECT o.id AS object_id, %2 AS definition, 1 AS uses_ansi_nulls, "
                          "1 AS uses_quoted_identifier, 0 AS is_schema_bound, 0 AS uses_database_collation, "
                          "0 AS is_recompiled, 0 AS null_on_null_input, NULL AS execute_as_principal_id, "
                          "0 AS uses_native_compilation FROM \"%1\".sysobjects o "
                          "WHERE o.xtype IN ('P', 'FN', 'IF', 'TF', 'V', 'TR')")
        .arg(s, Definition(s, QStringLiteral("o.id")));
}

QString Triggers(const QString& s) {
    return QStringLiteral("SELECT o.name AS name, o.id AS object_id, 1 AS parent_class, "
                          "'OBJECT_OR_COLUMN' AS parent_class_desc, o.parent_obj AS parent_id, 'TR' AS type, "
                          "'SQL_TRIGGER' AS type_desc, o.crdate AS create_date, o.crdate AS modify_date, "
                          "0 AS is_ms_shipped, 0 AS is_disabled, 0 AS is_not_for_replication, "
                          "0 AS is_instead_of_trigger FROM \"%1\".sysobjects o WHERE o.xtype = 'TR'")
        .arg(s);
}

QString SchemaName(const QString& s, const QString& uid) {
    return QStringLiteral("(SELECT u.name FROM \"%1\".engine_schemas u WHERE u.id = %2 UNION ALL SELECT "
                          "u.name FROM \"%1\".sysusers u WHERE u.uid = %2 LIMIT 1)")
        .arg(s, uid);
}

QString InfoDomains(const QString& s, const QString& catalog) {
    return QStringLiteral(
               "SELECT %2 AS DOMAIN_CATALOG, %3 AS DOMAIN_SCHEMA, t.name AS DOMAIN_NAME, CASE WHEN t.xtype = "
               "243 "
               "THEN 'table type' ELSE (SELECT b.name FROM \"%1\".systypes b WHERE b.xusertype = t.xtype) "
               "END "
               "AS DATA_TYPE, CASE WHEN t.xtype IN (167, 175, 231, 239, 165, 173) THEN CASE WHEN t.length = "
               "-1 "
               "THEN -1 WHEN t.xtype IN (231, 239) THEN t.length / 2 ELSE t.length END END AS "
               "CHARACTER_MAXIMUM_LENGTH, CASE WHEN t.xtype IN (167, 175, 231, 239) THEN t.length END AS "
               "CHARACTER_OCTET_LENGTH, CASE WHEN t.xtype IN (48, 52, 56, 127, 106, 108, 60, 122, 59, 62) "
               "THEN "
               "t.xprec END AS NUMERIC_PRECISION, CASE WHEN t.xtype IN (48, 52, 56, 127, 106, 108, 60, 122) "
               "THEN t.xscale END AS NUMERIC_SCALE, NULL AS DOMAIN_DEFAULT FROM \"%1\".systypes t "
               "WHERE t.xusertype > 256")
        .arg(s, catalog, SchemaName(s, QStringLiteral("t.uid")));
}

QString InfoTables(const QString& s, const QString& catalog) {
    return QStringLiteral("SELECT %2 AS TABLE_CATALOG, %3 AS TABLE_SCHEMA, o.name AS TABLE_NAME, "
                          "CASE o.xtype WHEN 'V' THEN 'VIEW' ELSE 'BASE TABLE' END AS TABLE_TYPE "
                          "FROM \"%1\".sysobjects o WHERE o.xtype IN ('U', 'V')")
        .arg(s, catalog, SchemaName(s, QStringLiteral("o.uid")));
}

QString InfoColumns(const QString& s, const QString& catalog) {
    return QStringLiteral(
               "SELECT %2 AS TABLE_CATALOG, %3 AS TABLE_SCHEMA, o.name AS TABLE_NAME, c.name AS COLUMN_NAME, "
               "c.colid AS ORDINAL_POSITION, NULL AS COLUMN_DEFAULT, CASE WHEN c.isnullable THEN 'YES' ELSE "
               "'NO' END AS IS_NULLABLE, %4 AS DATA_TYPE, CASE WHEN c.xtype IN (167, 175, 231, 239, 165, "
               "173, "
               "35, 99, 34) THEN CASE WHEN c.length = -1 THEN -1 WHEN c.xtype IN (231, 239, 99) THEN "
               "c.length / 2 ELSE c.length END END AS CHARACTER_MAXIMUM_LENGTH, CASE WHEN c.xtype IN (167, "
               "175, 231, 239, 35, 99) THEN CASE WHEN c.length = -1 THEN -1 ELSE c.length END END AS "
               "CHARACTER_OCTET_LENGTH, CASE WHEN c.xtype IN (48, 52, 56, 127, 106, 108, 60, 122, 59, 62) "
               "THEN c.xprec END AS NUMERIC_PRECISION, CASE WHEN c.xtype IN (48, 52, 56, 127, 106, 108, 60, "
               "122) THEN 10 WHEN c.xtype IN (59, 62) THEN 2 END AS NUMERIC_PRECISION_RADIX, CASE WHEN "
               "c.xtype IN (48, 52, 56, 127, 106, 108, 60, 122) THEN c.xscale END AS NUMERIC_SCALE, "
               "CASE WHEN c.xtype IN (58, 61) THEN CASE c.xtype WHEN 58 THEN 0 ELSE 3 END END AS "
               "DATETIME_PRECISION, c.collation AS COLLATION_NAME FROM \"%1\".syscolumns c "
               "JOIN \"%1\".sysobjects o ON o.id = c.id WHERE o.xtype IN ('U', 'V')")
        .arg(s, catalog, SchemaName(s, QStringLiteral("o.uid")), TypeName(s, QStringLiteral("c.xusertype")));
}

QString InfoRoutines(const QString& s, const QString& catalog) {
    return QStringLiteral("SELECT o.name AS SPECIFIC_NAME, %2 AS SPECIFIC_CATALOG, %3 AS SPECIFIC_SCHEMA, "
                          "%2 AS ROUTINE_CATALOG, %3 AS ROUTINE_SCHEMA, o.name AS ROUTINE_NAME, "
                          "CASE o.xtype WHEN 'P' THEN 'PROCEDURE' ELSE 'FUNCTION' END AS ROUTINE_TYPE, "
                          "CASE o.xtype WHEN 'FN' THEN (SELECT t.name FROM \"%1\".syscolumns c JOIN "
                          "\"%1\".systypes t ON t.xusertype = c.xusertype WHERE c.id = o.id AND c.colid = 0) "
                          "WHEN 'P' THEN NULL ELSE 'TABLE' END AS DATA_TYPE, 'SQL' AS ROUTINE_BODY, "
                          "substr(%4, 1, 4000) AS ROUTINE_DEFINITION, 'NO' AS IS_DETERMINISTIC, "
                          "CASE o.xtype WHEN 'P' THEN 'MODIFIES' ELSE 'READS' END AS SQL_DATA_ACCESS, "
                          "o.crdate AS CREATED, o.crdate AS LAST_ALTERED FROM \"%1\".sysobjects o "
                          "WHERE o.xtype IN ('P', 'FN', 'IF', 'TF')")
        .arg(s, catalog, SchemaName(s, QStringLiteral("o.uid")), Definition(s, QStringLiteral("o.id")));
}

QString InfoViews(const QString& s, const QString& catalog) {
    return QStringLiteral("SELECT %2 AS TABLE_CATALOG, %3 AS TABLE_SCHEMA, o.name AS TABLE_NAME, "
                          "substr(%4, 1, 4000) AS VIEW_DEFINITION, 'NONE' AS CHECK_OPTION, "
                          "'NO' AS IS_UPDATABLE FROM \"%1\".sysobjects o WHERE o.xtype = 'V'")
        .arg(s, catalog, SchemaName(s, QStringLiteral("o.uid")), Definition(s, QStringLiteral("o.id")));
}

QString InfoParameters(const QString& s, const QString& catalog) {
    return QStringLiteral("SELECT %2 AS SPECIFIC_CATALOG, %3 AS SPECIFIC_SCHEMA, o.name AS SPECIFIC_NAME, "
                          "c.colid AS ORDINAL_POSITION, CASE WHEN c.colid = 0 THEN 'OUT' WHEN c.isoutparam "
                          "THEN 'INOUT' ELSE 'IN' END AS PARAMETER_MODE, CASE WHEN c.colid = 0 THEN 'YES' "
                          "ELSE 'NO' END AS IS_RESULT, c.name AS PARAMETER_NAME, %4 AS DATA_TYPE, "
                          "CASE WHEN c.xtype IN (167, 175, 231, 239) THEN CASE WHEN c.xtype IN (231, 239) "
                          "AND c.length > 0 THEN c.length / 2 ELSE c.length END END AS "
                          "CHARACTER_MAXIMUM_LENGTH, c.xprec AS NUMERIC_PRECISION, c.xscale AS NUMERIC_SCALE "
                          "FROM \"%1\".syscolumns c JOIN \"%1\".sysobjects o ON o.id = c.id "
                          "WHERE o.xtype IN ('P', 'FN', 'IF', 'TF') AND (c.colid > 0 OR o.xtype = 'FN')")
        .arg(s, catalog, SchemaName(s, QStringLiteral("o.uid")), TypeName(s, QStringLiteral("c.xusertype")));
}

QString Databases(const QString& master) {
    return QStringLiteral("SELECT name, dbid AS database_id, NULL AS source_database_id, sid AS owner_sid, "
                          "crdate AS create_date, cmptlevel AS compatibility_level, "
                          "'SQL_Latin1_General_CP1_CI_AS' AS collation_name, 0 AS user_access, "
                          "'MULTI_USER' AS user_access_desc, 0 AS is_read_only, 0 AS state, "
                          "'ONLINE' AS state_desc, 1 AS recovery_model, 'FULL' AS recovery_model_desc "
                          "FROM \"%1\".sysdatabases")
        .arg(master);
}

} // namespace

QString SystemView(const QString& owner, const QString& name, const QString& schema,
                   const QString& masterSchema, const QString& database) {
    const QString n = name.toLower();
    if (owner.compare(QLatin1String("INFORMATION_SCHEMA"), Qt::CaseInsensitive) == 0) {
        // The catalog column holds the database's name as a literal with its quotes doubled.
        QString catalog = database;
        catalog.replace(u'\'', QStringLiteral("''"));
        catalog = u'\'' + catalog + u'\'';
        if (n == QLatin1String("tables"))
            return InfoTables(schema, catalog);
        if (n == QLatin1String("columns"))
            return InfoColumns(schema, catalog);
        if (n == QLatin1String("routines"))
            return InfoRoutines(schema, catalog);
        if (n == QLatin1String("views"))
            return InfoViews(schema, catalog);
        if (n == QLatin1String("parameters"))
            return InfoParameters(schema, catalog);
        if (n == QLatin1String("domains"))
            return InfoDomains(schema, catalog);
        return {};
    }
    if (owner.compare(QLatin1String("sys"), Qt::CaseInsensitive) != 0)
        return {};
    const QString& s = schema;
    if (n == QLatin1String("objects"))
        return ObjectsOf(
            s, QStringLiteral("'P', 'FN', 'IF', 'TF', 'V', 'TR', 'U', 'D', 'PK', 'UQ', 'F', 'C', 'TT'"));
    if (n == QLatin1String("all_objects") || n == QLatin1String("system_objects"))
        return ObjectsOf(s, n == QLatin1String("system_objects")
                                ? QStringLiteral("'S'")
                                : QStringLiteral("'P', 'FN', 'IF', 'TF', 'V', "
                                                 "'TR', 'U', 'D', 'PK', 'UQ', "
                                                 "'F', 'C', 'S', 'TT'"));
    if (n == QLatin1String("procedures"))
        return ObjectsOf(s, QStringLiteral("'P'"));
    if (n == QLatin1String("views"))
        return ObjectsOf(s, QStringLiteral("'V'"));
    if (n == QLatin1String("tables"))
        return ObjectsOf(s, QStringLiteral("'U'"));
    if (n == QLatin1String("triggers"))
        return Triggers(s);
    if (n == QLatin1String("sql_modules") || n == QLatin1String("all_sql_modules"))
        return SqlModules(s);
    if (n == QLatin1String("schemas"))
        return Schemas(s);
    if (n == QLatin1String("columns") || n == QLatin1String("all_columns"))
        return Columns(s);
    if (n == QLatin1String("parameters") || n == QLatin1String("all_parameters"))
        return Parameters(s);
    if (n == QLatin1String("types"))
        return Types(s);
    if (n == QLatin1String("table_types"))
        return Types(s, true);
    if (n == QLatin1String("databases"))
        return Databases(masterSchema);
    if (n == QLatin1String("messages"))
        return QStringLiteral("SELECT message_id, language_id, severity, is_event_logged, text "
                              "FROM \"%1\".engine_messages")
            .arg(masterSchema);
    return PropertySystemView(n, s, masterSchema);
}

} // namespace Catalogue
