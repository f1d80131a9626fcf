// CREATE, ALTER and DROP of a session, and permissions.
#include "SessionState.h"

#include "SqlParser.h"

namespace {

// A group of catalogue changes that stands or falls together, also inside a user's transaction.
class Atomic {
public:
    explicit Atomic(SqliteDb& db)
        : mDb(db) {
        mDb.Exec(QStringLiteral("SAVEPOINT ddl"));
    }
    ~Atomic() {
        if (!mDone) {
            try {
                mDb.Exec(QStringLiteral("ROLLBACK TO ddl"));
                mDb.Exec(QStringLiteral("RELEASE ddl"));
            } catch (const SqliteError&) {
            }
        }
    }
    void Commit() {
        mDb.Exec(QStringLiteral("RELEASE ddl"));
        mDone = true;
    }

private:
    SqliteDb& mDb;
    bool mDone = false;
};

struct ActionName {
    int code;
    const char* name;
};
const ActionName kActions[] = {{193, "SELECT"},          {195, "INSERT"},           {197, "UPDATE"},
                               {196, "DELETE"},          {224, "EXECUTE"},          {26, "REFERENCES"},
                               {198, "CREATE TABLE"},    {222, "CREATE PROCEDURE"}, {207, "CREATE VIEW"},
                               {178, "CREATE FUNCTION"}, {233, "CREATE DEFAULT"},   {236, "CREATE RULE"}};

int ActionCode(const QString& name) {
    for (const ActionName& a : kActions)
        if (name == QLatin1String(a.name))
            return a.code;
    return 0;
}

QString ServerKind(const QString& kind) {
    if (kind == QLatin1String("PROCEDURE"))
        return QStringLiteral("P ");
    if (kind == QLatin1String("VIEW"))
        return QStringLiteral("V ");
    if (kind == QLatin1String("TRIGGER"))
        return QStringLiteral("TR");
    return QStringLiteral("FN");
}

} // namespace

QString SessionState::KindWord(const QString& xtype) const {
    const QString x = xtype.trimmed();
    if (x == QLatin1String("U") || x == QLatin1String("S"))
        return QStringLiteral("table");
    if (x == QLatin1String("P"))
        return QStringLiteral("procedure");
    if (x == QLatin1String("V"))
        return QStringLiteral("view");
    if (x == QLatin1String("TR"))
        return QStringLiteral("trigger");
    return QStringLiteral("function");
}

QList<int> SessionState::MyPrincipals() const {
    QList<int> ids = {mUid, 0};
    // Roles, and the roles of roles.
    for (int i = 0; i < ids.size(); ++i)
        for (const QVariantList& r :
             mDb->Rows(QStringLiteral("SELECT groupuid FROM sysmembers WHERE memberuid = ?"), {ids[i]}))
            if (!ids.contains(r[0].toInt()))
                ids.append(r[0].toInt());
    return ids;
}

bool SessionState::IsDbOwner() const {
    return mUid == 1 || login.sysadmin || MyPrincipals().contains(16384);
}

bool SessionState::HasPermission(const CatalogueObject& o, int action) {
    if (IsDbOwner() || (o.IsValid() && o.uid == mUid) || mModuleDepth > 0)
        return true;
    const QList<int> ids = MyPrincipals();
    bool granted = false;
    for (const QVariantList& r :
         mDb->Rows(QStringLiteral("SELECT uid, protecttype FROM sysprotects WHERE id = ? AND "
                                  "action = ?"),
                   {o.IsValid() ? o.id : 0, action})) {
        if (!ids.contains(r[0].toInt()))
            continue;
        if (r[1].toInt() == 206)
            return false;
        granted = true;
    }
    return granted;
}

void SessionState::CheckPermission(const CatalogueObject& o, int action) {
    if (HasPermission(o, action))
        return;
    QString name;
    for (const ActionName& a : kActions)
        if (a.code == action)
            name = QString::fromLatin1(a.name);
    throw ServerError::Make(
        229, 14,
        QStringLiteral("The %1 permission was denied on the object '%2', database '%3', schema "
                       "'%4'.")
            .arg(name, o.name, database, Catalogue::UserName(*mDb, Schema(), o.uid)));
}

bool SessionState::CanCreate(const QString& kind) {
    if (IsDbOwner() || MyPrincipals().contains(16387))
        return true;
    return HasPermission(CatalogueObject(), ActionCode(QStringLiteral("CREATE ") + kind));
}

int SessionState::OwnerUid(const QStringList& name, int) {
    if (name.size() < 2 || name[name.size() - 2].isEmpty())
        return mUid == 2 ? 1 : mUid;
    const QString& owner = name[name.size() - 2];
    // A schema of that name first; the schema's owner and the database's owners may create in it.
    const QList<QVariantList> schema =
        mDb->Rows(QStringLiteral("SELECT id, owner FROM engine_schemas WHERE name = ?"), {owner});
    if (!schema.isEmpty() && (IsDbOwner() || MyPrincipals().contains(schema.first()[1].toInt())))
        return schema.first()[0].toInt();
    const QVariant uid = schema.isEmpty()
                             ? mDb->Scalar(QStringLiteral("SELECT uid FROM sysusers WHERE name = ? "
                                                          "AND issqlrole = 0"),
                                           {owner})
                             : QVariant();
    if (!uid.isValid())
        throw ServerError::Make(
            2760, 16,
            QStringLiteral("The specified schema name \"%1\" either does not exist or you do not "
                           "have permission to use it.")
                .arg(owner));
    if (uid.toInt() != mUid && !IsDbOwner())
        throw ServerError::Make(
            2760, 16,
            QStringLiteral("The specified schema name \"%1\" either does not exist or you do not "
                           "have permission to use it.")
                .arg(owner));
    return uid.toInt();
}

