// EXEC of user procedures and of the system procedures the product calls.
#include "SessionState.h"

#include "SqlParser.h"

#include <QRegularExpression>

namespace {

struct BatchAbortedInner {};

SqlColumn Column(const QString& name, int typeId = 231, int length = 256) {
    SqlColumn c;
    c.name = name;
    c.typeId = typeId;
    c.length = length;
    return c;
}

QString Arg(const QVariantList& args, int i) {
    return i < args.size() && args[i].isValid() ? args[i].toString() : QString();
}
bool HasArg(const QVariantList& args, int i) {
    return i < args.size() && args[i].isValid() && !args[i].isNull();
}

const char* kParamNames[][5] = {
    {"sp_helptext", "@objname", "@columnname", nullptr, nullptr},
    {"sp_helprotect", "@name", "@username", "@grantorname", "@permissionarea"},
    {"sp_helprole", "@rolename", nullptr, nullptr, nullptr},
    {"sp_helpuser", "@name_in_db", nullptr, nullptr, nullptr},
    {"sp_rename", "@objname", "@newname", "@objtype", nullptr},
    {"sp_addrolemember", "@rolename", "@membername", nullptr, nullptr},
    {"sp_droprolemember", "@rolename", "@membername", nullptr, nullptr},
    {"sp_executesql", "@stmt", nullptr, nullptr, nullptr},
    {"sp_addrole", "@rolename", "@ownername", nullptr, nullptr},
    {"sp_droprole", "@rolename", nullptr, nullptr, nullptr},
    {"sp_adduser", "@loginame", "@name_in_db", "@grpname", nullptr},
    {"sp_grantdbaccess", "@loginame", "@name_in_db", nullptr, nullptr},
    {"sp_addlogin", "@loginame", "@passwd", "@defdb", nullptr},
    {"sp_password", "@old", "@new", "@loginame", nullptr},
    {"sp_addtype", "@typename", "@phystype", "@nulltype", "@owner"},
};

int SystemProcedureIndex(const QString& name) {
    for (int i = 0; i < int(sizeof(kParamNames) / sizeof(kParamNames[0])); ++i)
        if (name.compare(QLatin1String(kParamNames[i][0]), Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

} // namespace

QString SessionState::ObjectText(int id) {
    QString text;
    for (const QVariantList& r :
         mDb->Rows(QStringLiteral("SELECT text FROM syscomments WHERE id = ? ORDER BY number, colid"), {id}))
        text += r[0].toString();
    return text;
}

SessionState::Module SessionState::LoadModule(const CatalogueObject& o) {
    Module m;
    m.id = o.id;
    m.xtype = o.xtype;
    m.text = ObjectText(o.id);
    SqlParser parser(m.text, true);
    QList<SqlSyntaxError> errors;
    const QList<SqlStatementP> statements = parser.ParseBatch(&errors);
    for (const SqlStatementP& s : statements)
        if (s->kind == SqlStatement::Kind::CreateModule) {
            RenameTemporaries(s->body);
            m.statement = s;
            break;
        }
    return m;
}

CatalogueObject SessionState::ResolveObjectName(const QString& name) {
    const QStringList parts = SqlParser::SplitName(name);
    if (parts.isEmpty() || parts.size() > 3)
        return {};
    if (parts.size() == 3 && !parts[0].isEmpty() && parts[0].compare(database, Qt::CaseInsensitive) != 0)
        return {};
    return Catalogue::FindObject(*mDb, Schema(), parts.last(),
                                 parts.size() >= 2 ? parts[parts.size() - 2] : QString(), mUid);
}

void SessionState::Exec(const SqlStatement& s) {
    if (s.dynamicSql) {
        ExecuteSql({Evaluate(*s.dynamicSql)});
        return;
    }
    QStringList name = s.procedure;
    if (!s.procedureVariable.isEmpty())
        name = SqlParser::SplitName(Variable(s.procedureVariable, s.line).toString());
    if (name.isEmpty())
        throw ServerError::Make(2812, 16, QStringLiteral("Could not find stored procedure ''."));
    const QString written = name.join(u'.');
    const int sys = SystemProcedureIndex(name.last());
    const bool systemOwner = name.size() < 2 || name[name.size() - 2].isEmpty() ||
                             name[name.size() - 2].compare(QLatin1String("dbo"), Qt::CaseInsensitive) == 0 ||
                             name[name.size() - 2].compare(QLatin1String("sys"), Qt::CaseInsensitive) == 0;
    if (systemOwner && name.size() <= 2 &&
        (RunOdbcProcedure(name.last(), s) || RunMessageProcedure(name.last(), s) ||
         RunXmlProcedure(name.last(), s) || RunPropertyProcedure(name.last(), s)))
        return;
    if (sys >= 0 && systemOwner && s.execArgs.size() > 1 &&
        name.last().compare(QLatin1String("sp_executesql"), Qt::CaseInsensitive) == 0) {
        mRowCount = 0;
        ExecuteSqlWithParameters(s);
        return;
    }
    if (sys >= 0 && systemOwner) {
        QVariantList args(5);
        int position = 0;
        for (const SqlExecArg& a : s.execArgs) {
            int index = position;
            // sp_executesql takes its statement by place whatever name it is passed under
            // (@statement in many deployment scripts).
            const bool byPlace = &a == &s.execArgs.first() &&
                                 QLatin1String(kParamNames[sys][0]) == QLatin1String("sp_executesql");
            if (!a.name.isEmpty() && !byPlace) {
                index = -1;
                for (int k = 1; k < 5 && kParamNames[sys][k]; ++k)
                    if (a.name.compare(QLatin1String(kParamNames[sys][k]), Qt::CaseInsensitive) == 0)
                        index = k - 1;
                if (index < 0)
                    throw ServerError::Make(8145, 16,
                                            QStringLiteral("%1 is not a parameter for procedure %2.")
                                                .arg(a.name, QString::fromLatin1(kParamNames[sys][0])));
            } else {
                ++position;
            }
            if (index >= 4 || !kParamNames[sys][index + 1])
                throw ServerError::Make(
                    8144, 16,
                    QStringLiteral("Procedure or function %1 has too many arguments specified.")
                        .arg(QString::fromLatin1(kParamNames[sys][0])));
            args[index] = a.isDefault ? QVariant() : Evaluate(*a.value);
        }
        mRowCount = 0;
        RunSystemProcedure(QString::fromLatin1(kParamNames[sys][0]), s, args);
        return;
    }
    if (name.size() >= 3 && !name[name.size() - 3].isEmpty() &&
        name[name.size() - 3].compare(database, Qt::CaseInsensitive) != 0)
        throw ServerError::Unsupported(QStringLiteral("procedures of another database"));
    const CatalogueObject proc = Catalogue::FindObject(
        *mDb, Schema(), name.last(), name.size() >= 2 ? name[name.size() - 2] : QString(), mUid);
    if (!proc.IsValid() || proc.xtype != QLatin1String("P"))
        throw ServerError::Make(2812, 16,
                                QStringLiteral("Could not find stored procedure '%1'.").arg(written));
    const QVariant rc = RunProcedure(proc, s, name);
    if (!s.returnInto.isEmpty())
        Assign(s.returnInto, rc, s.line);
}

QVariant SessionState::RunProcedure(const CatalogueObject& proc, const SqlStatement& s,
                                    const QStringList& name) {
    CheckPermission(proc, 224);
    if (mNesting >= 32)
        throw ServerError::Make(
            217, 16,
            QStringLiteral("Maximum stored procedure, function, trigger, or view nesting level "
                           "exceeded (limit 32)."),
            true);
    const Module m = LoadModule(proc);
    if (!m.statement)
        throw ServerError::Make(2812, 16,
                                QStringLiteral("Could not find stored procedure '%1'.").arg(name.join(u'.')));
    const QList<SqlParam>& params = m.statement->params;
    QList<QVariant> values(params.size());
    QList<bool> given(params.size(), false);
    QList<QString> outputTo(params.size());
    QList<QString> tables(params.size()); // what a table-valued parameter reads
    int position = 0;
    bool named = false;
    for (const SqlExecArg& a : s.execArgs) {
        int index = -1;
        if (a.name.isEmpty()) {
            if (named)
                throw ServerError::Make(
                    119, 15,
                    QStringLiteral("Must pass parameter number %1 and subsequent parameters as "
                                   "'@name = value'. After the form '@name = value' has been used, "
                                   "all subsequent parameters must be passed in the form '@name = "
                                   "value'.")
                        .arg(position + 1));
            index = position++;
            if (index >= params.size())
                throw ServerError::Make(
                    8144, 16,
                    QStringLiteral("Procedure or function %1 has too many arguments specified.")
                        .arg(proc.name));
        } else {
            named = true;
            for (int i = 0; i < params.size(); ++i)
                if (params[i].name.compare(a.name, Qt::CaseInsensitive) == 0)
                    index = i;
            if (index < 0)
                throw ServerError::Make(
                    8145, 16,
                    QStringLiteral("%1 is not a parameter for procedure %2.").arg(a.name, proc.name));
        }
        if (params[index].readOnly) {
            tables[index] = TableArgument(params[index], a.isDefault ? nullptr : a.value.get());
            given[index] = true;
            continue;
        }
        if (a.isDefault)
            continue;
        CheckCursorArgument(params[index], a);
        values[index] = Evaluate(*a.value);
        given[index] = true;
        if (a.output && params[index].output && a.value->kind == SqlExpr::Kind::Variable)
            outputTo[index] = a.value->text;
    }
    Frame frame;
    frame.procedure = proc.name;
    mFrames.append(frame);
    ++mNesting;
    ++mModuleDepth;
    QVariant rc = 0;
    const int tranCountBefore = mTranCount;
    // A SET inside a procedure lasts until the procedure ends, as on the server.
    const bool callerNoCount = mNoCount;
    const bool callerXactAbort = mXactAbort;
    const DateOptions callerDates = mDateOptions;
    auto leave = [&]() {
        DropTemporaries(Top().temporaries);
        DropLocalCursors();
        --mNesting;
        --mModuleDepth;
        mFrames.removeLast();
        mNoCount = callerNoCount;
        mXactAbort = callerXactAbort;
        mDateOptions = callerDates;
    };
    try {
        for (int i = 0; i < params.size(); ++i) {
            QVariant v = values[i];
            if (params[i].readOnly) {
                // Left out, it is an empty table.
                BindTableParameter(params[i], tables[i]);
                continue;
            }
            if (!given[i]) {
                if (params[i].defaultValue)
                    v = Evaluate(*params[i].defaultValue);
                else
                    throw ServerError::Make(
                        201, 16,
                        QStringLiteral("Procedure or function '%1' expects parameter '%2', "
                                       "which was not supplied.")
                            .arg(proc.name, params[i].name));
            }
            Declare(params[i], v, s.line);
        }
        Run(m.statement->body);
        if (Top().hasReturnValue)
            rc = Top().returnValue.isValid() ? Top().returnValue : QVariant(0);
        QList<Var> outs;
        for (const auto& param : params)
            outs.append(Top().vars.value(param.name.toLower()));
        leave();
        for (int i = 0; i < params.size(); ++i) {
            if (outputTo[i].isEmpty())
                continue;
            if (params[i].type.name == QLatin1String("cursor"))
                ReturnCursor(outputTo[i], outs[i].cursor);
            else
                Assign(outputTo[i], outs[i].value, s.line);
        }
    } catch (const ServerError& e) {
        // An error in binding belongs to the caller's statement.
        if (InTry()) {
            leave();
            throw;
        }
        Emit(e, s.line);
        leave();
        if (e.abortsBatch)
            throw ServerError(e);
        return QVariant();
    } catch (...) {
        leave();
        throw;
    }
    if (mTranCount != tranCountBefore) {
        ServerError e = ServerError::Make(
            266, 16,
            QStringLiteral(
                "Transaction count after EXECUTE indicates a mismatching number of BEGIN and COMMIT "
                "statements. Previous count = %1, current count = %2.")
                .arg(tranCountBefore)
                .arg(mTranCount));
        e.state = 2;
        throw e;
    }
    return rc;
}

QVariant SessionState::CallFunction(const QString& name, const QVariantList& args, const QString& defaults) {
    const QStringList parts = SqlParser::SplitName(name);
    const CatalogueObject fn =
        parts.isEmpty()
            ? CatalogueObject()
            : Catalogue::FindObject(*mDb, Schema(), parts.last(),
                                    parts.size() >= 2 ? parts[parts.size() - 2] : QString(), mUid);
    if (!fn.IsValid() || fn.xtype != QLatin1String("FN"))
        throw ServerError::Make(
            4121, 16,
            QStringLiteral("Cannot find either column \"%1\" or the user-defined function or "
                           "aggregate \"%2\", or the name is ambiguous.")
                .arg(parts.value(0), name));
    CheckPermission(fn, 224);
    if (mNesting >= 32)
        throw ServerError::Make(
            217, 16,
            QStringLiteral("Maximum stored procedure, function, trigger, or view nesting level "
                           "exceeded (limit 32)."));
    const Module m = LoadModule(fn);
    if (!m.statement)
        throw ServerError::InvalidObject(name);
    const QList<SqlParam>& params = m.statement->params;
    if (args.size() > params.size())
        throw ServerError::Make(
            8144, 16,
            QStringLiteral("Procedure or function %1 has too many arguments specified.").arg(fn.name));
    if (args.size() < params.size())
        throw ServerError::Make(
            313, 16,
            QStringLiteral("An insufficient number of arguments were supplied for the procedure or "
                           "function %1.")
                .arg(name));
    Frame frame;
    frame.procedure = fn.name;
    mFrames.append(frame);
    ++mNesting;
    ++mModuleDepth;
    QVariant result;
    // A function runs inside a SQLite statement: its errors must not leave it for a CATCH block,
    // they fail the statement that called it, which the CATCH block then takes.
    struct KeepTry {
        QList<int>& frames;
        QList<int> saved;
        ~KeepTry() { frames = saved; }
    } keepTry{mTryFrames, std::exchange(mTryFrames, {})};
    try {
        for (int i = 0; i < params.size(); ++i) {
            if (i >= defaults.size() || defaults[i] != u'1') {
                Declare(params[i], args[i], 0);
                continue;
            }
            if (!params[i].defaultValue)
                throw ServerError::Make(
                    313, 16,
                    QStringLiteral("An insufficient number of arguments were supplied for the procedure or "
                                   "function %1.")
                        .arg(name));
            Declare(params[i], Evaluate(*params[i].defaultValue), 0);
        }
        Run(m.statement->body);
        result = Convert(Top().returnValue, ResolveType(m.statement->returnType));
    } catch (...) {
        --mNesting;
        --mModuleDepth;
        mFrames.removeLast();
        throw;
    }
    --mNesting;
    --mModuleDepth;
    mFrames.removeLast();
    return result;
}

void SessionState::ExecuteSql(const QVariantList& args) {
    if (HasArg(args, 1))
        throw ServerError::Unsupported(QStringLiteral("sp_executesql with parameters"));
    RunDynamicSql(Arg(args, 0), {}, {}, {}, 0);
}

QList<QVariant> SessionState::RunDynamicSql(const QString& text, const QList<SqlParam>& params,
                                            const QList<QVariant>& values, const QString& declaration,
                                            int line) {
    SqlParser parser(text, mQuotedIdentifier);
    QList<SqlSyntaxError> errors;
    const QList<SqlStatementP> statements = parser.ParseBatch(&errors);
    if (!errors.isEmpty()) {
        for (const SqlSyntaxError& e : errors) {
            ServerError se = ServerError::Make(e.number, e.severity, e.text);
            se.line = e.line;
            Emit(se, e.line);
        }
        return {};
    }
    RenameTemporaries(statements);
    const QString savedText = mBatchText;
    Frame frame;
    frame.procedure = mFrames.isEmpty() ? QString() : Top().procedure;
    mFrames.append(frame);
    ++mNesting;
    const int savedModule = mModuleDepth;
    mModuleDepth = 0; // dynamic SQL is checked against the caller's own rights
    auto leave = [&]() {
        DropTemporaries(Top().temporaries);
        DropLocalCursors();
        mModuleDepth = savedModule;
        --mNesting;
        mFrames.removeLast();
        mBatchText = savedText;
    };
    try {
        // A value not given (invalid) takes the declaration's default.
        for (int i = 0; i < params.size(); ++i) {
            QVariant v = values[i];
            if (params[i].readOnly) {
                BindTableParameter(params[i], v.toString());
                continue;
            }
            if (!v.isValid()) {
                if (!params[i].defaultValue)
                    throw ServerError::Make(
                        8178, 16,
                        QStringLiteral("The parameterized query '(%1)%2' expects the parameter '%3', which "
                                       "was not supplied.")
                            .arg(declaration, text.left(100), params[i].name));
                v = Evaluate(*params[i].defaultValue);
            }
            Declare(params[i], v, line);
        }
    } catch (...) {
        leave();
        throw;
    }
    mBatchText = text;
    try {
        Run(statements);
    } catch (const ErrorCaught&) {
        // On its way to the caller's CATCH block.
        leave();
        throw;
    } catch (...) {
        // An error that ends a batch ends only the dynamic one.
    }
    QList<QVariant> outs;
    mDynamicCursors.clear();
    for (const SqlParam& param : params) {
        outs.append(Top().vars.value(param.name.toLower()).value);
        mDynamicCursors.append(Top().vars.value(param.name.toLower()).cursor);
    }
    leave();
    return outs;
}

void SessionState::ExecuteSqlWithParameters(const SqlStatement& s) {
    // @stmt and @params come first, by position or by name; the values of the parameters after them.
    QVariant text;
    QVariant declaration;
    QList<const SqlExecArg*> values;
    int position = 0;
    for (const SqlExecArg& a : s.execArgs) {
        const bool params = a.name.compare(QLatin1String("@params"), Qt::CaseInsensitive) == 0;
        // The first argument is the statement under any name (@statement in many scripts).
        const bool stmt = a.name.compare(QLatin1String("@stmt"), Qt::CaseInsensitive) == 0 ||
                          (&a == &s.execArgs.first() && !a.name.isEmpty() && !params);
        if (stmt || params || (a.name.isEmpty() && position < 2 && values.isEmpty())) {
            const QVariant v = a.isDefault || !a.value ? QVariant() : Evaluate(*a.value);
            if (stmt || (!params && position == 0))
                text = v;
            else
                declaration = v;
            if (!stmt && !params)
                ++position;
            continue;
        }
        values.append(&a);
    }
    if (!text.isValid() || text.isNull())
        return;
    const QString statementText = text.toString();
    // The declarations read as a procedure's parameter list, defaults and OUTPUT included.
    QString list = declaration.toString();
    list.replace(u'\n', u' ').replace(u'\r', u' ');
    const QString probe =
        QStringLiteral("CREATE PROCEDURE sp_executesql ") + list + QStringLiteral(" AS RETURN");
    QList<SqlSyntaxError> errors;
    SqlParser declParser(probe, mQuotedIdentifier);
    const QList<SqlStatementP> declared = declParser.ParseBatch(&errors);
    if (!errors.isEmpty() || declared.size() != 1 || declared[0]->kind != SqlStatement::Kind::CreateModule)
        throw ServerError::Make(
            214, 16,
            QStringLiteral("Procedure expects parameter '@parameters' of type 'ntext/nchar/nvarchar'."));
    const QList<SqlParam> params = declared[0]->params;
    QList<QVariant> bound(params.size());
    QList<QString> outputTo(params.size());
    int next = 0;
    for (const SqlExecArg* a : values) {
        int index = -1;
        if (a->name.isEmpty()) {
            index = next++;
        } else {
            for (int i = 0; i < params.size(); ++i)
                if (params[i].name.compare(a->name, Qt::CaseInsensitive) == 0)
                    index = i;
        }
        if (index < 0 || index >= params.size())
            throw ServerError::Make(
                8144, 16, QStringLiteral("Procedure or function has too many arguments specified."));
        if (params[index].readOnly) {
            // A table-valued parameter goes as the name of the table it reads.
            bound[index] = TableArgument(params[index], a->isDefault ? nullptr : a->value.get());
            continue;
        }
        if (a->isDefault)
            continue;
        CheckCursorArgument(params[index], *a);
        bound[index] = Evaluate(*a->value);
        if (!bound[index].isValid())
            bound[index] = QVariant(QMetaType::fromType<QString>()); // NULL, as given
        if (a->output && params[index].output && a->value->kind == SqlExpr::Kind::Variable)
            outputTo[index] = a->value->text;
    }
    const QList<QVariant> outs = RunDynamicSql(statementText, params, bound, declaration.toString(), s.line);
    const QList<std::shared_ptr<CursorState>> cursors = std::exchange(mDynamicCursors, {});
    for (int i = 0; i < outs.size(); ++i) {
        if (outputTo[i].isEmpty())
            continue;
        if (params[i].type.name == QLatin1String("cursor"))
            ReturnCursor(outputTo[i], cursors.value(i));
        else
            Assign(outputTo[i], outs[i], s.line);
    }
}

bool SessionState::RunSystemProcedure(const QString& name, const SqlStatement& s, const QVariantList& args) {
    const QString n = name.toLower();
    if (n == QLatin1String("sp_helptext"))
        HelpText(args);
    else if (n == QLatin1String("sp_helprotect"))
        HelpProtect(args);
    else if (n == QLatin1String("sp_helprole"))
        HelpRole(args);
    else if (n == QLatin1String("sp_helpuser"))
        HelpUser(args);
    else if (n == QLatin1String("sp_rename"))
        Rename(args);
    else if (n == QLatin1String("sp_addrolemember"))
        AddRoleMember(args, true);
    else if (n == QLatin1String("sp_droprolemember"))
        AddRoleMember(args, false);
    else if (n == QLatin1String("sp_executesql"))
        ExecuteSql(args);
    else if (n == QLatin1String("sp_addtype"))
        AddType(s, args);
    else {
        SqlStatement p;
        p.line = s.line;
        if (n == QLatin1String("sp_addrole")) {
            p.kind = SqlStatement::Kind::CreateRole;
            p.name = Arg(args, 0);
        } else if (n == QLatin1String("sp_droprole")) {
            p.kind = SqlStatement::Kind::DropRole;
            p.name = Arg(args, 0);
        } else if (n == QLatin1String("sp_adduser") || n == QLatin1String("sp_grantdbaccess")) {
            p.kind = SqlStatement::Kind::CreateUser;
            p.loginName = Arg(args, 0);
            p.name = HasArg(args, 1) ? Arg(args, 1) : Arg(args, 0);
        } else if (n == QLatin1String("sp_addlogin")) {
            p.kind = SqlStatement::Kind::CreateLogin;
            p.name = Arg(args, 0);
            p.password = Arg(args, 1);
            p.defaultDatabase = Arg(args, 2);
        } else if (n == QLatin1String("sp_password")) {
            p.kind = SqlStatement::Kind::AlterLogin;
            p.name = HasArg(args, 2) ? Arg(args, 2) : login.name;
            p.password = Arg(args, 1);
        }
        Principal(p);
        if (n == QLatin1String("sp_adduser") && HasArg(args, 2))
            AddRoleMember({args[2], p.name}, true);
    }
    return true;
}

void SessionState::AddType(const SqlStatement& s, const QVariantList& args) {
    // The base type comes as text: a name and its size in parentheses.
    static const QRegularExpression kType(
        QStringLiteral("^\\s*(\\w+)\\s*(?:\\(\\s*(\\d+|max)\\s*(?:,\\s*(\\d+)\\s*)?\\))?\\s*$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = kType.match(Arg(args, 1));
    SqlStatement p;
    p.kind = SqlStatement::Kind::CreateType;
    p.line = s.line;
    p.target = QStringList{Arg(args, 0)};
    SqlColumnDef c;
    c.type.name = m.hasMatch() ? m.captured(1).toLower() : Arg(args, 1);
    if (m.captured(2).compare(QLatin1String("max"), Qt::CaseInsensitive) == 0)
        c.type.length = -2;
    else if (!m.captured(2).isEmpty())
        c.type.length = c.type.precision = m.captured(2).toInt();
    if (!m.captured(3).isEmpty())
        c.type.scale = m.captured(3).toInt();
    const QString nulls = Arg(args, 2).simplified().toUpper();
    if (!nulls.isEmpty()) {
        c.nullGiven = true;
        c.nullable = nulls != QLatin1String("NOT NULL");
    }
    p.columnDefs.append(c);
    CreateType(p);
}

void SessionState::HelpText(const QVariantList& args) {
    const QString name = HasArg(args, 0) ? Arg(args, 0) : QStringLiteral("(null)");
    const CatalogueObject o = HasArg(args, 0) ? ResolveObjectName(name) : CatalogueObject();
    if (!o.IsValid())
        throw ServerError::Make(
            15009, 16,
            QStringLiteral("The object '%1' does not exist in database '%2' or is invalid for this "
                           "operation.")
                .arg(name, database));
    const QString text = ObjectText(o.id);
    if (o.xtype == QLatin1String("U") || o.xtype == QLatin1String("S") || text.isEmpty())
        throw ServerError::Make(15197, 16, QStringLiteral("There is no text for object '%1'.").arg(name));
    SqlRowSet rs;
    rs.columns.append(Column(QStringLiteral("Text"), 231, 510));
    // One row per line: a row ends after CR LF; a line longer than 255 characters is cut in pieces.
    int start = 0;
    while (start < text.size()) {
        int end = int(text.indexOf(QLatin1String("\r\n"), start));
        end = end < 0 ? int(text.size()) : end + 2;
        for (int p = start; p < end; p += 255)
            rs.rows.append({text.mid(p, qMin(255, end - p))});
        start = end;
    }
    Put(SqlResult::Rows(rs));
    mRowCount = rs.rows.size();
}

void SessionState::HelpProtect(const QVariantList& args) {
    QString sql = QStringLiteral(
        "SELECT CASE WHEN p.id = 0 THEN '.' ELSE ou.name END, CASE WHEN p.id = 0 THEN '.' ELSE o.name END, "
        "g.name, "
        "gr.name, p.protecttype, p.action, o.xtype FROM sysprotects p JOIN sysusers g ON g.uid = p.uid "
        "LEFT JOIN sysobjects o ON o.id = p.id LEFT JOIN (SELECT uid, name FROM sysusers UNION ALL SELECT "
        "id, name FROM "
        "engine_schemas) ou ON ou.uid = o.uid "
        "LEFT JOIN sysusers gr ON gr.uid = p.grantor WHERE 1 = 1");
    QVariantList params;
    bool nothing = false;
    if (HasArg(args, 0)) {
        const CatalogueObject o = ResolveObjectName(Arg(args, 0));
        if (!o.IsValid())
            nothing = true;
        sql += QStringLiteral(" AND p.id = ?");
        params.append(o.id);
    }
    if (HasArg(args, 1)) {
        sql += QStringLiteral(" AND g.name = ?");
        params.append(Arg(args, 1));
    }
    if (HasArg(args, 2)) {
        sql += QStringLiteral(" AND gr.name = ?");
        params.append(Arg(args, 2));
    }
    QList<QVariantList> rows;
    if (!nothing) {
        for (const QVariantList& r : mDb->Rows(sql, params)) {
            const int type = r[4].toInt();
            const int action = r[5].toInt();
            QString actionName;
            switch (action) {
            case 193:
                actionName = QStringLiteral("Select");
                break;
            case 195:
                actionName = QStringLiteral("Insert");
                break;
            case 197:
                actionName = QStringLiteral("Update");
                break;
            case 196:
                actionName = QStringLiteral("Delete");
                break;
            case 224:
                actionName = QStringLiteral("Execute");
                break;
            case 26:
                actionName = QStringLiteral("References");
                break;
            case 198:
                actionName = QStringLiteral("Create Table");
                break;
            case 222:
                actionName = QStringLiteral("Create Procedure");
                break;
            case 207:
                actionName = QStringLiteral("Create View");
                break;
            case 178:
                actionName = QStringLiteral("Create Function");
                break;
            case 233:
                actionName = QStringLiteral("Create Default");
                break;
            case 236:
                actionName = QStringLiteral("Create Rule");
                break;
            default:
                actionName = QString::number(action);
            }
            const QString xtype = r[6].toString().trimmed();
            const bool allColumns = (xtype == QLatin1String("U") || xtype == QLatin1String("V")) &&
                                    (action == 193 || action == 197 || action == 26);
            const QString protect = type == 204   ? QStringLiteral("Grant_WGO ")
                                    : type == 206 ? QStringLiteral("Deny      ")
                                                  : QStringLiteral("Grant     ");
            rows.append({r[0], r[1], r[2], r[3], protect, actionName,
                         allColumns ? QStringLiteral("(All+New)") : QStringLiteral(".")});
        }
    }
    if (rows.isEmpty())
        throw ServerError::Make(15330, 11, QStringLiteral("There are no matching rows on which to report."));
    std::sort(rows.begin(), rows.end(), [](const QVariantList& a, const QVariantList& b) {
        for (int i = 0; i < a.size(); ++i) {
            const int c = a[i].toString().compare(b[i].toString(), Qt::CaseInsensitive);
            if (c != 0)
                return c < 0;
        }
        return false;
    });
    SqlRowSet rs;
    for (const char* c : {"Owner", "Object", "Grantee", "Grantor"})
        rs.columns.append(Column(QString::fromLatin1(c)));
    rs.columns.append(Column(QStringLiteral("ProtectType"), 175, 10));
    rs.columns.append(Column(QStringLiteral("Action"), 231, 120));
    rs.columns.append(Column(QStringLiteral("Column"), 231, 256));
    rs.rows = rows;
    Put(SqlResult::Rows(rs));
    mRowCount = rs.rows.size();
}

void SessionState::HelpRole(const QVariantList& args) {
    QString sql =
        QStringLiteral("SELECT name, uid, isapprole FROM sysusers WHERE (issqlrole = 1 OR isapprole = 1)");
    QVariantList params;
    if (HasArg(args, 0)) {
        sql += QStringLiteral(" AND name = ?");
        params.append(Arg(args, 0));
    }
    const auto rows = mDb->Rows(sql + QStringLiteral(" ORDER BY uid"), params);
    if (rows.isEmpty() && HasArg(args, 0))
        throw ServerError::Make(15409, 16, QStringLiteral("'%1' is not a role.").arg(Arg(args, 0)));
    SqlRowSet rs;
    rs.columns = {Column(QStringLiteral("RoleName")), Column(QStringLiteral("RoleId"), 52, 2),
                  Column(QStringLiteral("IsAppRole"), 56, 4)};
    rs.rows = rows;
    Put(SqlResult::Rows(rs));
    mRowCount = rs.rows.size();
}

void SessionState::HelpUser(const QVariantList& args) {
    SqlRowSet rs;
    if (HasArg(args, 0)) {
        const auto role =
            mDb->Rows(QStringLiteral("SELECT uid, name FROM sysusers WHERE name = ? AND issqlrole = 1"),
                      {Arg(args, 0)});
        if (!role.isEmpty()) {
            rs.columns = {Column(QStringLiteral("Role_name")), Column(QStringLiteral("Role_id"), 52, 2),
                          Column(QStringLiteral("Users_in_role")), Column(QStringLiteral("Userid"), 52, 2)};
            for (const QVariantList& r :
                 mDb->Rows(QStringLiteral("SELECT u.name, u.uid FROM sysmembers m JOIN sysusers u "
                                          "ON u.uid = m.memberuid WHERE m.groupuid = ? ORDER BY "
                                          "u.name"),
                           {role.first()[0]}))
                rs.rows.append({role.first()[1], role.first()[0], r[0], r[1]});
            Put(SqlResult::Rows(rs));
            mRowCount = rs.rows.size();
            return;
        }
    }
    QString sql = QStringLiteral(
        "SELECT uid, name, sid FROM sysusers WHERE issqlrole = 0 AND isapprole = 0 AND (uid IN "
        "(1, 2) OR uid >= 5)");
    QVariantList params;
    if (HasArg(args, 0)) {
        sql += QStringLiteral(" AND name = ?");
        params.append(Arg(args, 0));
    }
    const auto users = mDb->Rows(sql + QStringLiteral(" ORDER BY name"), params);
    if (users.isEmpty() && HasArg(args, 0))
        throw ServerError::Make(
            15198, 16,
            QStringLiteral("The name supplied (%1) is not a user, role, or aliased login.")
                .arg(Arg(args, 0)));
    rs.columns = {Column(QStringLiteral("UserName")),      Column(QStringLiteral("RoleName")),
                  Column(QStringLiteral("LoginName")),     Column(QStringLiteral("DefDBName")),
                  Column(QStringLiteral("DefSchemaName")), Column(QStringLiteral("UserID"), 52, 2),
                  Column(QStringLiteral("SID"), 165, 85)};
    for (const QVariantList& u : users) {
        const LoginInfo l = [&]() {
            LoginInfo found;
            SqliteDb master(mServer->MasterPath());
            const auto rows =
                master.Rows(QStringLiteral("SELECT name, dbname FROM engine_logins WHERE sid = ?"), {u[2]});
            if (!rows.isEmpty()) {
                found.name = rows.first()[0].toString();
                found.defaultDatabase = rows.first()[1].toString();
            }
            return found;
        }();
        QStringList roles;
        for (const QVariantList& r :
             mDb->Rows(QStringLiteral("SELECT g.name FROM sysmembers m JOIN sysusers g ON g.uid = "
                                      "m.groupuid WHERE m.memberuid = ? ORDER BY g.name"),
                       {u[0]}))
            roles.append(r[0].toString());
        if (roles.isEmpty())
            roles.append(QStringLiteral("public"));
        for (const QString& role : roles)
            rs.rows.append({u[1], role, l.name.isEmpty() ? QVariant() : QVariant(l.name),
                            l.defaultDatabase.isEmpty() ? QVariant() : QVariant(l.defaultDatabase),
                            QStringLiteral("dbo"), u[0], u[2]});
    }
    Put(SqlResult::Rows(rs));
    mRowCount = rs.rows.size();
}

void SessionState::Rename(const QVariantList& args) {
    const QString objName = Arg(args, 0);
    const QString newName = Arg(args, 1);
    const QString type = HasArg(args, 2) ? Arg(args, 2).toUpper() : QString();
    const auto ambiguous = [&]() {
        return ServerError::Make(
            15248, 11,
            QStringLiteral("Either the parameter @objname is ambiguous or the claimed @objtype (%1) "
                           "is wrong.")
                .arg(HasArg(args, 2) ? Arg(args, 2) : QStringLiteral("(null)")));
    };
    if (!HasArg(args, 0) || !HasArg(args, 1))
        throw ServerError::Make(
            15223, 11,
            QStringLiteral("Error: The input parameter '%1' is not allowed to be null.")
                .arg(HasArg(args, 0) ? QStringLiteral("newname") : QStringLiteral("objname")));
    if (type == QLatin1String("COLUMN")) {
        const QStringList parts = SqlParser::SplitName(objName);
        if (parts.size() < 2)
            throw ambiguous();
        const CatalogueObject table =
            Catalogue::FindObject(*mDb, Schema(), parts[parts.size() - 2],
                                  parts.size() >= 3 ? parts[parts.size() - 3] : QString(), mUid);
        const QVariant col = table.IsValid()
                                 ? mDb->Scalar(QStringLiteral("SELECT name FROM syscolumns WHERE id = ? AND "
                                                              "name = ?"),
                                               {table.id, parts.last()})
                                 : QVariant();
        if (!col.isValid() || table.xtype != QLatin1String("U"))
            throw ambiguous();
        if (!IsDbOwner() && table.uid != mUid)
            throw ambiguous();
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM syscolumns WHERE id = ? AND name = ?"),
                        {table.id, newName})
                .isValid() &&
            newName.compare(col.toString(), Qt::CaseInsensitive) != 0)
            throw ServerError::Make(
                15335, 11,
                QStringLiteral("Error: The new name '%1' is already in use as a COLUMN name and would "
                               "cause a duplicate that is not permitted.")
                    .arg(newName));
        mDb->Exec(QStringLiteral("ALTER TABLE \"main\".\"T%1\" RENAME COLUMN %2 TO %3")
                      .arg(table.id)
                      .arg(SqlTranslator::Quote(col.toString()), SqlTranslator::Quote(newName)));
        mDb->Exec(QStringLiteral("UPDATE syscolumns SET name = ? WHERE id = ? AND name = ?"),
                  {newName, table.id, col});
    } else if (type.isEmpty() || type == QLatin1String("OBJECT")) {
        const CatalogueObject o = ResolveObjectName(objName);
        if (!o.IsValid() || o.xtype == QLatin1String("S"))
            throw ambiguous();
        if (!IsDbOwner() && o.uid != mUid)
            throw ambiguous();
        if (mDb->Scalar(QStringLiteral("SELECT 1 FROM sysobjects WHERE name = ? AND uid = ? AND id <> ?"),
                        {newName, o.uid, o.id})
                .isValid())
            throw ServerError::Make(
                15335, 11,
                QStringLiteral("Error: The new name '%1' is already in use as a object name and would "
                               "cause a duplicate that is not permitted.")
                    .arg(newName));
        // The stored definition keeps the old name, as on the server.
        mDb->Exec(QStringLiteral("UPDATE sysobjects SET name = ? WHERE id = ?"), {newName, o.id});
    } else {
        throw ServerError::Unsupported(QStringLiteral("sp_rename of a %1").arg(type));
    }
    EmitInfo(15477,
             QStringLiteral("Caution: Changing any part of an object name could break scripts and stored "
                            "procedures."),
             10);
}

void SessionState::AddRoleMember(const QVariantList& args, bool add) {
    const QString role = Arg(args, 0);
    const QString member = Arg(args, 1);
    const QVariant roleUid =
        mDb->Scalar(QStringLiteral("SELECT uid FROM sysusers WHERE name = ? AND issqlrole = 1"), {role});
    if (!roleUid.isValid())
        throw ServerError::Make(
            15014, 16, QStringLiteral("The role '%1' does not exist in the current database.").arg(role));
    const QVariant memberUid =
        mDb->Scalar(QStringLiteral("SELECT uid FROM sysusers WHERE name = ?"), {member});
    if (!memberUid.isValid() || memberUid.toInt() == 0)
        throw ServerError::Make(
            15410, 11, QStringLiteral("User or role '%1' does not exist in this database.").arg(member));
    if (!IsDbOwner() && !MyPrincipals().contains(16386))
        throw ServerError::Make(15247, 16,
                                QStringLiteral("User does not have permission to perform this action."));
    if (memberUid.toInt() == 1)
        throw ServerError::Make(15405, 11, QStringLiteral("Cannot use the special principal 'dbo'."));
    mDb->Exec(QStringLiteral("DELETE FROM sysmembers WHERE memberuid = ? AND groupuid = ?"),
              {memberUid, roleUid});
    if (add)
        mDb->Exec(QStringLiteral("INSERT INTO sysmembers (memberuid, groupuid) VALUES (?, ?)"),
                  {memberUid, roleUid});
}
