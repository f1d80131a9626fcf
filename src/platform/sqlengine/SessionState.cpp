#include "SessionState.h"

#include "SqlFunctions.h"
#include "SqlParser.h"

#include <QDateTime>
#include <QRegularExpression>
#include <sqlite3.h>

namespace {

void UdfCallback(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
    auto* session = static_cast<SessionState*>(sqlite3_user_data(ctx));
    QVariantList args;
    for (int i = 2; i < argc; ++i) {
        switch (sqlite3_value_type(argv[i])) {
        case SQLITE_INTEGER:
            args.append(qlonglong(sqlite3_value_int64(argv[i])));
            break;
        case SQLITE_FLOAT:
            args.append(sqlite3_value_double(argv[i]));
            break;
        case SQLITE_NULL:
            args.append(QVariant());
            break;
        case SQLITE_BLOB:
            args.append(QByteArray(static_cast<const char*>(sqlite3_value_blob(argv[i])),
                                   sqlite3_value_bytes(argv[i])));
            break;
        default:
            args.append(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(argv[i]))));
        }
    }
    const QString name = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(argv[0])));
    try {
        const QString defaults =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(argv[1])));
        const QVariant v = session->CallFunction(name, args, defaults);
        if (!v.isValid() || v.isNull())
            sqlite3_result_null(ctx);
        else if (v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Int)
            sqlite3_result_int64(ctx, v.toLongLong());
        else if (v.typeId() == QMetaType::Double || v.userType() == qMetaTypeId<SqlDecimal>())
            sqlite3_result_double(ctx, v.toDouble());
        else {
            const QByteArray b = v.toString().toUtf8();
            sqlite3_result_text(ctx, b.constData(), int(b.size()), SQLITE_TRANSIENT);
        }
    } catch (const ServerError& e) {
        const QByteArray m = QStringLiteral("TSQL%1:%2").arg(e.number).arg(e.text).toUtf8();
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
    } catch (const SqliteError& e) {
        const QByteArray m = e.message.toUtf8();
        sqlite3_result_error(ctx, m.constData(), int(m.size()));
    } catch (...) {
        // A batch that ends inside a function (a cancel, an error that ends the batch) must not
        // unwind through SQLite: the statement that called the function fails instead.
        sqlite3_result_error_code(ctx, SQLITE_INTERRUPT);
    }
}

// SQLite asks this every few thousand steps of a statement; non-zero interrupts the statement.
int ProgressCallback(void* session) {
    try {
        return static_cast<SessionState*>(session)->Cancelled() ? 1 : 0;
    } catch (...) {
        return 1;
    }
}

// The digits of text[from, from + count), or -1 when one of them isn't a digit.
int digitsAt(const QString& text, qsizetype from, qsizetype count) {
    if (from + count > text.size())
        return -1;
    int value = 0;
    for (qsizetype i = from; i < from + count; ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return -1;
        value = value * 10 + (c - u'0');
    }
    return value;
}

// The texts the database keeps a datetime in other than its own, tried after it.
QDateTime otherStoredDateTime(const QString& text) {
    QDateTime d = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    if (!d.isValid())
        d = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!d.isValid())
        d = QDateTime(QDate::fromString(text, QStringLiteral("yyyy-MM-dd")), QTime(0, 0));
    if (d.isValid())
        d.setTimeSpec(Qt::UTC);
    return d;
}

// A datetime as the database keeps it: "yyyy-MM-dd HH:mm:ss.zzz", read without the general parser.
// The server's datetimes carry no zone, so the value is a wall-clock time held as UTC: a local time
// would look the zone up for every value of a large result, and the texts shown are the same.
QDateTime StoredDateTime(const QString& text) {
    if (text.size() != 23 || text[4] != u'-' || text[7] != u'-' || text[10] != u' ' || text[13] != u':' ||
        text[16] != u':' || text[19] != u'.')
        return otherStoredDateTime(text);
    const int year = digitsAt(text, 0, 4);
    const QDate date(year, digitsAt(text, 5, 2), digitsAt(text, 8, 2));
    const QTime time(digitsAt(text, 11, 2), digitsAt(text, 14, 2), digitsAt(text, 17, 2),
                     digitsAt(text, 20, 3));
    if (year < 0 || !date.isValid() || !time.isValid())
        return otherStoredDateTime(text);
    return QDateTime(date, time, Qt::UTC);
}

} // namespace