void SessionState::WriteColumns(int id, const QList<SqlParam>& params, int number) {
    mDb->Exec(QStringLiteral("DELETE FROM syscolumns WHERE id = ?"), {id});
    int colid = 0;
    for (const SqlParam& p : params) {
        const SqlTypeSpec type = ResolveType(p.type);
        const SystemType* t = Catalogue::FindType(type.name);
        int length = 0, precision = 0, scale = 0;
        Catalogue::ColumnSize(type, &length, &precision, &scale);
        const bool returnValue = p.name.isEmpty();
        const int thisColid = returnValue ? 0 : ++colid;
        mDb->Exec(QStringLiteral(
                      "INSERT INTO syscolumns (name, id, xtype, typestat, xusertype, length, xprec, xscale, "
                      "colid, xoffset, bitpos, reserved, colstat, cdefault, domain, number, colorder, "
                      "offset, collationid, status, type, usertype, prec, scale, iscomputed, isoutparam, "
                      "isnullable) VALUES (?,?,?,0,?,?,?,?,?,0,0,0,0,0,0,?,0,0,0,?,?,?,?,?,0,?,?)"),
                  {p.name, id, t ? t->xtype : 0, t ? t->xusertype : 0, length, precision, scale, thisColid,
                   number, p.output ? 0x40 : 0, t ? t->xtype : 0, t ? t->xusertype : 0, precision, scale,
                   p.output || returnValue ? 1 : 0, p.nullable ? 1 : 0});
    }
}

void SessionState::WriteText(int id, const QString& text) {
    mDb->Exec(QStringLiteral("DELETE FROM syscomments WHERE id = ?"), {id});
    int colid = 0;
    for (int i = 0; i == 0 || i < text.size(); i += 4000)
        mDb->Exec(
            QStringLiteral("INSERT INTO syscomments (id, number, colid, status, ctext, texttype, language, "
                           "encrypted, compressed, text) VALUES (?,1,?,0,?,2,0,0,0,?)"),
            {id, ++colid, text.mid(i, 4000).toUtf8(), text.mid(i, 4000)});
}

