// Temporary tables (#t), table variables (@t) and SELECT ... INTO. Both kinds of table are ordinary
// tables of the database under a name no other session uses: the name as written and this session's
// suffix (a table variable's also gets a leading '#'). Names are changed in the parsed batch before
// it runs, so every other part of the executor sees plain tables; messages show the written name.
// A temporary table made by a procedure goes when the procedure ends, the others when the session
// ends; a table variable goes at the end of its batch or procedure.
#include "SessionState.h"

#include "SqlParser.h"

#include <QRandomGenerator>
#include <QRegularExpression>

namespace {

class Renamer {
public:
    explicit Renamer(QString suffix)
        : mSuffix(std::move(suffix)) {}

    QString Name(const QString& name) const {
        if (name.startsWith(QLatin1String("##")) || name.endsWith(mSuffix))
            return name;
        if (name.startsWith(u'#'))
            return name + mSuffix;
        if (name.startsWith(u'@') && !name.startsWith(QLatin1String("@@")))
            return u'#' + name + mSuffix;
        return name;
    }
    // [tempdb.][owner.]#t -> #t<suffix>
    void Parts(QStringList& parts) const {
        if (parts.isEmpty())
            return;
        const QString renamed = Name(parts.last());
        if (renamed != parts.last())
            parts = QStringList{renamed};
    }
    void Statements(const QList<SqlStatementP>& list) const {
        for (const SqlStatementP& s : list)
            if (s)
                Statement(*s);
    }
    void Statement(SqlStatement& s) const {
        if (s.kind == SqlStatement::Kind::Declare || s.kind == SqlStatement::Kind::SetVariable ||
            s.kind == SqlStatement::Kind::Exec || s.kind == SqlStatement::Kind::Print ||
            s.kind == SqlStatement::Kind::Return || s.kind == SqlStatement::Kind::Raiserror ||
            s.kind == SqlStatement::Kind::Throw || s.kind == SqlStatement::Kind::If ||
            s.kind == SqlStatement::Kind::While || s.kind == SqlStatement::Kind::WaitFor) {
            // Only their expressions name tables (in subqueries); a variable is no table here.
        } else {
            Parts(s.target);
            for (QStringList& n : s.names)
                Parts(n);
        }
        Parts(s.triggerTable);
        Parts(s.outputInto);
        for (const SqlSelectItem& item : s.output)
            Expr(item.expr);
        if (s.select)
            Select(*s.select);
        for (const SqlTableRefP& r : s.from)
            Ref(r);
        for (const QList<SqlExprP>& row : s.values)
            for (const SqlExprP& e : row)
                Expr(e);
        for (const auto& a : s.assignments)
            Expr(a.second);
        Expr(s.where);
        Expr(s.top);
        Expr(s.condition);
        Expr(s.dynamicSql);
        for (const auto& d : s.declarations)
            Expr(d.second);
        for (const SqlExecArg& a : s.execArgs)
            Expr(a.value);
        Statements(s.body);
        Statements(s.elseBody);
    }
    void Select(SqlSelect& select) const {
        for (const SqlCte& c : select.ctes)
            if (c.select)
                Select(*c.select);
        for (SqlSelectCore& core : select.cores) {
            for (const SqlSelectItem& item : core.items)
                Expr(item.expr);
            for (const SqlTableRefP& r : core.from)
                Ref(r);
            Expr(core.where);
            for (const SqlExprP& g : core.groupBy)
                Expr(g);
            Expr(core.having);
            Expr(core.top);
            Parts(core.into);
        }
        for (const SqlOrderItem& o : select.orderBy)
            Expr(o.expr);
    }
    void Ref(const SqlTableRefP& r) const {
        if (!r)
            return;
        if (r->kind == SqlTableRef::Kind::Named)
            Parts(r->name);
        if (r->select)
            Select(*r->select);
        for (const SqlExprP& a : r->args)
            Expr(a);
        Ref(r->left);
        Ref(r->right);
        Expr(r->on);
    }
    void Expr(const SqlExprP& e) const {
        if (!e)
            return;
        if (e->kind == SqlExpr::Kind::Column && e->parts.size() >= 2) {
            // #t.column
            const QString table = e->parts[e->parts.size() - 2];
            if (table.startsWith(u'#') && Name(table) != table)
                e->parts = QStringList{Name(table), e->parts.last()};
        }
        if (e->kind == SqlExpr::Kind::Function && e->text == QLatin1String("OBJECT_ID") &&
            !e->args.isEmpty() && e->args[0]->kind == SqlExpr::Kind::String) {
            QStringList parts = SqlParser::SplitName(e->args[0]->text);
            const QStringList written = parts;
            Parts(parts);
            if (parts != written)
                e->args[0]->text = parts.first();
        }
        for (const SqlExprP& a : e->args)
            Expr(a);
        if (e->select)
            Select(*e->select);
    }

private:
    QString mSuffix;
};

} // namespace

