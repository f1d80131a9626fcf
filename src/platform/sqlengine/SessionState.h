#pragma once

#include "Catalogue.h"
#include "ServerError.h"
#include "ServerState.h"
#include "SqlAst.h"
#include "SqlDates.h"
#include "SqlDecimal.h"
#include "SqlResults.h"
#include "SqlTranslator.h"
#include "SqliteDb.h"

#include <QHash>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class SqliteStatement;

// A value as SQLite gives it, in the form of the server's type: datetimes as QDateTime, integers
// as qlonglong, fractions as double.
QVariant ToServerValue(const QVariant& v, int typeId);
// For a result's value that goes into a variable: the exact value of the column's type.
QVariant DecimalVariableValue(const QVariant& v, const SqlColumn& c);

// What the executor knows of one SELECT item beyond its type: the exact value of a decimal
// constant (SQLite has only its double), or that it is a money quotient, which the server cuts to
// four decimals where a rounded double would round up.
struct KnownValue {
    std::optional<SqlDecimal> exact;
    bool cutMoney = false;
};
// A value as SQLite gives it, in the form a client gets from the server (SessionResultValues.cpp):
// decimal and money as their exact text with every decimal of the column's scale, date, time,
// datetime2 and datetimeoffset as the server's text with the type's decimals of a second, the rest
// as ToServerValue makes them. known may be null.
QVariant ServerResultValue(const QVariant& v, const SqlColumn& c, const KnownValue* known);

// One connection's executor: it parses a batch, walks its statements and keeps the catalogue in
// step with what they create, change and drop.
class SessionState : public TranslatorContext {
public:
    SessionState(std::shared_ptr<ServerState> server, LoginInfo login);
    ~SessionState() override;

    // Opens a database for the login; fills 4060/916 style messages and gives false when it can't.
    bool Open(const QString& database, QList<SqlMessage>* messages);

    // With a sink, the results go there as they are made and the list returned is empty.
    SqlBatchResults Execute(const QString& batch, SqlResultSink* sink = nullptr);
    SqlBatchResults Parse(const QString& batch);

    QString database;
    QString userName;
    LoginInfo login;
    std::function<bool()> cancelCheck;
    std::atomic<bool> cancelRequested = false; // set from another thread to stop the batch that runs
    qsizetype rowLimit = 0;                    // the most rows a query may give; 0 = no limit

    // Whether the batch that runs has been cancelled; once it has, it stays so until the next batch.
    bool Cancelled();
    int TransactionCount() const { return mTranCount; }

    // TranslatorContext
    Table ResolveTable(const SqlTableRef& ref, SqlTranslator& translator) override;
    QVariant Variable(const QString& name, int line) override;
    QString VariableType(const QString& name) override;
    SqlTypeSpec BaseType(const SqlTypeSpec& type) override;
    QVariant Global(const QString& name) override;
    QString Schema() const override { return QStringLiteral("main"); }
    QString MasterSchema() const override;
    QString DatabaseName() const override { return database; }
    int UserUid() const override { return mUid; }
    QStringList QueryColumns(const QString& sql) override;
    QStringList ColumnNames(const QString& sql) override;
    bool Fold(const SqlExpr& e, QVariant& value, bool& variables) override;
    int DecimalTextSource(const SqlExpr& e) override { return mTextSources.value(&e, -1); }

    // Runs a user's scalar function for a query; throws ServerError.
    // defaults: one character per argument, '1' where the caller wrote DEFAULT.
    QVariant CallFunction(const QString& name, const QVariantList& args, const QString& defaults = {});

private:
    enum class Flow { Normal, Break, Continue, Return, Goto };
    // Thrown after an error that ends the batch has been reported.
    struct BatchAborted {};
    // An error on its way to the innermost CATCH block, and what the ERROR_... functions give there.
    struct CaughtError {
        long number = 0;
        int severity = 16;
        int state = 1;
        int line = 0;
        QString procedure;
        QString text;
    };
    struct ErrorCaught {
        CaughtError error;
    };
    struct CursorState;
    struct Var {
        SqlTypeSpec type;
        QVariant value;
        const SqlStatement* declaredBy = nullptr; // the DECLARE, which a loop may run again
        std::shared_ptr<CursorState> cursor;      // of a cursor variable, when one is given it
    };
    struct Frame {
        QHash<QString, Var> vars;
        QStringList temporaries;                            // tables that go when the frame ends
        QHash<QString, const SqlStatement*> tableVariables; // name -> its DECLARE, to make it again
        // A table variable of a table type (and a table-valued parameter), by its table's name in
        // lower case: its table as made, whose name is the type's
        QHash<QString, SqlStatementP> typedTables;
        QString procedure;
        QVariant returnValue;
        bool hasReturnValue = false;
    };
    struct Module {
        QString text;
        SqlStatementP statement;
        int id = 0;
        QString xtype;
    };