void SessionState::CreateTable(const SqlStatement& s) {
    // Anyone may make temporary tables and table variables.
    const bool temporary =
        s.target.last().startsWith(u'#') && !s.target.last().startsWith(QLatin1String("##"));
    // A table variable's DECLARE run again (in a loop) leaves the table as it is.
    if (temporary && !mFrames.isEmpty() && Top().tableVariables.value(s.target.last()) == &s &&
        Catalogue::FindObject(*mDb, Schema(), s.target.last(), QString(), mUid).IsValid())
        return;
    if (!temporary && !CanCreate(QStringLiteral("TABLE")))
        throw ServerError::Make(
            262, 14, QStringLiteral("CREATE TABLE permission denied in database '%1'.").arg(database));
    if (s.target.size() >= 3 && !s.target[s.target.size() - 3].isEmpty() &&
        s.target[s.target.size() - 3].compare(database, Qt::CaseInsensitive) != 0)
        throw ServerError::Unsupported(QStringLiteral("creating tables in another database"));
    // Columns of user types are made as columns of their base types.
    for (const SqlColumnDef& c : s.columnDefs)
        if (!c.computed && !Catalogue::FindType(c.type.name) &&
            Catalogue::FindType(ResolveType(c.type).name)) {
            SqlStatement resolved = s;
            for (SqlColumnDef& r : resolved.columnDefs) {
                bool notNull = false;
                r.type = ResolveType(r.type, &notNull);
                if (notNull && !r.nullGiven) {
                    r.nullable = false;
                    r.nullGiven = true;
                }
            }
            CreateTable(resolved);
            if (temporary)
                KeepTemporary(s.target.last(), s);
            QList<QPair<QString, SqlTypeSpec>> written;
            for (const SqlColumnDef& w : s.columnDefs)
                written.append({w.name, w.type});
            MarkUserTypes(
                Catalogue::FindObject(*mDb, Schema(), s.target.last(),
                                      s.target.size() >= 2 ? s.target[s.target.size() - 2] : QString(), mUid)
                    .id,
                written);
            return;
        }
    const QString name = s.target.last();
    const int uid = OwnerUid(s.target, s.line);
    if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysobjects WHERE name = ? AND uid = ?"), {name, uid})
            .isValid() ||
        Catalogue::IsCatalogueTable(name))
        throw ServerError::Make(
            2714, 16, QStringLiteral("There is already an object named '%1' in the database.").arg(name));
    QStringList seen;
    for (const SqlColumnDef& c : s.columnDefs) {
        if (seen.contains(c.name.toLower()))
            throw ServerError::Make(
                2705, 16,
                QStringLiteral("Column names in each table must be unique. Column name '%1' in table "
                               "'%2' is specified more than once.")
                    .arg(c.name, name));
        seen.append(c.name.toLower());
        if (!c.computed && !Catalogue::FindType(c.type.name))
            throw ServerError::Make(
                2715, 16,
                QStringLiteral("Column, parameter, or variable #%1: Cannot find data type %2.")
                    .arg(seen.size())
                    .arg(c.type.name));
    }
    Atomic atomic(*mDb);
    const int id = Catalogue::NextObjectId(*mDb);
    const QString now = Catalogue::Now();
    auto insertObject = [&](const QString& objName, int objId, const QString& xtype, const QString& type,
                            int parent) {
        mDb->Exec(
            QStringLiteral(
                "INSERT INTO sysobjects (name, id, xtype, uid, info, status, base_schema_ver, replinfo, "
                "parent_obj, crdate, ftcatid, schema_ver, stats_schema_ver, type, userstat, sysstat, "
                "indexdel, refdate, version, deltrig, instrig, updtrig, seltrig, category, cache) "
                "VALUES (?,?,?,?,0,0,0,0,?,?,0,0,0,?,0,0,0,?,0,0,0,0,0,0,0)"),
            {objName, objId, xtype, uid, parent, now, type, now});
    };
    insertObject(name, id, QStringLiteral("U "), QStringLiteral("U "), 0);
    QStringList pk = s.primaryKey;
    for (const SqlColumnDef& c : s.columnDefs)
        if (c.primaryKey)
            pk.append(c.name);
    QStringList defs;
    int colid = 0;
    for (const SqlColumnDef& c : s.columnDefs) {
        int length = 0, precision = 0, scale = 0;
        Catalogue::ColumnSize(c.type, &length, &precision, &scale);
        const SystemType* t = Catalogue::FindType(c.type.name);
        bool inPk = false;
        for (const QString& p : pk)
            inPk = inPk || p.compare(c.name, Qt::CaseInsensitive) == 0;
        const bool nullable = c.nullGiven ? c.nullable : !(inPk || c.identity);
        if (c.nullGiven && c.nullable && inPk)
            throw ServerError::Make(
                8111, 16,
                QStringLiteral("Cannot define PRIMARY KEY constraint on nullable column in table "
                               "'%1'.")
                    .arg(name));
        QString def = SqlTranslator::Quote(c.name) + u' ';
        if (c.computed) {
            // Computed by SQLite as a generated column; its type is that of the expression.
            SqlTranslator tr(*this);
            QStringList columns;
            for (const SqlColumnDef& other : s.columnDefs)
                columns.append(other.name);
            tr.SetComputedColumn(columns);
            const QString expr = tr.Expr(*c.computed);
            if (!tr.Params().isEmpty())
                throw ServerError::Unsupported(QStringLiteral("this computed column"));
            def += QStringLiteral("AS (%1) %2")
                       .arg(expr, c.persisted ? QStringLiteral("STORED") : QStringLiteral("VIRTUAL"));
            defs.append(def);
            mDb->Exec(
                QStringLiteral(
                    "INSERT INTO syscolumns (name, id, xtype, typestat, xusertype, length, xprec, xscale, "
                    "colid, xoffset, bitpos, reserved, colstat, cdefault, domain, number, colorder, "
                    "offset, collationid, status, type, usertype, prec, scale, iscomputed, isoutparam, "
                    "isnullable) VALUES (?,?,98,0,98,8016,0,0,?,0,0,0,0,0,0,0,0,0,0,8,98,98,0,0,1,0,1)"),
                {c.name, id, ++colid});
            continue;
        }
        if (c.identity) {
            if (c.increment != 1 || (!pk.isEmpty() && !(pk.size() == 1 && inPk)))
                throw ServerError::Unsupported(
                    QStringLiteral("IDENTITY columns that are not the single-column key "
                                   "counting up by 1"));
            def += QStringLiteral("INTEGER PRIMARY KEY AUTOINCREMENT");
        } else {
            def += Catalogue::DeclaredType(c.type);
            if (!nullable)
                def += QStringLiteral(" NOT NULL");
            if (t && t->character && c.type.length > 0)
                def += QStringLiteral(" CONSTRAINT len CHECK (length(%1) <= %2)")
                           .arg(SqlTranslator::Quote(c.name))
                           .arg(c.type.length);
        }
        if (c.defaultValue) {
            SqlTranslator tr(*this);
            const QString expr = tr.Expr(*c.defaultValue);
            if (!tr.Params().isEmpty())
                throw ServerError::Unsupported(QStringLiteral("this DEFAULT expression"));
            def += QStringLiteral(" DEFAULT (%1)").arg(expr);
        }
        defs.append(def);
        mDb->Exec(
            QStringLiteral(
                "INSERT INTO syscolumns (name, id, xtype, typestat, xusertype, length, xprec, xscale, "
                "colid, xoffset, bitpos, reserved, colstat, cdefault, domain, number, colorder, offset, "
                "collationid, status, type, usertype, prec, scale, iscomputed, isoutparam, isnullable) "
                "VALUES (?,?,?,0,?,?,?,?,?,0,0,0,?,0,0,0,0,0,0,?,?,?,?,?,0,0,?)"),
            {c.name, id, t->xtype, t->xusertype, length, precision, scale, ++colid, c.identity ? 1 : 0,
             (c.identity ? 0x80 : 0) | (nullable ? 0x08 : 0), t->xtype, t->xusertype, precision, scale,
             nullable ? 1 : 0});
    }
    defs += CheckConstraints(s, id, name, uid);
    bool identityKey = false;
    for (const SqlColumnDef& c : s.columnDefs)
        identityKey = identityKey || c.identity;
    if (!pk.isEmpty()) {
        const QString pkName =
            s.constraintName.isEmpty() ? QStringLiteral("PK_%1").arg(name) : s.constraintName;
        insertObject(pkName, Catalogue::NextObjectId(*mDb), QStringLiteral("PK"), QStringLiteral("K "), id);
        if (!identityKey) {
            QStringList cols;
            for (const QString& p : pk)
                cols.append(SqlTranslator::Quote(p));
            defs.append(QStringLiteral("UNIQUE (%1)").arg(cols.join(QStringLiteral(", "))));
        }
    }
    for (const SqlColumnDef& c : s.columnDefs)
        if (c.unique && !c.primaryKey)
            defs.append(QStringLiteral("UNIQUE (%1)").arg(SqlTranslator::Quote(c.name)));
    mDb->Exec(
        QStringLiteral("CREATE TABLE \"main\".\"T%1\" (%2)").arg(id).arg(defs.join(QStringLiteral(", "))));
    for (const SqlColumnDef& c : s.columnDefs)
        if (c.identity && c.seed != 1)
            mDb->Exec(QStringLiteral("INSERT INTO sqlite_sequence (name, seq) VALUES (?, ?)"),
                      {QStringLiteral("T%1").arg(id), c.seed - 1});
    atomic.Commit();
    if (temporary)
        KeepTemporary(name, s);
}