QString SessionState::TempSuffix() {
    if (mTempSuffix.isEmpty())
        mTempSuffix =
            QStringLiteral("__%1").arg(QRandomGenerator::global()->generate64(), 16, 16, QChar(u'0'));
    return mTempSuffix;
}

void SessionState::RenameTemporaries(const QList<SqlStatementP>& statements) {
    Renamer(TempSuffix()).Statements(statements);
}

QString SessionState::WrittenName(QString text, bool variables) const {
    if (mTempSuffix.isEmpty())
        return text;
    text.remove(mTempSuffix);
    if (variables)
        text.replace(QLatin1String("#@"), QLatin1String("@"));
    return text;
}

void SessionState::KeepTemporary(const QString& name, const SqlStatement& declaration) {
    // A table variable lasts for its batch or procedure, a temporary table made in a procedure for
    // the procedure, any other for the session.
    const bool variable = name.startsWith(QLatin1String("#@"));
    if (variable)
        Top().tableVariables.insert(name, &declaration);
    QStringList& list = variable || mFrames.size() > 1 ? Top().temporaries : mSessionTemporaries;
    if (!list.contains(name))
        list.append(name);
}

QList<SessionState::TableVariableRows> SessionState::KeepTableVariables() {
    QList<TableVariableRows> kept;
    for (const Frame& frame : mFrames) {
        for (auto it = frame.tableVariables.cbegin(); it != frame.tableVariables.cend(); ++it) {
            const CatalogueObject o = Catalogue::FindObject(*mDb, Schema(), it.key(), QString(), mUid);
            if (!o.IsValid())
                continue;
            kept.append({it.key(), it.value(),
                         mDb->Rows(QStringLiteral("SELECT * FROM \"main\".\"T%1\"").arg(o.id))});
        }
    }
    return kept;
}

void SessionState::RestoreTableVariables(const QList<TableVariableRows>& kept) {
    for (const TableVariableRows& t : kept) {
        CatalogueObject o = Catalogue::FindObject(*mDb, Schema(), t.name, QString(), mUid);
        if (!o.IsValid()) {
            // Declared inside the transaction: made again.
            CreateTable(*t.declaration);
            o = Catalogue::FindObject(*mDb, Schema(), t.name, QString(), mUid);
        }
        if (!o.IsValid())
            continue;
        const QString table = QStringLiteral("\"main\".\"T%1\"").arg(o.id);
        mDb->Exec(QStringLiteral("DELETE FROM ") + table);
        for (const QVariantList& row : t.rows) {
            QStringList marks;
            for (qsizetype i = 0; i < row.size(); ++i)
                marks.append(QStringLiteral("?"));
            mDb->Exec(QStringLiteral("INSERT INTO %1 VALUES (%2)").arg(table, marks.join(u',')), row);
        }
    }
}

