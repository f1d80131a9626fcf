// Table types (CREATE TYPE ... AS TABLE), DROP TYPE and table-valued parameters. A table type is a
// row of systypes (xtype 243) whose domain names an object of type TT: its columns are that
// object's rows of syscolumns and its definition the CREATE TYPE statement kept as the object's
// text, parsed again whenever a table of the type is made. A table variable of the type is an
// ordinary table variable made from that definition; a table-valued parameter is one too, filled
// with the rows of the caller's table variable (or the caller's own table, when both have the same
// name, since READONLY keeps the procedure from changing it).
#include "SessionState.h"

#include "SqlParser.h"

namespace {

constexpr int kFirstUserType = 257;
constexpr int kTableTypeId = 243;

// The catalogue changes of one statement stand or fall together, also inside a user's transaction.
class TypeChange {
public:
    explicit TypeChange(SqliteDb& db)
        : mDb(db) {
        mDb.Exec(QStringLiteral("SAVEPOINT usertype"));
    }
    TypeChange(const TypeChange&) = delete;
    TypeChange& operator=(const TypeChange&) = delete;
    ~TypeChange() {
        if (!mDone) {
            try {
                mDb.Exec(QStringLiteral("ROLLBACK TO usertype"));
                mDb.Exec(QStringLiteral("RELEASE usertype"));
            } catch (const SqliteError&) {
            }
        }
    }
    void Commit() {
        mDb.Exec(QStringLiteral("RELEASE usertype"));
        mDone = true;
    }

private:
    SqliteDb& mDb;
    bool mDone = false;
};

ServerError TypeClash(const QString& from, const QString& to) {
    return ServerError::Make(206, 16,
                             QStringLiteral("Operand type clash: %1 is incompatible with %2").arg(from, to));
}

// The statements of a module's body that change a table, nested blocks included.
void ChangedTables(const QList<SqlStatementP>& statements, QList<const SqlStatement*>& out) {
    for (const SqlStatementP& s : statements) {
        if (!s)
            continue;
        using K = SqlStatement::Kind;
        if (s->kind == K::Insert || s->kind == K::Update || s->kind == K::Delete || s->kind == K::Truncate ||
            s->kind == K::Merge)
            out.append(s.get());
        ChangedTables(s->body, out);
        ChangedTables(s->elseBody, out);
    }
}

} // namespace

void SessionState::CreateTableType(const SqlStatement& s, int uid) {
    const QString name = s.target.last();
    for (qsizetype i = 0; i < s.columnDefs.size(); ++i) {
        const SqlColumnDef& c = s.columnDefs[i];
        if (!c.computed && !Catalogue::FindType(ResolveType(c.type).name))
            throw ServerError::Make(
                2715, 16,
                QStringLiteral("Column, parameter, or variable #%1: Cannot find data type %2.")
                    .arg(i + 1)
                    .arg(c.type.name));
    }
    const QString text = s.end > s.begin ? mBatchText.mid(s.begin, s.end - s.begin) : mBatchText.mid(s.begin);
    TypeChange change(*mDb);
    const int objectId = Catalogue::NextObjectId(*mDb);
    const QString now = Catalogue::Now();
    const QString objectName =
        QStringLiteral("TT_%1_%2")
            .arg(name, QString::number(quint32(objectId), 16).rightJustified(8, u'0').toUpper());
    mDb->Exec(QStringLiteral(
                  "INSERT INTO sysobjects (name, id, xtype, uid, info, status, base_schema_ver, replinfo, "
                  "parent_obj, crdate, ftcatid, schema_ver, stats_schema_ver, type, userstat, sysstat, "
                  "indexdel, refdate, version, deltrig, instrig, updtrig, seltrig, category, cache) "
                  "VALUES (?,?,'TT',?,0,0,0,0,0,?,0,0,0,'TT',0,0,0,?,0,0,0,0,0,0,0)"),
              {objectName, objectId, uid, now, now});
    QStringList key = s.primaryKey;
    for (const SqlColumnDef& c : s.columnDefs)
        if (c.primaryKey)
            key.append(c.name);
    QList<SqlParam> columns;
    QList<QPair<QString, SqlTypeSpec>> written;
    for (const SqlColumnDef& c : s.columnDefs) {
        SqlParam p;
        p.name = c.name;
        bool notNull = false;
        p.type = c.computed ? SqlTypeSpec{QStringLiteral("sql_variant"), -1, -1, -1}
                            : ResolveType(c.type, &notNull);
        bool inKey = false;
        for (const QString& k : key)
            inKey = inKey || k.compare(c.name, Qt::CaseInsensitive) == 0;
        p.nullable = c.nullGiven ? c.nullable : !(notNull || inKey || c.identity);
        columns.append(p);
        written.append({c.name, c.type});
    }
    WriteColumns(objectId, columns, 0);
    MarkUserTypes(objectId, written);
    for (const SqlColumnDef& c : s.columnDefs)
        if (c.identity)
            mDb->Exec(
                QStringLiteral("UPDATE syscolumns SET colstat = 1, status = 0x80 WHERE id = ? AND name = ?"),
                {objectId, c.name});
    WriteText(objectId, text);
    const int id =
        qMax(kFirstUserType, mDb->Scalar(QStringLiteral("SELECT MAX(xusertype) FROM systypes")).toInt() + 1);
    mDb->Exec(QStringLiteral("INSERT INTO systypes (name, xtype, status, xusertype, length, xprec, xscale, "
                             "tdefault, domain, uid, reserved, collationid, usertype, variable, allownulls, "
                             "type, prec, scale) VALUES (?,?,0,?,-1,0,0,0,?,?,0,0,?,0,0,?,0,0)"),
              {name, kTableTypeId, id, objectId, uid, id, kTableTypeId});
    change.Commit();
}