    void OpenDatabase(const QString& name, const QString& path);
    void Emit(const ServerError& e, int line);
    void EmitInfo(long number, const QString& text, int severity = 0);
    void EmitCount(long long count);
    // Every result of the batch goes out through here: to the sink, or into the list.
    void Put(SqlResult result);
    ServerError MapSqliteError(const SqliteError& e, const QString& verb);

    Flow Run(const QList<SqlStatementP>& statements);
    Flow RunStatement(const SqlStatement& s);
    Flow RunStatementInner(const SqlStatement& s);

    // variables
    Frame& Top() { return mFrames.last(); }
    // by: the DECLARE statement; run again (in a loop) it only sets the value it gives.
    void Declare(const SqlParam& p, const QVariant& value, int line, const SqlStatement* by = nullptr,
                 bool initialised = true);
    void Assign(const QString& name, const QVariant& value, int line);
    QVariant Convert(const QVariant& value, const SqlTypeSpec& type);
    QVariant Evaluate(const SqlExpr& e);
    bool Condition(const SqlExpr& e);
    // Integers, their arithmetic and comparisons without SQLite (SessionEvaluate.cpp); false when
    // the expression is anything else.
    struct FastInt {
        qlonglong value = 0;
        bool null = false;
        bool big = false; // bigint rather than int
    };
    bool FastInteger(const SqlExpr& e, FastInt& out);
    bool FastCondition(const SqlExpr& e, int& out);
    bool FastConvert(const QVariant& value, const SqlTypeSpec& type, QVariant& out);
    // decimal, numeric and money exactly (SessionDecimal.cpp); false when the expression is none of
    // them. integer: the operand was an integer, which counts as decimal only beside a decimal.
    struct FastDec {
        SqlDecimal value; // typed even when null
        bool null = false;
        bool integer = false;
    };
    bool FastDecimal(const SqlExpr& e, FastDec& out);
    bool DecimalOperand(const SqlExpr& e, FastDec& out);
    bool DecimalFunction(const SqlExpr& e, FastDec& out);
    // CAST / CONVERT of a decimal to text, an integer or a float.
    bool DecimalCast(const SqlExpr& e, QVariant& out);
    bool DecimalComparison(const SqlExpr& e, int& out);
    bool ConvertDecimal(const QVariant& value, const SqlTypeSpec& type, QVariant& out);
    static bool UsesVariables(const SqlExpr& e);
    // Not nested past what the decimal evaluation recurses into.
    static bool Shallow(const SqlExpr& e, int depth = 0);
    // The type of a SELECT item of decimals that SQLite can't trace to a column.
    std::optional<SqlColumn> DecimalColumn(const SqlExpr& e);
    // SessionDecimalTypes.cpp: the decimal types of a SELECT's computed items by their place (and the
    // decimal columns they turn into text, in mTextSources), and the type of one expression given
    // the declared types of the columns it reads.
    QHash<int, SqlColumn> DecimalColumns(const SqlSelect& select, QHash<int, KnownValue>* values = nullptr);
    // The date or time type of a SELECT item that SQLite can't trace to a column: a conversion to
    // one, DATEADD of one (SessionResultValues.cpp).
    static std::optional<SqlColumn> DateItemColumn(const SqlExpr& e);
    std::optional<SqlDecimal> DecimalTypeOf(const SqlExpr& e, const QHash<const SqlExpr*, SqlColumn>& columns,
                                            bool& integer);