QVariant ToServerValue(const QVariant& v, int typeId) {
    if (!v.isValid() || v.isNull())
        return QVariant();
    switch (typeId) {
    case 61:
    case 58:
    case 40: {
        const QDateTime d = StoredDateTime(v.toString());
        return d.isValid() ? QVariant(d) : v;
    }
    case 104:
    case 48:
    case 52:
    case 56:
    case 127:
        return v.typeId() == QMetaType::QString ? v : QVariant(v.toLongLong());
    case 59:
    case 62:
    case 106:
    case 108:
    case 60:
    case 122:
        return v.typeId() == QMetaType::QString ? v : QVariant(v.toDouble());
    default:
        if (v.typeId() == QMetaType::QByteArray && typeId != 165 && typeId != 173 && typeId != 34)
            return v;
        return v;
    }
}

SessionState::SessionState(std::shared_ptr<ServerState> server, LoginInfo loginInfo)
    : login(std::move(loginInfo))
    , mServer(std::move(server)) {
    SqlDecimal::RegisterConversions();
}

SessionState::~SessionState() {
    try {
        if (mDb && mTranCount > 0)
            RollbackAll();
        if (mDb)
            DropTemporaries(mSessionTemporaries);
    } catch (...) {
        // The tables keep names no other session uses; nothing more can be done on the way out.
    }
}

QString SessionState::MasterSchema() const {
    return database.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0 ? QStringLiteral("main")
                                                                               : QStringLiteral("master");
}

void SessionState::OpenDatabase(const QString& name, const QString& path) {
    auto db = std::make_unique<SqliteDb>(path);
    Catalogue::EnsureIndexes(*db);
    db->SetDateOptions(&mDateOptions);
    SqlFunctions::Register(*db);
    sqlite3_create_function_v2(db->Handle(), "tsql_udf", -1, SQLITE_UTF8, this, UdfCallback, nullptr, nullptr,
                               nullptr);
    // SQLite lets a generated column call only functions marked deterministic; a computed column that
    // calls a user function is one the server computes when it is read, which is when SQLite calls it.
    sqlite3_create_function_v2(db->Handle(), "tsql_udf_column", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, this,
                               UdfCallback, nullptr, nullptr, nullptr);
    sqlite3_progress_handler(db->Handle(), 10000, ProgressCallback, this);
    if (name.compare(QLatin1String("master"), Qt::CaseInsensitive) != 0)
        db->Exec(QStringLiteral("ATTACH DATABASE ? AS master"), {mServer->MasterPath()});
    EnsureMessageTable(*db, name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0
                                ? QStringLiteral("main")
                                : QStringLiteral("master"));
    EnsureServerTriggerTable(*db, name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0
                                      ? QStringLiteral("main")
                                      : QStringLiteral("master"));
    // Whom the login is in this database: a sysadmin is dbo everywhere, others their mapped user
    // or else guest when guest may enter.
    int uid = -1;
    QString user;
    if (login.sysadmin) {
        uid = 1;
    } else {
        const auto rows =
            db->Rows(QStringLiteral("SELECT uid, name FROM sysusers WHERE sid = ? AND (hasdbaccess = 1 OR "
                                    "uid = 1) AND issqlrole = 0 ORDER BY uid"),
                     {login.sid});
        if (!rows.isEmpty())
            uid = rows.first()[0].toInt();
        else if (db->Scalar(QStringLiteral("SELECT hasdbaccess FROM sysusers WHERE uid = 2")).toInt() == 1)
            uid = 2;
    }
    if (uid < 0)
        throw ServerError::Make(
            916, 14,
            QStringLiteral("The server principal \"%1\" is not able to access the database \"%2\" "
                           "under the current security context.")
                .arg(login.name, name));
    user = Catalogue::UserName(*db, QStringLiteral("main"), uid);
    mDb = std::move(db);
    mAttached.clear();
    mUid = uid;
    userName = user;
    database = name;
    mTranCount = 0;
}

bool SessionState::Open(const QString& requested, QList<SqlMessage>* messages) {
    QString name = requested.isEmpty() ? login.defaultDatabase : requested;
    if (name.isEmpty())
        name = QStringLiteral("master");
    const QString real = name.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0
                             ? QStringLiteral("master")
                             : mServer->DatabaseName(name);
    bool ok = !real.isEmpty();
    if (ok) {
        try {
            OpenDatabase(real, mServer->DatabasePath(real));
        } catch (const ServerError&) {
            ok = false;
        } catch (const SqliteError&) {
            ok = false;
        }
    }
    if (!ok && messages) {
        SqlMessage m;
        m.number = 4060;
        m.severity = 11;
        m.line = 1;
        m.text =
            QStringLiteral("Cannot open database \"%1\" requested by the login. The login failed.").arg(name);
        messages->append(m);
        m.number = 18456;
        m.severity = 14;
        m.text = QStringLiteral("Login failed for user '%1'.").arg(login.name);
        messages->append(m);
    }
    return ok;
}