SqlStatementP SessionState::TableTypeDefinition(const SqlTypeSpec& type) {
    if (!type.IsValid() || !mDb || Catalogue::FindType(type.name))
        return nullptr;
    const QList<QVariantList> rows = mDb->Rows(
        QStringLiteral("SELECT domain, name FROM systypes WHERE name = ? AND xtype = ? AND xusertype >= ?"),
        {type.name, kTableTypeId, kFirstUserType});
    if (rows.isEmpty())
        return nullptr;
    SqlParser parser(ObjectText(rows.first()[0].toInt()), true);
    QList<SqlSyntaxError> errors;
    const QList<SqlStatementP> statements = parser.ParseBatch(&errors);
    if (statements.isEmpty() || !statements.first() ||
        statements.first()->kind != SqlStatement::Kind::CreateType)
        return nullptr;
    const SqlStatement& definition = *statements.first();
    auto table = std::make_shared<SqlStatement>();
    table->kind = SqlStatement::Kind::CreateTable;
    table->line = mLine;
    table->name = rows.first()[1].toString();
    table->columnDefs = definition.columnDefs;
    table->primaryKey = definition.primaryKey;
    // Every table of the type gets constraints of its own, which the server names.
    table->checks = definition.checks;
    for (SqlCheck& c : table->checks)
        c.name.clear();
    return table;
}

bool SessionState::DeclareTypedTable(const SqlParam& p, const SqlStatement* by) {
    Q_UNUSED(by);
    const QString table = u'#' + p.name + TempSuffix();
    if (const SqlStatementP made = Top().typedTables.value(table.toLower())) {
        // The DECLARE run again (in a loop): the table stays as it is.
        CreateTable(*made);
        return true;
    }
    const SqlStatementP made = TableTypeDefinition(p.type);
    if (!made)
        return false;
    made->target = QStringList{table};
    Top().typedTables.insert(table.toLower(), made);
    CreateTable(*made);
    return true;
}