void SessionState::AlterTable(const SqlStatement& s) {
    const QString owner = s.target.size() >= 2 ? s.target[s.target.size() - 2] : QString();
    const CatalogueObject o = Catalogue::FindObject(*mDb, Schema(), s.target.last(), owner, mUid);
    if (!o.IsValid() || o.xtype != QLatin1String("U"))
        throw ServerError::InvalidObject(s.target.join(u'.'));
    if (!IsDbOwner() && o.uid != mUid)
        throw ServerError::Make(
            1088, 16,
            QStringLiteral("Cannot find the object \"%1\" because it does not exist or you do not "
                           "have permissions.")
                .arg(o.name));
    Atomic atomic(*mDb);
    if (s.objectKind == QLatin1String("DROP COLUMN")) {
        for (const QString& col : s.columns) {
            const QVariant real = mDb->Scalar(
                QStringLiteral("SELECT name FROM syscolumns WHERE id = ? AND name = ?"), {o.id, col});
            if (!real.isValid())
                throw ServerError::Make(
                    4924, 16,
                    QStringLiteral("ALTER TABLE DROP COLUMN failed because column '%1' does not "
                                   "exist in table '%2'.")
                        .arg(col, o.name));
            mDb->Exec(QStringLiteral("ALTER TABLE \"main\".\"T%1\" DROP COLUMN %2")
                          .arg(o.id)
                          .arg(SqlTranslator::Quote(real.toString())));
            mDb->Exec(QStringLiteral("DELETE FROM syscolumns WHERE id = ? AND name = ?"), {o.id, col});
        }
        // Keep colid dense, in order.
        const auto rows =
            mDb->Rows(QStringLiteral("SELECT rowid FROM syscolumns WHERE id = ? ORDER BY colid"), {o.id});
        for (int i = 0; i < rows.size(); ++i)
            mDb->Exec(QStringLiteral("UPDATE syscolumns SET colid = ? WHERE rowid = ?"), {i + 1, rows[i][0]});
        atomic.Commit();
        return;
    }
    int colid = mDb->Scalar(QStringLiteral("SELECT MAX(colid) FROM syscolumns WHERE id = ?"), {o.id}).toInt();
    QList<QPair<QString, SqlTypeSpec>> written;
    for (SqlColumnDef c : s.columnDefs) {
        // A column of a user type is one of its base type, with its nullability unless given.
        bool notNull = false;
        written.append({c.name, c.type});
        c.type = ResolveType(c.type, &notNull);
        if (notNull && !c.nullGiven) {
            c.nullable = false;
            c.nullGiven = true;
        }
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM syscolumns WHERE id = ? AND name = ?"), {o.id, c.name})
                .isValid())
            throw ServerError::Make(
                2705, 16,
                QStringLiteral("Column names in each table must be unique. Column name '%1' in table "
                               "'%2' is specified more than once.")
                    .arg(c.name, o.name));
        const SystemType* t = Catalogue::FindType(c.type.name);
        if (!t)
            throw ServerError::Make(
                2715, 16,
                QStringLiteral("Column, parameter, or variable #%1: Cannot find data type %2.")
                    .arg(colid + 1)
                    .arg(c.type.name));
        if (c.identity || c.primaryKey)
            throw ServerError::Unsupported(QStringLiteral("adding IDENTITY or key columns to a table"));
        const bool nullable = c.nullGiven ? c.nullable : true;
        QString def = SqlTranslator::Quote(c.name) + u' ' + Catalogue::DeclaredType(c.type);
        if (c.defaultValue) {
            SqlTranslator tr(*this);
            def += QStringLiteral(" DEFAULT (%1)").arg(tr.Expr(*c.defaultValue));
        }
        if (!nullable) {
            if (!c.defaultValue)
                throw ServerError::Make(
                    4901, 16,
                    QStringLiteral("ALTER TABLE only allows columns to be added that can contain "
                                   "nulls, or have a DEFAULT definition specified, or the column "
                                   "being added is an identity or timestamp column, or "
                                   "alternatively if none of the previous conditions are satisfied "
                                   "the table must be empty to allow addition of this column. "
                                   "Column '%1' cannot be added to non-empty table '%2' because it "
                                   "does not satisfy these conditions.")
                        .arg(c.name, o.name));
            def += QStringLiteral(" NOT NULL");
        }
        mDb->Exec(QStringLiteral("ALTER TABLE \"main\".\"T%1\" ADD COLUMN %2").arg(o.id).arg(def));
        int length = 0, precision = 0, scale = 0;
        Catalogue::ColumnSize(c.type, &length, &precision, &scale);
        mDb->Exec(
            QStringLiteral(
                "INSERT INTO syscolumns (name, id, xtype, typestat, xusertype, length, xprec, xscale, "
                "colid, xoffset, bitpos, reserved, colstat, cdefault, domain, number, colorder, offset, "
                "collationid, status, type, usertype, prec, scale, iscomputed, isoutparam, isnullable) "
                "VALUES (?,?,?,0,?,?,?,?,?,0,0,0,0,0,0,0,0,0,0,?,?,?,?,?,0,0,?)"),
            {c.name, o.id, t->xtype, t->xusertype, length, precision, scale, ++colid, nullable ? 0x08 : 0,
             t->xtype, t->xusertype, precision, scale, nullable ? 1 : 0});
    }
    MarkUserTypes(o.id, written);
    atomic.Commit();
}