void SessionState::Emit(const ServerError& e, int line) {
    SqlMessage m;
    m.number = e.number;
    m.severity = e.severity;
    m.state = e.state;
    m.line = e.line > 0 ? e.line : line;
    m.text = WrittenName(e.text);
    if (!mFrames.isEmpty())
        m.procedure = Top().procedure;
    mLastError = e.number;
    Put(SqlResult::Msg(m));
    if (e.number == 515 || e.number == 2627 || e.number == 8152 || e.number == 544 || e.number == 2601) {
        SqlMessage t = m;
        t.number = 3621;
        t.severity = 0;
        t.text = QStringLiteral("The statement has been terminated.");
        Put(SqlResult::Msg(t));
    }
}

void SessionState::EmitInfo(long number, const QString& text, int severity) {
    SqlMessage m;
    m.number = number;
    m.severity = severity;
    m.state = 1;
    m.line = mLine;
    m.text = text;
    if (!mFrames.isEmpty())
        m.procedure = Top().procedure;
    Put(SqlResult::Msg(m));
}

void SessionState::EmitCount(long long count) {
    mRowCount = count;
    if (!mNoCount)
        Put(SqlResult::Count(count));
}

void SessionState::Put(SqlResult result) {
    if (mSink)
        mSink->Add(std::move(result));
    else if (mOut)
        mOut->append(std::move(result));
}

SqlBatchResults SessionState::Parse(const QString& batch) {
    SqlBatchResults out;
    SqlParser parser(batch, mQuotedIdentifier);
    QList<SqlSyntaxError> errors;
    parser.ParseBatch(&errors);
    for (const SqlSyntaxError& e : errors) {
        SqlMessage m;
        m.number = e.number;
        m.severity = e.severity;
        m.line = e.line;
        m.text = e.text;
        out.append(SqlResult::Msg(m));
    }
    return out;
}

SqlBatchResults SessionState::Execute(const QString& batch, SqlResultSink* sink) {
    SqlBatchResults out;
    mOut = &out;
    mSink = sink;
    struct Detach {
        SessionState& state;
        ~Detach() {
            state.mOut = nullptr;
            state.mSink = nullptr;
        }
    } detach{*this};
    SqlParser parser(batch, mQuotedIdentifier);
    QList<SqlSyntaxError> errors;
    const QList<SqlStatementP> statements = parser.ParseBatch(&errors);
    if (!errors.isEmpty()) {
        for (const SqlSyntaxError& e : errors) {
            SqlMessage m;
            m.number = e.number;
            m.severity = e.severity;
            m.line = e.line;
            m.text = e.text;
            Put(SqlResult::Msg(m));
        }
        mLastError = errors.first().number;
        return out;
    }
    if (mParseOnly || mNoExec) {
        for (const SqlStatementP& s : statements)
            if (s->kind == SqlStatement::Kind::SetOption &&
                (s->optionNames.contains(QStringLiteral("PARSEONLY")) ||
                 s->optionNames.contains(QStringLiteral("NOEXEC"))))
                SetOption(*s);
        return out;
    }
    mCancelled = false;
    cancelRequested = false;
    mBatchText = batch;
    mFrames.clear();
    mFrames.append(Frame());
    mNesting = 0;
    mModuleDepth = 0;
    mTryFrames.clear();
    mCaught.clear();
    RenameTemporaries(statements);
    try {
        if (Run(statements) == Flow::Goto)
            throw ServerError::Unsupported(QStringLiteral("GOTO to a label inside a block"));
    } catch (const BatchAborted&) {
    } catch (const ServerError& e) {
        Emit(e, mLine);
    }
    EndBatchTransaction();
    if (!mFrames.isEmpty()) {
        DropTemporaries(mFrames.first().temporaries);
        mFrames.resize(1);
        DropLocalCursors();
    }
    // SQLite rolls back the whole transaction when it stops a statement that writes inside one.
    if (mCancelled && mTranCount > 0 && sqlite3_get_autocommit(mDb->Handle()))
        mTranCount = 0;
    mFrames.clear();
    return out;
}

SessionState::Flow SessionState::Run(const QList<SqlStatementP>& statements) {
    for (qsizetype i = 0; i < statements.size(); ++i) {
        const Flow f = RunStatement(*statements[i]);
        if (f == Flow::Goto) {
            // The label may stand in this list; if not, an enclosing one looks.
            const auto at =
                std::find_if(statements.cbegin(), statements.cend(), [this](const SqlStatementP& s) {
                    return s->kind == SqlStatement::Kind::Label &&
                           s->name.compare(mGotoLabel, Qt::CaseInsensitive) == 0;
                });
            if (at != statements.cend()) {
                i = at - statements.cbegin();
                continue;
            }
        }
        if (f != Flow::Normal)
            return f;
    }
    return Flow::Normal;
}

bool SessionState::Cancelled() {
    if (!mCancelled && cancelRequested)
        mCancelled = true;
    if (!mCancelled && cancelCheck)
        mCancelled = cancelCheck();
    return mCancelled;
}