QString SessionState::TableArgument(const SqlParam& p, const SqlExpr* value) {
    const SqlStatementP type = TableTypeDefinition(p.type);
    if (!type)
        throw ServerError::Make(
            2715, 16,
            QStringLiteral("Column, parameter, or variable #1: Cannot find data type %1.").arg(p.type.name));
    if (!value)
        return {};
    if (value->kind != SqlExpr::Kind::Variable) {
        QString from = QStringLiteral("int");
        if (value->kind == SqlExpr::Kind::String)
            from = value->unicode ? QStringLiteral("nvarchar") : QStringLiteral("varchar");
        else if (value->kind == SqlExpr::Kind::Number && value->text.contains(u'.'))
            from = QStringLiteral("numeric");
        throw TypeClash(from, type->name);
    }
    QString table = u'#' + value->text + TempSuffix();
    if (const SqlStatementP passed = Top().typedTables.value(table.toLower())) {
        if (passed->name.compare(type->name, Qt::CaseInsensitive) != 0)
            throw TypeClash(passed->name, type->name);
        return table;
    }
    if (Top().tableVariables.contains(table))
        throw TypeClash(QStringLiteral("table"), type->name);
    if (const auto it = Top().vars.constFind(value->text.toLower()); it != Top().vars.cend())
        throw TypeClash(it->type.name, type->name);
    throw ServerError::Make(
        137, 15, QStringLiteral("Must declare the scalar variable \"%1\".").arg(value->text), true);
}

void SessionState::BindTableParameter(const SqlParam& p, const QString& source) {
    const QString table = u'#' + p.name + TempSuffix();
    const SqlStatementP made = TableTypeDefinition(p.type);
    if (!made)
        throw ServerError::Make(
            2715, 16,
            QStringLiteral("Column, parameter, or variable #1: Cannot find data type %1.").arg(p.type.name));
    made->target = QStringList{table};
    Top().typedTables.insert(table.toLower(), made);
    if (source.compare(table, Qt::CaseInsensitive) == 0)
        return; // the caller's own table, which the procedure can only read
    CreateTable(*made);
    if (source.isEmpty())
        return;
    const CatalogueObject from = Catalogue::FindObject(*mDb, Schema(), source, QString(), mUid);
    const CatalogueObject to = Catalogue::FindObject(*mDb, Schema(), table, QString(), mUid);
    if (from.IsValid() && to.IsValid())
        mDb->Exec(QStringLiteral("INSERT INTO \"main\".\"T%1\" SELECT * FROM \"main\".\"T%2\"")
                      .arg(to.id)
                      .arg(from.id));
}

void SessionState::PassTable(const SqlParam& p, const SqlExpr* value) {
    const QString table = u'#' + p.name + TempSuffix();
    QString source;
    if (value && value->kind == SqlExpr::Kind::Variable && mPassedTables.contains(value->text.toLower()))
        source = mPassedTables.value(value->text.toLower()); // a parameter of the function that passes it on
    else
        source = TableArgument(p, value);
    if (source.isEmpty()) {
        // Left out: an empty table of the type, made in the frame on top like a DECLARE.
        const SqlStatementP made = TableTypeDefinition(p.type);
        if (!made)
            return;
        source = u'#' + p.name + QStringLiteral("~") + TempSuffix();
        if (!Top().typedTables.contains(source.toLower())) {
            made->target = QStringList{source};
            Top().typedTables.insert(source.toLower(), made);
            CreateTable(*made);
        }
    }
    // The function's query names the parameter as written or as a table variable's table.
    mPassedTables.insert(p.name.toLower(), source);
    if (source.compare(table, Qt::CaseInsensitive) == 0)
        mPassedTables.remove(table.toLower());
    else
        mPassedTables.insert(table.toLower(), source);
}

void SessionState::CheckTableParameters(const SqlStatement& module) {
    QStringList readOnly;
    for (const SqlParam& p : module.params) {
        const bool table =
            p.type.IsValid() && !Catalogue::FindType(p.type.name) && TableTypeDefinition(p.type);
        if (table && !p.readOnly)
            throw ServerError::Make(
                352, 15,
                QStringLiteral("The table-valued parameter \"%1\" must be declared with the READONLY option.")
                    .arg(p.name));
        if (!table && p.readOnly && Catalogue::FindType(ResolveType(p.type).name))
            throw ServerError::Make(
                346, 15,
                QStringLiteral("The parameter \"%1\" can not be declared READONLY since it is "
                               "not a table-valued parameter.")
                    .arg(p.name));
        if (table)
            readOnly.append(p.name);
    }
    if (readOnly.isEmpty())
        return;
    QList<const SqlStatement*> changes;
    ChangedTables(module.body, changes);
    for (const SqlStatement* s : changes) {
        if (s->target.isEmpty())
            continue;
        const QString target = WrittenName(s->target.last());
        for (const QString& name : readOnly)
            if (target.compare(name, Qt::CaseInsensitive) == 0)
                throw ServerError::Make(
                    10700, 16,
                    QStringLiteral("The table-valued parameter \"%1\" is READONLY and cannot be modified.")
                        .arg(name));
    }
}