    // queries
    void RunSelect(const SqlStatement& s);
    SqlRowSet Query(const QString& sql, const QVariantList& params);
    // A SELECT's rows straight to the sink, never held; gives the number of rows.
    long long StreamQuery(const QString& sql, const QVariantList& params);
    void RunInsert(const SqlStatement& s);
    void RunUpdate(const SqlStatement& s);
    void RunDelete(const SqlStatement& s);
    CatalogueObject TargetTable(const QStringList& name, int line, const char* action);
    // UPDATE or DELETE of a common table expression over one table (SessionCteDml.cpp); false
    // when the statement's target is no common table expression.
    bool RunOnCte(const SqlStatement& s);
    // SET @v = expression and SET @v = column = expression of an UPDATE (SessionDmlForms.cpp).
    // UPDATE or DELETE ... WHERE CURRENT OF: the row the cursor is on.
    void RunCurrentOf(const SqlStatement& s);
    // INSERT ... EXEC: the rows of the call's results go into the table.
    void RunInsertExec(const SqlStatement& s);
    // Gives the number of rows the statement changes.
    long long AssignUpdateVariables(const SqlStatement& s, const CatalogueObject& table,
                                    const QList<QPair<QString, SqlExprP>>& variables);
    long long RunDml(const QString& sql, const QVariantList& params, const CatalogueObject& table,
                     const QString& verb);

    // DDL (SessionDdl.cpp)
    void CreateTable(const SqlStatement& s);
    void AlterTable(const SqlStatement& s);
    void CreateModule(const SqlStatement& s);
    void DropObjects(const SqlStatement& s);
    void DropObject(const CatalogueObject& o);
    void ForgetIdentity(int tableId);
    void CreateIndex(const SqlStatement& s);
    void Truncate(const SqlStatement& s);
    void Permission(const SqlStatement& s);
    void Principal(const SqlStatement& s);
    void RunSchema(const SqlStatement& s);
    // SessionXmlSchemas.cpp: XML SCHEMA COLLECTION, kept and listed but not checked against.
    void RunXmlSchemaCollection(const SqlStatement& s);
    // SessionServerTriggers.cpp: CREATE / ALTER / DROP TRIGGER ... ON ALL SERVER, kept in master.
    void ServerTrigger(const SqlStatement& s);
    static void EnsureServerTriggerTable(SqliteDb& db, const QString& masterSchema);
    // The CHECK constraints of a new table: recorded in the catalogue, and returned as the clauses of
    // its SQLite table that enforce them.
    QStringList CheckConstraints(const SqlStatement& s, int tableId, const QString& table, int uid);
    ServerError CheckConflict(int checkId, const QString& verb);
    void CreateType(const SqlStatement& s);
    void AddType(const SqlStatement& s, const QVariantList& args);
    // A type as the server's own: a user type gives its base type, and nullability when notNull is
    // given; an unknown or system type comes back as it is.
    SqlTypeSpec ResolveType(const SqlTypeSpec& type, bool* notNull = nullptr);
    // table types, DROP TYPE and table-valued parameters (SessionUserTypes.cpp)
    void CreateTableType(const SqlStatement& s, int uid);
    void DropTypes(const SqlStatement& s);
    // The table a table type makes, as a CREATE TABLE without its target; null when the type is
    // none (an alias, a system type or nothing).
    SqlStatementP TableTypeDefinition(const SqlTypeSpec& type);
    // DECLARE @t of a table type; false when the type is no table type.
    bool DeclareTypedTable(const SqlParam& p, const SqlStatement* by);
    // The table of the caller's table variable that an argument passes to a table-valued
    // parameter, checked against the parameter's type; empty when no argument is given.
    QString TableArgument(const SqlParam& p, const SqlExpr* value);
    // A table-valued parameter in the frame on top, with the rows of the table passed to it.
    void BindTableParameter(const SqlParam& p, const QString& source);
    // While an inline function's query is translated, its table-valued parameter reads the table
    // passed to it (mPassedTables).
    void PassTable(const SqlParam& p, const SqlExpr* value);
    // A module's table-valued parameters: READONLY, and never changed by its body.
    void CheckTableParameters(const SqlStatement& module);
    // The columns of a new table or parameters of a module written with user types show those
    // types in the catalogue, not their bases.
    void MarkUserTypes(int id, const QList<QPair<QString, SqlTypeSpec>>& columns);
    void UseDatabase(const SqlStatement& s);
    void SetOption(const SqlStatement& s);
    // SessionOptions.cpp: SET DATEFORMAT, LANGUAGE and DATEFIRST; written is the value as the
    // statement has it, a variable's name or a word or string.
    void SetDateOption(const QString& name, const QString& written);
    void WriteColumns(int id, const QList<SqlParam>& params, int number);
    void WriteText(int id, const QString& text);
    int OwnerUid(const QStringList& name, int line);
    bool CanCreate(const QString& kind);
    bool IsDbOwner() const;
    bool HasPermission(const CatalogueObject& o, int action);
    void CheckPermission(const CatalogueObject& o, int action);
    QList<int> MyPrincipals() const;