SessionState::Flow SessionState::RunStatement(const SqlStatement& s) {
    mLine = s.line;
    if (Cancelled())
        throw BatchAborted{};
    try {
        const Flow f = RunStatementInner(s);
        if (s.kind != SqlStatement::Kind::If && s.kind != SqlStatement::Kind::Block &&
            s.kind != SqlStatement::Kind::While && s.kind != SqlStatement::Kind::TryCatch &&
            s.kind != SqlStatement::Kind::Raiserror)
            mLastError = 0;
        return f;
    } catch (const ServerError& e) {
        if (mCancelled)
            throw BatchAborted{};
        RaiseError(e, s.line);
    } catch (const SqliteError& e) {
        if (mCancelled)
            throw BatchAborted{};
        RaiseError(MapSqliteError(e, QStringLiteral("INSERT")), s.line);
    }
    return Flow::Normal;
}

SessionState::Flow SessionState::RunStatementInner(const SqlStatement& s) {
    using K = SqlStatement::Kind;
    switch (s.kind) {
    case K::Empty:
        return Flow::Normal;
    case K::Select:
        RunSelect(s);
        return Flow::Normal;
    case K::Insert:
        RunInsert(s);
        return Flow::Normal;
    case K::Update:
        RunUpdate(s);
        return Flow::Normal;
    case K::Delete:
        RunDelete(s);
        return Flow::Normal;
    case K::Merge:
        RunMerge(s);
        return Flow::Normal;
    case K::CreateTable:
        CreateTable(s);
        return Flow::Normal;
    case K::AlterTableAdd:
        AlterTable(s);
        return Flow::Normal;
    case K::CreateModule:
        if (s.objectKind == QLatin1String("SERVER TRIGGER"))
            ServerTrigger(s);
        else
            CreateModule(s);
        return Flow::Normal;
    case K::DropObject:
        if (s.objectKind == QLatin1String("SERVER TRIGGER"))
            ServerTrigger(s);
        else
            DropObjects(s);
        return Flow::Normal;
    case K::CreateIndex:
        CreateIndex(s);
        return Flow::Normal;
    case K::Truncate:
        Truncate(s);
        return Flow::Normal;
    case K::If: {
        if (Condition(*s.condition))
            return Run(s.body);
        if (s.hasElse)
            return Run(s.elseBody);
        return Flow::Normal;
    }
    case K::While: {
        int guard = 0;
        while (Condition(*s.condition)) {
            const Flow f = Run(s.body);
            if (f == Flow::Break)
                break;
            if (f == Flow::Return || f == Flow::Goto)
                return f;
            if (++guard > 10000000)
                throw ServerError::Unsupported(QStringLiteral("loops of more than 10000000 rounds"));
        }
        return Flow::Normal;
    }
    case K::Block:
        return Run(s.body);
    case K::Break:
        return Flow::Break;
    case K::Continue:
        return Flow::Continue;
    case K::Declare:
        for (const auto& d : s.declarations)
            Declare(d.first, d.second ? Evaluate(*d.second) : QVariant(), s.line, &s, d.second != nullptr);
        return Flow::Normal;
    case K::SetVariable: {
        if (AssignCursor(s))
            return Flow::Normal;
        QVariant v = Evaluate(*s.condition);
        if (s.assignOp != QLatin1String("=")) {
            auto b = std::make_shared<SqlExpr>();
            b->kind = SqlExpr::Kind::Binary;
            b->text = s.assignOp.left(1);
            auto var = std::make_shared<SqlExpr>();
            var->kind = SqlExpr::Kind::Variable;
            var->text = s.variable;
            b->args = {var, s.condition};
            v = Evaluate(*b);
        }
        Assign(s.variable, v, s.line);
        return Flow::Normal;
    }
    case K::SetOption:
        SetOption(s);
        return Flow::Normal;
    case K::Print: {
        const QVariant v = Evaluate(*s.condition);
        EmitInfo(0, v.isValid() ? v.toString() : QString());
        return Flow::Normal;
    }
    case K::Return:
        if (s.condition) {
            Top().returnValue = Evaluate(*s.condition);
            Top().hasReturnValue = true;
        }
        return Flow::Return;
    case K::Exec:
        Exec(s);
        return Flow::Normal;
    case K::Use:
        UseDatabase(s);
        return Flow::Normal;
    case K::Permission:
        Permission(s);
        return Flow::Normal;
    case K::CreateDatabase:
    case K::DropDatabase:
    case K::CreateLogin:
    case K::AlterLogin:
    case K::DropLogin:
    case K::CreateUser:
    case K::DropUser:
    case K::CreateRole:
    case K::DropRole:
        Principal(s);
        return Flow::Normal;
    case K::CreateSchema:
    case K::DropSchema:
        RunSchema(s);
        return Flow::Normal;
    case K::CreateType:
        CreateType(s);
        return Flow::Normal;
    case K::XmlSchemaCollection:
        RunXmlSchemaCollection(s);
        return Flow::Normal;
    case K::Raiserror:
        RunRaiserror(s);
        return Flow::Normal;
    case K::BeginTran:
        BeginTran(s);
        return Flow::Normal;
    case K::CommitTran:
        CommitTran(s);
        return Flow::Normal;
    case K::RollbackTran:
        RollbackTran(s);
        return Flow::Normal;
    case K::SaveTran:
        SaveTran(s);
        return Flow::Normal;
    case K::TryCatch:
        return RunTryCatch(s);
    case K::Throw:
        RunThrow(s);
        return Flow::Normal;
    case K::Goto:
        mGotoLabel = s.name;
        return Flow::Goto;
    case K::Label:
        return Flow::Normal;
    case K::WaitFor:
        RunWaitFor(s);
        return Flow::Normal;
    case K::Cursor:
        RunCursor(s);
        return Flow::Normal;
    case K::Unsupported:
        throw ServerError::Unsupported(s.construct);
    }
    return Flow::Normal;
}

