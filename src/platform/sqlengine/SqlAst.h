#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <memory>

// The parsed form of a batch: expressions, queries and statements. The parser builds it, the
// translator turns queries into SQLite, the executor walks the statements.

struct SqlExpr;
struct SqlSelect;
struct SqlStatement;
using SqlExprP = std::shared_ptr<SqlExpr>;
using SqlSelectP = std::shared_ptr<SqlSelect>;
using SqlStatementP = std::shared_ptr<SqlStatement>;

struct SqlTypeSpec {
    QString name;    // lower case: int, nvarchar, ...
    int length = -1; // as written; -1 none given, -2 max
    int precision = -1;
    int scale = -1;
    bool IsValid() const { return !name.isEmpty(); }
};

struct SqlWindow;

struct SqlExpr {
    enum class Kind {
        Null,
        String,
        Number,
        Column,
        Variable,
        Star,
        Unary,
        Binary,
        Function,
        Case,
        Subquery,
        Exists,
        In,
        Between,
        Like,
        IsNull,
        Cast
    };
    Kind kind = Kind::Null;
    QString text;                    // literal value, operator, function name, variable name
    QStringList parts;               // a column or star qualifier: [db.][owner.][table.]column
    QList<SqlExprP> args;            // operands, function arguments, CASE: operand?, when, then..., else
    SqlSelectP select;               // Subquery, Exists, In (subquery form)
    SqlTypeSpec type;                // Cast / Convert target
    std::shared_ptr<SqlWindow> over; // Function ... OVER (...)
    bool negated = false;            // NOT IN, NOT LIKE, NOT BETWEEN, IS NOT NULL
    bool distinct = false;
    bool star = false;    // COUNT(*)
    bool unicode = false; // N'..'
    bool hasElse = false; // CASE
    bool hasOperand = false;
    int line = 1;

    SqlExpr() = default;
    SqlExpr(const SqlExpr&) = default;
    SqlExpr& operator=(const SqlExpr&) = default;
    ~SqlExpr();
};

// A column of OPENJSON(...) WITH (name type ['path'] [AS JSON], ...).
struct SqlJsonColumn {
    QString name;
    SqlTypeSpec type;
    QString path; // empty: '$.name'
    bool asJson = false;
};

struct SqlTableRef {
    // Pivot: left PIVOT (args[0], an aggregate, FOR args[1] IN (name...)); Unpivot: left UNPIVOT
    // (args[0] FOR args[1] IN (name...)), both columns.
    enum class Kind { Named, Subquery, Join, Function, Pivot, Unpivot };
    Kind kind = Kind::Named;
    QStringList name; // [db.][owner.]name
    QString alias;
    SqlSelectP select;
    QList<SqlExprP> args; // table function arguments
    std::shared_ptr<SqlTableRef> left, right;
    QString joinType; // INNER, LEFT, RIGHT, FULL, CROSS, CROSS APPLY, OUTER APPLY
    SqlExprP on;
    QList<SqlJsonColumn> jsonColumns; // OPENJSON ... WITH
    bool hasJsonSchema = false;
    int line = 1;

    SqlTableRef() = default;
    SqlTableRef(const SqlTableRef&) = default;
    SqlTableRef& operator=(const SqlTableRef&) = default;
    ~SqlTableRef();
};
using SqlTableRefP = std::shared_ptr<SqlTableRef>;

struct SqlSelectItem {
    SqlExprP expr;
    QString alias;
    bool hasAlias = false;
    QString assignTo; // SELECT @v = expr
};

struct SqlOrderItem {
    SqlExprP expr;
    bool descending = false;
};

struct SqlSelectCore {
    bool distinct = false;
    SqlExprP top;
    bool topPercent = false;
    bool topWithTies = false;
    QList<SqlSelectItem> items;
    QList<SqlTableRefP> from;
    SqlExprP where;
    QList<SqlExprP> groupBy;
    // GROUP BY ROLLUP, CUBE, GROUPING SETS, WITH ROLLUP / CUBE: the sets, as indexes into groupBy;
    // empty for a plain GROUP BY
    QList<QList<int>> groupingSets;
    SqlExprP having;
    QStringList into; // SELECT ... INTO
};

// The OVER clause of a window function; the frame (ROWS/RANGE ...) as written.
struct SqlWindow {
    QList<SqlExprP> partitionBy;
    QList<SqlOrderItem> orderBy;
    QString frame;
};

// WITH name (columns) AS (query)
struct SqlCte {
    QString name;
    QStringList columns;
    SqlSelectP select;
};

// FOR JSON PATH | AUTO [, ROOT('r')] [, INCLUDE_NULL_VALUES] [, WITHOUT_ARRAY_WRAPPER], and FOR XML
// RAW ['e'] | AUTO | PATH ['e'] [, ELEMENTS] [, ROOT ['r']] [, TYPE].
struct SqlForClause {
    bool json = false;
    QString mode; // PATH, AUTO, RAW
    QString element;
    bool elementGiven = false;
    bool root = false;
    QString rootName;
    bool includeNulls = false;
    bool withoutArrayWrapper = false;
    bool elements = false;
    bool type = false;
    int line = 1;
};

struct SqlSelect {
    QList<SqlCte> ctes;
    QList<SqlSelectCore> cores;
    QStringList unionOps; // "UNION", "UNION ALL", "EXCEPT", "INTERSECT" between cores
    QList<SqlOrderItem> orderBy;
    std::shared_ptr<SqlForClause> forClause;
    int line = 1;
};

// A CHECK constraint as written: its name (empty when the server names it) and its condition.
struct SqlCheck {
    QString name;
    QString column; // the column it was written on; empty at table level
    SqlExprP condition;
    QString text;
};