    // procedures (SystemProcedures.cpp)
    void Exec(const SqlStatement& s);
    bool RunSystemProcedure(const QString& name, const SqlStatement& s, const QVariantList& args);
    QVariant RunProcedure(const CatalogueObject& proc, const SqlStatement& s, const QStringList& name);
    void HelpText(const QVariantList& args);
    void HelpProtect(const QVariantList& args);
    void HelpRole(const QVariantList& args);
    void HelpUser(const QVariantList& args);
    void Rename(const QVariantList& args);
    void AddRoleMember(const QVariantList& args, bool add);
    void ExecuteSql(const QVariantList& args);
    // sp_executesql @stmt, @params, @p = value [OUTPUT], ...
    void ExecuteSqlWithParameters(const SqlStatement& s);
    // Runs text as a batch of its own whose parameters are declared from values (an invalid one
    // takes its default); gives their values at its end, or nothing after a syntax error.
    QList<QVariant> RunDynamicSql(const QString& text, const QList<SqlParam>& params,
                                  const QList<QVariant>& values, const QString& declaration, int line);
    // The ODBC catalogue procedures (SystemProceduresOdbc.cpp); false when name is none of them.
    // elsewhere: the call names another database, of which nothing is listed.
    bool RunOdbcProcedure(const QString& name, const SqlStatement& s);
    // sp_addmessage and sp_dropmessage (SessionMessages.cpp); false when name is neither.
    bool RunMessageProcedure(const QString& name, const SqlStatement& s);
    // The arguments of a built-in system procedure by position or name, in the order of params
    // (invalid where not given); 8145 for a name it hasn't, 8144 for one too many.
    QVariantList SystemProcedureArgs(const SqlStatement& s, const QStringList& params,
                                     const QString& procName);
    // sp_xml_preparedocument and sp_xml_removedocument (SessionXml.cpp); false for another name.
    bool RunXmlProcedure(const QString& name, const SqlStatement& s);
    // SessionExtendedProperties.cpp: sp_add/update/dropextendedproperty; false for another name.
    bool RunPropertyProcedure(const QString& name, const SqlStatement& s);
    QString ListExtendedProperties(const SqlTableRef& ref, const QString& schema, SqlTranslator& translator);
    // A user message's severity and text by number; false when there is none.
    bool StoredMessage(qlonglong number, int& severity, QString& text);
    static void EnsureMessageTable(SqliteDb& db, const QString& masterSchema);
    SqlRowSet OdbcTables(const QVariantList& args, bool elsewhere);
    SqlRowSet OdbcColumns(const QVariantList& args, bool procedures, bool elsewhere);
    SqlRowSet OdbcProcedures(const QVariantList& args, bool elsewhere);
    SqlRowSet OdbcKeys(const QString& procedure, const QVariantList& args, bool elsewhere);
    static SqlRowSet OdbcForeignKeys();
    static SqlRowSet OdbcTypes(const QVariantList& args);

    // TRY...CATCH, THROW, RAISERROR, WAITFOR, GOTO (SessionControl.cpp)
    Flow RunTryCatch(const SqlStatement& s);
    void RunThrow(const SqlStatement& s);
    void RunRaiserror(const SqlStatement& s);
    void RunWaitFor(const SqlStatement& s);
    QString FormatMessage(const QString& format, const SqlStatement& s);
    // An error of a statement goes to the innermost CATCH block or to the client; it may end the batch.
    void RaiseError(const ServerError& e, int line);
    // An error raised on purpose (THROW, RAISERROR) that no CATCH block takes.
    void EmitCaught(const CaughtError& c);
    bool InTry() const { return !mTryFrames.isEmpty(); }
    QVariant ErrorFunction(const QString& name) const;