void SessionState::Declare(const SqlParam& p, const QVariant& value, int line, const SqlStatement* by,
                           bool initialised) {
    const QString key = p.name.toLower();
    if (auto again = Top().vars.find(key); again != Top().vars.end() && by && again->declaredBy == by) {
        if (initialised)
            again->value = Convert(value, again->type);
        return;
    }
    if (Top().vars.contains(key))
        throw ServerError::Make(
            134, 15,
            QStringLiteral("The variable name '%1' has already been declared. Variable names must "
                           "be unique within a query batch or stored procedure.")
                .arg(p.name),
            true);
    if (p.type.name == QLatin1String("cursor")) {
        Top().vars.insert(key, Var{p.type, QVariant(), by, nullptr});
        return;
    }
    const SqlTypeSpec type = ResolveType(p.type);
    if (!Catalogue::FindType(type.name) && DeclareTypedTable(p, by))
        return;
    if (!Catalogue::FindType(type.name))
        throw ServerError::Make(
            2715, 16,
            QStringLiteral("Column, parameter, or variable #%1: Cannot find data type %2.")
                .arg(Top().vars.size() + 1)
                .arg(p.type.name),
            true);
    Q_UNUSED(line);
    Top().vars.insert(key, Var{type, Convert(value, type), by, nullptr});
}

void SessionState::Assign(const QString& name, const QVariant& value, int) {
    auto it = Top().vars.find(name.toLower());
    if (it == Top().vars.end())
        throw ServerError::Make(137, 15, QStringLiteral("Must declare the scalar variable \"%1\".").arg(name),
                                true);
    it->value = Convert(value, it->type);
}

QVariant SessionState::Convert(const QVariant& value, const SqlTypeSpec& type) {
    if (!value.isValid() || value.isNull())
        return QVariant();
    int length = type.length;
    if (length == -1 && type.precision > 0)
        length = type.precision;
    if (QVariant fast; FastConvert(value, type, fast) || ConvertDecimal(value, type, fast))
        return fast;
    const SystemType* t = Catalogue::FindType(type.name);
    // A declared varchar without length holds one character; sysname is nvarchar(128); xml has no
    // length.
    if (t && t->character && length == -1 && type.name != QLatin1String("xml"))
        length = QLatin1String(t->name) == QLatin1String("sysname") ? 128 : 1;
    const CachedStatement st = mDb->Prepare(QStringLiteral("SELECT tsql_convert(?, ?, ?, ?)"));
    st->BindAll({type.name, length, type.scale, value});
    st->Step();
    return st->Value(0);
}

QVariant SessionState::Variable(const QString& name, int) {
    auto it = Top().vars.find(name.toLower());
    if (it == Top().vars.end())
        throw ServerError::Make(137, 15, QStringLiteral("Must declare the scalar variable \"%1\".").arg(name),
                                true);
    return it->value;
}

QString SessionState::VariableType(const QString& name) {
    const auto it = Top().vars.constFind(name.toLower());
    return it == Top().vars.cend() ? QString() : ResolveType(it->type).name;
}