struct SqlColumnDef {
    QString name;
    SqlTypeSpec type;
    bool nullable = true;
    bool nullGiven = false;
    bool identity = false;
    long long seed = 1, increment = 1;
    bool primaryKey = false;
    bool unique = false;
    SqlExprP defaultValue;
    QString defaultText;
    SqlExprP computed; // AS expression
    bool persisted = false;
};

struct SqlParam {
    QString name; // with @
    SqlTypeSpec type;
    SqlExprP defaultValue;
    bool output = false;
    bool nullable = true;  // for the columns of a view or table function
    bool readOnly = false; // a table-valued parameter
};

struct SqlExecArg {
    QString name; // @param = ..., or ""
    SqlExprP value;
    bool output = false;
    bool isDefault = false; // DEFAULT keyword
};

struct SqlStatement {
    enum class Kind {
        Empty,
        Select,
        Insert,
        Update,
        Delete,
        CreateTable,
        AlterTableAdd,
        DropObject,
        CreateModule,
        If,
        While,
        Block,
        Declare,
        SetVariable,
        SetOption,
        Print,
        Return,
        Exec,
        Use,
        Permission,
        CreateDatabase,
        DropDatabase,
        CreateLogin,
        AlterLogin,
        DropLogin,
        CreateUser,
        DropUser,
        CreateRole,
        DropRole,
        CreateSchema,
        DropSchema,
        CreateType,
        Raiserror,
        Break,
        Continue,
        BeginTran,
        CommitTran,
        RollbackTran,
        CreateIndex,
        Truncate,
        // CREATE / ALTER / DROP XML SCHEMA COLLECTION: objectKind says which, target the name,
        // condition the schemas' text (CREATE AS, ALTER ADD)
        XmlSchemaCollection,
        TryCatch, // body: the TRY block, elseBody: the CATCH block
        Throw,    // execArgs: number, message, state; none to rethrow
        Goto,     // name: the label
        Label,    // name
        WaitFor,  // optionValue: DELAY or TIME; condition: the time
        SaveTran, // name (or procedureVariable)
        Cursor,   // DECLARE CURSOR, OPEN, FETCH, CLOSE, DEALLOCATE: construct says which
        // MERGE target [alias] USING from ON condition; body: its WHEN clauses as the INSERT, UPDATE
        // or DELETE each runs, optionValue MATCHED, NOT MATCHED or NOT MATCHED BY SOURCE, condition
        // the clause's AND
        Merge,
        Unsupported
    };
    Kind kind = Kind::Empty;
    int line = 1;
    int begin = 0, end = 0; // offsets of the statement in its batch

    // Select / Insert / Update / Delete / subqueries
    SqlSelectP select;
    QStringList target; // table of Insert/Update/Delete/Create/Alter/Truncate/Index; the module's name
    QString targetAlias;
    QStringList columns; // Insert column list; view column list
    QList<QList<SqlExprP>> values;
    bool defaultValues = false;
    QList<QPair<QStringList, SqlExprP>> assignments; // UPDATE SET col = expr / @v = expr
    QList<SqlTableRefP> from;
    SqlExprP where;
    SqlExprP top;

    // CREATE TABLE / ALTER TABLE ADD / DECLARE @t TABLE
    QList<SqlColumnDef> columnDefs;
    QStringList primaryKey; // table-level PRIMARY KEY
    QString constraintName;
    QList<SqlCheck> checks; // of the table and its columns

    // DROP x a, b / CREATE/ALTER module
    QString objectKind; // TABLE, PROCEDURE, FUNCTION, VIEW, TRIGGER, INDEX, DATABASE, ...
    QList<QStringList> names;
    bool isAlter = false;
    bool orAlter = false;   // CREATE OR ALTER
    bool insteadOf = false; // an INSTEAD OF trigger
    QList<SqlParam> params;
    SqlTypeSpec returnType;    // scalar function
    bool returnsTable = false; // inline (returnVariable empty) or multi-statement
    QString returnVariable;    // RETURNS @t TABLE
    QStringList triggerTable;
    QStringList triggerEvents; // INSERT, UPDATE, DELETE
    int keywordBegin = 0;      // offset of the CREATE/ALTER word
    int keywordEnd = 0;

    // Control of flow
    SqlExprP condition;            // IF / WHILE; RETURN value; PRINT value
    QList<SqlStatementP> body;     // BEGIN..END, module body, IF then-branch
    QList<SqlStatementP> elseBody; // IF else-branch (one statement or a block)
    bool hasElse = false;

    // DECLARE / SET
    QList<QPair<SqlParam, SqlExprP>> declarations;
    QString variable;
    QString assignOp; // =, +=, -=, ...
    QStringList optionNames;
    QString optionValue;

    // EXEC
    QStringList procedure; // name parts; empty when the name is a variable
    QString procedureVariable;
    QString returnInto; // EXEC @rc = ...
    QList<SqlExecArg> execArgs;
    SqlExprP dynamicSql; // EXEC ('...')

    // GRANT / DENY / REVOKE
    QString permissionVerb; // GRANT, DENY, REVOKE
    QStringList permissions;
    QStringList grantees;
    bool withGrantOption = false;
    bool grantOptionFor = false;

    // logins, users, roles, databases
    QString name;
    QString password;
    QString loginName;
    QString defaultDatabase;
    QString defaultSchema;

    // OUTPUT items [INTO target [(columns)]] of INSERT, UPDATE, DELETE
    QList<SqlSelectItem> output;
    QStringList outputInto;
    QStringList outputColumns;

    // Unsupported: what it is; on a module, what its body holds that the engine can't run; the
    // statement of a Cursor
    QString construct;
};
