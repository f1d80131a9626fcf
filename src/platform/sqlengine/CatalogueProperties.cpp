#include "Catalogue.h"
#include "SqliteDb.h"

// The catalogue that tool kits read beside the objects themselves: extended properties, XML schema
// collections, and the dynamic views of sessions and requests, which a server of one embedded
// process has no rows for but whose columns queries still name.

namespace Catalogue {
namespace {

// Names and values of sp_addextendedproperty by class (0 the database, 1 an object or its column,
// 2 a parameter, 3 a schema ...), major the object's or schema's id, minor the column's or
// parameter's; the value is kept with its own type, as sql_variant keeps it.
const char* const kPropertyTable =
    "CREATE TABLE IF NOT EXISTS engine_extended_properties (class int, major_id int, minor_id int, "
    "name nvarchar(128) COLLATE TSQL, value, PRIMARY KEY (class, major_id, minor_id, name))";

const char* const kXmlSchemaTable =
    "CREATE TABLE IF NOT EXISTS engine_xml_schema_collections (id int PRIMARY "
    "KEY, schema_id int, name nvarchar(128) COLLATE TSQL, definition ntext, "
    "create_date datetime, modify_date datetime, UNIQUE (schema_id, name))";

QString ExtendedProperties(const QString& s) {
    // The properties of a dropped object go with it.
    return QStringLiteral(
               "SELECT p.class AS class, CASE p.class WHEN 0 THEN 'DATABASE' WHEN 1 THEN 'OBJECT_OR_COLUMN' "
               "WHEN 2 THEN 'PARAMETER' WHEN 3 THEN 'SCHEMA' WHEN 4 THEN 'DATABASE_PRINCIPAL' WHEN 6 THEN "
               "'TYPE' WHEN 7 THEN 'INDEX' END AS class_desc, p.major_id AS major_id, p.minor_id AS "
               "minor_id, p.name AS name, p.value AS value FROM \"%1\".engine_extended_properties p "
               "WHERE p.class NOT IN (1, 2) OR EXISTS (SELECT 1 FROM \"%1\".sysobjects o WHERE o.id = "
               "p.major_id)")
        .arg(s);
}

QString XmlSchemaCollections(const QString& s) {
    return QStringLiteral(
               "SELECT id AS xml_collection_id, schema_id, NULL AS principal_id, name, create_date, "
               "modify_date FROM \"%1\".engine_xml_schema_collections")
        .arg(s);
}

// An empty row set with the named columns: "name" or "name:type" where type is int (the default),
// text or date.
QString EmptyView(const char* const* columns, int count) {
    QStringList items;
    for (int i = 0; i < count; ++i) {
        const QString c = QString::fromLatin1(columns[i]);
        const qsizetype colon = c.indexOf(u':');
        const QString name = colon < 0 ? c : c.left(colon);
        const QString type = colon < 0 ? QString() : c.mid(colon + 1);
        const QString value = type == QLatin1String("text")   ? QStringLiteral("CAST(NULL AS nvarchar)")
                              : type == QLatin1String("date") ? QStringLiteral("CAST(NULL AS datetime)")
                                                              : QStringLiteral("CAST(NULL AS int)");
        items.append(value + QStringLiteral(" AS ") + name);
    }
    return QStringLiteral("SELECT ") + items.join(QStringLiteral(", ")) + QStringLiteral(" WHERE 0");
}

const char* const kSessions[] = {"session_id",
                                 "login_time:date",
                                 "host_name:text",
                                 "program_name:text",
                                 "host_process_id",
                                 "client_version",
                                 "client_interface_name:text",
                                 "security_id:text",
                                 "login_name:text",
                                 "nt_domain:text",
                                 "nt_user_name:text",
                                 "status:text",
                                 "context_info:text",
                                 "cpu_time",
                                 "memory_usage",
                                 "total_scheduled_time",
                                 "total_elapsed_time",
                                 "endpoint_id",
                                 "last_request_start_time:date",
                                 "last_request_end_time:date",
                                 "reads",
                                 "writes",
                                 "logical_reads",
                                 "is_user_process",
                                 "text_size",
                                 "language:text",
                                 "date_format:text",
                                 "date_first",
                                 "quoted_identifier",
                                 "arithabort",
                                 "ansi_null_dflt_on",
                                 "ansi_defaults",
                                 "ansi_warnings",
                                 "ansi_padding",
                                 "ansi_nulls",
                                 "concat_null_yields_null",
                                 "transaction_isolation_level",
                                 "lock_timeout",
                                 "deadlock_priority",
                                 "row_count",
                                 "prev_error",
                                 "original_security_id:text",
                                 "original_login_name:text",
                                 "last_successful_logon:date",
                                 "last_unsuccessful_logon:date",
                                 "unsuccessful_logons",
                                 "group_id",
                                 "database_id",
                                 "authenticating_database_id",
                                 "open_transaction_count"};

const char* const kConnections[] = {"session_id",
                                    "most_recent_session_id",
                                    "connect_time:date",
                                    "net_transport:text",
                                    "protocol_type:text",
                                    "protocol_version",
                                    "endpoint_id",
                                    "encrypt_option:text",
                                    "auth_scheme:text",
                                    "node_affinity",
                                    "num_reads",
                                    "num_writes",
                                    "last_read:date",
                                    "last_write:date",
                                    "net_packet_size",
                                    "client_net_address:text",
                                    "client_tcp_port",
                                    "local_net_address:text",
                                    "local_tcp_port",
                                    "connection_id:text",
                                    "parent_connection_id:text",
                                    "most_recent_sql_handle:text"};

const char* const kRequests[] = {"session_id",
                                 "request_id",
                                 "start_time:date",
                                 "status:text",
                                 "command:text",
                                 "sql_handle:text",
                                 "statement_start_offset",
                                 "statement_end_offset",
                                 "plan_handle:text",
                                 "database_id",
                                 "user_id",
                                 "connection_id:text",
                                 "blocking_session_id",
                                 "wait_type:text",
                                 "wait_time",
                                 "last_wait_type:text",
                                 "wait_resource:text",
                                 "open_transaction_count",
                                 "open_resultset_count",
                                 "transaction_id",
                                 "context_info:text",
                                 "percent_complete",
                                 "estimated_completion_time",
                                 "cpu_time",
                                 "total_elapsed_time",
                                 "scheduler_id",
                                 "task_address:text",
                                 "reads",
                                 "writes",
                                 "logical_reads",
                                 "text_size",
                                 "language:text",
                                 "date_format:text",
                                 "date_first",
                                 "quoted_identifier",
                                 "arithabort",
                                 "ansi_null_dflt_on",
                                 "ansi_defaults",
                                 "ansi_warnings",
                                 "ansi_padding",
                                 "ansi_nulls",
                                 "concat_null_yields_null",
                                 "transaction_isolation_level",
                                 "lock_timeout",
                                 "deadlock_priority",
                                 "row_count",
                                 "prev_error",
                                 "nest_level",
                                 "granted_query_memory",
                                 "executing_managed_code",
                                 "group_id"};

} // namespace

void EnsurePropertyTables(SqliteDb& db) {
    // A database from before these tables gets them; one that can't be written answers without
    // them until it can.
    try {
        if (db.Scalar(QStringLiteral("SELECT COUNT(*) FROM main.sqlite_master WHERE name IN "
                                     "('engine_extended_properties', 'engine_xml_schema_collections')"))
                .toInt() == 2)
            return;
        db.Exec(QString::fromLatin1(kPropertyTable));
        db.Exec(QString::fromLatin1(kXmlSchemaTable));
    } catch (const SqliteError&) {
    }
}

QString ListExtendedProperties(const QString& s, const QStringList& args) {
    // Every property with its place written out as fn_listextendedproperty's levels ...
    const QString schemaName = QStringLiteral(
        "(SELECT CASE %2 WHEN 3 THEN 'INFORMATION_SCHEMA' WHEN 4 THEN 'sys' ELSE (SELECT sch.name "
        "FROM \"%1\".engine_schemas sch WHERE sch.id = %2 UNION ALL SELECT usr.name FROM "
        "\"%1\".sysusers usr WHERE usr.uid = %2 LIMIT 1) END)");
    const QString objectType = QStringLiteral(
        "CASE rtrim(%1.xtype) WHEN 'U' THEN 'TABLE' WHEN 'V' THEN 'VIEW' WHEN 'P' THEN 'PROCEDURE' WHEN 'FN' "
        "THEN 'FUNCTION' WHEN 'IF' THEN 'FUNCTION' WHEN 'TF' THEN 'FUNCTION' END");
    const QString paths =
        QStringLiteral(
            "SELECT NULL AS t0, NULL AS n0, NULL AS t1, NULL AS n1, NULL AS t2, NULL AS n2, p.name AS name, "
            "p.value AS value FROM \"%1\".engine_extended_properties p WHERE p.class = 0 "
            "UNION ALL SELECT 'SCHEMA', %2, NULL, NULL, NULL, NULL, p.name, p.value "
            "FROM \"%1\".engine_extended_properties p WHERE p.class = 3 "
            "UNION ALL SELECT 'SCHEMA', %3, %4, o.name, NULL, NULL, p.name, p.value "
            "FROM \"%1\".engine_extended_properties p JOIN \"%1\".sysobjects o ON o.id = p.major_id "
            "WHERE p.class = 1 AND p.minor_id = 0 AND o.parent_obj = 0 "
            "UNION ALL SELECT 'SCHEMA', %5, %6, po.name, CASE WHEN rtrim(o.xtype) = 'TR' THEN 'TRIGGER' "
            "ELSE 'CONSTRAINT' END, o.name, p.name, p.value "
            "FROM \"%1\".engine_extended_properties p JOIN \"%1\".sysobjects o ON o.id = p.major_id "
            "JOIN \"%1\".sysobjects po ON po.id = o.parent_obj WHERE p.class = 1 AND p.minor_id = 0 "
            "UNION ALL SELECT 'SCHEMA', %3, %4, o.name, CASE p.class WHEN 1 THEN 'COLUMN' ELSE 'PARAMETER' "
            "END, c.name, p.name, p.value "
            "FROM \"%1\".engine_extended_properties p JOIN \"%1\".sysobjects o ON o.id = p.major_id "
            "JOIN \"%1\".syscolumns c ON c.id = o.id AND c.colid = p.minor_id "
            "WHERE (p.class = 1 AND p.minor_id > 0) OR p.class = 2")
            .arg(s, schemaName.arg(s, QStringLiteral("p.major_id")),
                 schemaName.arg(s, QStringLiteral("o.uid")), objectType.arg(QStringLiteral("o")),
                 schemaName.arg(s, QStringLiteral("po.uid")), objectType.arg(QStringLiteral("po")));
    // ... and those at the level of the lowest type given, under the names given above it; a NULL
    // name at that level stands for every one there.
    const QString given =
        QStringLiteral(
            "SELECT %1 AS pname, CASE upper(%2) WHEN 'USER' THEN 'SCHEMA' ELSE upper(%2) END AS t0, "
            "%3 AS n0, upper(%4) AS t1, %5 AS n1, upper(%6) AS t2, %7 AS n2")
            .arg(args[0], args[1], args[2], args[3], args[4], args[5], args[6]);
    return QStringLiteral(
               "SELECT CASE WHEN a.t2 IS NOT NULL THEN x.t2 WHEN a.t1 IS NOT NULL THEN x.t1 WHEN a.t0 IS NOT "
               "NULL THEN x.t0 END AS objtype, CASE WHEN a.t2 IS NOT NULL THEN x.n2 WHEN a.t1 IS NOT NULL "
               "THEN x.n1 WHEN a.t0 IS NOT NULL THEN x.n0 END AS objname, x.name AS name, x.value AS value "
               "FROM (%1) x, (%2) a WHERE (a.pname IS NULL OR lower(x.name) = lower(a.pname)) AND ("
               "(a.t0 IS NULL AND x.t0 IS NULL) "
               "OR (a.t0 IS NOT NULL AND a.t1 IS NULL AND x.t0 = a.t0 AND x.t1 IS NULL AND (a.n0 IS NULL "
               "OR lower(x.n0) = lower(a.n0))) "
               "OR (a.t1 IS NOT NULL AND a.t2 IS NULL AND x.t0 = a.t0 AND lower(x.n0) = lower(a.n0) AND "
               "x.t1 = a.t1 AND x.t2 IS NULL AND (a.n1 IS NULL OR lower(x.n1) = lower(a.n1))) "
               "OR (a.t2 IS NOT NULL AND x.t0 = a.t0 AND lower(x.n0) = lower(a.n0) AND x.t1 = a.t1 AND "
               "lower(x.n1) = lower(a.n1) AND x.t2 = a.t2 AND (a.n2 IS NULL OR lower(x.n2) = lower(a.n2))))")
        .arg(paths, given);
}

QString PropertySystemView(const QString& name, const QString& schema, const QString& masterSchema) {
    const QString n = name.toLower();
    // The server's triggers, in master whichever database asks.
    if (n == QLatin1String("server_triggers"))
        return QStringLiteral(
                   "SELECT name, id AS object_id, 100 AS parent_class, 'SERVER' AS parent_class_desc, "
                   "0 AS parent_id, 'TR' AS type, 'SQL_TRIGGER' AS type_desc, create_date, "
                   "modify_date, 0 AS is_ms_shipped, 0 AS is_disabled FROM \"%1\".engine_server_triggers")
            .arg(masterSchema);
    if (n == QLatin1String("server_sql_modules"))
        return QStringLiteral("SELECT id AS object_id, definition FROM \"%1\".engine_server_triggers")
            .arg(masterSchema);
    if (n == QLatin1String("extended_properties"))
        return ExtendedProperties(schema);
    if (n == QLatin1String("xml_schema_collections"))
        return XmlSchemaCollections(schema);
    if (n == QLatin1String("dm_exec_sessions"))
        return EmptyView(kSessions, int(std::size(kSessions)));
    if (n == QLatin1String("dm_exec_connections"))
        return EmptyView(kConnections, int(std::size(kConnections)));
    if (n == QLatin1String("dm_exec_requests"))
        return EmptyView(kRequests, int(std::size(kRequests)));
    return {};
}

} // namespace Catalogue