    // transactions (SessionTransactions.cpp)
    void BeginTran(const SqlStatement& s);
    void CommitTran(const SqlStatement& s);
    void RollbackTran(const SqlStatement& s);
    void SaveTran(const SqlStatement& s);
    void RollbackAll();
    QString TranName(const SqlStatement& s);
    int XactState() const;
    // At the end of a batch: a transaction an error made uncommittable is rolled back.
    void EndBatchTransaction();

    // triggers (SessionTriggers.cpp)
    struct TriggerRun {
        int triggerId = 0;
        int tableId = 0;
        int depth = 0;              // names the snapshot tables of inserted and deleted
        QStringList updatedColumns; // lower case
        QStringList columns;        // the table's, in order
        bool instead = false;       // an INSTEAD OF trigger
    };
    QList<Module> TriggersFor(const CatalogueObject& table, const QString& verb);
    // Where the inserted and deleted rows of the triggers at a nesting depth are kept.
    static QString TriggerSnapshot(const char* kind, int depth);
    // body as one transaction when none is open (a statement with its triggers), rolled back on error.
    void InStatementTransaction(const std::function<void()>& body);
    // The triggers in turn, each seeing rows as @@ROWCOUNT; 3609 when one ends the transaction.
    void FireTriggers(const QList<Module>& triggers, const CatalogueObject& table, TriggerRun& run,
                      long long rows);
    // A statement on a view with an INSTEAD OF trigger for it runs the trigger (SessionViewTriggers.cpp);
    // false when the target is no such view.
    bool RunOnView(const SqlStatement& s, const QString& verb);
    // With output, the statement's OUTPUT clause gives its rows too.
    long long RunDmlWithTriggers(const QString& sql, const QVariantList& params, const CatalogueObject& table,
                                 const QString& verb, const QList<Module>& triggers,
                                 const SqlStatement* output);
    void RunOutput(const SqlStatement& s, const TriggerRun& run, const QString& verb);
    // The rows of an OUTPUT clause's query: a result, or into its OUTPUT INTO table.
    void DeliverOutput(const SqlStatement& s, const SqlSelectP& select);
    // MERGE (SessionMerge.cpp)
    void RunMerge(const SqlStatement& s);
    void RunMergeOutput(const SqlStatement& s, const TriggerRun& run, const QString& sourceName,
                        const QString& sourceTable, const QString& actionTable);
    QStringList PrepareCapture(int tableId);
    void FireTrigger(const Module& trigger, const CatalogueObject& table, const TriggerRun& run);
    bool TriggerTable(const QString& name, Table& out) const;
    QVariant TriggerFunction(const QString& name) const;

    // temporary tables and table variables (SessionTempTables.cpp)
    QString TempSuffix();
    void RenameTemporaries(const QList<SqlStatementP>& statements);
    // A message's text with the names of temporary tables and table variables as written.
    QString WrittenName(QString text, bool variables = true) const;
    void KeepTemporary(const QString& name, const SqlStatement& declaration);
    // A rollback leaves table variables as they were: their rows are read before and put back after.
    struct TableVariableRows {
        QString name;
        const SqlStatement* declaration = nullptr;
        QList<QVariantList> rows;
    };
    QList<TableVariableRows> KeepTableVariables();
    void RestoreTableVariables(const QList<TableVariableRows>& kept);
    void DropTemporaries(const QStringList& names);
    void RunSelectInto(const SqlStatement& s);