void SessionState::CreateModule(const SqlStatement& s) {
    const QString kind = s.objectKind;
    const QString name = s.target.last();
    QString xtype = ServerKind(kind);
    if (kind == QLatin1String("FUNCTION"))
        xtype = !s.returnsTable              ? QStringLiteral("FN")
                : s.returnVariable.isEmpty() ? QStringLiteral("IF")
                                             : QStringLiteral("TF");
    int uid = OwnerUid(s.target, s.line);
    const CatalogueObject existing = Catalogue::FindObject(
        *mDb, Schema(), name, s.target.size() >= 2 ? s.target[s.target.size() - 2] : QString(), uid);
    const bool sameOwner = existing.IsValid() && existing.uid == uid;
    const bool alter = s.isAlter || (s.orAlter && sameOwner);
    if (alter) {
        if (!existing.IsValid())
            throw ServerError::InvalidObject(name);
        uid = existing.uid;
        const QString old = existing.xtype;
        const bool compatible =
            (kind == QLatin1String("FUNCTION"))
                ? (old == QLatin1String("FN") || old == QLatin1String("IF") || old == QLatin1String("TF"))
                : old == xtype.trimmed();
        if (!compatible)
            throw ServerError::Make(
                2010, 16,
                QStringLiteral("Cannot perform alter on '%1' because it is an incompatible object "
                               "type.")
                    .arg(name));
        if (!IsDbOwner() && existing.uid != mUid)
            throw ServerError::Make(
                3701, 14,
                QStringLiteral("Cannot alter the %1 '%2', because it does not exist or you do not "
                               "have permission.")
                    .arg(kind.toLower(), name));
    } else {
        if (!CanCreate(kind))
            throw ServerError::Make(
                262, 14, QStringLiteral("CREATE %1 permission denied in database '%2'.").arg(kind, database));
        if (sameOwner)
            throw ServerError::Make(
                2714, 16, QStringLiteral("There is already an object named '%1' in the database.").arg(name));
    }
    int parent = 0;
    if (kind == QLatin1String("TRIGGER")) {
        const QStringList& tn = s.triggerTable;
        const CatalogueObject table = Catalogue::FindObject(
            *mDb, Schema(), tn.last(), tn.size() >= 2 ? tn[tn.size() - 2] : QString(), mUid);
        // A view takes INSTEAD OF triggers only.
        const bool onView = table.xtype == QLatin1String("V") && s.insteadOf;
        if (!table.IsValid() || (table.xtype != QLatin1String("U") && !onView))
            throw ServerError::Make(
                8197, 16,
                QStringLiteral("The object '%1' does not exist or is invalid for this operation.")
                    .arg(tn.join(u'.')));
        parent = table.id;
    }
    // A view is checked against the tables it reads at once; its columns come from the query.
    QList<SqlParam> columns = s.params;
    int number = kind == QLatin1String("PROCEDURE") ? 1 : 0;
    if (kind == QLatin1String("FUNCTION") && !s.returnsTable) {
        SqlParam ret;
        ret.type = s.returnType;
        columns.prepend(ret);
    }
    auto describeQuery = [&](const SqlSelect& select, const QHash<QString, QString>& overrides) {
        SqlTranslator t(*this);
        t.SetOverrides(overrides);
        ++mModuleDepth;
        QString sql;
        try {
            sql = t.Select(select);
        } catch (...) {
            --mModuleDepth;
            throw;
        }
        --mModuleDepth;
        QList<SqlParam> out;
        try {
            SqliteStatement st(mDb->Handle(), sql);
            for (int i = 0; i < st.ColumnCount(); ++i) {
                SqlParam p;
                p.name = SqlTranslator::ResultName(st.ColumnName(i));
                if (i < s.columns.size())
                    p.name = s.columns[i];
                int typeId = 231, length = 0, precision = 0, scale = 0;
                const QString decl = st.DeclaredType(i);
                Catalogue::DescribeDeclaredType(decl.isEmpty() ? QStringLiteral("nvarchar(4000)") : decl,
                                                &typeId, &length, &precision, &scale);
                const SystemType* type = Catalogue::FindTypeById(typeId);
                p.type.name = type ? QString::fromLatin1(type->name) : QStringLiteral("nvarchar");
                p.type.length = type && type->character ? (type->unicode ? length / 2 : length) : -1;
                p.nullable = !st.OriginNotNull(i);
                out.append(p);
            }
        } catch (const SqliteError& e) {
            throw MapSqliteError(e, QStringLiteral("SELECT"));
        }
        return out;
    };
    if (kind == QLatin1String("VIEW") && !s.select) {
        // A query the engine can't run: kept, and reading the view says why. Its tables must be
        // there all the same, as for any view.
        for (const QStringList& n : s.names) {
            const bool elsewhere = n.size() >= 3 && !n[n.size() - 3].isEmpty() &&
                                   n[n.size() - 3].compare(database, Qt::CaseInsensitive) != 0;
            if (!elsewhere && !Catalogue::FindObject(*mDb, Schema(), n.last(),
                                                     n.size() >= 2 ? n[n.size() - 2] : QString(), mUid)
                                   .IsValid())
                throw ServerError::InvalidObject(n.join(u'.'));
        }
        columns.clear();
    } else if (kind == QLatin1String("VIEW")) {
        const QList<SqlParam> viewColumns = describeQuery(*s.select, {});
        for (int i = 0; i < viewColumns.size(); ++i)
            if (viewColumns[i].name.isEmpty())
                throw ServerError::Make(
                    4511, 16,
                    QStringLiteral("Create View or Function failed because no column name was "
                                   "specified for column %1.")
                        .arg(i + 1));
        columns = viewColumns;
    } else if (xtype == QLatin1String("IF") && s.select) {
        QHash<QString, QString> nulls;
        for (const SqlParam& p : s.params)
            nulls.insert(p.name.toLower(), QStringLiteral("NULL"));
        // Deferred name resolution: a function whose tables are still missing is kept all the same.
        try {
            columns = s.params + describeQuery(*s.select, nulls);
        } catch (const ServerError& e) {
            if (e.number != 208)
                throw;
            columns = s.params;
        }
    } else if (xtype == QLatin1String("TF")) {
        QList<SqlParam> tableColumns;
        for (const SqlColumnDef& c : s.columnDefs) {
            SqlParam p;
            p.name = c.name;
            p.type = c.type;
            p.nullable = c.nullable && !c.primaryKey && !c.identity;
            tableColumns.append(p);
        }
        columns = s.params + tableColumns;
    }
    CheckTableParameters(s);
    for (int i = 0; i < columns.size(); ++i)
        if (!columns[i].type.name.isEmpty() && columns[i].type.name != QLatin1String("cursor") &&
            !Catalogue::FindType(ResolveType(columns[i].type).name) && !TableTypeDefinition(columns[i].type))
            throw ServerError::Make(
                2715, 16,
                QStringLiteral("Column, parameter, or variable #%1: Cannot find data type %2.")
                    .arg(i + 1)
                    .arg(columns[i].type.name));
    QString text = mBatchText;
    if (s.isAlter)
        text = text.left(s.keywordBegin) + QStringLiteral("CREATE") + text.mid(s.keywordEnd);
    Atomic atomic(*mDb);
    const QString now = Catalogue::Now();
    int id = existing.IsValid() && alter ? existing.id : Catalogue::NextObjectId(*mDb);
    if (alter) {
        mDb->Exec(QStringLiteral("UPDATE sysobjects SET xtype = ?, type = ?, schema_ver = schema_ver + 16, "
                                 "base_schema_ver = base_schema_ver + 16, refdate = ? WHERE id = ?"),
                  {xtype.leftJustified(2, u' '), xtype.leftJustified(2, u' '), now, id});
    } else {
        mDb->Exec(
            QStringLiteral(
                "INSERT INTO sysobjects (name, id, xtype, uid, info, status, base_schema_ver, replinfo, "
                "parent_obj, crdate, ftcatid, schema_ver, stats_schema_ver, type, userstat, sysstat, "
                "indexdel, refdate, version, deltrig, instrig, updtrig, seltrig, category, cache) "
                "VALUES (?,?,?,?,0,0,0,0,?,?,0,0,0,?,0,0,0,?,0,0,0,0,0,0,0)"),
            {name, id, xtype.leftJustified(2, u' '), uid, parent, now, xtype.leftJustified(2, u' '), now});
    }
    WriteColumns(id, columns, number);
    {
        QList<QPair<QString, SqlTypeSpec>> written;
        for (const SqlParam& p : columns)
            written.append({p.name, p.type});
        MarkUserTypes(id, written);
    }
    WriteText(id, text);
    if (kind == QLatin1String("TRIGGER")) {
        mDb->Exec(
            QStringLiteral(
                "INSERT OR REPLACE INTO engine_triggers (id, isinsert, isupdate, isdelete) VALUES (?,?,?,?)"),
            {id, s.triggerEvents.contains(QStringLiteral("INSERT")) ? 1 : 0,
             s.triggerEvents.contains(QStringLiteral("UPDATE")) ? 1 : 0,
             s.triggerEvents.contains(QStringLiteral("DELETE")) ? 1 : 0});
    }
    atomic.Commit();
}

