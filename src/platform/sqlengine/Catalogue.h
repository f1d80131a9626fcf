#pragma once

#include "SqlAst.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <QVariant>
#include <vector>

class SqliteDb;
struct sqlite3_context;
struct sqlite3_value;

// The system types as the server numbers them.
struct SystemType {
    const char* name;
    int xtype;
    int xusertype;
    int length; // bytes; for character types the largest
    int precision;
    int scale;
    bool variable;
    bool character; // compares as text
    bool unicode;
};

// A row of sysobjects as the engine needs it.
struct CatalogueObject {
    int id = 0;
    QString name;
    int uid = 1;
    QString xtype; // trimmed: U, P, V, TR, FN, IF, TF, S
    int parent = 0;
    bool IsValid() const { return id != 0; }
};

// Knows the layout of a database's catalogue and keeps it: the tables the server's queries read,
// with the server's column names and types, and the rows of the system types, users and roles.
namespace Catalogue {

const SystemType* FindType(const QString& name);
const SystemType* FindTypeById(int xtype);
// Size in bytes, precision and scale of a declared type as syscolumns records them.
void ColumnSize(const SqlTypeSpec& type, int* length, int* precision, int* scale);
// The type as a SQLite column declaration, so that result columns can name their server type.
QString DeclaredType(const SqlTypeSpec& type);
// From a declared type back to id, length, precision, scale.
void DescribeDeclaredType(const QString& decl, int* typeId, int* length, int* precision, int* scale);
QString TypeText(const SqlTypeSpec& type);

// Makes the catalogue of a new database whose owner has the login sid ownerSid.
void CreateDatabaseCatalogue(SqliteDb& db, const QByteArray& ownerSid);
void CreateMasterCatalogue(SqliteDb& db);
// Gives a database made before the catalogue had its indexes the indexes, in one transaction.
void EnsureIndexes(SqliteDb& db);

bool IsCatalogueTable(const QString& name);
// CatalogueProperties.cpp: the tables of extended properties and XML schema collections, made in a
// database from before them; the sys views over them and the dynamic views (empty), or empty.
void EnsurePropertyTables(SqliteDb& db);
QString PropertySystemView(const QString& name, const QString& schema, const QString& masterSchema);
// The query of fn_listextendedproperty over the SQL of its seven arguments.
QString ListExtendedProperties(const QString& schema, const QStringList& args);
// The query behind a catalogue view of the newer servers (sys.objects, INFORMATION_SCHEMA.ROUTINES
// ...) over the tables of the database in `schema`; empty when owner.name is no such view.
QString SystemView(const QString& owner, const QString& name, const QString& schema,
                   const QString& masterSchema, const QString& database);
bool IsMasterTable(const QString& name);
// What a client's query reads for a compatibility table of the database in `schema`, and a view's
// query with the same done to the tables it reads: the temporary tables of the sessions left out,
// or for tempdb's catalogue, those alone.
QString VisibleTable(const QString& schema, const QString& name, bool tempdb);
QString HideTemporaries(QString view, const QString& schema, bool tempdb);

// schema: the SQLite schema name the database is attached under ("main", "master", ...).
CatalogueObject FindObject(SqliteDb& db, const QString& schema, const QString& name, const QString& owner,
                           int userUid);
CatalogueObject ObjectById(SqliteDb& db, const QString& schema, int id);
// The type (xtype, trimmed) and owner (uid) of one object, or of every object at once.
struct ObjectType {
    QString xtype;
    int uid = 0;
};
bool TypeOfObject(SqliteDb& db, const QString& schema, qint64 id, ObjectType& type); // false when missing
// The types of one schema's objects for a statement that asks about many of them one by one, as a
// list of the catalogue does once per row: the first few look-ups read one object each, the rest come
// from one read of the whole table. It keeps what it read, so it must not outlive the state of the
// database it was read from (the connection drops it on a change); an object it doesn't know is still
// looked up alone.
class ObjectTypeCache {
public:
    // The type of the object, or null when there is none; `scratch` holds it when it was read alone.
    const ObjectType* Find(SqliteDb& db, const QString& schema, qint64 id, ObjectType& scratch);

private:
    void load(SqliteDb& db, const QString& schema);
    const ObjectType* lookup(qint64 id) const;

    int mLookups = 0;
    bool mLoaded = false;
    // An open-addressing table of ids (a power of two in size, -1 where free) beside the types: a
    // list asks once per row, and this costs one or two cache lines where a QHash costs several.
    std::vector<qint64> mIds;
    std::vector<ObjectType> mTypes;
};
// The type of an object for OBJECTPROPERTY, asked once per row of a statement: through the cache kept
// with the connection, held by the statement for as long as it runs.
const ObjectType* StatementObjectType(sqlite3_context* ctx, SqliteDb& db, sqlite3_value* schemaArg, qint64 id,
                                      ObjectType& scratch);
int UserUid(SqliteDb& db, const QString& schema, const QString& name); // -1 when missing
// The name of a user or schema by its id (sysobjects.uid holds either).
QString UserName(SqliteDb& db, const QString& schema, int uid);
// Schemas made with CREATE SCHEMA have ids from here on; below it an owner is a user or role.
constexpr int kFirstSchemaId = 30000;
// The id an owner name stands for in a two-part name: a schema of that name, else a user or role;
// -1 when neither.
int SchemaId(SqliteDb& db, const QString& schema, const QString& name);
int NextObjectId(SqliteDb& db);
QString Now();

} // namespace Catalogue