    // cursors (SessionCursors.cpp; their rows in SessionCursorRows.cpp, CursorState in SessionCursors.h)
    QString CursorKey(const QString& name, bool local) const;
    // The cursor a statement names: by name (s.name) or by variable (s.variable).
    std::shared_ptr<CursorState> FindCursor(const SqlStatement& s);
    void RunCursor(const SqlStatement& s);
    void DeclareCursor(const SqlStatement& s);
    void FetchCursor(const SqlStatement& s, CursorState& c);
    // SET @c = CURSOR ..., = @other or = a cursor's name; false when @v is no cursor variable.
    bool AssignCursor(const SqlStatement& s);
    Var& CursorVariable(const QString& name);
    // OPEN: the rows of a STATIC cursor, the keys of a KEYSET one, the query of a DYNAMIC one.
    void OpenCursor(CursorState& c);
    // The row of a KEYSET cursor by its key, or the next of a DYNAMIC one from where it stands;
    // false when there is none.
    bool ReadKeysetRow(CursorState& c, qlonglong index, QVariantList& row);
    // direction: 1 on, -1 back, 0 the row it is on; fromEnd: from the first (or last) row rather
    // than from where it stands; skip: rows passed over.
    bool ReadDynamicRow(CursorState& c, int direction, bool fromEnd, qlonglong skip, QVariantList& row);
    // The LOCAL cursors of the batch or procedure that ends.
    void DropLocalCursors();
    // @@CURSOR_ROWS and CURSOR_STATUS(scope, name).
    qlonglong CursorRows() const;
    int CursorStatus(const QString& scope, const QString& name);
    // A procedure's CURSOR VARYING OUTPUT parameter: what the caller passes, and what it gets back.
    void CheckCursorArgument(const SqlParam& param, const SqlExecArg& arg);
    void ReturnCursor(const QString& callerVariable, const std::shared_ptr<CursorState>& cursor);
    // The cursors of the parameters of the dynamic SQL that last ended, by the parameters' places.
    QList<std::shared_ptr<CursorState>> mDynamicCursors;

    Module LoadModule(const CatalogueObject& o);
    QString ObjectText(int id);
    CatalogueObject ResolveObjectName(const QString& name);
    QString SchemaFor(const QString& databaseName, int line);
    QString KindWord(const QString& xtype) const;

    std::shared_ptr<ServerState> mServer;
    std::unique_ptr<SqliteDb> mDb;
    DateOptions mDateOptions; // mDb and every connection opened after it point at it
    int mUid = 1;
    QHash<QString, QString> mAttached; // database name (lower) -> schema
    QList<Frame> mFrames;
    SqlBatchResults* mOut = nullptr;
    SqlResultSink* mSink = nullptr;
    int mNesting = 0;
    int mModuleDepth = 0;
    int mTranCount = 0;
    bool mCancelled = false;
    bool mNoCount = false;
    bool mParseOnly = false;
    bool mNoExec = false;
    bool mQuotedIdentifier = true;
    bool mAnsiNulls = true;
    QString mIdentityInsert; // table id as text
    long long mRowCount = 0;
    QVariant mIdentity;
    QVariant mScopeIdentity;
    long mLastError = 0;
    int mLine = 0; // the line of the statement that runs
    QString mBatchText;
    QList<int> mTryFrames;      // for each open TRY block, the number of frames when it began
    QList<CaughtError> mCaught; // the errors of the CATCH blocks that run, innermost last
    QString mGotoLabel;
    QString mTranName;       // of the outermost BEGIN TRAN
    QStringList mSavepoints; // SAVE TRAN names in order; SQLite's savepoint is "tsql_save_<index>"
    bool mXactAbort = false;
    bool mDoomed = false;            // an error under XACT_ABORT inside TRY: only a rollback may follow
    QList<TriggerRun> mTriggers;     // the triggers that run, innermost last
    QHash<int, QString> mCaptures;   // table id -> the columns its capture tables were made with
    QStringList mDmlColumns;         // the columns the UPDATE that runs sets
    QString mTempSuffix;             // of this session's temporary tables
    QStringList mSessionTemporaries; // temporary tables that last until the session ends
    QHash<QString, std::shared_ptr<CursorState>> mCursors; // CursorKey -> cursor
    int mFetchStatus = -1;
    const SqlStatement* mDmlStatement = nullptr; // the INSERT, UPDATE or DELETE whose SQL runs next
    std::weak_ptr<CursorState> mLastOpened;      // for @@CURSOR_ROWS
    QHash<QString, QString> mMergeTables;        // while MERGE's OUTPUT is read: name (lower) -> its rows
    QHash<int, SqlColumn> mKnownColumns;         // result types worked out for the next Query or StreamQuery
    QHash<int, KnownValue> mKnownValues;         // and what is known of their values
    // The decimal columns that a SELECT's items turn into text (see DecimalTextSource), while that
    // SELECT is translated.
    QHash<const SqlExpr*, int> mTextSources;
    bool mInsertExec = false;              // an INSERT ... EXEC runs
    QHash<QString, QString> mPassedTables; // a table-valued parameter (lower case) -> the table it reads
};