// SQLite makes its counter table with the first AUTOINCREMENT table only, so a database that never
// had an IDENTITY column has none to clean.
void SessionState::ForgetIdentity(int tableId) {
    if (mDb->Scalar(
               QStringLiteral("SELECT COUNT(*) FROM \"main\".sqlite_master WHERE name = 'sqlite_sequence'"))
            .toInt() == 0)
        return;
    mDb->Exec(QStringLiteral("DELETE FROM \"main\".sqlite_sequence WHERE name = ?"),
              {QStringLiteral("T%1").arg(tableId)});
}

void SessionState::DropObject(const CatalogueObject& o) {
    // A view's triggers go with it, as a table's do.
    if (o.xtype == QLatin1String("V"))
        for (const QVariantList& r : mDb->Rows(
                 QStringLiteral("SELECT id, xtype FROM sysobjects WHERE parent_obj = ? AND xtype = 'TR'"),
                 {o.id})) {
            CatalogueObject child;
            child.id = r[0].toInt();
            child.xtype = r[1].toString().trimmed();
            DropObject(child);
        }
    if (o.xtype == QLatin1String("U")) {
        for (const QVariantList& r :
             mDb->Rows(QStringLiteral("SELECT id, name, uid, xtype, parent_obj FROM sysobjects "
                                      "WHERE parent_obj = ?"),
                       {o.id})) {
            CatalogueObject child;
            child.id = r[0].toInt();
            child.xtype = r[3].toString().trimmed();
            DropObject(child);
        }
        mDb->Exec(QStringLiteral("DROP TABLE IF EXISTS \"main\".\"T%1\"").arg(o.id));
        ForgetIdentity(o.id);
    }
    mDb->Exec(QStringLiteral("DELETE FROM sysobjects WHERE id = ?"), {o.id});
    mDb->Exec(QStringLiteral("DELETE FROM syscolumns WHERE id = ?"), {o.id});
    mDb->Exec(QStringLiteral("DELETE FROM syscomments WHERE id = ?"), {o.id});
    mDb->Exec(QStringLiteral("DELETE FROM sysprotects WHERE id = ?"), {o.id});
    mDb->Exec(QStringLiteral("DELETE FROM engine_triggers WHERE id = ?"), {o.id});
}