QVariant SessionState::Global(const QString& name) {
    const QString n = name.toUpper();
    if (n == QLatin1String("@@ROWCOUNT"))
        return mRowCount;
    if (n == QLatin1String("@@IDENTITY"))
        return mIdentity;
    if (n == QLatin1String("SCOPE_IDENTITY"))
        return mScopeIdentity;
    if (n == QLatin1String("@@ERROR"))
        return qlonglong(mLastError);
    if (n == QLatin1String("@@TRANCOUNT"))
        return mTranCount;
    if (n.startsWith(QLatin1String("ERROR_")))
        return ErrorFunction(n);
    if (n == QLatin1String("XACT_STATE"))
        return XactState();
    if (n == QLatin1String("@@FETCH_STATUS"))
        return mFetchStatus;
    if (n.startsWith(QLatin1String("CURSOR_STATUS\n"))) {
        const QStringList args = name.split(u'\n');
        return CursorStatus(args.value(1), args.value(2));
    }
    if (n == QLatin1String("@@CURSOR_ROWS"))
        return CursorRows();
    if (n == QLatin1String("COLUMNS_UPDATED") || n.startsWith(QLatin1String("UPDATE(")))
        return TriggerFunction(n);
    if (n == QLatin1String("@@NESTLEVEL"))
        return mNesting;
    if (n == QLatin1String("@@SPID"))
        return 51;
    if (n == QLatin1String("@@VERSION"))
        return QStringLiteral("TARMO embedded server 1.0 (SQLite %1)")
            .arg(QString::fromLatin1(sqlite3_libversion()));
    if (n == QLatin1String("@@SERVERNAME") || n == QLatin1String("@@SERVICENAME"))
        return QStringLiteral("EMBEDDED");
    if (n == QLatin1String("@@LANGUAGE"))
        return mDateOptions.language;
    if (n == QLatin1String("@@DATEFIRST"))
        return mDateOptions.dateFirst;
    if (n == QLatin1String("@@MAX_PRECISION"))
        return 38;
    if (n == QLatin1String("@@OPTIONS"))
        return mNoCount ? 512 : 0;
    if (n == QLatin1String("USER_NAME") || n == QLatin1String("CURRENT_USER") ||
        n == QLatin1String("SESSION_USER") || n == QLatin1String("USER"))
        return userName;
    if (n == QLatin1String("USER_ID"))
        return mUid;
    if (n == QLatin1String("SUSER_SNAME") || n == QLatin1String("SUSER_NAME") ||
        n == QLatin1String("SYSTEM_USER"))
        return login.name;
    if (n == QLatin1String("SUSER_SID"))
        return login.sid;
    if (n == QLatin1String("HOST_NAME") || n == QLatin1String("APP_NAME"))
        return QString();
    return {};
}

QVariant SessionState::Evaluate(const SqlExpr& e) {
    if (FastInt fast; FastInteger(e, fast))
        return fast.null ? QVariant() : QVariant(fast.value);
    if (FastDec exact; Shallow(e) && FastDecimal(e, exact))
        return exact.null ? QVariant() : QVariant::fromValue(exact.value);
    if (QVariant converted; Shallow(e) && DecimalCast(e, converted))
        return converted;
    SqlTranslator t(*this);
    const QString sql = QStringLiteral("SELECT ") + t.Expr(e);
    const CachedStatement st = mDb->Prepare(sql);
    st->BindAll(t.Params());
    return st->Step() ? st->Value(0) : QVariant();
}

bool SessionState::Condition(const SqlExpr& e) {
    if (int fast = 0; FastCondition(e, fast))
        return fast == 1;
    SqlTranslator t(*this);
    const QString sql =
        QStringLiteral("SELECT CASE WHEN ") + t.Expr(e) + QStringLiteral(" THEN 1 ELSE 0 END");
    const CachedStatement st = mDb->Prepare(sql);
    st->BindAll(t.Params());
    return st->Step() && st->Value(0).toInt() == 1;
}

void SessionState::RunSelect(const SqlStatement& s) {
    const SqlSelect& sel = *s.select;
    if (!sel.cores.isEmpty() && !sel.cores.first().into.isEmpty()) {
        RunSelectInto(s);
        return;
    }
    int assigns = 0;
    for (const SqlSelectItem& item : sel.cores.first().items)
        if (!item.assignTo.isEmpty())
            ++assigns;
    if (assigns > 0 && (assigns != sel.cores.first().items.size() || sel.cores.size() > 1))
        throw ServerError::Make(
            141, 15,
            QStringLiteral("A SELECT statement that assigns a value to a variable must not be "
                           "combined with data-retrieval operations."),
            true);
    // Worked out before the translation, which reads the decimal columns turned into text.
    QHash<int, KnownValue> values;
    QHash<int, SqlColumn> known = DecimalColumns(sel, &values);
    struct Forget {
        QHash<const SqlExpr*, int>& sources;
        ~Forget() { sources.clear(); }
    } forget{mTextSources};
    SqlTranslator t(*this);
    const QString sql = t.Select(sel);
    mTextSources.clear();
    if (assigns > 0) {
        for (const SqlSelectItem& item : sel.cores.first().items)
            Variable(item.assignTo, s.line); // must be declared
        SqliteStatement st(mDb->Handle(), sql);
        st.BindAll(t.Params());
        long long rows = 0;
        while (st.Step()) {
            ++rows;
            for (int i = 0; i < sel.cores.first().items.size(); ++i)
                Assign(sel.cores.first().items[i].assignTo, st.Value(i), s.line);
        }
        mRowCount = rows;
        return;
    }
    mKnownColumns = std::move(known);
    mKnownValues = std::move(values);
    if (mSink) {
        EmitCount(StreamQuery(sql, t.Params()));
        return;
    }
    SqlRowSet rs = Query(sql, t.Params());
    const long long count = rs.rows.size();
    Put(SqlResult::Rows(std::move(rs)));
    EmitCount(count);
}