void SessionState::DropTemporaries(const QStringList& names) {
    for (const QString& name : names) {
        try {
            const CatalogueObject o = Catalogue::FindObject(*mDb, Schema(), name, QString(), mUid);
            if (o.IsValid() && o.xtype == QLatin1String("U"))
                DropObject(o);
        } catch (const ServerError&) {
            // Gone already, or can't go now: nothing a user can do about either.
        } catch (const SqliteError&) {
        }
    }
}

void SessionState::RunSelectInto(const SqlStatement& s) {
    SqlSelect query = *s.select;
    const QStringList target = query.cores.first().into;
    query.cores.first().into.clear();
    SqlTranslator t(*this);
    const QString sql = t.Select(query);
    SqliteStatement st(mDb->Handle(), sql);
    st.BindAll(t.Params());
    QList<QVariantList> rows;
    while (st.Step()) {
        QVariantList row;
        for (int i = 0; i < st.ColumnCount(); ++i)
            row.append(st.Value(i));
        rows.append(row);
    }
    auto create = std::make_shared<SqlStatement>();
    create->kind = SqlStatement::Kind::CreateTable;
    create->line = s.line;
    create->target = target;
    for (int i = 0; i < st.ColumnCount(); ++i) {
        SqlColumnDef c;
        c.name = SqlTranslator::ResultName(st.ColumnName(i));
        if (c.name.isEmpty())
            throw ServerError::Make(
                1038, 15,
                QStringLiteral("An object or column name is missing or empty. For SELECT INTO "
                               "statements, verify each column has a name. For other statements, "
                               "look for empty alias names. Aliases defined as \"\" or [] are not "
                               "allowed. Change the alias to a valid name."),
                true);
        QString declared = st.DeclaredType(i);
        declared.remove(QLatin1String(" COLLATE TSQL"));
        // A decimal's type carries the word real for SQLite's sake (Catalogue::DeclaredType).
        declared.replace(QRegularExpression(QStringLiteral("^([A-Za-z_]+) real\\b")), QStringLiteral("\\1"));
        declared.replace(QLatin1String("(-1)"), QLatin1String("(max)"));
        c.type = declared.isEmpty() ? SqlTypeSpec() : SqlParser::ParseType(declared);
        if (!c.type.IsValid() || !Catalogue::FindType(c.type.name)) {
            // An expression: the type of its first value that isn't NULL.
            QVariant sample;
            for (const QVariantList& row : rows)
                if (!row[i].isNull()) {
                    sample = row[i];
                    break;
                }
            c.type = SqlTypeSpec();
            if (sample.typeId() == QMetaType::LongLong)
                c.type.name = sample.toLongLong() == qlonglong(qint32(sample.toLongLong()))
                                  ? QStringLiteral("int")
                                  : QStringLiteral("bigint");
            else if (sample.typeId() == QMetaType::Double)
                c.type.name = QStringLiteral("float");
            else if (sample.typeId() == QMetaType::QByteArray)
                c.type = SqlTypeSpec{QStringLiteral("varbinary"), -2, -1, -1};
            else if (sample.isNull())
                c.type.name = QStringLiteral("int");
            else
                c.type = SqlTypeSpec{QStringLiteral("nvarchar"), -2, -1, -1};
        }
        create->columnDefs.append(c);
    }
    CreateTable(*create);
    const CatalogueObject table = TargetTable(target, s.line, "INSERT");
    QStringList marks;
    for (int i = 0; i < create->columnDefs.size(); ++i)
        marks.append(QStringLiteral("?"));
    const QString insert = QStringLiteral("INSERT INTO \"main\".\"T%1\" VALUES (%2)")
                               .arg(table.id)
                               .arg(marks.join(QStringLiteral(", ")));
    for (const QVariantList& row : rows) {
        const CachedStatement ins = mDb->Prepare(insert);
        ins->BindAll(row);
        ins->Step();
    }
    EmitCount(rows.size());
}