void SessionState::MarkUserTypes(int id, const QList<QPair<QString, SqlTypeSpec>>& columns) {
    for (const auto& [name, type] : columns) {
        if (!type.IsValid() || Catalogue::FindType(type.name))
            continue;
        const QList<QVariantList> rows = mDb->Rows(
            QStringLiteral("SELECT xtype, xusertype FROM systypes WHERE name = ? AND xusertype >= ?"),
            {type.name, kFirstUserType});
        if (rows.isEmpty())
            continue;
        const bool table = rows.first()[0].toInt() == kTableTypeId;
        mDb->Exec(QStringLiteral("UPDATE syscolumns SET xtype = ?, type = ?, xusertype = ?, usertype = ?%1 "
                                 "WHERE id = ? AND name = ?")
                      .arg(table ? QStringLiteral(", length = -1") : QString()),
                  {rows.first()[0], rows.first()[0], rows.first()[1], rows.first()[1], id, name});
    }
}

void SessionState::DropTypes(const SqlStatement& s) {
    for (const QStringList& name : s.names) {
        const QString written = name.join(u'.');
        QVariantList args{name.last(), kFirstUserType};
        QString owner;
        if (name.size() >= 2 && !name[name.size() - 2].isEmpty()) {
            try {
                args.append(OwnerUid(name, s.line));
                owner = QStringLiteral(" AND uid = ?");
            } catch (const ServerError&) {
                args.append(-1);
                owner = QStringLiteral(" AND uid = ?");
            }
        }
        const QList<QVariantList> rows =
            mDb->Rows(QStringLiteral("SELECT xusertype, xtype, domain, uid FROM systypes WHERE name = ? AND "
                                     "xusertype >= ?") +
                          owner,
                      args);
        if (rows.isEmpty() || (!IsDbOwner() && rows.first()[3].toInt() != mUid)) {
            if (s.name == QLatin1String("IF EXISTS"))
                continue;
            throw ServerError::Make(
                218, 16,
                QStringLiteral(
                    "Could not find the type '%1'. Either it does not exist or you do not have the "
                    "necessary permission.")
                    .arg(written));
        }
        const int id = rows.first()[0].toInt();
        const int tableObject = rows.first()[1].toInt() == kTableTypeId ? rows.first()[2].toInt() : 0;
        // Temporary tables and table variables live elsewhere on the server and hold nothing back.
        const QVariant user = mDb->Scalar(
            QStringLiteral(
                "SELECT o.name FROM syscolumns c JOIN sysobjects o ON o.id = c.id WHERE "
                "c.xusertype = ? AND o.id <> ? AND o.name NOT LIKE '#%' ORDER BY o.xtype = 'TT', o.id "
                "LIMIT 1"),
            {id, tableObject});
        if (user.isValid())
            throw ServerError::Make(
                3732, 16,
                QStringLiteral("Cannot drop type '%1' because it is being referenced by object "
                               "'%2'. There may be other objects that reference this type.")
                    .arg(written, user.toString()));
        TypeChange change(*mDb);
        mDb->Exec(QStringLiteral("DELETE FROM systypes WHERE xusertype = ?"), {id});
        if (tableObject) {
            mDb->Exec(QStringLiteral("DELETE FROM syscolumns WHERE id = ?"), {tableObject});
            mDb->Exec(QStringLiteral("DELETE FROM syscomments WHERE id = ?"), {tableObject});
            mDb->Exec(QStringLiteral("DELETE FROM sysobjects WHERE id = ?"), {tableObject});
        }
        change.Commit();
    }
}

SqlTypeSpec SessionState::BaseType(const SqlTypeSpec& type) {
    // An unknown name stays as written, for CONVERT's own error (243).
    return ResolveType(type);
}