SessionState::Table SessionState::ResolveTable(const SqlTableRef& ref, SqlTranslator& translator) {
    const QStringList& parts = ref.name;
    // A table-valued parameter of an inline function reads the caller's table.
    const auto passed =
        parts.size() == 1 ? mPassedTables.constFind(parts.last().toLower()) : mPassedTables.cend();
    const QString name = passed != mPassedTables.cend() ? *passed : parts.last();
    const QString owner = parts.size() >= 2 ? parts[parts.size() - 2] : QString();
    const QString dbName = parts.size() >= 3 ? parts[parts.size() - 3] : QString();
    const QString written = parts.join(u'.');
    if (name.startsWith(u'@'))
        throw ServerError::Unsupported(QStringLiteral("table variables"));
    if (Table t; parts.size() == 1 && TriggerTable(name, t))
        return t;
    // tempdb's catalogue is that of the temporary tables, which live in the current database.
    const bool tempdb = dbName.compare(QLatin1String("tempdb"), Qt::CaseInsensitive) == 0;
    const QString schema = tempdb ? Schema() : SchemaFor(dbName, ref.line);
    if (schema.isEmpty())
        throw ServerError::InvalidObject(written);
    const bool isMasterSchema = schema == MasterSchema();
    Table t;
    t.alias = parts.last();
    if (Catalogue::IsMasterTable(name) && isMasterSchema) {
        t.sql = QStringLiteral("\"%1\".%2").arg(schema, name.toLower());
        t.catalogue = true;
        return t;
    }
    if (ref.kind == SqlTableRef::Kind::Function &&
        name.compare(QLatin1String("fn_listextendedproperty"), Qt::CaseInsensitive) == 0 &&
        (owner.isEmpty() || owner.compare(QLatin1String("sys"), Qt::CaseInsensitive) == 0)) {
        t.sql = u'(' + ListExtendedProperties(ref, schema, translator) + u')';
        t.catalogue = true;
        return t;
    }
    const QString view =
        Catalogue::SystemView(owner, name, schema, MasterSchema(), dbName.isEmpty() ? database : dbName);
    if (!view.isEmpty()) {
        t.sql = u'(' + Catalogue::HideTemporaries(view, schema, tempdb) + u')';
        t.catalogue = true;
        return t;
    }
    if (Catalogue::IsCatalogueTable(name) &&
        (owner.isEmpty() || owner.compare(QLatin1String("dbo"), Qt::CaseInsensitive) == 0 ||
         owner.compare(QLatin1String("sys"), Qt::CaseInsensitive) == 0)) {
        t.sql = Catalogue::VisibleTable(schema, name, tempdb);
        t.catalogue = true;
        return t;
    }
    const CatalogueObject o = Catalogue::FindObject(*mDb, schema, name, owner, schema == Schema() ? mUid : 1);
    if (!o.IsValid() || (tempdb && !name.startsWith(u'#')))
        throw ServerError::InvalidObject(written);
    if (ref.kind == SqlTableRef::Kind::Function) {
        if (o.xtype != QLatin1String("IF")) {
            if (o.xtype == QLatin1String("TF"))
                throw ServerError::Unsupported(QStringLiteral("multi-statement table functions in queries"));
            throw ServerError::Make(
                215, 16,
                QStringLiteral("Parameters were supplied for object '%1' which is not a function. "
                               "If the parameters are intended as a table hint, a WITH keyword is "
                               "required.")
                    .arg(written),
                true);
        }
        if (schema != Schema())
            throw ServerError::Unsupported(QStringLiteral("functions of another database"));
        CheckPermission(o, 193);
        const Module m = LoadModule(o);
        if (m.statement && !m.statement->select && !m.statement->construct.isEmpty())
            throw ServerError::Unsupported(m.statement->construct);
        if (!m.statement || !m.statement->select)
            throw ServerError::InvalidObject(written);
        const QList<SqlParam>& params = m.statement->params;
        if (ref.args.size() > params.size())
            throw ServerError::Make(
                8144, 16,
                QStringLiteral("Procedure or function %1 has too many arguments specified.").arg(name), true);
        const QHash<QString, QString> saved = translator.Overrides();
        const QHash<QString, QString> savedTables = mPassedTables;
        QHash<QString, QString> inner;
        for (int i = 0; i < params.size(); ++i) {
            QString value;
            if (params[i].readOnly) {
                const SqlExpr* arg = i < ref.args.size() ? ref.args[i].get() : nullptr;
                // Described when a function is made, its own parameters pass no table yet.
                if (arg && arg->kind == SqlExpr::Kind::Variable && saved.contains(arg->text.toLower()))
                    arg = nullptr;
                PassTable(params[i], arg);
                continue;
            }
            if (i < ref.args.size())
                value = translator.Expr(*ref.args[i]);
            else if (params[i].defaultValue)
                value = translator.Expr(*params[i].defaultValue);
            else
                throw ServerError::Make(
                    313, 16,
                    QStringLiteral("An insufficient number of arguments were supplied for the "
                                   "procedure or function %1.")
                        .arg(name),
                    true);
            inner.insert(params[i].name.toLower(), value);
        }
        translator.SetOverrides(inner);
        ++mModuleDepth;
        try {
            t.sql = u'(' + translator.Select(*m.statement->select) + u')';
        } catch (...) {
            --mModuleDepth;
            translator.SetOverrides(saved);
            mPassedTables = savedTables;
            throw;
        }
        --mModuleDepth;
        translator.SetOverrides(saved);
        mPassedTables = savedTables;
        return t;
    }
    if (o.xtype == QLatin1String("U")) {
        CheckPermission(o, 193);
        t.sql = QStringLiteral("\"%1\".\"T%2\"").arg(schema).arg(o.id);
        // Their declared types make the arithmetic of these columns the server's (SqlTranslatorTypes.cpp).
        for (const QVariantList& r :
             mDb->Rows(QStringLiteral("SELECT name, xtype FROM \"%1\".syscolumns WHERE id = ?").arg(schema),
                       {o.id}))
            if (const SystemType* type = Catalogue::FindTypeById(r[1].toInt()))
                t.columnTypes.insert(r[0].toString().toLower(), QString::fromLatin1(type->name));
        return t;
    }
    if (o.xtype == QLatin1String("V")) {
        if (schema != Schema())
            throw ServerError::Unsupported(QStringLiteral("views of another database"));
        CheckPermission(o, 193);
        if (mModuleDepth > 32)
            throw ServerError::Make(
                217, 16,
                QStringLiteral("Maximum stored procedure, function, trigger, or view nesting level "
                               "exceeded (limit 32)."),
                true);
        const Module m = LoadModule(o);
        if (m.statement && !m.statement->select && !m.statement->construct.isEmpty())
            throw ServerError::Unsupported(m.statement->construct);
        if (!m.statement || !m.statement->select)
            throw ServerError::InvalidObject(written);
        const QHash<QString, QString> saved = translator.Overrides();
        translator.SetOverrides({});
        ++mModuleDepth;
        QString inner;
        try {
            inner = translator.Select(*m.statement->select);
        } catch (...) {
            --mModuleDepth;
            translator.SetOverrides(saved);
            throw;
        }
        --mModuleDepth;
        translator.SetOverrides(saved);
        if (!m.statement->columns.isEmpty()) {
            QStringList cols;
            for (const QString& c : m.statement->columns)
                cols.append(SqlTranslator::Quote(c));
            inner = QStringLiteral("WITH \"__v\"(%1) AS (%2) SELECT * FROM \"__v\"")
                        .arg(cols.join(QStringLiteral(", ")), inner);
        }
        t.sql = u'(' + inner + u')';
        return t;
    }
    if (o.xtype == QLatin1String("IF") || o.xtype == QLatin1String("TF"))
        throw ServerError::Make(
            216, 16, QStringLiteral("Parameters were not supplied for the function '%1'.").arg(written),
            true);
    throw ServerError::InvalidObject(written);
}

QString SessionState::SchemaFor(const QString& databaseName, int) {
    if (databaseName.isEmpty() || databaseName.compare(database, Qt::CaseInsensitive) == 0)
        return Schema();
    if (databaseName.compare(QLatin1String("master"), Qt::CaseInsensitive) == 0)
        return MasterSchema();
    const QString key = databaseName.toLower();
    auto it = mAttached.find(key);
    if (it != mAttached.end())
        return *it;
    const QString path = mServer->DatabasePath(databaseName);
    if (path.isEmpty())
        return {};
    QString schema = QStringLiteral("db%1").arg(mAttached.size() + 1);
    mDb->Exec(QStringLiteral("ATTACH DATABASE ? AS %1").arg(schema), {path});
    mAttached.insert(key, schema);
    return schema;
}