void SessionState::DropObjects(const SqlStatement& s) {
    const QString kind = s.objectKind;
    if (kind == QLatin1String("TYPE")) {
        DropTypes(s);
        return;
    }
    for (const QStringList& name : s.names) {
        if (kind == QLatin1String("INDEX")) {
            if (name.size() < 2)
                throw ServerError::Make(
                    159, 15,
                    QStringLiteral("Must specify the table name and index name for the DROP INDEX "
                                   "statement."));
            const CatalogueObject table =
                Catalogue::FindObject(*mDb, Schema(), name[name.size() - 2],
                                      name.size() >= 3 ? name[name.size() - 3] : QString(), mUid);
            const QVariant exists =
                mDb->Scalar(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'index' AND "
                                           "name = ?"),
                            {QStringLiteral("I%1_%2").arg(table.id).arg(name.last().toLower())});
            if (!table.IsValid() || !exists.isValid())
                throw ServerError::Make(
                    3701, 11,
                    QStringLiteral("Cannot drop the index '%1', because it does not exist or you do "
                                   "not have permission.")
                        .arg(name.join(u'.')));
            mDb->Exec(QStringLiteral("DROP INDEX \"main\".%1")
                          .arg(SqlTranslator::Quote(
                              QStringLiteral("I%1_%2").arg(table.id).arg(name.last().toLower()))));
            continue;
        }
        if (name.size() >= 3 && !name[name.size() - 3].isEmpty() &&
            name[name.size() - 3].compare(database, Qt::CaseInsensitive) != 0)
            throw ServerError::Unsupported(QStringLiteral("dropping objects of another database"));
        const CatalogueObject o = Catalogue::FindObject(
            *mDb, Schema(), name.last(), name.size() >= 2 ? name[name.size() - 2] : QString(), mUid);
        const QString word = kind.toLower();
        bool matches = o.IsValid();
        if (matches) {
            if (kind == QLatin1String("TABLE"))
                matches = o.xtype == QLatin1String("U");
            else if (kind == QLatin1String("PROCEDURE"))
                matches = o.xtype == QLatin1String("P");
            else if (kind == QLatin1String("VIEW"))
                matches = o.xtype == QLatin1String("V");
            else if (kind == QLatin1String("TRIGGER"))
                matches = o.xtype == QLatin1String("TR");
            else
                matches = o.xtype == QLatin1String("FN") || o.xtype == QLatin1String("IF") ||
                          o.xtype == QLatin1String("TF");
        }
        if (!matches) {
            if (s.name == QLatin1String("IF EXISTS"))
                continue;
            if (o.IsValid())
                throw ServerError::Make(
                    3705, 16,
                    QStringLiteral("Cannot use DROP %1 with '%2' because '%2' is a %3. Use DROP %4.")
                        .arg(kind, name.join(u'.'), KindWord(o.xtype), KindWord(o.xtype).toUpper()));
            throw ServerError::Make(
                3701, 11,
                QStringLiteral("Cannot drop the %1 '%2', because it does not exist or you do not have "
                               "permission.")
                    .arg(word, name.join(u'.')));
        }
        if (!IsDbOwner() && o.uid != mUid && !MyPrincipals().contains(16387))
            throw ServerError::Make(
                3701, 14,
                QStringLiteral("Cannot drop the %1 '%2', because it does not exist or you do not have "
                               "permission.")
                    .arg(word, name.join(u'.')));
        Atomic atomic(*mDb);
        DropObject(o);
        atomic.Commit();
    }
}

void SessionState::CreateIndex(const SqlStatement& s) {
    const CatalogueObject table =
        Catalogue::FindObject(*mDb, Schema(), s.target.last(),
                              s.target.size() >= 2 ? s.target[s.target.size() - 2] : QString(), mUid);
    if (!table.IsValid() || table.xtype != QLatin1String("U"))
        throw ServerError::InvalidObject(s.target.join(u'.'));
    const QString physical = QStringLiteral("I%1_%2").arg(table.id).arg(s.name.toLower());
    if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sqlite_master WHERE name = ?"), {physical}).isValid())
        throw ServerError::Make(
            1913, 16,
            QStringLiteral("The operation failed because an index or statistics with name '%1' "
                           "already exists on table '%2'.")
                .arg(s.name, table.name));
    QStringList cols;
    for (const QString& c : s.columns) {
        const QVariant real = mDb->Scalar(
            QStringLiteral("SELECT name FROM syscolumns WHERE id = ? AND name = ?"), {table.id, c});
        if (!real.isValid())
            throw ServerError::Make(
                1911, 16,
                QStringLiteral("Column name '%1' does not exist in the target table or view.").arg(c));
        cols.append(SqlTranslator::Quote(real.toString()));
    }
    mDb->Exec(QStringLiteral("CREATE %1INDEX \"main\".%2 ON \"T%3\" (%4)")
                  .arg(s.objectKind == QLatin1String("UNIQUE") ? QStringLiteral("UNIQUE ") : QString(),
                       SqlTranslator::Quote(physical))
                  .arg(table.id)
                  .arg(cols.join(QStringLiteral(", "))));
}

void SessionState::Truncate(const SqlStatement& s) {
    const CatalogueObject table = TargetTable(s.target, s.line, "DELETE");
    mDb->Exec(QStringLiteral("DELETE FROM \"main\".\"T%1\"").arg(table.id));
    ForgetIdentity(table.id);
}

void SessionState::Permission(const SqlStatement& s) {
    const QString verb = s.permissionVerb;
    CatalogueObject o;
    QStringList perms = s.permissions;
    if (!s.target.isEmpty()) {
        o = Catalogue::FindObject(*mDb, Schema(), s.target.last(),
                                  s.target.size() >= 2 ? s.target[s.target.size() - 2] : QString(), mUid);
        if (!o.IsValid() || o.xtype == QLatin1String("S") || o.xtype == QLatin1String("PK"))
            throw ServerError::Make(
                15151, 16,
                QStringLiteral("Cannot find the object '%1', because it does not exist or you do "
                               "not have permission.")
                    .arg(s.target.last()));
        QStringList applicable;
        if (o.xtype == QLatin1String("P"))
            applicable = {QStringLiteral("EXECUTE")};
        else if (o.xtype == QLatin1String("FN"))
            applicable = {QStringLiteral("EXECUTE"), QStringLiteral("REFERENCES")};
        else if (o.xtype == QLatin1String("TR"))
            applicable = {};
        else
            applicable = {QStringLiteral("SELECT"), QStringLiteral("INSERT"), QStringLiteral("UPDATE"),
                          QStringLiteral("DELETE"), QStringLiteral("REFERENCES")};
        if (perms == QStringList{QStringLiteral("ALL")})
            perms = applicable;
        for (const QString& p : perms)
            if (!applicable.contains(p))
                throw ServerError::Make(
                    4606, 16,
                    QStringLiteral("Granted or revoked privilege %1 is not compatible with object.").arg(p));
        if (!IsDbOwner() && o.uid != mUid && !MyPrincipals().contains(16386))
            throw ServerError::Make(
                15151, 16,
                QStringLiteral("Cannot find the object '%1', because it does not exist or you do "
                               "not have permission.")
                    .arg(s.target.last()));
    } else {
        if (perms == QStringList{QStringLiteral("ALL")})
            perms = {QStringLiteral("CREATE TABLE"),     QStringLiteral("CREATE VIEW"),
                     QStringLiteral("CREATE PROCEDURE"), QStringLiteral("CREATE FUNCTION"),
                     QStringLiteral("CREATE DEFAULT"),   QStringLiteral("CREATE RULE")};
        for (const QString& p : perms)
            if (!p.startsWith(QLatin1String("CREATE")))
                throw ServerError::Make(156, 15, QStringLiteral("Incorrect syntax near the keyword 'TO'."),
                                        true);
        if (!IsDbOwner() && !MyPrincipals().contains(16386))
            throw ServerError::Make(4613, 16, QStringLiteral("Grantor does not have GRANT permission."));
    }
    Atomic atomic(*mDb);
    for (const QString& grantee : s.grantees) {
        const QVariant uid =
            mDb->Scalar(QStringLiteral("SELECT uid FROM sysusers WHERE name = ?"), {grantee});
        if (!uid.isValid())
            throw ServerError::Make(
                15151, 16,
                QStringLiteral("Cannot find the user '%1', because it does not exist or you do not "
                               "have permission.")
                    .arg(grantee));
        if (uid.toInt() == 1 && verb != QLatin1String("REVOKE"))
            throw ServerError::Make(
                4617, 16,
                QStringLiteral("Cannot grant, deny or revoke permissions to or from special roles."));
        for (const QString& p : perms) {
            const int action = ActionCode(p);
            const QVariantList key = {o.IsValid() ? o.id : 0, uid, action};
            if (verb == QLatin1String("REVOKE")) {
                if (s.grantOptionFor)
                    mDb->Exec(QStringLiteral(
                                  "UPDATE sysprotects SET protecttype = 205 WHERE id = ? AND uid = ? AND "
                                  "action = ? AND protecttype = 204"),
                              key);
                else
                    mDb->Exec(
                        QStringLiteral("DELETE FROM sysprotects WHERE id = ? AND uid = ? AND action = ?"),
                        key);
                continue;
            }
            mDb->Exec(QStringLiteral("DELETE FROM sysprotects WHERE id = ? AND uid = ? AND action = ?"), key);
            const int type = verb == QLatin1String("DENY") ? 206 : s.withGrantOption ? 204 : 205;
            mDb->Exec(QStringLiteral(
                          "INSERT INTO sysprotects (id, uid, action, protecttype, columns, grantor) VALUES "
                          "(?,?,?,?,?,?)"),
                      {key[0], key[1], key[2], type, QByteArray(1, '\x01'), mUid});
        }
    }
    atomic.Commit();
}
